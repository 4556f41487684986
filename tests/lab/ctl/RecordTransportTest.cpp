#include "aspn2_msgs/EventLog.h"
#include "lab/ctl/record/RecordingInfo.h"
#include "lab/ctl/record/RecordingRepair.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Transport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>

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

    void publish(std::int64_t number, std::uint32_t type = 0) const
    {
        EventLog event;
        event.event_log_type(static_cast<aspn2_msgs::idl::event_log_type_enum>(type));
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

TEST_F(RecordTransportTest, NextFileIsBegunWhereTheOneBeforeIsFull)
{
    ChildProcess split({ORVANE_CTL_BINARY, "record", "-o", file, "--split", "1s", "--connections", connections});
    const std::string second = connections + "-0002.mcap", third = connections + "-0003.mcap";
    ASSERT_TRUE(eventually([&] {
        publish(next++);
        return std::filesystem::exists(third);
    })) << split.errors();
    split.send(SIGINT);
    EXPECT_EQ(split.wait(), (ChildProcess::Ending{0, 0})) << split.errors();
    EXPECT_TRUE(infoOf(second).isClosed);
    EXPECT_TRUE(infoOf(third).isClosed);
    EXPECT_EQ(infoOf(second).missed.at("left out"), "0");
}

TEST_F(RecordTransportTest, RingIsWrittenForAnEventOfTroubleAndForASignal)
{
    ChildProcess ring({ORVANE_CTL_BINARY, "record", "-o", file, "--ring", "600", "--connections", connections});
    const std::string first = connections + "-0001.mcap", second = connections + "-0002.mcap";
    ASSERT_TRUE(eventually([&] {
        publish(next++, 3);
        return ring.output().find(first) != std::string::npos;
    })) << ring.errors();
    ring.send(SIGUSR1);
    EXPECT_TRUE(eventually([&] { return ring.output().find(second) != std::string::npos; }));
    ring.send(SIGINT);
    EXPECT_EQ(ring.wait(), (ChildProcess::Ending{0, 0})) << ring.errors();
    EXPECT_TRUE(infoOf(first).isClosed);
    EXPECT_GT(infoOf(first).channels.at(0).messages, 0U);
    EXPECT_TRUE(infoOf(second).isClosed);
}

TEST_F(RecordTransportTest, RingIsWrittenForEnterOnATerminal)
{
    const std::string keys = connections + ".keys";
    ASSERT_EQ(mkfifo(keys.c_str(), 0600), 0);
    std::fstream pressed(keys);  // for both, so that nobody waits
    ChildProcess terminal({"/usr/bin/script", "-q", "-e", "-c",
                           ORVANE_CTL_BINARY " record -o " + file + " --ring 600 --connections " + connections,
                           "/dev/null"},
                          keys);
    ASSERT_TRUE(eventually([&] {
        publish(next++, 5);
        return terminal.output().find("-0001.mcap") != std::string::npos;
    })) << terminal.output();
    pressed << '\n' << std::flush;
    EXPECT_TRUE(eventually([&] { return terminal.output().find("-0002.mcap") != std::string::npos; }))
        << terminal.output();
}
