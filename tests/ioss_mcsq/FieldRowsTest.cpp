#include "ioss_mcsq/FieldRows.h"

#include <gtest/gtest.h>

#include <array>
#include <span>
#include <vector>

namespace {

constexpr FieldRow kRows[] = {{0, FieldForm::U16, 1}, {3, FieldForm::Byte, 4}};

}  // namespace

TEST(FieldRowsTest, BytesWithoutARowStay)
{
    const std::array<std::uint8_t, 5> block = {1, 2, 3, 4, 5};
    std::array<std::uint8_t, 6> record = {9, 9, 9, 9, 9, 9};
    unpackRows(kRows, block, record);
    EXPECT_EQ(record, (std::array<std::uint8_t, 6>{9, 1, 2, 9, 4, 9}));
    std::array<std::uint8_t, 5> packed = {7, 7, 7, 7, 7};
    packRows(kRows, record, packed);
    EXPECT_EQ(packed, (std::array<std::uint8_t, 5>{1, 2, 7, 4, 7}));
}

TEST(FieldRowsTest, RowBeyondBlockOrRecordIsLeftOut)
{
    const std::vector<std::uint8_t> block = {1, 2, 3};
    std::vector<std::uint8_t> record = {9, 9, 9, 9};
    unpackRows(kRows, block, record);
    EXPECT_EQ(record, (std::vector<std::uint8_t>{9, 1, 2, 9}));
    std::vector<std::uint8_t> packed = {7};
    packRows(kRows, record, packed);
    EXPECT_EQ(packed, (std::vector<std::uint8_t>{7}));
}

TEST(FieldRowsTest, RowWithinTheBlockButBeyondTheRecordIsLeftOut)
{
    std::array<std::uint8_t, 4> block = {1, 2, 3, 4};
    std::array<std::uint8_t, 5> record = {9, 9, 9, 9, 9};
    unpackRows(kRows, block, std::span(record).first(4));
    EXPECT_EQ(record, (std::array<std::uint8_t, 5>{9, 1, 2, 9, 9}));
    packRows(kRows, std::span(record).first(4), block);
    EXPECT_EQ(block, (std::array<std::uint8_t, 4>{1, 2, 3, 4}));
}

TEST(FieldRowsTest, OverlapAndOverhangDoNotFit)
{
    EXPECT_TRUE(rowsFit(kRows, 4, 5));
    EXPECT_FALSE(rowsFit(kRows, 3, 5));
    EXPECT_FALSE(rowsFit(kRows, 4, 4));
    constexpr FieldRow overlapping[] = {{0, FieldForm::U16, 0}, {1, FieldForm::Byte, 2}};
    EXPECT_FALSE(rowsFit(overlapping, 10, 10));
    constexpr FieldRow overlappingInTheRecord[] = {{0, FieldForm::U16, 0}, {2, FieldForm::Byte, 1}};
    EXPECT_FALSE(rowsFit(overlappingInTheRecord, 10, 10));
    EXPECT_EQ(bytesInBlock(kRows), 3u);
}

TEST(FieldRowsTest, TextIsSwappedWithinItsWordsBothWays)
{
    constexpr FieldRow text[] = {{0, FieldForm::Text32, 0}};
    std::array<std::uint8_t, 32> block{};
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<std::uint8_t>('A' + (i ^ 1));
    std::array<std::uint8_t, 32> record{};
    unpackRows(text, block, record);
    for (std::size_t i = 0; i < record.size(); ++i) ASSERT_EQ(record[i], 'A' + i);
    std::array<std::uint8_t, 32> packed{};
    packRows(text, record, packed);
    EXPECT_EQ(packed, block);
}
