#include "utilities/Shielded.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::vector<std::string> s_reports;

void report(const char* what)
{
    s_reports.push_back(what ? what : "<null>");
}

}  // namespace

TEST(ShieldedTest, WorkThatEndsWellIsNotReported)
{
    bool isDone = false;
    shielded([&] { isDone = true; }, report);
    EXPECT_TRUE(isDone);
    EXPECT_TRUE(s_reports.empty());
}

TEST(ShieldedTest, AStandardExceptionIsReportedByItsText)
{
    shielded([] { throw std::out_of_range("the text"); }, report);
    EXPECT_EQ(s_reports, std::vector<std::string>({"the text"}));
}

TEST(ShieldedTest, AnythingElseIsReportedAsNull)
{
    shielded([] { throw 1; }, report);
    shielded([] { throw "text"; }, report);
    EXPECT_EQ(s_reports, std::vector<std::string>({"<null>", "<null>"}));
}

TEST(ShieldedTest, AnExceptionOfTheReportIsDropped)
{
    int reports = 0;
    const auto fail = [&](const char*) {
        ++reports;
        throw std::runtime_error("again");
    };
    shielded([] { throw std::runtime_error("first"); }, fail);
    shielded([] { throw 1; }, fail);
    EXPECT_EQ(reports, 2);
}
