#include "ASPN/AspnDeviceIds.h"
#include "ASPN/HealthReporter.h"
#include "PCSMaintReporter/PCSMaintReporter.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "face/FACE_Text.h"
#include "ioss_mcsq/GssipTopicSerializer.h"
#include "platform/FPGA.h"
#include "tests/VICTORY/OrvaneServer/BitResult/BitResultsFixture.h"
#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/FreshInputs.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/VICTORY/OrvaneServer/ServiceTopics.h"
#include "tests/platform/FpgaDesk.h"
#include "tests/platform/RecordingDevmem.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/NoNewThreads.h"
#include "tests/support/OneConnection.h"
#include "tests/support/QueueDevice.h"
#include "tests/support/ServiceConfig.h"
#include "tests/support/Topics.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <fcntl.h>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace BuildInfo {

/// What the build has written down (NotedBuildTime.cpp).
const char* notedTime();

}  // namespace BuildInfo

using FACE::RETURN_CODE_TYPE;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

/// Where this process finds the devices of the unit, and which of them it has looked for.
std::map<std::string, std::string> s_devices;
std::vector<std::string> s_opened;
std::function<void(const std::string&)> s_onOpen;  // if it is set

const char* placeOf(const char* path)
{
    if (!std::string(path).starts_with("/dev/m")) return path;
    s_opened.emplace_back(path);
    if (s_onOpen) s_onOpen(path);
    const auto device = s_devices.find(path);
    return device != s_devices.end() ? device->second.c_str() : "/dev/null/missing";
}

mode_t modeOf(int flags, va_list more)
{
    return (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
}

}  // namespace

// Which of these is called depends on the width of file offsets, and on what is checked of flags that are not constant.
extern "C" {
int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...);
int __real_open64(const char* path, int flags, ...);
int __wrap_open64(const char* path, int flags, ...);
int __real___open_2(const char* path, int flags);
int __wrap___open_2(const char* path, int flags);
int __real___open64_2(const char* path, int flags);
int __wrap___open64_2(const char* path, int flags);

int __wrap_open(const char* path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = modeOf(flags, more);
    va_end(more);
    return __real_open(placeOf(path), flags, mode);
}

int __wrap_open64(const char* path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = modeOf(flags, more);
    va_end(more);
    return __real_open64(placeOf(path), flags, mode);
}

int __wrap___open_2(const char* path, int flags)
{
    return __real___open_2(placeOf(path), flags);
}

int __wrap___open64_2(const char* path, int flags)
{
    return __real___open64_2(placeOf(path), flags);
}
}

namespace {

using Names = std::set<std::string>;

/// All topics of the service but some, and another type for one; each topic has its history.
std::string topicsWithout(const Names& missing, const std::string& mistyped = "")
{
    return serviceTopicsWithout(missing, mistyped).set("BackFillHistory", "true").text();
}

/// The registers of the process: whoever opens physical memory keeps it.
const FpgaMemory& registers()
{
    static const FpgaMemory memory;
    return memory;
}

std::string withoutEnd(const std::string& text)
{
    return text.substr(0, text.find("</HX_Configurations>"));
}

std::string withoutBegin(const std::string& text)
{
    const std::string begin = "<HX_Configurations>\n";
    return text.substr(text.find(begin) + begin.size());
}

/// A unit that has all that the service connects to, until a test takes something away.
struct ConnectTest : testing::Test {
    ConnectTest()
    {
        s_devices = {
            {"/dev/mem", registers().path()}, {"/dev/mcs5", fromReceiver.path()}, {"/dev/mcs6", toReceiver.path()}};
        s_opened.clear();
        s_onOpen = nullptr;
        BusFiles::giveTo(victory);
        setTopics(topicsWithout({}));
        configure(server);
        popHealthEvents();
    }
    ~ConnectTest() override
    {
        auto ignored = RETURN_CODE_TYPE::NO_ERROR;
        server->Framework_Disconnect(ignored);
    }

    void configure(ServerDoor& other) const
    {
        auto& settings = other.settings();
        settings.m_systemName = "KOLT";
        const std::string devices = withoutEnd(queueDevicesText({{"ZEN_HX", "5"}, {"HX_ZEN", "6"}})) +
                                    withoutBegin(devicesFileText(FpgaMemory::devices()));
        settings.m_ioDevicesFile = directory.write("devices.xml", devices).c_str();
        settings.m_connectionsFile = server.settings().m_connectionsFile;
    }

