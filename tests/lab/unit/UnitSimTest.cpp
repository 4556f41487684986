#include "lab/unit/UnitSim.h"

#include "ASPN/AspnHelper.h"
#include "aspn2_msgs/AssuranceState.h"
#include "ioss_mcsq/GssipTopicSerializer.h"
#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Topics.h"
#include "tests/support/Transport.h"

#include <fastcdr/Cdr.h>
#include <fastcdr/FastBuffer.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace unitsim;
using namespace aspn2_msgs::idl;

namespace {

/// A unit in a directory of its own, and a listener to all of it on the same domain.
class UnitSimTest : public testing::Test {
protected:
    UnitSimTest()
    {
        TransportConfig config;
        // An answer may come long before the listener is matched.
        config.set("BackFillHistory", "true").set("HistoryDepth", "100");
        for (const auto& [topic, type] : kTopics) config.connect(topic, type);
        m_settings.connections = m_directory.write("Connections.xml", config.text());
        m_settings.devices = ORVANE_LAB_DIR "/config/IODevices.xml";
        m_settings.memory = m_directory.write("mem", "");
        std::filesystem::resize_file(m_settings.memory, std::uintmax_t{1} << 32);
        m_settings.queuePrefix = (m_directory.path() / "mcs").string();
        for (const char* queue : {"5", "6"})
            if (mkfifo((m_settings.queuePrefix + queue).c_str(), 0600) != 0) throw std::runtime_error("no pipe");
        m_settings.flagDirectory = m_directory.path().string();
        m_settings.rateHz = 20.0;
        m_settings.answerDelaySeconds = 0.01;
        m_settings.eraseSeconds = 0.02;
        m_settings.bitSeconds = 0.02;
        m_settings.postAfterSeconds = 0.0;
        m_settings.quiet = true;
        m_listener = std::make_unique<Transport>(m_settings.connections, "listener");
        listen("PositionVelocityAttitude", m_pva);
        listen("UTCTime", m_utc);
        listen("HalvexPNT", m_pnt);
        listen("MeasurementIncorporationStatus", m_mis);
        listen("AssuranceState", m_assurance);
        listen("Response", m_responses);
        listen("BitReport", m_reports);
    }

    ~UnitSimTest() override { end(); }

    void start()
    {
        m_unit = std::make_unique<UnitSim>(m_settings);
        m_thread = std::thread([this] { m_unit->run(); });
    }

    /// Waits until unit and listener know each other: where two participants of one process do by half, and one of them
    /// goes, the other one's end may crash (Fast DDS 2.9.1, in `StatefulWriter::intraprocess_gap`).
    Totals end()
    {
        if (!m_thread.joinable()) return {};
        EXPECT_TRUE(m_listener->waitForPublishers(m_listener->connect("Response")));
        m_unit->stop();
        m_thread.join();
        const Totals totals = m_unit->totals();
        m_unit.reset();
        return totals;
    }

    template <class T>
    void listen(const std::string& topic, Inbox<T>& inbox)
    {
        FACE::RETURN_CODE_TYPE::Value code = FACE::RETURN_CODE_TYPE::NO_ACTION;
        m_listener->typed<T>()->Register_Callback(m_listener->connect(topic), inbox.callback(), code);
        if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("can't listen to " + topic);
    }

    /// Sends a command as the service does.
    void command(const std::string& text)
    {
        const auto front = m_listener->typed<CommandResponse>();
        const long long id = m_listener->connect("Command");
        FACE::RETURN_CODE_TYPE::Value code = FACE::RETURN_CODE_TYPE::NO_ACTION;
        front->Register_Sender(id, code);
        ASSERT_TRUE(m_listener->waitForSubscribers(id));
        CommandResponse record;
        record.header().device_id(0x01340200);
        record.command_identifier(77);
        record.command_response(text);
        long long transaction = 0;
        front->Send_Message(id, -1, transaction, record, code);
        ASSERT_EQ(code, FACE::RETURN_CODE_TYPE::NO_ERROR);
    }

