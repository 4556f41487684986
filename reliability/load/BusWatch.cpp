#include "reliability/load/BusWatch.h"

#include "reliability/load/Navigator.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

BusWatch::BusWatch() : m_thread([this](const std::stop_token& stop) { watch(stop); }) {}

void BusWatch::watch(const std::stop_token& stop)
{
    try {
        Bus bus;
        while (!stop.stop_requested()) take(bus.await("any line", [](const Bus::Json&) { return true; }));
    } catch (const std::exception& error) {
        const std::lock_guard lock(m_mutex);
        m_failure = error.what();
    }
}

void BusWatch::take(const Bus::Json& line)
{
    if (line.value("type", "") == "dropped") throw std::runtime_error("the bus has dropped lines");
    if (line.value("type", "") != "tell" || line.value("last", false)) return;
    const auto tell = line.value("tell", "");
    if (tell == "blended-navigation")
        takeBlended(line);
    else if (tell == "warning-messages")
        takeWarnings(line);
    else if (tell == "navwar-sa")
        takeThreats(line);
}

void BusWatch::takeBlended(const Bus::Json& line)
{
    if (line.at("timeOfValidity").is_null()) return;
    const auto made = Epochs::read(line.at("record"));
    const std::lock_guard lock(m_mutex);
    if (made)
        m_told.push_back({line.at("at_ms").get<double>(), *made});
    else
        ++m_unreadable;
}

void BusWatch::takeWarnings(const Bus::Json& line)
{
    NumberedTell tell{line.at("at_ms").get<double>(), {}};
    for (const auto& warning : line.at("record").at("warnings"))
        if (const auto number = Navigator::warningOf(warning.at("customText").get<std::string>()); number != 0)
            tell.numbers.push_back(number);
    const std::lock_guard lock(m_mutex);
    m_warnings.push_back(std::move(tell));
}

void BusWatch::takeThreats(const Bus::Json& line)
{
    NumberedTell tell{line.at("at_ms").get<double>(), {}};
    for (const auto& threat : line.at("record").at("threats"))
        tell.numbers.push_back(Navigator::threatOf(threat.at("centreFrequency_Hz").get<double>()));
    const std::lock_guard lock(m_mutex);
    m_threats.push_back(std::move(tell));
}

void BusWatch::end()
{
    askToEnd();
    if (m_thread.joinable()) m_thread.join();
    const std::lock_guard lock(m_mutex);
    if (!m_failure.empty()) throw std::runtime_error(m_failure);
}

std::size_t BusWatch::count() const
{
    const std::lock_guard lock(m_mutex);
    return m_told.size();
}

std::vector<Told> BusWatch::told() const
{
    const std::lock_guard lock(m_mutex);
    return m_told;
}

std::vector<NumberedTell> BusWatch::warnings() const
{
    const std::lock_guard lock(m_mutex);
    return m_warnings;
}

std::vector<NumberedTell> BusWatch::threats() const
{
    const std::lock_guard lock(m_mutex);
    return m_threats;
}

std::size_t BusWatch::unreadable() const
{
    const std::lock_guard lock(m_mutex);
    return m_unreadable;
}

bool BusWatch::awaitEpoch(std::int32_t epoch) const
{
    return eventually([&] {
        const std::lock_guard lock(m_mutex);
        return std::ranges::any_of(m_told, [&](const Told& told) { return told.made.utcTime == epoch; });
    });
}
