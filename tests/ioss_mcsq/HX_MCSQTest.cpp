#include "ioss_mcsq/HX_MCSQ.h"

#include "face/HX_Config.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/CodeOf.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/ProcessState.h"
#include "tests/support/QueueDevice.h"
#include "tests/support/TemporaryDirectory.h"
#include "utilities/Shielded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/fsuid.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <type_traits>
#include <unistd.h>
#include <vector>

using FACE::RETURN_CODE_TYPE;
using FACE::IOSS::CONNECTION_STATE_TYPE;
using FACE::IOSS::HX_MCSQ;
using FACE::IOSS::MCSQ::READ_PAYLOAD_TYPE;
using FACE::IOSS::MCSQ::WRITE_PAYLOAD_TYPE;
using testing::ContainsRegex;
using testing::MatchesRegex;

using Connection = HX_MCSQ::Connection_t;

static_assert(std::is_base_of_v<FACE::IOSS::MCSQ::IO_Service, HX_MCSQ>);
static_assert(std::is_base_of_v<FACE::Configuration_Injectable::Injectable, HX_MCSQ>);
static_assert(!std::is_copy_constructible_v<Connection> && !std::is_move_constructible_v<Connection>);

namespace {

READ_PAYLOAD_TYPE payloadOf(std::vector<std::uint8_t>& bytes)
{
    READ_PAYLOAD_TYPE::RETURN_CODE code{};
    const auto size = static_cast<std::uint32_t>(bytes.size());
    return READ_PAYLOAD_TYPE(bytes.data(), size, size, code);
}

/// One container, of "Port" 5, and a count of those that are open.
class CountingConfiguration : public FACE::Configuration {
public:
    int open = 0;
    bool throws = false;
    RETURN_CODE_TYPE::Value initialized = RETURN_CODE_TYPE::NO_ERROR;

    void Initialize(const FACE::String&, RETURN_CODE_TYPE::Value& code) override
    {
        if (throws) throw std::runtime_error("no file");
        code = initialized;
    }
    void Open(const FACE::String&, int& handle, RETURN_CODE_TYPE::Value& code) override
    {
        handle = 3;
        ++open;
        code = RETURN_CODE_TYPE::NO_ERROR;
    }
    void Get_Size(int, const FACE::String&, int& size, RETURN_CODE_TYPE::Value& code) override
    {
        if (throws) throw std::runtime_error("no size");
        size = 1;
        code = RETURN_CODE_TYPE::NO_ERROR;
    }
    void Read(int, const FACE::String&, void* buffer, int, int& count, RETURN_CODE_TYPE::Value& code) override
    {
        *static_cast<char*>(buffer) = '5';
        count = 1;
        code = RETURN_CODE_TYPE::NO_ERROR;
    }
    void Write(int, const FACE::String&, void*, int, int&, RETURN_CODE_TYPE::Value&) override {}
    void Seek(int, WHENCE_TYPE::Value, int, RETURN_CODE_TYPE::Value&) override {}
    void Close(int handle, RETURN_CODE_TYPE::Value& code) override
    {
        if (handle == 3) --open;
        code = RETURN_CODE_TYPE::NO_ERROR;
    }
};

struct HX_MCSQTest : testing::Test {
    HardDeadline deadline;
    TemporaryDirectory directory;
    QueueDevice device{directory.path(), 5};
    const std::string file = directory.write("devices.xml", queueDevicesText({{"Five", "5"},
                                                                              {"AlsoFive", "0x5"},
                                                                              {"Hex", "0x10"},
                                                                              {"Octal", "010"},
                                                                              {"Large", "65541"},
                                                                              {"Empty", ""},
                                                                              {"Word", "five"}}));
    HX_MCSQ service{QueueDevice::prefix(directory.path())};

    RETURN_CODE_TYPE::Value initialize(const std::string& path)
    {
        codeOf([&](auto& code) { service.Set_Reference("x", std::make_shared<FACE::HX_Config>(), 0, code); });
        return codeOf([&](auto& code) { service.Initialize(path.c_str(), code); });
    }

