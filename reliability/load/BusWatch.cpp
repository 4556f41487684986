#include "reliability/load/BusWatch.h"

#include <algorithm>
#include <stdexcept>

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
    const bool isBlended = line.value("type", "") == "tell" && line.value("tell", "") == "blended-navigation";
    if (!isBlended || line.value("last", false) || line.at("timeOfValidity").is_null()) return;
    const auto made = Epochs::read(line.at("record"));
    const std::lock_guard lock(m_mutex);
    if (made)
        m_told.push_back({line.at("at_ms").get<double>(), *made});
    else
        ++m_unreadable;
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
