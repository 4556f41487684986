#include "tests/aspn2_msgs/AllRecords.h"
#include "tests/aspn2_msgs/WireBytes.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <thread>

using namespace aspn2_msgs::idl;
using eprosima::fastdds::dds::TopicDataType;
using eprosima::fastrtps::rtps::InstanceHandle_t;
using eprosima::fastrtps::rtps::SerializedPayload_t;

namespace {

std::unique_ptr<SerializedPayload_t> payloadOf(TopicDataType& support, void* record, std::uint32_t room)
{
    auto payload = std::make_unique<SerializedPayload_t>(room);
    std::memset(payload->data, 0, room);
    EXPECT_TRUE(support.serialize(record, payload.get()));
    return payload;
}

/// A payload of exactly these bytes, so that the sanitizers see a read behind them.
std::unique_ptr<SerializedPayload_t> payloadOf(const std::vector<char>& bytes)
{
    auto payload = std::make_unique<SerializedPayload_t>(static_cast<std::uint32_t>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), payload->data);
    payload->length = static_cast<std::uint32_t>(bytes.size());
    return payload;
}

template <class Record>
std::vector<char> encapsulated(const Record& record, Cdr::Endianness order)
{
    std::vector<char> bytes(sizeOf(record) + 4);
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer, order, Cdr::DDS_CDR);
    cdr.serialize_encapsulation();
    record.serialize(cdr);
    return bytes;
}

/// The places behind the encapsulation where 0 and 1 are taken and 2 is not, in the one byte order as in the other.
template <class Record, class Support>
std::vector<std::size_t> placesThatTakeNoTwo()
{
    const auto takes = [](std::vector<char> bytes, std::size_t place, char value) {
        bytes[4 + place] = value;
        Record record;
        return Support().deserialize(payloadOf(bytes).get(), &record);
    };
    const auto placesOf = [&](Cdr::Endianness order) {
        const auto bytes = encapsulated(numbered<Record>(), order);
        std::vector<std::size_t> places;
        for (std::size_t place = 0; place + 4 < bytes.size(); ++place)
            if (takes(bytes, place, 0) && takes(bytes, place, 1) && !takes(bytes, place, 2)) places.push_back(place);
        return places;
    };
    const auto places = placesOf(Cdr::LITTLE_ENDIANNESS);
    EXPECT_EQ(placesOf(Cdr::BIG_ENDIANNESS), places);
    return places;
}

/// A record with a key, such as the catalogue does not have: two numbers of the report, as many times as it says.
template <int Repeats>
class Keyed : public BitReport {
public:
    static std::size_t getKeyMaxCdrSerializedSize(std::size_t current_alignment = 0)
    {
        return current_alignment + 8 * Repeats;
    }
    static bool isKeyDefined() { return true; }
    void serializeKey(Cdr& cdr) const
    {
        for (int i = 0; i < Repeats; ++i) cdr << num_servers_expected() << num_servers_available();
    }
};

template <int Repeats>
class KeyedPubSubType : public TypeSupport<Keyed<Repeats>> {
public:
    KeyedPubSubType() : TypeSupport<Keyed<Repeats>>("Keyed") {}
    std::size_t keyBufferSize() const { return this->m_keyBuffer.size(); }
};

template <int Repeats>
std::string keyOf(KeyedPubSubType<Repeats>& support, std::int32_t expected, bool forceMd5)
{
    Keyed<Repeats> record;
    record.num_servers_expected(expected);
    record.num_servers_available(0x01020304);
    InstanceHandle_t handle;
    EXPECT_TRUE(support.getKey(&record, &handle, forceMd5));
    std::string hex;
    for (unsigned i = 0; i < 16; ++i) {
        const auto byte = static_cast<char>(handle.value[i]);
        hex += hexOf(&byte, 1);
    }
    return hex;
}

template <int Repeats>
std::string keyOf(bool forceMd5)
{
    KeyedPubSubType<Repeats> support;
    return keyOf(support, 1, forceMd5);
}

class OpenKeyBuffer : public UTCTimePubSubType {
public:
    std::vector<unsigned char> keyBuffer() const { return m_keyBuffer; }
};

/// Leaves this process 64 MB; the sanitizers need more for themselves.
void limitMemory()
{
#ifndef ORVANE_SANITIZED
    const rlimit limit{64 << 20, 64 << 20};
    if (setrlimit(RLIMIT_DATA, &limit) != 0) std::_Exit(2);
#endif
}

