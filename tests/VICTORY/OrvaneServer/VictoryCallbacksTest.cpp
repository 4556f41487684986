#include "VICTORY/OrvaneServer/VictoryCallbacks.h"

#include "tests/support/ConsoleCapture.h"
#include "tests/support/HealthEvents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <stdexcept>
#include <string>

using namespace VictoryCallbacks;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

struct AnyServer {
    int calls = 0;
};

struct VictoryCallbacksTest : testing::Test {
    VictoryCallbacksTest() { popHealthEvents(); }

    /// What is told of a body that throws.
    template <class Thrown>
    std::vector<std::string> eventsOf(const Texts& texts, const Thrown& thrown)
    {
        withServer<AnyServer>(&server, texts, [&](AnyServer&) { throw thrown; });
        return popHealthEvents();
    }

    std::vector<std::string> eventsWithoutContext(const Texts& texts)
    {
        withServer<AnyServer>(nullptr, texts, [](AnyServer&) { FAIL(); });
        return popHealthEvents();
    }

    AnyServer server;
    const ConsoleCapture console{std::cout};
    const std::runtime_error noLuck{"no luck"};
};

}  // namespace

TEST_F(VictoryCallbacksTest, TheBodyHasTheServerOfTheContext)
{
    withServer<AnyServer>(&server, kSaveVclid, [](AnyServer& found) { ++found.calls; });
    EXPECT_EQ(server.calls, 1);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(VictoryCallbacksTest, SavingTellsWithItsPlaceWhatFails)
{
    EXPECT_THAT(eventsWithoutContext(kSaveVclid),
                ElementsAre("3:OrvaneServer: instance pointer was not found in VICTORY callbackData parameter"));
    EXPECT_THAT(eventsOf(kSaveVclid, noLuck), ElementsAre("3:OrvaneServer: An exception occurred. Details: no luck"));
    EXPECT_THAT(eventsOf(kSaveVclid, 42), ElementsAre("3:OrvaneServer: Unknown c++ exception occurred"));
    EXPECT_THAT(console.text(),
                MatchesRegex("OrvaneServer \\([0-9]+\\), cbSaveVclidCallback : OrvaneServer: instance pointer was not "
                             "found in VICTORY callbackData parameter\n"
                             "OrvaneServer \\([0-9]+\\), cbSaveVclidCallback : OrvaneServer: An exception occurred\\. "
                             "Details: no luck\n"
                             "OrvaneServer \\([0-9]+\\), cbSaveVclidCallback : OrvaneServer: Unknown c\\+\\+ exception "
                             "occurred\n"));
}

TEST_F(VictoryCallbacksTest, GroupsTellTheSameUnderTheirNames)
{
    eventsWithoutContext(kTellNavWarSa);
    EXPECT_THAT(eventsOf(kTellWarningMessages, noLuck),
                ElementsAre("3:OrvaneServer: An exception occurred. Details: no luck"));
    EXPECT_THAT(console.text(),
                MatchesRegex("OrvaneServer \\([0-9]+\\), cbTellNavWarSaCallback : OrvaneServer: instance pointer was "
                             "not found in VICTORY callbackData parameter\n"
                             "OrvaneServer \\([0-9]+\\), cbTellWarningMessagesCallback : OrvaneServer: An exception "
                             "occurred\\. Details: no luck\n"));
}

TEST_F(VictoryCallbacksTest, AClearRequestWithoutContextIsNotPrinted)
{
    EXPECT_THAT(eventsWithoutContext(kClearSystemData),
                ElementsAre("3:OrvaneServer: instance pointer was not found in VICTORY callbackData parameter"));
    EXPECT_EQ(console.text(), "");
    eventsOf(kClearSystemData, 42);
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\), cbClearSystemDataCallback : OrvaneServer: "
                                             "Unknown c\\+\\+ exception occurred\n"));
}

TEST_F(VictoryCallbacksTest, AConfigurationRequestHasWordsOfItsOwn)
{
    const std::string noContext = "OrvaneServer: instance pointer was not found in VICTORY "
                                  "cbTellSystemConfigurationCallback, callbackData parameter";
    EXPECT_THAT(eventsWithoutContext(kTellSystemConfiguration), ElementsAre("3:" + noContext));
    EXPECT_EQ(console.text(), noContext + "\n");
    EXPECT_THAT(eventsOf(kTellSystemConfiguration, noLuck),
                ElementsAre("3:OrvaneServer: An exception occurred in cbTellSystemConfigurationCallback. Details: no "
                            "luck"));
    EXPECT_THAT(eventsOf(kTellSystemConfiguration, 42),
                ElementsAre("3:OrvaneServer: Unknown c++ exception occurred in cbTellSystemConfigurationCallback"));
    EXPECT_EQ(console.text(), noContext + "\n");
}

TEST_F(VictoryCallbacksTest, TheirPlaceIsThatOfTheCallback)
{
    recordFaults();
    const int line = __LINE__ + 1;
    withServer<AnyServer>(nullptr, kTellNavWarSa, [](AnyServer&) {});
    withServer<AnyServer>(&server, kTellNavWarSa, [](AnyServer&) { throw 42; });
    const auto events = popHealthEvents();
    ASSERT_EQ(events.size(), 2U);
    const auto place = [](int number) { return "VictoryCallbacksTest.cpp[" + std::to_string(number) + "]:"; };
    EXPECT_THAT(events[0], testing::HasSubstr(place(line)));
    EXPECT_THAT(events[1], testing::HasSubstr(place(line + 1)));
    EXPECT_THAT(console.text(), testing::StartsWith("OrvaneServer (" + std::to_string(line) + "), "));
}
