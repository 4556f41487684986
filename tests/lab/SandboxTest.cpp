#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr const char* kSandbox = ORVANE_LAB_DIR "/sandbox";

/// Runs commands in the sandbox of one unit; skipped on a machine that can't make namespaces.
class SandboxTest : public testing::Test {
protected:
    void SetUp() override
    {
        ChildProcess probe({kSandbox, "--unit", m_unit, "true"});
        if (probe.wait() != Ending{0, 0}) GTEST_SKIP() << probe.errors();
    }

    using Ending = ChildProcess::Ending;

    std::vector<std::string> sandboxed(const std::string& script) const
    {
        // A shell can't heed a signal that is ignored where the tests are started, and one that comes from here is told
        // only where no terminal tells it as well.
        return {"/usr/bin/setsid",
                "/usr/bin/env",
                "--default-signal=INT,HUP,TERM",
                kSandbox,
                "--unit",
                m_unit,
                "--",
                "/bin/sh",
                "-c",
                script};
    }

    /// What a command prints.
    std::string output(const std::string& script) const
    {
        ChildProcess process(sandboxed(script));
        EXPECT_EQ(process.wait(), (Ending{0, 0})) << process.errors();
        return process.output();
    }

    TemporaryDirectory m_directory;
    std::string m_unit = (m_directory.path() / "unit").string();
};

std::vector<std::string> entries(const fs::path& directory)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

TEST_F(SandboxTest, UnitDirectoryHoldsWhatStandsBehindThePaths)
{
    EXPECT_EQ(entries(m_unit), (std::vector<std::string>{"config", "dev", "shm", "tmp"}));
    EXPECT_EQ(entries(m_unit + "/dev"), (std::vector<std::string>{"mcs5", "mcs6", "mem"}));
    EXPECT_TRUE(fs::is_fifo(m_unit + "/dev/mcs5"));
    EXPECT_EQ(fs::file_size(m_unit + "/dev/mem"), 4294967296U);
    EXPECT_EQ(readFile(m_unit + "/config/IODevices.xml"), readFile(ORVANE_LAB_DIR "/config/IODevices.xml"));
}

TEST_F(SandboxTest, RegisterMemoryTakesNoRoom)
{
    struct stat status {};
    ASSERT_EQ(stat((m_unit + "/dev/mem").c_str(), &status), 0);
    EXPECT_LT(status.st_blocks, 64);
}

TEST_F(SandboxTest, CommandSeesTheUnitAtThePathsOfTheUnit)
{
    EXPECT_EQ(output("test -p /dev/mcs5 && test -p /dev/mcs6 && echo queues"), "queues\n");
    EXPECT_EQ(output("printf x | dd of=/dev/mem bs=1 seek=4096 conv=notrunc 2>/dev/null && echo written"), "written\n");
    EXPECT_EQ(output("touch /tmp/PostComplete /dev/shm/segment && ls /opt/halvex/config/IODevices.xml"),
              "/opt/halvex/config/IODevices.xml\n");
    EXPECT_TRUE(fs::exists(m_unit + "/tmp/PostComplete"));
    EXPECT_TRUE(fs::exists(m_unit + "/shm/segment"));
}

TEST_F(SandboxTest, NextSandboxOfTheUnitSeesWhatTheFirstLeft)
{
    output("echo posted > /tmp/PostComplete; echo changed > /opt/halvex/config/IODevices.xml");
    EXPECT_EQ(output("cat /tmp/PostComplete /opt/halvex/config/IODevices.xml"), "posted\nchanged\n");
}

TEST_F(SandboxTest, OtherPortsGiveOtherQueues)
{
    m_directory.write("unit/config/IODevices.xml", "<Port>0x10</Port>\n<Port> 7 </Port>\n");
    EXPECT_EQ(output("ls /dev/mcs16 /dev/mcs7"), "/dev/mcs16\n/dev/mcs7\n");
}

TEST_F(SandboxTest, PortThatIsNoQueueNumberIsNamed)
{
    m_directory.write("unit/config/IODevices.xml", "<Port>65536</Port>\n");
    ChildProcess process(sandboxed("true"));
    EXPECT_EQ(process.wait(), (Ending{125, 0}));
    EXPECT_NE(process.errors().find("IODevices.xml: Port: '65536' is no queue number"), std::string::npos);
}

TEST_F(SandboxTest, NothingAppearsOnThisMachine)
{
    const auto devices = entries("/dev");
    const auto shared = fs::exists("/dev/shm/orvane-sandbox-test");
    const auto flag = fs::exists("/tmp/orvane-sandbox-test");
    output("touch /dev/orvane-sandbox-test /dev/shm/orvane-sandbox-test /tmp/orvane-sandbox-test");
    EXPECT_EQ(entries("/dev"), devices);
    EXPECT_EQ(fs::exists("/dev/shm/orvane-sandbox-test"), shared);
    EXPECT_EQ(fs::exists("/tmp/orvane-sandbox-test"), flag);
}

TEST_F(SandboxTest, NetworkIsALoopbackDeviceOnly)
{
    EXPECT_EQ(output("sed -n 's/^ *\\([^ ]*\\):.*/\\1/p' /proc/net/dev"), "lo\n");
}

