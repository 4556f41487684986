#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <termios.h>
#include <unistd.h>
#include <utility>

using Json = Bus::Json;

namespace {

constexpr const char* kWarnings = "warning-messages";
constexpr const char* kThreats = "navwar-sa";

/// A terminal with a tester at its keyboard.
class Terminal {
public:
    Terminal() : m_keyboard(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        const char* const path =
            m_keyboard >= 0 && grantpt(m_keyboard) == 0 && unlockpt(m_keyboard) == 0 ? ptsname(m_keyboard) : nullptr;
        if (!path) throw std::runtime_error("there is no terminal");
        m_path = path;
        m_line = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);  // so that it stays when the service hasn't opened it yet
    }
    ~Terminal()
    {
        close(m_line);
        hangUp();
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    const std::string& path() const { return m_path; }

    void type(const std::string& keys) const
    {
        if (write(m_keyboard, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
            throw std::runtime_error("cannot type");
    }

    termios settings() const
    {
        termios settings{};
        if (tcgetattr(m_line, &settings) != 0) throw std::runtime_error("no terminal");
        return settings;
    }

    /// How many bytes, and how many tenths of a second, a read of keys waits for.
    void setWaiting(cc_t bytes, cc_t tenths) const
    {
        termios changed = settings();
        changed.c_cc[VMIN] = bytes;
        changed.c_cc[VTIME] = tenths;
        if (tcsetattr(m_line, TCSANOW, &changed) != 0) throw std::runtime_error("no terminal");
    }

    bool waitsForWholeLines() const { return settings().c_lflag & ICANON; }

    void hangUp() { close(std::exchange(m_keyboard, -1)); }

private:
    int m_keyboard;
    int m_line = -1;
    std::string m_path;
};

bool areSame(const termios& a, const termios& b)
{
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag && a.c_lflag == b.c_lflag &&
           std::ranges::equal(a.c_cc, b.c_cc);
}

struct FaultConsoleSystemTest : testing::Test {
    /// Starts the service at the terminal, as a tester does.
    void begin()
    {
        desk.set("PARAM_2", "true");
        desk.setInput(terminal.path());
        desk.run();
        bus.emplace();
        ASSERT_TRUE(eventually([&] { return !terminal.waitsForWholeLines(); }));
    }

    /// Types keys, and waits for what the last one has printed.
    void type(const std::string& keys, const std::string& lastLine)
    {
        const std::size_t before = desk.count(lastLine + "\n");
        terminal.type(keys);
        EXPECT_TRUE(desk.awaitOutput(lastLine + "\n", before + 1)) << keys;
    }

    Json faults() { return bus->request({{"request", "faults"}}).at("faults"); }

    /// Waits until both lists have fallen due twice more, whether they are told or not.
    void awaitTwoPeriods()
    {
        const auto calls = [&](std::size_t group) {
            return bus->request({{"request", "status"}}).at("groups").at(group).at("calls").get<int>();
        };
        const int before[] = {calls(1), calls(2)};
        EXPECT_TRUE(eventually([&] { return calls(1) >= before[0] + 2 && calls(2) >= before[1] + 2; }));
    }

    Desk desk;
    Terminal terminal;
    std::optional<Bus> bus;
};

}  // namespace

TEST_F(FaultConsoleSystemTest, EveryDigitRaisesAFaultOfTheServiceAndRemovesIt)
{
    begin();
    type("a", "OrvaneServer VictoryFaultHelper : APNT fault test mode");
    struct Row {
        bool acknowledged;
        const char* word;
        int severity;
    };
    const Row rows[] = {{true, "Emergency", 37}, {true, "Alert", 36},     {true, "Critical", 35},
                        {true, "Error", 34},     {true, "Warning", 33},   {false, "Emergency", 37},
                        {false, "Alert", 36},    {false, "Critical", 35}, {false, "Error", 34},
                        {false, "Warning", 33}};
    type("1234567890", "APNT Fault: 10");
    const Json raised = faults();
    ASSERT_EQ(raised.size(), 10U);
    for (std::size_t i = 0; i < 10; ++i) {
        const std::string added =
            std::string("OrvaneServerAdded ") + (rows[i].acknowledged ? "" : "non-") + "acknowledged " + rows[i].word;
        EXPECT_EQ(desk.count(added + "\nAPNT Fault: " + std::to_string(i + 1) + "\n"), 1U) << added;
        EXPECT_EQ(raised[i].at("kind"), "vapnts");
        EXPECT_EQ(raised[i].at("id"), i + 1);
        EXPECT_EQ(raised[i].at("text"), "Fake Fault for Compliance Testing");
        EXPECT_EQ(raised[i].at("acknowledged"), rows[i].acknowledged);
        EXPECT_EQ(raised[i].at("severity"), rows[i].severity);
        EXPECT_EQ(raised[i].at("category"), 22);
        EXPECT_EQ(raised[i].at("action"), 1);
    }
    type("123456789", "OrvaneServer Removed APNT fault: 9");
    EXPECT_EQ(faults().size(), 1U);
    type("0", "OrvaneServer Removed APNT fault: 10");
    EXPECT_EQ(faults(), Json::array());
}

TEST_F(FaultConsoleSystemTest, ModesOfOtherServicesAreRefusedAndOtherKeysDoNothing)
{
    begin();
    type("7", "none. Fault: 0");
    type("7", "none. Fault: 0");  // nothing was kept
    const std::string refused = "OrvaneServer VictoryFaultHelper : CANNOT change fault test mode to ";
    type("p", refused + "Position Service! Mode remains: none.");
    type("aodge", refused + "Generic End Node Service! Mode remains: APNT");
    EXPECT_EQ(desk.count(refused + "Orientation Service! Mode remains: APNT\n"), 1U);
    EXPECT_EQ(desk.count(refused + "Direction of Travel Service! Mode remains: APNT\n"), 1U);
    EXPECT_EQ(desk.count(refused + "GPS Receiver Service! Mode remains: APNT\n"), 1U);
    type("x\nZ 7", "APNT Fault: 1");
    type("h", "    z = Enable / Disable VICTORY service tell output");
    EXPECT_EQ(desk.count("OrvaneServer VictoryFaultHelper available keys:\n"
                         "    1 = Send / Remove Acknowledged Emergency\n"),
              1U);
    EXPECT_EQ(desk.count("Added "), 3U);
    EXPECT_EQ(faults().size(), 1U);
}

TEST_F(FaultConsoleSystemTest, DisabledTellsLeaveOutThePublicationsAndNothingElse)
{
    desk.set("Debug", "true");
    desk.set("PARAM_1", "false");
    Inputs inputs(desk);
    begin();
    ASSERT_TRUE(inputs.waitForService());
    bus->awaitTell(kWarnings);
    bus->awaitTell(kThreats);
    type("z", "OrvaneServerTell disabled for none.");

    awaitTwoPeriods();  // one may have been under way
    const std::size_t warnings = bus->tells(kWarnings), threats = bus->tells(kThreats);
    const std::size_t records = bus->tells("blended-navigation");
    inputs.sendAll();
    EXPECT_TRUE(desk.awaitOutput(": *** All synchronized messages received. Processing... \n"));
    EXPECT_EQ(bus->request({{"request", "clear-data"}, {"data", "crypto"}}).at("returned"), 1);
    bus->awaitTell("clear-system-data");
    awaitTwoPeriods();
    EXPECT_EQ(bus->tells(kWarnings), warnings);
    EXPECT_EQ(bus->tells(kThreats), threats);
    EXPECT_EQ(bus->tells("blended-navigation"), records);

    type("z", "OrvaneServerTell enabled for none.");
    const Json told = bus->awaitTell(kWarnings).at("record").at("warnings");
    ASSERT_EQ(told.size(), 2U);  // those of the meantime, too: lost GPS, and the request
    EXPECT_EQ(told[1].at("warningId"), 75);
    inputs.sendAll();
    bus->awaitTell("blended-navigation");
}

TEST_F(FaultConsoleSystemTest, WithoutTestModeTheTerminalIsLeftAlone)
{
    desk.set("Debug", "true");
    desk.setInput(terminal.path());
    desk.run();
    terminal.type("a1z\n");
    ASSERT_TRUE(desk.awaitTurns());
    EXPECT_TRUE(terminal.waitsForWholeLines());
    EXPECT_EQ(desk.count("VictoryFaultHelper"), 0U);
    EXPECT_EQ(desk.count("Added "), 0U);
}

TEST_F(FaultConsoleSystemTest, TerminalThatHangsUpLeavesTheServiceRunning)
{
    desk.set("Debug", "true");
    begin();
    type("a1", "APNT Fault: 1");
    terminal.hangUp();
    ASSERT_TRUE(desk.awaitTurns());
    EXPECT_EQ(faults().size(), 1U);
    EXPECT_EQ(desk.count("Added "), 1U);
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), (ChildProcess::Ending{0, 0}));
}

TEST_F(FaultConsoleSystemTest, TheNextReaderOfTheTerminalFindsItAsItWas)
{
    terminal.setWaiting(5, 7);
    const termios before = terminal.settings();
    begin();
    termios during = before;
    during.c_lflag &= ~static_cast<tcflag_t>(ICANON);
    EXPECT_TRUE(areSame(terminal.settings(), during));
    type("a1", "APNT Fault: 1");
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), (ChildProcess::Ending{0, 0}));
    EXPECT_TRUE(areSame(terminal.settings(), before));
}
