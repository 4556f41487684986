#include "tests/support/Desk.h"
#include "tests/support/Partners.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <optional>
#include <string>

using Json = Bus::Json;
using namespace std::chrono_literals;

namespace {

constexpr const char* kVcl = "/opt/halvex/config/APNT_VCL_1_9.xml";
constexpr int kInformation = 2;
constexpr int kFault = 3;
constexpr int kFailure = 4;

const Json kZeroize = {{"request", "clear-data"}};
const Json kDestroy = {{"request", "clear-data"}, {"data", "all"}};

/// A service whose partners do what the test says.
struct ClearDataSystemTest : testing::Test {
    void begin()
    {
        desk.set("Debug", "true");
        desk.run();
        bus.emplace();
        ASSERT_TRUE(partners.waitForService());
    }

    /// A request of a client of its own: its answer may take its time.
    static std::future<Json> ask(const Json& body)
    {
        return std::async(std::launch::async, [body] { return Bus().request(body); });
    }

    /// Asks for a zeroize, which waits for its answer then.
    std::future<Json> leaveRequested()
    {
        const std::size_t before = partners.commands("REQUEST_ZEROIZE");
        auto answer = ask(kZeroize);
        EXPECT_TRUE(partners.awaitCommand("REQUEST_ZEROIZE", before + 1));
        return answer;
    }

    /// Brings a zeroize to its erasing.
    void bringInProgress()
    {
        auto answer = leaveRequested();
        partners.respond("REQUEST_ZEROIZE_ACK");
        EXPECT_EQ(answer.get().at("returned"), 1);
    }

    /// A destroy is taken now, and refused by its partner: no operation was left.
    void expectIdle()
    {
        const std::size_t before = partners.commands("REQUEST_DESTROY");
        std::future<Json> answer;
        EXPECT_TRUE(eventually([&] {
            // Whoever ended the operation may be about to let it go: until then a request is ignored, and answered at
            // once.
            const bool isWaiting = answer.valid() && answer.wait_for(0s) == std::future_status::timeout;
            if (!isWaiting) answer = ask(kDestroy);
            return partners.commands("REQUEST_DESTROY") > before;
        }));
        partners.respond("REQUEST_DESTROY_NACK");
        answer.get();
    }

    /// The warnings once there are so many.
    Json warnings(std::size_t count)
    {
        return bus
            ->awaitTell("warning-messages",
                        [=](const Json& tell) { return tell.at("record").at("warnings").size() >= count; })
            .at("record")
            .at("warnings");
    }

    Desk desk;
    Partners partners{desk};
    std::optional<Bus> bus;
};

}  // namespace

TEST_F(ClearDataSystemTest, EachOperationEndsAsItsResponseSays)
{
    begin();
    struct Row {
        Json request;
        const char* command;
        const char* response;
        int warning;
    };
    const Row rows[] = {{kZeroize, "REQUEST_ZEROIZE", "SYSTEM_ZEROIZE_PASS", 22},
                        {kZeroize, "REQUEST_ZEROIZE", "SYSTEM_ZEROIZE_FAIL", 23},
                        {kDestroy, "REQUEST_DESTROY", "SYSTEM_DESTROY_PASS", 24},
                        {kDestroy, "REQUEST_DESTROY", "SYSTEM_DESTROY_FAIL", 25}};
    for (const Row& row : rows) {
        const std::size_t before = partners.commands(row.command);
        auto answer = ask(row.request);
        ASSERT_TRUE(partners.awaitCommand(row.command, before + 1));
        partners.respond(std::string(row.command) + "_ACK");
        EXPECT_EQ(answer.get().at("returned"), 1);
        partners.respond(row.response);
        EXPECT_EQ(partners.typeOfEvent("OrvaneServer: Clear data complete for command, " + std::string(row.command) +
                                       ". Result was " + row.response),
                  kInformation);
    }
    const Json told = warnings(4);
    ASSERT_EQ(told.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(told[i].at("warningId"), rows[i].warning);
        EXPECT_EQ(told[i].at("customText"), "OrvaneServer: Clear data complete for command, " +
                                                std::string(rows[i].command) + ". Result was " + rows[i].response);
    }
    EXPECT_EQ(bus->tells("clear-system-data"), 4U);
}

