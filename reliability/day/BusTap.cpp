#include "reliability/day/BusTap.h"

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

constexpr const char* kWholeConfiguration = "\"systemName\":\"Kolt Gen II\"";

bool has(const std::string& line, const char* part)
{
    return line.find(part) != std::string::npos;
}

/// The number behind a member's name; 0 if there is none.
double numberOf(const std::string& line, const std::string& name)
{
    const std::string member = '"' + name + "\":";
    const auto at = line.find(member);
    return at == std::string::npos ? 0.0 : std::strtod(line.c_str() + at + member.size(), nullptr);
}

/// How many rows a list has that it had not before: it grows at its end, and loses its first ones then.
std::size_t newRows(const std::vector<std::string>& before, const std::vector<std::string>& now)
{
    for (std::size_t dropped = 0; dropped <= before.size(); ++dropped) {
        const std::size_t kept = before.size() - dropped;
        if (kept <= now.size() &&
            std::equal(before.begin() + static_cast<std::ptrdiff_t>(dropped), before.end(), now.begin()))
            return now.size() - kept;
    }
    return now.size();
}

}  // namespace

void BusLines::take(const std::string& line, Published& published)
{
    if (line.starts_with("{\"type\":\"answer\"")) {
        published.answers.push_back(static_cast<int>(numberOf(line, "id")));
        published.refused += !has(line, "\"ok\":true");
        return;
    }
    if (has(line, "\"type\":\"dropped\"")) published.dropped += static_cast<std::size_t>(numberOf(line, "lines"));
    if (!has(line, "\"type\":\"tell\"")) return;
    published.atMs = static_cast<std::int64_t>(numberOf(line, "at_ms"));
    if (has(line, "\"last\":true")) return;
    if (has(line, "\"tell\":\"blended-navigation\"")) {
        // The one that is told at the start has no time.
        if (!has(line, "\"timeOfValidity\":null")) published.joins.push_back(numberOf(line, "gpsSeconds"));
    } else if (has(line, "\"tell\":\"navwar-sa\"")) {
        ++published.awareness;
        const auto count = static_cast<std::size_t>(numberOf(line, "threatCount"));
        published.threats += count;
        if (count > 0) published.threatTells.push_back({published.atMs, count});
    } else if (has(line, "\"tell\":\"warning-messages\"")) {
        takeWarnings(line, published);
    } else if (has(line, "\"tell\":\"execute-built-in-tests\"")) {
        if (!has(line, "\"id\":\"\"")) published.tests.push_back(published.atMs);
    } else if (has(line, "\"tell\":\"clear-built-in-test-results\"")) {
        published.testsForgotten += has(line, "\"cleared\":1");
    } else if (has(line, "\"tell\":\"system-configuration\"")) {
        if (has(line, kWholeConfiguration)) published.configurations.push_back(published.atMs);
    }
}

void BusLines::takeWarnings(const std::string& line, Published& published)
{
    const auto begin = line.find("\"warnings\":[");
    if (begin == std::string::npos || line.compare(begin, std::string::npos, m_lastWarnings) == 0) return;
    m_lastWarnings = line.substr(begin);
    std::vector<std::string> rows;
    const Json parsed = Json::parse(line);
    for (const Json& row : parsed.at("record").at("warnings")) rows.push_back(row.dump());
    const std::size_t count = m_isFirst ? rows.size() : newRows(m_rows, rows);
    m_isFirst = false;
    for (std::size_t i = rows.size() - count; i < rows.size(); ++i) {
        ++published.warnings;
        const bool isLost = has(rows[i], "\"warningId\":67");
        const bool isOfGps = isLost || has(rows[i], "\"warningId\":68");
        const bool isCleared = has(rows[i], "Clear data complete");
        if (isOfGps) published.gpsWarnings.push_back({published.atMs, isLost});
        if (!isOfGps && !isCleared) published.otherWarnings.push_back(published.atMs);
        if (isCleared) published.clearings.push_back(published.atMs);
        published.timedOut += has(rows[i], "timed out after 7200 seconds");
    }
    m_rows = std::move(rows);
}

BusTap::BusTap(const std::string& path) : m_socket(path), m_thread([this] { run(); }) {}

BusTap::~BusTap()
{
    m_socket.shutDown();
    m_thread.join();
}

void BusTap::request(const std::string& name, int id)
{
    m_socket.send(Json{{"request", name}, {"id", id}}.dump());
}

Published BusTap::published() const
{
    const std::lock_guard lock(m_mutex);
    return m_published;
}

void BusTap::run()
{
    BusLines lines;
    std::string rest;
    while (m_socket.read(rest)) {
        const std::lock_guard lock(m_mutex);
        std::size_t begin = 0;
        for (auto end = rest.find('\n'); end != std::string::npos; end = rest.find('\n', begin = end + 1))
            lines.take(rest.substr(begin, end - begin), m_published);
        rest.erase(0, begin);
    }
    m_hasEnded = true;
}
