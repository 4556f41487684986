#include "ASPN/AspnHelper.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/gps_msgs.h"
#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/FrameBytes.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/HealthEvents.h"
#include "tests/support/ProcessState.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <limits>
#include <map>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using namespace aspn2_msgs::idl;

namespace {

constexpr const char* kTellConfiguration = "vapntsTellSystemConfiguration";

/// A message from a server.
template <class Message>
Message from(std::uint8_t server, std::uint8_t topic = 0)
{
    Message message;
    message.header().device_id(static_cast<std::int32_t>(0x01000000U | std::uint32_t{server} << 16 | topic));
    return message;
}

GSSIP recordOf(GssipMessage& frame, std::uint8_t server = 39)
{
    FrameBytes bytes;
    frame.WriteMessage(&bytes);
    auto record = from<GSSIP>(server);
    record.num_bytes(static_cast<std::int32_t>(bytes.data.size()));
    record.data(bytes.data);
    return record;
}

GSSIP recordOfId(std::uint16_t id, std::uint8_t server = 39)
{
    auto record = from<GSSIP>(server);
    record.data({0xFF, 0x81, static_cast<std::uint8_t>(id), static_cast<std::uint8_t>(id >> 8), 0, 0, 0, 0, 0, 0});
    record.num_bytes(10);
    return record;
}

/// A threat report with one line of bearing.
GSSIP recordOfOneBearing()
{
    auto record = from<GSSIP>(39);
    std::vector<std::uint8_t> frame = {0xFF, 0x81, 0xCB, 0x3A, 0x64, 0x00, 0x00, 0x80};
    frame.resize(212);
    frame[48] = 2;
    frame[49] = 1;
    record.num_bytes(212);
    record.data(frame);
    return record;
}

MeasurementIncorporationStatus measurements(std::vector<std::pair<int, int>> entries)
{
    auto message = from<MeasurementIncorporationStatus>(96);
    for (const auto& [id, available] : entries) {
        meas_type_set entry;
        entry.meas_set_id(id);
        entry.meas_avail(available);
        message.meas_types().push_back(entry);
    }
    return message;
}

CommandResponse commandOf(const std::string& text, std::uint8_t server = 53)
{
    auto command = from<CommandResponse>(server);
    command.command_response(text);
    return command;
}

CommandResponse responseOf(const std::string& text, std::uint8_t commanded = 52, std::uint8_t server = 53)
{
    auto response = commandOf(text, server);
    response.command_response_type(command_response_type_enum{1});
    response.commanded_device_id(static_cast<std::int32_t>(0x01000200U | std::uint32_t{commanded} << 16));
    return response;
}

struct InboundTest : testing::Test {
    InboundTest()
    {
        BusFiles::giveTo(victory);
        server.settings().m_gssipSourceServers = {39, 96};
        server.run();
        popHealthEvents();
    }

    void startBus()
    {
        server.bus().start(nullptr);
        popHealthEvents();
        victory.forgetCalls();
    }

    std::vector<std::uint32_t> warnings() const
    {
        std::vector<std::uint32_t> ids;
        for (const auto& warning : server.warnings()) ids.push_back(warning.warningId);
        return ids;
    }

    VictoryRecorder victory;
    ServerDoor server;
};

}  // namespace

