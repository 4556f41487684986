// What it takes to send an event, and to take it from the queue, for script/instructions.

#include "ASPN/FaultHysteresis.h"
#include "ASPN/HealthReporter.h"
#include "bench/Counted.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace {

constexpr const char* kFile = "VICTORY/OrvaneServer/OrvaneServerInbound.cpp";
constexpr const char* kText = "OrvaneServer: An exception occurred. Details: something about as long as texts are";
constexpr int kFull = 2000;

}  // namespace

int main()
{
    FaultHysteresis hysteresis([] { return FaultHysteresis::Clock::time_point(); });
    hysteresis.OkInitFaultHysteresis(180, 16, kFull);
    for (int line = 0; line < kFull; ++line) {
        std::int32_t type = EventTypes::EVENT_FAULT;
        hysteresis.Check(type, kFile, line, kText);
    }
    HealthReporter reporter(hysteresis);
    const auto sendAndTake = [&](EventTypes::eEventType type) {
        reporter.SendEvent(kFile, 123, type, kText);
        std::int32_t taken = 0;
        std::string text;
        reporter.queue().pop_front(taken, text, std::chrono::nanoseconds(0));
    };
    counted("event.information", 100, [&] { sendAndTake(EventTypes::EVENT_INFORMATION); });
    counted("event.fault", 100, [&] { sendAndTake(EventTypes::EVENT_FAULT); });
}
