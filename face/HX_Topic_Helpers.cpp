#include "face/HX_Topic_Helpers.h"

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

#include <algorithm>
#include <iterator>
#include <string_view>

namespace FACE::TSS::Topics {

using eprosima::fastdds::dds::TopicDataType;
using namespace aspn2_msgs::idl;

namespace {

struct Topic {
    std::string_view name;
    TopicDataType* (*make)();
};

template <class PubSubType>
TopicDataType* make()
{
    return new PubSubType();
}

constexpr Topic kTopics[] = {
    {"AltitudePubSubType", make<AltitudePubSubType>},
    {"BitReportPubSubType", make<BitReportPubSubType>},
    {"BitEntryStatusPubSubType", make<BitEntryStatusPubSubType>},
    {"ChallengedEnvironmentPubSubType", make<ChallengedEnvironmentPubSubType>},
    {"ChannelStatusPubSubType", make<ChannelStatusPubSubType>},
    {"CommandResponsePubSubType", make<CommandResponsePubSubType>},
    {"DeltaTimeAndFrequencyPubSubType", make<DeltaTimeAndFrequencyPubSubType>},
    {"EventLogPubSubType", make<EventLogPubSubType>},
    {"GNSSPubSubType", make<GNSSPubSubType>},
    {"GNSSSubframePubSubType", make<GNSSSubframePubSubType>},
    {"GPSTimePubSubType", make<GPSTimePubSubType>},
    {"IMUPubSubType", make<IMUPubSubType>},
    {"MaintenanceEventPubSubType", make<MaintenanceEventPubSubType>},
    {"MeasurementIncorporationStatusPubSubType", make<MeasurementIncorporationStatusPubSubType>},
    {"HalvexPNTPubSubType", make<HalvexPNTPubSubType>},
    {"NavigationModePubSubType", make<NavigationModePubSubType>},
    {"PositionVelocityPubSubType", make<PositionVelocityPubSubType>},
    {"PositionVelocityAttitudePubSubType", make<PositionVelocityAttitudePubSubType>},
    {"ThreeAxisMagnetometerPubSubType", make<ThreeAxisMagnetometerPubSubType>},
    {"TimeAtTheTonePubSubType", make<TimeAtTheTonePubSubType>},
    {"UtcDownlinkPubSubType", make<UtcDownlinkPubSubType>},
    {"UTCTimePubSubType", make<UTCTimePubSubType>},
    {"GSSIPPubSubType", make<GSSIPPubSubType>},
    {"Velocity3DPubSubType", make<Velocity3DPubSubType>},
    {"ReceiverStatusPubSubType", make<ReceiverStatusPubSubType>},
    {"GPSLineOfSightPubSubType", make<GPSLineOfSightPubSubType>},
    {"GPSCryptoStatusPubSubType", make<GPSCryptoStatusPubSubType>},
    {"AssuranceStatePubSubType", make<AssuranceStatePubSubType>},
    {"PlatformDynamicsPubSubType", make<PlatformDynamicsPubSubType>},
    {"TimeSyncPubSubType", make<TimeSyncPubSubType>},
    {"SVStatusPubSubType", make<SVStatusPubSubType>},
    {"ForwardReverseStatusPubSubType", make<ForwardReverseStatusPubSubType>},
};
static_assert(std::size(kTopics) == 32);

}  // namespace

TopicDataType* GetPubSubType(const std::string& pub_sub_type)
{
    const auto* const topic = std::ranges::find(kTopics, pub_sub_type, &Topic::name);
    return topic == std::end(kTopics) ? nullptr : topic->make();
}

}  // namespace FACE::TSS::Topics
