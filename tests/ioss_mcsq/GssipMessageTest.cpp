#include "ioss_mcsq/GssipMessage.h"

#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Counts what is called, in order: 'd' for the debug print, 'w' for a write.
class Sink : public IWriteByteStreams {
public:
    void write(const std::uint8_t* bytes, std::size_t length) override
    {
        calls += 'w';
        written.assign(bytes, bytes + length);
    }

    std::string calls;
    Bytes written;
};

/// A message of a storage of `Words` words.
template <std::size_t Words>
class Probe : public GssipMessage {
public:
    explicit Probe(std::uint32_t wdcnt, Sink* sink = nullptr) : m_sink(sink)
    {
        attachFrame(storage, wdcnt, 0x1234, 0x8000);
    }

    void debugPrintMessage() override
    {
        if (m_sink != nullptr) m_sink->calls += 'd';
    }

private:
    Sink* m_sink;

public:
    std::array<std::uint16_t, Words> storage{};
    std::array<std::uint16_t, 4> behind = {7, 7, 7, 7};
};

class Frameless : public GssipMessage {};

static_assert(!std::is_copy_constructible_v<GssipMessage> && !std::is_copy_assignable_v<GssipMessage>);
static_assert(!std::is_move_constructible_v<ThreatData> && !std::is_move_assignable_v<ThreatData>);
static_assert(!std::is_copy_constructible_v<ZentorM_8504_Msg> && !std::is_copy_constructible_v<ZentorM_5044_Msg>);

}  // namespace

TEST(GssipMessageTest, AttachedFrameIsClearWithItsHeaderButForTheChecksum)
{
    class Used : public Probe<8> {
    public:
        Used() : Probe(2)
        {
            storage.fill(0x7777);
            attachFrame(storage, 2, 0x1234, 0x8000);
        }
    } message;
    EXPECT_EQ(message.storage, (std::array<std::uint16_t, 8>{0x81FF, 0x1234, 2, 0x8000, 0, 0, 0, 0}));
    EXPECT_EQ(message.wordCount(), 2u);
    EXPECT_EQ(message.messageId(), 0x1234);
}

TEST(GssipMessageTest, MembersStandInTheirOrderBehindTheTable)
{
    Probe<8> message(2);
    const auto* const base = reinterpret_cast<const unsigned char*>(static_cast<const GssipMessage*>(&message));
    const std::uint16_t* pointers[2];
    std::memcpy(pointers, base + sizeof(void*), sizeof(pointers));
    EXPECT_EQ(pointers[0], &message.storage[0]);
    EXPECT_EQ(pointers[1], &message.storage[5]);
    const unsigned char* rest = base + 3 * sizeof(void*);
    std::uint32_t count = 0;
    std::memcpy(&count, rest, 4);
    EXPECT_EQ(count, 2u);
    std::uint16_t id = 0;
    std::memcpy(&id, rest + 4, 2);
    EXPECT_EQ(id, 0x1234);
    EXPECT_EQ(rest[6], 0);
    EXPECT_EQ(rest[7], 0);
    message.insert_checksum();
    EXPECT_EQ(rest[6], 1);
    EXPECT_EQ(rest[7], 1);
}

TEST(GssipMessageTest, WithoutAFrameNothingHappens)
{
    Frameless message;
    Sink sink;
    const Bytes block(14);
    EXPECT_FALSE(message.OkSetContent(block.data(), 12)) << "the length fits a count of 0";
    EXPECT_EQ(message.checksumOfContents(), 0);
    EXPECT_EQ(message.checksumOfHeader(), 0);
    EXPECT_EQ(message.calculateHeaderChecksum(), 0);
    message.set_gpsip_wdcnt(3);
    EXPECT_EQ(message.wordCount(), 3u);
    message.setHeaderChecksum();
    message.insert_checksum();
    message.clearContents();
    message.WriteMessage(&sink);
    EXPECT_EQ(sink.calls, "");
    EXPECT_TRUE(message.frame().empty());
}

TEST(GssipMessageTest, LengthIsHalvedBeforeItIsCompared)
{
    ZentorM_8504_Msg message;
    const Bytes block(500, 0x11);
    for (const auto length : std::to_array<std::uint16_t>({0, 1, 10, 11, 12, 410, 411, 414, 500}))
        EXPECT_FALSE(message.OkSetContent(block.data(), length)) << length;
    EXPECT_EQ(message.frame()[5], 0) << "nothing copied";
    EXPECT_TRUE(message.OkSetContent(block.data(), 412));
    EXPECT_TRUE(message.OkSetContent(block.data(), 413));
}

TEST(GssipMessageTest, WholeFrameIsTakenWithoutALookAtIt)
{
    Probe<8> message(2);
    const Bytes block = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 99};
    EXPECT_TRUE(message.OkSetContent(block.data(), 16));
    EXPECT_EQ(std::memcmp(message.storage.data(), block.data(), 16), 0);
    EXPECT_EQ(message.wordCount(), 2u) << "the received header tells otherwise";
    EXPECT_EQ(message.messageId(), 0x1234);
}

