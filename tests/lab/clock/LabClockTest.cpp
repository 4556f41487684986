#include "lab/clock/ClockFile.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

using namespace labclock;

namespace {

using Ending = ChildProcess::Ending;

class LabClockTest : public testing::Test {
protected:
    Ending run(std::vector<std::string> words)
    {
        words.insert(words.begin(), ORVANE_LAB_CLOCK_BINARY);
        ChildProcess process(words);
        const Ending ending = process.wait();
        m_output = process.output();
        m_errors = process.errors();
        return ending;
    }

    TemporaryDirectory m_directory;
    std::string m_path = (m_directory.path() / "clock").string();
    std::string m_output;
    std::string m_errors;
};

}  // namespace

TEST_F(LabClockTest, MakesAClockWithRateAndTime)
{
    ASSERT_EQ(run({"create", m_path, "--rate", "0.001", "--real", "2147483647"}), (Ending{0, 0})) << m_errors;
    const ClockFile clock(m_path);
    EXPECT_EQ(clock.state().rate, 1);
    EXPECT_GE(clock.real(), 2'147'483'647 * kSecond);
}

TEST_F(LabClockTest, SetsRateAndTime)
{
    ClockFile clock = ClockFile::create(m_path, 1, 1000 * kSecond);
    ASSERT_EQ(run({"step", m_path, "--", "-500"}), (Ending{0, 0})) << m_errors;
    EXPECT_EQ(clock.real() / kSecond, 500);
    ASSERT_EQ(run({"set", m_path, "2200000000"}), (Ending{0, 0})) << m_errors;
    EXPECT_EQ(clock.real() / kSecond, 2'200'000'000);
    ASSERT_EQ(run({"leap", m_path, "2200000010"}), (Ending{0, 0})) << m_errors;
    EXPECT_EQ(clock.state().leapAt, 2'200'000'010 * kSecond);
    ASSERT_EQ(run({"slew", m_path, "3600", "--over", "7200"}), (Ending{0, 0})) << m_errors;
    EXPECT_EQ(clock.state().slew, 3600 * kSecond);
    ASSERT_EQ(run({"rate", m_path, "60"}), (Ending{0, 0})) << m_errors;
    EXPECT_EQ(clock.state().rate, 60'000);
}

TEST_F(LabClockTest, TheExamplesOfItsHelpHold)
{
    // In this order: the first one makes the clock.
    for (const char* command : {"create", "rate", "step", "set", "slew", "leap", "show", ""}) {
        std::vector<std::string> words = {command, "--help"};
        if (words.front().empty()) words.erase(words.begin());
        ASSERT_EQ(run(words), (Ending{0, 0})) << m_errors;
        std::istringstream help(m_output.substr(std::min(m_output.find("Examples:\n"), m_output.size())));
        int examples = 0;
        for (std::string line; std::getline(help, line);) {
            if (!line.starts_with("  lab-clock ")) continue;
            const std::string example = line.substr(12, line.find("  ", 2) - 12);
            ChildProcess shell({"/bin/sh", "-c", "cd \"$1\" && \"$0\" " + example, ORVANE_LAB_CLOCK_BINARY,
                                m_directory.path().string()});
            EXPECT_EQ(shell.wait(), (Ending{0, 0})) << line << ": " << shell.errors();
            ++examples;
        }
        EXPECT_GT(examples, 0) << "lab-clock " << command << " --help";
    }
}

TEST_F(LabClockTest, ShowsRateAndTimes)
{
    ClockFile::create(m_path, 1, 1000 * kSecond);
    ASSERT_EQ(run({"show", m_path}), (Ending{0, 0})) << m_errors;
    EXPECT_TRUE(m_output.starts_with("rate 0.001  monotonic ")) << m_output;
    EXPECT_NE(m_output.find("  real 1000."), std::string::npos) << m_output;
}

TEST_F(LabClockTest, ClockThatItLivesByIsNotWhatItIsSetBy)
{
#ifdef ORVANE_SANITIZED
    GTEST_SKIP();
#endif
    const ClockFile clock = ClockFile::create(m_path, 1'000'000, 1000 * kSecond);
    ChildProcess process({"/usr/bin/env", "LD_PRELOAD=" ORVANE_CLOCK_LIBRARY, "ORVANE_LAB_CLOCK=" + m_path,
                          ORVANE_LAB_CLOCK_BINARY, "show", m_path});
    ASSERT_EQ(process.wait(), (Ending{0, 0})) << process.errors();
    const std::string output = process.output();
    const std::size_t real = output.find("  real ");
    ASSERT_NE(real, std::string::npos) << output;
    EXPECT_LE(std::stod(output.substr(real + 7)), static_cast<double>(clock.real()) / 1e9);
}

TEST_F(LabClockTest, WhatIsOutOfRangeIsOneLineAndStatusOne)
{
    ClockFile::create(m_path, 1, 1000 * kSecond);
    EXPECT_EQ(run({"rate", m_path, "1001"}), (Ending{1, 0}));
    EXPECT_EQ(m_errors, "lab-clock: a rate is 0.001 to 1000\n");
    EXPECT_EQ(run({"rate", m_path, "nan"}), (Ending{1, 0}));
    EXPECT_EQ(run({"step", m_path, "1e300"}), (Ending{1, 0}));
    EXPECT_EQ(m_errors, "lab-clock: seconds are less than 9000000000\n");
}

TEST_F(LabClockTest, UnknownVerbNamesTheNearestAndIsStatusTwo)
{
    const std::string more = " (lab-clock --help tells more)\n";
    EXPECT_EQ(run({"stpe", m_path}), (Ending{2, 0}));
    EXPECT_EQ(m_errors, "lab-clock: no verb \"stpe\"; did you mean step?" + more);
    EXPECT_EQ(run({}), (Ending{2, 0}));
    EXPECT_EQ(m_errors, "lab-clock: which verb? there are: create, rate, step, set, slew, leap, show" + more);
    EXPECT_EQ(run({"rate", m_path}), (Ending{2, 0}));
    EXPECT_EQ(m_errors, "lab-clock: RATE is required" + more);
}
