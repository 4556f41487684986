#include "lab/ctl/play/PlayRun.h"

#include "ASPN/CmdResponseStrings.h"
#include "lab/ctl/Counted.h"
#include "lab/ctl/TopicPublisher.h"
#include "lab/ctl/UnitClock.h"
#include "lab/ctl/WatchRun.h"
#include "lab/ctl/play/PlayTerminal.h"
#include "lab/ctl/play/RecordTimes.h"
#include "lab/ctl/play/Reel.h"
#include "lab/ctl/play/Timeline.h"
#include "lab/ctl/play/UnitRegisters.h"
#include "lab/ctl/record/ReadProgress.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/RecordingTrouble.h"
#include "lab/ctl/top/TerminalSignals.h"
#include "lab/unit/DeviceMap.h"
#include "lab/unit/QueueFeeder.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <memory>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace orvanectl {

namespace {

using Clock = Timeline::Clock;
using std::chrono::nanoseconds;

constexpr std::chrono::seconds kBetweenLaps{1};
constexpr std::chrono::seconds kArrival{5};
constexpr std::chrono::milliseconds kStatus{250};      // less than a second
constexpr std::chrono::milliseconds kBetweenLooks{5};  // for keys
constexpr std::chrono::microseconds kTaken{50};        // until a reader that waits for a record has taken it
constexpr const char* kQueueDevices = "/dev/mcs";
constexpr const char* kMemory = "/dev/mem";

double secondsOf(nanoseconds time)
{
    return std::chrono::duration<double>(time).count();
}

std::string inTenths(double seconds)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << seconds;
    return text.str();
}

/// The files by which a unit tells that it has started and tested itself. There as long as this is.
class UnitFlags {
public:
    UnitFlags()
    {
        remove();
        const std::ofstream started(kDirectory + "/SystemStarted");
        Sys::announceFirstBbitDone(kDirectory);
        Sys::announcePostComplete(kDirectory);
    }
    ~UnitFlags() { remove(); }
    UnitFlags(const UnitFlags&) = delete;
    UnitFlags& operator=(const UnitFlags&) = delete;

private:
    static void remove()
    {
        std::error_code ignored;
        for (const char* flag : {"/PostComplete", "/SystemStarted", "/FirstBbitDone"})
            std::filesystem::remove(kDirectory + flag, ignored);
    }

    static inline const std::string kDirectory = "/tmp";
};

/// The queues of a unit, held open so that a service that opens them comes up, whatever is played into them.
class HeldQueues {
public:
    explicit HeldQueues(const std::string& devices)
    {
        for (const char* name : {"ZEN_HX", "HX_ZEN"}) {
            try {
                const auto port = unitsim::DeviceMap(devices).port(name);
                m_queues.push_back(std::make_unique<unitsim::QueueFeeder>(kQueueDevices + std::to_string(port)));
            } catch (const std::exception&) {
                continue;  // the unit has none
            }
        }
    }

private:
    std::vector<std::unique_ptr<unitsim::QueueFeeder>> m_queues;
};

/// Where messages go: DDS topics, as `pub` publishes, and the lab's queues. One thread at a time.
class Outlets {
public:
    /// Throws `std::runtime_error` for what can't be had.
    Outlets(const PlayOptions& options, const PlayPlan& plan) : m_connections(options.connections)
    {
        std::vector<WatchedTopic> topics;
        std::optional<unitsim::DeviceMap> devices;
        for (const PlayPlan::Way& way : plan.ways) {
            m_outlets.push_back({way.type, way.name, nullptr, nullptr});
            if (way.messages == 0) continue;
            if (way.type) {
                topics.push_back({way.name, way.type});
                m_outlets.back().record = way.type->make();
            } else {
                if (!devices) devices.emplace(options.devices);
                m_outlets.back().queue =
                    std::make_unique<unitsim::QueueFeeder>(kQueueDevices + std::to_string(devices->port(way.name)));
            }
        }
        if (!topics.empty()) m_publisher.emplace(m_connections, std::move(topics));
    }

    /// Until each topic has a subscriber. Gives the names of those that have none.
    std::vector<std::string> waitForSubscribers(std::chrono::milliseconds most,
                                                const std::function<bool()>& isOver) const
    {
        if (!m_publisher || m_publisher->waitForSubscribers(most, isOver).empty()) return {};
        return m_publisher->topicsWithoutSubscribers();
    }

    const std::string& domain() const { return m_connections.domain().at("DomainId"); }

    enum class Sent { Done, Unreadable, TooLong };

