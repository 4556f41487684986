#include "lab/ctl/serve/Replay.h"
#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/why/JoinEntries.h"
#include "tests/lab/mcap/Recordings.h"
#include "tests/support/ErrorOf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

using namespace orvanectl;
using namespace recordings;
using namespace aspn2_msgs::idl;
using namespace std::chrono_literals;

namespace {

using Json = BusLink::Json;

constexpr std::uint64_t kDay = 1'700'000'000;  // s since 1970, when it was recorded
constexpr auto kLong = 1h;

/// A recording that begins at 0 s, and a replay of it.
struct ReplayTest : testing::Test {
    static std::vector<WatchedTopic> topics()
    {
        std::vector<WatchedTopic> all;
        for (const std::string& topic : kJoinTopics) all.push_back({topic, findRecordType(topic)});
        all.push_back({"EventLog", findRecordType("EventLog")});
        return all;
    }

    static std::uint64_t stamp(double second)
    {
        return kDay * 1'000'000'000 + static_cast<std::uint64_t>(second * 1e9);
    }

    template <class Message>
    std::shared_ptr<Message> input(std::size_t topic, int second, double when)
    {
        auto message = std::make_shared<Message>();
        message->header().device_id(topic == 0 ? 0x01250000 : 0x01600000);
        message->header().seq_num(second);
        message->header().timestamp_valid().sec(second);
        recorder.take({topic, {}, message}, stamp(when));
        return message;
    }

    /// A second of a unit: time, four inputs, what was told, an event, a line of the console and bytes of the receiver.
    /// Each in a chunk of its own.
    void second(int number)
    {
        auto time = std::make_shared<UTCTime>();
        time->header().device_id(0x01250000);
        time->header().seq_num(number);
        time->header().timestamp_valid().sec(number);
        time->gps_tow_sec(number);
        recorder.take({0, {}, time}, stamp(number));
        auto place = std::make_shared<PositionVelocityAttitude>();
        place->header().device_id(0x01600000);
        place->header().timestamp_valid().sec(number);
        place->position().latitude(0.5 + number * 1e-5);
        recorder.take({1, {}, place}, stamp(number + 0.01));
        input<HalvexPNT>(2, number, number + 0.01);
        input<MeasurementIncorporationStatus>(3, number, number + 0.01);
        input<AssuranceState>(4, number, number + 0.01);
        recorder.takeBusLine(
            R"({"type":"tell","tell":"blended-navigation","timeOfValidity":{"year":2026},"record":{"gpsSeconds":)" +
                std::to_string(number) + R"(,"fom":3,"fomValid":1}})",
            stamp(number + 0.25));
        auto event = std::make_shared<EventLog>();
        event->eventlog("event " + std::to_string(number));
        recorder.take({5, {}, event}, stamp(number + 0.5));
        recorder.takeConsoleLine("line " + std::to_string(number), stamp(number + 0.5));
        recorder.takeQueueRest(0, mcap::bytesOf("xx"), stamp(number + 0.6));
        recorder.settle({});
    }

