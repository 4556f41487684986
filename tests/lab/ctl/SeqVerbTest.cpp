#include "lab/ctl/BusLink.h"
#include "tests/lab/libvictory/Program.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <vector>

using Ending = ChildProcess::Ending;

namespace {

/// A bus with a started service, and the tool beside it.
class SeqVerbTest : public testing::Test {
protected:
    void SetUp() override
    {
        const auto clear = [](void*, VapntsService* service, VapntcSystemData*) {
            vapntsTellClearSystemData(service, 3);
            return 7;
        };
        ASSERT_EQ(vapntsInitTellClearSystemDataCallback(m_program.service(), clear, nullptr), 0);
        ASSERT_EQ(vapntsStartService(m_program.service()), 0);
    }

    /// @param bus  another one; empty: that of the service
    Ending run(const std::string& steps, std::vector<std::string> options = {}, const std::string& bus = "")
    {
        options.insert(options.begin(),
                       {ORVANE_CTL_BINARY, "seq", "--socket", bus.empty() ? m_program.busPath() : bus});
        options.push_back(m_directory.write("a.seq", steps));
        ChildProcess tool(options);
        const Ending ending = tool.wait();
        m_output = tool.output();
        m_errors = tool.errors();
        // Its folder is another one in each run.
        for (std::size_t at; (at = m_output.find(m_directory.path().string() + '/')) != std::string::npos;)
            m_output.erase(at, m_directory.path().string().size() + 1);
        return ending;
    }

    /// A program that is run by /bin/sh.
    std::string script(const std::string& name, const std::string& text)
    {
        const std::string path = m_directory.write(name, "#!/bin/sh\n" + text);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }

    Program m_program;
    TemporaryDirectory m_directory;
    std::string m_output;
    std::string m_errors;
};

}  // namespace

TEST_F(SeqVerbTest, WhatComesAsExpectedEndsWithZero)
{
    EXPECT_EQ(run("request clear-data all\nexpect answer \"returned 7\"\nexpect tell clear-system-data \"result 3\"\n"
                  "expect no tell available-outputs for 0.1\n"),
              Ending({0, 0}))
        << m_output << m_errors;
    EXPECT_TRUE(m_output.starts_with("a.seq:1: ok: request clear-data all: clear-data  ok true  returned 7\n"
                                     "a.seq:2: ok: expect answer \"returned 7\": clear-data  ok true  returned 7\n"
                                     "a.seq:3: ok: expect tell clear-system-data \"result 3\": "))
        << m_output;
    EXPECT_NE(m_output.find("\norvanectl: 4 steps: 4 passed, 0 failed, 0 not run, in "), std::string::npos);
}

TEST_F(SeqVerbTest, WhatCameInsteadIsToldAndTheNextStepsAreRun)
{
    EXPECT_EQ(run("request clear-data all\nexpect answer \"returned 8\" within 0.1\nexpect answer\n"), Ending({1, 0}));
    EXPECT_NE(m_output.find("a.seq:2: FAILED: expect answer \"returned 8\" within 0.1: came instead: clear-data  ok "
                            "true  returned 7\na.seq:3: ok: expect answer: "),
              std::string::npos)
        << m_output;
    EXPECT_NE(m_output.find("\norvanectl: 3 steps: 2 passed, 1 failed, 0 not run, in "), std::string::npos);
}

TEST_F(SeqVerbTest, WhatCameBeforeTheLastActionCountsNoMore)
{
    EXPECT_EQ(run("request clear-data\nrequest status\nexpect tell clear-system-data within 0.1\n"), Ending({1, 0}));
    EXPECT_NE(m_output.find("within 0.1: nothing of the kind came\n"), std::string::npos) << m_output;
}

TEST_F(SeqVerbTest, ActionThatFailsEndsTheSequence)
{
    EXPECT_EQ(run("request bit-run\nwait 60\n"), Ending({1, 0}));
    EXPECT_TRUE(m_output.starts_with("a.seq:1: FAILED: request bit-run: bit-run  ok false  error ")) << m_output;
    EXPECT_NE(m_output.find("a.seq:2: not run: wait 60\n"), std::string::npos);
}

