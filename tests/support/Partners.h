#ifndef TESTS_SUPPORT_PARTNERS_H
#define TESTS_SUPPORT_PARTNERS_H

#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// The other services of the unit, as far as they talk in commands and responses, played by a test: they hear what the
/// service commands and reports, and answer what the test says. To be there before the service is started.
///
///     Partners partners(desk);
///     desk.run();
///     ASSERT_TRUE(partners.waitForService());
class Partners {
public:
    using BitReport = aspn2_msgs::idl::BitReport;

    /// Has the unit's topics hold their samples for late listeners, so that none is lost while all find each other.
    explicit Partners(const Desk& desk);

    /// Waits until the service hears and is heard.
    bool waitForService() const;

    /// Waits until so many commands with this text have come from the service.
    bool awaitCommand(const std::string& text, std::size_t count = 1) const;
    std::size_t commands(const std::string& text) const;
    std::size_t commands() const;

    /// Answers the service.
    /// @param from  of the one that answers
    /// @param to    of the one that is answered
    void respond(const std::string& text, std::int32_t from = deviceId(51), std::int32_t to = deviceId(52)) const;

    /// Commands all who listen.
    void command(const std::string& text) const;

    void report(BitReport report, std::int32_t from = deviceId(32) | 1) const;

    /// Waits until an event has come whose text has these words, and tells the type of the first one; -1 if none comes.
    /// The service sends ten a second at most, and some are lost when more wait than it keeps.
    int typeOfEvent(const std::string& words) const;
    std::size_t events(const std::string& words) const;

private:
    using CommandResponse = aspn2_msgs::idl::CommandResponse;
    using EventLog = aspn2_msgs::idl::EventLog;

    const Transport m_transport;
    Subscriber<EventLog> m_events{m_transport, "EventLog"};
    Subscriber<CommandResponse> m_heard{m_transport, "Command"};
    Publisher<CommandResponse> m_commands{m_transport, "Command"};
    Publisher<CommandResponse> m_responses{m_transport, "Response"};
    Publisher<BitReport> m_reports{m_transport, "BitReport"};
};

#endif
