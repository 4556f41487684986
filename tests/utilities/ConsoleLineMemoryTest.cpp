#include "tests/support/FailingAllocation.h"
#include "utilities/ConsoleLine.h"

#include <gtest/gtest.h>

#include <array>
#include <iomanip>
#include <ostream>
#include <streambuf>
#include <string>

namespace {

/// Keeps what is written without asking for memory.
class Room : public std::streambuf {
public:
    Room() { setp(m_bytes.data(), m_bytes.data() + m_bytes.size()); }
    std::string text() const { return {pbase(), pptr()}; }

private:
    std::array<char, 2048> m_bytes{};
};

}  // namespace

TEST(ConsoleLineMemoryTest, ALineForWhichThereIsNoMemoryGoesOutWholeInPieces)
{
    Room room;
    std::ostream stream(&room);
    stream << std::hex;
    const std::string part(600, 'a');
    std::size_t refused = 0;
    {
        const FailingAllocation failing;
        printLine(stream, "begin ", part, 255);
        refused = failing.refused();
    }
    EXPECT_GT(refused, 0U);
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(room.text(), "begin " + part + "255\n");
}

TEST(ConsoleLineMemoryTest, ALineThatIsPutTogetherAsksForNoMoreMemory)
{
    Room room;
    std::ostream stream(&room);
    const std::string part(300, 'a');
    {
        const FailingAllocation failing(1);  // the line has room for 512 then
        printLine(stream, part);
    }
    EXPECT_EQ(room.text(), part + "\n");
}
