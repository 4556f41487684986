#include "lab/ctl/record/RecordRun.h"

#include "lab/ctl/Progress.h"
#include "lab/ctl/Rendering.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/WatchRun.h"
#include "lab/ctl/record/ConsoleCopy.h"
#include "lab/ctl/record/QueueCopy.h"
#include "lab/ctl/record/RecordRing.h"
#include "lab/ctl/record/RecordingFiles.h"
#include "lab/ctl/record/WriteRequests.h"
#include "lab/ctl/top/BusFeed.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <ctime>
#include <iomanip>
#include <memory>
#include <numeric>
#include <optional>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace orvanectl {

namespace {

using Clock = TopicStatistics::Clock;
using Time = TopicStatistics::Time;

constexpr std::chrono::milliseconds kTurn{50};  // seldom, so that it costs little; the box has room for far more
constexpr std::chrono::seconds kSettle{1};      // what a recording that was killed may lack
constexpr int kLastTurns = 200;                 // at the end, for who never pauses

struct NamedCopy {
    std::string name;
    std::string path;
};

std::vector<NamedCopy> copiesOf(const std::vector<std::string>& texts)
{
    std::vector<NamedCopy> copies;
    for (const std::string& text : texts) {
        const auto equals = text.find('=');
        if (equals == 0 || equals == std::string::npos || equals + 1 == text.size())
            throw UnknownName(printable(text) + ": is no NAME=PATH of a queue and its copy");
        const std::string name = text.substr(0, equals);
        if (name.find('/') != std::string::npos)
            throw UnknownName(printable(name) + ": is no name of a queue, such as ZEN_HX");
        if (std::ranges::find(copies, name, &NamedCopy::name) != copies.end())
            throw UnknownName(printable(name) + ": is named twice");
        copies.push_back({name, text.substr(equals + 1)});
    }
    return copies;
}

std::vector<std::string> namesOf(const std::vector<NamedCopy>& copies)
{
    std::vector<std::string> names;
    names.reserve(copies.size());
    for (const NamedCopy& copy : copies) names.push_back(copy.name);
    return names;
}

std::string fileNamedByTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "orvane-%Y%m%dT%H%M%SZ.mcap", &parts);
    return text.data();
}

/// Of a time of arrival, which is the steady clock's; what is recorded has the time of day.
class WallClock {
public:
    WallClock() : m_steady(Clock::now()), m_wall(std::chrono::system_clock::now()) {}

    std::uint64_t of(Time time) const
    {
        const auto wall = m_wall + std::chrono::duration_cast<std::chrono::system_clock::duration>(time - m_steady);
        const auto since = std::chrono::duration_cast<std::chrono::nanoseconds>(wall.time_since_epoch()).count();
        return since > 0 ? static_cast<std::uint64_t>(since) : 0;
    }

private:
    Time m_steady;
    std::chrono::system_clock::time_point m_wall;
};

class RecordRun {
public:
    RecordRun(const RecordOptions& options, std::ostream& output)
        : m_options(options), m_output(output),
          m_requests(options.ring > 0 ? std::make_unique<WriteRequests>() : nullptr),
          m_path(options.file.empty() ? fileNamedByTime() : options.file),
          m_split(options.split.empty() ? SplitLimit{} : splitLimitOf(options.split)),
          m_copies(copiesOf(options.queues)), m_connections(options.connections),
          m_watch(m_connections, chooseTopics(m_connections, {}, ""), {}), m_bus(options.socket),
          m_statistics(m_watch.topics().size(), TopicStatistics(kSettle)), m_trigger(options.ring),
          m_files(m_path, isNumbered(), [this](mcap::Output& file) { return recorderOf(file); })
    {
        openCopies();
        if (!m_requests) std::signal(SIGUSR1, SIG_IGN);  // who takes this for one with a ring ends no recording
        if (options.ring > 0)
            m_ring.emplace(m_watch.topics(), options.ring);
        else
            m_files.open(m_start);
        m_signals.listen();
    }

