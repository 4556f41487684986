#include "lab/ctl/QueueTaps.h"
#include "lab/ctl/ProcessLook.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace orvanectl;

namespace {

/// A named pipe that this test reads and writes, and the taps that watch it.
struct QueueTapsTest : testing::Test {
    QueueTapsTest()
    {
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        pipe = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        EXPECT_GE(pipe, 0);
        taps.emplace(std::vector<QueueName>{{"Q", path}, {"None", path + "x"}});
    }
    ~QueueTapsTest() override { close(pipe); }

    void put() { EXPECT_EQ(write(pipe, "abc", 3), 3); }
    ssize_t get()
    {
        std::array<char, 64> bytes;
        return read(pipe, bytes.data(), bytes.size());
    }
    const QueueReading& counted(int millisecond = 0)
    {
        taps->count(QueueTaps::Time(std::chrono::milliseconds(millisecond)));
        return taps->reading(0);
    }

    TemporaryDirectory directory;
    const std::string path = (directory.path() / "queue").string();
    int pipe = -1;
    std::optional<QueueTaps> taps;
};

}  // namespace

TEST_F(QueueTapsTest, WritingsAndReadingsAreCounted)
{
    for (int i = 0; i < 3; ++i) {
        put();
        EXPECT_EQ(get(), 3);
    }
    const QueueReading& reading = counted(7);
    EXPECT_EQ(reading.written, 3U);
    EXPECT_EQ(reading.taken, 3U);
    EXPECT_EQ(reading.lastTaken, QueueTaps::Time(std::chrono::milliseconds(7)));
}

TEST_F(QueueTapsTest, NothingIsTakenFromTheQueue)
{
    put();
    counted();
    taps->look();
    EXPECT_EQ(taps->reading(0).waitingBytes, 3U);
    EXPECT_EQ(get(), 3);
    EXPECT_EQ(counted().taken, 1U);
}

TEST_F(QueueTapsTest, AReadingThatFindsNothingIsNone)
{
    EXPECT_EQ(get(), -1);
    EXPECT_EQ(counted().taken, 0U);
    EXPECT_FALSE(counted().lastTaken);
}

TEST_F(QueueTapsTest, HoldersAreNamedWithWhatTheyDo)
{
    taps->look();
    EXPECT_EQ(taps->reading(0).holders, "ctl_top_tests rw");
}

TEST_F(QueueTapsTest, AQueueThatNobodyReadsIsNotOpened)
{
    close(pipe);
    pipe = -1;
    // Opening for writing waits for a reader; the look must not let it go.
    ChildProcess writer({"/bin/sh", "-c", "echo begun; exec 3>\"$0\"; echo open", path});
    EXPECT_TRUE(eventually([&] { return writer.output() == "begun\n"; }));
    for (int i = 0; i < 3; ++i) taps->look();
    EXPECT_FALSE(taps->reading(0).waitingBytes);
    EXPECT_EQ(writer.output(), "begun\n");
}

TEST_F(QueueTapsTest, ADeviceThatComesLaterIsWatchedFromThen)
{
    EXPECT_FALSE(taps->reading(1).isThere);
    const std::string late = path + "x";
    EXPECT_EQ(mkfifo(late.c_str(), 0600), 0);
    taps->look();
    EXPECT_TRUE(taps->reading(1).isThere);
    const int descriptor = open(late.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(write(descriptor, "a", 1), 1);
    counted();
    EXPECT_EQ(taps->reading(1).written, 1U);
    EXPECT_EQ(taps->reading(0).written, 0U);
    close(descriptor);
}

TEST_F(QueueTapsTest, ADeviceThatIsReplacedIsWatchedAnew)
{
    EXPECT_EQ(unlink(path.c_str()), 0);
    taps->look();
    EXPECT_FALSE(taps->reading(0).isThere);
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    taps->look();
    EXPECT_TRUE(taps->reading(0).isThere);
}

TEST(ProcessLookTest, TheTextOfAProcessIsRead)
{
    const auto stat =
        parseProcessStat("17 (a ) (b) S 1 17 17 0 -1 4194560 1 0 0 0 123 45 0 0 20 0 27 0 5 999 10752 18446");
    ASSERT_TRUE(stat);
    EXPECT_EQ(stat->name, "a ) (b");
    EXPECT_EQ(stat->state, 'S');
    EXPECT_EQ(stat->cpuTicks, 168U);
    EXPECT_EQ(stat->threads, 27U);
    EXPECT_EQ(stat->residentPages, 10752U);
}

TEST(ProcessLookTest, TextsThatAreNoneOfAProcessAreRefused)
{
    for (const char* text :
         {"", "17", "(", ")(", "17 (a) S", "17 (a)", "17 (a) S 1 2 3 4 5 6 7 8 9 10 x 12 13 14 15 16 17 18 19 20 21"})
        EXPECT_FALSE(parseProcessStat(text)) << text;
}

TEST(ProcessLookTest, TheProcessWithTheLowestNumberIsFoundAndZombiesAreNot)
{
    const TemporaryDirectory proc;
    const auto add = [&](const std::string& id, const std::string& name, char state) {
        std::filesystem::create_directory(proc.path() / id);
        std::ofstream(proc.path() / id / "stat") << id << " (" << name << ") " << state
                                                 << " 1 1 1 0 -1 0 1 0 0 0 100 0 0 0 20 0 " << id << " 0 5 999 256 0\n";
    };
    add("9", "Service", 'Z');
    add("30", "Service", 'S');
    add("200", "Service", 'R');
    add("11", "Servic", 'S');
    std::filesystem::create_directory(proc.path() / "self");
    std::filesystem::create_directory(proc.path() / "40");
    const auto found = findProcess("Service", proc.path().string());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->id, 30);
    EXPECT_EQ(found->threads, 30U);
    EXPECT_EQ(found->others, 1U);
    EXPECT_FALSE(findProcess("None", proc.path().string()));
    EXPECT_FALSE(findProcess("Service", (proc.path() / "missing").string()));
}

