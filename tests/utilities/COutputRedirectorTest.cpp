#include "utilities/COutputRedirector.h"

#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "utilities/ConsoleOutput.h"
#include "utilities/ConsoleStreamBuffer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

bool streamsCanBeOpened = true;
int streamsOpened = 0;

/// Remembers every text and answers that it took it.
struct Recorder {
    std::vector<std::string> texts;

    COutputRedirector::Sink sink()
    {
        return [this](const char* text, unsigned size) {
            texts.emplace_back(text, size);
            return static_cast<int>(size);
        };
    }

    std::string all() const
    {
        std::string joined;
        for (const std::string& text : texts) joined += text;
        return joined;
    }
};

COutputRedirector::Sink answering(int answer)
{
    return [answer](const char*, unsigned) { return answer; };
}

using Texts = std::vector<std::string>;

/// Leaves the process as it found it, whatever a test does.
class COutputRedirectorTest : public testing::Test {
protected:
    COutputRedirectorTest() { streamsOpened = 0; }
    ~COutputRedirectorTest() override
    {
        streamsCanBeOpened = true;
        EXPECT_EQ(stdout, m_out);
        EXPECT_EQ(stderr, m_err);
        EXPECT_EQ(COutputRedirector::originalStdOutStreamDest, nullptr);
        EXPECT_EQ(COutputRedirector::originalStdErrStreamDest, nullptr);
    }

    std::FILE* const m_out = stdout;
    std::FILE* const m_err = stderr;
};

using COutputRedirectorDeathTest = COutputRedirectorTest;

int toStandardError(const char* text, unsigned size)
{
    return static_cast<int>(::write(STDERR_FILENO, text, size));
}

}  // namespace

extern "C" {

std::FILE* __real_fopencookie(void* cookie, const char* mode, cookie_io_functions_t functions);

std::FILE* __wrap_fopencookie(void* cookie, const char* mode, cookie_io_functions_t functions)
{
    if (!streamsCanBeOpened) return nullptr;
    ++streamsOpened;
    return __real_fopencookie(cookie, mode, functions);
}
}

TEST_F(COutputRedirectorTest, WithoutAStreamTheConsoleLeavesThatOfErrorsAlone)
{
    streamsCanBeOpened = false;
    const ConsoleOutput console;
    EXPECT_EQ(stderr, m_err);
}

TEST_F(COutputRedirectorTest, BothStreamsReachTheSinkAndNotTheDescriptors)
{
    const DescriptorCapture out(STDOUT_FILENO);
    const DescriptorCapture err(STDERR_FILENO);
    Recorder recorder;
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(recorder.sink()));
    std::printf("number %d\n", 7);
    std::fprintf(stderr, "trouble\n");
    std::puts("done");
    redirector.reset();
    EXPECT_EQ(recorder.all(), "number 7\ntrouble\ndone\n");
    EXPECT_EQ(out.text(), "");
    EXPECT_EQ(err.text(), "");
}

TEST_F(COutputRedirectorTest, EachLineArrivesAtItsEndInOneCall)
{
    Recorder recorder;
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(recorder.sink()));
    std::printf("SOAP %s: ", "fault");
    EXPECT_EQ(recorder.texts, Texts());
    std::printf("code %d\n", 12);
    EXPECT_EQ(recorder.texts, (Texts{"SOAP fault: code 12\n"}));
    std::fputs("two\n", stderr);
    EXPECT_EQ(recorder.texts, (Texts{"SOAP fault: code 12\n", "two\n"}));
    redirector.reset();
}

TEST_F(COutputRedirectorTest, LongLineArrivesWhole)
{
    const std::string line(100000, 'x');
    Recorder recorder;
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(recorder.sink()));
    std::printf("%s\n", line.c_str());
    redirector.reset();
    EXPECT_EQ(recorder.all(), line + "\n");
}

TEST_F(COutputRedirectorTest, CppStreamsKeepTheirDestination)
{
    const DescriptorCapture out(STDOUT_FILENO);
    const DescriptorCapture err(STDERR_FILENO);
    Recorder recorder;
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(recorder.sink()));
    std::cout << "own line\n" << std::flush;
    std::cerr << "own trouble\n";
    redirector.reset();
    EXPECT_EQ(recorder.texts, Texts());
    EXPECT_EQ(out.text(), "own line\n");
    EXPECT_EQ(err.text(), "own trouble\n");
}

TEST_F(COutputRedirectorTest, SinkMayPrintThroughTheCppStreams)
{
    const DescriptorCapture out(STDOUT_FILENO);
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect([](const char* text, unsigned size) {
        std::cout << "SOAP Error: " + std::string(text, size) << std::flush;
        return static_cast<int>(size);
    }));
    std::printf("no route\n");
    redirector.reset();
    EXPECT_EQ(out.text(), "SOAP Error: no route\n");
}

