#include "ioss_mcsq/GssipTopicSerializer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Desk.h"
#include "tests/support/FrameBytes.h"
#include "tests/support/Inputs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using Ending = ChildProcess::Ending;
using Json = Bus::Json;
using testing::ElementsAre;

namespace {

constexpr const char* kTool = ORVANE_CTL_BINARY;
constexpr const char* kCopy = "/tmp/copy";
constexpr const char* kBlended = "blended-navigation";

/// The service, the tool beside it, and the six inputs, a second of which is sent at a time.
struct WhyVerbTest : testing::Test {
    void begin(const std::vector<std::string>& options)
    {
        desk.set("Debug", "true");
        desk.run();
        bus.emplace();
        ASSERT_TRUE(inputs.waitForService());
        std::ofstream{kCopy};
        std::vector<std::string> line = {kTool, "why", "--json"};
        line.insert(line.end(), options.begin(), options.end());
        why.emplace(line);
        ASSERT_TRUE(eventually([this] { return why->output().find("\"hears\"") != std::string::npos; }));
        // It knows of the publishers, and they of it.
        ASSERT_TRUE(inputs.waitForService(2));
        // A first message may still be lost on its way to the tool.
        ASSERT_TRUE(eventually([this] {
            good();
            return why->output().find("\"joined\":true") != std::string::npos;
        })) << why->output();
        bus->request({{"request", "status"}});
        toldBefore = bus->tells(kBlended);
        before = second;
    }

