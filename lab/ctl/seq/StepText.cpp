#include "lab/ctl/seq/StepText.h"

#include "lab/ctl/BusRequests.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/NearestWord.h"
#include "lab/unit/ControlLine.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <span>
#include <stdexcept>

namespace orvanectl {

namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr double kLongest = 86'400;  // s
constexpr double kShortest = 0.001;  // s

std::invalid_argument wrong(std::string_view word, const std::string& what)
{
    constexpr std::size_t kLongestShown = 60;
    return std::invalid_argument("'" + printable(std::string(word.substr(0, kLongestShown))) + "' " + what);
}

struct Word {
    std::string text;
    bool quoted = false;
};

/// Words between blanks; one in double quotes may have blanks in it, and \" and \\.
std::vector<Word> wordsOf(std::string_view line)
{
    std::vector<Word> words;
    for (std::size_t at = line.find_first_not_of(kBlanks); at < line.size(); at = line.find_first_not_of(kBlanks, at)) {
        Word word;
        if (line[at] != '"') {
            const std::size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
            word.text = line.substr(at, end - at);
            at = end;
        } else {
            word.quoted = true;
            const std::size_t begin = at;
            for (++at; at < line.size() && line[at] != '"'; ++at) {
                const bool isEscaped =
                    line[at] == '\\' && at + 1 < line.size() && (line[at + 1] == '"' || line[at + 1] == '\\');
                if (isEscaped) ++at;
                word.text += line[at];
            }
            if (at >= line.size()) throw wrong(line.substr(begin), "has no second quote");
            ++at;
        }
        words.push_back(std::move(word));
    }
    return words;
}

/// The words of a line from left to right.
class Reader {
public:
    explicit Reader(std::vector<Word> words) : m_words(std::move(words)) {}

    bool atEnd() const { return m_next == m_words.size(); }
    bool nextIs(std::string_view word) const
    {
        return !atEnd() && !m_words[m_next].quoted && m_words[m_next].text == word;
    }
    bool nextIsQuoted() const { return !atEnd() && m_words[m_next].quoted; }
    bool skip(std::string_view word)
    {
        if (!nextIs(word)) return false;
        ++m_next;
        return true;
    }
    /// @param what  is missing if there is none
    const std::string& take(const char* what)
    {
        if (atEnd()) throw wrong(m_words.empty() ? "" : m_words.back().text, std::string("needs behind it ") + what);
        return m_words[m_next++].text;
    }
    std::vector<std::string> rest()
    {
        std::vector<std::string> texts;
        while (!atEnd()) texts.push_back(m_words[m_next++].text);
        return texts;
    }
    void expectEnd() const
    {
        if (!atEnd()) throw wrong(m_words[m_next].text, "is one word too many");
    }

private:
    std::vector<Word> m_words;
    std::size_t m_next = 0;
};

std::string listed(std::span<const char* const> words)
{
    std::string text;
    for (const char* const word : words) text += (text.empty() ? "" : ", ") + std::string(word);
    return text;
}

/// The index of a word among those that there are.
std::size_t chosen(const std::string& word, std::span<const char* const> words, const char* what)
{
    for (std::size_t i = 0; i < words.size(); ++i)
        if (word == words[i]) return i;
    const std::string nearest = nearestWord(word, {words.begin(), words.end()});
    throw wrong(word, what + (nearest.empty() ? ": " + listed(words) : "; did you mean " + nearest + "?"));
}

double secondsOf(const std::string& word, double least = kShortest)
{
    char* end = nullptr;
    const double seconds = std::strtod(word.c_str(), &end);
    if (word.empty() || *end != '\0' || !(seconds >= least && seconds <= kLongest))
        throw wrong(word, "is no number of seconds, up to 86400");
    return seconds;
}

/// "24" or "24..25".
void setNumbers(Expectation& expected, const std::string& word)
{
    const std::size_t dots = word.find("..");
    const auto numberOf = [&word](std::string_view text) {
        int number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size() || number < 0)
            throw wrong(word, "is no number of a warning, such as 24 or 24..25");
        return number;
    };
    const std::string_view text = word;
    expected.lowest = numberOf(text.substr(0, dots));
    expected.highest = dots == std::string::npos ? expected.lowest : numberOf(text.substr(dots + 2));
    if (expected.highest < expected.lowest) throw wrong(word, "ends before it begins");
}

