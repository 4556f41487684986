#include "tests/aspn2_msgs/AllRecords.h"
#include "tests/aspn2_msgs/ByteImages.h"
#include "tests/aspn2_msgs/WireBytes.h"

#include <fastcdr/exceptions/BadParamException.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace aspn2_msgs::idl;
using eprosima::fastcdr::exception::BadParamException;
using eprosima::fastcdr::exception::NotEnoughMemoryException;

namespace {

std::string imageOf(const std::string& name)
{
    const auto image =
        std::find_if(std::begin(kByteImages), std::end(kByteImages), [&](const auto& i) { return i.name == name; });
    return image == std::end(kByteImages) ? "no image" : image->bytes;
}

}  // namespace

TEST(RecordTest, ThereAre44)
{
    EXPECT_EQ(allRecords().size(), 44u);
    EXPECT_EQ(std::size(kByteImages), 44u);
}

TEST(RecordTest, EveryRecordHasItsByteImage)
{
    for (const auto& one : allRecords()) EXPECT_EQ(wireOf(*one.numbered), imageOf(one.name)) << one.name;
}

TEST(RecordTest, EveryByteImageIsReadBack)
{
    for (const auto& one : allRecords()) {
        readInto(*one.fresh, fromHex(imageOf(one.name)));
        EXPECT_EQ(wireOf(*one.fresh), imageOf(one.name)) << one.name;
    }
}

TEST(RecordTest, TheOtherByteOrderSurvivesARoundTrip)
{
    for (const auto& one : allRecords()) {
        const std::string swapped = wireOf(*one.numbered, Cdr::BIG_ENDIANNESS);
        EXPECT_EQ(swapped.size(), imageOf(one.name).size());
        EXPECT_NE(swapped, imageOf(one.name));
        readInto(*one.fresh, fromHex(swapped), Cdr::BIG_ENDIANNESS);
        EXPECT_EQ(wireOf(*one.fresh), imageOf(one.name)) << one.name;
    }
}

TEST(RecordTest, TimestampInBothByteOrders)
{
    timestamp stamp;
    stamp.sec(-2);
    stamp.nsec(0x01020304);
    stamp.time_code(100);
    EXPECT_EQ(wireOf(stamp, Cdr::LITTLE_ENDIANNESS), "feffffffffffffff0403020164000000");
    EXPECT_EQ(wireOf(stamp, Cdr::BIG_ENDIANNESS), "fffffffffffffffe0102030400000064");
}

namespace {

/// A record made, not value-initialised, where other bytes were before.
template <class Record>
std::string wireOfRecordMadeOnOtherBytes()
{
    alignas(std::max_align_t) static unsigned char memory[sizeof(Record)];
    std::memset(memory, 0xA5, sizeof memory);
    asm volatile("" : : "r"(memory) : "memory");  // the bytes are there, whatever the compiler thinks of them
    auto* const record = new (memory) Record;
    const std::string wire = wireOf(*record);
    std::destroy_at(record);
    return wire;
}

}  // namespace

TEST(RecordTest, ARecordIsAllZeroWhateverWasThereBefore)
{
#define EXPECT_ZERO(Name) EXPECT_EQ(wireOfRecordMadeOnOtherBytes<Name>(), wireOf(Name())) << #Name;
    FOR_EACH_RECORD(EXPECT_ZERO)
#undef EXPECT_ZERO
}

TEST(RecordTest, AFreshRecordIsAllZero)
{
    for (const auto& one : allRecords()) {
        if (one.endsInText) continue;
        EXPECT_EQ(wireOf(*one.fresh).find_first_not_of('0'), std::string::npos) << one.name;
    }
    EXPECT_TRUE(EventLog().eventlog().empty());
    EXPECT_TRUE(GSSIP().data().empty());
    EXPECT_EQ(HalvexPNT().HX_PNT_Solution_Assurance(), 0u);
}

TEST(RecordTest, SizeIsThatOfTheBytes)
{
    for (const auto& one : allRecords())
        EXPECT_EQ(one.numbered->getCdrSerializedSize(), imageOf(one.name).size() / 2) << one.name;
}

TEST(RecordTest, LargestSizes)
{
    EXPECT_EQ(timestamp::getMaxCdrSerializedSize(), 16u);
    EXPECT_EQ(header::getMaxCdrSerializedSize(), 44u);
    EXPECT_EQ(PositionVelocityAttitude::getMaxCdrSerializedSize(), 768u);
    EXPECT_EQ(CommandResponse::getMaxCdrSerializedSize(), 316u);
    EXPECT_EQ(BitReport::getMaxCdrSerializedSize(), 860u);
    EXPECT_EQ(BitEntryStatus::getMaxCdrSerializedSize(), 47u);
    EXPECT_EQ(GSSIP::getMaxCdrSerializedSize(), 152u);
    EXPECT_EQ(GPSLineOfSight::getMaxCdrSerializedSize(), 14456u);
    EXPECT_EQ(SVStatus::getMaxCdrSerializedSize(), 2449u);
}

