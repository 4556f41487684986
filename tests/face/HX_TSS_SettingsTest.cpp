#include "face/HX_TSS_Settings.h"
#include "face/HX_Config.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/Qos.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Transport.h"

#include <fastdds/rtps/transport/TCPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/utils/IPLocator.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <string>

using namespace eprosima::fastrtps;
using FACE::RETURN_CODE_TYPE;
using namespace FACE::TSS;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

struct Reading {
    HX_TSS_Settings settings;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    std::string console;
};

Reading read(const TransportConfig& config)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("connections.xml", config.text());
    FACE::HX_Config file;
    Reading reading;
    int handle = -1;
    file.Initialize(path.c_str(), reading.code);
    file.Open("FastRtps", handle, reading.code);
    const ConsoleCapture console(std::cout);
    reading.settings = FACE::TSS::readSettings(file, handle, reading.code);
    reading.console = console.text();
    return reading;
}

HX_TSS_Settings settingsOf(const char* transport)
{
    HX_TSS_Settings settings;
    settings.domainId = 7;
    settings.historyDepth = 4;
    settings.useTransport = transport;
    settings.tcpAddress = "10.0.0.2";
    settings.tcpPort = 7100;
    return settings;
}

/// The one transport of the attributes, as that type; null if it is of another.
template <class Descriptor>
std::shared_ptr<Descriptor> transportOf(const ParticipantAttributes& attributes)
{
    const auto& transports = attributes.rtps.userTransports;
    return transports.size() == 1 ? std::dynamic_pointer_cast<Descriptor>(transports.front()) : nullptr;
}

/// But for the topic, of which other tests tell, and the kinds of reliability and durability.
template <class Attributes>
void expectDefaultsInAllElse(Attributes attributes)
{
    const Attributes defaults;
    attributes.qos.m_reliability.kind = defaults.qos.m_reliability.kind;
    attributes.qos.m_durability.kind = defaults.qos.m_durability.kind;
    EXPECT_TRUE(haveOneQos(attributes.qos, defaults.qos));
    EXPECT_TRUE(attributes.times == defaults.times);
    EXPECT_TRUE(attributes.unicastLocatorList == defaults.unicastLocatorList);
    EXPECT_TRUE(attributes.multicastLocatorList == defaults.multicastLocatorList);
    EXPECT_TRUE(attributes.remoteLocatorList == defaults.remoteLocatorList);
    EXPECT_TRUE(attributes.properties == defaults.properties);
}

}  // namespace

TEST(TransportSettingsTest, SevenKeysAreRead)
{
    const Reading reading = read(TransportConfig()
                                     .set("DomainId", "3")
                                     .set("HistoryDepth", "25")
                                     .set("UseBestEffort", "true")
                                     .set("BackFillHistory", "true")
                                     .set("UseTransport", "UDP")
                                     .set("TcpAddress", "10.0.0.2")
                                     .set("TcpPort", "5100"));
    EXPECT_EQ(reading.code, 0);
    EXPECT_EQ(reading.console, "");
    EXPECT_EQ(reading.settings.domainId, 3u);
    EXPECT_EQ(reading.settings.historyDepth, 25);
    EXPECT_TRUE(reading.settings.useBestEffort);
    EXPECT_TRUE(reading.settings.backFillHistory);
    EXPECT_EQ(reading.settings.useTransport, "UDP");
    EXPECT_EQ(reading.settings.tcpAddress, "10.0.0.2");
    EXPECT_EQ(reading.settings.tcpPort, 5100u);
}

TEST(TransportSettingsTest, IntegersGoByTheirPrefix)
{
    const Reading reading =
        read(TransportConfig().set("DomainId", "0x10").set("HistoryDepth", "010").set("TcpPort", "0x1BBC"));
    EXPECT_EQ(reading.settings.domainId, 16u);
    EXPECT_EQ(reading.settings.historyDepth, 8);
    EXPECT_EQ(reading.settings.tcpPort, 7100u);
}

