#include "VICTORY/OrvaneServer/ComponentRows.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HealthEvents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

using namespace ComponentRows;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct ComponentRowsTest : testing::Test {
    ComponentRowsTest() { popHealthEvents(); }

    bool append(const Component& component) { return put(-1, component); }
    bool put(int index, const Component& component)
    {
        return updateComponentConfiguration(configuration, settings, index, component);
    }
    void setHead(const std::string& name, const std::string& serialNumber = "", const std::string& software = "",
                 const std::string& hardware = "", const std::string& code = "")
    {
        updateSystemConfiguration(configuration, name, serialNumber, software, hardware, code);
    }
    int find(const std::string& id, const std::string& name)
    {
        return findAndClearComponentConfigurationByIdAndName(configuration, settings, id, name);
    }

    ServerSettings settings;
    const std::unique_ptr<VapntcSystemConfiguration> record = std::make_unique<VapntcSystemConfiguration>();
    VapntcSystemConfiguration& configuration = *record;
    const ConsoleCapture console{std::cout};
};

}  // namespace

TEST_F(ComponentRowsTest, HeadIsFilledAndRowsStay)
{
    append({"0x31", "PNT-Q", "", "", ""});
    updateSystemConfiguration(configuration, "name", "serial", "soft", "hard", "ABCDEF");
    EXPECT_STREQ(configuration.systemName, "name");
    EXPECT_STREQ(configuration.systemSerialNumber, "serial");
    EXPECT_STREQ(configuration.systemSoftware, "soft");
    EXPECT_EQ(configuration.softwarePresent, 1U);
    EXPECT_STREQ(configuration.systemHardware, "hard");
    EXPECT_EQ(configuration.hardwarePresent, 1U);
    EXPECT_EQ(std::memcmp(configuration.manufacturerCode, "ABCDE", 5), 0);
    EXPECT_EQ(configuration.manufacturerCodePresent, 1U);
    EXPECT_EQ(configuration.componentCount, 1);
    EXPECT_STREQ(configuration.components[0].name, "PNT-Q");
}

TEST_F(ComponentRowsTest, WhatTheHeadDoesNotSayIsNotPresent)
{
    updateSystemConfiguration(configuration, "name", "serial", "soft", "hard", "ABCDE");
    updateSystemConfiguration(configuration, "", "", "", "", "");
    auto expected = std::make_unique<VapntcSystemConfiguration>();
    std::strcpy(expected->systemSerialNumber, "N/A");
    EXPECT_EQ(std::memcmp(&configuration, expected.get(), sizeof configuration), 0);
}

TEST_F(ComponentRowsTest, ARowSaysWhatItsComponentDoes)
{
    EXPECT_TRUE(append({"0x31", "PNT-Q", "7", "SW1:1", "9"}));
    const auto& row = configuration.components[0];
    EXPECT_STREQ(row.componentId, "0x31");
    EXPECT_STREQ(row.name, "PNT-Q");
    EXPECT_STREQ(row.serialNumber, "7");
    EXPECT_STREQ(row.software, "SW1:1");
    EXPECT_EQ(row.softwarePresent, 1U);
    EXPECT_STREQ(row.hardware, "9");
    EXPECT_EQ(row.hardwarePresent, 1U);
    EXPECT_EQ(configuration.componentCount, 1);
}

TEST_F(ComponentRowsTest, WhatAComponentDoesNotSayIsNotPresent)
{
    append({"0x31", "PNT-Q", "", "", ""});
    EXPECT_STREQ(configuration.components[0].serialNumber, "N/A");
    EXPECT_EQ(configuration.components[0].softwarePresent, 0U);
    EXPECT_EQ(configuration.components[0].hardwarePresent, 0U);
}

TEST_F(ComponentRowsTest, ARowIsFoundByItsWholeIdAndNameAndZeroed)
{
    append({"0x35", "Halvex", "", "", ""});
    append({"0x35", "Sarvent", "", "", ""});
    EXPECT_EQ(find("0x3", "Sarvent"), -1);
    EXPECT_EQ(find("0x355", "Sarvent"), -1);
    EXPECT_EQ(find("0x35", "sarvent"), -1);
    EXPECT_EQ(find("0x35", "Sarven"), -1);
    EXPECT_EQ(find("0x35", "Sarvent"), 1);
    const VapntcComponentConfiguration zero = {};
    EXPECT_EQ(std::memcmp(&configuration.components[1], &zero, sizeof zero), 0);
    EXPECT_EQ(configuration.componentCount, 2);
}

