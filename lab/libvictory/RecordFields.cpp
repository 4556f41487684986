#include "lab/libvictory/RecordFields.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>

namespace labvictory {

namespace {

struct Table;

struct Field {
    enum class Kind { Unsigned, Signed, Real, Text, Record, Rows, Numbers, Reserved };

    const char* key;
    std::size_t offset;
    std::size_t size;
    Kind kind;
    const Table* table = nullptr;  // of a record, or of a row
    std::size_t countOffset = 0;   // of rows and numbers
};

struct Table {
    std::size_t size;
    std::span<const Field> fields;
};

template <class Member>
constexpr Field::Kind kindOf()
{
    if constexpr (std::is_same_v<Member, double>) return Field::Kind::Real;
    if constexpr (std::is_same_v<Member, std::uint32_t>) return Field::Kind::Unsigned;
    if constexpr (std::is_same_v<Member, std::int32_t>) return Field::Kind::Signed;
    static_assert(std::is_arithmetic_v<Member> || std::is_same_v<std::remove_extent_t<Member>, char>);
    return Field::Kind::Text;
}

/// Every byte of the record belongs to one field, in order.
consteval bool covers(const Table& table)
{
    std::size_t end = 0;
    for (const Field& field : table.fields) {
        if (field.offset != end || field.size == 0) return false;
        end += field.size;
    }
    return end == table.size;
}

#define AT(member) offsetof(Record, member), sizeof(Record::member)
#define VALUE(member, unit)                                                                                            \
    Field                                                                                                              \
    {                                                                                                                  \
#member unit, AT(member), kindOf < decltype(Record::member)>()                                                 \
    }
#define ROWS(member, rowTable, count)                                                                                  \
    Field                                                                                                              \
    {                                                                                                                  \
#member, AT(member), Field::Kind::Rows, &(rowTable), offsetof(Record, count)                                   \
    }
#define RESERVED(member)                                                                                               \
    Field                                                                                                              \
    {                                                                                                                  \
#member, AT(member), Field::Kind::Reserved                                                                     \
    }

struct TimeFields {
    using Record = VapntcTime;
    static constexpr Field kFields[] = {VALUE(year, ""), VALUE(month, ""),  VALUE(day, ""),     RESERVED(reserved12),
                                        VALUE(hour, ""), VALUE(minute, ""), VALUE(seconds, ""), VALUE(nanoseconds, "")};
};

struct SourceFields {
    using Record = VapntcMeasSource;
    static constexpr Field kFields[] = {VALUE(sourceType, ""), RESERVED(reserved4), RESERVED(reserved8),
                                        VALUE(description, ""), VALUE(descriptionValid, "")};
};

struct WarningFields {
    using Record = VapntcWarningMessage;
    static constexpr Field kFields[] = {VALUE(warningId, ""), RESERVED(reserved4), RESERVED(reserved260),
                                        VALUE(customText, ""), VALUE(customTextValid, "")};
};

struct ComponentFields {
    using Record = VapntcComponentConfiguration;
    static constexpr Field kFields[] = {
        VALUE(componentId, ""),     VALUE(name, ""),     VALUE(serialNumber, ""),   VALUE(software, ""),
        VALUE(softwarePresent, ""), VALUE(hardware, ""), VALUE(hardwarePresent, "")};
};

struct SensorFields {
    using Record = VapntcSensor;
    static constexpr Field kFields[] = {VALUE(sensorId, ""),
                                        VALUE(sensorType, ""),
                                        VALUE(otherSensorType, ""),
                                        VALUE(otherSensorTypePresent, ""),
                                        VALUE(componentConfigurationId, ""),
                                        VALUE(componentConfigurationIdPresent, ""),
                                        VALUE(enabled, "")};
};

struct BitSensorFields {
    using Record = VapntcBitSensorResult;
    static constexpr Field kFields[] = {VALUE(sensorId, ""), VALUE(status, ""), VALUE(text, ""),
                                        VALUE(textPresent, "")};
};

template <class Fields>
constexpr Table kTable{sizeof(typename Fields::Record), Fields::kFields};

struct ThreatFields {
    using Record = VapntcNavWarSaThreat;
    static constexpr Field kFields[] = {
        VALUE(reportKind, ""),
        Field{"time", AT(time), Field::Kind::Record, &kTable<TimeFields>},
        VALUE(firstReservedValid, ""),
        RESERVED(reserved40),
        VALUE(secondReservedValid, ""),
        VALUE(sensorName, ""),
        VALUE(bearingPresent, ""),
        VALUE(azimuth, "_rad"),
        VALUE(azimuthConfidenceValid, ""),
        RESERVED(reserved572),
        VALUE(azimuthConfidence, "_percent"),
        VALUE(thirdReservedValid, ""),
        RESERVED(reserved588),
        VALUE(elevation, "_rad"),
        VALUE(elevationConfidenceValid, ""),
        RESERVED(reserved612),
        VALUE(elevationConfidence, "_percent"),
        VALUE(fourthReservedValid, ""),
        RESERVED(reserved628),
        VALUE(centreFrequency, "_Hz"),
        VALUE(bandwidth, "_Hz"),
        RESERVED(reserved656),
        VALUE(fifthReservedValid, ""),
        RESERVED(reserved664),
        VALUE(sixthReservedValid, ""),
        RESERVED(reserved672),
        VALUE(seventhReservedValid, ""),
        RESERVED(reserved684),
        VALUE(power, ""),
        VALUE(powerValid, ""),
        RESERVED(reserved700),
    };
};

struct BitResultFields {
    using Record = VapntcBitResult;
    static constexpr Field kFields[] = {
        VALUE(builtInTestId, ""), VALUE(status, ""),
        VALUE(resultCode, ""),    VALUE(name, ""),
        VALUE(namePresent, ""),   ROWS(sensors, kTable<BitSensorFields>, sensorCount),
        VALUE(sensorCount, ""),   Field{"startTime", AT(startTime), Field::Kind::Record, &kTable<TimeFields>},
    };
};

struct BlendedNavigationFields {
    using Record = VapntcBlendedNavigationRecord;
    static constexpr Field kFields[] = {
        VALUE(gpsSeconds, ""),
        VALUE(angleDegrees, ""),
        VALUE(secondReceiverStatus, ""),
        VALUE(receiverFailure, ""),
        VALUE(positionValid, ""),
        VALUE(fom, ""),
        VALUE(fomValid, ""),
        VALUE(efom, ""),
        VALUE(efomValid, ""),
        VALUE(tfom, ""),
        VALUE(tfomValid, ""),
        RESERVED(reserved52),
        VALUE(assuranceConfidence, ""),
        VALUE(assuranceKnown, ""),
        ROWS(sources, kTable<SourceFields>, sourceCount),
        VALUE(sourceCount, ""),
        VALUE(gpsAvailability, ""),
        RESERVED(reserved13676),
        VALUE(positionErrorPresent, ""),
        RESERVED(reserved13876),
        VALUE(timeError, "_ms"),
        VALUE(timeErrorValid, ""),
        RESERVED(reserved13892),
        VALUE(horizontalPositionError, "_m"),
        VALUE(horizontalPositionErrorValid, ""),
        RESERVED(reserved13908),
        VALUE(verticalPositionError, "_m"),
        VALUE(verticalPositionErrorValid, ""),
        RESERVED(reserved13924),
        VALUE(fourthPositionErrorValid, ""),
        RESERVED(reserved13940),
        VALUE(velocityErrorPresent, ""),
        RESERVED(reserved13948),
        VALUE(horizontalVelocityError, "_m_per_s"),
        VALUE(horizontalVelocityErrorValid, ""),
        RESERVED(reserved13964),
        VALUE(verticalVelocityError, "_m_per_s"),
        VALUE(verticalVelocityErrorValid, ""),
        RESERVED(reserved13980),
        VALUE(thirdVelocityErrorValid, ""),
        RESERVED(reserved13996),
        VALUE(attitudeErrorPresent, ""),
        RESERVED(reserved14004),
        VALUE(attitudeError, "_deg"),
        VALUE(attitudeErrorValid, ""),
        RESERVED(reserved14020),
    };
};

struct NavWarSaFields {
    using Record = VapntcNavWarSaRecord;
    static constexpr Field kFields[] = {VALUE(threatsPresent, ""), RESERVED(reserved4),
                                        ROWS(threats, kTable<ThreatFields>, threatCount), VALUE(threatCount, ""),
                                        RESERVED(reserved35212)};
};

struct WarningMessagesFields {
    using Record = VapntcWarningMessagesRecord;
    static constexpr Field kFields[] = {VALUE(gpsSeconds, ""), ROWS(warnings, kTable<WarningFields>, warningCount),
                                        VALUE(warningCount, ""), RESERVED(reserved26212)};
};

struct SystemConfigurationFields {
    using Record = VapntcSystemConfiguration;
    static constexpr Field kFields[] = {
        VALUE(systemName, ""),
        VALUE(systemSerialNumber, ""),
        VALUE(systemSoftware, ""),
        VALUE(softwarePresent, ""),
        VALUE(systemHardware, ""),
        VALUE(hardwarePresent, ""),
        VALUE(manufacturerCode, ""),
        RESERVED(reserved1037),
        VALUE(manufacturerCodePresent, ""),
        ROWS(components, kTable<ComponentFields>, componentCount),
        VALUE(componentCount, ""),
    };
};

struct AvailableOutputsFields {
    using Record = VapntcAvailableOutputs;
    static constexpr Field kFields[] = {
        Field{"outputs", AT(outputs), Field::Kind::Numbers, nullptr, offsetof(Record, outputCount)},
        VALUE(outputCount, "")};
};

struct AvailableSensorsFields {
    using Record = VapntcAvailableSensors;
    static constexpr Field kFields[] = {ROWS(sensors, kTable<SensorFields>, sensorCount), VALUE(sensorCount, "")};
};

struct BitResultsFields {
    using Record = VapntcBitResults;
    static constexpr Field kFields[] = {ROWS(results, kTable<BitResultFields>, resultCount), VALUE(resultCount, "")};
};

#undef AT
#undef VALUE
#undef ROWS
#undef RESERVED

static_assert(covers(kTable<TimeFields>) && covers(kTable<SourceFields>) && covers(kTable<WarningFields>) &&
              covers(kTable<ComponentFields>) && covers(kTable<SensorFields>) && covers(kTable<BitSensorFields>) &&
              covers(kTable<ThreatFields>) && covers(kTable<BitResultFields>));
static_assert(covers(kTable<BlendedNavigationFields>) && covers(kTable<NavWarSaFields>) &&
              covers(kTable<WarningMessagesFields>) && covers(kTable<SystemConfigurationFields>) &&
              covers(kTable<AvailableOutputsFields>) && covers(kTable<AvailableSensorsFields>) &&
              covers(kTable<BitResultsFields>));

template <class T>
T valueAt(const char* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// Rows in use. As a signed word, so that a count of 4,294,967,295 is none.
std::size_t rowsInUse(const char* record, const Field& field)
{
    const auto count = valueAt<std::int32_t>(record + field.countOffset);
    return static_cast<std::size_t>(std::clamp(count, 0, std::int32_t{VAPNTC_MAX_ROWS}));
}

Json encoded(const char* record, const Table& table);

Json rowsOf(const char* record, const Field& field)
{
    Json rows = Json::array();
    for (std::size_t row = 0; row < rowsInUse(record, field); ++row)
        rows.push_back(encoded(record + field.offset + row * field.table->size, *field.table));
    return rows;
}

Json numbersOf(const char* record, const Field& field)
{
    Json numbers = Json::array();
    for (std::size_t row = 0; row < rowsInUse(record, field); ++row)
        numbers.push_back(valueAt<std::int32_t>(record + field.offset + row * sizeof(std::int32_t)));
    return numbers;
}

Json encoded(const char* record, const Table& table)
{
    Json object = Json::object();
    Json notZero = Json::array();
    for (const Field& field : table.fields) {
        const char* const bytes = record + field.offset;
        switch (field.kind) {
        case Field::Kind::Unsigned:
            object[field.key] = valueAt<std::uint32_t>(bytes);
            break;
        case Field::Kind::Signed:
            object[field.key] = valueAt<std::int32_t>(bytes);
            break;
        case Field::Kind::Real:
            object[field.key] = number(valueAt<double>(bytes));
            break;
        case Field::Kind::Text:
            object[field.key] = text(bytes, field.size);
            break;
        case Field::Kind::Record:
            object[field.key] = encoded(bytes, *field.table);
            break;
        case Field::Kind::Rows:
            object[field.key] = rowsOf(record, field);
            break;
        case Field::Kind::Numbers:
            object[field.key] = numbersOf(record, field);
            break;
        case Field::Kind::Reserved:
            if (std::any_of(bytes, bytes + field.size, [](char byte) { return byte != 0; }))
                notZero.push_back(field.offset);
            break;
        }
    }
    if (!notZero.empty()) object["reservedNotZero"] = std::move(notZero);
    return object;
}

template <class Fields>
Json encodedAs(const typename Fields::Record& record)
{
    return encoded(reinterpret_cast<const char*>(&record), kTable<Fields>);
}

}  // namespace

Json toJson(const VapntcTime& record)
{
    return encodedAs<TimeFields>(record);
}

Json toJson(const VapntcBlendedNavigationRecord& record)
{
    return encodedAs<BlendedNavigationFields>(record);
}

Json toJson(const VapntcNavWarSaRecord& record)
{
    return encodedAs<NavWarSaFields>(record);
}

Json toJson(const VapntcWarningMessagesRecord& record)
{
    return encodedAs<WarningMessagesFields>(record);
}

Json toJson(const VapntcSystemConfiguration& record)
{
    return encodedAs<SystemConfigurationFields>(record);
}

Json toJson(const VapntcAvailableOutputs& record)
{
    return encodedAs<AvailableOutputsFields>(record);
}

Json toJson(const VapntcAvailableSensors& record)
{
    return encodedAs<AvailableSensorsFields>(record);
}

Json toJson(const VapntcBitResults& record)
{
    return encodedAs<BitResultsFields>(record);
}

Json number(double value)
{
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
    return value;
}

Json text(const char* characters, std::size_t size)
{
    return std::string(characters, ::strnlen(characters, size));
}

std::string lineOf(const Json& object)
{
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace labvictory
