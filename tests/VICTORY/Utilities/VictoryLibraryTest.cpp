#include "VICTORY/Utilities/VictoryLibrary.h"
#include "tests/support/ConfinedChild.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

struct VictoryLibraryTest : testing::Test {
    VictoryLibrary::Answer setUp()
    {
        return VictoryLibrary::setUp(service,
                                     {.saveVclid = [](auto...) { return 0; },
                                      .tellNavWarSa = [](auto...) {},
                                      .tellWarningMessages = [](auto...) {},
                                      .clearSystemData = [](auto...) { return 0; },
                                      .tellSystemConfiguration = [](auto...) {}},
                                     this, 2.5);
    }
    VictoryLibrary::Answer setUpBuiltInTests()
    {
        return VictoryLibrary::setUpBuiltInTests(
            service, {.execute = [](auto...) {}, .getResults = [](auto...) {}, .clearResults = [](auto...) {}}, this);
    }

    VictoryRecorder victory;
    VapntsService* service = victory.newService();
};

/// A file on the disk that gets another text.
struct ReplaceTextFileTest : VictoryLibraryTest {
    VictoryLibrary::Answer replace() { return VictoryLibrary::replaceTextFile("new", path); }

    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
            names.push_back(entry.path().filename().string());
        return names;
    }

    mode_t mode() const
    {
        struct stat status = {};
        return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }

    const TemporaryDirectory directory;
    const std::string path = directory.write("file", "old");
};

/// What the next order to bring a file to the disk answers, and with which error; nothing if the disk does.
std::optional<int> s_syncError;

}  // namespace

extern "C" {

int __real_fsync(int file);
int __wrap_fsync(int file);

int __wrap_fsync(int file)
{
    if (!s_syncError) return __real_fsync(file);
    errno = *std::exchange(s_syncError, std::nullopt);
    return -1;
}
}

TEST_F(VictoryLibraryTest, ZeroAloneIsSuccess)
{
    EXPECT_TRUE(VictoryLibrary::Answer(0).isSuccess());
    EXPECT_FALSE(VictoryLibrary::Answer(1).isSuccess());
    EXPECT_FALSE(VictoryLibrary::Answer(-1).isSuccess());
    EXPECT_EQ(VictoryLibrary::Answer(-7).number(), -7);
}

TEST_F(VictoryLibraryTest, OwnersCallbacksAndGroupsAreSetUpInOrder)
{
    victory.forgetCalls();
    EXPECT_TRUE(setUp().isSuccess());
    EXPECT_THAT(victory.operations(),
                ElementsAre("vapntsInitSaveVclidCallback", "vapntsInitPubGroup", "vapntsInitPubGroup",
                            "vapntsInitPubGroup", "vapntsInitTellCallback", "vapntsInitTellCallback",
                            "vapntsInitTellClearSystemDataCallback", "vapntsInitTellSystemConfigurationCallback"));
    EXPECT_EQ(victory.last("vapntsInitPubGroup").real(1), 2.5);
    EXPECT_TRUE(victory.hasTellCallback(VAPNTS_PUB_GROUP_NAVWAR_SA));
    EXPECT_TRUE(victory.hasTellCallback(VAPNTS_PUB_GROUP_WARNING_MESSAGES));
    EXPECT_FALSE(victory.hasTellCallback(VAPNTS_PUB_GROUP_BLENDED_NAVIGATION));
}

TEST_F(VictoryLibraryTest, FirstFailureIsAnsweredAndTheRestIsSetUp)
{
    victory.answer("vapntsInitPubGroup", 5);
    victory.answer("vapntsInitTellSystemConfigurationCallback", 6);
    EXPECT_EQ(setUp().number(), 5);
    EXPECT_EQ(victory.count("vapntsInitPubGroup"), 3U);
    EXPECT_EQ(victory.count("vapntsInitTellSystemConfigurationCallback"), 1U);

    victory.answer("vapntsInitTellGetBuiltInTestResultsCallback", 7);
    EXPECT_EQ(setUpBuiltInTests().number(), 7);
    EXPECT_EQ(victory.count("vapntsInitTellClearBuiltInTestResultsCallback"), 1U);
}

TEST_F(VictoryLibraryTest, AnswersOfTheLibraryAreHandedOn)
{
    victory.answer("vapntsStartService", 3);
    victory.answer("vapntsTellNavWarSaData", 4);
    EXPECT_EQ(VictoryLibrary::startService(service).number(), 3);
    EXPECT_EQ(VictoryLibrary::tell(service, VapntcNavWarSaRecord{}).number(), 4);
    EXPECT_TRUE(VictoryLibrary::tell(service, VapntcAvailableOutputs{}).isSuccess());
}

TEST_F(VictoryLibraryTest, FileThatIsNotThereIsAFailure)
{
    std::array<char, 16> buffer{};
    EXPECT_FALSE(VictoryLibrary::readTextFile("/unit/none", buffer).isSuccess());
    ASSERT_TRUE(VictoryLibrary::writeTextFile("text", "/unit/file").isSuccess());
    ASSERT_TRUE(VictoryLibrary::readTextFile("/unit/file", buffer).isSuccess());
    EXPECT_STREQ(buffer.data(), "text");
}

TEST_F(VictoryLibraryTest, FaultsReachTheOperationsOfTheirKind)
{
    const VictoryLibrary::Fault fault{"text", true, 2, 22, 1};
    const auto id = VictoryLibrary::addFault(victory.gens(), fault);
    EXPECT_NE(id, 0U);
    EXPECT_EQ(victory.last("vgensAddFault").text(0), "text");
    EXPECT_TRUE(VictoryLibrary::removeFault(victory.gens(), id, 0).isSuccess());
    EXPECT_EQ(victory.last("vgensRemoveFault").number(0), id);
    EXPECT_EQ(victory.count("vapntsRemoveFault"), 0U);
}

