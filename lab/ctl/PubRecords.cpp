#include "lab/ctl/PubRecords.h"

#include "lab/ctl/FieldReading.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/UnknownNames.h"
#include "lab/text/NearestWord.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <sstream>

namespace orvanectl {

namespace {

constexpr const char* kHeader = "header";
constexpr const char* kMessage = "message";

/// What stands below a value under a name, or an index.
Json& below(Json& value, const std::string& name, const std::string& path)
{
    if (value.is_object()) {
        if (value.contains(name)) return value.at(name);
        std::vector<std::string> names;
        for (const auto& [one, ignored] : value.items()) names.push_back(one);
        refuseUnknownField(path, name, names);
    }
    std::size_t index = 0;
    const auto read = std::from_chars(name.data(), name.data() + name.size(), index);
    const bool isIndex = read.ec == std::errc() && read.ptr == name.data() + name.size() && !name.empty();
    if (!value.is_array() || !isIndex || index >= value.size())
        refuseField(path, value.is_array() ? "it has " + std::to_string(value.size()) + " elements, counted from 0"
                                           : "has no fields");
    return value.at(index);
}

/// Notes that a field of the header was given.
/// @param name  its path within the header
void give(PubRecord::Given& given, const std::string& name, const std::string& path)
{
    if (name == "seq_num") given.number = true;
    if (name.starts_with("timestamp_arrival")) given.arrival = true;
    if (name.starts_with("timestamp_valid")) given.valid = true;
    if (!name.starts_with("device_id")) return;
    if (name != "device_id" && name != "device_id.value")
        refuseField(path, "only header.device_id.value sets the device id; --from sets its server");
    given.device = true;
}

/// JSON, a number that JSON does not know, or a text.
Json valueOfText(const std::string& text)
{
    if (text == "nan") return std::numeric_limits<double>::quiet_NaN();
    if (text == "inf") return std::numeric_limits<double>::infinity();
    if (text == "-inf") return -std::numeric_limits<double>::infinity();
    Json value = Json::parse(text, nullptr, false);
    return value.is_discarded() ? Json(text) : value;
}

/// The paths and numbers of notes such as "message.altitude is nan".
NotFinite notFiniteOf(const Json& line)
{
    NotFinite numbers;
    const auto notes = line.find("notes");
    if (notes == line.end() || !notes->is_array()) return numbers;
    for (const Json& note : *notes) {
        const std::string text = note.is_string() ? note.get<std::string>() : "";
        const std::size_t between = text.find(" is ");
        if (between == std::string::npos) continue;
        const Json number = valueOfText(text.substr(between + 4));
        if (number.is_number_float()) numbers[text.substr(0, between)] = number.get<double>();
    }
    return numbers;
}

/// Sets what stands under a path.
/// @param shown    the path as it was typed
/// @param setting  the whole of it
void setAt(Json& fields, const std::string& path, const std::string& shown, const std::string& setting)
{
    const std::size_t equals = setting.find('=');
    if (equals == std::string::npos || equals == 0) refuseField(setting, "FIELD=VALUE must stand here");
    Json* value = &fields;
    std::istringstream names(path);
    for (std::string name; std::getline(names, name, '.');) value = &below(*value, name, shown);
    const std::string text = setting.substr(equals + 1);
    const Json given = valueOfText(text);
    // A text may look like a number.
    *value = value->is_string() && !given.is_string() ? Json(text) : given;
}

const std::string& memberOf(const Json& line, const char* name)
{
    const auto member = line.find(name);
    if (member == line.end()) refuseField(name, "is missing");
    return textOf(*member, name);
}

}  // namespace

double PubRecord::validSeconds() const
{
    const auto& valid = type->headerOf(record.get()).timestamp_valid();
    return static_cast<double>(valid.sec()) + 1e-9 * valid.nsec();
}

void refuseUnknownField(const std::string& path, const std::string& name, const std::vector<std::string>& names)
{
    constexpr std::size_t kMostListed = 12;
    const auto beginsSo = [&](const std::string& one) { return one.starts_with(name); };
    std::string nearest = labtext::nearestWord(name, names);
    if (nearest.empty() && !name.empty() && std::ranges::count_if(names, beginsSo) == 1)
        nearest = *std::ranges::find_if(names, beginsSo);
    const bool isList = nearest.empty() && !names.empty() && names.size() <= kMostListed;
    refuseField(path, "there is no such field" + (nearest.empty() ? isList ? "; " + nearestOrAll("", names) : ""
                                                                  : "; did you mean " + nearest + '?'));
}

void setField(Json& fields, const std::string& setting)
{
    const std::string path = setting.substr(0, setting.find('='));
    setAt(fields, path, path, setting);
}

PubRecord recordOf(const WatchedTopic& topic, const std::vector<std::string>& settings)
{
    PubRecord made{topic.name, topic.type, topic.type->make(), {}};
    void* const record = made.record.get();
    Json header = decodeHeader(topic.type->headerOf(record)), message = topic.type->fieldsOf(record);
    const std::string ofHeader = std::string(kHeader) + '.';
    for (const std::string& setting : settings) {
        if (!setting.starts_with(ofHeader)) {
            setField(message, setting);
            continue;
        }
        const std::string path = setting.substr(0, setting.find('='));
        setAt(header, path.substr(ofHeader.size()), path, setting);
        give(made.given, path.substr(ofHeader.size()), path);
    }
    setHeader(topic.type->headerIn(record), header);
    topic.type->setFields(record, message, {});
    return made;
}

std::optional<PubRecord> recordOfLine(const std::string& line)
{
    const Json fields = Json::parse(line, nullptr, false);
    if (fields.is_discarded() || !fields.is_object()) refuseField("line", "is no object of JSON");
    if (fields.contains("kind") && memberOf(fields, "kind") != "record") return std::nullopt;
    const RecordType* const type = findRecordType(memberOf(fields, "type"));
    if (!type) refuseField("type", unknownTypeName(memberOf(fields, "type")));
    PubRecord made{unprintable(memberOf(fields, "topic"), "topic"), type, type->make(), {}};
    if (fields.contains(kHeader)) {
        const Json& header = fields.at(kHeader);
        setHeader(type->headerIn(made.record.get()), header);
        made.given = {header.contains("seq_num"), header.contains("timestamp_arrival"),
                      header.contains("timestamp_valid"), header.contains("device_id")};
    }
    if (!fields.contains(kMessage)) refuseField(kMessage, "is missing");
    type->setFields(made.record.get(), fields.at(kMessage), notFiniteOf(fields));
    return made;
}

}  // namespace orvanectl
