#include "lab/ctl/seq/BusNews.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

using namespace orvanectl;
using Json = BusLink::Json;

namespace {

Json list(std::initializer_list<int> numbers)
{
    Json rows = Json::array();
    for (const int number : numbers) rows.push_back({{"warningId", number}, {"customText", number == 75 ? "a" : ""}});
    return {{"type", "tell"}, {"tell", "warning-messages"}, {"record", {{"warnings", rows}}}};
}

Json past(Json line)
{
    line["last"] = true;
    return line;
}

/// The new warnings of a line, and how often something was told.
std::string newsOf(BusNews& news, const Json& line)
{
    std::string text;
    for (const Observation& one : news.observe(line, {}))
        text += (text.empty() ? "" : ", ") + (one.kind == Kind::Tell ? one.name : one.text);
    return text;
}

}  // namespace

TEST(BusNewsTest, OnlyNewRowsOfAListAreWarnings)
{
    BusNews news(false);
    EXPECT_EQ(newsOf(news, list({})), "warning-messages");
    EXPECT_EQ(newsOf(news, list({5, 75})), "warning-messages, 5, 75 \"a\"");
    EXPECT_EQ(newsOf(news, list({5, 75})), "warning-messages");
    EXPECT_EQ(newsOf(news, list({5, 75, 75})), "warning-messages, 75 \"a\"");
}

TEST(BusNewsTest, RowsThatTheListHasDroppedAreNotMissed)
{
    BusNews news(false);
    newsOf(news, list({1, 2, 3}));
    EXPECT_EQ(newsOf(news, list({2, 3, 4})), "warning-messages, 4");
    EXPECT_EQ(newsOf(news, list({9})), "warning-messages, 9");
}

TEST(BusNewsTest, PastOfAServiceThatRanBeforeIsNoNews)
{
    BusNews news(false);
    EXPECT_EQ(newsOf(news, past(list({5}))), "");
    EXPECT_EQ(newsOf(news, list({5, 6})), "warning-messages, 6");
    BusNews fromTheStart(true);
    EXPECT_EQ(newsOf(fromTheStart, past(list({5}))), "warning-messages, 5");
}

TEST(BusNewsTest, WhatIsNotToldHasItsTypeAsItsName)
{
    BusNews news(false);
    EXPECT_EQ(newsOf(news, {{"type", "faults"}, {"faults", Json::array()}}), "faults");
    EXPECT_EQ(newsOf(news, {{"type", "hello"}}), "");
    EXPECT_EQ(newsOf(news, {{"type", "answer"}}), "");
}

TEST(BusNewsTest, OddLinesAreNoNews)
{
    BusNews news(false);
    for (const char* line : {"7", "[]", "{}", R"({"type":7})"}) EXPECT_EQ(newsOf(news, Json::parse(line)), "") << line;
    EXPECT_EQ(newsOf(news, Json::parse(R"({"type":"tell","tell":"warning-messages","record":{"warnings":[7,{}]}})")),
              "warning-messages");
}
