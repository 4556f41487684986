#include "lab/ctl/seq/SequenceRun.h"

#include "lab/ctl/BusLink.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/LineSocket.h"
#include "lab/ctl/Progress.h"
#include "lab/ctl/RecordText.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/seq/BusNews.h"
#include "lab/ctl/seq/Judge.h"
#include "lab/ctl/seq/Programs.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <system_error>
#include <tinyxml2.h>
#include <unistd.h>
#include <utility>

namespace orvanectl {

namespace {

using Clock = std::chrono::steady_clock;
using Json = BusLink::Json;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds kLongestStart{60}, kLongestEnd{60}, kLongestAnswer{60}, kLongestControl{10}, kLongestTerminal{20};
constexpr seconds kLongestDeath{10};  // from the last of the bus to the end of the process

sigset_t endingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&signals, signal);
    return signals;
}

/// Keeps the signals that end a sequence from this thread, and from those that it starts, while it lives.
class WithoutSignals {
public:
    WithoutSignals()
    {
        const sigset_t signals = endingSignals();
        ::pthread_sigmask(SIG_BLOCK, &signals, &m_before);
    }
    ~WithoutSignals() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    WithoutSignals(const WithoutSignals&) = delete;
    WithoutSignals& operator=(const WithoutSignals&) = delete;

private:
    sigset_t m_before;
};

/// From its beginning to its destruction a signal ends nothing, but hurries what ends.
class OrderlyEnd {
public:
    explicit OrderlyEnd(const EndingSignals& signals) : m_signals(signals) {}
    ~OrderlyEnd()
    {
        // A second signal of a kind would be the end of this program. The first one is told to who listens.
        const sigset_t signals = endingSignals();
        const timespec none{};
        while (m_held && m_signals.received() && ::sigtimedwait(&signals, nullptr, &none) > 0) {
        }
    }
    OrderlyEnd(const OrderlyEnd&) = delete;
    OrderlyEnd& operator=(const OrderlyEnd&) = delete;

    void begin() { m_held.emplace(); }

    bool isHurried() const
    {
        sigset_t pending;
        ::sigpending(&pending);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
            if (sigismember(&pending, signal) == 1) return true;
        return false;
    }

private:
    const EndingSignals& m_signals;
    std::optional<WithoutSignals> m_held;
};

