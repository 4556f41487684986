#include "face/HX_TSS_Settings.h"

#include "face/FACE_Text.h"
#include "face/HX_Config_Helpers.h"

#include <fastdds/rtps/transport/TCPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/utils/IPLocator.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <sstream>

namespace FACE::TSS {

namespace rtps = eprosima::fastrtps::rtps;
namespace transports = eprosima::fastdds::rtps;
using eprosima::fastrtps::ParticipantAttributes;
using eprosima::fastrtps::PublisherAttributes;
using eprosima::fastrtps::SubscriberAttributes;

namespace {

/// The text of a key that must be there.
std::string readText(Configuration& config, int handle, const char* key, RETURN_CODE_TYPE::Value& return_code)
{
    std::string text = HX_Config_Helpers::Details::Read_Config(config, handle, key);
    if (text.empty()) return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    return text;
}

std::uint32_t readUnsigned(Configuration& config, int handle, const char* key, RETURN_CODE_TYPE::Value& return_code)
{
    return static_cast<std::uint32_t>(std::strtoull(readText(config, handle, key, return_code).c_str(), nullptr, 0));
}

std::int32_t readSigned(Configuration& config, int handle, const char* key, RETURN_CODE_TYPE::Value& return_code)
{
    return static_cast<std::int32_t>(std::strtoll(readText(config, handle, key, return_code).c_str(), nullptr, 0));
}

/// Shared memory, with all of the library's defaults.
void addSharedMemory(ParticipantAttributes& attributes)
{
    attributes.rtps.userTransports.push_back(std::make_shared<transports::SharedMemTransportDescriptor>());
}

/// UDP that never leaves the machine.
void addLoopback(ParticipantAttributes& attributes)
{
    const auto descriptor = std::make_shared<transports::UDPv4TransportDescriptor>();
    descriptor->interfaceWhiteList = {"127.0.0.1"};
    descriptor->non_blocking_send = true;
    attributes.rtps.userTransports.push_back(descriptor);
}

void addTcpClient(ParticipantAttributes& attributes, const HX_TSS_Settings& settings)
{
    rtps::Locator_t peer;
    peer.kind = LOCATOR_KIND_TCPv4;
    rtps::IPLocator::setIPv4(peer, settings.tcpAddress);
    peer.port = settings.tcpPort;
    attributes.rtps.builtin.initialPeersList.push_back(peer);  // refuses one that it has
    attributes.rtps.userTransports.push_back(std::make_shared<transports::TCPv4TransportDescriptor>());
}

/// An address that is not four numbers with a character between each leaves zeros where reading it failed.
void addTcpServer(ParticipantAttributes& attributes, const HX_TSS_Settings& settings)
{
    const auto descriptor = std::make_shared<transports::TCPv4TransportDescriptor>();
    std::istringstream address(settings.tcpAddress);
    int numbers[4] = {};
    char separator = '\0';
    address >> numbers[0] >> separator >> numbers[1] >> separator >> numbers[2] >> separator >> numbers[3];
    std::ranges::transform(numbers, descriptor->wan_addr, [](int number) { return static_cast<rtps::octet>(number); });
    descriptor->listening_ports.push_back(static_cast<std::uint16_t>(settings.tcpPort));
    attributes.rtps.userTransports.push_back(descriptor);
}

/// What publishers and subscribers have in common.
template <class Attributes>
Attributes endpointAttributes(const HX_TSS_Settings& settings, const std::string& topicName,
                              const std::string& topicType)
{
    Attributes attributes;
    attributes.topic.topicName = topicName;
    attributes.topic.topicDataType = topicType;
    attributes.topic.topicKind = rtps::NO_KEY;
    attributes.topic.historyQos.kind = eprosima::fastrtps::KEEP_LAST_HISTORY_QOS;
    attributes.topic.historyQos.depth = settings.historyDepth;
    attributes.topic.resourceLimitsQos.max_samples = settings.historyDepth;
    attributes.topic.resourceLimitsQos.max_instances = 1;
    attributes.topic.resourceLimitsQos.max_samples_per_instance = settings.historyDepth;
    attributes.topic.resourceLimitsQos.allocated_samples = settings.historyDepth;
    attributes.qos.m_reliability.kind = settings.useBestEffort ? eprosima::fastrtps::BEST_EFFORT_RELIABILITY_QOS
                                                               : eprosima::fastrtps::RELIABLE_RELIABILITY_QOS;
    attributes.historyMemoryPolicy = rtps::PREALLOCATED_WITH_REALLOC_MEMORY_MODE;
    return attributes;
}

}  // namespace

HX_TSS_Settings readSettings(Configuration& config, int handle, RETURN_CODE_TYPE::Value& return_code)
{
    HX_TSS_Settings settings;
    settings.domainId = readUnsigned(config, handle, "DomainId", return_code);
    settings.historyDepth = readSigned(config, handle, "HistoryDepth", return_code);
    HX_Config_Helpers::Get_Boolean_Parameter(config, handle, "UseBestEffort", settings.useBestEffort, return_code);
    HX_Config_Helpers::Get_Boolean_Parameter(config, handle, "BackFillHistory", settings.backFillHistory, return_code);
    String useTransport;
    String tcpAddress;
    HX_Config_Helpers::Get_String_Parameter(config, handle, "UseTransport", useTransport, return_code);
    HX_Config_Helpers::Get_String_Parameter(config, handle, "TcpAddress", tcpAddress, return_code);
    settings.useTransport = textOf(useTransport);
    settings.tcpAddress = textOf(tcpAddress);
    settings.tcpPort = readUnsigned(config, handle, "TcpPort", return_code);
    return settings;
}

ParticipantAttributes participantAttributes(const HX_TSS_Settings& settings, const std::string& participantName)
{
    ParticipantAttributes attributes;
    attributes.domainId = settings.domainId;
    attributes.rtps.setName(participantName.c_str());
    attributes.rtps.builtin.discovery_config.discoveryProtocol = rtps::DiscoveryProtocol_t::SIMPLE;
    attributes.rtps.builtin.discovery_config.leaseDuration = eprosima::fastrtps::Duration_t(5, 0);
    attributes.rtps.useBuiltinTransports = false;
    // Another text adds no transport, deliberately: that no participant can be made without one tells it soon enough.
    if (settings.useTransport == "SHM") addSharedMemory(attributes);
    if (settings.useTransport == "UDP") addLoopback(attributes);
    if (settings.useTransport == "TCP_Client") addTcpClient(attributes, settings);
    if (settings.useTransport == "TCP_Server") addTcpServer(attributes, settings);
    return attributes;
}

PublisherAttributes publisherAttributes(const HX_TSS_Settings& settings, const std::string& topicName,
                                        const std::string& topicType)
{
    auto attributes = endpointAttributes<PublisherAttributes>(settings, topicName, topicType);
    attributes.qos.m_durability.kind = eprosima::fastrtps::TRANSIENT_LOCAL_DURABILITY_QOS;
    return attributes;
}

SubscriberAttributes subscriberAttributes(const HX_TSS_Settings& settings, const std::string& topicName,
                                          const std::string& topicType)
{
    auto attributes = endpointAttributes<SubscriberAttributes>(settings, topicName, topicType);
    attributes.qos.m_durability.kind = settings.backFillHistory ? eprosima::fastrtps::TRANSIENT_LOCAL_DURABILITY_QOS
                                                                : eprosima::fastrtps::VOLATILE_DURABILITY_QOS;
    return attributes;
}

}  // namespace FACE::TSS
