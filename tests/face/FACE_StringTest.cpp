#include "face/FACE_String.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <new>
#include <string>

using FACE::String;

namespace {

std::string textOf(const String& text)
{
    return text.buffer() ? std::string(text.buffer(), text.length()) : "<null>";
}

void expectUnusable(String& text)
{
    EXPECT_FALSE(text.is_valid());
    EXPECT_EQ(text.buffer(), nullptr);
    EXPECT_EQ(static_cast<const String&>(text).buffer(), nullptr);
    EXPECT_EQ(text.length(), 0u);
    EXPECT_EQ(text.bound(), 0u);
    EXPECT_EQ(text.capacity(), 0u);
    EXPECT_FALSE(text.is_managed());
    EXPECT_FALSE(text.is_bounded());
    EXPECT_EQ(text.append("a"), 3);
    EXPECT_EQ(text.append('a'), 3);
    EXPECT_EQ(text[0], '\0');
    text.clear();
    EXPECT_FALSE(text.is_valid());
}

/// An object that is not valid.
String unusable()
{
    return String(static_cast<const char*>(nullptr));
}

}  // namespace

TEST(StringTest, ReturnCodesHaveTheirNumbers)
{
    EXPECT_EQ(String::NO_ERROR, 0);
    EXPECT_EQ(String::INSUFFICIENT_BOUND, 1);
    EXPECT_EQ(String::INSUFFICIENT_MEMORY, 2);
    EXPECT_EQ(String::INVALID_VALUE, 3);
}

TEST(StringTest, DefaultIsManagedUnboundedValidAndEmpty)
{
    const String text;
    EXPECT_TRUE(text.is_valid());
    EXPECT_TRUE(text.is_managed());
    EXPECT_FALSE(text.is_bounded());
    EXPECT_EQ(text.bound(), 0xFFFFFFFFu);
    EXPECT_STREQ(text.buffer(), "");
    EXPECT_EQ(text.length(), 0u);
    EXPECT_EQ(text.capacity(), 15u);
}

TEST(StringTest, ABoundMakesAnEmptyManagedString)
{
    String::RETURN_CODE rc = String::INVALID_VALUE;
    const String text(5, rc);
    EXPECT_EQ(rc, 0);
    EXPECT_TRUE(text.is_managed());
    EXPECT_TRUE(text.is_bounded());
    EXPECT_EQ(text.bound(), 5u);
    EXPECT_EQ(text.length(), 0u);
}

TEST(StringTest, UnusableBoundsAreRefused)
{
    const auto codeOf = [](auto bound) {
        String::RETURN_CODE rc = String::NO_ERROR;
        String text(bound, rc);
        expectUnusable(text);
        return static_cast<int>(rc);
    };
    EXPECT_EQ(codeOf(0), 3);
    EXPECT_EQ(codeOf(0u), 3);
    EXPECT_EQ(codeOf(0xFFFFFFFFu), 3);
    EXPECT_EQ(codeOf(-1), 3);
    EXPECT_EQ(codeOf(0x100000005LL), 3);
}

TEST(StringTest, LiteralZeroWithACodeIsABound)
{
    String::RETURN_CODE rc = String::NO_ERROR;
    String text(0, rc);
    EXPECT_EQ(rc, 3);
    expectUnusable(text);
}

TEST(StringTest, CopyOfATextHasItsLengthAsBound)
{
    std::string source = "abc";
    String::RETURN_CODE rc = String::INVALID_VALUE;
    const String text(source.c_str(), rc);
    source = "xyz";
    EXPECT_EQ(rc, 0);
    EXPECT_TRUE(text.is_managed());
    EXPECT_EQ(text.bound(), 3u);
    EXPECT_EQ(textOf(text), "abc");
}

TEST(StringTest, CopyOfANullTextIsRefused)
{
    String::RETURN_CODE rc = String::NO_ERROR;
    String text(nullptr, rc);
    EXPECT_EQ(rc, 3);
    expectUnusable(text);
}

