#ifndef TESTS_SUPPORT_FAILINGALLOCATION_H
#define TESTS_SUPPORT_FAILINGALLOCATION_H

#include <cstddef>
#include <cstdint>

/// While this object lives, `operator new` of the calling thread throws `std::bad_alloc` once it has granted a number
/// of requests, for as many more as it is told to refuse; other threads go on as ever. A program that compiles this unit
/// has its allocation functions replaced. One object at a time in a thread; make no assertion in its scope, since that
/// allocates too.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t granted = 0, std::size_t toRefuse = SIZE_MAX);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Requests refused so far.
    std::size_t refused() const;
};

#endif
