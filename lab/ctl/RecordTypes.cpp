#include "lab/ctl/RecordTypes.h"

#include "aspn2_msgs/Altitude.h"
#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/BitEntryStatus.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/ChallengedEnvironment.h"
#include "aspn2_msgs/ChannelStatus.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/DeltaTimeAndFrequency.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/ForwardReverseStatus.h"
#include "aspn2_msgs/GNSS.h"
#include "aspn2_msgs/GNSSSubframe.h"
#include "aspn2_msgs/GPSCryptoStatus.h"
#include "aspn2_msgs/GPSLineOfSight.h"
#include "aspn2_msgs/GPSTime.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/IMU.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/NavigationMode.h"
#include "aspn2_msgs/PlatformDynamics.h"
#include "aspn2_msgs/PositionVelocity.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/ReceiverStatus.h"
#include "aspn2_msgs/SVStatus.h"
#include "aspn2_msgs/ThreeAxisMagnetometer.h"
#include "aspn2_msgs/TimeAtTheTone.h"
#include "aspn2_msgs/TimeSync.h"
#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/UTCTime.h"
#include "aspn2_msgs/UtcDownlink.h"
#include "aspn2_msgs/Velocity3D.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <type_traits>

namespace orvanectl {

namespace {

using namespace aspn2_msgs::idl;

struct FieldText {
    const char* name;
    std::string_view unit;  // empty if it has none
};

/// The names and units of a record's fields, in their order; its own list gives them.
template <class Record>
struct FieldTexts;

#define ORVANECTL_FIELD_TEXT(name, ...) {#name, ASPN2_FIELD_UNIT(__VA_ARGS__)},
#define ORVANECTL_FIELD_TEXTS(Name)                                                                                    \
    template <>                                                                                                        \
    struct FieldTexts<Name> {                                                                                          \
        static constexpr FieldText all[] = {ASPN2_FIELDS_##Name(ORVANECTL_FIELD_TEXT)};                                \
    };

// What stands within others.
ORVANECTL_FIELD_TEXTS(timestamp)
ORVANECTL_FIELD_TEXTS(header)
ORVANECTL_FIELD_TEXTS(geodeticposition3d_type)
ORVANECTL_FIELD_TEXTS(bit_comp_set)
ORVANECTL_FIELD_TEXTS(channel_status_obs)
ORVANECTL_FIELD_TEXTS(gnss_obs)
ORVANECTL_FIELD_TEXTS(gpslos_obs)
ORVANECTL_FIELD_TEXTS(interference_type_set)
ORVANECTL_FIELD_TEXTS(key_type_set)
ORVANECTL_FIELD_TEXTS(lru_comp_set)
ORVANECTL_FIELD_TEXTS(meas_type_set)
ORVANECTL_FIELD_TEXTS(sv_set)

// clang-format off
#define ORVANECTL_TOPIC_TYPES(TYPE)                                                                                    \
    TYPE(Altitude) TYPE(AssuranceState) TYPE(BitEntryStatus) TYPE(BitReport) TYPE(ChallengedEnvironment)               \
    TYPE(ChannelStatus) TYPE(CommandResponse) TYPE(DeltaTimeAndFrequency) TYPE(EventLog) TYPE(ForwardReverseStatus)    \
    TYPE(GNSS) TYPE(GNSSSubframe) TYPE(GPSCryptoStatus) TYPE(GPSLineOfSight) TYPE(GPSTime) TYPE(GSSIP)                 \
    TYPE(HalvexPNT) TYPE(IMU) TYPE(MaintenanceEvent) TYPE(MeasurementIncorporationStatus) TYPE(NavigationMode)         \
    TYPE(PlatformDynamics) TYPE(PositionVelocity) TYPE(PositionVelocityAttitude) TYPE(ReceiverStatus) TYPE(SVStatus)   \
    TYPE(ThreeAxisMagnetometer) TYPE(TimeAtTheTone) TYPE(TimeSync) TYPE(UTCTime) TYPE(UtcDownlink) TYPE(Velocity3D)
// clang-format on
ORVANECTL_TOPIC_TYPES(ORVANECTL_FIELD_TEXTS)

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

template <class T>
inline constexpr bool kIsCharacters = false;
template <std::size_t Size>
inline constexpr bool kIsCharacters<std::array<char, Size>> = true;

template <class Record>
void addFields(const Record& record, Json& fields);

template <class T>
Json valueOf(const T& value)
{
    if constexpr (std::is_enum_v<T>) {
        return static_cast<std::underlying_type_t<T>>(value);
    } else if constexpr (std::is_same_v<T, float>) {
        return shortest(value);
    } else if constexpr (std::is_arithmetic_v<T>) {
        return value;
    } else if constexpr (layout::kIsText<T>) {
        return printable(value);
    } else if constexpr (kIsCharacters<T>) {
        return printable({value.data(), value.size()});
    } else if constexpr (std::is_same_v<T, std::vector<std::uint8_t>>) {
        return hexOf(value);
    } else if constexpr (layout::kIsArray<T> || layout::kIsSequence<T>) {
        Json elements = Json::array();
        for (const auto& element : value) elements.push_back(valueOf(element));
        return elements;
    } else {
        Json fields = Json::object();
        addFields(value, fields);
        return fields;
    }
}

template <class Record>
void addFields(const Record& record, Json& fields)
{
    const FieldText* text = FieldTexts<Record>::all;
    auto add = [&]<class T>(const T& value) {
        if constexpr (!std::is_same_v<T, header>) fields[text->name] = valueOf(value);
        ++text;
    };
    layout::Access::eachField(record, add);
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
Json fieldsOf(const void* record)
{
    Json fields = Json::object();
    addFields(*static_cast<const Record*>(record), fields);
    return fields;
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
bool isTypeSupportOf(const FACE::TSS::HX_TSS::TopicDataType& type)
{
    return dynamic_cast<const TypeSupport<Record>*>(&type) != nullptr;
}

#define ORVANECTL_ROW(Name)                                                                                            \
    {#Name, fieldsOf<Name>, unitsOfType<Name>, headerOf<Name>, makeRecord<Name>, isTypeSupportOf<Name>},
constexpr RecordType kTypes[] = {ORVANECTL_TOPIC_TYPES(ORVANECTL_ROW)};
static_assert(std::size(kTypes) == 32);

}  // namespace

std::string RecordType::typeName() const
{
    return "aspn2_msgs::idl::" + std::string(name);
}

std::string RecordType::pubSubType() const
{
    return std::string(name) + "PubSubType";
}

const Json& headerUnits()
{
    return unitsOfType<header>();
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
