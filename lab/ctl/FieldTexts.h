#ifndef LAB_CTL_FIELDTEXTS_H
#define LAB_CTL_FIELDTEXTS_H

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

#include <array>
#include <string_view>

/// The types that topics can have, and the texts of their fields, for what shows records and reads them from texts.
namespace orvanectl {

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

template <class T>
inline constexpr bool kIsCharacters = false;
template <std::size_t Size>
inline constexpr bool kIsCharacters<std::array<char, Size>> = true;

}  // namespace orvanectl

#endif