    /// Checksums of what is sent in a scenario of less than two seconds, by topic or queue.
    std::map<std::string, std::size_t> sumsOfARun(const std::string& seed);

    TemporaryDirectory m_directory;
    Settings m_settings;
    Inbox<PositionVelocityAttitude> m_pva;
    Inbox<UTCTime> m_utc;
    Inbox<HalvexPNT> m_pnt;
    Inbox<MeasurementIncorporationStatus> m_mis;
    Inbox<AssuranceState> m_assurance;
    Inbox<CommandResponse> m_responses;
    Inbox<BitReport> m_reports;
    Inbox<CommandResponse> m_commands;      // where a test listens to them
    std::unique_ptr<Transport> m_listener;  // its callbacks use the above
    std::vector<int> m_held;                // queues
    std::unique_ptr<UnitSim> m_unit;
    std::thread m_thread;
};

/// Where a queue of the unit is read. Held open, so that what is sent there stays.
class Tap {
public:
    explicit Tap(const std::string& queue) : m_descriptor(open(queue.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
    ~Tap() { close(m_descriptor); }
    Tap(const Tap&) = delete;
    Tap& operator=(const Tap&) = delete;

    /// The next record; throws if none comes.
    GSSIP next() const
    {
        std::vector<std::uint8_t> bytes(4096);
        ssize_t count = 0;
        const auto isRead = [&] { return (count = read(m_descriptor, bytes.data(), bytes.size())) > 0; };
        GSSIP record;
        GssipTopicSerializer serializer;
        if (!eventually(isRead) || !serializer.Deserialize(bytes.data(), static_cast<std::uint32_t>(count), record))
            throw std::runtime_error("no record comes");
        return record;
    }

private:
    int m_descriptor;
};

/// A queue that keeps more than the usual sixteen records until they are read.
class Queue {
public:
    explicit Queue(const std::string& path) : m_descriptor(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC))
    {
        fcntl(m_descriptor, F_SETPIPE_SZ, 1 << 20);
    }
    ~Queue() { close(m_descriptor); }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    /// The first so many, when they have come.
    std::string packets(std::size_t count) const
    {
        std::string bytes;
        std::vector<char> packet(4096);
        const auto isRead = [&] {
            const ssize_t length = read(m_descriptor, packet.data(), packet.size());
            if (length > 0) bytes.append(packet.data(), static_cast<std::size_t>(length));
            return length > 0;
        };
        for (; count > 0; --count) EXPECT_TRUE(eventually(isRead));
        return bytes;
    }

private:
    int m_descriptor;
};

/// Bytes as they are on the wire, padding zero.
template <class T>
std::string bytesOf(const T& record)
{
    std::string bytes(8192, '\0');
    eprosima::fastcdr::FastBuffer buffer(bytes.data(), bytes.size());
    eprosima::fastcdr::Cdr cdr(buffer);
    record.serialize(cdr);
    bytes.resize(cdr.getSerializedDataLength());
    return bytes;
}

std::map<std::string, std::size_t> UnitSimTest::sumsOfARun(const std::string& seed)
{
    std::filesystem::resize_file(m_settings.memory, 0);  // the system count goes on otherwise
    std::filesystem::resize_file(m_settings.memory, std::uintmax_t{1} << 32);
    const std::string scenario = m_directory.write(
        "scenario", "place vehicle at 39.5 -76.1 alt 92\ndrive 39.51 -76.1 at 15\n"
                    "place jammer at 39.505 -76.1 power 0 on 0.4..\n"
                    "quality pnt 4 0.3..0.9\nfault utc delayed=0.3 0.5..1\nfault 8504 garbage 1..1.3\n"
                    "fault pva intermittent 0.2..1.5\nfault mis stuck 0.2..1\nfault assurance slow 0.2..1\n"
                    "at 0.7 warn 6 ANTENNA OPEN\nat 0.8 command REQUEST_CBIT,39\n");
    const std::string log = m_directory.write("log", "");
    std::vector<std::string> words = {ORVANE_UNIT_SIM,
                                      "--connections",
                                      m_settings.connections,
                                      "--devices",
                                      m_settings.devices,
                                      "--memory",
                                      m_settings.memory,
                                      "--queue-prefix",
                                      m_settings.queuePrefix,
                                      "--flags",
                                      m_settings.flagDirectory,
                                      "--scenario",
                                      scenario,
                                      "--log",
                                      log,
                                      "--seed",
                                      seed,
                                      "--rate",
                                      "20",
                                      "--utc",
                                      "1772323200",
                                      "--bit-seconds",
                                      "0.1",
                                      "--repeatable",
                                      "--quiet"};
    // All of it ends after thirty epochs.
    for (const char* output : {"pva", "utc", "pnt", "mis", "assurance", "8504"}) {
        words.push_back("--mute");
        words.push_back(output + std::string("=1.5"));
    }
    if (m_commands.size() == 0) listen("Command", m_commands);
    const Queue receiver(m_settings.queuePrefix + "5"), antenna(m_settings.queuePrefix + "6");
    const std::array<std::size_t, 8> before = {m_pva.size(),     m_utc.size(),       m_pnt.size(),
                                               m_mis.size(),     m_assurance.size(), m_responses.size(),
                                               m_reports.size(), m_commands.size()};
    ChildProcess process(words);
    const auto epochsSent = [&] {
        std::istringstream lines(readFile(log));
        std::size_t epochs = 0, sent = 0;
        for (std::string line; std::getline(lines, line);) {
            const auto flags = line.find_last_of(' ') + 1;
            if (line.find(" epoch ") == std::string::npos || line.size() - flags != kOutputs) continue;
            ++epochs;
            sent += line[flags] == '1' ? 1 : 0;
        }
        return std::pair(epochs, sent);
    };
    EXPECT_TRUE(eventually([&] { return epochsSent().first > 30; })) << process.errors();
    const std::size_t positions = epochsSent().second;
    EXPECT_TRUE(m_pva.waitFor(before[0] + positions) && m_utc.waitFor(before[1] + 30) &&
                m_pnt.waitFor(before[2] + 30) && m_mis.waitFor(before[3] + 30) && m_assurance.waitFor(before[4] + 18) &&
                m_responses.waitFor(before[5] + 1) && m_reports.waitFor(before[6] + 1) &&
                m_commands.waitFor(before[7] + 1));
    std::map<std::string, std::string> bytes = {{"receiver", receiver.packets(31)}, {"antenna", antenna.packets(1)}};
    process.send(SIGTERM);
    process.wait();
    const auto add = [&](const char* name, const auto& inbox, std::size_t from) {
        const auto items = inbox.items();
        for (std::size_t i = from; i < items.size(); ++i) bytes[name] += bytesOf(items[i].message);
    };
    add("PositionVelocityAttitude", m_pva, before[0]);
    add("UTCTime", m_utc, before[1]);
    add("HalvexPNT", m_pnt, before[2]);
    add("MeasurementIncorporationStatus", m_mis, before[3]);
    add("AssuranceState", m_assurance, before[4]);
    add("Response", m_responses, before[5]);
    add("BitReport", m_reports, before[6]);
    add("Command", m_commands, before[7]);
    std::map<std::string, std::size_t> sums;
    for (const auto& [name, all] : bytes) sums[name] = std::hash<std::string>()(all);
    return sums;
}

/// The times of validity of what arrived, by sequence number.
template <class T>
std::map<std::int64_t, header> headersOf(const Inbox<T>& inbox)
{
    std::map<std::int64_t, header> headers;
    for (const auto& item : inbox.items()) headers[item.message.header().seq_num()] = item.message.header();
    return headers;
}

}  // namespace

TEST_F(UnitSimTest, TopicsOfAnEpochHaveOneTimeOfValidity)
{
    start();
    ASSERT_TRUE(m_pva.waitFor(5) && m_utc.waitFor(5) && m_pnt.waitFor(5) && m_mis.waitFor(5) && m_assurance.waitFor(5));
    end();
    const auto pva = headersOf(m_pva);
    int compared = 0;
    for (const auto& others : {headersOf(m_utc), headersOf(m_pnt), headersOf(m_mis), headersOf(m_assurance)})
        for (const auto& [sequence, other] : others) {
            if (!pva.contains(sequence)) continue;
            EXPECT_EQ(ASPN2::deltaTov(pva.at(sequence), other), 0.0);
            ++compared;
        }
    EXPECT_GT(compared, 8);
}

TEST_F(UnitSimTest, LogHasALineForEachEpochThatWasSent)
{
    m_settings.log = (m_directory.path() / "log").string();
    m_settings.outputs[indexOf(Output::AssuranceState)].mutes = {{0.0}};
    start();
    ASSERT_TRUE(m_pva.waitFor(5));
    const Totals totals = end();
    const std::string text = readFile(m_settings.log);
    std::size_t lines = 0;
    for (auto at = text.find("epoch "); at != std::string::npos; at = text.find("epoch ", at + 1)) ++lines;
    EXPECT_EQ(lines, totals.sent[indexOf(Output::PositionVelocityAttitude)]);
    EXPECT_NE(text.find(" 111101\n"), std::string::npos);
}

TEST_F(UnitSimTest, EpochsAreAPeriodApart)
{
    start();
    ASSERT_TRUE(m_pva.waitFor(5));
    end();
    // A late `unit-sim` leaves epochs out, so there may be more than one period between two records.
    double shortest = 1;
    const auto headers = headersOf(m_pva);
    for (auto next = std::next(headers.begin()), last = headers.begin(); next != headers.end(); last = next++) {
        const double apart = ASPN2::deltaTov(next->second, last->second);
        EXPECT_NEAR(apart / 0.05, std::round(apart / 0.05), 1e-4);
        shortest = std::min(shortest, apart);
    }
    EXPECT_NEAR(shortest, 0.05, 1e-6);
}

TEST_F(UnitSimTest, OffsetMovesOneTimeOfValidityExactly)
{
    m_settings.outputs[indexOf(Output::UTCTime)].offsetSeconds = 1.0;
    start();
    ASSERT_TRUE(m_pva.waitFor(5) && m_utc.waitFor(5));
    end();
    const auto pva = headersOf(m_pva);
    int compared = 0;
    for (const auto& [sequence, utc] : headersOf(m_utc))
        if (pva.contains(sequence)) {
            EXPECT_EQ(ASPN2::deltaTov(utc, pva.at(sequence)), 1.0);
            ++compared;
        }
    EXPECT_GT(compared, 2);
}

TEST_F(UnitSimTest, SourcesAreTheServersThatAreSet)
{
    m_settings.outputs[indexOf(Output::PositionVelocityAttitude)].server = 7;
    start();
    ASSERT_TRUE(m_pva.waitFor(1) && m_utc.waitFor(1));
    EXPECT_EQ(m_pva.items()[0].message.header().device_id(), 0x01070000);
    EXPECT_EQ(m_utc.items()[0].message.header().device_id(), 0x01250000);
}

TEST_F(UnitSimTest, OutputsThatAreOffAreNotNeededNorSent)
{
    TransportConfig config;
    config.connect("UTCTime", "UTCTime").connect("BitReport", "BitReport");
    config.connect("Command", "CommandResponse").connect("Response", "CommandResponse");
    m_settings.connections = m_directory.write("Few.xml", config.text());
    for (OutputSettings& output : m_settings.outputs) output.enabled = false;
    m_settings.outputs[indexOf(Output::UTCTime)].enabled = true;
    start();
    ASSERT_TRUE(m_utc.waitFor(3));
    const Totals totals = end();
    EXPECT_EQ(m_pva.size(), 0U);
    EXPECT_GE(totals.sent[indexOf(Output::UTCTime)], 3U);
    EXPECT_EQ(totals.sent[indexOf(Output::Report8504)], 0U);
}

TEST_F(UnitSimTest, MutedOutputStopsAndTheOthersGoOn)
{
    m_settings.outputs[indexOf(Output::PositionVelocityAttitude)].mutes = {Window{}};
    start();
    ASSERT_TRUE(m_utc.waitFor(5));
    const Totals totals = end();
    EXPECT_EQ(totals.sent[indexOf(Output::PositionVelocityAttitude)], 0U);
    EXPECT_EQ(m_pva.size(), 0U);
}

TEST_F(UnitSimTest, LostGpsShowsInMeasurementsAssuranceAndCovariance)
{
    m_settings.gpsLost = {Window{}};
    start();
    ASSERT_TRUE(m_mis.waitFor(1) && m_assurance.waitFor(1) && m_pva.waitFor(5));
    EXPECT_EQ(m_mis.items()[0].message.meas_types().at(0).meas_avail(), 0);
    EXPECT_EQ(m_assurance.items()[0].message.assurance_state(), assurance_state_enum{1});
    EXPECT_GT(m_pva.items()[4].message.covariance()[0][0], 1.44);
}

TEST_F(UnitSimTest, SameSeedAndScenarioSendTheSameBytes)
{
    const auto first = sumsOfARun("1");
    EXPECT_EQ(first.size(), 10U);
    EXPECT_EQ(sumsOfARun("1"), first);
}

TEST_F(UnitSimTest, OtherSeedSendsOtherBytes)
{
    const auto first = sumsOfARun("1"), other = sumsOfARun("2");
    for (const char* name : {"PositionVelocityAttitude", "UTCTime", "HalvexPNT", "receiver"})
        EXPECT_NE(other.at(name), first.at(name)) << name;
}

TEST_F(UnitSimTest, FaultOfOneOutputLeavesTheOthers)
{
    m_settings.events = {{0.0, SetFault{Output::PositionVelocityAttitude, {Fault::Kind::Off}}}};
    start();
    ASSERT_TRUE(m_utc.waitFor(5));
    EXPECT_EQ(end().sent[indexOf(Output::PositionVelocityAttitude)], 0U);
}

TEST_F(UnitSimTest, StuckOutputKeepsItsContentUnderNewHeaders)
{
    m_settings.events = {{0.0, SetFault{Output::UTCTime, {Fault::Kind::Stuck}}}};
    start();
    ASSERT_TRUE(m_utc.waitFor(3));
    const auto items = m_utc.items();
    EXPECT_EQ(items[2].message.gps_tow_nsec(), items[0].message.gps_tow_nsec());
    EXPECT_GT(ASPN2::deltaTov(items[2].message.header(), items[0].message.header()), 0.09);
}

TEST_F(UnitSimTest, DelayedOutputKeepsItsTimeOfValidity)
{
    m_settings.repeatable = true;
    m_settings.events = {{0.0, SetFault{Output::UTCTime, {Fault::Kind::Delayed, 0.15}}}};
    start();
    ASSERT_TRUE(m_utc.waitFor(1));
    const header stamp = m_utc.items()[0].message.header();
    const auto secondsOf = [](const auto& time) {
        return static_cast<double>(time.sec()) + static_cast<double>(time.nsec()) / 1e9;
    };
    EXPECT_NEAR(secondsOf(stamp.timestamp_valid()), 60.0, 1e-6);
    EXPECT_NEAR(secondsOf(stamp.timestamp_arrival()), 60.15, 1e-6);
}

TEST_F(UnitSimTest, JammerNearbyTakesGpsAway)
{
    Jammer jammer;
    jammer.position = Course::at(0.0).position;
    jammer.powerDbm = 30.0;
    m_settings.world.jammers = {jammer};
    start();
    ASSERT_TRUE(m_assurance.waitFor(1));
    EXPECT_EQ(m_assurance.items()[0].message.assurance_state(), assurance_state_enum{1});
}

TEST_F(UnitSimTest, ReportsGoToTheQueue)
{
    start();
    ASSERT_TRUE(m_pva.waitFor(3));
    const Totals totals = end();
    EXPECT_GE(totals.sent[indexOf(Output::Report8504)], 3U);
    EXPECT_EQ(totals.refused, 0U);
}

TEST_F(UnitSimTest, ZeroizeIsAnsweredToItsSender)
{
    start();
    command("REQUEST_ZEROIZE");
    ASSERT_TRUE(m_responses.waitFor(2));
    const auto items = m_responses.items();
    EXPECT_EQ(items[0].message.command_response(), "REQUEST_ZEROIZE_ACK");
    EXPECT_EQ(items[1].message.command_response(), "SYSTEM_ZEROIZE_PASS");
    EXPECT_EQ(items[0].message.commanded_device_id(), 0x01340200);
    EXPECT_EQ(items[0].message.command_identifier(), 77);
    EXPECT_EQ(items[0].message.command_response_type(), command_response_type_enum{1});
    EXPECT_EQ(items[0].message.header().device_id(), 0x01330200);
    EXPECT_GT(items[0].message.header().timestamp_valid().sec(), 0);
}

TEST_F(UnitSimTest, SevenPartNumbersArriveFromTheirServersAndTopics)
{
    start();
    command("REQUEST_PARTNUMBERS");
    ASSERT_TRUE(m_responses.waitFor(7));
    std::set<std::int32_t> devices;
    for (const auto& item : m_responses.items()) devices.insert(item.message.header().device_id());
    EXPECT_EQ(devices, (std::set<std::int32_t>{0x01350200, 0x01350201, 0x01270200, 0x012F0200, 0x012F0202, 0x01310200,
                                               0x01260200}));
}

TEST_F(UnitSimTest, BuiltInTestEndsWithAReportOfTopicOne)
{
    start();
    command("REQUEST_CBIT,39,38");
    ASSERT_TRUE(m_reports.waitFor(1));
    const BitReport report = m_reports.items()[0].message;
    EXPECT_EQ(report.header().device_id(), 0x01200001);
    EXPECT_TRUE(report.bit_rollup());
    EXPECT_EQ(report.bit_components().size(), 2U);
}

TEST_F(UnitSimTest, ScheduledCommandIsSent)
{
    Inbox<CommandResponse> commands;
    listen("Command", commands);
    m_settings.events = {{0.3, SendCommand{"START_ZEROIZE"}}};
    start();
    ASSERT_TRUE(commands.waitFor(1));
    end();
    m_listener.reset();  // before the inbox
    EXPECT_EQ(commands.items()[0].message.command_response(), "START_ZEROIZE");
    EXPECT_EQ(commands.items()[0].message.header().device_id(), 0x01350200);
}

TEST_F(UnitSimTest, ThreatReportGoesToTheQueueTowardsTheReceiver)
{
    m_settings.utcSeconds = 1772323200;
    m_settings.events = {{0.25, ThreatReport{{{.azimuthDegrees = 90}}}}};
    const Tap tap(m_settings.queuePrefix + "6");
    start();
    const GSSIP record = tap.next();
    ThreatData report;
    ASSERT_TRUE(report.OkSetContent(record.data().data(), static_cast<std::uint16_t>(record.data().size())));
    EXPECT_EQ(record.num_bytes(), 212);
    EXPECT_EQ(record.header().device_id(), 0x01600000);
    EXPECT_TRUE(report.threat(0).isReported());
    EXPECT_EQ(report.threat(0).Az, 90);
    EXPECT_EQ(report.gpsTime(), 18.25);
    EXPECT_NEAR(report.alt(), 92.0, 30.0);
    EXPECT_EQ(end().threats, 1U);
}

TEST_F(UnitSimTest, WarningGoesToTheReceiversQueue)
{
    m_settings.outputs[indexOf(Output::Report8504)].enabled = false;
    m_settings.events = {{0.1, Warning{6, "ANTENNA OPEN"}}};
    const Tap tap(m_settings.queuePrefix + "5");
    start();
    const GSSIP record = tap.next();
    ZentorM_5044_Msg warning;
    ASSERT_TRUE(warning.ok_set_5044_gpsip(record.data().data(), static_cast<std::uint32_t>(record.data().size())));
    warning.unpack_5044();
    EXPECT_EQ(record.header().device_id(), 0x01270000);
    EXPECT_EQ(std::uint16_t{warning.unpacked().warningNumber}, 6);
    EXPECT_EQ(warningTextOf(warning.unpacked()), "ANTENNA OPEN");
    EXPECT_EQ(end().warnings, 1U);
}

TEST_F(UnitSimTest, OrderedEventHappensAtOnceOrAtItsTime)
{
    m_settings.outputs[indexOf(Output::Report8504)].enabled = false;
    m_settings.control = "given";
    const Tap tap(m_settings.queuePrefix + "5");
    start();
    m_unit->order({m_unit->elapsedSeconds() + 0.3, Warning{7, "LATER"}});
    m_unit->order({0.0, Warning{6, "NOW"}});
    for (const int number : {6, 7}) {
        const GSSIP record = tap.next();
        ZentorM_5044_Msg warning;
        ASSERT_TRUE(warning.ok_set_5044_gpsip(record.data().data(), static_cast<std::uint32_t>(record.data().size())));
        warning.unpack_5044();
        EXPECT_EQ(int{warning.unpacked().warningNumber}, number);
    }
    EXPECT_EQ(end().warnings, 2U);
}

TEST_F(UnitSimTest, FramesComeFromTheServersThatAreSet)
{
    m_settings.outputs[indexOf(Output::Report8504)].enabled = false;
    m_settings.warningServer = 7;
    m_settings.threatServer = 8;
    m_settings.events = {{0.0, Warning{1, ""}}, {0.0, ThreatReport{{Threat()}}}};
    const Tap fromReceiver(m_settings.queuePrefix + "5");
    const Tap toReceiver(m_settings.queuePrefix + "6");
    start();
    EXPECT_EQ(fromReceiver.next().header().device_id(), 0x01070000);
    EXPECT_EQ(toReceiver.next().header().device_id(), 0x01080000);
}

TEST_F(UnitSimTest, RandomFramesGoOn)
{
    m_settings.outputs[indexOf(Output::Report8504)].enabled = false;
    m_settings.warningRateHz = 200.0;
    m_settings.threatRateHz = 200.0;
    const Tap fromReceiver(m_settings.queuePrefix + "5");
    const Tap toReceiver(m_settings.queuePrefix + "6");
    start();
    std::int64_t last = -1;  // a reader that is too slow misses some
    for (int i = 0; i < 20; ++i) {
        const std::int64_t sequence = fromReceiver.next().header().seq_num();
        EXPECT_GT(sequence, last);
        last = sequence;
        EXPECT_EQ(toReceiver.next().num_bytes(), 212);
    }
    const Totals totals = end();
    EXPECT_GE(totals.warnings, 20U);
    EXPECT_GE(totals.threats, 20U);
}

TEST_F(UnitSimTest, GpsIsLostAndBackByEvents)
{
    m_settings.events = {{0.0, SetGps{true}}, {0.5, SetGps{false}}};
    start();
    ASSERT_TRUE(m_mis.waitFor(1));
    const auto available = [&](std::size_t index) {
        return m_mis.items().at(index).message.meas_types().at(0).meas_avail();
    };
    EXPECT_EQ(available(0), 0);
    EXPECT_TRUE(eventually([&] { return available(m_mis.size() - 1) == 9; }));
}

TEST_F(UnitSimTest, AnswersChangeAsTheEventsHaveIt)
{
    m_settings.events = {{0.0, Answers{Answers::First::Nack, Answers::Then::Fail}}};
    start();
    ASSERT_TRUE(m_utc.waitFor(1));
    command("REQUEST_DESTROY");
    ASSERT_TRUE(m_responses.waitFor(2));
    EXPECT_EQ(m_responses.items()[0].message.command_response(), "REQUEST_DESTROY_NACK");
    EXPECT_EQ(m_responses.items()[1].message.command_response(), "SYSTEM_DESTROY_FAIL");
}

TEST_F(UnitSimTest, RepeatableCommandIsAnsweredAsWhenItWasSent)
{
    m_settings.repeatable = true;
    m_settings.events = {{0.3, SendCommand{"REQUEST_DESTROY"}}, {0.3, Answers::Fail}};
    start();
    ASSERT_TRUE(m_responses.waitFor(2));
    EXPECT_EQ(m_responses.items()[0].message.command_response(), "REQUEST_DESTROY_ACK");
    EXPECT_EQ(m_responses.items()[1].message.command_response(), "SYSTEM_DESTROY_PASS");
}

TEST_F(UnitSimTest, ComponentFallsSilentAndAnotherSpeaksAgain)
{
    m_settings.silentComponents = {"Halvex"};
    m_settings.events = {{0.0, SetSilence{"GPS", true}}, {0.0, SetSilence{"Halvex", false}}};
    start();
    ASSERT_TRUE(m_utc.waitFor(1));
    command("REQUEST_PARTNUMBERS");
    ASSERT_TRUE(m_responses.waitFor(6));
    std::set<std::int32_t> devices;
    for (const auto& item : m_responses.items()) devices.insert(item.message.header().device_id());
    EXPECT_EQ(devices,
              (std::set<std::int32_t>{0x01350200, 0x01350201, 0x012F0200, 0x012F0202, 0x01310200, 0x01260200}));
}

TEST_F(UnitSimTest, BuiltInTestFindsWhatTheEventsHave)
{
    m_settings.events = {{0.0, SetFinding{38, Finding::Critical}}};
    start();
    ASSERT_TRUE(m_utc.waitFor(1));
    command("REQUEST_CBIT,39,38");
    ASSERT_TRUE(m_reports.waitFor(1));
    const BitReport report = m_reports.items()[0].message;
    EXPECT_FALSE(report.bit_rollup());
    EXPECT_FALSE(report.bit_components().at(0).critical_received());
    EXPECT_TRUE(report.bit_components().at(1).critical_received());
}

TEST_F(UnitSimTest, FlagsAppearAndGoWithTheUnit)
{
    const auto exists = [&](const char* name) { return std::filesystem::exists(m_directory.path() / name); };
    m_directory.write("PostComplete", "of an earlier boot");
    m_settings.postAfterSeconds = 0.2;
    m_unit = std::make_unique<UnitSim>(m_settings);
    EXPECT_FALSE(exists("PostComplete"));
    m_thread = std::thread([this] { m_unit->run(); });
    EXPECT_TRUE(eventually([&] { return exists("SystemStarted"); }));
    EXPECT_TRUE(eventually([&] { return exists("PostComplete") && exists("FirstBbitDone"); }));
    end();
    EXPECT_FALSE(exists("SystemStarted") || exists("PostComplete") || exists("FirstBbitDone"));
}

TEST_F(UnitSimTest, SystemCountGoesOnWhereAnEarlierUnitWas)
{
    m_settings.uptimeSeconds = 1000.0;
    start();
    ASSERT_TRUE(m_utc.waitFor(1));
    end();
    m_settings.uptimeSeconds = 0.0;
    const std::size_t before = m_utc.size();
    start();
    ASSERT_TRUE(m_utc.waitFor(before + 1));
    EXPECT_GE(m_utc.items().back().message.header().timestamp_valid().sec(), 1000);
}

TEST_F(UnitSimTest, DurationEndsTheRun)
{
    m_settings.durationSeconds = 0.3;
    UnitSim unit(m_settings);
    unit.run();
    EXPECT_GE(unit.totals().sent[indexOf(Output::UTCTime)] + unit.totals().skipped, 5U);
}

TEST_F(UnitSimTest, MissingTopicIsNamed)
{
    TransportConfig config;
    config.connect("BitReport", "BitReport");
    m_settings.connections = m_directory.write("Few.xml", config.text());
    try {
        const UnitSim unit(m_settings);
        FAIL() << "made without topics";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()).rfind(m_settings.connections + ": PositionVelocityAttitude: ", 0), 0U);
    }
}
