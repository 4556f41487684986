#include "lab/ctl/why/WhyRun.h"

#include "face/FACE_Text.h"
#include "lab/ctl/BusLink.h"
#include "lab/ctl/Progress.h"
#include "lab/ctl/QueueTaps.h"
#include "lab/ctl/Rendering.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/WatchRun.h"
#include "lab/ctl/why/JoinDiary.h"
#include "lab/ctl/why/ReceiverCopy.h"
#include "lab/ctl/why/ServiceSettings.h"

#include <chrono>
#include <cstdio>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace orvanectl {

namespace {

using Clock = std::chrono::steady_clock;
using namespace aspn2_msgs::idl;

const std::vector<std::string> kTopics = {"UTCTime", "PositionVelocityAttitude", "HalvexPNT",
                                          "MeasurementIncorporationStatus", "AssuranceState"};
constexpr std::chrono::milliseconds kTurn{50};
constexpr std::chrono::seconds kBetweenTries{1};  // to find the bus, or another queue
constexpr std::chrono::seconds kPatience{3};      // until publishers are found

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
        : m_options(options), m_output(output), m_settings(serviceSettings(options.file)),
          m_queue(receiverQueueOf(m_settings)), m_diary(m_settings, {!options.socket.empty(), !options.receiver.empty(),
                                                                     m_queue.numberOf(kReceiverQueue).has_value()}),
          m_file(FACE::textOf(m_settings.m_connectionsFile)), m_watch(m_file, chooseTopics(m_file, kTopics, ""), {})
    {
        if (!options.socket.empty()) m_bus.emplace(options.socket);
        if (!options.receiver.empty()) m_receiver.emplace(options.receiver, m_diary);
        m_signals.listen();
        m_progress->say("listens");
    }