TEST(StringTest, CopyOfAnEmptyTextTakesNoCharacter)
{
    String::RETURN_CODE rc = String::INVALID_VALUE;
    String text("", rc);
    EXPECT_EQ(rc, 0);
    EXPECT_TRUE(text.is_valid());
    EXPECT_TRUE(text.is_bounded());
    EXPECT_EQ(text.bound(), 0u);
    EXPECT_EQ(text.append(""), 0);
    EXPECT_EQ(text.append('a'), 1);
    EXPECT_EQ(text.length(), 0u);
}

TEST(StringTest, ExternalBufferIsUsedAndTerminated)
{
    char buffer[6] = {'a', 'b', 'c', 'd', 'e', 'f'};
    String::RETURN_CODE rc = String::INVALID_VALUE;
    String text(buffer, 3, 5, rc);
    EXPECT_EQ(rc, 0);
    EXPECT_FALSE(text.is_managed());
    EXPECT_TRUE(text.is_bounded());
    EXPECT_EQ(text.buffer(), buffer);
    EXPECT_EQ(text.capacity(), 5u);
    EXPECT_STREQ(buffer, "abc");
}

TEST(StringTest, ExternalBufferFilledToItsBoundIsAccepted)
{
    char buffer[6] = {'a', 'b', 'c', 'd', 'e', 'f'};
    String::RETURN_CODE rc = String::INVALID_VALUE;
    const String text(buffer, 5, 5, rc);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(textOf(text), "abcde");
    EXPECT_EQ(buffer[5], '\0');
}

TEST(StringTest, UnusableExternalBuffersAreRefusedAndLeftAlone)
{
    char buffer[8] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    const auto codeOf = [](char* external, std::uint32_t length, std::uint32_t bound) {
        String::RETURN_CODE rc = String::NO_ERROR;
        String text(external, length, bound, rc);
        expectUnusable(text);
        return static_cast<int>(rc);
    };
    EXPECT_EQ(codeOf(buffer, 6, 5), 3);
    EXPECT_EQ(codeOf(buffer, 0, 0), 3);
    EXPECT_EQ(codeOf(buffer, 3, 0xFFFFFFFFu), 3);
    EXPECT_EQ(codeOf(nullptr, 0, 5), 3);
    EXPECT_EQ(std::string(buffer, sizeof buffer), "abcdefgh");
}

TEST(StringTest, ViewOfALiteralMakesNoCopy)
{
    const char* literal = "a name that is longer than fifteen characters";
    String text(literal);
    EXPECT_TRUE(text.is_valid());
    EXPECT_FALSE(text.is_managed());
    EXPECT_TRUE(text.is_bounded());
    EXPECT_EQ(text.buffer(), literal);
    EXPECT_EQ(text.length(), 45u);
    EXPECT_EQ(text.bound(), 45u);
    EXPECT_EQ(text.capacity(), 45u);
}

TEST(StringTest, ViewOfNullIsNotValid)
{
    String text = unusable();
    expectUnusable(text);
}

TEST(StringTest, AppendToAViewAnswersByItsBoundAndNeverWritesTheLiteral)
{
    static char literal[] = "abc\0?";
    String text(static_cast<const char*>(literal));
    EXPECT_EQ(text.append('d'), 1);
    EXPECT_EQ(text.append("d"), 1);
    EXPECT_EQ(text.append(""), 0);
    EXPECT_EQ(std::string(literal, 5), std::string("abc\0?", 5));
}

TEST(StringTest, ClearingAViewLeavesTheLiteralAloneAndKeepsTheBound)
{
    static char literal[] = "abc";
    String text(static_cast<const char*>(literal));
    text.clear();
    EXPECT_STREQ(literal, "abc");
    EXPECT_TRUE(text.is_managed());
    EXPECT_EQ(textOf(text), "");
    EXPECT_EQ(text.bound(), 3u);
    EXPECT_EQ(text.append("xyz"), 0);
    EXPECT_EQ(text.append('!'), 1);
    EXPECT_EQ(textOf(text), "xyz");
    EXPECT_STREQ(literal, "abc");
}

