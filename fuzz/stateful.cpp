// A service under a script of what clients of the bus, the unit and its operator do to it, in any order and at any time:
// requests to clear data, and their answers; part numbers; built-in tests; orders to sanitize; restarts of the bus and
// of the service; navigation, GPS and threats; VCL texts; time that passes, also while somebody waits. Beside it are models
// of what these are told. All that the service says and does, and its order, must be theirs.
// Input: settings, then operations; what happens during a sending or a wait follows the operation that causes it.

#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/TopicWiring.h"
#include "VICTORY/OrvaneServer/Warnings.h"
#include "fuzz/BuiltInTests.h"
#include "fuzz/Fuzz.h"
#include "fuzz/PretendedTime.h"
#include "fuzz/UnitInputs.h"
#include "fuzz/model/BuiltInTestModel.h"
#include "fuzz/model/ClearDataModel.h"
#include "fuzz/model/NavigationModel.h"
#include "fuzz/model/PartNumberModel.h"
#include "fuzz/model/VclModel.h"
#include "fuzz/model/WaitingModel.h"
#include "tests/support/ServiceConfig.h"
#include "tests/support/VictoryRecorder.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

namespace {

namespace PretendedTime = fuzz::PretendedTime;
using namespace std::chrono_literals;
using Wake = PretendedTime::Wake;

constexpr int kTestLimitSeconds = 25;
constexpr std::int64_t kToldSeconds = 30;
constexpr std::int64_t kClearLimits[] = {7200, 0, 5, 40};  // s

constexpr unsigned char kExpectedSources[][2] = {{53, 1}, {53, 0}, {39, 0}, {47, 0}, {47, 2}, {49, 0}, {38, 0}};

/// The servers that the settings name: one for each input, and the first of those whose frames are taken. An assurance state
/// is taken from anybody.
constexpr unsigned kNavigationSources[NavigationModel::kKinds] = {1, 2, 6, 5, 99, 3};
constexpr unsigned kUnwantedSource = 77;

/// A server with what its unit and the bus library call, and without a worker: the turns are taken here.
class Server : public OrvaneServer {
public:
    using OrvaneServer::OrvaneServer;

    using OrvaneServer::cbAssuranceState;
    using OrvaneServer::cbBitReport;
    using OrvaneServer::cbClearSystemDataCallback;
    using OrvaneServer::cbCmd;
    using OrvaneServer::cbHalvexPNT;
    using OrvaneServer::cbHxGssip;
    using OrvaneServer::cbMeasurementIncorporationStatus;
    using OrvaneServer::cbPVA;
    using OrvaneServer::cbRsp;
    using OrvaneServer::cbSaveVclidCallback;
    using OrvaneServer::cbTellNavWarSaCallback;
    using OrvaneServer::cbTellSystemConfigurationCallback;
    using OrvaneServer::cbTellWarningMessagesCallback;
    using OrvaneServer::cbUTCTime;
    using OrvaneServer::cbZentorGssip;
    using OrvaneServer::InitializeVictory;
    using OrvaneServer::m_bitResults;
    using OrvaneServer::m_bus;
    using OrvaneServer::m_clearDataCommand;
    using OrvaneServer::m_settings;
    using OrvaneServer::m_state;
    using OrvaneServer::m_warnings;
    using OrvaneServer::ShutdownVictory;
    using OrvaneServer::workerTurn;

    /// What the call-backs of the bus library are given.
    void* context() { return static_cast<OrvaneServer*>(this); }
};

/// One life of the service, from its start to its end.
class Service {
public:
    explicit Service(fuzz::Input& input, int& steps);
    ~Service();

    /// Until the input is at its end, or the service is to be started anew.
    void live();

    // What the service does, as the linker brings it here.

    bool send(TopicWiring::Topic topic, const std::string& text);
    void say(const std::string& line) { m_said.push_back(line); }
    bool isSelfTestOver() const { return m_isSelfTestOver; }

    static Service* s_current;

private:
    /// What the service does on a thread that this one stands for, and so can't do once more within it.
    struct Busy {
        bool worker = false;
        int requests = 0;
        int configuration = 0;
    };

    void listen(const char* operation, std::function<std::string(const VictoryRecorder::Call&)> line);
    bool step(bool isNested);
    void expectSame();

    void requestClear();
    void carryOut(int type, const std::function<void()>& request);
    void answerAsFits();
    void answerAnything();
    void respond(const std::string& text, unsigned server, unsigned topic, unsigned addressed = 52);
    void answerPartNumbers(bool isExpected);
    void askTest();
    void tellResults();
    void forgetTests();
    void reportTests();
    void turn();
    void turnOfTests();
    void passTime(std::chrono::nanoseconds limit);
    void pass(std::chrono::nanoseconds duration);
    void command();
    void switchBus();
    void startBus();
    void expectBusStarts(const std::string& vclText);
    void expectBusEnds();
    void switchState();
    void tellWarnings();
    void expectWarnings(const VapntcWarningMessage* told, std::size_t count);
    void tellThreats();
    void askConfiguration();
    void saveVcl(const VclModel::Text& text);
    void saveAnyVcl();
    void stepOfUnit(std::size_t choice);
    void arrive(NavigationModel::Kind kind, const NavigationModel::Input& input, bool isWanted);
    void arriveAny();
    void arriveAll();
    void reportThreats();
    void warnOfReceiver();
    Wake wait(PretendedTime::Clock::time_point limit);

