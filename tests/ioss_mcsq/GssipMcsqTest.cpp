#include "ioss_mcsq/GssipMcsq.h"

#include "tests/ioss_mcsq/GssipRecords.h"
#include "tests/support/NoNewThreads.h"
#include "tests/support/ProcessState.h"
#include "tests/support/VirtualSlot.h"

#include <atomic>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <thread>
#include <utility>

using FACE::RETURN_CODE_TYPE;
using FACE::IOSS::NOTIFICATION_EVENT_TYPE;
using FACE::IOSS::MCSQ::READ_PAYLOAD_TYPE;
using FACE::IOSS::MCSQ::WRITE_PAYLOAD_TYPE;

static_assert(std::is_base_of_v<FACE::IOSS::MCSQ::IO_Callback, GssipMcsq>);
static_assert(!std::is_copy_constructible_v<GssipMcsq>);

namespace {

using Numbers = std::vector<std::int64_t>;

/// A service that notes what it is asked, and answers as it is told.
class NotingService : public FACE::IOSS::MCSQ::IO_Service {
public:
    struct Notes {
        std::vector<std::string> calls;
        std::optional<RETURN_CODE_TYPE::Value> setReference = RETURN_CODE_TYPE::NO_ERROR;  // none: it sets none
        int codeBefore = 77;                                                               // that it was given
        RETURN_CODE_TYPE::Value initialize = RETURN_CODE_TYPE::NO_ERROR;
        RETURN_CODE_TYPE::Value open = RETURN_CODE_TYPE::NO_ERROR;
        RETURN_CODE_TYPE::Value read = RETURN_CODE_TYPE::NO_ERROR;
        Bytes toRead;
        Bytes written;
        int busStatus = 0;
        long long handle = 4;        // of the next connection
        bool notifiesAtEnd = false;  // once more, while it is destroyed
        std::uint32_t lengthAtRead = 0;
        const std::uint8_t* readInto = nullptr;
    };

    explicit NotingService(Notes& notes) : m_notes(notes) {}
    ~NotingService() override
    {
        RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
        if (m_notes.notifiesAtEnd && m_callback)
            m_callback->Process_Notification_Event(4, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, ignored);
        note("gone");
    }

    void Initialize(const FACE::String& name, RETURN_CODE_TYPE::Value& code) override
    {
        note("Initialize " + std::string(name.buffer()));
        code = m_notes.initialize;
    }
    void Open_Connection(const FACE::String& name, long long timeout, long long& handle,
                         RETURN_CODE_TYPE::Value& code) override
    {
        note("Open " + std::string(name.buffer()) + " " + std::to_string(timeout));
        code = m_notes.open;
        handle = code == RETURN_CODE_TYPE::NO_ERROR ? m_notes.handle : -1;
    }
    void Close_Connection(long long handle, RETURN_CODE_TYPE::Value&) override
    {
        note("Close " + std::to_string(handle));
    }
    void Read(long long handle, long long timeout, READ_PAYLOAD_TYPE& payload, RETURN_CODE_TYPE::Value& code) override
    {
        note("Read " + std::to_string(handle) + " " + std::to_string(timeout));
        m_notes.lengthAtRead = payload.length();
        m_notes.readInto = payload.buffer();
        std::copy(m_notes.toRead.begin(), m_notes.toRead.end(), payload.buffer());
        payload.length(static_cast<std::uint32_t>(m_notes.toRead.size()));
        code = m_notes.read;
    }
    void Write(long long handle, long long timeout, const WRITE_PAYLOAD_TYPE& payload,
               RETURN_CODE_TYPE::Value& code) override
    {
        note("Write " + std::to_string(handle) + " " + std::to_string(timeout));
        m_notes.written.assign(payload.buffer(), payload.buffer() + payload.length());
        code = RETURN_CODE_TYPE::INVALID_MODE;
    }
    void Configure_Connection_Parameters(long long, long long, const FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE&,
                                         RETURN_CODE_TYPE::Value&) override
    {}
    void Get_Connection_Configuration(long long, FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE&,
                                      RETURN_CODE_TYPE::Value&) override
    {}
    void Configure_Bus_Parameters(long long, long long, const FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE&,
                                  RETURN_CODE_TYPE::Value&) override
    {}
    void Get_Bus_Configuration(long long, FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE&, RETURN_CODE_TYPE::Value&) override
    {}
    void Get_Connection_Status(long long, FACE::IOSS::CONNECTION_STATUS_TYPE&, RETURN_CODE_TYPE::Value&) override {}
    void Get_Bus_Status(long long, FACE::IOSS::BUS_STATUS_TYPE& status, RETURN_CODE_TYPE::Value&) override
    {
        status = m_notes.busStatus;
    }
    void Register_Notification_Event(long long handle, FACE::IOSS::IO_CallbackBase& callback,
                                     RETURN_CODE_TYPE::Value& code) override
    {
        note("Register " + std::to_string(handle));
        m_callback = &callback;
        RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
        callback.Process_Notification_Event(handle, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, ignored);
        code = RETURN_CODE_TYPE::CONNECTION_CLOSED;
    }
    void Unregister_Notification_Event(long long handle, RETURN_CODE_TYPE::Value&) override
    {
        note("Unregister " + std::to_string(handle));
    }
    void Set_Reference(const FACE::String& name, const std::shared_ptr<FACE::Configuration>& reference, long long,
                       RETURN_CODE_TYPE::Value& code) override
    {
        note("Set_Reference " + std::string(name.buffer()) + (reference ? "" : " null"));
        m_notes.codeBefore = code;
        code = m_notes.setReference.value_or(code);
    }

private:
    void note(const std::string& call) { m_notes.calls.push_back(call); }

