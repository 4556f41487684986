#include "lab/ctl/serve/PageGuard.h"

#include <gtest/gtest.h>

using namespace orvanectl;

namespace {

struct PageGuardTest : testing::Test {
    PageGuard guard{{"desk.example"}};

    bool shows(const std::string& host, std::vector<std::string> origins = {}) const
    {
        return !guard.refusalToShow({{host}, std::move(origins), "", ""});
    }

    Asking ownRequest() const
    {
        return {{"127.0.0.1:8642"}, {"http://127.0.0.1:8642"}, guard.token(), "application/json"};
    }
};

}  // namespace

TEST_F(PageGuardTest, LoopbackAndNamesThatWereGivenAreOwnAtAnyPort)
{
    for (const char* const host :
         {"127.0.0.1", "127.0.0.1:8642", "localhost:1", "LocalHost:80", "[::1]:8642", "[::1]", "desk.example:8642"})
        EXPECT_TRUE(shows(host)) << host;
}

TEST_F(PageGuardTest, AnyOtherNameIsRefusedSoThatNobodyPointsOneHere)
{
    for (const char* const host :
         {"", "evil.example", "evil.example:8642", "127.0.0.1.evil.example", "127.0.0.1:", "127.0.0.1:x",
          "127.0.0.1:80:80", "localhost.", "[::1", "[::1]x", "[::1]x:80", "127.0.0.2", "user@localhost"})
        EXPECT_FALSE(shows(host)) << host;
    EXPECT_TRUE(guard.refusalToShow({}));
    EXPECT_TRUE(guard.refusalToShow({{"localhost", "localhost"}, {}, "", ""}));
}

TEST_F(PageGuardTest, AnotherSitesPageIsRefused)
{
    EXPECT_TRUE(shows("127.0.0.1:8642", {"http://127.0.0.1:8642"}));
    for (const char* const origin : {"http://evil.example", "null", "", "https://127.0.0.1:8642",
                                     "http://127.0.0.1:8643", "http://127.0.0.1", "http://127.0.0.1:8642.evil.example"})
        EXPECT_FALSE(shows("127.0.0.1:8642", {origin})) << origin;
    EXPECT_FALSE(shows("127.0.0.1:8642", {"http://127.0.0.1:8642", "http://evil.example"}));
}

TEST_F(PageGuardTest, AnotherSitesPageIsKnownWithoutAnOriginToo)
{
    Asking asking{{"127.0.0.1:8642"}, {}, "", ""};
    for (const char* const site : {"same-origin", "none"}) {
        asking.sites = {site};
        EXPECT_FALSE(guard.refusalToShow(asking)) << site;
    }
    for (const char* const site : {"cross-site", "same-site", "", "Same-Origin"}) {
        asking.sites = {site};
        EXPECT_TRUE(guard.refusalToShow(asking)) << site;
    }
    asking.sites = {"same-origin", "cross-site"};
    EXPECT_TRUE(guard.refusalToShow(asking));
}

TEST_F(PageGuardTest, ALinkOfAnotherSiteMayBeFollowed)
{
    Asking asking{{"127.0.0.1:8642"}, {}, "", ""};
    asking.sites = {"cross-site"};
    asking.isVisit = true;
    EXPECT_FALSE(guard.refusalToShow(asking));
    asking.origins = {"http://evil.example"};
    EXPECT_TRUE(guard.refusalToShow(asking));
}

TEST_F(PageGuardTest, ARequestNeedsOriginTokenAndTypeOfContent)
{
    EXPECT_FALSE(guard.refusalToChange(ownRequest()));
    Asking asking = ownRequest();
    asking.origins.clear();
    EXPECT_TRUE(guard.refusalToChange(asking));
    asking = ownRequest();
    asking.token = "";
    EXPECT_TRUE(guard.refusalToChange(asking));
    asking.token = std::string(32, '0');
    EXPECT_TRUE(guard.refusalToChange(asking));
    asking = ownRequest();
    asking.contentType = "text/plain";
    EXPECT_TRUE(guard.refusalToChange(asking));
    asking.contentType = "application/json; charset=utf-8";
    EXPECT_FALSE(guard.refusalToChange(asking));
}

TEST_F(PageGuardTest, TokensAreLongAndNeverTheSame)
{
    EXPECT_EQ(guard.token().size(), 32U);
    EXPECT_NE(guard.token(), PageGuard({}).token());
    EXPECT_TRUE(isSameSecret("abc", "abc"));
    EXPECT_FALSE(isSameSecret("abc", "abd"));
    EXPECT_FALSE(isSameSecret("abc", "abcd"));
}
