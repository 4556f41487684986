#include "tests/VICTORY/OrvaneServer/OpenServer.h"

#include "ASPN/HealthReporter.h"

#include <chrono>
#include <cstdint>

std::string popHealthEvent()
{
    std::int32_t type = -1;
    std::string text;
    if (!HealthReporter::Instance().queue().pop_front(type, text, std::chrono::nanoseconds(0))) return "none";
    return std::to_string(type) + ":" + text;
}

std::vector<std::string> popHealthEvents()
{
    std::vector<std::string> events;
    for (auto event = popHealthEvent(); event != "none"; event = popHealthEvent()) events.push_back(event);
    return events;
}
