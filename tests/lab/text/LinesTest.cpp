#include "lab/text/Lines.h"
#include "tests/support/ErrorOf.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace labtext;

namespace {

using Lines = std::vector<std::pair<std::size_t, std::string>>;

Lines linesOf(const std::string& text)
{
    Lines lines;
    std::istringstream file(text);
    readLines(file, "a.txt",
              [&](std::size_t number, std::string_view line) { lines.emplace_back(number, std::string(line)); });
    return lines;
}

}  // namespace

TEST(LinesTest, LinesKeepTheirNumbers)
{
    EXPECT_EQ(linesOf("# note\n\n a b\n \t\r\nc"), (Lines{{3, " a b"}, {5, "c"}}));
    EXPECT_EQ(linesOf(""), Lines());
    EXPECT_EQ(linesOf("a\n"), (Lines{{1, "a"}}));
}

TEST(LinesTest, WhatIsWrongWithALineIsNamedWithFileAndLine)
{
    std::istringstream file("good\nbad\n"), other("bad");
    EXPECT_EQ(errorOf([&] {
                  readLines(file, "a.txt", [](std::size_t, std::string_view line) {
                      if (line == "bad") throw std::invalid_argument("'bad' is wrong");
                  });
              }),
              "a.txt:2: 'bad' is wrong");
    EXPECT_EQ(errorOf([&] {
                  readLines(other, "a.txt",
                            [](std::size_t, std::string_view) { throw std::runtime_error("b.csv: can't be read"); });
              }),
              "a.txt:1: b.csv: can't be read");
}

TEST(LinesTest, LongestLineIsTakenAndALongerOneIsRefused)
{
    const std::string longest(kLongestLine, 'x');
    EXPECT_EQ(linesOf(longest + "\nb"), (Lines{{1, longest}, {2, "b"}}));
    EXPECT_EQ(linesOf(longest), (Lines{{1, longest}}));
    EXPECT_EQ(errorOf([&] { linesOf("a\n" + longest + "xx"); }), "a.txt: has a line of more than 65536 characters");
}

TEST(LinesTest, WhatDoesNotEndIsRefused)
{
    std::ifstream zero("/dev/zero"), folder("/");
    const auto ignore = [](std::size_t, std::string_view) {};
    EXPECT_EQ(errorOf([&] { readLines(zero, "zero", ignore); }), "zero: has a line of more than 65536 characters");
    EXPECT_EQ(errorOf([&] { readLines(folder, "folder", ignore); }), "folder: can't be read");
}

TEST(LinesTest, FileOfMoreThan64MebibytesIsRefused)
{
    const std::string line = "# " + std::string(kLongestLine - 3, 'x') + "\n";
    std::string text;
    for (std::size_t i = 0; i < 1024; ++i) text += line;
    EXPECT_EQ(linesOf(text), Lines());
    EXPECT_EQ(errorOf([&] { linesOf(text + "a"); }), "a.txt: is larger than 64 MiB");
}