TEST_F(InboundTest, NothingIsTakenWhileStopped)
{
    server.halt();
    startBus();
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.deliver(from<PositionVelocityAttitude>(96));
    server.deliver(from<UTCTime>(96));
    server.deliver(from<HalvexPNT>(96));
    server.deliver(from<MeasurementIncorporationStatus>(96));
    server.deliver(from<AssuranceState>(96));
    server.fromReceiver(recordOfId(8504));
    ThreatData threat;
    server.toReceiver(recordOf(threat));
    server.command(commandOf("BITSERVER_PING"));
    server.response(responseOf("PARTNUMBERS"));
    EXPECT_EQ(console.text(), "");  // what is taken is mentioned
    EXPECT_THAT(warnings(), IsEmpty());
    EXPECT_THAT(server.threats(), IsEmpty());
    EXPECT_EQ(victory.count(kTellConfiguration), 0U);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(InboundTest, AMessageOfAnotherSourceIsNotMentionedButForTheAssuranceState)
{
    auto& settings = server.settings();
    settings.m_pvaSourceServerId = settings.m_utcSourceServerId = 8;
    settings.m_fusionPNTSourceServerId = settings.m_misSourceServerId = 8;
    settings.m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.deliver(from<PositionVelocityAttitude>(7));
    server.deliver(from<UTCTime>(7));
    server.deliver(from<HalvexPNT>(7));
    server.deliver(measurements({{1, 0}}));
    EXPECT_EQ(console.text(), "");
    EXPECT_THAT(warnings(), IsEmpty());
    server.deliver(from<AssuranceState>(7));
    EXPECT_THAT(console.text(), HasSubstr("cbAssuranceState : Processing AssuranceState message received from "));
}

TEST_F(InboundTest, QuietHandlersPrintNothing)
{
    const ConsoleCapture console(std::cout);
    server.deliver(from<PositionVelocityAttitude>(96));
    server.deliver(from<UTCTime>(96));
    server.deliver(from<HalvexPNT>(96));
    server.deliver(measurements({{1, 5}}));
    server.deliver(from<AssuranceState>(96));
    EXPECT_EQ(console.text(), "");
}

TEST_F(InboundTest, LinesOfTheHandlers)
{
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.deliver(from<PositionVelocityAttitude>(96));
    server.deliver(from<UTCTime>(35));
    server.deliver(from<HalvexPNT>(250));
    server.deliver(from<MeasurementIncorporationStatus>(39));
    server.deliver(from<AssuranceState>(0));
    EXPECT_EQ(console.text(),
              "OrvaneServer: cbPVA : Processing Position Velocity Attitude message received from HalvexNavigator, "
              "server ID = 96\n"
              "OrvaneServer: cbUTCTime : Processing UTC Time message received from MicrosemiOX171, server ID = 35\n"
              "OrvaneServer: cbHalvexPNT : Processing HalvexPNT message received from (unknown ID 250), server ID = "
              "250\n"
              "OrvaneServer: cbMeasurementIncorporationStatus : Processing MeasurementIncorporationStatus message "
              "received from ZentorM, server ID = 39\n"
              "OrvaneServer: cbAssuranceState : Processing AssuranceState message received from (unknown ID 0), server "
              "ID = 0\n");
}

TEST_F(InboundTest, TheTimeIsKeptApartAndGivesTheGpsSeconds)
{
    auto message = from<UTCTime>(96);
    message.gps_tow_sec(1000);
    message.gps_tow_nsec(5e8);
    message.utc_tod_sec(77);
    startBus();
    server.deliver(message);
    server.toReceiver(recordOfOneBearing());
    victory.fireTell(VAPNTS_PUB_GROUP_WARNING_MESSAGES);
    const auto warnings = victory.last("vapntsTellWarningMessagesData").record<VapntcWarningMessagesRecord>();
    EXPECT_DOUBLE_EQ(warnings.gpsSeconds, 1000.5);
    ASSERT_EQ(server.threats().size(), 1U);
    EXPECT_EQ(server.threats()[0].time.minute, 1U);
    EXPECT_EQ(server.threats()[0].time.seconds, 17U);
}

TEST_F(InboundTest, InputsAreFreeWhileTheTimeIsWaitedFor)
{
    const HardDeadline deadline;
    const ConsoleCapture console(std::cout);
    server.settings().m_quiet = false;
    std::thread listener;
    const BeforeNextLine timeOfThreatIsPrinted([&] {
        std::atomic<pid_t> waiting = 0;
        listener = std::thread([&] {
            waiting = gettid();
            server.deliver(from<UTCTime>(96));
        });
        int looks = 0;  // in a row, at the listener asleep: the time is in use
        EXPECT_TRUE(eventually([&] { return (looks = isAsleep(waiting) ? looks + 1 : 0) == 5; }));
        std::thread other([&] { server.deliver(from<PositionVelocityAttitude>(96)); });
        other.join();  // waits for ever if the listener keeps the inputs
    });
    server.toReceiver(recordOfOneBearing());
    ASSERT_TRUE(listener.joinable());
    listener.join();
}

TEST_F(InboundTest, TooFewMeasurementsAreLostAtOnceAndBackAfterThreeGoodMessages)
{
    for (int i = 0; i < 3; ++i) server.deliver(measurements({{1, 1}}));
    EXPECT_THAT(warnings(), ElementsAre(67));
    for (const int count : {2, 2, 1}) server.deliver(measurements({{1, count}}));
    EXPECT_THAT(warnings(), ElementsAre(67));
    for (int i = 0; i < 3; ++i) {
        EXPECT_THAT(warnings(), ElementsAre(67)) << i;
        server.deliver(measurements({{1, 2}}));
    }
    EXPECT_THAT(warnings(), ElementsAre(67, 68));
}

TEST_F(InboundTest, FirstMessageWithTooFewMeasurementsRaisesTheWarning)
{
    server.deliver(measurements({{1, 1}}));
    EXPECT_THAT(warnings(), ElementsAre(67));
}

TEST_F(InboundTest, AFirstGoodMessageKeepsTheWarningAway)
{
    server.deliver(measurements({{1, 1}, {2, 1}}));
    server.deliver(measurements({}));
    server.deliver(measurements({}));
    EXPECT_THAT(warnings(), IsEmpty());
    server.deliver(measurements({}));
    EXPECT_THAT(warnings(), ElementsAre(67));
}

TEST_F(InboundTest, OnlyTheFirstTwoSetsCount)
{
    server.deliver(measurements({{0, 9}, {3, 9}, {4, 9}, {-1, 9}, {65537, 9}}));
    EXPECT_THAT(warnings(), ElementsAre(67));
}

TEST_F(InboundTest, SumOfMeasurementsDoesNotWrap)
{
    const int most = std::numeric_limits<int>::max();
    for (int i = 0; i < 3; ++i) server.deliver(measurements({{1, most}, {2, most}, {1, most}}));
    EXPECT_THAT(warnings(), IsEmpty());
    const int least = std::numeric_limits<int>::min();
    for (int i = 0; i < 3; ++i) server.deliver(measurements({{1, least}, {2, least}}));
    EXPECT_THAT(warnings(), ElementsAre(67));
}

TEST_F(InboundTest, RecentMeasurementsOutlastAStop)
{
    server.deliver(measurements({{1, 2}}));
    for (const auto requested : {FACE::LCM::Halvex::RequestedState::STOP, FACE::LCM::Halvex::RequestedState::START}) {
        FACE::RETURN_CODE_TYPE::Value rc = FACE::RETURN_CODE_TYPE::NOT_AVAILABLE;
        server->Request_State_Transition(requested, rc);
        EXPECT_EQ(rc, FACE::RETURN_CODE_TYPE::NO_ERROR);
    }
    server->Stop();
    server.deliver(measurements({{1, 0}}));
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(InboundTest, OnlyConfiguredSourcesOfFramesAreHeard)
{
    startBus();
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.fromReceiver(recordOfId(8504, 40));
    server.settings().m_gssipSourceServers.clear();
    server.fromReceiver(recordOfId(8504, 39));
    EXPECT_EQ(console.text(), "");
}

TEST_F(InboundTest, OtherFramesAreDroppedWithoutAWord)
{
    startBus();
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.fromReceiver(recordOfId(9999));
    server.toReceiver(recordOfId(8504));
    EXPECT_EQ(console.text(), "");
}

TEST_F(InboundTest, FramesWhoseLengthIsNotToBeBelievedAreDropped)
{
    startBus();
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    for (const int length : {3, 0, -1, 11, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        auto record = recordOfId(8504);
        record.num_bytes(length);
        server.fromReceiver(record);
        EXPECT_EQ(console.text(), "") << length;
    }
    auto record = recordOfId(8504);
    record.num_bytes(4);
    server.fromReceiver(record);
    EXPECT_THAT(console.text(), HasSubstr("cbZentorGssip: Processed GSSIP: 8504 from ZentorM\n"));
}

TEST_F(InboundTest, BeforeTheBusServiceFramesAreOnlyShown)
{
    const ConsoleCapture console(std::cout);
    server.fromReceiver(recordOfId(8504));
    EXPECT_THAT(console.text(), HasSubstr("OrvaneServer: cbZentorGssip: Processed GSSIP: 8504 from 39\n"));
}

TEST_F(InboundTest, BeforeTheBusServiceAFrameOfAnyIdIsShown)
{
    const ConsoleCapture console(std::cout);
    server.fromReceiver(recordOfId(9999, 96));
    EXPECT_THAT(console.text(), testing::StartsWith("OrvaneServer: cbZentorGssip: Processed GSSIP: 9999 from 96\n"));
}

TEST_F(InboundTest, BeforeTheBusServiceAFrameOfARefusedSourceIsNotShown)
{
    const ConsoleCapture console(std::cout);
    server.fromReceiver(recordOfId(9999, 40));
    EXPECT_EQ(console.text(), "");
}

TEST_F(InboundTest, BeforeTheBusServiceAReceiversWarningIsShownAndNotQueued)
{
    ZentorM_5044_Msg frame;
    const auto record = recordOf(frame);
    const ConsoleCapture console(std::cout);
    server.fromReceiver(record);
    EXPECT_THAT(console.text(), HasSubstr("Processed GSSIP: 5044 from 39\n"));
    EXPECT_THAT(warnings(), IsEmpty());
    startBus();
    server.fromReceiver(record);
    EXPECT_EQ(warnings().size(), 1U);
}

TEST_F(InboundTest, ShownFramesNameTheirSource)
{
    startBus();
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.fromReceiver(recordOfId(8504));
    EXPECT_THAT(console.text(), HasSubstr("OrvaneServer: cbZentorGssip: Processed GSSIP: 8504 from ZentorM\n"));
}

TEST_F(InboundTest, ShownReceiverStatusIsFollowedByItsWords)
{
    startBus();
    server.settings().m_quiet = false;
    auto record = recordOfId(8504);
    std::vector<std::uint8_t> bytes = {0xFF, 0x81, 0x38, 0x21, 0x0C, 0x00, 0x00, 0x90, 0xBD, 0x4C};
    for (std::uint8_t word = 1; word <= 12; ++word) bytes.insert(bytes.end(), {word, 0xA0});
    bytes.insert(bytes.end(), {0x34, 0x12});
    record.data(bytes);
    record.num_bytes(36);
    const ConsoleCapture console(std::cout);
    server.fromReceiver(record);
    EXPECT_EQ(console.text(), "OrvaneServer: cbZentorGssip: Processed GSSIP: 8504 from ZentorM\n"
                              "Header:  81FF 2138 000C 9000 4CBD; msgId: 8504 Wdcnt:   12\n"
                              "Data:  0  A001 A002 A003 A004 A005 | A006 A007 A008 A009 A00A \n"
                              "Data: 10  A00B A00C \n"
                              "DataCks:  1234\n");
}

TEST_F(InboundTest, ShownReceiversWarningIsFollowedByItsWords)
{
    startBus();
    server.settings().m_quiet = false;
    auto record = recordOfId(5044);
    std::vector<std::uint8_t> bytes = {0xFF, 0x81, 0xB4, 0x13, 0x15, 0x00, 0x00, 0x90};
    bytes.resize(54);
    record.data(bytes);
    record.num_bytes(54);
    const ConsoleCapture console(std::cout);
    server.fromReceiver(record);
    EXPECT_EQ(console.text(), "OrvaneServer: cbZentorGssip: Processed GSSIP: 5044 from ZentorM\n"
                              "Header:  81FF 13B4 0015 9000 0000; msgId: 5044 Wdcnt:   21\n"
                              "Data:  0  0000 0000 0000 0000 0000 | 0000 0000 0000 0000 0000 \n"
                              "Data: 10  0000 0000 0000 0000 0000 | 0000 0000 0000 0000 0000 \n"
                              "Data: 20  0000 \n"
                              "DataCks:  0000\n");
    EXPECT_EQ(warnings().size(), 1U);
}

TEST_F(InboundTest, ThreatsFlowAndFramesBehindThemToo)
{
    startBus();
    ThreatData threat;
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.toReceiver(recordOf(threat, 96));
    EXPECT_THAT(console.text(), HasSubstr("OrvaneServer: cbHxGssip: Processed GSSIP: 15051 from HalvexNavigator\n"));
    server.toReceiver(recordOf(threat, 96));
    server.fromReceiver(recordOfId(8504));
    EXPECT_THAT(console.text(), HasSubstr("OrvaneServer: cbZentorGssip: Processed GSSIP: 8504 from ZentorM\n"));
}

TEST_F(InboundTest, ARefusedThreatReportIsDroppedWithoutAWord)
{
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.toReceiver(recordOfId(15051));
    EXPECT_EQ(console.text(), "");
}

TEST_F(InboundTest, ResponsesBehindTheFirstAskForNoMemory)
{
    const auto response = responseOf("A_RESPONSE_OF_MANY_CHARACTERS,WITH_MANY_OTHERS_BEHIND_IT");
    server.response(response);
    std::size_t refused = 1;
    {
        const FailingAllocation memory;
        server.response(response);
        refused = memory.refused();
    }
    EXPECT_EQ(refused, 0U);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(InboundTest, PartNumbersAreTakenWhoeverAskedForThem)
{
    startBus();
    server.response(responseOf("PARTNUMBERS,SW1:1.0", 40, 49));
    const auto told = victory.last(kTellConfiguration).record<VapntcSystemConfiguration>();
    EXPECT_EQ(told.componentCount, 1);
    EXPECT_STREQ(told.components[0].componentId, "0x31");
    EXPECT_STREQ(told.components[0].name, "PNT-Q");
    EXPECT_THAT(popHealthEvents(), IsEmpty());  // it was expected
}

TEST_F(InboundTest, PartNumbersForUsGoOnToTheOtherSteps)
{
    startBus();
    server.settings().m_quiet = false;
    server.settings().m_debug = true;
    const ConsoleCapture console(std::cout);
    server.response(responseOf("PARTNUMBERS,SW1:1.0", 52, 49));
    EXPECT_STREQ(victory.last(kTellConfiguration).record<VapntcSystemConfiguration>().components[0].name, "PNT-Q");
    EXPECT_THAT(console.text(),
                testing::EndsWith("OrvaneServer : m_serverId = 52 : sourceId = 49, commandedId = 52, response string = "
                                  "PARTNUMBERS,SW1:1.0\n"
                                  "OrvaneServer : no processing for command, PARTNUMBERS,SW1:1.0\n"));
}

TEST_F(InboundTest, OnlyAWholeFirstFieldIsAPartNumberResponse)
{
    startBus();
    server.response(responseOf("PARTNUMBERSX,SW1:1.0"));
    server.response(responseOf("X,PARTNUMBERS"));
    EXPECT_EQ(victory.count(kTellConfiguration), 0U);
}

TEST_F(InboundTest, ResponsesToOthersGoNoFurther)
{
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.response(responseOf("SOMETHING_ACK", 53));
    EXPECT_EQ(console.text(), "");
}

TEST_F(InboundTest, ResponsesToUsAreShownAndUnclaimedOnesToo)
{
    server.settings().m_quiet = false;
    server.settings().m_debug = true;
    const ConsoleCapture console(std::cout);
    server.response(responseOf("SOMETHING"));
    EXPECT_THAT(console.text(), AllOf(HasSubstr("OrvaneServer : m_serverId = 52 : sourceId = 53, commandedId = 52, "
                                                "response string = SOMETHING\n"),
                                      HasSubstr("OrvaneServer : no processing for command, SOMETHING\n")));
}

TEST_F(InboundTest, AResponseToUsIsFollowedByTheStateOfTheClearDataCommand)
{
    server.clearData().setQuiet(false);
    const ConsoleCapture console(std::cout);
    server.response(responseOf("SOMETHING"));
    EXPECT_EQ(console.text(), "");
    server.settings().m_quiet = false;
    server.response(responseOf("SOMETHING"));
    EXPECT_EQ(console.text(), "OrvaneServer : m_serverId = 52 : sourceId = 53, commandedId = 52, response string = "
                              "SOMETHING\n"
                              ", m_eClearTypeRequested = none\n");
}

TEST_F(InboundTest, ModeCommandsSetTheTimeCodes)
{
    server.command(commandOf("SYSTEM_MODE_SELECT_SIMULATION"));
    EXPECT_EQ(ASPN2::TimeCodeHelper::Instance().getTimeCode(), 101);
    server.command(commandOf("SYSTEM_MODE_SELECT_LIVE"));
    EXPECT_EQ(ASPN2::TimeCodeHelper::Instance().getTimeCode(), 100);
    server.command(commandOf("SYSTEM_MODE_SELECT_SIMULATION,1"));
    EXPECT_EQ(ASPN2::TimeCodeHelper::Instance().getTimeCode(), 100);
}

TEST_F(InboundTest, AnAnswerThatCannotBeSentIsAnEvent)
{
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.command(commandOf("BITSERVER_PING"));
    EXPECT_EQ(console.text(), "OrvaneServer:  TOVsec = 0, OrvaneServer\n");
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Could not publish CommandResponse for TOV = 0, OrvaneServer"));
}

TEST_F(InboundTest, ModeAnswersArePassed)
{
    server.command(commandOf("SYSTEM_MODE_SELECT_LIVE"));
    EXPECT_EQ(popHealthEvent(),
              "3:OrvaneServer: Could not publish CommandResponse for TOV = 0, SYSTEM_MODE_SELECT_LIVE_PASS");
}

TEST_F(InboundTest, OnlyCommandsAreObeyed)
{
    auto response = commandOf("BITSERVER_PING");
    response.command_response_type(command_response_type_enum{1});
    server.command(response);
    server.command(commandOf("SOMETHING_ELSE"));
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(InboundTest, ACommandToAnotherServerIsObeyedToo)
{
    auto command = commandOf("BITSERVER_PING");
    command.commanded_device_id(40 << 16);
    server.command(command);
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Could not publish CommandResponse for TOV = 0, OrvaneServer"));
}

TEST_F(InboundTest, PostCompleteIsOnlyShown)
{
    const ConsoleCapture console(std::cout);
    server.command(commandOf("POSTCOMPLETE"));
    EXPECT_EQ(console.text(), "");
    server.settings().m_debug = true;
    server.command(commandOf("POSTCOMPLETE"));
    EXPECT_EQ(console.text(), "DDS PostComplete Signal Recieved\n");
    startBus();
    server.turn();
    EXPECT_EQ(victory.count("vapntsInitTellExecuteBuiltInTestsCallback"), 0U);
}

TEST_F(InboundTest, SanitizeSilencesTheBusAndWipesTheConfiguration)
{
    startBus();
    ASSERT_TRUE(server.bus().isStarted());
    server.command(commandOf("START_ZEROIZE", 200));
    server.turn();
    EXPECT_TRUE(server.isSanitizeRequested());
    EXPECT_EQ(victory.count("vapntsNewService"), 1U);
    const auto told = victory.last(kTellConfiguration).record<VapntcSystemConfiguration>();
    EXPECT_STREQ(told.systemName, "");
    EXPECT_EQ(told.manufacturerCodePresent, 0U);
    EXPECT_THAT(popHealthEvents(), Not(testing::Contains(HasSubstr("publish CommandResponse"))));
    server.bus().stop();
}

TEST_F(InboundTest, SanitizeLeavesTheCompletionOfPartNumbersAlone)
{
    const HardDeadline deadline;
    startBus();
    server.collectPartNumbers();
    server.command(commandOf("START_DESTROY"));
    server.turn();
    EXPECT_TRUE(server.isSanitizeRequested());
    popHealthEvents();
    victory.fireSystemConfiguration();  // would wait, and complain, if they were not complete
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    server.bus().stop();
}

TEST_F(InboundTest, NothingLeavesAHandlerAndEachHasItsTexts)
{
    // A library that throws stands for whatever may go wrong below a handler.
    startBus();
    victory.onCall(kTellConfiguration, [] { throw std::runtime_error("no luck"); });
    const ConsoleCapture console(std::cout);
    server.response(responseOf("PARTNUMBERS"));
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: An exception occurred. Details: no luck");
    EXPECT_THAT(console.text(),
                testing::ContainsRegex("OrvaneServer \\([0-9]+\\) cbRsp : An exception occurred in cbRsp. "
                                       "Details: OrvaneServer: An exception occurred. Details: no "
                                       "luck\n"));
    victory.onCall(kTellConfiguration, [] { throw 1; });
    server.response(responseOf("PARTNUMBERS"));
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: Unknown c++ exception in cbCmd.");
    EXPECT_THAT(console.text(),
                testing::ContainsRegex("OrvaneServer \\([0-9]+\\) cbRsp : OrvaneServer: Unknown c\\+\\+ "
                                       "exception in cbCmd\\.\n"));
}

namespace {

/// A handler with the texts of what it throws: `bare` is that of the exception alone.
struct HandlerTexts {
    const char* name;
    bool isEventBare;
    const char* namedOnTheConsole;
    const char* unknownIn;
    std::function<void(ServerDoor&)> call;
};

std::vector<HandlerTexts> handlers()
{
    return {
        {"cbPVA", true, nullptr, "cbPVA", [](auto& server) { server.deliver(from<PositionVelocityAttitude>(96)); }},
        {"cbUTCTime", false, "cbUTCTime", "cbUTCTime", [](auto& server) { server.deliver(from<UTCTime>(96)); }},
        {"cbHalvexPNT", false, "cbUTCTime", "cbHalvexPNT", [](auto& server) { server.deliver(from<HalvexPNT>(96)); }},
        {"cbMeasurementIncorporationStatus", false, "cbUTCTime", "cbMeasurementIncorporationStatus",
         [](auto& server) {
             server.deliver(measurements({{1, 5}}));
         }},
        {"cbAssuranceState", false, "cbAssuranceState", "cbAssuranceState",
         [](auto& server) { server.deliver(from<AssuranceState>(96)); }},
        {"cbZentorGssip", true, nullptr, "cbGssip", [](auto& server) { server.fromReceiver(recordOfId(8504)); }},
        {"cbHxGssip", true, nullptr, "cbGssip",
         [](auto& server) {
             ThreatData threat;
             server.toReceiver(recordOf(threat));
         }},
        {"cbCmd", false, "cbCmd", "cbCmd", [](auto& server) { server.command(commandOf("BITSERVER_PING")); }}};
}

}  // namespace

// The line that each would print stands for whatever may go wrong in it.

TEST_F(InboundTest, AnExceptionInAHandlerHasTheHandlersTexts)
{
    startBus();
    server.settings().m_quiet = false;
    for (const auto& handler : handlers()) {
        const ConsoleCapture console(std::cout);
        const BeforeNextLine failure([] { throw std::runtime_error("no luck"); });
        handler.call(server);
        const std::string event =
            std::string(handler.isEventBare ? "" : "OrvaneServer: An exception occurred. Details: ") + "no luck";
        EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + event)) << handler.name;
        const std::string in = handler.isEventBare ? "" : std::string(" in ") + handler.namedOnTheConsole;
        EXPECT_THAT(console.text(),
                    testing::MatchesRegex("OrvaneServer \\([0-9]+\\) " + std::string(handler.name) +
                                          " : An exception occurred" + in + "\\. Details: " + event + "\n"));
    }
}

TEST_F(InboundTest, WhatIsNoStandardExceptionInAHandlerIsUnknown)
{
    startBus();
    server.settings().m_quiet = false;
    for (const auto& handler : handlers()) {
        const ConsoleCapture console(std::cout);
        const BeforeNextLine failure([] { throw 1; });
        handler.call(server);
        const std::string event = std::string("OrvaneServer: Unknown c++ exception in ") + handler.unknownIn;
        EXPECT_EQ(popHealthEvent(), "3:" + event) << handler.name;
        const auto line = console.text();
        const std::string tail = std::string(") ") + handler.name + " : " + event + "\n";
        EXPECT_TRUE(line.starts_with("OrvaneServer (") && line.ends_with(tail)) << line;
    }
}

TEST_F(InboundTest, WithTheRecordOfFaultsEveryHandlerHasAPlaceOfItsOwn)
{
    recordFaults();
    startBus();
    server.settings().m_quiet = false;
    std::map<std::string, std::string> handlerAt;
    const auto takePlaceOf = [&](const std::string& name, const std::string& line) {
        const auto event = popHealthEvent();
        std::smatch place;
        ASSERT_TRUE(std::regex_search(event, place, std::regex("^3:OrvaneServerInbound\\.cpp\\[([0-9]+)\\]:")))
            << event;
        EXPECT_THAT(line, testing::StartsWith("OrvaneServer (" + place.str(1) + ") " + name));
        EXPECT_TRUE(handlerAt.emplace(place.str(1), name).second) << name << " and " << handlerAt[place.str(1)];
    };
    for (const auto& handler : handlers()) {
        const ConsoleCapture console(std::cout);
        const BeforeNextLine failure([] { throw std::runtime_error("no luck"); });
        handler.call(server);
        takePlaceOf(handler.name, console.text());
    }
    const ConsoleCapture console(std::cout);
    victory.onCall(kTellConfiguration, [] { throw std::runtime_error("no luck"); });
    server.response(responseOf("PARTNUMBERS"));
    takePlaceOf("cbRsp", console.text());
    EXPECT_EQ(handlerAt.size(), 9U);
}

TEST_F(InboundTest, AReportEndsTheRunningTestUnlessStopped)
{
    auto* const service = victory.newService();
    server.builtInTests().Start();
    server.builtInTests().setCommandResponseMessageCallback([](const std::string&) { return true; });
    server.builtInTests().ExecuteBuiltInTests(service);
    server.builtInTests().cycleCommandedBitStateMachine();
    const auto status = [&] {
        server.builtInTests().GetBuiltInTestResults(service, {});
        return victory.last("vapntsTellGetBuiltInTestResults").record<VapntcBitResults>().results[0].status;
    };
    BitReport report;
    report.header().device_id(1);
    report.bit_rollup(true);
    server.halt();
    server.deliver(report);
    server.run();
    EXPECT_EQ(status(), 1);
    server.deliver(report);
    EXPECT_EQ(status(), 3);
}

TEST_F(InboundTest, AnExceptionBelowAReportHasTheFormOfTheWorkers)
{
    auto* const service = victory.newService();
    server.builtInTests().Initialize("Halvex", 25, true);
    server.builtInTests().Start();
    server.builtInTests().setCommandResponseMessageCallback([](const std::string&) { return true; });
    BitReport report;
    report.header().device_id(1);
    const auto failWith = [&](std::function<void()> failure) {
        const ConsoleCapture console(std::cout);
        server.builtInTests().ExecuteBuiltInTests(service);
        server.builtInTests().cycleCommandedBitStateMachine();
        popHealthEvents();
        const ConsoleCapture last(std::cout);
        const BeforeNextLine next(std::move(failure));
        server.deliver(report);
        return popHealthEvent() + "\n" + last.text();
    };
    EXPECT_EQ(failWith([] { throw std::runtime_error("no luck"); }),
              "3:OrvaneServer: cbBitReport() EXCEPTION: no luck\n"
              "OrvaneServer: cbBitReport() EXCEPTION: no luck\n");
    EXPECT_EQ(failWith([] { throw 1; }), "3:OrvaneServer: cbBitReport() EXCEPTION: <unknown>\n"
                                         "OrvaneServer: cbBitReport() EXCEPTION: <unknown>\n");
}
