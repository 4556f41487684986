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
#include <poll.h>
#include <regex>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
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

/// A socket for the service's console, as the journal of a service manager has one for each service.
class Journal {
public:
    Journal()
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::string(path()).copy(address.sun_path, sizeof address.sun_path - 1);
        m_listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            listen(m_listener, 1) != 0)
            throw std::runtime_error("cannot make a journal");
    }
    ~Journal() { end(); }
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    static const char* path() { return "/tmp/journal"; }

    /// For the service that was started with it.
    void accept()
    {
        m_reader = accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (m_reader < 0) throw std::runtime_error("nobody prints to the journal");
    }

    /// What comes next, all of it that is there at once; nothing if nothing comes.
    std::string read() const
    {
        pollfd ready{m_reader, POLLIN, 0};
        poll(&ready, 1, 100);
        std::string text(1024UL * 1024UL, '\0');
        const ssize_t count = ::read(m_reader, text.data(), text.size());
        text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return text;
    }

    void end()
    {
        for (int* descriptor : {&m_reader, &m_listener})
            if (*descriptor >= 0) close(std::exchange(*descriptor, -1));
        unlink(path());
    }

private:
    int m_listener = -1;
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

TEST_F(ConsoleSystemTest, AJournalGetsWholeLinesWhileTheServiceRuns)
{
    desk.set("PARAM_1", "false");
    Journal journal;
    desk.setConsole(Journal::path());
    const Inputs inputs(desk);
    desk.run();
    journal.accept();
    ASSERT_TRUE(inputs.waitForService());
    std::string all;
    EXPECT_TRUE(eventually([&] {
        inputs.sendAll();
        const std::string now = journal.read();
        EXPECT_TRUE(now.empty() || now.ends_with('\n')) << now;
        return (all += now).find("*** All synchronized messages received.") != std::string::npos;
    }));
    expectEndInOrder();
}

TEST_F(ConsoleSystemTest, AJournalThatEndsDoesNotEndTheService)
{
    Journal journal;
    desk.setConsole(Journal::path());
    const Inputs inputs(desk);
    desk.run();
    journal.accept();
    EXPECT_NE(journal.read(), "");  // the lines of the start
    journal.end();
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
