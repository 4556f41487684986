#include "lab/ctl/why/WhyRun.h"

#include "face/FACE_Text.h"
#include "lab/ctl/BusLink.h"
#include "lab/ctl/QueueTaps.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/WatchRun.h"
#include "lab/ctl/why/BusEntries.h"
#include "lab/ctl/why/JoinDiary.h"
#include "lab/ctl/why/JoinEntries.h"
#include "lab/ctl/why/ReceiverCopy.h"
#include "lab/ctl/why/ServiceSettings.h"
#include "lab/ctl/why/WhyReport.h"

#include <chrono>
#include <optional>
#include <poll.h>
#include <stdexcept>

namespace orvanectl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTurn{50};
constexpr std::chrono::seconds kBetweenTries{1};  // to find the bus, or another queue

/// The receiver's queue, if its readings can be watched.
std::vector<QueueName> receiverQueueOf(const ServerSettings& settings)
{
    std::vector<QueueName> queues = queuesOf(settings);
    std::erase_if(queues, [](const QueueName& queue) { return queue.name != kReceiverQueue; });
    const bool isWatched = !queues.empty() && QueueTaps(queues).reading(0).isThere;
    return isWatched ? queues : std::vector<QueueName>{};
}

class WhyRun {
public:
    WhyRun(const WhyOptions& options, std::ostream& output)
        : m_options(options), m_settings(serviceSettings(options.file)), m_queue(receiverQueueOf(m_settings)),
          m_diary(m_settings,
                  {!options.socket.empty(), !options.receiver.empty(), m_queue.numberOf(kReceiverQueue).has_value()}),
          m_file(FACE::textOf(m_settings.m_connectionsFile)),
          m_watch(m_file, chooseTopics(m_file, kJoinTopics, ""), {}),
          m_report(output, options.all, options.json, Clock::now())
    {
        if (!options.socket.empty()) m_bus.emplace(options.socket);
        m_signals.listen();
        m_report.progress("listens");
    }

    void run()
    {
        const auto end = Clock::now() +
                         std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(m_options.seconds));
        while (!m_signals.received() && (m_options.seconds <= 0 || Clock::now() < end)) {
            sayWhenAllAreHeard();
            wait();
            takeAll();
            m_report.show(m_diary.takeDecided(Clock::now()));
            const auto now = Clock::now();
            m_report.saySilence(m_diary.silence(now), now);
        }
        takeAll();
        const auto silence = m_diary.silence(Clock::now());
        m_report.show(m_diary.end(Clock::now()));
        m_report.printSum({!m_options.socket.empty(), m_diary.isReceiverHeard(),
                           m_queue.numberOf(kReceiverQueue).has_value(), unheard(), "nobody publishes ",
                           m_watch.samples().leftOut(), " records came too fast and were left out"},
                          silence);
    }

private:
    void wait() const
    {
        pollfd waiting[] = {{m_watch.samples().descriptor(), POLLIN, 0},
                            {m_signals.descriptor(), POLLIN, 0},
                            {m_bus ? m_bus->descriptor() : -1, POLLIN, 0}};
        ::poll(waiting, std::size(waiting), static_cast<int>(kTurn.count()));
    }

    /// What was published comes behind what it was made of.
    void takeAll()
    {
        for (const Sample& sample : m_watch.samples().take())
            enterRecord(m_diary, sample.topic, sample.record.get(), sample.arrival.time);
        takeReadings();
        if (m_options.socket.empty()) return;
        if (!m_bus) findBus();
        if (m_bus) takeBusLines();
    }

    void takeReadings()
    {
        m_receiver.take(Clock::now());
        if (m_queue.queues().empty()) return;
        const auto now = Clock::now();
        if (now >= m_nextFollow) {
            m_queue.follow();
            m_nextFollow = now + kBetweenTries;
        }
        m_queue.count(now);
        if (m_queue.reading(0).lastTaken == now) m_diary.takeReading(now);
    }

    /// A service that ends takes its bus along, and the next one brings another.
    void findBus()
    {
        const auto now = Clock::now();
        if (now < m_nextTry) return;
        m_nextTry = now + kBetweenTries;
        try {
            m_bus.emplace(m_options.socket);
        } catch (const std::runtime_error&) {
            m_bus.reset();
        }
    }

    void takeBusLines()
    {
        while (const auto text = m_bus->arrivedLine()) {
            takeReadings();  // what was published was read before
            enterBusLine(m_diary, Json::parse(*text, nullptr, false), Clock::now());
        }
        if (!m_bus->isClosed()) return;
        m_diary.setServiceRuns(false, Clock::now());
        m_bus.reset();
    }

    /// Before that, nothing is known of an input that does not come.
    void sayWhenAllAreHeard()
    {
        if (m_areAllHeard || !unheard().empty()) return;
        m_areAllHeard = true;
        m_report.hearsAll();
    }

    std::vector<std::string> unheard() const
    {
        std::vector<std::string> topics;
        for (std::size_t topic = 0; topic < kJoinTopics.size(); ++topic)
            if (m_watch.publishersOf(topic) == 0) topics.push_back(kJoinTopics[topic]);
        return topics;
    }

    const WhyOptions& m_options;
    EndingSignals m_signals;  // before the threads of the watch
    const ServerSettings m_settings;
    QueueTaps m_queue;
    JoinDiary m_diary;
    const ConnectionFile m_file;
    mutable TopicWatch m_watch;
    std::optional<BusLink> m_bus;
    ReceiverCopy m_receiver{m_options.receiver, m_diary};
    Clock::time_point m_nextTry;
    Clock::time_point m_nextFollow;
    bool m_areAllHeard = false;
    WhyReport m_report;
};

}  // namespace

void runWhy(const WhyOptions& options, std::ostream& output)
{
    WhyRun(options, output).run();
}

}  // namespace orvanectl