    RETURN_CODE_TYPE::Value open(const char* name, long long& handle)
    {
        return codeOf([&](auto& code) { service.Open_Connection(name, -1, handle, code); });
    }
    RETURN_CODE_TYPE::Value close(long long handle)
    {
        return codeOf([&](auto& code) { service.Close_Connection(handle, code); });
    }
    RETURN_CODE_TYPE::Value read(long long handle, READ_PAYLOAD_TYPE& payload)
    {
        return codeOf([&](auto& code) { service.Read(handle, 0, payload, code); });
    }
    RETURN_CODE_TYPE::Value write(long long handle, std::vector<std::uint8_t> bytes)
    {
        const WRITE_PAYLOAD_TYPE payload = payloadOf(bytes);
        return codeOf([&](auto& code) { service.Write(handle, -1, payload, code); });
    }
};

/// The opens and closings of a file.
class FileWatch {
public:
    explicit FileWatch(const std::string& path)
    {
        if (inotify_add_watch(m_descriptor, path.c_str(), IN_OPEN | IN_CLOSE_WRITE) < 0)
            throw std::runtime_error("cannot watch " + path);
    }
    ~FileWatch() { ::close(m_descriptor); }
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    /// How often the file, once open for writing, has been closed since the last call.
    int closings() const
    {
        int count = 0;
        inotify_event event{};
        while (::read(m_descriptor, &event, sizeof event) == sizeof event) count += (event.mask & IN_CLOSE_WRITE) != 0;
        return count;
    }

private:
    const int m_descriptor = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
};

/// This thread meets file permissions as anybody does, while this object lives.
class WithoutPrivilege {
public:
    WithoutPrivilege() : m_user(setfsuid(getuid() == 0 ? 65534 : getuid())) {}
    ~WithoutPrivilege() { setfsuid(static_cast<uid_t>(m_user)); }
    WithoutPrivilege(const WithoutPrivilege&) = delete;
    WithoutPrivilege& operator=(const WithoutPrivilege&) = delete;

private:
    const int m_user;
};

/// Sends a message at the end of its scope, so that a read that waits on the device does so no longer.
class Release {
public:
    explicit Release(const QueueDevice& device) : m_device(device) {}
    ~Release()
    {
        shielded([this] { m_device.send(std::vector<std::uint8_t>{0}); }, [](const char*) {});
    }
    Release(const Release&) = delete;
    Release& operator=(const Release&) = delete;

private:
    const QueueDevice& m_device;
};

/// With "Five" open, as handle 0.
struct OpenedHX_MCSQTest : HX_MCSQTest {
    long long handle = 77;

    void SetUp() override
    {
        ASSERT_EQ(initialize(file), 0);
        ASSERT_EQ(open("Five", handle), 0);
        ASSERT_EQ(handle, 0);
    }
};

}  // namespace

TEST_F(HX_MCSQTest, TheReferenceIsTakenOnce)
{
    const auto config = std::make_shared<FACE::HX_Config>();
    EXPECT_EQ(codeOf([&](auto& code) { service.Set_Reference("x", nullptr, 1, code); }), 3);
    EXPECT_EQ(codeOf([&](auto& code) { service.Set_Reference("x", config, 1, code); }), 0);
    EXPECT_EQ(codeOf([&](auto& code) { service.Set_Reference("x", std::make_shared<FACE::HX_Config>(), 1, code); }), 2);
    EXPECT_EQ(codeOf([&](auto& code) { service.Set_Reference("x", nullptr, 1, code); }), 2);
    EXPECT_EQ(config.use_count(), 2);
}

TEST_F(HX_MCSQTest, TheReferenceIsTakenThroughEitherBase)
{
    FACE::Configuration_Injectable::Injectable& injectable = service;
    FACE::IOSS::MCSQ::IO_Service& base = service;
    const auto config = std::make_shared<FACE::HX_Config>();
    EXPECT_EQ(codeOf([&](auto& code) { injectable.Set_Reference("x", config, 1, code); }), 0);
    EXPECT_EQ(codeOf([&](auto& code) { base.Set_Reference("x", config, 1, code); }), 2);
}

TEST_F(HX_MCSQTest, InitializeNeedsAReference)
{
    EXPECT_EQ(codeOf([&](auto& code) { service.Initialize(file.c_str(), code); }), 4);
}

TEST_F(HX_MCSQTest, InitializeLoadsOnceAndMayBeTriedAgain)
{
    EXPECT_EQ(initialize("/nowhere.xml"), 4);
    EXPECT_EQ(initialize(file), 0);
    EXPECT_EQ(initialize(file), 1);
    EXPECT_EQ(initialize("/nowhere.xml"), 1);
}

