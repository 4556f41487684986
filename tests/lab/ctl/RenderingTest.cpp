#include "lab/ctl/Rendering.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using orvanectl::Json;

TEST(RenderingTest, JsonHasTheFullPrecisionOfADouble)
{
    EXPECT_EQ(orvanectl::jsonLine({{"a", 0.1 + 0.2}, {"b", -0.0}}), "{\"a\":0.30000000000000004,\"b\":-0.0}\n");
}

TEST(RenderingTest, NumbersThatAreNotFiniteAreNullWithANote)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const Json fields = {{"a", {{"b", std::numeric_limits<double>::quiet_NaN()}}},
                         {"c", Json::array({1.5, kInfinity, -kInfinity})}};
    EXPECT_EQ(orvanectl::jsonLine(fields),
              R"({"a":{"b":null},"c":[1.5,null,null],"notes":["a.b is nan","c.1 is inf","c.2 is -inf"]})"
              "\n");
}

TEST(RenderingTest, TextThatIsNotUtf8DoesNotMakeTheLineInvalid)
{
    EXPECT_EQ(orvanectl::jsonLine({{"a", "x\xC3y\n"}}), "{\"a\":\"x\xEF\xBF\xBDy\\n\"}\n");
}

TEST(RenderingTest, ParagraphIsAHeadingLinesAndAnEmptyLine)
{
    const Json fields = {{"frame", {{"id", 7}, {"text", "x y"}}},
                         {"message", {{"a", 1.5}, {"b", nullptr}}},
                         {"record", {{"times", {{"sec", 1}}}, {"c", std::numeric_limits<double>::quiet_NaN()}}},
                         {"none", Json::array()}};
    EXPECT_EQ(orvanectl::paragraph("title", fields, false), "title\n"
                                                            "  frame: id 7, text x y\n"
                                                            "  message:\n"
                                                            "    a: 1.5\n"
                                                            "    b: -\n"
                                                            "  record:\n"
                                                            "    times: sec 1\n"
                                                            "    c: nan\n"
                                                            "  none: none\n"
                                                            "\n");
}

TEST(RenderingTest, UnitsStandBehindNumbers)
{
    const Json fields = {{"message",
                          {{"a", 1.5},
                           {"b", nullptr},
                           {"c", std::numeric_limits<double>::quiet_NaN()},
                           {"d", 4},
                           {"time", {{"sec", 1}, {"code", 2}}},
                           {"list", Json::array({{{"x", 1}, {"y", Json::array({2, 3})}}})},
                           {"axes", Json::array({1.5, 2.5})},
                           {"matrix", Json::array({Json::array({1, 2}), Json::array({3, 4})})}}}};
    const Json units = {{"message",
                         {{"a", "m"},
                          {"b", "m"},
                          {"c", "m"},
                          {"time", {{"sec", "s"}}},
                          {"list", {{"x", "Hz"}, {"y", "rad"}}},
                          {"axes", "m/s"},
                          {"matrix", "m^2"}}}};
    EXPECT_EQ(orvanectl::paragraph("title", fields, false, units), "title\n"
                                                                   "  message:\n"
                                                                   "    a: 1.5 m\n"
                                                                   "    b: -\n"
                                                                   "    c: nan m\n"
                                                                   "    d: 4\n"
                                                                   "    time: sec 1 s, code 2\n"
                                                                   "    list:\n"
                                                                   "      x 1 Hz, y [2 3] rad\n"
                                                                   "    axes:\n"
                                                                   "      1.5 2.5 m/s\n"
                                                                   "    matrix:\n"
                                                                   "      1 2 m^2\n"
                                                                   "      3 4 m^2\n"
                                                                   "\n");
}

TEST(RenderingTest, WordsStandTenInALine)
{
    const Json fields = {{"words", Json::array({"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "A"})}};
    EXPECT_EQ(orvanectl::paragraph("title", fields, false), "title\n"
                                                            "  words:\n"
                                                            "    0 1 2 3 4 5 6 7 8 9\n"
                                                            "    A\n"
                                                            "\n");
}

TEST(RenderingTest, LongTextIsCutIntoLines)
{
    const std::string line(64, 'x');
    EXPECT_EQ(orvanectl::paragraph("title", {{"block", line + "yz"}}, false),
              "title\n  block:\n    " + line + "\n    yz\n\n");
}

TEST(RenderingTest, OnlyABadChecksumIsRed)
{
    const Json fields = {{"frame", {{"header_checksum", "good"}, {"data_checksum", "bad"}, {"text", "bad"}}}};
    EXPECT_EQ(orvanectl::paragraph("title", fields, true),
              "title\n  frame: header_checksum good, data_checksum \x1B[31mbad\x1B[0m, text bad\n\n");
    EXPECT_EQ(orvanectl::paragraph("title", fields, false),
              "title\n  frame: header_checksum good, data_checksum bad, text bad\n\n");
}
