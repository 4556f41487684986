#include "ASPN/HealthReporter.h"

HealthReporter& HealthReporter::Instance()
{
    static HealthReporter instance;
    return instance;
}

HealthReporter::HealthReporter(FaultHysteresis& hysteresis, ASPN2::EventQueue::Clock::time_point (*now)())
    : m_hysteresis(hysteresis), m_queue(kEventQueueLimit, EventTypes::EVENT_INFORMATION, configRepeatDuration, now)
{}

void HealthReporter::SendEvent(const char* file, int line, std::int32_t type, const char* text)
{
    std::int32_t typeToSend = type;
    const std::string textToSend = m_hysteresis.Check(typeToSend, file, line, text ? text : "");
    const bool isKnown = typeToSend >= EventTypes::EVENT_GENERAL && typeToSend <= EventTypes::EVENT_SEVERE;
    m_queue.push_back(isKnown ? typeToSend : EventTypes::EVENT_GENERAL, textToSend);
}

std::size_t HealthReporter::SendConfigEvent(const std::string& text)
{
    return m_queue.push_back_config(text);
}

std::size_t HealthReporter::ReplaceConfigEvent(const std::string& text, std::size_t hash)
{
    return m_queue.push_back_config(text, hash);
}