TEST_F(ClearDataSystemTest, AckAndPassBackToBackAreOneWholeOperation)
{
    begin();
    for (std::size_t round = 1; round <= 20; ++round) {
        auto answer = leaveRequested();
        partners.respond("REQUEST_ZEROIZE_ACK");
        partners.respond("SYSTEM_ZEROIZE_PASS");
        ASSERT_EQ(answer.get().at("returned"), 1);
        ASSERT_TRUE(desk.awaitOutput("warning message ID 22, ", round));
    }
    const Json told = warnings(20);
    ASSERT_EQ(told.size(), 20U);
    for (const Json& warning : told) EXPECT_EQ(warning.at("warningId"), 22);
    EXPECT_EQ(desk.count("Received Ack. "), 20U);
    EXPECT_EQ(desk.count("NACK"), 0U);
    EXPECT_EQ(desk.count("timed out"), 0U);
    EXPECT_EQ(desk.count("ignored"), 0U);
}

TEST_F(ClearDataSystemTest, SecondRequestIsIgnoredWhileTheFirstWaits)
{
    begin();
    auto first = leaveRequested();
    for (const Json& second : {kDestroy, kZeroize}) EXPECT_EQ(bus->request(second).at("returned"), 1);
    EXPECT_EQ(bus->awaitTell("clear-system-data").at("result"), 0);
    EXPECT_EQ(bus->awaitTell("clear-system-data").at("result"), 0);
    const std::string end = " ignored due to clear command, REQUEST_ZEROIZE, already started: Clear data requested";
    EXPECT_EQ(partners.typeOfEvent("OrvaneServerREQUEST_DESTROY" + end), kFault);
    EXPECT_EQ(partners.typeOfEvent("OrvaneServerREQUEST_ZEROIZE" + end), kFault);
    EXPECT_EQ(first.wait_for(0s), std::future_status::timeout);

    partners.respond("REQUEST_ZEROIZE_ACK");
    EXPECT_EQ(first.get().at("returned"), 1);
    EXPECT_EQ(partners.commands("REQUEST_DESTROY"), 0U);
    EXPECT_EQ(partners.commands("REQUEST_ZEROIZE"), 1U);
}

TEST_F(ClearDataSystemTest, SecondRequestIsIgnoredWhileDataAreErasedAndTakenAfterwards)
{
    begin();
    bringInProgress();
    EXPECT_EQ(bus->request(kZeroize).at("returned"), 1);
    EXPECT_EQ(partners.typeOfEvent("OrvaneServerREQUEST_ZEROIZE ignored due to clear command, REQUEST_ZEROIZE, already "
                                   "started: Clear data in-progress"),
              kFault);
    EXPECT_EQ(partners.commands("REQUEST_ZEROIZE"), 1U);

    partners.respond("SYSTEM_ZEROIZE_PASS");
    EXPECT_EQ(warnings(1).at(0).at("warningId"), 22);
    bringInProgress();
    EXPECT_EQ(partners.commands("REQUEST_ZEROIZE"), 2U);
}

TEST_F(ClearDataSystemTest, ResponsesOutOfTurnAreIgnoredInEachState)
{
    begin();
    for (const char* text : {"REQUEST_ZEROIZE_ACK", "REQUEST_DESTROY_NACK", "SYSTEM_ZEROIZE_PASS", "none_ACK"})
        partners.respond(text);
    EXPECT_EQ(partners.typeOfEvent("OrvaneServer: Ignoring none_ACK during state, Idle"), kFailure);
    EXPECT_EQ(partners.events("Ignoring"), 1U);  // the others don't match at all

    auto answer = leaveRequested();
    for (const char* text : {"REQUEST_DESTROY_ACK", "SYSTEM_DESTROY_PASS", "SYSTEM_ZEROIZE_FAIL"})
        partners.respond(text);
    EXPECT_EQ(partners.typeOfEvent("OrvaneServer: Ignoring SYSTEM_ZEROIZE_FAIL during state: Clear data requested"),
              kFailure);
    EXPECT_EQ(partners.events("Ignoring"), 2U);
    EXPECT_EQ(answer.wait_for(0s), std::future_status::timeout);
    partners.respond("REQUEST_ZEROIZE_ACK");
    EXPECT_EQ(answer.get().at("returned"), 1);

    for (const char* text : {"REQUEST_ZEROIZE_ACK", "SYSTEM_DESTROY_PASS", "REQUEST_ZEROIZE_NACK"})
        partners.respond(text);
    const std::string end = " during state, Clear data in-progress";
    EXPECT_EQ(partners.typeOfEvent("OrvaneServer: Ignoring REQUEST_ZEROIZE_ACK" + end), kFailure);
    EXPECT_EQ(partners.typeOfEvent("OrvaneServer: Ignoring REQUEST_ZEROIZE_NACK" + end), kFailure);
    EXPECT_EQ(partners.events("Ignoring"), 4U);
    partners.respond("SYSTEM_ZEROIZE_PASS");
    const Json told = warnings(1);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].at("warningId"), 22);
}

