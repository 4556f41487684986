#include "tests/support/ChildProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace {

/// The whole desk: unit, service, bus and log in a sandbox, as a newcomer runs it.
class DeskTest : public testing::Test {
protected:
    void SetUp() override
    {
        ChildProcess probe({kSandbox, "true"});
        if (probe.wait() != ChildProcess::Ending{0, 0}) GTEST_SKIP() << probe.errors();
    }

    /// Status of the desk; its output is kept.
    int run(std::vector<std::string> command)
    {
        command.insert(command.begin(), {kSandbox, "--bind", ORVANE_BUILD_DIR, "--"});
        ChildProcess process(command);
        const ChildProcess::Ending ending = process.wait();
        m_output = process.output();
        EXPECT_EQ(ending.signal, 0);
        EXPECT_EQ(process.errors(), "");
        return ending.status;
    }

    /// The number in front of a word of the sum; -1 if it isn't there.
    int counted(const std::string& pattern) const
    {
        std::smatch match;
        return std::regex_search(m_output, match, std::regex(pattern)) ? std::stoi(match[1]) : -1;
    }

    static inline const std::string kSandbox = ORVANE_LAB_DIR "/sandbox";
    static inline const std::string kDesk = ORVANE_LAB_DIR "/desk";
    /// Interrupted as by a terminal, once a join is recorded and the service heeds signals.
    static inline const std::string kUntilAJoin = R"(
        setsid env --default-signal=INT "$0" --build "$1" --seconds forever & desk=$!
        until grep -qs '"timeOfValidity":{' /tmp/desk/bus && name=$(grep -lsx OrvaneServer /proc/[0-9]*/comm) &&
              grep -qs '^SigCgt:.*[2367abef]$' "${name%comm}status"; do sleep 0.1; done
        kill -s INT -- -$desk
        wait $desk)";
    /// The names of those that have the page's socket open, once the page is served.
    static inline const std::string kHoldersOfThePage = R"sh(
        setsid env --default-signal=INT python3 -c 'import os, socket, sys
