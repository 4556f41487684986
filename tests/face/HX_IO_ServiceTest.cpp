#include "face/HX_IO_Service.h"

#include "face/HX_Config.h"
#include "face/HX_Devmem.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/RegisterFile.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

using FACE::RETURN_CODE_TYPE;
using FACE::IOSS::guarded;

namespace {

/// Does something first whenever a record is opened.
class BusyConfig : public FACE::HX_Config {
public:
    std::function<void()> before = [] {};

    void Open(const FACE::String& name, int& handle, RETURN_CODE_TYPE::Value& code) override
    {
        before();
        HX_Config::Open(name, handle, code);
    }
};

}  // namespace

TEST(HX_IO_ServiceTest, WhatAnOperationThrowsIsOneLineWithItsPlace)
{
    const ConsoleCapture errors(std::cerr);
    const std::string line = std::to_string(__LINE__ + 1);
    guarded([] { throw std::runtime_error("no such thing"); });
    EXPECT_EQ(errors.text(), line + " no such thing\n");
}

TEST(HX_IO_ServiceTest, WhatHasNoTextIsAnUnknownException)
{
    const ConsoleCapture errors(std::cerr);
    guarded([] { throw 1; }, 12);
    EXPECT_EQ(errors.text(), "12 unknown exception\n");
}

TEST(HX_IO_ServiceTest, OpenConnectionsAreReadWhileARecordIsLookedUp)
{
    const HardDeadline deadline;
    const RegisterFile registers;
    const MemoryDeviceFileDescriptor memory(registers.path().c_str());
    const TemporaryDirectory directory;
    const std::string file = directory.write(
        "devices.xml", devicesFileText({{"Block", "0x43C00000", "0x100"}, {"Other", "0x43C00100", "0x100"}}));
    const auto config = std::make_shared<BusyConfig>();
    FACE::IOSS::HX_Devmem devmem([&]() -> const MemoryDeviceFileDescriptor& { return memory; });
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ACTION;
    long long handle = -1;
    devmem.Set_Reference("", config, 0, code);
    devmem.Initialize(file.c_str(), code);
    devmem.Open_Connection("Block", -1, handle, code);
    ASSERT_EQ(code, 0);

    registers.set32(0x43C00008, 1234);
    FACE::IOSS::Devmem::READ_PAYLOAD_TYPE payload{0, 8, 32, 0};
    RETURN_CODE_TYPE::Value answer = RETURN_CODE_TYPE::NO_ACTION;
    config->before = [&] { std::async(std::launch::async, [&] { devmem.Read(0, -1, payload, answer); }).get(); };
    devmem.Open_Connection("Other", -1, handle, code);
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(payload.value, 1234U);
    EXPECT_EQ(handle, 1);
}
