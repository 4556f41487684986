#include "lab/ctl/RecordTypes.h"

#include "face/HX_Topic_Helpers.h"
#include "lab/ctl/FieldWriting.h"
#include "lab/ctl/Rendering.h"
#include "tests/aspn2_msgs/AllRecords.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <set>

using namespace orvanectl;

namespace {

/// What the fields of a record are to look like, by its accessors.
struct Expected {
    Json& fields;

    template <class T>
    void operator()(const char* name, const T& value)
    {
        if (std::string_view(name) != "header") fields[name] = of(value);
    }

    template <class T>
    static Json of(const T& value)
    {
        if constexpr (std::is_enum_v<T>) {
            return static_cast<std::uint32_t>(value);
        } else if constexpr (std::is_arithmetic_v<T> || std::is_same_v<T, std::string>) {
            return value;
        } else {
            Json object = Json::object();
            eachFieldOf(const_cast<T&>(value), Expected{object});
            return object;
        }
    }
    template <std::size_t Size>
    static Json of(const std::array<char, Size>& text)
    {
        return std::string(text.begin(), text.end());
    }
    template <class T, std::size_t Size>
    static Json of(const std::array<T, Size>& array)
    {
        return listOf(array);
    }
    template <class T>
    static Json of(const std::vector<T>& sequence)
    {
        return listOf(sequence);
    }
    static Json of(const std::vector<std::uint8_t>& bytes)
    {
        std::string digits;
        for (const std::uint8_t byte : bytes) {
            char text[3];
            std::snprintf(text, sizeof text, "%02X", unsigned{byte});
            digits += text;
        }
        return digits;
    }
    template <class List>
    static Json listOf(const List& list)
    {
        Json elements = Json::array();
        for (const auto& element : list) elements.push_back(of(element));
        return elements;
    }
};

template <class Record>
Json expectedOf(const void* record)
{
    Json fields = Json::object();
    eachFieldOf(const_cast<Record&>(*static_cast<const Record*>(record)), Expected{fields});
    return fields;
}

/// Values at the ends of their ranges, and texts that JSON can't have as they are, in turn; where it begins is given.
class OddValues : public Source {
public:
    explicit OddValues(std::size_t turn) : m_turn(turn) {}

    bool boolean() override { return next({false, true}); }
    char character() override { return next({'A', '\0', '"', '\\', '\x1B', '\x7F', '\xC3', '\xFF'}); }
    std::uint8_t byte() override { return next<std::uint8_t>({0, 255, 0x0A, 0x80}); }
    std::int32_t int32() override { return next({0, -1, kLeast<std::int32_t>, kMost<std::int32_t>}); }
    std::int64_t int64() override { return next<std::int64_t>({0, -1, kLeast<std::int64_t>, kMost<std::int64_t>}); }
    float float32() override { return real<float>(); }
    double float64() override { return real<double>(); }
    std::uint32_t enumeration() override { return next<std::uint32_t>({0, 1, 0xFFFFFFFF}); }
    std::string text() override
    {
        return next<std::string>({"", "plain", "\"\\\n\t\x1B[31m\x7F", "\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x9B\xB0",
                                  "\xC3( \xFF \xE2\x82", std::string("a\0b", 3), std::string(5000, 'x')});
    }
    std::size_t count() override { return next<std::size_t>({0, 3, 1, 32}); }

private:
    template <class T>
    static constexpr T kLeast = std::numeric_limits<T>::lowest();
    template <class T>
    static constexpr T kMost = std::numeric_limits<T>::max();

    template <class T>
    T real()
    {
        using Limits = std::numeric_limits<T>;
        return next<T>({0, T(-0.0), T(0.1), Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(),
                        Limits::denorm_min(), Limits::max(), Limits::lowest(), T(1e21), T(-1)});
    }

    template <class T>
    T next(std::initializer_list<T> values)
    {
        return values.begin()[m_turn++ % values.size()];
    }

