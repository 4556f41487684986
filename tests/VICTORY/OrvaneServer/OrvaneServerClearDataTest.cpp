#include "aspn2_msgs/CommandResponse.h"
#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/ProcessState.h"
#include "tests/support/ServiceConfig.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <unistd.h>
#include <vector>

using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using namespace aspn2_msgs::idl;
using namespace std::chrono_literals;

namespace {

constexpr const char* kReturned = "cbClearSystemDataCallback : Return code to VDB: ERROR\n";

struct ClearDataTest : testing::Test {
    ClearDataTest()
    {
        BusFiles::giveTo(victory);
        server.bus().start(nullptr);
        victory.forgetCalls();
        server.run();
        server.clearData().setClearDataInProgressTimeout(2h);
        server.clearData().setCommandResponseMessageCallback([this](const std::string& command) {
            sent.push_back(command);
            server.clearData().processClearRequestedResponse(command + answer);
            return true;
        });
        server.clearData().setSendVDBCompleteWarningCallback([](auto, bool, const std::string&) { return true; });
        popHealthEvents();
    }
    ~ClearDataTest() override { server.clearData().setSendVDBCompleteWarningCallback(nullptr); }

    void stopBus()
    {
        server.bus().stop();
        popHealthEvents();
        victory.forgetCalls();
    }

    int request(VapntcSystemData* data) { return server.busLibrary().clearSystemData(data); }
    int request(VapntcSystemData data) { return request(&data); }

    std::vector<std::string> warnings() const
    {
        std::vector<std::string> texts;
        for (const auto& warning : server.warnings())
            texts.push_back(std::to_string(warning.warningId) + ":" + warning.customText);
        return texts;
    }

    void transition(FACE::LCM::Halvex::RequestedState::Value requested)
    {
        auto rc = FACE::RETURN_CODE_TYPE::NOT_AVAILABLE;
        server->Request_State_Transition(requested, rc);
        EXPECT_EQ(rc, FACE::RETURN_CODE_TYPE::NO_ERROR);
    }
    void stop() { transition(FACE::LCM::Halvex::RequestedState::STOP); }

    void command(const std::string& text, std::uint8_t source = 53)
    {
        CommandResponse message;
        message.header().device_id(static_cast<std::int32_t>(0x01000000U | std::uint32_t{source} << 16));
        message.command_response(text);
        server.command(message);
    }

    void respond(const std::string& text)
    {
        CommandResponse message;
        message.header().device_id(53 << 16);
        message.commanded_device_id(52 << 16);
        message.command_response_type(command_response_type_enum{1});
        message.command_response(text);
        server.response(message);
    }

    HardDeadline deadline;
    std::vector<std::string> sent;  // command texts
    std::string answer = "_ACK";    // to each
    VictoryRecorder victory;
    ServerDoor server;
};

}  // namespace

TEST_F(ClearDataTest, ARequestWithoutDataIsAZeroize)
{
    EXPECT_EQ(request(nullptr), 1);
    EXPECT_THAT(sent, ElementsAre("REQUEST_ZEROIZE"));
    EXPECT_EQ(server.clearData().state(), ClearDataCommand::STATE_IN_PROGRESS);
}

TEST_F(ClearDataTest, AllSystemDataIsADestroy)
{
    EXPECT_EQ(request(0), 1);
    EXPECT_THAT(sent, ElementsAre("REQUEST_DESTROY"));
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(ClearDataTest, ARequestIsAnsweredOnceItIsAccepted)
{
    auto stateAtTheAnswer = ClearDataCommand::STATE_IDLE;
    victory.onCall("vapntsTellClearSystemData", [&] { stateAtTheAnswer = server.clearData().state(); });
    request(nullptr);
    EXPECT_EQ(stateAtTheAnswer, ClearDataCommand::STATE_IN_PROGRESS);
    const auto calls = victory.calls("vapntsTellClearSystemData");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].number(0), 0);
    EXPECT_EQ(calls[0].service, server.bus().service());
}

TEST_F(ClearDataTest, ARefusedRequestIsAnsweredTheSameWay)
{
    answer = "_NACK";
    EXPECT_EQ(request(nullptr), 1);
    EXPECT_EQ(server.clearData().state(), ClearDataCommand::STATE_IDLE);
    EXPECT_EQ(victory.last("vapntsTellClearSystemData").number(0), 0);
}

