#include "face/HX_Devmem.h"

#include "face/HX_Config.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RegisterFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using FACE::RETURN_CODE_TYPE;
using FACE::IOSS::CONNECTION_STATUS_TYPE;
using FACE::IOSS::HX_Devmem;
using FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE;
using FACE::IOSS::IO_PARAMETER_TYPE;
using testing::MatchesRegex;

static_assert(std::is_base_of_v<FACE::IOSS::Devmem::IO_Service, HX_Devmem>);
static_assert(std::is_base_of_v<FACE::Configuration_Injectable::Injectable, HX_Devmem>);
static_assert(!std::is_copy_constructible_v<HX_Devmem> && !std::is_copy_assignable_v<HX_Devmem>);

namespace {

constexpr auto kNone = RETURN_CODE_TYPE::DATA_OVERFLOW;  // no operation answers this
constexpr std::uint32_t kBase = 0x43C00000;
constexpr long long kTimeout = -1;

struct Opened {
    int rc;
    long long handle;
    bool operator==(const Opened&) const = default;
};

struct Access {
    int rc;
    std::uint64_t value;
    bool operator==(const Access&) const = default;
};

struct Status {
    int rc;
    int state;
    bool operator==(const Status&) const = default;
};

class NoCallback : public FACE::IOSS::Devmem::IO_Callback {
    void Process_Notification_Event(long long, FACE::IOSS::NOTIFICATION_EVENT_TYPE::Value,
                                    RETURN_CODE_TYPE::Value&) override
    {}
};

IO_PARAMETER_TYPE parameter(std::uint16_t id, std::uint32_t value)
{
    IO_PARAMETER_TYPE made;
    made.id = id;
    made.value.ulong_value(value);
    return made;
}

/// A service on a file, with "Block" (0x100 bytes at `kBase`), "Other", and connections that lack something.
class HX_DevmemTest : public testing::Test {
protected:
    long long m_timeout = kTimeout;

