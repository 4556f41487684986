#include "face/HX_TSS_Listeners.h"

#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"

#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/rtps/common/MatchingInfo.h>

#include <iostream>
#include <new>

namespace FACE::TSS::Listeners {

using namespace eprosima::fastrtps;

namespace {

int changeOf(const rtps::MatchingInfo& info)
{
    return info.status == rtps::MATCHED_MATCHING ? 1 : -1;
}

const char* durabilityText(DurabilityQosPolicyKind kind)
{
    switch (kind) {
    case VOLATILE_DURABILITY_QOS:
        return "VOLATILE_DURABILITY_QOS";
    case TRANSIENT_LOCAL_DURABILITY_QOS:
        return "TRANSIENT_LOCAL_DURABILITY_QOS";
    case TRANSIENT_DURABILITY_QOS:
        return "TRANSIENT_DURABILITY_QOS";
    case PERSISTENT_DURABILITY_QOS:
        return "PERSISTENT_DURABILITY_QOS";
    }
    return "UNKNOWN_DURABILITY_QOS";
}

const char* livelinessText(LivelinessQosPolicyKind kind)
{
    switch (kind) {
    case AUTOMATIC_LIVELINESS_QOS:
        return "AUTOMATIC_LIVELINESS_QOS";
    case MANUAL_BY_PARTICIPANT_LIVELINESS_QOS:
        return "MANUAL_BY_PARTICIPANT_LIVELINESS_QOS";
    case MANUAL_BY_TOPIC_LIVELINESS_QOS:
        return "MANUAL_BY_TOPIC_LIVELINESS_QOS";
    }
    return "UNKNOWN_LIVELINESS_QOS";
}

const char* reliabilityText(ReliabilityQosPolicyKind kind)
{
    switch (kind) {
    case BEST_EFFORT_RELIABILITY_QOS:
        return "BEST_EFFORT_RELIABILITY_QOS";
    case RELIABLE_RELIABILITY_QOS:
        return "RELIABLE_RELIABILITY_QOS";
    }
    return "UNKNOWN_RELIABILITY_QOS";
}

}  // namespace

std::int64_t GuidToUid(const rtps::GUID_t& guid)
{
    std::uint32_t number = 0;
    for (const rtps::octet byte : guid.entityId.value) number = number << 8 | byte;
    return number;
}

QoS_Element DurabilityQosPolicyToElement(const DurabilityQosPolicy& policy)
{
    return {"DurabilityQosPolicy", durabilityText(policy.kind)};
}

QoS_Element LivelinessQosPolicyToElement(const LivelinessQosPolicy& policy)
{
    return {"LivelinessQosPolicy", livelinessText(policy.kind)};
}

QoS_Element ReliabilityQosPolicyToElement(const ReliabilityQosPolicy& policy)
{
    return {"ReliabilityQosPolicy", reliabilityText(policy.kind)};
}

long long transactionOf(const SampleInfo_t& info)
{
    const rtps::SequenceNumber_t& number = info.sample_identity.sequence_number();
    const std::uint64_t high = static_cast<std::uint32_t>(number.high);
    return static_cast<std::int64_t>(high << 32 | number.low);
}

HEADER_TYPE headerOf(Subscriber& subscriber, const SampleInfo_t& info)
{
    return {GuidToUid(info.sample_identity.writer_guid()), GuidToUid(subscriber.getGuid()),
            info.sourceTimestamp.to_ns()};
}

Sequence<QoS_Element> elementsOf(const ReaderQos& qos)
{
    Sequence<QoS_Element> elements;
    if (elements.length(3) != String::NO_ERROR) throw std::bad_alloc();
    elements[0] = DurabilityQosPolicyToElement(qos.m_durability);
    elements[1] = LivelinessQosPolicyToElement(qos.m_liveliness);
    elements[2] = ReliabilityQosPolicyToElement(qos.m_reliability);
    for (std::uint32_t i = 0; i < 3; ++i)
        if (!elements[i].name.is_valid() || !elements[i].value.is_valid()) throw std::bad_alloc();
    return elements;
}

void reportLost(long long connectionId, const char* why) noexcept
{
    shielded([=] { printLine(std::cerr, "A message of connection ", connectionId, " was lost: ", why); },
             [](const char*) {});
}

void PublisherListenerBase::onPublicationMatched(Publisher*, rtps::MatchingInfo& info)
{
    m_matched += changeOf(info);
}

void SubscriberListenerBase::setQos(const ReaderQos& qos)
{
    m_qos = elementsOf(qos);
    if (!m_qos.is_valid()) throw std::bad_alloc();
}

void SubscriberListenerBase::onSubscriptionMatched(Subscriber*, rtps::MatchingInfo& info)
{
    m_matched += changeOf(info);
}

}  // namespace FACE::TSS::Listeners
