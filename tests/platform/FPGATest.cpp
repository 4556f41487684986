#include "platform/FPGA.h"

#include "tests/platform/FpgaDesk.h"
#include "tests/platform/RecordingDevmem.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConfinedChild.h"
#include "tests/support/ConsoleCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;

static_assert(FpgaFace::fpga_timestamp_get_ticks_per_sec() == 58982400);
static_assert(!std::is_copy_constructible_v<FpgaFace> && !std::is_copy_assignable_v<FpgaFace>);

namespace {

using Calls = std::vector<std::string>;

constexpr std::uint64_t kFloating = ~std::uint64_t{0};

/// An FPGA with 3 UARTs, 2 PTFE blocks, 5 pulses and 4 peripherals.
class FPGATest : public testing::Test {
protected:
    FPGATest()
    {
        m_memory.setUarts(3);
        m_memory.setPtfes(2);
        m_memory.setPulses(5);
        m_memory.setPeripherals(4);
    }

    void init()
    {
        m_fpga.InitFpga(m_devmem);
        m_devmem->calls.clear();
    }

    /// What `InitFpga` throws, without the place in front; empty if it throws nothing.
    std::string initError()
    {
        const ConsoleCapture output(std::cout);
        try {
            m_fpga.InitFpga(m_devmem);
        } catch (const std::runtime_error& error) {
            const std::string text = error.what();
            EXPECT_TRUE(output.text().empty() || output.text() == text + "\n");
            const std::size_t place = text.find("]:");
            return place == std::string::npos ? text : text.substr(place + 2);
        }
        return "";
    }

    /// The accesses of a call.
    Calls callsOf(const std::function<void()>& call)
    {
        m_devmem->calls.clear();
        call();
        return m_devmem->calls;
    }

    const FpgaDesk m_desk{2};
    const FpgaMemory& m_memory = m_desk.memory;
    const std::shared_ptr<RecordingDevmem> m_devmem = std::make_shared<RecordingDevmem>(m_desk.devmem);
    FpgaFace m_fpga;
};

/// A service whose reads, once it is told so, have one wait until it is let go.
class WaitingDevmem : public RecordingDevmem {
public:
    using RecordingDevmem::RecordingDevmem;

    std::atomic<bool> holdsNext = false;
    std::promise<void> held;
    std::promise<void> released;

    void Read(long long handle, long long timeout, FACE::IOSS::Devmem::READ_PAYLOAD_TYPE& payload,
              Code::Value& rc) override
    {
        if (holdsNext.exchange(false)) {
            held.set_value();
            released.get_future().wait();
        }
        RecordingDevmem::Read(handle, timeout, payload, rc);
    }
};

const Calls kOpens = {
    "open Processor_Interface",       "open Peripheral_Interface",      "open TimeStamp_Interface",
    "open PpsSlave_Interface",        "open PtpClock_Interface",        "read TimeStamp_Interface 8 64",
    "read TimeStamp_Interface 16 64", "read TimeStamp_Interface 24 64", "read TimeStamp_Interface 32 64"};

Calls joined(Calls calls, const Calls& more)
{
    calls.insert(calls.end(), more.begin(), more.end());
    return calls;
}

}  // namespace

TEST_F(FPGATest, InstanceIsOne)
{
    EXPECT_EQ(&FpgaFace::Instance(), &FpgaFace::Instance());
    EXPECT_EQ(FpgaFace::Instance().fpga_get_SystemCount(), 0u);
    FpgaFace::Instance().DoneFpga();
}

TEST_F(FPGATest, InitOpensFiveBlocksReadsTheCountsOpensThePairsAndReadsTheClockLast)
{
    m_fpga.InitFpga(m_devmem);
    EXPECT_EQ(m_devmem->calls, joined(kOpens, {"open Ptfe_Interface0 interface", "open PulseGen_Interface0 interface",
                                               "open Ptfe_Interface1 interface", "open PulseGen_Interface1 interface",
                                               "read TimeStamp_Interface 0 64"}));
}

TEST_F(FPGATest, WithoutPtfeBlocksOnlyTheFiveAreOpened)
{
    m_memory.setPtfes(0);
    m_fpga.InitFpga(m_devmem);
    EXPECT_EQ(m_devmem->calls, joined(kOpens, {"read TimeStamp_Interface 0 64"}));
}

