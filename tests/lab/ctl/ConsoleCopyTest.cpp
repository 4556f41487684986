#include "lab/ctl/record/ConsoleCopy.h"
#include "lab/mcap/Bytes.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using namespace orvanectl;

namespace {

struct LineCutterTest : testing::Test {
    void take(const std::string& text) { cutter.take(mcap::bytesOf(text)); }

    std::vector<std::string> lines;
    LineCutter cutter{[this](const std::string& line) { lines.push_back(line); }};
};

}  // namespace

TEST_F(LineCutterTest, LinesAreWholeInWhateverPiecesTheyCome)
{
    for (const char* const piece : {"on", "e\ntw", "o\n\nthr"}) take(piece);
    EXPECT_EQ(lines, (std::vector<std::string>{"one", "two", ""}));
    cutter.end();
    EXPECT_EQ(lines.back(), "thr");
}

TEST_F(LineCutterTest, LineWithoutAnEndIsHandedOverInPieces)
{
    take(std::string(65537, 'x'));
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].size(), 65536U);
    take("\n");
    EXPECT_EQ(lines.back(), "x");
}

TEST(ConsoleCopyTest, FileThatReplacesAnotherIsReadBehindIt)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("service.log", "one\n");
    std::vector<std::string> lines;
    ConsoleCopy copy(path, [&](const std::string& line) { lines.push_back(line); });
    EXPECT_FALSE(copy.take());
    std::ofstream(path, std::ios::app) << "two";
    std::filesystem::rename(directory.write("next.log", "three\n"), path);
    EXPECT_FALSE(copy.take());
    EXPECT_EQ(lines, (std::vector<std::string>{"one", "two", "three"}));
}

TEST(ConsoleCopyTest, FileThatBeginsAnewIsReadFromItsStart)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("service.log", "the first\n");
    std::vector<std::string> lines;
    ConsoleCopy copy(path, [&](const std::string& line) { lines.push_back(line); });
    EXPECT_FALSE(copy.take());
    directory.write("service.log", "next\n");
    EXPECT_FALSE(copy.take());
    EXPECT_EQ(lines, (std::vector<std::string>{"the first", "next"}));
}

TEST(ConsoleCopyTest, FileIsFollowedAsItGrows)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("service.log", "one\n");
    std::vector<std::string> lines;
    ConsoleCopy copy(path, [&](const std::string& line) { lines.push_back(line); });
    EXPECT_FALSE(copy.take());
    std::ofstream(path, std::ios::app) << "two\n";
    EXPECT_FALSE(copy.take());
    EXPECT_EQ(lines, (std::vector<std::string>{"one", "two"}));
}
