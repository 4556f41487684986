#include "utilities/ConsoleLine.h"

#include <gtest/gtest.h>

#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

/// Keeps each write by itself.
class Writes : public std::streambuf {
public:
    std::vector<std::string> writes;
    int flushes = 0;

protected:
    std::streamsize xsputn(const char* characters, std::streamsize count) override
    {
        writes.emplace_back(characters, static_cast<std::size_t>(count));
        return count;
    }
    int_type overflow(int_type character) override
    {
        writes.emplace_back(1, traits_type::to_char_type(character));
        return character;
    }
    int sync() override
    {
        ++flushes;
        return 0;
    }
};

}  // namespace

TEST(ConsoleLineTest, PartsBecomeOneLineInOneWriteAndAreFlushed)
{
    Writes writes;
    std::ostream stream(&writes);
    printLine(stream, "a = ", 1, ", b = ", true, ", c = ", 2.5);
    EXPECT_EQ(writes.writes, std::vector<std::string>({"a = 1, b = 1, c = 2.5\n"}));
    EXPECT_EQ(writes.flushes, 1);
}

TEST(ConsoleLineTest, FormattingOfTheStreamDoesNotReachTheLine)
{
    std::ostringstream stream;
    stream << std::hex << std::boolalpha;
    printLine(stream, 255, " ", true);
    EXPECT_EQ(stream.str(), "255 1\n");
}