/// A folder of its own, removed with all that it holds.
class Folder {
public:
    Folder()
    {
        m_path = (std::filesystem::temp_directory_path() / "orvanectl-seq-XXXXXX").string();
        if (!::mkdtemp(m_path.data())) throw std::system_error(errno, std::generic_category(), m_path);
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string operator/(const char* name) const { return m_path + '/' + name; }

private:
    std::string m_path;
};

tinyxml2::XMLElement* parametersOf(tinyxml2::XMLDocument& file, const std::string& name)
{
    tinyxml2::XMLElement* const root = file.RootElement();
    for (auto* one = root ? root->FirstChildElement() : nullptr; one; one = one->NextSiblingElement()) {
        const auto* const called = one->FirstChildElement("Name");
        if (called && called->GetText() && called->GetText() == name) return one->FirstChildElement("Parameters");
    }
    return nullptr;
}

/// Copies a top-level file with keys of the service changed.
void copyChanged(const std::string& from, const std::string& to,
                 const std::vector<std::pair<std::string, std::string>>& settings)
{
    tinyxml2::XMLDocument file;
    if (file.LoadFile(from.c_str()) != tinyxml2::XML_SUCCESS) throw std::runtime_error(file.ErrorStr());
    auto* const parameters = parametersOf(file, "OrvaneServer");
    for (const auto& [key, value] : settings) {
        auto* const element = parameters ? parameters->FirstChildElement(key.c_str()) : nullptr;
        // NOLINTNEXTLINE(performance-inefficient-string-concatenation): it ends the loop
        if (!element) throw std::runtime_error(from + ": OrvaneServer has no key " + key);
        element->SetText(value.c_str());
    }
    if (file.SaveFile(to.c_str()) != tinyxml2::XML_SUCCESS) throw std::runtime_error(to + ": can't be written");
}

std::string required(const std::string& path, const char* what)
{
    if (path.empty() || ::access(path.c_str(), X_OK) != 0)
        throw std::runtime_error((path.empty() ? std::string(what) : path) + ": there is no such program; " + what +
                                 " names it");
    return path;
}

class Run {
public:
    Run(const Sequence& sequence, const SeqPaths& paths, const EndingSignals& signals)
        : m_end(signals), m_paths(paths), m_signals(signals), m_startsService(sequence.has<StartService>()),
          m_hearsEvents(sequence.expects(Kind::Event)), m_needsBus(needsBus(sequence))
    {}
    ~Run()
    {
        m_end.begin();
        endAll();
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    /// Makes the connections that the sequence needs from its beginning.
    void begin()
    {
        if (m_hearsEvents) {
            const ConnectionFile file(m_paths.connections);
            const WithoutSignals here;  // nor in the threads of the watch
            // Of a service that starts later everything, of one that runs what it says from now on.
            m_events.emplace(file, chooseTopics(file, {"EventLog"}, ""), Delivery{m_startsService});
        }
        if (!m_startsService && m_needsBus) connect(false);
        m_since.action = m_since.pause = Clock::now();
    }

    /// What came of a step. Throws `std::runtime_error` when that is not what it is for; `Verdict` tells of expectations.
    std::pair<bool, std::string> perform(const Step& step)
    {
        const Clock::time_point begin = Clock::now();
        const bool acts = !std::holds_alternative<Expectation>(step) && !std::holds_alternative<Pause>(step);
        if (acts) {
            m_since.action = m_since.pause = begin;
            forget();
        }
        m_since.begin = begin;
        auto result = std::visit([this](const auto& what) { return make(what); }, step);
        requireAlive();
        return result;
    }

private:
    static bool needsBus(const Sequence& sequence)
    {
        return sequence.has<MakeRequest>() || sequence.expects(Kind::Warning) || sequence.expects(Kind::Tell) ||
               sequence.expects(Kind::Answer);
    }

    std::pair<bool, std::string> make(const Expectation& expected)
    {
        Verdict verdict;
        const auto isSettled = [&] {
            verdict = judge(expected, m_seen, m_since, Clock::now());
            return verdict.state != Verdict::State::Open;
        };
        pumpUntil(isSettled, m_since.begin + std::chrono::hours(25));
        return {verdict.state == Verdict::State::Passed, verdict.what};
    }

    std::pair<bool, std::string> make(const Pause& pause)
    {
        const auto length = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(pause.seconds));
        pumpUntil([] { return false; }, m_since.begin + length);
        m_since.pause = Clock::now();
        return {true, ""};
    }

    std::pair<bool, std::string> make(const StartService& start)
    {
        if (m_service && !m_service->ending()) throw std::runtime_error("the service runs already");
        const std::string program = required(m_paths.service, "--service");
        removeAbandonedBus();
        const std::string config = m_folder / "OrvaneServer.xml";
        copyChanged(m_paths.config, config, start.settings);
        std::vector<std::string> environment = {"ORVANE_LAB_BUS=" + m_paths.bus};
        if (!m_paths.busLibrary.empty()) environment.push_back("LD_LIBRARY_PATH=" + m_paths.busLibrary);
        m_isStarted = false;
        m_bus.reset();
        m_seen.clear();  // what another one has said
        m_terminal.emplace();
        m_service.emplace(std::vector<std::string>{program, config}, environment, m_terminal->line());
        m_terminal->closeLine();
        awaitService([this] { return connect(true); });
        awaitService([this] { return m_isStarted; });
        return {true, ""};
    }

