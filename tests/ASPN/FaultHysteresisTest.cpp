#include "ASPN/FaultHysteresis.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

FaultHysteresis::Clock::time_point s_now{};

struct FaultHysteresisTest : testing::Test {
    FaultHysteresisTest() { s_now = FaultHysteresis::Clock::time_point(1000s); }

    std::string check(std::int32_t type, const char* file = "a/b/c.cpp", int line = 12)
    {
        const std::int32_t before = type;
        std::string text = hysteresis.Check(type, file, line, "x");
        EXPECT_EQ(type, before);
        return text;
    }

    FaultHysteresis hysteresis{[] { return s_now; }};
};

}  // namespace

TEST_F(FaultHysteresisTest, BeforeInitialisationTheTextIsUnchanged)
{
    EXPECT_EQ(check(3), "x");
    EXPECT_EQ(hysteresis.size(), 0u);
}

TEST_F(FaultHysteresisTest, ThresholdOrLimitOfZeroDisables)
{
    EXPECT_TRUE(hysteresis.OkInitFaultHysteresis(180, 0, 2000));
    EXPECT_EQ(check(3), "x");
    EXPECT_TRUE(hysteresis.OkInitFaultHysteresis(180, 16, 0));
    EXPECT_EQ(check(3), "x");
    EXPECT_EQ(hysteresis.size(), 0u);
}

TEST_F(FaultHysteresisTest, OnlyTypesThreeToFiveGetThePlace)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    EXPECT_EQ(check(2), "x");
    EXPECT_EQ(check(6), "x");
    EXPECT_EQ(check(-1), "x");
    EXPECT_EQ(check(3), "c.cpp[12]:x");
    EXPECT_EQ(check(4), "c.cpp[12]:x");
    EXPECT_EQ(check(5), "c.cpp[12]:x");
}

TEST_F(FaultHysteresisTest, OnlyTypeThreeIsRecorded)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    check(4);
    check(5);
    check(2);
    EXPECT_EQ(hysteresis.size(), 0u);
    check(3);
    EXPECT_EQ(hysteresis.size(), 1u);
}

TEST_F(FaultHysteresisTest, FaultsAreOnRecordByTheWholePathAndTheLine)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    check(3, "a/c.cpp", 12);
    check(3, "b/c.cpp", 12);
    check(3, "b/c.cpp", 12);
    check(3, "b\\c.cpp", -7);
    EXPECT_EQ(hysteresis.count("a/c.cpp12"), 1u);
    EXPECT_EQ(hysteresis.count("b/c.cpp12"), 2u);
    EXPECT_EQ(hysteresis.count("b\\c.cpp-7"), 1u);
    EXPECT_EQ(hysteresis.count("c.cpp12"), 0u);
}

TEST_F(FaultHysteresisTest, FileNameStandsBehindTheLastSlashOfEitherKind)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    EXPECT_EQ(check(3, "a\\b\\c.cpp"), "c.cpp[12]:x");
    EXPECT_EQ(check(3, "a/b\\c.cpp"), "c.cpp[12]:x");
    EXPECT_EQ(check(3, "a\\b/c.cpp"), "c.cpp[12]:x");
    EXPECT_EQ(check(3, "c.cpp", -7), "c.cpp[-7]:x");
    EXPECT_EQ(check(3, "dir/"), "[12]:x");
    EXPECT_EQ(check(3, nullptr), "[12]:x");
}

TEST_F(FaultHysteresisTest, AFullRecordDropsItsOldest)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    check(3);
    s_now += 1s;
    for (int i = 0; i < 1999; ++i) check(3);
    EXPECT_EQ(hysteresis.size(), 2000u);
    check(3);
    EXPECT_EQ(hysteresis.size(), 2000u);
    s_now += 179s;  // the first fault would be 180 s old now, and the only one to go
    hysteresis.service();
    EXPECT_EQ(hysteresis.size(), 2000u);
}