TEST_F(ReplaceTextFileTest, ANewTextIsWrittenBesideAndTakesThePlace)
{
    std::string meanwhile;
    victory.onCall("vutilWriteStringToFile", [&] { meanwhile = readFile(path); });
    EXPECT_TRUE(replace().isSuccess());
    EXPECT_EQ(meanwhile, "old");
    EXPECT_EQ(victory.last("vutilWriteStringToFile").text(1), path + ".replacement");
    EXPECT_EQ(readFile(path), "new");
    EXPECT_THAT(names(), ElementsAre("file"));
    EXPECT_EQ(victory.count("vutilWriteStringToFile"), 1U);
}

TEST_F(ReplaceTextFileTest, AFailedWriteLeavesTheOldText)
{
    victory.onCall("vutilWriteStringToFile", [&] {
        directory.write(std::filesystem::path(victory.last("vutilWriteStringToFile").text(1)).filename(), "n");
    });
    victory.answer("vutilWriteStringToFile", 5);
    EXPECT_EQ(replace().number(), 5);
    EXPECT_EQ(readFile(path), "old");
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(ReplaceTextFileTest, AWriteThatThrowsLeavesTheOldTextAlone)
{
    victory.onCall("vutilWriteStringToFile", [] { throw std::runtime_error("no luck"); });
    EXPECT_THROW(std::ignore = replace(), std::runtime_error);
    EXPECT_EQ(readFile(path), "old");
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(ReplaceTextFileTest, TheModeIsKept)
{
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    EXPECT_TRUE(replace().isSuccess());
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(mode(), 0640U);
}

TEST_F(ReplaceTextFileTest, TheOwnerAndTheGroupAreKept)
{
    if (::chown(path.c_str(), 12, 34) != 0) GTEST_SKIP() << "no file can be given to another owner here";
    EXPECT_TRUE(replace().isSuccess());
    EXPECT_EQ(readFile(path), "new");
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 12U);
    EXPECT_EQ(status.st_gid, 34U);
}

TEST_F(ReplaceTextFileTest, WhereNoOwnerMayBeChangedAFileOfThisUserIsReplacedStill)
{
    const int written = inChild([this] {
        if (!confineSystemCalls(SYS_fchown, SECCOMP_RET_ERRNO | EPERM, SECCOMP_RET_ALLOW)) return kNotPossible;
        if (!replace().isSuccess()) return 1;
        return victory.last("vutilWriteStringToFile").text(1) == path + ".replacement" ? 0 : 2;
    });
    if (written == kNotPossible) GTEST_SKIP() << "no system calls can be refused here";
    EXPECT_EQ(written, 0);
    EXPECT_EQ(readFile(path), "new");
}

TEST_F(ReplaceTextFileTest, ALinkStaysAndItsTargetIsReplaced)
{
    const auto link = directory.path() / "link";
    std::filesystem::create_symlink(path, link);
    EXPECT_TRUE(VictoryLibrary::replaceTextFile("new", link.string()).isSuccess());
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(readFile(path), "new");
    EXPECT_THAT(names(), UnorderedElementsAre("file", "link"));
}

TEST_F(ReplaceTextFileTest, WhatAPowerFailureHasLeftIsInNobodysWay)
{
    directory.write("file.replacement", "half of a longer tex");
    EXPECT_TRUE(replace().isSuccess());
    EXPECT_EQ(readFile(path), "new");
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(ReplaceTextFileTest, WhereNothingCanBePutBesideItTheFileIsWrittenInPlace)
{
    std::filesystem::create_directory(path + ".replacement");
    directory.write("file.replacement/anything", "");
    EXPECT_TRUE(replace().isSuccess());
    EXPECT_EQ(victory.last("vutilWriteStringToFile").text(1), path);
    EXPECT_EQ(readFile(path), "new");
}

TEST_F(ReplaceTextFileTest, WhereThereIsNoFileYetItIsWrittenInPlace)
{
    const std::string none = (directory.path() / "none").string();
    EXPECT_TRUE(VictoryLibrary::replaceTextFile("new", none).isSuccess());
    EXPECT_EQ(victory.last("vutilWriteStringToFile").text(1), none);
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(ReplaceTextFileTest, APathThatCanNotBeFollowedIsAFailureAndNotAFileThatIsYetToBeMade)
{
    const auto loop = directory.path() / "loop";
    std::filesystem::create_symlink(loop, loop);
    EXPECT_FALSE(VictoryLibrary::replaceTextFile("new", loop.string()).isSuccess());
    EXPECT_EQ(victory.count("vutilWriteStringToFile"), 0U);
}

TEST_F(ReplaceTextFileTest, AFileSystemThatCanNotBeToldToReachTheDiskKeepsNothingFromBeingSaved)
{
    for (const int error : {EINVAL, ENOSYS, ENOTSUP, EROFS}) {
        directory.write("file", "old");
        s_syncError = error;
        EXPECT_TRUE(replace().isSuccess()) << error;
        EXPECT_EQ(s_syncError, std::nullopt);
        EXPECT_EQ(readFile(path), "new") << error;
    }
}

TEST_F(ReplaceTextFileTest, ADiskThatFailsLeavesTheOldText)
{
    for (const int error : {EIO, ENOSPC, EDQUOT}) {
        s_syncError = error;
        EXPECT_FALSE(replace().isSuccess()) << error;
        EXPECT_EQ(readFile(path), "old") << error;
        EXPECT_THAT(names(), ElementsAre("file"));
    }
}