TEST(ProcessLookTest, TheRecorderIsFoundByItsVerbAndTellsItsFile)
{
    const TemporaryDirectory proc;
    const auto add = [&](const std::string& id, const std::string& words, char state = 'S') {
        std::filesystem::create_directories(proc.path() / id / "fd");
        std::filesystem::create_directory(proc.path() / id / "fdinfo");
        std::ofstream(proc.path() / id / "stat")
            << id << " (orvanectl) " << state << " 1 1 1 0 -1 0 1 0 0 0 100 0 0 0 20 0 1 0 5 999 256 0\n";
        std::ofstream(proc.path() / id / "cmdline") << words;
    };
    const auto open = [&](const std::string& id, const std::string& number, const std::string& file,
                          const std::string& flags) {
        std::filesystem::create_symlink(proc.path() / file, proc.path() / id / "fd" / number);
        std::ofstream(proc.path() / id / "fdinfo" / number) << "pos:\t0\nflags:\t" << flags << "\n";
    };
    for (const char* const file : {"log", "settings", "socket-lock", "drive.mcap", "later"})
        std::ofstream(proc.path() / file) << "";
    add("5", "orvanectl");
    add("6", "record");
    add("8", std::string("orvanectl\0echo\0record\0", 22));
    add("9", std::string("orvanectl\0record\0", 17), 'Z');
    EXPECT_FALSE(findRecorder(proc.path().string()));
    add("30", std::string("/usr/bin/orvanectl\0record\0-o\0drive.mcap\0", 40));
    add("200", std::string("orvanectl\0record\0", 17));
    open("30", "2", "log", "0100001");
    open("30", "3", "settings", "0100000");
    open("30", "4", "socket-lock", "0100002");
    open("30", "12", "later", "0100001");
    open("30", "7", "drive.mcap", "0100001");
    const auto found = findRecorder(proc.path().string());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->id, 30);
    EXPECT_EQ(found->file, (proc.path() / "drive.mcap").string());
    EXPECT_EQ(found->others, 1U);
    std::filesystem::remove_all(proc.path() / "30");
    EXPECT_EQ(findRecorder(proc.path().string())->file, "");
}

TEST(ProcessLookTest, AProcessThatCantBeReadAnyMoreIsPassedOver)
{
    const TemporaryDirectory proc;
    // It can be opened, and its reading fails.
    std::filesystem::create_directories(proc.path() / "7" / "stat");
    std::filesystem::create_directories(proc.path() / "7" / "fd");
    std::filesystem::create_directories(proc.path() / "7" / "fdinfo" / "3");
    std::ofstream(proc.path() / "queue") << "";
    std::filesystem::create_symlink(proc.path() / "queue", proc.path() / "7" / "fd" / "3");
    EXPECT_FALSE(findProcess("Service", proc.path().string()));
    EXPECT_EQ(holdersOf((proc.path() / "queue").string(), proc.path().string()).text, "");
}

TEST(ProcessLookTest, ThisProcessIsFound)
{
    // Others of this program may run beside it, and one that is about to end has no memory any more.
    const std::string name = "top " + std::to_string(::getpid());
    ASSERT_EQ(::prctl(PR_SET_NAME, name.c_str()), 0);
    const auto found = findProcess(name);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->id, ::getpid());
    EXPECT_GE(found->threads, 1U);
    EXPECT_GT(found->residentKiB, 100U);
}