/// A payload of 300 kB whose sequence claims `count` elements is refused, and no more is made of it than it can hold.
bool refusesCount(std::uint32_t count, Cdr::Endianness order)
{
    auto bytes = encapsulated(GPSLineOfSight(), order);
    FastBuffer buffer(bytes.data() + bytes.size() - sizeof count, sizeof count);
    Cdr cdr(buffer, order);
    cdr << count;
    bytes.resize(300000);
    GPSLineOfSight read;
    return !GPSLineOfSightPubSubType().deserialize(payloadOf(bytes).get(), &read) && read.obs().capacity() < 8000;
}

}  // namespace

TEST(TypeSupportTest, ThereAre41NamesUnderTheNamespace)
{
    std::set<std::string> names;
    for (const auto& one : supportedRecords()) {
        EXPECT_EQ(one.support->getName(), "aspn2_msgs::idl::" + one.name);
        names.insert(one.support->getName());
    }
    EXPECT_EQ(names.size(), 41u);
}

TEST(TypeSupportTest, TypeSizeIsTheLargestSizeAndTheEncapsulation)
{
    EXPECT_EQ(PositionVelocityAttitudePubSubType().m_typeSize, 772u);
    EXPECT_EQ(HalvexPNTPubSubType().m_typeSize, 216u);
    EXPECT_EQ(BitEntryStatusPubSubType().m_typeSize, 51u);
    EXPECT_EQ(SVStatusPubSubType().m_typeSize, 2453u);
    EXPECT_EQ(GPSLineOfSightPubSubType().m_typeSize, 14460u);
    EXPECT_EQ(gpslos_obsPubSubType().m_typeSize, 148u);
    EXPECT_EQ(GSSIPPubSubType().m_typeSize, 156u);
}

TEST(TypeSupportTest, EveryTypeSurvivesARoundTrip)
{
    for (const auto& one : supportedRecords()) {
        void* const record = one.numbered->data();
        const auto payload = payloadOf(*one.support, record, one.support->m_typeSize);
        EXPECT_EQ(payload->length, one.support->getSerializedSizeProvider(record)());
        EXPECT_EQ(payload->length, one.numbered->getCdrSerializedSize() + 4);
        EXPECT_TRUE(one.support->deserialize(payload.get(), one.fresh->data()));
        EXPECT_EQ(wireOf(*one.fresh), wireOf(*one.numbered)) << one.name;
    }
}

TEST(TypeSupportTest, MadeDataIsFreshAndTakenBack)
{
    for (const auto& one : supportedRecords()) {
        void* const made = one.support->createData();
        const auto payload = payloadOf(*one.support, made, one.support->m_typeSize);
        EXPECT_TRUE(one.support->deserialize(payload.get(), one.numbered->data()));
        EXPECT_EQ(wireOf(*one.numbered), wireOf(*one.fresh)) << one.name;
        one.support->deleteData(made);
    }
}

TEST(TypeSupportTest, PayloadCarriesTheMachinesByteOrder)
{
    GSSIP frame;
    frame.data({7});
    GSSIPPubSubType support;
    const auto payload = payloadOf(support, &frame, 100);
    EXPECT_EQ(payload->encapsulation, CDR_LE);
    EXPECT_EQ(payload->length, 57u);
    EXPECT_EQ(hexOf(reinterpret_cast<char*>(payload->data), 4), "00010000");
    EXPECT_EQ(hexOf(reinterpret_cast<char*>(payload->data) + 52, 5), "0100000007");
}

TEST(TypeSupportTest, EitherByteOrderIsReadAndTold)
{
    for (const auto& one : supportedRecords()) {
        for (const auto order : {Cdr::BIG_ENDIANNESS, Cdr::LITTLE_ENDIANNESS}) {
            const auto payload = payloadOf(encapsulated(*one.numbered, order));
            payload->encapsulation = 99;
            const auto read = one.fresh->copy();
            EXPECT_TRUE(one.support->deserialize(payload.get(), read->data()));
            EXPECT_EQ(payload->encapsulation, order == Cdr::BIG_ENDIANNESS ? CDR_BE : CDR_LE);
            EXPECT_EQ(wireOf(*read), wireOf(*one.numbered)) << one.name;
        }
    }
}

TEST(TypeSupportTest, APayloadWithoutRoomIsRefused)
{
    for (const auto& one : supportedRecords()) {
        const auto size = static_cast<std::uint32_t>(one.numbered->getCdrSerializedSize()) + 4;
        for (std::uint32_t room = 1; room < size; ++room) {
            SerializedPayload_t payload(room);
            payload.encapsulation = 99;
            ASSERT_FALSE(one.support->serialize(one.numbered->data(), &payload)) << one.name << ' ' << room;
            ASSERT_EQ(payload.encapsulation, CDR_LE);  // it is told before there is no room
        }
        SerializedPayload_t payload(size);
        EXPECT_TRUE(one.support->serialize(one.numbered->data(), &payload));
    }
}