TEST_F(COutputRedirectorTest, SinkThatAnswersZeroLetsBothStreamsThroughToStandardOutput)
{
    const DescriptorCapture out(STDOUT_FILENO);
    const DescriptorCapture err(STDERR_FILENO);
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(answering(0)));
    EXPECT_EQ(std::printf("100%% %s\n", "%s%n"), 10);
    EXPECT_EQ(std::fprintf(stderr, "from stderr\n"), 12);
    EXPECT_EQ(std::ferror(stdout), 0);
    EXPECT_EQ(out.text(), "100% %s%n\nfrom stderr\n");
    EXPECT_EQ(err.text(), "");
    redirector.reset();
}

TEST_F(COutputRedirectorTest, TextLetThroughIsFlushedAndCutAtItsSize)
{
    const DescriptorCapture out(STDOUT_FILENO);
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(answering(0)));
    EXPECT_EQ(COutputRedirector::file_write(&redirector, "abcdef", 3), 3u);
    char arrived[16] = {};
    EXPECT_EQ(pread(STDOUT_FILENO, arrived, sizeof arrived, 0), 3);  // no flush in between
    EXPECT_STREQ(arrived, "abc");
    redirector.reset();
}

TEST_F(COutputRedirectorTest, TextLetThroughMayHoldZeros)
{
    const DescriptorCapture out(STDOUT_FILENO);
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(answering(0)));
    std::fwrite("a\0b\n", 1, 4, stdout);
    redirector.reset();
    EXPECT_EQ(out.text(), std::string("a\0b\n", 4));
}

TEST_F(COutputRedirectorTest, AnswerOfTheSinkIsTheResultWithinTheSize)
{
    struct Row {
        int answer;
        unsigned result;
    };
    constexpr Row kRows[] = {{1, 1}, {5, 5}, {6, 5}, {2147483647, 5}, {-1, 0}, {-2147483647 - 1, 0}};
    const DescriptorCapture out(STDOUT_FILENO);
    for (const Row& row : kRows) {
        COutputRedirector redirector;
        ASSERT_TRUE(redirector.redirect(answering(row.answer)));
        EXPECT_EQ(COutputRedirector::file_write(&redirector, "12345", 5), row.result) << row.answer;
    }
    EXPECT_EQ(out.text(), "");
}

TEST_F(COutputRedirectorTest, SinkThatAnswersTooMuchHarmsNothing)
{
    const DescriptorCapture out(STDOUT_FILENO);
    int calls = 0;
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect([&calls](const char*, unsigned size) {
        ++calls;
        return static_cast<int>(size) + 1000;
    }));
    EXPECT_EQ(std::printf("one\n"), 4);
    EXPECT_EQ(std::printf("two\n"), 4);
    redirector.reset();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(out.text(), "");
}

TEST_F(COutputRedirectorTest, SinkThatAnswersNegativeFailsTheWriteAndIsAskedAgain)
{
    const DescriptorCapture out(STDOUT_FILENO);
    int calls = 0;
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect([&calls](const char*, unsigned) {
        ++calls;
        return -1;
    }));
    std::printf("one\n");
    EXPECT_NE(std::ferror(stdout), 0);
    std::printf("two\n");
    redirector.reset();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(out.text(), "");
}

TEST_F(COutputRedirectorTest, ExceptionOfTheSinkGivesZeroAndStaysInside)
{
    const DescriptorCapture out(STDOUT_FILENO);
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect([](const char*, unsigned) -> int { throw std::runtime_error("sink"); }));
    EXPECT_EQ(COutputRedirector::file_write(&redirector, "text", 4), 0u);
    std::printf("lost\n");
    std::fprintf(stderr, "lost too\n");
    redirector.reset();
    EXPECT_EQ(out.text(), "");
}

TEST_F(COutputRedirectorTest, ExceptionThatIsNoStandardOneStaysInsideToo)
{
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect([](const char*, unsigned) -> int { throw 7; }));
    EXPECT_EQ(COutputRedirector::file_write(&redirector, "text", 4), 0u);
}

TEST_F(COutputRedirectorTest, MissingSinkIsAnExceptionToo)
{
    COutputRedirector redirector;
    EXPECT_EQ(COutputRedirector::file_write(&redirector, "text", 4), 0u);
}

TEST_F(COutputRedirectorTest, NullCookieGoesToTheSavedStandardOutput)
{
    const DescriptorCapture out(STDOUT_FILENO);
    Recorder recorder;
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(recorder.sink()));
    EXPECT_EQ(COutputRedirector::file_write(nullptr, "texts", 4), 4u);
    redirector.reset();
    EXPECT_EQ(out.text(), "text");
    EXPECT_EQ(recorder.texts, Texts());
}

