/// Has each call of the service fail in turn, in its start, its work and its end, a service for each, and tells how it
/// came through.

#include "lab/faults/FaultPlan.h"
#include "reliability/Report.h"
#include "reliability/torture/Facts.h"
#include "reliability/torture/Symbols.h"
#include "reliability/torture/Trial.h"
#include "reliability/torture/Verdict.h"
#include "reliability/torture/Walked.h"
#include "tests/support/ChildProcess.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>

using torture::Ending;
using torture::Facts;
using torture::Phase;
using torture::Point;

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kUsage =
    "usage: reliability_torture [--short] [--kind WORD]... [--phase start|run|stop]... [--from N] [--every N]\n"
    "       [--at-most N] [--caller TEXT] [--on] [--beside N] [--seed N] [--for N] [--results FILE] [--verbose]\n"
    "       reliability_torture --judge FILE [--verbose]\n"
    "  --from N     begins with the N-th call of a kind\n"
    "  --every N    every N-th call only\n"
    "  --at-most N  so many calls of a kind and phase, picked by chance where there are more (default: all, but 60\n"
    "               allocations of the libraries)\n"
    "  --caller T   calls of objects with T in their names only (default: those of OrvaneServer, then those of all;\n"
    "               --short: by turns, without memory of libraries)\n"
    "  --on         all calls from the N-th on fail, to the end of the phase\n"
    "  --for N      begins no service after N seconds, from when the calls are counted; --short: after 14\n"
    "  --beside N   so many services beside each other (default: 4)\n"
    "  --results F  goes on where a run with the same file was broken off (default: beside this program, with .walked\n"
    "               behind its name; --short: none)\n"
    "  --judge F    begins no service: judges what is in such a file, of whatever build it is\n";

/// A short run begins no service after so many seconds.
constexpr std::uint64_t kShort = 14;
constexpr std::uint64_t kAll = UINT64_MAX;
constexpr std::uint64_t kForeignAllocations = 60;
constexpr const char* kService = "OrvaneServer";

/// The kernel refuses no reading of a clock that there is, and the runtime of C++ takes whatever stands there for the
/// time, were it to. Looked at only by --kind.
constexpr std::string_view kNeverRefused = "clock";

struct Options {
    std::uint64_t seconds = 0;  // 0: as long as it takes
    bool isVerbose = false;
    bool isOnce = true;
    std::vector<std::string> kinds;
    std::vector<Phase> phases;
    std::uint64_t from = 1;
    std::uint64_t every = 1;
    std::uint64_t atMost = 0;  // 0: all, but some of the allocations of libraries
    std::uint64_t beside = 4;
    std::uint64_t seed = 1;
    std::vector<std::string> callers;
    std::string results;
    std::string judged;  // a file of results that is only judged
    bool isShort = false;
};

using Texts = std::vector<std::string>;

std::string ownPath()
{
    return std::filesystem::read_symlink("/proc/self/exe");
}

std::uint64_t numberOf(const std::string& text)
{
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) throw std::invalid_argument(text + ": no number");
    return number;
}

Options optionsOf(const std::vector<std::string>& words)
{
    Options options;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        const auto value = [&]() -> const std::string& {
            if (i + 1 == words.size()) throw std::invalid_argument(word + " needs a value");
            return words[++i];
        };
        if (word == "--short") {
            options.seconds = kShort;
            options.isShort = true;
        } else if (word == "--verbose") {
            options.isVerbose = true;
        } else if (word == "--on") {
            options.isOnce = false;
        } else if (word == "--kind") {
            options.kinds.push_back(value());
            if (!faults::kindOf(options.kinds.back()))
                throw std::invalid_argument(options.kinds.back() + ": no such kind");
        } else if (word == "--phase") {
            const auto phase = torture::phaseOf(value());
            if (!phase) throw std::invalid_argument(words[i] + ": no such phase");
            options.phases.push_back(*phase);
        } else if (word == "--from") {
            options.from = std::max<std::uint64_t>(1, numberOf(value()));
        } else if (word == "--every") {
            options.every = std::max<std::uint64_t>(1, numberOf(value()));
        } else if (word == "--at-most") {
            options.atMost = numberOf(value());
        } else if (word == "--beside") {
            options.beside = std::clamp<std::uint64_t>(numberOf(value()), 1, 64);
        } else if (word == "--seed") {
            options.seed = numberOf(value());
        } else if (word == "--for") {
            options.seconds = numberOf(value());
        } else if (word == "--caller") {
            options.callers = {value()};
        } else if (word == "--results") {
            options.results = value();
        } else if (word == "--judge") {
            options.judged = value();
        } else {
            throw std::invalid_argument(word + ": no such option");
        }
    }
    if (options.kinds.empty())
        for (const auto& row : faults::kKinds)
            if (row.word != kNeverRefused) options.kinds.emplace_back(row.word);
    if (options.callers.empty()) options.callers = {kService, ""};
    if (!options.judged.empty())
        options.results.clear();
    else if (options.results.empty() && !options.isShort)
        options.results = ownPath() + ".walked";
    if (options.phases.empty()) options.phases = {Phase::Start, Phase::Run, Phase::Stop};
    return options;
}

