#include "ioss_mcsq/GssipTopicSerializer.h"
#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

using Json = Bus::Json;
using Bytes = std::vector<std::uint8_t>;

namespace {

constexpr unsigned kFromReceiver = 5;
constexpr unsigned kToReceiver = 6;

Bytes frameOf(std::uint16_t message, std::uint16_t words)
{
    Bytes frame(10 + 2 * words + 2);
    const std::uint16_t header[] = {0x81FF, message, words, 0x8000};
    std::memcpy(frame.data(), header, sizeof header);
    return frame;
}

/// A line of bearing in use, with everything that an entry may tell.
struct Threat {
    std::int16_t azimuth = 0;    // degrees
    std::int16_t elevation = 0;  // degrees
};

Bytes threatFrame(const std::vector<Threat>& threats)
{
    Bytes frame = frameOf(15051, 100);
    std::size_t place = 48;
    for (const Threat& threat : threats) {
        frame[place] = 0b0010'1010;
        frame[place + 1] = 0b0000'1111;  // a confidence of 75
        const std::int16_t power = -70;
        const std::uint16_t others[] = {31508, 2000};  // of 50 kHz, and of 1 kHz
        std::memcpy(&frame[place + 2], &power, sizeof power);
        std::memcpy(&frame[place + 4], others, sizeof others);
        std::memcpy(&frame[place + 14], &threat.azimuth, sizeof threat.azimuth);
        std::memcpy(&frame[place + 16], &threat.elevation, sizeof threat.elevation);
        place += 18;
    }
    return frame;
}

/// @param text  an even count of characters, 32 at the most
Bytes warningFrame(std::uint16_t number, const std::string& text)
{
    Bytes frame = frameOf(5044, 21);
    std::memcpy(&frame[18], &number, sizeof number);
    for (std::size_t i = 0; i < text.size(); ++i) frame[20 + (i ^ 1)] = static_cast<std::uint8_t>(text[i]);
    return frame;
}

/// A running service, and frames on their way between the GPS receiver and the navigator.
struct ReceiverSystemTest : testing::Test {
    ReceiverSystemTest() { record.header().device_id(deviceId(39)); }

    void begin()
    {
        desk.run();
        bus.emplace();
    }

    Json warning()
    {
        return bus
            ->awaitTell("warning-messages", [](const Json& tell) { return !tell.at("record").at("warnings").empty(); })
            .at("record")
            .at("warnings");
    }

    Json threats() { return threats(*bus); }

    static Json threats(Bus& from)
    {
        return from.awaitTell("navwar-sa", [](const Json& tell) { return !tell.at("record").at("threats").empty(); })
            .at("record")
            .at("threats");
    }

    Desk desk;
    aspn2_msgs::idl::GSSIP record;  // but for its frame
    std::optional<Bus> bus;
};

}  // namespace