    void expect(const std::string& line) { m_expected.push_back(line); }
    void expectEvent(int type, const std::string& text) { expect("event " + std::to_string(type) + " " + text); }
    void expectWarning(unsigned id, const std::string& text);

    fuzz::Input& m_input;
    int& m_steps;
    const bool m_isDebug = m_input.boolean();
    const std::int64_t m_clearLimit = kClearLimits[m_input.below(std::size(kClearLimits))];
    const fuzz::MemoryFile m_sensors{fuzz::BuiltInTests::kSensorsFile};
    VclModel m_vcl;
    const fuzz::MemoryFile m_vclFile{m_vcl.file()};

    Log m_said, m_expected;
    ClearDataModel m_clear;
    PartNumberModel m_partNumbers{m_isDebug, PretendedTime::now(), m_expected};
    BuiltInTestModel m_tests{"Halvex", kTestLimitSeconds, fuzz::BuiltInTests::sensors(), m_expected};
    NavigationModel m_navigation{m_expected};
    WaitingModel m_waiting{m_expected};
    int m_orders = 0, m_epoch = 1000;
    bool m_isSanitized = false, m_isRunning = false, m_isBusUp = false;
    bool m_canSend = true, m_canStart = true, m_canWrite = true;
    bool m_isSelfTestOver = false, m_isSelfTestSeen = false, m_areTestsOffered = false;

    Busy m_busy;
    std::vector<std::shared_ptr<ClearDataModel::Request>> m_waiters;  // null for who waits for the configuration
    std::function<void(bool)> m_afterSending;                         // what the model does when a sending has ended
    int m_resultsLeft = 2;                                            // over a megabyte goes through several hands

