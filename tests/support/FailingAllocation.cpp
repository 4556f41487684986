#include "tests/support/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

constinit thread_local bool failing = false;
constinit thread_local std::size_t grantsLeft = 0;
constinit thread_local std::size_t refusals = 0;
constinit thread_local std::size_t mostRefusals = 0;

void* allocate(std::size_t size) noexcept
{
    if (failing && refusals < mostRefusals) {
        if (grantsLeft == 0) {
            ++refusals;
            return nullptr;
        }
        --grantsLeft;
    }
    return std::malloc(size > 0 ? size : 1);
}

void* allocateOrThrow(std::size_t size)
{
    void* memory = allocate(size);
    if (!memory) throw std::bad_alloc();
    return memory;
}

}  // namespace

FailingAllocation::FailingAllocation(std::size_t granted, std::size_t toRefuse)
{
    grantsLeft = granted;
    refusals = 0;
    mostRefusals = toRefuse;
    failing = true;
}

FailingAllocation::~FailingAllocation()
{
    failing = false;
}

std::size_t FailingAllocation::refused() const
{
    return refusals;
}

// All forms but those of an extended alignment, so that none of them pairs with another library's.

void* operator new(std::size_t size)
{
    return allocateOrThrow(size);
}

void* operator new[](std::size_t size)
{
    return allocateOrThrow(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