TEST_F(COutputRedirectorTest, WithoutASavedStreamTheTextGoesToDescriptorOne)
{
    const DescriptorCapture out(STDOUT_FILENO);
    EXPECT_EQ(COutputRedirector::file_write(nullptr, "texts", 4), 4u);
    EXPECT_EQ(out.text(), "text");
}

TEST_F(COutputRedirectorTest, WithoutASavedStreamADescriptorThatIsClosedHoldsNobodyUp)
{
    const HardDeadline deadline(std::chrono::seconds(30));
    const int saved = dup(STDOUT_FILENO);
    close(STDOUT_FILENO);
    const unsigned taken = COutputRedirector::file_write(nullptr, "text", 4);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    EXPECT_EQ(taken, 4u);
}

TEST_F(COutputRedirectorTest, StaticsHoldTheOldStreamsWhileInForce)
{
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(answering(1)));
    EXPECT_EQ(COutputRedirector::originalStdOutStreamDest, m_out);
    EXPECT_EQ(COutputRedirector::originalStdErrStreamDest, m_err);
    EXPECT_EQ(stdout, stderr);
    EXPECT_NE(stdout, m_out);
    redirector.reset();
}

TEST_F(COutputRedirectorTest, SecondRedirectionIsRefusedAndChangesNothing)
{
    Recorder first, second;
    COutputRedirector redirector, other;
    ASSERT_TRUE(redirector.redirect(first.sink()));
    EXPECT_FALSE(redirector.redirect(second.sink()));
    EXPECT_FALSE(other.redirect(second.sink()));
    std::printf("text\n");
    redirector.reset();
    EXPECT_EQ(first.texts, (Texts{"text\n"}));
    EXPECT_EQ(second.texts, Texts());
    EXPECT_EQ(streamsOpened, 1);
}

TEST_F(COutputRedirectorTest, StreamThatCannotBeOpenedChangesNothing)
{
    streamsCanBeOpened = false;
    bool sinkKept = false;
    COutputRedirector redirector;
    EXPECT_FALSE(redirector.redirect([&sinkKept](const char*, unsigned size) {
        sinkKept = true;
        return static_cast<int>(size);
    }));
    EXPECT_EQ(stdout, m_out);
    EXPECT_EQ(stderr, m_err);
    EXPECT_EQ(COutputRedirector::originalStdOutStreamDest, nullptr);
    COutputRedirector::file_write(&redirector, "text", 4);
    EXPECT_FALSE(sinkKept);
    streamsCanBeOpened = true;
    EXPECT_TRUE(redirector.redirect(answering(1)));
}

TEST_F(COutputRedirectorTest, ResetWithoutARedirectionDoesNothing)
{
    COutputRedirector redirector;
    redirector.reset();
    EXPECT_EQ(stdout, m_out);
}

TEST_F(COutputRedirectorTest, ResetNeedsBothStatics)
{
    COutputRedirector redirector;
    COutputRedirector::originalStdOutStreamDest = m_err;
    redirector.reset();
    EXPECT_EQ(stdout, m_out);
    EXPECT_EQ(COutputRedirector::originalStdOutStreamDest, m_err);
    COutputRedirector::originalStdOutStreamDest = nullptr;
}

TEST_F(COutputRedirectorTest, PassedOnTextGoesThroughTheConsoleBehindWhatIsThere)
{
    const DescriptorCapture out(STDOUT_FILENO);
    ConsoleStreamBuffer console(STDOUT_FILENO);
    std::streambuf* const before = std::cout.rdbuf(&console);
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(answering(0)));
    std::cout << "own, ";
    std::printf("passed on\n");
    redirector.reset();
    EXPECT_EQ(out.text(), "own, passed on\n");
    std::cout.rdbuf(before);
}

TEST_F(COutputRedirectorTest, PassedOnTextDoesNotWaitForAReaderThatDoesNotRead)
{
    const HardDeadline deadline;
    int pipe[2];
    ASSERT_EQ(pipe2(pipe, O_CLOEXEC), 0);
    const std::string room(static_cast<std::size_t>(fcntl(pipe[1], F_SETPIPE_SZ, 1)), '.');
    ASSERT_EQ(write(pipe[1], room.data(), room.size()), static_cast<ssize_t>(room.size()));
    const int saved = dup(STDOUT_FILENO);
    dup2(pipe[1], STDOUT_FILENO);
    ConsoleStreamBuffer console(STDOUT_FILENO);
    std::streambuf* const before = std::cout.rdbuf(&console);
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(answering(0)));
    int printed = 0;
    for (int i = 0; i < 3; ++i) printed += std::printf("lost\n");
    redirector.reset();
    std::cout.rdbuf(before);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    EXPECT_EQ(printed, 15);
    close(pipe[0]);
    close(pipe[1]);
}

