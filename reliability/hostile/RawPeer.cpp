#include "reliability/hostile/RawPeer.h"

#include "tests/support/ChildProcess.h"

#include <fastrtps/Domain.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/participant/Participant.h>
#include <fastrtps/publisher/Publisher.h>
#include <fastrtps/rtps/common/MatchingInfo.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>

using eprosima::fastrtps::Domain;
using eprosima::fastrtps::rtps::SerializedPayload_t;

namespace {

constexpr std::uint32_t kLargest = 262144;
constexpr std::chrono::seconds kLongestWait{30};

}  // namespace

RawPeer::Bytes::Bytes(const std::string& name)
{
    setName(name.c_str());
    m_typeSize = kLargest;
    m_isGetKeyDefined = false;
}

bool RawPeer::Bytes::serialize(void* data, SerializedPayload_t* payload)
{
    const auto& bytes = *static_cast<const Payload*>(data);
    if (bytes.size() > payload->max_size) return false;
    std::copy(bytes.begin(), bytes.end(), payload->data);
    payload->length = static_cast<std::uint32_t>(bytes.size());
    return true;
}

bool RawPeer::Bytes::deserialize(SerializedPayload_t*, void*)
{
    return false;
}

std::function<std::uint32_t()> RawPeer::Bytes::getSerializedSizeProvider(void* data)
{
    return [data] { return static_cast<std::uint32_t>(static_cast<const Payload*>(data)->size()); };
}

RawPeer::RawPeer(const FACE::TSS::HX_TSS_Settings& settings, const std::string& name)
    : m_settings(settings), m_participant(Domain::createParticipant(FACE::TSS::participantAttributes(settings, name)))
{
    if (!m_participant) throw std::runtime_error("no participant " + name);
}

RawPeer::~RawPeer()
{
    Domain::removeParticipant(m_participant);
}

std::size_t RawPeer::add(const std::string& topic, const std::string& type)
{
    const auto known = std::ranges::find_if(m_types, [&](const Bytes& one) { return one.getName() == type; });
    if (known == m_types.end() && !Domain::registerType(m_participant, &m_types.emplace_back(type)))
        throw std::runtime_error("no type " + type);
    auto* const publisher = Domain::createPublisher(
        m_participant, FACE::TSS::publisherAttributes(m_settings, topic, type), &m_listeners.emplace_back());
    if (!publisher) throw std::runtime_error("no publisher " + topic);
    m_publishers.push_back(publisher);
    return m_publishers.size() - 1;
}

bool RawPeer::send(std::size_t publisher, Payload payload)
{
    return m_publishers.at(publisher)->write(&payload);
}

void RawPeer::Listeners::onPublicationMatched(eprosima::fastrtps::Publisher*,
                                              eprosima::fastrtps::rtps::MatchingInfo& info)
{
    count += info.status == eprosima::fastrtps::rtps::MATCHED_MATCHING ? 1 : -1;
}

bool RawPeer::isHeard(std::size_t publisher) const
{
    return m_listeners.at(publisher).count > 0;
}

bool RawPeer::waitForListener(std::size_t publisher) const
{
    return eventually([&] { return isHeard(publisher); }, kLongestWait);
}

bool RawPeer::waitUntilTaken(std::size_t publisher) const
{
    return m_publishers.at(publisher)->wait_for_all_acked({static_cast<std::int32_t>(kLongestWait.count()), 0});
}
