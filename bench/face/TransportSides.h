#ifndef BENCH_FACE_TRANSPORTSIDES_H
#define BENCH_FACE_TRANSPORTSIDES_H

#include "aspn2_msgs/PositionVelocityAttitudePubSubTypes.h"
#include "face/HX_Config.h"
#include "face/HX_TSS.h"
#include "face/HX_TypedTS.h"

#include <fastrtps/Domain.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/publisher/Publisher.h>
#include <fastrtps/subscriber/SampleInfo.h>
#include <fastrtps/subscriber/Subscriber.h>
#include <fastrtps/subscriber/SubscriberListener.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>

// The two sides that are compared: the bare library and the transport, with the same settings.

inline constexpr int kTransportDepth = 100;
inline constexpr std::uint32_t kTransportDomain = 201;

/// Hands each sample to `Receive`, which takes the message.
template <class Receive>
class BareListener : public eprosima::fastrtps::SubscriberListener {
public:
    explicit BareListener(Receive receive) : m_receive(std::move(receive)) {}
    void onNewDataMessage(eprosima::fastrtps::Subscriber* subscriber) override
    {
        aspn2_msgs::idl::PositionVelocityAttitude message;
        eprosima::fastrtps::SampleInfo_t info;
        if (subscriber->takeNextData(&message, &info) && info.sampleKind == eprosima::fastrtps::rtps::ALIVE)
            m_receive(message);
    }

private:
    Receive m_receive;
};

/// The settings of the connection file, for the library.
inline FACE::TSS::HX_TSS_Settings transportSettings()
{
    return {kTransportDomain, kTransportDepth, false, false, "SHM", "127.0.0.1", 7100};
}

/// One participant of the bare library, with the type registered.
class Bare {
public:
    Bare()
    {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        m_participant = eprosima::fastrtps::Domain::createParticipant(
            FACE::TSS::participantAttributes(transportSettings(), "bare"));
#pragma GCC diagnostic pop
        eprosima::fastrtps::Domain::registerType(m_participant, &m_type);
    }
    ~Bare()
    {
        eprosima::fastrtps::Domain::removeParticipant(m_participant);
    }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;

    void publish()
    {
        m_publisher = eprosima::fastrtps::Domain::createPublisher(
            m_participant, FACE::TSS::publisherAttributes(transportSettings(), "Bare", m_type.getName()));
    }
    template <class Receive>
    void subscribe(Receive receive)
    {
        m_listener = std::make_unique<BareListener<Receive>>(std::move(receive));
        eprosima::fastrtps::Domain::createSubscriber(
            m_participant, FACE::TSS::subscriberAttributes(transportSettings(), "Bare", m_type.getName()),
            m_listener.get());
    }
    void write(aspn2_msgs::idl::PositionVelocityAttitude& message)
    {
        m_publisher->write(&message);
    }

private:
    aspn2_msgs::idl::PositionVelocityAttitudePubSubType m_type;
    std::unique_ptr<eprosima::fastrtps::SubscriberListener> m_listener;
    eprosima::fastrtps::Participant* m_participant = nullptr;
    eprosima::fastrtps::Publisher* m_publisher = nullptr;
};

/// The transport and its typed front, with one connection of the type.
class Ours {
public:
    explicit Ours(const std::string& path)
    {
        m_tss->Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, m_code);
        m_tss->Initialize(path.c_str(), m_code);
        m_front->Set_Reference("", m_tss, 0, m_code);
        int size = -1;
        m_tss->Create_Connection("Ours", -1, m_id, size, m_code);
    }
    void publish() { m_front->Register_Sender(m_id, m_code); }
    template <class Receive>
    void subscribe(Receive receive)
    {
        m_front->Register_Callback(
            m_id, [receive](long long, long long, const auto& message, auto&&...) { receive(message); }, m_code);
    }
    void write(const aspn2_msgs::idl::PositionVelocityAttitude& message)
    {
        long long transaction = 0;
        m_front->Send_Message(m_id, -1, transaction, message, m_code);
    }

private:
    std::shared_ptr<FACE::TSS::HX_TSS> m_tss = std::make_shared<FACE::TSS::HX_TSS>("ours");
    std::shared_ptr<FACE::TSS::Details::HX_TypedTS<aspn2_msgs::idl::PositionVelocityAttitude>> m_front =
        std::make_shared<FACE::TSS::Details::HX_TypedTS<aspn2_msgs::idl::PositionVelocityAttitude>>();
    long long m_id = -1;
    FACE::RETURN_CODE_TYPE::Value m_code = FACE::RETURN_CODE_TYPE::NO_ERROR;
};

/// The connection file of `Ours`, for the caller to remove.
inline std::string transportConnectionFile()
{
    const std::string path = "/tmp/bench_transport." + std::to_string(getpid()) + ".xml";
    std::ofstream(path) << "<HX_Configurations><Domain><Name>FastRtps</Name><Parameters><DomainId>" << kTransportDomain
                        << "</DomainId><HistoryDepth>" << kTransportDepth
                        << "</HistoryDepth><UseBestEffort>false</UseBestEffort><BackFillHistory>false</BackFillHistory>"
                           "<UseTransport>SHM</UseTransport><TcpAddress>127.0.0.1</TcpAddress><TcpPort>7100</TcpPort>"
                           "</Parameters></Domain><Connection><Name>Ours</Name><Parameters>"
                           "<TopicType>aspn2_msgs::idl::PositionVelocityAttitude</TopicType>"
                           "<PubSubType>PositionVelocityAttitudePubSubType</PubSubType></Parameters></Connection>"
                           "</HX_Configurations>\n";
    return path;
}

#endif
