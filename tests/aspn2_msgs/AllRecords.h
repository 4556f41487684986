#ifndef TESTS_ASPN2_MSGS_ALLRECORDS_H
#define TESTS_ASPN2_MSGS_ALLRECORDS_H

#include "aspn2_msgs/AltitudePubSubTypes.h"
#include "aspn2_msgs/AssuranceStatePubSubTypes.h"
#include "aspn2_msgs/BitEntryStatusPubSubTypes.h"
#include "aspn2_msgs/BitReportPubSubTypes.h"
#include "aspn2_msgs/ChallengedEnvironmentPubSubTypes.h"
#include "aspn2_msgs/ChannelStatusPubSubTypes.h"
#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "aspn2_msgs/DeltaTimeAndFrequencyPubSubTypes.h"
#include "aspn2_msgs/EventLogPubSubTypes.h"
#include "aspn2_msgs/ForwardReverseStatusPubSubTypes.h"
#include "aspn2_msgs/GNSSPubSubTypes.h"
#include "aspn2_msgs/GNSSSubframePubSubTypes.h"
#include "aspn2_msgs/GPSCryptoStatusPubSubTypes.h"
#include "aspn2_msgs/GPSLineOfSightPubSubTypes.h"
#include "aspn2_msgs/GPSTimePubSubTypes.h"
#include "aspn2_msgs/GSSIPPubSubTypes.h"
#include "aspn2_msgs/HalvexPNTPubSubTypes.h"
#include "aspn2_msgs/IMUPubSubTypes.h"
#include "aspn2_msgs/MaintenanceEventPubSubTypes.h"
#include "aspn2_msgs/MeasurementIncorporationStatusPubSubTypes.h"
#include "aspn2_msgs/NavigationModePubSubTypes.h"
#include "aspn2_msgs/PlatformDynamicsPubSubTypes.h"
#include "aspn2_msgs/PositionVelocityAttitudePubSubTypes.h"
#include "aspn2_msgs/PositionVelocityPubSubTypes.h"
#include "aspn2_msgs/ReceiverStatusPubSubTypes.h"
#include "aspn2_msgs/SVStatusPubSubTypes.h"
#include "aspn2_msgs/ThreeAxisMagnetometerPubSubTypes.h"
#include "aspn2_msgs/TimeAtTheTonePubSubTypes.h"
#include "aspn2_msgs/TimeSyncPubSubTypes.h"
#include "aspn2_msgs/UTCTimePubSubTypes.h"
#include "aspn2_msgs/UtcDownlinkPubSubTypes.h"
#include "aspn2_msgs/Velocity3DPubSubTypes.h"
#include "aspn2_msgs/bit_comp_setPubSubTypes.h"
#include "aspn2_msgs/channel_status_obsPubSubTypes.h"
#include "aspn2_msgs/geodeticposition3d_type.h"
#include "aspn2_msgs/gnss_obsPubSubTypes.h"
#include "aspn2_msgs/gpslos_obsPubSubTypes.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/interference_type_setPubSubTypes.h"
#include "aspn2_msgs/key_type_setPubSubTypes.h"
#include "aspn2_msgs/lru_comp_setPubSubTypes.h"
#include "aspn2_msgs/meas_type_setPubSubTypes.h"
#include "aspn2_msgs/sv_setPubSubTypes.h"
#include "aspn2_msgs/timestamp.h"

#include <fastcdr/Cdr.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

// clang-format off
/// The records without a type support, and those with one; what is nested comes before what it is nested in.
#define FOR_EACH_COMMON_RECORD(RECORD) RECORD(timestamp) RECORD(header) RECORD(geodeticposition3d_type)
#define FOR_EACH_SUPPORTED_RECORD(RECORD)                                                                              \
    RECORD(Altitude)                                                                                                   \
    RECORD(AssuranceState) RECORD(bit_comp_set) RECORD(BitEntryStatus) RECORD(BitReport) RECORD(interference_type_set) \
        RECORD(ChallengedEnvironment) RECORD(channel_status_obs) RECORD(ChannelStatus) RECORD(CommandResponse)         \
            RECORD(DeltaTimeAndFrequency) RECORD(EventLog) RECORD(ForwardReverseStatus) RECORD(gnss_obs) RECORD(GNSS)  \
                RECORD(GNSSSubframe) RECORD(key_type_set) RECORD(GPSCryptoStatus) RECORD(gpslos_obs)                   \
                    RECORD(GPSLineOfSight) RECORD(GPSTime) RECORD(GSSIP) RECORD(HalvexPNT) RECORD(IMU)                 \
                        RECORD(lru_comp_set) RECORD(MaintenanceEvent) RECORD(meas_type_set)                            \
                            RECORD(MeasurementIncorporationStatus) RECORD(NavigationMode) RECORD(PlatformDynamics)     \
                                RECORD(PositionVelocity) RECORD(PositionVelocityAttitude) RECORD(ReceiverStatus)       \
                                    RECORD(sv_set) RECORD(SVStatus) RECORD(ThreeAxisMagnetometer)                      \
                                        RECORD(TimeAtTheTone) RECORD(TimeSync) RECORD(UtcDownlink) RECORD(UTCTime)     \
                                            RECORD(Velocity3D)
// clang-format on
#define FOR_EACH_RECORD(RECORD) FOR_EACH_COMMON_RECORD(RECORD) FOR_EACH_SUPPORTED_RECORD(RECORD)

/// `eachFieldOf(record, visit)` hands every field of a record to `visit(const char* name, field&)`, by its accessor.
#define VISIT_FIELD(name, ...) visit(#name, record.name());
#define DEFINE_EACH_FIELD_OF(Name)                                                                                     \
    template <class Visitor>                                                                                           \
    void eachFieldOf(aspn2_msgs::idl::Name& record, Visitor visit)                                                     \
    {                                                                                                                  \
        ASPN2_FIELDS_##Name(VISIT_FIELD)                                                                               \
    }
