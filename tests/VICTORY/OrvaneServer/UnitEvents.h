#ifndef TESTS_VICTORY_ORVANESERVER_UNITEVENTS_H
#define TESTS_VICTORY_ORVANESERVER_UNITEVENTS_H

#include "ASPN/HealthReporter.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/// The health events of this process that wait, in their order, each as "<type>:<text>". Takes them.
inline std::vector<std::string> takeHealthEvents()
{
    std::vector<std::string> events;
    std::int32_t type = -1;
    std::string text;
    while (HealthReporter::Instance().queue().pop_front(type, text, std::chrono::nanoseconds(0)))
        events.push_back(std::to_string(type) + ":" + text);
    return events;
}

/// Lets the record of faults run as it does in service: an event tells its place, as "<type>:<file>[<line>]:<text>".
inline void recordFaults()
{
    initFaultHysteresisOrExit(FaultHysteresis::Instance());
}

#endif
