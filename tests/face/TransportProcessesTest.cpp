#include "face/HX_TSS_Listeners.h"
#include "tests/aspn2_msgs/ByteImages.h"
#include "tests/face/NineTypes.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Transport.h"
#include "tests/support/Weeks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <future>
#include <iterator>
#include <numeric>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace aspn2_msgs::idl;
using FACE::RETURN_CODE_TYPE;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Pair;

namespace {

std::string toHex(const std::vector<char>& bytes)
{
    const char* const digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 15];
    }
    return text;
}

/// The bytes that a record of a type is to travel as.
std::string imageOf(const std::string& type)
{
    for (const ByteImage& image : kByteImages)
        if (image.name == type) return image.bytes;
    throw std::logic_error("no image of " + type);
}

template <class T>
T recordOf(const std::string& hex)
{
    std::vector<char> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    T record;
    if (!record.load(bytes.data(), bytes.size())) throw std::logic_error("not a record");
    return record;
}

template <class T>
std::string storedHex(const T& record)
{
    std::vector<char> bytes(10000);
    bytes.resize(record.store(bytes.data(), bytes.size()));
    return toHex(bytes);
}

/// How the two processes are set up.
struct Network {
    const char* name;
    const char* here;   // the transport of the test
    const char* there;  // that of the peer
    bool bestEffort;
    int depth;
};
std::ostream& operator<<(std::ostream& stream, const Network& network)
{
    return stream << network.name;
}

constexpr Network kShm{"Shm", "SHM", "SHM", false, 5};
constexpr Network kUdp{"Udp", "UDP", "UDP", false, 5};
constexpr Network kTcp{"Tcp", "TCP_Server", "TCP_Client", false, 5};
constexpr Network kTcpClientHere{"TcpClientHere", "TCP_Client", "TCP_Server", false, 5};
constexpr Network kShmDepthOne{"ShmDepthOne", "SHM", "SHM", false, 1};
constexpr Network kUdpDepthOne{"UdpDepthOne", "UDP", "UDP", false, 1};
constexpr Network kShmBestEffort{"ShmBestEffort", "SHM", "SHM", true, 5};
constexpr Network kUdpBestEffort{"UdpBestEffort", "UDP", "UDP", true, 5};

TransportConfig configOf(const Network& network)
{
    return TransportConfig()
        .set("UseBestEffort", network.bestEffort ? "true" : "false")
        .set("HistoryDepth", std::to_string(network.depth))
        .set("TcpPort", std::to_string(10000 + ownDomain()));
}