TEST_F(FPGATest, DoneClosesTheFiveThenThePtfeBlocksThenThePulseGenerators)
{
    init();
    m_fpga.DoneFpga();
    EXPECT_THAT(m_devmem->calls,
                ElementsAre("close Processor_Interface", "close Peripheral_Interface", "close TimeStamp_Interface",
                            "close PpsSlave_Interface", "close PtpClock_Interface", "close Ptfe_Interface0 interface",
                            "close Ptfe_Interface1 interface", "close PulseGen_Interface0 interface",
                            "close PulseGen_Interface1 interface"));
}

TEST_F(FPGATest, DoneLetsGoOfTheService)
{
    init();
    EXPECT_EQ(m_devmem.use_count(), 2);
    m_fpga.DoneFpga();
    EXPECT_EQ(m_devmem.use_count(), 1);
}

TEST_F(FPGATest, DoneBeforeInitAndTwiceIsHarmless)
{
    m_fpga.DoneFpga();
    init();
    m_fpga.DoneFpga();
    m_devmem->calls.clear();
    m_fpga.DoneFpga();
    EXPECT_THAT(m_devmem->calls, IsEmpty());
}

TEST_F(FPGATest, EveryTimeoutIsEndless)
{
    init();
    m_fpga.fpga_get_SystemCount();
    m_fpga.setUartDelay(0, 1);
    EXPECT_TRUE(m_devmem->hasOnlyEndlessTimeouts());
}

TEST_F(FPGATest, OpeningThatFailsIsTold)
{
    const std::pair<const char*, const char*> kTexts[] = {
        {"open Processor_Interface", "NO_ACTION FpgaFace() FAILED to open processor interface"},
        {"open Peripheral_Interface", "NO_ACTION FpgaFace() FAILED to open peripheral interface"},
        {"open TimeStamp_Interface", "NO_ACTION FpgaFace() FAILED to open timestamp interface"},
        {"open PpsSlave_Interface", "NO_ACTION FpgaFace() FAILED to open PPS Slave interface"},
        {"open PtpClock_Interface", "NO_ACTION FpgaFace() FAILED to open PTP Clock interface"},
        {"open Ptfe_Interface1 interface", "NO_ACTION FpgaFace() FAILED to open PTFE 1 interface"},
        {"open PulseGen_Interface0 interface", "NO_ACTION FpgaFace() FAILED to open PulseGen 0 interface"}};
    for (const auto& [call, text] : kTexts) {
        m_devmem->refuse(call, FACE::RETURN_CODE_TYPE::NO_ACTION);
        EXPECT_EQ(initError(), text);
        EXPECT_EQ(m_devmem->calls.back(), call);
    }
}

TEST_F(FPGATest, CountThatCantBeReadIsTold)
{
    const std::pair<const char*, const char*> kTexts[] = {
        {"read TimeStamp_Interface 8 64", "NO_ACTION FpgaFace() FAILED to read FPGA number of UARTs"},
        {"read TimeStamp_Interface 16 64", "NO_ACTION FpgaFace() FAILED to read FPGA number of PTFEs"},
        {"read TimeStamp_Interface 24 64", "NO_ACTION FpgaFace() FAILED to read FPGA number of Pulses"},
        {"read TimeStamp_Interface 32 64", "NO_ACTION FpgaFace() FAILED to read FPGA number of Periphs"},
        {"read TimeStamp_Interface 0 64", "NO_ACTION FpgaFace() FAILED to read FPGA clock rate"}};
    for (const auto& [call, text] : kTexts) {
        m_devmem->refuse(call, FACE::RETURN_CODE_TYPE::NO_ACTION);
        EXPECT_EQ(initError(), text);
        EXPECT_EQ(m_devmem->calls.back(), call);
    }
}

TEST_F(FPGATest, FailureHasItsPlaceInFrontAndIsOneLineOfTheStandardOutput)
{
    m_devmem->refuse("open Processor_Interface", FACE::RETURN_CODE_TYPE::INVALID_CONFIG);
    const ConsoleCapture output(std::cout);
    EXPECT_THROW(m_fpga.InitFpga(m_devmem), std::runtime_error);
    EXPECT_THAT(output.text(), MatchesRegex("platform/FPGA\\.cpp\\[[0-9]+\\]:INVALID_CONFIG FpgaFace\\(\\) FAILED to "
                                            "open processor interface\n"));
}

