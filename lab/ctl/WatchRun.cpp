#include "lab/ctl/WatchRun.h"

#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/Progress.h"
#include "utilities/ConsoleLine.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <iomanip>
#include <iostream>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace orvanectl {

namespace {

using Clock = TopicStatistics::Clock;
using Time = TopicStatistics::Time;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// What a signal handler may use.
std::atomic<bool> g_received = false;
std::atomic<int> g_event = -1;
std::atomic<void (*)()> g_beforeDefault = nullptr;
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free &&
              std::atomic<void (*)()>::is_always_lock_free);

extern "C" void onSecondSignal(int signal)
{
    if (void (*const action)() = g_beforeDefault) action();
    std::signal(signal, SIG_DFL);
    std::raise(signal);  // comes once this handler has returned
}

extern "C" void onEndingSignal(int signal)
{
    const int error = errno;
    struct sigaction second {};
    second.sa_handler = onSecondSignal;
    sigaction(signal, &second, nullptr);
    g_received = true;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(g_event, &one, sizeof one);
    errno = error;
}

sigset_t endingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kSignals) sigaddset(&signals, signal);
    return signals;
}

Clock::duration durationOf(double seconds)
{
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

/// What is sent now.
class LiveSource : public WatchSource {
public:
    explicit LiveSource(const WatchOptions& options)
        : m_file(options.connections),
          m_watch(m_file, chooseTopics(m_file, options.topics, options.type), {options.backfill})
    {}

    const std::vector<WatchedTopic>& topics() const override { return m_watch.topics(); }
    std::vector<Sample> take() override
    {
        auto samples = m_watch.samples().take();
        if (!samples.empty()) m_hasHeard = true;
        return samples;
    }
    int publishersOf(std::size_t topic) const override { return m_watch.publishersOf(topic); }
    std::uint64_t leftOut() const override { return m_samples.leftOut(); }
    Time now() const override { return Clock::now(); }
    bool isLive() const override { return true; }
    bool hasEnded() const override { return false; }
    void wait(const EndingSignals& signals, std::optional<Time> until) override
    {
        waitForSample(m_samples, signals, until);
    }

    /// Says so if nothing came, and no publisher is known: it takes a moment to find one.
    void tellIfAlone() const
    {
        bool isAlone = !m_hasHeard;
        for (std::size_t topic = 0; topic < topics().size(); ++topic) isAlone = isAlone && publishersOf(topic) == 0;
        if (!isAlone) return;
        const auto& domain = m_file.domain();
        std::ostringstream seconds;
        seconds << std::fixed << std::setprecision(1) << std::chrono::duration<double>(now() - m_start).count();
        const std::string what = topics().size() == 1 ? printable(topics().front().name)
                                                      : "any of these " + std::to_string(topics().size()) + " topics";
        printLine(std::cerr, "orvanectl: no publisher of ", what, " is known after ", seconds.str(), " s (domain ",
                  printable(domain.at("DomainId")), ", transport ", printable(domain.at("UseTransport")),
                  "); to find one may take some seconds: look longer, or see that one runs");
    }

private:
    const ConnectionFile m_file;
    TopicWatch m_watch;
    SampleBox& m_samples = m_watch.samples();
    const Time m_start = Clock::now();
    bool m_hasHeard = false;
};

/// What both verbs do: the topics' statistics, the end, and the sum.
class WatchRun {
public:
    WatchRun(WatchSource& source, const WatchOptions& options, EndingSignals& signals, std::ostream& output)
        : m_source(source), m_options(options), m_output(output), m_signals(signals),
          m_statistics(m_source.topics().size(), TopicStatistics(durationOf(options.windowSeconds)))
    {
        if (options.seconds > 0) m_end = m_start + durationOf(options.seconds);
        m_signals.listen();
        m_waiting->say("waits for records");
    }

    /// @param show    a record
    /// @param report  called when it is time for that; answers when it is time again, or nothing for never
    void run(const std::function<void(const Sample&)>& show, const std::function<std::optional<Time>(Time)>& report)
    {
        std::optional<Time> next = report(m_start);
        while (!isOver()) {
            for (const Sample& sample : m_source.take()) {
                if (isOver()) break;
                m_statistics[sample.topic].take(sample.arrival);
                show(sample);
            }
            if (m_source.isLive() || isLongUnseen()) flush();
            if (isOver()) break;
            const Time now = m_source.now();
            if (m_end && now >= *m_end) break;
            if (next && now >= *next) {
                next = report(now);
                continue;
            }
            if (m_source.hasEnded()) {
                if (next) report(now);
                break;
            }
            m_source.wait(m_signals, earlier(next, m_end));
        }
        printSum();
    }

    /// What is printed is seen once all that came has been taken; of what doesn't come while time passes, soon.
    void print(const std::string& text)
    {
        m_waiting.reset();
        check(m_output.write(text.data(), static_cast<std::streamsize>(text.size())));
    }

    /// Counts what the option `count` limits.
    void countOne() { ++m_counted; }

    double secondsUntil(Time now) const { return std::chrono::duration<double>(now - m_start).count(); }

    std::vector<TopicRate> rates()
    {
        std::vector<TopicRate> rates;
        for (std::size_t topic = 0; topic < m_statistics.size(); ++topic)
            rates.push_back({&m_source.topics()[topic], m_source.publishersOf(topic), &m_statistics[topic]});
        return rates;
    }

    const std::vector<WatchedTopic>& topics() const { return m_source.topics(); }

private:
    void flush()
    {
        check(m_output.flush());
        m_flushed = Clock::now();
    }

    bool isLongUnseen() const
    {
        constexpr std::chrono::milliseconds kUnseen{100};
        return Clock::now() - m_flushed >= kUnseen;
    }

    static void check(const std::ostream& output)
    {
        if (!output) throw std::runtime_error("cannot write to standard output");
    }

    bool isOver() const { return m_signals.received() || (m_options.count > 0 && m_counted >= m_options.count); }

    static std::optional<Time> earlier(std::optional<Time> one, std::optional<Time> other)
    {
        return one && other ? std::min(one, other) : one ? one : other;
    }

    void printSum()
    {
        WatchSum sum;
        sum.seconds = secondsUntil(m_source.now());
        for (const TopicStatistics& statistics : m_statistics) sum.add(statistics);
        sum.leftOut = m_source.leftOut();
        print(m_options.json ? sumJson(sum) : sumText(sum));
        flush();
    }

    WatchSource& m_source;
    const WatchOptions& m_options;
    std::ostream& m_output;
    EndingSignals& m_signals;
    std::vector<TopicStatistics> m_statistics;
    const Time m_start = m_source.now();
    std::optional<Time> m_end;
    Clock::time_point m_flushed = Clock::now();
    std::uint64_t m_counted = 0;
    std::optional<Progress> m_waiting{std::in_place, STDERR_FILENO};  // until something is printed
};

}  // namespace