/// Another process, ready. Expected to end well when it goes.
class Peer {
public:
    /// One of transport_peer.
    Peer(const std::string& role, const TransportConfig& config, const std::vector<std::string>& rest = {})
        : m_process(commandOf(role, m_directory.write("peer.xml", config.text()), rest))
    {
        requireReady();
    }
    explicit Peer(const std::vector<std::string>& command) : m_process(command) { requireReady(); }
    ~Peer()
    {
        m_process.send(SIGTERM);
        EXPECT_EQ(m_process.wait(), (ChildProcess::Ending{0, 0})) << m_process.errors();
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void send(int signal) const { m_process.send(signal); }
    bool waitForOutput(const std::string& text) const
    {
        return eventually([&] { return m_process.output().find(text) != std::string::npos; });
    }

private:
    void requireReady() const
    {
        if (!waitForOutput("ready\n"))
            throw std::runtime_error("the peer isn't ready: " + m_process.output() + m_process.errors());
    }
    static std::vector<std::string> commandOf(const std::string& role, const std::string& path,
                                              const std::vector<std::string>& rest)
    {
        std::vector<std::string> words{TRANSPORT_PEER, role, path};
        words.insert(words.end(), rest.begin(), rest.end());
        return words;
    }

    TemporaryDirectory m_directory;
    ChildProcess m_process;
};

/// A sender to the peer and what comes back from it, of one type.
template <class T>
class Exchange {
public:
    Exchange(const Transport& transport, const std::string& type)
        : m_transport(transport), m_type(type), m_to(transport.connect("To" + type)),
          m_from(transport.connect("From" + type)), m_front(transport.typed<T>())
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        m_front->Register_Callback(m_from, m_inbox.callback(), code);
        EXPECT_EQ(code, 0);
        m_front->Register_Sender(m_to, code);
        EXPECT_EQ(code, 0);
    }
    ~Exchange()
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        m_transport->Unregister_Callback(m_from, code);  // before the inbox goes
        EXPECT_EQ(code, 0);
    }
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    /// Sends until something comes back: either direction may be up later than the other. Everything that comes back
    /// is the record that was sent.
    void run(const Network& network)
    {
        const std::string image = imageOf(m_type);
        const T record = recordOf<T>(image);
        ASSERT_TRUE(m_transport.waitForSubscribers(m_to));
        ASSERT_TRUE(m_transport.waitForPublishers(m_from));
        ASSERT_TRUE(eventually([&] {
            EXPECT_EQ(m_front->write(m_to, record), 0);
            return eventually([&] { return m_inbox.size() > 0; }, std::chrono::milliseconds(200));
        })) << m_type;
        for (const auto& item : m_inbox.items()) {
            EXPECT_EQ(storedHex(item.message), image) << m_type;
            EXPECT_EQ(item.connection, m_from);
            EXPECT_THAT(item.qos.at(2), Pair("ReliabilityQosPolicy", network.bestEffort ? "BEST_EFFORT_RELIABILITY_QOS"
                                                                                        : "RELIABLE_RELIABILITY_QOS"));
        }
    }

    std::vector<long long> transactions() const
    {
        std::vector<long long> numbers;
        for (const auto& item : m_inbox.items()) numbers.push_back(item.transaction);
        return numbers;
    }

private:
    const Transport& m_transport;
    const std::string m_type;
    const long long m_to;
    const long long m_from;
    const std::shared_ptr<FACE::TSS::Details::HX_TypedTS<T>> m_front;
    Inbox<T> m_inbox;
};

class TwoProcesses : public ::testing::TestWithParam<Network> {};
class ThrowingCallback : public ::testing::TestWithParam<Network> {};
class LateJoiner : public ::testing::TestWithParam<Network> {};
class ReliableLateJoiner : public ::testing::TestWithParam<Network> {};  // only these have a history to give

/// A subscriber of "Times" in this process.
class TimesReader {
public:
    /// @param onArrival  called with each, before it is kept
    explicit TimesReader(
        const TransportConfig& config, const std::function<void()>& onArrival = [] {})
        : m_transport(config), m_front(m_transport.typed<UTCTime>())
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        m_front->Register_Callback(
            m_transport.connect("Times"),
            [onArrival, keep = m_inbox.callback()](auto&&... arguments) {
                onArrival();
                keep(arguments...);
            },
            code);
        EXPECT_EQ(code, 0);
    }

    const Transport& transport() const { return m_transport; }
    const Inbox<UTCTime>& inbox() const { return m_inbox; }

private:
    Inbox<UTCTime> m_inbox;
    Transport m_transport;
    std::shared_ptr<FACE::TSS::Details::HX_TypedTS<UTCTime>> m_front;
};

/// 1 to `last`.
std::vector<int> weeksTo(int last)
{
    std::vector<int> weeks(static_cast<std::size_t>(last));
    std::iota(weeks.begin(), weeks.end(), 1);
    return weeks;
}

/// Datagrams that this network's machine has dropped since it exists, for want of room at their receiver.
long long droppedDatagrams()
{
    std::istringstream table(readFile("/proc/net/snmp"));
    std::string line;
    while (std::getline(table, line) && !line.starts_with("Udp: InDatagrams")) {
    }
    std::istringstream names(line);
    std::getline(table, line);
    std::istringstream values(line);
    std::string name;
    std::string value;
    while (names >> name && values >> value && name != "RcvbufErrors") {
    }
    return std::stoll(value);
}