    /// Of 250,000 characters.
    static std::shared_ptr<EventLog> largeEvent()
    {
        auto event = std::make_shared<EventLog>();
        event->eventlog(std::string(250'000, 'x'));
        return event;
    }

    void open(Replay::Limits limits = {256, 1U << 28U, 1})
    {
        if (!isCut) recorder.close({});
        source.emplace(output.text);
        index = indexOf(*source, "/tmp/drive.mcap");
        replay.emplace(*source, *index, ServerSettings(), limits);
    }

    Replay::Time at(double second) const
    {
        return index->start + std::chrono::duration_cast<Replay::Time::duration>(std::chrono::duration<double>(second));
    }

    std::uint16_t channelOf(const std::string& topic) const
    {
        return std::ranges::find(index->channels, topic, &mcap::Channel::topic)->id;
    }

    std::map<std::string, std::string> sections(double second)
    {
        EXPECT_TRUE(replay->goTo(at(second), kLong));
        std::map<std::string, std::string> sections;
        for (const auto& [name, json] : replay->sections()) sections[name] = json;
        return sections;
    }

    Json section(const std::string& name, double second)
    {
        const auto all = sections(second);
        const auto found = all.find(name);
        return found == all.end() ? Json() : Json::parse(found->second);
    }

    Json rowOf(const std::string& topic, double second)
    {
        for (const Json& row : section("topics", second))
            if (row["name"] == topic) return row;
        return nullptr;
    }

    TextOutput output;
    Recorder recorder{output, topics(), {"ZEN_HX"}, {}};
    bool isCut = false;
    std::optional<TextSource> source;
    std::optional<RecordingIndex> index;
    std::optional<Replay> replay;
};

}  // namespace

TEST_F(ReplayTest, AtEachTimeThereIsWhatWasRecordedUpToIt)
{
    for (int number = 0; number < 20; ++number) second(number);
    open();
    EXPECT_EQ(rowOf("UTCTime", 4.9)["records"], 5);
    EXPECT_EQ(rowOf("UTCTime", 4.9)["rateHz"], 1.0);
    EXPECT_EQ(rowOf("UTCTime", 4.9)["ageSeconds"], 0.9);
    EXPECT_EQ(section("navigation", 12.3)["record"]["gpsSeconds"], 12);
    EXPECT_EQ(section("ages", 12.75)["navigation"], 0.5);
    EXPECT_EQ(section("errors", 12.75)["fom"].size(), 13U);
    EXPECT_EQ(section("track", 3.5).size(), 4U);
    EXPECT_EQ(section("events", 3.4).size(), 3U);
    EXPECT_EQ(section("console", 3.4), Json::parse(R"(["line 0","line 1","line 2"])"));
    EXPECT_EQ(section("queues", 3.4), Json::parse(R"([{"name":"ZEN_HX","records":0,"rest":3,"faults":0}])"));
    EXPECT_TRUE(section("navigation", 0.2).is_null());
}

TEST_F(ReplayTest, TheLineOfWhyIsThatOfItsDiary)
{
    for (int number = 0; number < 20; ++number) second(number);
    open();
    EXPECT_EQ(section("inputs", 0.5)["join"], "nothing is decided of a UTCTime yet");
    EXPECT_TRUE(section("inputs", 10.5)["join"].get<std::string>().starts_with("join rate 1.00 ("))
        << section("inputs", 10.5)["join"];
    EXPECT_EQ(section("inputs", 10.5)["rows"][5]["name"], "8504");
}

TEST_F(ReplayTest, WhateverTheWayToATimeItShowsTheSame)
{
    for (int number = 0; number < 30; ++number) second(number);
    open();
    std::map<int, std::map<std::string, std::string>> passed;  // by tenths of a second
    for (int place = 0; place < 300; place += 7) passed[place] = sections(place / 10.0);
    EXPECT_GT(replay->places(), 10U);
    for (const int place : {210, 70, 287, 0, 147, 140}) EXPECT_EQ(sections(place / 10.0), passed.at(place)) << place;
}

TEST_F(ReplayTest, AMessageInFrontOfItsChannelIsLeftOutWhateverTheWay)
{
    TextOutput moved;
    mcap::Writer writer(moved, {"test", 1U << 20U, true});
    const auto add = [&](std::uint16_t channel, int second, const char* line) {
        writer.add({channel, 0, stamp(second), 0, mcap::bytesOf(line)});
        writer.endChunk();
        return static_cast<std::ptrdiff_t>(moved.text.size());
    };
    const auto from = add(writer.addChannel(0, "bus", "json", {}), 0, "{}");
    const std::uint16_t console = writer.addChannel(0, "console", "json", {});
    const auto behind = static_cast<std::ptrdiff_t>(moved.text.size());
    const auto to = add(console, 1, R"({"line":"too early"})");
    add(console, 2, R"({"line":"told"})");
    writer.close();
    const auto front = moved.text.begin();
    std::rotate(front + from, front + behind, front + to);
    source.emplace(moved.text);
    index = indexOf(*source, "x");
    for (const std::uint64_t apart : {std::uint64_t{1} << 40U, std::uint64_t{1}}) {
        replay.emplace(*source, *index, ServerSettings(), Replay::Limits{256, 1U << 28U, apart});
        EXPECT_EQ(section("console", 1.5), Json::array()) << apart;
        EXPECT_EQ(section("console", 2), Json::parse(R"(["told"])")) << apart;
    }
}

TEST_F(ReplayTest, PlacesThatAreTooManyGoAndWhatIsShownStays)
{
    for (int number = 0; number < 30; ++number) second(number);
    open({4, 1U << 28U, 1});
    while (replay->readAhead(kLong)) {
    }
    EXPECT_LE(replay->places(), 4U);
    EXPECT_EQ(replay->known(), 1);
    EXPECT_EQ(rowOf("UTCTime", 20.9)["records"], 21);
    EXPECT_EQ(rowOf("UTCTime", 10.9)["records"], 11);
}

TEST_F(ReplayTest, PlacesThatTakeTooMuchGoAndWhatIsShownStays)
{
    for (int number = 0; number < 30; ++number) {
        second(number);
        recorder.take({5, {}, largeEvent()}, stamp(number + 0.7));
        recorder.settle({});
    }
    open({256, 20'000'000, 1});
    while (replay->readAhead(kLong)) {
    }
    // Every other one has a record of 250,000 bytes, without which all 61 would be kept.
    EXPECT_LE(replay->places(), 31U);
    EXPECT_GT(replay->places(), 2U);
    EXPECT_EQ(rowOf("UTCTime", 20.9)["records"], 21);
    EXPECT_EQ(rowOf("EventLog", 10.9)["records"], 22);
}

TEST_F(ReplayTest, WhatIsHeldWeighs)
{
    recorder.takeConsoleLine("line", stamp(0));
    recorder.takeBusLine("{}", stamp(0));
    open();
    RecordedUnit unit(*index, ServerSettings());
    std::size_t weight = unit.weight();
    const auto gained = [&] {
        const std::size_t before = std::exchange(weight, unit.weight());
        return weight - before;
    };
    unit.take(channelOf("EventLog"), payloadOf(*findRecordType("EventLog"), largeEvent().get()), at(0));
    EXPECT_GE(gained(), 250'000U);
    for (int i = 0; i < 200; ++i)
        unit.take(channelOf("console"), mcap::bytesOf(R"({"line":")" + std::string(2000, 'x') + "\"}"), at(0));
    EXPECT_GE(gained(), 200'000U);
    unit.take(channelOf("bus"), mcap::bytesOf(R"({"type":"tell","tell":")" + std::string(9000, 'x') + "\"}"), at(0));
    EXPECT_GE(gained(), 9000U);
    for (int i = 0; i < 200; ++i) {
        UTCTime time;
        time.header().device_id(i);
        unit.take(channelOf("UTCTime"), payloadOf(*findRecordType("UTCTime"), &time), at(0));
    }
    EXPECT_GE(gained(), 200 * 64U);
}

TEST_F(ReplayTest, ArrivalsOfATopicThatIsSilentSinceWeigh)
{
    second(0);
    open();
    RecordedUnit unit(*index, ServerSettings());
    const std::size_t before = unit.weight();
    const AssuranceState record;
    const auto payload = payloadOf(*findRecordType("AssuranceState"), &record);
    for (int i = 0; i < 5000; ++i) unit.take(channelOf("AssuranceState"), payload, at(1));
    for (const int when : {200, 300}) unit.take(channelOf("console"), mcap::bytesOf("{}"), at(when));
    EXPECT_GE(unit.weight() - before, 5000 * sizeof(Replay::Time));
}

TEST_F(ReplayTest, StepsGoFromOneMomentThatWasRecordedToTheNext)
{
    for (int number = 0; number < 5; ++number) second(number);
    open();
    ASSERT_TRUE(replay->goTo(at(2.3), kLong));
    EXPECT_EQ(replay->next(), at(2.5));
    EXPECT_EQ(replay->previous(), at(2.25));
    ASSERT_TRUE(replay->goTo(at(2.25), kLong));
    EXPECT_EQ(replay->previous(), at(2.01));
    ASSERT_TRUE(replay->goTo(at(0), kLong));
    EXPECT_EQ(replay->previous(), at(0));
    ASSERT_TRUE(replay->goTo(at(4.6), kLong));
    EXPECT_EQ(replay->next(), at(4.6));
}

TEST_F(ReplayTest, WhatIsNextIsKnownOnceItIsThere)
{
    second(0);
    for (int i = 0; i < 100; ++i) recorder.settle({{"UTCTime", std::to_string(i)}});
    second(9);
    open();
    while (replay->readAhead(kLong)) {
    }
    int calls = 1;
    while (!replay->goTo(at(0.7), 0s) && calls < 10'000) ++calls;
    EXPECT_GT(calls, 50);
    EXPECT_EQ(replay->next(), at(9));
}

TEST_F(ReplayTest, WithoutTimeItGoesOnWithTheNextCall)
{
    for (int number = 0; number < 5; ++number) second(number);
    open();
    int calls = 1;
    while (!replay->goTo(at(4.5), 0s) && calls < 10'000) {
        ++calls;
        replay->readAhead(1ms);
    }
    EXPECT_GT(calls, 1);
    EXPECT_TRUE(replay->goTo(at(4.5), kLong));
    EXPECT_EQ(rowOf("UTCTime", 4.5)["records"], 5);
}

TEST_F(ReplayTest, TimeThatGoesBackStandsStill)
{
    for (const int number : {0, 1, 2}) second(number);
    input<UTCTime>(0, 3, 0.5);
    open();
    EXPECT_EQ(index->length(), 2600ms);
    EXPECT_EQ(rowOf("UTCTime", 2.5)["records"], 3);
    EXPECT_EQ(rowOf("UTCTime", 2.6)["records"], 4);
}

TEST_F(ReplayTest, APauseOfYearsTakesNoTime)
{
    second(0);
    recorder.takeBusLine("{}", 9'000'000'000'000'000'000);
    open();
    EXPECT_NE(section("inputs", 1e9)["join"].get<std::string>().find("no UTCTime"), std::string::npos);
    EXPECT_EQ(rowOf("UTCTime", 5e9)["records"], 1);
}

TEST_F(ReplayTest, ARecordingThatWasCutOffIsShownAsFarAsItGoes)
{
    for (int number = 0; number < 5; ++number) second(number);
    const std::size_t size = output.text.size();
    second(5);
    isCut = true;
    output.text.resize(size + 100);
    open();
    EXPECT_FALSE(index->isClosed);
    EXPECT_EQ(rowOf("UTCTime", 60)["records"], 5);
}

TEST_F(ReplayTest, ADamagedPlaceIsLeftOutAndCounted)
{
    for (int number = 0; number < 3; ++number) second(number);
    const std::size_t inChunk = output.text.size() + 100;
    for (int number = 3; number < 6; ++number) second(number);
    output.text[inChunk] = static_cast<char>(~output.text[inChunk]);
    open();
    EXPECT_EQ(index->problems, 1U);
    EXPECT_EQ(rowOf("UTCTime", 60)["records"], 5);
}

TEST_F(ReplayTest, WhatIsNoRecordOrLineIsCounted)
{
    second(0);
    recorder.takePayload(0, mcap::bytesOf("none"), 1, 0, stamp(1));
    recorder.takePayload(0, std::vector<std::uint8_t>(300'000), 1, 0, stamp(1));
    recorder.takeBusLine("{", stamp(1));
    recorder.takeBusLine("[7]", stamp(1));
    recorder.takeBusLine(std::string(2'000'000, ' ') + "{}", stamp(1));
    open();
    EXPECT_EQ(section("status", 2)["leftOut"], 5);
}

TEST_F(ReplayTest, RecordingsOfOthersAreShownAsFarAsTheyAreKnown)
{
    source.emplace(recordingOf(4));
    index = indexOf(*source, "x");
    replay.emplace(*source, *index, ServerSettings());
    EXPECT_EQ(index->topics.size(), 0U);
    EXPECT_EQ(index->messages, 4U);
    EXPECT_EQ(section("status", 0)["bus"], "not recorded");
}

TEST_F(ReplayTest, TopicsAndQueuesThatAreTooManyAreCounted)
{
    std::vector<WatchedTopic> many;
    for (int i = 0; i < 103; ++i) many.push_back({"Time" + std::to_string(i), findRecordType("UTCTime")});
    std::vector<std::string> queues;
    for (int i = 0; i < 18; ++i) queues.push_back("QUEUE" + std::to_string(i));
    TextOutput file;
    Recorder other(file, many, queues, {});
    other.takeQueueRest(17, mcap::bytesOf("xx"), stamp(0));
    other.close({});
    index = indexOf(TextSource(file.text), "x");
    EXPECT_EQ(index->topics.size(), 100U);
    EXPECT_EQ(index->topicsPassedOver, 3U);
    EXPECT_EQ(index->queues.size(), 16U);
    EXPECT_EQ(index->queuesPassedOver, 2U);
}

TEST_F(ReplayTest, ARecordingWithoutAMessageAndWhatIsNoneAreRefused)
{
    recorder.close({});
    EXPECT_EQ(errorOf([&] { (void)indexOf(TextSource(output.text), "x"); }), "x: has nothing to show");
    EXPECT_EQ(errorOf([&] { (void)indexOf(TextSource("text"), "x"); }), "x: is no recording");
}