TEST(GssipMessageTest, OddByteIsKeptOnlyWhereThereIsRoomForIt)
{
    Probe<8> message(2);
    const Bytes block(17, 0x11);
    EXPECT_TRUE(message.OkSetContent(block.data(), 17));
    EXPECT_EQ(message.behind, (std::array<std::uint16_t, 4>{7, 7, 7, 7}));
    Probe<8> roomier(1);
    EXPECT_TRUE(roomier.OkSetContent(block.data(), 15));
    EXPECT_EQ(roomier.storage[7], 0x0011);
}

TEST(GssipMessageTest, FrameWithoutDataIsNoContent)
{
    Probe<6> message(0);
    const Bytes block(14, 0x11);
    EXPECT_FALSE(message.OkSetContent(block.data(), 10));
    EXPECT_TRUE(message.OkSetContent(block.data(), 12));
    EXPECT_TRUE(message.OkSetContent(block.data(), 13));
    EXPECT_FALSE(message.OkSetContent(block.data(), 14));
}

TEST(GssipMessageTest, NullBlockIsRefused)
{
    Probe<8> message(2);
    EXPECT_FALSE(message.OkSetContent(nullptr, 16));
}

TEST(GssipMessageTest, HeaderChecksums)
{
    Probe<8> message(2);
    EXPECT_EQ(message.checksumOfHeader(), 0xEBCB);
    EXPECT_EQ(message.calculateHeaderChecksum(), 0xEBCB);
    message.setHeaderChecksum();
    EXPECT_EQ(message.storage[4], 0xEBCB);
    EXPECT_EQ(message.checksumOfHeader(), 0);
    EXPECT_EQ(message.calculateHeaderChecksum(), 0xEBCB);
}

TEST(GssipMessageTest, ContentsChecksumCoversTheDataOnly)
{
    Probe<8> message(2);
    message.storage[5] = 3;
    message.storage[6] = 4;
    message.storage[7] = 0x1000;
    EXPECT_EQ(message.checksumOfContents(), 0xFFF9);
    message.set_gpsip_wdcnt(0);
    EXPECT_EQ(message.checksumOfContents(), 0);
}

TEST(GssipMessageTest, InsertedChecksumsMakeTheSumsZero)
{
    Probe<8> message(2);
    message.storage[5] = 3;
    message.storage[6] = 4;
    message.insert_checksum();
    EXPECT_EQ(message.storage, (std::array<std::uint16_t, 8>{0x81FF, 0x1234, 2, 0x8000, 0xEBCB, 3, 4, 0xFFF9}));
}

TEST(GssipMessageTest, InsertsNothingWhenTheHeaderTellsAnotherCount)
{
    Probe<8> message(2);
    message.storage[2] = 1;
    message.insert_checksum();
    EXPECT_EQ(message.storage, (std::array<std::uint16_t, 8>{0x81FF, 0x1234, 1, 0x8000, 0, 0, 0, 0}));
}

TEST(GssipMessageTest, WithoutDataOnlyTheHeaderGetsAChecksum)
{
    Probe<6> message(0);
    message.storage[5] = 0x7777;
    message.insert_checksum();
    EXPECT_EQ(message.storage, (std::array<std::uint16_t, 6>{0x81FF, 0x1234, 0, 0x8000, 0xEBCD, 0x7777}));
}

TEST(GssipMessageTest, WritesTheFrameAfterTheDebugPrint)
{
    Sink sink;
    Probe<9> message(2, &sink);
    message.storage[5] = 3;
    message.WriteMessage(&sink);
    EXPECT_EQ(sink.calls, "dw");
    EXPECT_EQ(sink.written, (Bytes{0xFF, 0x81, 0x34, 0x12, 2, 0, 0, 0x80, 0xCB, 0xEB, 3, 0, 0, 0, 0xFD, 0xFF}));
}

TEST(GssipMessageTest, WritesTenBytesWithoutData)
{
    Sink sink;
    Probe<5> message(0, &sink);
    message.WriteMessage(&sink);
    EXPECT_EQ(sink.calls, "dw");
    EXPECT_EQ(sink.written, (Bytes{0xFF, 0x81, 0x34, 0x12, 0, 0, 0, 0x80, 0xCD, 0xEB}));
}

TEST(GssipMessageTest, NullSinkIsNotWrittenTo)
{
    Sink sink;
    Probe<8> message(2, &sink);
    message.WriteMessage(nullptr);
    EXPECT_EQ(sink.calls, "");
    EXPECT_EQ(message.storage[4], 0) << "nor are checksums inserted";
}

TEST(GssipMessageTest, WritesNothingBeforeChecksumsWereInserted)
{
    Sink sink;
    Probe<8> message(2, &sink);
    message.storage[2] = 1;
    message.WriteMessage(&sink);
    EXPECT_EQ(sink.calls, "");
    message.setHeaderChecksum();
    message.WriteMessage(&sink);
    EXPECT_EQ(sink.calls, "") << "the stored header checksum alone does not count";
}