void setTime(Expectation& expected, Reader& words)
{
    if (words.skip("every")) {
        Expectation::Interval every{};
        every.seconds = secondsOf(words.take("a number of seconds"));
        if (!words.skip("+-")) throw wrong("every", "needs behind its seconds +- and a tolerance");
        every.tolerance = secondsOf(words.take("a tolerance in seconds"));
        if (!words.skip("for")) throw wrong("every", "needs behind its tolerance for and a number of seconds");
        const std::string& length = words.take("a number of seconds");
        expected.seconds = secondsOf(length);
        if (expected.seconds < every.seconds + every.tolerance)
            throw wrong(length, "is too short: nothing is due in it");
        expected.every = every;
        if (expected.none) throw wrong("every", "can't be expected not to come: no ... for SECONDS");
        return;
    }
    const char* const length = expected.none ? "for" : "within";
    if (words.skip(length))
        expected.seconds = secondsOf(words.take("a number of seconds"));
    else if (expected.none)
        throw wrong("no", "needs for and a number of seconds behind what is not to come");
}

Step expectationOf(Reader& words)
{
    static constexpr const char* kKinds[] = {"warning", "tell", "event", "answer", "console"};
    static constexpr const char* kTells[] = {"blended-navigation",
                                             "navwar-sa",
                                             "warning-messages",
                                             "system-configuration",
                                             "available-outputs",
                                             "available-sensors",
                                             "built-in-test-results",
                                             "clear-system-data",
                                             "execute-built-in-tests",
                                             "clear-built-in-test-results",
                                             "faults",
                                             "held",
                                             "misuse",
                                             "service"};
    Expectation expected;
    expected.none = words.skip("no");
    const std::string& kind = words.take("what is expected");
    expected.kind = static_cast<Kind>(chosen(kind, kKinds, "is nothing to expect"));
    if (expected.kind == Kind::Warning) setNumbers(expected, words.take("a number"));
    if (expected.kind == Kind::Tell) {
        expected.name = words.take("the name of what is told");
        chosen(expected.name, kTells, "is nothing that is told");
    }
    while (words.nextIsQuoted()) {
        expected.texts.push_back(words.take(""));
        if (expected.texts.back().empty()) throw wrong("", "is in everything");
    }
    setTime(expected, words);
    words.expectEnd();
    return expected;
}

Step startOf(Reader& words)
{
    StartService start;
    for (const std::string& word : words.rest()) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos || equals == 0 || equals + 1 == word.size())
            throw wrong(word, "is not of the form KEY=VALUE");
        start.settings.emplace_back(word.substr(0, equals), word.substr(equals + 1));
    }
    return start;
}

Step requestOf(Reader& words, const std::filesystem::path& folder)
{
    const std::string& first = words.take("a request");
    std::vector<std::string> rest = words.rest();
    rest.insert(rest.begin(), first);
    try {
        return MakeRequest{busRequestOf(rest, folder)};
    } catch (const std::invalid_argument& error) {
        throw wrong(first, std::string("makes no request: ") + error.what());
    }
}

/// What stands behind the first word, as it is.
std::string behind(std::string_view line, std::string_view first)
{
    line.remove_prefix(line.find(first) + first.size());
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    return std::string(line.substr(0, line.find_last_not_of(kBlanks) + 1));
}

Step unitLineOf(const std::string& line, const char* word)
{
    if (line.empty()) throw wrong(word, "needs a line of a scenario behind it");
    if (!unitsim::controlEventOf(line, 0)) throw wrong(line, "says nothing");
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
    static constexpr const char* kWords[] = {"expect", "start",   "unit", "stop", "request",
                                             "sim",    "command", "key",  "wait"};
    const std::size_t begin = line.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos || line[begin] == '#') return std::nullopt;
    const std::string first(line.substr(begin, std::min(line.find_first_of(kBlanks, begin), line.size()) - begin));
    const std::string_view word = kWords[chosen(first, kWords, "is no step")];
    // What goes to the unit is not of this language, and may have quotes of its own.
    if (word == "sim") return unitLineOf(behind(line, word), "sim");
    if (word == "command") {
        const std::string text = behind(line, word);
        return unitLineOf(text.empty() ? "" : "command " + text, "command");
    }
    Reader words(wordsOf(line));
    words.take("");
    if (word == "expect") return expectationOf(words);
    if (word == "start") return startOf(words);
    if (word == "unit") return StartUnit{words.rest()};
    if (word == "request") return requestOf(words, folder);
    Step step = StopService{};
    if (word == "key") step = TypeKeys{words.take("keys")};
    if (word == "wait") step = Pause{secondsOf(words.take("a number of seconds"))};
    words.expectEnd();
    return step;
}

Sequence sequenceOf(std::istream& file, const std::string& name)
{
    const std::filesystem::path folder = std::filesystem::path(name).parent_path();
    Sequence sequence{name, {}};
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number) {
        try {
            auto step = stepOf(line, folder);
            if (!step) continue;
            requireTerminal(*step, sequence);
            sequence.lines.push_back({number, behind(line, ""), std::move(*step)});
        } catch (const std::invalid_argument& error) {
            throw std::runtime_error(name + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    if (file.bad()) throw std::runtime_error(name + ": can't be read");
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
