#include "lab/faults/FaultPlan.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sstream>
#include <stdexcept>
#include <string>

using faults::Kind;

namespace {

faults::Plan planOf(const std::string& text)
{
    std::istringstream stream(text);
    return faults::readPlan(stream, "plan");
}

std::string errorOf(const std::string& text)
{
    try {
        planOf(text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "none";
}

}  // namespace

TEST(FaultPlanTest, OnceStrikesThatCallAlone)
{
    const faults::Rule rule = planOf("fail read 7 once\n").rules.at(0);
    EXPECT_FALSE(rule.strikes(Kind::Read, 6));
    EXPECT_TRUE(rule.strikes(Kind::Read, 7));
    EXPECT_FALSE(rule.strikes(Kind::Read, 8));
    EXPECT_FALSE(rule.strikes(Kind::Write, 7));
}

TEST(FaultPlanTest, OnStrikesFromThatCall)
{
    const faults::Rule rule = planOf("fail mmap 3 on").rules.at(0);
    EXPECT_FALSE(rule.strikes(Kind::Mmap, 2));
    EXPECT_TRUE(rule.strikes(Kind::Mmap, 3));
    EXPECT_TRUE(rule.strikes(Kind::Mmap, 4000000000));
}

TEST(FaultPlanTest, ErrorIsThatOfTheKindUnlessOneIsNamed)
{
    EXPECT_EQ(planOf("fail thread 1 on").rules.at(0).error, EAGAIN);
    EXPECT_EQ(planOf("fail write 1 on errno ENOSPC").rules.at(0).error, ENOSPC);
}

TEST(FaultPlanTest, EveryKindIsFoundByItsWord)
{
    for (std::size_t i = 0; i < faults::kKindCount; ++i)
        EXPECT_EQ(faults::kindOf(faults::kKinds.at(i).word), static_cast<Kind>(i));
    EXPECT_EQ(faults::kindOf("event"), Kind::Event);
}

TEST(FaultPlanTest, FilesAndLimitsAreRead)
{
    const faults::Plan plan = planOf("# a comment\n\nonly caller Orvane\nonly path /dev/mcs\ncount to a\nlog to b # "
                                     "here\ncontrol by c\ndescriptors to d\n");
    EXPECT_EQ(plan.caller, "Orvane");
    EXPECT_EQ(plan.path, "/dev/mcs");
    EXPECT_EQ(plan.countFile, "a");
    EXPECT_EQ(plan.logFile, "b");
    EXPECT_EQ(plan.controlFile, "c");
    EXPECT_EQ(plan.descriptorsFile, "d");
    EXPECT_TRUE(plan.rules.empty());
}

TEST(FaultPlanTest, ManyCallsMayFail)
{
    EXPECT_EQ(planOf("fail read 1 once\nfail read 3 once\nfail poll 1 on\n").rules.size(), 3U);
}

TEST(FaultPlanTest, WrongWordIsNamedWithItsLine)
{
    EXPECT_EQ(errorOf("\nfial read 1 on"),
              "plan:2: 'fial', where there should be one of fail, only, count, log, descriptors, control");
    EXPECT_EQ(errorOf("fail read 0 on"), "plan:1: '0', where there should be a call's number, from 1 on");
    EXPECT_EQ(errorOf("fail read 1x on"), "plan:1: '1x', where there should be a call's number, from 1 on");
    EXPECT_EQ(errorOf("fail read 18446744073709551616 on"),
              "plan:1: '18446744073709551616', where there should be a call's number, from 1 on");
    EXPECT_EQ(errorOf("fail read 1 twice"), "plan:1: 'twice', where there should be 'once' or 'on'");
    EXPECT_EQ(errorOf("fail read 1 on error"), "plan:1: 'error', where there should be 'errno' or nothing more");
    EXPECT_EQ(errorOf("only thread 5"), "plan:1: 'thread', where there should be 'caller' or 'path'");
    EXPECT_EQ(errorOf("log in x"), "plan:1: 'in', where there should be 'to'");
    EXPECT_EQ(errorOf("log to x y"), "plan:1: 'y', where there should be nothing more");
}

TEST(FaultPlanTest, LineThatEndsEarlySaysSo)
{
    EXPECT_EQ(errorOf("fail"), "plan:1: the line ends, where there should be one of open, openat, fopen, read, fread, "
                               "write, fwrite, mmap, msync, poll, thread, malloc, fsync, rename, send, receive, "
                               "socket, clock, sched, fcntl, event");
    EXPECT_EQ(errorOf("fail read"), "plan:1: the line ends, where there should be a call's number, from 1 on");
    EXPECT_EQ(errorOf("count to"), "plan:1: the line ends, where there should be a file");
}

TEST(FaultPlanTest, UnknownErrorGetsTheList)
{
    EXPECT_TRUE(
        errorOf("fail read 1 on errno EWHAT").starts_with("plan:1: 'EWHAT', where there should be one of EACCES, "));
}
