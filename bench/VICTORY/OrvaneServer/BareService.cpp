// The least that a service with the topics and queues of ours would be: the bare DDS library with the same settings, the
// types that fastddsgen makes, and a loop that polls both queues. It does nothing with what comes. For bench_service,
// which has it run in turn with the service.
//
// Built with ORVANE_BARE_BUS it is the least that has the service's set-up: it runs a service of the bus library too, of
// the same texts, with the same groups, and tells it nothing.
//
// It runs once it has a handler for SIGINT, prints a line when a position has come, and ends at SIGTERM.

#include "commandPubSubTypes.h"
#include "face/HX_TSS_Settings.h"
#include "navigationPubSubTypes.h"

#include <fastrtps/Domain.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/publisher/Publisher.h>
#include <fastrtps/subscriber/SampleInfo.h>
#include <fastrtps/subscriber/Subscriber.h>
#include <fastrtps/subscriber/SubscriberListener.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <poll.h>
#include <string>
#include <thread>
#include <type_traits>
#include <unistd.h>
#include <vector>

#ifdef ORVANE_BARE_BUS
#include "VICTORY/libvictory/victory.h"
#endif

namespace {

using eprosima::fastrtps::Domain;
using eprosima::fastrtps::Participant;

/// The sample configuration's.
const FACE::TSS::HX_TSS_Settings kSettings{0, 10, false, false, "UDP", "127.0.0.1", 7100};

template <class Record>
class Listener : public eprosima::fastrtps::SubscriberListener {
public:
    void onNewDataMessage(eprosima::fastrtps::Subscriber* subscriber) override
    {
        Record message;
        eprosima::fastrtps::SampleInfo_t info;
        if (!subscriber->takeNextData(&message, &info) ||
            !std::is_same_v<Record, generated::idl::PositionVelocityAttitude>)
            return;
        if (!m_isTold.exchange(true)) std::cout << "a position has come" << std::endl;
    }

private:
    std::atomic<bool> m_isTold = false;
};

/// A type, and the ends of topics that have it.
template <class Support>
class Topics {
public:
    Topics(Participant* participant, const std::string& record) : m_participant(participant)
    {
        m_type.setName(("aspn2_msgs::idl::" + record).c_str());
        Domain::registerType(participant, &m_type);
    }
    Topics& publish(const std::string& topic)
    {
        Domain::createPublisher(m_participant, FACE::TSS::publisherAttributes(kSettings, topic, m_type.getName()));
        return *this;
    }
    Topics& subscribe(const std::string& topic)
    {
        Domain::createSubscriber(m_participant, FACE::TSS::subscriberAttributes(kSettings, topic, m_type.getName()),
                                 &m_listener);
        return *this;
    }

private:
    Participant* m_participant;
    Support m_type;
    Listener<typename Support::type> m_listener;
};

void readQueues(const std::atomic<bool>& stop)
{
    std::array<pollfd, 2> queues = {};
    for (std::size_t i = 0; i < queues.size(); ++i)
        queues[i] = {open(("/dev/mcs" + std::to_string(5 + i)).c_str(), O_RDONLY | O_CLOEXEC), POLLIN, 0};
    std::vector<std::uint8_t> bytes(131072);
    while (!stop) {
        if (poll(queues.data(), queues.size(), 50) <= 0) continue;
        for (const pollfd& queue : queues)
            if ((queue.revents & POLLIN) != 0 && read(queue.fd, bytes.data(), bytes.size()) < 0) return;
    }
}

#ifdef ORVANE_BARE_BUS
/// Runs until its end; nothing if it can't be had.
class BusService {
public:
    BusService()
    {
        if (vutilReadStringFromFile("/opt/halvex/config/APNTServiceConfig_1_9.xml", kSize, m_configuration.get()) !=
                0 ||
            vutilReadStringFromFile("/opt/halvex/config/APNT_VCL_1_9.xml", kSize, m_vcl.get()) != 0)
            return;
        m_service = vapntsNewService(m_configuration.get(), m_vcl.get());
        if (!m_service) return;
        for (const int group :
             {VAPNTS_PUB_GROUP_BLENDED_NAVIGATION, VAPNTS_PUB_GROUP_WARNING_MESSAGES, VAPNTS_PUB_GROUP_NAVWAR_SA})
            vapntsInitPubGroup(m_service, group, 1.0);
        vapntsStartService(m_service);
    }
    ~BusService()
    {
        if (m_service) vapntsDeleteService(m_service);
    }
    BusService(const BusService&) = delete;
    BusService& operator=(const BusService&) = delete;

    explicit operator bool() const { return m_service != nullptr; }

private:
    static constexpr int kSize = 65536;

    std::unique_ptr<char[]> m_configuration{new char[kSize]};
    std::unique_ptr<char[]> m_vcl{new char[kSize]};
    VapntsService* m_service = nullptr;
};
#endif

}  // namespace

int main()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // in all threads

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    Participant* const participant = Domain::createParticipant(FACE::TSS::participantAttributes(kSettings, "bare"));
#pragma GCC diagnostic pop
    if (!participant) return 1;
    using namespace generated::idl;
    Topics<BitReportPubSubType> reports(participant, "BitReport");
    Topics<CommandResponsePubSubType> commands(participant, "CommandResponse");
    Topics<PositionVelocityAttitudePubSubType> positions(participant, "PositionVelocityAttitude");
    Topics<UTCTimePubSubType> times(participant, "UTCTime");
    Topics<HalvexPNTPubSubType> states(participant, "HalvexPNT");
    Topics<MeasurementIncorporationStatusPubSubType> measurements(participant, "MeasurementIncorporationStatus");
    Topics<AssuranceStatePubSubType> assurances(participant, "AssuranceState");
    Topics<EventLogPubSubType> events(participant, "EventLog");
    Topics<MaintenanceEventPubSubType> maintenance(participant, "MaintenanceEvent");
    reports.subscribe("BitReport");
    commands.subscribe("Command").publish("Command").subscribe("Response").publish("Response");
    positions.subscribe("PositionVelocityAttitude");
    times.subscribe("UTCTime");
    states.subscribe("HalvexPNT");
    measurements.subscribe("MeasurementIncorporationStatus");
    assurances.subscribe("AssuranceState");
    events.publish("EventLog");
    maintenance.publish("MaintenanceEvent");

    std::atomic<bool> stop = false;
    std::thread reader([&] { readQueues(stop); });
#ifdef ORVANE_BARE_BUS
    const BusService bus;
    if (!bus) std::quick_exit(1);
#endif
    std::signal(SIGINT, [](int) {});
    int signal = 0;
    sigwait(&signals, &signal);
    stop = true;
    reader.join();
    Domain::removeParticipant(participant);
    return 0;
}