TEST_F(ReceiverSystemTest, ThreatIsToldWithAllThatItsEntryTells)
{
    begin();
    sendFrame(desk, kToReceiver, record, threatFrame({{90, -45}}));
    const Json told = threats();
    ASSERT_EQ(told.size(), 1U);
    const Json& threat = told[0];
    EXPECT_EQ(threat.at("reportKind"), 2);
    EXPECT_EQ(threat.at("sensorName"), "TARVO-100");
    EXPECT_EQ(threat.at("bearingPresent"), 1);
    EXPECT_DOUBLE_EQ(threat.at("azimuth_rad").get<double>(), 1.5707963267948966);
    EXPECT_DOUBLE_EQ(threat.at("elevation_rad").get<double>(), -0.78539816339744828);
    EXPECT_EQ(threat.at("azimuthConfidence_percent"), 75.0);
    EXPECT_EQ(threat.at("elevationConfidence_percent"), 75.0);
    EXPECT_EQ(threat.at("centreFrequency_Hz"), 1'575'400'000.0);
    EXPECT_EQ(threat.at("bandwidth_Hz"), 2'000'000.0);
    EXPECT_EQ(threat.at("power"), -70.0);
    EXPECT_EQ(threat.at("powerValid"), 1);
}

TEST_F(ReceiverSystemTest, OfSixtyThreatsTheLatestFiftyAreTold)
{
    desk.replace("APNT_VCL_1_9.xml", "NAVWAR_SA\">\n    <vcl:ConfigItem name=\"updatePeriod\" value=\"1000\"",
                 "NAVWAR_SA\">\n    <vcl:ConfigItem name=\"updatePeriod\" value=\"8000\"");
    begin();
    for (std::int16_t azimuth = 0; azimuth < 60; azimuth = static_cast<std::int16_t>(azimuth + 6)) {
        std::vector<Threat> six;
        for (int i = 0; i < 6; ++i) six.push_back({static_cast<std::int16_t>(azimuth + i), 0});
        sendFrame(desk, kToReceiver, record, threatFrame(six));
    }
    const Json told = threats();
    ASSERT_EQ(told.size(), 50U);
    EXPECT_DOUBLE_EQ(told[0].at("azimuth_rad").get<double>(), 0.17453292519943295);  // 10 degrees
    EXPECT_DOUBLE_EQ(told[49].at("azimuth_rad").get<double>(), 1.0297442586766543);  // 59 degrees
}

TEST_F(ReceiverSystemTest, WarningsFlowOnAfterThreats)
{
    begin();
    sendFrame(desk, kToReceiver, record, threatFrame({{1, 0}}));
    ASSERT_EQ(threats().size(), 1U);
    sendFrame(desk, kFromReceiver, record, warningFrame(7, ""));
    EXPECT_EQ(warning().at(0).at("warningId"), 5);
    sendFrame(desk, kToReceiver, record, threatFrame({{2, 0}}));
    EXPECT_EQ(threats().size(), 1U);
}

TEST_F(ReceiverSystemTest, WarningWithoutANumberOfTheLibraryIsToldByItsText)
{
    begin();
    sendFrame(desk, kFromReceiver, record, warningFrame(6, "ANTENNA OPEN"));
    const Json told = warning();
    EXPECT_EQ(told.at(0).at("warningId"), 75);
    EXPECT_EQ(told.at(0).at("customText"), "ANTENNA OPEN");
    EXPECT_EQ(told.at(0).at("customTextValid"), 1);
}

TEST_F(ReceiverSystemTest, LengthsThatAreNotTrueAreDropped)
{
    begin();
    const Bytes frame = warningFrame(6, "NOT TO BE TOLD");
    for (const std::int32_t length : {-1, 3, 2'000'000'000}) {
        aspn2_msgs::idl::GSSIP odd = record;
        odd.num_bytes(length);
        odd.data(frame);
        GssipTopicSerializer serializer;
        Bytes bytes;
        ASSERT_TRUE(serializer.Serialize(odd, bytes));
        desk.send(kFromReceiver, bytes);
    }
    ASSERT_TRUE(desk.waitUntilTaken(kFromReceiver));
    sendFrame(desk, kFromReceiver, record, warningFrame(6, "THE FIRST TOLD"));
    EXPECT_EQ(warning().at(0).at("customText"), "THE FIRST TOLD");
}

TEST_F(ReceiverSystemTest, OfFiftyOneWarningsTheLatestFiftyAreTold)
{
    begin();
    for (int i = 10; i < 61; ++i) sendFrame(desk, kFromReceiver, record, warningFrame(6, "W " + std::to_string(i)));
    const auto isComplete = [](const Json& tell) {
        const Json& told = tell.at("record").at("warnings");
        return !told.empty() && told.back().at("customText") == "W 60";
    };
    for (int again = 0; again < 2; ++again) {  // the list stays
        const Json told = bus->awaitTell("warning-messages", isComplete).at("record").at("warnings");
        ASSERT_EQ(told.size(), 50U);
        EXPECT_EQ(told[0].at("customText"), "W 11");
    }
}

TEST_F(ReceiverSystemTest, ThreatsWarningsAndStatusFlowBesideEachOther)
{
    Inputs inputs(desk);
    begin();
    ASSERT_TRUE(inputs.waitForService());
    Bus threatsBus, warningsBus;
    for (std::int16_t round = 1; round <= 3; ++round) {
        sendFrame(desk, kToReceiver, record, threatFrame({{0, round}}));
        sendFrame(desk, kFromReceiver, record, warningFrame(static_cast<std::uint16_t>(6 + round), ""));
        inputs.utcTime.gps_tow_sec(round);
        inputs.sendAll();
        bus->awaitTell("blended-navigation",
                       [&](const Json& tell) { return tell.at("record").at("gpsSeconds") == round; });
        threatsBus.awaitTell("navwar-sa", [&](const Json& tell) {
            const Json& told = tell.at("record").at("threats");
            return told.size() == 1 && told[0].at("elevation_rad") > 0.017 * round;
        });
        warningsBus.awaitTell("warning-messages", [&](const Json& tell) {
            const Json& told = tell.at("record").at("warnings");
            return std::ranges::any_of(told, [&](const Json& entry) { return entry.at("warningId") == 4 + round; });
        });
    }
}

TEST_F(ReceiverSystemTest, OnlyNamedSourcesAreHeardOnBothRoads)
{
    desk.set("PARAM_5", "5,300");  // the latter is 44
    begin();
    Bus threatsBus;
    for (const std::uint8_t source : {std::uint8_t{39}, std::uint8_t{96}, std::uint8_t{5}, std::uint8_t{44}}) {
        record.header().device_id(deviceId(source));
        sendFrame(desk, kToReceiver, record, threatFrame({{source, 0}}));
        sendFrame(desk, kFromReceiver, record, warningFrame(6, "FROM  " + std::to_string(100 + source) + " "));
    }
    const auto text = [](const Json& entry) { return entry.at("customText").get<std::string>(); };
    const Json told = bus->awaitTell("warning-messages",
                                     [](const Json& tell) { return tell.at("record").at("warnings").size() >= 2; })
                          .at("record")
                          .at("warnings");
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(text(told[0]), "FROM  105 ");
    EXPECT_EQ(text(told[1]), "FROM  144 ");
    EXPECT_DOUBLE_EQ(threats(threatsBus).at(0).at("azimuth_rad").get<double>(), 0.087266462599716477);  // 5 degrees
}

TEST_F(ReceiverSystemTest, WithoutANamedSourceNothingIsHeard)
{
    desk.set("PARAM_5", "0");
    begin();
    Bus threatsBus;
    sendFrame(desk, kToReceiver, record, threatFrame({{1, 0}}));
    sendFrame(desk, kFromReceiver, record, warningFrame(7, ""));
    ASSERT_TRUE(desk.waitUntilTaken(kFromReceiver) && desk.waitUntilTaken(kToReceiver));
    for (int tells = 0; tells < 3; ++tells) {
        EXPECT_EQ(bus->awaitTell("warning-messages").at("record").at("warnings"), Json::array());
        EXPECT_EQ(threatsBus.awaitTell("navwar-sa").at("record").at("threats"), Json::array());
    }
}
