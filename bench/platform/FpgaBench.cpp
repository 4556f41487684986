#include "face/HX_Config.h"
#include "face/HX_Devmem.h"
#include "platform/FPGA.h"
#include "utilities/MemoryMap.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

constexpr std::uint32_t kTimeStamp = 0x10000;
constexpr std::uint32_t kSystemCount = 128;

constexpr const char* kBlocks[][2] = {{"TimeStamp_Interface", "0x10000"},
                                      {"Processor_Interface", "0x20000"},
                                      {"Peripheral_Interface", "0x30000"},
                                      {"PpsSlave_Interface", "0x40000"},
                                      {"PtpClock_Interface", "0x50000"}};

/// An FPGA whose registers are a file, for as long as this program runs.
class Desk {
public:
    static Desk& instance()
    {
        static Desk desk;
        return desk;
    }

    ~Desk()
    {
        fpga.DoneFpga();
        std::error_code ignored;
        std::filesystem::remove_all(m_directory, ignored);
    }
    Desk(const Desk&) = delete;
    Desk& operator=(const Desk&) = delete;

    FpgaFace fpga;

    const volatile std::uint64_t& systemCount() const
    {
        return *reinterpret_cast<const volatile std::uint64_t*>(m_map->getPointerToBase() + kSystemCount);
    }

    /// Of the time-stamp block, which `InitFpga` opens third.
    long long handle() const { return 2; }
    FACE::IOSS::Devmem::IO_Service& service() { return *m_devmem; }

private:
    Desk() : m_directory(std::filesystem::temp_directory_path() / "orvane-bench.XXXXXX")
    {
        std::string name = m_directory.string();
        if (!mkdtemp(name.data())) throw std::runtime_error("cannot make " + name);
        m_directory = name;
        const std::string memory = m_directory / "registers";
        const std::string devices = m_directory / "devices.xml";
        std::ofstream(memory).flush();
        std::filesystem::resize_file(memory, 0x100000);
        std::ofstream file(devices);
        file << "<HX_Configurations>";
        for (const auto& [block, base] : kBlocks)
            file << "<Memory><Name>" << block << "</Name><Parameters><BaseAddress>" << base
                 << "</BaseAddress><Size>0x1000</Size></Parameters></Memory>";
        file << "</HX_Configurations>";
        file.close();

        m_memory = std::make_unique<MemoryDeviceFileDescriptor>(memory.c_str());
        m_map = std::make_unique<MemoryMap>(kTimeStamp, 0x1000, *m_memory);
        *reinterpret_cast<volatile std::uint64_t*>(m_map->getPointerToBase()) = 58982400;
        *reinterpret_cast<volatile std::uint64_t*>(m_map->getPointerToBase() + kSystemCount) = 1;
        m_devmem = std::make_shared<FACE::IOSS::HX_Devmem>(
            [this]() -> const MemoryDeviceFileDescriptor& { return *m_memory; });
        FACE::RETURN_CODE_TYPE::Value rc = FACE::RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_devmem->Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, rc);
        m_devmem->Initialize(devices.c_str(), rc);
        fpga.InitFpga(m_devmem);
        if (fpga.fpga_get_SystemCount() != 1) throw std::runtime_error("no system count");
    }

    std::filesystem::path m_directory;
    std::unique_ptr<MemoryDeviceFileDescriptor> m_memory;
    std::unique_ptr<MemoryMap> m_map;
    std::shared_ptr<FACE::IOSS::HX_Devmem> m_devmem;
};

void bareLoad(benchmark::State& state)
{
    const volatile std::uint64_t& count = Desk::instance().systemCount();
    for (auto _ : state) {
        const std::uint64_t value = count;
        benchmark::DoNotOptimize(value);
    }
}

/// What a 64-bit access costs at least: the load, and the barrier behind it.
void loadAndBarrier(benchmark::State& state)
{
    const volatile std::uint64_t& count = Desk::instance().systemCount();
    for (auto _ : state) {
        const std::uint64_t value = count;
        __sync_synchronize();
        benchmark::DoNotOptimize(value);
    }
}

void serviceRead(benchmark::State& state)
{
    Desk& desk = Desk::instance();
    for (auto _ : state) {
        FACE::IOSS::Devmem::READ_PAYLOAD_TYPE payload{0, kSystemCount, 64, 0};
        FACE::RETURN_CODE_TYPE::Value rc = FACE::RETURN_CODE_TYPE::NO_ERROR;
        desk.service().Read(desk.handle(), -1, payload, rc);
        benchmark::DoNotOptimize(payload.value);
    }
}

void systemCount(benchmark::State& state)
{
    const FpgaFace& fpga = Desk::instance().fpga;
    for (auto _ : state) benchmark::DoNotOptimize(fpga.fpga_get_SystemCount());
}

}  // namespace

BENCHMARK(bareLoad)->Name("bare volatile load");
BENCHMARK(loadAndBarrier)->Name("volatile load and full barrier");
BENCHMARK(serviceRead)->Name("HX_Devmem::Read");
BENCHMARK(systemCount)->Name("fpga_get_SystemCount");
BENCHMARK(systemCount)->Name("fpga_get_SystemCount, two threads")->Threads(2);