TEST(RecordTest, SizesDependOnWhereTheRecordBegins)
{
    EXPECT_EQ(gpslos_obs::getMaxCdrSerializedSize(0), 144u);
    EXPECT_EQ(gpslos_obs::getMaxCdrSerializedSize(4), 148u);
    EXPECT_EQ(header::getMaxCdrSerializedSize(1), 51u);
    EXPECT_EQ(sv_set::getCdrSerializedSize(sv_set(), 21), 24u);
    EXPECT_EQ(header::getCdrSerializedSize(header(), 4), 48u);
    EXPECT_EQ(EventLog::getCdrSerializedSize(EventLog(), 8), 53u);
}

TEST(RecordTest, SizeOfASequenceOfAnyLength)
{
    const auto sizeWith = [](std::size_t count) {
        GPSLineOfSight lines;
        lines.obs().resize(count);
        return GPSLineOfSight::getCdrSerializedSize(lines);
    };
    EXPECT_EQ(sizeWith(0), 52u);
    EXPECT_EQ(sizeWith(1), 200u);
    EXPECT_EQ(sizeWith(2), 344u);
    EXPECT_EQ(sizeWith(100), 14456u);
    EXPECT_EQ(sizeWith(101), 14600u);
    SVStatus satellites;
    satellites.svs().resize(3);
    EXPECT_EQ(SVStatus::getCdrSerializedSize(satellites), 121u);
}

TEST(RecordTest, KeysAreNotDefined)
{
    for (const auto& one : allRecords()) {
        EXPECT_FALSE(one.fresh->isKeyDefined());
        EXPECT_EQ(one.fresh->getKeyMaxCdrSerializedSize(), 0u);
        EXPECT_EQ(one.fresh->getKeyMaxCdrSerializedSize(7), 7u);
        char bytes[8] = {};
        FastBuffer buffer(bytes, sizeof bytes);
        Cdr cdr(buffer);
        one.numbered->serializeKey(cdr);
        EXPECT_EQ(cdr.getSerializedDataLength(), 0u);
    }
}

TEST(RecordTest, AccessorsOfANumber)
{
    UTCTime time;
    time.gps_week(2345);
    EXPECT_EQ(std::as_const(time).gps_week(), 2345);
    time.gps_week() = 7;
    EXPECT_EQ(time.gps_week(), 7);
    time.a1(1);
    EXPECT_EQ(time.a1(), 1.0);
    static_assert(std::is_same_v<decltype(std::as_const(time).gps_week()), std::int32_t>);
    static_assert(std::is_same_v<decltype(time.gps_week()), std::int32_t&>);
}

TEST(RecordTest, AccessorsOfAnEnumeration)
{
    AssuranceState state;
    state.assurance_state(assurance_state_enum{2});
    EXPECT_EQ(state.assurance_state(), 2u);
    state.assurance_state() = static_cast<assurance_state_enum>(0xFFFFFFFF);
    EXPECT_EQ(wireOf(state).substr(88), "ffffffff");
    static_assert(std::is_same_v<decltype(std::as_const(state).assurance_state()), assurance_state_enum>);
}

TEST(RecordTest, AccessorsOfATextAndOfASequence)
{
    EventLog event;
    std::string text(40, 'x');
    event.eventlog(text);
    EXPECT_EQ(event.eventlog(), text);
    const char* const characters = text.data();
    event.eventlog(std::move(text));
    EXPECT_EQ(event.eventlog().data(), characters);
    event.eventlog("literal");
    EXPECT_EQ(std::as_const(event).eventlog(), "literal");
    GSSIP frame;
    frame.data({1, 2, 3});
    frame.data().push_back(4);
    EXPECT_EQ(frame.data(), (std::vector<std::uint8_t>{1, 2, 3, 4}));
    static_assert(std::is_same_v<decltype(std::as_const(frame).data()), const std::vector<std::uint8_t>&>);
}