/// The command line by which this program has one service live on a unit of its own.
std::vector<std::string> commandLine(const Point& point)
{
    return {ORVANE_UNIT_RUNNER,
            ownPath(),
            "--trial",
            std::string(nameOf(point.phase)),
            point.kind.empty() ? "-" : point.kind,
            std::to_string(point.call),
            point.isOnce ? "once" : "on",
            point.caller.empty() ? "-" : point.caller};
}

int trial(const std::vector<std::string>& words)
{
    Point point;
    const auto phase = torture::phaseOf(words.at(1));
    if (!phase) return 2;
    point.phase = *phase;
    point.kind = words.at(2) == "-" ? "" : words.at(2);
    point.call = numberOf(words.at(3));
    point.isOnce = words.at(4) == "once";
    point.caller = words.at(5) == "-" ? "" : words.at(5);
    std::cout << "facts " << torture::perform(point).text() << '\n' << std::flush;
    return 0;
}

class Torture {
public:
    Torture(const Options& options, Report& report)
        : m_options(options), m_report(report),
          m_walked(options.results, options.results.empty() ? "" : torture::fingerprintOf(ORVANE_SERVER_BINARY))
    {}

    void run()
    {
        const auto points = listed();
        const auto begin = Clock::now();
        const auto isOver = [&] {
            return m_options.seconds > 0 && Clock::now() - begin > std::chrono::seconds(m_options.seconds);
        };
        const torture::Judge judge(m_usual, torture::knownExceptions());
        inParallel(points.size(), [&](std::size_t i) { attempt(judge, points[i], isOver); });
        tellCounts(points.size());
    }

    /// What is in a file of results, as it is judged now. The lines that are usual are in none.
    void judgeFile()
    {
        const torture::Judge judge({}, torture::knownExceptions());
        const auto walked = torture::allWalked(m_options.judged);
        for (const auto& [point, facts] : walked) tell(judge, point, facts);
        tellCounts(walked.size());
    }

private:
    /// One service, on a unit of its own; another one if the first gives no answer, which is told. Throws when it could
    /// not be tried.
    Facts factsOf(const Point& point)
    {
        for (int attempt = 0;; ++attempt) {
            ChildProcess process(commandLine(point));
            const auto isAnswered = [&] {
                const std::string output = process.output();
                return output.find("facts {") != std::string::npos && output.ends_with('\n');
            };
            if (eventually(isAnswered, std::chrono::seconds(180))) {
                process.wait();
                const std::string output = process.output();
                return Facts::of(output.substr(output.find("facts {") + 6));
            }
            const std::string what = textOf(point) + ": no answer: " + process.errors() + process.output();
            if (attempt >= 1) throw std::runtime_error(what);
            const std::lock_guard lock(m_mutex);
            ++m_unanswered;
            m_report.note(what + "; tried once more");
        }
    }

    void tellCounts(std::size_t all)
    {
        std::array<std::uint64_t, torture::kEndings> sums{};
        std::uint64_t tried = 0;
        for (const auto& [row, counts] : m_counts) {
            std::string line = row + ": " + std::to_string(m_calls[row]) + " calls";
            for (std::size_t i = 0; i < torture::kEndings; ++i) {
                sums[i] += counts[i];
                tried += counts[i];
                if (counts[i] > 0)
                    line += ", " + std::to_string(counts[i]) + " " + std::string(nameOf(static_cast<Ending>(i)));
            }
            m_report.note(line);
        }
        m_report.note("walked: " + std::to_string(tried) + " of " + std::to_string(all) + " points, " +
                      std::to_string(m_earlier) + " of them in earlier runs");
        for (std::size_t i = 0; i < sums.size(); ++i) {
            const std::string name = "failed calls: " + std::string(nameOf(static_cast<Ending>(i)));
            if (static_cast<Ending>(i) == Ending::Unknown)
                m_report.figure(name, static_cast<double>(sums[i]), "", {Goal::AtMost, 0});
            else
                m_report.figure(name, static_cast<double>(sums[i]));
        }
        m_report.figure("first trials without an answer", static_cast<double>(m_unanswered), "", {Goal::AtMost, 0});
        m_report.figure("deaf once and not in two more trials", static_cast<double>(m_deafOnce), "", {Goal::AtMost, 0});
    }

