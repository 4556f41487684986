#include "lab/ctl/ConnectionFile.h"

#include "face/HX_TSS_Settings.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace orvanectl;
using FACE::RETURN_CODE_TYPE;

namespace {

constexpr const char* kDomain =
    "<Domain><Name>FastRtps</Name><Parameters><DomainId>3</DomainId><HistoryDepth>10</HistoryDepth>"
    "<UseBestEffort>false</UseBestEffort><BackFillHistory>true</BackFillHistory><UseTransport>SHM</UseTransport>"
    "<TcpAddress>127.0.0.1</TcpAddress><TcpPort>7100</TcpPort></Parameters></Domain>";

std::string topic(const std::string& name, const std::string& type, const std::string& pubSubType)
{
    return "<Connection><Name>" + name + "</Name><Parameters><TopicType>" + type + "</TopicType><PubSubType>" +
           pubSubType + "</PubSubType></Parameters></Connection>";
}

struct ConnectionFileTest : testing::Test {
    ConnectionFile fileOf(const std::string& containers)
    {
        return ConnectionFile(write("<HX_Configurations>" + containers + "</HX_Configurations>"));
    }
    std::string write(const std::string& text) { return path = directory.write("c.xml", text); }

    /// What is wrong with a file of this text, without the file's name in front.
    std::string errorOf(const std::string& text)
    {
        try {
            const ConnectionFile file(write(text));
            chooseTopics(file, {}, "");
            return "nothing";
        } catch (const std::runtime_error& error) {
            const std::string what = error.what();
            return what.starts_with(path + ": ") ? what.substr(path.size() + 2) : "no file named: " + what;
        }
    }

    TemporaryDirectory directory;
    std::string path;
    const std::string twoTopics = kDomain + topic("Log", "aspn2_msgs::idl::EventLog", "EventLogPubSubType") +
                                  topic("Time", "aspn2_msgs::idl::UTCTime", "UTCTimePubSubType");
};

std::string unknownName(const ConnectionFile& file, const std::vector<std::string>& names, const std::string& type)
{
    try {
        chooseTopics(file, names, type);
        return "nothing";
    } catch (const UnknownName& error) {
        return error.what();
    }
}

FACE::TSS::HX_TSS_Settings settingsOf(WatchConfiguration& configuration)
{
    int handle = -1;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    configuration.Open("FastRtps", handle, code);
    EXPECT_EQ(code, RETURN_CODE_TYPE::NO_ERROR);
    const auto settings = FACE::TSS::readSettings(configuration, handle, code);
    EXPECT_EQ(code, RETURN_CODE_TYPE::NO_ERROR);
    return settings;
}

}  // namespace

TEST_F(ConnectionFileTest, AllTopicsOfTheFileAreChosenWithoutAName)
{
    const auto topics = chooseTopics(fileOf(twoTopics), {}, "");
    ASSERT_EQ(topics.size(), 2U);
    EXPECT_EQ(topics[0].name, "Log");
    EXPECT_EQ(topics[0].type->name, "EventLog");
    EXPECT_EQ(topics[1].name, "Time");
    EXPECT_EQ(topics[1].type->name, "UTCTime");
}

TEST_F(ConnectionFileTest, ATopicThatIsNamedTwiceIsChosenOnce)
{
    const auto topics = chooseTopics(fileOf(twoTopics), {"Time", "Time"}, "");
    ASSERT_EQ(topics.size(), 1U);
    EXPECT_EQ(topics[0].name, "Time");
}

TEST_F(ConnectionFileTest, AGivenTypeNeedsNoEntryAndComesBeforeTheFile)
{
    const auto topics = chooseTopics(fileOf(twoTopics), {"New", "Log"}, "GSSIP");
    ASSERT_EQ(topics.size(), 2U);
    EXPECT_EQ(topics[0].type->name, "GSSIP");
    EXPECT_EQ(topics[1].type->name, "GSSIP");
}

TEST_F(ConnectionFileTest, UnknownTopicIsNamedAndTheOthersListed)
{
    const ConnectionFile file = fileOf(twoTopics);
    EXPECT_EQ(unknownName(file, {"Log", "x\n"}, ""), "no topic \"x\\x0A\" in " + path + ", which has: Log, Time");
    EXPECT_EQ(unknownName(fileOf(kDomain), {"x"}, ""), "no topic \"x\" in " + path + ", which has: none");
}

TEST_F(ConnectionFileTest, UnknownTypeIsNamedAndTheOthersListed)
{
    const std::string error = unknownName(fileOf(twoTopics), {"Log"}, "sv_set");
    EXPECT_TRUE(error.starts_with("no type \"sv_set\"; there are: Altitude, AssuranceState, BitEntryStatus, "))
        << error;
    EXPECT_TRUE(error.ends_with(", UTCTime, UtcDownlink, Velocity3D")) << error;
}

TEST_F(ConnectionFileTest, ANameThatIsNearlyOneNamesThat)
{
    const ConnectionFile file = fileOf(twoTopics);
    EXPECT_EQ(unknownName(file, {"Tmie"}, ""), "no topic \"Tmie\" in " + path + "; did you mean Time?");
    EXPECT_EQ(unknownName(file, {"Log"}, "UTCTim"), "no type \"UTCTim\"; did you mean UTCTime?");
}