TEST(TypeSupportTest, EveryTruncationIsRefused)
{
    for (const auto& one : supportedRecords()) {
        for (const auto order : {Cdr::LITTLE_ENDIANNESS, Cdr::BIG_ENDIANNESS}) {
            auto bytes = encapsulated(*one.numbered, order);
            while (!bytes.empty()) {
                bytes.pop_back();
                const auto payload = payloadOf(bytes);
                ASSERT_FALSE(one.support->deserialize(payload.get(), one.fresh->data())) << one.name << bytes.size();
            }
            const auto whole = encapsulated(*one.numbered, order);
            const auto payload = payloadOf(whole);
            --payload->length;  // the bytes are there, but do not count
            ASSERT_FALSE(one.support->deserialize(payload.get(), one.fresh->data())) << one.name;
        }
    }
}

TEST(TypeSupportTest, APayloadOfNoBytesIsRefused)
{
    SerializedPayload_t payload;
    UTCTime time;
    EXPECT_FALSE(UTCTimePubSubType().deserialize(&payload, &time));
    EXPECT_FALSE(UTCTimePubSubType().serialize(&time, &payload));
}

TEST(TypeSupportTest, ABooleanOfTwoIsRefused)
{
    BitReport report;
    auto bytes = encapsulated(numbered<BitReport>(), Cdr::LITTLE_ENDIANNESS);
    bytes[4 + 44] = 2;
    EXPECT_FALSE(BitReportPubSubType().deserialize(payloadOf(bytes).get(), &report));
    bytes = encapsulated(numbered<BitReport>(), Cdr::BIG_ENDIANNESS);
    bytes[4 + 60 + 7] = 2;
    EXPECT_FALSE(BitReportPubSubType().deserialize(payloadOf(bytes).get(), &report));
}

TEST(TypeSupportTest, BooleansAndNothingElseTakeNoTwo)
{
    using Places = std::vector<std::size_t>;
    EXPECT_EQ((placesThatTakeNoTwo<ReceiverStatus, ReceiverStatusPubSubType>()), (Places{44}));
    EXPECT_EQ((placesThatTakeNoTwo<BitEntryStatus, BitEntryStatusPubSubType>()), (Places{44}));
    EXPECT_EQ((placesThatTakeNoTwo<BitReport, BitReportPubSubType>()), (Places{44, 64, 65, 66, 67, 72, 73, 74, 75}));
    EXPECT_EQ((placesThatTakeNoTwo<SVStatus, SVStatusPubSubType>()), (Places{60, 72, 84, 96}));
    EXPECT_EQ((placesThatTakeNoTwo<ChannelStatus, ChannelStatusPubSubType>()), (Places{84, 128}));
    EXPECT_EQ((placesThatTakeNoTwo<GPSLineOfSight, GPSLineOfSightPubSubType>()),
              (Places{88, 112, 192, 193, 232, 256, 336, 337}));
}

TEST(TypeSupportTest, NoDataIsTakenBackToo)
{
    for (const auto& one : supportedRecords()) one.support->deleteData(nullptr);
}

TEST(TypeSupportTest, ABadEncapsulationIsRefused)
{
    auto bytes = encapsulated(numbered<UTCTime>(), Cdr::LITTLE_ENDIANNESS);
    UTCTime time;
    bytes[0] = 1;
    EXPECT_FALSE(UTCTimePubSubType().deserialize(payloadOf(bytes).get(), &time));
    bytes[0] = 0;
    bytes[1] = 77;
    EXPECT_FALSE(UTCTimePubSubType().deserialize(payloadOf(bytes).get(), &time));
}

TEST(TypeSupportTest, CountsThatBytesDoNotBearOutAreRefused)
{
    for (const auto& one : supportedRecords()) {
        if (one.fixed) continue;
        const std::size_t countAt = encapsulated(*one.fresh, Cdr::LITTLE_ENDIANNESS).size() - (one.endsInText ? 5 : 4);
        for (const std::uint32_t count : {0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu, 100000u, 3u}) {
            if (one.endsInText && count == 3u) continue;  // a shorter text, with bytes behind it
            auto bytes = encapsulated(*one.numbered, Cdr::LITTLE_ENDIANNESS);
            std::memcpy(bytes.data() + countAt, &count, sizeof count);
            const auto payload = payloadOf(bytes);
            EXPECT_FALSE(one.support->deserialize(payload.get(), one.fresh->copy()->data())) << one.name << count;
        }
    }
}

