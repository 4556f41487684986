#include "ASPN/AspnDeviceIds.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

using namespace ASPN2;

namespace {

/// Built before `main`, out of names that must exist by then.
const std::string kBeforeMain = ServerIds::OrvaneServer_name + "/" + Components::hx_component;

}  // namespace

TEST(SystemIdsTest, NamesGiveTheirNumbers)
{
    EXPECT_EQ(SystemIds::from_string("KOLT"), 1);
    EXPECT_EQ(SystemIds::from_string("RENS"), 2);
    EXPECT_EQ(SystemIds::from_string("SarventPlus"), 3);
}

TEST(SystemIdsTest, AnyOtherTextGivesZero)
{
    EXPECT_EQ(SystemIds::from_string("kolt"), 0);
    EXPECT_EQ(SystemIds::from_string("KOLT "), 0);
    EXPECT_EQ(SystemIds::from_string("KOL"), 0);
    EXPECT_EQ(SystemIds::from_string(""), 0);
    EXPECT_EQ(SystemIds::from_string(nullptr), 0);
}

TEST(SystemIdsTest, SymbolsHoldTheNames)
{
    EXPECT_EQ(SystemIds::kolt_name, "KOLT");
    EXPECT_EQ(SystemIds::rens_name, "RENS");
    EXPECT_EQ(SystemIds::sarventPlus_name, "SarventPlus");
}

TEST(ServerIdsTest, EveryRowHasItsNameUnderItsSymbol)
{
    using namespace ServerIds;
    const std::tuple<int, const char*, const std::string&> rows[] = {
        {33, "ISM330", ism330_name},
        {34, "Memsense3020", Memsense3020_name},
        {1, "Gateway", gateway_name},
        {16, "MSDUI", msdui_name},
        {35, "MicrosemiOX171", MicrosemiOX171_name},
        {36, "SiT5356", SiT5356_name},
        {37, "MasterClock", masterClockServer_name},
        {39, "ZentorM", ZentorM_name},
        {38, "JacksonLabsSTL2600", JacksonLabsSTL2600_name},
        {80, "BAE44MHz", BAE44MHz_name},
        {96, "HalvexNavigator", halvexNavigator_name},
        {97, "pilServer", pilServer_name},
        {32, "BitServer", BitServer_name},
        {40, "WebsocketServer", WebsocketServer_name},
        {41, "WheelSensorServer", WheelSensorServer_name},
        {42, "WheelCalibratorServer", WheelCalibratorServer_name},
        {44, "VTimeServer", VTimeServer_name},
        {45, "VPosOrDirServer", VPosOrDirServer_name},
        {46, "VGpsReceiverServer", VGpsReceiverServer_name},
        {47, "TarvoServer", TarvoServer_name},
        {48, "HmiServer", HmiServer_name},
        {49, "QuillEServer", QuillEServer_name},
        {50, "ZentorMDt", ZentorMDt_name},
        {51, "ZeroizeServer", ZeroizeServer_name},
        {113, "AtpServer", AtpServer_name},
        {114, "CrpaServer", CrpaServer_name},
        {115, "GalileoServer", GalileoServer_name},
        {116, "GpmcServer", GpmcServer_name},
        {117, "VendrelServer", VendrelServer_name},
        {118, "ZentorSServer", ZentorSServer_name},
        {119, "LoaderServer", LoaderServer_name},
        {120, "LogServer", LogServer_name},
        {121, "NavigatorOutputServer", NavigatorOutputServer_name},
        {122, "ShciServer", ShciServer_name},
        {123, "SinglePointPositionServer", SinglePointPositionServer_name},
        {124, "SMEMSImuServer", SMEMSImuServer_name},
        {52, "OrvaneServer", OrvaneServer_name},
        {53, "SystemController", SystemController_name},
        {125, "VGenericEndNodeServer", VGenericEndNodeServer_name},
        {54, "MaintLogServer", MaintLogServer_name},
    };
    static_assert(std::size(rows) == 40);
    std::set<int> assigned;
    for (const auto& [id, name, symbol] : rows) {
        EXPECT_STREQ(ServerIds::to_string(static_cast<unsigned char>(id)), name);
        EXPECT_EQ(symbol, name);
        assigned.insert(id);
    }
    for (int id = 0; id < 256; ++id) {
        if (assigned.contains(id)) continue;
        EXPECT_STREQ(ServerIds::to_string(static_cast<unsigned char>(id)), "INVALID_SERVER_ID") << id;
    }
}

