#ifndef LAB_FAULTS_FAULTPAGE_H
#define LAB_FAULTS_FAULTPAGE_H

#include "lab/faults/FaultPlan.h"

#include <atomic>
#include <cstdint>

namespace faults {

/// What a plan's control file holds, which the program and whoever watches it map both. All zero at first. Whoever
/// watches says from when to when calls count, and so when they may fail.
struct FaultPage {
    std::atomic<std::uint32_t> isArmed;
    std::atomic<std::uint32_t> failed;             // calls that were made to fail
    std::atomic<std::uint64_t> calls[kKindCount];  // counted, by kind
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free && std::atomic<std::uint32_t>::is_always_lock_free,
              "two processes share them");

}  // namespace faults

#endif