TEST_F(ClearDataTest, CryptoIsRefusedInThreeWaysAndCommandsNothing)
{
    server.settings().m_quiet = false;
    const std::string text = "OrvaneServer: VAPNTC_SYSTEM_DATA_CRYPTO command is not supported from APNT.";
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(request(1), 1);
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_THAT(console.text(), ContainsRegex("^OrvaneServer \\([0-9]+\\), processClearDataRequest : OrvaneServer: "
                                              "VAPNTC_SYSTEM_DATA_CRYPTO command is not supported from APNT\\.\n"
                                              "cbClearSystemDataCallback : Return code to VDB: ERROR\n$"));
    EXPECT_THAT(warnings(), ElementsAre("75:" + text));
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_EQ(victory.last("vapntsTellClearSystemData").number(0), 0);
}

TEST_F(ClearDataTest, InvalidIsReportedInThreeWaysAndThenByTheStateMachine)
{
    server.settings().m_quiet = false;
    const std::string text = "OrvaneServer: Received VAPNTC_SYSTEM_DATA_INVALID. Nothing to do.";
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(request(-1), 1);
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text, "3:OrvaneServer: Error, no clear data command to execute"));
    EXPECT_THAT(console.text(), HasSubstr("processClearDataRequest : " + text + "\n"));
    EXPECT_THAT(warnings(), ElementsAre("75:" + text));
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_EQ(victory.count("vapntsTellClearSystemData"), 1U);
}

TEST_F(ClearDataTest, OtherValuesAreRefusedByNumber)
{
    server.settings().m_quiet = false;
    for (const VapntcSystemData data : {2, -2, 2147483647, -2147483647 - 1}) {
        const std::string text = "OrvaneServer: Unknown systemDataType: " + std::to_string(data);
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(request(data), 1);
        EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
        EXPECT_THAT(console.text(), HasSubstr("processClearDataRequest : " + text + "\n"));
        EXPECT_EQ(warnings().back(), "75:" + text);
    }
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_EQ(victory.count("vapntsTellClearSystemData"), 4U);
}

TEST_F(ClearDataTest, ResultsOfTheMapping)
{
    VapntcSystemData crypto = 1;
    VapntcSystemData invalid = -1;
    VapntcSystemData unknown = 2;
    EXPECT_FALSE(server.processClearDataRequest(&crypto));
    EXPECT_FALSE(server.processClearDataRequest(&invalid));
    EXPECT_FALSE(server.processClearDataRequest(&unknown));
    EXPECT_TRUE(server.processClearDataRequest(nullptr));
}

TEST_F(ClearDataTest, QuietRefusalsArePrintedNowhere)
{
    const ConsoleCapture console(std::cout);
    for (const VapntcSystemData data : {1, -1, 2}) request(data);
    request(nullptr);
    EXPECT_EQ(console.text(), "");
    EXPECT_EQ(warnings().size(), 3U);
}

TEST_F(ClearDataTest, WithoutQuietAMissingCommandIsToldAndTheReturnCodeIsAlwaysTheSame)
{
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    request(nullptr);
    EXPECT_EQ(console.text(), std::string("No command provided, Zeroize device command type\n") + kReturned);
}

TEST_F(ClearDataTest, DebugLinesOfARequest)
{
    server.settings().m_debug = true;
    const ConsoleCapture console(std::cout);
    request(nullptr);
    server.clearData().processClearCompletedResponse("SYSTEM_ZEROIZE_PASS");
    request(0);
    EXPECT_EQ(console.text(), "CALLBACK RECIEVED --- \n"
                              "Identified eClearType = REQUEST_ZEROIZE\n"
                              "CALLBACK RECIEVED --- \n"
                              "Identified eClearType = REQUEST_DESTROY\n");
}

TEST_F(ClearDataTest, OnlyTheInvalidOneOfRefusedValuesIsIdentified)
{
    server.settings().m_debug = true;
    for (const VapntcSystemData data : {1, 2}) {
        const ConsoleCapture console(std::cout);
        request(data);
        EXPECT_THAT(console.text(), Not(HasSubstr("Identified")));
    }
    const ConsoleCapture console(std::cout);
    request(-1);
    EXPECT_THAT(console.text(), HasSubstr("Identified eClearType = none\n"));
}

