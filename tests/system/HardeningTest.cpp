#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

// This file is compiled as the service is.
static_assert(__USE_FORTIFY_LEVEL == 2, "calls into the C library are fortified");

namespace {

/// What readelf says of the shipped binary.
std::string readelf(const std::string& what)
{
    ChildProcess process({"/usr/bin/readelf", "--wide", what, ORVANE_SERVER_BINARY});
    EXPECT_EQ(process.wait(), ChildProcess::Ending({0, 0}));
    return process.output();
}

bool matches(const std::string& text, const char* pattern)
{
    return std::regex_search(text, std::regex(pattern));
}

}  // namespace

TEST(HardeningTest, BinaryIsPositionIndependent)
{
    EXPECT_TRUE(matches(readelf("--file-header"), "Type: +DYN "));
    EXPECT_TRUE(matches(readelf("--dynamic"), "FLAGS_1.*PIE"));
}

TEST(HardeningTest, EveryRelocationIsBoundAtStartAndThenReadOnly)
{
    EXPECT_TRUE(matches(readelf("--program-headers"), "GNU_RELRO"));
    EXPECT_TRUE(matches(readelf("--dynamic"), "FLAGS_1.*NOW"));
}

TEST(HardeningTest, StackIsNotExecutable)
{
    const std::string headers = readelf("--program-headers");
    EXPECT_TRUE(matches(headers, "GNU_STACK +(0x[0-9a-f]+ +){5}RW +0x"));
    EXPECT_FALSE(matches(headers, "GNU_STACK +(0x[0-9a-f]+ +){5}RWE"));
}

TEST(HardeningTest, StackIsProtected)
{
    EXPECT_TRUE(matches(readelf("--dyn-syms"), "__stack_chk_fail"));
}

// The library is the unit's own, wherever the unit has it.
TEST(HardeningTest, BusLibraryIsKnownByItsNameAlone)
{
    const std::string dynamic = readelf("--dynamic");
    EXPECT_TRUE(matches(dynamic, "\\(NEEDED\\) .*\\[libvictory\\.so\\.5\\.0\\]"));
    EXPECT_FALSE(matches(dynamic, "\\((RPATH|RUNPATH)\\)"));
}