/// A peer on another DDS product. Its topics are of the names that the catalogue gives.
class ForeignPeer : public ::testing::Test {
protected:
    static TransportConfig config()
    {
        TransportConfig config;
        for (const char* const type : {"UTCTime", "MeasurementIncorporationStatus", "CommandResponse", "EventLog"})
            config.connect(std::string("To") + type, type).connect(std::string("From") + type, type);
        return config.set("UseTransport", "UDP");
    }

    const Transport transport{config()};
    const Peer peer{{FOREIGN_PEER, std::to_string(ownDomain())}};
};

std::string nameOf(const ::testing::TestParamInfo<Network>& network)
{
    return network.param.name;
}

}  // namespace

TEST_P(TwoProcesses, ExchangeEveryType)
{
    const Network& network = GetParam();
    TransportConfig config = configOf(network);
#define CONNECT(Type) config.connect("To" #Type, #Type).connect("From" #Type, #Type);
    FOR_EACH_OF_NINE(CONNECT)
    // Over TCP the client first: one that finds its server there already is not always discovered by it.
    const bool isPeerFirst = network.there == std::string("TCP_Client");
    std::optional<Transport> transport;
    if (!isPeerFirst) transport.emplace(TransportConfig(config).set("UseTransport", network.here));
    const Peer peer("echo", TransportConfig(config).set("UseTransport", network.there));
    if (isPeerFirst) transport.emplace(TransportConfig(config).set("UseTransport", network.here));
#define EXCHANGE(Type) Exchange<Type>(*transport, #Type).run(network);
    FOR_EACH_OF_NINE(EXCHANGE)
}

TEST_P(ReliableLateJoiner, IsFilledWithExactlyTheDepth)
{
    const Network& network = GetParam();
    TransportConfig config = configOf(network).set("BackFillHistory", "true").connect("Times", "UTCTime");
    const Peer peer("samples", config.set("UseTransport", network.there), {"20"});
    const TimesReader reader(config.set("UseTransport", network.here));
    const auto depth = static_cast<std::size_t>(network.depth);
    ASSERT_TRUE(reader.inbox().waitFor(depth));
    peer.send(SIGUSR1);
    ASSERT_TRUE(reader.inbox().waitFor(depth + 1));
    std::vector<int> expected(depth);
    std::iota(expected.begin(), expected.end(), 21 - network.depth);
    expected.push_back(1000);
    EXPECT_EQ(weeksOf(reader.inbox()), expected);
}

TEST_P(LateJoiner, GetsNoHistoryUnasked)
{
    const Network& network = GetParam();
    TransportConfig config = configOf(network).set("BackFillHistory", "false").connect("Times", "UTCTime");
    const Peer peer("samples", config.set("UseTransport", network.there), {"20"});
    const TimesReader reader(config.set("UseTransport", network.here));
    ASSERT_TRUE(reader.transport().waitForPublishers(0));
    ASSERT_TRUE(eventually([&] {
        peer.send(SIGUSR1);
        return eventually([&] { return reader.inbox().size() > 0; }, std::chrono::milliseconds(200));
    }));
    EXPECT_THAT(weeksOf(reader.inbox()), Each(1000));
}

TEST_P(ThrowingCallback, OnAReceiveThreadEndsTheProcess)
{
    const Network& network = GetParam();
    TransportConfig config = configOf(network).connect("Times", "UTCTime");
    const TemporaryDirectory directory;
    const std::string path = directory.write("peer.xml", config.set("UseTransport", network.there).text());
    ChildProcess peer({TRANSPORT_PEER, "throws", path});
    ASSERT_TRUE(eventually(
        [&] { return peer.output().find("ready\n") != std::string::npos; }));  // over TCP the client is first
    const Transport transport(config.set("UseTransport", network.here));
    const auto front = transport.typed<UTCTime>();
    const long long times = transport.connect("Times");
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    front->Register_Sender(times, code);
    ASSERT_TRUE(transport.waitForSubscribers(times));
    ASSERT_TRUE(eventually([&] {
        EXPECT_EQ(front->write(times, UTCTime()), 0);  // here nothing comes back
        return eventually([&] { return peer.errors().find("thrown by the callback") != std::string::npos; },
                          std::chrono::milliseconds(200));
    }));
    EXPECT_EQ(peer.wait(), (ChildProcess::Ending{-1, SIGABRT}));
}