TEST_F(ClearDataTest, WithoutAContextThereIsAnEventAndNoLine)
{
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(ServerDoor::libraryWithoutContext().clearSystemData(nullptr), 1);
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: instance pointer was not found in VICTORY callbackData parameter"));
    EXPECT_EQ(console.text(), "");
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(ClearDataTest, ASanitizeRefusesBeforeAnythingElse)
{
    command("START_ZEROIZE");
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    VapntcSystemData data[] = {0, 1, -1, 2};
    for (auto& value : data) EXPECT_EQ(request(&value), 1);
    EXPECT_EQ(request(nullptr), 1);
    auto events = popHealthEvents();
    EXPECT_EQ(events.size(), 5U);
    EXPECT_THAT(victory.operations(), IsEmpty());
    stopBus();
    EXPECT_EQ(request(nullptr), 1);
    events.push_back(popHealthEvent());
    EXPECT_THAT(events, Each("3:OrvaneServer: Sanitize in progress, not processing APNT clear system data command"));
    std::string lines;
    for (int i = 0; i < 6; ++i) lines += kReturned;
    EXPECT_EQ(console.text(), lines);
    EXPECT_THAT(warnings(), IsEmpty());
    EXPECT_THAT(victory.operations(), IsEmpty());
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(ClearDataTest, WhileTheServiceIsDownRequestsAreIgnored)
{
    stopBus();
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(request(nullptr), 1);
    EXPECT_EQ(request(1), 1);
    EXPECT_THAT(popHealthEvents(), Each("3:OrvaneServer : Ignored. Cannot process APNT Clear System Data while APNT "
                                        "service is not running!"));
    EXPECT_EQ(console.text(), std::string(kReturned) + kReturned);
    EXPECT_THAT(victory.operations(), IsEmpty());
    EXPECT_THAT(warnings(), IsEmpty());
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(ClearDataTest, TheMappingLooksForTheServiceTooAndIsContent)
{
    stopBus();
    EXPECT_TRUE(server.processClearDataRequest(nullptr));
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer : Ignored. Cannot process APNT Clear System Data "
                                               "requests while APNT service is not running!"));
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(ClearDataTest, ASecondRequestDuringAnOperationIsRefusedByTheStateMachine)
{
    request(nullptr);
    popHealthEvents();
    EXPECT_EQ(request(0), 1);
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServerREQUEST_DESTROY ignored due to clear command, REQUEST_ZEROIZE, already "
                            "started: Clear data in-progress"));
    EXPECT_THAT(sent, ElementsAre("REQUEST_ZEROIZE"));
    EXPECT_EQ(victory.count("vapntsTellClearSystemData"), 2U);
}

TEST_F(ClearDataTest, APassBeforeTheAcceptanceIsIgnoredWithAnEventAndTheOperationGoesOn)
{
    server.clearData().setCommandResponseMessageCallback([](const std::string&) { return false; });
    request(nullptr);
    ASSERT_EQ(server.clearData().state(), ClearDataCommand::STATE_REQUESTED);
    popHealthEvents();
    const ConsoleCapture console(std::cout);
    respond("SYSTEM_ZEROIZE_PASS");
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("4:OrvaneServer: Ignoring SYSTEM_ZEROIZE_PASS during state: Clear data requested"));
    EXPECT_EQ(console.text(), "");
    EXPECT_EQ(server.clearData().state(), ClearDataCommand::STATE_REQUESTED);
    respond("REQUEST_ZEROIZE_ACK");
    EXPECT_EQ(server.clearData().state(), ClearDataCommand::STATE_IN_PROGRESS);
}

TEST_F(ClearDataTest, NothingLeavesTheCallback)
{
    server.settings().m_quiet = false;
    victory.onCall("vapntsTellClearSystemData", [] { throw std::runtime_error("no luck"); });
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(request(1), 1);
    EXPECT_THAT(popHealthEvents(), Contains("3:OrvaneServer: An exception occurred. Details: no luck"));
    EXPECT_THAT(console.text(), testing::EndsWith(kReturned));
    victory.onCall("vapntsTellClearSystemData", [] { throw 1; });
    EXPECT_EQ(request(1), 1);
    EXPECT_THAT(popHealthEvents(), Contains("3:OrvaneServer: Unknown c++ exception occurred"));
}

