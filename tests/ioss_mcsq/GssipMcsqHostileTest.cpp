// What a queue may carry instead of records. Each bad read is followed by a good one, which must come through.

#include "tests/ioss_mcsq/GssipRecords.h"

#include <limits>

namespace {

using Numbers = std::vector<std::int64_t>;

std::string lost(int remainder)
{
    return "Tap: Process_Notification_Event(): A memory exception occurred on deserialize. Max Length: 131072 MCSQ "
           "remainder: " +
           std::to_string(remainder);
}

struct GssipMcsqHostileTest : GssipMcsqFixture {
    void SetUp() override { ASSERT_EQ(connect("ZEN_HX", keeping()), 0); }

    /// What comes of one message, up to a good record 99 in a message behind it.
    Numbers numbersFrom(const Bytes& message)
    {
        {
            const std::lock_guard lock(mutex);
            records.clear();
        }
        device.send(message);
        device.send(streamOf(recordOf(99, 10)));
        EXPECT_TRUE(isLast(99));
        return numbers();
    }

    /// One health event and one line, of the same text.
    void expectReported(const std::string& text)
    {
        EXPECT_EQ(healthEvents(), std::vector<std::string>{"3:" + text});
        EXPECT_EQ(output->text(), text + "\n");
    }
};

}  // namespace

TEST_F(GssipMcsqHostileTest, AMessageThatIsNoRecordIsReportedOnceAndDropped)
{
    EXPECT_EQ(numbersFrom(Bytes(200, 0xFF)), (Numbers{99}));
    expectReported(lost(200));
}

TEST_F(GssipMcsqHostileTest, EveryReadIsReportedByItself)
{
    numbersFrom(Bytes(200, 0xFF));
    numbersFrom(Bytes(100, 0xFF));
    EXPECT_EQ(healthEvents(), (std::vector<std::string>{"3:" + lost(200), "3:" + lost(100)}));
}

TEST_F(GssipMcsqHostileTest, WhatStandsBeforeABadRecordIsDeliveredAndWhatStandsBehindIsDropped)
{
    Bytes message = streamOf(recordOf(1, 7), recordOf(2, 0));
    message.resize(message.size() + 60, 0xFF);
    const Bytes behind = streamOf(recordOf(3, 7));
    message.insert(message.end(), behind.begin(), behind.end());
    EXPECT_EQ(numbersFrom(message), (Numbers{1, 2, 99}));
    expectReported(lost(123));
}

TEST_F(GssipMcsqHostileTest, ATailTooShortForARecordIsReported)
{
    for (const int tail : {1, 3, 4, 55}) {
        Bytes message = streamOf(recordOf(1, 5));
        message.resize(message.size() + static_cast<std::size_t>(tail));
        output.reset();
        output.emplace(std::cout);
        numbersFrom(message);
        expectReported(lost(tail));
    }
}

TEST_F(GssipMcsqHostileTest, ACutRecordIsReported)
{
    Bytes message = streamOf(recordOf(1, 100));
    message.resize(100);
    EXPECT_EQ(numbersFrom(message), (Numbers{99}));
    expectReported(lost(100));
}

TEST_F(GssipMcsqHostileTest, ADataCountBeyondTheMessageIsReported)
{
    Bytes message = streamOf(recordOf(1, 100));
    message[52] = message[53] = message[54] = message[55] = 0xFF;
    EXPECT_EQ(numbersFrom(message), (Numbers{99}));
    expectReported(lost(156));
}

TEST_F(GssipMcsqHostileTest, ALengthBeyondTheMessageIsDeliveredAndReported)
{
    EXPECT_EQ(numbersFrom(streamOf(recordOf(1, 5, 6), recordOf(2, 5))), (Numbers{1, 99}));
    // 123 bytes were left; 6 + 56 lead into the second record, whose bytes do not begin there.
    expectReported(lost(60));
}