    std::pair<bool, std::string> make(const StartUnit& start)
    {
        if (m_unit && !m_unit->ending()) throw std::runtime_error("unit-sim runs already");
        m_control = m_folder / "control";
        std::vector<std::string> words = {required(m_paths.unitSim, "--unit-sim"), "--quiet", "--control", m_control};
        words.insert(words.end(), start.options.begin(), start.options.end());
        m_unit.emplace(words, std::vector<std::string>{});
        const auto isSettled = [this] { return m_unit->ending() || isServed(m_control, "unit-sim"); };
        const bool isInTime = pumpUntil(isSettled, Clock::now() + kLongestStart);
        if (m_unit->ending()) throw std::runtime_error(endOf(*m_unit, "unit-sim"));
        if (!isInTime) throw std::runtime_error("unit-sim does not start");
        return {true, ""};
    }

    std::pair<bool, std::string> make(const StopService&)
    {
        if (!m_service) throw std::runtime_error("no service was started here");
        requireAlive();
        m_isStopping = true;
        m_service->send(SIGTERM);
        if (!pumpUntil([this] { return m_service->ending().has_value(); }, m_since.begin + kLongestEnd))
            throw std::runtime_error("the service does not end");
        const std::string ending = *m_service->ending();
        m_service.reset();
        m_bus.reset();
        m_isStarted = m_isStopping = false;
        return {ending == "status 0", "ended with " + ending};
    }

    std::pair<bool, std::string> make(const MakeRequest& request)
    {
        if (!m_bus) throw std::runtime_error("there is no bus: no service was started");
        Json body = request.body;
        m_request = "orvanectl-seq-" + std::to_string(++m_requests);
        m_answer.reset();
        body["id"] = m_request;
        m_bus->send(body);
        if (!pumpUntil([this] { return m_answer.has_value(); }, m_since.begin + kLongestAnswer))
            throw std::runtime_error("no answer has come in a minute");
        return {m_answer->value("ok", false), busSummary(*m_answer)};
    }

    std::pair<bool, std::string> make(const TellUnit& line)
    {
        LineSocket control(m_control.empty() ? m_paths.control : m_control, "unit-sim");
        control.send(line.line);
        std::optional<std::string> answer;
        const auto isAnswered = [&] {
            answer = control.arrivedLine();
            return answer || control.isClosed();
        };
        pumpUntil(isAnswered, m_since.begin + kLongestControl);
        if (!answer) throw std::runtime_error("unit-sim does not answer");
        return {*answer == "ok", *answer == "ok" ? "" : *answer};
    }

    std::pair<bool, std::string> make(const TypeKeys& keys)
    {
        if (!m_service) return typeElsewhere(keys.keys);
        if (!pumpUntil([this] { return m_terminal->takesKeys(); }, m_since.begin + kLongestTerminal))
            throw std::runtime_error("the service does not read its terminal: start PARAM_2=true");
        m_terminal->type(keys.keys);
        return {true, ""};
    }

