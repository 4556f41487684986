#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

using Ending = ChildProcess::Ending;

namespace {

std::string textOf(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string outputOf(const std::vector<std::string>& command)
{
    ChildProcess process(command);
    process.wait();
    return process.output();
}

/// A terminal of 80 by 24 cells on this test's own unit, by tmux, in which the tool runs.
struct TopVerbTest : testing::Test {
    ~TopVerbTest() override { tmux({"kill-server"}); }

    static std::string tmux(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"/usr/bin/tmux", "-L", "top", "-f", "/dev/null"});
        return outputOf(arguments);
    }

    /// Runs it, writes what it ended with, and the settings of the terminal before and behind it.
    static void start(const std::string& arguments = "--socket /tmp/bus", const std::string& environment = "")
    {
        const std::string script = "trap : INT QUIT HUP; stty -a >/tmp/before; " + environment +
                                   " \"" ORVANE_CTL_BINARY "\" top " + arguments +
                                   " 2>/tmp/errors; echo $? >/tmp/status; stty -a >/tmp/after; exec cat";
        std::ofstream("/tmp/script") << script;
        const auto isThere = [] { return !tmux({"display-message", "-p", "-t", "0", "#{pane_pid}"}).empty(); };
        // On a busy machine a server that has just begun may be gone again, with its session.
        EXPECT_TRUE(eventually([&] {
            if (!isThere()) tmux({"new-session", "-d", "-x", "80", "-y", "24", "/bin/sh /tmp/script"});
            return isThere();
        }));
    }

    static void press(const std::string& key) { tmux({"send-keys", "-t", "0", key}); }

    static std::string screen() { return tmux({"capture-pane", "-p", "-t", "0"}); }

    /// The window is told at once, and the terminal in it some time later.
    static void resize(const std::string& columns, const std::string& rows)
    {
        tmux({"resize-window", "-t", "0", "-x", columns, "-y", rows});
        const std::string terminal = tmux({"display-message", "-p", "-t", "0", "#{pane_tty}"});
        const std::string device = terminal.substr(0, terminal.find('\n'));
        EXPECT_TRUE(eventually([&] {
            return outputOf({"/bin/stty", "-F", device, "size"}) == rows + ' ' + columns + '\n';
        }));
    }

    static bool isColoured()
    {
        return tmux({"capture-pane", "-p", "-e", "-t", "0"}).find("\x1B[36m") != std::string::npos;
    }

    static bool shows(const std::string& text)
    {
        return eventually([&] { return screen().find(text) != std::string::npos; });
    }

    /// Waits for the end, and tells the status; the terminal must be as it was.
    static std::string ended()
    {
        EXPECT_TRUE(eventually([] { return !textOf("/tmp/after").empty(); })) << screen();
        EXPECT_NE(textOf("/tmp/before"), "");
        EXPECT_EQ(textOf("/tmp/after"), textOf("/tmp/before"));
        EXPECT_EQ(tmux({"display-message", "-p", "-t", "0", "#{alternate_on} #{cursor_flag}"}), "0 1\n");
        return textOf("/tmp/status");
    }

    static std::string processId()
    {
        return outputOf(
            {"/bin/sh", "-c", "grep -lx orvanectl /proc/[0-9]*/comm | head -n 1 | cut -d/ -f3 | tr -d '\\n'"});
    }

    /// "T" for a process that is stopped.
    static std::string stateOf(const std::string& id)
    {
        return outputOf(
            {"/bin/sh", "-c", "sed -n 's/^State:[^A-Z]*\\([A-Z]\\).*/\\1/p' /proc/" + id + "/status | tr -d '\\n'"});
    }

    static void send(const std::string& signal)
    {
        const std::string id = processId();
        ASSERT_NE(id, "");
        outputOf({"/bin/sh", "-c", "kill -s " + signal + ' ' + id});
    }
};

}  // namespace

