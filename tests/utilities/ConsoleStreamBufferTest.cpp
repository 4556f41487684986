#include "utilities/ConsoleStreamBuffer.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/HardDeadline.h"
#include "utilities/ConsoleLine.h"
#include "utilities/WithoutStops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <poll.h>
#include <pty.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace {

bool canBeOpenedAgain = true;

/// What others do once it is known that there is room, if it is set.
std::function<void()> s_afterLookForRoom;

/// What others do once it is known how the terminal treats jobs in the background, if it is set.
std::function<void()> s_afterLookAtTerminal;

/// What others do while room is waited for, if it is set.
std::function<void()> s_duringWaitForRoom;

constexpr auto kShort = 20ms;
constexpr auto kLong = 60s;  // waits for a reader who reads, however slow the machine is

/// All that waits at a descriptor that doesn't block.
std::string allAt(int descriptor)
{
    std::string text;
    std::array<char, 4096> part{};
    for (ssize_t count = 0; (count = read(descriptor, part.data(), part.size())) > 0;)
        text.append(part.data(), static_cast<std::size_t>(count));
    return text;
}

void setBlocking(int descriptor, bool isBlocking)
{
    if (fcntl(descriptor, F_SETFL, isBlocking ? 0 : O_NONBLOCK) != 0) throw std::runtime_error("no descriptor");
}

