#include "tests/support/Partners.h"

#include <algorithm>

namespace {

constexpr std::int32_t kService = deviceId(52);

bool isOfService(const aspn2_msgs::idl::CommandResponse& command)
{
    return (command.header().device_id() & 0xFF0000) == (kService & 0xFF0000);
}

std::string withBackFill(const Desk& desk)
{
    desk.replace("Connections.xml", "<BackFillHistory>false<", "<BackFillHistory>true<");
    return "/opt/halvex/config/Connections.xml";
}

}  // namespace

Partners::Partners(const Desk& desk) : m_transport(withBackFill(desk), "partners") {}

bool Partners::waitForService() const
{
    // On the topic of commands, these partners meet themselves too.
    return m_commands.waitForSubscriber(2) && m_heard.waitForPublisher(2) && m_responses.waitForSubscriber() &&
           m_reports.waitForSubscriber() && m_events.waitForPublisher();
}

std::size_t Partners::commands(const std::string& text) const
{
    const auto items = m_heard.inbox().items();
    return static_cast<std::size_t>(std::ranges::count_if(
        items, [&](const auto& item) { return isOfService(item.message) && item.message.command_response() == text; }));
}

std::size_t Partners::commands() const
{
    const auto items = m_heard.inbox().items();
    return static_cast<std::size_t>(
        std::ranges::count_if(items, [](const auto& item) { return isOfService(item.message); }));
}

bool Partners::awaitCommand(const std::string& text, std::size_t count) const
{
    return eventually([&] { return commands(text) >= count; });
}

void Partners::respond(const std::string& text, std::int32_t from, std::int32_t to) const
{
    CommandResponse response;
    response.header().device_id(from);
    response.commanded_device_id(to);
    response.command_response_type(aspn2_msgs::idl::command_response_type_enum{1});
    response.command_response(text);
    m_responses.send(response);
}

void Partners::command(const std::string& text) const
{
    CommandResponse command;
    command.header().device_id(deviceId(53, 2));
    command.command_response(text);
    m_commands.send(command);
}

void Partners::report(BitReport report, std::int32_t from) const
{
    report.header().device_id(from);
    m_reports.send(report);
}

std::size_t Partners::events(const std::string& words) const
{
    const auto items = m_events.inbox().items();
    return static_cast<std::size_t>(std::ranges::count_if(
        items, [&](const auto& item) { return item.message.eventlog().find(words) != std::string::npos; }));
}

int Partners::typeOfEvent(const std::string& words) const
{
    if (!eventually([&] { return events(words) > 0; })) return -1;
    for (const auto& item : m_events.inbox().items())
        if (item.message.eventlog().find(words) != std::string::npos)
            return static_cast<int>(item.message.event_log_type());
    return -1;
}
