#include "reliability/day/BusTap.h"

#include "tests/support/ChildProcess.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using Json = nlohmann::json;

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
        ++published.answers;
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
        published.threats += static_cast<std::size_t>(numberOf(line, "threatCount"));
    } else if (has(line, "\"tell\":\"warning-messages\"")) {
        takeWarnings(line, published);
    } else if (has(line, "\"tell\":\"execute-built-in-tests\"")) {
        ++published.tests;
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
        published.gpsWarnings += has(rows[i], "\"warningId\":67") || has(rows[i], "\"warningId\":68");
        published.cleared += has(rows[i], "Clear data complete");
        published.timedOut += has(rows[i], "timed out after 7200 seconds");
    }
    m_rows = std::move(rows);
}

BusTap::BusTap(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error(path + " is too long");
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isThere =
        eventually([&] { return connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0; });
    if (!isThere) {
        close(m_socket);
        throw std::runtime_error("there is no bus at " + path);
    }
    m_thread = std::thread([this] { run(); });
}

BusTap::~BusTap()
{
    shutdown(m_socket, SHUT_RDWR);
    m_thread.join();
    close(m_socket);
}

void BusTap::request(const std::string& name)
{
    const std::string line = Json{{"request", name}}.dump() + "\n";
    if (send(m_socket, line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size()))
        throw std::runtime_error("the bus takes no request");
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
    std::vector<char> part(std::size_t{1} << 18);
    for (ssize_t count = 0; (count = recv(m_socket, part.data(), part.size(), 0)) > 0;) {
        rest.append(part.data(), static_cast<std::size_t>(count));
        const std::lock_guard lock(m_mutex);
        std::size_t begin = 0;
        for (auto end = rest.find('\n'); end != std::string::npos; end = rest.find('\n', begin = end + 1))
            lines.take(rest.substr(begin, end - begin), m_published);
        rest.erase(0, begin);
    }
    m_hasEnded = true;
}
