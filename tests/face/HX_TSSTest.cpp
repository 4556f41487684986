#include "face/HX_TSS.h"

#include "aspn2_msgs/UTCTimePubSubTypes.h"
#include "face/HX_TSS_Listeners.h"
#include "face/HX_Topic_Helpers.h"
#include "tests/face/NineTypes.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/OneConnection.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Transport.h"
#include "tests/support/VirtualSlot.h"

#include <fastrtps/publisher/Publisher.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using FACE::RETURN_CODE_TYPE;
using FACE::TSS::HX_TSS;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

namespace {

/// The configuration of a file, which notes what is opened and counts what is left open.
class WatchedConfig : public FACE::HX_Config {
public:
    void Open(const FACE::String& name, int& handle, RETURN_CODE_TYPE::Value& code) override
    {
        HX_Config::Open(name, handle, code);
        opened.emplace_back(name.buffer());
        if (code == RETURN_CODE_TYPE::NO_ERROR) ++open;
    }
    void Close(int handle, RETURN_CODE_TYPE::Value& code) override
    {
        HX_Config::Close(handle, code);
        if (code == RETURN_CODE_TYPE::NO_ERROR) --open;
    }

    std::vector<std::string> opened;
    int open = 0;
};

std::vector<std::string> s_deaths;

struct MortalType : aspn2_msgs::idl::UTCTimePubSubType {
    ~MortalType() override { s_deaths.emplace_back("type"); }
};

struct MortalConfig : FACE::HX_Config {
    ~MortalConfig() override { s_deaths.emplace_back("configuration"); }
};

/// A type support that the library does not register.
struct TypeWithoutSize : aspn2_msgs::idl::UTCTimePubSubType {
    TypeWithoutSize() { m_typeSize = 0; }
};

/// A listener of either side that counts its deaths.
template <class Base>
struct MortalListener : Base {
    explicit MortalListener(int& count) : Base("unit"), deleted(count) {}
    ~MortalListener() override { ++deleted; }
    int& deleted;
};

/// A transport step by step.
class HX_TSSTest : public ::testing::Test {
protected:
    RETURN_CODE_TYPE::Value refer()
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        tss.Set_Reference("", config, 0, code);
        return code;
    }
    RETURN_CODE_TYPE::Value initialize(const std::string& path)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        const ConsoleCapture outCapture(std::cout);
        const ConsoleCapture errCapture(std::cerr);
        tss.Initialize(path.c_str(), code);
        out = outCapture.flushed();
        err = errCapture.flushed();
        return code;
    }
    RETURN_CODE_TYPE::Value initialize(const TransportConfig& file)
    {
        return initialize(directory.write("connections.xml", file.text()));
    }
    RETURN_CODE_TYPE::Value start(const TransportConfig& file)
    {
        refer();
        return initialize(file);
    }
    RETURN_CODE_TYPE::Value connect(const std::string& name)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        const ConsoleCapture errCapture(std::cerr);
        id = 77;
        tss.Create_Connection(name.c_str(), -1, id, size, code);
        err = errCapture.flushed();
        return code;
    }
    template <class Operation>
    RETURN_CODE_TYPE::Value call(Operation operation, long long connection)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        (tss.*operation)(connection, code);
        return code;
    }

    const TemporaryDirectory directory;
    const std::shared_ptr<WatchedConfig> config = std::make_shared<WatchedConfig>();
    HX_TSS tss{"unit"};
    std::string out;
    std::string err;
    long long id = 77;
    int size = 55;
};

}  // namespace

TEST_F(HX_TSSTest, OneReferenceIsTaken)
{
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    tss.Set_Reference("", nullptr, 0, code);
    EXPECT_EQ(code, 3);
    EXPECT_EQ(refer(), 0);
    EXPECT_EQ(refer(), 2);
    tss.Set_Reference("", nullptr, 0, code);
    EXPECT_EQ(code, 2);
}

TEST_F(HX_TSSTest, InitializeNeedsAReference)
{
    EXPECT_EQ(initialize(TransportConfig()), 2);
    EXPECT_EQ(out + err, "");
    EXPECT_FALSE(tss.isInitialized());
}

