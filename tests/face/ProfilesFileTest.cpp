#include "aspn2_msgs/UTCTime.h"
#include "face/HX_TSS_Listeners.h"
#include "face/HX_TSS_Settings.h"
#include "tests/support/Qos.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Transport.h"

#include <fastrtps/Domain.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/publisher/Publisher.h>
#include <fastrtps/subscriber/Subscriber.h>

#include <gtest/gtest.h>

#include <filesystem>

using namespace eprosima::fastrtps;
using aspn2_msgs::idl::UTCTime;
using FACE::RETURN_CODE_TYPE;
using namespace FACE::TSS;

namespace {

/// A file that the library reads by itself from the working directory, and what it would change.
constexpr const char* kFile = "DEFAULT_FASTRTPS_PROFILES.xml";
constexpr const char* kProfiles = R"(<?xml version="1.0" encoding="UTF-8"?>
<profiles xmlns="http://www.eprosima.com/XMLSchemas/fastRTPS_Profiles">
  <participant profile_name="participant" is_default_profile="true">
    <domainId>77</domainId>
    <rtps>
      <name>profile</name>
      <builtin>
        <discovery_config>
          <leaseAnnouncement><sec>4</sec></leaseAnnouncement>
        </discovery_config>
      </builtin>
    </rtps>
  </participant>
  <publisher profile_name="publisher" is_default_profile="true">
    <qos>
      <publishMode><kind>ASYNCHRONOUS</kind></publishMode>
      <lifespan><duration><sec>3</sec></duration></lifespan>
    </qos>
  </publisher>
  <subscriber profile_name="subscriber" is_default_profile="true">
    <qos><lifespan><duration><sec>4</sec></duration></lifespan></qos>
  </subscriber>
</profiles>
)";

/// Attributes as they are without the file, then a working directory that has it.
struct ProfilesFileTest : testing::Test {
    ProfilesFileTest()
    {
        directory.write(kFile, kProfiles);
        std::filesystem::current_path(directory.path());
    }
    ~ProfilesFileTest() override { std::filesystem::current_path(before); }

    /// Those of the transport below, but for the addresses of its parts.
    static ParticipantAttributes ofParticipant()
    {
        ParticipantAttributes attributes = participantAttributes(settings(), "unit");
        attributes.rtps.userTransports.clear();
        return attributes;
    }
    static HX_TSS_Settings settings()
    {
        HX_TSS_Settings settings;
        settings.domainId = ownDomain();
        settings.historyDepth = 10;
        settings.useTransport = "UDP";
        return settings;
    }

    const ParticipantAttributes participant = ofParticipant();
    const PublisherAttributes publisher = publisherAttributes(settings(), "Times", "aspn2_msgs::idl::UTCTime");
    const SubscriberAttributes subscriber = subscriberAttributes(settings(), "Times", "aspn2_msgs::idl::UTCTime");
    const std::filesystem::path before = std::filesystem::current_path();
    const TemporaryDirectory directory;
};

}  // namespace

TEST_F(ProfilesFileTest, ChangesNothingOfOurs)
{
    const Transport transport(TransportConfig().set("UseTransport", "UDP").connect("Times", "UTCTime"));
    const auto front = transport.typed<UTCTime>();
    const long long id = transport.connect("Times");
    Inbox<UTCTime> inbox;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    front->Register_Sender(id, code);
    ASSERT_EQ(code, 0);
    front->Register_Callback(id, inbox.callback(), code);
    ASSERT_EQ(code, 0);

    // The library has read the file.
    ParticipantAttributes ofParticipants;
    Domain::getDefaultParticipantAttributes(ofParticipants);
    ASSERT_EQ(ofParticipants.domainId, 77u);
    PublisherAttributes ofPublishers;
    Domain::getDefaultPublisherAttributes(ofPublishers);
    ASSERT_EQ(ofPublishers.qos.m_publishMode.kind, ASYNCHRONOUS_PUBLISH_MODE);
    SubscriberAttributes ofSubscribers;
    Domain::getDefaultSubscriberAttributes(ofSubscribers);
    ASSERT_EQ(ofSubscribers.qos.m_lifespan.duration, Duration_t(4, 0));

    EXPECT_TRUE(ofParticipant() == participant);
    const auto& connection = transport->connectionMap_mutex_at(0);
    const auto& writer = connection.publisher->getAttributes();
    const auto& reader = connection.subscriber->getAttributes();
    EXPECT_TRUE(writer.topic == publisher.topic && writer.times == publisher.times);
    EXPECT_TRUE(reader.topic == subscriber.topic && reader.times == subscriber.times);
    EXPECT_TRUE(writer.qos.m_publishMode == publisher.qos.m_publishMode);
    EXPECT_TRUE(haveOneQos(writer.qos, publisher.qos));
    EXPECT_TRUE(haveOneQos(reader.qos, subscriber.qos));
    (*transport).Unregister_Callback(id, code);  // before the inbox goes
}
