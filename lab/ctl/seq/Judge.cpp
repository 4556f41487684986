#include "lab/ctl/seq/Judge.h"

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <sstream>
#include <vector>

namespace orvanectl {

namespace {

using Time = Observation::Time;
using State = Verdict::State;

Time after(Time time, double seconds)
{
    return time + std::chrono::duration_cast<Time::duration>(std::chrono::duration<double>(seconds));
}

double between(Time from, Time to)
{
    return std::chrono::duration<double>(to - from).count();
}

std::string shown(double seconds)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << seconds << " s";
    return text.str();
}

/// The latest of what has come and could have been meant.
std::string cameInstead(const Expectation& expected, std::span<const Observation> seen, Time since)
{
    constexpr std::size_t kMost = 5;
    std::vector<std::string> texts;
    for (const Observation& one : seen)
        if (one.time >= since && one.kind == expected.kind && one.name == expected.name) texts.push_back(one.text);
    if (texts.empty()) return "nothing of the kind came";
    std::string text = "came instead: ";
    if (texts.size() > kMost) text += std::to_string(texts.size() - kMost) + " others; ";
    for (std::size_t i = texts.size() - std::min(texts.size(), kMost); i < texts.size(); ++i)
        text += texts[i] + (i + 1 < texts.size() ? "; " : "");
    return text;
}

Verdict judgeOnce(const Expectation& expected, std::span<const Observation> seen, const Since& since, Time now)
{
    const Time end = after(since.begin, expected.seconds);
    for (const Observation& one : seen)
        if (one.time >= since.action && one.time <= end && matches(expected, one))
            return {State::Passed,
                    one.time <= since.begin ? one.text : one.text + ", after " + shown(between(since.begin, one.time))};
    if (now < end) return {};
    return {State::Failed, cameInstead(expected, seen, since.action)};
}

Verdict judgeNone(const Expectation& expected, std::span<const Observation> seen, const Since& since, Time now)
{
    const Time end = after(since.begin, expected.seconds);
    for (const Observation& one : seen)
        if (one.time >= since.pause && one.time <= end && matches(expected, one))
            return {State::Failed, "came: " + one.text};
    if (now < end) return {};
    return {State::Passed, "none came"};
}

Verdict judgeEvery(const Expectation& expected, std::span<const Observation> seen, const Since& since, Time now)
{
    const double longest = expected.every->seconds + expected.every->tolerance;
    const double shortest = expected.every->seconds - expected.every->tolerance;
    const Time end = after(since.begin, expected.seconds);
    std::vector<double> intervals;
    std::optional<Time> last;
    std::size_t count = 0;
    for (const Observation& one : seen) {
        if (one.time < since.begin || one.time > end || !matches(expected, one)) continue;
        const double interval = between(last.value_or(since.begin), one.time);
        // The first may be due at any time.
        if (interval > longest || (last && interval < shortest))
            return {State::Failed,
                    "came " + shown(interval) + (last ? " after the one before" : " after the beginning")};
        if (last) intervals.push_back(interval);
        last = one.time;
        ++count;
    }
    const double silence = between(last.value_or(since.begin), std::min(now, end));
    if (silence > longest)
        return {State::Failed, "came " + std::to_string(count) + " times, and then not for " + shown(silence) +
                                   (count == 0 ? "; " + cameInstead(expected, seen, since.begin) : "")};
    if (now < end) return {};
    std::string text = std::to_string(count) + " times";
    if (!intervals.empty())
        text += ", " + shown(std::ranges::min(intervals)) + " to " + shown(std::ranges::max(intervals)) + " apart";
    return {State::Passed, text};
}

Verdict judgeTimes(const Expectation& expected, std::span<const Observation> seen, const Since& since, Time now)
{
    const Time end = after(since.begin, expected.seconds);
    const auto count = std::ranges::count_if(seen, [&](const Observation& one) {
        return one.time >= since.begin && one.time <= end && matches(expected, one);
    });
    const std::string text = (count == 1 ? std::string("once") : std::to_string(count) + " times");
    if (count > expected.times->most)
        return {State::Failed, "came " + text + " in " + shown(between(since.begin, std::min(now, end)))};
    if (now < end) return {};
    if (count >= expected.times->least) return {State::Passed, text};
    return {State::Failed, "came " + text + (count == 0 ? "; " + cameInstead(expected, seen, since.begin) : "")};
}

}  // namespace

bool matches(const Expectation& expected, const Observation& seen)
{
    if (seen.kind != expected.kind || seen.name != expected.name) return false;
    if (expected.kind == Kind::Warning && (seen.number < expected.lowest || seen.number > expected.highest))
        return false;
    return std::ranges::all_of(expected.texts,
                               [&](const std::string& text) { return seen.text.find(text) != std::string::npos; });
}

Verdict judge(const Expectation& expected, std::span<const Observation> seen, const Since& since, Time now)
{
    if (expected.every) return judgeEvery(expected, seen, since, now);
    if (expected.times) return judgeTimes(expected, seen, since, now);
    if (expected.none) return judgeNone(expected, seen, since, now);
    return judgeOnce(expected, seen, since, now);
}

}  // namespace orvanectl
