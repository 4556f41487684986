#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/record/RecordingCut.h"
#include "tests/aspn2_msgs/AllRecords.h"
#include "tests/lab/mcap/Recordings.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

using namespace orvanectl;
using namespace recordings;
using Line = nlohmann::json;

namespace {

/// The values that a record is made of, in the order of travel: "header.seq_num=7".
struct Leaves {
    std::vector<std::string>& lines;
    std::string path;

    void add(const char* name, const std::string& value) { lines.push_back(path + name + '=' + value); }

    void operator()(const char* name, std::string& value) { add(name, value); }
    template <class T, std::size_t Size>
    void operator()(const char* name, std::array<T, Size>& array)
    {
        for (auto& element : array) (*this)(name, element);
    }
    template <class T>
    void operator()(const char* name, std::vector<T>& sequence)
    {
        for (auto& element : sequence) (*this)(name, element);
    }
    template <class T>
    void operator()(const char* name, T& value)
    {
        if constexpr (std::is_enum_v<T>) {
            add(name, std::to_string(static_cast<std::uint32_t>(value)));
        } else if constexpr (std::is_floating_point_v<T>) {
            std::array<char, 64> text{};
            const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
            add(name, {text.data(), end});
        } else if constexpr (std::is_arithmetic_v<T>) {
            add(name, std::to_string(+value));
        } else {
            eachFieldOf(value, Leaves{lines, path + name + '.'});
        }
    }
};

/// A recording of one record of each type, on a topic of its name.
struct Recorded {
    std::vector<WatchedTopic> topics;
    std::vector<Sample> samples;
    std::vector<std::vector<std::string>> leaves;

    template <class Record>
    void add(const char* name)
    {
        const RecordType* const type = findRecordType(name);
        if (!type) return;  // only part of others
        Sample sample{topics.size(), {}, std::make_shared<Record>(numbered<Record>()), 500};
        sample.arrival.sequenceNumber = static_cast<std::int64_t>(topics.size());
        leaves.emplace_back();
        eachFieldOf(*static_cast<Record*>(sample.record.get()), Leaves{leaves.back(), ""});
        topics.push_back({name, type});
        samples.push_back(std::move(sample));
    }

    void write(const std::string& file) const
    {
        mcap::FileOutput output(file);
        Recorder recorder(output, topics, {"ZEN_HX"}, {});
        std::uint64_t time = 1'700'000'000'000'000'000;
        for (const Sample& sample : samples) {
            recorder.take(sample, time += 1000);
            if (sample.topic % 10 == 0) recorder.settle({});
        }
        recorder.takeBusLine(R"({"type":"tell"})", time += 1000);
        recorder.close({{"Altitude", "3"}});
    }
};

Recorded recordedOfAllTypes()
{
    Recorded recorded;
#define ADD_RECORD(Name) recorded.add<aspn2_msgs::idl::Name>(#Name);
    FOR_EACH_SUPPORTED_RECORD(ADD_RECORD)
    return recorded;
}

struct ForeignReaderTest : testing::Test {
    ForeignReaderTest() { recorded.write(file); }

    void SetUp() override
    {
        ASSERT_TRUE(std::filesystem::exists(ORVANE_FOREIGN_DIR "/node_modules/@mcap/core"))
            << "script/bootstrap installs the reader of others";
    }

    /// What the reader of others says, a line each.
    static std::vector<Line> foreign(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> command = {"/usr/bin/env", "node", ORVANE_FOREIGN_DIR "/recording.mjs"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        ChildProcess child(command);
        EXPECT_EQ(child.wait(), (ChildProcess::Ending{0, 0})) << child.errors();
        std::vector<Line> lines;
        std::istringstream text(child.output());
        for (std::string line; std::getline(text, line);) lines.push_back(Line::parse(line));
        return lines;
    }

    /// Messages as they stand in a file, with topics in place of channels.
    static std::vector<std::string> messagesOf(const std::string& path)
    {
        Reading reading;
        const mcap::FileSource source(path);
        EXPECT_TRUE(mcap::scan(source, reading).isClosed);
        EXPECT_EQ(reading.problems, std::vector<std::string>());
        return reading.messages;
    }

    const Recorded recorded = recordedOfAllTypes();
    const TemporaryDirectory directory;
    const std::string file = directory.write("empty", "") + ".mcap";
};

}  // namespace

TEST_F(ForeignReaderTest, EveryTypeIsDecodedByTheSchemaInTheFile)
{
    const auto lines = foreign({"read", file});
    ASSERT_EQ(recorded.topics.size(), 32U);
    ASSERT_EQ(lines.size(), 33U);
    for (std::size_t i = 0; i < recorded.topics.size(); ++i) {
        EXPECT_EQ(lines[i].at("topic"), recorded.topics[i].name);
        EXPECT_EQ(lines[i].at("leaves").get<std::vector<std::string>>(), recorded.leaves[i]) << recorded.topics[i].name;
    }
    EXPECT_EQ(lines[32].at("topic"), "bus");
    EXPECT_EQ(lines[32].at("data"), "7b2274797065223a2274656c6c227d");
}

TEST_F(ForeignReaderTest, NumbersAndTimesAreThose)
{
    const auto lines = foreign({"read", file});
    ASSERT_EQ(lines.size(), 33U);
    EXPECT_EQ(lines[4].at("sequence"), 4);
    EXPECT_EQ(lines[4].at("logTime"), "1700000000000005000");
    EXPECT_EQ(lines[4].at("publishTime"), "500");
}

TEST_F(ForeignReaderTest, StreamIsReadWithEveryChecksumRight)
{
    EXPECT_EQ(foreign({"stream", file}), foreign({"read", file}));
}

TEST_F(ForeignReaderTest, WhatOthersWriteIsReadMessageByMessage)
{
    const std::string copy = file + ".copy";
    foreign({"copy", file, copy});
    EXPECT_EQ(messagesOf(copy), messagesOf(file));
    EXPECT_TRUE(mcap::readSummary(mcap::FileSource(copy)));
}

TEST_F(ForeignReaderTest, WhatOthersWriteIsCutWithoutLosingAChannel)
{
    const std::string copy = file + ".copy", part = file + ".part";
    foreign({"copy", file, copy});
    cutRecording({copy, part, 10e-6, std::nullopt, {}});  // a message each microsecond
    const auto all = messagesOf(file);
    ASSERT_EQ(all.size(), 33U);
    EXPECT_EQ(messagesOf(part), std::vector<std::string>(all.begin() + 10, all.end()));
}

TEST_F(ForeignReaderTest, FilesThatOthersPutIntoARecordingAreInItsParts)
{
    const std::string copy = file + ".copy", part = file + ".part";
    foreign({"copy", file, copy});
    cutRecording({copy, part, 10e-6, std::nullopt, {}});
    const Line notes = {{"name", "notes.txt"}, {"mediaType", "text/plain"}, {"text", "what was noted"}};
    EXPECT_EQ(foreign({"files", part}), std::vector<Line>{notes});
}