/// A pipe with room for two pages, whose writer blocks, and which is read when a test says so.
class Pipe {
public:
    Pipe()
    {
        if (pipe2(m_ends.data(), O_CLOEXEC) != 0 || fcntl(m_ends[1], F_SETPIPE_SZ, 2 * getpagesize()) < 0)
            throw std::runtime_error("cannot make a pipe");
        setBlocking(m_ends[0], false);
    }
    ~Pipe()
    {
        closeReader();
        close(m_ends[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int writer() const { return m_ends[1]; }
    std::size_t room() const { return static_cast<std::size_t>(fcntl(m_ends[1], F_GETPIPE_SZ)); }
    std::string read() const { return allAt(m_ends[0]); }
    void fill() const
    {
        const std::string text(room(), '.');
        if (write(m_ends[1], text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            throw std::runtime_error("cannot fill a pipe");
    }
    void closeReader()
    {
        if (m_ends[0] >= 0) close(std::exchange(m_ends[0], -1));
    }

private:
    std::array<int, 2> m_ends{-1, -1};
};

/// A terminal, and what comes out of it.
class Terminal {
public:
    Terminal()
    {
        if (openpty(&m_screen, &m_line, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("no terminal");
        setBlocking(m_screen, false);
        termios settings{};
        tcgetattr(m_line, &settings);
        settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
        tcsetattr(m_line, TCSANOW, &settings);
    }
    ~Terminal()
    {
        close(m_line);
        close(m_screen);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int line() const { return m_line; }

    std::string read() const { return allAt(m_screen); }

    /// What has come, once that ends with a text.
    std::string readUntil(const std::string& last) const
    {
        std::string text;
        eventually([&] { return (text += read()).ends_with(last); });
        return text;
    }

private:
    int m_screen = -1;
    int m_line = -1;
};

/// Both ways to a pipe or terminal: opened once more, and, where that can't be, as it is.
struct ConsoleStreamBufferTest : testing::TestWithParam<bool> {
    ConsoleStreamBufferTest() { canBeOpenedAgain = GetParam(); }
    ~ConsoleStreamBufferTest() override
    {
        s_afterLookForRoom = nullptr;
        s_duringWaitForRoom = nullptr;
    }

    const HardDeadline deadline;
};

/// The console at a descriptor.
struct Console {
    explicit Console(int descriptor, std::chrono::milliseconds patience = kShort) : buffer(descriptor, patience) {}

    ConsoleStreamBuffer buffer;
    std::ostream out{&buffer};
};

/// Lets be called what a stream calls.
struct OpenBuffer : ConsoleStreamBuffer {
    using ConsoleStreamBuffer::ConsoleStreamBuffer;
    using ConsoleStreamBuffer::overflow;
};

using ConsoleStreamBufferDeathTest = ConsoleStreamBufferTest;

void stopJobsInTheBackground(const Terminal& terminal)
{
    const WithoutStops guard;
    termios settings{};
    tcgetattr(terminal.line(), &settings);
    settings.c_lflag |= TOSTOP;
    tcsetattr(terminal.line(), TCSANOW, &settings);
}

/// Runs what `play` returns in a job in the background of a terminal, and ends this process: by 7 if the job has ended,
/// by 1 if it was stopped.
template <class Play>
[[noreturn]] void inTheBackground(Play play)
{
    setsid();
    const Terminal terminal;
    ioctl(terminal.line(), TIOCSCTTY, 0);
    const auto job = play(terminal);
    const pid_t child = fork();
    if (child == 0) {
        setpgid(0, 0);
        job();
        _exit(7);
    }
    int status = 0;
    waitpid(child, &status, WUNTRACED);
    if (WIFSTOPPED(status)) kill(child, SIGKILL);
    std::_Exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
}

}  // namespace

// The name that the linker knows `openAgain` by.
extern "C" {

int __real__Z9openAgainii(int descriptor, int access);

int __wrap__Z9openAgainii(int descriptor, int access)
{
    return canBeOpenedAgain ? __real__Z9openAgainii(descriptor, access) : -1;
}

int __real_poll(pollfd* descriptors, nfds_t count, int limit);
int __wrap_poll(pollfd* descriptors, nfds_t count, int limit);

int __wrap_poll(pollfd* descriptors, nfds_t count, int limit)
{
    if (limit > 0 && s_duringWaitForRoom) s_duringWaitForRoom();
    const int ready = __real_poll(descriptors, count, limit);
    if (ready > 0 && s_afterLookForRoom) std::exchange(s_afterLookForRoom, nullptr)();
    return ready;
}

int __real_tcgetattr(int descriptor, termios* settings);
int __wrap_tcgetattr(int descriptor, termios* settings);

int __wrap_tcgetattr(int descriptor, termios* settings)
{
    const int code = __real_tcgetattr(descriptor, settings);
    if (s_afterLookAtTerminal) std::exchange(s_afterLookAtTerminal, nullptr)();
    return code;
}
}

TEST_P(ConsoleStreamBufferTest, AWriterThatTakesTheRoomOfAPipeIsNotWaitedFor)
{
    const Pipe pipe;
    Console console(pipe.writer(), kShort);
    s_afterLookForRoom = [&] { pipe.fill(); };
    printLine(console.out, "lost");
    if (GetParam()) {
        EXPECT_EQ(pipe.read(), "lost\n");  // nothing is looked at before
        return;
    }
    EXPECT_EQ(pipe.read(), std::string(pipe.room(), '.'));
    printLine(console.out, "next");
    EXPECT_EQ(pipe.read(), "!!!!!! 1 console lines were lost\nnext\n");
}

INSTANTIATE_TEST_SUITE_P(Pipes, ConsoleStreamBufferTest, testing::Bool(),
                         [](const auto& row) { return row.param ? "OpenedAgain" : "AsTheyAre"; });

TEST(ConsoleStreamBufferWritesTest, ALineIsOneWriteWhenItIsFlushed)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
    std::array<char, 8192> packet{};
    Console console(ends[1]);
    console.out << "one ";
    console.out << 2 << '\n';
    EXPECT_EQ(read(ends[0], packet.data(), packet.size()), -1);
    printLine(console.out, "three");
    EXPECT_EQ(read(ends[0], packet.data(), packet.size()), 12);
    EXPECT_EQ(std::string(packet.data(), 12), "one 2\nthree\n");
    printLine(console.out, std::string(5000, 'a'));
    EXPECT_EQ(read(ends[0], packet.data(), packet.size()), 5001);
    close(ends[0]);
    close(ends[1]);
}

TEST(ConsoleStreamBufferWritesTest, WhatIsNotFlushedGoesOutAtTheEnd)
{
    const Pipe pipe;
    {
        Console console(pipe.writer());
        console.out << "rest";
        EXPECT_EQ(pipe.read(), "");
    }
    EXPECT_EQ(pipe.read(), "rest");
}

TEST_P(ConsoleStreamBufferTest, AReaderThatDoesNotReadIsWaitedForOnce)
{
    const Pipe pipe;
    pipe.fill();
    Console console(pipe.writer(), 100ms);
    const auto begin = std::chrono::steady_clock::now();
    printLine(console.out, "first");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms);
    for (int i = 0; i < 1000; ++i) printLine(console.out, "line");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 50s);  // the thousand would wait for twice as long
    EXPECT_TRUE(console.out.good());
}

TEST_P(ConsoleStreamBufferTest, AReaderThatHasReadAgainIsWaitedForOnceMore)
{
    const Pipe pipe;
    pipe.fill();
    Console console(pipe.writer(), 100ms);
    printLine(console.out, "lost");
    pipe.read();
    printLine(console.out, "next");
    pipe.read();
    pipe.fill();
    const auto begin = std::chrono::steady_clock::now();
    printLine(console.out, "lost too");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms);
}

TEST_P(ConsoleStreamBufferTest, ThreadsWaitTogether)
{
    const Pipe pipe;
    pipe.fill();
    Console console(pipe.writer(), 1s);
    const auto begin = std::chrono::steady_clock::now();
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 60; ++i)
            threads.emplace_back([&] { console.buffer.sputn("a\n", 2), console.buffer.pubsync(); });
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 30s);
    pipe.read();
    printLine(console.out, "next");
    EXPECT_EQ(pipe.read(), "!!!!!! 60 console lines were lost\nnext\n");
}

TEST_P(ConsoleStreamBufferTest, TheNextLineThatGoesOutHasTheNumberOfLostOnesInFront)
{
    const Pipe pipe;
    pipe.fill();
    Console console(pipe.writer());
    printLine(console.out, "a\nb");
    printLine(console.out, "c");
    pipe.read();
    printLine(console.out, "next");
    EXPECT_EQ(pipe.read(), "!!!!!! 3 console lines were lost\nnext\n");
    printLine(console.out, "last");
    EXPECT_EQ(pipe.read(), "last\n");
}

TEST_P(ConsoleStreamBufferTest, ALineThatWouldStillFitInIsNoSignOfAReader)
{
    const Pipe pipe;
    Console console(pipe.writer());
    const std::string nearlyAll(pipe.room() - 100, 'a');
    printLine(console.out, nearlyAll);
    printLine(console.out, std::string(200, 'b'));
    printLine(console.out, "c");
    EXPECT_EQ(pipe.read(), nearlyAll + "\n");
    printLine(console.out, "d");
    EXPECT_EQ(pipe.read(), "!!!!!! 2 console lines were lost\nd\n");
}

TEST_P(ConsoleStreamBufferTest, ALineOfWhichAPartIsOutIsCompletedFirst)
{
    const Pipe pipe;
    Console console(pipe.writer());
    const std::string begin(pipe.room(), 'a'), end(1000, 'b');
    printLine(console.out, begin, end, "\nlost");
    printLine(console.out, "lost too");
    EXPECT_EQ(pipe.read(), begin);
    printLine(console.out, "next");
    EXPECT_EQ(pipe.read(), end + "\n!!!!!! 2 console lines were lost\nnext\n");
}

TEST_P(ConsoleStreamBufferTest, ALineThatIsPrintedInPiecesIsCompletedFirst)
{
    const Pipe pipe;
    Console console(pipe.writer());
    console.out << "begin " << std::flush;
    EXPECT_EQ(pipe.read(), "begin ");
    pipe.fill();
    console.out << "middle " << std::flush;
    console.out << "end\nlost\n" << std::flush;
    pipe.read();
    printLine(console.out, "next");
    EXPECT_EQ(pipe.read(), "middle end\n!!!!!! 1 console lines were lost\nnext\n");
}

TEST_P(ConsoleStreamBufferTest, ALineThatIsOutInPartIsEndedBeforeTheLostOnesAreTold)
{
    const Pipe pipe;
    Console console(pipe.writer());
    console.out << "begin " << std::flush;
    EXPECT_EQ(pipe.read(), "begin ");
    pipe.fill();
    console.out << "middle " << std::flush;
    pipe.read();
    console.out << "end\nnext\n" << std::flush;
    EXPECT_EQ(pipe.read(), "middle end\nnext\n");
}

TEST_P(ConsoleStreamBufferTest, ALineWhoseBeginningIsLostIsLostAsAWhole)
{
    const Pipe pipe;
    pipe.fill();
    Console console(pipe.writer());
    console.out << "begin " << std::flush;
    pipe.read();
    console.out << "middle " << std::flush;
    console.out << "end\nnext\n" << std::flush;
    EXPECT_EQ(pipe.read(), "!!!!!! 1 console lines were lost\nnext\n");
}

TEST_P(ConsoleStreamBufferTest, AReaderThatTakesItsTimeGetsAll)
{
    const Pipe pipe;
    Console console(pipe.writer(), kLong);
    std::string text;
    for (int i = 0; i < 20000; ++i) text += std::to_string(i) + "\n";
    std::jthread writer([&] { console.out << text << std::flush; });
    std::string read;
    EXPECT_TRUE(eventually([&] { return (read += pipe.read()).size() >= text.size(); }));
    EXPECT_TRUE(read == text);
}

TEST_P(ConsoleStreamBufferTest, AReaderIsWaitedForAnewWheneverItHasRead)
{
    const Pipe pipe;
    Console console(pipe.writer(), 500ms);
    std::string read;
    s_duringWaitForRoom = [&] {
        std::this_thread::sleep_for(500ms);  // all of the patience
        read += pipe.read();
    };
    const std::string line = std::string(3 * pipe.room(), 'a') + "\n";
    printLine(console.out, std::string_view(line).substr(0, line.size() - 1));
    s_duringWaitForRoom = nullptr;
    EXPECT_TRUE(read + pipe.read() == line);
}

TEST_P(ConsoleStreamBufferTest, LinesOfManyThreadsComeOutWhole)
{
    constexpr int kThreads = 8, kLines = 200;
    const Pipe pipe;
    Console console(pipe.writer(), kLong);
    std::string read;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreads; ++i)
            threads.emplace_back([&, line = std::string(100, static_cast<char>('a' + i)) + "\n"] {
                for (int k = 0; k < kLines; ++k) {
                    console.buffer.sputn(line.data(), 101);
                    console.buffer.pubsync();
                }
            });
        EXPECT_TRUE(eventually([&] { return (read += pipe.read()).size() >= kThreads * kLines * 101U; }));
    }
    std::map<std::string_view, int> lines;
    for (std::size_t i = 0; i + 101 <= read.size(); i += 101) ++lines[std::string_view(read).substr(i, 101)];
    EXPECT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[std::string(100, 'h') + "\n"], 200);
}

