#include "lab/ctl/record/RecordingFiles.h"
#include "lab/ctl/record/RecordingInfo.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace orvanectl;
using std::chrono::seconds;

namespace {

RecordingFiles::Time at(int second)
{
    return RecordingFiles::Time(seconds(second));
}

/// Files "x-0001.mcap" and so on, which record the bus and the topic "Log".
struct RecordingFilesTest : testing::Test {
    void line(const std::string& text) { files.recorder().takeBusLine(text, 1); }

    std::string path(const std::string& name) const { return (directory.path() / name).string(); }

    const TemporaryDirectory directory;
    RecordingFiles files{path("x.mcap"), true, [](mcap::Output& output) {
                             return std::make_unique<Recorder>(
                                 output, std::vector<WatchedTopic>{{"Log", findRecordType("EventLog")}},
                                 std::vector<std::string>{}, mcap::Table{});
                         }};
};

}  // namespace

TEST(SplitLimitTest, SizesAndTimesHaveTheirUnits)
{
    EXPECT_EQ(splitLimitOf("64MB").bytes, 64'000'000U);
    EXPECT_EQ(splitLimitOf("2GB").bytes, 2'000'000'000U);
    EXPECT_EQ(splitLimitOf("10min").seconds, 600);
    EXPECT_EQ(splitLimitOf("10min").bytes, 0U);
    EXPECT_EQ(splitLimitOf("90s").seconds, 90);
}

TEST(SplitLimitTest, AnythingElseIsRefused)
{
    for (const char* const text :
         {"", "64", "MB", "0s", "-1s", "1.5h", "64 MB", "64MB ", "1000001s", "99999999999999999999s", "1day"})
        EXPECT_THROW(splitLimitOf(text), std::invalid_argument) << text;
}

TEST(NumberedFileTest, NumberStandsBeforeTheEnding)
{
    EXPECT_EQ(numberedFile("a.b/drive.mcap", 7), "a.b/drive-0007.mcap");
    EXPECT_EQ(numberedFile("drive", 12345), "drive-12345");
}

TEST_F(RecordingFilesTest, EachFileIsWholeByItself)
{
    files.open(at(0));
    line("{}");
    files.close({});
    files.open(at(1));
    line("{}");
    line("{}");
    files.close({});
    EXPECT_TRUE(infoOf(path("x-0001.mcap")).isClosed);
    EXPECT_TRUE(infoOf(path("x-0002.mcap")).isClosed);
    EXPECT_EQ(infoOf(path("x-0002.mcap")).channels.back().messages, 2U);
    EXPECT_EQ(files.messages(), 3U);
    EXPECT_EQ(files.files(), 2U);
}

TEST_F(RecordingFilesTest, FileThatIsThereIsPassedOver)
{
    directory.write("x-0001.mcap", "mine");
    files.open(at(0));
    EXPECT_EQ(files.file(), path("x-0002.mcap"));
    EXPECT_EQ(readFile(path("x-0001.mcap")), "mine");
}

TEST_F(RecordingFilesTest, FileIsFullByItsTime)
{
    files.open(at(100));
    EXPECT_FALSE(files.isFull({0, 60}, at(159)));
    EXPECT_TRUE(files.isFull({0, 60}, at(160)));
    EXPECT_FALSE(files.isFull({}, at(1'000'000)));
}

TEST_F(RecordingFilesTest, FileIsFullByItsSizeOnceThatIsWritten)
{
    files.open(at(0));
    const std::uint64_t limit = files.recorder().size() + 1;
    line("{}");
    EXPECT_FALSE(files.isFull({limit, 0}, at(0)));
    files.settle({});
    EXPECT_TRUE(files.isFull({limit, 0}, at(0)));
}

TEST_F(RecordingFilesTest, FileWithoutMessagesIsNotFullByItsSize)
{
    files.open(at(0));
    files.settle({});
    EXPECT_GT(files.recorder().size(), 500U);
    EXPECT_FALSE(files.isFull({500, 0}, at(0)));
}

TEST_F(RecordingFilesTest, FileTellsWhatWasMissedSinceTheOneBefore)
{
    files.open(at(0));
    files.close({{{"Log", 3}}, {{"Log", 17}}});
    files.open(at(1));
    files.close({{{"Log", 5}}, {{"Log", 17}}});
    EXPECT_EQ(infoOf(path("x-0001.mcap")).missed, (mcap::Table{{"Log", "3"}}));
    EXPECT_EQ(infoOf(path("x-0001.mcap")).earlier, (mcap::Table{{"Log", "17"}}));
    EXPECT_EQ(infoOf(path("x-0002.mcap")).missed, (mcap::Table{{"Log", "2"}}));
    EXPECT_EQ(infoOf(path("x-0002.mcap")).earlier, mcap::Table());
}