TEST_F(GssipMcsqHostileTest, ALengthBeyondTheReadIsDeliveredAndReported)
{
    EXPECT_EQ(numbersFrom(streamOf(recordOf(1, 5, 1000), recordOf(2, 5))), (Numbers{1, 99}));
    expectReported(lost(122));
}

TEST_F(GssipMcsqHostileTest, ALengthOneBeyondTheReadIsDeliveredAndReported)
{
    EXPECT_EQ(numbersFrom(streamOf(recordOf(1, 5, 6))), (Numbers{1, 99}));
    expectReported(lost(61));
}

TEST_F(GssipMcsqHostileTest, ATooSmallLengthLeadsIntoTheData)
{
    EXPECT_EQ(numbersFrom(streamOf(recordOf(1, 5, 4))), (Numbers{1, 99}));
    expectReported(lost(1));
}

TEST_F(GssipMcsqHostileTest, ALengthThatLeadsNowhereIsDeliveredAndReported)
{
    for (const std::int32_t numBytes : {-56, -57, -1000000, std::numeric_limits<std::int32_t>::min()}) {
        output.reset();
        output.emplace(std::cout);
        EXPECT_EQ(numbersFrom(streamOf(recordOf(1, 5, numBytes), recordOf(2, 5))), (Numbers{1, 99})) << numBytes;
        expectReported(lost(122));
    }
}

TEST_F(GssipMcsqHostileTest, TheLargestLengthsDoNotOverflow)
{
    for (const std::int32_t numBytes : {std::numeric_limits<std::int32_t>::max(), 2147483592, 2147483591}) {
        output.reset();
        output.emplace(std::cout);
        EXPECT_EQ(numbersFrom(streamOf(recordOf(1, 5, numBytes), recordOf(2, 5))), (Numbers{1, 99})) << numBytes;
        expectReported(lost(122));
    }
}

TEST_F(GssipMcsqHostileTest, ASmallStepIsTaken)
{
    // -55 + 56: one byte on, where there is no record.
    EXPECT_EQ(numbersFrom(streamOf(recordOf(1, 5, -55))), (Numbers{1, 99}));
    expectReported(lost(60));
}

TEST_F(GssipMcsqHostileTest, ZerosAreRecordsOf56Bytes)
{
    EXPECT_EQ(numbersFrom(Bytes(168)), (Numbers{0, 0, 0, 99}));
    EXPECT_EQ(output->text(), "");
}

TEST_F(GssipMcsqHostileTest, WhatACallBackThrowsIsReportedAndTheNextRecordComes)
{
    int calls = 0;
    ASSERT_EQ(connect("HX_ZEN",
                      [&](const GSSIP& record) {
                          if (++calls == 1) throw std::runtime_error("x");
                          if (calls == 2) throw 2;
                          keeping()(record);
                      }),
              0);
    second.send(streamOf(recordOf(1, 5), recordOf(2, 5), recordOf(3, 5)));
    ASSERT_TRUE(isLast(3));
    EXPECT_EQ(numbers(), (Numbers{3}));
    const std::string text = "Tap: Process_Notification_Event(): A memory exception occurred ";
    EXPECT_EQ(healthEvents(), (std::vector<std::string>{"3:" + text, "3:" + text}));
    EXPECT_EQ(output->text(), text + "\n" + text + "\n");
}

TEST_F(GssipMcsqHostileTest, ACallBackThatThrowsDoesNotHideABadLength)
{
    ASSERT_EQ(connect("HX_ZEN",
                      [&](const GSSIP& record) {
                          if (record.header().seq_num() == 1) throw std::runtime_error("x");
                          keeping()(record);
                      }),
              0);
    second.send(streamOf(recordOf(1, 5, -100)));
    second.send(streamOf(recordOf(2, 5)));
    ASSERT_TRUE(isLast(2));
    EXPECT_EQ(healthEvents(),
              (std::vector<std::string>{"3:Tap: Process_Notification_Event(): A memory exception occurred ",
                                        "3:" + lost(61)}));
}
