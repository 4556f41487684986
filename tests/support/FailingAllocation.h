#ifndef TESTS_SUPPORT_FAILINGALLOCATION_H
#define TESTS_SUPPORT_FAILINGALLOCATION_H

#include <cstddef>

/// While this object lives, `operator new` of the calling thread throws `std::bad_alloc` once it has granted a number
/// of requests; other threads go on as ever. A program that compiles this unit has its allocation functions replaced.
/// One object at a time in a thread; make no assertion in its scope, since that allocates too.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t granted = 0);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Requests refused so far.
    std::size_t refused() const;
};

#endif