TEST_F(TopVerbTest, TheWholeUnitIsSeenAtAnySizeAndKeysWork)
{
    ChildProcess desk({ORVANE_LAB_DIR "/desk", "--build", ORVANE_BUILD_DIR, "--seconds", "forever"});
    start();
    const auto hasRate = [] {
        const std::string text = screen();
        const std::size_t name = text.find("MeasurementIncorporationStatus");
        const std::size_t rate = text.find_first_not_of(' ', name == std::string::npos ? name : name + 30);
        return rate != std::string::npos && text[rate] >= '0' && text[rate] <= '9';
    };
    ASSERT_TRUE(eventually(hasRate)) << screen();
    ASSERT_TRUE(shows("MasterClock (37)")) << screen();
    EXPECT_TRUE(shows("BUS service 1 star")) << screen();
    EXPECT_TRUE(shows("join rate ")) << screen();
    EXPECT_TRUE(shows("  CPU ")) << screen();
    EXPECT_TRUE(shows(" threads")) << screen();
    EXPECT_TRUE(eventually([] { return screen().find("ZEN_HX /dev/mcs5  written 0 ") == std::string::npos; }))
        << screen();

    tmux({"resize-window", "-t", "0", "-x", "120", "-y", "40"});
    EXPECT_TRUE(shows("GAPS  MISSING  BACK  LOST  RECORDS  PUBS FROM")) << screen();
    EXPECT_TRUE(shows(" faults 0  unit-sim rw, OrvaneServer rw")) << screen();
    tmux({"resize-window", "-t", "0", "-x", "80", "-y", "24"});
    EXPECT_TRUE(shows("GAPS FROM")) << screen();
    tmux({"resize-window", "-t", "0", "-x", "40", "-y", "10"});
    EXPECT_TRUE(shows("orvanectl top: at least")) << screen();
    resize("80", "24");
    EXPECT_TRUE(shows("GAPS FROM")) << screen();

    press("h");
    EXPECT_TRUE(shows("q        quit")) << screen();
    press("x");
    EXPECT_TRUE(shows("TOPIC  ")) << screen();
    press("s");
    EXPECT_TRUE(shows("TOPIC*")) << screen();
    press("r");
    EXPECT_TRUE(shows("TOPIC^")) << screen();
    press("p");
    EXPECT_TRUE(shows("PAUSED")) << screen();
    press("p");
    EXPECT_TRUE(shows("h help")) << screen();
    EXPECT_TRUE(shows("\n8504 ")) << screen();
    EXPECT_TRUE(shows("  refused 0  ")) << screen();
    const auto isTaken = [](const char* request) {
        ChildProcess client({ORVANE_CTL_BINARY, "bus", "--socket", "/tmp/bus", request});
        return client.wait() == Ending({0, 0});
    };
    EXPECT_TRUE(eventually([&] { return isTaken("bit-run"); }));  // the unit's own test must be over
    EXPECT_TRUE(eventually([&] {
        return isTaken("bit-results") && screen().find("  built-in test: 0 passed ") != std::string::npos;
    })) << screen();
    EXPECT_TRUE(isTaken("clear-data"));
    EXPECT_TRUE(shows("clear data: done (warning 22) ")) << screen();
    EXPECT_TRUE(shows(" INFORMATION OrvaneServer: Clear data complete ")) << screen();
    EXPECT_TRUE(shows("1-5 of ")) << screen();
    press("]");
    EXPECT_TRUE(eventually([] { return screen().find("1-5 of ") == std::string::npos; })) << screen();
    press("Down");
    press("Enter");
    EXPECT_TRUE(shows("(Esc leaves")) << screen();
    EXPECT_TRUE(shows("timestamp_valid: sec ")) << screen();
    press("Escape");
    EXPECT_TRUE(shows("TOPIC^")) << screen();
    press("q");
    EXPECT_EQ(ended(), "0\n");
    EXPECT_EQ(textOf("/tmp/errors"), "");
    desk.send(SIGTERM);
    desk.wait();
}

TEST_F(TopVerbTest, WithoutAServiceItSaysSoAndEndsByASignal)
{
    start();
    EXPECT_TRUE(shows("no OrvaneServer")) << screen();
    EXPECT_TRUE(shows("BUS no bus at /tmp/bus")) << screen();
    EXPECT_TRUE(shows("no UTCTime")) << screen();
    send("TERM");
    EXPECT_EQ(ended(), "0\n");
}

TEST_F(TopVerbTest, HoweverItIsEndedTheTerminalIsAsItWas)
{
    const auto endsBy = [](const std::function<void()>& end) {
        for (const char* const file : {"/tmp/before", "/tmp/status", "/tmp/after"}) std::filesystem::remove(file);
        start();
        ASSERT_TRUE(shows("no OrvaneServer")) << screen();
        end();
        EXPECT_EQ(ended(), "0\n");
        const std::string server = tmux({"display-message", "-p", "#{pid}"});
        const std::string process = "/proc/" + server.substr(0, server.find('\n'));
        tmux({"kill-server"});
        // It may still take a new session, and lose that.
        ASSERT_TRUE(eventually([&] { return textOf(process + "/cmdline").empty(); }));
    };
    endsBy([] { press("C-c"); });
    endsBy([] { press("C-\\"); });
    endsBy([] { send("HUP"); });
    endsBy([] { send("QUIT"); });
}

TEST_F(TopVerbTest, AfterTheTimeThatItWasGivenTheTerminalIsAsItWas)
{
    start("--for 1");
    EXPECT_EQ(ended(), "0\n");
    EXPECT_EQ(textOf("/tmp/errors"), "");
}