TEST_F(FPGATest, NoServiceFailsAsAnOpeningDoes)
{
    const ConsoleCapture output(std::cout);
    EXPECT_THROW(m_fpga.InitFpga(nullptr), std::runtime_error);
    EXPECT_THAT(output.text(), EndsWith(":NOT_AVAILABLE FpgaFace() FAILED to open processor interface\n"));
    m_fpga.DoneFpga();
}

TEST_F(FPGATest, MissingMemoryShowsAtTheFirstCount)
{
    FACE::RETURN_CODE_TYPE::Value rc = FACE::RETURN_CODE_TYPE::NOT_AVAILABLE;
    const auto devmem = std::make_shared<FACE::IOSS::HX_Devmem>(
        []() -> const MemoryDeviceFileDescriptor& { throw std::runtime_error("missing"); });
    devmem->Set_Reference("", m_desk.config, 0, rc);
    const ConsoleCapture output(std::cout);
    const ConsoleCapture errors(std::cerr);
    EXPECT_THROW(m_fpga.InitFpga(devmem), std::runtime_error);
    EXPECT_THAT(output.text(), EndsWith(":INVALID_MODE FpgaFace() FAILED to read FPGA number of UARTs\n"));
}

TEST_F(FPGATest, ClockThatIsOneTickOffIsAnError)
{
    m_memory.set64(FpgaMemory::kTimeStamp, 58982401);
    EXPECT_EQ(initError(), "FpgaFace() FPGA clock rate mismatch, got 58982401, expected 58982400");
    m_memory.set64(FpgaMemory::kTimeStamp, 58982399);
    EXPECT_EQ(initError(), "FpgaFace() FPGA clock rate mismatch, got 58982399, expected 58982400");
}

TEST_F(FPGATest, ClockIsComparedIn64Bits)
{
    m_memory.set64(FpgaMemory::kTimeStamp, 0x100000000 + 58982400);
    EXPECT_EQ(initError(), "FpgaFace() FPGA clock rate mismatch, got 4353949696, expected 58982400");
}

TEST_F(FPGATest, AfterAFailedInitNothingIsAccessedAndDoneClosesWhatIsOpen)
{
    m_memory.set64(FpgaMemory::kTimeStamp, 1);
    m_memory.setPtfes(1);
    initError();
    EXPECT_THAT(callsOf([this] { EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 0u); }), IsEmpty());
    EXPECT_THAT(callsOf([this] { m_fpga.DoneFpga(); }),
                ElementsAre("close Processor_Interface", "close Peripheral_Interface", "close TimeStamp_Interface",
                            "close PpsSlave_Interface", "close PtpClock_Interface", "close Ptfe_Interface0 interface",
                            "close PulseGen_Interface0 interface"));
    EXPECT_EQ(m_devmem.use_count(), 1);
}

TEST_F(FPGATest, BlockThatDidNotOpenIsNotClosed)
{
    m_devmem->refuse("open PulseGen_Interface0 interface", FACE::RETURN_CODE_TYPE::INVALID_CONFIG);
    initError();
    const Calls calls = callsOf([this] { m_fpga.DoneFpga(); });
    EXPECT_EQ(calls.size(), 6u);
    EXPECT_EQ(calls.back(), "close Ptfe_Interface0 interface");
}

TEST_F(FPGATest, FloatingBusFailsAtTheFirstBlockThatIsNotConfigured)
{
    for (std::uint64_t offset = 8; offset <= 32; offset += 8)
        m_memory.set64(FpgaMemory::kTimeStamp + offset, kFloating);
    EXPECT_EQ(initError(), "INVALID_CONFIG FpgaFace() FAILED to open PTFE 2 interface");
}

TEST_F(FPGATest, CountsOfAFloatingBusLetNoAccessLeaveItsRange)
{
    m_memory.setUarts(kFloating);
    m_memory.setPulses(kFloating);
    m_memory.setPeripherals(kFloating);
    init();
    const std::uint32_t last = std::numeric_limits<std::uint32_t>::max();
    EXPECT_THAT(callsOf([&] {
                    EXPECT_EQ(m_fpga.getPulseTimestampRaw(last), 0u);
                    EXPECT_EQ(m_fpga.getPulseTimestampRaw(0x20000000), 0u);  // 8 times that is 2^32
                    EXPECT_EQ(m_fpga.getUartDelay(0x20000000), 0u);
                    EXPECT_EQ(m_fpga.getUARTDataTimestampRaw(0x1FFFFFC0), 0u);  // 512 more make 2^32
                    m_fpga.setUartDelay(0x20000000, 1);
                    m_fpga.fpga_set_periph_control(0x40000000, 1);
                }),
                IsEmpty());
    EXPECT_THAT(callsOf([&] { EXPECT_EQ(m_fpga.getUARTDataTimestampRaw(448), 0u); }),
                ElementsAre("read TimeStamp_Interface 4096 64"));  // which the service refuses
}

