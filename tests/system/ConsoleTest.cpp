#include "tests/support/ChildProcess.h"
#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <regex>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;
using Ending = ChildProcess::Ending;
using namespace std::chrono_literals;

namespace {

const std::string kExitLine = "!!!!!! " ORVANE_SERVER_BINARY " has exited. Signal: 15\n";

/// A named pipe for the service's console, of which the test is the reader.
class Pipe {
public:
    Pipe()
    {
        if (mkfifo(path(), 0600) != 0) throw std::runtime_error("cannot make a pipe");
        m_reader = open(path(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (m_reader < 0) throw std::runtime_error("cannot open a pipe");
    }
    ~Pipe() { closeReader(); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    static const char* path() { return "/tmp/console"; }

    /// Leaves no room for a single byte.
    static void fill()
    {
        const int writer = open(path(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        while (write(writer, ".", 1) == 1) {
        }
        close(writer);
    }

    std::string read() const
    {
        std::string text;
        std::array<char, 4096> part{};
        for (ssize_t count = 0; (count = ::read(m_reader, part.data(), part.size())) > 0;)
            text.append(part.data(), static_cast<std::size_t>(count));
        return text;
    }

    void closeReader()
    {
        if (m_reader >= 0) close(std::exchange(m_reader, -1));
    }

private:
    int m_reader = -1;
};

struct ConsoleSystemTest : testing::Test {
    ConsoleSystemTest() { desk.set("Debug", "true"); }

    void expectEndInOrder()
    {
        desk.service().send(SIGTERM);
        EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    }

    /// Has the service join inputs, and waits for what it tells the bus of them.
    static void expectWork(Bus& bus, const Inputs& inputs)
    {
        ASSERT_TRUE(inputs.waitForService());
        inputs.sendAll();
        bus.awaitTell("blended-navigation", [](const Bus::Json& tell) { return !tell.at("timeOfValidity").is_null(); });
    }

    /// The service started by a shell, which does something before.
    static std::vector<std::string> after(const std::string& command)
    {
        std::vector<std::string> line = {"/bin/sh", "-c", command, "sh"};
        const std::vector<std::string> service = Desk::commandLine();
        line.insert(line.end(), service.begin(), service.end());
        return line;
    }

    /// Waits until such a service runs. The shell itself handles SIGINT, which is the service's last to be installed.
    static bool waitUntilRunning(const ChildProcess& service)
    {
        return service.waitUntilHandled(SIGFPE) && service.waitUntilHandled(SIGINT);
    }

    Desk desk;
};

}  // namespace

TEST_F(ConsoleSystemTest, APipeThatNobodyReadsHoldsUpNeitherTheWorkNorTheEnd)
{
    const Pipe console;
    Pipe::fill();
    desk.setConsole(Pipe::path());
    const Inputs inputs(desk);
    desk.run();
    Bus bus;
    expectWork(bus, inputs);
    const std::jthread more([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            inputs.sendPva();
            inputs.sendUtcTime();
            inputs.sendMis();
            std::this_thread::sleep_for(10ms);  // a hundred a second
        }
    });
    expectEndInOrder();
}

TEST_F(ConsoleSystemTest, APipeThatNobodyReadsDoesNotHoldUpTheEndByAnUncaughtException)
{
    const Pipe console;
    Pipe::fill();
    std::vector<std::string> line = Desk::commandLine();
    line.back() = "/tmp/missing.xml";
    ChildProcess service(line, "/dev/null", Pipe::path());
    EXPECT_EQ(service.wait(), Ending({-1, SIGABRT}));
}

TEST_F(ConsoleSystemTest, AReaderThatComesBackIsToldHowManyLinesWereLostAndSeesTheEnd)
{
    desk.set("Debug", "false");
    const Pipe console;
    Pipe::fill();
    desk.setConsole(Pipe::path());
    desk.run();
    const std::string before = console.read();
    expectEndInOrder();
    const std::string all = before + console.read(), rest = all.substr(all.find_first_not_of('.'));
    EXPECT_TRUE(std::regex_search(rest, std::regex("^!!!!!! [1-9][0-9]* console lines were lost\n"),
                                  std::regex_constants::match_continuous))
        << rest;
    EXPECT_TRUE(rest.ends_with(kExitLine)) << rest;
    EXPECT_EQ(rest.find("were lost"), rest.rfind("were lost")) << rest;
}

TEST_F(ConsoleSystemTest, AReaderThatDiesDoesNotEndTheService)
{
    Pipe console;
    desk.setConsole(Pipe::path());
    const Inputs inputs(desk);
    desk.run();
    console.closeReader();
    Bus bus;
    expectWork(bus, inputs);
    expectEndInOrder();
}

TEST_F(ConsoleSystemTest, AFullDiskDoesNotEndTheService)
{
    desk.setConsole("/dev/full");
    const Inputs inputs(desk);
    desk.run();
    Bus bus;
    expectWork(bus, inputs);
    expectEndInOrder();
}

TEST_F(ConsoleSystemTest, AFileThatMayNotGrowIsWrittenAgainOnceThereIsRoom)
{
    const std::string log = "/tmp/log";
    ChildProcess service(after("ulimit -f 1 && exec \"$@\" >>" + log + " 2>&1"));
    ASSERT_TRUE(waitUntilRunning(service));
    EXPECT_EQ(fs::file_size(log), 512U);
    fs::resize_file(log, 0);
    EXPECT_TRUE(eventually([&] { return readFile(log).find(" console lines were lost\n") != std::string::npos; }));
    service.send(SIGTERM);
    EXPECT_EQ(service.wait(), Ending({0, 0}));
}

TEST_F(ConsoleSystemTest, ClosedStandardDescriptorsAreGivenToNoFileAndNoSocket)
{
    ChildProcess service(after("exec \"$@\" <&- >&- 2>&-"));
    ASSERT_TRUE(waitUntilRunning(service));
    for (const char* descriptor : {"0", "1", "2"})
        EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(service.id()) + "/fd/" + descriptor), "/dev/null");
    service.send(SIGTERM);
    EXPECT_EQ(service.wait(), Ending({0, 0}));
}
