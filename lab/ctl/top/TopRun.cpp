#include "lab/ctl/top/TopRun.h"

#include "face/FACE_Text.h"
#include "lab/ctl/ProcessLook.h"
#include "lab/ctl/QueueTaps.h"
#include "lab/ctl/RecordText.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/WatchRun.h"
#include "lab/ctl/top/BusFeed.h"
#include "lab/ctl/top/JoinFeed.h"
#include "lab/ctl/top/TerminalSignals.h"
#include "lab/ctl/top/TopLayout.h"
#include "lab/ctl/top/TopModel.h"
#include "lab/ctl/top/TopScreen.h"
#include "lab/ctl/why/ServiceSettings.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace orvanectl {

namespace {

using Clock = TopicStatistics::Clock;
using Time = TopicStatistics::Time;

constexpr std::chrono::milliseconds kFrame{250};
constexpr std::chrono::seconds kProcessLook{1};
constexpr std::chrono::seconds kQueueLook{2};
constexpr const char* kProcess = "OrvaneServer";

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

/// A moment that comes again and again.
class Every {
public:
    explicit Every(Clock::duration interval) : m_interval(interval) {}

    bool isDue(Time now)
    {
        if (now < m_next) return false;
        m_next = now + m_interval;
        return true;
    }
    Time next() const { return m_next; }

private:
    Clock::duration m_interval;
    Time m_next{};
};

class TopRun {
public:
    explicit TopRun(const TopOptions& options)
        : m_options(options), m_settings(serviceSettings(options.file)),
          m_file(FACE::textOf(m_settings.m_connectionsFile)), m_watch(m_file, chooseTopics(m_file, {}, ""), {}),
          m_taps(queuesOf(m_settings)), m_bus(options.socket), m_model(m_watch.topics(), m_taps.queues(), m_start),
          m_joins(m_settings, {.bus = !options.socket.empty(), .queue = isReceiverThere()}),
          m_ui(m_watch.topics().size()), m_view(m_model.view(m_start)), m_screen(options.hasColours)
    {
        m_ending.beforeDefault(TopScreen::giveBack);
        m_ending.listen();
    }

    void run()
    {
        const std::chrono::duration<double> length(m_options.seconds);
        while (!m_ending.received() && !m_isGone) {
            const Time now = Clock::now();
            if (m_options.seconds > 0 && now - m_start >= length) return;
            hear(now);
            const bool isNew = heedTerminal();
            bool hasTyped = false;
            for (Key key{}; m_screen.take(key); hasTyped = true)
                if (!m_ui.take(key, m_view.topics)) return;
            if (m_frame.isDue(now) || hasTyped || isNew) show(now);
            wait();
        }
    }

private:
    void hear(Time now)
    {
        for (const Sample& sample : m_watch.samples().take()) {
            m_model.take(sample);
            m_joins.take(m_watch.topics()[sample.topic], sample);
        }
        hearQueues(now);
        hearBus(now);
        if (m_processLook.isDue(now)) m_model.setProcess(findProcess(kProcess), now);
        if (m_queueLook.isDue(now)) m_taps.look();
    }

    bool isReceiverThere() const
    {
        const auto receiver = m_taps.numberOf(kReceiverQueue);
        return receiver && m_taps.reading(*receiver).isThere;
    }

    void hearQueues(Time now)
    {
        m_taps.count(now);
        if (const auto receiver = m_taps.numberOf(kReceiverQueue);
            receiver && m_taps.reading(*receiver).lastTaken == now)
            m_joins.takeReading(now);
    }

    void hearBus(Time now)
    {
        const auto lines = m_bus.take(now);
        // What was published was read before.
        hearQueues(now);
        for (const BusLink::Json& line : lines) {
            m_model.takeBusLine(line, now);
            m_joins.takeBusLine(line, now);
        }
        if (m_bus.trouble().empty()) return;
        m_model.setBus(m_bus.trouble());
        if (!m_options.socket.empty()) m_joins.takeBusGone(now);
    }

    /// Whether the screen is to be drawn anew.
    bool heedTerminal()
    {
        const TerminalSignals::Came came = m_signals.take();
        if (came.stop) {
            m_screen.leave();
            m_signals.stop();
        }
        if (came.stop || came.go) m_screen.comeBack();
        if (came.resize) m_screen.resize();
        return came.stop || came.go || came.resize;
    }

    void show(Time now)
    {
        m_model.setJoin(m_joins.text(now));
        if (!m_ui.isPaused()) {
            for (std::size_t topic = 0; topic < m_watch.topics().size(); ++topic)
                m_model.setPublishers(topic, m_watch.publishersOf(topic));
            for (std::size_t queue = 0; queue < m_taps.queues().size(); ++queue)
                m_model.setQueue(queue, m_taps.reading(queue));
            m_view = m_model.view(now);
        }
        const std::vector<std::string> fields = m_ui.page() == TopUi::Page::Fields ? fieldsOfMarked() : linesOf("");
        const std::size_t room = static_cast<std::size_t>(fieldLinesOf(m_screen.height()));
        m_ui.limitFirstLine(fields.size() > room ? fields.size() - room : 0);
        m_screen.show(layOut(m_view, m_ui, fields, m_screen.width(), m_screen.height()));
    }

    std::vector<std::string> fieldsOfMarked() const
    {
        if (m_ui.marked() >= m_view.topics.size()) return {};
        const TopicRow& topic = m_view.topics[m_ui.marked()];
        if (!topic.latest) return {};
        return linesOf(recordParagraph({topic.name, topic.type}, topic.latest.get()));
    }

    /// Until there is something to hear, or the next frame is due.
    void wait()
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_frame.next() - Clock::now()).count();
        pollfd waiting[] = {{STDIN_FILENO, POLLIN, 0},          {m_watch.samples().descriptor(), POLLIN, 0},
                            {m_ending.descriptor(), POLLIN, 0}, {m_signals.descriptor(), POLLIN, 0},
                            {m_taps.descriptor(), POLLIN, 0},   {m_bus.descriptor(), POLLIN, 0}};
        const int count =
            ::poll(waiting, std::size(waiting), static_cast<int>(std::clamp<decltype(left)>(left, 0, 250)));
        // A terminal that is gone would be ready for ever.
        m_isGone = count > 0 && (waiting[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
    }

    const TopOptions& m_options;
    EndingSignals m_ending;  // before the threads of the watch, as the next
    TerminalSignals m_signals;
    const ServerSettings m_settings;
    const ConnectionFile m_file;
    TopicWatch m_watch;
    QueueTaps m_taps;
    BusFeed m_bus;
    const Time m_start = Clock::now();
    TopModel m_model;
    JoinFeed m_joins;
    TopUi m_ui;
    TopView m_view;  // what is shown, while paused the one of then
    Every m_frame{kFrame};
    Every m_processLook{kProcessLook};
    Every m_queueLook{kQueueLook};
    bool m_isGone = false;
    TopScreen m_screen;  // last: the terminal is given back before all else ends
};

}  // namespace

void runTop(const TopOptions& options)
{
    TopRun(options).run();
}

}  // namespace orvanectl