TEST_F(FaultHysteresisTest, AFaultAsOldAsTheSpanIsForgottenAtTheNextOne)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    check(3);
    s_now += 180s - 1ms;
    check(3);
    EXPECT_EQ(hysteresis.size(), 2u);
    s_now += 1ms;
    check(3);
    EXPECT_EQ(hysteresis.size(), 2u);
}

TEST_F(FaultHysteresisTest, AgeCountsWholeMilliseconds)
{
    hysteresis.OkInitFaultHysteresis(1, 16, 2000);
    check(3);
    s_now += 1s - 1ns;
    hysteresis.service();
    EXPECT_EQ(hysteresis.size(), 1u);
    s_now += 1ns;
    hysteresis.service();
    EXPECT_EQ(hysteresis.size(), 0u);
}

TEST_F(FaultHysteresisTest, WithASpanOfZeroFaultsNeverAge)
{
    hysteresis.OkInitFaultHysteresis(0, 16, 2);
    check(3);
    s_now += 24h;
    check(3);
    EXPECT_EQ(hysteresis.size(), 2u);
    check(3);
    EXPECT_EQ(hysteresis.size(), 2u);
}

TEST_F(FaultHysteresisTest, TheLargestSpanDoesNotOverflow)
{
    hysteresis.OkInitFaultHysteresis(2147483647, 16, 2000);
    check(3);
    s_now += 24h;
    check(3);
    EXPECT_EQ(hysteresis.size(), 2u);
}

TEST_F(FaultHysteresisTest, ANegativeNumberIsRefusedAndChangesNothing)
{
    EXPECT_FALSE(hysteresis.OkInitFaultHysteresis(-1, 16, 2000));
    EXPECT_FALSE(hysteresis.OkInitFaultHysteresis(180, -1, 2000));
    EXPECT_FALSE(hysteresis.OkInitFaultHysteresis(180, 16, -1));
    EXPECT_EQ(check(3), "x");
    EXPECT_TRUE(hysteresis.OkInitFaultHysteresis(180, 16, 2000));
    check(3);
    EXPECT_FALSE(hysteresis.OkInitFaultHysteresis(180, -1, 2000));
    EXPECT_EQ(hysteresis.size(), 1u);
}

TEST_F(FaultHysteresisTest, ANegativeNumberEndsTheProcessThatCannotDoWithoutIt)
{
    initFaultHysteresisOrExit(hysteresis, 180, 16, 2000);
    check(3);
    EXPECT_EQ(hysteresis.size(), 1u);
    EXPECT_EXIT(initFaultHysteresisOrExit(hysteresis, -1, 16, 2000), testing::ExitedWithCode(255),
                "^Unable to configure the Fault Hysteresis\n: ");
}

TEST_F(FaultHysteresisTest, ASecondInitialisationForgetsTheRecord)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    check(3);
    EXPECT_TRUE(hysteresis.OkInitFaultHysteresis(180, 16, 2000));
    EXPECT_EQ(hysteresis.size(), 0u);
}

TEST_F(FaultHysteresisTest, HysteresisGivesTheTypeBack)
{
    EXPECT_EQ(hysteresis.hysteresis(3, "a/b/c.cpp12"), 3);
    EXPECT_EQ(hysteresis.hysteresis(5, ""), 5);
}

TEST_F(FaultHysteresisTest, ChecksAndInitialisationsMayRunTogether)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 500; ++n) {
                std::int32_t type = 3;
                hysteresis.Check(type, "c.cpp", n, "x");
            }
        });
    for (int n = 0; n < 100; ++n) EXPECT_TRUE(hysteresis.OkInitFaultHysteresis(180, 16, 50));
    for (std::thread& thread : threads) thread.join();
    EXPECT_LE(hysteresis.size(), 50u);
}

TEST(FaultHysteresisInstanceTest, ThereIsOne)
{
    EXPECT_EQ(&FaultHysteresis::Instance(), &FaultHysteresis::Instance());
}