    std::size_t m_turn;
};

template <class Record>
void fillFrom(Source& source, void* record)
{
    eachFieldOf(*static_cast<Record*>(record), Fill{source});
}

struct TypeCase {
    std::string name;
    Json (*expected)(const void* record);
    void (*fill)(Source& source, void* record);
};

#define TYPE_CASE(Name) {#Name, expectedOf<aspn2_msgs::idl::Name>, fillFrom<aspn2_msgs::idl::Name>},
const TypeCase kCases[] = {FOR_EACH_SUPPORTED_RECORD(TYPE_CASE)};

Json expectedOf(const RecordType& type, const void* record)
{
    for (const TypeCase& one : kCases)
        if (one.name == type.name) return one.expected(record);
    return "not in the catalogue";
}

/// What `JsonLine` writes of a record.
std::string writtenLine(const RecordType& type, const void* record)
{
    JsonLine line;
    line.begin();
    line.name("header");
    writeHeader(type.headerOf(record), line);
    line.name("message");
    writeFields(type, record, line);
    return line.end();
}

Json fieldsOf(const char* type, const void* record)
{
    return findRecordType(type)->fieldsOf(record);
}

}  // namespace

TEST(RecordTypesTest, TheyAreThoseOfTheRegistry)
{
    std::size_t count = 0;
    for (const RecordCase& record : supportedRecords()) {
        const std::unique_ptr<FACE::TSS::HX_TSS::TopicDataType> registered(
            FACE::TSS::Topics::GetPubSubType(record.name + "PubSubType"));
        const RecordType* const type = findRecordType(record.name);
        ASSERT_EQ(type != nullptr, registered != nullptr) << record.name;
        if (!type) continue;
        ++count;
        EXPECT_EQ(type->typeName(), registered->getName());
        for (const RecordType& other : recordTypes())
            EXPECT_EQ(other.isTypeSupport(*registered), &other == type) << record.name << ' ' << other.name;
    }
    EXPECT_EQ(count, 32U);
    EXPECT_EQ(recordTypes().size(), 32U);
}

TEST(RecordTypesTest, EveryFieldOfEveryTypeIsThereByNameInItsOrder)
{
    std::set<std::string_view> seen;
    for (const RecordCase& record : supportedRecords()) {
        const RecordType* const type = findRecordType(record.name);
        if (!type) continue;
        seen.insert(type->name);
        const Json fields = type->fieldsOf(record.numbered->data());
        EXPECT_EQ(fields.dump(), expectedOf(*type, record.numbered->data()).dump()) << record.name;
        EXPECT_EQ(type->headerOf(record.numbered->data()).device_id(), 0x0A0B0C08) << record.name;
    }
    EXPECT_EQ(seen.size(), 32U);
}

TEST(RecordTypesTest, OfOddValuesALineIsThatOfTheTreeForEveryType)
{
    std::set<std::string> seen;
    for (const TypeCase& one : kCases) {
        const RecordType* const type = findRecordType(one.name);
        if (!type) continue;
        // Each field has each of its values in some turn.
        for (std::size_t turn = 0; turn < 11; ++turn) {
            const RecordPointer record = type->make();
            OddValues values(turn);
            one.fill(values, record.get());
            const std::string line = writtenLine(*type, record.get());
            EXPECT_EQ(line, jsonLine({{"header", decodeHeader(type->headerOf(record.get()))},
                                      {"message", type->fieldsOf(record.get())}}))
                << one.name;
            EXPECT_FALSE(Json::parse(line, nullptr, false).is_discarded()) << line;
        }
        seen.insert(one.name);
    }
    EXPECT_EQ(seen.size(), 32U);
}

TEST(RecordTypesTest, UnitsAreThoseOfTheFields)
{
    const auto unitsOf = [](const char* type) { return findRecordType(type)->units().dump(); };
    EXPECT_EQ(unitsOf("UTCTime"), R"({"gps_tow_sec":"s","gps_tow_nsec":"ns","utc_tod_sec":"s","utc_tod_nsec":"ns"})");
    EXPECT_EQ(unitsOf("PositionVelocityAttitude"),
              R"({"position":{"latitude":"rad","longitude":"rad","altitude":"m"},"velocity":"m/s","attitude":"rad"})");
    EXPECT_EQ(unitsOf("HalvexPNT"),
              R"({"GPS_Time":"s","UTC_Time":"s","ECEF_Pos_X":"m","ECEF_Pos_Y":"m","ECEF_Pos_Z":"m",)"
              R"("ECEF_Vel_X":"m/s","ECEF_Vel_Y":"m/s","ECEF_Vel_Z":"m/s","Roll":"rad","Pitch":"rad","Heading":"rad",)"
              R"("Horz_PosError":"m","Vert_PosError":"m","Horz_Vel_Error":"m/s","Vert_VelError":"m/s",)"
              R"("Time_Error":"s","Roll_Error":"rad","Pitch_Error":"rad","Heading_Error":"rad"})");
    EXPECT_EQ(unitsOf("GPSLineOfSight"), "null");
    EXPECT_EQ(headerUnits().dump(), R"({"timestamp_arrival":{"sec":"s","nsec":"ns"},)"
                                    R"("timestamp_valid":{"sec":"s","nsec":"ns"}})");
}