    Notes& m_notes;
    FACE::IOSS::IO_CallbackBase* m_callback = nullptr;
};

using Calls = std::vector<std::string>;

struct GssipMcsqTest : testing::Test {
    NotingService::Notes notes;
    std::optional<GssipMcsq> channel{std::in_place, "Tap", std::make_unique<NotingService>(notes)};
    int delivered = 0;
    RETURN_CODE_TYPE::Value code = static_cast<RETURN_CODE_TYPE::Value>(77);
    long long handle = 77;

    GssipMcsq::Callback counting()
    {
        return [this](const GSSIP&) { ++delivered; };
    }
    void connectForWriting()
    {
        channel->Connect_IOWrite("file", "name", handle, counting(), code);
        ASSERT_EQ(code, 0);
        notes.calls.clear();
        code = static_cast<RETURN_CODE_TYPE::Value>(77);
    }
};

/// A record of a frame with that id.
GSSIP recordWithId(std::uint8_t low, std::uint8_t high)
{
    GSSIP record;
    record.num_bytes(4);
    record.data({0xFF, 0x81, low, high});
    return record;
}

using GssipMcsqQueueTest = GssipMcsqFixture;

}  // namespace

TEST_F(GssipMcsqTest, WriteOnlyHandsInAConfigurationInitializesAndOpens)
{
    channel->Connect_WriteOnly("file", "name", handle, code);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(handle, 4);
    EXPECT_EQ(notes.calls, (Calls{"Set_Reference unused_name", "Initialize file", "Open name -1"}));
}

TEST_F(GssipMcsqTest, OnlyARefusedReferenceStops)
{
    notes.setReference = RETURN_CODE_TYPE::INVALID_PARAM;
    channel->Connect_WriteOnly("file", "name", handle, code);
    EXPECT_EQ(code, 3);
    EXPECT_EQ(notes.calls, (Calls{"Set_Reference unused_name"}));
    notes.setReference = RETURN_CODE_TYPE::NOT_AVAILABLE;
    notes.initialize = RETURN_CODE_TYPE::NO_ACTION;
    channel->Connect_WriteOnly("file", "name", handle, code);
    EXPECT_EQ(code, 0);
}

