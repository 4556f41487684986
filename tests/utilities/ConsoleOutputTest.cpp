#include "utilities/ConsoleOutput.h"

#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "utilities/ConsoleLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;

namespace {

/// Lets one of the standard descriptors be another one while it lives.
class Instead {
public:
    Instead(int descriptor, int other) : m_descriptor(descriptor), m_saved(dup(descriptor))
    {
        if (dup2(other, descriptor) < 0) throw std::runtime_error("cannot replace a descriptor");
    }
    ~Instead()
    {
        dup2(m_saved, m_descriptor);
        close(m_saved);
    }
    Instead(const Instead&) = delete;
    Instead& operator=(const Instead&) = delete;

private:
    int m_descriptor;
    int m_saved;
};

std::string targetOf(int descriptor)
{
    std::array<char, PATH_MAX> path{};
    const ssize_t size = readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path.data(), path.size());
    return {path.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

}  // namespace

TEST(ConsoleOutputTest, EachStreamReachesItsDescriptorAsLongAsItLives)
{
    const DescriptorCapture out(STDOUT_FILENO), err(STDERR_FILENO);
    std::streambuf* const before = std::cout.rdbuf();
    std::FILE* const errorsBefore = stderr;
    {
        const ConsoleOutput console;
        printLine(std::cout, "output");
        std::cerr << "error\n";
        std::clog << "log\n";
        std::fprintf(stderr, "%s\n", "last words");
        EXPECT_EQ(out.text(), "output\n");
        EXPECT_EQ(err.text(), "error\nlog\nlast words\n");
        std::cout << "unfinished";
    }
    EXPECT_EQ(out.text(), "output\nunfinished");
    EXPECT_EQ(std::cout.rdbuf(), before);
    EXPECT_EQ(stderr, errorsBefore);
    EXPECT_EQ(std::clog.flags() & std::ios::unitbuf, 0);
}

TEST(ConsoleOutputTest, AStreamThatSomebodyElsePutInPlaceStays)
{
    std::FILE* const before = stderr;
    {
        const ConsoleOutput console;
        stderr = stdout;
    }
    EXPECT_EQ(stderr, stdout);
    stderr = before;
}

TEST(ConsoleOutputTest, ALogThatHadNoBufferHasNoneAfterwards)
{
    std::clog << std::unitbuf;
    {
        const ConsoleOutput console;
    }
    EXPECT_NE(std::clog.flags() & std::ios::unitbuf, 0);
    std::clog << std::nounitbuf;
}

TEST(ConsoleOutputTest, AClosedDescriptorHasNoReaderInCommonWithTheOther)
{
    for (const auto& [closed, open] :
         {std::pair(STDOUT_FILENO, STDERR_FILENO), std::pair(STDERR_FILENO, STDOUT_FILENO)}) {
        const DescriptorCapture captured(open);
        const Instead restored(closed, closed);
        close(closed);
        {
            const ConsoleOutput console;
            printLine(std::cout, "output");
            printLine(std::cerr, "error");
        }
        EXPECT_EQ(captured.text(), open == STDERR_FILENO ? "error\n" : "output\n");
    }
}

TEST(ConsoleOutputTest, WhatWasPrintedBeforeComesOutFirst)
{
    const DescriptorCapture out(STDOUT_FILENO);
    std::cout << "before ";
    const ConsoleOutput console;
    printLine(std::cout, "after");
    EXPECT_EQ(out.text(), "before after\n");
}

TEST(ConsoleOutputTest, ErrorsComeBehindTheOutputOfBefore)
{
    int pipe[2];
    ASSERT_EQ(pipe2(pipe, O_CLOEXEC), 0);
    {
        const Instead out(STDOUT_FILENO, pipe[1]), err(STDERR_FILENO, pipe[1]);
        const ConsoleOutput console;
        std::cout << "output\n";
        std::cerr << "error\n";
        std::cout << "more\n" << std::flush;
    }
    std::array<char, 100> text{};
    EXPECT_EQ(read(pipe[0], text.data(), text.size()), 18);
    EXPECT_STREQ(text.data(), "output\nerror\nmore\n");
    close(pipe[0]);
    close(pipe[1]);
}

TEST(ConsoleOutputTest, BothStreamsLoseLinesTogetherWhereTheyHaveOneReader)
{
    const HardDeadline deadline;
    int pipe[2];
    ASSERT_EQ(pipe2(pipe, O_CLOEXEC), 0);
    const std::string room(static_cast<std::size_t>(fcntl(pipe[1], F_SETPIPE_SZ, 1)), '.');
    ASSERT_EQ(write(pipe[1], room.data(), room.size()), static_cast<ssize_t>(room.size()));
    std::string text(2 * room.size(), '\0');
    {
        const Instead out(STDOUT_FILENO, pipe[1]), err(STDERR_FILENO, pipe[1]);
        const ConsoleOutput console;
        printLine(std::cout, "output");
        printLine(std::cerr, "error");
        read(pipe[0], text.data(), text.size());
        printLine(std::cerr, "next");
    }
    text.resize(static_cast<std::size_t>(read(pipe[0], text.data(), text.size())));
    EXPECT_EQ(text, "!!!!!! 2 console lines were lost\nnext\n");
    close(pipe[0]);
    close(pipe[1]);
}

TEST(ConsoleOutputDeathTest, WhatIsNotFlushedGoesOutAtTheExitOfTheProcess)
{
    const auto play = [] {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        ConsoleOutput::install();
        ConsoleOutput::install();
        std::cout << "unfinished";
        std::exit(0);
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), testing::StrEq("unfinished"));
}

TEST(ConsoleOutputDeathTest, ClosedStandardDescriptorsAreOpenedOnTheNullDevice)
{
    const auto play = [](int first, int last) {
        for (int descriptor = first; descriptor <= last; ++descriptor) close(descriptor);
        openClosedStandardDescriptors();
        const int next = dup(STDERR_FILENO);
        bool isRight = next > STDERR_FILENO;
        for (int descriptor = 0; descriptor <= 2; ++descriptor)
            isRight = isRight && (targetOf(descriptor) == "/dev/null") == (descriptor >= first && descriptor <= last);
        std::_Exit(isRight ? 7 : 8);
    };
    const int other = open("/", O_RDONLY);  // no null device
    dup2(other, STDIN_FILENO);
    EXPECT_EXIT(play(0, 2), testing::ExitedWithCode(7), "");
    EXPECT_EXIT(play(1, 1), testing::ExitedWithCode(7), "");
    EXPECT_EXIT((dup2(STDIN_FILENO, STDERR_FILENO), dup2(STDIN_FILENO, STDOUT_FILENO), play(0, 0)),
                testing::ExitedWithCode(7), "");
}
