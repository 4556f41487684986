#include "ASPN/AspnCmdResponse.h"

#include "ASPN/AspnHelper.h"
#include "ASPN/CmdResponseStrings.h"
#include "platform/FPGA.h"
#include "utilities/StringUtils.h"

#include <utility>

namespace ASPN2 {

namespace {

using aspn2_msgs::idl::CommandResponse;

constexpr std::uint8_t kCommandMessageNumber = 2;
constexpr aspn2_msgs::idl::command_response_type_enum kCommand{0};
constexpr aspn2_msgs::idl::command_response_type_enum kResponse{1};

CommandResponse stamped(std::uint32_t deviceId, std::uint64_t sequence, const std::string& text)
{
    CommandResponse message;
    message.header().device_id(static_cast<std::int32_t>(deviceId));
    message.header().seq_num(sequence);
    setToVandToA_fromFpgaTicks(FpgaFace::Instance().fpga_get_SystemCount(), message.header());
    message.command_response(text);
    return message;
}

std::string withSuffix(const CommandResponse& command, const std::string& suffix)
{
    const auto fields = StringUtils::split(command.command_response(), ',');
    return (fields.empty() ? std::string() : fields.front()) + suffix;
}

}  // namespace

void CmdResponse::reset(const DeviceIdFactory& factory)
{
    m_deviceId = factory.makeDeviceId(kCommandMessageNumber, 0);
}

CommandResponse CmdResponse::makeCommand(const std::string& text)
{
    auto message = stamped(m_deviceId, m_commandSequence++, text);
    message.commanded_device_id(0);
    message.command_identifier(static_cast<std::int32_t>(m_commandIdentifier++));
    message.command_response_type(kCommand);
    return message;
}

CommandResponse CmdResponse::makeCommand(unsigned long long ticks, const std::string& text)
{
    auto message = makeCommand(text);
    setToA_fromFpgaTicks(ticks, message.header());
    return message;
}

CommandResponse CmdResponse::makeResponse(const CommandResponse& command, const std::string& text)
{
    auto message = stamped(m_deviceId, m_responseSequence++, text);
    message.commanded_device_id(command.header().device_id());
    message.command_identifier(command.command_identifier());
    message.command_response_type(kResponse);
    return message;
}

CommandResponse CmdResponse::makeResponse(const CommandResponse& command, const char* text)
{
    return makeResponse(command, std::string(text ? text : ""));
}

CommandResponse CmdResponse::makeResponse(const CommandResponse& command, bool passed)
{
    return makeResponse(command, withSuffix(command, passed ? Sys::ResponseString::Pass : Sys::ResponseString::Fail));
}

CommandResponse CmdResponse::makeResponseAck(const CommandResponse& command, bool accepted)
{
    return makeResponse(command, withSuffix(command, accepted ? Sys::ResponseString::Ack : Sys::ResponseString::Nack));
}

void CmdResponse::setTopicId(CommandResponse& message, unsigned char topic)
{
    const auto id = static_cast<std::uint32_t>(message.header().device_id());
    message.header().device_id(static_cast<std::int32_t>((id & 0xFFFFFF00U) | topic));
}

ResponseKind ResponseType::GetResponseType(const CommandResponse& response)
{
    const std::pair<const std::string&, ResponseKind> kinds[] = {{Sys::ResponseString::Ack, RESPONSE_ACK},
                                                                 {Sys::ResponseString::Nack, RESPONSE_NACK},
                                                                 {Sys::ResponseString::Pass, RESPONSE_PASS},
                                                                 {Sys::ResponseString::Fail, RESPONSE_FAIL}};
    for (const auto& [suffix, kind] : kinds)
        if (response.command_response().find(suffix) != std::string::npos) return kind;
    return RESPONSE_OTHER;
}

}  // namespace ASPN2