TEST_F(HX_MCSQTest, InitializeTakesNoActionOfTheConfigurationForSuccess)
{
    const auto configuration = std::make_shared<CountingConfiguration>();
    codeOf([&](auto& code) { service.Set_Reference("x", configuration, 0, code); });
    configuration->initialized = RETURN_CODE_TYPE::NOT_AVAILABLE;
    EXPECT_EQ(codeOf([&](auto& code) { service.Initialize("x", code); }), 4);
    configuration->initialized = RETURN_CODE_TYPE::NO_ACTION;
    EXPECT_EQ(codeOf([&](auto& code) { service.Initialize("x", code); }), 0);
    EXPECT_EQ(codeOf([&](auto& code) { service.Initialize("x", code); }), 1);
}

TEST_F(HX_MCSQTest, WhatTheConfigurationThrowsIsPrintedWithALine)
{
    codeOf([&](auto& code) { service.Set_Reference("x", std::make_shared<FACE::HX_Config>(), 0, code); });
    const FACE::String invalid(static_cast<const char*>(nullptr));
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(codeOf([&](auto& code) { service.Initialize(invalid, code); }), 4);
    EXPECT_THAT(errors.text(), MatchesRegex("[0-9]+ HX_Config: path is null\n"));
}

TEST_F(HX_MCSQTest, AConfigurationThatThrowsIsABadOneAndMayBeTriedAgain)
{
    const auto configuration = std::make_shared<CountingConfiguration>();
    codeOf([&](auto& code) { service.Set_Reference("x", configuration, 0, code); });
    configuration->throws = true;
    {
        const ConsoleCapture errors(std::cerr);
        EXPECT_EQ(codeOf([&](auto& code) { service.Initialize("x", code); }), 4);
        EXPECT_THAT(errors.text(), MatchesRegex("[0-9]+ no file\n"));
    }
    configuration->throws = false;
    EXPECT_EQ(codeOf([&](auto& code) { service.Initialize("x", code); }), 0);
}

TEST_F(HX_MCSQTest, OpenNeedsTheConfiguration)
{
    long long handle = 7;
    EXPECT_EQ(open("Five", handle), 4);
    EXPECT_EQ(handle, -1);
    codeOf([&](auto& code) { service.Set_Reference("x", std::make_shared<FACE::HX_Config>(), 0, code); });
    EXPECT_EQ(open("Five", handle), 4);
}

TEST_F(HX_MCSQTest, AConnectionWithoutRecordOrPortIsRefused)
{
    ASSERT_EQ(initialize(file), 0);
    const ConsoleCapture output(std::cout);
    for (const char* const name : {"Nobody", "Empty", ""}) {
        long long handle = 7;
        EXPECT_EQ(open(name, handle), 4) << name;
        EXPECT_EQ(handle, -1);
    }
    EXPECT_EQ(close(0), kUntouched);  // nothing is listed
}

TEST_F(HX_MCSQTest, ARecordWithoutPortIsRefusedWithAWarning)
{
    const char* const text = "<HX_Configurations><Queue><Name>Bare</Name><Parameters></Parameters></Queue>"
                             "</HX_Configurations>";
    ASSERT_EQ(initialize(directory.write("bare.xml", text)), 0);
    const ConsoleCapture output(std::cout);
    long long handle = 7;
    EXPECT_EQ(open("Bare", handle), 4);
    EXPECT_EQ(handle, -1);
    EXPECT_EQ(output.text(), "WARNING - Parameter Port not found\n");
}

TEST_F(HX_MCSQTest, ANameThatIsNotValidIsRefused)
{
    ASSERT_EQ(initialize(file), 0);
    const ConsoleCapture errors(std::cerr);
    long long handle = 7;
    EXPECT_EQ(open(nullptr, handle), 4);
    EXPECT_EQ(handle, -1);
}

TEST_F(HX_MCSQTest, TheConfigurationRecordIsClosedInAllCases)
{
    const auto configuration = std::make_shared<CountingConfiguration>();
    codeOf([&](auto& code) { service.Set_Reference("x", configuration, 0, code); });
    codeOf([&](auto& code) { service.Initialize("x", code); });
    const ConsoleCapture output(std::cout);
    const ConsoleCapture errors(std::cerr);
    long long handle = 7;
    configuration->throws = true;
    EXPECT_EQ(open("A", handle), 4);
    EXPECT_EQ(configuration->open, 0);
    configuration->throws = false;
    EXPECT_EQ(open("A", handle), 0);
    EXPECT_EQ(configuration->open, 0);
}

