#include "lab/ctl/seq/Judge.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using namespace orvanectl;
using State = Verdict::State;

namespace {

/// A moment of a pretended run, in seconds from its start.
Observation::Time at(double seconds)
{
    return Observation::Time() + std::chrono::hours(1) +
           std::chrono::duration_cast<Observation::Time::duration>(std::chrono::duration<double>(seconds));
}

Observation warning(double seconds, int number, const std::string& text = "")
{
    return {at(seconds), Kind::Warning, "", number, std::to_string(number) + " \"" + text + '"'};
}

Observation told(double seconds, const std::string& name = "navwar-sa", const std::string& text = "threats 0")
{
    return {at(seconds), Kind::Tell, name, 0, text};
}

struct JudgeTest : testing::Test {
    State stateAt(double now, const std::vector<Observation>& seen)
    {
        const Verdict verdict = judge(expected, seen, since, at(now));
        what = verdict.what;
        return verdict.state;
    }

    Expectation expected;
    Since since{at(10), at(10), at(12)};  // of the action, of the pause, of the expectation
    std::string what;
};

struct OnceTest : JudgeTest {
    OnceTest()
    {
        expected.kind = Kind::Warning;
        expected.lowest = 24;
        expected.highest = 25;
        expected.seconds = 5;
    }
};

struct NoneTest : OnceTest {
    NoneTest()
    {
        expected.none = true;
        since.pause = at(11);
    }
};

struct EveryTest : JudgeTest {
    EveryTest()
    {
        expected.name = "navwar-sa";
        expected.every = {1.0, 0.2};
        expected.seconds = 4;
    }
};

struct TimesTest : JudgeTest {
    TimesTest()
    {
        expected.name = "navwar-sa";
        expected.times = {2, 3};
        expected.seconds = 4;
    }
};

}  // namespace

TEST_F(OnceTest, NumberWithinTheBoundsPasses)
{
    EXPECT_EQ(stateAt(14, {warning(13, 24, "a")}), State::Passed);
    EXPECT_EQ(what, "24 \"a\", after 1.00 s");
    EXPECT_EQ(stateAt(14, {warning(13, 25)}), State::Passed);
    EXPECT_EQ(stateAt(14, {warning(13, 23), warning(13, 26)}), State::Open);
}

TEST_F(OnceTest, WhatCameSinceTheActionCounts)
{
    EXPECT_EQ(stateAt(12, {warning(10, 24, "a")}), State::Passed);
    EXPECT_EQ(what, "24 \"a\"");
    EXPECT_EQ(stateAt(12, {warning(9.9, 24)}), State::Open);
}

TEST_F(OnceTest, EndOfTheTimeFailsWithWhatCameInstead)
{
    EXPECT_EQ(stateAt(16.9, {warning(13, 22, "a")}), State::Open);
    EXPECT_EQ(what, "");
    EXPECT_EQ(stateAt(17, {warning(9, 21), warning(13, 22, "a"), told(14)}), State::Failed);
    EXPECT_EQ(what, "came instead: 22 \"a\"");
    EXPECT_EQ(stateAt(17, {told(14)}), State::Failed);
    EXPECT_EQ(what, "nothing of the kind came");
}

TEST_F(OnceTest, OfManyOthersTheLatestAreTold)
{
    std::vector<Observation> seen;
    for (int number = 1; number <= 7; ++number) seen.push_back(warning(13, number));
    EXPECT_EQ(stateAt(17, seen), State::Failed);
    EXPECT_EQ(what, "came instead: 2 others; 3 \"\"; 4 \"\"; 5 \"\"; 6 \"\"; 7 \"\"");
}

TEST_F(OnceTest, WhatComesTooLateDoesNotCount)
{
    EXPECT_EQ(stateAt(18, {warning(17.1, 24)}), State::Failed);
}

TEST_F(OnceTest, AllTextsMustBeInIt)
{
    expected.texts = {"DESTROY", "FAIL"};
    EXPECT_EQ(stateAt(14, {warning(13, 25, "DESTROY_PASS"), warning(13, 25, "ZEROIZE_FAIL")}), State::Open);
    EXPECT_EQ(stateAt(14, {warning(13, 25, "DESTROY_FAIL")}), State::Passed);
}

TEST_F(OnceTest, NameOfATellMustBeTheSame)
{
    expected = Expectation();
    expected.name = "navwar-sa";
    EXPECT_EQ(stateAt(14, {told(13, "blended-navigation")}), State::Open);
    EXPECT_EQ(stateAt(14, {told(13)}), State::Passed);
}

