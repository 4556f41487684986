#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

using testing::AllOf;
using testing::Ge;
using testing::Le;

namespace {

/// What the build writes down as its time.
std::string timeOfBuild(const std::vector<std::string>& environment)
{
    const TemporaryDirectory directory;
    const std::string source = directory.path() / "BuildTime.cpp";
    std::vector<std::string> line = {"/usr/bin/env", "-u", "SOURCE_DATE_EPOCH"};
    line.insert(line.end(), environment.begin(), environment.end());
    line.insert(line.end(), {ORVANE_CMAKE, "-D", "OUTPUT=" + source, "-P", ORVANE_BUILD_TIME_SCRIPT});
    ChildProcess cmake(line);
    EXPECT_EQ(cmake.wait(), (ChildProcess::Ending{0, 0})) << cmake.errors();

    const std::string text = readFile(source);
    const auto begin = text.find("return \"");
    if (begin == std::string::npos) return text;
    return text.substr(begin + 8, text.find('"', begin + 8) - begin - 8);
}

/// The present time in UTC, as it would be written down; the order of such texts is that of their times.
std::string now()
{
    const std::time_t time = std::time(nullptr);
    std::tm fields{};
    char text[32];
    const std::size_t size = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&time, &fields));
    return {text, size};
}

}  // namespace

TEST(BuildTimeTest, TimeIsThatOfTheSourceIfTheBuildIsGivenOne)
{
    EXPECT_EQ(timeOfBuild({"SOURCE_DATE_EPOCH=0"}), "1970-01-01T00:00:00Z");
    EXPECT_EQ(timeOfBuild({"SOURCE_DATE_EPOCH=1714979289"}), "2024-05-06T07:08:09Z");
}

TEST(BuildTimeTest, TimeOfTheSourceIsToldInUtcWhereverItIsBuilt)
{
    EXPECT_EQ(timeOfBuild({"SOURCE_DATE_EPOCH=0", "TZ=EST5"}), "1970-01-01T00:00:00Z");
}

TEST(BuildTimeTest, TimeIsThatOfTheBuildOtherwise)
{
    const std::string before = now();
    const std::string time = timeOfBuild({"TZ=EST5"});
    EXPECT_THAT(time, AllOf(Ge(before), Le(now())));
}