TEST(GssipMessageTest, WritesNothingBeforeTheHeaderChecksumWithoutDataEither)
{
    Sink sink;
    Probe<6> message(0, &sink);
    message.storage[2] = 1;
    message.WriteMessage(&sink);
    EXPECT_EQ(sink.calls, "");
}

TEST(GssipMessageTest, WritesNothingWhenOnlyTheHeaderWasInserted)
{
    Sink sink;
    Probe<8> message(0, &sink);
    message.insert_checksum();
    message.set_gpsip_wdcnt(2);
    message.storage[2] = 1;
    message.WriteMessage(&sink);
    EXPECT_EQ(sink.calls, "");
}

TEST(GssipMessageTest, OnceInsertedChecksumsLetAMismatchedFrameGo)
{
    Sink sink;
    Probe<8> message(2, &sink);
    message.insert_checksum();
    message.storage[2] = 1;
    message.WriteMessage(&sink);
    EXPECT_EQ(sink.calls, "dw");
    EXPECT_EQ(sink.written.size(), 16u);
    EXPECT_EQ(sink.written[4], 1);
}

TEST(GssipMessageTest, ClearedContentsKeepTheirChecksum)
{
    Probe<8> message(2);
    message.storage = {1, 2, 3, 4, 5, 6, 7, 8};
    message.clearContents();
    EXPECT_EQ(message.storage, (std::array<std::uint16_t, 8>{1, 2, 3, 4, 5, 0, 0, 8}));
}

TEST(GssipMessageTest, ClearedContentsKeepTheFlags)
{
    Sink sink;
    Probe<8> message(2, &sink);
    message.insert_checksum();
    message.clearContents();
    message.storage[2] = 1;
    message.WriteMessage(&sink);
    EXPECT_EQ(sink.calls, "dw");
}

TEST(GssipMessageTest, WordCountIsSetInHeaderAndObject)
{
    Probe<12> message(2);
    message.setHeaderChecksum();
    message.set_gpsip_wdcnt(5);
    EXPECT_EQ(message.wordCount(), 5u);
    EXPECT_EQ(message.storage[2], 5);
    EXPECT_EQ(message.storage[4], 0xEBCB) << "the checksum is as it was";
    const Bytes block(22);
    EXPECT_TRUE(message.OkSetContent(block.data(), 22));
}

TEST(GssipMessageTest, WordCountBeyondTheStorageTouchesNothing)
{
    for (const std::uint32_t count : {3u, 200u, 65536u + 2u, 0x80000000u, 0xFFFFFFF8u, 0xFFFFFFFAu, 0xFFFFFFFFu}) {
        Sink sink;
        Probe<8> message(2);
        message.insert_checksum();
        message.set_gpsip_wdcnt(count);
        const auto before = message.storage;
        const Bytes block(70000, 0x11);
        for (const unsigned length : {0u, 4u, 8u, 12u, 16u, 18u, 412u, 65535u})
            EXPECT_FALSE(message.OkSetContent(block.data(), static_cast<std::uint16_t>(length))) << count;
        EXPECT_EQ(message.checksumOfContents(), 0) << count;
        message.clearContents();
        message.insert_checksum();
        message.WriteMessage(&sink);
        EXPECT_EQ(message.storage, before) << count;
        EXPECT_EQ(sink.calls, "") << count;
        EXPECT_EQ(message.behind, (std::array<std::uint16_t, 4>{7, 7, 7, 7}));
    }
}

TEST(GssipMessageTest, StorageShorterThanAHeaderIsNoFrame)
{
    Probe<4> message(0);
    EXPECT_TRUE(message.frame().empty());
    EXPECT_EQ(message.wordCount(), 0u);
}

TEST(GssipMessageTest, VirtualOperationsStandInTheirOrder)
{
    struct Order {
        virtual ~Order() = default;
        virtual void first() {}
        virtual void second() {}
    };
    EXPECT_EQ(virtualSlot(&GssipMessage::OkSetContent), virtualSlot(&Order::first));
    EXPECT_EQ(virtualSlot(&GssipMessage::debugPrintMessage), virtualSlot(&Order::second));
    EXPECT_EQ(virtualSlot(&IWriteByteStreams::write), virtualSlot(&Order::first));
}

TEST(GssipMessageTest, RecordStandsRightBehindTheFrame)
{
    const auto distance = [](const auto& message) {
        return reinterpret_cast<const std::uint8_t*>(&message.unpacked()) -
               reinterpret_cast<const std::uint8_t*>(&message.packed());
    };
    EXPECT_EQ(distance(std::as_const(*std::make_unique<ZentorM_5044_Msg>())), 54);
    EXPECT_EQ(distance(std::as_const(*std::make_unique<ZentorM_8504_Msg>())), 412);
}
