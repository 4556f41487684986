#include "utilities/VersionStatus.h"

#include <gtest/gtest.h>

#include <iterator>
#include <stdexcept>
#include <string>

namespace {

struct Access {
    const char* key;
    const char* (VersionStatus::*get)() const;
    void (VersionStatus::*set)(std::string);
};

constexpr Access kAccess[] = {
    {"SW1", &VersionStatus::getSoftware1Version, &VersionStatus::setSoftware1Version},
    {"SW2", &VersionStatus::getSoftware2Version, &VersionStatus::setSoftware2Version},
    {"SW3", &VersionStatus::getSoftware3Version, &VersionStatus::setSoftware3Version},
    {"SW4", &VersionStatus::getSoftware4Version, &VersionStatus::setSoftware4Version},
    {"SW5", &VersionStatus::getSoftware5Version, &VersionStatus::setSoftware5Version},
    {"SW6", &VersionStatus::getSoftware6Version, &VersionStatus::setSoftware6Version},
    {"SW7", &VersionStatus::getSoftware7Version, &VersionStatus::setSoftware7Version},
    {"SW8", &VersionStatus::getSoftware8Version, &VersionStatus::setSoftware8Version},
    {"OS1", &VersionStatus::getOs1Version, &VersionStatus::setOs1Version},
    {"OS2", &VersionStatus::getOs2Version, &VersionStatus::setOs2Version},
    {"FW1", &VersionStatus::getFirmware1Version, &VersionStatus::setFirmware1Version},
    {"FW2", &VersionStatus::getFirmware2Version, &VersionStatus::setFirmware2Version},
    {"HWPN1", &VersionStatus::getHardware1Version, &VersionStatus::setHardware1Version},
    {"HWPN2", &VersionStatus::getHardware2Version, &VersionStatus::setHardware2Version},
    {"HWSN1", &VersionStatus::getSerialNumber1, &VersionStatus::setSerialNumber1},
    {"HWSN2", &VersionStatus::getSerialNumber2, &VersionStatus::setSerialNumber2},
    {"AT", &VersionStatus::getAntennaTable, &VersionStatus::setAntennaTable},
};
static_assert(std::size(kAccess) == 17);

VersionStatus decoded(const char* text)
{
    VersionStatus status;
    status.decodeResponse(text);
    return status;
}

/// All values, each its own, in another order than any message's.
constexpr const char* kEverything =
    "AT:17,HWSN2:16,HWSN1:15,HWPN2:14,HWPN1:13,FW2:12,FW1:11,OS2:10,OS1:9,SW8:8,SW7:7,SW6:6,SW5:5,SW4:4,SW3:3,SW2:2,"
    "SW1:1,PARTNUMBERS";

}  // namespace

TEST(VersionStatusTest, NewObjectHasNothing)
{
    const VersionStatus status;
    for (const Access& access : kAccess) EXPECT_STREQ((status.*access.get)(), "") << access.key;
    EXPECT_FALSE(status.isVersionInfoSet());
    EXPECT_EQ(status.createMessage(), "PARTNUMBERS");
    EXPECT_EQ(status.createSoftwareFirmwareOnlyMessage(), "");
    EXPECT_EQ(status.createSerialNumberOnlyMessage(), "");
}

TEST(VersionStatusTest, EachSetterSetsItsOwnValue)
{
    for (const Access& one : kAccess) {
        VersionStatus status;
        (status.*one.set)("7.1");
        EXPECT_EQ(status.createMessage(), std::string("PARTNUMBERS,") + one.key + ":7.1");
        for (const Access& other : kAccess)
            EXPECT_STREQ((status.*other.get)(), &one == &other ? "7.1" : "") << one.key << ' ' << other.key;
        EXPECT_FALSE(status.isVersionInfoSet()) << "nothing was decoded";
    }
}

TEST(VersionStatusTest, EachKeyDecodesIntoItsOwnValue)
{
    for (const Access& one : kAccess) {
        const VersionStatus status = decoded((std::string(one.key) + ":v").c_str());
        for (const Access& other : kAccess)
            EXPECT_STREQ((status.*other.get)(), &one == &other ? "v" : "") << one.key << ' ' << other.key;
    }
}

TEST(VersionStatusTest, MessageHasAFixedOrderWhateverTheInput)
{
    EXPECT_EQ(decoded(kEverything).createMessage(),
              "PARTNUMBERS,SW1:1,FW1:11,HWPN1:13,HWSN1:15,OS1:9,SW2:2,FW2:12,HWPN2:14,HWSN2:16,OS2:10,SW3:3,SW4:4,"
              "SW5:5,SW6:6,SW7:7,SW8:8,AT:17");
}

TEST(VersionStatusTest, SoftwareMessageLeavesOutHardwareAndSerialNumbers)
{
    EXPECT_EQ(decoded(kEverything).createSoftwareFirmwareOnlyMessage(),
              "SW1:1,FW1:11,OS1:9,SW2:2,FW2:12,OS2:10,SW3:3,SW4:4,SW5:5,SW6:6,SW7:7,SW8:8,AT:17");
    EXPECT_EQ(decoded("HWPN1:a,HWSN1:b,HWPN2:c,HWSN2:d").createSoftwareFirmwareOnlyMessage(), "");
    EXPECT_EQ(decoded("AT:3,SW4:2").createSoftwareFirmwareOnlyMessage(), "SW4:2,AT:3");
}

TEST(VersionStatusTest, SerialNumberMessageKeepsTheKeys)
{
    EXPECT_EQ(decoded(kEverything).createSerialNumberOnlyMessage(), "HWSN1:15,HWSN2:16");
    EXPECT_EQ(decoded("HWSN1:0042").createSerialNumberOnlyMessage(), "HWSN1:0042");
    EXPECT_EQ(decoded("HWSN2:77").createSerialNumberOnlyMessage(), "HWSN2:77");
    EXPECT_EQ(decoded("HWPN1:77").createSerialNumberOnlyMessage(), "");
}

