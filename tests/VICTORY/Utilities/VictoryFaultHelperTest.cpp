#include "VICTORY/Utilities/VictoryFaultHelper.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <pty.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <type_traits>
#include <unistd.h>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::deque<int> s_keys;  // that wait

int waitingKeys()
{
    return static_cast<int>(s_keys.size());
}

int nextKey()
{
    const int key = s_keys.front();
    s_keys.pop_front();
    return key;
}

/// A call of the library as "operation(arguments)".
std::string textOf(const VictoryRecorder::Call& call)
{
    if (call.arguments.size() == 2)
        return call.operation + "(" + std::to_string(call.number(0)) + ", " + std::to_string(call.number(1)) + ")";
    std::string text = call.operation + "(" + call.text(0);
    for (std::size_t i = 1; i < call.arguments.size(); ++i) text += ", " + std::to_string(call.number(i));
    return text + ")";
}

struct VictoryFaultHelperTest : testing::Test {
    VictoryFaultHelperTest() { s_keys.clear(); }

    void offerAll() { offerAll(helper); }
    void offerAll(VictoryFaultHelper& to)
    {
        to.SetAvailableService<VpossService>(victory.poss());
        to.SetAvailableService<VorisService>(victory.oris());
        to.SetAvailableService<VdotsService>(victory.dots());
        to.SetAvailableService<VgpssService>(victory.gpss());
        to.SetAvailableService<VgensService>(victory.gens());
        to.SetAvailableService<VapntsService>(apnts);
    }

    /// What the console shows while the keys are taken, one a turn.
    std::string press(const std::string& keys)
    {
        const ConsoleCapture console(std::cout);
        for (const char key : keys) {
            s_keys.push_back(static_cast<unsigned char>(key));
            helper.ManageFaults(tellDisabled);
        }
        return console.text();
    }

    std::vector<std::string> calls() const
    {
        std::vector<std::string> texts;
        for (const auto& call : victory.calls()) texts.push_back(textOf(call));
        return texts;
    }

    VictoryRecorder victory;
    VapntsService* apnts = victory.newService();
    bool tellDisabled = false;
    VictoryFaultHelper helper{"SN", {&waitingKeys, &nextKey}};
};

/// A terminal of the process's own as its standard input.
class Terminal {
public:
    Terminal()
    {
        int slave = -1;
        if (openpty(&m_master, &slave, nullptr, nullptr, nullptr) != 0) std::abort();
        dup2(slave, STDIN_FILENO);
        close(slave);
    }

    void type(const std::string& keys) const
    {
        if (write(m_master, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) std::abort();
    }

    /// How many bytes, and how many tenths of a second, a read of keys waits for.
    void setWaiting(cc_t bytes, cc_t tenths) const
    {
        termios changed = settings();
        changed.c_cc[VMIN] = bytes;
        changed.c_cc[VTIME] = tenths;
        if (tcsetattr(STDIN_FILENO, TCSANOW, &changed) != 0) std::abort();
    }

    void hangUp() const { close(m_master); }

    /// What is in force.
    static termios settings()
    {
        termios settings = {};
        if (tcgetattr(STDIN_FILENO, &settings) != 0) std::abort();
        return settings;
    }

private:
    int m_master = -1;
};

bool areSame(const termios& a, const termios& b)
{
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag && a.c_lflag == b.c_lflag &&
           a.c_line == b.c_line && std::ranges::equal(a.c_cc, b.c_cc) && cfgetispeed(&a) == cfgetispeed(&b) &&
           cfgetospeed(&a) == cfgetospeed(&b);
}

using VictoryFaultHelperDeathTest = VictoryFaultHelperTest;

/// Ends a child process, with a text as the proof of what it found.
[[noreturn]] void conclude(const std::string& text)
{
    std::cerr << text << std::flush;
    std::_Exit(0);
}

}  // namespace

static_assert(std::has_virtual_destructor_v<VictoryFaultHelper>);

TEST_F(VictoryFaultHelperTest, WithoutAKeyNothingHappens)
{
    const ConsoleCapture console(std::cout);
    helper.ManageFaults(tellDisabled);
    EXPECT_EQ(console.text(), "");
}