TEST_F(ComponentRowsTest, AFieldWithoutATerminatorEndsWithItsWidth)
{
    append({"", "", "", "", ""});
    std::memset(configuration.components[0].componentId, 'i', 256);
    std::memset(configuration.components[0].name, 'n', 256);
    EXPECT_EQ(find(std::string(256, 'i'), std::string(256, 'n')), 0);
}

TEST_F(ComponentRowsTest, AKnownComponentIsReplacedWhereItStands)
{
    replaceComponentConfiguration(configuration, settings, {"1", "a", "old", "software", "hardware"});
    replaceComponentConfiguration(configuration, settings, {"2", "b", "", "", ""});
    replaceComponentConfiguration(configuration, settings, {"1", "a", "new", "", ""});
    EXPECT_EQ(configuration.componentCount, 2);
    EXPECT_STREQ(configuration.components[0].serialNumber, "new");
    EXPECT_STREQ(configuration.components[0].software, "");
}

TEST_F(ComponentRowsTest, FiftyRowsAndNoMore)
{
    for (int i = 0; i < 50; ++i) EXPECT_TRUE(append({"id", "name", "", "", ""}));
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    EXPECT_FALSE(append({"0x31", "PNT-Q", "1", "2", "3"}));
    EXPECT_EQ(configuration.componentCount, 50);
    const std::string text = "Out of range error updating component for APNT Component Configuration at index, "
                             "rComponentId=0x31, rName=PNT-Q, rSN=1, rSW=2, rHW=3, ";
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_EQ(console.text(), text + "\n");
}

TEST_F(ComponentRowsTest, AnIndexOfItsOwnOnlyHasToBeWithinTheRows)
{
    const Component component = {"I", "N", "S", "W", "H"};
    EXPECT_TRUE(updateComponentConfiguration(configuration, settings, 49, component));
    EXPECT_EQ(configuration.componentCount, 0);
    for (const int index : {50, -2, 2147483647, -2147483647})
        EXPECT_FALSE(updateComponentConfiguration(configuration, settings, index, component)) << index;
}

TEST_F(ComponentRowsTest, TheNumberOfRowsCutsTheFrontOfTheErrorText)
{
    const auto errorAt = [this](int count) {
        configuration.componentCount = count;
        updateComponentConfiguration(configuration, settings, 50, {"I", "N", "S", "W", "H"});
        return popHealthEvents();
    };
    const std::string front = "3:Out of range error updating component for APNT Component Configuration at index, ";
    const std::string end = "rComponentId=I, rName=N, rSN=S, rSW=W, rHW=H, ";
    EXPECT_THAT(errorAt(0), ElementsAre(front + ". Data fields: " + end));
    EXPECT_THAT(errorAt(7), ElementsAre(front + "fields: " + end));
    EXPECT_THAT(errorAt(14), ElementsAre(front + " " + end));
    EXPECT_THAT(errorAt(15), ElementsAre(front + end));
    EXPECT_THAT(errorAt(16), ElementsAre(front + end));
}

TEST_F(ComponentRowsTest, TheSensorServiceHasARowForItsCardAndOneForTheSensor)
{
    VersionStatus status;
    status.decodeResponse("PARTNUMBERS,SW1:s1,SW2:s2,SW5:s5,OS1:o1,OS2:o2,HWPN1:h1,HWPN2:h2,HWSN1:n1,HWSN2:n2,AT:at");
    updateTARVOComponentConfiguration(configuration, settings, status, "0x2f", "TARVOSW");
    const auto& [card, sensor] = std::tie(configuration.components[0], configuration.components[1]);
    EXPECT_STREQ(card.name, "TARVOSW-PC");
    EXPECT_STREQ(card.serialNumber, "n1");
    EXPECT_STREQ(card.software, "SW1:s1,OS1:o1,AT:at");
    EXPECT_STREQ(card.hardware, "h1");
    EXPECT_STREQ(sensor.name, "TARVOSW-KELP");
    EXPECT_STREQ(sensor.serialNumber, "n2");
    EXPECT_STREQ(sensor.software, "OS2:o2,SW5:s5,AT:at");
    EXPECT_STREQ(sensor.hardware, "h2");
    EXPECT_EQ(configuration.componentCount, 2);
}

