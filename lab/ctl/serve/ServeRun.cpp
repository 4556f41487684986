#include "lab/ctl/serve/ServeRun.h"

#include "lab/ctl/ProcessLook.h"
#include "lab/ctl/WatchRun.h"
#include "lab/ctl/serve/PageModel.h"
#include "lab/ctl/serve/PageServer.h"
#include "lab/ctl/serve/ServePlace.h"
#include "lab/ctl/top/Every.h"
#include "lab/ctl/top/UnitFeed.h"

#include <chrono>
#include <optional>
#include <poll.h>
#include <stdexcept>

namespace orvanectl {

namespace {

using Clock = TopicStatistics::Clock;
using Time = TopicStatistics::Time;

constexpr std::chrono::seconds kRecorderLook{1};

class ServeRun {
public:
    explicit ServeRun(const ServeOptions& options)
        : m_options(options), m_place(options), m_guard(m_place.names()), m_requests(options.socket),
          m_feed(options.file, options.socket), m_model(m_start)
    {
        show(m_start);
        // By another one a page knows that this is another run, with another token.
        m_board.publish({{"run", Json(randomToken()).dump()}, {"requests", PageRequests::list().dump()}});
        m_server.emplace(m_place.socket(), m_guard, m_board, m_requests);
        m_ending.listen();
    }

    const std::string& address() const { return m_place.address(); }

    void run()
    {
        const std::chrono::duration<double> length(m_options.seconds);
        while (!m_ending.received()) {
            const Time now = Clock::now();
            if (m_options.seconds > 0 && now - m_start >= length) return;
            if (m_server->hasFailed()) throw std::runtime_error("no more connections are taken");
            hear(now);
            if (m_frame.isDue(now)) show(now);
            wait();
        }
    }

private:
    void hear(Time now)
    {
        const UnitFeed::News news = m_feed.hear(now);
        for (const Sample& sample : news.samples) m_model.take(m_feed.topics()[sample.topic], sample);
        for (const BusLink::Json& line : news.lines) m_model.takeBusLine(line, now);
        if (!m_feed.busTrouble().empty()) m_model.takeBusGone();
        if (m_recorderLook.isDue(now)) m_model.takeRecorder(findRecorder(), now);
    }

    void show(Time now)
    {
        const TopView view = m_feed.view(now);
        m_board.publish(m_model.sections(view, m_feed.busTrouble(), m_feed.leftOut(), now));
    }

    /// Until there is something to hear, or the next frame is due.
    void wait()
    {
        const auto [samples, queues, bus] = m_feed.descriptors();
        pollfd waiting[] = {
            {m_ending.descriptor(), POLLIN, 0}, {samples, POLLIN, 0}, {queues, POLLIN, 0}, {bus, POLLIN, 0}};
        ::poll(waiting, std::size(waiting), static_cast<int>(m_frame.left(Clock::now()).count()));
    }

    const ServeOptions& m_options;
    EndingSignals m_ending;  // before all threads
    const Time m_start = Clock::now();
    ServePlace m_place;
    PageGuard m_guard;
    FrameBoard m_board;
    PageRequests m_requests;
    UnitFeed m_feed;
    PageModel m_model;
    Every m_frame{kFrame};
    Every m_recorderLook{kRecorderLook};
    std::optional<PageServer> m_server;  // last: its threads use the above until it is gone
};

}  // namespace

void runServe(const ServeOptions& options, std::ostream& output)
{
    ServeRun run(options);
    output << "orvanectl: the page is at " << run.address() << std::endl;
    if (!output) throw std::runtime_error("cannot write to standard output");
    run.run();
}

}  // namespace orvanectl