TEST_F(HX_TSSTest, InitializeMakesTheParticipantOnce)
{
    EXPECT_EQ(start(TransportConfig()), 0);
    EXPECT_TRUE(tss.isInitialized());
    EXPECT_THAT(config->opened, ElementsAre("FastRtps"));
    EXPECT_EQ(initialize("no file"), 1);
    EXPECT_THAT(config->opened, ElementsAre("FastRtps"));
    EXPECT_EQ(config->open, 0);
}

TEST_F(HX_TSSTest, MissingFileIsNotAvailable)
{
    refer();
    EXPECT_EQ(initialize("/nowhere/connections.xml"), 2);
    EXPECT_EQ(out, "CFR:4 Configuration /nowhere/connections.xml was not available\n");
    EXPECT_EQ(err, "");
}

TEST_F(HX_TSSTest, PathThatIsNotValidThrowsAndIsNotAvailable)
{
    refer();
    FACE::String::RETURN_CODE made = FACE::String::NO_ERROR;
    const FACE::String invalid(0, made);
    ASSERT_FALSE(invalid.is_valid());
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    EXPECT_THROW(tss.Initialize(invalid, code), std::logic_error);
    EXPECT_EQ(code, 2);
    EXPECT_FALSE(tss.isInitialized());
    EXPECT_EQ(initialize(TransportConfig()), 0);
}

TEST_F(HX_TSSTest, MalformedFileIsNotAvailable)
{
    refer();
    const std::string path = directory.write("connections.xml", "<HX_Configurations>");
    EXPECT_EQ(initialize(path), 2);
    EXPECT_EQ(out, "CFR:4 Configuration " + path + " was not available\n");
    EXPECT_EQ(err, "");
}

TEST_F(HX_TSSTest, MissingFileMayBeFollowedByAGoodOne)
{
    refer();
    EXPECT_EQ(initialize("/nowhere/connections.xml"), 2);
    EXPECT_FALSE(tss.isInitialized());
    EXPECT_EQ(initialize(TransportConfig().connect("Times", "UTCTime")), 0);
    EXPECT_TRUE(tss.isInitialized());
    EXPECT_EQ(connect("Times"), 0);
}

TEST_F(HX_TSSTest, MissingContainerIsNotAvailable)
{
    refer();
    EXPECT_EQ(initialize(directory.write("connections.xml", "<HX_Configurations/>")), 2);
    EXPECT_EQ(out, "CFR:4 Domain FastRtps was not available\n");
    EXPECT_EQ(err, "");
}

TEST_F(HX_TSSTest, MissingKeyIsABadFileAlsoWhereItHasNoUse)
{
    EXPECT_EQ(start(TransportConfig().remove("TcpPort")), 4);
    EXPECT_EQ(out, "WARNING - Parameter TcpPort not found\n");
    EXPECT_EQ(config->open, 0);
    EXPECT_FALSE(tss.isInitialized());
}

TEST_F(HX_TSSTest, SettingsAreStoredOnlyIfNoKeyIsMissing)
{
    // A depth that is stored is good enough to get as far as the type; that of a new transport, 0, is not.
    const auto refusal = [](HX_TSS& transport) {
        HX_TSS::Connection_t connection("Times", "Other", FACE::TSS::Topics::GetPubSubType("UTCTimePubSubType"));
        return errorOf([&] { transport.registerPublisher(connection); });
    };
    EXPECT_EQ(start(TransportConfig().remove("TcpPort")), 4);
    EXPECT_EQ(refusal(tss), "Participant unit invalid publisher QOS for topic: Times; see error log");
    HX_TSS other("unit");
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    other.Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, code);
    const ConsoleCapture console(std::cerr);
    other.Initialize(directory.write("shm.xml", TransportConfig().set("UseTransport", "shm").text()).c_str(), code);
    EXPECT_EQ(code, 4);
    EXPECT_EQ(refusal(other), "Participant unit error creating publisher for topic: Times");
}

TEST_F(HX_TSSTest, FailedInitializeMayBeRepeatedOnTheSameFile)
{
    start(TransportConfig().set("UseTransport", "shm"));
    EXPECT_EQ(initialize(directory.write("other.xml", TransportConfig().text())), 4);
    EXPECT_EQ(err, "Error creating participant unit\n");
}