TEST_F(ClearDataTest, SanitizeSlowsTheBusDownAndThenWipesTheConfiguration)
{
    const TemporaryDirectory directory;
    server.settings().m_vclFile = directory.write(
        "vcl.xml",
        "<vcl:VCL><a type=\"ASSURED_PNT_BLENDED_NAVIGATION\"><item name=\"updatePeriod\" value=\"1000\"/></a>"
        "<b type=\"ASSURED_PNT_NAVWAR_SA\"><item name=\"updatePeriod\" value=\"1000\"/></b></vcl:VCL>");
    const auto answerFrom = [this](int source) {
        CommandResponse message;
        message.header().device_id(source << 16);
        message.command_response("PARTNUMBERS");
        server.response(message);
    };
    answerFrom(49);
    victory.forgetCalls();
    bool sanitizingAtTheEnd = false;
    victory.onCall("vapntsDeleteService", [&] { sanitizingAtTheEnd = server.isSanitizeRequested(); });

    command("START_DESTROY", 200);
    EXPECT_TRUE(server.isSanitizeRequested());
    EXPECT_EQ(victory.count("vapntsDeleteService"), 0U);  // what a call-back of the transport can't wait for
    server.turn();
    EXPECT_TRUE(sanitizingAtTheEnd);
    const auto vcl = victory.last("vapntsNewService").text(1);
    EXPECT_THAT(vcl, AllOf(HasSubstr("name=\"updatePeriod\" value=\"4294967295\""), Not(HasSubstr("\"1000\""))));
    const auto tells = victory.calls("vapntsTellSystemConfiguration");
    ASSERT_EQ(tells.size(), 1U);  // none by the restart
    const auto told = tells[0].record<VapntcSystemConfiguration>();
    const VapntcSystemConfiguration empty = {};
    EXPECT_EQ(std::memcmp(&told, &empty, sizeof empty), 0);
    EXPECT_EQ(victory.operations().back(), "vapntsTellSystemConfiguration");
    answerFrom(38);  // the own configuration is as it was
    EXPECT_EQ(victory.last("vapntsTellSystemConfiguration").record<VapntcSystemConfiguration>().componentCount, 2);
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
    server.bus().stop();
}

TEST_F(ClearDataTest, SanitizeMayComeTwiceAndDuringAnOperationAndSendsNoResponse)
{
    request(nullptr);
    popHealthEvents();
    for (const char* text : {"START_ZEROIZE", "START_ZEROIZE", "START_DESTROY"}) {
        command(text);
        server.turn();
        EXPECT_TRUE(server.isSanitizeRequested());
        EXPECT_TRUE(server.bus().isStarted());
        EXPECT_THAT(popHealthEvents(), Not(Contains(HasSubstr("CommandResponse"))));
    }
    EXPECT_EQ(server.clearData().state(), ClearDataCommand::STATE_IN_PROGRESS);
    EXPECT_EQ(victory.count("vapntsDeleteService"), 3U);
    server.bus().stop();
}

TEST_F(ClearDataTest, ASanitizeThatCameAfterTheLastTurnIsToldAtTheStop)
{
    const ConsoleCapture console(std::cout);
    command("START_ZEROIZE");  // and no turn comes any more
    command("START_ZEROIZE");
    stop();
    EXPECT_EQ(victory.count("vapntsDeleteService"), 0U);
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("2:OrvaneServer stopped successfully.",
                            "3:OrvaneServer: Stopped. Orders to sanitize that were not carried out: 2"));
    EXPECT_EQ(console.text(), "OrvaneServer: Stopped. Orders to sanitize that were not carried out: 2\n");
    server.turn();  // nothing waits any more
    EXPECT_EQ(victory.count("vapntsDeleteService"), 0U);
    server.bus().stop();
}