    /// What goes into the queue goes into its copy.
    void sendReceiver(std::size_t bytesLess = 0)
    {
        ZentorM_8504_Msg message;
        message.pack_8504();
        FrameBytes frame;
        message.WriteMessage(&frame);
        frame.data.resize(frame.data.size() - bytesLess);
        inputs.receiver.num_bytes(static_cast<std::int32_t>(frame.data.size()));
        inputs.receiver.data(frame.data);
        GssipTopicSerializer serializer;
        std::vector<std::uint8_t> bytes;
        ASSERT_TRUE(serializer.Serialize(inputs.receiver, bytes));
        desk.send(5, bytes);
        std::ofstream(kCopy, std::ios::app | std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    /// The next second, all valid at it.
    void nextSecond()
    {
        ++second;
        inputs.utcTime.gps_tow_sec(static_cast<std::int32_t>(second));
        validAt(inputs.utcTime, second);
        validAt(inputs.pva, second);
        validAt(inputs.pnt, second);
        validAt(inputs.mis, second);
        validAt(inputs.assurance, second);
        validAt(inputs.receiver, second);
        inputs.sendUtcTime();
        inputs.sendPva();
        inputs.sendMis();
        inputs.sendAssurance();
    }

    void good()
    {
        nextSecond();
        inputs.sendPnt();
        sendReceiver();
        bus->awaitTell(kBlended, [this](const Json& tell) { return tell.at("record").at("gpsSeconds") == second; });
    }

    /// What becomes of it is left to the service, which has looked at it then.
    void bad(const std::function<void()>& rest)
    {
        nextSecond();
        rest();
        ASSERT_TRUE(desk.awaitTurns());
    }

    /// What is done with each input of a second.
    enum class How { Good, Absent, Late, Early, Foreign, Broken };
    struct Second {
        How time = How::Good, pva = How::Good, pnt = How::Good, mis = How::Good, assurance = How::Good,
            receiver = How::Good;
    };

    /// Sends a message unless it is to be absent.
    template <class Message>
    void sendAs(How how, Message& message, const std::function<void()>& send) const
    {
        constexpr std::uint8_t kUnwanted = 97;
        validAt(message, second);
        if (how == How::Late) validAt(message, second - 2, 800'000'000);
        if (how == How::Early) validAt(message, second + 1, 200'000'000);
        const auto device = message.header().device_id();
        if (how == How::Foreign) message.header().device_id(deviceId(kUnwanted));
        if (how != How::Absent) send();
        message.header().device_id(device);
    }

    /// The next second, with what is wrong with it; the service has looked at it then.
    /// @param isPublished  what the service must do with it
    void sendSecond(const Second& what, bool isPublished)
    {
        ++second;
        inputs.utcTime.gps_tow_sec(static_cast<std::int32_t>(second));
        sendAs(what.time, inputs.utcTime, [this] { inputs.sendUtcTime(); });
        sendAs(what.pva, inputs.pva, [this] { inputs.sendPva(); });
        sendAs(what.pnt, inputs.pnt, [this] { inputs.sendPnt(); });
        sendAs(what.mis, inputs.mis, [this] { inputs.sendMis(); });
        sendAs(what.assurance, inputs.assurance, [this] { inputs.sendAssurance(); });
        sendAs(what.receiver, inputs.receiver, [&] { sendReceiver(what.receiver == How::Broken ? 2 : 0); });
        if (isPublished)
            bus->awaitTell(kBlended, [this](const Json& tell) { return tell.at("record").at("gpsSeconds") == second; });
        ASSERT_TRUE(desk.awaitTurns());
    }

    std::size_t published()
    {
        bus->request({{"request", "status"}});
        return bus->tells(kBlended) - toldBefore;
    }

    /// Ends the tool. The seconds since `begin` that it told of, from 1: "4 no HalvexPNT", "5 joined".
    std::vector<std::string> end()
    {
        why->send(SIGTERM);
        EXPECT_EQ(why->wait(), Ending({0, 0})) << why->errors();
        std::vector<std::string> seconds;
        std::istringstream stream(why->output());
        for (std::string text; std::getline(stream, text);) {
            const Json line = Json::parse(text);
            if (line["kind"] == "sum") sum = line;
            if (line["kind"] != "epoch") continue;
            ++epochs;
            if (line["joined"]) ++joined;
            const std::int64_t number = line["gps_s"].get<std::int64_t>() - before;
            if (number < 1) continue;
            std::string told = std::to_string(number);
            if (line["joined"]) told += " joined";
            for (const std::string cause : line["causes"]) told += ' ' + cause;
            seconds.push_back(told);
        }
        return seconds;
    }

    Desk desk;
    Inputs inputs{desk};
    std::optional<Bus> bus;
    std::optional<ChildProcess> why;
    std::size_t toldBefore = 0;
    std::int64_t second = 0;
    std::int64_t before = 0;  // the second at which `begin` was done
    int epochs = 0;           // lines of the tool
    int joined = 0;
    Json sum;
};

}  // namespace

TEST_F(WhyVerbTest, ItCountsWhatTheServicePublishesAndNamesTheRest)
{
    desk.set("PARAM_7", "96");
    begin({"--socket", "/tmp/bus", "--receiver", kCopy, "--all"});
    good();
    bad([this] { sendReceiver(); });
    good();
    bad([this] {
        validAt(inputs.pnt, second - 2, 800'000'000);
        inputs.sendPnt();
        sendReceiver();
    });
    bad([this] {
        inputs.pnt.header().device_id(deviceId(97));
        inputs.sendPnt();
        inputs.pnt.header().device_id(deviceId(96));
        sendReceiver();
    });
    bad([this] { inputs.sendPnt(); });
    bad([this] {
        inputs.sendPnt();
        sendReceiver(2);
    });
    good();
    const std::size_t told = published();
    EXPECT_THAT(end(),
                ElementsAre("1 joined", "2 no HalvexPNT", "3 joined", "4 HalvexPNT 1.2 s late",
                            "5 HalvexPNT refused, from pilServer", "6 no 8504", "7 8504 not a frame", "8 joined"));
    EXPECT_EQ(told, 3u);
    EXPECT_EQ(sum["joined"], joined);
    EXPECT_EQ(sum["epochs"], epochs);
}

TEST_F(WhyVerbTest, WithoutTheReceiverItNamesWhatItDoesNotHear)
{
    begin({"--socket", "/tmp/bus", "--all"});
    good();
    bad([this] { inputs.sendPnt(); });
    good();
    bad([this] {
        inputs.sendPnt();
        sendReceiver(2);
    });
    good();
    EXPECT_THAT(end(), ElementsAre("1 joined", "2 no 8504 read", "3 joined", "4 no usable 8504", "5 joined"));
}

TEST_F(WhyVerbTest, WithoutABusItTellsWhatTheServiceCouldHaveJoined)
{
    begin({"--receiver", kCopy, "--all"});
    const auto all = [this] {
        inputs.sendPnt();
        sendReceiver();
    };
    // It looks four times a second, too, but not at the moments at which the service does.
    bad(all);
    bad([this] { sendReceiver(); });
    bad(all);
    EXPECT_THAT(end(), ElementsAre("1 joined", "2 no HalvexPNT", "3 joined"));
    EXPECT_EQ(published(), 2u);
}

TEST_F(WhyVerbTest, ByTheRuleAloneItTellsTheSecondsThatTheServicePublishes)
{
    // Only from this source; of an assurance state any is taken.
    for (const char* const key : {"PARAM_3", "PARAM_4", "PARAM_6", "PARAM_7"}) desk.set(key, "96");
    begin({"--receiver", kCopy, "--all"});
    constexpr auto Absent = How::Absent, Late = How::Late, Early = How::Early, Foreign = How::Foreign;
    // What is late comes behind a second that is published: no other input is left that it would fit.
    sendSecond({}, true);
    sendSecond({.pva = Late}, false);
    sendSecond({.pva = Absent}, false);
    sendSecond({.pva = Foreign}, false);
    sendSecond({}, true);
    sendSecond({.pnt = Late}, false);
    sendSecond({.pnt = Foreign}, false);
    sendSecond({.pnt = Early}, false);
    sendSecond({.pnt = Absent}, true);  // the early one is of this second
    sendSecond({.assurance = Late}, false);
    sendSecond({.mis = Absent}, false);
    sendSecond({.mis = Foreign}, false);
    sendSecond({.assurance = Foreign}, true);
    sendSecond({.receiver = Late}, false);
    sendSecond({.receiver = Absent}, false);
    sendSecond({.receiver = Foreign}, false);
    sendSecond({.receiver = How::Broken}, false);
    sendSecond({}, true);
    sendSecond({.time = Foreign}, false);
    sendSecond({}, true);
    sendSecond({.time = Late}, false);
    sendSecond({}, true);
    sendSecond({.pva = Absent, .pnt = Late}, false);
    sendSecond({}, true);
    EXPECT_EQ(published(), 8u);
    EXPECT_THAT(
        end(),
        ElementsAre("1 joined", "2 PositionVelocityAttitude 1.2 s late", "3 no PositionVelocityAttitude",
                    "4 PositionVelocityAttitude refused, from pilServer", "5 joined", "6 HalvexPNT 1.2 s late",
                    "7 HalvexPNT refused, from pilServer", "8 HalvexPNT 1.2 s early", "9 joined",
                    "10 AssuranceState 1.2 s late", "11 no MeasurementIncorporationStatus",
                    "12 MeasurementIncorporationStatus refused, from pilServer", "13 joined", "14 8504 1.2 s late",
                    "15 no 8504", "16 8504 refused, from pilServer", "17 8504 not a frame", "18 joined",
                    "19 UTCTime refused, from pilServer", "20 joined",
                    "21 PositionVelocityAttitude 1.2 s early HalvexPNT 1.2 s early MeasurementIncorporationStatus 1.2 "
                    "s early AssuranceState 1.2 s early 8504 1.2 s early",
                    "22 joined", "23 no PositionVelocityAttitude HalvexPNT 1.2 s late", "24 joined"));
}

TEST_F(WhyVerbTest, TheDesksOwnCopyIsFound)
{
    std::filesystem::create_directory("/tmp/desk");
    begin({"--socket", "/tmp/bus", "--all"});
    std::filesystem::create_hard_link(kCopy, "/tmp/desk/receiver");
    ASSERT_TRUE(eventually([this] {
        bad([this] { inputs.sendPnt(); });
        return why->output().find("\"no 8504\"") != std::string::npos;
    })) << why->output();
    end();
    EXPECT_EQ(sum["receiver"], true);
}

TEST_F(WhyVerbTest, AServiceThatEndsIsTheCause)
{
    begin({"--socket", "/tmp/bus", "--all"});
    good();
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    EXPECT_TRUE(eventually([this] {
        nextSecond();
        return why->output().find("no service running") != std::string::npos;
    })) << why->output();
}

TEST(WhyVerbOptionsTest, AFileThatTheServiceDoesNotTakeIsNotListenedBy)
{
    ChildProcess why({kTool, "why", "/nowhere/OrvaneServer.xml"});
    EXPECT_EQ(why.wait(), Ending({1, 0}));
    EXPECT_EQ(why.errors(), "orvanectl: /nowhere/OrvaneServer.xml: the service doesn't take this file; orvanectl check "
                            "tells why\n");
}