TEST_F(HX_MCSQTest, ThePathIsThePrefixAndThePortInDecimal)
{
    EXPECT_EQ(Connection("A", 5, "/dev/mcs").devicePath(), "/dev/mcs5");
    EXPECT_EQ(Connection("A", 65535, "/dev/mcs").devicePath(), "/dev/mcs65535");
}

TEST_F(HX_MCSQTest, DevicesOfTheMachineAreDevMcs)
{
    HX_MCSQ plain;
    codeOf([&](auto& code) { plain.Set_Reference("x", std::make_shared<FACE::HX_Config>(), 0, code); });
    const std::string text = directory.write("other.xml", queueDevicesText({{"A", "64999"}}));
    codeOf([&](auto& code) { plain.Initialize(text.c_str(), code); });
    const ConsoleCapture errors(std::cerr);
    long long handle = 7;
    EXPECT_EQ(codeOf([&](auto& code) { plain.Open_Connection("A", -1, handle, code); }), 1);
    EXPECT_EQ(errors.text(), "Unable to open output pipe file: /dev/mcs64999\n");
}

TEST_F(HX_MCSQTest, ThePortIsReadWithItsBaseAndCutTo16Bits)
{
    const QueueDevice sixteen(directory.path(), 16);
    const QueueDevice eight(directory.path(), 8);
    ASSERT_EQ(initialize(file), 0);
    for (const char* const name : {"Five", "AlsoFive", "Hex", "Octal", "Large"}) {
        long long handle = -1;
        EXPECT_EQ(open(name, handle), 0) << name;
        ASSERT_EQ(write(handle, {std::uint8_t(handle)}), 0) << name;
    }
    EXPECT_EQ(device.receive(), (std::vector<std::uint8_t>{0, 1, 4}));
    EXPECT_EQ(sixteen.receive(), (std::vector<std::uint8_t>{2}));
    EXPECT_EQ(eight.receive(), (std::vector<std::uint8_t>{3}));
}

TEST_F(HX_MCSQTest, AWordForThePortIsDeviceZero)
{
    const QueueDevice zero(directory.path(), 0);
    ASSERT_EQ(initialize(file), 0);
    long long handle = -1;
    EXPECT_EQ(open("Word", handle), 0);
    ASSERT_EQ(write(handle, {9}), 0);
    EXPECT_EQ(zero.receive(), (std::vector<std::uint8_t>{9}));
}

TEST_F(HX_MCSQTest, AMissingDeviceLeavesTheConnectionListedAndClosed)
{
    ASSERT_EQ(initialize(file), 0);
    const ConsoleCapture errors(std::cerr);
    long long handle = 7;
    EXPECT_EQ(open("Hex", handle), 1);
    EXPECT_EQ(handle, -1);
    EXPECT_EQ(errors.text(), "Unable to open output pipe file: " + QueueDevice::prefix(directory.path()) + "16\n");
    EXPECT_EQ(close(0), 11);
    EXPECT_EQ(open("Five", handle), 0);
    EXPECT_EQ(handle, 1);
    const QueueDevice late(directory.path(), 16);
    EXPECT_EQ(open("Hex", handle), 0);
    EXPECT_EQ(handle, 0);
}

TEST_F(HX_MCSQTest, AConnectionGoesThroughItsStates)
{
    Connection connection("A", 5, QueueDevice::prefix(directory.path()));
    EXPECT_EQ(connection.state(), CONNECTION_STATE_TYPE::CLOSED);
    EXPECT_EQ(connection.readerDescriptor(), -1);
    EXPECT_TRUE(connection.open());
    EXPECT_EQ(connection.state(), CONNECTION_STATE_TYPE::OPEN);
    EXPECT_TRUE(connection.isOpen());
    EXPECT_TRUE(connection.close());
    EXPECT_EQ(connection.state(), CONNECTION_STATE_TYPE::CLOSED);
    EXPECT_TRUE(connection.close());
}

TEST_F(HX_MCSQTest, AConnectionThatFailsToOpenStaysAtBeingOpened)
{
    Connection connection("A", 6, QueueDevice::prefix(directory.path()));
    const ConsoleCapture errors(std::cerr);
    EXPECT_FALSE(connection.open());
    EXPECT_FALSE(connection.isOpen());
    EXPECT_EQ(connection.state(), CONNECTION_STATE_TYPE::OPENING);
}

