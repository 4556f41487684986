#include "lab/ctl/Progress.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <unistd.h>

using namespace orvanectl;

namespace {

/// A terminal, and what it shows.
struct ProgressTest : testing::Test {
    ProgressTest() : shown(::posix_openpt(O_RDWR | O_NOCTTY))
    {
        if (::grantpt(shown) == 0 && ::unlockpt(shown) == 0) terminal = ::open(::ptsname(shown), O_RDWR | O_NOCTTY);
    }

    ~ProgressTest() override
    {
        ::close(shown);
        ::close(terminal);
    }

    /// Waits for a text.
    bool shows(const std::string& wanted)
    {
        while (text.find(wanted) == std::string::npos) {
            pollfd waiting{shown, POLLIN, 0};
            char piece[256];
            const ssize_t count = ::poll(&waiting, 1, 30'000) > 0 ? ::read(shown, piece, sizeof piece) : 0;
            if (count <= 0) return false;
            text.append(piece, static_cast<std::size_t>(count));
        }
        return true;
    }

    int shown;
    int terminal = -1;
    std::string text;
};

}  // namespace

TEST_F(ProgressTest, WhatTakesLongIsShownAndGoneAtTheEnd)
{
    {
        Progress progress(terminal, std::chrono::milliseconds(1));
        progress.say("reads a.xml");
        EXPECT_TRUE(shows("\r\033[Korvanectl: reads a.xml, 0 s")) << text;
        text.clear();
    }
    EXPECT_EQ(::write(terminal, "end", 3), 3);
    EXPECT_TRUE(shows("end"));
    EXPECT_TRUE(text.ends_with("\r\033[Kend")) << text;
}

TEST_F(ProgressTest, WhatIsOverSoonIsNotShown)
{
    {
        Progress progress(terminal, std::chrono::hours(1));
        progress.say("reads a.xml");
    }
    EXPECT_EQ(::write(terminal, "end", 3), 3);
    EXPECT_TRUE(shows("end"));
    EXPECT_EQ(text, "end");
}

TEST_F(ProgressTest, ItMakesRoomForALine)
{
    Progress progress(terminal, std::chrono::milliseconds(1));
    progress.say("reads a.xml");
    ASSERT_TRUE(shows(", 0 s")) << text;
    progress.say("");
    progress.hide();
    EXPECT_EQ(::write(terminal, "line", 4), 4);
    EXPECT_TRUE(shows("\r\033[Kline")) << text;
}

TEST_F(ProgressTest, AFileGetsNothing)
{
    const std::string path = testing::TempDir() + "progress-" + std::to_string(::getpid());
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    {
        Progress progress(file, std::chrono::milliseconds(0));
        progress.say("reads a.xml");
    }
    EXPECT_EQ(::lseek(file, 0, SEEK_END), 0);
    ::close(file);
    ::unlink(path.c_str());
}
