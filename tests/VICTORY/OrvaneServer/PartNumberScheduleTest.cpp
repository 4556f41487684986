#include "VICTORY/OrvaneServer/PartNumberSchedule.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST(PartNumberScheduleTest, NothingIsSentBeforeTheSelfTestIsOver)
{
    EXPECT_EQ(nextStep({.isPostComplete = false, .isRequestDue = true, .isComplete = false, .sinceRequest = 1h}),
              PartNumberStep::AwaitSelfTest);
    EXPECT_EQ(nextStep({.isPostComplete = false, .isRequestDue = false, .isComplete = true, .sinceRequest = 0ns}),
              PartNumberStep::AwaitSelfTest);
}

TEST(PartNumberScheduleTest, ARequestThatIsDueGoesOutEvenAfterCompletion)
{
    EXPECT_EQ(nextStep({.isPostComplete = true, .isRequestDue = true, .isComplete = false, .sinceRequest = 1h}),
              PartNumberStep::SendRequest);
    EXPECT_EQ(nextStep({.isPostComplete = true, .isRequestDue = true, .isComplete = true, .sinceRequest = 0ns}),
              PartNumberStep::SendRequest);
}

TEST(PartNumberScheduleTest, ACompleteExchangeIsOverHoweverLongAgoItWasAsked)
{
    EXPECT_EQ(nextStep({.isPostComplete = true, .isRequestDue = false, .isComplete = true, .sinceRequest = 1h}),
              PartNumberStep::Nothing);
}

TEST(PartNumberScheduleTest, ARetryIsDueOnceMoreThan9999999999NanosecondsHavePassed)
{
    const auto after = [](std::chrono::nanoseconds time) {
        return nextStep({.isPostComplete = true, .isRequestDue = false, .isComplete = false, .sinceRequest = time});
    };
    EXPECT_EQ(after(0ns), PartNumberStep::CountResponses);
    EXPECT_EQ(after(9'999'999'999ns), PartNumberStep::CountResponses);
    EXPECT_EQ(after(10'000'000'000ns), PartNumberStep::AskAgain);
}
