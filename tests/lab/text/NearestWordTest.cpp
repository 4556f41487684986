#include "lab/text/NearestWord.h"

#include <gtest/gtest.h>

using labtext::nearestWord;

namespace {

const std::vector<std::string> kVerbs = {"decode", "bus", "echo", "hz", "check"};

}  // namespace

TEST(NearestWordTest, ALetterLeftOutInsertedReplacedOrSwappedIsNear)
{
    EXPECT_EQ(nearestWord("ech", kVerbs), "echo");
    EXPECT_EQ(nearestWord("eccho", kVerbs), "echo");
    EXPECT_EQ(nearestWord("acho", kVerbs), "echo");
    EXPECT_EQ(nearestWord("ceho", kVerbs), "echo");
}

TEST(NearestWordTest, CaseCountsNothing)
{
    EXPECT_EQ(nearestWord("ECHO", kVerbs), "echo");
}

TEST(NearestWordTest, TheFirstOfEquallyNearOnesIsTaken)
{
    EXPECT_EQ(nearestWord("PARAM_0", {"PARAM_1", "PARAM_2"}), "PARAM_1");
}

TEST(NearestWordTest, AThirdOfTheLettersMayDiffer)
{
    EXPECT_EQ(nearestWord("abcxyf", {"abcdef"}), "abcdef");
    EXPECT_EQ(nearestWord("abxyzf", {"abcdef"}), "");
}

TEST(NearestWordTest, NothingIsNearAnEmptyWordOrList)
{
    EXPECT_EQ(nearestWord("", kVerbs), "");
    EXPECT_EQ(nearestWord("echo", {}), "");
    EXPECT_EQ(nearestWord("x", {""}), "");
}

TEST(NearestWordTest, LongWordsAreNeverMeant)
{
    const std::string longest(64, 'a'), longer(65, 'a');
    EXPECT_EQ(nearestWord(longest, {longest}), longest);
    EXPECT_EQ(nearestWord(longer, {longest}), "");
    EXPECT_EQ(nearestWord(longest, {longer}), "");
}
