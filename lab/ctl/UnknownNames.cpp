#include "lab/ctl/UnknownNames.h"

#include "lab/ctl/BusNames.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/RecordTypes.h"
#include "lab/text/NearestWord.h"

#include <algorithm>

namespace orvanectl {

namespace {

std::string unknownAmong(const std::vector<std::string>& names, const std::string& name)
{
    if (std::ranges::find(names, name) != names.end()) return "";
    return "nothing on the bus is named \"" + printable(name) + "\"; " + nearestOrAll(name, names);
}

}  // namespace

std::string nearestOrAll(std::string_view word, const std::vector<std::string>& words)
{
    if (const std::string nearest = labtext::nearestWord(word, words); !nearest.empty())
        return "did you mean " + printable(nearest) + '?';
    std::string all;
    for (const std::string& one : words) all += (all.empty() ? "" : ", ") + printable(one);
    return "there are: " + (all.empty() ? "none" : all);
}

std::vector<std::string> busNames()
{
    std::vector<std::string> names;
    for (const BusName& one : kBusNames) names.emplace_back(one.name);
    return names;
}

std::vector<std::string> keptNames()
{
    std::vector<std::string> names;
    for (const BusName& one : kBusNames)
        if (one.isKept) names.emplace_back(one.name);
    return names;
}

std::vector<std::string> tellNames()
{
    std::vector<std::string> names = keptNames();
    std::erase_if(names, [](const std::string& name) { return name == "faults" || name == "service"; });
    return names;
}

std::string unknownBusName(const std::string& name)
{
    return unknownAmong(busNames(), name);
}

std::string unknownKeptName(const std::string& name)
{
    return unknownAmong(keptNames(), name);
}

std::string unknownTypeName(const std::string& name)
{
    std::vector<std::string> names;
    for (const RecordType& type : recordTypes()) names.emplace_back(type.name);
    return "no type \"" + printable(name) + "\"; " + nearestOrAll(name, names);
}

}  // namespace orvanectl