TEST_F(VictoryFaultHelperTest, OneKeyIsTakenATurn)
{
    const ConsoleCapture console(std::cout);
    s_keys = {'1', '2'};
    helper.ManageFaults(tellDisabled);
    EXPECT_EQ(console.text(), "SNAdded acknowledged Emergency\nnone. Fault: 0\n");
    EXPECT_THAT(s_keys, ElementsAre('2'));
}

TEST_F(VictoryFaultHelperTest, FailuresAndEndsOfTheInputAreNoKeys)
{
    offerAll();
    const ConsoleCapture console(std::cout);
    VictoryFaultHelper failing("SN", {[] { return -1; }, [] { return int{'1'}; }});
    failing.ManageFaults(tellDisabled);
    for (const int key : {-1, 256 + '1', -'1', 1 << 30}) {
        s_keys = {key};
        helper.ManageFaults(tellDisabled);
    }
    EXPECT_EQ(console.text(), "");
}

TEST_F(VictoryFaultHelperTest, ModesOfAvailableServices)
{
    offerAll();
    EXPECT_EQ(press("podgea"), "SN VictoryFaultHelper : Changed to Position fault test mode\n"
                               "SN VictoryFaultHelper : Changed to Orientation fault test mode\n"
                               "SN VictoryFaultHelper : Changed to Direction of Travel fault test mode\n"
                               "SN VictoryFaultHelper : GPS Receiver fault test mode\n"
                               "SN VictoryFaultHelper : Generic End Node fault test mode\n"
                               "SN VictoryFaultHelper : APNT fault test mode\n");
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(VictoryFaultHelperTest, ModesOfMissingServicesAreRefusedAndTheModeRemains)
{
    EXPECT_EQ(press("podgea"),
              "SN VictoryFaultHelper : CANNOT change fault test mode to Position Service! Mode remains: none.\n"
              "SN VictoryFaultHelper : CANNOT change fault test mode to Orientation Service! Mode remains: none.\n"
              "SN VictoryFaultHelper : CANNOT change fault test mode to Direction of Travel Service! Mode remains: "
              "none.\n"
              "SN VictoryFaultHelper : CANNOT change fault test mode to GPS Receiver Service! Mode remains: none.\n"
              "SN VictoryFaultHelper : CANNOT change fault test mode to Generic End Node Service! Mode remains: "
              "none.\n"
              "SN VictoryFaultHelper : CANNOT change fault test mode to APNT Service! Mode remains: none.\n");
    helper.SetAvailableService(victory.gpss());
    EXPECT_EQ(press("ga"), "SN VictoryFaultHelper : GPS Receiver fault test mode\n"
                           "SN VictoryFaultHelper : CANNOT change fault test mode to APNT Service! Mode remains: GPS "
                           "Receiver\n");
}

TEST_F(VictoryFaultHelperTest, AServiceThatIsNullIsMissing)
{
    offerAll();
    helper.SetAvailableService<VapntsService>(nullptr);
    EXPECT_EQ(press("a"),
              "SN VictoryFaultHelper : CANNOT change fault test mode to APNT Service! Mode remains: none.\n");
}

TEST_F(VictoryFaultHelperTest, FaultsOfAllDigits)
{
    offerAll();
    press("a");
    EXPECT_EQ(press("1234567890"), "SNAdded acknowledged Emergency\nAPNT Fault: 1\n"
                                   "SNAdded acknowledged Alert\nAPNT Fault: 2\n"
                                   "SNAdded acknowledged Critical\nAPNT Fault: 3\n"
                                   "SNAdded acknowledged Error\nAPNT Fault: 4\n"
                                   "SNAdded acknowledged Warning\nAPNT Fault: 5\n"
                                   "SNAdded non-acknowledged Emergency\nAPNT Fault: 6\n"
                                   "SNAdded non-acknowledged Alert\nAPNT Fault: 7\n"
                                   "SNAdded non-acknowledged Critical\nAPNT Fault: 8\n"
                                   "SNAdded non-acknowledged Error\nAPNT Fault: 9\n"
                                   "SNAdded non-acknowledged Warning\nAPNT Fault: 10\n");
    EXPECT_THAT(calls(), ElementsAre("vapntsAddFault(Fake Fault for Compliance Testing, 1, 37, 22, 1)",
                                     "vapntsAddFault(Fake Fault for Compliance Testing, 1, 36, 22, 1)",
                                     "vapntsAddFault(Fake Fault for Compliance Testing, 1, 35, 22, 1)",
                                     "vapntsAddFault(Fake Fault for Compliance Testing, 1, 34, 22, 1)",
                                     "vapntsAddFault(Fake Fault for Compliance Testing, 1, 33, 22, 1)",
                                     "vapntsAddFault(Fake Fault for Compliance Testing, 0, 37, 22, 1)",
                                     "vapntsAddFault(Fake Fault for Compliance Testing, 0, 36, 22, 1)",
                                     "vapntsAddFault(Fake Fault for Compliance Testing, 0, 35, 22, 1)",
                                     "vapntsAddFault(Fake Fault for Compliance Testing, 0, 34, 22, 1)",
                                     "vapntsAddFault(Fake Fault for Compliance Testing, 0, 33, 22, 1)"));
}

TEST_F(VictoryFaultHelperTest, ADigitOnceMoreRemovesItsFaultAndThenAddsAnother)
{
    offerAll();
    press("a15");
    victory.forgetCalls();
    EXPECT_EQ(press("5"), "SN Removed APNT fault: 2\n");
    EXPECT_EQ(press("5"), "SNAdded acknowledged Warning\nAPNT Fault: 3\n");
    EXPECT_EQ(press("1"), "SN Removed APNT fault: 1\n");
    EXPECT_THAT(calls(), ElementsAre("vapntsRemoveFault(2, 0)",
                                     "vapntsAddFault(Fake Fault for Compliance Testing, 1, 33, 22, 1)",
                                     "vapntsRemoveFault(1, 0)"));
}

TEST_F(VictoryFaultHelperTest, EachModeHasFaultsOfItsOwnInItsOwnService)
{
    offerAll();
    const std::string modes = "podgea";
    for (const char mode : modes) press({mode, '0'});
    for (const char mode : modes) press({mode, '0'});
    EXPECT_THAT(victory.operations(),
                ElementsAre("vpossAddFault", "vorisAddFault", "vdotsAddFault", "vgpssAddFault", "vgensAddFault",
                            "vapntsAddFault", "vpossRemoveFault", "vorisRemoveFault", "vdotsRemoveFault",
                            "vgpssRemoveFault", "vgensRemoveFault", "vapntsRemoveFault"));
    const std::vector<const void*> services = {victory.poss(), victory.oris(), victory.dots(),
                                               victory.gpss(), victory.gens(), apnts};
    const auto made = victory.calls();
    for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(made[i].service, services[i % 6]) << made[i].operation;
    for (std::size_t i = 6; i < 12; ++i) EXPECT_EQ(made[i].number(0), static_cast<int>(i) - 5);
}

TEST_F(VictoryFaultHelperTest, LinesOfTheOtherModes)
{
    offerAll();
    EXPECT_THAT(press("p11"), HasSubstr("SNAdded acknowledged Emergency\nPosition Fault: 1\nSN Removed Position fault: "
                                        "1\n"));
    EXPECT_THAT(press("o6"), HasSubstr("Orientation Fault: 2\n"));
    EXPECT_THAT(press("d6"), HasSubstr("Direction of Travel Fault: 3\n"));
    EXPECT_THAT(press("g6"), HasSubstr("GPS Receiver Fault: 4\n"));
    EXPECT_THAT(press("e6"), HasSubstr("Generic End Node Fault: 5\n"));
}

TEST_F(VictoryFaultHelperTest, ADigitWithoutAModePrintsItsLineAndRaisesNothing)
{
    offerAll();
    EXPECT_EQ(press("77"), "SNAdded non-acknowledged Alert\nnone. Fault: 0\n"
                           "SNAdded non-acknowledged Alert\nnone. Fault: 0\n");
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(VictoryFaultHelperTest, AFaultThatTheLibraryRefusesIsNotKept)
{
    offerAll();
    victory.answer("vapntsAddFault", 0);
    EXPECT_EQ(press("a11"), "SN VictoryFaultHelper : APNT fault test mode\n"
                            "SNAdded acknowledged Emergency\nAPNT Fault: 0\n"
                            "SNAdded acknowledged Emergency\nAPNT Fault: 0\n");
    EXPECT_EQ(victory.count("vapntsRemoveFault"), 0U);
}

TEST_F(VictoryFaultHelperTest, TheLibraryIsNotCalledForAServiceThatHasGone)
{
    offerAll();
    press("a1");
    victory.forgetCalls();
    helper.SetAvailableService<VapntsService>(nullptr);
    EXPECT_EQ(press("12"), "SN Removed APNT fault: 1\nSNAdded acknowledged Alert\nAPNT Fault: 0\n");
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(VictoryFaultHelperTest, ForgottenFaultsAreRaisedAgainAndOthersStay)
{
    offerAll();
    press("p1a1");
    helper.forgetFaults(VictoryFaultHelper::APNT);
    EXPECT_EQ(press("1"), "SNAdded acknowledged Emergency\nAPNT Fault: 3\n");
    EXPECT_THAT(press("p1"), HasSubstr("SN Removed Position fault: 1\n"));
}

TEST_F(VictoryFaultHelperTest, TellingIsSwitchedOffAndOn)
{
    offerAll();
    EXPECT_EQ(press("z"), "SNTell disabled for none.\n");
    EXPECT_TRUE(tellDisabled);
    EXPECT_EQ(press("z"), "SNTell enabled for none.\n");
    EXPECT_FALSE(tellDisabled);
    EXPECT_THAT(press("dz"), HasSubstr("SNTell disabled for Direction of Travel\n"));
}

TEST_F(VictoryFaultHelperTest, OtherKeysDoNothing)
{
    offerAll();
    tellDisabled = true;
    std::string keys;
    for (int key = 0; key < 256; ++key)
        if (std::string("podgeazh1234567890").find(static_cast<char>(key)) == std::string::npos)
            keys += static_cast<char>(key);
    EXPECT_EQ(keys.size(), 238U);
    EXPECT_EQ(press(keys), "");
    EXPECT_TRUE(tellDisabled);
}

TEST_F(VictoryFaultHelperTest, HelpText)
{
    EXPECT_EQ(press("h"), "SN VictoryFaultHelper available keys:\n"
                          "    1 = Send / Remove Acknowledged Emergency\n"
                          "    2 = Send / Remove Acknowledged Alert\n"
                          "    3 = Send / Remove Acknowledged Critical\n"
                          "    4 = Send / Remove Acknowledged Error\n"
                          "    5 = Send / Remove Acknowledged Warning\n"
                          "    6 = Send / Remove Nonacknowledged Emergency\n"
                          "    7 = Send / Remove Nonacknowledged Alert\n"
                          "    8 = Send / Remove Nonacknowledged Critical\n"
                          "    9 = Send / Remove Nonacknowledged Error\n"
                          "    0 = Send / Remove Nonacknowledged Warning\n"
                          "    p = Select Position fault mode\n"
                          "    o = Select Orientation fault mode\n"
                          "    d = Select Direction of Travel fault mode\n"
                          "    g = Select GPS Receiver fault mode\n"
                          "    e = Select Generic End Node fault mode\n"
                          "    a = Select APNT fault mode\n"
                          "    z = Enable / Disable VICTORY service tell output\n");
}

TEST_F(VictoryFaultHelperTest, DigitsThatThereAreNoneOfAreRefused)
{
    offerAll();
    press("a");
    const ConsoleCapture console(std::cout);
    for (const int key : {-1, 10, 1 << 30}) {
        helper.activateFault(key, true);
        helper.deactivateFault(key);
    }
    EXPECT_EQ(console.text(), "");
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(VictoryFaultHelperTest, TheEndRemovesNoFaults)
{
    {
        VictoryFaultHelper other("SN", {&waitingKeys, &nextKey});
        offerAll(other);
        s_keys = {'a', '1'};
        other.ManageFaults(tellDisabled);
        other.ManageFaults(tellDisabled);
    }
    EXPECT_THAT(victory.operations(), ElementsAre("vapntsAddFault"));
}

TEST_F(VictoryFaultHelperDeathTest, TheWholeKeyTableOnATerminal)
{
    const auto play = [this] {
        const HardDeadline deadline;
        const Terminal terminal;
        VictoryFaultHelper onTerminal("SN");
        offerAll(onTerminal);
        const ConsoleCapture console(std::cout);
        for (const char key : std::string("pa12345678901234567890ozzhx")) {
            if (_kbhit() != 0) conclude("a key was left");
            terminal.type({key});
            if (!eventually([] { return _kbhit() == 1; })) conclude("a key has not come");
            onTerminal.ManageFaults(tellDisabled);
        }
        std::string text = console.text();
        for (const auto& call : calls()) text += call + "\n";
        conclude(text);
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0),
                testing::AllOf(testing::StartsWith("SN VictoryFaultHelper : Changed to Position fault test mode\n"
                                                   "SN VictoryFaultHelper : APNT fault test mode\n"
                                                   "SNAdded acknowledged Emergency\nAPNT Fault: 1\n"),
                               HasSubstr("SNAdded non-acknowledged Warning\nAPNT Fault: 10\nSN Removed APNT fault: 1\n"
                                         "SN Removed APNT fault: 2\n"),
                               HasSubstr("SN Removed APNT fault: 10\n"
                                         "SN VictoryFaultHelper : Changed to Orientation fault test mode\n"
                                         "SNTell disabled for Orientation\nSNTell enabled for Orientation\n"
                                         "SN VictoryFaultHelper available keys:\n"),
                               HasSubstr("service tell output\n"
                                         "vapntsAddFault(Fake Fault for Compliance Testing, 1, 37, 22, 1)\n"),
                               testing::EndsWith("vapntsRemoveFault(9, 0)\nvapntsRemoveFault(10, 0)\n")));
}

TEST_F(VictoryFaultHelperDeathTest, TheFirstLookSwitchesATerminalFromLinesToKeysAndNothingElse)
{
    const auto play = [] {
        const HardDeadline deadline;
        const Terminal terminal;
        terminal.setWaiting(5, 7);
        const termios before = Terminal::settings();
        const VictoryFaultHelper untouched("SN");
        if (!areSame(Terminal::settings(), before) || (before.c_lflag & ICANON) == 0) conclude("touched too early");
        if (_kbhit() != 0) conclude("keys from nowhere");
        termios expected = before;
        expected.c_lflag &= ~static_cast<tcflag_t>(ICANON);
        if (!areSame(Terminal::settings(), expected)) conclude("wrong settings");
        terminal.type("abc");
        if (!eventually([] { return _kbhit() == 3; })) conclude("not all keys have come");
        if (readKey() != 'a' || _kbhit() != 2) conclude("more than one key was taken");
        if (std::getchar() != 'b' || _kbhit() != 1) conclude("the standard input is buffered");
        conclude("as it should be");
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), testing::StrEq("as it should be"));
}

TEST_F(VictoryFaultHelperDeathTest, TheEndPutsBackTheSettingsThatWereFound)
{
    const auto play = [this] {
        const HardDeadline deadline;
        const Terminal terminal;
        terminal.setWaiting(5, 7);
        const termios before = Terminal::settings();
        for (int i = 0; i < 2; ++i) {
            VictoryFaultHelper onTerminal("SN");
            onTerminal.ManageFaults(tellDisabled);
            if ((Terminal::settings().c_lflag & ICANON) != 0) conclude("not switched");
        }
        conclude(areSame(Terminal::settings(), before) ? "as it was" : "wrong settings");
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), testing::StrEq("as it was"));
}

TEST_F(VictoryFaultHelperDeathTest, AtTheEndATerminalThatAnotherJobHasIsLeftAlone)
{
    const auto play = [this] {
        const HardDeadline deadline;
        setsid();
        const Terminal terminal;
        ioctl(STDIN_FILENO, TIOCSCTTY, 0);
        auto onTerminal = std::make_unique<VictoryFaultHelper>("SN");
        onTerminal->ManageFaults(tellDisabled);
        const termios ofTheOther = Terminal::settings();
        const pid_t job = fork();
        if (job == 0) pause();
        setpgid(job, job);
        tcsetpgrp(STDIN_FILENO, job);
        onTerminal.reset();
        kill(job, SIGKILL);
        conclude(areSame(Terminal::settings(), ofTheOther) ? "left alone" : "wrong settings");
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), testing::StrEq("left alone"));
}

