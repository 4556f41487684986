#include "reliability/restart/Cycles.h"

#include "reliability/PingPeer.h"
#include "reliability/restart/Leftovers.h"
#include "tests/support/Desk.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Transport.h"

#include <algorithm>
#include <csignal>
#include <optional>
#include <stdexcept>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr const char* kConnections = "/opt/halvex/config/Connections.xml";
constexpr std::chrono::milliseconds kBetweenPings{50};
constexpr std::chrono::seconds kBeyondLease{8};  // a participant's lease is 5 s
constexpr std::chrono::seconds kFirstMeeting{30};
constexpr int kMostMeetings = 5;

/// What the peer of a service has for its transport.
std::string peerOf(const std::string& transport)
{
    if (transport == "TCP_Client") return "TCP_Server";
    return transport == "TCP_Server" ? "TCP_Client" : transport;
}

/// A peer that talks to the service by its transport.
class Peer {
public:
    explicit Peer(const std::string& transport)
    {
        std::string text = readFile(kConnections);
        const std::string own = "<UseTransport>" + transport + "<";
        const auto place = text.find(own);
        if (place == std::string::npos) throw std::logic_error("another transport");
        text.replace(place, own.size(), "<UseTransport>" + peerOf(transport) + "<");
        m_transport.emplace(m_directory.write("connections.xml", text), "peer");
        m_pings.emplace(*m_transport);
    }

    /// Pings until a response comes.
    /// @return s from `begin`; nothing if none has come at the deadline
    std::optional<double> hear(Clock::time_point begin, std::chrono::milliseconds deadline)
    {
        m_pings->begin();
        while (Clock::now() - begin < deadline) {
            m_pings->send();
            std::this_thread::sleep_for(kBetweenPings);
            if (const auto answer = m_pings->answer()) return Seconds(*answer - begin).count();
        }
        return std::nullopt;
    }

private:
    TemporaryDirectory m_directory;
    std::optional<Transport> m_transport;
    std::optional<PingPeer> m_pings;
};

void killService(Desk& desk)
{
    desk.service().send(SIGKILL);
    if (desk.service().wait().signal != SIGKILL) throw std::runtime_error("the service had ended already");
}

/// Starts both, in the order in which they find each other: over TCP the client comes first.
/// @return whether they do
bool meet(const Cycles& cycles, Desk& desk, std::optional<Peer>& peer)
{
    if (cycles.transport == "TCP_Client") {
        desk.run();
        peer.emplace(cycles.transport);
    } else {
        peer.emplace(cycles.transport);
        desk.run();
    }
    return peer->hear(Clock::now(), kFirstMeeting).has_value();
}

/// Ends both, and leaves the unit as if neither had been there.
void part(Desk& desk, std::optional<Peer>& peer)
{
    peer.reset();
    killService(desk);
    std::this_thread::sleep_for(kBeyondLease);
    Leftovers::sweep();
}

/// Has the two meet.
/// @return how often they did not find each other
int meetAtLast(const Cycles& cycles, Desk& desk, std::optional<Peer>& peer)
{
    int failures = 0;
    while (!meet(cycles, desk, peer)) {
        if (++failures == kMostMeetings) throw std::runtime_error("the two don't find each other");
        part(desk, peer);
    }
    return failures;
}

}  // namespace

CyclesSeen runCycles(const Cycles& cycles)
{
    CyclesSeen seen;
    Desk desk;
    if (cycles.transport != "UDP")
        desk.replace("Connections.xml", "<UseTransport>UDP<", "<UseTransport>" + cycles.transport + "<");
    std::optional<Peer> peer;
    seen.failedMeetings += meetAtLast(cycles, desk, peer);
    for (int cycle = 0; cycle < cycles.count; ++cycle) {
        killService(desk);
        seen.mostLeft = std::max(seen.mostLeft, Leftovers::count());
        std::this_thread::sleep_for(cycles.pause);
        if (cycles.isSwept) Leftovers::sweep();
        const auto begin = Clock::now();
        desk.run();
        seen.running = std::max(seen.running, Seconds(Clock::now() - begin).count());
        const auto heard = peer->hear(Clock::now(), cycles.deadline);
        const std::size_t held = Leftovers::removedPorts(readFile("/proc/self/maps"));
        if (heard) {
            seen.heard.push_back(*heard);
            seen.heldWhenHeard = std::max(seen.heldWhenHeard, held);
            continue;
        }
        ++seen.deaf;
        seen.heldWhenDeaf = std::min(seen.heldWhenDeaf.value_or(held), held);
        seen.mostHeldWhenDeaf = std::max(seen.mostHeldWhenDeaf, held);
        killService(desk);
        std::this_thread::sleep_for(kBeyondLease);
        desk.run();
        if (peer->hear(Clock::now(), cycles.deadline)) {
            ++seen.cured;
            continue;
        }
        if (cycle + 1 == cycles.count) break;
        part(desk, peer);
        seen.failedMeetings += meetAtLast(cycles, desk, peer);
    }
    return seen;
}
