#ifndef FACE_HX_TSS_LISTENERS_H
#define FACE_HX_TSS_LISTENERS_H

#include "face/FACE_TSS.h"

#include <fastdds/rtps/common/Guid.h>
#include <fastrtps/publisher/PublisherListener.h>
#include <fastrtps/qos/QosPolicies.h>
#include <fastrtps/subscriber/SampleInfo.h>
#include <fastrtps/subscriber/Subscriber.h>
#include <fastrtps/subscriber/SubscriberListener.h>

#include <atomic>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>

/// What the library calls: on threads of its own, and on the thread of a writer in this process while that one writes.
namespace FACE::TSS::Listeners {

/// The four bytes of a GUID's entity id, the first the most significant. The prefix takes no part: equal endpoints of
/// two participants have equal numbers.
std::int64_t GuidToUid(const eprosima::fastrtps::rtps::GUID_t& guid);

/// Name and value of a policy, as the QoS argument of a callback tells them. A kind that has no name here is
/// "UNKNOWN_DURABILITY_QOS", "UNKNOWN_LIVELINESS_QOS" or "UNKNOWN_RELIABILITY_QOS".
QoS_Element DurabilityQosPolicyToElement(const eprosima::fastrtps::DurabilityQosPolicy& policy);
QoS_Element LivelinessQosPolicyToElement(const eprosima::fastrtps::LivelinessQosPolicy& policy);
QoS_Element ReliabilityQosPolicyToElement(const eprosima::fastrtps::ReliabilityQosPolicy& policy);

/// The number of a sample in its writer's sequence, of 64 bits.
long long transactionOf(const eprosima::fastrtps::SampleInfo_t& info);

HEADER_TYPE headerOf(eprosima::fastrtps::Subscriber& subscriber, const eprosima::fastrtps::SampleInfo_t& info);

/// Durability, liveliness and reliability of a subscriber, in this order. Throws `std::bad_alloc`.
Sequence<QoS_Element> elementsOf(const eprosima::fastrtps::ReaderQos& qos);

/// Tells on standard error that a sample of a connection was lost, if there is memory for that.
void reportLost(long long connectionId, const char* why) noexcept;

/// Counts the subscribers that a publisher is matched with.
class PublisherListenerBase : public eprosima::fastrtps::PublisherListener {
public:
    explicit PublisherListenerBase(std::string participantName) : m_participantName(std::move(participantName)) {}

    void onPublicationMatched(eprosima::fastrtps::Publisher* publisher,
                              eprosima::fastrtps::rtps::MatchingInfo& info) override;

    /// Any thread may ask.
    int matched() const { return m_matched; }

private:
    std::string m_participantName;
    std::atomic<int> m_matched = 0;
};

/// Counts the publishers that a subscriber is matched with.
class SubscriberListenerBase : public eprosima::fastrtps::SubscriberListener {
public:
    explicit SubscriberListenerBase(std::string participantName) : m_participantName(std::move(participantName)) {}

    void onSubscriptionMatched(eprosima::fastrtps::Subscriber* subscriber,
                               eprosima::fastrtps::rtps::MatchingInfo& info) override;

    /// Any thread may ask.
    int matched() const { return m_matched; }

    /// What callbacks are told of the subscriber, made once: the library lets none of the three change while there is
    /// one. To be called before there is. Throws `std::bad_alloc`.
    void setQos(const eprosima::fastrtps::ReaderQos& qos);
    const Sequence<QoS_Element>& qos() const { return m_qos; }

private:
    std::string m_participantName;
    std::atomic<int> m_matched = 0;
    Sequence<QoS_Element> m_qos;
};

/// Hands every sample of a connection to a callback.
template <class T>
class SubscriberListenerTyped : public SubscriberListenerBase {
public:
    SubscriberListenerTyped(std::string participantName, long long connectionId, Read_Callback<T> callback)
        : SubscriberListenerBase(std::move(participantName)), m_connectionId(connectionId),
          m_callback(std::move(callback))
    {}

    /// Takes one sample: there is a call for each. What is no record of the type, and what tells of the end of an
    /// instance, is passed over in silence. A sample for which there is no memory is lost, and told on standard error.
    /// What the callback throws leaves this function (an empty one throws `std::bad_function_call`): on a thread of the
    /// library it ends the process, within a write in this process it comes out of that.
    void onNewDataMessage(eprosima::fastrtps::Subscriber* subscriber) override
    {
        bool isCalled = false;
        try {
            T message;
            eprosima::fastrtps::SampleInfo_t info;
            if (!subscriber->takeNextData(&message, &info)) return;
            if (info.sampleKind != eprosima::fastrtps::rtps::ALIVE) return;
            const HEADER_TYPE header = headerOf(*subscriber, info);
            RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
            isCalled = true;
            m_callback(m_connectionId, transactionOf(info), message, header, qos(), ignored);
        } catch (const std::exception& error) {
            if (isCalled) throw;
            reportLost(m_connectionId, error.what());
        }
    }

private:
    const long long m_connectionId;
    const Read_Callback<T> m_callback;
};

}  // namespace FACE::TSS::Listeners

#endif
