#include "lab/ctl/report/Comparison.h"

#include "lab/ctl/report/Course.h"

#include <algorithm>
#include <string>
#include <vector>

namespace orvanectl {

namespace {

constexpr struct {
    const char* name;
    const char* unit;
    const char* place;
} kRows[] = {{"length", "s", "/seconds"},
             {"messages", "", "/messages"},
             {"time messages", "", "/joins/epochs"},
             {"joined", "", "/joins/joined"},
             {"join rate", "", "/joins/rate"},
             {"horizontal error, median", "m", "/errors/horizontal/spread/median"},
             {"horizontal error, most", "m", "/errors/horizontal/spread/most"},
             {"vertical error, median", "m", "/errors/vertical/spread/median"},
             {"vertical error, most", "m", "/errors/vertical/spread/most"},
             {"FOM, most", "", "/errors/fom/spread/most"},
             {"GPS not available", "s", "/gpsLost"},
             {"latency since the time message, median", "ms", "/latencies/fromTime/spread/median"},
             {"latency since the time message, 95 %", "ms", "/latencies/fromTime/spread/p95"},
             {"latency since the last input, median", "ms", "/latencies/fromLast/spread/median"},
             {"latency since the last input, 95 %", "ms", "/latencies/fromLast/spread/p95"},
             {"warnings", "", "/warnings/count"},
             {"events", "", "/events/count"},
             {"driven", "m", "/track/driven"}};

Json numberAt(const Json& report, const std::string& place)
{
    const Json::json_pointer pointer(place);
    return report.contains(pointer) && report[pointer].is_number() ? report[pointer] : Json();
}

/// Of a list of objects, that whose `key` is this text; null if there is none.
Json rowIn(const Json& list, const char* key, const std::string& text)
{
    for (const Json& row : list)
        if (row[key] == text) return row;
    return nullptr;
}

/// The texts of a member in the rows of both, each once.
std::vector<std::string> namesIn(const Json& a, const Json& b, const char* key)
{
    std::vector<std::string> names;
    for (const Json* list : {&a, &b})
        for (const Json& row : *list) {
            const std::string name = row[key];
            if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
        }
    return names;
}

void add(Json& rows, const std::string& name, const char* unit, const Json& a, const Json& b)
{
    if (a.is_null() && b.is_null()) return;
    const bool hasBoth = a.is_number() && b.is_number();
    rows.push_back({{"name", name},
                    {"unit", unit},
                    {"a", a},
                    {"b", b},
                    {"difference", hasBoth ? roundedTo(b.get<double>() - a.get<double>(), 0.0001) : Json()}});
}

}  // namespace

Json comparisonOf(const Json& a, const Json& b)
{
    Json rows = Json::array();
    for (const auto& row : kRows) add(rows, row.name, row.unit, numberAt(a, row.place), numberAt(b, row.place));

    const Json &causesA = a["joins"]["causes"], &causesB = b["joins"]["causes"];
    for (const std::string& cause : namesIn(causesA, causesB, "cause")) {
        const Json inA = rowIn(causesA, "cause", cause), inB = rowIn(causesB, "cause", cause);
        add(rows, "not joined: " + cause, "times", inA.is_null() ? Json(0) : inA["times"],
            inB.is_null() ? Json(0) : inB["times"]);
    }
    for (const std::string& name : namesIn(a["publications"], b["publications"], "name")) {
        const Json inA = rowIn(a["publications"], "name", name), inB = rowIn(b["publications"], "name", name);
        const auto of = [](const Json& row, const char* key) { return row.is_null() ? Json() : row[key]; };
        add(rows, name + " told", "times", of(inA, "count"), of(inB, "count"));
        add(rows, name + ", gaps", "", of(inA, "gapCount"), of(inB, "gapCount"));
        add(rows, name + ", longest gap", "s", of(inA, "longestGap"), of(inB, "longestGap"));
    }
    for (const std::string& name : namesIn(a["topics"], b["topics"], "name")) {
        const Json inA = rowIn(a["topics"], "name", name), inB = rowIn(b["topics"], "name", name);
        const auto of = [](const Json& row) { return row.is_null() ? Json() : row["hertz"]; };
        add(rows, "rate of " + name, "Hz", of(inA), of(inB));
    }
    return rows;
}

}  // namespace orvanectl