    void setTopics(const std::string& text)
    {
        server.settings().m_connectionsFile = directory.write("connections.xml", text).c_str();
    }

    int connect() { return connect(server); }

    static int connect(ServerDoor& other)
    {
        auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
        other->Framework_Connect("another file", rc);
        return rc;
    }

    /// Whether another service that asks whether the server is there gets an answer. START must have been.
    bool isAnswered()
    {
        aspn2_msgs::idl::CommandResponse ping;
        ping.command_response("BITSERVER_PING");
        popHealthEvents();
        server.command(ping);
        return popHealthEvents().empty();
    }

    /// Whether the service reads what comes by a tap; this is no record, and so is dropped.
    static bool isRead(const QueueDevice& device)
    {
        device.send(std::array<std::uint8_t, 4>{});
        return eventually([&] { return device.isEmpty(); }, std::chrono::seconds(20));
    }

    const HardDeadline deadline{std::chrono::seconds(200)};
    const TemporaryDirectory directory;
    const std::string sensorFile = directory.write("sensors.xml", fileOf({}));
    const QueueDevice fromReceiver{directory.path(), 5};
    const QueueDevice toReceiver{directory.path(), 6};
    VictoryRecorder victory;
    const ConsoleCapture console{std::cout};  // until the thread of the taps has ended with the server
    ServerDoor server{sensorFile};
};

/// Another process of the unit, which gets what the service has sent on a topic before.
template <class T>
class Listener {
public:
    Listener(const ServerDoor& server, const std::string& topic)
        : m_transport(FACE::textOf(server.settings().m_connectionsFile), "listener"), m_front(m_transport.typed<T>())
    {
        auto code = RETURN_CODE_TYPE::NO_ACTION;
        m_front->Register_Callback(m_transport.connect(topic), m_inbox.callback(), code);
        if (code != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no subscriber");
    }

    T first() const
    {
        return m_inbox.waitFor(1) ? m_inbox.items()[0].message : throw std::runtime_error("nothing was sent");
    }

private:
    Inbox<T> m_inbox;  // outlives the subscriber
    Transport m_transport;
    std::shared_ptr<FACE::TSS::Details::HX_TypedTS<T>> m_front;
};

const std::string kBanner = "OrvaneServer KPN: ";

}  // namespace

TEST_F(ConnectTest, AWholeUnitIsConnected)
{
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_TRUE(isRead(fromReceiver));
    EXPECT_TRUE(isRead(toReceiver));
    EXPECT_THAT(s_opened, Contains("/dev/mem"));
    EXPECT_THAT(console.text(), HasSubstr(kBanner + "345-1290-118B  "));
    EXPECT_TRUE(server.bus().isStarted());
}

TEST_F(ConnectTest, IdentityLineHasTheBuildTimeBetweenAColonAndASlash)
{
    ASSERT_EQ(connect(), RETURN_CODE_TYPE::NO_ERROR);
    const Listener<aspn2_msgs::idl::EventLog> listener(server, "EventLog");
    const std::string line = listener.first().eventlog();
    const std::string front = "//aspn://Sarvent/OrvaneServer:";
    EXPECT_THAT(line, MatchesRegex(front + "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z/"));
    EXPECT_EQ(line, front + BuildInfo::notedTime() + "/");
}

// Configuration events alone are repeated, and they alone are taken by a queue that is full.
TEST_F(ConnectTest, IdentityLineAndBannerAreConfigurationEvents)
{
    auto& health = HealthReporter::Instance();
    for (int i = 0; i < 200; ++i) health.SendConfigEvent("full");  // for twenty seconds
    ASSERT_EQ(connect(), RETURN_CODE_TYPE::NO_ERROR);
    ASSERT_GE(health.queue().size(), 2U + HealthReporter::kEventQueueLimit);
    std::vector<std::string> sent = popHealthEvents();
    std::erase(sent, "2:full");
    EXPECT_THAT(sent, ElementsAre(StartsWith("2://aspn://Sarvent/OrvaneServer:"), StartsWith("2:" + kBanner)));
}

TEST_F(ConnectTest, EachMissingTopicHasItsLineButForTheLast)
{
    Names all;
    for (const auto& topic : kTopics) all.insert(topic.first);
    setTopics(topicsWithout(all));
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    std::vector<std::string> errors;
    std::istringstream lines(console.text());
    for (std::string line; std::getline(lines, line);)
        if (const auto end = line.find(") Framework_Connect: "); end != std::string::npos) {
            EXPECT_TRUE(line.starts_with("OrvaneServer (")) << line;
            errors.push_back(line.substr(end + 21));
        }
    EXPECT_THAT(errors,
                ElementsAre("Error connecting to BitReportTopic", "Error connecting to CommandTopic",
                            "Error connecting to ResponseTopic", "Error connecting to PositionVelocityAttitudeTopic",
                            "Error connecting to UTCTimeTopic", "Error connecting to HalvexPNTTopic",
                            "Error connecting to MeasurementIncorporationStatusTopic",
                            "Error connecting to AssuranceStateTopic", "Error connecting to EventLogTopic"));
}

TEST_F(ConnectTest, WithTwoTopicsMissingTheTapsAreConnectedAndNoReporterIsStarted)
{
    setTopics(topicsWithout({"UTCTime", "EventLog"}));
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_TRUE(isRead(fromReceiver));
    EXPECT_TRUE(isRead(toReceiver));
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_THAT(console.text(), Not(HasSubstr(kBanner)));
    EXPECT_THAT(s_opened, Not(Contains("/dev/mem")));
    server.run();
    EXPECT_FALSE(isAnswered());  // there is no transport for it
}

TEST_F(ConnectTest, ARefusedTapFromTheReceiverLeavesTheOtherAndStartsNoReporter)
{
    s_devices.erase("/dev/mcs5");
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_TRUE(isRead(toReceiver));
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_THAT(console.text(), Not(HasSubstr(kBanner)));
}

TEST_F(ConnectTest, ARefusedTapToTheReceiverLeavesTheOtherAndStartsNoReporter)
{
    s_devices.erase("/dev/mcs6");
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_TRUE(isRead(fromReceiver));
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_THAT(console.text(), Not(HasSubstr(kBanner)));
}

TEST_F(ConnectTest, WithoutADevicesFileNoReporterIsStarted)
{
    server.settings().m_ioDevicesFile = "missing.xml";
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_THAT(s_opened, IsEmpty());
    EXPECT_THAT(console.text(), Not(HasSubstr(kBanner)));
}

TEST_F(ConnectTest, TapsAreTriedWhenTheRegistersHaveNoConfiguration)
{
    server.settings().m_ioDevicesFile = directory.write("other.xml", "<Other/>").c_str();
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    std::size_t tries = 0;  // of the registers and of the two taps
    const std::string text = console.text(), line = "/other.xml Error: Unable to locate the HX_Configurations object\n";
    for (auto place = text.find(line); place != std::string::npos; place = text.find(line, place + 1)) ++tries;
    EXPECT_EQ(tries, 3U) << text;
}

TEST_F(ConnectTest, TapsAreConnectedWhenTheRegistersHaveNoConfigurationAndNoReporterIsStarted)
{
    const std::string whole = readFile(FACE::textOf(server.settings().m_ioDevicesFile));
    directory.write("devices.xml", "<Other/>");
    // Repaired when the first has read it.
    const BeforeNextLine repair([&] { directory.write("devices.xml", whole); });
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_TRUE(isRead(fromReceiver));
    EXPECT_TRUE(isRead(toReceiver));
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_THAT(s_opened, Not(Contains("/dev/mem")));
    EXPECT_THAT(console.text(), Not(HasSubstr(kBanner)));
}

TEST_F(ConnectTest, ARefusedRegistrationShowsAllTenResultsInOneLine)
{
    const std::vector<std::string> labels = {"bit_rcv",   "cmdRsp_rcv",        "cmdRsp_rcv2", "rsp_rcv",
                                             "rsp_rcv2",  "pva_rcv",           "utcTime_rcv", "MIS_rcv",
                                             "hxPNT_rcv", "AssuranceState_rcv"};
    const std::vector<std::pair<std::string, Names>> refusals = {{"BitReport", {"bit_rcv"}},
                                                                 {"Command", {"cmdRsp_rcv", "cmdRsp_rcv2"}},
                                                                 {"Response", {"rsp_rcv", "rsp_rcv2"}},
                                                                 {"PositionVelocityAttitude", {"pva_rcv"}},
                                                                 {"UTCTime", {"utcTime_rcv"}},
                                                                 {"MeasurementIncorporationStatus", {"MIS_rcv"}},
                                                                 {"HalvexPNT", {"hxPNT_rcv"}},
                                                                 {"AssuranceState", {"AssuranceState_rcv"}}};
    for (const auto& [topic, refused] : refusals) {
        ServerDoor other(sensorFile);
        other.settings().m_ioDevicesFile = "none";
        other.settings().m_connectionsFile = directory.write("connections.xml", topicsWithout({}, topic)).c_str();
        const ConsoleCapture output(std::cout);
        auto rc = RETURN_CODE_TYPE::NO_ERROR;
        other->Framework_Connect("another file", rc);
        EXPECT_EQ(rc, RETURN_CODE_TYPE::INVALID_CONFIG);
        std::string expected = "Error from Register_Callback or Register_Sender calls:\n";
        for (const auto& label : labels) expected += label + (refused.contains(label) ? " = 11" : " = 0");
        EXPECT_THAT(output.text(), HasSubstr(expected + "\n")) << topic;
        other->Framework_Disconnect(rc);
    }
}

TEST_F(ConnectTest, BehindARefusedRegistrationDevicesAndServiceAreConnectedAndNoReporterStarted)
{
    setTopics(topicsWithout({}, "AssuranceState"));
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_TRUE(isRead(fromReceiver));
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_THAT(console.text(), Not(HasSubstr(kBanner)));
    EXPECT_THAT(s_opened, Not(Contains("/dev/mem")));
}

TEST_F(ConnectTest, WithoutAThreadForTheTapsTheServerIsNotConnected)
{
    std::optional<NoNewThreads> noThreads;
    s_onOpen = [&](const std::string& device) {
        if (device == "/dev/mcs5") noThreads.emplace();  // before the tap asks for its thread
    };
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_TRUE(noThreads);
    noThreads.reset();
    EXPECT_THAT(console.text(), Not(HasSubstr(kBanner)));
    EXPECT_TRUE(server.bus().isStarted());
}

// The end.

TEST_F(ConnectTest, AFrameInHandIsWaitedForAtTheEndOfTheServer)
{
    auto other = std::make_unique<ServerDoor>(sensorFile);
    configure(*other);
    other->settings().m_gssipSourceServers = {39};
    other->settings().m_quiet = false;
    ASSERT_EQ(connect(*other), RETURN_CODE_TYPE::NO_ERROR);
    other->run();
    std::atomic<bool> isInHand = false, isEnding = false, hasEnded = false;
    const BeforeNextLine frameIsShown([&] {
        isInHand = true;
        EXPECT_TRUE(eventually([&] { return isEnding.load(); }));
        EXPECT_FALSE(eventually([&] { return hasEnded.load(); }, std::chrono::milliseconds(300)));
    });
    std::vector<std::uint8_t> bytes;
    ASSERT_TRUE(GssipTopicSerializer().Serialize(FreshInputs::receiverAt(), bytes));
    fromReceiver.send(bytes);
    ASSERT_TRUE(eventually([&] { return isInHand.load(); }));
    auto rc = RETURN_CODE_TYPE::NO_ACTION;
    (*other)->Framework_Disconnect(rc);
    isEnding = true;
    other.reset();
    hasEnded = true;
    EXPECT_THAT(console.text(), HasSubstr("cbZentorGssip: Processed GSSIP: 8504 from ZentorM\n"));
}

namespace {

/// The first block that is closed is told.
class ClosingDevmem : public RecordingDevmem {
public:
    ClosingDevmem(std::shared_ptr<FACE::IOSS::Devmem::IO_Service> service, std::function<void()> onClose)
        : RecordingDevmem(std::move(service)), m_onClose(std::move(onClose))
    {}