TEST_F(HX_MCSQTest, TheWriterIsOpenedEvenIfTheReaderFails)
{
    const std::string path = directory.write("mcs16", "");
    std::filesystem::permissions(directory.path(), std::filesystem::perms(0755));
    std::filesystem::permissions(path, std::filesystem::perms(0222));
    const FileWatch watch(path);
    Connection connection("A", 16, QueueDevice::prefix(directory.path()));
    const ConsoleCapture errors(std::cerr);
    {
        const WithoutPrivilege scope;
        if (std::ifstream(path)) GTEST_SKIP() << "nothing is kept from being read here";
        EXPECT_FALSE(connection.open());
    }
    EXPECT_EQ(errors.text(), "Unable to open input pipe file: " + path + "\n");
    EXPECT_EQ(watch.closings(), 3);  // two probes, and the writer
}

TEST_F(HX_MCSQTest, OpeningAnOpenConnectionClosesItFirst)
{
    Connection connection("A", 5, QueueDevice::prefix(directory.path()));
    ASSERT_TRUE(connection.open());
    const std::size_t before = descriptorCount();
    ASSERT_TRUE(connection.open());
    EXPECT_EQ(descriptorCount(), before);
}

TEST_F(HX_MCSQTest, AConnectionTransfersNothingWhenClosedOrForALengthUnderOne)
{
    Connection connection("A", 5, QueueDevice::prefix(directory.path()));
    std::uint8_t byte = 1;
    EXPECT_EQ(connection.read(&byte, 1), 0);
    EXPECT_EQ(connection.write(&byte, 1), 0);
    ASSERT_TRUE(connection.open());
    EXPECT_EQ(connection.read(&byte, 0), 0);
    EXPECT_EQ(connection.read(&byte, -1), 0);
    EXPECT_EQ(connection.write(&byte, -1), 0);
    EXPECT_EQ(connection.write(&byte, 1), 1);
    EXPECT_EQ(connection.read(&byte, 1), 1);
}

TEST_F(HX_MCSQTest, DestructionClosesEverything)
{
    const std::size_t before = descriptorCount();
    {
        HX_MCSQ other(QueueDevice::prefix(directory.path()));
        codeOf([&](auto& code) { other.Set_Reference("x", std::make_shared<FACE::HX_Config>(), 0, code); });
        codeOf([&](auto& code) { other.Initialize(file.c_str(), code); });
        long long handle = -1;
        ASSERT_EQ(codeOf([&](auto& code) { other.Open_Connection("Five", -1, handle, code); }), 0);
        EXPECT_EQ(descriptorCount(), before + 2);
    }
    EXPECT_EQ(descriptorCount(), before);
}

TEST_F(OpenedHX_MCSQTest, OpeningAgainGivesTheSameHandle)
{
    long long again = -1;
    const std::size_t before = descriptorCount();
    EXPECT_EQ(open("Five", again), 0);
    EXPECT_EQ(again, 0);
    EXPECT_EQ(descriptorCount(), before);
}

TEST_F(OpenedHX_MCSQTest, TimeOutsAreIgnored)
{
    FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE none;
    std::vector<std::uint8_t> bytes = {1};
    for (const long long timeout :
         {0LL, 1LL, -1LL, std::numeric_limits<long long>::max(), std::numeric_limits<long long>::min()}) {
        READ_PAYLOAD_TYPE payload = payloadOf(bytes);
        EXPECT_EQ(codeOf([&](auto& code) { service.Open_Connection("Five", timeout, handle, code); }), 0) << timeout;
        ASSERT_EQ(codeOf([&](auto& code) { service.Write(0, timeout, payload, code); }), 0) << timeout;
        EXPECT_EQ(codeOf([&](auto& code) { service.Read(0, timeout, payload, code); }), 0) << timeout;
        EXPECT_EQ(codeOf([&](auto& code) { service.Configure_Connection_Parameters(0, timeout, none, code); }), 1);
        EXPECT_EQ(codeOf([&](auto& code) { service.Configure_Bus_Parameters(0, timeout, none, code); }), 1);
    }
}

TEST_F(OpenedHX_MCSQTest, AReadWithATimeOutWaitsForAMessageHoweverLong)
{
    for (const long long timeout : {0LL, 1LL}) {
        auto answer = std::async(std::launch::async, [&] {
            std::vector<std::uint8_t> bytes(8);
            READ_PAYLOAD_TYPE payload = payloadOf(bytes);
            return codeOf([&](auto& code) { service.Read(0, timeout, payload, code); });
        });
        EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        device.send(std::vector<std::uint8_t>{1});
        EXPECT_EQ(answer.get(), 0);
    }
}