TEST_F(ClearDataSystemTest, ResponsesToOtherServersAnswerNothing)
{
    begin();
    auto answer = leaveRequested();
    partners.respond("REQUEST_ZEROIZE_NACK", deviceId(51), deviceId(53));
    partners.respond("NOTHING_THAT_IS_KNOWN");
    EXPECT_TRUE(desk.awaitOutput("OrvaneServer : no processing for command, NOTHING_THAT_IS_KNOWN\n"));
    EXPECT_EQ(answer.wait_for(0s), std::future_status::timeout);
    partners.respond("REQUEST_ZEROIZE_ACK");
    EXPECT_EQ(answer.get().at("returned"), 1);
    EXPECT_EQ(partners.typeOfEvent("Received Ack. Clear data command, REQUEST_ZEROIZE, in-progress"), kInformation);
}

TEST_F(ClearDataSystemTest, ErasingThatTakesTooLongIsReportedOnceAndOver)
{
    desk.set("PARAM_8", "12,2");
    begin();
    const auto start = std::chrono::steady_clock::now();
    bringInProgress();
    const std::string text = "OrvaneServer: Clear data command,  REQUEST_ZEROIZE, timed out after 2 seconds.";
    EXPECT_EQ(partners.typeOfEvent(text), kFailure);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 2s);

    partners.respond("SYSTEM_ZEROIZE_PASS");
    EXPECT_TRUE(desk.awaitOutput("no processing for command, SYSTEM_ZEROIZE_PASS\n"));
    expectIdle();
    const Json told = warnings(2);
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0].at("warningId"), 23);
    EXPECT_EQ(told[0].at("customText"), text);
    EXPECT_EQ(told[1].at("warningId"), 25);
    EXPECT_EQ(partners.events("timed out"), 1U);
}

TEST_F(ClearDataSystemTest, TwelveSecondsAreWaitedWhateverIsConfiguredAndALateAckIsNotTaken)
{
    desk.set("PARAM_8", "30,7200");
    begin();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(leaveRequested().get().at("returned"), 1);
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, 12s);
    EXPECT_LT(waited, 25s);
    EXPECT_EQ(partners.typeOfEvent("Request wait loop for clear data command, REQUEST_ZEROIZE, timed out after 30 "
                                   "seconds."),
              kFailure);
    partners.respond("REQUEST_ZEROIZE_ACK");
    EXPECT_TRUE(desk.awaitOutput("no processing for command, REQUEST_ZEROIZE_ACK\n"));
    EXPECT_EQ(partners.events("Received Ack."), 0U);
    expectIdle();
}

TEST_F(ClearDataSystemTest, KindsThatAreNotOfferedAreRefusedWithoutACommand)
{
    begin();
    const std::string invalid = "OrvaneServer: Received VAPNTC_SYSTEM_DATA_INVALID. Nothing to do.";
    const std::string crypto = "OrvaneServer: VAPNTC_SYSTEM_DATA_CRYPTO command is not supported from APNT.";
    const std::string unknown = "OrvaneServer: Unknown systemDataType: 7";
    for (const Json& data : {Json("invalid"), Json("crypto"), Json(7)}) {
        EXPECT_EQ(bus->request({{"request", "clear-data"}, {"data", data}}).at("returned"), 1);
        EXPECT_EQ(bus->awaitTell("clear-system-data").at("result"), 0);
    }
    const Json told = warnings(3);
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told[0].at("customText"), invalid);
    EXPECT_EQ(told[1].at("customText"), crypto);
    EXPECT_EQ(told[2].at("customText"), unknown);
    for (const Json& warning : told) EXPECT_EQ(warning.at("warningId"), 75);
    for (const std::string& text : {invalid, crypto, unknown}) EXPECT_EQ(partners.typeOfEvent(text), kFault);
    EXPECT_EQ(partners.typeOfEvent("OrvaneServer: Error, no clear data command to execute"), kFault);
    EXPECT_EQ(partners.commands(), 0U);
}

