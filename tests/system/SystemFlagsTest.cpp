#include "ASPN/CmdResponseStrings.h"
#include "tests/support/Desk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

// The flags at the places that the whole unit knows.

TEST(SystemFlagsSystemTest, FlagsAreLookedForBelowTmp)
{
    const Desk desk;  // for a /tmp that is nobody's
    EXPECT_FALSE(Sys::isPostComplete() || Sys::isSystemStarted() || Sys::isFirstBbitDone());
    std::ofstream("/tmp/PostComplete").flush();
    EXPECT_TRUE(Sys::isPostComplete());
    EXPECT_FALSE(Sys::isSystemStarted() || Sys::isFirstBbitDone());
    std::ofstream("/tmp/SystemStarted").flush();
    EXPECT_TRUE(Sys::isSystemStarted());
    EXPECT_FALSE(Sys::isFirstBbitDone());
    std::ofstream("/tmp/FirstBbitDone").flush();
    EXPECT_TRUE(Sys::isFirstBbitDone());
}

TEST(SystemFlagsSystemTest, FlagsAreAnnouncedBelowTmp)
{
    const Desk desk;
    Sys::announcePostComplete();
    EXPECT_TRUE(std::filesystem::exists("/tmp/PostComplete"));
    EXPECT_FALSE(std::filesystem::exists("/tmp/FirstBbitDone"));
    Sys::announceFirstBbitDone();
    EXPECT_TRUE(std::filesystem::exists("/tmp/FirstBbitDone"));
}