    void run()
    {
        const std::chrono::duration<double> length(m_options.seconds);
        for (Time now = m_start; !m_signals.received() && (m_options.seconds <= 0 || now - m_start < length);
             now = Clock::now()) {
            takeAll(now);
            if (m_ring)
                turnRing(now);
            else
                turnFile(now);
            sayProgress();
            wait();
        }
        takeTheRest();
        for (const auto& queue : m_queues) queue->end();
        if (m_console) m_console->end();
        end();
        m_progress.reset();
        printSum();
    }

private:
    bool isNumbered() const { return !m_options.split.empty() || m_options.ring > 0; }

    std::unique_ptr<Recorder> recorderOf(mcap::Output& file) const
    {
        const mcap::Table about = {{"connections", m_options.connections},
                                   {"bus", m_options.socket},
                                   {"console", m_options.console},
                                   {"domain", m_connections.domain().at("DomainId")}};
        return std::make_unique<Recorder>(file, m_watch.topics(), namesOf(m_copies), about);
    }

    HeardSink& sink()
    {
        if (m_ring) return *m_ring;
        return m_files.recorder();
    }

    void sayProgress()
    {
        m_progress->say(m_ring ? "keeps " + std::to_string(m_ring->entries()) + " messages"
                               : "records, " + std::to_string(m_files.messagesUntilNow()) + " messages");
    }

    void turnFile(Time now)
    {
        if (m_files.isFull(m_split, now)) {
            m_files.close(unheard());
            m_files.open(now);
            m_settled = now;
        } else if (now - m_settled >= kSettle) {
            m_files.settle(unheard());
            m_settled = now;
        }
    }

    void turnRing(Time now)
    {
        if (m_requests->take()) m_trigger.ask();
        if (m_trigger.isDue(now)) writeRing(now);
    }

    void writeRing(Time now)
    {
        m_files.open(now);
        m_ring->writeTo(m_files.recorder());
        const std::uint64_t messages = m_files.recorder().statistics().messages;
        m_files.close(unheard());
        m_trigger.written(now);
        print("orvanectl: " + std::to_string(messages) + " messages in " + printable(m_files.file()) + '\n');
    }

    void end()
    {
        if (!m_ring) return m_files.close(unheard());
        if (m_requests->take()) m_trigger.ask();
        if (m_trigger.isDueAtTheEnd()) writeRing(Clock::now());
    }

    void openCopies()
    {
        for (std::size_t queue = 0; queue < m_copies.size(); ++queue)
            m_queues.push_back(std::make_unique<QueueCopy>(
                m_copies[queue].path,
                [this, queue](Bytes record, std::int64_t number) {
                    sink().takeQueueRecord(queue, record, number, m_now);
                },
                [this, queue](Bytes bytes) { sink().takeQueueRest(queue, bytes, m_now); }));
        if (!m_options.console.empty())
            m_console = std::make_unique<ConsoleCopy>(
                m_options.console, [this](const std::string& line) { sink().takeConsoleLine(line, m_now); });
    }

    void wait() const
    {
        pollfd waiting{m_signals.descriptor(), POLLIN, 0};
        ::poll(&waiting, 1, static_cast<int>(kTurn.count()));
    }

    /// What came before the end, which may be more than a turn takes.
    void takeTheRest()
    {
        for (int turn = 0; turn < kLastTurns; ++turn)
            if (!takeAll(Clock::now())) return;
        m_isShort = true;
    }

    /// True if there may be more of the bus, a queue or the console.
    bool takeAll(Time now)
    {
        const WallClock clock;
        if (m_ring) m_ring->turn(now);
        std::vector<SampleBox::LeftOut> leftOut;
        for (const Sample& sample : m_watch.samples().take(leftOut)) {
            m_statistics[sample.topic].take(sample.arrival);
            sink().take(sample, clock.of(sample.arrival.time));
        }
        for (const auto& [topic, first, latest] : leftOut) m_statistics[topic].passOver(first, latest);
        m_now = clock.of(Clock::now());
        const auto lines = m_bus.take(now);
        for (const BusLink::Json& line : lines)
            if (line.is_discarded())
                ++m_unreadableLines;
            else
                sink().takeBusLine(line.dump(-1, ' ', false, BusLink::Json::error_handler_t::replace), m_now);
        bool isMore = !lines.empty();
        for (const auto& queue : m_queues) isMore = queue->take() || isMore;
        if (m_console) isMore = m_console->take() || isMore;
        if (m_ring && std::exchange(m_troubles, m_ring->troubles()) != m_ring->troubles()) m_trigger.takeEvent();
        return isMore;
    }