TEST(RecordTest, AccessorsOfAnArrayAndOfARecord)
{
    PositionVelocityAttitude solution;
    solution.covariance()[8][7] = 3;
    EXPECT_EQ(std::as_const(solution).covariance()[8][7], 3.0);
    static_assert(std::is_same_v<decltype(solution.covariance()), std::array<std::array<double, 9>, 9>&>);
    solution.velocity({1, 2, 3});
    EXPECT_EQ(solution.velocity()[2], 3.0);
    header head;
    head.device_id(5);
    solution.header(head);
    EXPECT_EQ(std::as_const(solution).header().device_id(), 5);
    solution.header().timestamp_valid().sec(9);
    EXPECT_EQ(solution.header().timestamp_valid().sec(), 9);
    static_assert(std::is_same_v<decltype(std::as_const(solution).header()), const header&>);
}

TEST(RecordTest, CopyIsDeep)
{
    for (const auto& one : allRecords()) {
        const auto copy = one.numbered->copy();
        readInto(*one.numbered, fromHex(wireOf(*one.fresh)));
        EXPECT_EQ(wireOf(*copy), imageOf(one.name)) << one.name;
    }
}

TEST(RecordTest, AssignmentAndMoveAreThoseOfAValue)
{
#define EXPECT_NOTHROW_MOVE(Name)                                                                                      \
    static_assert(std::is_nothrow_move_constructible_v<Name> && std::is_nothrow_move_assignable_v<Name>);              \
    static_assert(std::is_copy_constructible_v<Name> && std::is_copy_assignable_v<Name>);
    FOR_EACH_RECORD(EXPECT_NOTHROW_MOVE)
    auto source = numbered<GNSS>();
    GNSS assigned;
    assigned = source;
    const GNSS moved(std::move(source));
    EXPECT_EQ(wireOf(assigned), imageOf("GNSS"));
    EXPECT_EQ(wireOf(moved), imageOf("GNSS"));
}

TEST(RecordTest, EmptyBitReport)
{
    BitReport report;
    report.bit_rollup(true);
    report.num_servers_expected(3);
    report.num_servers_available(2);
    EXPECT_EQ(wireOf(report), std::string(88, '0') + "01000000"
                                                     "03000000"
                                                     "02000000"
                                                     "00000000");
}

TEST(RecordTest, EmptyTextIsALengthOfOneAndAZero)
{
    EXPECT_EQ(wireOf(CommandResponse()), std::string(112, '0') + "0100000000");
}

TEST(RecordTest, TextIsCutAtAnEmbeddedZero)
{
    EventLog event;
    event.eventlog(std::string("ab\0cd", 5));
    EXPECT_EQ(wireOf(event).substr(96), "03000000616200");
    EventLog read;
    readInto(read, fromHex(wireOf(event)));
    EXPECT_EQ(read.eventlog(), "ab");
}

TEST(RecordTest, MaintenanceEventHasOneLengthWhateverItsText)
{
    MaintenanceEvent event;
    EXPECT_EQ(wireOf(event).size(), 336u);
    event.description().fill('x');
    EXPECT_EQ(wireOf(event).size(), 336u);
    EXPECT_EQ(wireOf(event).substr(192, 34), std::string(32, '0') + "78");
}

TEST(RecordTest, EmptyGssipIs52Bytes)
{
    EXPECT_EQ(wireOf(GSSIP()).size(), 104u);
}

TEST(RecordTest, PaddingKeepsWhatTheBufferHeld)
{
    std::vector<char> bytes(212, '\x55');
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer);
    HalvexPNT().serialize(cdr);
    EXPECT_EQ(hexOf(bytes.data() + 36, 16), "00000000000000005555555500000000");
}

TEST(RecordTest, WhatFollowsARecordIsAligned)
{
    std::vector<char> bytes(200);
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer);
    cdr << header() << 1.0;
    EXPECT_EQ(cdr.getSerializedDataLength(), 56u);
    MeasurementIncorporationStatus status;
    status.meas_types().resize(1);
    cdr << status << 1.0;
    EXPECT_EQ(cdr.getSerializedDataLength(), 128u);
}

TEST(RecordTest, ARecordMayBeginAtAnyPlace)
{
    for (const auto& one : allRecords()) {
        for (std::size_t offset = 0; offset < 8; ++offset) {
            std::vector<char> bytes(2000);
            FastBuffer buffer(bytes.data(), bytes.size());
            Cdr out(buffer);
            for (std::size_t i = 0; i < offset; ++i) out << 'x';
            one.numbered->serialize(out);
            EXPECT_EQ(out.getSerializedDataLength(), offset + one.numbered->getCdrSerializedSize(offset)) << one.name;
            Cdr in(buffer);
            char x = 0;
            for (std::size_t i = 0; i < offset; ++i) in >> x;
            one.fresh->deserialize(in);
            EXPECT_EQ(wireOf(*one.fresh), imageOf(one.name)) << one.name;
            EXPECT_EQ(in.getSerializedDataLength(), out.getSerializedDataLength());
        }
    }
}