TEST_F(OpenedHX_MCSQTest, AReadThatWaitsHindersNobodyAndOutlivesTheClose)
{
    std::atomic<pid_t> thread = 0;
    auto answer = std::async(std::launch::async, [&] {
        std::vector<std::uint8_t> bytes(8);
        READ_PAYLOAD_TYPE payload = payloadOf(bytes);
        thread = gettid();
        return read(0, payload);
    });
    const Release release(device);
    int asleep = 0;
    ASSERT_TRUE(eventually([&] { return (asleep = thread != 0 && isAsleep(thread) ? asleep + 1 : 0) > 5; }));
    long long other = -1;
    EXPECT_EQ(open("AlsoFive", other), 0);
    const std::size_t before = descriptorCount();
    EXPECT_EQ(close(0), 0);
    EXPECT_EQ(descriptorCount(), before - 1);  // that of the writer; the reader's is in use
    device.send(std::vector<std::uint8_t>{1});
    EXPECT_EQ(answer.get(), 0);
    EXPECT_EQ(descriptorCount(), before - 2);
}

TEST_F(OpenedHX_MCSQTest, AClosedConnectionKeepsItsHandle)
{
    long long other = -1;
    ASSERT_EQ(open("AlsoFive", other), 0);
    EXPECT_EQ(other, 1);
    EXPECT_EQ(close(0), 0);
    EXPECT_EQ(close(0), 11);
    long long again = -1;
    EXPECT_EQ(open("Five", again), 0);
    EXPECT_EQ(again, 0);
}

TEST_F(OpenedHX_MCSQTest, ReadOfAClosedConnectionIsToldSo)
{
    ASSERT_EQ(close(0), 0);
    READ_PAYLOAD_TYPE payload;
    EXPECT_EQ(read(0, payload), 11);
    EXPECT_EQ(write(0, {1}), 11);
}

TEST_F(OpenedHX_MCSQTest, HandlesOutsideTheListAreRefusedAndTheOneJustPastItIsPrinted)
{
    READ_PAYLOAD_TYPE payload;
    const ConsoleCapture errors(std::cerr);
    for (const long long bad : {-1LL, 2LL, -9223372036854775807LL - 1, 9223372036854775807LL, 4294967296LL}) {
        EXPECT_EQ(read(bad, payload), 3) << bad;
        EXPECT_EQ(write(bad, {1}), 3) << bad;
        EXPECT_EQ(close(bad), 3) << bad;
    }
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(read(1, payload), kUntouched);
    EXPECT_THAT(errors.text(), MatchesRegex("[0-9]+ [^\n]+\n"));
    EXPECT_EQ(write(1, {1}), kUntouched);
    EXPECT_EQ(close(1), kUntouched);
}

TEST_F(OpenedHX_MCSQTest, TheHandleJustPastTheListLeavesTheCodeOfStatusAndNotification)
{
    struct : FACE::IOSS::MCSQ::IO_Callback {
        void Process_Notification_Event(long long, FACE::IOSS::NOTIFICATION_EVENT_TYPE::Value,
                                        RETURN_CODE_TYPE::Value&) override
        {}
    } callback;
    FACE::IOSS::BUS_STATUS_TYPE bus = 9;
    FACE::IOSS::CONNECTION_STATUS_TYPE status;
    const std::size_t threads = threadCount();
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(codeOf([&](auto& code) { service.Get_Bus_Status(1, bus, code); }), kUntouched);
    EXPECT_EQ(bus, 1);
    EXPECT_EQ(codeOf([&](auto& code) { service.Get_Connection_Status(1, status, code); }), kUntouched);
    EXPECT_EQ(codeOf([&](auto& code) { service.Register_Notification_Event(1, callback, code); }), kUntouched);
    EXPECT_EQ(codeOf([&](auto& code) { service.Unregister_Notification_Event(1, code); }), kUntouched);
    EXPECT_EQ(threadCount(), threads);
}

TEST_F(OpenedHX_MCSQTest, ReadMakesTheMessageThePayload)
{
    READ_PAYLOAD_TYPE::RETURN_CODE code{};
    READ_PAYLOAD_TYPE managed(131072, code);
    ASSERT_EQ(managed.length(131072), 0);
    device.send(std::vector<std::uint8_t>{1, 2, 3});
    ASSERT_EQ(read(0, managed), 0);
    ASSERT_EQ(managed.length(), 3U);
    EXPECT_EQ(managed[2], 3);
}