TEST_F(SeqVerbTest, WhatIsNotThereIsNamed)
{
    const std::string control = (m_directory.path() / "none").string();
    EXPECT_EQ(run("sim gps-lost\n", {"--control", control}), Ending({1, 0}));
    EXPECT_NE(m_output.find("a.seq:1: FAILED: sim gps-lost: no unit-sim at "), std::string::npos) << m_output;
    EXPECT_EQ(run("key a\n"), Ending({1, 0}));
    EXPECT_NE(m_output.find("no service was started here, and --terminal names none"), std::string::npos) << m_output;
    EXPECT_EQ(run("start\n", {"--service", control}), Ending({1, 0}));
    EXPECT_NE(m_output.find("there is no such program; --service names it"), std::string::npos) << m_output;
}

TEST_F(SeqVerbTest, BusOfAServiceThatRunsIsLeftAlone)
{
    EXPECT_EQ(run("start\n", {"--service", "/bin/true"}), Ending({1, 0}));
    EXPECT_NE(m_output.find("a service runs at " + m_program.busPath() + " already"), std::string::npos) << m_output;
    EXPECT_EQ(run("request status\n"), Ending({0, 0})) << m_output;
}

TEST_F(SeqVerbTest, NothingIsRunOfFilesOfWhichOneIsWrong)
{
    const std::string good = m_directory.write("good.seq", "request clear-data\n");
    EXPECT_EQ(run("wait 1\nexpect warnng 5\n", {good}), Ending({2, 0}));
    EXPECT_EQ(m_output, "");
    EXPECT_EQ(m_errors, "orvanectl: " + m_directory.path().string() +
                            "/a.seq:2: 'warnng' is nothing to expect; did you mean warning?\n");
}

TEST_F(SeqVerbTest, ReportsAreWrittenAsJsonAndJunit)
{
    const std::string report = (m_directory.path() / "report.xml").string();
    EXPECT_EQ(run("request status\n", {"--json", "--junit", report}), Ending({0, 0})) << m_errors;
    EXPECT_TRUE(
        m_output.starts_with(R"({"kind":"step","file":"a.seq","line":1,"step":"request status","outcome":"ok")"))
        << m_output;
    EXPECT_NE(readFile(report).find("tests=\"1\" failures=\"0\" skipped=\"0\""), std::string::npos);
}

TEST_F(SeqVerbTest, SignalEndsASequenceThatWaits)
{
    const std::string file = m_directory.write("a.seq", "request status\nwait 600\n");
    ChildProcess tool({ORVANE_CTL_BINARY, "seq", "--socket", m_program.busPath(), file});
    ASSERT_TRUE(eventually([&] { return tool.output().find("status") != std::string::npos; }));
    tool.send(SIGINT);
    EXPECT_EQ(tool.wait(), (Ending{1, 0}));
    EXPECT_NE(tool.output().find(":2: FAILED: wait 600: was interrupted\n"), std::string::npos) << tool.output();
}

TEST_F(SeqVerbTest, ServiceThatHasGoneEndsASequenceThatExpectsNothing)
{
    const std::string file =
        m_directory.write("a.seq", "request status\nexpect no tell navwar-sa for 600\nrequest status\n");
    ChildProcess tool({ORVANE_CTL_BINARY, "seq", "--socket", m_program.busPath(), file});
    ASSERT_TRUE(eventually([&] { return tool.output().find("status") != std::string::npos; }));
    // Where there is to be no bus, the library closes the one that it has.
    ::setenv("ORVANE_LAB_BUS", "", 1);
    vapntsDeleteService(vapntsNewService(kConfiguration, vclWith("1000", "1000").c_str()));
    EXPECT_EQ(tool.wait(), (Ending{1, 0}));
    EXPECT_NE(tool.output().find(":2: FAILED: expect no tell navwar-sa for 600: the bus at " + m_program.busPath() +
                                 " has closed\n"),
              std::string::npos)
        << tool.output();
    EXPECT_NE(tool.output().find(":3: not run: request status\n"), std::string::npos) << tool.output();
}

