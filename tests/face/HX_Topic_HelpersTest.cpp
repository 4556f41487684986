#include "face/HX_Topic_Helpers.h"

#include "aspn2_msgs/UTCTimePubSubTypes.h"

#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <string>

using eprosima::fastdds::dds::TopicDataType;

namespace {

std::unique_ptr<TopicDataType> typeOf(const std::string& name)
{
    return std::unique_ptr<TopicDataType>(FACE::TSS::Topics::GetPubSubType(name));
}

}  // namespace

TEST(TopicHelpersTest, EveryNameGivesItsTypeSupport)
{
    const char* const names[] = {
        "Altitude",
        "BitReport",
        "BitEntryStatus",
        "ChallengedEnvironment",
        "ChannelStatus",
        "CommandResponse",
        "DeltaTimeAndFrequency",
        "EventLog",
        "GNSS",
        "GNSSSubframe",
        "GPSTime",
        "IMU",
        "MaintenanceEvent",
        "MeasurementIncorporationStatus",
        "HalvexPNT",
        "NavigationMode",
        "PositionVelocity",
        "PositionVelocityAttitude",
        "ThreeAxisMagnetometer",
        "TimeAtTheTone",
        "UtcDownlink",
        "UTCTime",
        "GSSIP",
        "Velocity3D",
        "ReceiverStatus",
        "GPSLineOfSight",
        "GPSCryptoStatus",
        "AssuranceState",
        "PlatformDynamics",
        "TimeSync",
        "SVStatus",
        "ForwardReverseStatus",
    };
    EXPECT_EQ(std::size(names), 32u);
    for (const std::string name : names) {
        const auto type = typeOf(name + "PubSubType");
        ASSERT_NE(type, nullptr) << name;
        EXPECT_EQ(type->getName(), "aspn2_msgs::idl::" + name);
    }
}

TEST(TopicHelpersTest, TheObjectIsOfTheNamedClass)
{
    const auto type = typeOf("UTCTimePubSubType");
    EXPECT_NE(dynamic_cast<aspn2_msgs::idl::UTCTimePubSubType*>(type.get()), nullptr);
}

TEST(TopicHelpersTest, EveryCallMakesANewObject)
{
    const auto first = typeOf("GNSSPubSubType");
    const auto second = typeOf("GNSSPubSubType");
    EXPECT_NE(first, nullptr);
    EXPECT_NE(first, second);
}

TEST(TopicHelpersTest, ComparisonIsExact)
{
    for (const char* const name : {"gnssPubSubType", "GNSSPubSubType ", " GNSSPubSubType", "GNSS", "GNSSPubSub", "",
                                   "aspn2_msgs::idl::GNSSPubSubType"})
        EXPECT_EQ(typeOf(name), nullptr) << name;
    EXPECT_EQ(typeOf(std::string("GNSSPubSubType\0", 15)), nullptr);
}

TEST(TopicHelpersTest, NestedAndCommonRecordsAreNoTopics)
{
    for (const char* const name :
         {"bit_comp_set", "lru_comp_set", "meas_type_set", "interference_type_set", "channel_status_obs", "gnss_obs",
          "key_type_set", "gpslos_obs", "sv_set", "header", "timestamp", "geodeticposition3d_type"})
        EXPECT_EQ(typeOf(std::string(name) + "PubSubType"), nullptr) << name;
}