TEST_F(TopVerbTest, StoppedFromOutsideItDrawsAllAnewWhenItGoesOn)
{
    start();
    ASSERT_TRUE(shows("no OrvaneServer")) << screen();
    send("STOP");
    ASSERT_TRUE(eventually([] { return stateOf(processId()) == "T"; }));
    resize("120", "30");
    tmux({"send-keys", "-t", "0", "-R"});  // what was on the screen is gone
    ASSERT_TRUE(eventually([] { return screen().find("no OrvaneServer") == std::string::npos; })) << screen();
    send("CONT");
    EXPECT_TRUE(shows("no OrvaneServer")) << screen();
    EXPECT_TRUE(shows("RECORDS  PUBS FROM")) << screen();
    resize("80", "24");
    press("q");
    EXPECT_EQ(ended(), "0\n");
}

TEST_F(TopVerbTest, AFaultGivesTheTerminalBack)
{
#ifdef ORVANE_SANITIZED
    GTEST_SKIP() << "the sanitizer handles faults itself";
#endif
    start();
    ASSERT_TRUE(shows("no OrvaneServer")) << screen();
    send("SEGV");
    EXPECT_EQ(ended(), "139\n");
}

TEST_F(TopVerbTest, ASignalThatNobodyUsesGivesTheTerminalBack)
{
    start();
    ASSERT_TRUE(shows("no OrvaneServer")) << screen();
    send("USR1");
    EXPECT_EQ(ended(), "138\n");
}

TEST_F(TopVerbTest, StoppedItGivesTheTerminalBackAndGoesOn)
{
    const auto type = [](const std::string& line) { tmux({"send-keys", "-t", "0", line, "Enter"}); };
    const auto state = [] { return tmux({"display-message", "-p", "-t", "0", "#{alternate_on} #{cursor_flag}"}); };
    tmux({"new-session", "-d", "-x", "80", "-y", "24", "/bin/bash --norc --noprofile -i"});
    type("stty -a >/tmp/before");
    type("\"" ORVANE_CTL_BINARY "\" top");
    ASSERT_TRUE(shows("no OrvaneServer")) << screen();
    press("C-z");
    EXPECT_TRUE(shows("Stopped")) << screen();
    EXPECT_EQ(state(), "0 1\n");
    type("fg");
    EXPECT_TRUE(shows("no OrvaneServer")) << screen();
    EXPECT_TRUE(eventually([&] { return state() == "1 0\n"; })) << state();
    press("q");
    EXPECT_TRUE(eventually([&] { return state() == "0 1\n"; })) << state();
    type("echo $? >/tmp/status; stty -a >/tmp/after");
    EXPECT_EQ(ended(), "0\n");
}

TEST_F(TopVerbTest, ATerminalWithColoursGetsThem)
{
    start("", "unset NO_COLOR; TERM=screen-256color");
    ASSERT_TRUE(shows("no OrvaneServer")) << screen();
    EXPECT_TRUE(isColoured());
}

TEST_F(TopVerbTest, WithNoColorItGetsNone)
{
    start("", "export NO_COLOR=1; TERM=screen-256color");
    ASSERT_TRUE(shows("no OrvaneServer")) << screen();
    EXPECT_FALSE(isColoured());
}

TEST_F(TopVerbTest, ATerminalOfNoKnownKindIsNamed)
{
    start("", "TERM=nonesuch");
    EXPECT_EQ(ended(), "1\n");
    EXPECT_EQ(textOf("/tmp/errors"), "orvanectl: no such kind of terminal: TERM is \"nonesuch\"\n");
}

TEST_F(TopVerbTest, ATerminalThatCannotBeDrawnOnIsNamed)
{
    start("", "TERM=dumb");
    EXPECT_EQ(ended(), "1\n");
    EXPECT_EQ(textOf("/tmp/errors"), "orvanectl: this kind of terminal can't be drawn on: TERM is \"dumb\"\n");
}

TEST_F(TopVerbTest, AFileThatTheServiceDoesNotTakeEndsBeforeTheScreen)
{
    start("/tmp/missing.xml");
    EXPECT_EQ(ended(), "1\n");
    EXPECT_EQ(textOf("/tmp/errors"),
              "orvanectl: /tmp/missing.xml: the service doesn't take this file; orvanectl check tells why\n");
}

TEST_F(TopVerbTest, WithoutATerminalItIsRefused)
{
    ChildProcess tool({ORVANE_CTL_BINARY, "top"});
    EXPECT_EQ(tool.wait(), Ending({2, 0}));
    EXPECT_EQ(tool.errors(), "orvanectl: top needs a terminal on standard input and output; echo and hz don't\n");
    EXPECT_EQ(tool.output(), "");
}