    HX_DevmemTest()
    {
        set_reference(m_config);
        RETURN_CODE_TYPE::Value rc = kNone;
        m_devmem.Initialize(m_devicesFile.c_str(), rc);
        if (rc != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no configuration");
    }

    int set_reference(const std::shared_ptr<FACE::Configuration>& config)
    {
        RETURN_CODE_TYPE::Value rc = kNone;
        m_devmem.Set_Reference("any name", config, 0, rc);
        return rc;
    }

    Opened open(const char* name = "Block")
    {
        RETURN_CODE_TYPE::Value rc = kNone;
        long long handle = -7;
        m_devmem.Open_Connection(name, m_timeout, handle, rc);
        return {rc, handle};
    }

    int close(long long handle = 0)
    {
        RETURN_CODE_TYPE::Value rc = kNone;
        m_devmem.Close_Connection(handle, rc);
        return rc;
    }

    /// The value is 7 if the call left it alone.
    Access read(std::uint32_t offset, std::uint32_t width, long long handle = 0)
    {
        RETURN_CODE_TYPE::Value rc = kNone;
        FACE::IOSS::Devmem::READ_PAYLOAD_TYPE payload{1, offset, width, 7};
        m_devmem.Read(handle, m_timeout, payload, rc);
        EXPECT_EQ(payload.reserved, 0u);
        return {rc, payload.value};
    }

    int write(std::uint32_t offset, std::uint32_t width, std::uint64_t value, long long handle = 0)
    {
        RETURN_CODE_TYPE::Value rc = kNone;
        m_devmem.Write(handle, m_timeout, {offset, width, value}, rc);
        return rc;
    }

    int configure(const std::vector<IO_PARAMETER_TYPE>& parameters, long long handle = 0)
    {
        IO_PARAMETER_TRANSACTION_TYPE transaction;
        for (const IO_PARAMETER_TYPE& each : parameters) transaction.append(each);
        RETURN_CODE_TYPE::Value rc = kNone;
        m_devmem.Configure_Connection_Parameters(handle, m_timeout, transaction, rc);
        return rc;
    }

    /// The values that were filled in, of the kind `ulong_value`; 7 where it is another kind.
    std::vector<std::uint32_t> configuration(const std::vector<std::uint16_t>& ids, int& code, long long handle = 0)
    {
        IO_PARAMETER_TRANSACTION_TYPE transaction;
        for (const std::uint16_t id : ids) transaction.append({id, {}});
        RETURN_CODE_TYPE::Value rc = kNone;
        m_devmem.Get_Connection_Configuration(handle, transaction, rc);
        code = rc;
        std::vector<std::uint32_t> values(ids.size(), 7);
        for (std::uint32_t i = 0; i < values.size(); ++i) transaction[i].value.ulong_value(values[i], rc);
        return values;
    }

    /// Of base address and size.
    std::vector<std::uint32_t> range()
    {
        int code = -1;
        const std::vector<std::uint32_t> values = configuration({0, 1}, code);
        EXPECT_EQ(code, 0);
        return values;
    }

    Status status(long long handle = 0)
    {
        CONNECTION_STATUS_TYPE found{7, 7, FACE::IOSS::CONNECTION_STATE_TYPE::OPENING};
        RETURN_CODE_TYPE::Value rc = kNone;
        m_devmem.Get_Connection_Status(handle, found, rc);
        if (rc == RETURN_CODE_TYPE::NO_ERROR) {
            EXPECT_EQ(found.reserved, 0);
            EXPECT_EQ(found.present, 1);
        }
        return {rc, found.state};
    }

    const RegisterFile m_registers;
    const MemoryDeviceFileDescriptor m_memory{m_registers.path().c_str()};
    std::atomic<bool> m_memoryIsMissing = false;
    const TemporaryDirectory m_directory;
    const std::string m_devicesFile =
        m_directory.write("devices.xml", devicesFileText({{"Block", "0x43C00000", "0x100"},
                                                          {"Other", "0x43C00104", "16"},
                                                          {"Octal", "0100000", "040"},
                                                          {"Decimal", "65536", "8192"},
                                                          {"Words", "abc", "xyz"},
                                                          {"Wide", "0x123456789", "0x100000010"},
                                                          {"High", "0xFFFFF000", "0x1000"},
                                                          {"All", "0", "0xFFFFFFFF"},
                                                          {"Tiny", "0x43C00000", "3"},
                                                          {"No base", "", "16"},
                                                          {"No size", "0x43C00000", ""},
                                                          {"Last", "0", "8"}}));
    const std::shared_ptr<FACE::HX_Config> m_config = std::make_shared<FACE::HX_Config>();
    HX_Devmem m_devmem{[this]() -> const MemoryDeviceFileDescriptor& {
        if (m_memoryIsMissing) throw std::runtime_error("Unable to open /dev/mem file descriptor.");
        return m_memory;
    }};
};

/// Answers its initialization with a code.
class AnsweringConfig : public FACE::HX_Config {
public:
    RETURN_CODE_TYPE::Value answer = RETURN_CODE_TYPE::NO_ERROR;

    void Initialize(const FACE::String&, RETURN_CODE_TYPE::Value& code) override { code = answer; }
};

/// While this object lives, whatever is written to the standard error throws.
class BrokenErrors {
public:
    BrokenErrors() : m_previous(std::cerr.rdbuf(&m_nowhere)) { std::cerr.exceptions(std::ios::badbit); }
    ~BrokenErrors()
    {
        std::cerr.exceptions(std::ios::goodbit);
        std::cerr.rdbuf(m_previous);
    }
    BrokenErrors(const BrokenErrors&) = delete;
    BrokenErrors& operator=(const BrokenErrors&) = delete;

private:
    struct : std::streambuf {
    } m_nowhere;
    std::streambuf* m_previous;
};

int initialize(HX_Devmem& devmem, const FACE::String& path)
{
    RETURN_CODE_TYPE::Value rc = kNone;
    devmem.Initialize(path, rc);
    return rc;
}

}  // namespace

TEST_F(HX_DevmemTest, SecondReferenceIsRefusedBeforeANullOneIs)
{
    EXPECT_EQ(set_reference(std::make_shared<FACE::HX_Config>()), 2);
    EXPECT_EQ(set_reference(nullptr), 2);
    EXPECT_EQ(open(), (Opened{0, 0}));
}

TEST_F(HX_DevmemTest, SecondInitializeIsNoAction)
{
    EXPECT_EQ(initialize(m_devmem, m_devicesFile.c_str()), 1);
}

TEST(HX_DevmemReferenceTest, NullReferenceIsInvalidAndLeavesRoomForAnother)
{
    HX_Devmem devmem;
    RETURN_CODE_TYPE::Value rc = kNone;
    devmem.Set_Reference("", nullptr, 0, rc);
    EXPECT_EQ(rc, 3);
    devmem.Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, rc);
    EXPECT_EQ(rc, 0);
}

