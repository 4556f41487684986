#include "lab/ctl/report/ReportPage.h"

#include <gtest/gtest.h>

#include <string>

using namespace orvanectl;

namespace {

Json reportOfText(const std::string& text)
{
    return {{"settings", "x"}, {"recordings", {{{"file", "/tmp/a<b>.mcap"}, {"text", text}}}}};
}

std::size_t countOf(const std::string& text, const std::string& what)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
    return count;
}

/// The numbers as the page's own script gets them.
std::string numbersOf(const std::string& page)
{
    const std::string front = R"(<script type="application/json" id="numbers">)";
    const std::size_t begin = page.find(front) + front.size();
    return page.substr(begin, page.find("</script>", begin) - begin);
}

}  // namespace

TEST(ReportPageTest, TextOfARecordingDoesNotEndTheScript)
{
    const std::string text = "</script><script>alert(1)</script><!-- {{script}} ]]> \xFF";
    const std::string page = reportPage(reportOfText(text));
    EXPECT_EQ(page.find("alert(1)</script>"), std::string::npos);
    EXPECT_EQ(page.find("<!-- "), std::string::npos);
    EXPECT_EQ(countOf(page, "</script>"), 2U);
    EXPECT_EQ(countOf(page, "'use strict';"), 1U);
    EXPECT_EQ(Json::parse(numbersOf(page))["recordings"][0]["text"],
              "</script><script>alert(1)</script><!-- {{script}} ]]> \xEF\xBF\xBD");
}

TEST(ReportPageTest, NameOfAFileIsText)
{
    const std::string page = reportPage(reportOfText(""));
    EXPECT_NE(page.find("<title>Report of a&lt;b&gt;.mcap</title>"), std::string::npos);
}

TEST(ReportPageTest, NothingIsTakenFromElsewhere)
{
    const std::string page = reportPage(reportOfText(""));
    EXPECT_NE(page.find("default-src 'none'"), std::string::npos);
    EXPECT_EQ(page.find(" src="), std::string::npos);
    EXPECT_EQ(page.find("@import"), std::string::npos);
    EXPECT_EQ(page.find("url("), std::string::npos);
    EXPECT_EQ(page.find("fetch("), std::string::npos);
}
