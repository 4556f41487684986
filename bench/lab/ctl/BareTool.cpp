// The least that a tool with the libraries of ours would be. For bench_tools, which has it run in turn with the tool.
//
//     bench_bare_tool          ends at once
//     bench_bare_tool watch    until SIGTERM hears all topics of the sample configuration over shared memory, by the
//                              bare DDS library and the types that fastddsgen makes, and does nothing with what comes

#include "commandPubSubTypes.h"
#include "face/HX_TSS_Settings.h"
#include "navigationPubSubTypes.h"

#include <fastrtps/Domain.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/subscriber/SampleInfo.h>
#include <fastrtps/subscriber/Subscriber.h>
#include <fastrtps/subscriber/SubscriberListener.h>

#include <csignal>
#include <string>

namespace {

using eprosima::fastrtps::Domain;
using eprosima::fastrtps::Participant;

/// The sample configuration's, as a subscriber has it that asks for nothing.
const FACE::TSS::HX_TSS_Settings kSettings{0, 10, true, false, "SHM", "127.0.0.1", 7100};

template <class Record>
class Listener : public eprosima::fastrtps::SubscriberListener {
public:
    void onNewDataMessage(eprosima::fastrtps::Subscriber* subscriber) override
    {
        Record message;
        eprosima::fastrtps::SampleInfo_t info;
        subscriber->takeNextData(&message, &info);
    }
};

/// Subscribers to topics of a type.
template <class Support>
class Topics {
public:
    Topics(Participant* participant, const std::string& record) : m_participant(participant)
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

int watch()
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
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    return argc > 1 && argv[1] == std::string("watch") ? watch() : 0;
}