TEST(HX_DevmemReferenceTest, BothInterfacesTakeTheReference)
{
    HX_Devmem devmem;
    FACE::IOSS::Devmem::IO_Service& service = devmem;
    FACE::Configuration_Injectable::Injectable& injectable = devmem;
    RETURN_CODE_TYPE::Value rc = kNone;
    injectable.Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, rc);
    EXPECT_EQ(rc, 0);
    service.Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, rc);
    EXPECT_EQ(rc, 2);
}

TEST(HX_DevmemReferenceTest, WithoutAReferenceNothingIsConfigured)
{
    HX_Devmem devmem;
    EXPECT_EQ(initialize(devmem, "devices.xml"), 4);
    RETURN_CODE_TYPE::Value rc = kNone;
    long long handle = -7;
    devmem.Open_Connection("Block", kTimeout, handle, rc);
    EXPECT_EQ(rc, 4);
    EXPECT_EQ(handle, -1);
}

TEST(HX_DevmemReferenceTest, InitializeThatFailedMayBeTriedAgain)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("devices.xml", devicesFileText({}));
    HX_Devmem devmem;
    RETURN_CODE_TYPE::Value rc = kNone;
    devmem.Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, rc);
    EXPECT_EQ(initialize(devmem, (path + "x").c_str()), 4);
    EXPECT_EQ(initialize(devmem, path.c_str()), 0);
    EXPECT_EQ(initialize(devmem, path.c_str()), 1);
}

TEST(HX_DevmemReferenceTest, NoActionOfTheConfigurationIsSuccess)
{
    HX_Devmem devmem;
    const auto config = std::make_shared<AnsweringConfig>();
    RETURN_CODE_TYPE::Value rc = kNone;
    devmem.Set_Reference("", config, 0, rc);
    config->answer = RETURN_CODE_TYPE::NOT_AVAILABLE;
    EXPECT_EQ(initialize(devmem, "devices.xml"), 4);
    config->answer = RETURN_CODE_TYPE::NO_ACTION;
    EXPECT_EQ(initialize(devmem, "devices.xml"), 0);
    EXPECT_EQ(initialize(devmem, "devices.xml"), 1);
}

TEST(HX_DevmemReferenceTest, OpenBeforeInitializeIsInvalidConfig)
{
    HX_Devmem devmem;
    RETURN_CODE_TYPE::Value rc = kNone;
    devmem.Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, rc);
    long long handle = -7;
    devmem.Open_Connection("Block", kTimeout, handle, rc);
    EXPECT_EQ(rc, 4);
    EXPECT_EQ(handle, -1);
}

TEST(HX_DevmemReferenceTest, ExceptionOfTheConfigurationIsOneLineWithItsLineNumber)
{
    HX_Devmem devmem;
    RETURN_CODE_TYPE::Value rc = kNone;
    devmem.Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, rc);
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(initialize(devmem, FACE::String(nullptr)), 4);
    EXPECT_THAT(errors.text(), MatchesRegex("[0-9]+ HX_Config: path is null\n"));
}

TEST_F(HX_DevmemTest, ExceptionAtOpenIsOneLineWithItsLineNumber)
{
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(open(nullptr), (Opened{4, -1}));
    EXPECT_THAT(errors.text(), MatchesRegex("[0-9]+ HX_Config: name is null\n"));
}

