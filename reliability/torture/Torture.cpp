/// Has each call of the service fail in turn, in its start, its work and its end, a service for each, and tells how it
/// came through.

#include "lab/faults/FaultPlan.h"
#include "reliability/Report.h"
#include "reliability/torture/Facts.h"
#include "reliability/torture/Symbols.h"
#include "reliability/torture/Trial.h"
#include "reliability/torture/Verdict.h"
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
    "       [--at-most N] [--caller TEXT] [--on] [--beside N] [--seed N] [--for N] [--verbose]\n"
    "  --from N     begins with the N-th call of a kind\n"
    "  --every N    every N-th call only\n"
    "  --at-most N  so many calls of a kind and phase, picked by chance where there are more (default: 60)\n"
    "  --caller T   calls of objects with T in their names only, such as OrvaneServer\n"
    "  --on         all calls from the N-th on fail, to the end of the phase\n"
    "  --for N      begins no service after N seconds; --short: after 14\n"
    "  --beside N   so many services beside each other (default: 4)\n";

/// A short run begins no service after so many seconds.
constexpr std::uint64_t kShort = 14;

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
    std::uint64_t atMost = 60;
    std::uint64_t beside = 4;
    std::uint64_t seed = 1;
    std::string caller;
};

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
            options.caller = value();
        } else {
            throw std::invalid_argument(word + ": no such option");
        }
    }
    if (options.kinds.empty())
        for (const auto& row : faults::kKinds)
            if (row.word != kNeverRefused) options.kinds.emplace_back(row.word);
    if (options.phases.empty()) options.phases = {Phase::Start, Phase::Run, Phase::Stop};
    return options;
}

