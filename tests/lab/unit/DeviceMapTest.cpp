#include "lab/unit/DeviceMap.h"

#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using namespace unitsim;

namespace {

constexpr const char* kSample = ORVANE_LAB_DIR "/config/IODevices.xml";

std::string fileOf(const TemporaryDirectory& directory, const std::string& parameters)
{
    return directory.write("IODevices.xml", "<HX_Configurations><Device><Name>ZEN_HX</Name><Parameters>" + parameters +
                                                "</Parameters></Device></HX_Configurations>");
}

/// What is said of a queue, or a block, that can't be had.
template <class Call>
std::string complaint(Call call)
{
    try {
        call();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

}  // namespace

TEST(DeviceMapTest, SampleHasItsQueues)
{
    EXPECT_EQ(DeviceMap(kSample).port("ZEN_HX"), 5);
    EXPECT_EQ(DeviceMap(kSample).port("HX_ZEN"), 6);
}

TEST(DeviceMapTest, SampleHasItsBlocks)
{
    const RegisterBlock block = DeviceMap(kSample).block("TimeStamp_Interface");
    EXPECT_EQ(block.base, 0x43C20000U);
    EXPECT_EQ(block.size, 0x1000U);
    EXPECT_EQ(DeviceMap(kSample).blocks("Ptfe_Interface").size(), 2U);
    EXPECT_EQ(DeviceMap(kSample).blocks("PulseGen_Interface")[1].base, 0x43C80000U);
}

TEST(DeviceMapTest, NumbersAreReadWithTheirPrefix)
{
    const TemporaryDirectory directory;
    EXPECT_EQ(DeviceMap(fileOf(directory, "<Port>0x10</Port>")).port("ZEN_HX"), 16);
    EXPECT_EQ(DeviceMap(fileOf(directory, "<Port>010</Port>")).port("ZEN_HX"), 8);
}

TEST(DeviceMapTest, BadValueIsNamedWithFileContainerAndKey)
{
    const TemporaryDirectory directory;
    for (const char* text : {"abc", "-1", "65536", "5x", "99999999999999999999"}) {
        const std::string path = fileOf(directory, "<Port>" + std::string(text) + "</Port>");
        EXPECT_EQ(complaint([&] { DeviceMap(path).port("ZEN_HX"); }),
                  path + ": ZEN_HX: Port: '" + text + "' is not a number from 0 to 65535");
    }
}

TEST(DeviceMapTest, WhatIsMissingIsNamed)
{
    const TemporaryDirectory directory;
    const std::string path = fileOf(directory, "<Other>1</Other>");
    EXPECT_EQ(complaint([&] { DeviceMap(path).port("ZEN_HX"); }), path + ": ZEN_HX: Port is missing");
    EXPECT_EQ(complaint([&] { DeviceMap(path).port("HX_ZEN"); }), path + ": HX_ZEN: there is no such container");
    EXPECT_EQ(complaint([&] { DeviceMap("/nowhere.xml").port("HX_ZEN"); }),
              "/nowhere.xml: can't be read as configuration");
}

TEST(DeviceMapTest, BlockEndsWithin32Bits)
{
    const TemporaryDirectory directory;
    const std::string path = fileOf(directory, "<BaseAddress>0xFFFFF000</BaseAddress><Size>0x1001</Size>");
    EXPECT_EQ(complaint([&] { DeviceMap(path).block("ZEN_HX"); }),
              path + ": ZEN_HX: BaseAddress and Size end beyond 32 bits");
}