TEST_F(HX_DevmemTest, HandlesCountInOrderOfFirstOpening)
{
    EXPECT_EQ(open("Other"), (Opened{0, 0}));
    EXPECT_EQ(open("Block"), (Opened{0, 1}));
    EXPECT_EQ(open("Other"), (Opened{0, 0}));
}

TEST_F(HX_DevmemTest, ClosedConnectionKeepsItsHandle)
{
    open("Block");
    open("Other");
    EXPECT_EQ(close(0), 0);
    EXPECT_EQ(close(0), 11);
    EXPECT_EQ(open("Block"), (Opened{0, 0}));
}

TEST_F(HX_DevmemTest, TimeOutsAreIgnored)
{
    constexpr auto kLeast = std::numeric_limits<long long>::min();
    constexpr auto kMost = std::numeric_limits<long long>::max();
    for (const long long timeout : {0LL, 1LL, -1LL, kMost, kLeast}) {
        m_timeout = timeout;
        EXPECT_EQ(open(), (Opened{0, 0})) << timeout;
        EXPECT_EQ(write(8, 32, 5), 0) << timeout;
        EXPECT_EQ(read(8, 32), (Access{0, 5})) << timeout;
        EXPECT_EQ(configure({parameter(1, 0x100)}), 1) << timeout;
        EXPECT_EQ(close(), 0);
        EXPECT_EQ(configure({parameter(1, 0x100)}), 0) << timeout;
    }
}

TEST_F(HX_DevmemTest, ConnectionThatIsNotDescribedIsInvalidConfigAndEntersNoList)
{
    EXPECT_EQ(open("Nobody"), (Opened{4, -1}));
    EXPECT_EQ(open("Block"), (Opened{0, 0}));
}

TEST_F(HX_DevmemTest, MissingKeyIsInvalidConfigWithAWarning)
{
    const ConsoleCapture output(std::cout);
    EXPECT_EQ(open("No base"), (Opened{4, -1}));
    EXPECT_EQ(output.text(), "WARNING - Parameter BaseAddress not found\n");
    EXPECT_EQ(open("No size"), (Opened{4, -1}));
    EXPECT_EQ(output.text(), "WARNING - Parameter BaseAddress not found\nWARNING - Parameter Size not found\n");
    EXPECT_EQ(open("Block"), (Opened{0, 0}));
}

TEST_F(HX_DevmemTest, RecordOfTheConfigurationIsClosedInEveryCase)
{
    // One handle serves all records of an element name: one that stayed open would come back.
    RETURN_CODE_TYPE::Value rc = kNone;
    int first = -1;
    int last = -1;
    m_config->Open("Last", first, rc);
    m_config->Close(first, rc);
    for (const char* name : {"Block", "No base", "No size"}) {
        const ConsoleCapture output(std::cout);
        open(name);
    }
    m_config->Open("Last", last, rc);
    EXPECT_EQ(last, first + 4);
}

TEST_F(HX_DevmemTest, NumbersMayBeOctalDecimalOrHexadecimal)
{
    open("Octal");
    EXPECT_EQ(range(), (std::vector<std::uint32_t>{32768, 32}));
    open("Decimal");
    int rc = -1;
    EXPECT_EQ(configuration({0, 1}, rc, 1), (std::vector<std::uint32_t>{65536, 8192}));
    open("Block");
    EXPECT_EQ(configuration({0, 1}, rc, 2), (std::vector<std::uint32_t>{0x43C00000, 256}));
}

TEST_F(HX_DevmemTest, NumbersAreCutTo32BitsAndWordsAreZero)
{
    open("Wide");
    EXPECT_EQ(range(), (std::vector<std::uint32_t>{0x23456789, 16}));
    open("Words");
    int rc = -1;
    EXPECT_EQ(configuration({0, 1}, rc, 1), (std::vector<std::uint32_t>{0, 0}));
}

TEST_F(HX_DevmemTest, OffsetZeroIsExactlyTheBaseAddress)
{
    m_registers.set32(0x43C00104, 0xCAFEF00D);
    open("Other");
    EXPECT_EQ(read(0, 32), (Access{0, 0xCAFEF00D}));
}