    static std::string rowOf(const Point& point)
    {
        return std::string(nameOf(point.phase)) + ", " + point.kind +
               (point.caller.empty() ? "" : " of " + point.caller);
    }

    /// What services do in which nothing fails: how many calls of each kind there are in each phase, and what they say.
    /// Then the points.
    std::vector<Point> listed()
    {
        const std::size_t lives = m_options.isShort ? 1 : 2;
        std::vector<Point> runs;
        for (const auto& caller : m_options.callers)
            for (const Phase phase : m_options.phases) runs.insert(runs.end(), lives, {phase, "", 0, true, caller});
        inParallel(runs.size(), [&](std::size_t i) {
            Facts facts = factsOf(runs[i]);
            if (facts.isDeaf) facts = factsOf(runs[i]);  // as of `observed`
            const std::lock_guard lock(m_mutex);
            m_report.expect(facts.hang.empty() && facts.signal == 0 && facts.status == 0 && !facts.isDeaf,
                            "a service in which nothing fails does not work");
            m_usual.add(runs[i].phase, facts);
            for (const auto& [kind, calls] : facts.calls) {
                std::uint64_t& most = m_calls[rowOf({runs[i].phase, kind, 0, true, runs[i].caller})];
                most = std::max(most, calls);
            }
        });
        std::vector<std::vector<Point>> byCaller;
        for (const auto& caller : m_options.callers) {
            auto& points = byCaller.emplace_back();
            for (const bool isMemory : {false, true})  // most calls are of that kind
                for (const Phase phase : m_options.phases)
                    for (const auto& kind : m_options.kinds)
                        if ((kind == "malloc") == isMemory)
                            addPoints({phase, kind, 0, m_options.isOnce, caller}, points);
        }
        return m_options.seconds > 0 && m_options.results.empty() ? mixed(byCaller) : joined(byCaller);
    }

    static std::vector<Point> joined(const std::vector<std::vector<Point>>& byCaller)
    {
        std::vector<Point> points;
        for (const auto& part : byCaller) points.insert(points.end(), part.begin(), part.end());
        return points;
    }

    /// By chance, a point of each caller in turn: libraries make many more calls than the service.
    std::vector<Point> mixed(std::vector<std::vector<Point>> byCaller) const
    {
        std::vector<Point> points;
        std::size_t most = 0;
        for (auto& part : byCaller) {
            std::ranges::shuffle(part, std::mt19937_64(m_options.seed));
            most = std::max(most, part.size());
        }
        for (std::size_t i = 0; i < most; ++i)
            for (const auto& part : byCaller)
                if (i < part.size()) points.push_back(part[i]);
        return points;
    }

    void addPoints(Point point, std::vector<Point>& points)
    {
        // Memory of libraries: some end the process where they have none, for reasons of their own.
        if (m_options.isShort && point.kind == "malloc" && point.caller != kService) return;
        const std::uint64_t last = m_calls[rowOf(point)];
        std::uint64_t most = m_options.atMost;
        if (most == 0) most = point.kind == "malloc" && point.caller != kService ? kForeignAllocations : kAll;
        std::vector<std::uint64_t> calls;
        for (std::uint64_t call = m_options.from; call <= last; call += m_options.every) calls.push_back(call);
        // By a number that each call has for good: runs that differ by some calls pick the same ones.
        const auto lot = [&](std::uint64_t call) { return std::mt19937_64(m_options.seed + call)(); };
        if (most < calls.size()) {
            std::ranges::sort(calls, {}, lot);
            calls.resize(most);
        }
        for (const auto call : calls) {
            point.call = call;
            points.push_back(point);
        }
    }

    template <class IsOver>
    void attempt(const torture::Judge& judge, const Point& point, IsOver isOver)
    {
        if (const auto facts = earlier(point)) return tell(judge, point, *facts);
        if (isOver()) return;
        Facts facts = observed(judge, point);
        std::erase_if(facts.lines,
                      [&](const auto& line) { return m_usual.lines.contains(torture::withoutNumbers(line)); });
        {
            const std::lock_guard lock(m_mutex);
            m_walked.add(point, facts);
        }
        tell(judge, point, facts);
    }

