#include "VICTORY/OrvaneServer/ManagementData.h"

#include "tests/VICTORY/OrvaneServer/BitResult/BitResultsFixture.h"
#include "tests/support/HealthEvents.h"

#include <cstdint>
#include <cstring>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

struct ManagementDataTest : testing::Test {
    std::vector<std::int32_t> outputs(bool allOutputs)
    {
        ManagementData::tellAvailableOutputs(service, allOutputs);
        const auto list = victory.last("vapntsTellAvailableOutputs").record<VapntcAvailableOutputs>();
        return {list.outputs, list.outputs + list.outputCount};
    }

    VapntcAvailableSensors sensors(const std::vector<SensorText>& texts)
    {
        OrvaneBitResults bitResults(directory.write("sensors.xml", fileOf(texts)));
        bitResults.Initialize("Halvex", 25, false);
        popHealthEvents();
        ManagementData::tellAvailableSensors(service, bitResults, settings);
        return victory.last("vapntsTellAvailableSensors").record<VapntcAvailableSensors>();
    }

    const TemporaryDirectory directory;
    ServerSettings settings;
    VictoryRecorder victory;
    VapntsService* service = victory.newService();
    const ConsoleCapture console{std::cout};
};

}  // namespace

TEST_F(ManagementDataTest, FiveOutputsOrSeven)
{
    EXPECT_THAT(outputs(false), ElementsAre(0, 1, 2, 3, 5));
    EXPECT_THAT(outputs(true), ElementsAre(0, 1, 2, 4, 6, 3, 5));
    EXPECT_EQ(victory.last("vapntsTellAvailableOutputs").service, service);
}

TEST_F(ManagementDataTest, ASensorIsToldAsItsFileDescribesIt)
{
    const auto list = sensors({SensorText("GPS 1", "0x27"), SensorText("GPS 2", "0x28")});
    EXPECT_EQ(list.sensorCount, 2);
    EXPECT_STREQ(list.sensors[0].sensorId, "GPS 1");
    EXPECT_STREQ(list.sensors[0].componentConfigurationId, "0x27");
    EXPECT_EQ(list.sensors[0].componentConfigurationIdPresent, 1U);
    EXPECT_EQ(list.sensors[0].otherSensorTypePresent, 0U);
    EXPECT_EQ(list.sensors[0].enabled, 1U);
    EXPECT_STREQ(list.sensors[1].sensorId, "GPS 2");
}

TEST_F(ManagementDataTest, NoSensorsAreAListWithoutRows)
{
    EXPECT_EQ(sensors({}).sensorCount, 0);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(ManagementDataTest, FiftySensorsAreToldAndNoMore)
{
    EXPECT_EQ(sensors(manySensors(50)).sensorCount, 50);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    EXPECT_EQ(sensors(manySensors(51)).sensorCount, 50);
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Only the first 50 sensors are told to the APNT service."));
}

TEST_F(ManagementDataTest, SensorsArePrintedInDebug)
{
    settings.m_debug = true;
    sensors({SensorText("GPS 1")});
    EXPECT_THAT(console.text(), StartsWith("sensorServerList size fetched from m_bitFeatures = 1\n"
                                           "numberOfSensors =  1\n"
                                           "<OrvaneBitResults::server>\nsensorId: GPS 1"));
}

TEST_F(ManagementDataTest, WithoutASolutionTheFiguresOfMeritAreTheWorstAndTheRestIsZero)
{
    ManagementData::initVictoryDefaultVDMData(service);
    auto record = victory.last("vapntsTellBlendedNavigationData").record<VapntcBlendedNavigationRecord>();
    EXPECT_EQ(record.fom, 9);
    EXPECT_EQ(record.tfom, 9);
    EXPECT_EQ(record.efom, 1);
    EXPECT_EQ(record.gpsAvailability, 1);
    record.fom = record.tfom = record.efom = 0;
    record.gpsAvailability = 0;
    const VapntcBlendedNavigationRecord zero = {};
    EXPECT_EQ(std::memcmp(&record, &zero, sizeof zero), 0);
}