TEST(StringTest, CopyOfAViewIsManagedAndKeepsTheSmallBound)
{
    const String view("abc");
    String copy(view);
    EXPECT_TRUE(copy.is_managed());
    EXPECT_NE(copy.buffer(), view.buffer());
    EXPECT_EQ(textOf(copy), "abc");
    EXPECT_EQ(copy.bound(), 3u);
    EXPECT_EQ(copy.append('d'), 1);
}

TEST(StringTest, CopyOfAnUnmanagedStringIsManagedAndDeep)
{
    char buffer[6] = "abc";
    String::RETURN_CODE rc = String::INVALID_VALUE;
    const String source(buffer, 3, 5, rc);
    const String copy(source);
    buffer[0] = 'x';
    EXPECT_TRUE(copy.is_managed());
    EXPECT_EQ(textOf(copy), "abc");
    EXPECT_EQ(copy.bound(), 5u);
}

TEST(StringTest, CopyOfAnUnusableStringIsUnusable)
{
    const String source = unusable();
    String copy(source);
    expectUnusable(copy);
}

TEST(StringTest, AssigningToAnUnmanagedStringLeavesTheBufferUntouched)
{
    char buffer[6] = "abc";
    String::RETURN_CODE rc = String::INVALID_VALUE;
    String target(buffer, 3, 5, rc);
    target = String("something longer");
    EXPECT_TRUE(target.is_managed());
    EXPECT_EQ(textOf(target), "something longer");
    EXPECT_EQ(target.bound(), 16u);
    EXPECT_STREQ(buffer, "abc");
}

TEST(StringTest, AssigningAnUnusableStringMakesTheTargetUnusable)
{
    String target;
    EXPECT_EQ(target.append("kept"), 0);
    target = unusable();
    expectUnusable(target);
}

TEST(StringTest, AssigningToAnUnusableStringRevivesIt)
{
    String target = unusable();
    target = String("abc");
    EXPECT_TRUE(target.is_valid());
    EXPECT_TRUE(target.is_managed());
    EXPECT_EQ(textOf(target), "abc");
}

TEST(StringTest, AssigningAStringToItselfKeepsItsText)
{
    char buffer[6] = "abc";
    String::RETURN_CODE rc = String::INVALID_VALUE;
    String text(buffer, 3, 5, rc);
    const String& same = text;
    text = same;
    EXPECT_TRUE(text.is_managed());
    EXPECT_EQ(textOf(text), "abc");
    text = same;
    EXPECT_EQ(textOf(text), "abc");
}

TEST(StringTest, IndexPastTheEndGivesTheTerminator)
{
    const String text("abc");
    EXPECT_EQ(text[0], 'a');
    EXPECT_EQ(text[2], 'c');
    EXPECT_EQ(text[3], '\0');
    EXPECT_EQ(text[4], '\0');
    EXPECT_EQ(text[0xFFFFFFFFu], '\0');
}

TEST(StringTest, IndexGivesAWritableCharacterOfTheText)
{
    char buffer[6] = "abc";
    String::RETURN_CODE rc = String::INVALID_VALUE;
    String external(buffer, 3, 5, rc);
    external[1] = 'X';
    EXPECT_STREQ(buffer, "aXc");
    String managed(external);
    managed[0] = 'Y';
    EXPECT_EQ(textOf(managed), "YXc");
}

