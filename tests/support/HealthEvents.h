#ifndef TESTS_SUPPORT_HEALTHEVENTS_H
#define TESTS_SUPPORT_HEALTHEVENTS_H

#include "ASPN/HealthReporter.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/// The next health event of this process as "<type>:<text>"; "none" if there is none. Takes it.
inline std::string popHealthEvent()
{
    std::int32_t type = -1;
    std::string text;
    if (!HealthReporter::Instance().queue().pop_front(type, text, std::chrono::nanoseconds(0))) return "none";
    return std::to_string(type) + ":" + text;
}

/// All that wait, in their order. Takes them.
inline std::vector<std::string> popHealthEvents()
{
    std::vector<std::string> events;
    for (auto event = popHealthEvent(); event != "none"; event = popHealthEvent()) events.push_back(event);
    return events;
}

/// Lets the record of faults run as it does in service: an event tells its place, as "<type>:<file>[<line>]:<text>".
inline void recordFaults()
{
    initFaultHysteresisOrExit(FaultHysteresis::Instance());
}

#endif