TEST_F(GssipMcsqTest, TheCodeIsNoActionBeforeAnythingAnswers)
{
    code = RETURN_CODE_TYPE::INVALID_PARAM;  // which would stop it
    notes.setReference.reset();
    channel->Connect_WriteOnly("file", "name", handle, code);
    EXPECT_EQ(notes.codeBefore, 1);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(handle, 4);
}

TEST_F(GssipMcsqTest, AFailedInitializeStops)
{
    notes.initialize = RETURN_CODE_TYPE::INVALID_CONFIG;
    channel->Connect_ReadOnly("file", "name", counting(), code);
    EXPECT_EQ(code, 4);
    EXPECT_EQ(notes.calls, (Calls{"Set_Reference unused_name", "Initialize file"}));
}

TEST_F(GssipMcsqTest, AFailedOpenConnectsNothing)
{
    notes.open = RETURN_CODE_TYPE::NO_ACTION;
    channel->Connect_ReadOnly("file", "name", counting(), code);
    EXPECT_EQ(code, 1);
    channel->Connect_IOWrite("file", "name", handle, counting(), code);
    EXPECT_EQ(code, 1);
    channel->callCallback(4, {});
    channel->callCallback(-1, {});
    EXPECT_EQ(delivered, 0);
}

TEST_F(GssipMcsqTest, TheCallBackIsKnownBeforeTheRegistration)
{
    notes.toRead = streamOf(recordOf(1, 5));
    channel->Connect_ReadOnly("file", "name", counting(), code);
    EXPECT_EQ(delivered, 1);
    EXPECT_EQ(code, 11);  // that of the registration
    EXPECT_EQ(notes.calls.back(), "Read 4 0");
}

TEST_F(GssipMcsqTest, IOWriteRegistersNothing)
{
    channel->Connect_IOWrite("file", "name", handle, counting(), code);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(handle, 4);
    EXPECT_EQ(notes.calls, (Calls{"Set_Reference unused_name", "Initialize file", "Open name -1"}));
    channel->callCallback(4, {});
    EXPECT_EQ(delivered, 1);
}

TEST_F(GssipMcsqTest, EveryReadIsOf131072Bytes)
{
    connectForWriting();
    for (int i = 0; i < 2; ++i) {
        notes.toRead = streamOf(recordOf(1, 5));
        channel->Process_Notification_Event(4, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code);
        EXPECT_EQ(notes.lengthAtRead, 131072U);
    }
    EXPECT_EQ(notes.calls, (Calls{"Read 4 0", "Read 4 0"}));
    EXPECT_EQ(delivered, 2);
    EXPECT_EQ(code, 77);
}