TEST_F(HX_TSSTest, NoParticipantWithoutATransport)
{
    EXPECT_EQ(start(TransportConfig().set("UseTransport", "shm")), 4);
    EXPECT_EQ(err, "Error creating participant unit\n");
    EXPECT_EQ(config->open, 0);
    EXPECT_FALSE(tss.isInitialized());
}

TEST_F(HX_TSSTest, DomainWithoutPortsIsRefused)
{
    EXPECT_EQ(start(TransportConfig().set("DomainId", "233")), 4);
    EXPECT_EQ(err, "Error creating participant unit\n");
}

TEST_F(HX_TSSTest, DomainThatWrapsAroundIsRefused)
{
    EXPECT_EQ(start(TransportConfig().set("DomainId", "-1")), 4);
    EXPECT_EQ(err, "Error creating participant unit\n");
}

TEST_F(HX_TSSTest, HighestDomainIsGood)
{
    EXPECT_EQ(start(TransportConfig().set("DomainId", "232")), 0);
}

TEST_F(HX_TSSTest, NothingWorksBeforeInitialize)
{
    refer();
    EXPECT_EQ(connect("Times"), 2);
    EXPECT_EQ(id, -1);
    EXPECT_EQ(call(&HX_TSS::Destroy_Connection, 0), 2);
    EXPECT_EQ(call(&HX_TSS::Unregister_Sender, -1), 2);
    EXPECT_EQ(call(&HX_TSS::Unregister_Callback, 0), 2);
    EXPECT_EQ(config->opened.size(), 0u);
}

TEST_F(HX_TSSTest, ConnectionsAreNumberedInOrder)
{
    start(TransportConfig().connect("Times", "UTCTime").connect("Events", "EventLog"));
    EXPECT_EQ(connect("Events"), 0);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(connect("Times"), 0);
    EXPECT_EQ(id, 1);
    EXPECT_EQ(size, 55);
    EXPECT_EQ(tss.connectionMap_mutex_at(1).name, "Times");
    EXPECT_EQ(tss.connectionMap_mutex_at(1).topicType, "aspn2_msgs::idl::UTCTime");
    EXPECT_FALSE(tss.connectionMap_mutex_at(1).isPublisher());
    EXPECT_FALSE(tss.connectionMap_mutex_at(1).isSubscriber());
    EXPECT_EQ(config->open, 0);
}

TEST_F(HX_TSSTest, TimeOutsAreIgnored)
{
    TransportConfig file;
    for (int i = 0; i < 5; ++i) file.connect("Times" + std::to_string(i), "UTCTime");
    start(file);
    long long expected = 0;
    for (const long long timeout :
         {0LL, 1LL, -1LL, std::numeric_limits<long long>::max(), std::numeric_limits<long long>::min()}) {
        const std::string name = "Times" + std::to_string(expected);
        for (int i = 0; i < 2; ++i) {  // made, then found
            RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
            tss.Create_Connection(name.c_str(), timeout, id, size, code);
            EXPECT_EQ(code, 0) << timeout;
            EXPECT_EQ(id, expected);
        }
        ++expected;
    }
}

TEST_F(HX_TSSTest, SameNameIsTheSameConnectionAndNotOpenedAgain)
{
    start(TransportConfig().connect("Times", "UTCTime").connect("Events", "EventLog"));
    connect("Times");
    connect("Events");
    EXPECT_EQ(connect("Times"), 0);
    EXPECT_EQ(id, 0);
    EXPECT_THAT(config->opened, ElementsAre("FastRtps", "Times", "Events"));
}

TEST_F(HX_TSSTest, NameThatTheFileLacksIsABadConfiguration)
{
    start(TransportConfig());
    EXPECT_EQ(connect("Times"), 4);
    EXPECT_EQ(id, -1);
}

TEST_F(HX_TSSTest, NameThatIsNotValidThrowsAndIsABadConfiguration)
{
    start(TransportConfig());
    FACE::String::RETURN_CODE made = FACE::String::NO_ERROR;
    const FACE::String invalid(0, made);
    ASSERT_FALSE(invalid.is_valid());
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    EXPECT_THROW(tss.Create_Connection(invalid, -1, id, size, code), std::logic_error);
    EXPECT_EQ(code, 4);
    EXPECT_EQ(id, -1);
}

