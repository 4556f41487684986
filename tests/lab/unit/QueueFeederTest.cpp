#include "lab/unit/QueueFeeder.h"

#include "ioss_mcsq/GssipMcsq.h"
#include "ioss_mcsq/GssipTopicSerializer.h"
#include "ioss_mcsq/HX_MCSQ.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "lab/unit/DeviceMap.h"
#include "lab/unit/ReceiverFrames.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fcntl.h>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace unitsim;
using aspn2_msgs::idl::GSSIP;

namespace {

class QueueFeederTest : public testing::Test {
protected:
    QueueFeederTest()
    {
        if (mkfifo(m_pipe.c_str(), 0600) != 0) throw std::runtime_error("cannot make " + m_pipe);
    }

    /// What one read gets.
    std::vector<std::uint8_t> readOnce() const
    {
        const int descriptor = open(m_pipe.c_str(), O_RDONLY | O_NONBLOCK);
        std::vector<std::uint8_t> bytes(65536);
        const ssize_t count = read(descriptor, bytes.data(), bytes.size());
        close(descriptor);
        bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return bytes;
    }

    /// The sequence number of the record that one read gets; -1 if that is not one whole record.
    std::int64_t sequenceReadOnce() const
    {
        const auto bytes = readOnce();
        GssipTopicSerializer serializer;
        GSSIP record;
        if (!serializer.Deserialize(bytes.data(), static_cast<std::uint32_t>(bytes.size()), record)) return -1;
        return bytes.size() == record.data().size() + 56 ? record.header().seq_num() : -1;
    }

    TemporaryDirectory m_directory;
    std::string m_pipe = (m_directory.path() / "mcs5").string();
};

GSSIP report(std::int64_t sequence, std::uint16_t words = 200)
{
    Solution solution;
    solution.time = GpsMoment::fromUtcSeconds(1772323200);
    solution.state.attitude = {0.0, 0.0, 1.25};
    GSSIP record = gssipRecord(frame8504(solution, {}, words));
    record.header().seq_num(sequence);
    record.header().device_id(0x01270000);
    return record;
}

}  // namespace

TEST_F(QueueFeederTest, ACopyGetsTheSameBytes)
{
    QueueFeeder feeder(m_pipe);
    std::vector<std::uint8_t> copied;
    feeder.setCopy([&](std::span<const std::uint8_t> record) { copied.assign(record.begin(), record.end()); });
    feeder.send(gssipRecord({0xFF, 0x81}));
    EXPECT_EQ(copied.size(), 58u);
    EXPECT_EQ(readOnce(), copied);
}

TEST_F(QueueFeederTest, BytesAreOnePacketAsTheyAre)
{
    QueueFeeder feeder(m_pipe);
    const std::vector<std::uint8_t> bytes = {1, 2, 3};
    feeder.send(bytes);
    feeder.send(bytes);
    EXPECT_EQ(readOnce(), bytes);
    EXPECT_THROW(feeder.send(std::vector<std::uint8_t>(4097)), std::length_error);
}

TEST_F(QueueFeederTest, EachReadGetsOneRecord)
{
    QueueFeeder feeder(m_pipe);
    for (const int sequence : {1, 2, 3}) feeder.send(report(sequence));
    EXPECT_EQ(sequenceReadOnce(), 1);
    EXPECT_EQ(sequenceReadOnce(), 2);
    EXPECT_EQ(sequenceReadOnce(), 3);
    EXPECT_EQ(feeder.sent(), 3U);
    EXPECT_EQ(feeder.dropped(), 0U);
}

TEST_F(QueueFeederTest, RecordsOfAnyLengthStayWhole)
{
    QueueFeeder feeder(m_pipe);
    for (const std::uint16_t words : std::initializer_list<std::uint16_t>{0, 1, 199, 1900}) {
        feeder.send(report(words, words));
        EXPECT_EQ(sequenceReadOnce(), words);
    }
}

TEST_F(QueueFeederTest, OldestMakesRoomWhenNobodyReads)
{
    QueueFeeder feeder(m_pipe);
    for (int sequence = 0; sequence < 1000; ++sequence) feeder.send(report(sequence));
    EXPECT_EQ(feeder.sent(), 1000U);
    ASSERT_GT(feeder.dropped(), 0U);
    EXPECT_EQ(sequenceReadOnce(), static_cast<std::int64_t>(feeder.dropped()));
}

TEST_F(QueueFeederTest, RecordLongerThanAPacketIsRefused)
{
    QueueFeeder feeder(m_pipe);
    EXPECT_THROW(feeder.send(report(1, 2500)), std::length_error);
    EXPECT_EQ(feeder.sent(), 0U);
}

TEST_F(QueueFeederTest, OnlyAPipeIsTaken)
{
    const std::string file = m_directory.write("mcs6", "");
    EXPECT_THROW(QueueFeeder feeder(file), std::runtime_error);
    EXPECT_THROW(QueueFeeder feeder("/dev/null"), std::runtime_error);
    EXPECT_THROW(QueueFeeder feeder(m_pipe + "0"), std::runtime_error);
}

TEST_F(QueueFeederTest, ReportArrivesThroughTheServicesOwnChannel)
{
    QueueFeeder feeder(m_pipe);
    const std::string prefix = (m_directory.path() / "mcs").string();
    std::mutex mutex;
    std::vector<GSSIP> arrived;
    GssipMcsq channel("test", std::make_unique<FACE::IOSS::HX_MCSQ>(prefix));
    FACE::RETURN_CODE_TYPE::Value code = FACE::RETURN_CODE_TYPE::NO_ACTION;
    channel.Connect_ReadOnly(
        ORVANE_LAB_DIR "/config/IODevices.xml", "ZEN_HX",
        [&](const GSSIP& record) {
            const std::lock_guard lock(mutex);
            arrived.push_back(record);
        },
        code);
    ASSERT_EQ(code, FACE::RETURN_CODE_TYPE::NO_ERROR);
    feeder.send(report(41));
    feeder.send(report(42));
    ASSERT_TRUE(eventually([&] {
        const std::lock_guard lock(mutex);
        return arrived.size() == 2;
    }));
    const std::lock_guard lock(mutex);
    EXPECT_EQ(arrived[1].header().seq_num(), 42);
    EXPECT_EQ(arrived[1].header().device_id(), 0x01270000);
    ZentorM_8504_Msg message;
    ASSERT_TRUE(message.ok_set_8504_gpsip(arrived[1].data().data(), 412));
    message.unpack_8504();
    EXPECT_EQ(float{message.unpacked().angle084}, 1.25F);
}
