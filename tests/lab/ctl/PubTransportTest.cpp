#include "lab/ctl/PubRecords.h"
#include "lab/ctl/RecordText.h"
#include "lab/ctl/TopicPublisher.h"
#include "lab/ctl/TopicWatch.h"
#include "tests/aspn2_msgs/AllRecords.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Transport.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

using namespace orvanectl;

namespace {

/// A connection file, a publisher and a watch of its topics.
struct PubTransportTest : testing::Test {
    void begin(const TransportConfig& config, bool isReliable)
    {
        file.emplace(directory.write("Connections.xml", config.text()));
        const auto topics = chooseTopics(*file, {}, "");
        watch.emplace(*file, topics, Delivery{isReliable});
        publisher.emplace(*file, topics);
        ASSERT_EQ(publisher->waitForSubscribers(ChildProcess::kDeadline, [] { return false; }), "");
        ASSERT_TRUE(eventually([&] {
            for (std::size_t topic = 0; topic < topics.size(); ++topic)
                if (watch->publishersOf(topic) == 0) return false;
            return true;
        }));
    }

    /// Takes what has come until there are so many.
    const std::vector<Sample>& await(std::size_t count)
    {
        EXPECT_TRUE(eventually([&] {
            for (Sample& sample : watch->samples().take()) samples.push_back(std::move(sample));
            return samples.size() >= count;
        })) << samples.size();
        return samples;
    }

    const TemporaryDirectory directory;
    std::optional<ConnectionFile> file;
    std::optional<TopicWatch> watch;
    std::optional<TopicPublisher> publisher;
    std::vector<Sample> samples;
};

}  // namespace

TEST_F(PubTransportTest, RecordsOfAllTypesGoOverTheTransportAndComeBackAsTheyWere)
{
    TransportConfig config;
    std::map<std::string, std::string> lines;
    for (const RecordCase& record : supportedRecords()) {
        const RecordType* const type = findRecordType(record.name);
        if (!type) continue;
        const std::string topic = std::string("Topic ") + record.name;
        config.connect(topic.c_str(), record.name);
        lines[topic] = recordJson({topic, type}, record.numbered->data());
    }
    ASSERT_EQ(lines.size(), 32u);
    begin(config, true);
    for (const auto& [topic, line] : lines) publisher->publish(topic, recordOfLine(line)->record.get());
    for (const Sample& sample : await(32)) {
        const WatchedTopic& topic = watch->topics()[sample.topic];
        EXPECT_EQ(recordJson(topic, sample.record.get()), lines[topic.name]);
    }
}
