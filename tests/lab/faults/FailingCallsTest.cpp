#include "lab/faults/FaultPage.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

using Ending = ChildProcess::Ending;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// A program under a plan.
struct FailingCallsTest : testing::Test {
    std::string path(const std::string& name) const { return directory.path() / name; }

    std::vector<std::string> commandLine(const std::string& plan, const std::vector<std::string>& words) const
    {
        std::ofstream(path("plan")) << plan;
        std::vector<std::string> line = {"/usr/bin/env", "LD_PRELOAD=" ORVANE_LAB_FAULTS_LIBRARY,
                                         "ORVANE_LAB_FAULTS=" + path("plan"), ORVANE_LAB_FAULTS_VICTIM};
        line.insert(line.end(), words.begin(), words.end());
        return line;
    }

    std::string outputOf(const std::string& plan, const std::vector<std::string>& words) const
    {
        ChildProcess victim(commandLine(plan, words));
        EXPECT_EQ(victim.wait(), Ending({0, 0}));
        EXPECT_EQ(victim.errors(), "");
        return victim.output();
    }

    std::string file(const std::string& name) const { return readFile(path(name)); }

    TemporaryDirectory directory;
};

}  // namespace

TEST_F(FailingCallsTest, TheNthCallFailsOnceWithItsError)
{
    EXPECT_EQ(outputOf("fail read 2 once errno EIO\n", {"read", "read", "read"}), "read ok\nread 5\nread ok\n");
}

TEST_F(FailingCallsTest, FromTheNthCallOnAllFail)
{
    EXPECT_EQ(outputOf("fail mmap 2 on", {"mmap", "mmap", "mmap"}), "mmap ok\nmmap 12\nmmap 12\n");
}

TEST_F(FailingCallsTest, OtherKindsGoOn)
{
    EXPECT_EQ(outputOf("fail poll 1 on", {"open", "poll", "write", "sched"}), "open ok\npoll 12\nwrite ok\nsched ok\n");
}

TEST_F(FailingCallsTest, AllocationsFailAsNewDoes)
{
    EXPECT_EQ(outputOf("only caller faults_victim\nfail malloc 1 on", {"new", "memalign"}), "new 12\nmemalign 12\n");
    EXPECT_EQ(outputOf("", {"new", "memalign"}), "new ok\nmemalign ok\n");
}

TEST_F(FailingCallsTest, ThreadsFailWithTheirErrorAsTheAnswer)
{
    EXPECT_EQ(outputOf("fail thread 1 once", {"thread", "thread"}), "thread 11\nthread ok\n");
}

TEST_F(FailingCallsTest, OneOfFourThousandAllocationsOfFourThreadsFails)
{
    EXPECT_EQ(outputOf("only caller faults_victim\nfail malloc 2000 once", {"threads"}), "threads 1 failed\n");
}

TEST_F(FailingCallsTest, CallsOnOtherPathsAreNotCounted)
{
    EXPECT_EQ(
        outputOf("only path /dev/zero\nfail read 1 on\nfail open 1 on\nfail write 1 on", {"open", "write", "read"}),
        "open ok\nwrite ok\nread 9\n");
}

TEST_F(FailingCallsTest, CallsOfOtherObjectsAreNotCounted)
{
    EXPECT_EQ(outputOf("only caller nobody\nfail read 1 on\nfail malloc 1 on", {"read", "new"}), "read ok\nnew ok\n");
}

TEST_F(FailingCallsTest, WhatWasMadeToFailIsNamed)
{
    outputOf("fail read 2 once\nlog to " + path("log"), {"read", "read"});
    EXPECT_THAT(file("log"), StartsWith("failed read 2 errno 5 thread "));
    EXPECT_THAT(file("log"), HasSubstr(" faults_victim+0x"));
}

TEST_F(FailingCallsTest, WhatAFailedCallIsAboutIsNamed)
{
    const std::string log = "once\nlog to " + path("log");
    outputOf("only path /dev/zero\nfail read 1 " + log, {"read"});
    EXPECT_THAT(file("log"), HasSubstr(" of read at /dev/zero faults_victim+0x"));
    outputOf("fail open 1 " + log, {"open"});
    EXPECT_THAT(file("log"), HasSubstr(" at /dev/null faults_victim+0x"));
    outputOf("only caller faults_victim\nfail malloc 1 " + log, {"memalign"});
    EXPECT_THAT(file("log"), HasSubstr(" of posix_memalign with 100 faults_victim+0x"));
    outputOf("fail poll 1 " + log, {"poll"});
    EXPECT_THAT(file("log"), HasSubstr(" of poll with 0 faults_victim+0x"));
}

