#include "lab/ctl/top/UnitFeed.h"

#include "face/FACE_Text.h"
#include "lab/ctl/ProcessLook.h"
#include "lab/ctl/why/ServiceSettings.h"

namespace orvanectl {

namespace {

constexpr std::chrono::seconds kProcessLook{1};
constexpr std::chrono::seconds kQueueLook{2};
constexpr const char* kProcess = "OrvaneServer";

}  // namespace

UnitFeed::UnitFeed(const std::string& file, const std::string& socket, const std::string& receiver)
    : m_hasBus(!socket.empty()), m_settings(serviceSettings(file)), m_file(FACE::textOf(m_settings.m_connectionsFile)),
      m_watch(m_file, chooseTopics(m_file, {}, ""), {}), m_taps(queuesOf(m_settings)), m_bus(socket),
      m_model(m_watch.topics(), m_taps.queues(), TopicStatistics::Clock::now()),
      m_joins(m_settings, {.bus = m_hasBus, .receiver = !receiver.empty(), .queue = isReceiverThere()}),
      m_receiver(receiver, m_joins.diary()), m_processLook(kProcessLook), m_queueLook(kQueueLook)
{}

UnitFeed::News UnitFeed::hear(Time now)
{
    News news;
    news.samples = m_watch.samples().take();
    for (const Sample& sample : news.samples) {
        m_model.take(sample);
        m_joins.take(m_watch.topics()[sample.topic], sample);
    }
    hearQueues(now);
    news.lines = hearBus(now);
    if (m_processLook.isDue(now)) m_model.setProcess(findProcess(kProcess), now);
    if (m_queueLook.isDue(now)) m_taps.look();
    return news;
}

bool UnitFeed::isReceiverThere() const
{
    const auto receiver = m_taps.numberOf(kReceiverQueue);
    return receiver && m_taps.reading(*receiver).isThere;
}

void UnitFeed::hearQueues(Time now)
{
    m_receiver.take(now);
    m_taps.count(now);
    if (const auto receiver = m_taps.numberOf(kReceiverQueue); receiver && m_taps.reading(*receiver).lastTaken == now)
        m_joins.takeReading(now);
}

std::vector<BusLink::Json> UnitFeed::hearBus(Time now)
{
    std::vector<BusLink::Json> lines = m_bus.take(now);
    // What was published was read before.
    hearQueues(now);
    for (const BusLink::Json& line : lines) {
        m_model.takeBusLine(line, now);
        m_joins.takeBusLine(line, now);
    }
    if (m_bus.trouble().empty()) return lines;
    m_model.setBus(m_bus.trouble());
    if (m_hasBus) m_joins.takeBusGone(now);
    return lines;
}

TopView UnitFeed::view(Time now)
{
    m_model.setJoin(m_joins.text(now));
    const JoinDiary& diary = m_joins.diary();
    m_model.setReceiver(diary.isReceiverHeard() ? std::optional(diary.input(JoinInput::Receiver)) : std::nullopt);
    for (std::size_t topic = 0; topic < m_watch.topics().size(); ++topic)
        m_model.setPublishers(topic, m_watch.publishersOf(topic));
    for (std::size_t queue = 0; queue < m_taps.queues().size(); ++queue) m_model.setQueue(queue, m_taps.reading(queue));
    return m_model.view(now);
}

std::array<int, 3> UnitFeed::descriptors()
{
    return {m_watch.samples().descriptor(), m_taps.descriptor(), m_bus.descriptor()};
}

}  // namespace orvanectl