EndingSignals::EndingSignals()
{
    const int event = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (event < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    g_event = event;
    g_received = false;
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    struct sigaction action {};
    action.sa_handler = onEndingSignal;
    action.sa_flags = 0;  // not SA_RESTART, which would go on writing
    for (const int signal : kSignals) sigaction(signal, &action, nullptr);
    // Whoever reads the output may go: that is an error of the output then.
    std::signal(SIGPIPE, SIG_IGN);
}

EndingSignals::~EndingSignals()
{
    for (const int signal : kSignals) std::signal(signal, SIG_DFL);
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    ::close(g_event.exchange(-1));
    g_beforeDefault = nullptr;
}

void EndingSignals::beforeDefault(void (*action)())
{
    g_beforeDefault = action;
}

void EndingSignals::listen()
{
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

bool EndingSignals::received() const
{
    return g_received;
}

int EndingSignals::descriptor() const
{
    return g_event;
}

void waitForSample(const SampleBox& samples, const EndingSignals& signals, std::optional<Time> until)
{
    pollfd waiting[] = {{samples.descriptor(), POLLIN, 0}, {signals.descriptor(), POLLIN, 0}};
    int milliseconds = -1;
    if (until) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*until - Clock::now()).count();
        milliseconds = static_cast<int>(std::clamp<decltype(left)>(left, 0, 60'000));  // and look again
    }
    ::poll(waiting, std::size(waiting), milliseconds);
}

void runEcho(const WatchOptions& options, std::ostream& output)
{
    EndingSignals signals;  // before the threads of the source
    LiveSource source(options);
    echoFrom(source, options, signals, output);
    source.tellIfAlone();
}

void runHz(const WatchOptions& options, std::ostream& output)
{
    EndingSignals signals;
    LiveSource source(options);
    hzFrom(source, options, signals, output);
    source.tellIfAlone();
}

void echoFrom(WatchSource& source, const WatchOptions& options, EndingSignals& signals, std::ostream& output)
{
    WatchRun run(source, options, signals, output);
    const bool withTopic = run.topics().size() > 1;
    const auto show = [&](const Sample& sample) {
        const WatchedTopic& topic = run.topics()[sample.topic];
        const void* const record = sample.record.get();
        run.print(options.json   ? recordJson(topic, record)
                  : options.full ? recordParagraph(topic, record)
                                 : recordText(topic, record, withTopic));
        run.countOne();
    };
    run.run(show, [](Time) { return std::nullopt; });
}

void hzFrom(WatchSource& source, const WatchOptions& options, EndingSignals& signals, std::ostream& output)
{
    WatchRun run(source, options, signals, output);
    const auto every = durationOf(options.everySeconds);
    std::optional<Time> next;
    const auto report = [&](Time now) -> std::optional<Time> {
        if (!next) return *(next = now + every);  // the first look comes before there is anything
        const auto rates = run.rates();
        std::string text;
        if (options.json)
            for (const TopicRate& rate : rates) text += rateJson(rate, now, run.secondsUntil(now));
        else
            text = rateTable(rates, now);
        run.print(text);
        run.countOne();
        *next += every * ((now - *next) / every + 1);
        return *next;
    };
    run.run([](const Sample&) {}, report);
}

}  // namespace orvanectl
