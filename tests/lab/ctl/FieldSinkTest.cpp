#include "lab/ctl/FieldSink.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

using orvanectl::FieldSink;
using orvanectl::FieldTree;
using orvanectl::JsonLine;

namespace {

void writeEverything(FieldSink& sink)
{
    sink.member("text", "a");
    sink.member("yes", true);
    sink.member("least", std::numeric_limits<std::int64_t>::min());
    sink.member("most", std::numeric_limits<std::uint64_t>::max());
    sink.name("rows");
    sink.beginArray();
    sink.null();
    sink.beginObject();
    sink.member("real", 0.5);
    sink.endObject();
    sink.beginArray();
    sink.endArray();
    sink.endArray();
    sink.name("none");
    sink.beginObject();
    sink.endObject();
}

constexpr const char* kEverything = R"({"text":"a","yes":true,"least":-9223372036854775808,)"
                                    R"("most":18446744073709551615,"rows":[null,{"real":0.5},[]],"none":{}})";

std::string lineOf(double value)
{
    JsonLine line;
    line.begin();
    line.member("x", value);
    return line.end();
}

std::string lineOf(const std::string& text)
{
    JsonLine line;
    line.begin();
    line.member("x", text);
    return line.end();
}

}  // namespace

TEST(JsonLineTest, ValuesStandInTheirOrder)
{
    JsonLine line;
    line.begin();
    writeEverything(line);
    EXPECT_EQ(line.end(), std::string(kEverything) + "\n");
}

TEST(JsonLineTest, NextLineBeginsAnew)
{
    JsonLine line;
    line.begin();
    line.member("x", std::numeric_limits<double>::infinity());
    line.end();
    line.begin();
    line.member("y", 1);
    EXPECT_EQ(line.end(), "{\"y\":1}\n");
}

TEST(JsonLineTest, RealNumbersHaveTheDigitsThatTellThemApart)
{
    EXPECT_EQ(lineOf(0.1), "{\"x\":0.1}\n");
    EXPECT_EQ(lineOf(3.0), "{\"x\":3.0}\n");
    EXPECT_EQ(lineOf(-0.0), "{\"x\":-0.0}\n");
    EXPECT_EQ(lineOf(1e22), "{\"x\":1e+22}\n");
    EXPECT_EQ(lineOf(0.12345678901234568), "{\"x\":0.12345678901234568}\n");
    EXPECT_EQ(lineOf(5e-324), "{\"x\":5e-324}\n");
}

TEST(JsonLineTest, NumbersThatAreNotFiniteAreNullWithANote)
{
    JsonLine line;
    line.begin();
    line.name("message");
    line.beginObject();
    line.member("altitude", -std::numeric_limits<double>::infinity());
    line.name("covariance");
    line.beginArray();
    line.beginArray();
    line.real(1);
    line.real(std::numeric_limits<double>::quiet_NaN());
    line.endArray();
    line.endArray();
    line.endObject();
    line.member("x", std::numeric_limits<double>::infinity());
    EXPECT_EQ(line.end(), R"({"message":{"altitude":null,"covariance":[[1.0,null]]},"x":null,)"
                          R"("notes":["message.altitude is -inf","message.covariance.0.1 is nan","x is inf"]})"
                          "\n");
}

TEST(JsonLineTest, TextCannotEndTheLineOrMakeItInvalid)
{
    EXPECT_EQ(lineOf(R"(say "\")"), "{\"x\":\"say \\\"\\\\\\\"\"}\n");
    EXPECT_EQ(lineOf("a\nb\x1B"), "{\"x\":\"a\\nb\\u001b\"}\n");
    EXPECT_EQ(lineOf("\xC3\xA9\xC3("), "{\"x\":\"\xC3\xA9\xEF\xBF\xBD(\"}\n");
}

TEST(FieldTreeTest, TreeIsWhatALineTells)
{
    FieldTree tree;
    tree.beginObject();
    writeEverything(tree);
    tree.endObject();
    EXPECT_EQ(tree.take().dump(), kEverything);
}
