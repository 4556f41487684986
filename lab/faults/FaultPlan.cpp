#include "lab/faults/FaultPlan.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace faults {

const std::array<KindRow, 21> kKinds = {
    {{"open", EACCES},    {"openat", EACCES}, {"fopen", EMFILE}, {"read", EIO},    {"fread", EIO},
     {"write", EIO},      {"fwrite", ENOSPC}, {"mmap", ENOMEM},  {"msync", EIO},   {"poll", ENOMEM},
     {"thread", EAGAIN},  {"malloc", ENOMEM}, {"fsync", EIO},    {"rename", EIO},  {"send", ENOBUFS},
     {"receive", ENOMEM}, {"socket", EMFILE}, {"clock", EINVAL}, {"sched", EPERM}, {"fcntl", EINVAL},
     {"event", EMFILE}}};
static_assert(std::tuple_size_v<decltype(kKinds)> == kKindCount);
static_assert(static_cast<std::size_t>(Kind::Event) + 1 == kKindCount);

namespace {

using ErrorRow = std::pair<std::string_view, int>;

constexpr ErrorRow kErrors[] = {
    {"EACCES", EACCES},   {"EAGAIN", EAGAIN}, {"EBADF", EBADF},   {"EDQUOT", EDQUOT},         {"EFBIG", EFBIG},
    {"EINTR", EINTR},     {"EINVAL", EINVAL}, {"EIO", EIO},       {"EMFILE", EMFILE},         {"ENFILE", ENFILE},
    {"ENOBUFS", ENOBUFS}, {"ENODEV", ENODEV}, {"ENOENT", ENOENT}, {"ENOMEM", ENOMEM},         {"ENOSPC", ENOSPC},
    {"ENXIO", ENXIO},     {"EPERM", EPERM},   {"EROFS", EROFS},   {"EOPNOTSUPP", EOPNOTSUPP}, {"ETIMEDOUT", ETIMEDOUT},
};

template <class Rows, class Word>
std::string listOf(const Rows& rows, Word wordOf)
{
    std::string text;
    for (const auto& row : rows) text.append(text.empty() ? "" : ", ").append(wordOf(row));
    return text;
}

/// The words of one line, taken one by one.
class Line {
public:
    Line(std::string text, std::string place) : m_stream(std::move(text)), m_place(std::move(place)) {}

    /// The next word, empty behind the last.
    std::string next()
    {
        std::string word;
        m_stream >> word;
        return word;
    }

    [[noreturn]] void refuse(const std::string& word, const std::string& wanted) const
    {
        throw std::runtime_error(m_place + (word.empty() ? "the line ends" : "'" + word + "'") +
                                 ", where there should be " + wanted);
    }

    std::string required(const std::string& wanted)
    {
        std::string word = next();
        if (word.empty()) refuse(word, wanted);
        return word;
    }

    void requireWord(const std::string& wanted)
    {
        if (const std::string word = next(); word != wanted) refuse(word, "'" + wanted + "'");
    }

    void requireEnd()
    {
        if (const std::string word = next(); !word.empty()) refuse(word, "nothing more");
    }

private:
    std::istringstream m_stream;
    const std::string m_place;
};

std::uint64_t readNumber(Line& line)
{
    const std::string word = line.next();
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size() || number == 0)
        line.refuse(word, "a call's number, from 1 on");
    return number;
}

int readError(Line& line)
{
    const std::string word = line.next();
    const auto* const row = std::ranges::find(kErrors, word, &ErrorRow::first);
    if (row == std::end(kErrors))
        line.refuse(word, "one of " + listOf(kErrors, [](const auto& each) { return each.first; }));
    return row->second;
}

Rule readRule(Line& line)
{
    const std::string word = line.next();
    const auto kind = kindOf(word);
    if (!kind) line.refuse(word, "one of " + listOf(kKinds, [](const auto& each) { return each.word; }));
    Rule rule{*kind, readNumber(line), false, rowOf(*kind).error};
    const std::string span = line.next();
    if (span != "once" && span != "on") line.refuse(span, "'once' or 'on'");
    rule.isOnce = span == "once";
    if (const std::string more = line.next(); more == "errno")
        rule.error = readError(line);
    else if (!more.empty())
        line.refuse(more, "'errno' or nothing more");
    return rule;
}

void readLine(Line& line, const std::string& verb, Plan& plan)
{
    if (verb == "fail") {
        plan.rules.push_back(readRule(line));
    } else if (verb == "only") {
        const std::string what = line.next();
        if (what != "caller" && what != "path") line.refuse(what, "'caller' or 'path'");
        (what == "caller" ? plan.caller : plan.path) = line.required("a part of its name");
    } else if (verb == "count" || verb == "log") {
        line.requireWord("to");
        (verb == "count" ? plan.countFile : plan.logFile) = line.required("a file");
    } else if (verb == "descriptors") {
        line.requireWord("to");
        plan.descriptorsFile = line.required("a file");
    } else if (verb == "control") {
        line.requireWord("by");
        plan.controlFile = line.required("a file");
    } else {
        line.refuse(verb, "one of fail, only, count, log, descriptors, control");
    }
    line.requireEnd();
}

}  // namespace

std::optional<Kind> kindOf(std::string_view word)
{
    const auto row = std::ranges::find(kKinds, word, &KindRow::word);
    if (row == kKinds.end()) return std::nullopt;
    return static_cast<Kind>(row - kKinds.begin());
}

std::string nameOfError(int error)
{
    const auto* const row = std::ranges::find(kErrors, error, &ErrorRow::second);
    return row == std::end(kErrors) ? std::to_string(error) : std::string(row->first);
}

Plan readPlan(std::istream& stream, const std::string& name)
{
    Plan plan;
    int number = 0;
    for (std::string text; std::getline(stream, text);) {
        ++number;
        Line line(text.substr(0, text.find('#')), name + ":" + std::to_string(number) + ": ");
        if (const std::string verb = line.next(); !verb.empty()) readLine(line, verb, plan);
    }
    return plan;
}

}  // namespace faults