TEST(StringTest, ACharacterWrittenThroughAViewDoesNotReachTheLiteral)
{
    static char literal[] = "abc";
    String text(static_cast<const char*>(literal));
    EXPECT_EQ(static_cast<const String&>(text)[1], 'b');
    EXPECT_FALSE(text.is_managed());
    text[1] = 'X';
    EXPECT_STREQ(literal, "abc");
    EXPECT_EQ(textOf(text), "aXc");
    EXPECT_TRUE(text.is_managed());
    EXPECT_EQ(text.bound(), 3u);
}

TEST(StringTest, ACharacterWrittenToAnUnusableStringIsNotKept)
{
    String text = unusable();
    text[0] = 'x';
    EXPECT_EQ(text[0], '\0');
}

TEST(StringTest, AnUnusableStringReadsAsTheTerminator)
{
    const String text = unusable();
    EXPECT_EQ(text[0], '\0');
    EXPECT_EQ(text[5], '\0');
}

TEST(StringTest, ClearEmptiesBothForms)
{
    char buffer[6] = "abc";
    String::RETURN_CODE rc = String::INVALID_VALUE;
    String external(buffer, 3, 5, rc);
    external.clear();
    EXPECT_EQ(external.length(), 0u);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_FALSE(external.is_managed());
    String managed;
    managed.append("abc");
    managed.clear();
    EXPECT_STREQ(managed.buffer(), "");
}

TEST(StringTest, AppendToAManagedStringStopsAtItsBound)
{
    String::RETURN_CODE rc = String::INVALID_VALUE;
    String text(5, rc);
    EXPECT_EQ(text.append("abc"), 0);
    EXPECT_EQ(text.append("def"), 1);
    EXPECT_EQ(textOf(text), "abc");
    EXPECT_EQ(text.append("de"), 0);
    EXPECT_EQ(text.append('f'), 1);
    EXPECT_EQ(text.append(""), 0);
    EXPECT_STREQ(text.buffer(), "abcde");
}

TEST(StringTest, AppendToAnExternalBufferMovesAndTerminates)
{
    char buffer[7] = "abc???";
    String::RETURN_CODE rc = String::INVALID_VALUE;
    String text(buffer, 3, 5, rc);
    EXPECT_EQ(text.append('d'), 0);
    EXPECT_STREQ(buffer, "abcd");
    EXPECT_EQ(text.append("e"), 0);
    EXPECT_STREQ(buffer, "abcde");
    EXPECT_EQ(text.append("f"), 1);
    EXPECT_EQ(text.length(), 5u);
    EXPECT_EQ(buffer[5], '\0');
}

TEST(StringTest, AppendOfAnUnusableStringIsInvalidBeforeAnythingElse)
{
    String::RETURN_CODE rc = String::INVALID_VALUE;
    String full("abc", rc);
    EXPECT_EQ(full.append(unusable()), 3);
    EXPECT_EQ(textOf(full), "abc");
}

TEST(StringTest, AppendOfAStringToItselfDoublesIt)
{
    String managed;
    managed.append("a text longer than fifteen");
    EXPECT_EQ(managed.append(managed), 0);
    EXPECT_EQ(textOf(managed), "a text longer than fifteena text longer than fifteen");
    char buffer[9] = "abcd";
    String::RETURN_CODE rc = String::INVALID_VALUE;
    String external(buffer, 4, 8, rc);
    EXPECT_EQ(external.append(external), 0);
    EXPECT_STREQ(buffer, "abcdabcd");
    EXPECT_EQ(external.append(external), 1);
}

TEST(StringTest, AppendOfAnOwnCharacterWhileGrowing)
{
    String text;
    text.append("zbcdefghijklmno");
    EXPECT_EQ(text.append(text[0]), 0);
    EXPECT_EQ(textOf(text), "zbcdefghijklmnoz");
}

TEST(StringTest, EmbeddedZerosOfAManagedTextAreKeptByCopies)
{
    String text;
    text.append('a');
    text.append('\0');
    text.append('b');
    const String copy(text);
    EXPECT_EQ(textOf(copy), std::string("a\0b", 3));
}
