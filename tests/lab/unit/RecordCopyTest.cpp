#include "lab/unit/RecordCopy.h"

#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

using namespace unitsim;

namespace {

struct RecordCopyTest : testing::Test {
    static std::vector<std::uint8_t> bytes(const std::string& text) { return {text.begin(), text.end()}; }

    std::string text() const
    {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TemporaryDirectory directory;
    const std::string path = (directory.path() / "receiver").string();
};

}  // namespace

TEST_F(RecordCopyTest, RecordsStandBehindEachOtherUntilItsEnd)
{
    std::ofstream(path) << "of an earlier run";
    std::optional<RecordCopy> copy(path);
    copy->append(bytes("one"));
    copy->append(bytes("two"));
    EXPECT_EQ(text(), "onetwo");
    copy.reset();
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecordCopyTest, OneThatIsLargeIsReplacedAndKeptByWhoReadsIt)
{
    RecordCopy copy(path, 8);
    copy.append(bytes("first"));
    std::ifstream follower(path);
    copy.append(bytes("sec"));
    copy.append(bytes("third"));
    EXPECT_EQ(text(), "third");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(follower), {}), "firstsec");
}

TEST_F(RecordCopyTest, WhatIsNoFileIsNotReplaced)
{
    std::filesystem::create_directory(path);
    EXPECT_THROW(RecordCopy{path}, std::runtime_error);
    EXPECT_TRUE(std::filesystem::is_directory(path));
}

TEST_F(RecordCopyTest, OneThatCannotBeWrittenIsNoCopy)
{
    EXPECT_THROW(RecordCopy{path + "/below"}, std::runtime_error);
}

TEST_F(RecordCopyTest, OthersAddToItOnlyWhileItIsThere)
{
    appendToCopy(path.c_str(), bytes("none"));
    EXPECT_FALSE(std::filesystem::exists(path));
    const RecordCopy copy(path);
    appendToCopy(path.c_str(), bytes("more"));
    EXPECT_EQ(text(), "more");
}
