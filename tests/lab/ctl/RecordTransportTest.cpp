#include "aspn2_msgs/EventLog.h"
#include "lab/ctl/record/RecordingInfo.h"
#include "lab/ctl/record/RecordingRepair.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Transport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

using namespace orvanectl;
using aspn2_msgs::idl::EventLog;
using FACE::RETURN_CODE_TYPE;

namespace {

/// A publisher of events on the topic "Log", and the recorder beside it.
struct RecordTransportTest : testing::Test {
    RecordTransportTest()
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ACTION;
        front->Register_Sender(id, code);
        EXPECT_EQ(code, RETURN_CODE_TYPE::NO_ERROR);
    }

    void publish(std::int64_t number) const
    {
        EventLog event;
        event.header().seq_num(number);
        event.header().device_id(0x01340100);
        event.eventlog("event");
        EXPECT_EQ(front->write(id, event), RETURN_CODE_TYPE::NO_ERROR);
    }

    std::uint64_t recorded() const
    {
        try {
            return infoOf(file).channels.at(0).messages;
        } catch (const std::exception&) {
            return 0;  // not there yet
        }
    }

    /// Publishes until some of it is in the file: the tool misses what is sent before it knows of the publisher.
    bool publishUntilRecorded()
    {
        return eventually([&] {
            publish(next++);
            return recorded() > 0;
        });
    }

    const TransportConfig config = TransportConfig().set("HistoryDepth", "1000").connect("Log", "EventLog");
    const TemporaryDirectory directory;
    const std::string connections = directory.write("Connections.xml", config.text());
    const std::string file = connections + ".mcap";
    const Transport transport{config};
    const long long id = transport.connect("Log");
    const std::shared_ptr<FACE::TSS::Details::HX_TypedTS<EventLog>> front = transport.typed<EventLog>();
    std::int64_t next = 1;
    ChildProcess tool{{ORVANE_CTL_BINARY, "record", "-o", file, "--connections", connections}};
};

}  // namespace

TEST(RecordQueueTest, AllThatACopyHasAtTheEndIsRecorded)
{
    const TransportConfig config = TransportConfig().connect("Log", "EventLog");
    const TemporaryDirectory directory;
    const std::string connections = directory.write("Connections.xml", config.text());
    const std::string copy = directory.write("copy.bin", std::string(16U * 1024 * 1024, 'x'));
    const std::string file = connections + ".mcap";
    ChildProcess tool({ORVANE_CTL_BINARY, "record", "-o", file, "--connections", connections, "--queue",
                       "ZEN_HX=" + copy, "--for", "0.001"});
    EXPECT_EQ(tool.wait(), (ChildProcess::Ending{0, 0})) << tool.errors();
    const RecordingInfo info = infoOf(file);
    EXPECT_EQ(info.channels.at(2).topic, "queue/ZEN_HX/rest");
    EXPECT_EQ(info.channels.at(2).messages, 256U);  // of 64 KiB
}

TEST_F(RecordTransportTest, CtrlCClosesTheRecordingAndSumsUp)
{
    ASSERT_TRUE(publishUntilRecorded());
    tool.send(SIGINT);
    EXPECT_EQ(tool.wait(), (ChildProcess::Ending{0, 0})) << tool.errors();
    const RecordingInfo info = infoOf(file);
    EXPECT_TRUE(info.isClosed);
    EXPECT_EQ(info.channels.at(0).unreadable, 0U);
    EXPECT_TRUE(tool.output().starts_with("orvanectl: " + std::to_string(info.channels[0].messages) + " messages in "))
        << tool.output();
}

TEST_F(RecordTransportTest, WhatWasSentBeforeTheRecorderIsTold)
{
    for (int i = 0; i < 3; ++i) publish(next++);
    ChildProcess late({ORVANE_CTL_BINARY, "record", "-o", file + "2", "--connections", connections});
    ASSERT_TRUE(eventually([&] {
        publish(next++);
        try {
            return infoOf(file + "2").earlier.contains("Log");
        } catch (const std::exception&) {
            return false;  // not there yet
        }
    }));
    late.send(SIGINT);
    EXPECT_EQ(late.wait(), (ChildProcess::Ending{0, 0})) << late.errors();
    const RecordingInfo info = infoOf(file + "2");
    EXPECT_GE(std::stoll(info.earlier.at("Log")), 3);
    EXPECT_NE(
        late.output().find("\norvanectl: " + info.earlier.at("Log") + " were sent before their publisher was heard\n"),
        std::string::npos)
        << late.output();
}

TEST_F(RecordTransportTest, KilledRecorderLeavesAFileThatRepairCloses)
{
    ASSERT_TRUE(publishUntilRecorded());
    tool.send(SIGKILL);
    EXPECT_EQ(tool.wait().signal, SIGKILL);
    EXPECT_FALSE(infoOf(file).isClosed);
    const std::uint64_t before = recorded();
    repairRecording(file, "");
    EXPECT_TRUE(infoOf(file).isClosed);
    EXPECT_EQ(recorded(), before);
}

TEST_F(RecordTransportTest, FileThatIsThereIsNotWrittenOver)
{
    ASSERT_TRUE(publishUntilRecorded());
    ChildProcess other({ORVANE_CTL_BINARY, "record", "-o", file, "--connections", connections});
    EXPECT_EQ(other.wait(), (ChildProcess::Ending{1, 0}));
    EXPECT_EQ(other.errors(), "orvanectl: " + file + ": File exists\n");
}
