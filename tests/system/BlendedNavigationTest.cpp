#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

using Json = Bus::Json;
using testing::ElementsAre;

namespace {

constexpr const char* kBlended = "blended-navigation";
constexpr const char* kAllReceived = ": *** All synchronized messages received. Processing... \n";

/// A running service that says what it does, and the six inputs, ready to be sent.
struct BlendedNavigationSystemTest : testing::Test {
    /// Starts the service on its configuration.
    void begin()
    {
        desk.set("Debug", "true");
        desk.set("PARAM_1", "false");
        desk.run();
        bus.emplace();
        ASSERT_TRUE(inputs.waitForService());
    }

    /// The next record that is published, but for the default of the start.
    Json published()
    {
        return bus->awaitTell(kBlended, [](const Json& tell) { return !tell.at("timeOfValidity").is_null(); });
    }

    /// Sets the second of the week, which tells records apart.
    void setSecond(std::int32_t second) { inputs.utcTime.gps_tow_sec(second); }

    Desk desk;
    Inputs inputs{desk};
    std::optional<Bus> bus;
};

std::string text(const std::vector<std::uint8_t>& record, std::size_t offset)
{
    return reinterpret_cast<const char*>(&record.at(offset));
}

}  // namespace

TEST_F(BlendedNavigationSystemTest, EveryFieldStandsAtItsOffset)
{
    inputs.utcTime.gps_week(2235);
    inputs.utcTime.gps_tow_sec(345600);
    inputs.utcTime.gps_tow_nsec(250'000'000.0);
    inputs.utcTime.utc_tod_sec(86382);
    inputs.utcTime.utc_tod_nsec(250'000'000.0);
    inputs.utcTime.covariance()[0][0] = 4e-14;
    inputs.pva.covariance()[0][0] = 9.0;
    inputs.pva.covariance()[1][1] = 4.0;
    inputs.pva.covariance()[2][2] = 3.0;
    inputs.pnt.Horz_PosError(2.0);
    inputs.pnt.Vert_PosError(3.5);
    inputs.pnt.Horz_Vel_Error(0.25);
    inputs.pnt.Vert_VelError(0.125);
    inputs.pnt.Roll_Error(0.001);
    inputs.pnt.Pitch_Error(0.002);
    inputs.pnt.Heading_Error(0.002);
    inputs.assurance.assurance_state(aspn2_msgs::idl::assurance_state_enum{2});
    inputs.addMeasurements(1, 9, 8);
    inputs.addMeasurements(5, 1, 1);
    inputs.addMeasurements(8, 1, 0);
    inputs.addMeasurements(11, 1, 1);
    inputs.report.angle084 = 1.0F;
    inputs.report.status096 = 0b0001'0000;
    inputs.report.status101 = 0b0000'0100;
    begin();
    inputs.sendAll();
    const Json tell = published();

    const auto record = bus->lastRecord(kBlended);
    const auto word = [&](std::size_t offset) { return valueAt<std::uint32_t>(record, offset); };
    const auto real = [&](std::size_t offset) { return valueAt<double>(record, offset); };
    ASSERT_EQ(record.size(), 14024U);
    EXPECT_DOUBLE_EQ(real(0), 345600.25);
    EXPECT_DOUBLE_EQ(real(8), 57.295779513082323);  // 1 rad
    EXPECT_EQ(word(16), 1U);
    EXPECT_EQ(word(20), 1U);
    EXPECT_EQ(word(24), 1U);
    EXPECT_EQ(word(28), 1U);  // 4 m
    EXPECT_EQ(word(32), 1U);
    EXPECT_EQ(word(36), 3U);  // above 3 m, not above 5 m
    EXPECT_EQ(word(40), 1U);
    EXPECT_EQ(word(44), 4U);  // 200 ns
    EXPECT_EQ(word(48), 1U);
    EXPECT_DOUBLE_EQ(real(56), 0.95);
    EXPECT_EQ(word(64), 1U);
    EXPECT_EQ(word(13668), 3U);
    EXPECT_EQ(word(68), 0U);         // GPS
    EXPECT_EQ(word(68 + 272), 4U);   // of set 5
    EXPECT_EQ(word(68 + 544), 14U);  // of set 11
    EXPECT_EQ(word(68 + 268), 0U);
    EXPECT_EQ(text(record, 68 + 544 + 12), "ALTNAV_TIME");
    EXPECT_EQ(word(68 + 544 + 268), 1U);
    EXPECT_EQ(word(68 + 816), 0U);
    EXPECT_EQ(word(13672), 1U);
    EXPECT_EQ(word(13872), 1U);
    EXPECT_DOUBLE_EQ(real(13880), 2e-4);  // ms
    EXPECT_EQ(word(13888), 1U);
    EXPECT_DOUBLE_EQ(real(13896), 2.3548);
    EXPECT_EQ(word(13904), 1U);
    EXPECT_EQ(real(13912), 3.5);
    EXPECT_EQ(word(13920), 1U);
    EXPECT_EQ(word(13936), 0U);
    EXPECT_EQ(word(13944), 1U);
    EXPECT_EQ(real(13952), 0.25);
    EXPECT_EQ(word(13960), 1U);
    EXPECT_EQ(real(13968), 0.125);
    EXPECT_EQ(word(13976), 1U);
    EXPECT_EQ(word(13992), 0U);
    EXPECT_EQ(word(14000), 1U);
    EXPECT_DOUBLE_EQ(real(14008), 0.17188733853924696);  // 3 mrad
    EXPECT_EQ(word(14016), 1U);
    EXPECT_FALSE(tell.at("record").contains("reservedNotZero"));

    const Json time = tell.at("timeOfValidity");
    EXPECT_EQ(time.at("year"), 2022);  // Wednesday, while it is Thursday by GPS, which is 18 s ahead
    EXPECT_EQ(time.at("month"), 11);
    EXPECT_EQ(time.at("day"), 9);
    EXPECT_EQ(time.at("hour"), 23);
    EXPECT_EQ(time.at("minute"), 59);
    EXPECT_EQ(time.at("seconds"), 42);
    EXPECT_NEAR(time.at("nanoseconds").get<double>(), 250'000'000.0, 20'000.0);
}

TEST_F(BlendedNavigationSystemTest, DefaultsAreToldAtTheStart)
{
    begin();
    const Json outputs = bus->awaitTell("available-outputs").at("record");
    EXPECT_EQ(outputs.at("outputs"), Json({0, 1, 2, 3, 5}));
    Bus second;
    const Json configuration = second.awaitTell("system-configuration").at("record");
    EXPECT_EQ(configuration.at("systemName"), "Kolt Gen II - Collecting system information. Please wait and retry...");
    EXPECT_EQ(configuration.at("systemSerialNumber"), "N/A");
    EXPECT_EQ(configuration.at("manufacturerCode"), "9XQ27");
    EXPECT_EQ(configuration.at("softwarePresent"), 0);
    EXPECT_EQ(configuration.at("components"), Json::array());
    const auto raw = second.lastRecord("system-configuration");
    EXPECT_EQ(std::string(raw.begin() + 1032, raw.begin() + 1037), "9XQ27");
}

TEST_F(BlendedNavigationSystemTest, SensorsOfTheFileAreToldAtTheStart)
{
    begin();
    const Json sensors = bus->awaitTell("available-sensors").at("record").at("sensors");
    ASSERT_EQ(sensors.size(), 6U);
    EXPECT_EQ(sensors[0].at("sensorId"), "GPS-1");
    EXPECT_EQ(sensors[0].at("sensorType"), 0);
    EXPECT_EQ(sensors[0].at("componentConfigurationId"), "0x27");
    EXPECT_EQ(sensors[0].at("enabled"), 1);
    EXPECT_EQ(sensors[5].at("sensorType"), 19);
    EXPECT_EQ(sensors[5].at("otherSensorType"), "CRPA");
    EXPECT_EQ(sensors[5].at("otherSensorTypePresent"), 1);
}

TEST_F(BlendedNavigationSystemTest, DefaultRecordIsTheWorstAndOfNoTime)
{
    begin();
    const Json tell = bus->awaitTell(kBlended);
    EXPECT_TRUE(tell.at("timeOfValidity").is_null());
    EXPECT_EQ(tell.at("record").at("fom"), 9);
    EXPECT_EQ(tell.at("record").at("tfom"), 9);
    EXPECT_EQ(tell.at("record").at("fomValid"), 0);
    EXPECT_EQ(tell.at("record").at("gpsAvailability"), 1);
}

TEST_F(BlendedNavigationSystemTest, InputsOneSecondApartAreNotJoined)
{
    begin();
    setSecond(1);
    validAt(inputs.pva, 1001);
    inputs.sendAll();
    ASSERT_TRUE(desk.awaitOutput(": UTCTime <-> PVA     deltaTov: 1\n"));
    ASSERT_TRUE(desk.awaitTurns());
    EXPECT_EQ(desk.count(kAllReceived), 0U);

    setSecond(2);
    inputs.sendUtcTime();
    validAt(inputs.pva, 1000, 500'000'000);
    inputs.sendPva();
    EXPECT_EQ(published().at("record").at("gpsSeconds"), 2.0);
    EXPECT_TRUE(desk.awaitOutput(": UTCTime <-> PVA     deltaTov: 0.5\n"));
    EXPECT_TRUE(desk.awaitOutput(kAllReceived));
    EXPECT_EQ(desk.count(kAllReceived), 1U);
}

TEST_F(BlendedNavigationSystemTest, EachInputIsMeasuredAgainstTheUtcTime)
{
    begin();
    validAt(inputs.pnt, 1000, 100'000'000);
    validAt(inputs.mis, 999, 750'000'000);
    validAt(inputs.assurance, 1000, 300'000'000);
    validAt(inputs.receiver, 1001, 0);
    inputs.sendAll();
    ASSERT_TRUE(desk.awaitOutput(": UTCTime <-> 8504    deltaTov: 1\n"));
    EXPECT_GE(desk.count(": UTCTime <-> HXPNT   deltaTov: 0.1\n"), 1U);
    EXPECT_GE(desk.count(": UTCTime <-> MIS     deltaTov: 0.25\n"), 1U);
    EXPECT_GE(desk.count(": UTCTime <-> Ass. St deltaTov: 0.3\n"), 1U);
    ASSERT_TRUE(desk.awaitTurns());
    EXPECT_EQ(desk.count(kAllReceived), 0U);
}

TEST_F(BlendedNavigationSystemTest, FiveInputsAreNotJoined)
{
    begin();
    setSecond(1);
    inputs.sendPva();
    inputs.sendUtcTime();
    inputs.sendPnt();
    inputs.sendAssurance();
    inputs.sendReceiver();
    for (const char* handler : {"cbPVA", "cbUTCTime", "cbHalvexPNT", "cbAssuranceState", "cbZentorGssip"})
        ASSERT_TRUE(desk.awaitOutput(std::string(": ") + handler)) << handler;
    ASSERT_TRUE(desk.awaitTurns());
    EXPECT_EQ(desk.count(": Messages received: "), 0U);

    setSecond(2);
    inputs.sendUtcTime();
    ASSERT_TRUE(desk.awaitOutput(": cbUTCTime : ", 2));
    inputs.sendMis();
    EXPECT_EQ(published().at("record").at("gpsSeconds"), 2.0);
}

TEST_F(BlendedNavigationSystemTest, SixFreshInputsAreNeededAfterEachPublication)
{
    begin();
    setSecond(1);
    inputs.sendAll();
    EXPECT_EQ(published().at("record").at("gpsSeconds"), 1.0);

    setSecond(2);
    inputs.sendUtcTime();
    inputs.sendPnt();
    inputs.sendMis();
    inputs.sendAssurance();
    inputs.sendReceiver();
    for (const char* handler : {"cbUTCTime", "cbHalvexPNT", "cbMeasurement", "cbAssuranceState", "cbZentorGssip"})
        ASSERT_TRUE(desk.awaitOutput(std::string(": ") + handler, 2)) << handler;
    ASSERT_TRUE(desk.awaitTurns());
    EXPECT_EQ(desk.count(kAllReceived), 1U);

    inputs.sendPva();
    EXPECT_EQ(published().at("record").at("gpsSeconds"), 2.0);
}

namespace {

/// An input whose source is configured.
struct Source {
    const char* name;
    const char* key;
    const char* handler;
    std::int32_t (*nameSource)(Inputs& inputs, std::int32_t device);  // and tells the one before
    void (Inputs::*send)() const;
};

template <auto input>
std::int32_t nameSourceOf(Inputs& inputs, std::int32_t device)
{
    return std::exchange((inputs.*input).header().device_id(), device);
}

constexpr Source kSources[] = {
    {"UTCTime", "PARAM_3", ": cbUTCTime : ", &nameSourceOf<&Inputs::utcTime>, &Inputs::sendUtcTime},
    {"PVA", "PARAM_4", ": cbPVA : ", &nameSourceOf<&Inputs::pva>, &Inputs::sendPva},
    {"MIS", "PARAM_6", ": cbMeasurementIncorporationStatus : ", &nameSourceOf<&Inputs::mis>, &Inputs::sendMis},
    {"PNT", "PARAM_7", ": cbHalvexPNT : ", &nameSourceOf<&Inputs::pnt>, &Inputs::sendPnt},
};

void PrintTo(const Source& source, std::ostream* to)
{
    *to << source.name;
}

struct SourceSystemTest : BlendedNavigationSystemTest, testing::WithParamInterface<Source> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Inputs, SourceSystemTest, testing::ValuesIn(kSources),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_P(SourceSystemTest, OnlyTheConfiguredOneIsTakenAndTheOthersAreNotBound)
{
    const Source& source = GetParam();
    desk.set(source.key, "5");
    begin();
    setSecond(1);
    inputs.sendAll();  // the navigator's
    for (const Source& other : kSources) {
        if (other.name == source.name) continue;
        ASSERT_TRUE(desk.awaitOutput(other.handler)) << other.name;
    }
    ASSERT_TRUE(desk.awaitTurns());
    EXPECT_EQ(desk.count(source.handler), 0U);
    EXPECT_EQ(desk.count(": Messages received: "), 0U);

    source.nameSource(inputs, deviceId(6));
    (inputs.*source.send)();
    source.nameSource(inputs, deviceId(5));
    (inputs.*source.send)();
    EXPECT_EQ(published().at("record").at("gpsSeconds"), 1.0);
    // A handler prints its line after the record has been taken.
    ASSERT_TRUE(desk.awaitOutput("message received from (unknown ID 5), server ID = 5\n"));
    ASSERT_TRUE(desk.awaitOutput("message received from HalvexNavigator, server ID = 96\n", 4));
    EXPECT_EQ(desk.count(source.handler), 1U);
    EXPECT_EQ(desk.count("message received from (unknown ID 5), server ID = 5\n"), 1U);
    EXPECT_EQ(desk.count("message received from HalvexNavigator, server ID = 96\n"), 4U);
}

TEST_F(BlendedNavigationSystemTest, FramesOfAReceiverThatIsNotNamedAreDropped)
{
    begin();
    setSecond(1);
    inputs.receiver.header().device_id(deviceId(40));
    inputs.sendAll();
    for (const char* handler : {"cbPVA", "cbUTCTime", "cbHalvexPNT", "cbMeasurement", "cbAssuranceState"})
        ASSERT_TRUE(desk.awaitOutput(std::string(": ") + handler)) << handler;
    ASSERT_TRUE(desk.waitUntilTaken(5));
    ASSERT_TRUE(desk.awaitTurns());
    EXPECT_EQ(desk.count(": Messages received: "), 0U);

    inputs.receiver.header().device_id(deviceId(96));
    inputs.sendReceiver();
    EXPECT_EQ(published().at("record").at("gpsSeconds"), 1.0);
}

TEST_F(BlendedNavigationSystemTest, LostGpsIsWarnedOfAndShownUntilItIsBack)
{
    begin();
    const auto warned = [&](int id) {
        return bus->awaitTell("warning-messages", [id](const Json& tell) {
            for (const Json& warning : tell.at("record").at("warnings"))
                if (warning.at("warningId") == id) return true;
            return false;
        });
    };
    inputs.addMeasurements(1, 1, 1);
    inputs.addMeasurements(5, 1, 1);
    inputs.sendAll();
    const Json lost = published().at("record");
    EXPECT_EQ(lost.at("gpsAvailability"), 2);
    ASSERT_EQ(lost.at("sources").size(), 1U);  // no GPS
    EXPECT_EQ(lost.at("sources")[0].at("sourceType"), 4);
    warned(67);

    inputs.mis.meas_types()[0].meas_avail(2);
    for (std::size_t i = 2; i <= 4; ++i) {
        inputs.sendMis();
        ASSERT_TRUE(desk.awaitOutput(": cbMeasurementIncorporationStatus", i));
    }
    warned(68);
    inputs.sendAll();
    const Json back = published().at("record");
    EXPECT_EQ(back.at("gpsAvailability"), 1);
    EXPECT_EQ(back.at("sources").size(), 2U);
}