place = socket.create_server(("127.0.0.1", 0))
print(os.fstat(place.fileno()).st_ino, file=open("/tmp/inode", "w"))
os.dup2(place.fileno(), 3)
os.set_inheritable(3, True)
os.execvp(sys.argv[1], sys.argv[1:])' "$0" --build "$1" --seconds forever --page 3 >/tmp/said & desk=$!
        until [ -S /tmp/desk/control ] && grep -qs 'the page is at' /tmp/said; do sleep 0.1; done
        read -r inode </tmp/inode
        for descriptor in /proc/[0-9]*/fd/*; do
            [ "$(readlink "$descriptor")" != "socket:[$inode]" ] || cat "${descriptor%fd/*}comm" 2>/dev/null
        done
        kill -s INT -- -$desk
        wait $desk
        true)sh";
    std::string m_output;
};

}  // namespace

TEST_F(DeskTest, ShowsWhatIsPublishedSaidAndReportedAndSumsItUp)
{
    EXPECT_EQ(run({kDesk, "--build", ORVANE_BUILD_DIR, "--seconds", "6"}), 0) << m_output;
    EXPECT_THAT(m_output, HasSubstr("service | OrvaneServer KPN: "));
    EXPECT_THAT(m_output, ContainsRegex("event   \\| EventLog .* OrvaneServer started successfully\\."));
    EXPECT_THAT(m_output, ContainsRegex("bus     \\| [0-9]+ blended-navigation  20[0-9][0-9]-[0-9-]+ [0-9:.]+  gps s "
                                        "[0-9.]+  fom [0-9].*  efom .*  horizontal m [0-9].*  horizontal m/s [0-9].*"
                                        "  gps [0-9].*  sources [1-9][0-9]* \\["));
    const int joins = counted("desk: joined the inputs ([0-9]+) times");
    EXPECT_GE(joins, 1) << m_output;
    // What is told at the start has been replaced already if the recorder comes after the first join.
    const int published = counted("published ([0-9]+) Blended Navigation");
    EXPECT_TRUE(published == joins + 1 || published == joins) << m_output;
    EXPECT_GE(counted("sent ([0-9]+) events"), 3) << m_output;
    EXPECT_GE(counted("the unit has sent ([0-9]+) PositionVelocityAttitude"), joins) << m_output;
    EXPECT_THAT(m_output, HasSubstr("desk: the service's last line: !!!!!! "));
    EXPECT_THAT(m_output, HasSubstr("OrvaneServer has exited. Signal: 15\n"));
    EXPECT_THAT(m_output, HasSubstr("desk: the service has ended with status 0\n"));
}

TEST_F(DeskTest, ForeverEndsInOrderOnAnInterrupt)
{
    EXPECT_EQ(run({"/bin/sh", "-c", kUntilAJoin, kDesk, ORVANE_BUILD_DIR}), 0) << m_output;
    EXPECT_THAT(m_output, ContainsRegex("OrvaneServer has exited\\. Signal: (2|15)\n"));
    EXPECT_THAT(m_output, HasSubstr("desk: the service has ended with status 0\n"));
    EXPECT_GE(counted("desk: joined the inputs ([0-9]+) times"), 1) << m_output;
}

TEST_F(DeskTest, ARunAfterOneThatEndedBadlyIsCountedAsAnyOther)
{
    const std::string badRun = R"(
        file=/opt/halvex/config/Connections.xml
        cp $file /tmp/whole
        sed 's/<Name>MaintenanceEvent</<Name>Hidden</' /tmp/whole >$file
        "$0" --build "$1" --seconds 60 >/dev/null 2>&1 && echo no trouble
        [ -S /tmp/bus ] || echo no bus is left
        cat /tmp/whole >$file)";
    EXPECT_EQ(run({"/bin/sh", "-c", badRun + kUntilAJoin, kDesk, ORVANE_BUILD_DIR}), 0) << m_output;
    EXPECT_THAT(m_output, Not(HasSubstr("no trouble")));
    EXPECT_THAT(m_output, Not(HasSubstr("no bus is left")));
    EXPECT_GE(counted("desk: joined the inputs ([0-9]+) times"), 1) << m_output;
}

TEST_F(DeskTest, ARunWithoutABusCountsNothing)
{
    // After a run that had one, and where there was none before.
    for (const char* const before :
         {R"(mkdir /tmp/desk; echo '{"tell":"blended-navigation","record":{"timeOfValidity":{"a":1}}}' >/tmp/desk/bus)",
          ""}) {
        const std::string script = std::string(before) + R"(
            rm /opt/halvex/config/OrvaneServer.xml
            "$0" --build "$1" --seconds 60 2>/dev/null)";
        EXPECT_NE(run({"/bin/sh", "-c", script, kDesk, ORVANE_BUILD_DIR}), 0) << m_output;
        EXPECT_THAT(m_output, HasSubstr("desk: joined the inputs 0 times; published 0 Blended Navigation, 0 NavWar "
                                        "awareness, 0 warnings, 0 system configurations; "));
    }
}

TEST_F(DeskTest, WhatKeepsTheUnitFromBeingPlayedIsTold)
{
    run({kDesk, "--build", ORVANE_BUILD_DIR, "--seconds", "1", "--", "--no-such-option"});
    EXPECT_THAT(m_output, HasSubstr("unit-sim: no option \"--no-such-option\""));
}

TEST_F(DeskTest, SecondsThatAreNoneAreRefused)
{
    ChildProcess process({kDesk, "--seconds", "soon"});
    EXPECT_EQ(process.wait(), (ChildProcess::Ending{2, 0}));
    EXPECT_EQ(process.errors(), "desk: --seconds soon: neither a number nor forever\n");
}

TEST_F(DeskTest, RecordingsThatCanBeNoneAreRefused)
{
    const auto refusal = [](const std::vector<std::string>& words) {
        std::vector<std::string> command{kDesk, "--build", ORVANE_BUILD_DIR};
        command.insert(command.end(), words.begin(), words.end());
        ChildProcess process(command);
        EXPECT_EQ(process.wait(), (ChildProcess::Ending{2, 0}));
        return process.errors();
    };
    EXPECT_EQ(refusal({"--record", kDesk}), "desk: --record " + kDesk + ": it is there already\n");
    EXPECT_EQ(refusal({"--play", "/no.mcap"}), "desk: --play /no.mcap: it is not there, or can't be read\n");
    EXPECT_EQ(refusal({"--play", kDesk, "--", "--quiet"}),
              "desk: --play " + kDesk + ": options of unit-sim are not for it\n");
}

TEST_F(DeskTest, PortsAreRecordedHoweverTheFileWritesThem)
{
    const std::string script = R"(
        sed -i 's/<Port>5</<Port>0x05</; s/<Port>6</<Port>006</' /opt/halvex/config/IODevices.xml
        "$0" --build "$1" --seconds 3 --record /tmp/drive.mcap &&
            "$1/lab/ctl/orvanectl" info /tmp/drive.mcap)";
    EXPECT_EQ(run({"/bin/sh", "-c", script, kDesk, ORVANE_BUILD_DIR}), 0) << m_output;
    EXPECT_THAT(m_output, ContainsRegex("queue/ZEN_HX +[1-9]"));
}

TEST_F(DeskTest, APortThatIsNoneIsRefused)
{
    const std::string script = R"(
        sed -i 's/<Port>6</<Port>6x</' /opt/halvex/config/IODevices.xml
        "$0" --build "$1" --record /tmp/drive.mcap 2>&1)";
    EXPECT_EQ(run({"/bin/sh", "-c", script, kDesk, ORVANE_BUILD_DIR}), 2) << m_output;
    EXPECT_EQ(m_output, "desk: /opt/halvex/config/IODevices.xml: HX_ZEN/Port: '6x' is no queue number, 0 to 65535\n");
}

TEST_F(DeskTest, APlayThatFailsFailsTheDesk)
{
    EXPECT_NE(run({kDesk, "--build", ORVANE_BUILD_DIR, "--play", kDesk}), 0) << m_output;
    EXPECT_THAT(m_output, HasSubstr("desk: " + kDesk + ": "));
}

TEST_F(DeskTest, TheSocketOfThePageIsHeldByThePageAlone)
{
    EXPECT_EQ(run({"/bin/sh", "-c", kHoldersOfThePage, kDesk, ORVANE_BUILD_DIR}), 0) << m_output;
    EXPECT_EQ(m_output, "orvanectl\n");
}