TEST_F(NoneTest, SilenceForTheWholeTimePasses)
{
    EXPECT_EQ(stateAt(16.9, {warning(13, 22)}), State::Open);
    EXPECT_EQ(stateAt(17, {warning(13, 22)}), State::Passed);
    EXPECT_EQ(what, "none came");
}

TEST_F(NoneTest, WhatComesFailsAtOnce)
{
    EXPECT_EQ(stateAt(13, {warning(13, 24, "a")}), State::Failed);
    EXPECT_EQ(what, "came: 24 \"a\"");
}

TEST_F(NoneTest, WhatCameSinceThePauseCounts)
{
    EXPECT_EQ(stateAt(12, {warning(10.5, 24)}), State::Open);
    EXPECT_EQ(stateAt(12, {warning(11, 24)}), State::Failed);
}

TEST_F(EveryTest, EvenIntervalsPass)
{
    const std::vector<Observation> seen = {told(11.9), told(12.9), told(13.9), told(15), told(16)};
    EXPECT_EQ(stateAt(15.9, {seen.begin(), seen.end() - 1}), State::Open);
    EXPECT_EQ(stateAt(16, seen), State::Passed);
    EXPECT_EQ(what, "4 times, 1.00 s to 1.10 s apart");
}

TEST_F(EveryTest, OneTooSoonFails)
{
    EXPECT_EQ(stateAt(13.5, {told(12.5), told(13.2)}), State::Failed);
    EXPECT_EQ(what, "came 0.70 s after the one before");
}

TEST_F(EveryTest, OneTooLateFails)
{
    EXPECT_EQ(stateAt(14, {told(12.5), told(13.8)}), State::Failed);
    EXPECT_EQ(what, "came 1.30 s after the one before");
}

TEST_F(EveryTest, TenthOfASecondIsHeldForTenSeconds)
{
    expected.every = {1.0, 0.1};
    expected.seconds = 10;
    std::vector<Observation> seen;
    for (int i = 1; i <= 10; ++i) seen.push_back(told(12 + i + (i % 2 == 0 ? -0.03 : 0.03)));
    EXPECT_EQ(stateAt(22.04, seen), State::Passed);
    EXPECT_EQ(what, "10 times, 0.94 s to 1.06 s apart");
    seen[5] = told(18.15);
    EXPECT_EQ(stateAt(22.04, seen), State::Failed);
    EXPECT_EQ(what, "came 1.12 s after the one before");
}

TEST_F(EveryTest, SilenceFailsAsSoonAsItIsTooLong)
{
    EXPECT_EQ(stateAt(13.1, {}), State::Open);
    EXPECT_EQ(stateAt(13.25, {}), State::Failed);
    EXPECT_EQ(what, "came 0 times, and then not for 1.25 s; nothing of the kind came");
    EXPECT_EQ(stateAt(14, {told(12.5)}), State::Failed);
    EXPECT_EQ(what, "came 1 times, and then not for 1.50 s");
}

TEST_F(EveryTest, FirstMayBeDueAtAnyTime)
{
    EXPECT_EQ(stateAt(13, {told(12.05)}), State::Open);
    EXPECT_EQ(stateAt(13.3, {told(13.25)}), State::Failed);
    EXPECT_EQ(what, "came 1.25 s after the beginning");
}

TEST_F(TimesTest, NumberWithinTheBoundsPassesAtTheEnd)
{
    EXPECT_EQ(stateAt(15.9, {told(13), told(14)}), State::Open);
    EXPECT_EQ(stateAt(16, {told(13), told(14)}), State::Passed);
    EXPECT_EQ(what, "2 times");
    EXPECT_EQ(stateAt(16, {told(13), told(13.1), told(16)}), State::Passed);
}

TEST_F(TimesTest, TooManyFailAtOnce)
{
    EXPECT_EQ(stateAt(13.5, {told(12), told(13), told(13.1), told(13.2)}), State::Failed);
    EXPECT_EQ(what, "came 4 times in 1.50 s");
}

TEST_F(TimesTest, TooFewFailAtTheEnd)
{
    EXPECT_EQ(stateAt(16, {told(11.9), told(13), told(16.1)}), State::Failed);
    EXPECT_EQ(what, "came once");
    EXPECT_EQ(stateAt(16, {told(13, "blended-navigation")}), State::Failed);
    EXPECT_EQ(what, "came 0 times; nothing of the kind came");
}
