#include "lab/ctl/seq/BusNews.h"

#include "lab/ctl/BusNames.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace orvanectl {

namespace {

using Json = BusLink::Json;

std::string textOf(const Json& object, const char* key)
{
    const auto value = object.find(key);
    return value != object.end() && value->is_string() ? value->get<std::string>() : "";
}

bool isPublication(const std::string& type)
{
    if (type == "tell") return true;
    const auto* const found = std::ranges::find(kBusNames, type, &BusName::name);
    return found != std::end(kBusNames) && found->isNews;
}

}  // namespace

std::vector<Observation> BusNews::observe(const Json& line, Observation::Time now)
{
    if (!line.is_object()) return {};
    const std::string type = textOf(line, "type");
    if (!isPublication(type)) return {};
    const std::string name = type == "tell" ? textOf(line, "tell") : type;
    std::vector<Observation> news = {{now, Kind::Tell, name, 0, busSummary(line)}};
    if (name == "warning-messages" && line.contains("record"))
        for (const auto& [number, text] : newWarnings(line["record"]))
            news.push_back(
                {now, Kind::Warning, "", number, std::to_string(number) + (text.empty() ? "" : " \"" + text + '"')});
    if (line.contains("last") && !m_fromTheStart) news.clear();
    return news;
}

/// The list grows at its end and drops its oldest rows: what follows the longest piece that both lists share is new.
std::vector<BusNews::Row> BusNews::newWarnings(const Json& record)
{
    if (!record.is_object() || !record.contains("warnings") || !record["warnings"].is_array()) return {};
    std::vector<Row> rows;
    for (const Json& row : record["warnings"]) {
        if (!row.is_object() || !row.contains("warningId") || !row["warningId"].is_number_integer()) continue;
        rows.emplace_back(row["warningId"].get<int>(), textOf(row, "customText"));
    }
    std::size_t shared = std::min(m_warnings.size(), rows.size());
    const auto isShared = [&] {
        return std::equal(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(shared),
                          m_warnings.end() - static_cast<std::ptrdiff_t>(shared));
    };
    while (!isShared()) --shared;
    m_warnings = rows;
    rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(shared));
    return rows;
}

}  // namespace orvanectl
