#ifndef FUZZ_PRETENDEDTIME_H
#define FUZZ_PRETENDEDTIME_H

#include <chrono>
#include <ctime>
#include <functional>

/// The time of a target that is linked with it, in place of the machine's: the steady clock, `time`, and waits for a
/// condition with a limit. It stands still until the target lets it pass, so that hours of the service take no time, and
/// what has threads in the service runs on one here, in the same order each time. One for the process; one thread.
///
/// The steady clock, `time` and `pthread_cond_clockwait` are replaced by the linker (CMakeLists.txt); a `WatchdogTimer`
/// has no thread, but expires within `pass`.
namespace fuzz::PretendedTime {

using Clock = std::chrono::steady_clock;

/// How a wait ends. It may also end for nothing, as those of a machine do.
enum class Wake { Notified, TimeIsUp };

/// Begins anew: nothing waits to expire, and no wait is expected.
void begin(std::time_t seconds);

Clock::time_point now();
std::time_t seconds();

/// What `time` counts, with its fraction.
Clock::duration sinceEpoch();

/// Lets time pass on both clocks. What expires meanwhile does so on the way, in its order.
void pass(Clock::duration duration);

/// Sets `time` forth or back, as who steps the machine's clock does.
void step(std::time_t seconds);

/// What happens while somebody waits; the lock of the condition is free meanwhile. It lets time pass up to the limit at
/// the most, and there if it says that the time is up.
void onWait(std::function<Wake(Clock::time_point limit)> action);

}  // namespace fuzz::PretendedTime

#endif