TEST_F(FPGATest, SecondInitClosesWhatTheFirstOpened)
{
    init();
    m_fpga.InitFpga(m_devmem);
    EXPECT_EQ(m_devmem->calls.at(0), "close Processor_Interface");
    EXPECT_EQ(m_devmem->calls.at(9), "open Processor_Interface");
    m_memory.setSystemCount(5);
    EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 5u);
    m_fpga.DoneFpga();
    EXPECT_EQ(m_devmem.use_count(), 1);
}

TEST_F(FPGATest, SystemCountStandsAt128)
{
    m_memory.setSystemCount(0x8877665544332211);
    init();
    EXPECT_THAT(callsOf([this] { EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 0x8877665544332211u); }),
                ElementsAre("read TimeStamp_Interface 128 64"));
}

TEST_F(FPGATest, SystemCountMakesNoSystemCall)
{
    m_memory.setSystemCount(42);
    m_fpga.InitFpga(m_desk.devmem);
    const int status = inChild([this] {
        std::uint64_t sum = m_fpga.fpga_get_SystemCount();
        if (!confineSystemCalls(SYS_exit_group, SECCOMP_RET_ALLOW, SECCOMP_RET_KILL_PROCESS)) return kNotPossible;
        for (int i = 0; i < 9; ++i) sum += m_fpga.fpga_get_SystemCount();
        return sum == 420 ? 0 : 1;
    });
    if (status == kNotPossible) GTEST_SKIP() << "system calls can't be refused here";
    EXPECT_EQ(status, 0);
}

TEST_F(FPGATest, SystemCountIsZeroBeforeInitAndAfterDone)
{
    m_memory.setSystemCount(1234);
    EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 0u);
    init();
    EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 1234u);
    m_fpga.DoneFpga();
    EXPECT_THAT(callsOf([this] { EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 0u); }), IsEmpty());
}

TEST_F(FPGATest, FailedReadIsZero)
{
    m_memory.setSystemCount(1234);
    init();
    m_devmem->refuse("read TimeStamp_Interface 128 64", FACE::RETURN_CODE_TYPE::INVALID_MODE);
    EXPECT_EQ(m_fpga.fpga_get_SystemCount(), 0u);
}

TEST_F(FPGATest, CountsAreClearedByDone)
{
    init();
    m_fpga.DoneFpga();
    EXPECT_THAT(callsOf([this] {
                    EXPECT_EQ(m_fpga.getUartDelay(0), 0u);
                    EXPECT_EQ(m_fpga.getPtfeFirmwareId(0), 0u);
                    EXPECT_EQ(m_fpga.getAndClearPtfeStatus(0), 0u);
                    m_fpga.fpga_ptfe_soft_reset(0);
                    m_fpga.fpga_ptfe_init(0, {});
                    m_fpga.fpga_set_ppsSlave_control(0, 1);
                    m_fpga.fpga_pulsegen_adjust_Int_phase(0, 1);
                }),
                IsEmpty());
}