/// The command line by which this program has one service live on a unit of its own.
std::vector<std::string> commandLine(const Point& point)
{
    return {ORVANE_UNIT_RUNNER,
            std::filesystem::read_symlink("/proc/self/exe"),
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

/// One service, on a unit of its own. Throws when it could not be tried.
Facts factsOf(const Point& point)
{
    for (int attempt = 0;; ++attempt) {
        ChildProcess process(commandLine(point));
        if (!eventually(
                [&] {
                    return process.output().find("facts {") != std::string::npos && process.output().ends_with('\n');
                },
                std::chrono::seconds(180)) &&
            attempt >= 1)
            throw std::runtime_error(textOf(point) + ": no answer: " + process.errors());
        process.wait();
        const std::string output = process.output();
        const auto place = output.find("facts {");
        if (place != std::string::npos) return Facts::of(output.substr(place + 6));
        if (attempt >= 1) throw std::runtime_error(textOf(point) + ": " + process.errors() + output);
    }
}

class Torture {
public:
    Torture(const Options& options, Report& report) : m_options(options), m_report(report) {}

    void run()
    {
        const auto points = listed();
        const torture::Judge judge(m_usual, torture::knownExceptions());
        inParallel(points.size(), [&](std::size_t i) { attempt(judge, points[i]); });
        for (const auto& [row, counts] : m_counts) {
            std::string line = row.first + ", " + row.second + ": " + std::to_string(m_calls[row]) + " calls";
            for (std::size_t i = 0; i < torture::kEndings; ++i)
                if (counts[i] > 0)
                    line += ", " + std::to_string(counts[i]) + " " + std::string(nameOf(static_cast<Ending>(i)));
            m_report.note(line);
        }
        std::array<std::uint64_t, torture::kEndings> sums{};
        for (const auto& [row, counts] : m_counts)
            for (std::size_t i = 0; i < counts.size(); ++i) sums[i] += counts[i];
        for (std::size_t i = 0; i < sums.size(); ++i)
            m_report.figure("failed calls: " + std::string(nameOf(static_cast<Ending>(i))),
                            static_cast<double>(sums[i]));
    }

private:
    /// What services do in which nothing fails: how many calls of each kind there are in each phase, and what they say.
    /// Then the points.
    std::vector<Point> listed()
    {
        constexpr std::size_t kRuns = 2;
        std::map<Phase, std::map<std::string, std::uint64_t>> counts;
        std::vector<Phase> runs;
        for (const Phase phase : m_options.phases) runs.insert(runs.end(), kRuns, phase);
        inParallel(runs.size(), [&](std::size_t i) {
            const Facts facts = factsOf({runs[i], "", 0, true, m_options.caller});
            const std::lock_guard lock(m_mutex);
            m_report.expect(facts.hang.empty() && facts.signal == 0 && facts.status == 0 && !facts.isDeaf,
                            "a service in which nothing fails does not work");
            for (const auto& line : facts.lines) m_usual.insert(torture::withoutNumbers(line));
            for (const auto& [kind, calls] : facts.calls)
                counts[runs[i]][kind] = std::max(counts[runs[i]][kind], calls);
        });
        std::mt19937_64 random(m_options.seed);
        std::vector<Point> points;
        for (const Phase phase : m_options.phases)
            for (const auto& kind : m_options.kinds) {
                const std::uint64_t last = counts[phase][kind];
                m_calls[{std::string(nameOf(phase)), kind}] = last;
                std::vector<std::uint64_t> calls;
                for (std::uint64_t call = m_options.from; call <= last; call += m_options.every) calls.push_back(call);
                std::vector<std::uint64_t> picked;
                std::ranges::sample(calls, std::back_inserter(picked), static_cast<std::ptrdiff_t>(m_options.atMost),
                                    random);
                for (const auto call : picked)
                    points.push_back({phase, kind, call, m_options.isOnce, m_options.caller});
            }
        if (m_options.seconds > 0) std::ranges::shuffle(points, random);
        return points;
    }

    void attempt(const torture::Judge& judge, const Point& point)
    {
        if (m_options.seconds > 0 && Clock::now() - m_begin > std::chrono::seconds(m_options.seconds)) return;
        const Facts facts = factsOf(point);
        const auto functions = functionsOf(stackOf(facts, "failed"));
        const auto verdict = judge.judge(point, facts, functions);
        const std::lock_guard lock(m_mutex);
        ++m_counts[{std::string(nameOf(point.phase)), point.kind}][static_cast<std::size_t>(verdict.ending)];
        std::string text = textOf(point) + ": " + std::string(nameOf(verdict.ending)) + ": " + verdict.why;
        const bool isStrange = verdict.ending == Ending::Broken || verdict.ending == Ending::Foreign;
        if (isStrange || m_options.isVerbose) {
            text += stackText(facts, "failed");
            text += stackText(facts, "crashed");
        }
        if (verdict.ending == Ending::Broken)
            m_report.broken(text);
        else if (isStrange || m_options.isVerbose)
            m_report.note(text);
    }

    static std::vector<torture::Frame> stackOf(const Facts& facts, std::string_view word)
    {
        const auto line = std::ranges::find_if(facts.log, [&](const auto& text) { return text.starts_with(word); });
        return line == facts.log.end() ? std::vector<torture::Frame>() : torture::framesOf(*line);
    }

    /// Whether a function is more than what calls pass through.
    static bool isTelling(const std::string& function)
    {
        return std::ranges::none_of(std::array{"std::", "shielded<", "guarded<", "::{lambda", "_start", "??"},
                                    [&](const char* part) { return function.find(part) < 40; });
    }

    /// The objects and functions of a noted stack, the innermost first.
    static std::string stackText(const Facts& facts, std::string_view word)
    {
        const auto frames = stackOf(facts, word);
        if (frames.empty()) return "";
        std::string text = "\n    " + std::string(word) + " in";
        int shown = 0;
        for (const auto& frame : frames)
            if (frame.object != "OrvaneServer" && ++shown <= 6)
                text += " " + frame.object + (frame.function.empty() ? frame.offset : ":" + frame.function);
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

    using Row = std::pair<std::string, std::string>;  // phase and kind
    const Options m_options;
    Report& m_report;
    const Clock::time_point m_begin = Clock::now();
    std::mutex m_mutex;
    std::set<std::string> m_usual;
    std::map<Row, std::uint64_t> m_calls;
    std::map<Row, std::array<std::uint64_t, torture::kEndings>> m_counts;
};

}  // namespace

int main(int argc, char* argv[])
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        if (words.size() == 6 && words[0] == "--trial") return trial(words);
        Report report("torture", std::cout);
        Torture(optionsOf(words), report).run();
        return report.status();
    } catch (const std::invalid_argument& error) {
        std::cerr << "reliability_torture: " << error.what() << '\n' << kUsage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "reliability_torture: " << error.what() << '\n';
        return 1;
    }
}
