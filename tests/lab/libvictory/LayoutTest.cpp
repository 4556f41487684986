#include "VICTORY/libvictory/victory.h"

#include <gtest/gtest.h>

#include <vector>

extern "C" std::size_t sizeInC(int record);

TEST(LayoutTest, RecordsHaveTheLibrarysSizesInCToo)
{
    std::vector<std::size_t> sizes;
    for (int record = 0; record < 15; ++record) sizes.push_back(sizeInC(record));
    EXPECT_EQ(sizes, (std::vector<std::size_t>{32, 272, 14024, 704, 35216, 524, 26216, 1288, 65448, 784, 39204, 204,
                                               26560, 1328004, 12804}));
}