TEST_F(SandboxTest, StatusOfTheCommandIsTheStatus)
{
    EXPECT_EQ(ChildProcess(sandboxed("exit 7")).wait(), (Ending{7, 0}));
    EXPECT_EQ(ChildProcess(sandboxed("kill -SEGV $$")).wait(), (Ending{128 + SIGSEGV, 0}));
}

TEST_F(SandboxTest, SignalsReachTheCommandAndItsStatusComesBack)
{
    for (const auto& [signal, name] : {std::pair{SIGINT, "INT"}, {SIGTERM, "TERM"}, {SIGHUP, "HUP"}}) {
        ChildProcess process(sandboxed(std::string("trap 'echo in order; exit 3' ") + name +
                                       "; echo ready; while :; do sleep 0.05; done"));
        ASSERT_TRUE(eventually([&] { return process.output() == "ready\n"; })) << process.errors();
        process.send(signal);
        EXPECT_EQ(process.wait(), (Ending{3, 0})) << name;
        EXPECT_EQ(process.output(), "ready\nin order\n");
    }
}

TEST_F(SandboxTest, SignalAtTheStartIsNotLost)
{
    ChildProcess process(sandboxed("sleep 600"));
    ASSERT_TRUE(process.waitUntilHandled(SIGTERM));
    process.send(SIGTERM);
    EXPECT_EQ(process.wait(), (Ending{128 + SIGTERM, 0}));
}

TEST_F(SandboxTest, WhatTheCommandLeavesRunningEndsWithIt)
{
    const std::string pipe = (m_directory.path() / "left").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    // Only a process that still runs holds the pipe's end, so that its reader comes to the end once all is over.
    ChildProcess process({kSandbox, "--unit", m_unit, "--bind", pipe, "--", "/bin/sh", "-c",
                          "exec 3>" + pipe + "; setsid sleep 600 & exit 0"});
    ChildProcess reader({"/bin/cat", pipe});
    EXPECT_EQ(process.wait(), (Ending{0, 0})) << process.errors();
    EXPECT_EQ(reader.wait(), (Ending{0, 0}));
}

TEST_F(SandboxTest, ADescriptorThatIsGivenIsOpenForTheCommandAlone)
{
    const std::string pipe = (m_directory.path() / "given").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    // Its reader comes to the end once nobody has it any more, and the command runs on.
    const std::string command = "echo given >&4; exec 4>&-; exec sleep 600";
    ChildProcess process({"/bin/sh", "-c", "exec 4>" + pipe + "; exec \"$@\"", "sh", kSandbox, "--unit", m_unit, "--",
                          "/bin/sh", "-c", command});
    ChildProcess reader({"/bin/cat", pipe});
    EXPECT_EQ(reader.wait(), (Ending{0, 0})) << process.errors();
    EXPECT_EQ(reader.output(), "given\n");
    process.send(SIGKILL);
    EXPECT_EQ(process.wait(), (Ending{-1, SIGKILL}));
}

TEST_F(SandboxTest, KilledSandboxTakesTheCommandWithIt)
{
    const std::string pipe = (m_directory.path() / "left").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    ChildProcess process({kSandbox, "--unit", m_unit, "--bind", pipe, "--", "/bin/sh", "-c",
                          "exec 3>" + pipe + "; echo ready >&3; sleep 600"});
    ChildProcess reader({"/bin/cat", pipe});
    ASSERT_TRUE(eventually([&] { return reader.output() == "ready\n"; })) << process.errors();
    process.send(SIGKILL);
    EXPECT_EQ(process.wait(), (Ending{-1, SIGKILL}));
    EXPECT_EQ(reader.wait(), (Ending{0, 0}));
}

TEST_F(SandboxTest, TemporaryUnitIsRemovedAtTheEnd)
{
    ChildProcess process(
        {"/usr/bin/env", "TMPDIR=" + m_directory.path().string(), kSandbox, "--", "/bin/sh", "-c", "ls /dev/mcs5"});
    EXPECT_EQ(process.wait(), (Ending{0, 0})) << process.errors();
    EXPECT_EQ(process.output(), "/dev/mcs5\n");
    EXPECT_EQ(entries(m_directory.path()), std::vector<std::string>{"unit"});
}

TEST(SandboxCommandLineTest, MissingCommandAndUnknownOptionAreRefused)
{
    for (const char* argument : {"--", "--bogus", "--unit"}) {
        ChildProcess process({kSandbox, argument});
        EXPECT_EQ(process.wait(), (ChildProcess::Ending{125, 0})) << argument;
        EXPECT_NE(process.errors().find("sandbox: "), std::string::npos) << argument;
    }
}

TEST(SandboxCommandLineTest, MachineWithoutNamespacesIsToldClearly)
{
    const TemporaryDirectory tools;
    const std::string bwrap = tools.write("bwrap", "#!/bin/sh\necho 'no permission' >&2\nexit 1\n");
    fs::permissions(bwrap, fs::perms::owner_all);
    const std::string path = tools.path().string() + ":/usr/bin:/bin";
    ChildProcess process({"/usr/bin/env", "PATH=" + path, kSandbox, "true"});
    EXPECT_EQ(process.wait(), (ChildProcess::Ending{125, 0}));
    EXPECT_NE(process.errors().find("bwrap can't make namespaces here: no permission"), std::string::npos);
}