TEST(VersionStatusTest, ResponseOfAService)
{
    const VersionStatus status = decoded("PARTNUMBERS,SW1:1.2,FW1:3.4,HWPN1:345-1290-118B,HWSN1:0042");
    EXPECT_STREQ(status.getSoftware1Version(), "1.2");
    EXPECT_STREQ(status.getFirmware1Version(), "3.4");
    EXPECT_STREQ(status.getHardware1Version(), "345-1290-118B");
    EXPECT_STREQ(status.getSerialNumber1(), "0042");
    EXPECT_TRUE(status.isVersionInfoSet());
}

TEST(VersionStatusTest, FieldWithoutAValueIsSkipped)
{
    for (const char* text : {"PARTNUMBERS,SW1:", "PARTNUMBERS,SW1", "SW1,,:,:5", ":", "SW1"}) {
        const VersionStatus status = decoded(text);
        EXPECT_EQ(status.createMessage(), "PARTNUMBERS") << text;
        EXPECT_TRUE(status.isVersionInfoSet()) << text;
    }
}

TEST(VersionStatusTest, EmptyTextCountsAsDecoded)
{
    const VersionStatus status = decoded("");
    EXPECT_TRUE(status.isVersionInfoSet());
    EXPECT_EQ(status.createMessage(), "PARTNUMBERS");
}

TEST(VersionStatusTest, FirstColonSeparates)
{
    EXPECT_STREQ(decoded("SW1:a:b").getSoftware1Version(), "a:b");
    EXPECT_STREQ(decoded("SW1::").getSoftware1Version(), ":");
}

TEST(VersionStatusTest, TrailingWhitespaceIsCut)
{
    EXPECT_STREQ(decoded("SW1:1.0  ").getSoftware1Version(), "1.0");
    EXPECT_STREQ(decoded("SW1: \t1 0 \n\r\t\f\v").getSoftware1Version(), " \t1 0");
    EXPECT_STREQ(decoded("SW1:1\b").getSoftware1Version(), "1\b");
    VersionStatus status;
    status.setAntennaTable("  x \n");
    EXPECT_STREQ(status.getAntennaTable(), "  x");
}

TEST(VersionStatusTest, WhitespaceAloneIsNotSet)
{
    const VersionStatus status = decoded("SW1:   ,SW2:2");
    EXPECT_STREQ(status.getSoftware1Version(), "");
    EXPECT_EQ(status.createMessage(), "PARTNUMBERS,SW2:2");
}

TEST(VersionStatusTest, SettingAnEmptyValueTakesItAway)
{
    for (const char* empty : {"", " \n\r\t\f\v"})
        for (const Access& access : kAccess) {
            VersionStatus status;
            (status.*access.set)("1");
            (status.*access.set)(empty);
            EXPECT_STREQ((status.*access.get)(), "") << access.key;
            EXPECT_EQ(status.createMessage(), "PARTNUMBERS") << access.key;
        }
}

TEST(VersionStatusTest, LaterFieldWithTheSameKeyWins)
{
    EXPECT_STREQ(decoded("SW1:1,SW2:5,SW1:2").getSoftware1Version(), "2");
    EXPECT_STREQ(decoded("SW1:1,SW1:").getSoftware1Version(), "1");
    EXPECT_STREQ(decoded("SW1:1,SW1:   ").getSoftware1Version(), "");
}

TEST(VersionStatusTest, KeysAreExact)
{
    for (const char* text : {" SW1:1", "SW1 :1", "sw1:1", "SW9:1", "SW:1", "SW10:1", "HWPN:1", "HWPN11:1", "AT1:1"})
        EXPECT_EQ(decoded(text).createMessage(), "PARTNUMBERS") << text;
}

TEST(VersionStatusTest, NothingOfAnEarlierResponseStays)
{
    VersionStatus status = decoded(kEverything);
    status.decodeResponse("SW3:new");
    EXPECT_EQ(status.createMessage(), "PARTNUMBERS,SW3:new");
    EXPECT_EQ(status.createSerialNumberOnlyMessage(), "");
    for (const Access& access : kAccess)
        EXPECT_STREQ((status.*access.get)(), std::string(access.key) == "SW3" ? "new" : "") << access.key;
}

TEST(VersionStatusTest, ResetForgetsEverything)
{
    VersionStatus status = decoded(kEverything);
    status.reset();
    EXPECT_FALSE(status.isVersionInfoSet());
    EXPECT_EQ(status.createMessage(), "PARTNUMBERS");
    for (const Access& access : kAccess) EXPECT_STREQ((status.*access.get)(), "") << access.key;
}

TEST(VersionStatusTest, NullThrows)
{
    VersionStatus status;
    try {
        status.decodeResponse(nullptr);
        FAIL() << "nothing thrown";
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), "basic_string::_M_construct null not valid");
    }
}

TEST(VersionStatusTest, NullLeavesNothingOfAnEarlierResponse)
{
    VersionStatus status = decoded(kEverything);
    EXPECT_THROW(status.decodeResponse(nullptr), std::logic_error);
    EXPECT_FALSE(status.isVersionInfoSet());
    EXPECT_EQ(status.createMessage(), "PARTNUMBERS");
}

TEST(VersionStatusTest, InstanceIsOne)
{
    EXPECT_EQ(&VersionStatus::Instance(), &VersionStatus::Instance());
    EXPECT_FALSE(VersionStatus::Instance().isVersionInfoSet());
}
