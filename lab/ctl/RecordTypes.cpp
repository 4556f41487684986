#include "lab/ctl/RecordTypes.h"

#include "lab/ctl/FieldReading.h"
#include "lab/ctl/FieldTexts.h"
#include "lab/ctl/FieldWriting.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <type_traits>

namespace orvanectl {

namespace {

/// A single with no more digits than tell it from its neighbours: 0.1 and not 0.10000000149011612.
double shortest(float value)
{
    if (!std::isfinite(value)) return value;
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    double result = 0.0;
    std::from_chars(text.data(), end, result);
    return result;
}

template <class Record>
void writeRecord(const Record& record, FieldSink& sink);

template <class T>
void writeValue(const T& value, FieldSink& sink)
{
    if constexpr (std::is_enum_v<T>) {
        sink.value(static_cast<std::underlying_type_t<T>>(value));
    } else if constexpr (std::is_same_v<T, float>) {
        sink.real(shortest(value));
    } else if constexpr (std::is_arithmetic_v<T>) {
        sink.value(value);
    } else if constexpr (layout::kIsText<T>) {
        sink.text(printable(value));
    } else if constexpr (kIsCharacters<T>) {
        sink.text(printable({value.data(), value.size()}));
    } else if constexpr (std::is_same_v<T, std::vector<std::uint8_t>>) {
        sink.text(hexOf(value));
    } else if constexpr (layout::kIsArray<T> || layout::kIsSequence<T>) {
        sink.beginArray();
        for (const auto& element : value) writeValue(element, sink);
        sink.endArray();
    } else {
        writeRecord(value, sink);
    }
}

template <class Record>
void writeRecord(const Record& record, FieldSink& sink)
{
    const FieldText* text = FieldTexts<Record>::all;
    auto write = [&]<class T>(const T& value) {
        if constexpr (!std::is_same_v<T, header>) {
            sink.name(text->name);
            writeValue(value, sink);
        }
        ++text;
    };
    sink.beginObject();
    layout::Access::eachField(record, write);
    sink.endObject();
}

template <class Record>
Json unitsOf();

/// @param unit  the field's own
template <class T>
Json unitOf(std::string_view unit)
{
    if constexpr (layout::kIsArray<T> || layout::kIsSequence<T>)
        return unitOf<typename T::value_type>(unit);
    else if constexpr (layout::Record<T>)
        return unitsOf<T>();
    else
        return unit.empty() ? Json() : Json(unit);
}

template <class Record>
Json unitsOf()
{
    Json units;
    const FieldText* text = FieldTexts<Record>::all;
    auto add = [&]<class T>(std::type_identity<T>) {
        if constexpr (!std::is_same_v<T, header>)
            if (Json unit = unitOf<T>(text->unit); !unit.is_null()) units[text->name] = std::move(unit);
        ++text;
    };
    layout::Access::eachType<Record>(add);
    return units;
}

template <class Record>
const Json& unitsOfType()
{
    static const Json kUnits = unitsOf<Record>();
    return kUnits;
}

template <class Record>
void writeFieldsOf(const void* record, FieldSink& sink)
{
    writeRecord(*static_cast<const Record*>(record), sink);
}

template <class Record>
Json fieldsOf(const void* record)
{
    FieldTree tree;
    writeFieldsOf<Record>(record, tree);
    return tree.take();
}

template <class Record>
const header& headerOf(const void* record)
{
    return static_cast<const Record*>(record)->header();
}

template <class Record>
RecordPointer makeRecord()
{
    return std::make_shared<Record>();
}

template <class Record>
header& headerIn(void* record)
{
    return static_cast<Record*>(record)->header();
}

template <class Record>
void setFields(void* record, const Json& fields, const NotFinite& notFinite)
{
    readFields(*static_cast<Record*>(record), fields, "message", notFinite);
}

template <class Record>
bool isTypeSupportOf(const FACE::TSS::HX_TSS::TopicDataType& type)
{
    return dynamic_cast<const TypeSupport<Record>*>(&type) != nullptr;
}

#define ORVANECTL_ROW(Name)                                                                                            \
    {#Name,          fieldsOf<Name>,  unitsOfType<Name>, headerOf<Name>,                                               \
     headerIn<Name>, setFields<Name>, makeRecord<Name>,  isTypeSupportOf<Name>},
constexpr RecordType kTypes[] = {ORVANECTL_TOPIC_TYPES(ORVANECTL_ROW)};
static_assert(std::size(kTypes) == 32);

struct FieldWriter {
    std::string_view name;
    void (*write)(const void* record, FieldSink& sink);
};

#define ORVANECTL_WRITER(Name) {#Name, writeFieldsOf<Name>},
constexpr FieldWriter kWriters[] = {ORVANECTL_TOPIC_TYPES(ORVANECTL_WRITER)};

}  // namespace

std::string RecordType::typeName() const
{
    return "aspn2_msgs::idl::" + std::string(name);
}

std::string RecordType::pubSubType() const
{
    return std::string(name) + "PubSubType";
}

void writeFields(const RecordType& type, const void* record, FieldSink& sink)
{
    std::ranges::find(kWriters, type.name, &FieldWriter::name)->write(record, sink);
}

const Json& headerUnits()
{
    return unitsOfType<header>();
}

void setHeader(aspn2_msgs::idl::header& header, const Json& fields)
{
    constexpr const char* kDeviceId = "device_id";
    Json others = fields;
    if (const auto id = fields.find(kDeviceId); id != fields.end()) {
        const Json& value = id->is_object() && id->contains("value") ? id->at("value") : *id;
        header.device_id(static_cast<std::int32_t>(deviceIdOf(value)));
        others.erase(kDeviceId);
    }
    readFields(header, others, "header", {});
}

std::span<const RecordType> recordTypes()
{
    return kTypes;
}

const RecordType* findRecordType(std::string_view name)
{
    const auto* const found = std::ranges::find_if(kTypes, [name](const RecordType& type) {
        return name == type.name || name == type.pubSubType() || name == type.typeName();
    });
    return found == std::end(kTypes) ? nullptr : found;
}

std::string namesOfRecordTypes()
{
    std::string names;
    for (const RecordType& type : kTypes) names += (names.empty() ? "" : ", ") + std::string(type.name);
    return names;
}

}  // namespace orvanectl