    VictoryRecorder m_victory;
    const std::unique_ptr<Server> m_server = std::make_unique<Server>(m_sensors.path());
};

Service* Service::s_current = nullptr;

std::string configurationLine(const VapntcSystemConfiguration& record)
{
    FUZZ_EXPECT(record.componentCount >= 0 && record.componentCount <= 50);
    FUZZ_EXPECT(record.softwarePresent == 0 && record.hardwarePresent == 0);
    FUZZ_EXPECT(record.systemSoftware[0] == 0 && record.systemHardware[0] == 0);
    std::vector<PartNumberModel::Row> rows;
    for (int i = 0; i < record.componentCount; ++i) {
        const auto& row = record.components[i];
        FUZZ_EXPECT((row.softwarePresent != 0) == (row.software[0] != 0));
        FUZZ_EXPECT((row.hardwarePresent != 0) == (row.hardware[0] != 0));
        rows.push_back({row.componentId, row.name, row.serialNumber, row.software, row.hardware});
    }
    const std::string manufacturer(record.manufacturerCode,
                                   strnlen(record.manufacturerCode, sizeof(record.manufacturerCode)));
    FUZZ_EXPECT((record.manufacturerCodePresent != 0) == !manufacturer.empty());
    return PartNumberModel::lineOf(record.systemName, record.systemSerialNumber, manufacturer, rows);
}

Service::Service(fuzz::Input& input, int& steps)
    : m_input(input), m_steps(steps),
      m_clear(
          "OrvaneServer", kToldSeconds, m_clearLimit,
          [this](int type, bool isPassed, const std::string& text) {
              constexpr unsigned kIds[][2] = {{0, 0}, {23, 22}, {25, 24}, {3, 2}};
              if (type >= 1 && type <= 3)
                  expectWarning(kIds[type][isPassed], text);
              else
                  expectEvent(3, "OrvaneServer: Unknown eClearType: " + std::to_string(type));
          },
          m_expected)
{
    s_current = this;
    listen("vapntsNewService", [](const auto& call) { return "bus starts with " + VclModel::essenceOf(call.text(1)); });
    listen("vapntsDeleteService", [](const auto&) { return "bus ends"; });
    listen("vapntsInitTellExecuteBuiltInTestsCallback", [](const auto&) { return "offers tests"; });
    listen("vapntsInitTellGetBuiltInTestResultsCallback", [](const auto&) { return "offers results"; });
    listen("vapntsInitTellClearBuiltInTestResultsCallback", [](const auto&) { return "offers to forget"; });
    listen("vapntsTellClearSystemData", [](const auto& call) { return "clear " + std::to_string(call.number(0)); });
    listen("vapntsTellBlendedNavigationData", [](const auto& call) {
        return fuzz::UnitInputs::lineOf(call.template record<VapntcBlendedNavigationRecord>());
    });
    listen("vapntsTellSystemConfiguration",
           [](const auto& call) { return configurationLine(call.template record<VapntcSystemConfiguration>()); });
    PretendedTime::onWait([this](auto limit) { return wait(limit); });

    const fuzz::MemoryFile configuration(
        ServiceConfig()
            .set("Debug", m_isDebug ? "true" : "false")
            .set("PARAM_8", std::to_string(kToldSeconds) + "," + std::to_string(m_clearLimit))
            .set("PARAM_9", std::to_string(kTestLimitSeconds))
            .text());
    auto rc = FACE::RETURN_CODE_TYPE::NO_ACTION;
    m_server->Configure(configuration.path().c_str(), rc);
    FUZZ_EXPECT(rc == FACE::RETURN_CODE_TYPE::NO_ERROR);
    m_victory.setFile("config", "<config/>");
    m_victory.setFile(m_vclFile.path(), m_vcl.file());
    m_server->m_settings.m_victoryConfigurationFile = "config";
    m_server->m_settings.m_vclFile = m_vclFile.path();
    startBus();
    switchState();
    expectSame();
}

Service::~Service()
{
    m_server->ShutdownVictory();
    s_current = nullptr;
}

void Service::listen(const char* operation, std::function<std::string(const VictoryRecorder::Call&)> line)
{
    m_victory.onCall(operation, [this, operation, line] { m_said.push_back(line(m_victory.last(operation))); });
}

void Service::expectSame()
{
    if (m_said != m_expected) {
        for (const auto& line : m_said) std::fprintf(stderr, "said:     %s\n", line.c_str());
        for (const auto& line : m_expected) std::fprintf(stderr, "expected: %s\n", line.c_str());
    }
    FUZZ_EXPECT(m_said == m_expected);
    m_said.clear();
    m_expected.clear();
}

void Service::expectWarning(unsigned id, const std::string& text)
{
    expect("warning " + std::to_string(id) + " " + text);
    m_waiting.warn(id, text);
}

void Service::live()
{
    while (!m_input.isEmpty() && m_steps > 0 && step(false)) {
        expectSame();
        m_victory.forgetCalls();
    }
    const auto warnings = m_server->m_warnings.list();
    expectWarnings(warnings.data(), warnings.size());
}

/// @return false if the service is to be started anew
bool Service::step(bool isNested)
{
    --m_steps;
    // The operations of the unit came later: those before go on to have the numbers that inputs know them by.
    const std::size_t choice = m_input.below(256);
    if (choice >= 192) {
        stepOfUnit(choice % 8);
        return true;
    }
    switch (choice % 24) {
    case 0:
    case 1:
        requestClear();
        break;
    case 2: {
        // Not a client's: the third kind, and those that there are not, come from nowhere today.
        constexpr int kTypes[] = {3, 0, 1, 2, 7};
        const int type = kTypes[m_input.below(std::size(kTypes))];
        carryOut(type, [=, this] {
            static_cast<void>(
                m_server->m_clearDataCommand.processClearDataRequestType(ClearDataCommand::ClearDataType{type}));
        });
        break;
    }
    case 3:
    case 4:
        answerAsFits();
        break;
    case 5:
        answerAnything();
        break;
    case 6:
    case 7:
        answerPartNumbers(true);
        break;
    case 8:
        answerPartNumbers(false);
        break;
    case 9:
    case 10:
        askTest();
        break;
    case 11:
        tellResults();
        break;
    case 12:
        forgetTests();
        break;
    case 13:
        reportTests();
        break;
    case 14:
    case 15:
        turn();
        break;
    case 16:
        passTime(24h);
        break;
    case 17:
        PretendedTime::step(static_cast<std::time_t>(m_input.number<std::int8_t>()));
        break;
    case 18:
        command();
        break;
    case 19:
        if (!isNested) switchBus();
        break;
    case 20:
        if (!isNested) switchState();
        break;
    case 21:
        switch (m_input.below(4)) {
        case 0:
            m_canSend = !m_canSend;
            break;
        case 1:
            tellWarnings();
            break;
        case 2:
            saveVcl({});
            break;
        default:
            m_isSelfTestOver = true;
        }
        break;
    case 22:
        askConfiguration();
        break;
    default:
        if (!isNested) return m_input.below(4) != 0;
    }
    return true;
}

void Service::requestClear()
{
    constexpr VapntcSystemData kData[] = {0, 1, -1};
    const std::size_t choice = m_input.below(6);
    VapntcSystemData data = choice < 3 ? kData[choice] : choice == 3 ? m_input.number<VapntcSystemData>() : 0;
    const bool hasData = choice < 4;
    const auto request = [&] {
        FUZZ_EXPECT(Server::cbClearSystemDataCallback(m_server->context(), m_server->m_bus.service(),
                                                      hasData ? &data : nullptr) == 1);
    };
    if (m_busy.requests >= 2) return;
    if (m_isSanitized) {
        expectEvent(3, "OrvaneServer: Sanitize in progress, not processing APNT clear system data command");
        return request();
    }
    if (!m_isBusUp) {
        expectEvent(3,
                    "OrvaneServer : Ignored. Cannot process APNT Clear System Data while APNT service is not running!");
        return request();
    }
    const auto complain = [this](const std::string& text) {
        expectEvent(3, "OrvaneServer: " + text);
        expectWarning(75, "OrvaneServer: " + text);
    };
    if (hasData && data == 1) {
        complain("VAPNTC_SYSTEM_DATA_CRYPTO command is not supported from APNT.");
        request();
    } else if (hasData && data != 0 && data != -1) {
        complain("Unknown systemDataType: " + std::to_string(data));
        request();
    } else {
        if (hasData && data == -1) complain("Received VAPNTC_SYSTEM_DATA_INVALID. Nothing to do.");
        carryOut(!hasData ? 1 : data == 0 ? 2 : 0, request);
    }
    expect("clear 0");
}

/// A request with what happens until it is answered.
void Service::carryOut(int type, const std::function<void()>& request)
{
    if (m_busy.requests >= 2) return;
    ++m_busy.requests;
    const auto asked = m_clear.ask(type);
    if (asked) {
        expect("command " + asked->command);
        m_afterSending = [&](bool isSent) {
            m_clear.commandSent(*asked, isSent);
            m_waiters.push_back(asked);
        };
    }
    request();
    FUZZ_EXPECT(!m_afterSending);
    if (asked) {
        FUZZ_EXPECT(!asked->isWaiting);
        m_waiters.pop_back();
    }
    --m_busy.requests;
}

Wake Service::wait(PretendedTime::Clock::time_point limit)
{
    FUZZ_EXPECT(!m_waiters.empty());
    expectSame();
    const auto asked = m_waiters.back();
    const auto left = limit - PretendedTime::now();
    FUZZ_EXPECT(asked ? asked->isWaiting && left == 12s : left > 0s && left <= 12s);
    if (m_steps <= 0 || m_input.isEmpty() || m_input.below(4) == 0)
        pass(left);
    else if (m_input.below(4) == 0)
        passTime(left);
    else
        step(true);
    expectSame();
    const bool isTimeUp = PretendedTime::now() >= limit;
    if (asked) m_clear.wake(*asked, isTimeUp);
    return isTimeUp ? Wake::TimeIsUp : Wake::Notified;
}

bool Service::send(TopicWiring::Topic topic, const std::string& text)
{
    m_said.push_back((topic == TopicWiring::Topic::Command ? "command " : "response ") + text);
    FUZZ_EXPECT(m_afterSending);
    const auto afterSending = std::exchange(m_afterSending, nullptr);
    expectSame();
    for (std::size_t count = m_input.below(4); count > 1 && m_steps > 0; --count) step(true);
    expectSame();
    const bool isSent = m_canSend;
    afterSending(isSent);
    return isSent;
}

void Service::answerAsFits()
{
    const bool isGood = m_input.below(4) != 0;
    constexpr const char* kRequests[] = {"none", "REQUEST_ZEROIZE", "REQUEST_DESTROY", "ZENTORM_CV_ZEROIZE"};
    constexpr const char* kEnds[] = {"none", "SYSTEM_ZEROIZE", "SYSTEM_DESTROY", "ZENTORM_CV_ZEROIZE"};
    const int type = m_clear.type();
    const bool isKnown = type >= 0 && type <= 3;
    if (m_clear.phase() == ClearDataModel::Phase::Erasing)
        respond((isKnown ? kEnds[type] : "unknown clear data type") + std::string(isGood ? "_PASS" : "_FAIL"), 51, 0);
    else
        respond((isKnown ? kRequests[type] : "unknown clear data type") + std::string(isGood ? "_ACK" : "_NACK"), 51,
                0);
}

void Service::answerAnything()
{
    constexpr const char* kStems[] = {"REQUEST_ZEROIZE",    "REQUEST_DESTROY",
                                      "ZENTORM_CV_ZEROIZE", "SYSTEM_ZEROIZE",
                                      "SYSTEM_DESTROY",     "none",
                                      "PARTNUMBERS",        ""};
    constexpr const char* kEnds[] = {"_ACK", "_NACK", "_PASS", "_FAIL", "", "_ACK_PASS", " _ACK", "_ack"};
    std::string text = kStems[m_input.below(std::size(kStems))];
    text += kEnds[m_input.below(std::size(kEnds))];
    const unsigned addressed = m_input.below(4) == 0 ? m_input.number<std::uint8_t>() : 52;
    if (m_input.below(4) == 0) text += m_input.line();
    respond(text, m_input.number<std::uint8_t>(), m_input.number<std::uint8_t>(), addressed);
}

/// A response of a service of the unit, to another one or to this.
void Service::respond(const std::string& text, unsigned server, unsigned topic, unsigned addressed)
{
    const std::string shown = text.substr(0, text.find('\0'));
    aspn2_msgs::idl::CommandResponse message;
    message.header().device_id(static_cast<std::int32_t>(0x01000200U | server << 16 | topic));
    message.commanded_device_id(static_cast<std::int32_t>(0x01000200U | addressed << 16));
    message.command_response_type(aspn2_msgs::idl::command_response_type_enum{1});
    message.command_response(shown);
    if (m_isRunning) {
        if (shown.substr(0, shown.find(',')) == "PARTNUMBERS") m_partNumbers.respond(shown, server, topic);
        if (addressed == 52) m_clear.respond(shown, PretendedTime::now());
    }
    // The defect: what a service says of its part numbers is lost while data are erased.
    if (fuzz::kPlanted && m_clear.phase() == ClearDataModel::Phase::Erasing && shown.starts_with("PARTNUMBERS")) return;
    m_server->cbRsp(message);
}

void Service::answerPartNumbers(bool isExpected)
{
    constexpr const char* kKeys[] = {"SW1", "FW1", "HWPN1", "HWSN1", "OS1", "SW5", "HWPN2", "HWSN2",
                                     "FW2", "AT",  "SW3",   "OS2",   "SW2", "SW8", "XX",    ""};
    unsigned server = 0, topic = 0;
    if (isExpected) {
        const auto& source = kExpectedSources[m_input.below(std::size(kExpectedSources))];
        server = source[0];
        topic = source[1];
    } else {
        server = m_input.number<std::uint8_t>();
        topic = static_cast<unsigned>(m_input.below(5));
    }
    std::string text = "PARTNUMBERS";
    for (std::size_t fields = m_input.below(5); fields > 0; --fields) {
        text += "," + std::string(kKeys[m_input.below(std::size(kKeys))]) + ":";
        text += m_input.text(m_input.below(8));
    }
    if (m_input.below(8) == 1) text += "," + m_input.line();
    respond(text, server, topic, m_input.boolean() ? 52 : 32);
}

void Service::askTest()
{
    if (!m_areTestsOffered) return;
    // Whose record a new one takes while its command is being sent is another question.
    if (m_busy.worker && m_tests.runningId() == m_tests.count()) return;
    const auto id = m_tests.ask();
    m_victory.fireExecuteBuiltInTests();
    const auto told = m_victory.last("vapntsTellExecuteBuiltInTests");
    FUZZ_EXPECT(told.text(1) == (id ? std::to_string(*id) : ""));
    FUZZ_EXPECT(told.real(0) == (id ? kTestLimitSeconds : 0.0));
}

VapntcBitRequests requestsOf(const std::vector<int>& ids)
{
    VapntcBitRequests requests{};
    for (const int id : ids) {
        const std::string text = std::to_string(id);
        text.copy(requests.builtInTestIds[requests.requestCount++], text.size());
    }
    return requests;
}

void Service::tellResults()
{
    if (!m_areTestsOffered || m_resultsLeft == 0) return;
    --m_resultsLeft;
    std::vector<int> ids(m_input.below(4));
    std::vector<std::pair<std::string, std::int64_t>> named;
    for (int& id : ids) {
        id = static_cast<int>(m_input.below(8));
        named.emplace_back(std::to_string(id), id);
    }
    const auto rows = m_tests.results(named);
    m_victory.fireGetBuiltInTestResults(requestsOf(ids));
    const auto call = m_victory.last("vapntsTellGetBuiltInTestResults");
    fuzz::BuiltInTests::expectRows(call.record<VapntcBitResults>(), rows);
}

void Service::forgetTests()
{
    if (!m_areTestsOffered) return;
    std::vector<int> ids(m_input.below(4));
    for (int& id : ids) id = static_cast<int>(m_input.below(8));
    m_victory.fireClearBuiltInTestResults(requestsOf(ids));
    const auto told = m_victory.last("vapntsTellClearBuiltInTestResults").number(0);
    FUZZ_EXPECT(told == m_tests.forget({ids.begin(), ids.end()}));
}

void Service::reportTests()
{
    constexpr int kServers[] = {39, 47, 47, 38};
    const unsigned topic = static_cast<unsigned>(m_input.below(4) != 3);
    const bool isPassed = m_input.boolean();
    aspn2_msgs::idl::BitReport report;
    report.header().device_id(static_cast<std::int32_t>(0x01200000U | topic));
    report.bit_rollup(isPassed);
    std::vector<BuiltInTestModel::ReportEntry> entries(m_input.below(4));
    for (auto& entry : entries) {
        const std::size_t bits = m_input.below(32);
        entry = {kServers[bits / 8], (bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0};
        aspn2_msgs::idl::bit_comp_set server;
        server.server_id(static_cast<std::int32_t>(entry.server));
        server.has_communicated(entry.hasCommunicated);
        server.error_received(entry.hasError);
        server.critical_received(entry.isCritical);
        report.bit_components().push_back(server);
    }
    if (m_isRunning) m_tests.report(topic, isPassed, entries);
    m_server->cbBitReport(report);
}

void Service::turn()
{
    if (m_busy.worker || !m_isRunning) return;
    // The end of the bus service waits for its call-backs.
    if (m_orders > 0 && m_isBusUp && m_busy.requests + m_busy.configuration > 0) return;
    m_busy.worker = true;
    for (; m_orders > 0; --m_orders) {
        if (m_isBusUp) expectBusEnds();
        expectBusStarts(m_vcl.silenced());
        m_partNumbers.wipe();
    }
    m_navigation.turn(m_isBusUp);
    if (m_partNumbers.turn(m_isSelfTestSeen, PretendedTime::now())) {
        expect(std::string("command ") + PartNumberModel::kCommand);
        m_afterSending = [this](bool) {
            m_partNumbers.requestSent(PretendedTime::now());
            turnOfTests();
        };
    } else {
        turnOfTests();
    }
    m_server->workerTurn();
    FUZZ_EXPECT(!m_afterSending);
    m_busy.worker = false;
}

void Service::turnOfTests()
{
    if (m_isSelfTestSeen) {
        // A start is shown as far behind the one that was noted as the clocks differ.
        const auto shift = std::chrono::floor<std::chrono::seconds>(PretendedTime::sinceEpoch() -
                                                                    PretendedTime::now().time_since_epoch());
        if (const auto command = m_tests.turn(PretendedTime::seconds(), static_cast<std::time_t>(shift.count()))) {
            expect("command " + *command);
            m_afterSending = [this](bool isSent) { m_tests.commandSent(isSent); };
        }
    } else if (m_isSelfTestOver) {
        m_isSelfTestSeen = true;
        if (!m_isBusUp) return;
        m_areTestsOffered = true;
        expect("offers tests");
        expect("offers results");
        expect("offers to forget");
    }
}

/// @param limit  of what may pass
void Service::passTime(std::chrono::nanoseconds limit)
{
    constexpr std::chrono::nanoseconds kTimes[] = {0s, 250ms, 1s, 5s, 9'999'999'999ns, 1ns, 10s, 24s, 25s, 40s, 2h};
    const std::size_t choice = m_input.below(std::size(kTimes) + 1);
    pass(std::min<std::chrono::nanoseconds>(limit, choice < std::size(kTimes)
                                                       ? kTimes[choice]
                                                       : std::chrono::milliseconds(m_input.number<std::uint16_t>())));
}

void Service::pass(std::chrono::nanoseconds duration)
{
    PretendedTime::pass(duration);
    m_clear.timeIs(PretendedTime::now());
}

/// What other services of the unit command.
void Service::command()
{
    constexpr const char* kTexts[] = {"START_ZEROIZE", "START_DESTROY", "BITSERVER_PING", "POSTCOMPLETE",
                                      "START_ZEROIZ"};
    const std::string text = kTexts[m_input.below(std::size(kTexts))];
    const bool isCommand = m_input.below(4) != 0;
    aspn2_msgs::idl::CommandResponse message;
    message.header().device_id(0x01350200);
    message.command_response_type(
        aspn2_msgs::idl::command_response_type_enum{static_cast<std::uint8_t>(isCommand ? 0 : 1)});
    message.command_response(text);
    if (isCommand && m_isRunning) {
        if (text == "START_ZEROIZE" || text == "START_DESTROY") {
            m_isSanitized = true;
            m_orders = std::min(m_orders + 1, 10);
        } else if (text == "BITSERVER_PING") {
            expect("response OrvaneServer");
            m_afterSending = [](bool) {};
        }
    }
    m_server->cbCmd(message);
    FUZZ_EXPECT(!m_afterSending);
}

void Service::switchBus()
{
    if (!m_isBusUp) return startBus();
    expectBusEnds();
    FUZZ_EXPECT(m_server->ShutdownVictory());
}

void Service::startBus()
{
    expectBusStarts(m_vcl.file());
    FUZZ_EXPECT(m_server->InitializeVictory(nullptr) == m_isBusUp);
}

void Service::expectBusStarts(const std::string& vclText)
{
    expectEvent(3, "OrvaneBitResults: Warning sensorId, Off is disabled in " + m_sensors.path());
    if (!m_canStart) return expectEvent(3, "OrvaneServer Error reading VICTORY APNT configuration file.");
    expect("bus starts with " + VclModel::essenceOf(vclText));
    m_partNumbers.busStarts(m_isSanitized);
    m_isBusUp = true;
    expect("navigation");
}

void Service::expectBusEnds()
{
    expect("bus ends");
    expectEvent(2, "OrvaneServer : VapntsService exited");
    m_isBusUp = m_areTestsOffered = false;
    m_partNumbers.busEnds();
}

void Service::switchState()
{
    m_isRunning = !m_isRunning;
    if (m_isRunning) {
        m_tests.start();
        m_server->m_bitResults.Start();
        m_server->m_state = FACE::LCM::Halvex::ReportedState::RUNNING;
    } else {
        m_tests.stop();
        m_server->m_bitResults.Stop();
        m_server->m_state = FACE::LCM::Halvex::ReportedState::STOPPED;
    }
}

void Service::tellWarnings()
{
    const bool isTold = m_waiting.tellWarnings(m_isBusUp);
    Server::cbTellWarningMessagesCallback(m_server->context(), m_server->m_bus.service());
    if (!isTold) return;
    const auto call = m_victory.last("vapntsTellWarningMessagesData");
    const auto& told = call.record<VapntcWarningMessagesRecord>();
    FUZZ_EXPECT(told.gpsSeconds == m_navigation.latestTime());
    expectWarnings(told.warnings, told.warningCount);
}

void Service::expectWarnings(const VapntcWarningMessage* told, std::size_t count)
{
    const auto& warnings = m_waiting.warnings();
    FUZZ_EXPECT(count == warnings.size());
    for (const auto& warning : warnings) {
        FUZZ_EXPECT(told->warningId == warning.id && (told->customTextValid != 0) == warning.text.has_value());
        FUZZ_EXPECT(told->customText == warning.text.value_or(""));
        ++told;
    }
}

void Service::tellThreats()
{
    const auto [isTold, threats] = m_waiting.tellThreats(m_isBusUp);
    Server::cbTellNavWarSaCallback(m_server->context(), m_server->m_bus.service());
    if (!isTold) return;
    const auto call = m_victory.last("vapntsTellNavWarSaData");
    const auto& told = call.record<VapntcNavWarSaRecord>();
    FUZZ_EXPECT((told.threatsPresent != 0) == !threats.empty() && told.threatCount == threats.size());
    FUZZ_EXPECT(std::equal(threats.begin(), threats.end(), told.threats, [](const auto& threat, const auto& row) {
        return fuzz::UnitInputs::threatOf(row) == threat;
    }));
}

void Service::askConfiguration()
{
    if (m_busy.configuration > 0 || m_busy.requests > 0) return;
    ++m_busy.configuration;
    const auto begin = PretendedTime::now();
    if (!m_isBusUp) {
        expectEvent(3, "OrvaneServer : Cannot request part numbers while APNT service is not running!");
    } else if (m_isDebug) {
        expectEvent(2, "OrvaneServer : VICTORY APNT Configuration / Part number request received.");
    }
    m_waiters.push_back(nullptr);
    Server::cbTellSystemConfigurationCallback(m_server->context(), m_server->m_bus.service());
    m_waiters.pop_back();
    if (m_isBusUp && !m_partNumbers.isComplete()) {
        FUZZ_EXPECT(PretendedTime::now() - begin >= 12s);
        expectEvent(3, "OrvaneServer : Warning! Complete set of part numbers was not available for APNT Configuration "
                       "after 12 seconds.");
    }
    --m_busy.configuration;
}

/// A client's VCL text.
void Service::saveVcl(const VclModel::Text& text)
{
    bool isError = false;
    if (m_clear.phase() == ClearDataModel::Phase::Erasing) {
        expectEvent(3, "OrvaneServer : APNT Clear in progress, not processing SaveVCLID command");
        isError = true;
    } else if (!m_isBusUp) {
        expectEvent(3, "OrvaneServer : Ignored. Cannot save VCLID / VCL XML file while APNT service is not running!");
    } else if (m_canWrite) {
        m_vcl.save(text);
    } else {
        isError = true;
    }
    const auto answer =
        Server::cbSaveVclidCallback(m_server->context(), m_server->m_bus.service(), text.text().c_str());
    FUZZ_EXPECT((answer != 0) == isError);
    FUZZ_EXPECT(m_vclFile.content() == m_vcl.file());
}

void Service::saveAnyVcl()
{
    VclModel::Text text;
    text.number = m_input.number<std::uint8_t>();
    const std::size_t kind = m_input.below(8);
    if (kind == 1 || kind == 3) text.navigation.reset();
    if (kind == 2 || kind == 3) text.awareness = kind == 2 ? std::optional<unsigned>(5000) : std::nullopt;
    text.isXml = kind != 4;
    saveVcl(text);
}

/// What the unit sends by itself, and what of its files fails.
void Service::stepOfUnit(std::size_t choice)
{
    switch (choice) {
    case 0:
        return arriveAny();
    case 1:
        return arriveAll();
    case 2:
        return reportThreats();
    case 3:
        return tellThreats();
    case 4:
        return warnOfReceiver();
    case 5:
        return saveAnyVcl();
    case 6:
        if (m_input.boolean()) {
            m_canWrite = !m_canWrite;
            m_victory.answer("vutilWriteStringToFile", m_canWrite ? 0 : 1);
        } else {
            m_canStart = !m_canStart;
            m_victory.answer("vutilReadStringFromFile", m_canStart ? 0 : 1);
        }
        return;
    default:
        return turn();
    }
}

void Service::arrive(NavigationModel::Kind kind, const NavigationModel::Input& input, bool isWanted)
{
    using namespace fuzz::UnitInputs;
    using Change = NavigationModel::Change;
    const unsigned server = isWanted ? kNavigationSources[kind] : kUnwantedSource;
    if (m_isRunning && (isWanted || kind == NavigationModel::Assurance)) {
        const auto change = m_navigation.arrive(kind, input);
        if (change != Change::None) m_waiting.warn(change == Change::Lost ? 67 : 68);
    }
    switch (kind) {
    case NavigationModel::Time:
        return m_server->cbUTCTime(timeOf(server, input));
    case NavigationModel::Position:
        return m_server->cbPVA(positionOf(server, input));
    case NavigationModel::Solution:
        return m_server->cbHalvexPNT(solutionOf(server, input));
    case NavigationModel::Measurements:
        return m_server->cbMeasurementIncorporationStatus(measurementsOf(server, input));
    case NavigationModel::Assurance:
        return m_server->cbAssuranceState(assuranceOf(server, input));
    case NavigationModel::Receiver:
        return m_server->cbZentorGssip(receiverOf(server, input));
    }
}

void Service::arriveAny()
{
    const auto kind = static_cast<NavigationModel::Kind>(m_input.below(NavigationModel::kKinds));
    const int limit = kind == NavigationModel::Position ? 2 : 3;
    NavigationModel::Input input;
    input.quarters = 4 * m_epoch + static_cast<int>(m_input.below(10));
    input.mark = static_cast<int>(m_input.below(static_cast<std::size_t>(limit)));
    input.measurements = static_cast<int>(m_input.below(5));
    const std::size_t oddity = m_input.below(16);
    input.isWhole = oddity != 1;
    arrive(kind, input, oddity != 2);
}

/// Those of one moment, from a receiver that sees satellites or doesn't.
void Service::arriveAll()
{
    ++m_epoch;
    const int measurements = static_cast<int>(m_input.below(4));
    for (std::size_t kind = 0; kind < NavigationModel::kKinds; ++kind)
        arrive(static_cast<NavigationModel::Kind>(kind),
               {.quarters = 4 * m_epoch, .mark = 1, .measurements = measurements}, true);
}

void Service::reportThreats()
{
    std::vector<WaitingModel::Line> lines(m_input.below(10));
    for (auto& line : lines) {
        const std::size_t kind = m_input.below(16);
        line.state = kind < 4 ? static_cast<unsigned>(kind) : 2;
        line.hasBearing = kind != 4;
        line.threat = {m_input.number<std::int8_t>(), static_cast<int>(m_input.below(181)) - 90,
                       m_input.number<std::uint8_t>()};
    }
    const bool isWanted = m_input.below(8) != 1;
    if (m_isRunning && isWanted) m_waiting.report(lines);
    m_server->cbHxGssip(fuzz::UnitInputs::threatsOf(isWanted ? 4 : kUnwantedSource, lines));
}

void Service::warnOfReceiver()
{
    struct Number {
        std::uint16_t receivers;
        unsigned id;
    };
    constexpr Number kNumbers[] = {{1, 0}, {6, 75}, {7, 5}, {81, 61}, {82, 75}, {0, 75}, {65535, 75}};
    const auto& number = kNumbers[m_input.below(std::size(kNumbers))];
    const std::string text = "Jammed " + std::to_string(m_input.below(8));
    const bool isWanted = m_input.below(8) != 1;
    if (m_isRunning && isWanted) m_waiting.warnOfReceiver(number.id, text);
    m_server->cbZentorGssip(
        fuzz::UnitInputs::recordOf(isWanted ? 3 : kUnwantedSource, warningFrameOf(number.receivers, text)));
}

}  // namespace

// In place of the service's own, by the linker (CMakeLists.txt), under the names that the compiler gives them.

#define CUSTOM_WARNING "_ZN8Warnings20sendVDBcustomWarningERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
#define COMPLETE_WARNING                                                                                               \
    "_ZN8Warnings22sendVDBCompleteWarningEN16ClearDataCommand13ClearDataTypeEbRKNSt7__cxx1112basic_stringIcSt11char_"  \
    "traitsIcESaIcEEE"

using Message = aspn2_msgs::idl::CommandResponse;
using Type = ClearDataCommand::ClearDataType;

bool send(TopicWiring*, TopicWiring::Topic topic, const Message& message) __asm__(
    "__wrap__ZN11TopicWiring4sendENS_5TopicERKN10aspn2_msgs3idl15CommandResponseE");
void sendEvent(HealthReporter*, const char* file, int line, std::int32_t type,
               const char* text) __asm__("__wrap__ZN14HealthReporter9SendEventEPKciiS1_");
OrvaneBitResults::Clocks clocksOfTests() __asm__("__wrap__ZN16OrvaneBitResults12systemClocksEv");
bool isPostComplete(const std::string& folder) __asm__(
    "__wrap__ZN3Sys14isPostCompleteERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
bool customWarning(Warnings* warnings, const std::string& text) __asm__("__wrap_" CUSTOM_WARNING);
bool realCustomWarning(Warnings* warnings, const std::string& text) __asm__("__real_" CUSTOM_WARNING);
bool completeWarning(Warnings* warnings, Type type, bool isPassed,
                     const std::string& text) __asm__("__wrap_" COMPLETE_WARNING);
bool realCompleteWarning(Warnings* warnings, Type type, bool isPassed,
                         const std::string& text) __asm__("__real_" COMPLETE_WARNING);

bool send(TopicWiring*, TopicWiring::Topic topic, const Message& message)
{
    return Service::s_current->send(topic, message.command_response());
}

void sendEvent(HealthReporter*, const char*, int, std::int32_t type, const char* text)
{
    if (Service::s_current) Service::s_current->say("event " + std::to_string(type) + " " + text);
}

OrvaneBitResults::Clocks clocksOfTests()
{
    using std::chrono::nanoseconds;
    return {&PretendedTime::seconds,
            []() -> std::int64_t { return nanoseconds(PretendedTime::now().time_since_epoch()).count(); },
            []() -> std::int64_t { return nanoseconds(PretendedTime::sinceEpoch()).count(); }};
}

bool isPostComplete(const std::string&)
{
    return Service::s_current->isSelfTestOver();
}

bool customWarning(Warnings* warnings, const std::string& text)
{
    Service::s_current->say("warning 75 " + text);
    return realCustomWarning(warnings, text);
}

bool completeWarning(Warnings* warnings, Type type, bool isPassed, const std::string& text)
{
    const int id = (type == 3 ? 2 : 20 + 2 * type) + (isPassed ? 0 : 1);
    if (type >= 1 && type <= 3) Service::s_current->say("warning " + std::to_string(id) + " " + text);
    return realCompleteWarning(warnings, type, isPassed, text);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::QuietConsole::instance();
    fuzz::BuiltInTests::useUtc();
    fuzz::Input input(data, size);
    int steps = 300;
    for (int lives = 0; lives < 3 && !input.isEmpty(); ++lives) {
        PretendedTime::begin(1'000'000);
        Service(input, steps).live();
    }
    return 0;
}
