#include "lab/ctl/TopicWatch.h"

#include "face/HX_TSS_Listeners.h"
#include "lab/ctl/Participant.h"
#include "utilities/Shielded.h"

#include <algorithm>
#include <cerrno>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace orvanectl {

using FACE::TSS::HX_TSS;

namespace {

TopicStatistics::Writer writerOf(const eprosima::fastrtps::SampleInfo_t& info)
{
    const auto& guid = info.sample_identity.writer_guid();
    TopicStatistics::Writer writer{};
    const auto rest = std::copy(std::begin(guid.guidPrefix.value), std::end(guid.guidPrefix.value), writer.begin());
    std::copy(std::begin(guid.entityId.value), std::end(guid.entityId.value), rest);
    return writer;
}

class Listener : public FACE::TSS::Listeners::SubscriberListenerBase {
public:
    Listener(std::size_t topic, const RecordType& type, SampleBox& samples)
        : SubscriberListenerBase(kParticipant), m_topic(topic), m_type(type), m_samples(samples)
    {}

    /// Takes one record: there is a call for each. What is none of the type is passed over; the writer's numbers tell.
    void onNewDataMessage(eprosima::fastrtps::Subscriber* subscriber) override
    {
        shielded([&] { takeFrom(*subscriber); }, [this](const char*) { m_samples.countAsLeftOut(); });
    }

private:
    void takeFrom(eprosima::fastrtps::Subscriber& subscriber)
    {
        Sample sample{m_topic, {}, m_type.make()};
        eprosima::fastrtps::SampleInfo_t info;
        if (!subscriber.takeNextData(sample.record.get(), &info)) return;
        if (info.sampleKind != eprosima::fastrtps::rtps::ALIVE) return;
        const aspn2_msgs::idl::header& header = m_type.headerOf(sample.record.get());
        sample.arrival = {TopicStatistics::Clock::now(), writerOf(info), FACE::TSS::Listeners::transactionOf(info),
                          header.device_id(), header.seq_num()};
        sample.sent = info.sourceTimestamp.to_ns();
        m_samples.put(std::move(sample));
    }

    const std::size_t m_topic;
    const RecordType& m_type;
    SampleBox& m_samples;
};

}  // namespace

SampleBox::SampleBox() : m_event(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (m_event < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

SampleBox::~SampleBox()
{
    close(m_event);
}

void SampleBox::put(Sample sample)
{
    const MutexLock lock(m_mutex);
    if (m_samples.size() >= kRoom) {
        const std::pair writer(sample.topic, sample.arrival.writer);
        if (const auto known = m_leftOutOf.find(writer); known != m_leftOutOf.end())
            known->second.latest = sample.arrival;
        else if (m_leftOutOf.size() < kMostWriters)
            m_leftOutOf.emplace(writer, LeftOut{sample.topic, sample.arrival, sample.arrival});
        ++m_leftOut;
        return;
    }
    m_samples.push_back(std::move(sample));
    if (m_samples.size() == 1) eventfd_write(m_event, 1);
}

std::vector<Sample> SampleBox::take()
{
    const MutexLock lock(m_mutex);
    return takeAll();
}

std::vector<Sample> SampleBox::takeAll()
{
    eventfd_t ignored = 0;
    eventfd_read(m_event, &ignored);
    return std::exchange(m_samples, {});
}

std::vector<Sample> SampleBox::take(std::vector<LeftOut>& leftOut)
{
    const MutexLock lock(m_mutex);
    for (const auto& [writer, each] : m_leftOutOf) leftOut.push_back(each);
    m_leftOutOf.clear();
    return takeAll();
}

TopicWatch::TopicWatch(const ConnectionFile& file, std::vector<WatchedTopic> topics, Delivery delivery)
    : m_file(file.path()), m_topics(std::move(topics)), m_transport(makeParticipant(file, m_topics, delivery))
{
    for (std::size_t topic = 0; topic < m_topics.size(); ++topic) subscribe(topic);
}

TopicWatch::~TopicWatch() = default;

void TopicWatch::subscribe(std::size_t topic)
{
    const auto& [name, type] = m_topics[topic];
    const long long connection = connect(*m_transport, m_file, name);
    HX_TSS::Connection_t& made = m_transport->connectionMap_mutex_at(HX_TSS::keyOf(connection));
    m_transport->requireType(made, type->isTypeSupport, "subscriber");
    m_transport->registerSubscriber(made, std::make_unique<Listener>(topic, *type, m_samples));
    m_connections.push_back(connection);
}

int TopicWatch::publishersOf(std::size_t topic) const
{
    return m_transport->connectionMap_mutex_at(HX_TSS::keyOf(m_connections.at(topic))).subscriberListener->matched();
}

}  // namespace orvanectl