TEST_F(VictoryFaultHelperDeathTest, AReaderThatWaitsForAKeyDoesNotHoldUpThisOne)
{
    const auto play = [] {
        const HardDeadline deadline;
        const Terminal terminal;
        if (_kbhit() != 0) conclude("keys from nowhere");
        const pid_t other = fork();
        if (other == 0) {
            char key = 0;
            _exit(static_cast<int>(read(STDIN_FILENO, &key, 1)));
        }
        const std::string call = "/proc/" + std::to_string(other) + "/syscall";
        const std::string reading = std::to_string(SYS_read) + " 0x0 ";
        if (!eventually([&] { return readFile(call).starts_with(reading); })) conclude("the other does not read");
        const int key = readKey();
        kill(other, SIGKILL);
        conclude(key == EOF ? "went on" : "a key from nowhere");
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), testing::StrEq("went on"));
}

TEST_F(VictoryFaultHelperDeathTest, ATerminalThatHangsUpHasNoKeysAndHoldsNobodyUp)
{
    const auto play = [this] {
        const HardDeadline deadline;
        signal(SIGHUP, SIG_IGN);
        const Terminal terminal;
        VictoryFaultHelper onTerminal("SN");
        onTerminal.ManageFaults(tellDisabled);
        terminal.hangUp();
        for (int i = 0; i < 3; ++i) onTerminal.ManageFaults(tellDisabled);
        conclude("went on");
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), testing::StrEq("went on"));
}