namespace {

/// A reading operation of one index: what it reads, and how often that is there.
struct Reader {
    const char* name;
    std::function<std::uint64_t(const FpgaFace&, std::uint32_t)> read;
    std::uint32_t address;  // of index 0
    std::uint32_t step;     // from one index to the next, in memory
    unsigned width;
    std::uint32_t count;
    const char* access;  // of index 1
    std::uint64_t ofOnes = ~std::uint64_t{0};
};

template <class Value>
std::function<std::uint64_t(const FpgaFace&, std::uint32_t)> reading(Value (FpgaFace::*member)(std::uint32_t) const)
{
    return [member](const FpgaFace& fpga, std::uint32_t index) -> std::uint64_t { return (fpga.*member)(index); };
}

const std::vector<Reader>& readers()
{
    using F = FpgaFace;
    using M = FpgaMemory;
    static const std::vector<Reader> all = {
        {"pulse", reading(&F::getPulseTimestampRaw), M::kTimeStamp + 136, 8, 64, 5, "read TimeStamp_Interface 144 64"},
        {"delay", reading(&F::getUartDelay), M::kTimeStamp + 384, 8, 32, 3, "read TimeStamp_Interface 392 32"},
        {"uart", reading(&F::getUARTDataTimestampRaw), M::kTimeStamp + 512, 8, 64, 3,
         "read TimeStamp_Interface 520 64"},
        {"periph", reading(&F::fpga_get_periph_control), M::kPeripheral, 4, 32, 4, "read Peripheral_Interface 4 32"},
        {"pps", reading(&F::fpga_get_ppsSlave_control), M::kPpsSlave, 4, 32, 9, "read PpsSlave_Interface 4 32"},
        {"ptp", reading(&F::fpga_get_ptpClock_control), M::kPtpClock, 4, 32, 30, "read PtpClock_Interface 4 32"},
        {"id", reading(&F::getPtfeFirmwareId), M::kPtfe, 0x1000, 64, 2, "read Ptfe_Interface1 interface 0 64"},
        {"freq", reading(&F::getPtfeMeasuredFreqEstimate), M::kPtfe + 16, 0x1000, 32, 2,
         "read Ptfe_Interface1 interface 16 32"},
        {"status", reading(&F::getPtfeStatus), M::kPtfe + 24, 0x1000, 32, 2, "read Ptfe_Interface1 interface 24 32"},
        {"rate", reading(&F::getDfNcoRate), M::kPtfe + 32, 0x1000, 64, 2, "read Ptfe_Interface1 interface 32 64",
         0xFFFFFFFFFFF},
        {"phase", reading(&F::getDtNcoPhase), M::kPtfe + 48, 0x1000, 64, 2, "read Ptfe_Interface1 interface 48 64",
         0xFFFFFFFFFF},
        {"cycles", reading(&F::getDtCycles), M::kPtfe + 56, 0x1000, 32, 2, "read Ptfe_Interface1 interface 56 32"},
        {"int", reading(&F::fpga_pulsegen_get_Int_phase), M::kPulseGen + 4, 0x1000, 32, 2,
         "read PulseGen_Interface1 interface 4 32"},
        {"ext", reading(&F::fpga_pulsegen_get_Ext_phase), M::kPulseGen + 8, 0x1000, 32, 2,
         "read PulseGen_Interface1 interface 8 32"}};
    return all;
}

/// A writing operation of one index, that writes 0xA5A5A5A5.
struct Writer {
    const char* name;
    std::function<void(FpgaFace&, std::uint32_t)> write;
    std::uint32_t count;
    const char* access;  // of index 1
};

template <class Value>
std::function<void(FpgaFace&, std::uint32_t)> writing(void (FpgaFace::*member)(std::uint32_t, Value) const)
{
    return [member](FpgaFace& fpga, std::uint32_t index) { (fpga.*member)(index, Value{0xA5A5A5A5}); };
}

const std::vector<Writer>& writers()
{
    using F = FpgaFace;
    static const std::vector<Writer> all = {
        {"delay", writing<std::uint32_t>(&F::setUartDelay), 3, "write TimeStamp_Interface 392 32 2779096485"},
        {"periph", writing<std::uint32_t>(&F::fpga_set_periph_control), 4,
         "write Peripheral_Interface 4 32 2779096485"},
        {"pps", writing<std::uint32_t>(&F::fpga_set_ppsSlave_control), 9, "write PpsSlave_Interface 4 32 2779096485"},
        {"ptp", writing<std::uint32_t>(&F::fpga_set_ptpClock_control), 30, "write PtpClock_Interface 4 32 2779096485"},
        {"rate", writing<std::uint64_t>(&F::setPtfeDefaultNcoRate), 2,
         "write Ptfe_Interface1 interface 200 64 2779096485"},
        {"int", writing<std::uint32_t>(&F::fpga_pulsegen_set_Int_phase), 2,
         "write PulseGen_Interface1 interface 4 32 2779096485"},
        {"ext", writing<std::uint32_t>(&F::fpga_pulsegen_set_Ext_phase), 2,
         "write PulseGen_Interface1 interface 8 32 2779096485"},
        {"reset", [](F& fpga, std::uint32_t index) { fpga.fpga_reset_periph_control(index); }, 4,
         "write Peripheral_Interface 4 32 0"},
        {"soft reset", [](F& fpga, std::uint32_t index) { fpga.fpga_ptfe_soft_reset(index); }, 2,
         "write Ptfe_Interface1 interface 0 32 1"}};
    return all;
}

}  // namespace