    void run()
    {
        const auto end = Clock::now() +
                         std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(m_options.seconds));
        while (!m_signals.received() && (m_options.seconds <= 0 || Clock::now() < end)) {
            sayWhenAllAreHeard();
            wait();
            takeAll();
            show(m_diary.takeDecided(Clock::now()));
            saySilence(Clock::now());
        }
        takeAll();
        const auto silence = m_diary.silence(Clock::now());
        show(m_diary.end(Clock::now()));
        m_progress.reset();
        printSum(silence);
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
        for (const Sample& sample : m_watch.samples().take()) take(sample);
        if (m_receiver) m_receiver->take(Clock::now());
        takeReadings();
        if (m_options.socket.empty()) return;
        if (!m_bus) findBus();
        if (m_bus) takeBusLines();
    }

    void takeReadings()
    {
        if (m_queue.queues().empty()) return;
        const auto now = Clock::now();
        if (now >= m_nextFollow) {
            m_queue.follow();
            m_nextFollow = now + kBetweenTries;
        }
        m_queue.count(now);
        if (m_queue.reading(0).lastTaken == now) m_diary.takeReading(now);
    }

    void take(const Sample& sample)
    {
        const void* const record = sample.record.get();
        const auto now = sample.arrival.time;
        switch (sample.topic) {
        case 0:
            return m_diary.take(*static_cast<const UTCTime*>(record), now);
        case 1:
            return m_diary.take(*static_cast<const PositionVelocityAttitude*>(record), now);
        case 2:
            return m_diary.take(*static_cast<const HalvexPNT*>(record), now);
        case 3:
            return m_diary.take(*static_cast<const MeasurementIncorporationStatus*>(record), now);
        default:
            return m_diary.take(*static_cast<const AssuranceState*>(record), now);
        }
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
            const Json line = Json::parse(*text, nullptr, false);
            if (!line.is_object()) continue;
            if (textIn(line, "type") == "service") m_diary.setServiceRuns(runs(line), Clock::now());
            const auto record = line.find("record");
            // What is told at the start has no time.
            const bool isTold = textIn(line, "tell") == "blended-navigation" && !line.contains("last") &&
                                record != line.end() && record->is_object() && line.contains("timeOfValidity") &&
                                !line["timeOfValidity"].is_null();
            if (!isTold) continue;
            takeReadings();  // what was published was read before
            const auto time = record->find("gpsSeconds");
            if (time != record->end() && time->is_number()) m_diary.tell(time->get<double>(), Clock::now());
        }
        if (!m_bus->isClosed()) return;
        m_diary.setServiceRuns(false, Clock::now());
        m_bus.reset();
    }

    static std::string textIn(const Json& line, const char* name)
    {
        const auto member = line.find(name);
        return member != line.end() && member->is_string() ? member->get<std::string>() : "";
    }

    static bool runs(const Json& line)
    {
        return textIn(line, "phase") == "started" && textIn(line, "event") != "deleted";
    }

    /// Before that, nothing is known of an input that does not come.
    void sayWhenAllAreHeard()
    {
        if (m_areAllHeard || !unheard().empty()) return;
        m_areAllHeard = true;
        print(m_options.json ? jsonLine({{"kind", "hears"}, {"topics", kTopics}})
                             : "orvanectl: hears a publisher of each of the five topics\n");
    }

    std::vector<std::string> unheard() const
    {
        std::vector<std::string> topics;
        for (std::size_t topic = 0; topic < kTopics.size(); ++topic)
            if (m_watch.publishersOf(topic) == 0) topics.push_back(kTopics[topic]);
        return topics;
    }

    /// Once for each reason: an epoch of which no time message tells is only known when the next one comes.
    void saySilence(Clock::time_point now)
    {
        if (now - m_start < kPatience) return;
        const auto silence = m_diary.silence(now);
        if (!silence) return m_said.clear();
        const std::string what = silence->text();
        m_progress->say(lastingText(*silence));
        if (what == m_said) return;
        m_said = what;
        print(m_options.json ? jsonLine({{"kind", "silence"}, {"cause", what}, {"seconds", silence->seconds}})
                             : "orvanectl: " + lastingText(*silence) + '\n');
    }

    void show(const std::vector<Epoch>& epochs)
    {
        for (const Epoch& epoch : epochs) {
            m_sum.add(epoch);
            if (epoch.isJoined && !m_options.all) continue;
            print(m_options.json ? jsonOf(epoch) : lineOf(epoch));
        }
        if (!epochs.empty())
            m_progress->say(std::to_string(m_sum.joined()) + " of " + std::to_string(m_sum.epochs()) + " joined");
    }

    static std::string jsonOf(const Epoch& epoch)
    {
        Json causes = Json::array();
        for (const MissCause& cause : epoch.causes) causes.push_back(cause.text());
        return jsonLine(
            {{"kind", "epoch"}, {"gps_s", epoch.gpsSeconds}, {"joined", epoch.isJoined}, {"causes", causes}});
    }

    static std::string lineOf(const Epoch& epoch)
    {
        char seconds[64];
        std::snprintf(seconds, sizeof seconds, "%.1f", epoch.gpsSeconds);
        std::string text = std::string("GPS second ") + seconds + ": ";
        if (epoch.isJoined) return text + "joined\n";
        const char* between = "";
        for (const MissCause& cause : epoch.causes) {
            text += between + cause.text();
            between = ", ";
        }
        return text + '\n';
    }

    void printSum(const std::optional<MissCause>& silence)
    {
        if (m_options.json) {
            Json causes = Json::object();
            for (const auto& [cause, count] : m_sum.causes()) causes[cause] = count;
            print(jsonLine({{"kind", "sum"},
                            {"epochs", m_sum.epochs()},
                            {"joined", m_sum.joined()},
                            {"causes", causes},
                            {"bus", !m_options.socket.empty()},
                            {"receiver", !m_options.receiver.empty()},
                            {"queue", m_queue.numberOf(kReceiverQueue).has_value()},
                            {"without_publisher", unheard()},
                            {"left_out", m_watch.samples().leftOut()}}));
            return;
        }
        for (const std::string& topic : unheard()) print("orvanectl: nobody publishes " + topic + '\n');
        if (const auto count = m_watch.samples().leftOut(); count > 0)
            print("orvanectl: " + std::to_string(count) + " records came too fast and were left out\n");
        if (m_options.socket.empty())
            print("orvanectl: without a bus, what the service could have joined counts as joined\n");
        if (m_options.receiver.empty())
            print(m_queue.queues().empty()
                      ? "orvanectl: the receiver's queue is not heard; its 8504 count as there\n"
                      : "orvanectl: of the receiver's queue it is only known when the service reads it\n");
        print(m_sum.text(m_sum.epochs() == 0 ? silence : std::nullopt) + '\n');
    }

    void print(const std::string& text)
    {
        if (m_progress) m_progress->hide();
        if (!(m_output << text << std::flush)) throw std::runtime_error("cannot write to standard output");
    }

    const WhyOptions& m_options;
    std::ostream& m_output;
    EndingSignals m_signals;  // before the threads of the watch
    const ServerSettings m_settings;
    QueueTaps m_queue;
    JoinDiary m_diary;
    const ConnectionFile m_file;
    mutable TopicWatch m_watch;
    std::optional<BusLink> m_bus;
    std::optional<ReceiverCopy> m_receiver;
    Clock::time_point m_nextTry;
    Clock::time_point m_nextFollow;
    bool m_areAllHeard = false;
    const Clock::time_point m_start = Clock::now();
    std::string m_said;  // of a silence that goes on
    JoinSum m_sum;
    std::optional<Progress> m_progress{std::in_place, STDERR_FILENO};
};

}  // namespace

void runWhy(const WhyOptions& options, std::ostream& output)
{
    WhyRun(options, output).run();
}

}  // namespace orvanectl