TEST_F(HX_DevmemTest, AddressesOfTheUpperHalfAreReached)
{
    m_registers.set64(0xFFFFFFF8, 0x0102030405060708);
    open("High");
    EXPECT_EQ(read(0xFF8, 64), (Access{0, 0x0102030405060708}));
}

TEST_F(HX_DevmemTest, RangeOfAllAddressesCanBeMapped)
{
    if (sizeof(void*) < 8) GTEST_SKIP() << "needs more addresses than there are";
    m_registers.set8(0xFFFFFFFE, 0x5A);
    open("All");
    EXPECT_EQ(read(0xFFFFFFFE, 8), (Access{0, 0x5A}));
    EXPECT_EQ(read(0xFFFFFFFF, 8), (Access{1, 7}));
}

TEST_F(HX_DevmemTest, ReadsAreZeroExtended)
{
    m_registers.set64(kBase + 8, 0xF1F2F3F4F5F6F7F8);
    open();
    EXPECT_EQ(read(8, 8), (Access{0, 0xF8}));
    EXPECT_EQ(read(8, 16), (Access{0, 0xF7F8}));
    EXPECT_EQ(read(8, 32), (Access{0, 0xF5F6F7F8}));
    EXPECT_EQ(read(8, 64), (Access{0, 0xF1F2F3F4F5F6F7F8}));
}

TEST_F(HX_DevmemTest, WriteChangesExactlyItsWidth)
{
    open();
    const std::uint64_t all = ~std::uint64_t{0};
    EXPECT_EQ(write(0, 8, all), 0);
    EXPECT_EQ(m_registers.get64(kBase), 0xFFu);
    EXPECT_EQ(write(8, 16, all), 0);
    EXPECT_EQ(m_registers.get64(kBase + 8), 0xFFFFu);
    EXPECT_EQ(write(16, 32, all), 0);
    EXPECT_EQ(m_registers.get64(kBase + 16), 0xFFFFFFFFu);
    EXPECT_EQ(write(24, 64, 0xF1F2F3F4F5F6F7F8), 0);
    EXPECT_EQ(m_registers.get64(kBase + 24), 0xF1F2F3F4F5F6F7F8u);
    EXPECT_EQ(m_registers.get64(kBase + 32), 0u);
}

TEST_F(HX_DevmemTest, UnalignedAccessIsNotRefused)
{
    open();
    EXPECT_EQ(write(3, 32, 0xA1A2A3A4), 0);
    EXPECT_EQ(read(3, 32), (Access{0, 0xA1A2A3A4}));
}

TEST_F(HX_DevmemTest, LastAccessEndsWithTheRange)
{
    m_registers.set64(kBase + 248, 0x0807060504030201);
    open();
    EXPECT_EQ(read(255, 8), (Access{0, 0x08}));
    EXPECT_EQ(read(254, 16), (Access{0, 0x0807}));
    EXPECT_EQ(read(252, 32), (Access{0, 0x08070605}));
    EXPECT_EQ(read(248, 64), (Access{0, 0x0807060504030201}));
}

TEST_F(HX_DevmemTest, OneByteBeyondTheRangeIsNoActionWithoutAnAccess)
{
    open();
    EXPECT_EQ(read(256, 8), (Access{1, 7}));
    EXPECT_EQ(read(255, 16), (Access{1, 7}));
    EXPECT_EQ(read(253, 32), (Access{1, 7}));
    EXPECT_EQ(read(249, 64), (Access{1, 7}));
    EXPECT_EQ(read(0xFFFFFFFF, 64), (Access{1, 7}));
    EXPECT_EQ(write(253, 32, 0xFFFFFFFF), 1);
    EXPECT_EQ(m_registers.get64(kBase + 248), 0u);
}

TEST_F(HX_DevmemTest, RangeSmallerThanTheWidthIsNoAction)
{
    open("Tiny");
    EXPECT_EQ(read(0, 32), (Access{1, 7}));
    EXPECT_EQ(read(0, 64), (Access{1, 7}));
    EXPECT_EQ(read(1, 16), (Access{0, 0}));
    open("Words");  // of size 0
    EXPECT_EQ(read(0, 8, 1), (Access{1, 7}));
}