TEST_F(ConnectionFileTest, FileThatCannotBeUsedHasALineThatTellsWhy)
{
    EXPECT_EQ(errorOf("<HX_Configurations>"), "no XML, line 1");
    EXPECT_EQ(errorOf(""), "no XML");
    EXPECT_EQ(errorOf("<Other/>"), "no document element HX_Configurations");
    EXPECT_EQ(errorOf("<HX_Configurations/>"), "no container FastRtps");
    EXPECT_EQ(errorOf("<HX_Configurations><Domain><Name>FastRtps</Name></Domain></HX_Configurations>"),
              "FastRtps: no DomainId");
    EXPECT_EQ(errorOf("<HX_Configurations>" + std::string(kDomain) + "</HX_Configurations>"), "no topic");
    const auto withTopic = [](const std::string& text) {
        return "<HX_Configurations>" + (kDomain + text) + "</HX_Configurations>";
    };
    EXPECT_EQ(errorOf(withTopic(topic("Log", "aspn2_msgs::idl::UTCTime", "EventLogPubSubType"))),
              "topic \"Log\": TopicType \"aspn2_msgs::idl::UTCTime\" is not that of EventLogPubSubType");
    EXPECT_TRUE(errorOf(withTopic(topic("Log", "x", "xPubSubType")))
                    .starts_with("topic \"Log\": no type \"xPubSubType\"; there are: Altitude, "));
}

TEST_F(ConnectionFileTest, EachKeyOfTheDomainMustBeThere)
{
    for (const std::string key :
         {"DomainId", "HistoryDepth", "UseBestEffort", "BackFillHistory", "UseTransport", "TcpAddress", "TcpPort"}) {
        std::string text = "<HX_Configurations>" + twoTopics + "</HX_Configurations>";
        const auto begin = text.find("<" + key + ">");
        const auto end = text.find("</" + key + ">");
        text.erase(begin, end + key.size() + 3 - begin);
        EXPECT_EQ(errorOf(text), "FastRtps: no " + key);
    }
}

TEST_F(ConnectionFileTest, WhatIsNoFileIsNotOpened)
{
    const auto error = [](const std::string& name) {
        try {
            ConnectionFile file(name);
            return std::string("nothing");
        } catch (const std::runtime_error& caught) {
            return std::string(caught.what());
        }
    };
    EXPECT_EQ(error("/missing/c.xml"), "/missing/c.xml: No such file or directory");
    EXPECT_EQ(error("/dev"), "/dev: not a file");
}

TEST_F(ConnectionFileTest, ContainersAreFoundAsTheTransportFindsThem)
{
    const ConnectionFile file =
        fileOf("<Connection><Parameters><TopicType>a</TopicType><PubSubType>b</PubSubType></Parameters></Connection>" +
               std::string(kDomain) + "<Domain><Name>FastRtps</Name></Domain>" + topic("One", "first", "b") +
               topic("One", "second", "b") + "<Odd><Name>NoType</Name></Odd>");
    ASSERT_EQ(file.topics().size(), 1U);  // no nameless one, the first of a name, none without types
    EXPECT_EQ(file.topics()[0].topicType, "first");
    EXPECT_EQ(file.domain().at("DomainId"), "3");
}

TEST_F(ConnectionFileTest, AContainerBehindAnotherOfItsNameIsNoTopic)
{
    const std::string incomplete = "<Connection><Name>Log</Name></Connection>";
    EXPECT_TRUE(fileOf(kDomain + incomplete + topic("Log", "t", "p")).topics().empty());
}

TEST_F(ConnectionFileTest, AContainerBehindAnElementOfItsNameIsNoTopic)
{
    EXPECT_TRUE(
        fileOf(kDomain + std::string("<Log><Name>Other</Name></Log>") + topic("Log", "t", "p")).topics().empty());
}

TEST_F(ConnectionFileTest, AKeyBehindAnEmptyOneOfItsNameDoesNotCount)
{
    const std::string twice = "<Connection><Name>Log</Name><Parameters><TopicType/><TopicType>t</TopicType>"
                              "<PubSubType>p</PubSubType></Parameters></Connection>";
    EXPECT_TRUE(fileOf(kDomain + twice).topics().empty());
}

TEST_F(ConnectionFileTest, WatchingAsksPublishersForNothing)
{
    const ConnectionFile file = fileOf(twoTopics);
    WatchConfiguration configuration(file, chooseTopics(file, {}, ""), {.backfill = false});
    const auto settings = settingsOf(configuration);
    EXPECT_TRUE(settings.useBestEffort);
    EXPECT_FALSE(settings.backFillHistory);
    EXPECT_EQ(settings.domainId, 3U);
    EXPECT_EQ(settings.useTransport, "SHM");
}

TEST_F(ConnectionFileTest, BackfillIsAsReliableAsTheFileSays)
{
    std::string containers = twoTopics;
    containers.replace(containers.find(">true</BackFill"), 5, ">false");  // of no account
    const ConnectionFile file = fileOf(containers);
    WatchConfiguration configuration(file, chooseTopics(file, {}, ""), {.backfill = true});
    const auto settings = settingsOf(configuration);
    EXPECT_FALSE(settings.useBestEffort);
    EXPECT_TRUE(settings.backFillHistory);
}