    void Close_Connection(long long handle, RETURN_CODE_TYPE::Value& rc) override
    {
        if (const auto onClose = std::exchange(m_onClose, nullptr)) onClose();
        RecordingDevmem::Close_Connection(handle, rc);
    }

private:
    std::function<void()> m_onClose;
};

}  // namespace

TEST_F(ConnectTest, TheEndGoesFromTheFpgaByTheTopicsToTheService)
{
    std::vector<std::string> steps;
    const auto note = [&](const std::string& step) {
        const std::string topics = isAnswered() ? "topics are connected" : "topics have ended";
        steps.push_back(step + ": " + topics +
                        (server.bus().isStarted() ? ", the service runs" : ", the service is being ended"));
    };
    server.settings().m_ioDevicesFile = "none";  // or else the server starts the FPGA itself
    connect();
    server.run();
    const FpgaDesk desk;
    FpgaFace::Instance().InitFpga(std::make_shared<ClosingDevmem>(desk.devmem, [&] { note("FPGA"); }));
    victory.onCall("vapntsDeleteService", [&] { note("service"); });

    auto rc = RETURN_CODE_TYPE::NO_ACTION;
    server->Framework_Disconnect(rc);
    EXPECT_EQ(rc, RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_THAT(steps, ElementsAre("FPGA: topics are connected, the service runs",
                                   "service: topics have ended, the service is being ended"));
    victory.onCall("vapntsDeleteService", nullptr);
}

TEST_F(ConnectTest, BehindAFailedTransportAllElseIsEndedAndOnce)
{
    server.settings().m_connectionsFile = "missing.xml";
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_THAT(console.text(), HasSubstr(" Configuration missing.xml was not available\n"));
    EXPECT_THAT(console.text(), Not(HasSubstr("Error connecting to")));
    ASSERT_TRUE(server.bus().isStarted());
    OneConnection<aspn2_msgs::idl::EventLog> log("EventLog", "Log");
    log.registerSender();
    const ASPN2::DeviceIdFactory ids(3, 52);
    auto& reporter = HealthReporter::Instance();
    reporter.InitHealthReporter("unit", ids, log.front(), log.id());
    std::vector<std::string> steps;
    const FpgaDesk desk;
    FpgaFace::Instance().InitFpga(std::make_shared<ClosingDevmem>(desk.devmem, [&] { steps.emplace_back("FPGA"); }));

    for (int round = 0; round < 2; ++round) {
        auto rc = RETURN_CODE_TYPE::NO_ACTION;
        server->Framework_Disconnect(rc);
        EXPECT_EQ(rc, RETURN_CODE_TYPE::NO_ERROR);
        EXPECT_FALSE(server.bus().isStarted());
        EXPECT_EQ(victory.count("vapntsDeleteService"), 1U);
    }
    EXPECT_THAT(steps, ElementsAre("FPGA"));
    EXPECT_EQ(errorOf([&] { reporter.InitHealthReporter("unit", ids, log.front(), log.id()); }), "nothing");
    reporter.DoneHealthReporter();
}

TEST_F(ConnectTest, AServerThatWasNeverConnectedLetsGoOfTheFpga)
{
    std::vector<std::string> steps;
    const FpgaDesk desk;
    FpgaFace::Instance().InitFpga(std::make_shared<ClosingDevmem>(desk.devmem, [&] { steps.emplace_back("FPGA"); }));
    auto rc = RETURN_CODE_TYPE::NO_ACTION;
    server->Framework_Disconnect(rc);
    EXPECT_EQ(rc, RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_THAT(steps, ElementsAre("FPGA"));
}

TEST_F(ConnectTest, TheHealthReporterEndsBehindTheService)
{
    OneConnection<aspn2_msgs::idl::EventLog> log("EventLog", "Log");
    log.registerSender();
    const ASPN2::DeviceIdFactory ids(3, 52);
    auto& reporter = HealthReporter::Instance();
    reporter.InitHealthReporter("unit", ids, log.front(), log.id());
    ASSERT_TRUE(server.bus().start(nullptr));
    auto rc = RETURN_CODE_TYPE::NO_ACTION;
    server->Framework_Disconnect(rc);
    ASSERT_EQ(log.inbox.size(), 1U);
    EXPECT_EQ(log.inbox.items()[0].message.eventlog(), "OrvaneServer : VapntsService exited");
    EXPECT_EQ(errorOf([&] { reporter.InitHealthReporter("unit", ids, log.front(), log.id()); }), "nothing");
    reporter.DoneHealthReporter();
}

TEST_F(ConnectTest, TheMaintenanceReporterEndsNoSoonerThanTheServer)
{
    OneConnection<aspn2_msgs::idl::MaintenanceEvent> log("MaintenanceEvent", "Log");
    log.registerSender();
    const auto tryInit = [&] {
        return errorOf([&] { PCSMaintReporter::Instance().InitMaintReporter("unit", {3, 52}, log.front(), log.id()); });
    };
    {
        ServerDoor other(sensorFile);
        configure(other);
        ASSERT_EQ(connect(other), RETURN_CODE_TYPE::NO_ERROR);
        auto rc = RETURN_CODE_TYPE::NO_ACTION;
        other->Framework_Disconnect(rc);
        EXPECT_EQ(tryInit(), "InitMaintReporter(unit) called on an already initialized PCSMaintReporter.");
    }
    EXPECT_EQ(tryInit(), "nothing");
    PCSMaintReporter::Instance().DoneMaintReporter();
}

TEST_F(ConnectTest, AServerThatIsNotDisconnectedLetsGoOfThePlatformAllTheSame)
{
    registers().setSystemCount(1234);
    OneConnection<aspn2_msgs::idl::EventLog> log("EventLog", "Log");
    log.registerSender();
    auto& health = HealthReporter::Instance();
    {
        ServerDoor other(sensorFile);
        configure(other);
        ASSERT_EQ(connect(other), RETURN_CODE_TYPE::NO_ERROR);
        EXPECT_EQ(FpgaFace::Instance().fpga_get_SystemCount(), 1234U);
    }
    EXPECT_EQ(FpgaFace::Instance().fpga_get_SystemCount(), 0U);
    EXPECT_EQ(errorOf([&] { health.InitHealthReporter("unit", {3, 52}, log.front(), log.id()); }), "nothing");
    health.DoneHealthReporter();
}

TEST_F(ConnectTest, AServerThatHasNotStartedThePlatformLeavesItAlone)
{
    OneConnection<aspn2_msgs::idl::MaintenanceEvent> log("MaintenanceEvent", "Log");
    log.registerSender();
    auto& reporter = PCSMaintReporter::Instance();
    const auto tryInit = [&] {
        return errorOf([&] { reporter.InitMaintReporter("unit", {3, 52}, log.front(), log.id()); });
    };
    ASSERT_EQ(tryInit(), "nothing");
    {
        const ServerDoor other(sensorFile);
    }
    EXPECT_EQ(tryInit(), "InitMaintReporter(unit) called on an already initialized PCSMaintReporter.");
    reporter.DoneMaintReporter();
}

// What goes out over a real transport.

TEST_F(ConnectTest, ATestCommandBeyondTheLargestTextArrivesWhole)
{
    std::vector<SensorText> sensors;
    for (int i = 0; i < 60; ++i) sensors.emplace_back("S" + std::to_string(i), "0x2710");  // 10000
    directory.write("sensors.xml", fileOf(sensors));
    ServiceConfig config;
    config.set("Connections", FACE::textOf(server.settings().m_connectionsFile)).set("IODevices", "none");
    auto rc = RETURN_CODE_TYPE::NO_ACTION;
    server->Configure(directory.write("service.xml", config.text()).c_str(), rc);
    ASSERT_EQ(rc, RETURN_CODE_TYPE::NO_ERROR);
    connect();
    popHealthEvents();
    server.builtInTests().Start();
    server.builtInTests().ExecuteBuiltInTests(server.bus().service());
    server.builtInTests().cycleCommandedBitStateMachine();
    EXPECT_THAT(popHealthEvents(), IsEmpty());

    std::string command = "REQUEST_CBIT";
    for (int i = 0; i < 60; ++i) command += ",10000";  // 372 characters
    const Listener<aspn2_msgs::idl::CommandResponse> listener(server, "Command");
    EXPECT_EQ(listener.first().command_response(), command);
    server.builtInTests().GetBuiltInTestResults(server.bus().service(), {});
    EXPECT_EQ(victory.last("vapntsTellGetBuiltInTestResults").record<VapntcBitResults>().results[0].status, 1);
}