TEST(RecordTypesTest, WhatHasAUnitIsANumber)
{
    struct {
        void check(const Json& units, const Json& value)
        {
            if (value.is_array()) {
                for (const Json& element : value) check(units, element);
            } else if (units.is_object()) {
                for (const auto& [name, unit] : units.items()) check(unit, value.at(name));
            } else if (!units.is_null()) {
                ++count;
                EXPECT_TRUE(value.is_number()) << value;
            }
        }
        std::size_t count = 0;
    } units;
    for (const RecordCase& record : supportedRecords())
        if (const RecordType* const type = findRecordType(record.name))
            units.check(type->units(), type->fieldsOf(record.numbered->data()));
    EXPECT_EQ(units.count, 42U);
}

TEST(RecordTypesTest, MadeRecordIsWhatTheTypeSupportReadsInto)
{
    for (const RecordCase& record : supportedRecords()) {
        const RecordType* const type = findRecordType(record.name);
        if (!type) continue;
        eprosima::fastrtps::rtps::SerializedPayload_t payload(20'000);
        ASSERT_TRUE(record.support->serialize(record.numbered->data(), &payload)) << record.name;
        const RecordPointer made = type->make();
        ASSERT_TRUE(record.support->deserialize(&payload, made.get())) << record.name;
        EXPECT_EQ(type->fieldsOf(made.get()), type->fieldsOf(record.numbered->data())) << record.name;
    }
}

TEST(RecordTypesTest, FieldsStandAsTheyAre)
{
    auto event = numbered<aspn2_msgs::idl::MaintenanceEvent>();
    event.identity({'S', 'O', 'A', 'P'});
    event.description({'a', '\0', '\x1B', '\\', '\xFF', '\0'});
    EXPECT_EQ(fieldsOf("MaintenanceEvent", &event).dump(),
              R"({"fault_sources":[{"lru_id":168496137,"component_id":168496138},)"
              R"({"lru_id":168496139,"component_id":168496140},{"lru_id":168496141,"component_id":168496142},)"
              R"({"lru_id":168496143,"component_id":168496144}],"criticality_id":168496145,"category_id":168496146,)"
              R"("location_id":168496147,"outcome_id":168496148,"repeat_in_seconds":168496149,"identity":"SOAP",)"
              R"("description":"a\\x00\\x1B\\\\\\xFF"})");
}

TEST(RecordTypesTest, SinglesHaveNoMoreDigitsThanTheyNeed)
{
    aspn2_msgs::idl::ChannelStatus status;
    status.channels().resize(1);
    auto& obs = status.channels().front();
    eachFieldOf(obs, [](const char*, auto& value) {
        if constexpr (std::is_same_v<std::remove_reference_t<decltype(value)>, float>) value = 0.1f;
    });
    const std::string text = fieldsOf("ChannelStatus", &status).dump();
    EXPECT_NE(text.find(":0.1,"), std::string::npos) << text;
    EXPECT_EQ(text.find("0.1000"), std::string::npos) << text;
}

TEST(RecordTypesTest, NumbersThatAreNotFiniteAreNamed)
{
    aspn2_msgs::idl::Altitude altitude;
    altitude.altitude(std::numeric_limits<double>::infinity());
    altitude.variance(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(jsonLine(fieldsOf("Altitude", &altitude)),
              R"({"altitude":null,"variance":null,"notes":["altitude is inf","variance is nan"]})"
              "\n");
}

TEST(RecordTypesTest, AnyOfThreeNamesFindsAType)
{
    for (const char* name : {"EventLog", "EventLogPubSubType", "aspn2_msgs::idl::EventLog"}) {
        ASSERT_NE(findRecordType(name), nullptr) << name;
        EXPECT_EQ(findRecordType(name)->name, "EventLog");
    }
    for (const char* name : {"", "eventlog", "header", "sv_set", "EventLogPubSubTypePubSubType"})
        EXPECT_EQ(findRecordType(name), nullptr) << name;
}