TEST_F(GssipMcsqTest, EveryReadGoesIntoOneBuffer)
{
    connectForWriting();
    channel->Process_Notification_Event(4, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code);
    const std::uint8_t* const first = std::exchange(notes.readInto, nullptr);
    const std::vector<std::uint8_t> inItsPlace(131072);  // if that were free again
    channel->Process_Notification_Event(4, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(notes.readInto, first);
}

TEST_F(GssipMcsqTest, OtherEventsAreNotLookedAt)
{
    connectForWriting();
    channel->Process_Notification_Event(4, static_cast<NOTIFICATION_EVENT_TYPE::Value>(1), code);
    EXPECT_TRUE(notes.calls.empty());
}

TEST_F(GssipMcsqTest, AnUnsuccessfulReadDeliversNothing)
{
    connectForWriting();
    notes.toRead = streamOf(recordOf(1, 5));
    for (const auto answer : {RETURN_CODE_TYPE::NO_ACTION, RETURN_CODE_TYPE::CONNECTION_CLOSED}) {
        notes.read = answer;
        channel->Process_Notification_Event(4, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code);
    }
    EXPECT_EQ(delivered, 0);
}

TEST_F(GssipMcsqTest, AReadOfLengthZeroDeliversNothing)
{
    connectForWriting();
    healthEvents();
    channel->Process_Notification_Event(4, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code);
    EXPECT_EQ(delivered, 0);
    EXPECT_TRUE(healthEvents().empty());
}

TEST_F(GssipMcsqTest, ARecordOfAnUnknownHandleIsDroppedSilently)
{
    connectForWriting();
    notes.toRead = streamOf(recordOf(1, 5));
    healthEvents();
    channel->Process_Notification_Event(5, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code);
    EXPECT_EQ(delivered, 0);
    EXPECT_TRUE(healthEvents().empty());
}

TEST_F(GssipMcsqTest, AConnectionIsInitializedIfTheStatusWordIsZero)
{
    EXPECT_TRUE(channel->IsInitialized(4));
    for (const int status : {1, -1, 2}) {
        notes.busStatus = status;
        EXPECT_FALSE(channel->IsInitialized(4));
    }
}

TEST_F(GssipMcsqTest, WriteSendsTheRecordAndTellsTheWriter)
{
    connectForWriting();
    channel->Write(4, recordOf(1, 5), code);
    EXPECT_EQ(notes.calls, (Calls{"Write 4 -1"}));
    EXPECT_EQ(notes.written, streamOf(recordOf(1, 5)));
    EXPECT_EQ(code, 5);  // that of the service
    EXPECT_EQ(delivered, 1);
}

TEST_F(GssipMcsqTest, WriteToAConnectionThatIsNotOpenDoesNothing)
{
    connectForWriting();
    notes.busStatus = 1;
    channel->Write(4, recordOf(1, 5), code);
    EXPECT_TRUE(notes.calls.empty());
    EXPECT_EQ(code, 77);
    EXPECT_EQ(delivered, 0);
}

TEST_F(GssipMcsqTest, AFilteredIdIsNotWrittenButTheWriterIsTold)
{
    channel.emplace("Tap", std::vector<unsigned short>{15051, 0x1234}, std::make_unique<NotingService>(notes));
    connectForWriting();
    channel->Write(4, recordWithId(0xCB, 0x3A), code);
    channel->Write(4, recordWithId(0x34, 0x12), code);
    EXPECT_TRUE(notes.calls.empty());
    EXPECT_EQ(code, 77);
    EXPECT_EQ(delivered, 2);
    channel->Write(4, recordWithId(0x12, 0x34), code);
    EXPECT_EQ(notes.calls, (Calls{"Write 4 -1"}));
    EXPECT_EQ(delivered, 3);
}

TEST_F(GssipMcsqTest, AFilterOfTextsTakesTheDecimalNumbersOf16Bits)
{
    const std::vector<std::string> texts = {"x", "70000", "", "4660", "0x10"};
    channel.emplace("Tap", texts, std::make_unique<NotingService>(notes));
    connectForWriting();
    channel->writeToQueue(4, recordWithId(0x34, 0x12), code);
    channel->writeToQueue(4, recordWithId(0, 0), code);  // what "0x10" begins with
    EXPECT_TRUE(notes.calls.empty());
    for (const auto& [low, high] : {std::pair{0x70, 0x11}, std::pair{0x10, 0}, std::pair{0xFF, 0xFF}})
        channel->writeToQueue(4, recordWithId(static_cast<std::uint8_t>(low), static_cast<std::uint8_t>(high)), code);
    EXPECT_EQ(notes.calls, (Calls{"Write 4 -1", "Write 4 -1", "Write 4 -1"}));
}

TEST_F(GssipMcsqTest, AFrameWithoutAnIdIsNotFiltered)
{
    channel.emplace("Tap", std::vector<unsigned short>{0, 0x5A5A}, std::make_unique<NotingService>(notes));
    connectForWriting();
    for (const std::size_t size : {0U, 3U}) channel->writeToQueue(4, recordOf(1, size), code);
    EXPECT_EQ(notes.calls, (Calls{"Write 4 -1", "Write 4 -1"}));
    channel->writeToQueue(4, recordOf(1, 4), code);
    EXPECT_EQ(notes.calls.size(), 2U);
}

TEST_F(GssipMcsqTest, ARecordThatCannotBeSerializedIsNotWrittenButTheWriterIsTold)
{
    struct Refusing : GssipTopicSerializer::Type {
        bool serialize(void*, eprosima::fastrtps::rtps::SerializedPayload_t*) override { return false; }
    };
    channel.emplace("Tap", std::make_unique<NotingService>(notes), GssipTopicSerializer(std::make_unique<Refusing>()));
    connectForWriting();
    channel->Write(4, recordOf(1, 5), code);
    EXPECT_TRUE(notes.calls.empty());
    EXPECT_EQ(code, 77);
    EXPECT_EQ(delivered, 1);
}

TEST_F(GssipMcsqTest, ARecordOfNoBytesIsNotWritten)
{
    struct Empty : GssipTopicSerializer::Type {
        bool serialize(void*, eprosima::fastrtps::rtps::SerializedPayload_t* payload) override
        {
            payload->length = 0;
            return true;
        }
    };
    channel.emplace("Tap", std::make_unique<NotingService>(notes), GssipTopicSerializer(std::make_unique<Empty>()));
    connectForWriting();
    channel->writeToQueue(4, recordOf(1, 5), code);
    EXPECT_TRUE(notes.calls.empty());
    EXPECT_EQ(code, 77);
}

TEST_F(GssipMcsqTest, OneWriteCarriesAnythingUpTo4294967294Bytes)
{
    EXPECT_FALSE(GssipMcsq::isWritable(0));
    EXPECT_TRUE(GssipMcsq::isWritable(1));
    EXPECT_TRUE(GssipMcsq::isWritable(4294967294));
    EXPECT_FALSE(GssipMcsq::isWritable(4294967295));
    EXPECT_FALSE(GssipMcsq::isWritable(4294967297));
}

TEST_F(GssipMcsqTest, ACallBackMayReplaceItself)
{
    connectForWriting();
    auto kept = std::make_shared<int>(0);
    channel->Connect_IOWrite(
        "file", "name", handle,
        [this, kept](const GSSIP&) {
            channel->Connect_IOWrite("file", "name", handle, counting(), code);
            ++*kept;
        },
        code);
    channel->callCallback(4, {});
    channel->callCallback(4, {});
    EXPECT_EQ(*kept, 1);
    EXPECT_EQ(delivered, 1);
    EXPECT_EQ(kept.use_count(), 1);
}

TEST_F(GssipMcsqTest, AnEmptyCallBackThrows)
{
    channel->Connect_IOWrite("file", "name", handle, nullptr, code);
    EXPECT_THROW(channel->callCallback(4, {}), std::bad_function_call);
}

TEST_F(GssipMcsqTest, AnEmptyCallBackIsReportedForEachRecord)
{
    channel->Connect_IOWrite("file", "name", handle, nullptr, code);
    notes.toRead = streamOf(recordOf(1, 5), recordOf(2, 5));
    healthEvents();
    const ConsoleCapture output(std::cout);
    channel->Process_Notification_Event(4, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code);
    const std::string text = "Tap: Process_Notification_Event(): A memory exception occurred ";
    EXPECT_EQ(healthEvents(), (std::vector<std::string>{"3:" + text, "3:" + text}));
    EXPECT_EQ(output.text(), text + "\n" + text + "\n");
}

TEST_F(GssipMcsqTest, ARecordThatCannotBeMadeIsReportedOnceAndTheRestIsDropped)
{
    struct SecondThrows : GssipTopicSerializer::Type {
        int calls = 0;
        bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* record) override
        {
            if (++calls == 2) throw std::bad_alloc();
            return GssipTopicSerializer::Type::deserialize(payload, record);
        }
    };
    channel.emplace("Tap", std::make_unique<NotingService>(notes),
                    GssipTopicSerializer(std::make_unique<SecondThrows>()));
    connectForWriting();
    notes.toRead = streamOf(recordOf(1, 5), recordOf(2, 5), recordOf(3, 5));
    healthEvents();
    const ConsoleCapture output(std::cout);
    channel->Process_Notification_Event(4, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code);
    EXPECT_EQ(delivered, 1);
    const std::string text = "Tap: Process_Notification_Event(): A memory exception occurred ";
    EXPECT_EQ(healthEvents(), std::vector<std::string>{"3:" + text});
    EXPECT_EQ(output.text(), text + "\n");
    channel->Process_Notification_Event(4, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code);
    EXPECT_EQ(delivered, 4);
}

