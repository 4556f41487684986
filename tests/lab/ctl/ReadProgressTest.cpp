#include "lab/ctl/record/ReadProgress.h"
#include "tests/lab/mcap/Recordings.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>

using namespace orvanectl;
using namespace recordings;

TEST(ReadProgressTest, HowFarItIsStandsOnTheTerminal)
{
    const int shown = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(::grantpt(shown) == 0 && ::unlockpt(shown) == 0);
    const int terminal = ::open(::ptsname(shown), O_RDWR | O_NOCTTY);
    const TextSource text(std::string(200, 'x'));
    std::string seen;
    {
        const ReadProgress source(text, "reads a.mcap", terminal, std::chrono::milliseconds(1));
        std::array<std::uint8_t, 10> into{};
        source.read(100, into);
        while (seen.find("orvanectl: reads a.mcap, 50 %, 0 s") == std::string::npos) {
            pollfd waiting{shown, POLLIN, 0};
            std::array<char, 256> piece{};
            const ssize_t count = ::poll(&waiting, 1, 30'000) > 0 ? ::read(shown, piece.data(), piece.size()) : 0;
            ASSERT_GT(count, 0) << seen;
            seen.append(piece.data(), static_cast<std::size_t>(count));
        }
    }
    ::close(terminal);
    ::close(shown);
}

TEST(ReadProgressTest, WhatIsReadIsThatOfTheSource)
{
    const TextSource text("0123456789");
    const ReadProgress source(text, "reads a.mcap");
    std::array<std::uint8_t, 3> into{};
    source.read(4, into);
    EXPECT_EQ(std::string(into.begin(), into.end()), "456");
    EXPECT_EQ(source.size(), 10U);
    EXPECT_THROW(source.read(8, into), mcap::Malformed);
}
