#include "utilities/StringUtils.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Strings = std::vector<std::string>;
using namespace StringUtils;

TEST(StringUtilsTest, TrimTakesItsSideAlone)
{
    struct Row {
        std::string text, left, right, both;
    };
    const Row rows[] = {{"", "", "", ""},
                        {"x", "x", "x", "x"},
                        {" a b ", "a b ", " a b", "a b"},
                        {"\t\r\n a\f\v", "a\f\v", "\t\r\n a", "a"},
                        {" \n\r\t\f\v", "", "", ""},
                        {"a  ", "a  ", "a", "a"},
                        {"  a", "a", "  a", "a"}};
    for (const Row& row : rows) {
        EXPECT_EQ(ltrim(row.text), row.left);
        EXPECT_EQ(rtrim(row.text), row.right);
        EXPECT_EQ(trim(row.text), row.both);
    }
}

TEST(StringUtilsTest, WhitespaceIsSixCharacters)
{
    std::string whitespace;
    for (int code = 0; code < 256; ++code) {
        const std::string text(1, static_cast<char>(code));
        EXPECT_EQ(ltrim(text), trim(text));
        EXPECT_EQ(rtrim(text), trim(text));
        if (trim(text).empty()) whitespace += text;
    }
    EXPECT_EQ(whitespace, "\t\n\v\f\r ");
}

TEST(StringUtilsTest, ReplaceTakesEveryOccurrenceOfEveryCharacter)
{
    char text[] = "a/b\\c//d";
    cstr_replace(text, "/\\", '_');
    EXPECT_STREQ(text, "a_b_c__d");
    cstr_replace(text, "", 'x');
    EXPECT_STREQ(text, "a_b_c__d");
    cstr_replace(text, "abcd", 'a');
    EXPECT_STREQ(text, "a_a_a__a");
}

TEST(StringUtilsTest, ReplaceByZeroReachesTheEnd)
{
    char text[] = "a,b,c";
    cstr_replace(text, ",", '\0');
    EXPECT_EQ(std::string(text, 5), std::string("a\0b\0c", 5));
}

TEST(StringUtilsTest, ReplaceIgnoresNull)
{
    char text[] = "abc";
    cstr_replace(nullptr, "a", 'x');
    cstr_replace(text, nullptr, 'x');
    EXPECT_STREQ(text, "abc");
}

TEST(StringUtilsTest, CopyOfATextAsLongAsTheBufferLosesItsLastCharacter)
{
    char buffer[4] = {'#', '#', '#', '#'};
    strncpy_prot(buffer, "abcd", 4);
    EXPECT_STREQ(buffer, "abc");
    strncpy_prot(buffer, "vwxyz", 4);
    EXPECT_STREQ(buffer, "vwx");
}

TEST(StringUtilsTest, CopyFillsTheBufferWithZerosAndNoFurther)
{
    std::string buffer(8, '#');
    strncpy_prot(buffer.data(), "ab", 6);
    EXPECT_EQ(buffer, std::string("ab\0\0\0\0##", 8));
}

TEST(StringUtilsTest, CopyOfNullIsEmpty)
{
    std::string buffer(4, '#');
    strncpy_prot(buffer.data(), nullptr, 3);
    EXPECT_EQ(buffer, std::string("\0\0\0#", 4));
}

TEST(StringUtilsTest, CopyWithoutABufferDoesNothing)
{
    std::string buffer(3, '#');
    strncpy_prot(buffer.data() + 1, "ab", 0);
    strncpy_prot(nullptr, "ab", 4);
    EXPECT_EQ(buffer, "###");
}

TEST(StringUtilsTest, CopyOfOneByteIsTheTerminator)
{
    char buffer[2] = {'#', '#'};
    strncpy_prot(buffer, "ab", 1);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(buffer[1], '#');
}

TEST(StringUtilsTest, FieldKeepsRoomForTheTerminatorAndNothingOfBefore)
{
    char field[6] = {'#', '#', '#', '#', '#', '#'};
    copyText(field, "abcdefg");
    EXPECT_STREQ(field, "abcde");
    copyText(field, "xy");
    EXPECT_EQ(std::string(field, sizeof field), std::string("xy\0\0\0\0", 6));
}

TEST(StringUtilsTest, ChunksAreOfOneSizeButTheLast)
{
    struct Row {
        std::string text;
        unsigned size;
        Strings chunks;
    };
    const Row rows[] = {{"abcde", 2, {"ab", "cd", "e"}},
                        {"abcd", 2, {"ab", "cd"}},
                        {"abc", 1, {"a", "b", "c"}},
                        {"abc", 3, {"abc"}},
                        {"abc", 4, {"abc"}},
                        {"abc", 4294967295u, {"abc"}},
                        {"abc", 0, {"abc"}},
                        {"", 2, {}},
                        {"", 0, {}}};
    for (const Row& row : rows) EXPECT_EQ(splitToChunks(row.text, row.size), row.chunks) << row.text << row.size;
}

TEST(StringUtilsTest, ChunksAreAppended)
{
    Strings chunks = {"first"};
    splitToChunks("abc", 2, chunks);
    EXPECT_EQ(chunks, (Strings{"first", "ab", "c"}));
    splitToChunks("", 2, chunks);
    EXPECT_EQ(chunks.size(), 3u);
}

TEST(StringUtilsTest, ChunksOfAnElementOfTheListItself)
{
    Strings chunks = {"abcdefghijklmnopqrstuvwxyz"};
    splitToChunks(chunks[0], 10, chunks);
    EXPECT_EQ(chunks, (Strings{"abcdefghijklmnopqrstuvwxyz", "abcdefghij", "klmnopqrst", "uvwxyz"}));
}

TEST(StringUtilsTest, JoinSeparatesWithNoneAtTheEnd)
{
    EXPECT_EQ(join({}, ','), "");
    EXPECT_EQ(join({"a"}, ','), "a");
    EXPECT_EQ(join({"a", "b", "c"}, ';'), "a;b;c");
    EXPECT_EQ(join({"", "a", "", ""}, ','), ",a,,");
    EXPECT_EQ(join({"", ""}, ','), ",");
}

TEST(StringUtilsTest, SplitDropsAnEmptyLastPartAlone)
{
    struct Row {
        std::string text;
        char separator;
        Strings parts;
    };
    const Row rows[] = {{"a,b,", ',', {"a", "b"}},
                        {"a,b", ',', {"a", "b"}},
                        {"a,,b", ',', {"a", "", "b"}},
                        {",a", ',', {"", "a"}},
                        {"a,,", ',', {"a", ""}},
                        {",", ',', {""}},
                        {"", ',', {}},
                        {"abc", ',', {"abc"}},
                        {"a b", ',', {"a b"}},
                        {"a\nb,c\n", '\n', {"a", "b,c"}}};
    for (const Row& row : rows) EXPECT_EQ(split(row.text, row.separator), row.parts) << row.text;
}