    /// By what each writer has counted, and what of it found no room here.
    Unheard unheard()
    {
        Unheard unheard;
        for (std::size_t topic = 0; topic < m_statistics.size(); ++topic) {
            unheard.missed[m_watch.topics()[topic].name] = m_statistics[topic].lost();
            unheard.earlier[m_watch.topics()[topic].name] = m_statistics[topic].earlier();
        }
        unheard.missed["left out"] = saturatedSum(m_watch.samples().leftOut(), leftOutOfTheRing());
        if (!m_options.socket.empty()) unheard.missed[recording::kBus] = m_unreadableLines;
        return unheard;
    }

    /// Came, and is thus in no writer's missing numbers.
    std::uint64_t leftOutOfTheRing() const { return m_ring ? m_ring->leftOut() : 0; }

    std::uint64_t missedInAll()
    {
        std::vector<std::uint64_t> lost;
        for (const TopicStatistics& statistics : m_statistics) lost.push_back(statistics.lost());
        return saturatedSum(orvanectl::missedInAll(lost, m_watch.samples().leftOut()),
                            saturatedSum(leftOutOfTheRing(), m_unreadableLines));
    }

    void printSum()
    {
        std::uint64_t before = 0;
        for (const TopicStatistics& statistics : m_statistics) before = saturatedSum(before, statistics.earlier());
        std::ostringstream text;
        text << "orvanectl: " << m_files.messages() << " messages in " << std::fixed << std::setprecision(1)
             << std::chrono::duration<double>(Clock::now() - m_start).count() << " s, " << missedInAll() << " missed, "
             << m_files.bytes() << " bytes in ";
        if (isNumbered())
            text << m_files.files() << (m_files.files() == 1 ? " file\n" : " files\n");
        else
            text << printable(m_path) << '\n';
        if (before > 0) text << "orvanectl: " << before << " were sent before their publisher was heard\n";
        if (m_isShort) text << "orvanectl: more came at the end than was taken\n";
        if (!m_options.socket.empty() && !m_bus.trouble().empty())
            text << "orvanectl: no bus at the end: " << m_bus.trouble() << '\n';
        print(text.str());
    }

    void print(const std::string& text)
    {
        if (m_progress) m_progress->hide();
        if (!(m_output << text << std::flush)) throw std::runtime_error("cannot write to standard output");
    }

    const RecordOptions& m_options;
    std::ostream& m_output;
    const std::unique_ptr<WriteRequests> m_requests;  // before the threads of the watch
    EndingSignals m_signals;                          // likewise
    const std::string m_path;
    const SplitLimit m_split;
    const std::vector<NamedCopy> m_copies;
    const ConnectionFile m_connections;
    TopicWatch m_watch;
    BusFeed m_bus;
    std::vector<TopicStatistics> m_statistics;
    std::optional<RecordRing> m_ring;
    RingTrigger m_trigger;
    RecordingFiles m_files;
    std::vector<std::unique_ptr<QueueCopy>> m_queues;
    std::unique_ptr<ConsoleCopy> m_console;
    std::uint64_t m_now = 0;
    std::uint64_t m_troubles = 0;         // that the ring had counted
    std::uint64_t m_unreadableLines = 0;  // of the bus
    bool m_isShort = false;               // of what came before the end
    const Time m_start = Clock::now();
    Time m_settled = m_start;
    std::optional<Progress> m_progress{std::in_place, STDERR_FILENO};
};

}  // namespace

std::uint64_t missedInAll(const std::vector<std::uint64_t>& lost, std::uint64_t leftOut)
{
    return std::max(std::accumulate(lost.begin(), lost.end(), std::uint64_t{0}, saturatedSum), leftOut);
}

void runRecord(const RecordOptions& options, std::ostream& output)
{
    RecordRun(options, output).run();
}

}  // namespace orvanectl