TEST_F(VictoryFaultHelperDeathTest, AKeyThatAnotherReaderTookIsNotWaitedFor)
{
    const auto play = [this] {
        const HardDeadline deadline;
        const Terminal terminal;
        if (_kbhit() != 0) conclude("keys from nowhere");
        // Seen to be waiting, and gone before it is read.
        VictoryFaultHelper late("SN", {[] { return 1; }, &readKey});
        late.ManageFaults(tellDisabled);
        if (readKey() != EOF) conclude("a key from nowhere");
        conclude("went on");
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), testing::StrEq("went on"));
}

TEST_F(VictoryFaultHelperDeathTest, ATerminalThatAnotherJobHasIsLeftAlone)
{
    const auto play = [] {
        const HardDeadline deadline;
        setsid();
        const Terminal terminal;
        ioctl(STDIN_FILENO, TIOCSCTTY, 0);
        const termios before = Terminal::settings();
        terminal.type("p\n");
        const pid_t job = fork();
        if (job == 0) {
            setpgid(0, 0);
            _exit(_kbhit() == 0 ? 7 : 8);
        }
        int status = 0;
        waitpid(job, &status, WUNTRACED);
        if (WIFSTOPPED(status)) {
            kill(job, SIGKILL);
            conclude("the job was stopped");
        }
        if (WEXITSTATUS(status) != 7) conclude("the job saw keys");
        if (!areSame(Terminal::settings(), before)) conclude("wrong settings");
        conclude(eventually([] { return _kbhit() == 2; }) ? "as it should be" : "the job that has it saw no keys");
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), testing::StrEq("as it should be"));
}

TEST_F(VictoryFaultHelperDeathTest, AnInputThatIsNoTerminalHasNoKeys)
{
    const auto play = [](bool isClosed) {
        const HardDeadline deadline;
        if (isClosed)
            close(STDIN_FILENO);
        else
            dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        conclude(std::to_string(_kbhit()));
    };
    EXPECT_EXIT(play(false), testing::ExitedWithCode(0), testing::StrEq("0"));
    EXPECT_EXIT(play(true), testing::ExitedWithCode(0), testing::StrEq("0"));
}

TEST_F(VictoryFaultHelperDeathTest, KeysOfAFileAreTakenOnce)
{
    const auto play = [] {
        const HardDeadline deadline;
        std::FILE* const file = std::tmpfile();
        std::fputs("ab", file);
        std::rewind(file);
        dup2(fileno(file), STDIN_FILENO);
        if (_kbhit() != 2 || readKey() != 'a') conclude("not the keys of the file");
        conclude(std::to_string(_kbhit()));
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), testing::StrEq("1"));
}
