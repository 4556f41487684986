#include "reliability/PingPeer.h"

#include <stdexcept>
#include <thread>

namespace {

constexpr std::uint8_t kService = 52, kTester = 53;
constexpr const char* kPing = "BITSERVER_PING";

}  // namespace

PingPeer::PingPeer(const Transport& transport)
    : m_transport(transport), m_front(transport.typed<CommandResponse>()), m_responses(transport.connect("Response")),
      m_commands(transport, "Command")
{
    auto code = FACE::RETURN_CODE_TYPE::NO_ACTION;
    m_front->Register_Callback(
        m_responses,
        [heard = m_heard](long long, long long, const CommandResponse& response, const FACE::TSS::HEADER_TYPE&,
                          const FACE::Sequence<FACE::TSS::QoS_Element>&, FACE::RETURN_CODE_TYPE::Value&) {
            const auto now = Clock::now();
            if ((response.header().device_id() >> 16 & 0xFF) != kService) return;
            const std::lock_guard lock(heard->mutex);
            if (!heard->at && response.command_identifier() >= heard->wanted) heard->at = now;
        },
        code);
    if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no subscriber Response");
}

void PingPeer::begin()
{
    const std::lock_guard lock(m_heard->mutex);
    m_heard->wanted = m_sent + 1;
    m_heard->at.reset();
}

void PingPeer::send()
{
    CommandResponse command;
    command.header().device_id(deviceId(kTester, 2));
    command.command_identifier(++m_sent);
    command.command_response(kPing);
    m_commands.send(command);
}

std::optional<PingPeer::Clock::time_point> PingPeer::answer() const
{
    const std::lock_guard lock(m_heard->mutex);
    return m_heard->at;
}

std::optional<double> PingPeer::roundTrip(std::chrono::milliseconds deadline)
{
    begin();
    const auto sent = Clock::now();
    send();
    while (!answer()) {
        if (Clock::now() - sent > deadline) return std::nullopt;
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return std::chrono::duration<double, std::milli>(*answer() - sent).count();
}
