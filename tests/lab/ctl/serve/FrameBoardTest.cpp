#include "lab/ctl/serve/FrameBoard.h"

#include <gtest/gtest.h>

#include <thread>

using orvanectl::FrameBoard;

TEST(FrameBoardTest, TheFirstFrameHasEverySection)
{
    FrameBoard board;
    board.publish({{"a", "1"}, {"b", "[2]"}});
    EXPECT_EQ(board.next(0)->text, R"({"a":1,"b":[2]})");
}

TEST(FrameBoardTest, ALaterFrameHasOnlyWhatChanged)
{
    FrameBoard board;
    board.publish({{"a", "1"}, {"b", "2"}});
    const auto first = board.next(0);
    board.publish({{"a", "1"}, {"b", "3"}});
    EXPECT_EQ(board.next(first->number)->text, R"({"b":3})");
}

TEST(FrameBoardTest, WhoMissesFramesGetsTheLatestOfEachSection)
{
    FrameBoard board;
    board.publish({{"a", "1"}, {"b", "1"}});
    const auto first = board.next(0);
    board.publish({{"a", "2"}});
    board.publish({{"b", "2"}});
    board.publish({{"b", "3"}});
    const auto second = board.next(first->number);
    EXPECT_EQ(second->text, R"({"a":2,"b":3})");
    EXPECT_EQ(second->number, 4U);
}

TEST(FrameBoardTest, AFrameWithoutAChangeTellsThatThereIsLife)
{
    FrameBoard board;
    board.publish({{"a", "1"}});
    board.publish({{"a", "1"}});
    EXPECT_EQ(board.next(1)->text, "{}");
}

TEST(FrameBoardTest, WhoWaitsIsWokenByTheNextFrameAndByTheEnd)
{
    FrameBoard board;
    std::optional<FrameBoard::Frame> got;
    std::thread viewer([&] { got = board.next(0); });
    board.publish({{"a", "1"}});
    viewer.join();
    EXPECT_TRUE(got);
    std::thread late([&] { got = board.next(1); });
    board.close();
    late.join();
    EXPECT_FALSE(got);
}
