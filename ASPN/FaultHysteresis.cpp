#include "ASPN/FaultHysteresis.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace {

/// What stands behind the last slash of either kind.
std::string_view fileNameOf(std::string_view path)
{
    const auto isSlash = [](char character) { return character == '/' || character == '\\'; };
    const auto name = std::find_if(path.rbegin(), path.rend(), isSlash).base();  // find_last_of is ten times as slow
    return {name, path.end()};
}

}  // namespace

FaultHysteresis& FaultHysteresis::Instance()
{
    static FaultHysteresis& instance = *new FaultHysteresis;
    return instance;
}

bool FaultHysteresis::OkInitFaultHysteresis(int spanSeconds, int threshold, int limit)
{
    if (spanSeconds < 0 || threshold < 0 || limit < 0) return false;
    const MutexLock lock(m_mutex);
    m_spanSeconds = spanSeconds;
    m_threshold = threshold;
    m_limit = limit;
    m_isEnabled = threshold != 0 && limit != 0;
    m_entries.clear();
    return true;
}

std::string FaultHysteresis::Check(std::int32_t& type, const char* file, int line, const std::string& text)
{
    if (!m_isEnabled || type < 3 || type > 5) return text;
    const std::string_view path = file ? file : "";
    const std::string_view name = fileNameOf(path);
    const std::string lineText = std::to_string(line);
    std::string located;
    located.reserve(name.size() + lineText.size() + text.size() + 3);
    located.append(name).append("[").append(lineText).append("]:").append(text);
    if (type != 3) return located;

    std::string key;
    key.reserve(path.size() + lineText.size());
    key.append(path).append(lineText);
    fault_entry oldest;  // gives its memory back behind the lock
    const MutexLock lock(m_mutex);
    const Clock::time_point now = m_now();
    serviceLocked(now);
    if (!m_entries.empty() && m_entries.size() >= static_cast<std::size_t>(m_limit)) {
        oldest = std::move(m_entries.front());
        m_entries.pop_front();
    }
    m_entries.push_back({std::move(key), now});
    type = hysteresisLocked(type, m_entries.back().key);
    return located;
}

void FaultHysteresis::service()
{
    const MutexLock lock(m_mutex);
    serviceLocked(m_now());
}

std::int32_t FaultHysteresis::hysteresis(std::int32_t type, const std::string& key) const
{
    const MutexLock lock(m_mutex);
    return hysteresisLocked(type, key);
}

std::int32_t FaultHysteresis::hysteresisLocked(std::int32_t type, const std::string&) const
{
    return type;
}

std::size_t FaultHysteresis::size() const
{
    const MutexLock lock(m_mutex);
    return m_entries.size();
}

std::size_t FaultHysteresis::count(const std::string& key) const
{
    const MutexLock lock(m_mutex);
    return static_cast<std::size_t>(std::ranges::count(m_entries, key, &fault_entry::key));
}

void FaultHysteresis::serviceLocked(Clock::time_point now)
{
    if (m_spanSeconds == 0) return;
    const std::int64_t spanMs = std::int64_t{1000} * m_spanSeconds;
    const auto isAged = [now, spanMs](const fault_entry& entry) {
        return (now - entry.time) / std::chrono::milliseconds(1) >= spanMs;
    };
    while (!m_entries.empty() && isAged(m_entries.front())) m_entries.pop_front();
}

void initFaultHysteresisOrExit(FaultHysteresis& hysteresis, int spanSeconds, int threshold, int limit)
{
    if (hysteresis.OkInitFaultHysteresis(spanSeconds, threshold, limit)) return;
    std::perror("Unable to configure the Fault Hysteresis\n");
    std::exit(-1);
}