TEST_F(HX_TSSTest, BothTypesAreReadBeforeOneIsMissed)
{
    start(TransportConfig().connect("Times", "", "").connect("Events", "EventLog"));
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(connect("Times"), 4);
    EXPECT_EQ(console.text(), "WARNING - Parameter TopicType not found\nWARNING - Parameter PubSubType not found\n");
    EXPECT_EQ(id, -1);
    EXPECT_EQ(config->open, 0);
    connect("Events");
    EXPECT_EQ(id, 0);
}

TEST_F(HX_TSSTest, UnknownTypeSupportCannotBeRegistered)
{
    start(TransportConfig().connect("Times", "aspn2_msgs::idl::UTCTime", "UTCTime").connect("Events", "EventLog"));
    EXPECT_EQ(connect("Times"), 1);
    EXPECT_EQ(err, "!!!!! Could NOT register topic 0 with participant unit\n");
    EXPECT_EQ(id, -1);
    EXPECT_EQ(config->open, 0);
    connect("Events");
    EXPECT_EQ(id, 0);
}

TEST_F(HX_TSSTest, RefusedTypeSupportIsToldByItsAddress)
{
    const Transport transport(TransportConfig().connect("Times", "UTCTime"), "unit",
                              [](const std::string&) -> HX_TSS::TopicDataType* { return new TypeWithoutSize(); });
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    const ConsoleCapture console(std::cerr);
    transport->Create_Connection("Times", -1, id, size, code);
    EXPECT_EQ(code, 1);
    EXPECT_EQ(id, -1);
    EXPECT_THAT(console.flushed(), MatchesRegex("!!!!! Could NOT register topic 0x[0-9a-f]+ with participant unit\n"));
}

TEST_F(HX_TSSTest, RefusedTypeSupportLeavesNoContainerOpen)
{
    HX_TSS refusing("unit", [](const std::string&) -> HX_TSS::TopicDataType* { return new TypeWithoutSize(); });
    const std::string path = directory.write("connections.xml", TransportConfig().connect("Times", "UTCTime").text());
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    refusing.Set_Reference("", config, 0, code);
    refusing.Initialize(path.c_str(), code);
    const ConsoleCapture console(std::cerr);
    refusing.Create_Connection("Times", -1, id, size, code);
    EXPECT_EQ(code, 1);
    EXPECT_THAT(config->opened, ElementsAre("FastRtps", "Times"));
    EXPECT_EQ(config->open, 0);
}

TEST_F(HX_TSSTest, TypesDieBeforeTheConfiguration)
{
    const std::string path = directory.write("connections.xml", TransportConfig().connect("Times", "UTCTime").text());
    auto transport =
        std::make_unique<HX_TSS>("unit", [](const std::string&) -> HX_TSS::TopicDataType* { return new MortalType(); });
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    transport->Set_Reference("", std::make_shared<MortalConfig>(), 0, code);
    transport->Initialize(path.c_str(), code);
    ASSERT_EQ(code, 0);
    transport->Create_Connection("Times", -1, id, size, code);
    ASSERT_EQ(code, 0);
    s_deaths.clear();
    transport.reset();
    EXPECT_THAT(s_deaths, ElementsAre("type", "configuration"));
}

TEST_F(HX_TSSTest, TypeOfTwoConnectionsIsRegisteredOnce)
{
    start(TransportConfig().connect("Commands", "CommandResponse").connect("Responses", "CommandResponse"));
    EXPECT_EQ(connect("Commands"), 0);
    EXPECT_EQ(connect("Responses"), 0);
    EXPECT_EQ(id, 1);
    EXPECT_NE(tss.connectionMap_mutex_at(0).pubSubType, nullptr);
    EXPECT_NE(tss.connectionMap_mutex_at(1).pubSubType, nullptr);
    EXPECT_NE(tss.connectionMap_mutex_at(0).pubSubType, tss.connectionMap_mutex_at(1).pubSubType);
}

