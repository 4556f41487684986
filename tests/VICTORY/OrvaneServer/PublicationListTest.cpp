#include "VICTORY/OrvaneServer/PublicationList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

using testing::ElementsAre;

namespace {

using List = PublicationList<int, 3>;

void append(List& list, const std::vector<int>& elements)
{
    for (const int element : elements) list.append(element);
}

std::vector<int> contentOf(const List& list)
{
    return list.elements();
}

}  // namespace

TEST(PublicationListTest, ElementsStandOldestFirst)
{
    List list;
    append(list, {5, 4, 6});
    EXPECT_THAT(contentOf(list), ElementsAre(5, 4, 6));
    EXPECT_EQ(list.size(), 3U);
}

TEST(PublicationListTest, AppendBeyondTheLimitDropsTheOldest)
{
    List list;
    append(list, {1, 2, 3, 4});
    EXPECT_THAT(contentOf(list), ElementsAre(2, 3, 4));
    list.append(5);
    EXPECT_THAT(contentOf(list), ElementsAre(3, 4, 5));
}

TEST(PublicationListTest, CopyFillsTheFirstRowsAndLeavesTheList)
{
    List list;
    append(list, {7, 8});
    int rows[3] = {-1, -1, -1};
    unsigned count = 9;
    list.copyTo(rows, count);
    EXPECT_THAT(rows, ElementsAre(7, 8, -1));
    EXPECT_EQ(count, 2U);
    EXPECT_THAT(contentOf(list), ElementsAre(7, 8));
}

TEST(PublicationListTest, CopyIsOldestFirstHoweverManyWereDropped)
{
    List list;
    append(list, {1, 2, 3, 4, 5, 6, 7, 8});
    int rows[3] = {};
    unsigned count = 0;
    list.copyTo(rows, count);
    EXPECT_THAT(rows, ElementsAre(6, 7, 8));
    EXPECT_EQ(count, 3U);
}

TEST(PublicationListTest, ListClearedBehindADropTakesAsManyAsBefore)
{
    List list;
    append(list, {1, 2, 3, 4});
    list.clear();
    for (const int element : {5, 6, 7, 8}) list.append(element);
    EXPECT_THAT(contentOf(list), ElementsAre(6, 7, 8));
}

TEST(PublicationListTest, ClearedListIsEmptyAndTakesAsManyAsBefore)
{
    List list;
    append(list, {1, 2, 3});
    EXPECT_FALSE(list.empty());
    list.clear();
    EXPECT_TRUE(list.empty());
    for (const int element : {4, 5, 6}) list.append(element);
    EXPECT_THAT(contentOf(list), ElementsAre(4, 5, 6));
}