FOR_EACH_RECORD(DEFINE_EACH_FIELD_OF)

/// Where the content of a record comes from.
class Source {
public:
    virtual ~Source() = default;
    virtual bool boolean() = 0;
    virtual char character() = 0;
    virtual std::uint8_t byte() = 0;
    virtual std::int32_t int32() = 0;
    virtual std::int64_t int64() = 0;
    virtual float float32() = 0;
    virtual double float64() = 0;
    virtual std::uint32_t enumeration() = 0;
    virtual std::string text() = 0;
    virtual std::size_t count() = 0;
};

/// Each number, in order of travel, shows its place. Two elements a sequence.
class Numbers : public Source {
public:
    bool boolean() override { return next() % 2 == 1; }
    char character() override { return static_cast<char>('A' + next() % 26); }
    std::uint8_t byte() override { return static_cast<std::uint8_t>(next()); }
    std::int32_t int32() override { return static_cast<std::int32_t>(0x0A0B0C00u + next()); }
    std::int64_t int64() override { return static_cast<std::int64_t>(0x1112131415161700u + next()); }
    float float32() override { return static_cast<float>(next()) + 0.5f; }
    double float64() override { return next() + 0.5; }
    std::uint32_t enumeration() override { return 0xE0E1E200u + next(); }
    std::string text() override { return "text " + std::to_string(next()); }
    std::size_t count() override { return 2; }

private:
    std::uint32_t next() { return ++m_count; }
    std::uint32_t m_count = 0;
};

/// Fills a record from a source.
struct Fill {
    Source& source;

    void operator()(const char*, bool& value) { value = source.boolean(); }
    void operator()(const char*, char& value) { value = source.character(); }
    void operator()(const char*, std::uint8_t& value) { value = source.byte(); }
    void operator()(const char*, std::int32_t& value) { value = source.int32(); }
    void operator()(const char*, std::int64_t& value) { value = source.int64(); }
    void operator()(const char*, float& value) { value = source.float32(); }
    void operator()(const char*, double& value) { value = source.float64(); }
    void operator()(const char*, std::string& value) { value = source.text(); }
    template <class T>
    void operator()(const char*, T& value)
    {
        if constexpr (std::is_enum_v<T>)
            value = static_cast<T>(source.enumeration());
        else
            eachFieldOf(value, *this);
    }
    template <class T, std::size_t Size>
    void operator()(const char* name, std::array<T, Size>& array)
    {
        for (auto& element : array) (*this)(name, element);
    }
    template <class T>
    void operator()(const char* name, std::vector<T>& sequence)
    {
        sequence.resize(source.count());
        for (auto& element : sequence) (*this)(name, element);
    }
};

template <class Record>
Record numbered()
{
    Record record;
    Numbers numbers;
    eachFieldOf(record, Fill{numbers});
    return record;
}

/// A record of any type, ours or generated: what the tests do to all of them is compiled once.
class AnyRecord {
public:
    virtual ~AnyRecord() = default;
    virtual std::unique_ptr<AnyRecord> fresh() const = 0;
    virtual std::unique_ptr<AnyRecord> copy() const = 0;
    virtual void serialize(eprosima::fastcdr::Cdr& cdr) const = 0;
    virtual void deserialize(eprosima::fastcdr::Cdr& cdr) = 0;
    virtual void serializeKey(eprosima::fastcdr::Cdr& cdr) const = 0;
    virtual std::size_t getCdrSerializedSize(std::size_t position = 0) const = 0;
    virtual std::size_t getMaxCdrSerializedSize(std::size_t position = 0) const = 0;
    virtual std::size_t getKeyMaxCdrSerializedSize(std::size_t position = 0) const = 0;
    virtual bool isKeyDefined() const = 0;
    virtual void* data() = 0;
};

template <class Record>
class RecordOf final : public AnyRecord {
public:
    RecordOf() = default;
    explicit RecordOf(const Record& record) : m_record(record) {}

    std::unique_ptr<AnyRecord> fresh() const override { return std::make_unique<RecordOf>(); }
    std::unique_ptr<AnyRecord> copy() const override { return std::make_unique<RecordOf>(m_record); }
    void serialize(eprosima::fastcdr::Cdr& cdr) const override { m_record.serialize(cdr); }
    void deserialize(eprosima::fastcdr::Cdr& cdr) override { m_record.deserialize(cdr); }
    void serializeKey(eprosima::fastcdr::Cdr& cdr) const override { m_record.serializeKey(cdr); }
    std::size_t getCdrSerializedSize(std::size_t position) const override
    {
        return Record::getCdrSerializedSize(m_record, position);
    }
    std::size_t getMaxCdrSerializedSize(std::size_t position) const override
    {
        return Record::getMaxCdrSerializedSize(position);
    }
    std::size_t getKeyMaxCdrSerializedSize(std::size_t position) const override
    {
        return Record::getKeyMaxCdrSerializedSize(position);
    }
    bool isKeyDefined() const override { return Record::isKeyDefined(); }
    void* data() override { return &m_record; }
    Record& record() { return m_record; }

private:
    Record m_record;
};

/// One record of the catalogue.
struct RecordCase {
    std::string name;
    std::unique_ptr<AnyRecord> fresh;
    std::unique_ptr<AnyRecord> numbered;
    std::unique_ptr<eprosima::fastdds::dds::TopicDataType> support;  // none for the common records
    bool fixed;                                                      // no text or sequence
    bool endsInText;
};

/// The 41 records with a type support.
std::vector<RecordCase> supportedRecords();

/// All 44.
std::vector<RecordCase> allRecords();

#endif