TEST_F(ClearDataTest, AStopWaitsForTheSanitizeInProgressAloneAndTellsHowManyItLeaves)
{
    server.halt();
    server.turnPause() = 1ms;
    transition(FACE::LCM::Halvex::RequestedState::START);
    const pid_t main = gettid();
    std::atomic<bool> isStopping = false;
    victory.onCall("vapntsDeleteService", [&] {  // takes until the worker is waited for
        int looks = 0;                           // in a row, at the thread that stops it asleep
        EXPECT_TRUE(eventually([&] { return isStopping && (looks = isAsleep(main) ? looks + 1 : 0) == 5; }));
    });
    const ConsoleCapture console(std::cout);
    command("START_ZEROIZE");
    EXPECT_TRUE(victory.waitForCalls("vapntsDeleteService", 1));
    for (int i = 0; i < 20; ++i) command("START_ZEROIZE");
    popHealthEvents();
    isStopping = true;
    stop();
    EXPECT_EQ(victory.count("vapntsDeleteService"), 1U);
    victory.onCall("vapntsDeleteService", nullptr);
    EXPECT_EQ(popHealthEvents().back(), "3:OrvaneServer: Stopped. Orders to sanitize that were not carried out: 10");
    EXPECT_THAT(console.text(),
                testing::EndsWith("\nOrvaneServer: Stopped. Orders to sanitize that were not carried out: 10\n"));
    server.bus().stop();
}

TEST_F(ClearDataTest, AnOrderThatComesAfterTheEndOfTheWorkerIsToldToo)
{
    struct Watch : std::streambuf {
        std::streamsize xsputn(const char* text, std::streamsize count) override
        {
            if (std::string(text, static_cast<std::size_t>(count)).find("worker thread stopped") != std::string::npos)
                onStopped();
            return count;
        }
        std::function<void()> onStopped;
    } watch;
    server.halt();
    server.turnPause() = 1ms;
    server.settings().m_debug = true;
    watch.onStopped = [this] { command("START_DESTROY"); };
    std::streambuf* const previous = std::cout.rdbuf(&watch);
    transition(FACE::LCM::Halvex::RequestedState::START);
    stop();
    std::cout.rdbuf(previous);
    EXPECT_EQ(popHealthEvents().back(), "3:OrvaneServer: Stopped. Orders to sanitize that were not carried out: 1");
    EXPECT_EQ(victory.count("vapntsDeleteService"), 0U);
    server.bus().stop();
}

TEST_F(ClearDataTest, OrdersAreCarriedOutAgainAfterTheNextStart)
{
    stop();
    server.turnPause() = 1ms;
    transition(FACE::LCM::Halvex::RequestedState::START);
    command("START_ZEROIZE");
    EXPECT_TRUE(victory.waitForCalls("vapntsTellSystemConfiguration", 1));
    stop();
    EXPECT_THAT(popHealthEvents(), Not(Contains(HasSubstr("not carried out"))));
    server.bus().stop();
}

TEST_F(ClearDataTest, OfManyOrdersTenAreCarriedOutInOneTurn)
{
    for (int i = 0; i < 50; ++i) command("START_ZEROIZE");
    server.turn();
    EXPECT_EQ(victory.count("vapntsDeleteService"), 10U);
    server.turn();
    EXPECT_EQ(victory.count("vapntsDeleteService"), 10U);
    server.bus().stop();
}

TEST_F(ClearDataTest, ASanitizeThatFailsIsReportedAndHoldsNothingUp)
{
    const TemporaryDirectory flags;
    flags.write("PostComplete", "");
    server.settings().m_flagDirectory = flags.path().string();
    victory.onCall("vapntsTellSystemConfiguration", [] { throw std::runtime_error("no luck"); });
    const ConsoleCapture console(std::cout);
    command("START_ZEROIZE");
    command("START_DESTROY");
    server.turn();
    EXPECT_EQ(victory.count("vapntsInitTellExecuteBuiltInTestsCallback"), 1U);  // what stands behind it in the turn
    EXPECT_THAT(popHealthEvents(), Contains("3:OrvaneServer: An exception occurred. Details: no luck").Times(2));
    EXPECT_THAT(console.text(), ContainsRegex("OrvaneServer \\([0-9]+\\) cbCmd : An exception occurred in cbCmd\\. "
                                              "Details: OrvaneServer: An exception occurred\\. Details: no luck\n"));
    EXPECT_EQ(victory.count("vapntsDeleteService"), 2U);
    server.turn();  // does not take it up again
    EXPECT_EQ(victory.count("vapntsDeleteService"), 2U);
    server.bus().stop();
}

