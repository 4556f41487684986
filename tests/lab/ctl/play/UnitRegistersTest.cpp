#include "lab/ctl/play/UnitRegisters.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace orvanectl;
using namespace std::chrono_literals;

namespace {

/// A unit's register memory in a sparse file.
struct UnitRegistersTest : testing::Test {
    UnitRegistersTest() { std::filesystem::resize_file(memory, std::uintmax_t{1} << 32); }

    std::uint64_t wordAt(std::streamoff address) const
    {
        std::uint64_t word = 0;
        std::ifstream(memory, std::ios::binary).seekg(address).read(reinterpret_cast<char*>(&word), sizeof word);
        return word;
    }
    std::uint64_t count() const { return wordAt(0x43C20080); }

    const TemporaryDirectory directory;
    const std::string memory = directory.write("mem", "");
    const std::string devices = ORVANE_LAB_DIR "/config/IODevices.xml";
};

}  // namespace

TEST(StampTest, StampOfACountAndBack)
{
    EXPECT_EQ(stampOfTicks(58982400), 999'999'992ns);
    EXPECT_EQ(ticksOfStamp(999'999'992ns), 58982400U);
    EXPECT_EQ(stampOfTicks(0), -8ns);
    EXPECT_EQ(ticksOfStamp(-1s), 0U);
    EXPECT_EQ(ticksOfStamp(2'000'000'000s), 117'964'800'000'000'000U);
    EXPECT_EQ(stampOfTicks(117'964'800'000'000'000U), 1'999'999'999'999'999'992ns);
}

TEST_F(UnitRegistersTest, FpgaTellsItsClockRate)
{
    const UnitRegisters registers(memory, devices);
    EXPECT_EQ(wordAt(0x43C20000), 58982400U);
}

TEST_F(UnitRegistersTest, CountStandsWhileThePlayIsPaused)
{
    UnitRegisters registers(memory, devices);
    registers.follow(Timeline(Timeline::Clock::now(), 1, true), 99'999'999'992ns);
    EXPECT_EQ(count(), 5898240000U);
    EXPECT_EQ(registers.now(), 99'999'999'992ns);
}

TEST_F(UnitRegistersTest, CountMovesAtTheRateOfThePlay)
{
    UnitRegisters registers(memory, devices);
    const auto start = Timeline::Clock::now();
    registers.follow(Timeline(start, 1000, false), 0s);
    EXPECT_TRUE(eventually([&] { return count() > 58982400U * 50; }));
    const std::chrono::duration<double> passed = Timeline::Clock::now() - start;
    EXPECT_GE(passed.count(), 0.05);
    EXPECT_LE(static_cast<double>(count()), (passed.count() + 30) * 1000 * 58982400);
}

TEST_F(UnitRegistersTest, SecondPlayOfTheUnitIsRefused)
{
    const UnitRegisters registers(memory, devices);
    EXPECT_EQ(errorOf([&] { UnitRegisters(memory, devices); }), memory + ": another unit-sim plays this unit");
}
