#include "lab/unit/SentLog.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

using namespace unitsim;

namespace {

class SentLogTest : public testing::Test {
protected:
    /// What a line has behind its time.
    std::string lineOf(const std::function<void(SentLog&)>& send) const
    {
        const std::string path = (m_directory.path() / "log").string();
        SentLog log(path, SystemClock::Clock::now());
        send(log);
        const std::string text = readFile(path);
        EXPECT_TRUE(text.starts_with("0.0")) << text;
        return text.substr(text.find(' ') + 1);
    }

    TemporaryDirectory m_directory;
};

}  // namespace

TEST_F(SentLogTest, EpochTellsItsTimeAndWhatWasSentOfIt)
{
    const GpsMoment moment{(604'800 + 23'215) * std::int64_t{1'000'000'000}};
    EXPECT_EQ(lineOf([&](SentLog& log) {
                  log.epoch(moment, {true, false, true, true, true, true});
              }),
              "epoch 23215.000000000 101111\n");
}

TEST_F(SentLogTest, ThreatsInUseWithABearingAreThoseThatCount)
{
    ThreatReport report{std::vector<Threat>(4)};
    report.threats[1].state = 3;
    report.threats[2].hasBearing = false;
    EXPECT_EQ(lineOf([&](SentLog& log) { log.threats(report); }), "threats 4 2\n");
}

TEST_F(SentLogTest, WarningCommandAndAnswerHaveTheirTexts)
{
    EXPECT_EQ(lineOf([](SentLog& log) { log.warning({6, "ANTENNA OPEN"}); }), "warning 6 ANTENNA OPEN\n");
    EXPECT_EQ(lineOf([](SentLog& log) { log.command("START_ZEROIZE"); }), "command START_ZEROIZE\n");
    EXPECT_EQ(lineOf([](SentLog& log) {
                  PlannedAnswer answer;
                  answer.text = "REQUEST_ZEROIZE_ACK";
                  log.answer("ZeroizeServer", answer);
              }),
              "answer ZeroizeServer REQUEST_ZEROIZE_ACK\n");
}

TEST_F(SentLogTest, WhatIsHeardAndWhatChangesHasItsLine)
{
    EXPECT_EQ(lineOf([](SentLog& log) { log.heard("REQUEST_PARTNUMBERS"); }), "heard REQUEST_PARTNUMBERS\n");
    EXPECT_EQ(lineOf([](SentLog& log) { log.gps(true); }), "gps lost\n");
    EXPECT_EQ(lineOf([](SentLog& log) { log.gps(false); }), "gps back\n");
    EXPECT_EQ(lineOf([](SentLog& log) { log.silence("GPS", true); }), "silent GPS\n");
    EXPECT_EQ(lineOf([](SentLog& log) { log.silence("GPS", false); }), "speaking GPS\n");
}

TEST_F(SentLogTest, FileThatCannotBeWrittenIsRefusedByName)
{
    const std::string path = (m_directory.path() / "none/log").string();
    EXPECT_EQ(errorOf([&] { SentLog log(path, {}); }), "--log " + path + ": the file can't be written");
}