TEST_F(HX_DevmemTest, OtherWidthsAreNoAction)
{
    open();
    for (const std::uint32_t width : {0u, 1u, 7u, 12u, 24u, 48u, 65u, 128u, 0xFFFFFFFFu}) {
        EXPECT_EQ(read(0, width), (Access{1, 7})) << width;
        EXPECT_EQ(write(0, width, ~std::uint64_t{0}), 1) << width;
    }
    EXPECT_EQ(m_registers.get64(kBase), 0u);
}

TEST_F(HX_DevmemTest, HandleBeyondTheListIsInvalidParamInEveryOperation)
{
    open();
    NoCallback callback;
    for (const long long handle : {1LL, -1LL, 2LL, 0x100000000LL, -0x7FFFFFFFFFFFFFFFLL}) {
        EXPECT_EQ(read(0, 24, handle), (Access{3, 7})) << handle;
        EXPECT_EQ(write(0, 32, 1, handle), 3) << handle;
        EXPECT_EQ(close(handle), 3) << handle;
        EXPECT_EQ(configure({}, handle), 3) << handle;
        int rc = -1;
        configuration({0}, rc, handle);
        EXPECT_EQ(rc, 3) << handle;
        EXPECT_EQ(status(handle), (Status{3, 1})) << handle;
        RETURN_CODE_TYPE::Value code = kNone;
        FACE::IOSS::BUS_STATUS_TYPE bus = 7;
        m_devmem.Get_Bus_Status(handle, bus, code);
        EXPECT_EQ(code, 3) << handle;
        EXPECT_EQ(bus, 7) << handle;
        m_devmem.Register_Notification_Event(handle, callback, code);
        EXPECT_EQ(code, 3) << handle;
        code = kNone;
        m_devmem.Unregister_Notification_Event(handle, code);
        EXPECT_EQ(code, 3) << handle;
    }
}

TEST_F(HX_DevmemTest, ClosedConnectionIsConnectionClosed)
{
    open();
    close();
    NoCallback callback;
    RETURN_CODE_TYPE::Value rc = kNone;
    EXPECT_EQ(read(0, 24), (Access{11, 7}));
    EXPECT_EQ(write(0, 24, 1), 11);
    EXPECT_EQ(status(), (Status{11, 1}));
    m_devmem.Register_Notification_Event(0, callback, rc);
    EXPECT_EQ(rc, 11);
}

TEST_F(HX_DevmemTest, OpenConnectionIsInStateOpen)
{
    open();
    EXPECT_EQ(status(), (Status{0, 2}));
}

TEST_F(HX_DevmemTest, BusIsReadyEvenWhenTheConnectionIsClosed)
{
    open();
    close();
    RETURN_CODE_TYPE::Value rc = kNone;
    FACE::IOSS::BUS_STATUS_TYPE bus = 7;
    m_devmem.Get_Bus_Status(0, bus, rc);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(bus, 0);
}

TEST_F(HX_DevmemTest, MemoryHasNoNotifications)
{
    open();
    NoCallback callback;
    RETURN_CODE_TYPE::Value rc = kNone;
    m_devmem.Register_Notification_Event(0, callback, rc);
    EXPECT_EQ(rc, 1);
    rc = kNone;
    close();
    m_devmem.Unregister_Notification_Event(0, rc);
    EXPECT_EQ(rc, 1);
}

TEST_F(HX_DevmemTest, BusParametersAreNoActionForAnyHandle)
{
    IO_PARAMETER_TRANSACTION_TYPE transaction;
    RETURN_CODE_TYPE::Value rc = kNone;
    m_devmem.Configure_Bus_Parameters(-5, kTimeout, transaction, rc);
    EXPECT_EQ(rc, 1);
    rc = kNone;
    m_devmem.Get_Bus_Configuration(99, transaction, rc);
    EXPECT_EQ(rc, 1);
}

