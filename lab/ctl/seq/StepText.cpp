#include "lab/ctl/seq/StepText.h"

#include "lab/ctl/BusNames.h"
#include "lab/ctl/BusRequests.h"
#include "lab/text/Lines.h"
#include "lab/text/Words.h"
#include "lab/unit/ControlLine.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

namespace orvanectl {

namespace {

using labtext::chosen;
using labtext::Words;
using labtext::wrong;

constexpr double kLongest = 86'400;  // s
constexpr double kShortest = 0.001;  // s

double takeSeconds(Words& words, const char* what = "a number of seconds")
{
    return labtext::seconds(words.take(what), kShortest, kLongest);
}

/// "24" or "24..25".
void setNumbers(Expectation& expected, const std::string& word)
{
    const auto numberOf = [&word](std::string_view text) {
        const auto number = labtext::wholeNumberOf(text);
        if (!number || *number < 0 || *number > std::numeric_limits<int>::max())
            throw wrong(word, "is no number of a warning, such as 24 or 24..25");
        return static_cast<int>(*number);
    };
    const labtext::Ends ends = labtext::endsOf(word).value_or(labtext::Ends{word, word});
    expected.lowest = numberOf(ends.from);
    expected.highest = numberOf(ends.to);
    if (expected.highest < expected.lowest) throw wrong(word, "ends before it begins");
}

/// "9" or "9..11".
Expectation::Times timesOf(const std::string& word)
{
    constexpr long long kMost = 1'000'000;
    const labtext::Ends ends = labtext::endsOf(word).value_or(labtext::Ends{word, word});
    const auto least = labtext::wholeNumberOf(ends.from), most = labtext::wholeNumberOf(ends.to);
    if (!least || !most || *least < 1 || *most > kMost) throw wrong(word, "is no number of times, such as 9 or 9..11");
    if (*most < *least) throw wrong(word, "ends before it begins");
    return {static_cast<int>(*least), static_cast<int>(*most)};
}

void setTime(Expectation& expected, Words& words)
{
    if (words.skip("times")) {
        const std::string count = words.take("a number, or LEAST..MOST");
        expected.times = timesOf(count);
        if (!words.skip("for")) throw wrong(count, "needs behind it for and a number of seconds");
        expected.seconds = takeSeconds(words);
        if (expected.none) throw wrong("times", "can't be expected not to come: no ... for SECONDS");
        words.expectEnd();
        return;
    }
    if (words.skip("every")) {
        Expectation::Interval every{};
        every.seconds = takeSeconds(words);
        if (!words.skip("+-")) throw wrong("every", "needs behind its seconds +- and a tolerance");
        every.tolerance = takeSeconds(words, "a tolerance in seconds");
        if (!words.skip("for")) throw wrong("every", "needs behind its tolerance for and a number of seconds");
        const std::string length = words.take("a number of seconds");
        expected.seconds = labtext::seconds(length, kShortest, kLongest);
        if (expected.seconds < every.seconds + every.tolerance)
            throw wrong(length, "is too short: nothing is due in it");
        expected.every = every;
        if (expected.none) throw wrong("every", "can't be expected not to come: no ... for SECONDS");
        words.expectEnd();
        return;
    }
    if (words.atEnd()) {
        if (expected.none) throw wrong("no", "needs for and a number of seconds behind what is not to come");
        return;
    }
    if (words.skip(expected.none ? "for" : "within")) {
        expected.seconds = takeSeconds(words);
        words.expectEnd();
        return;
    }
    static constexpr std::string_view kOfOne[] = {"within", "every", "times"}, kOfNone[] = {"for"};
    const std::span<const std::string_view> known = expected.none ? std::span<const std::string_view>(kOfNone) : kOfOne;
    const std::string word = words.take("");
    throw labtext::noneOf(known, word, word, "is no text in double quotes, and tells no time");
}

Step expectationOf(Words& words)
{
    static constexpr std::pair<std::string_view, Kind> kKinds[] = {{"warning", Kind::Warning},
                                                                   {"tell", Kind::Tell},
                                                                   {"event", Kind::Event},
                                                                   {"answer", Kind::Answer},
                                                                   {"console", Kind::Console}};
    Expectation expected;
    expected.none = words.skip("no");
    const std::string kind = words.take("what is expected");
    expected.kind = chosen(kind, kind, kKinds, "is nothing to expect");
    if (expected.kind == Kind::Warning) setNumbers(expected, words.take("a number"));
    if (expected.kind == Kind::Tell) {
        expected.name = words.take("the name of what is told");
        std::vector<std::string_view> names;
        for (const BusName& one : kBusNames)
            if (one.isNews) names.push_back(one.name);
        if (std::ranges::find(names, expected.name) == names.end())
            throw labtext::noneOf(names, expected.name, expected.name, "is nothing that is told");
    }
    while (words.nextIsQuoted()) {
        expected.texts.push_back(words.take(""));
        if (expected.texts.back().empty()) throw wrong("", "is in everything");
    }
    setTime(expected, words);
    return expected;
}

std::vector<std::string> takeAll(Words& words)
{
    std::vector<std::string> texts;
    while (!words.atEnd()) texts.push_back(words.take(""));
    return texts;
}

Step startOf(Words& words)
{
    StartService start;
    for (const std::string& word : takeAll(words)) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos || equals == 0 || equals + 1 == word.size())
            throw wrong(word, "is not of the form KEY=VALUE");
        start.settings.emplace_back(word.substr(0, equals), word.substr(equals + 1));
    }
    return start;
}

