// The least that a tool with the libraries of ours would be. For bench_tools, which has it run in turn with the tool.
//
//     bench_bare_tool                    ends at once
//     bench_bare_tool watch FIRST END    until SIGTERM hears all topics of the sample configuration over shared memory,
//                                        by the bare DDS library and the types that fastddsgen makes, and does nothing
//                                        with what comes, but tells at the end how many had a number from FIRST up to
//                                        END, which is none of them

#include "commandPubSubTypes.h"
#include "face/HX_TSS_Settings.h"
#include "navigationPubSubTypes.h"

#include <fastrtps/Domain.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/subscriber/SampleInfo.h>
#include <fastrtps/subscriber/Subscriber.h>
#include <fastrtps/subscriber/SubscriberListener.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <iostream>
#include <string>

namespace {

using eprosima::fastrtps::Domain;
using eprosima::fastrtps::Participant;

/// The sample configuration's, as a subscriber has it that asks for nothing.
const FACE::TSS::HX_TSS_Settings kSettings{0, 10, true, false, "SHM", "127.0.0.1", 7100};

/// Counts samples whose numbers lie between these. Any thread.
class Counter {
public:
    Counter(std::int64_t first, std::int64_t end) : m_first(first), m_end(end) {}
    void take(std::int64_t number)
    {
        if (number >= m_first && number < m_end) ++m_count;
    }
    std::int64_t count() const { return m_count; }

private:
    const std::int64_t m_first;
    const std::int64_t m_end;
    std::atomic<std::int64_t> m_count = 0;
};

template <class Record>
class Listener : public eprosima::fastrtps::SubscriberListener {
public:
    explicit Listener(Counter& counter) : m_counter(counter) {}

    void onNewDataMessage(eprosima::fastrtps::Subscriber* subscriber) override
    {
        Record message;
        eprosima::fastrtps::SampleInfo_t info;
        if (subscriber->takeNextData(&message, &info) && info.sampleKind == eprosima::fastrtps::rtps::ALIVE)
            m_counter.take(message.header().seq_num());
    }

private:
    Counter& m_counter;
};

/// Subscribers to topics of a type.
template <class Support>
class Topics {
public:
    Topics(Participant* participant, const std::string& record, Counter& counter)
        : m_participant(participant), m_listener(counter)
    {
        m_type.setName(("aspn2_msgs::idl::" + record).c_str());
        Domain::registerType(participant, &m_type);
    }
    void subscribe(const std::string& topic)
    {
        Domain::createSubscriber(m_participant, FACE::TSS::subscriberAttributes(kSettings, topic, m_type.getName()),
                                 &m_listener);
    }

private:
    Participant* m_participant;
    Support m_type;
    Listener<typename Support::type> m_listener;
};

int watch(Counter& counter)
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
    Topics<BitReportPubSubType> reports(participant, "BitReport", counter);
    Topics<CommandResponsePubSubType> commands(participant, "CommandResponse", counter);
    Topics<PositionVelocityAttitudePubSubType> positions(participant, "PositionVelocityAttitude", counter);
    Topics<UTCTimePubSubType> times(participant, "UTCTime", counter);
    Topics<HalvexPNTPubSubType> states(participant, "HalvexPNT", counter);
    Topics<MeasurementIncorporationStatusPubSubType> measurements(participant, "MeasurementIncorporationStatus",
                                                                  counter);
    Topics<AssuranceStatePubSubType> assurances(participant, "AssuranceState", counter);
    Topics<EventLogPubSubType> events(participant, "EventLog", counter);
    Topics<MaintenanceEventPubSubType> maintenance(participant, "MaintenanceEvent", counter);
    reports.subscribe("BitReport");
    commands.subscribe("Command");
    commands.subscribe("Response");
    positions.subscribe("PositionVelocityAttitude");
    times.subscribe("UTCTime");
    states.subscribe("HalvexPNT");
    measurements.subscribe("MeasurementIncorporationStatus");
    assurances.subscribe("AssuranceState");
    events.subscribe("EventLog");
    maintenance.subscribe("MaintenanceEvent");

    int signal = 0;
    sigwait(&signals, &signal);
    Domain::removeParticipant(participant);
    std::cout << counter.count() << std::endl;
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 4 || argv[1] != std::string("watch")) return argc > 1 ? 2 : 0;
    Counter counter(std::stoll(argv[2]), std::stoll(argv[3]));
    return watch(counter);
}