TEST_F(ClearDataTest, WhatIsNoStandardExceptionInASanitizeIsUnknown)
{
    victory.onCall("vapntsTellSystemConfiguration", [] { throw 1; });
    const ConsoleCapture console(std::cout);
    command("START_ZEROIZE");
    server.turn();
    EXPECT_THAT(popHealthEvents(), Contains("3:OrvaneServer: Unknown c++ exception in cbCmd"));
    EXPECT_THAT(console.text(), HasSubstr(" cbCmd : OrvaneServer: Unknown c++ exception in cbCmd\n"));
    server.bus().stop();
}

TEST_F(ClearDataTest, OnlyTheTwoStartCommandsBeginASanitize)
{
    for (const char* text : {"START_ZEROIZE ", "start_zeroize", "START", "REQUEST_ZEROIZE", "START_DESTROY,1"})
        command(text);
    EXPECT_FALSE(server.isSanitizeRequested());
    server.halt();
    command("START_ZEROIZE");
    EXPECT_FALSE(server.isSanitizeRequested());
}

namespace {

void configure(ServerDoor& server, const ServiceConfig& config)
{
    const TemporaryDirectory directory;
    auto rc = FACE::RETURN_CODE_TYPE::DATA_OVERFLOW;
    const ConsoleCapture console(std::cout);
    server->Configure(directory.write("service.xml", config.text()).c_str(), rc);
    EXPECT_EQ(rc, FACE::RETURN_CODE_TYPE::NO_ERROR);
}

}  // namespace

TEST_F(ClearDataTest, ErasingHasTheSecondOfTheConfiguredTimes)
{
    configure(server, ServiceConfig().set("PARAM_8", "3600,0"));
    EXPECT_FALSE(server.clearData().processClearDataRequestType(ClearDataCommand::CLEAR_ZEROIZE));  // no sender
    EXPECT_TRUE(server.clearData().processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    ASSERT_TRUE(eventually([&] { return server.clearData().state() == ClearDataCommand::STATE_IDLE; }));
    EXPECT_THAT(warnings(),
                ElementsAre("23:OrvaneServer: Clear data command,  REQUEST_ZEROIZE, timed out after 0 seconds."));
}

TEST_F(ClearDataTest, OnlyDebugLetsTheOperationPrint)
{
    configure(server, ServiceConfig().set("Debug", "false").set("PARAM_1", "false"));
    {
        const ConsoleCapture console(std::cout);
        server.clearData().dumpStateInfo();
        EXPECT_EQ(console.text(), "");
    }
    configure(server, ServiceConfig().set("Debug", "true").set("PARAM_1", "true"));
    const ConsoleCapture console(std::cout);
    server.clearData().dumpStateInfo();
    EXPECT_EQ(console.text(), ", m_eClearTypeRequested = none\n");
}

TEST_F(ClearDataTest, AnExpiryThatIsBeingReportedIsWaitedForAtTheEndOfTheServer)
{
    auto other = std::make_unique<ServerDoor>();
    configure(*other, ServiceConfig().set("PARAM_8", "3600,0").set("Debug", "false"));
    other->settings().m_debug = true;
    const ConsoleCapture console(std::cout);
    std::atomic<bool> isReported = false, isEnding = false, hasEnded = false;
    const BeforeNextLine warningIsQueued([&] {
        isReported = true;
        EXPECT_TRUE(eventually([&] { return isEnding.load(); }));
        EXPECT_FALSE(eventually([&] { return hasEnded.load(); }, 100ms));
    });
    other->clearData().processClearDataRequestType(ClearDataCommand::CLEAR_ZEROIZE);  // no sender
    other->clearData().processClearRequestedResponse("REQUEST_ZEROIZE_ACK");
    ASSERT_TRUE(eventually([&] { return isReported.load(); }));
    isEnding = true;
    other.reset();
    hasEnded = true;
    EXPECT_THAT(console.text(), HasSubstr("Sending VDB APNT warning message ID 23, custom message: OrvaneServer: Clear "
                                          "data command,  REQUEST_ZEROIZE, timed out after 0 seconds.\n"));
}
