#include "utilities/Shielded.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

class ShieldedTest : public testing::Test {
protected:
    std::vector<std::string> m_reports;
    std::function<void(const char*)> m_report = [this](const char* what) {
        m_reports.emplace_back(what ? what : "<null>");
    };
};

}  // namespace

TEST_F(ShieldedTest, WorkThatEndsWellIsNotReported)
{
    bool isDone = false;
    shielded([&] { isDone = true; }, m_report);
    EXPECT_TRUE(isDone);
    EXPECT_TRUE(m_reports.empty());
}

TEST_F(ShieldedTest, AStandardExceptionIsReportedByItsText)
{
    shielded([] { throw std::out_of_range("the text"); }, m_report);
    EXPECT_EQ(m_reports, std::vector<std::string>({"the text"}));
}

TEST_F(ShieldedTest, AnythingElseIsReportedAsNull)
{
    shielded([] { throw 1; }, m_report);
    shielded([] { throw "text"; }, m_report);
    EXPECT_EQ(m_reports, std::vector<std::string>({"<null>", "<null>"}));
}

TEST_F(ShieldedTest, AnExceptionOfTheReportIsDropped)
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