TEST(ReliableStreamTest, ArrivesWholeAtADepthOfOneThoughTheCallbackIsSlow)
{
    const TransportConfig config = configOf(kShmDepthOne).connect("Times", "UTCTime");
    const Peer peer("stream", config, {"200"});
    const TimesReader reader(config, [] { std::this_thread::sleep_for(std::chrono::milliseconds(2)); });
    ASSERT_TRUE(reader.transport().waitForPublishers(0));
    peer.send(SIGUSR1);
    ASSERT_TRUE(reader.inbox().waitFor(200));
    EXPECT_EQ(weeksOf(reader.inbox()), weeksTo(200));
}

TEST(ReliableStreamTest, WhatWasLostOnTheWayArrivesOnceAndInOrder)
{
    constexpr int kCount = 2000;
    TransportConfig config = configOf(kUdp).set("HistoryDepth", "5000").connect("Times", "UTCTime");
    const Peer peer("stream", config.set("UseTransport", "UDP"), {std::to_string(kCount)});
    std::promise<void> released;
    std::shared_future<void> release = released.get_future().share();
    const TimesReader reader(config, [release] { release.wait(); });
    ASSERT_TRUE(reader.transport().waitForPublishers(0));
    const long long before = droppedDatagrams();
    peer.send(SIGUSR1);
    const bool isSent = peer.waitForOutput("sent\n");  // to a reader that takes none of them
    released.set_value();
    ASSERT_TRUE(isSent);
    EXPECT_GT(droppedDatagrams(), before);
    peer.send(SIGUSR1);  // more, which arrive before what was lost
    ASSERT_TRUE(reader.inbox().waitFor(2 * kCount));
    std::vector<int> expected = weeksTo(kCount);
    std::ranges::copy(weeksTo(kCount), std::back_inserter(expected));
    EXPECT_EQ(weeksOf(reader.inbox()), expected);
}

TEST_F(ForeignPeer, ExchangesFourTypes)
{
    Exchange<UTCTime>(transport, "UTCTime").run(kUdp);
    Exchange<MeasurementIncorporationStatus>(transport, "MeasurementIncorporationStatus").run(kUdp);
    Exchange<CommandResponse>(transport, "CommandResponse").run(kUdp);
    Exchange<EventLog>(transport, "EventLog").run(kUdp);
}

TEST_F(ForeignPeer, DisposalDoesNotReachTheCallback)
{
    Exchange<UTCTime> exchange(transport, "UTCTime");
    exchange.run(kUdp);
    peer.send(SIGUSR1);
    ASSERT_TRUE(peer.waitForOutput("disposed\n"));
    exchange.run(kUdp);  // every callback had the record that was sent
    // The disposal has a number of its own, the only one without a callback.
    EXPECT_TRUE(eventually([&] {
        const auto numbers = exchange.transactions();
        return numbers.back() - numbers.front() == static_cast<long long>(numbers.size());
    }));
}

INSTANTIATE_TEST_SUITE_P(Transports, TwoProcesses,
                         ::testing::Values(kShm, kUdp, kTcp, kTcpClientHere, kShmDepthOne, kUdpDepthOne, kShmBestEffort,
                                           kUdpBestEffort),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Transports, ThrowingCallback, ::testing::Values(kShm, kUdp, kTcp), nameOf);
INSTANTIATE_TEST_SUITE_P(Transports, LateJoiner,
                         ::testing::Values(kShm, kUdp, kTcp, kShmDepthOne, kUdpDepthOne, kShmBestEffort,
                                           kUdpBestEffort),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Transports, ReliableLateJoiner,
                         ::testing::Values(kShm, kUdp, kTcp, kShmDepthOne, kUdpDepthOne), nameOf);