TEST_F(HX_DevmemTest, RangeOfAClosedConnectionCanBeChanged)
{
    m_registers.set32(0x50000004, 1234);
    open();
    close();
    EXPECT_EQ(configure({parameter(0, 0x50000004), parameter(1, 4)}), 0);
    EXPECT_EQ(open(), (Opened{0, 0}));
    EXPECT_EQ(read(0, 32), (Access{0, 1234}));
    EXPECT_EQ(read(1, 32), (Access{1, 7}));
}

TEST_F(HX_DevmemTest, OneParameterAloneLeavesTheOther)
{
    open();
    close();
    EXPECT_EQ(configure({parameter(1, 8)}), 0);
    EXPECT_EQ(range(), (std::vector<std::uint32_t>{kBase, 8}));
    EXPECT_EQ(configure({}), 0);
    EXPECT_EQ(range(), (std::vector<std::uint32_t>{kBase, 8}));
}

TEST_F(HX_DevmemTest, ConfiguringAnOpenConnectionChangesNothing)
{
    open();
    EXPECT_EQ(configure({parameter(0, 0), parameter(1, 8)}), 1);
    EXPECT_EQ(range(), (std::vector<std::uint32_t>{kBase, 256}));
    EXPECT_EQ(configure({parameter(2, 0)}), 1);
}

TEST_F(HX_DevmemTest, UnknownParameterChangesNothing)
{
    open();
    close();
    EXPECT_EQ(configure({parameter(0, 0), parameter(2, 0), parameter(1, 8)}), 3);
    EXPECT_EQ(configure({parameter(65535, 0)}), 3);
    EXPECT_EQ(range(), (std::vector<std::uint32_t>{kBase, 256}));
}

TEST_F(HX_DevmemTest, ValueOfAnotherKindChangesNothing)
{
    open();
    close();
    IO_PARAMETER_TYPE wrong{0, {}};
    wrong.value.long_value(0);
    EXPECT_EQ(configure({wrong, parameter(1, 8)}), 3);
    EXPECT_EQ(configure({parameter(1, 8), wrong}), 3);
    EXPECT_EQ(range(), (std::vector<std::uint32_t>{kBase, 256}));
}

TEST_F(HX_DevmemTest, UnknownParameterIsReportedAndTheOthersFilledIn)
{
    open();
    int rc = -1;
    EXPECT_EQ(configuration({0, 2, 1}, rc), (std::vector<std::uint32_t>{kBase, 7, 256}));
    EXPECT_EQ(rc, 3);
    close();
    EXPECT_EQ(configuration({1}, rc), (std::vector<std::uint32_t>{256}));
    EXPECT_EQ(rc, 0);
}

TEST_F(HX_DevmemTest, ConnectionWithoutMemoryIsOpenAndFailed)
{
    m_memoryIsMissing = true;
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(open(), (Opened{0, 0}));
    EXPECT_EQ(status(), (Status{0, 4}));
    EXPECT_EQ(read(0, 24), (Access{5, 7}));
    EXPECT_EQ(write(0, 32, 1), 5);
    EXPECT_THAT(errors.text(), MatchesRegex("[0-9]+ Unable to open /dev/mem file descriptor\\.\n"));
}

TEST_F(HX_DevmemTest, ConnectionWithoutMemoryIsOpenAndFailedEvenIfThatCantBeTold)
{
    m_memoryIsMissing = true;
    const BrokenErrors errors;
    EXPECT_EQ(open(), (Opened{0, 0}));
    EXPECT_EQ(status(), (Status{0, 4}));
}

TEST_F(HX_DevmemTest, FailedConnectionIsMappedAnewOnlyAfterAClose)
{
    m_memoryIsMissing = true;
    {
        const ConsoleCapture errors(std::cerr);
        open();
    }
    m_memoryIsMissing = false;
    EXPECT_EQ(open(), (Opened{0, 0}));
    EXPECT_EQ(status(), (Status{0, 4}));
    EXPECT_EQ(close(), 0);
    EXPECT_EQ(open(), (Opened{0, 0}));
    EXPECT_EQ(status(), (Status{0, 2}));
}

