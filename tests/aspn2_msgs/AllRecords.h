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

#include <array>
#include <cstdint>
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

/// Fills a record: each number, in order of travel, gets one that shows its place. Two elements a sequence.
struct Numbered {
    std::uint32_t count = 0;

    template <class T>
    void operator()(T& value)
    {
        if constexpr (std::is_same_v<T, bool>)
            value = ++count % 2 == 1;
        else if constexpr (std::is_same_v<T, char>)
            value = static_cast<char>('A' + ++count % 26);
        else if constexpr (std::is_same_v<T, std::uint8_t>)
            value = static_cast<std::uint8_t>(++count);
        else if constexpr (std::is_same_v<T, std::int32_t>)
            value = static_cast<T>(0x0A0B0C00u + ++count);
        else if constexpr (std::is_same_v<T, std::int64_t>)
            value = static_cast<T>(0x1112131415161700u + ++count);
        else if constexpr (std::is_floating_point_v<T>)
            value = static_cast<T>(++count + 0.5);
        else if constexpr (std::is_enum_v<T>)
            value = static_cast<T>(0xE0E1E200u + ++count);
        else if constexpr (std::is_same_v<T, std::string>)
            value = "text " + std::to_string(++count);
        else
            eachFieldOf(value, [this](const char*, auto& field) { (*this)(field); });
    }
    template <class T, std::size_t Size>
    void operator()(std::array<T, Size>& array)
    {
        for (auto& element : array) (*this)(element);
    }
    template <class T>
    void operator()(std::vector<T>& sequence)
    {
        sequence.resize(2);
        for (auto& element : sequence) (*this)(element);
    }
};

template <class Record>
Record numbered()
{
    Record record;
    Numbered{}(record);
    return record;
}

#endif