TEST_F(GssipMcsqTest, TheNotificationStandsNextToTheDestructor)
{
    EXPECT_EQ(virtualSlot(&GssipMcsq::Process_Notification_Event), virtualSlot(&AfterDestructor::operation));
}

TEST_F(GssipMcsqTest, DestructionUnregistersClosesAndThenDropsTheService)
{
    connectForWriting();
    channel.reset();
    EXPECT_EQ(notes.calls, (Calls{"Unregister 4", "Close 4", "gone"}));
}

TEST_F(GssipMcsqTest, DestructionEndsOneConnectionAfterTheOther)
{
    notes.handle = 1;
    connectForWriting();
    notes.handle = 0;
    connectForWriting();
    channel.reset();
    EXPECT_EQ(notes.calls, (Calls{"Unregister 0", "Close 0", "Unregister 1", "Close 1", "gone"}));
}

TEST_F(GssipMcsqTest, NotificationMayGoOnUntilTheServiceIsGone)
{
    channel->Connect_ReadOnly("file", "name", counting(), code);
    notes.calls.clear();
    notes.notifiesAtEnd = true;
    notes.toRead = streamOf(recordOf(1, 5));
    channel.reset();
    EXPECT_EQ(notes.calls, (Calls{"Unregister 4", "Close 4", "Read 4 0", "gone"}));
    EXPECT_EQ(delivered, 1);
}