Step requestOf(Words& words, const std::filesystem::path& folder)
{
    const std::string first = words.take("a request");
    std::vector<std::string> all = takeAll(words);
    all.insert(all.begin(), first);
    try {
        return MakeRequest{busRequestOf(all, folder)};
    } catch (const std::invalid_argument& error) {
        throw wrong(first, std::string("makes no request: ") + error.what());
    }
}

/// @param line  of a scenario
Step unitLineOf(const std::string& line)
{
    if (unitsim::controlEventsOf(line, 0).empty()) throw wrong(line, "says nothing");
    return TellUnit{line};
}

/// What a service prints is seen where it was started.
/// @param before  the steps before this one
void requireTerminal(const Step& step, const Sequence& before)
{
    const auto* const expected = std::get_if<Expectation>(&step);
    if (expected && expected->kind == Kind::Console && !before.has<StartService>())
        throw wrong("console", "needs start before it: lines of a service that was started elsewhere are not seen");
}

}  // namespace

std::optional<Step> stepOf(std::string_view line, const std::filesystem::path& folder)
{
    enum class Word { Expect, Start, Unit, Stop, Request, Sim, Command, Key, Wait };
    static constexpr std::pair<std::string_view, Word> kWords[] = {
        {"expect", Word::Expect},   {"start", Word::Start},     {"unit", Word::Unit},
        {"stop", Word::Stop},       {"request", Word::Request}, {"sim", Word::Sim},
        {"command", Word::Command}, {"key", Word::Key},         {"wait", Word::Wait}};
    if (labtext::isBlankOrNote(line)) return std::nullopt;
    Words words(line);
    const std::string first = words.take("");
    const auto last = [&words](Step step) {
        words.expectEnd();
        return step;
    };
    switch (chosen(first, first, kWords, "is no step")) {
    case Word::Expect:
        return expectationOf(words);
    case Word::Start:
        return startOf(words);
    case Word::Unit:
        return StartUnit{takeAll(words)};
    case Word::Stop:
        return last(StopService{});
    case Word::Request:
        return requestOf(words, folder);
    case Word::Sim:
        if (words.atEnd()) words.take("a line of a scenario");
        return unitLineOf(std::string(words.rest()));
    case Word::Command:
        if (words.atEnd()) words.take("a text");
        return unitLineOf("command " + std::string(words.rest()));
    case Word::Key:
        return last(TypeKeys{words.take("keys")});
    case Word::Wait:
        return last(Pause{takeSeconds(words)});
    }
    return std::nullopt;
}

Sequence sequenceOf(std::istream& file, const std::string& name)
{
    const std::filesystem::path folder = std::filesystem::path(name).parent_path();
    Sequence sequence{name, {}};
    labtext::readLines(file, name, [&](std::size_t number, std::string_view line) {
        auto step = stepOf(line, folder);
        if (!step) return;
        requireTerminal(*step, sequence);
        sequence.lines.push_back({number, std::string(labtext::trimmed(line)), std::move(*step)});
    });
    if (sequence.lines.empty()) throw std::runtime_error(name + ": has no steps");
    return sequence;
}

Sequence readSequence(const std::string& name)
{
    if (name == "-") return sequenceOf(std::cin, name);
    std::ifstream file(name);
    if (!file) throw std::runtime_error(name + ": can't be read");
    return sequenceOf(file, name);
}

}  // namespace orvanectl
