#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/GSSIP.h"
#include "lab/ctl/DecodeReport.h"
#include "lab/ctl/record/CatalogueSchema.h"
#include "lab/ctl/record/QueueCopy.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/RecordRun.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/record/RecordingCut.h"
#include "lab/ctl/record/RecordingInfo.h"
#include "lab/ctl/record/RecordingOverview.h"
#include "lab/ctl/record/RecordingQueue.h"
#include "lab/ctl/record/RecordingRepair.h"
#include "lab/ctl/record/RecordingSource.h"
#include "tests/lab/ctl/Samples.h"
#include "tests/lab/mcap/Recordings.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <sys/resource.h>

using namespace orvanectl;
using namespace recordings;
using aspn2_msgs::idl::EventLog;

namespace {

Sample event(std::int64_t number, const std::string& text, std::int64_t sent = 0)
{
    auto record = std::make_shared<EventLog>();
    record->header().seq_num(number);
    record->header().device_id(0x01340100);
    record->eventlog(text);
    Sample sample{0, {}, record, sent};
    sample.arrival.sequenceNumber = number;
    return sample;
}

/// Records the topic "Log" and the queue "ZEN_HX".
struct RecordingTest : testing::Test {
    TextOutput output;
    Recorder recorder{output, {{"Log", findRecordType("EventLog")}}, {"ZEN_HX"}, {{"domain", "7"}}};

