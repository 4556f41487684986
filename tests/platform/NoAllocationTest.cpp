#include "platform/FPGA.h"

#include "tests/platform/FpgaDesk.h"
#include "tests/support/FailingAllocation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

TEST(NoAllocationTest, SystemCountAllocatesNothing)
{
    FpgaDesk desk;
    desk.memory.setSystemCount(123456789012345);
    FpgaFace fpga;
    fpga.InitFpga(desk.devmem);
    std::uint64_t ticks = 0;
    std::size_t refused = 1;
    {
        const FailingAllocation memory;
        ticks = fpga.fpga_get_SystemCount();
        refused = memory.refused();
    }
    EXPECT_EQ(refused, 0u);
    EXPECT_EQ(ticks, 123456789012345u);
}

TEST(NoAllocationTest, RegistersAreWrittenWithoutAllocation)
{
    FpgaDesk desk;
    desk.memory.setUarts(1);
    FpgaFace fpga;
    fpga.InitFpga(desk.devmem);
    std::size_t refused = 1;
    {
        const FailingAllocation memory;
        fpga.setUartDelay(0, 5);
        refused = memory.refused();
    }
    EXPECT_EQ(refused, 0u);
    EXPECT_EQ(desk.memory.get32(FpgaMemory::kTimeStamp + 384), 5u);
}