TEST_F(HX_DevmemTest, MapThatFailsGivesTheFailedState)
{
    const MemoryDeviceFileDescriptor nothing("/dev/null");
    HX_Devmem devmem([&]() -> const MemoryDeviceFileDescriptor& { return nothing; });
    RETURN_CODE_TYPE::Value rc = kNone;
    devmem.Set_Reference("", m_config, 0, rc);
    const ConsoleCapture errors(std::cerr);
    long long handle = -7;
    devmem.Open_Connection("Block", kTimeout, handle, rc);
    EXPECT_EQ(rc, 0);
    CONNECTION_STATUS_TYPE found;
    devmem.Get_Connection_Status(0, found, rc);
    EXPECT_EQ(found.state, 4);
    EXPECT_THAT(errors.text(), MatchesRegex("[0-9]+ Unable to map memory space\\.\n"));
}

TEST_F(HX_DevmemTest, CloseAndDestructorUnmap)
{
    {
        HX_Devmem devmem([this]() -> const MemoryDeviceFileDescriptor& { return m_memory; });
        RETURN_CODE_TYPE::Value rc = kNone;
        devmem.Set_Reference("", m_config, 0, rc);
        long long handle = -7;
        devmem.Open_Connection("Block", kTimeout, handle, rc);
        devmem.Open_Connection("High", kTimeout, handle, rc);
        EXPECT_EQ(mappingsOf(m_registers.path()), 2);
        devmem.Close_Connection(0, rc);
        EXPECT_EQ(mappingsOf(m_registers.path()), 1);
    }
    EXPECT_EQ(mappingsOf(m_registers.path()), 0);
}

TEST_F(HX_DevmemTest, ReadsBesideOpenAndCloseNeverTouchWhatIsUnmapped)
{
    m_registers.set32(kBase, 0x600DF00D);
    open();
    std::atomic<bool> stop = false;
    std::atomic<int> good = 0;
    std::atomic<int> closed = 0;
    std::atomic<int> other = 0;
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back([&] {
            while (!stop) {
                RETURN_CODE_TYPE::Value rc = kNone;
                FACE::IOSS::Devmem::READ_PAYLOAD_TYPE payload{0, 0, 32, 0};
                m_devmem.Read(0, kTimeout, payload, rc);
                const bool isGood = rc == RETURN_CODE_TYPE::NO_ERROR && payload.value == 0x600DF00D;
                ++(isGood ? good : rc == RETURN_CODE_TYPE::CONNECTION_CLOSED ? closed : other);
                std::this_thread::yield();
            }
        });
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(close(), 0);
        open("Other");  // the list grows and is searched beside the readers
        EXPECT_EQ(open(), (Opened{0, 0}));
    }
    EXPECT_TRUE(eventually([&] { return good > 0; }));
    close();
    const int before = closed;
    EXPECT_TRUE(eventually([&] { return closed > before; }));
    stop = true;
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(other, 0);
}

TEST_F(HX_DevmemTest, AccessesOfSeveralThreadsRunBesideEachOther)
{
    open();
    std::vector<std::thread> threads;
    std::atomic<int> failures = 0;
    for (std::uint32_t i = 0; i < 3; ++i)
        threads.emplace_back([&, i] {
            for (std::uint64_t n = 0; n < 2000; ++n) {
                const auto width = 8u << (n % 4);
                RETURN_CODE_TYPE::Value rc = kNone;
                m_devmem.Write(0, kTimeout, {8 * i, width, n}, rc);
                if (rc != RETURN_CODE_TYPE::NO_ERROR) ++failures;
                FACE::IOSS::Devmem::READ_PAYLOAD_TYPE payload{0, 8 * i, width, 0};
                m_devmem.Read(0, kTimeout, payload, rc);
                const std::uint64_t used = width == 8 ? 0xFF : ~std::uint64_t{0};
                if (rc != RETURN_CODE_TYPE::NO_ERROR || payload.value != (n & used)) ++failures;
                payload = {0, 8 * ((i + 1) % 3), width, 0};
                m_devmem.Read(0, kTimeout, payload, rc);
                if (rc != RETURN_CODE_TYPE::NO_ERROR) ++failures;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
}