TEST_F(FPGATest, EachReaderReadsItsRegisterInItsWidth)
{
    init();
    for (const Reader& reader : readers()) {
        m_memory.set64(reader.address + reader.step, kFloating);
        const std::uint64_t ones = reader.width == 32 ? 0xFFFFFFFF : reader.ofOnes;
        EXPECT_THAT(callsOf([&] { EXPECT_EQ(reader.read(m_fpga, 1), ones) << reader.name; }),
                    ElementsAre(reader.access));
        m_memory.set64(reader.address + reader.step, 0);
    }
}

TEST_F(FPGATest, LastIndexIsReadAndTheNextIsZeroWithoutAccess)
{
    init();
    for (const Reader& reader : readers()) {
        m_memory.set32(reader.address + reader.step * (reader.count - 1), 0x1234);
        EXPECT_EQ(reader.read(m_fpga, reader.count - 1), 0x1234u) << reader.name;
        for (const std::uint32_t index : {reader.count, std::numeric_limits<std::uint32_t>::max()})
            EXPECT_THAT(callsOf([&] { EXPECT_EQ(reader.read(m_fpga, index), 0u) << reader.name; }), IsEmpty());
    }
}

TEST_F(FPGATest, EachWriterWritesItsRegisterInItsWidth)
{
    init();
    for (const Writer& writer : writers())
        EXPECT_THAT(callsOf([&] { writer.write(m_fpga, 1); }), ElementsAre(writer.access)) << writer.name;
}

TEST_F(FPGATest, LastIndexIsWrittenAndTheNextMakesNoAccess)
{
    init();
    for (const Writer& writer : writers()) {
        EXPECT_EQ(callsOf([&] { writer.write(m_fpga, writer.count - 1); }).size(), 1u) << writer.name;
        for (const std::uint32_t index : {writer.count, std::numeric_limits<std::uint32_t>::max()})
            EXPECT_THAT(callsOf([&] { writer.write(m_fpga, index); }), IsEmpty()) << writer.name;
    }
}

TEST_F(FPGATest, WritesReachTheMemory)
{
    init();
    m_fpga.setUartDelay(2, 77);
    EXPECT_EQ(m_memory.get64(FpgaMemory::kTimeStamp + 400), 77u);
    m_fpga.setPtfeDefaultNcoRate(1, 0x123456789ABCDEF0);
    EXPECT_EQ(m_memory.get64(FpgaMemory::kPtfe + 0x1000 + 200), 0x123456789ABCDEF0u);
}

TEST_F(FPGATest, DelaysInSecondsAreAddedAndRoundedToTicks)
{
    EXPECT_EQ(FpgaFace::uartDelayTicks(0.25, 0.125, 0.125), 29491200u);
    EXPECT_EQ(FpgaFace::uartDelayTicks(1e-6, 0, 0), 59u);  // of 58.98
    EXPECT_EQ(FpgaFace::uartDelayTicks(8e-9, 0, 0), 0u);   // of 0.47
    init();
    EXPECT_THAT(callsOf([this] { m_fpga.setUartDelay(0, 0.25, 0.125, 0.125); }),
                ElementsAre("write TimeStamp_Interface 384 32 29491200"));
}

TEST_F(FPGATest, DelayThatDoesNotFitIsTheNearestLimit)
{
    EXPECT_EQ(FpgaFace::uartDelayTicks(100, 0, 0), 0xFFFFFFFFu);
    EXPECT_EQ(FpgaFace::uartDelayTicks(-1, 0, 0), 0u);
    EXPECT_EQ(FpgaFace::uartDelayTicks(std::numeric_limits<double>::infinity(), 0, 0), 0xFFFFFFFFu);
    EXPECT_EQ(FpgaFace::uartDelayTicks(std::numeric_limits<double>::quiet_NaN(), 0, 0), 0u);
}