    /// A service that joins no more is looked at twice more: on a busy machine one in a thousand trials has been without a
    /// join where the same call failed without harm in all others. Such a one is told, and is no broken promise; all else
    /// that was seen of it is judged. One that holds descriptors too many is looked at once more: the bus may just have
    /// been about to let a client go.
    Facts observed(const torture::Judge& judge, const Point& point)
    {
        const auto isAlive = [](const Facts& facts) { return facts.hang.empty() && facts.signal == 0; };
        Facts first = factsOf(point);
        if (isAlive(first) && judge.leavesOpen(point.phase, first)) first = factsOf(point);
        if (!isAlive(first) || !torture::isDeafUntold(first)) return first;
        for (int again = 0; again < 2; ++again)
            if (Facts facts = factsOf(point); !isAlive(facts) || torture::isDeafUntold(facts)) return facts;
        first.isDeaf = first.isDeafToLate = false;
        first.wasDeafBefore = true;
        return first;
    }

    std::optional<Facts> earlier(const Point& point)
    {
        const std::lock_guard lock(m_mutex);
        auto facts = m_walked.at(point);
        if (facts) ++m_earlier;
        return facts;
    }

    void tell(const torture::Judge& judge, const Point& point, const Facts& facts)
    {
        const auto verdict = judge.judge(point, facts);
        std::string text = textOf(point) + ": " + std::string(nameOf(verdict.ending)) + ": " + verdict.why;
        const bool isStrange = verdict.ending == Ending::Broken || verdict.ending == Ending::Foreign ||
                               verdict.ending == Ending::Unknown || facts.wasDeafBefore;
        if (isStrange || m_options.isVerbose) {
            const auto failed = torture::failedCallOf(facts);
            if (!failed.function.empty()) text += "\n    " + failed.function + " " + failed.place + " " + failed.number;
            text += stackText(facts, "failed");
            text += stackText(facts, "crashed");
        }
        const std::lock_guard lock(m_mutex);
        ++m_counts[rowOf(point)][static_cast<std::size_t>(verdict.ending)];
        if (facts.wasDeafBefore) {
            ++m_deafOnce;
            m_report.note(textOf(point) + ": deaf from then on, and not in two more trials");
        }
        if (verdict.ending == Ending::Broken)
            m_report.broken(text);
        else if (isStrange || m_options.isVerbose)
            m_report.note(text);
    }

    static std::vector<torture::Frame> stackOf(const Facts& facts, std::string_view word)
    {
        return torture::framesOf(torture::notedLine(facts, word));
    }

    /// Whether a function is more than what calls pass through.
    static bool isTelling(const std::string& function)
    {
        return std::ranges::none_of(std::array{"std::", "shielded<", "guarded<", "::{lambda", "_start", "??"},
                                    [&](const char* part) { return function.find(part) < 40; });
    }

    /// The objects and functions of a noted stack, the innermost first.
    std::string stackText(const Facts& facts, std::string_view word) const
    {
        const auto frames = stackOf(facts, word);
        if (frames.empty()) return "";
        std::string text = "\n    " + std::string(word) + " in";
        int shown = 0;
        for (const auto& frame : frames)
            if (frame.object != "OrvaneServer" && ++shown <= 6)
                text += " " + frame.object + (frame.function.empty() ? frame.offset : ":" + frame.function);
        if (!m_options.judged.empty()) return text;  // what lies where differs from build to build
        for (const auto& function : torture::functionsOf(frames))
            if (isTelling(function)) text += "\n      " + function.substr(0, function.find('('));
        return text;
    }

    template <class Body>
    void inParallel(std::size_t count, Body body)
    {
        std::atomic<std::size_t> next = 0;
        std::vector<std::jthread> threads;
        for (std::uint64_t i = 0; i < m_options.beside; ++i)
            threads.emplace_back([&] {
                for (std::size_t mine = next++; mine < count; mine = next++) {
                    try {
                        body(mine);
                    } catch (const std::exception& error) {
                        const std::lock_guard lock(m_mutex);
                        m_report.broken(std::string("not tried: ") + error.what());
                    }
                }
            });
    }

    const Options m_options;
    Report& m_report;
    std::mutex m_mutex;
    torture::Usual m_usual;
    std::map<std::string, std::uint64_t> m_calls;  // by phase, kind and caller
    std::map<std::string, std::array<std::uint64_t, torture::kEndings>> m_counts;
    torture::Walked m_walked;
    std::uint64_t m_earlier = 0;  // points of earlier runs
    std::uint64_t m_deafOnce = 0;
    std::uint64_t m_unanswered = 0;  // first trials
};

}  // namespace

int main(int argc, char* argv[])
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        if (words.size() == 6 && words[0] == "--trial") return trial(words);
        Report report("torture", std::cout);
        const Options options = optionsOf(words);
        Torture walk(options, report);
        if (options.judged.empty())
            walk.run();
        else
            walk.judgeFile();
        return report.status();
    } catch (const std::invalid_argument& error) {
        std::cerr << "reliability_torture: " << error.what() << '\n' << kUsage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "reliability_torture: " << error.what() << '\n';
        return 1;
    }
}
