#ifndef RELIABILITY_PINGPEER_H
#define RELIABILITY_PINGPEER_H

#include "aspn2_msgs/CommandResponse.h"
#include "tests/support/Inputs.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

/// Commands the service to say that it is there, and hears its response: it takes both ways of the transport, and the
/// receiving thread and the handler of the service between. For one thread.
class PingPeer {
public:
    using Clock = std::chrono::steady_clock;

    /// @param transport  must outlive this
    explicit PingPeer(const Transport& transport);

    /// Waits until the service hears commands, and is heard.
    bool waitForService() const { return m_commands.waitForSubscriber() && m_transport.waitForPublishers(m_responses); }

    /// From now on only responses to later pings count.
    void begin();

    /// Sends a ping.
    void send();

    /// When the first response since `begin` came; nothing before.
    std::optional<Clock::time_point> answer() const;

    /// Sends a ping and waits for its response.
    /// @return milliseconds; nothing if none comes in time
    std::optional<double> roundTrip(std::chrono::milliseconds deadline);

private:
    using CommandResponse = aspn2_msgs::idl::CommandResponse;

    /// Shared with the library's thread, which may come after the end of this object.
    struct Heard {
        std::mutex mutex;
        std::int32_t wanted = 1;
        std::optional<Clock::time_point> at;
    };

    const Transport& m_transport;
    const std::shared_ptr<Heard> m_heard = std::make_shared<Heard>();
    std::int32_t m_sent = 0;
    std::shared_ptr<FACE::TSS::Details::HX_TypedTS<CommandResponse>> m_front;
    long long m_responses;
    Publisher<CommandResponse> m_commands;
};

#endif