    /// A message that is none of its kind, or is a record too long for a queue, is left out.
    Sent send(const Cue& cue)
    {
        Outlet& outlet = m_outlets.at(cue.channel.way);
        if (outlet.type) {
            if (!readPayload(*outlet.type, cue.payload, outlet.record.get())) return Sent::Unreadable;
            m_publisher->publish(outlet.name, outlet.record.get());
            return Sent::Done;
        }
        constexpr std::size_t kMost = unitsim::QueueFeeder::kLargestPacket;
        const std::span<const std::uint8_t> bytes = cue.payload;
        if (cue.channel.hasRecords && bytes.size() > kMost) return Sent::TooLong;
        for (std::size_t begin = 0; begin < bytes.size(); begin += kMost)
            outlet.queue->send(bytes.subspan(begin, std::min(kMost, bytes.size() - begin)));
        return Sent::Done;
    }

    /// Of the message's queue; 0 for a topic.
    std::size_t bytesNotTaken(const Cue& cue) const
    {
        const auto& queue = m_outlets.at(cue.channel.way).queue;
        return queue ? queue->waiting() : 0;
    }

    bool waitUntilArrived() { return !m_publisher || m_publisher->waitUntilArrived(kArrival); }

    /// Records of queues that nobody took before others needed their room.
    std::uint64_t dropped() const
    {
        std::uint64_t dropped = 0;
        for (const Outlet& outlet : m_outlets)
            if (outlet.queue) dropped += outlet.queue->dropped();
        return dropped;
    }

private:
    struct Outlet {
        const RecordType* type;
        std::string name;
        RecordPointer record;
        std::unique_ptr<unitsim::QueueFeeder> queue;
    };

    const ConnectionFile m_connections;
    std::vector<Outlet> m_outlets;  // by way
    std::optional<TopicPublisher> m_publisher;
};

class PlayRun {
public:
    PlayRun(const PlayOptions& options, std::ostream& output)
        : m_options(options), m_output(output), m_file(options.file), m_plan(planned()),
          m_timeline(Clock::now(), options.rate, true), m_outlets(options, m_plan)
    {
        openRegisters();
        follow();
        m_signals.beforeDefault(PlayTerminal::giveBack);
        m_signals.listen();
    }

    void run()
    {
        sayTrouble(m_options.file, m_plan.trouble);
        waitForSubscribers();
        if (m_registers) m_flags.emplace();
        m_begin = Clock::now();
        m_timeline = Timeline(m_begin, m_options.isFast ? 1 : m_options.rate, m_options.isPaused || m_options.steps);
        follow();
        while (playLap() && m_options.loops) {
            ++m_lap;
            m_mover.beginAnew();
        }
        if (!m_outlets.waitUntilArrived()) throw std::runtime_error("not all messages have arrived within 5 s");
        m_terminal.show("");
        if (m_signals.received() && !m_options.loops)
            throw std::runtime_error(std::to_string(m_played) + " of " + std::to_string(m_plan.messages) +
                                     " messages played, broken off by a signal");
        printSum();
    }

private:
    PlayPlan planned() const
    {
        return planOf(ReadProgress(m_file, "reads " + printable(m_options.file)), m_options.file, m_options.choice);
    }

    void openRegisters()
    {
        try {
            if (!m_options.leavesRegisters)
                m_registers.emplace(m_options.registers.value_or(kMemory), m_options.devices);
        } catch (const std::exception& error) {
            if (m_options.registers) throw;
            m_noRegisters = error.what();
        }
        if (m_registers) m_heldQueues.emplace(m_options.devices);
        if (m_registers)
            m_registersAtBegin = recordedBegin().value_or(m_registers->now());
        else if (m_options.isFast && (!m_options.leavesRegisters || recordedBegin()))
            m_clock.emplace(m_options.devices);
    }

    /// The time that the registers had at the first message, within limits that leave room for all that follows.
    std::optional<nanoseconds> recordedBegin() const
    {
        constexpr nanoseconds kMost = nanoseconds::max() / 4;
        if (!m_plan.registersAhead) return std::nullopt;
        return std::clamp(nanoseconds(static_cast<std::int64_t>(m_plan.first)) + *m_plan.registersAhead, -kMost, kMost);
    }

    /// The place at which the lap begins; a fast play knows no places.
    nanoseconds lapBegin() const
    {
        if (m_options.isFast) return nanoseconds(0);
        constexpr nanoseconds kLast = nanoseconds::max() / 2;  // after some centuries no lap is later
        const nanoseconds lap = m_plan.length() + kBetweenLaps;
        return m_lap > kLast / lap ? kLast : m_lap * lap;
    }

    /// Has the registers go as the play does.
    void follow()
    {
        if (m_registers) m_registers->follow(m_timeline, m_registersAtBegin);
    }