TEST_F(SeqVerbTest, UnitThatDoesNotStartIsToldWithItsStatus)
{
    EXPECT_EQ(run("unit\n", {"--unit-sim", script("dies", "exit 3")}), Ending({1, 0}));
    EXPECT_NE(m_output.find("a.seq:1: FAILED: unit: unit-sim has ended with status 3\n"), std::string::npos)
        << m_output;
}

TEST_F(SeqVerbTest, ServiceThatDoesNotStartIsToldWithItsLastLine)
{
    const std::string config = m_directory.write(
        "c.xml", "<a><b><Name>OrvaneServer</Name><Parameters><PARAM_2>false</PARAM_2></Parameters></b></a>");
    const std::string bus = (m_directory.path() / "bus").string();
    EXPECT_EQ(run("start\n", {"--config", config, "--service", script("dies", "echo why; exit 4")}, bus),
              Ending({1, 0}));
    EXPECT_NE(m_output.find("a.seq:1: FAILED: start: the service has ended with status 4; its last line: why\n"),
              std::string::npos)
        << m_output;
}

TEST_F(SeqVerbTest, LinesForAUnitNeedNoBus)
{
    const std::string none = (m_directory.path() / "none").string();
    EXPECT_EQ(run("sim gps-lost\n", {"--control", none}, none), Ending({1, 0}));
    EXPECT_NE(m_output.find("a.seq:1: FAILED: sim gps-lost: no unit-sim at "), std::string::npos) << m_output;
    EXPECT_EQ(run("wait 0.01\nexpect answer\n", {}, none), Ending({1, 0}));
    EXPECT_NE(m_output.find("a.seq:1: FAILED: wait 0.01: no bus at "), std::string::npos) << m_output;
}

TEST_F(SeqVerbTest, SecondSignalHurriesTheEndAndLeavesNothing)
{
    const std::string temporary = (m_directory.path() / "tmp").string(),
                      ended = (m_directory.path() / "ended").string();
    std::filesystem::create_directory(temporary);
    ::setenv("TMPDIR", temporary.c_str(), 1);
    const std::string stubborn =
        script("stubborn", "trap 'touch " + ended + "' TERM\ntouch " + ended + ".not\nwhile :; do sleep 0.1; done");
    const std::string file = m_directory.write("a.seq", "unit\nwait 1\n");
    ChildProcess tool({ORVANE_CTL_BINARY, "seq", "--unit-sim", stubborn, file});
    ::unsetenv("TMPDIR");
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(ended + ".not"); })) << tool.output() << tool.errors();
    EXPECT_FALSE(std::filesystem::is_empty(temporary));
    tool.send(SIGINT);
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(ended); })) << tool.output();
    tool.send(SIGINT);
    EXPECT_EQ(tool.wait(), (Ending{1, 0}));
    EXPECT_NE(tool.output().find("orvanectl: 2 steps: 0 passed, 1 failed, 1 not run, in "), std::string::npos)
        << tool.output();
    EXPECT_TRUE(std::filesystem::is_empty(temporary));
}

TEST_F(SeqVerbTest, StepThatTakesLongIsShownAtATerminal)
{
    const int shown = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_TRUE(::grantpt(shown) == 0 && ::unlockpt(shown) == 0);
    const std::string file = m_directory.write("a.seq", "wait 600\n");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_directory.path());
    ChildProcess tool({ORVANE_CTL_BINARY, "seq", "a.seq"}, "/dev/null", ::ptsname(shown));
    std::filesystem::current_path(before);
    std::string text;
    pollfd waiting{shown, POLLIN, 0};
    while (text.find(" s") == std::string::npos && ::poll(&waiting, 1, 30'000) > 0) {
        char piece[256];
        const ssize_t count = ::read(shown, piece, sizeof piece);
        ASSERT_GT(count, 0);
        text.append(piece, static_cast<std::size_t>(count));
    }
    EXPECT_TRUE(text.starts_with("\r\033[Korvanectl: a.seq:1: wait 600, ")) << text;
    tool.send(SIGINT);
    EXPECT_EQ(tool.wait(), (Ending{1, 0}));
    ::close(shown);
}