TEST(TypeSupportTest, HostileCountsTakeLittleMemory)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto refuseAll = [] {
        limitMemory();
        bool good = true;
        for (const auto order : {Cdr::LITTLE_ENDIANNESS, Cdr::BIG_ENDIANNESS})
            for (const std::uint32_t count : {0xFFFFFFFFu, 0x80000000u, 30000000u, 100000u})
                good = good && refusesCount(count, order);
        std::_Exit(good ? 0 : 1);
    };
    EXPECT_EXIT(refuseAll(), testing::ExitedWithCode(0), "");
}

TEST(TypeSupportTest, OneElementTooManyIsRefused)
{
    MeasurementIncorporationStatus status;
    status.meas_types().resize(100);
    auto bytes = encapsulated(status, Cdr::LITTLE_ENDIANNESS);
    bytes[4 + 48] = 101;
    EXPECT_FALSE(MeasurementIncorporationStatusPubSubType().deserialize(payloadOf(bytes).get(), &status));
}

TEST(TypeSupportTest, AHundredElementsFitAndAHundredAndOneNeedMoreRoom)
{
    const auto written = [](std::size_t count, std::uint32_t room) {
        ChannelStatus status;
        status.channels().resize(count);
        SerializedPayload_t payload(room);
        return ChannelStatusPubSubType().serialize(&status, &payload);
    };
    const std::uint32_t typeSize = ChannelStatusPubSubType().m_typeSize;
    EXPECT_TRUE(written(100, typeSize));
    EXPECT_FALSE(written(101, typeSize));
    EXPECT_TRUE(written(101, typeSize + 44));
}

TEST(TypeSupportTest, AHundredAndOneElementsArriveWhole)
{
    GNSS observations;
    observations.obs().resize(101);
    observations.obs()[100].lock_count(77);
    GNSSPubSubType support;
    const auto payload = payloadOf(support, &observations, support.getSerializedSizeProvider(&observations)());
    GNSS read;
    EXPECT_TRUE(support.deserialize(payload.get(), &read));
    EXPECT_EQ(read.obs().size(), 101u);
    EXPECT_EQ(read.obs()[100].lock_count(), 77);
}

TEST(TypeSupportTest, GssipOfAHundredBytesFitsExactly)
{
    GSSIP frame;
    frame.data().resize(100);
    GSSIPPubSubType support;
    const auto payload = payloadOf(support, &frame, support.m_typeSize);
    EXPECT_EQ(payload->length, 156u);
    frame.data().resize(101);
    EXPECT_FALSE(support.serialize(&frame, payload.get()));
}

TEST(TypeSupportTest, ATextOf300CharactersOutgrowsTheTypeSize)
{
    CommandResponse command;
    command.command_response(std::string(300, 'x'));
    CommandResponsePubSubType support;
    SerializedPayload_t small(support.m_typeSize);
    EXPECT_FALSE(support.serialize(&command, &small));
    EXPECT_EQ(support.getSerializedSizeProvider(&command)(), 365u);
    const auto payload = payloadOf(support, &command, 365);
    CommandResponse read;
    EXPECT_TRUE(support.deserialize(payload.get(), &read));
    EXPECT_EQ(read.command_response(), std::string(300, 'x'));
    command.command_response(std::string(255, 'x'));
    EXPECT_TRUE(support.serialize(&command, &small));
}

TEST(TypeSupportTest, ATextIsCutAtAnEmbeddedZero)
{
    EventLog event;
    event.eventlog(std::string("ab\0cd", 5));
    EventLogPubSubType support;
    const auto payload = payloadOf(support, &event, support.m_typeSize);
    EXPECT_EQ(payload->length, 59u);
    EXPECT_EQ(hexOf(reinterpret_cast<char*>(payload->data) + 52, 7), "03000000616200");
    EXPECT_EQ(support.getSerializedSizeProvider(&event)(), 62u);
}

TEST(TypeSupportTest, EmptyRecordsHaveTheirLengths)
{
    const auto lengthOf = [](TopicDataType&& support, auto record) {
        return payloadOf(support, &record, support.m_typeSize)->length;
    };
    EXPECT_EQ(lengthOf(BitReportPubSubType(), BitReport()), 64u);
    EXPECT_EQ(lengthOf(GSSIPPubSubType(), GSSIP()), 56u);
    EXPECT_EQ(lengthOf(CommandResponsePubSubType(), CommandResponse()), 65u);
    EXPECT_EQ(lengthOf(MaintenanceEventPubSubType(), MaintenanceEvent()), 172u);
}