TEST(RecordTest, WritesIntoAGrowingBuffer)
{
    FastBuffer buffer;
    Cdr cdr(buffer);
    GPSLineOfSight lines;
    lines.obs().resize(100);
    lines.obs()[99].iono_correction_source(iono_correction_source_enum{7});
    cdr << lines;
    EXPECT_EQ(cdr.getSerializedDataLength(), 14456u);
    EXPECT_EQ(hexOf(cdr.getBufferPointer() + 14452, 4), "07000000");
}

TEST(RecordTest, AShortBufferKeepsTheFieldsThatFit)
{
    std::vector<char> bytes(63);
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer);
    UTCTime time;
    time.gps_week(0x01020304);
    time.utc_tod_sec(-1);
    EXPECT_THROW(time.serialize(cdr), NotEnoughMemoryException);
    EXPECT_EQ(cdr.getSerializedDataLength(), 60u);
    EXPECT_EQ(hexOf(bytes.data() + 56, 7), "04030201000000");
}

TEST(RecordTest, AFailedReadKeepsTheFieldsThatCame)
{
    auto bytes = fromHex(imageOf("UTCTime"));
    bytes.resize(63);
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer);
    UTCTime time;
    EXPECT_THROW(time.deserialize(cdr), NotEnoughMemoryException);
    EXPECT_EQ(time.gps_week(), 0x0A0B0C0B);
    EXPECT_EQ(time.utc_tod_sec(), 0);
    EXPECT_EQ(cdr.getSerializedDataLength(), 60u);
}

TEST(RecordTest, ABooleanOfTwoIsRefusedWhereItStands)
{
    auto bytes = fromHex(wireOf(numbered<BitEntryStatus>()));
    bytes[44] = 2;
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer);
    BitEntryStatus status;
    EXPECT_THROW(status.deserialize(cdr), BadParamException);
    EXPECT_EQ(cdr.getSerializedDataLength(), 45u);
    EXPECT_EQ(status.header().device_id(), 0x0A0B0C08);
    EXPECT_EQ(status.testCodeOfRequestedEntry(), 0);
}

TEST(RecordTest, AFailedSequenceLeavesTheReaderBeforeItsCount)
{
    for (const bool swapped : {false, true}) {
        const auto order = swapped ? Cdr::BIG_ENDIANNESS : Cdr::LITTLE_ENDIANNESS;
        for (const int missing : {1, 8, 9, 15}) {
            auto bytes = fromHex(wireOf(numbered<BitReport>(), order));
            bytes.erase(bytes.end() - missing, bytes.end());
            FastBuffer buffer(bytes.data(), bytes.size());
            Cdr cdr(buffer, order);
            BitReport report;
            EXPECT_THROW(report.deserialize(cdr), NotEnoughMemoryException);
            EXPECT_EQ(cdr.getSerializedDataLength(), 56u);
        }
    }
}

TEST(RecordTest, ABadElementLeavesTheReaderBeforeTheCount)
{
    auto bytes = fromHex(wireOf(numbered<BitReport>()));
    bytes[73] = 2;
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer);
    BitReport report;
    EXPECT_THROW(report.deserialize(cdr), BadParamException);
    EXPECT_EQ(cdr.getSerializedDataLength(), 56u);
}

TEST(RecordTest, AFailedWriteOfASequenceLeavesTheWriterBeforeItsCount)
{
    std::vector<char> bytes(62);
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer);
    EXPECT_THROW(numbered<MeasurementIncorporationStatus>().serialize(cdr), NotEnoughMemoryException);
    EXPECT_EQ(cdr.getSerializedDataLength(), 48u);
    EXPECT_EQ(hexOf(bytes.data() + 48, 4), "02000000");
}

TEST(RecordTest, AShorterSequenceReplacesALongerOne)
{
    auto status = numbered<MeasurementIncorporationStatus>();
    status.meas_types().resize(250);
    MeasurementIncorporationStatus read;
    read.meas_types().resize(170);
    const auto replaceBy = [&](std::size_t count) {
        status.meas_types().resize(count);
        auto bytes = fromHex(wireOf(status));
        FastBuffer buffer(bytes.data(), bytes.size());
        Cdr cdr(buffer);
        read.deserialize(cdr);
        EXPECT_EQ(read.meas_types().size(), count);
        EXPECT_EQ(wireOf(read), wireOf(status));
    };
    replaceBy(250);
    replaceBy(100);
    replaceBy(2);
    replaceBy(0);
}
