#include "lab/ctl/top/TopRun.h"

#include "lab/ctl/RecordText.h"
#include "lab/ctl/WatchRun.h"
#include "lab/ctl/top/Every.h"
#include "lab/ctl/top/TerminalSignals.h"
#include "lab/ctl/top/TopLayout.h"
#include "lab/ctl/top/TopScreen.h"
#include "lab/ctl/top/UnitFeed.h"

#include <algorithm>
#include <chrono>
#include <poll.h>
#include <sstream>
#include <unistd.h>
#include <utility>

namespace orvanectl {

namespace {

using Clock = TopicStatistics::Clock;
using Time = TopicStatistics::Time;

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

class TopRun {
public:
    explicit TopRun(const TopOptions& options)
        : m_options(options), m_feed(options.file, options.socket, options.receiver), m_ui(m_feed.topics().size()),
          m_view(m_feed.view(m_start)), m_screen(options.hasColours)
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
            m_feed.hear(now);
            const bool isNew = heedTerminal();
            bool hasTyped = false;
            for (Key key{}; m_screen.take(key); hasTyped = true)
                if (!m_ui.take(key, m_view.topics)) return;
            if (m_frame.isDue(now) || hasTyped || isNew) show(now);
            wait();
        }
    }

private:
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
        TopView view = m_feed.view(now);
        if (!m_ui.isPaused()) m_view = std::move(view);
        const std::vector<std::string> fields = m_ui.page() == TopUi::Page::Fields ? fieldsOfMarked() : linesOf("");
        const std::size_t room = static_cast<std::size_t>(fieldLinesOf(m_screen.height()));
        m_ui.limitFirstLine(fields.size() > room ? fields.size() - room : 0);
        const auto names = static_cast<std::size_t>(groupLinesOf(m_view, m_screen.height()));
        m_ui.limitFirstGroup(m_view.groups.size() - std::min(m_view.groups.size(), names));
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
        const auto [samples, queues, bus] = m_feed.descriptors();
        pollfd waiting[] = {
            {STDIN_FILENO, POLLIN, 0},           {samples, POLLIN, 0}, {m_ending.descriptor(), POLLIN, 0},
            {m_signals.descriptor(), POLLIN, 0}, {queues, POLLIN, 0},  {bus, POLLIN, 0}};
        const auto left = m_frame.left(Clock::now());
        const int count = ::poll(waiting, std::size(waiting), static_cast<int>(left.count()));
        // A terminal that is gone would be ready for ever.
        m_isGone = count > 0 && (waiting[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
    }

    const TopOptions& m_options;
    EndingSignals m_ending;  // before the threads of the watch, as the next
    TerminalSignals m_signals;
    UnitFeed m_feed;
    const Time m_start = Clock::now();
    TopUi m_ui;
    TopView m_view;  // what is shown, while paused the one of then
    Every m_frame{kFrame};
    bool m_isGone = false;
    TopScreen m_screen;  // last: the terminal is given back before all else ends
};

}  // namespace

void runTop(const TopOptions& options)
{
    TopRun(options).run();
}

}  // namespace orvanectl