TEST_F(GssipMcsqQueueTest, ThreeRecordsOfOneReadComeInOrder)
{
    ASSERT_EQ(connect("ZEN_HX", keeping()), 0);
    device.send(streamOf(recordOf(1, 5), recordOf(2, 0), recordOf(3, 7)));  // on odd boundaries
    ASSERT_TRUE(isLast(3));
    EXPECT_EQ(numbers(), (Numbers{1, 2, 3}));
    EXPECT_EQ(records[0].data(), Bytes(5, 0x5A));
    EXPECT_EQ(records[2].data(), Bytes(7, 0x5A));
    EXPECT_EQ(output->text(), "");
}

TEST_F(GssipMcsqQueueTest, AnySizeOfARecordWillDo)
{
    ASSERT_EQ(connect("ZEN_HX", keeping()), 0);
    for (std::size_t size = 0; size < 64; ++size)
        device.send(streamOf(recordOf(0, size), recordOf(static_cast<std::int64_t>(size) + 1, 9)));
    ASSERT_TRUE(isLast(64));
    EXPECT_EQ(count(), 128U);
    EXPECT_EQ(output->text(), "");
}

TEST_F(GssipMcsqQueueTest, OneReadTakesUpTo131072Bytes)
{
    device.sendStream(streamOf(recordOf(1, 100000), recordOf(2, 31072 - 112), recordOf(3, 100)));
    ASSERT_EQ(connect("ZEN_HX", keeping()), 0);
    ASSERT_TRUE(isLast(3));
    EXPECT_EQ(numbers(), (Numbers{1, 2, 3}));
    EXPECT_EQ(records[0].data().size(), 100000U);
    EXPECT_EQ(output->text(), "");
}

TEST_F(GssipMcsqQueueTest, NothingIsKeptFromOneReadToTheNext)
{
    device.sendStream(streamOf(recordOf(1, 131072 - 56 - 10), recordOf(2, 5)));
    ASSERT_EQ(connect("ZEN_HX", keeping()), 0);
    ASSERT_TRUE(eventually([&] { return device.isEmpty(); }));
    device.send(streamOf(recordOf(3, 5)));
    ASSERT_TRUE(isLast(3));
    EXPECT_EQ(numbers(), (Numbers{1, 3}));
    EXPECT_NE(output->text().find("MCSQ remainder: 10\n"), std::string::npos);
    EXPECT_NE(output->text().find("MCSQ remainder: 51\n"), std::string::npos);
}