TEST_F(ComponentRowsTest, EachStepOfTheSearchIsALineInDebug)
{
    settings.m_debug = true;
    configuration.componentCount = 1;
    std::strcpy(configuration.components[0].componentId, "0x31");
    std::strcpy(configuration.components[0].name, "PNT-Q");
    replaceComponentConfiguration(configuration, settings, {"0x31", "PNT-Q", "", "", ""});
    EXPECT_EQ(console.text(), "OrvaneServer: * Searching componentConfigurations for componentId 0x31\n"
                              "OrvaneServer: ** Found. Comparing to componentConfigurations name PNT-Q\n"
                              "OrvaneServer: *** Found. Clearing componentConfigurations for componentId 0x31\n"
                              "OrvaneServer: **** Updating componentConfigurations for componentId 0x31, name PNT-Q\n");
}

// At the ends of what the rows can hold.

TEST_F(ComponentRowsTest, HeadLeavesRowsAndWhatIsReserved)
{
    configuration.componentCount = 3;
    configuration.components[2].name[0] = 'x';
    setHead("name", "serial", "software", "hardware", "ABCDEFG");
    EXPECT_EQ(std::string(configuration.manufacturerCode, 5), "ABCDE");
    EXPECT_THAT(configuration.reserved1037, Each(0));
    EXPECT_EQ(configuration.componentCount, 3);
    EXPECT_EQ(configuration.components[2].name[0], 'x');
}

TEST_F(ComponentRowsTest, TextsOfTheHeadAreCutToTheirFields)
{
    const std::string tooLong(400, 'x');
    setHead(tooLong, tooLong, tooLong, tooLong, "A");
    EXPECT_EQ(configuration.systemName, std::string(255, 'x'));
    EXPECT_EQ(configuration.systemSerialNumber, std::string(255, 'x'));
    EXPECT_EQ(configuration.systemSoftware, std::string(255, 'x'));
    EXPECT_EQ(configuration.systemHardware, std::string(255, 'x'));
    EXPECT_EQ(std::string(configuration.manufacturerCode, 5), std::string("A\0\0\0\0", 5));
}

TEST_F(ComponentRowsTest, ARowTooManyChangesNothing)
{
    for (int i = 0; i < 50; ++i) EXPECT_TRUE(append({"id", "name", "", "", ""}));
    const auto before = std::make_unique<VapntcSystemConfiguration>(configuration);
    EXPECT_FALSE(append({"0x31", "PNT-Q", "1", "2", "3"}));
    EXPECT_EQ(std::memcmp(&configuration, before.get(), sizeof configuration), 0);
}

TEST_F(ComponentRowsTest, TheLastRowMayBeFilledWithoutTheOthers)
{
    EXPECT_TRUE(put(49, {"id", "name", "", "", ""}));
    EXPECT_STREQ(configuration.components[49].name, "name");
    EXPECT_EQ(configuration.componentCount, 0);
    EXPECT_FALSE(put(51, {"id", "name", "", "", ""}));
}

TEST_F(ComponentRowsTest, ARowThatWasFoundIsNotFoundAgain)
{
    EXPECT_EQ(find("0x35", "Halvex"), -1);
    append({"0x35", "Halvex", "", "", ""});
    EXPECT_EQ(find("0x35", "Halve"), -1);
    EXPECT_EQ(find("0x35", "Halvex"), 0);
    EXPECT_EQ(find("0x35", "Halvex"), -1);
}

TEST_F(ComponentRowsTest, EveryNumberOfRowsCutsAnotherPieceOfTheErrorText)
{
    const std::vector<std::string> rests = {". Data fields: ",
                                            " Data fields: ",
                                            "Data fields: ",
                                            "ata fields: ",
                                            "ta fields: ",
                                            "a fields: ",
                                            " fields: ",
                                            "fields: ",
                                            "ields: ",
                                            "elds: ",
                                            "lds: ",
                                            "ds: ",
                                            "s: ",
                                            ": ",
                                            " ",
                                            "",
                                            "",
                                            ""};
    for (std::size_t count = 0; count < rests.size(); ++count) {
        configuration.componentCount = static_cast<std::int32_t>(count);
        EXPECT_FALSE(put(50, {"I", "N", "S", "W", "H"}));
        EXPECT_THAT(popHealthEvents(), ElementsAre("3:Out of range error updating component for APNT Component "
                                                   "Configuration at index, " +
                                                   rests[count] + "rComponentId=I, rName=N, rSN=S, rSW=W, rHW=H, "));
    }
}