TEST_F(FailingCallsTest, CountsAreWrittenAtTheEnd)
{
    outputOf("only caller faults_victim\ncount to " + path("counts"), {"read", "read", "poll", "mmap"});
    EXPECT_THAT(file("counts"), HasSubstr("\nread 2\n"));
    EXPECT_THAT(file("counts"), HasSubstr("\npoll 1\n"));
    EXPECT_THAT(file("counts"), HasSubstr("\nmmap 1\n"));
    EXPECT_THAT(file("counts"), HasSubstr("\nwrite 0\n"));
}

TEST_F(FailingCallsTest, NothingCountsBeforeTheControlFileSaysSo)
{
    outputOf("control by " + path("page") + "\nfail read 1 on", {});
    EXPECT_EQ(outputOf("control by " + path("page") + "\nfail read 1 on", {"read"}), "read ok\n");
    const int descriptor = open(path("page").c_str(), O_RDWR | O_CLOEXEC);
    void* const mapped = mmap(nullptr, sizeof(faults::FaultPage), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    close(descriptor);
    ASSERT_NE(mapped, MAP_FAILED);
    auto& page = *static_cast<faults::FaultPage*>(mapped);
    EXPECT_EQ(page.calls[static_cast<std::size_t>(faults::Kind::Read)], 0U);
    page.isArmed = 1;
    EXPECT_EQ(outputOf("control by " + path("page") + "\nonly caller faults_victim\nfail read 1 on", {"read"}),
              "read 5\n");
    EXPECT_EQ(page.calls[static_cast<std::size_t>(faults::Kind::Read)], 1U);
    EXPECT_EQ(page.failed, 1U);
    munmap(mapped, sizeof page);
}

TEST_F(FailingCallsTest, AnAbortIsNamedWithItsFrames)
{
    ChildProcess victim(commandLine("log to " + path("log"), {"abort"}));
    EXPECT_EQ(victim.wait(), Ending({-1, SIGABRT}));
    EXPECT_THAT(file("log"), StartsWith("crashed 6 "));
    EXPECT_THAT(file("log"), HasSubstr(" faults_victim+0x"));
}

TEST_F(FailingCallsTest, ACrashIsNamedAndEndsTheProgramAsItWould)
{
    ChildProcess victim(commandLine("log to " + path("log"), {"crash"}));
    EXPECT_EQ(victim.wait(), Ending({-1, SIGSEGV}));
    EXPECT_THAT(file("log"), StartsWith("crashed 11 "));
    EXPECT_THAT(file("log"), HasSubstr(" faults_victim+0x"));
}

TEST_F(FailingCallsTest, AWrongPlanEndsTheProgramAtOnce)
{
    ChildProcess victim(commandLine("fail everything", {"read"}));
    EXPECT_EQ(victim.wait(), Ending({2, 0}));
    EXPECT_EQ(victim.output(), "");
    EXPECT_THAT(victim.errors(),
                StartsWith("faults: " + path("plan") + ":1: 'everything', where there should be one of "));
}

TEST_F(FailingCallsTest, AMissingPlanEndsTheProgramAtOnce)
{
    std::vector<std::string> line = commandLine("", {"read"});
    line[2] = "ORVANE_LAB_FAULTS=" + path("nothing");
    ChildProcess victim(line);
    EXPECT_EQ(victim.wait(), Ending({2, 0}));
    EXPECT_EQ(victim.errors(), "faults: " + path("nothing") + ": No such file or directory\n");
}

TEST_F(FailingCallsTest, WhatIsStillOpenAtTheExitIsNamed)
{
    outputOf("descriptors to " + path("descriptors"), {"read", "keep"});
    const std::string open = file("descriptors");
    EXPECT_THAT(open, HasSubstr("\n/dev/zero\n"));
    EXPECT_EQ(open.find("/dev/zero"), open.rfind("/dev/zero"));  // "read" has closed it
}