TEST_F(GssipMcsqQueueTest, AHundredThousandRecordsComeWithoutLossInOrder)
{
    constexpr int kRecords = 100'000;
    std::atomic<int> next = 0;
    std::atomic<int> wrong = 0;
    ASSERT_EQ(connect("ZEN_HX",
                      [&](const GSSIP& record) {
                          const bool isGood = record.header().seq_num() == next &&
                                              record.data().size() == static_cast<std::size_t>(next % 23);
                          if (!isGood) ++wrong;
                          ++next;
                      }),
              0);
    Bytes message;
    for (int i = 0; i < kRecords; ++i) {
        const Bytes record = streamOf(recordOf(i, static_cast<std::size_t>(i % 23)));
        if (message.size() + record.size() > QueueDevice::kLargestMessage) {
            device.send(message);
            message.clear();
        }
        message.insert(message.end(), record.begin(), record.end());
    }
    device.send(message);
    ASSERT_TRUE(eventually([&] { return next >= kRecords; }));
    EXPECT_EQ(next, kRecords);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(output->text(), "");
    EXPECT_TRUE(device.isEmpty());
}

TEST_F(GssipMcsqQueueTest, ASecondTapUsesTheSameServiceAndThread)
{
    ASSERT_EQ(connect("ZEN_HX", keeping()), 0);
    const std::size_t threads = threadCount();
    std::atomic<int> other = 0;
    ASSERT_EQ(connect("HX_ZEN", [&](const GSSIP&) { ++other; }), 0);
    EXPECT_EQ(threadCount(), threads);
    device.send(streamOf(recordOf(1, 5)));
    second.send(streamOf(recordOf(2, 5), recordOf(3, 5)));
    EXPECT_TRUE(isLast(1));
    EXPECT_TRUE(eventually([&] { return other == 2; }));
}

TEST_F(GssipMcsqQueueTest, ASecondTapIsOpenedWhileTheFirstWorks)
{
    ASSERT_EQ(connect("ZEN_HX", keeping()), 0);
    std::atomic<bool> stop = false;
    std::thread feeder([&] {
        const Bytes message = streamOf(recordOf(1, 5), recordOf(1, 5));
        while (!stop) device.send(message);
    });
    EXPECT_TRUE(eventually([&] { return count() > 100; }));
    std::atomic<int> other = 0;
    EXPECT_EQ(connect("HX_ZEN", [&](const GSSIP&) { ++other; }), 0);
    second.send(streamOf(recordOf(2, 5)));
    EXPECT_TRUE(eventually([&] { return other == 1; }));
    stop = true;
    feeder.join();
    EXPECT_EQ(output->text(), "");
}

TEST_F(GssipMcsqQueueTest, TwoTapsOnOneDeviceShareItsRecords)
{
    ASSERT_EQ(connect("ZEN_HX", keeping()), 0);
    ASSERT_EQ(connect("ZEN_HX2", keeping()), 0);
    for (std::int64_t i = 1; i <= 200; ++i) device.send(streamOf(recordOf(i, 5)));
    ASSERT_TRUE(eventually([&] { return count() == 200; }));
    channel.reset();  // what waited in a read would keep this waiting
    EXPECT_EQ(count(), 200U);
}

TEST_F(GssipMcsqQueueTest, OneTapConnectedTwiceGetsEachRecordOnce)
{
    ASSERT_EQ(connect("ZEN_HX", [](const GSSIP&) {}), 0);
    ASSERT_EQ(connect("ZEN_HX", keeping()), 0);
    for (std::int64_t i = 1; i <= 50; ++i) {
        device.send(streamOf(recordOf(i, 5)));
        ASSERT_TRUE(isLast(i));
    }
    channel.reset();
    EXPECT_EQ(count(), 50U);
}

