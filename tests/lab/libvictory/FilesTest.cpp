#include "VICTORY/libvictory/victory.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

TEST(FilesTest, FileIsReadWholeAndEndedByAZero)
{
    const TemporaryDirectory directory;
    char buffer[6] = "#####";
    EXPECT_EQ(vutilReadStringFromFile(directory.write("five", "12345").c_str(), 6, buffer), 0);
    EXPECT_EQ(std::string(buffer, 6), "12345\0"s);
}

TEST(FilesTest, FileThatLeavesNoRoomForTheZeroFailsAndIsNotCut)
{
    const TemporaryDirectory directory;
    char buffer[6] = "#####";
    EXPECT_NE(vutilReadStringFromFile(directory.write("six", "123456").c_str(), 6, buffer), 0);
    EXPECT_EQ(std::string(buffer, 6), "#####\0"s);
}

TEST(FilesTest, EmptyFileIsAnEmptyText)
{
    const TemporaryDirectory directory;
    char buffer[1] = {'#'};
    EXPECT_EQ(vutilReadStringFromFile(directory.write("empty", "").c_str(), 1, buffer), 0);
    EXPECT_EQ(buffer[0], '\0');
}

TEST(FilesTest, FileWithAZeroWithinFails)
{
    const TemporaryDirectory directory;
    char buffer[10];
    EXPECT_NE(vutilReadStringFromFile(directory.write("zero", "a\0b"s).c_str(), 10, buffer), 0);
}

TEST(FilesTest, WhatCannotBeReadFails)
{
    const TemporaryDirectory directory;
    const std::string file = directory.write("file", "text");
    char buffer[10];
    EXPECT_NE(vutilReadStringFromFile((directory.path() / "none").c_str(), 10, buffer), 0);
    EXPECT_NE(vutilReadStringFromFile(directory.path().c_str(), 10, buffer), 0);
    EXPECT_NE(vutilReadStringFromFile(nullptr, 10, buffer), 0);
    EXPECT_NE(vutilReadStringFromFile(file.c_str(), 10, nullptr), 0);
    EXPECT_NE(vutilReadStringFromFile(file.c_str(), 0, buffer), 0);
    EXPECT_NE(vutilReadStringFromFile(file.c_str(), -1, buffer), 0);
}

TEST(FilesTest, TextReplacesTheWholeFile)
{
    const TemporaryDirectory directory;
    const std::string file = directory.write("file", "a longer text than the new one");
    EXPECT_EQ(vutilWriteStringToFile("new", file.c_str()), 0);
    EXPECT_EQ(readFile(file), "new");
}

TEST(FilesTest, WhatCannotBeWrittenFails)
{
    const TemporaryDirectory directory;
    EXPECT_NE(vutilWriteStringToFile("text", (directory.path() / "none" / "file").c_str()), 0);
    EXPECT_NE(vutilWriteStringToFile("text", "/dev/full"), 0);
    EXPECT_NE(vutilWriteStringToFile("text", nullptr), 0);
    EXPECT_NE(vutilWriteStringToFile(nullptr, (directory.path() / "file").c_str()), 0);
}