TEST_F(OpenedHX_MCSQTest, ReadFillsCapacityThatHasNoElementsYet)
{
    READ_PAYLOAD_TYPE payload;
    payload.length(100);
    payload.length(0);
    device.send(std::vector<std::uint8_t>{1, 2, 3});
    ASSERT_EQ(read(0, payload), 0);
    ASSERT_EQ(payload.length(), 3U);
    EXPECT_EQ(payload[0], 1);
    EXPECT_EQ(payload[2], 3);
}

TEST_F(OpenedHX_MCSQTest, ReadTakesNoMoreThanThePayloadHasRoomFor)
{
    std::vector<std::uint8_t> array(8, 0xEE);
    READ_PAYLOAD_TYPE::RETURN_CODE code{};
    READ_PAYLOAD_TYPE payload(array.data(), 0, 4, code);
    device.send(std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(read(0, payload), 0);
    EXPECT_EQ(payload.length(), 4U);
    EXPECT_EQ(array, (std::vector<std::uint8_t>{1, 2, 3, 4, 0xEE, 0xEE, 0xEE, 0xEE}));
}

TEST_F(OpenedHX_MCSQTest, ReadTakesNoMoreThanTheBoundWhereTheStorageIsLarger)
{
    READ_PAYLOAD_TYPE::RETURN_CODE code{};
    READ_PAYLOAD_TYPE payload(3, code);
    for (int i = 0; i < 3; ++i) payload.append(0);
    ASSERT_GT(payload.capacity(), 3U);
    payload.clear();
    device.send(std::vector<std::uint8_t>{1, 2, 3, 4});
    EXPECT_EQ(read(0, payload), 0);
    ASSERT_EQ(payload.length(), 3U);
    EXPECT_EQ(payload[2], 3);
}

TEST_F(OpenedHX_MCSQTest, ReadTakesAtMost131072Bytes)
{
    device.sendStream(std::vector<std::uint8_t>(140000, 7));
    std::vector<std::uint8_t> array(140000);
    READ_PAYLOAD_TYPE::RETURN_CODE code{};
    READ_PAYLOAD_TYPE payload(array.data(), 0, 140000, code);
    EXPECT_EQ(read(0, payload), 0);
    EXPECT_EQ(payload.length(), 131072U);
    EXPECT_EQ(read(0, payload), 0);
    EXPECT_EQ(payload.length(), 8928U);
}

TEST_F(OpenedHX_MCSQTest, APayloadWithoutRoomReadsNothing)
{
    READ_PAYLOAD_TYPE empty;
    READ_PAYLOAD_TYPE::RETURN_CODE code{};
    READ_PAYLOAD_TYPE invalid(0, code);
    device.send(std::vector<std::uint8_t>{1});
    EXPECT_EQ(read(0, empty), 1);
    EXPECT_EQ(read(0, invalid), 1);
    EXPECT_FALSE(device.isEmpty());
}

TEST_F(OpenedHX_MCSQTest, AnUnsuccessfulReadLeavesThePayload)
{
    std::ofstream(QueueDevice::prefix(directory.path()) + "16");  // an empty file ends at once
    long long file16 = -1;
    ASSERT_EQ(open("Hex", file16), 0);
    READ_PAYLOAD_TYPE payload;
    payload.length(100);
    payload.length(3);
    EXPECT_EQ(read(file16, payload), 1);
    EXPECT_EQ(payload.length(), 3U);
}

TEST_F(OpenedHX_MCSQTest, WritePutsInOneMessage)
{
    EXPECT_EQ(write(0, {4, 5, 6}), 0);
    EXPECT_EQ(device.receive(), (std::vector<std::uint8_t>{4, 5, 6}));
}

TEST_F(OpenedHX_MCSQTest, APayloadThatIsNotValidWritesNothing)
{
    READ_PAYLOAD_TYPE::RETURN_CODE result{};
    const WRITE_PAYLOAD_TYPE invalid(0, result);
    ASSERT_FALSE(invalid.is_valid());
    EXPECT_EQ(codeOf([&](auto& code) { service.Write(0, -1, invalid, code); }), 0);  // all of its nothing is written
    EXPECT_TRUE(device.isEmpty());
}

TEST_F(OpenedHX_MCSQTest, AShortWriteIsNoAction)
{
    const std::string path = QueueDevice::prefix(directory.path()) + "16";
    std::ofstream(path).close();
    long long file16 = -1;
    ASSERT_EQ(open("Hex", file16), 0);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{10, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const auto code = write(file16, std::vector<std::uint8_t>(20));
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(code, 1);
    EXPECT_EQ(readFile(path).size(), 10U);  // and no second try
}

TEST_F(OpenedHX_MCSQTest, ThereIsNothingToConfigure)
{
    FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE none;
    const auto codesOf = [&](long long which) {
        return std::vector<int>{
            codeOf([&](auto& code) { service.Configure_Connection_Parameters(which, 0, none, code); }),
            codeOf([&](auto& code) { service.Configure_Bus_Parameters(which, 0, none, code); }),
            codeOf([&](auto& code) { service.Get_Bus_Configuration(which, none, code); })};
    };
    EXPECT_EQ(codesOf(0), (std::vector<int>{1, 1, 1}));
    EXPECT_EQ(codesOf(-1), (std::vector<int>{3, 3, 3}));
    EXPECT_EQ(codesOf(2), (std::vector<int>{3, 3, 3}));
    close(0);
    EXPECT_EQ(codesOf(0), (std::vector<int>{11, 11, 11}));
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(codesOf(1), (std::vector<int>{77, 77, 77}));
}

TEST_F(OpenedHX_MCSQTest, TheConfigurationOfAConnectionIsItsPort)
{
    FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE parameters;
    parameters.append({});
    EXPECT_EQ(codeOf([&](auto& code) { service.Get_Connection_Configuration(0, parameters, code); }), 0);
    std::uint16_t port = 0;
    RETURN_CODE_TYPE::Value kind = kUntouched;
    parameters[0].value.ushort_value(port, kind);
    EXPECT_EQ(kind, 0);
    EXPECT_EQ(port, 5);
}

TEST_F(OpenedHX_MCSQTest, AnUnknownParameterIsToldAndTheOthersAreFilledIn)
{
    FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE parameters;
    parameters.append({1, {}});
    parameters.append({0, {}});
    close(0);  // a closed connection has its configuration too
    EXPECT_EQ(codeOf([&](auto& code) { service.Get_Connection_Configuration(0, parameters, code); }), 3);
    EXPECT_EQ(parameters[0].value.descriminator(), FACE::IOSS::IO_PARAMETER_VALUE_TYPE::SHORT_VALUE);
    EXPECT_EQ(parameters[1].value.ushort_value(), 5);
}

TEST_F(OpenedHX_MCSQTest, TheConfigurationOfAnyOtherHandleIsRefused)
{
    FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE parameters;
    const ConsoleCapture errors(std::cerr);
    for (const long long bad : {-1LL, 1LL, 2LL})
        EXPECT_EQ(codeOf([&](auto& code) { service.Get_Connection_Configuration(bad, parameters, code); }), 3) << bad;
    EXPECT_EQ(errors.text(), "");
}

TEST_F(OpenedHX_MCSQTest, TheStatusOfAnOpenConnection)
{
    FACE::IOSS::CONNECTION_STATUS_TYPE status{9, 9, CONNECTION_STATE_TYPE::FAILED};
    EXPECT_EQ(codeOf([&](auto& code) { service.Get_Connection_Status(0, status, code); }), 0);
    EXPECT_EQ(status.reserved, 0);
    EXPECT_EQ(status.present, 1);
    EXPECT_EQ(status.state, CONNECTION_STATE_TYPE::OPEN);
    close(0);
    EXPECT_EQ(codeOf([&](auto& code) { service.Get_Connection_Status(0, status, code); }), 11);
}

TEST_F(OpenedHX_MCSQTest, TheBusIsReadyForAnOpenConnection)
{
    FACE::IOSS::BUS_STATUS_TYPE status = 9;
    EXPECT_EQ(codeOf([&](auto& code) { service.Get_Bus_Status(0, status, code); }), 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(codeOf([&](auto& code) { service.Get_Bus_Status(-1, status, code); }), 3);
    EXPECT_EQ(status, 1);
    close(0);
    status = 9;
    EXPECT_EQ(codeOf([&](auto& code) { service.Get_Bus_Status(0, status, code); }), 11);
    EXPECT_EQ(status, 1);
}
