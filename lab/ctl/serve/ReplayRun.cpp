#include "lab/ctl/serve/ReplayRun.h"

#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/WatchRun.h"
#include "lab/ctl/record/ReadProgress.h"
#include "lab/ctl/record/RecordingInfo.h"
#include "lab/ctl/serve/PageServer.h"
#include "lab/ctl/serve/Replay.h"
#include "lab/ctl/serve/ReplayPosition.h"
#include "lab/ctl/serve/ServePlace.h"
#include "lab/ctl/top/UnitFeed.h"
#include "lab/ctl/why/ServiceSettings.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <optional>
#include <poll.h>
#include <set>
#include <stdexcept>

namespace orvanectl {

namespace {

using Json = BusLink::Json;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPlayingFrame{200};  // while it plays
constexpr std::chrono::milliseconds kIdleFrame{1000};
constexpr std::chrono::milliseconds kReading{50};  // at a time
constexpr std::chrono::milliseconds kAhead{20};

/// Those of the service without a file, where the unit's own is not there.
ServerSettings settingsOf(const std::string& file)
{
    std::error_code none;
    if (file == ServeOptions().file && !std::filesystem::exists(file, none)) return {};
    return serviceSettings(file);
}

RecordingIndex readIndex(const mcap::FileSource& source, const std::string& file)
{
    return indexOf(ReadProgress(source, "reads " + printable(file)), file);
}

double secondsOf(std::chrono::nanoseconds length)
{
    return std::chrono::duration<double>(length).count();
}

class ReplayRun {
public:
    explicit ReplayRun(const ServeOptions& options)
        : m_options(options), m_source(options.recording), m_index(readIndex(m_source, options.recording)),
          m_place(options), m_guard(m_place.names()), m_position(m_index.length(), m_start),
          m_replay(m_source, m_index, settingsOf(options.file))
    {
        m_board.publish({{"run", Json(randomToken()).dump()}});
        turn(Clock::now());
        m_server.emplace(m_place.socket(), m_guard, m_board, m_requests, std::chrono::seconds(5), &m_position);
        m_ending.listen();
    }

    const std::string& address() const { return m_place.address(); }

    void run()
    {
        const std::chrono::duration<double> length(m_options.seconds);
        while (!m_ending.received()) {
            const Clock::time_point now = Clock::now();
            if (m_options.seconds > 0 && now - m_start >= length) return;
            if (m_server->hasFailed()) throw std::runtime_error("no more connections are taken");
            turn(now);
            const bool isBusy = m_replay.readAhead(kAhead) || m_isReading;
            wait(isBusy);
        }
    }

private:
    /// Goes where it is to be, and shows that.
    void turn(Clock::time_point now)
    {
        const ReplayPosition::State state = m_position.at(now);
        const Replay::Time time = m_index.start + state.place;
        m_isReading = !m_replay.goTo(time, kReading);
        if (m_isReading) {
            // Time stands still until that is read.
            m_position.goOnFrom(state.place, state.changes, 0, Clock::now());
        } else if (state.steps != 0) {
            return step(state);
        }
        m_isMoving = !state.isPaused || state.steps != 0;
        const bool isNew = m_shown != state.changes || m_isReading != m_wasReading;
        if (!isNew && now < m_nextFrame) return;
        m_nextFrame = now + (m_isMoving ? kPlayingFrame : kIdleFrame);
        m_shown = state.changes;
        m_wasReading = m_isReading;
        show(state);
    }

    void step(const ReplayPosition::State& state)
    {
        const int step = state.steps > 0 ? 1 : -1;
        const Replay::Time time = step > 0 ? m_replay.next() : m_replay.previous();
        m_position.goOnFrom(time - m_index.start, state.changes, step, Clock::now());
        m_nextFrame = {};
    }

    void show(const ReplayPosition::State& state)
    {
        FrameBoard::Sections sections;
        if (!m_isReading && m_replay.now() != m_seen) {
            sections = m_replay.sections();
            m_seen = m_replay.now();
            // What had not been told yet is not to stay.
            std::set<std::string> gone = m_names;
            for (const auto& [name, json] : sections) {
                gone.erase(name);
                m_names.insert(name);
            }
            for (const std::string& name : gone) sections.emplace_back(name, "null");
        }
        sections.emplace_back("replay", stateJson(state).dump());
        m_board.publish(sections);
    }

    Json stateJson(const ReplayPosition::State& state) const
    {
        const auto since = std::chrono::nanoseconds(m_index.start.time_since_epoch()) + state.place;
        return {{"file", m_index.name},
                {"seconds", secondsOf(m_index.length())},
                {"at", secondsOf(state.place)},
                {"time", dateText(static_cast<std::uint64_t>(since.count()))},
                {"rate", state.rate},
                {"paused", state.isPaused},
                {"changes", state.changes},
                {"reads", m_isReading},
                {"known", std::floor(m_replay.known() * 100) / 100},
                {"closed", m_index.isClosed},
                {"problems", m_index.problems},
                {"topicsPassedOver", m_index.topicsPassedOver},
                {"queuesPassedOver", m_index.queuesPassedOver},
                {"bus", m_index.hasBus},
                {"receiver", m_index.receiver.has_value()},
                {"console", m_index.hasConsole}};
    }

    /// Until a change is asked for, or the next frame is due.
    void wait(bool isBusy)
    {
        if (isBusy) return;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_nextFrame - Clock::now()).count();
        pollfd waiting[] = {{m_ending.descriptor(), POLLIN, 0}, {m_position.descriptor(), POLLIN, 0}};
        ::poll(waiting, std::size(waiting), static_cast<int>(std::clamp<decltype(left)>(left, 0, 250)));
    }

    const ServeOptions& m_options;
    const mcap::FileSource m_source;
    const RecordingIndex m_index;  // is read before signals are kept back: each of them ends that
    EndingSignals m_ending;        // before all threads
    const Clock::time_point m_start = Clock::now();
    ServePlace m_place;
    PageGuard m_guard;
    FrameBoard m_board;
    PageRequests m_requests{""};
    ReplayPosition m_position;
    Replay m_replay;
    bool m_isReading = false, m_wasReading = false, m_isMoving = false;
    Clock::time_point m_nextFrame{};
    std::optional<std::uint64_t> m_shown;
    std::optional<Replay::Time> m_seen;
    std::set<std::string> m_names;       // of sections that were shown
    std::optional<PageServer> m_server;  // last: its threads use the above until it is gone
};

}  // namespace

void runReplay(const ServeOptions& options, std::ostream& output)
{
    ReplayRun run(options);
    output << "orvanectl: the page is at " << run.address() << std::endl;
    if (!output) throw std::runtime_error("cannot write to standard output");
    run.run();
}

}  // namespace orvanectl