TEST(TypeSupportTest, ATextWithoutATerminatorIsTaken)
{
    auto bytes = encapsulated(EventLog(), Cdr::LITTLE_ENDIANNESS);
    bytes.back() = 'x';
    EventLog event;
    EXPECT_TRUE(EventLogPubSubType().deserialize(payloadOf(bytes).get(), &event));
    EXPECT_EQ(event.eventlog(), "x");
    bytes[bytes.size() - 5] = 0;
    EXPECT_TRUE(EventLogPubSubType().deserialize(payloadOf(bytes).get(), &event));
    EXPECT_EQ(event.eventlog(), "");
}

TEST(TypeSupportTest, PlainTypesAreTheNineteenOfNumbersAlone)
{
    const std::set<std::string> plain = {"Altitude",
                                         "BitEntryStatus",
                                         "bit_comp_set",
                                         "DeltaTimeAndFrequency",
                                         "GPSTime",
                                         "IMU",
                                         "lru_comp_set",
                                         "MaintenanceEvent",
                                         "meas_type_set",
                                         "PlatformDynamics",
                                         "PositionVelocityAttitude",
                                         "PositionVelocity",
                                         "ReceiverStatus",
                                         "ThreeAxisMagnetometer",
                                         "TimeAtTheTone",
                                         "TimeSync",
                                         "UTCTime",
                                         "UtcDownlink",
                                         "Velocity3D"};
    EXPECT_EQ(plain.size(), 19u);
    for (const auto& one : supportedRecords()) {
        const bool expected = plain.contains(one.name);
        EXPECT_EQ(one.support->is_bounded(), expected) << one.name;
        EXPECT_EQ(one.support->is_plain(), expected) << one.name;
        alignas(std::max_align_t) unsigned char memory[2000];
        std::memset(memory, 0x55, sizeof memory);
        ASSERT_EQ(one.support->construct_sample(memory), expected) << one.name;
        if (!expected) continue;
        const auto payload = payloadOf(*one.support, memory, one.support->m_typeSize);
        EXPECT_TRUE(one.support->deserialize(payload.get(), one.numbered->data()));
        EXPECT_EQ(wireOf(*one.numbered), wireOf(*one.fresh)) << one.name;
    }
}

TEST(TypeSupportTest, NoTypeHasAKey)
{
    for (const auto& one : supportedRecords()) {
        InstanceHandle_t handle;
        EXPECT_FALSE(one.support->m_isGetKeyDefined);
        EXPECT_FALSE(one.support->getKey(one.numbered->data(), &handle));
        EXPECT_FALSE(one.support->getKey(one.numbered->data(), &handle, true));
        EXPECT_FALSE(handle.isDefined());
    }
}

TEST(TypeSupportTest, KeyBufferIsSixteenZeros)
{
    EXPECT_EQ(OpenKeyBuffer().keyBuffer(), std::vector<unsigned char>(16, 0));
}

TEST(TypeSupportTest, AShortKeyIsItsBytesInBigEndianOrder)
{
    EXPECT_EQ(keyOf<1>(false), "00000001010203040000000000000000");
    EXPECT_EQ(keyOf<2>(false), "00000001010203040000000101020304");
}

TEST(TypeSupportTest, AForcedOrLongKeyIsItsMd5Sum)
{
    EXPECT_EQ(keyOf<1>(true), "0c83141e717e6d943703f6b65cd0b788");
    EXPECT_EQ(keyOf<3>(false), "a3e12696ae8e8f788cf3f4094c15f549");
    EXPECT_EQ(KeyedPubSubType<3>().keyBufferSize(), 24u);
    EXPECT_EQ(KeyedPubSubType<1>().keyBufferSize(), 16u);
}

TEST(TypeSupportTest, EveryKeyOfOneSupportIsSummedByItself)
{
    KeyedPubSubType<1> support;
    EXPECT_EQ(keyOf(support, 1, true), "0c83141e717e6d943703f6b65cd0b788");
    EXPECT_EQ(keyOf(support, 2, true), "6dd5022174e69705e13884b072469552");
}

TEST(TypeSupportTest, ThreadsMayAskOneSupportForKeys)
{
    KeyedPubSubType<1> support;
    const auto wrongKeys = [&support](std::int32_t expected, const char* key) {
        int wrong = 0;
        for (int i = 0; i < 1000; ++i) wrong += keyOf(support, expected, false) != key;
        return wrong;
    };
    int wrong = 0;
    std::thread other([&] { wrong = wrongKeys(2, "00000002010203040000000000000000"); });
    EXPECT_EQ(wrongKeys(1, "00000001010203040000000000000000"), 0);
    other.join();
    EXPECT_EQ(wrong, 0);
}