TEST_P(ConsoleStreamBufferTest, AReaderThatDiesIsNoMoreThanLostLines)
{
    signal(SIGPIPE, SIG_IGN);
    Pipe pipe;
    Console console(pipe.writer(), kLong);
    pipe.closeReader();
    for (int i = 0; i < 3; ++i) printLine(console.out, "line");
    EXPECT_TRUE(console.out.good());
}

TEST_P(ConsoleStreamBufferTest, ThePipeItselfStaysAsItIs)
{
    const Pipe pipe;
    pipe.fill();
    Console console(pipe.writer());
    printLine(console.out, "line");
    EXPECT_EQ(fcntl(pipe.writer(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_P(ConsoleStreamBufferTest, APipeThatDoesNotBlockIsWaitedForAsWell)
{
    const Pipe pipe;
    pipe.fill();
    setBlocking(pipe.writer(), false);
    Console console(pipe.writer(), kLong);
    std::jthread writer([&] { printLine(console.out, "line"); });
    std::string read;
    EXPECT_TRUE(eventually([&] { return (read += pipe.read()).ends_with("line\n"); }));
    EXPECT_EQ(read, std::string(pipe.room(), '.') + "line\n");
}

TEST_P(ConsoleStreamBufferTest, AStoppedTerminalIsAReaderThatDoesNotRead)
{
    const Terminal terminal;
    Console console(terminal.line());
    ASSERT_EQ(tcflow(terminal.line(), TCOOFF), 0);
    printLine(console.out, "lost");
    ASSERT_EQ(tcflow(terminal.line(), TCOON), 0);
    printLine(console.out, "next");
    EXPECT_EQ(terminal.readUntil("next\n"), "!!!!!! 1 console lines were lost\nnext\n");
}

TEST_P(ConsoleStreamBufferTest, ATerminalThatNobodyReadsGetsWholeLines)
{
    const Terminal terminal;
    Console console(terminal.line());
    const std::string line(99, 'a');
    for (int i = 0; i < 2000; ++i) printLine(console.out, line);
    // What the terminal holds comes out in several steps.
    std::string text;
    EXPECT_TRUE(eventually([&] {
        printLine(console.out, "next");
        return (text += terminal.read()).find(" console lines were lost\nnext\n") != std::string::npos;
    }));
    std::istringstream lines(text.substr(0, text.rfind('\n')));
    for (std::string one; std::getline(lines, one);)
        EXPECT_TRUE(one == line || one == "next" || one.starts_with("!!!!!! ")) << one;
}

TEST_P(ConsoleStreamBufferTest, OnATerminalALineGoesOutAtItsEnd)
{
    const Terminal terminal;
    Console console(terminal.line());
    console.out << "one\ntwo";
    EXPECT_EQ(terminal.readUntil("one\n"), "one\n");
    console.out << std::flush;
    EXPECT_EQ(terminal.readUntil("two"), "two");
}

TEST_P(ConsoleStreamBufferDeathTest, ATerminalThatStopsJobsInTheBackgroundDoesNotStopThisOne)
{
    const auto play = [](const Terminal& terminal) {
        stopJobsInTheBackground(terminal);
        return [&] {
            Console console(terminal.line());
            printLine(console.out, "from the background");
        };
    };
    EXPECT_EXIT(inTheBackground(play), testing::ExitedWithCode(7), "");
}

TEST_P(ConsoleStreamBufferDeathTest, ATerminalThatBeginsToStopJobsBehindTheLookAtItDoesNotStopThisOne)
{
    const auto play = [](const Terminal& terminal) {
        return [&] {
            Console console(terminal.line());
            s_afterLookAtTerminal = [&] { stopJobsInTheBackground(terminal); };
            printLine(console.out, "under way");
            if (s_afterLookAtTerminal) _exit(1);
        };
    };
    EXPECT_EXIT(inTheBackground(play), testing::ExitedWithCode(7), "");
}

INSTANTIATE_TEST_SUITE_P(Terminals, ConsoleStreamBufferDeathTest, testing::Bool(),
                         [](const auto& row) { return row.param ? "OpenedAgain" : "AsTheyAre"; });

TEST(ConsoleStreamBufferSocketTest, ASocketThatNobodyReadsIsDroppedAndRecovers)
{
    const HardDeadline deadline;
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    setBlocking(ends[0], false);
    Console console(ends[1]);
    const std::string line(999, 'a');
    for (int i = 0; i < 2000; ++i) printLine(console.out, line);
    const std::string text = allAt(ends[0]);
    const std::string lost = std::to_string(2000 - text.size() / 1000);
    printLine(console.out, "next");
    EXPECT_EQ(allAt(ends[0]), "!!!!!! " + lost + " console lines were lost\nnext\n");
    EXPECT_EQ(fcntl(ends[1], F_GETFL) & O_NONBLOCK, 0);
    close(ends[0]);
    close(ends[1]);
}

TEST(ConsoleStreamBufferErrorTest, NothingIsWrittenForNoTextAndForTheEndOfOne)
{
    const Pipe pipe;
    OpenBuffer buffer(pipe.writer());
    EXPECT_EQ(buffer.sputn("text", 0), 0);
    EXPECT_NE(buffer.overflow(EOF), EOF);
    EXPECT_EQ(buffer.pubsync(), 0);
    EXPECT_EQ(pipe.read(), "");
}

TEST(ConsoleStreamBufferErrorTest, AFullDiskIsRecoveredFrom)
{
    const int disk = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(disk, 0);
    Console console(disk, kLong);
    printLine(console.out, "a");
    printLine(console.out, "b");
    EXPECT_TRUE(console.out.good());
    const Pipe pipe;  // in its place, there is room again
    ASSERT_EQ(dup2(pipe.writer(), disk), disk);
    printLine(console.out, "next");
    EXPECT_EQ(pipe.read(), "!!!!!! 2 console lines were lost\nnext\n");
    close(disk);
}

TEST(ConsoleStreamBufferErrorTest, AClosedDescriptorIsNoMoreThanLostLines)
{
    Console console(-1, kLong);
    printLine(console.out, "line");
    EXPECT_TRUE(console.out.good());
}

TEST(ConsoleStreamBufferErrorTest, WithoutMemoryALineOfWhichAPartIsOutIsCut)
{
    const Pipe pipe;
    Console console(pipe.writer());
    const std::string begin(pipe.room(), 'a'), text = begin + std::string(1000, 'b') + "\n";
    std::size_t refused = 0;
    {
        const FailingAllocation noMemory;
        console.buffer.sputn(text.data(), static_cast<std::streamsize>(text.size()));
        refused = noMemory.refused();
    }
    EXPECT_EQ(refused, 1U);
    EXPECT_EQ(pipe.read(), begin);
    printLine(console.out, "next");
    EXPECT_EQ(pipe.read(), "\n!!!!!! 1 console lines were lost\nnext\n");
}