TEST(TransportSettingsTest, IntegersAreCutTo32Bits)
{
    const Reading reading = read(TransportConfig()
                                     .set("DomainId", "0x100000005")
                                     .set("HistoryDepth", "-4294967295")
                                     .set("TcpPort", "99999999999999999999999"));
    EXPECT_EQ(reading.code, 0);
    EXPECT_EQ(reading.settings.domainId, 5u);
    EXPECT_EQ(reading.settings.historyDepth, 1);
    EXPECT_EQ(reading.settings.tcpPort, 0xFFFFFFFFu);
}

TEST(TransportSettingsTest, TextThatIsNoNumberIsZero)
{
    const Reading reading = read(TransportConfig().set("DomainId", "abc").set("HistoryDepth", "ten"));
    EXPECT_EQ(reading.code, 0);
    EXPECT_EQ(reading.settings.domainId, 0u);
    EXPECT_EQ(reading.settings.historyDepth, 0);
}

TEST(TransportSettingsTest, OneCountsAsTrue)
{
    EXPECT_TRUE(read(TransportConfig().set("UseBestEffort", "1")).settings.useBestEffort);
}

TEST(TransportSettingsTest, EachKeyIsNeededWithEveryTransport)
{
    for (const char* const key :
         {"DomainId", "HistoryDepth", "UseBestEffort", "BackFillHistory", "UseTransport", "TcpAddress", "TcpPort"}) {
        const Reading reading = read(TransportConfig().remove(key));
        EXPECT_EQ(reading.code, 4) << key;
        EXPECT_EQ(reading.console, std::string("WARNING - Parameter ") + key + " not found\n");
    }
}

TEST(TransportSettingsTest, EveryMissingKeyIsNamedInOrder)
{
    const Reading reading = read(TransportConfig()
                                     .remove("TcpPort")
                                     .remove("UseTransport")
                                     .remove("BackFillHistory")
                                     .remove("DomainId")
                                     .remove("TcpAddress")
                                     .remove("HistoryDepth")
                                     .remove("UseBestEffort"));
    EXPECT_EQ(reading.console, "WARNING - Parameter DomainId not found\n"
                               "WARNING - Parameter HistoryDepth not found\n"
                               "WARNING - Parameter UseBestEffort not found\n"
                               "WARNING - Parameter BackFillHistory not found\n"
                               "WARNING - Parameter UseTransport not found\n"
                               "WARNING - Parameter TcpAddress not found\n"
                               "WARNING - Parameter TcpPort not found\n");
}

TEST(TransportSettingsTest, ParticipantDiffersFromTheDefaultsInFiveThings)
{
    ParticipantAttributes attributes = participantAttributes(settingsOf("SHM"), "unit");
    EXPECT_EQ(attributes.domainId, 7u);
    EXPECT_STREQ(attributes.rtps.getName(), "unit");
    EXPECT_EQ(attributes.rtps.builtin.discovery_config.discoveryProtocol, rtps::DiscoveryProtocol_t::SIMPLE);
    EXPECT_EQ(attributes.rtps.builtin.discovery_config.leaseDuration, Duration_t(5, 0));
    EXPECT_FALSE(attributes.rtps.useBuiltinTransports);

    const ParticipantAttributes defaults;
    EXPECT_EQ(defaults.rtps.builtin.discovery_config.leaseDuration, Duration_t(20, 0));
    attributes.domainId = defaults.domainId;
    attributes.rtps.setName(defaults.rtps.getName());
    attributes.rtps.builtin.discovery_config.leaseDuration = Duration_t(20, 0);
    attributes.rtps.useBuiltinTransports = true;
    attributes.rtps.userTransports.clear();
    EXPECT_TRUE(attributes == defaults);
}

TEST(TransportSettingsTest, SharedMemoryHasTheDefaults)
{
    const auto transport = transportOf<eprosima::fastdds::rtps::SharedMemTransportDescriptor>(
        participantAttributes(settingsOf("SHM"), "unit"));
    ASSERT_TRUE(transport);
    EXPECT_TRUE(*transport == eprosima::fastdds::rtps::SharedMemTransportDescriptor());
}

