#include "lab/ctl/check/Findings.h"

#include "lab/ctl/RecordText.h"
#include "lab/ctl/Rendering.h"

#include <algorithm>
#include <tuple>

namespace orvanectl {

namespace {

const char* nameOf(Severity severity)
{
    switch (severity) {
    case Severity::Note:
        return "note";
    case Severity::Warning:
        return "warning";
    case Severity::Error:
        return "error";
    }
    return "";
}

}  // namespace

std::string Finding::asLine() const
{
    std::string text = printable(file) + ':';
    if (line > 0) text += std::to_string(line) + ':';
    text.append(" ").append(nameOf(severity)).append(": ");
    if (!place.empty()) text += printable(place) + ": ";
    return text + printable(what);
}

std::string Finding::json() const
{
    return jsonLine({{"kind", "finding"},
                     {"file", printable(file)},
                     {"line", line},
                     {"severity", nameOf(severity)},
                     {"place", printable(place)},
                     {"what", printable(what)}});
}

void Findings::begin(const std::string& file)
{
    if (m_onBegin) m_onBegin(file);
    const auto found = std::ranges::find(m_files, file);
    m_current = static_cast<std::size_t>(found - m_files.begin());
    if (found == m_files.end()) m_files.push_back(file);
}

void Findings::add(Severity severity, int line, const std::string& place, const std::string& what)
{
    m_entries.push_back({m_current, {m_files.at(m_current), line, severity, place, what}});
}

std::vector<Finding> Findings::sorted() const
{
    std::vector<Entry> entries = m_entries;
    std::ranges::stable_sort(entries, {},
                             [](const Entry& entry) { return std::tuple(entry.file, entry.finding.line); });
    std::vector<Finding> findings;
    findings.reserve(entries.size());
    for (Entry& entry : entries) findings.push_back(std::move(entry.finding));
    return findings;
}

std::size_t Findings::count(Severity severity) const
{
    return static_cast<std::size_t>(
        std::ranges::count(m_entries, severity, [](const Entry& entry) { return entry.finding.severity; }));
}

}  // namespace orvanectl