    std::pair<bool, std::string> typeElsewhere(const std::string& keys)
    {
        if (m_paths.terminal.empty())
            throw std::runtime_error("no service was started here, and --terminal names none");
        const int line = ::open(m_paths.terminal.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
        const bool isTyped = line >= 0 && ::write(line, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size());
        const int error = errno;
        if (line >= 0) ::close(line);
        if (!isTyped) throw std::system_error(error, std::generic_category(), m_paths.terminal);
        return {true, ""};
    }

    static bool isServed(const std::string& path, const char* what)
    {
        try {
            const LineSocket connection(path, what);
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }

    /// The bus of a service that has ended badly.
    void removeAbandonedBus() const
    {
        if (isServed(m_paths.bus, "bus")) throw std::runtime_error("a service runs at " + m_paths.bus + " already");
        std::error_code ignored;
        if (std::filesystem::is_socket(m_paths.bus, ignored)) std::filesystem::remove(m_paths.bus, ignored);
    }

    /// False when there is no bus yet and one is waited for.
    bool connect(bool isAwaited)
    {
        try {
            m_bus.emplace(m_paths.bus);
        } catch (const std::runtime_error&) {
            if (!isAwaited) throw;
            return false;
        }
        m_news.emplace(isAwaited);
        return true;
    }

    template <class Condition>
    void awaitService(Condition condition)
    {
        const auto isSettled = [&] { return m_service->ending() || condition(); };
        if (!pumpUntil(isSettled, Clock::now() + kLongestStart)) throw std::runtime_error("the service does not start");
        requireAlive();
    }

    /// Throws when something has ended by itself that the sequence is about, but a unit in order: it may have been given
    /// a time.
    void requireAlive()
    {
        if (m_unit && m_unit->ending() && *m_unit->ending() != "status 0")
            throw std::runtime_error(endOf(*m_unit, "unit-sim"));
        if (m_isStopping) return;
        const bool isBusClosed = m_bus && m_bus->isClosed();
        if (m_service) {
            // A process that dies closes its connections first.
            const auto end = Clock::now() + kLongestDeath;
            while (isBusClosed && !m_service->ending() && Clock::now() < end && !m_signals.received()) {
                takeWhatCame();
                ::poll(nullptr, 0, 5);
            }
            if (m_service->ending()) {
                takeWhatCame();
                throw std::runtime_error(endOf(*m_service, "the service") + lastWords());
            }
        }
        if (isBusClosed) throw std::runtime_error("the bus at " + m_paths.bus + " has closed");
    }

    static std::string endOf(Program& program, const std::string& name)
    {
        return name + " has ended with " + *program.ending();
    }

    /// Of the service.
    std::string lastWords() const
    {
        const auto last = std::find_if(m_seen.rbegin(), m_seen.rend(), [](const Observation& seen) {
            return seen.kind == Kind::Console && !seen.text.empty();
        });
        return last == m_seen.rend() ? "" : "; its last line: " + last->text;
    }

    /// Takes what comes until the condition holds; false when it doesn't in time. Throws when a signal has come.
    template <class Condition>
    bool pumpUntil(Condition condition, Clock::time_point until)
    {
        for (;;) {
            takeWhatCame();
            if (condition()) return true;
            requireAlive();
            if (m_signals.received()) throw std::runtime_error("was interrupted");
            const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
            if (left <= milliseconds::zero()) return false;
            waitForMore(std::min(left, milliseconds(20)));
        }
    }

    void waitForMore(milliseconds most) const
    {
        // A negative descriptor is passed over.
        pollfd sources[] = {{m_bus && !m_bus->isClosed() ? m_bus->descriptor() : -1, POLLIN, 0},
                            {m_terminal ? m_terminal->descriptor() : -1, POLLIN, 0},
                            {m_signals.descriptor(), POLLIN, 0}};
        ::poll(sources, std::size(sources), static_cast<int>(most.count()));
    }

    void takeWhatCame()
    {
        const Clock::time_point now = Clock::now();
        if (m_events)
            for (const Sample& sample : m_events->samples().take())
                m_seen.push_back(
                    {now, Kind::Event, "", 0,
                     withoutEnd(recordText(m_events->topics()[sample.topic], sample.record.get(), false))});
        if (m_terminal && m_terminal->descriptor() >= 0)
            for (std::string& line : m_terminal->lines())
                m_seen.push_back({now, Kind::Console, "", 0, printable(line)});
        while (m_bus) {
            const auto text = m_bus->arrivedLine();
            if (!text) break;
            takeLine(Json::parse(*text, nullptr, false), now);
        }
    }

    static std::string withoutEnd(std::string text)
    {
        while (!text.empty() && text.back() == '\n') text.pop_back();
        return text;
    }

    void takeLine(const Json& line, Clock::time_point now)
    {
        if (!line.is_object()) return;
        const std::string type = line.value("type", "");
        if (type == "service" && line.value("event", "") == "started") m_isStarted = true;
        const bool isOwn = line.contains("id") && line["id"] == m_request;
        if ((type == "answer" && isOwn) || type == "error") {
            m_answer = line;
            m_answer->erase("id");
            m_seen.push_back({now, Kind::Answer, "", 0, busSummary(*m_answer)});
        }
        std::ranges::move(m_news->observe(line, now), std::back_inserter(m_seen));
    }

    /// What came before the last step that did something counts no more.
    void forget()
    {
        std::erase_if(m_seen, [](const Observation& seen) { return seen.kind != Kind::Console; });
        constexpr std::size_t kLines = 100;
        if (m_seen.size() > kLines) m_seen.erase(m_seen.begin(), m_seen.end() - kLines);
    }

    /// The service first, then what it looks at.
    void endAll()
    {
        for (auto* const program : {&m_service, &m_unit}) {
            if (!*program) continue;
            (*program)->send(SIGTERM);
            const auto end = Clock::now() + seconds(20);
            while (!(*program)->ending() && Clock::now() < end && !m_end.isHurried()) {
                if (m_terminal && m_terminal->descriptor() >= 0) m_terminal->lines();
                ::poll(nullptr, 0, 20);
            }
            program->reset();
        }
    }

    OrderlyEnd m_end;  // first: the others end within it
    const SeqPaths& m_paths;
    const EndingSignals& m_signals;
    const bool m_startsService;
    const bool m_hearsEvents;
    const bool m_needsBus;
    Folder m_folder;
    std::vector<Observation> m_seen;
    Since m_since{};
    std::string m_control;
    std::string m_request;
    unsigned m_requests = 0;
    std::optional<Json> m_answer;
    bool m_isStarted = false;
    bool m_isStopping = false;
    std::optional<BusNews> m_news;
    std::optional<BusLink> m_bus;
    std::optional<TopicWatch> m_events;
    std::optional<Terminal> m_terminal;
    std::optional<Program> m_service;
    std::optional<Program> m_unit;
};

/// What a step that takes long is shown as meanwhile.
std::string shownStep(const std::string& name, const StepLine& line)
{
    constexpr std::size_t kMost = 70;
    const std::string text = printable(name) + ':' + std::to_string(line.number) + ": " + printable(line.text);
    return text.size() <= kMost ? text : text.substr(0, kMost - 3) + "...";
}

/// @param step  called meanwhile
template <class Step>
void performShown(const std::string& text, Step step)
{
    std::optional<Progress> progress;
    {
        const WithoutSignals here;  // nor in its thread
        progress.emplace(STDERR_FILENO);
    }
    progress->say(text);
    step();
}

}  // namespace

std::vector<StepResult> runSequence(const Sequence& sequence, const SeqPaths& paths, const EndingSignals& signals,
                                    const std::function<void(const StepResult&)>& onResult)
{
    using Outcome = StepResult::Outcome;
    std::vector<StepResult> results;
    std::optional<Run> run;
    bool isOver = false;
    for (const StepLine& line : sequence.lines) {
        StepResult result{&line, Outcome::NotRun, "", 0};
        if (!isOver) {
            const auto begin = Clock::now();
            try {
                performShown(shownStep(sequence.name, line), [&] {
                    if (!run) run.emplace(sequence, paths, signals).begin();
                    const auto [isGood, what] = run->perform(line.step);
                    result.outcome = isGood ? Outcome::Passed : Outcome::Failed;
                    result.what = what;
                    isOver = !isGood && !std::holds_alternative<Expectation>(line.step);
                });
            } catch (const std::exception& error) {
                result.outcome = Outcome::Failed;
                result.what = error.what();
                isOver = true;
            }
            result.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        }
        onResult(result);
        results.push_back(result);
    }
    return results;
}

}  // namespace orvanectl