TEST_F(COutputRedirectorTest, AnyObjectResetsAndTheRestOfALineIsNotLost)
{
    const DescriptorCapture out(STDOUT_FILENO);
    Recorder recorder;
    COutputRedirector redirector, other;
    ASSERT_TRUE(redirector.redirect(recorder.sink()));
    std::printf("no end of line");
    other.reset();
    EXPECT_EQ(stdout, m_out);
    EXPECT_EQ(recorder.texts, (Texts{"no end of line"}));
    std::printf("after");
    EXPECT_EQ(out.text(), "after");
}

TEST_F(COutputRedirectorTest, RedirectsAgainAfterReset)
{
    Recorder first, second;
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(first.sink()));
    std::printf("one\n");
    redirector.reset();
    ASSERT_TRUE(redirector.redirect(second.sink()));
    std::printf("two\n");
    redirector.reset();
    EXPECT_EQ(first.texts, (Texts{"one\n"}));
    EXPECT_EQ(second.texts, (Texts{"two\n"}));
}

TEST_F(COutputRedirectorTest, StreamKeptAfterResetStillReachesTheSink)
{
    Recorder recorder;
    COutputRedirector redirector;
    ASSERT_TRUE(redirector.redirect(recorder.sink()));
    std::FILE* const kept = stdout;
    redirector.reset();
    std::fprintf(kept, "late\n");
    EXPECT_EQ(recorder.texts, (Texts{"late\n"}));
}

TEST_F(COutputRedirectorTest, DestructionWhileInForceHandsOverTheRestAndPutsTheStreamsBack)
{
    const DescriptorCapture out(STDOUT_FILENO);
    Recorder recorder;
    {
        COutputRedirector redirector;
        ASSERT_TRUE(redirector.redirect(recorder.sink()));
        std::printf("unfinished");
    }
    std::printf("after");
    EXPECT_EQ(recorder.texts, (Texts{"unfinished"}));
    EXPECT_EQ(out.text(), "after");
}

TEST_F(COutputRedirectorTest, DestructionAfterResetHandsOverWhatAKeptStreamHolds)
{
    Recorder recorder;
    {
        COutputRedirector redirector;
        ASSERT_TRUE(redirector.redirect(recorder.sink()));
        std::FILE* const kept = stdout;
        redirector.reset();
        std::fprintf(kept, "late");
    }
    EXPECT_EQ(recorder.texts, (Texts{"late"}));
}

TEST_F(COutputRedirectorTest, DestructionLeavesTheRedirectionOfAnotherAlone)
{
    Recorder recorder;
    COutputRedirector redirector;
    {
        COutputRedirector unused;
        COutputRedirector former;
        ASSERT_TRUE(former.redirect(answering(1)));
        former.reset();
        ASSERT_TRUE(redirector.redirect(recorder.sink()));
    }
    std::printf("still captured\n");
    redirector.reset();
    EXPECT_EQ(recorder.texts, (Texts{"still captured\n"}));
}

// What happens at the end of a process is seen in one of its own: its sink writes to descriptor 2.

TEST_F(COutputRedirectorDeathTest, ProcessMayEndWhileAStaticRedirectorIsInForce)
{
    EXPECT_EXIT(
        {
            static COutputRedirector redirector;
            redirector.redirect(toStandardError);
            std::printf("unfinished");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^unfinished$");
}

TEST_F(COutputRedirectorDeathTest, ProcessMayEndWhileARedirectorThatIsNeverDestroyedIsInForce)
{
    EXPECT_EXIT(
        {
            static COutputRedirector* const redirector = new COutputRedirector;
            redirector->redirect(toStandardError);
            std::printf("unfinished");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^unfinished$");
}

TEST_F(COutputRedirectorDeathTest, StreamIsFlushedToALivingRedirectorAtTheEndAfterReset)
{
    EXPECT_EXIT(
        {
            static COutputRedirector* const redirector = new COutputRedirector;
            redirector->redirect(toStandardError);
            std::FILE* const kept = stdout;
            redirector->reset();
            std::fprintf(kept, "late");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^late$");
}

TEST_F(COutputRedirectorDeathTest, EndFindsNoStreamOfADestroyedRedirector)
{
    EXPECT_EXIT(
        {
            auto redirector = std::make_unique<COutputRedirector>();
            redirector->redirect(toStandardError);
            std::FILE* const kept = stdout;
            redirector->reset();
            std::fprintf(kept, "once");
            redirector.reset();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^once$");
}