TEST_F(HX_TSSTest, DestroyDoesNothing)
{
    start(TransportConfig().connect("Times", "UTCTime"));
    connect("Times");
    EXPECT_EQ(call(&HX_TSS::Destroy_Connection, 0), 0);
    EXPECT_EQ(call(&HX_TSS::Destroy_Connection, 99), 0);
    EXPECT_EQ(call(&HX_TSS::Destroy_Connection, -1), 0);
    EXPECT_EQ(tss.connectionMap_mutex_at(0).name, "Times");
}

TEST_F(HX_TSSTest, UnregisterNeedsAConnectionButNoEndpoint)
{
    start(TransportConfig().connect("Times", "UTCTime"));
    connect("Times");
    for (const auto operation : {&HX_TSS::Unregister_Sender, &HX_TSS::Unregister_Callback}) {
        EXPECT_EQ(call(operation, 0), 0);
        for (const long long unknown : {-1LL, 1LL, 0xFFFFFFFFLL, 0x100000000LL, -0x100000000LL})
            EXPECT_EQ(call(operation, unknown), 3) << unknown;
    }
}

TEST_F(HX_TSSTest, LookUpOfAnUnknownIdThrows)
{
    start(TransportConfig());
    try {
        tss.connectionMap_mutex_at(0);
        FAIL();
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "map::at");
    }
}

TEST_F(HX_TSSTest, LongNameIsCutForTheTopicOnly)
{
    const std::string name(300, 'n');
    start(TransportConfig().connect(name, "UTCTime"));
    EXPECT_EQ(connect(name), 0);
    EXPECT_EQ(tss.connectionMap_mutex_at(0).name, name);
    tss.registerPublisher(tss.connectionMap_mutex_at(0));
    const auto& topic = tss.connectionMap_mutex_at(0).publisher->getAttributes().topic;
    EXPECT_EQ(topic.topicName.to_string(), std::string(255, 'n'));
}

TEST_F(HX_TSSTest, ConnectionMovesWithItsType)
{
    static_assert(std::is_nothrow_move_constructible_v<HX_TSS::Connection_t>);
    static_assert(!std::is_copy_constructible_v<HX_TSS::Connection_t>);
    HX_TSS::Connection_t connection("Times", "Type", FACE::TSS::Topics::GetPubSubType("UTCTimePubSubType"));
    const HX_TSS::Connection_t moved(std::move(connection));
    EXPECT_EQ(moved.name, "Times");
    EXPECT_STREQ(moved.pubSubType->getName(), "aspn2_msgs::idl::UTCTime");
}

TEST_F(HX_TSSTest, ANewListenerReplacesTheOldOne)
{
    using PublisherListener = MortalListener<FACE::TSS::Listeners::PublisherListenerBase>;
    using SubscriberListener = MortalListener<FACE::TSS::Listeners::SubscriberListenerBase>;
    int publishers = 0;
    int subscribers = 0;
    HX_TSS::Connection_t connection("Times", "Type", nullptr);
    for (int i = 0; i < 2; ++i) {
        connection.setPublisher(std::make_unique<PublisherListener>(publishers), nullptr);
        connection.setSubscriber(std::make_unique<SubscriberListener>(subscribers), nullptr);
    }
    EXPECT_EQ(publishers, 1);
    EXPECT_EQ(subscribers, 1);
    connection.clearPublisher();
    EXPECT_EQ(publishers, 2);
    EXPECT_EQ(subscribers, 1);
    connection.clearSubscriber();
    EXPECT_EQ(subscribers, 2);
}

TEST(TransportInterfacesTest, OperationsStandInTheirOrder)
{
    using FACE::TSS::Base;
    const std::vector<std::uintptr_t> base = {
        virtualSlot(&Base::Initialize), virtualSlot(&Base::Create_Connection), virtualSlot(&Base::Destroy_Connection),
        virtualSlot(&Base::Unregister_Sender), virtualSlot(&Base::Unregister_Callback)};
    using Typed = FACE::TSS::TypedTS<aspn2_msgs::idl::UTCTime>;
    const std::vector<std::uintptr_t> typed = {virtualSlot(&Typed::Receive_Message), virtualSlot(&Typed::Send_Message),
                                               virtualSlot(&Typed::Register_Sender),
                                               virtualSlot(&Typed::Register_Callback)};
    for (const auto& slots : {base, typed})
        for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + sizeof(void*)) << i;
}
