#include "lab/text/Words.h"

#include <gtest/gtest.h>

#include <string>

using namespace labtext;

namespace {

template <class Operation>
std::string wrongWordOf(Operation operation)
{
    try {
        operation();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "nothing";
}

}  // namespace

TEST(WordsTest, WordsAreTakenFromLeftToRight)
{
    Words words(" a\tb  c \r");
    EXPECT_EQ(words.take(""), "a");
    EXPECT_FALSE(words.skip("c"));
    EXPECT_TRUE(words.skip("b"));
    EXPECT_EQ(words.rest(), "c");
    EXPECT_EQ(words.take(""), "c");
    EXPECT_TRUE(words.atEnd());
}

TEST(WordsTest, QuotesKeepBlanksTogether)
{
    Words words(R"("a b" "\" \\ \n" "")");
    EXPECT_TRUE(words.nextIsQuoted());
    EXPECT_EQ(words.take(""), "a b");
    EXPECT_EQ(words.take(""), "\" \\ \\n");
    EXPECT_EQ(words.take(""), "");
    EXPECT_TRUE(words.atEnd());
}

TEST(WordsTest, WordInQuotesIsNoKeyWord)
{
    EXPECT_TRUE(Words("for").nextIs("for"));
    EXPECT_FALSE(Words("\"for\"").nextIs("for"));
    EXPECT_FALSE(Words("\"for\"").nextIs("\"for\""));
}

TEST(WordsTest, MissingWordIsToldWithTheOneBeforeIt)
{
    EXPECT_EQ(wrongWordOf([] {
                  Words words("drive 1");
                  for (int i = 0; i < 3; ++i) words.take("a number");
              }),
              "'1' needs behind it a number");
    EXPECT_EQ(wrongWordOf([] { Words("", "warn").take("a number"); }), "'warn' needs behind it a number");
    EXPECT_EQ(wrongWordOf([] { Words("\"a b").take(""); }), "'\"a b' has no second quote");
}

TEST(WordsTest, WordTooManyMayBeOneThatWasMeant)
{
    EXPECT_EQ(wrongWordOf([] {
                  Words("wthin 5").expectEnd({"for", "within"});
              }),
              "'wthin' is one word too many; did you mean within?");
    EXPECT_EQ(wrongWordOf([] {
                  Words("now").expectEnd({"for", "within"});
              }),
              "'now' is one word too many, or none of: for, within");
    EXPECT_EQ(wrongWordOf([] { Words("for").expectEnd({"for"}); }), "'for' stands in the wrong place");
    EXPECT_EQ(wrongWordOf([] { Words(" \r").expectEnd(); }), "nothing");
}

TEST(WordsTest, WordThatIsNoneOfAListIsToldWithTheNearestOrAll)
{
    constexpr std::pair<std::string_view, int> kWords[] = {{"jam", 1}, {"bare", 2}};
    EXPECT_EQ(chosen("bare", "bare", kWords, "is no kind"), 2);
    EXPECT_EQ(wrongWordOf([&] { chosen("jma", "39:jma", kWords, "has no kind"); }),
              "'39:jma' has no kind; did you mean jam?");
    EXPECT_EQ(wrongWordOf([&] { chosen("other", "other", kWords, "is no kind"); }), "'other' is no kind: jam, bare");
}

TEST(WordsTest, WrongWordIsShortAndPrintable)
{
    EXPECT_STREQ(wrong("a\x1b[31m\xC3", "is wrong").what(), "'a?[31m?' is wrong");
    EXPECT_EQ(std::string(wrong(std::string(1000, 'x'), "is wrong").what()).size(), 60 + sizeof("'' is wrong") - 1);
}

TEST(WordsTest, NumbersAreWrittenInFullAndFinite)
{
    EXPECT_EQ(realNumberOf("-1.5e3"), -1500.0);
    EXPECT_EQ(realNumberOf("+5"), 5.0);
    EXPECT_EQ(realNumberOf(".5"), 0.5);
    for (const char* text : {"", "+", "+-5", "++5", "5s", " 5", "0x10", "nan", "inf", "1e999", "5,5"})
        EXPECT_FALSE(realNumberOf(text)) << text;
    EXPECT_EQ(wholeNumberOf("-7"), -7);
    for (const char* text : {"", "7.0", "7x", "99999999999999999999"}) EXPECT_FALSE(wholeNumberOf(text)) << text;
}

TEST(WordsTest, NumberBeyondItsLimitsIsToldByItsWord)
{
    EXPECT_EQ(seconds("0.5", 0.5, 10), 0.5);
    EXPECT_EQ(wrongWordOf([] { seconds("0.4", 0.5, 10); }), "'0.4' is no number of seconds, up to 10");
    EXPECT_EQ(wrongWordOf([] { number("91", "at=91", -90, 90, "is no latitude"); }), "'at=91' is no latitude");
}

TEST(WordsTest, EndsStandAroundTwoDots)
{
    EXPECT_EQ(endsOf("20..60")->from, "20");
    EXPECT_EQ(endsOf("20..60")->to, "60");
    EXPECT_EQ(endsOf("20..")->to, "");
    EXPECT_FALSE(endsOf("20-60"));
}
