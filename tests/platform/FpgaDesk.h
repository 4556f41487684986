#ifndef TESTS_PLATFORM_FPGADESK_H
#define TESTS_PLATFORM_FPGADESK_H

#include "face/HX_Config.h"
#include "face/HX_Devmem.h"
#include "tests/support/FpgaMemory.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

/// Register memory of an FPGA with a memory device service on it.
struct FpgaDesk {
    /// @param ptfes  how many PTFE and pulse generator blocks the devices file has
    explicit FpgaDesk(std::uint32_t ptfes = 0)
    {
        const std::string path = directory.write("devices.xml", devicesFileText(FpgaMemory::devices(ptfes)));
        FACE::RETURN_CODE_TYPE::Value rc = FACE::RETURN_CODE_TYPE::DATA_OVERFLOW;
        devmem->Set_Reference("", config, 0, rc);
        devmem->Initialize(path.c_str(), rc);
        if (rc != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no devices");
    }

    const FpgaMemory memory;
    const TemporaryDirectory directory;
    const std::shared_ptr<MemoryDeviceFileDescriptor> file =
        std::make_shared<MemoryDeviceFileDescriptor>(memory.path().c_str());
    const std::shared_ptr<FACE::HX_Config> config = std::make_shared<FACE::HX_Config>();
    std::shared_ptr<FACE::IOSS::HX_Devmem> devmem = std::make_shared<FACE::IOSS::HX_Devmem>(
        [opened = file]() -> const MemoryDeviceFileDescriptor& { return *opened; });
};

#endif