TEST(TransportSettingsTest, UdpStaysOnTheMachineAndDoesNotBlock)
{
    const auto transport = transportOf<eprosima::fastdds::rtps::UDPv4TransportDescriptor>(
        participantAttributes(settingsOf("UDP"), "unit"));
    ASSERT_TRUE(transport);
    EXPECT_THAT(transport->interfaceWhiteList, ElementsAre("127.0.0.1"));
    EXPECT_TRUE(transport->non_blocking_send);
    transport->interfaceWhiteList.clear();
    transport->non_blocking_send = false;
    EXPECT_TRUE(*transport == eprosima::fastdds::rtps::UDPv4TransportDescriptor());
}

TEST(TransportSettingsTest, TcpClientHasOnePeerAndListensNowhere)
{
    const ParticipantAttributes attributes = participantAttributes(settingsOf("TCP_Client"), "unit");
    const auto transport = transportOf<eprosima::fastdds::rtps::TCPv4TransportDescriptor>(attributes);
    ASSERT_TRUE(transport);
    EXPECT_THAT(transport->listening_ports, IsEmpty());
    ASSERT_EQ(attributes.rtps.builtin.initialPeersList.size(), 1u);
    const rtps::Locator_t& peer = *attributes.rtps.builtin.initialPeersList.begin();
    EXPECT_EQ(peer.kind, 4);
    EXPECT_EQ(peer.port, 7100u);
    EXPECT_EQ(rtps::IPLocator::toIPv4string(peer), "10.0.0.2");
}

TEST(TransportSettingsTest, TcpClientTakesThePortAsItIs)
{
    HX_TSS_Settings settings = settingsOf("TCP_Client");
    settings.tcpPort = 0x51BBC;
    const ParticipantAttributes attributes = participantAttributes(settings, "unit");
    ASSERT_EQ(attributes.rtps.builtin.initialPeersList.size(), 1u);
    EXPECT_EQ(attributes.rtps.builtin.initialPeersList.begin()->port, 0x51BBCu);
}

TEST(TransportSettingsTest, TcpHasTheDefaultsButForTheServersAddressAndPort)
{
    using Descriptor = eprosima::fastdds::rtps::TCPv4TransportDescriptor;
    const auto client = transportOf<Descriptor>(participantAttributes(settingsOf("TCP_Client"), "unit"));
    const auto server = transportOf<Descriptor>(participantAttributes(settingsOf("TCP_Server"), "unit"));
    ASSERT_TRUE(client && server);
    EXPECT_TRUE(*client == Descriptor());
    Descriptor expected;
    expected.set_WAN_address(10, 0, 0, 2);
    expected.listening_ports = {7100};
    EXPECT_TRUE(*server == expected);
}

TEST(TransportSettingsTest, TcpServerListensAndHasNoPeer)
{
    const ParticipantAttributes attributes = participantAttributes(settingsOf("TCP_Server"), "unit");
    const auto transport = transportOf<eprosima::fastdds::rtps::TCPv4TransportDescriptor>(attributes);
    ASSERT_TRUE(transport);
    EXPECT_THAT(transport->wan_addr, ElementsAre(10, 0, 0, 2));
    EXPECT_THAT(transport->listening_ports, ElementsAre(7100));
    EXPECT_EQ(attributes.rtps.builtin.initialPeersList.size(), 0u);
}

TEST(TransportSettingsTest, TcpServerTakesZerosForWhatItCannotRead)
{
    HX_TSS_Settings settings = settingsOf("TCP_Server");
    settings.tcpAddress = "10.1.host";
    settings.tcpPort = 0x17000;
    const auto transport =
        transportOf<eprosima::fastdds::rtps::TCPv4TransportDescriptor>(participantAttributes(settings, "unit"));
    ASSERT_TRUE(transport);
    EXPECT_THAT(transport->wan_addr, ElementsAre(10, 1, 0, 0));
    EXPECT_THAT(transport->listening_ports, ElementsAre(0x7000));
}

TEST(TransportSettingsTest, AnyOtherTextAddsNoTransport)
{
    for (const char* const text : {"shm", "TCP", "SHM ", ""})
        EXPECT_THAT(participantAttributes(settingsOf(text), "unit").rtps.userTransports, IsEmpty()) << text;
}

