#include "lab/ctl/serve/ThinnedList.h"

#include <gtest/gtest.h>

using orvanectl::ThinnedList;

namespace {

std::vector<int> valuesOf(const ThinnedList<int>& list)
{
    std::vector<int> values;
    for (const auto& row : list.rows()) values.push_back(row.value);
    return values;
}

}  // namespace

TEST(ThinnedListTest, TheLatestGivesWayWhileItIsTooNearToTheOneBefore)
{
    ThinnedList<int> list(10, 1.0);
    list.append(0, 1);
    list.append(0.4, 2);
    list.append(0.8, 3);
    EXPECT_EQ(valuesOf(list), (std::vector<int>{1, 3}));
    list.append(1.2, 4);
    EXPECT_EQ(valuesOf(list), (std::vector<int>{1, 4}));
    list.append(1.3, 5);
    EXPECT_EQ(valuesOf(list), (std::vector<int>{1, 4, 5}));
}

TEST(ThinnedListTest, AFullListKeepsTheWholeCourseAtTwiceTheSpacing)
{
    ThinnedList<int> list(4, 1.0);
    for (int i = 0; i <= 4; ++i) list.append(i, i);
    EXPECT_EQ(valuesOf(list), (std::vector<int>{0, 2, 4}));
    list.append(5, 5);
    list.append(6, 6);
    EXPECT_EQ(valuesOf(list), (std::vector<int>{0, 2, 4, 6}));
}

TEST(ThinnedListTest, ItIsBoundedHoweverMuchComesAtOneMoment)
{
    ThinnedList<int> list(8, 0);
    for (int i = 0; i < 10'000; ++i) list.append(1, i);
    EXPECT_LE(list.rows().size(), 8U);
    EXPECT_EQ(list.rows().front().value, 0);
    EXPECT_EQ(list.rows().back().value, 9999);
}