TEST_F(ClearDataSystemTest, VclIsSavedInEachStateButWhileDataAreErased)
{
    begin();
    const auto save = [&](const char* text) -> int {
        return bus->request({{"request", "save-vcl"}, {"text", text}}).at("returned");
    };
    EXPECT_EQ(save("<idle/>"), 0);
    EXPECT_EQ(readFile(kVcl), "<idle/>");

    auto answer = leaveRequested();
    EXPECT_EQ(save("<requested/>"), 0);
    EXPECT_EQ(readFile(kVcl), "<requested/>");
    partners.respond("REQUEST_ZEROIZE_ACK");
    answer.get();

    EXPECT_EQ(save("<erasing/>"), 1);
    EXPECT_EQ(readFile(kVcl), "<requested/>");
    EXPECT_EQ(partners.typeOfEvent("OrvaneServer : APNT Clear in progress, not processing SaveVCLID command"), kFault);

    partners.respond("SYSTEM_ZEROIZE_FAIL");
    warnings(1);  // told before the state is idle
    EXPECT_TRUE(eventually([&] { return save("<idle-again/>") == 0; }));
    EXPECT_EQ(readFile(kVcl), "<idle-again/>");
}

TEST_F(ClearDataSystemTest, SanitizeWhileDataAreErasedLeavesTheOperationToItsEnd)
{
    begin();
    bringInProgress();
    partners.command("START_ZEROIZE");
    EXPECT_TRUE(desk.awaitOutput("updateVDMdataRate : Restarting APNT.\n"));
    bus->awaitTell("system-configuration", [](const Json& tell) { return tell.at("record").at("systemName") == ""; });

    EXPECT_EQ(bus->request({{"request", "save-vcl"}, {"text", "<new/>"}}).at("returned"), 1);
    EXPECT_EQ(bus->request(kDestroy).at("returned"), 1);
    EXPECT_EQ(partners.typeOfEvent("OrvaneServer: Sanitize in progress, not processing APNT clear system data command"),
              kFault);
    EXPECT_EQ(partners.commands("REQUEST_DESTROY"), 0U);

    partners.respond("SYSTEM_ZEROIZE_PASS");
    EXPECT_EQ(warnings(1).at(0).at("warningId"), 22);
    EXPECT_TRUE(eventually([&] {
        return bus->request({{"request", "save-vcl"}, {"text", "<new/>"}}).at("returned") == 0;
    }));
}

TEST_F(ClearDataSystemTest, SanitizeTwiceWhileARequestWaitsIsHeldUpForTwelveSecondsAtMost)
{
    begin();
    const auto start = std::chrono::steady_clock::now();
    auto answer = leaveRequested();
    partners.command("START_ZEROIZE");
    partners.command("START_ZEROIZE");
    EXPECT_EQ(answer.get().at("returned"), 1);
    for (int restart = 1; restart <= 2; ++restart)
        bus->awaitTell("system-configuration", [](const Json& tell) {
            return !tell.value("last", false) && tell.at("record").at("systemName") == "";
        });
    EXPECT_LT(std::chrono::steady_clock::now() - start, 25s);
    EXPECT_TRUE(desk.awaitOutput("updateVDMdataRate : Restarting APNT.\n", 2));
    EXPECT_EQ(desk.count("updateVDMdataRate : Restarting APNT.\n"), 2U);
    EXPECT_TRUE(bus->request({{"request", "status"}}).at("ok"));
    EXPECT_EQ(bus->request(kZeroize).at("returned"), 1);
    EXPECT_EQ(partners.typeOfEvent("Sanitize in progress, not processing APNT clear system data command"), kFault);
    EXPECT_EQ(partners.commands("REQUEST_ZEROIZE"), 1U);
}
