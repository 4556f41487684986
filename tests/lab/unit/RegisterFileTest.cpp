#include "lab/unit/RegisterFile.h"

#include "face/HX_Config.h"
#include "face/HX_Devmem.h"
#include "lab/unit/SystemClock.h"
#include "platform/FPGA.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

using namespace unitsim;
using FACE::RETURN_CODE_TYPE;

namespace {

constexpr const char* kDevices = ORVANE_LAB_DIR "/config/IODevices.xml";

/// Register memory in a sparse file, and the service's own way to read it.
class RegisterFileTest : public testing::Test {
protected:
    RegisterFileTest() { std::filesystem::resize_file(m_memory, std::uintmax_t{1} << 32); }

    std::shared_ptr<FACE::IOSS::Devmem::IO_Service> service()
    {
        auto devmem = std::make_shared<FACE::IOSS::HX_Devmem>(
            [this]() -> const MemoryDeviceFileDescriptor& { return *m_descriptor; });
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
        devmem->Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, code);
        devmem->Initialize(kDevices, code);
        if (code != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no memory device service");
        return devmem;
    }

    /// The first registers of a block, as they lie in the file.
    std::array<std::uint64_t, 5> registersAt(std::uint64_t base) const
    {
        std::array<std::uint64_t, 5> values{};
        std::ifstream file(m_memory, std::ios::binary);
        file.seekg(static_cast<std::streamoff>(base));
        file.read(reinterpret_cast<char*>(values.data()), sizeof values);
        if (!file) throw std::runtime_error("cannot read a register");
        return values;
    }

    TemporaryDirectory m_directory;
    std::string m_memory = m_directory.write("mem", "");
    std::unique_ptr<MemoryDeviceFileDescriptor> m_descriptor =
        std::make_unique<MemoryDeviceFileDescriptor>(m_memory.c_str());
};

}  // namespace

TEST_F(RegisterFileTest, ServiceComesUpOnTheRegisters)
{
    RegisterFile registers(m_memory, DeviceMap(kDevices));
    registers.identify({});
    FpgaFace fpga;
    EXPECT_NO_THROW(fpga.InitFpga(service()));
    EXPECT_EQ(fpga.getFirmwareBuildStamp(), "202603-0112:30:00");
    const std::string configuration = fpga.getFirmwareConfiguration();
    EXPECT_NE(configuration.find("ORVANLAB"), std::string::npos) << configuration;
    EXPECT_NE(configuration.find("3451-2900-0001"), std::string::npos) << configuration;
    EXPECT_NE(configuration.find("A001"), std::string::npos) << configuration;
    EXPECT_EQ(fpga.getPtfeFirmwareId(1), 0x5054464500000001U);
    fpga.DoneFpga();
}

TEST_F(RegisterFileTest, NumbersOfBlocksLieWhereTheServiceReadsThem)
{
    RegisterFile registers(m_memory, DeviceMap(kDevices));
    FpgaIdentity identity;
    identity.uarts = 0x0102030405060708;
    identity.pulses = 0x1112131415161718;
    identity.peripherals = 0x2122232425262728;
    registers.identify(identity);
    const auto timeStamp = registersAt(0x43C20000);
    EXPECT_EQ(timeStamp[1], 0x0102030405060708U);
    EXPECT_EQ(timeStamp[3], 0x1112131415161718U);
    EXPECT_EQ(timeStamp[4], 0x2122232425262728U);
}

TEST_F(RegisterFileTest, WithoutOtherNumbersThereAreFourUartsAndEightPulsesAndPeripherals)
{
    RegisterFile registers(m_memory, DeviceMap(kDevices));
    registers.identify({});
    const auto timeStamp = registersAt(0x43C20000);
    EXPECT_EQ(timeStamp[1], 4U);
    EXPECT_EQ(timeStamp[3], 8U);
    EXPECT_EQ(timeStamp[4], 8U);
}

TEST_F(RegisterFileTest, WrongClockRateReachesTheService)
{
    RegisterFile registers(m_memory, DeviceMap(kDevices));
    FpgaIdentity identity;
    identity.clockRate = 58982401;
    registers.identify(identity);
    FpgaFace fpga;
    EXPECT_THROW(fpga.InitFpga(service()), std::runtime_error);
    fpga.DoneFpga();
}

TEST_F(RegisterFileTest, SystemCountIsReadWhereItIsWritten)
{
    RegisterFile registers(m_memory, DeviceMap(kDevices));
    registers.identify({});
    FpgaFace fpga;
    fpga.InitFpga(service());
    registers.setSystemCount(0x123456789ABCDEF0);
    EXPECT_EQ(fpga.fpga_get_SystemCount(), 0x123456789ABCDEF0U);
    EXPECT_EQ(registers.systemCount(), 0x123456789ABCDEF0U);
    fpga.DoneFpga();
}

TEST_F(RegisterFileTest, CountRunsAtItsRate)
{
    using namespace std::chrono;
    RegisterFile registers(m_memory, DeviceMap(kDevices));
    const auto start = steady_clock::now();
    const SystemClock clock(1000, start);
    const RunningCount running(registers, clock, milliseconds(1));
    ASSERT_TRUE(eventually([&] { return registers.systemCount() > 1000 + 58982400 / 5; }));
    const std::uint64_t count = registers.systemCount();  // before the time that it is held against
    const double elapsed = duration<double>(steady_clock::now() - start).count();
    EXPECT_GE(elapsed, 0.2);
    EXPECT_LE(static_cast<double>(count - 1000), elapsed * 58982400.0 + 1.0);
}

TEST_F(RegisterFileTest, RealMemoryIsRefused)
{
    EXPECT_THROW(RegisterFile("/dev/zero", DeviceMap(kDevices)), std::runtime_error);
    EXPECT_THROW(RegisterFile(m_memory + "0", DeviceMap(kDevices)), std::runtime_error);
}

TEST_F(RegisterFileTest, SecondUnitSimIsRefused)
{
    RegisterFile registers(m_memory, DeviceMap(kDevices));
    EXPECT_THROW(RegisterFile(m_memory, DeviceMap(kDevices)), std::runtime_error);
}

TEST_F(RegisterFileTest, FileThatEndsTooEarlyIsRefused)
{
    std::filesystem::resize_file(m_memory, 0x43C20FFF);
    EXPECT_THROW(RegisterFile(m_memory, DeviceMap(kDevices)), std::runtime_error);
}

TEST_F(RegisterFileTest, BlockThatLeavesOutARegisterIsRefused)
{
    std::string text = readFile(kDevices);
    const auto at = text.find("<Size>", text.find("TimeStamp_Interface"));
    text.replace(at, std::string("<Size>0x1000").size(), "<Size>128");
    const std::string path = m_directory.write("IODevices.xml", text);
    EXPECT_THROW(RegisterFile(m_memory, DeviceMap(path)), std::runtime_error);
}
