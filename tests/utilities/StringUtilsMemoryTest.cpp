#include "tests/support/FailingAllocation.h"
#include "utilities/StringUtils.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

TEST(StringUtilsMemoryTest, SplitWithoutMemoryLeavesOutNothing)
{
    const std::string text = "a first part that has to be allocated,and a second one that has to be as well";
    std::vector<std::string> parts;
    int refusals = 0;
    for (std::size_t granted = 0; parts.empty() && granted < 100; ++granted) {
        try {
            const FailingAllocation memory(granted, 1);
            parts = StringUtils::split(text, ',');
        } catch (const std::bad_alloc&) {
            ++refusals;
        }
    }
    EXPECT_GT(refusals, 2);
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[1], "and a second one that has to be as well");
}
