#include "lab/ctl/record/Draft.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/stat.h>

using namespace orvanectl;

namespace {

struct DraftTest : testing::Test {
    static void write(const std::string& where, Draft::Place place, const std::string& text)
    {
        Draft draft(where, place);
        draft.output().write(mcap::bytesOf(text));
        draft.keep();
    }

    /// Of the directory's files.
    std::size_t count() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(directory.path()), {}));
    }

    static unsigned modeOf(const std::string& file)
    {
        struct stat status {};
        EXPECT_EQ(::stat(file.c_str(), &status), 0);
        return status.st_mode & 0777U;
    }

    const TemporaryDirectory directory;
    const std::string path = (directory.path() / "x").string();
};

}  // namespace

TEST_F(DraftTest, FileIsThereOnceItIsKept)
{
    Draft draft(path, Draft::Place::Free);
    draft.output().write(mcap::bytesOf("text"));
    EXPECT_FALSE(std::filesystem::exists(path));
    draft.keep();
    EXPECT_EQ(readFile(path), "text");
    EXPECT_EQ(count(), 1U);
}

TEST_F(DraftTest, NothingIsLeftOfWhatWasNotKept)
{
    Draft(path, Draft::Place::Free).output().write(mcap::bytesOf("text"));
    EXPECT_EQ(count(), 0U);
}

TEST_F(DraftTest, NothingIsLeftWhenASignalEndsTheProcess)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        EXPECT_EXIT(
            {
                const Draft draft(path, Draft::Place::Free);
                std::raise(signal);
            },
            testing::KilledBySignal(signal), "");
    EXPECT_EQ(count(), 0U);
}

TEST_F(DraftTest, ASignalThatWasIgnoredStaysSo)
{
    const auto before = std::signal(SIGHUP, SIG_IGN);
    {
        Draft draft(path, Draft::Place::Free);
        std::raise(SIGHUP);
        draft.keep();
    }
    EXPECT_EQ(std::signal(SIGHUP, before), SIG_IGN);
    EXPECT_EQ(count(), 1U);
}

TEST_F(DraftTest, WhatStandsAtAFreePlaceStays)
{
    directory.write("x", "mine");
    EXPECT_EQ(errorOf([&] { write(path, Draft::Place::Free, "other"); }), path + ": File exists");
    std::filesystem::remove(path);
    Draft draft(path, Draft::Place::Free);
    directory.write("x", "mine");
    EXPECT_EQ(errorOf([&] { draft.keep(); }), path + ": File exists");
    EXPECT_EQ(readFile(path), "mine");
}

TEST_F(DraftTest, WhatWasLeftOfAnotherDoesNotHinder)
{
    directory.write("x.part", "half");
    write(path, Draft::Place::Free, "text");
    EXPECT_EQ(readFile(path), "text");
    EXPECT_EQ(readFile(path + ".part"), "half");
}

TEST_F(DraftTest, TakenPlaceKeepsItsModeAndTheLinkToIt)
{
    directory.write("x", "old");
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    const std::string link = (directory.path() / "link").string();
    std::filesystem::create_symlink("x", link);
    write(link, Draft::Place::Taken, "new");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(modeOf(path), 0640U);
}

TEST_F(DraftTest, OfATakenPlaceOnlyTheOwnerReadsUntilItIsKept)
{
    directory.write("x", "old");
    ASSERT_EQ(::chmod(path.c_str(), 0644), 0);
    Draft draft(path, Draft::Place::Taken);
    EXPECT_EQ(modeOf(path + ".part"), 0600U);
    draft.keep();
    EXPECT_EQ(modeOf(path), 0644U);
}