    RecordingInfo info() const { return infoOf(TextSource(output.text), "x.mcap"); }
};

std::string contentOf(const std::string& file)
{
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace

TEST(CatalogueSchemaTest, TypeComesWithAllThatItIsMadeOf)
{
    EXPECT_EQ(schemaTextOf("AssuranceState"), "module aspn2_msgs {\n"
                                              "    module idl {\n"
                                              "        struct timestamp { // at most 16 bytes\n"
                                              "            long long sec;\n"
                                              "            long nsec;\n"
                                              "            long time_code;\n"
                                              "        };\n"
                                              "        struct header { // at most 44 bytes\n"
                                              "            long long seq_num;\n"
                                              "            timestamp timestamp_arrival;\n"
                                              "            timestamp timestamp_valid;\n"
                                              "            long device_id;\n"
                                              "        };\n"
                                              "        enum assurance_state_enum { assurance_state_enum_0 };\n"
                                              "        struct AssuranceState { // at most 48 bytes\n"
                                              "            header _header;\n"
                                              "            assurance_state_enum assurance_state;\n"
                                              "        };\n"
                                              "    };\n"
                                              "};\n");
}

TEST(CatalogueSchemaTest, TypeThatTheCatalogueHasNotIsRefused)
{
    EXPECT_THROW(schemaTextOf("Altitudes"), std::runtime_error);
}

TEST(CatalogueSchemaTest, EveryTypeOfATopicHasOne)
{
    for (const RecordType& type : recordTypes())
        EXPECT_NE(schemaTextOf(type.name).find("struct " + std::string(type.name) + " {"), std::string::npos);
}

TEST(RecordPayloadTest, RecordOfAQueueIsReadAndWrittenAsItWas)
{
    const RecordType& type = *findRecordType("GSSIP");
    const auto bytes = samples::bytesOf(samples::kWarningRecord);
    const RecordPointer record = type.make();
    ASSERT_TRUE(readPayload(type, bytes, record.get()));
    EXPECT_EQ(type.headerOf(record.get()).seq_num(), 7);
    EXPECT_EQ(payloadOf(type, record.get()), bytes);
}

TEST(RecordPayloadTest, OtherOrderIsReadToo)
{
    const RecordType& type = *findRecordType("GSSIP");
    const RecordPointer record = type.make();
    ASSERT_TRUE(readPayload(type, samples::bytesOf(samples::kAckRecord), record.get()));
    EXPECT_EQ(type.headerOf(record.get()).seq_num(), 7);
}

TEST(RecordPayloadTest, BytesThatAreNoRecordAreRefused)
{
    const RecordType& type = *findRecordType("GSSIP");
    const RecordPointer record = type.make();
    for (std::size_t size = 0; size < samples::kAckRecord.size(); ++size)
        EXPECT_FALSE(readPayload(type, samples::bytesOf(samples::kAckRecord.substr(0, size)), record.get())) << size;
}

TEST_F(RecordingTest, SampleIsRecordedWithItsNumberAndTimes)
{
    recorder.take(event(5, "hello", 1'000), 2'000);
    recorder.close({});
    const Reading reading = readingOf(output.text);
    ASSERT_EQ(reading.messages.size(), 1U);
    const std::string payload("\x00\x01\x00\x00\x05\x00\x00\x00\x00\x00\x00\x00", 12);
    EXPECT_TRUE(reading.messages[0].starts_with("Log #5 2000 1000 " + payload)) << reading.messages[0];
    EXPECT_NE(reading.messages[0].find("hello"), std::string::npos);
}

TEST_F(RecordingTest, SampleThatDoesNotTellWhenItWasSentHasTheTimeOfItsArrival)
{
    recorder.take(event(5, "hello"), 2'000);
    recorder.close({});
    EXPECT_TRUE(readingOf(output.text).messages.at(0).starts_with("Log #5 2000 2000 "));
}

TEST_F(RecordingTest, WhatIsSettledStaysWhenTheProcessIsGone)
{
    recorder.take(event(1, "one"), 1);
    recorder.settle({});
    recorder.take(event(2, "two"), 2);
    EXPECT_EQ(readingOf(output.text).messages.size(), 1U);
}

TEST_F(RecordingTest, WhatWasMissedIsWrittenOnceItChanges)
{
    recorder.settle({{"Log", "3"}});
    recorder.settle({{"Log", "3"}});
    recorder.settle({{"Log", "4"}});
    const auto lines = readingOf(output.text).lines;
    EXPECT_EQ(std::ranges::count(lines, "metadata missed Log=3"), 1);
    EXPECT_EQ(std::ranges::count(lines, "metadata missed Log=4"), 1);
}

TEST_F(RecordingTest, BusLinesAreNumbered)
{
    recorder.takeBusLine("{\"type\":\"tell\"}", 1);
    recorder.takeBusLine("{}", 2);
    recorder.close({});
    EXPECT_EQ(readingOf(output.text).messages,
              (std::vector<std::string>{"bus #0 1 1 {\"type\":\"tell\"}", "bus #1 2 2 {}"}));
}

TEST_F(RecordingTest, QueueIsRecordedByteForByteInPiecesOfAnySize)
{
    const std::string stream = samples::kWarningRecord + "no record" + samples::kAckRecord;
    for (const std::size_t size : {1U, 7U, 110U, 1000U}) {
        std::string all;
        std::vector<std::int64_t> numbers;
        const auto add = [&](Bytes bytes) { all.append(bytes.begin(), bytes.end()); };
        QueueCutter cutter([&](Bytes bytes, std::int64_t number) { add(bytes), numbers.push_back(number); }, add);
        for (std::size_t at = 0; at < stream.size(); at += size)
            cutter.take(mcap::bytesOf(stream).subspan(at, std::min(size, stream.size() - at)));
        cutter.end();
        EXPECT_EQ(all, stream) << size;
        ASSERT_FALSE(numbers.empty()) << size;
        EXPECT_EQ(numbers[0], 7) << size;
    }
}

TEST_F(RecordingTest, RecordsOfAQueueThatCannotBeReadAreHandedOverAsTheyCome)
{
    std::string unreadable = samples::kWarningRecord;
    unreadable[52] = static_cast<char>(unreadable[52] + 1);  // its count, which is no longer num_bytes
    std::size_t rest = 0;
    QueueCutter cutter([](Bytes, std::int64_t) {}, [&](Bytes bytes) { rest += bytes.size(); });
    for (int i = 0; i < 10; ++i) cutter.take(mcap::bytesOf(unreadable));
    EXPECT_EQ(rest, 9 * unreadable.size());
    cutter.end();
    EXPECT_EQ(rest, 10 * unreadable.size());
}

namespace {

/// Counts the records, and the bytes of what is none, that come from a copy in a file.
struct QueueCopyTest : testing::Test {
    void write(const std::string& bytes) const { std::ofstream(path, std::ios::app | std::ios::binary) << bytes; }

    const TemporaryDirectory directory;
    const std::string path = directory.write("copy", samples::kWarningRecord);
    std::size_t records = 0;
    std::size_t rest = 0;
    QueueCopy copy{path, [this](Bytes, std::int64_t) { ++records; }, [this](Bytes bytes) { rest += bytes.size(); }};
};

}  // namespace

TEST_F(QueueCopyTest, FileThatReplacesAnotherIsReadBehindIt)
{
    EXPECT_FALSE(copy.take());
    write(samples::kWarningRecord + samples::kWarningRecord.substr(0, 30));
    std::filesystem::rename(directory.write("next", samples::kWarningRecord), path);
    EXPECT_FALSE(copy.take());
    write(samples::kWarningRecord);
    EXPECT_FALSE(copy.take());
    EXPECT_EQ(records, 4U);
    EXPECT_EQ(rest, 30U);
}

TEST_F(QueueCopyTest, FileThatIsAwayForAWhileIsReadWhenItComes)
{
    EXPECT_FALSE(copy.take());
    std::filesystem::remove(path);
    EXPECT_FALSE(copy.take());
    write(samples::kWarningRecord);
    EXPECT_FALSE(copy.take());
    EXPECT_EQ(records, 2U);
}

TEST_F(QueueCopyTest, FileThatBeginsAnewIsReadFromItsStart)
{
    write(samples::kWarningRecord);
    EXPECT_FALSE(copy.take());
    directory.write("copy", samples::kWarningRecord);
    EXPECT_FALSE(copy.take());
    EXPECT_EQ(records, 3U);
    EXPECT_EQ(rest, 0U);
}

namespace {

/// What `decode` shows of a stream, of its problems, and whether it is clean.
std::string decoded(const std::function<void(StreamSink&)>& read)
{
    std::ostringstream output, problems;
    DecodeReport report(output, problems, "input", {.json = true});
    read(report);
    return output.str() + problems.str() + (report.isClean() ? "clean" : "not clean");
}

}  // namespace

TEST_F(RecordingTest, DecodeShowsAQueueAsItShowsItsBytes)
{
    const std::string stream = samples::kWarningRecord + samples::kAckRecord + samples::kWarningRecord;
    QueueCutter cutter([&](Bytes bytes, std::int64_t number) { recorder.takeQueueRecord(0, bytes, number, 1); },
                       [&](Bytes bytes) { recorder.takeQueueRest(0, bytes, 1); });
    cutter.take(mcap::bytesOf(stream));
    cutter.end();
    recorder.close({});
    const TemporaryDirectory directory;
    const std::string file = directory.write("x.mcap", output.text);
    const std::string ofBytes = decoded([&](StreamSink& sink) {
        StreamCutter bytes(StreamFormat::Records, sink);
        bytes.take(mcap::bytesOf(stream));
        bytes.end();
    });
    EXPECT_EQ(decoded([&](StreamSink& sink) { readQueue(file, "", sink); }), ofBytes);
    EXPECT_EQ(decoded([&](StreamSink& sink) { readQueue(file, "ZEN_HX", sink); }), ofBytes);
    EXPECT_NE(ofBytes.find("HELLO"), std::string::npos);
}

TEST_F(RecordingTest, DecodeTellsWhereAQueueHadNoRecord)
{
    recorder.takeQueueRest(0, mcap::bytesOf("rest"), 1);
    recorder.takeQueueRecord(0, mcap::bytesOf("garbage"), 7, 2);
    recorder.settle({});
    const TemporaryDirectory directory;
    const std::string file = directory.write("x.mcap", output.text);
    EXPECT_EQ(decoded([&](StreamSink& sink) { readQueue(file, "", sink); }),
              "orvanectl: input: offset 0: 4 bytes are no record\n"
              "orvanectl: input: offset 4: 7 bytes are no record\n"
              "orvanectl: input: offset 11: the recording was cut off here\n"
              "not clean");
}

TEST_F(RecordingTest, DecodeOfAQueueThatThereIsNotIsAnsweredWithTheNearest)
{
    recorder.close({});
    const TemporaryDirectory directory;
    const std::string file = directory.write("x.mcap", output.text);
    try {
        decoded([&](StreamSink& sink) { readQueue(file, "ZEN_XH", sink); });
        FAIL();
    } catch (const UnknownName& error) {
        EXPECT_EQ(error.what(), file + ": no queue ZEN_XH; did you mean ZEN_HX?");
    }
}

TEST_F(RecordingTest, InfoTellsChannelsGapsAndWhatWasMissed)
{
    recorder.take(event(1, "one"), 1'000'000'000);
    recorder.take(event(2, "two"), 2'000'000'000);
    recorder.take(event(5, "five"), 4'000'000'000);
    recorder.close({{"Log", "2"}, {"left out", "0"}});
    std::string text = infoText(info());
    text = text.substr(text.find('\n') + 1);  // its first line tells bytes
    EXPECT_EQ(text, "domain: 7\n"
                    "channel        messages    rate Hz  longest s       gaps    missing       back     missed  type\n"
                    "Log                   3      0.667      2.000          1          2          0          2  "
                    "aspn2_msgs::idl::EventLog\n"
                    "queue/ZEN_HX          0      0.000      0.000          0          0          0          -  "
                    "aspn2_msgs::idl::GSSIP\n");
}

TEST_F(RecordingTest, InfoTellsWhatWasSentBeforeItsPublisherWasHeard)
{
    recorder.noteEarlier({{"Log", "16"}});
    recorder.noteEarlier({{"Log", "17"}});
    recorder.close({});
    EXPECT_TRUE(infoText(info()).ends_with("sent before their publisher was heard: Log 17\n"));
    EXPECT_NE(infoJson(info()).find(R"("earlier":{"Log":"17"})"), std::string::npos);
}

TEST_F(RecordingTest, InfoOfWhatWasCutSaysSo)
{
    recorder.take(event(1, "one"), 1'000'000'000);
    recorder.settle({});
    EXPECT_FALSE(info().isClosed);
    EXPECT_NE(infoText(info()).find("not closed"), std::string::npos);
}

TEST_F(RecordingTest, RecordThatIsNoneOfItsTypeIsCounted)
{
    TextOutput other;
    mcap::Writer writer(other, {});
    const auto schema = writer.addSchema("aspn2_msgs::idl::EventLog", "omgidl", "");
    writer.add(mcap::Message{writer.addChannel(schema, "Log", "cdr", {}), 0, 1, 1, mcap::bytesOf("garbage")});
    writer.close();
    EXPECT_EQ(infoOf(TextSource(other.text), "x.mcap").channels.at(0).unreadable, 1U);
}

TEST_F(RecordingTest, LongNameMakesItsOwnRowLongAlone)
{
    TextOutput other;
    mcap::Writer writer(other, {});
    writer.addChannel(0, std::string(1000, 'n'), "x", {});
    for (int i = 0; i < 100; ++i) writer.addChannel(0, "c", "x", {});
    writer.close();
    EXPECT_LT(infoText(infoOf(TextSource(other.text), "x.mcap")).size(), 101 * 150 + 2000U);
}

TEST_F(RecordingTest, SourcesOfAllChannelsAreFollowedUpToALimit)
{
    const RecordType& type = *findRecordType("EventLog");
    TextOutput other;
    mcap::Writer writer(other, {});
    const auto schema = writer.addSchema("aspn2_msgs::idl::EventLog", "omgidl", "");
    std::vector<std::uint16_t> channels;
    for (int i = 0; i < 65; ++i) channels.push_back(writer.addChannel(schema, "Log" + std::to_string(i), "cdr", {}));
    EventLog record;
    for (int source = 0; source < 256; ++source)
        for (const std::int64_t number : {1, 3}) {
            record.header().device_id(source);
            record.header().seq_num(number);
            const auto payload = payloadOf(type, &record);
            for (const std::uint16_t channel : channels) writer.add(mcap::Message{channel, 0, 1, 1, payload});
        }
    writer.close();
    std::uint64_t missing = 0;
    for (const ChannelInfo& channel : infoOf(TextSource(other.text), "x.mcap").channels)
        missing += channel.holes.missing;
    EXPECT_EQ(missing, 16'384U);
}

TEST_F(RecordingTest, RepairClosesInPlaceAndLeavesWhatIsWhole)
{
    recorder.take(event(1, "one"), 1);
    recorder.settle({});
    const TemporaryDirectory directory;
    const std::string file = directory.write("x.mcap", output.text + "\x06torn");
    EXPECT_EQ(repairRecording(file, ""),
              file + ": closed, with 1 message; 5 bytes at the end and 0 damaged places left out\n");
    EXPECT_TRUE(infoOf(file).isClosed);
    EXPECT_EQ(repairRecording(file, ""), file + ": is whole\n");
}

TEST_F(RecordingTest, RepairInPlaceKeepsModeAndLinkWhateverStandsBesideIt)
{
    recorder.settle({});
    const TemporaryDirectory directory;
    const std::string file = directory.write("x.mcap", output.text);
    const std::string link = directory.write("x.mcap.repaired", "left of another") + ".link";
    std::filesystem::permissions(file, std::filesystem::perms(0600));
    std::filesystem::create_symlink(file, link);
    repairRecording(link, "");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_TRUE(infoOf(file).isClosed);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
}

TEST_F(RecordingTest, RepairInPlaceOfWhatIsStillRecordedIsRefused)
{
    recorder.take(event(1, "one"), 1);
    recorder.settle({});
    const TemporaryDirectory directory;
    const std::string file = directory.write("empty", "") + ".mcap";
    auto recording = std::make_unique<mcap::FileOutput>(file);
    recording->write(mcap::bytesOf(output.text));
    EXPECT_THROW(repairRecording(file, ""), std::runtime_error);
    EXPECT_EQ(contentOf(file), output.text);
    repairRecording(file, file + ".copy");
    EXPECT_TRUE(infoOf(file + ".copy").isClosed);
    recording.reset();
    repairRecording(file, "");
    EXPECT_TRUE(infoOf(file).isClosed);
}

TEST_F(RecordingTest, DamagedAttachmentsAreNotLostInPlace)
{
    recorder.settle({});
    mcap::ByteWriter attachment;
    mcap::writeFront(attachment, mcap::Op::Attachment, 4);
    attachment.raw(mcap::bytesOf("data"));
    output.write(attachment.bytes());
    const TemporaryDirectory directory;
    const std::string file = directory.write("x.mcap", output.text);
    EXPECT_THROW(repairRecording(file, ""), std::runtime_error);
    EXPECT_EQ(contentOf(file), output.text);
    EXPECT_TRUE(repairRecording(file, file + ".copy").ends_with("and 1 damaged place left out\n"));
}

TEST_F(RecordingTest, RepairOfWhatIsNoRecordingLeavesItAlone)
{
    const TemporaryDirectory directory;
    const std::string file = directory.write("x.mcap", "text");
    EXPECT_THROW(repairRecording(file, ""), std::runtime_error);
    EXPECT_EQ(contentOf(file), "text");
    EXPECT_FALSE(std::filesystem::exists(file + ".repaired"));
}

TEST_F(RecordingTest, RepairIntoAFileThatIsThereIsRefused)
{
    const TemporaryDirectory directory;
    const std::string file = directory.write("x.mcap", output.text);
    const std::string other = directory.write("other.mcap", "mine");
    EXPECT_THROW(repairRecording(file, other), std::runtime_error);
    EXPECT_EQ(contentOf(other), "mine");
}

TEST(RecordingSumTest, RecordsThatFoundNoRoomAreMissedOnce)
{
    EXPECT_EQ(missedInAll({5, 3}, 5), 8U);  // a later record came: the writers' numbers tell of all
    EXPECT_EQ(missedInAll({0, 0}, 5), 5U);  // none came
    EXPECT_EQ(missedInAll({}, 0), 0U);
}

TEST(RecordingTimeTest, DatesHaveMilliseconds)
{
    EXPECT_EQ(dateText(0), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(dateText(4'102'444'800'012'999'999), "2100-01-01T00:00:00.012Z");
}

namespace {

WatchOptions optionsFor(const std::string& topic, std::uint64_t count = 0, double seconds = 0, double every = 1)
{
    WatchOptions options;
    if (!topic.empty()) options.topics = {topic};
    options.count = count;
    options.seconds = seconds;
    options.everySeconds = every;
    return options;
}

/// What `echo` or `hz` shows of a recording.
std::string shown(void (*run)(const WatchOptions&, std::ostream&), const std::string& file, WatchOptions options)
{
    options.recording = file;
    std::ostringstream text;
    run(options, text);
    return text.str();
}

/// A file with three events, at 1, 2 and 4 s.
struct RecordedEventsTest : RecordingTest {
    RecordedEventsTest()
    {
        recorder.take(event(1, "one"), 1'000'000'000);
        recorder.take(event(2, "two"), 2'000'000'000);
        recorder.settle({});
        recorder.take(event(5, "five"), 4'000'000'000);
        recorder.close({});
        file = directory.write("x.mcap", output.text);
    }

    const TemporaryDirectory directory;
    std::string file;
};

}  // namespace

TEST_F(RecordedEventsTest, EchoShowsThemAsItShowsLiveOnes)
{
    EXPECT_EQ(shown(runEchoOfRecording, file, optionsFor("Log")),
              "0.000000000  OrvaneServer (52)  #1  GENERAL  one\n"
              "0.000000000  OrvaneServer (52)  #2  GENERAL  two\n"
              "0.000000000  OrvaneServer (52)  #5  GENERAL  five\n"
              "orvanectl: 3 records in 3.0 s, 1 gap with 2 missing, 0 back, 0 lost\n");
}

TEST_F(RecordedEventsTest, EchoEndsAfterItsCountAndItsTime)
{
    const std::string sumOfTwo = "orvanectl: 2 records in 1.0 s, 0 gaps with 0 missing, 0 back, 0 lost\n";
    EXPECT_TRUE(shown(runEchoOfRecording, file, optionsFor("Log", 2)).ends_with(sumOfTwo));
    EXPECT_TRUE(shown(runEchoOfRecording, file, optionsFor("Log", 0, 1.5))
                    .ends_with("orvanectl: 2 records in 1.5 s, 0 gaps with 0 missing, 0 back, 0 lost\n"));
}

TEST_F(RecordedEventsTest, HzReportsByTheTimesOfTheRecording)
{
    const std::string text = shown(runHzOfRecording, file, optionsFor("Log", 0, 0, 2));
    EXPECT_EQ(text, "topic   rate Hz  longest s  records  gaps  missing  back  lost  pubs  from\n"
                    "Log       1.000      1.000        2     0        0     0     0     0  OrvaneServer (52)\n"
                    "\n"
                    "topic   rate Hz  longest s  records  gaps  missing  back  lost  pubs  from\n"
                    "Log       0.667      2.000        3     1        2     0     0     0  OrvaneServer (52)\n"
                    "\n"
                    "orvanectl: 3 records in 3.0 s, 1 gap with 2 missing, 0 back, 0 lost\n");
}

TEST_F(RecordedEventsTest, TopicThatTheRecordingHasNotIsAnsweredWithThoseItHas)
{
    try {
        shown(runEchoOfRecording, file, optionsFor("Lag"));
        FAIL();
    } catch (const UnknownName& error) {
        EXPECT_EQ(error.what(), file + ": no topic Lag; there are Log, queue/ZEN_HX");
    }
}

TEST_F(RecordedEventsTest, RecordingThatWasCutIsShownUpToItsLastChunk)
{
    const std::string cut = directory.write("cut.mcap", output.text.substr(0, output.text.size() - 40));
    EXPECT_NE(shown(runEchoOfRecording, cut, optionsFor("Log")).find("two"), std::string::npos);
}

TEST_F(RecordedEventsTest, RecordingThatWasCutIsSaidToBe)
{
    const std::string cut = directory.write("cut.mcap", output.text.substr(0, output.text.size() - 40));
    const auto said = [&](const std::function<void()>& look) {
        testing::internal::CaptureStderr();
        look();
        return testing::internal::GetCapturedStderr();
    };
    const std::string line = "orvanectl: " + cut + ": was cut off at byte ";
    for (auto* const run : {runEchoOfRecording, runHzOfRecording}) {
        EXPECT_TRUE(said([&] { shown(run, cut, optionsFor("Log")); }).starts_with(line));
        EXPECT_EQ(said([&] { shown(run, cut, optionsFor("Log", 1)); }), "");  // it has not come to that
        EXPECT_EQ(said([&] { shown(run, file, optionsFor("Log")); }), "");
    }
    EXPECT_TRUE(said([&] { cutRecording({cut, file + ".part", 0, std::nullopt, {}}); }).starts_with(line));
}

TEST_F(RecordedEventsTest, DamagedPlacesAreSaidToBeThere)
{
    std::string damaged = output.text;
    const std::size_t place = damaged.find("zstd") + 20;  // in the first chunk
    damaged[place] = static_cast<char>(damaged[place] ^ '\x40');
    const std::string bad = directory.write("bad.mcap", damaged);
    testing::internal::CaptureStderr();
    shown(runEchoOfRecording, bad, optionsFor("Log"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "orvanectl: " + bad + ": 1 damaged place\n");
}

TEST_F(RecordedEventsTest, TopicsOfOthersThatTheSummaryHasNotAreFound)
{
    // A summary without channels and statistics.
    mcap::ByteWriter end;
    mcap::writeFront(end, mcap::Op::DataEnd, 4);
    end.u32(0);
    const std::string last(end.bytes().begin(), end.bytes().end());
    const std::size_t size = output.text.find(last.substr(0, 9));
    ASSERT_NE(size, std::string::npos);
    mcap::ByteWriter summary;
    mcap::write(summary, mcap::Schema{9, "Other", "omgidl", ""});
    const std::size_t start = size + last.size();
    mcap::writeFront(summary, mcap::Op::Footer, 20);
    summary.u64(start);
    summary.u64(0);
    summary.u32(0);
    summary.raw(mcap::kMagic);
    const std::string text(summary.bytes().begin(), summary.bytes().end());
    const std::string whole = directory.write("others.mcap", output.text.substr(0, size) + last + text);
    ASSERT_TRUE(mcap::readSummary(mcap::FileSource(whole)));
    EXPECT_NE(shown(runEchoOfRecording, whole, optionsFor("Log")).find("five"), std::string::npos);
}

TEST_F(RecordedEventsTest, RecordsAreNotFlushedOneByOne)
{
    struct Counting : std::stringbuf {
        int sync() override { return ++flushes, 0; }
        int flushes = 0;
    } text;
    TextOutput many;
    Recorder log(many, {{"Log", findRecordType("EventLog")}}, {}, {});
    for (std::uint64_t number = 1; number <= 1000; ++number) log.take(event(1, "one"), number);
    log.close({});
    std::ostream shown(&text);
    WatchOptions options = optionsFor("Log");
    options.recording = directory.write("many.mcap", many.text);
    runEchoOfRecording(options, shown);
    EXPECT_TRUE(text.str().ends_with("\norvanectl: 1000 records in 0.0 s, 0 gaps with 0 missing, 999 back, 0 lost\n"))
        << text.str().substr(text.str().size() - 100);
    EXPECT_LT(text.flushes, 500);
}

TEST_F(RecordedEventsTest, ASignalEndsTheSearchForTheNextRecord)
{
    RecordingSource source(file, {"Log"}, "");
    EndingSignals signals;
    signals.listen();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(source.take().size(), 1U);
        if (i == 1) std::raise(SIGINT);
        source.wait(signals, std::nullopt);
    }
    EXPECT_TRUE(source.take().empty());
    EXPECT_FALSE(source.hasEnded());
}

TEST_F(RecordedEventsTest, PauseOfYearsTakesNoTime)
{
    TextOutput other;
    Recorder late(other, {{"Log", findRecordType("EventLog")}}, {}, {});
    late.take(event(1, "one"), 1);
    late.take(event(2, "two"), 9'000'000'000'000'000'000);
    late.close({});
    const std::string text =
        shown(runHzOfRecording, directory.write("late.mcap", other.text), optionsFor("", 0, 0, 0.001));
    EXPECT_LT(text.size(), 1000U);
}

TEST_F(RecordedEventsTest, LastTimeThereIsEndsTheReports)
{
    TextOutput other;
    Recorder last(other, {{"Log", findRecordType("EventLog")}}, {}, {});
    last.take(event(1, "one"), 0xFFFFFFFFFFFFFFFF);
    last.close({});
    const std::string text = shown(runHzOfRecording, directory.write("last.mcap", other.text), optionsFor("", 100));
    EXPECT_TRUE(text.ends_with("\n\norvanectl: 1 record in 0.0 s, 0 gaps with 0 missing, 0 back, 0 lost\n")) << text;
    EXPECT_LT(text.size(), 1000U);
}

TEST_F(RecordedEventsTest, OverviewOfAWholeRecordingIsReadFromItsEnd)
{
    TextOutput large;
    mcap::Writer writer(large, {"test", 1U << 20, false});
    const auto channel = writer.addChannel(0, "B", "json", {});
    const std::string data(100'000, 'x');
    for (const std::uint64_t time : {7U, 5U, 9U}) writer.add({channel, 0, time, time, mcap::bytesOf(data)});
    writer.close();
    const TextSource source(large.text);
    const RecordingOverview overview = overviewOf(source, "x.mcap");
    EXPECT_EQ(overview.topics(), std::vector<std::string>{"B"});
    EXPECT_EQ(overview.start, 5U);
    EXPECT_LT(source.bytesRead, 10'000U);
}

TEST_F(RecordedEventsTest, CutKeepsATimeAndAChannel)
{
    const std::string into = file + ".part";
    EXPECT_EQ(cutRecording({file, into, 0.5, 1.5, {"Log"}}), into + ": 1 message of 1 channel\n");
    EXPECT_EQ(infoOf(into).channels.at(0).first, 2'000'000'000U);
}

TEST_F(RecordedEventsTest, CutOfWhatIsDamagedSaysSo)
{
    std::string damaged = recordingOf(6, false);
    damaged[damaged.find("data2")] = 'D';
    const std::string into = file + ".part";
    EXPECT_EQ(cutRecording({directory.write("damaged.mcap", damaged), into, 0, std::nullopt, {}}),
              into + ": 4 messages of 2 channels; 1 damaged place left out\n");
}

TEST_F(RecordedEventsTest, CutThatEndsBeforeItsStartIsRefused)
{
    EXPECT_THROW(cutRecording({file, file + ".part", 2, 1, {}}), UnknownName);
}

TEST_F(RecordedEventsTest, CutThatFailsLeavesNothing)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit few{1000, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &few), 0);
    EXPECT_THROW(cutRecording({file, file + ".part", 0, std::nullopt, {}}), std::runtime_error);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1);
}

TEST_F(RecordedEventsTest, CutOfAChannelThatThereIsNotIsAnsweredWithTheNearestOrThoseThereAre)
{
    const std::pair<const char*, const char*> rows[] = {{"Lag", "did you mean Log?"},
                                                        {"Other", "there are: Log, queue/ZEN_HX"}};
    for (const auto& [channel, answer] : rows) {
        try {
            cutRecording({file, file + ".part", 0, std::nullopt, {channel}});
            FAIL();
        } catch (const UnknownName& error) {
            EXPECT_EQ(error.what(), file + ": no channel " + channel + "; " + answer);
        }
    }
    EXPECT_FALSE(std::filesystem::exists(file + ".part"));
}