TEST(TransportSettingsTest, EndpointsHaveTheDepthInEveryLimit)
{
    const PublisherAttributes publisher = publisherAttributes(settingsOf("SHM"), "Topic", "Type");
    const SubscriberAttributes subscriber = subscriberAttributes(settingsOf("SHM"), "Topic", "Type");
    for (const TopicAttributes& topic : {publisher.topic, subscriber.topic}) {
        EXPECT_STREQ(topic.topicName.c_str(), "Topic");
        EXPECT_STREQ(topic.topicDataType.c_str(), "Type");
        EXPECT_EQ(topic.topicKind, rtps::NO_KEY);
        EXPECT_EQ(topic.historyQos.kind, KEEP_LAST_HISTORY_QOS);
        EXPECT_EQ(topic.historyQos.depth, 4);
        EXPECT_EQ(topic.resourceLimitsQos.max_samples, 4);
        EXPECT_EQ(topic.resourceLimitsQos.max_instances, 1);
        EXPECT_EQ(topic.resourceLimitsQos.max_samples_per_instance, 4);
        EXPECT_EQ(topic.resourceLimitsQos.allocated_samples, 4);
    }
    EXPECT_EQ(publisher.historyMemoryPolicy, rtps::PREALLOCATED_WITH_REALLOC_MEMORY_MODE);
    EXPECT_EQ(subscriber.historyMemoryPolicy, rtps::PREALLOCATED_WITH_REALLOC_MEMORY_MODE);
}

TEST(TransportSettingsTest, ReliabilityGoesByBestEffort)
{
    HX_TSS_Settings settings = settingsOf("SHM");
    EXPECT_EQ(publisherAttributes(settings, "", "").qos.m_reliability.kind, RELIABLE_RELIABILITY_QOS);
    EXPECT_EQ(subscriberAttributes(settings, "", "").qos.m_reliability.kind, RELIABLE_RELIABILITY_QOS);
    settings.useBestEffort = true;
    EXPECT_EQ(publisherAttributes(settings, "", "").qos.m_reliability.kind, BEST_EFFORT_RELIABILITY_QOS);
    EXPECT_EQ(subscriberAttributes(settings, "", "").qos.m_reliability.kind, BEST_EFFORT_RELIABILITY_QOS);
}

TEST(TransportSettingsTest, BackFillMovesTheSubscriberOnly)
{
    HX_TSS_Settings settings = settingsOf("SHM");
    for (const bool backFill : {false, true}) {
        settings.backFillHistory = backFill;
        EXPECT_EQ(publisherAttributes(settings, "", "").qos.m_durability.kind, TRANSIENT_LOCAL_DURABILITY_QOS);
        EXPECT_EQ(subscriberAttributes(settings, "", "").qos.m_durability.kind,
                  backFill ? TRANSIENT_LOCAL_DURABILITY_QOS : VOLATILE_DURABILITY_QOS);
    }
}

TEST(TransportSettingsTest, EndpointsHaveTheDefaultsInAllElse)
{
    const PublisherAttributes publisher = publisherAttributes(settingsOf("SHM"), "Topic", "Type");
    expectDefaultsInAllElse(publisher);
    EXPECT_TRUE(publisher.qos.m_publishMode == PublisherAttributes().qos.m_publishMode);
    EXPECT_TRUE(publisher.qos.m_ownershipStrength == PublisherAttributes().qos.m_ownershipStrength);
    EXPECT_FALSE(publisher.qos.disable_heartbeat_piggyback);
    const SubscriberAttributes subscriber = subscriberAttributes(settingsOf("SHM"), "Topic", "Type");
    expectDefaultsInAllElse(subscriber);
    EXPECT_TRUE(subscriber.qos.type_consistency == SubscriberAttributes().qos.type_consistency);
    EXPECT_FALSE(subscriber.expectsInlineQos);
}

TEST(TransportSettingsTest, LongNamesAreCut)
{
    const std::string name(300, 'n');
    const PublisherAttributes attributes = publisherAttributes(settingsOf("SHM"), name, name);
    EXPECT_EQ(attributes.topic.topicName.to_string(), std::string(255, 'n'));
    EXPECT_EQ(attributes.topic.topicDataType.to_string(), std::string(255, 'n'));
}