    void waitForSubscribers()
    {
        if (m_terminal.canShow()) m_terminal.show("waits for subscribers");
        const auto most =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double>(m_options.waitSeconds));
        m_lonely = m_outlets.waitForSubscribers(most, [this] { return m_signals.received(); });
        const auto topics = std::ranges::count_if(
            m_plan.ways, [](const PlayPlan::Way& way) { return way.type != nullptr && way.messages > 0; });
        const bool hasQueues = std::ranges::any_of(
            m_plan.ways, [](const PlayPlan::Way& way) { return way.type == nullptr && way.messages > 0; });
        if (!m_signals.received() && !hasQueues && std::cmp_equal(m_lonely.size(), topics))
            throw std::runtime_error("nobody subscribes to any topic of the recording in domain " +
                                     printable(m_outlets.domain()));
    }

    /// False if it is not to go on.
    bool playLap()
    {
        Reel reel(m_file, m_plan);
        while (std::optional<Cue> cue = reel.next()) {
            const nanoseconds place = lapBegin() + cue->place;
            if (!waitUntil(place) || (m_options.isFast && !waitUntilTaken(*cue))) return false;
            move(*cue);
            count(m_outlets.send(*cue));
            m_place = place;
        }
        return true;
    }

    void count(Outlets::Sent sent)
    {
        switch (sent) {
        case Outlets::Sent::Done:
            ++m_played;
            return;
        case Outlets::Sent::Unreadable:
            ++m_unreadable;
            return;
        case Outlets::Sent::TooLong:
            ++m_tooLong;
            return;
        }
    }

    /// What of its times is not as it was.
    void move(Cue& cue)
    {
        if (!cue.channel.hasRecords) return;
        if (!m_options.isFast)
            moveTimes(cue.payload, lapBegin());
        else if (const auto begin = recordedBegin())
            m_mover.move(cue.payload, registersNow() - (*begin + cue.place));
    }

    nanoseconds registersNow() { return m_registers ? m_registers->now() : stampOfTicks(m_clock->ticks()); }

    /// Until the place is due, or a key asks for it. False if it is to end.
    bool waitUntil(nanoseconds place)
    {
        for (;;) {
            if (m_isQuit || m_signals.received()) return false;
            const auto now = Clock::now();
            showStatus(now);
            const auto due = m_timeline.isPaused() ? std::nullopt
                             : m_options.isFast    ? std::optional(now)
                                                   : m_timeline.reaches(place);
            const bool isDue = due && *due <= now;
            // Keys are taken while messages follow each other closely, too, but not looked for at each.
            if (!isDue || now >= m_nextLook) {
                waitForWord(isDue ? now : due.value_or(now + kStatus));
                m_nextLook = now + kBetweenLooks;
            }
            if (isDue && !m_timeline.isPaused()) return true;
            if (m_stepsAsked > 0) {
                --m_stepsAsked;
                m_timeline.jump(place, Clock::now());
                follow();
                return true;
            }
            if (m_timeline.isPaused() && m_terminal.descriptor() < 0) m_isQuit = true;  // nobody can ask for more
        }
    }

    /// Until then, or for a moment, or until there is something to heed, which is done.
    void waitForWord(Clock::time_point until)
    {
        const auto left = std::clamp<nanoseconds>(until - Clock::now(), nanoseconds(0), kStatus);
        const timespec most{0, static_cast<decltype(timespec::tv_nsec)>(left.count())};
        pollfd waiting[] = {{m_signals.descriptor(), POLLIN, 0},
                            {m_terminal.descriptor(), POLLIN, 0},
                            {m_stops.descriptor(), POLLIN, 0}};
        if (::ppoll(waiting, std::size(waiting), &most, nullptr) <= 0) return;
        if (waiting[2].revents != 0) heedTerminal();
        if (waiting[1].revents != 0) heedKey(m_terminal.take());
    }

    void heedKey(PlayKey key)
    {
        const auto now = Clock::now();
        switch (key) {
        case PlayKey::None:
            return;
        case PlayKey::Quit:
            m_isQuit = true;
            return;
        case PlayKey::Pause:
            if (m_options.steps)
                ++m_stepsAsked;
            else if (m_timeline.isPaused())
                m_timeline.resume(now);
            else
                m_timeline.pause(now);
            break;
        case PlayKey::Step:
            if (m_timeline.isPaused()) ++m_stepsAsked;
            break;
        case PlayKey::Faster:
            if (!m_options.isFast) m_timeline.setRate(fasterThan(m_timeline.rate()), now);
            break;
        case PlayKey::Slower:
            if (!m_options.isFast) m_timeline.setRate(slowerThan(m_timeline.rate()), now);
            break;
        }
        follow();
        m_nextStatus = now;
    }

    /// No time of the recording passes while the process is stopped.
    void heedTerminal()
    {
        const TerminalSignals::Came came = m_stops.take();
        const bool wasPaused = m_timeline.isPaused();
        if (came.stop) {
            m_timeline.pause(Clock::now());
            follow();
            m_terminal.leave();
            m_stops.stop();
            if (!wasPaused) m_timeline.resume(Clock::now());
            follow();
        }
        if (came.stop || came.go) m_terminal.comeBack();
    }

    void showStatus(Clock::time_point now)
    {
        if (!m_terminal.canShow() || now < m_nextStatus) return;
        m_nextStatus = now + kStatus;
        std::ostringstream text;
        const nanoseconds place = m_options.isFast ? m_place : m_timeline.at(now);
        text << (m_timeline.isPaused() ? "paused  " : "plays  ")
             << inTenths(std::clamp(secondsOf(place - lapBegin()), 0.0, secondsOf(m_plan.length()))) << " of "
             << inTenths(secondsOf(m_plan.length())) << " s  ";
        if (m_options.isFast)
            text << "fast  ";
        else
            text << 'x' << m_timeline.rate() << "  ";
        text << counted(m_played, "message") << "  (space . + - q)";
        m_terminal.show(text.str());
    }

    /// Until the record before was taken from its queue, once at most as long as it may take. False if it is to end.
    bool waitUntilTaken(const Cue& cue)
    {
        const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                            std::chrono::duration<double>(m_options.waitSeconds));
        nanoseconds pause = kTaken;
        while (!m_isNotTaken && m_outlets.bytesNotTaken(cue) > 0) {
            if (m_isQuit || m_signals.received()) return false;
            if (Clock::now() > end) m_isNotTaken = true;
            waitForWord(Clock::now() + pause);
            pause = std::min<nanoseconds>(2 * pause, std::chrono::milliseconds(1));  // for those that are slower
        }
        return true;
    }

    void printSum()
    {
        std::ostringstream text;
        text << "orvanectl: " << counted(m_played, "message") << " played in "
             << inTenths(secondsOf(Clock::now() - m_begin)) << " s";
        if (m_lap > 0) text << ", the recording begun " << m_lap + 1 << " times";
        text << '\n';
        if (!m_lonely.empty()) {
            text << "orvanectl: " << counted(m_lonely.size(), "topic") << " had no subscriber at the begin:";
            for (std::size_t i = 0; i < m_lonely.size(); ++i) text << (i == 0 ? " " : ", ") << printable(m_lonely[i]);
            text << '\n';
        }
        if (const std::uint64_t dropped = m_outlets.dropped(); dropped > 0)
            text << "orvanectl: " << counted(dropped, "record") << " of queues not taken in time\n";
        if (m_plan.own > 0)
            text << "orvanectl: " << counted(m_plan.own, "message") << " left out that the service itself had sent\n";
        if (m_plan.foreign > 0)
            text << "orvanectl: " << counted(m_plan.foreign, "message") << " left out of types that are not known\n";
        if (m_unreadable > 0)
            text << "orvanectl: " << counted(m_unreadable, "message") << " left out that can't be read\n";
        if (m_tooLong > 0)
            text << "orvanectl: " << counted(m_tooLong, "record")
                 << " left out, longer than a queue takes (4096 bytes)\n";
        if (!m_noRegisters.empty()) text << "orvanectl: the registers were left alone: " << m_noRegisters << '\n';
        if (!(m_output << text.str() << std::flush)) throw std::runtime_error("cannot write to standard output");
    }

    const PlayOptions& m_options;
    std::ostream& m_output;
    const mcap::FileSource m_file;
    const PlayPlan m_plan;    // before the signals are held: until it is made they end the process
    EndingSignals m_signals;  // before all threads that stay, as the next
    TerminalSignals m_stops;
    Timeline m_timeline;  // of all laps
    std::optional<UnitRegisters> m_registers;
    std::string m_noRegisters;         // why not
    nanoseconds m_registersAtBegin{};  // of the play
    std::optional<UnitClock> m_clock;  // of registers that somebody else plays
    std::optional<UnitFlags> m_flags;
    std::optional<HeldQueues> m_heldQueues;
    Outlets m_outlets;
    PlayTerminal m_terminal{m_options.isPaused || m_options.steps};
    TimeMover m_mover;
    std::vector<std::string> m_lonely;  // topics
    int m_lap = 0;
    nanoseconds m_place{};  // of the latest message
    std::uint64_t m_played = 0;
    std::uint64_t m_unreadable = 0;
    std::uint64_t m_tooLong = 0;  // for a queue
    std::uint64_t m_stepsAsked = 0;
    bool m_isQuit = false;
    bool m_isNotTaken = false;  // nobody reads a queue
    Clock::time_point m_begin;
    Clock::time_point m_nextStatus;
    Clock::time_point m_nextLook;
};

}  // namespace

void runPlay(const PlayOptions& options, std::ostream& output)
{
    PlayRun(options, output).run();
}

}  // namespace orvanectl
