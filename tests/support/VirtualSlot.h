#ifndef TESTS_SUPPORT_VIRTUALSLOT_H
#define TESTS_SUPPORT_VIRTUALSLOT_H

#include <cstdint>
#include <cstring>

/// A number that grows by `sizeof(void*)` from one virtual operation of a class to the next: the first word of a pointer
/// to a virtual member tells its slot (Itanium C++ ABI, and its variant for ARM).
template <class Member>
std::uintptr_t virtualSlot(Member member)
{
    std::uintptr_t word = 0;
    static_assert(sizeof member >= sizeof word);
    std::memcpy(&word, &member, sizeof word);
    return word;
}

/// A base whose one operation stands next to the destructor.
struct AfterDestructor {
    virtual ~AfterDestructor() = default;
    virtual void operation() {}
};

#endif
