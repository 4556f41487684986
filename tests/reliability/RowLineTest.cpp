#include "reliability/restart/RowLine.h"

#include <gtest/gtest.h>

TEST(RowLineTest, WordsOfTheLibraryAreNoLineOfARow)
{
    EXPECT_EQ(rowLineIn("\033[31m[RTPS_TRANSPORT Error] no route\033[0m\n{\"deaf\":0}\n"), "{\"deaf\":0}");
    EXPECT_FALSE(rowLineIn("\033[31m[RTPS_TRANSPORT Error] no route\033[0m\n"));
}

TEST(RowLineTest, LineThatIsNotWholeIsStillToCome)
{
    EXPECT_FALSE(rowLineIn("{\"deaf\":"));
}