TEST_F(FPGATest, PtfeInitOfASetupThatNamesNothingWritesZeros)
{
    init();
    EXPECT_THAT(callsOf([this] { m_fpga.fpga_ptfe_init(0, {}); }),
                ElementsAre("write Ptfe_Interface0 interface 0 32 0", "write Ptfe_Interface0 interface 64 32 0",
                            "write Ptfe_Interface0 interface 144 32 0", "write Ptfe_Interface0 interface 152 32 0",
                            "write Ptfe_Interface0 interface 288 32 0"));
}

TEST_F(FPGATest, PtfeInitWritesControlAndSetup)
{
    init();
    EXPECT_THAT(callsOf([this] {
                    m_fpga.fpga_ptfe_init(1, {10, 11, 12, 13, 14});
                }),
                ElementsAre("write Ptfe_Interface1 interface 0 32 10", "write Ptfe_Interface1 interface 64 32 11",
                            "write Ptfe_Interface1 interface 144 32 12", "write Ptfe_Interface1 interface 152 32 13",
                            "write Ptfe_Interface1 interface 288 32 14"));
    EXPECT_THAT(callsOf([this] { m_fpga.fpga_ptfe_init(2, {}); }), IsEmpty());
}

TEST_F(FPGATest, SoftResetInvertsBitZeroOfTheControlWordWithoutReadingIt)
{
    init();
    m_fpga.fpga_ptfe_init(0, {0x31, 0, 0, 0, 0});
    EXPECT_THAT(callsOf([this] {
                    m_fpga.fpga_ptfe_soft_reset(0);
                    m_fpga.fpga_ptfe_soft_reset(0);
                }),
                ElementsAre("write Ptfe_Interface0 interface 0 32 48", "write Ptfe_Interface0 interface 0 32 49"));
}

TEST_F(FPGATest, StatusIsClearedAfterItIsRead)
{
    init();
    m_memory.set32(FpgaMemory::kPtfe + 24, 0xABCD);
    EXPECT_THAT(callsOf([this] { EXPECT_EQ(m_fpga.getAndClearPtfeStatus(0), 0xABCDu); }),
                ElementsAre("read Ptfe_Interface0 interface 24 32", "write Ptfe_Interface0 interface 24 32 0"));
    EXPECT_EQ(m_fpga.getPtfeStatus(0), 0u);
}

TEST_F(FPGATest, StatusThatCantBeReadIsNotCleared)
{
    init();
    m_devmem->refuse("read Ptfe_Interface0 interface 24 32", FACE::RETURN_CODE_TYPE::INVALID_MODE);
    EXPECT_THAT(callsOf([this] { EXPECT_EQ(m_fpga.getAndClearPtfeStatus(0), 0u); }),
                ElementsAre("read Ptfe_Interface0 interface 24 32"));
}

TEST_F(FPGATest, PhasesAreAdjustedByASignedAmountModulo32Bits)
{
    init();
    m_fpga.fpga_pulsegen_set_Int_phase(1, 10);
    m_fpga.fpga_pulsegen_adjust_Int_phase(1, -3);
    EXPECT_EQ(m_fpga.fpga_pulsegen_get_Int_phase(1), 7u);
    m_fpga.fpga_pulsegen_adjust_Int_phase(1, -8);
    EXPECT_EQ(m_fpga.fpga_pulsegen_get_Int_phase(1), 0xFFFFFFFFu);
    m_fpga.fpga_pulsegen_adjust_Ext_phase(1, 5);
    EXPECT_EQ(m_fpga.fpga_pulsegen_get_Ext_phase(1), 5u);
    EXPECT_THAT(callsOf([this] { m_fpga.fpga_pulsegen_adjust_Ext_phase(2, 5); }), IsEmpty());
}

TEST_F(FPGATest, PhaseThatCantBeReadIsNotAdjusted)
{
    init();
    m_devmem->refuse("read PulseGen_Interface0 interface 4 32", FACE::RETURN_CODE_TYPE::INVALID_MODE);
    EXPECT_THAT(callsOf([this] { m_fpga.fpga_pulsegen_adjust_Int_phase(0, 5); }),
                ElementsAre("read PulseGen_Interface0 interface 4 32"));
}