TEST_F(GssipMcsqQueueTest, ATapThatNoThreadCanServeIsNotConnected)
{
    const ConsoleCapture errors(std::cerr);
    {
        const NoNewThreads none;
        EXPECT_EQ(connect("ZEN_HX", keeping()), 2);
    }
    EXPECT_EQ(connect("ZEN_HX", keeping()), 0);
}

TEST_F(GssipMcsqQueueTest, AMissingDeviceIsNoActionAndOthersConnect)
{
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(connect("Gone", keeping()), 1);
    EXPECT_EQ(connect("Nobody", keeping()), 4);
    EXPECT_EQ(connect("ZEN_HX", keeping()), 0);
    device.send(streamOf(recordOf(1, 5)));
    EXPECT_TRUE(isLast(1));
}

TEST_F(GssipMcsqQueueTest, AWrittenRecordTravelsThroughTheQueue)
{
    long long handle = -1;
    auto code = RETURN_CODE_TYPE::NO_ACTION;
    ASSERT_EQ(connect("ZEN_HX", keeping()), 0);
    std::atomic<int> told = 0;
    channel->Connect_IOWrite(
        file.c_str(), "ZEN_HX2", handle, [&](const GSSIP&) { ++told; }, code);
    ASSERT_EQ(code, 0);
    EXPECT_EQ(handle, 1);
    channel->Write(handle, recordOf(8, 11), code);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(told, 1);
    EXPECT_TRUE(isLast(8));
}

TEST_F(GssipMcsqQueueTest, ACallBackMayWrite)
{
    long long handle = -1;
    auto code = RETURN_CODE_TYPE::NO_ACTION;
    channel->Connect_IOWrite(file.c_str(), "HX_ZEN", handle, keeping(), code);
    ASSERT_EQ(connect("ZEN_HX",
                      [&, handle](const GSSIP& record) {
                          auto written = RETURN_CODE_TYPE::NO_ACTION;
                          channel->Write(handle, record, written);
                      }),
              0);
    device.send(streamOf(recordOf(1, 5)));
    ASSERT_TRUE(isLast(1));
    EXPECT_EQ(second.receive(), streamOf(recordOf(1, 5)));
}

TEST_F(GssipMcsqQueueTest, ThreadsWriteBesideTheReader)
{
    long long handle = -1;
    auto opened = RETURN_CODE_TYPE::NO_ACTION;
    ASSERT_EQ(connect("ZEN_HX", keeping()), 0);
    channel->Connect_WriteOnly(file.c_str(), "ZEN_HX2", handle, opened);
    ASSERT_EQ(opened, 0);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 2; ++thread)
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                auto code = RETURN_CODE_TYPE::NO_ACTION;
                channel->Write(handle, recordOf(i, 5), code);
                EXPECT_EQ(code, 0);
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(eventually([&] { return count() == 1000; }));
    EXPECT_EQ(output->text(), "");
}

TEST_F(GssipMcsqQueueTest, ADeviceThatCameBackIsReadByANewChannel)
{
    std::optional<QueueDevice> ninth(std::in_place, directory.path(), 9);
    for (std::int64_t round = 1; round <= 3; ++round) {
        ASSERT_EQ(connect("Gone", keeping()), 0);
        ninth->send(streamOf(recordOf(round, 5)));
        ASSERT_TRUE(isLast(round));
        channel.emplace("Tap", newService());
        ninth.emplace(directory.path(), 9);
    }
}

TEST_F(GssipMcsqQueueTest, DestructionUnderLoadEnds)
{
    std::atomic<bool> stop = false;
    std::thread feeder([&] {
        const Bytes message = streamOf(recordOf(1, 5), recordOf(1, 5));
        while (!stop) {
            if (device.isEmpty()) device.send(message);
        }
    });
    for (int round = 0; round < 20; ++round) {
        const std::size_t before = count();
        EXPECT_EQ(connect("ZEN_HX", keeping()), 0);
        EXPECT_TRUE(eventually([&] { return count() > before + 10; }));
        channel.emplace("Tap", newService());
    }
    stop = true;
    feeder.join();
}