TEST(ServerIdsTest, NamesExistBeforeMain)
{
    EXPECT_EQ(kBeforeMain, "OrvaneServer/Halvex");
}

TEST(ComponentsTest, SymbolsHoldTheNames)
{
    EXPECT_EQ(Components::sv_component, "Sarvent");
    EXPECT_EQ(Components::hx_component, "Halvex");
    EXPECT_EQ(Components::pntq_component, "PNT-Q");
    EXPECT_EQ(Components::altnav_component, "ALTNAV");
    EXPECT_EQ(Components::gps_component, "GPS");
    EXPECT_EQ(Components::tarvo_component, "TARVO");
    EXPECT_EQ(Components::tarvosw_component, "TARVOSW");
}

TEST(ComponentsTest, TopicZeroIsTheServerItself)
{
    EXPECT_STREQ(Components::to_component(53, 0), "Halvex");
    EXPECT_STREQ(Components::to_component(49, 0), "PNT-Q");
    EXPECT_STREQ(Components::to_component(38, 0), "ALTNAV");
    EXPECT_STREQ(Components::to_component(39, 0), "GPS");
    EXPECT_STREQ(Components::to_component(47, 0), "TARVOSW");
}

TEST(ComponentsTest, AServerWithoutPartNumbersIsInvalid)
{
    EXPECT_STREQ(Components::to_component(52, 0), "INVALID_SERVER_ID");
    EXPECT_STREQ(Components::to_component(0, 0), "INVALID_SERVER_ID");
}

TEST(ComponentsTest, TopicsOneAndTwoIgnoreTheServer)
{
    for (int server : {47, 53, 0, 255}) {
        EXPECT_STREQ(Components::to_component(static_cast<unsigned char>(server), 1), "Sarvent");
        EXPECT_STREQ(Components::to_component(static_cast<unsigned char>(server), 2), "TARVO");
    }
}

TEST(ComponentsTest, HigherTopicsAreInvalid)
{
    EXPECT_STREQ(Components::to_component(47, 3), "INVALID_SERVER_ID");
    EXPECT_STREQ(Components::to_component(53, 255), "INVALID_SERVER_ID");
}

TEST(DeviceIdFactoryTest, DefaultHasNoSystemAndNoServer)
{
    EXPECT_EQ(DeviceIdFactory().makeDeviceId(2, 0), 0x00000200u);
}

TEST(DeviceIdFactoryTest, BytesAreSystemServerMessageTopic)
{
    const DeviceIdFactory factory(1, 52);
    EXPECT_EQ(factory.makeDeviceId(2, 0), 0x01340200u);
    EXPECT_EQ(factory.makeDeviceId(1, 0), 0x01340100u);
    EXPECT_EQ(factory.makeDeviceId(59, 0), 0x01343B00u);
    EXPECT_EQ(factory.makeDeviceId(255, 255), 0x0134FFFFu);
}

TEST(DeviceIdFactoryTest, SystemZeroIsANumberLikeOthers)
{
    EXPECT_EQ(DeviceIdFactory(0, 52).makeDeviceId(2, 0), 0x00340200u);
    DeviceIdFactory factory(1, 52);
    factory.reset(0, 52);
    EXPECT_EQ(factory.makeDeviceId(2, 0), 0x00340200u);
}

TEST(DeviceIdFactoryTest, HighSystemNumberKeepsItsTopBit)
{
    EXPECT_EQ(DeviceIdFactory(255, 255).makeDeviceId(0, 0), 0xFFFF0000u);
}

TEST(DeviceIdFactoryTest, ResetReplacesTheBase)
{
    DeviceIdFactory factory(255, 255);
    factory.reset(1, 52);
    EXPECT_EQ(factory.makeDeviceId(0, 7), 0x01340007u);
    factory.reset("SarventPlus", 1);
    EXPECT_EQ(factory.makeDeviceId(0, 0), 0x03010000u);
}

TEST(DeviceIdFactoryTest, SystemMayBeGivenByName)
{
    EXPECT_EQ(DeviceIdFactory("RENS", 52).makeDeviceId(2, 0), 0x02340200u);
    EXPECT_EQ(DeviceIdFactory("rens", 52).makeDeviceId(2, 0), 0x00340200u);
    EXPECT_EQ(DeviceIdFactory(static_cast<const char*>(nullptr), 52).makeDeviceId(2, 0), 0x00340200u);
}