TEST_F(FPGATest, BuildStampHasNothingBetweenDateAndTime)
{
    m_memory.set32(FpgaMemory::kProcessor + 8, 0x20230415);
    m_memory.set32(FpgaMemory::kProcessor + 12, 0xFFFF1247);
    init();
    EXPECT_THAT(callsOf([this] { EXPECT_EQ(m_fpga.getFirmwareBuildStamp(), "202304-1512:47:00"); }),
                ElementsAre("read Processor_Interface 8 32", "read Processor_Interface 12 32"));
}

TEST_F(FPGATest, BuildStampWithoutAnFpgaIsZeros)
{
    EXPECT_EQ(m_fpga.getFirmwareBuildStamp(), "000000-0000:00:00");
}

TEST_F(FPGATest, ConfigurationIsATableOfLabelsAndValues)
{
    const std::uint32_t words[] = {0x5A454E54, 0x4F523031, 0x20230415, 0x00001247,
                                   0x33343531, 0x32393031, 0x31384220, 0x412D3031};
    for (std::uint32_t i = 0; i < 8; ++i) m_memory.set32(FpgaMemory::kProcessor + 4 * i, words[i]);
    init();
    EXPECT_EQ(m_fpga.getFirmwareConfiguration(), "Sarvent FPGA Firmware:, ZENTOR01,Date YMD:,2023-04-15,"
                                                 "Time  HHMM:,12:47,KPN:,3451-2901-18B Rev:A-01");
}

TEST_F(FPGATest, CharactersAreTakenAsTheyCome)
{
    m_memory.set32(FpgaMemory::kProcessor + 28, 0xFF00807F);
    init();
    const std::string text = m_fpga.getFirmwareConfiguration();
    EXPECT_EQ(text.substr(text.size() - 4), std::string("\xFF\x00\x80\x7F", 4));
}

TEST(FPGAShutdownTest, ReadersSeeTheCountOrZeroWhileInitAndDoneRun)
{
    const FpgaDesk desk{1};
    desk.memory.setPtfes(1);
    desk.memory.setUarts(1);
    desk.memory.setSystemCount(0x0123456789ABCDEF);
    FpgaFace fpga;
    std::atomic<bool> stop = false;
    std::atomic<int> counts = 0;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            while (!stop) {  // without a pause, so that there is always a reader
                const std::uint64_t count = fpga.fpga_get_SystemCount();
                if (count == 0x0123456789ABCDEF)
                    ++counts;
                else if (count != 0)
                    ++wrong;
                fpga.getUartDelay(0);
                fpga.fpga_pulsegen_adjust_Int_phase(0, 1);
            }
        });
    for (int i = 0; i < 50; ++i) {
        const int before = counts;
        fpga.InitFpga(desk.devmem);
        EXPECT_TRUE(eventually([&] { return counts > before; }));
        fpga.DoneFpga();
        EXPECT_EQ(fpga.fpga_get_SystemCount(), 0u);
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(FPGAShutdownTest, InitTurnsAccessesAwayWhileItWaitsForOneThatIsUnderWay)
{
    const FpgaDesk desk;
    desk.memory.setSystemCount(99);
    const auto devmem = std::make_shared<WaitingDevmem>(desk.devmem);
    FpgaFace fpga;
    fpga.InitFpga(devmem);
    devmem->holdsNext = true;
    std::thread reader([&] { EXPECT_EQ(fpga.fpga_get_SystemCount(), 99u); });
    devmem->held.get_future().wait();
    std::thread second([&] { fpga.InitFpga(devmem); });
    EXPECT_TRUE(eventually([&] { return fpga.fpga_get_SystemCount() == 0; }));
    devmem->released.set_value();
    reader.join();
    second.join();
    EXPECT_EQ(fpga.fpga_get_SystemCount(), 99u);
}

TEST(FPGAShutdownTest, ServiceMayDieRightAfterDone)
{
    auto desk = std::make_unique<FpgaDesk>();
    desk->memory.setSystemCount(99);
    FpgaFace fpga;
    fpga.InitFpga(desk->devmem);
    std::atomic<bool> stop = false;
    std::atomic<bool> seen = false;
    std::thread reader([&] {
        while (!stop)
            if (fpga.fpga_get_SystemCount() == 99) seen = true;
    });
    EXPECT_TRUE(eventually([&] { return seen.load(); }));
    fpga.DoneFpga();
    const std::weak_ptr<FACE::IOSS::HX_Devmem> devmem = desk->devmem;
    desk.reset();
    EXPECT_TRUE(devmem.expired());
    stop = true;
    reader.join();
}
