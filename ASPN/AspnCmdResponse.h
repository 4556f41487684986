#ifndef ASPN_ASPNCMDRESPONSE_H
#define ASPN_ASPNCMDRESPONSE_H

#include "ASPN/AspnDeviceIds.h"
#include "aspn2_msgs/CommandResponse.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace ASPN2 {

/// Makes the commands and responses of one server: identity, sequence numbers and time stamps of each record. Commands
/// and responses are counted apart, from 0. Any thread.
///
/// Time of validity and time of arrival are the FPGA's system count of the moment.
class CmdResponse {
public:
    /// Device id 0.
    CmdResponse() = default;
    explicit CmdResponse(const DeviceIdFactory& factory) { reset(factory); }

    /// Takes the device id of the server's commands and responses. The counters go on.
    void reset(const DeviceIdFactory& factory);

    /// A command to nobody in particular: the addressee's device id is 0.
    aspn2_msgs::idl::CommandResponse makeCommand(const std::string& text);

    /// The same with the time of arrival of `ticks`, in FPGA system counts.
    aspn2_msgs::idl::CommandResponse makeCommand(unsigned long long ticks, const std::string& text);

    /// A response of any text to the sender of `command`, under the command's identifier.
    aspn2_msgs::idl::CommandResponse makeResponse(const aspn2_msgs::idl::CommandResponse& command,
                                                  const std::string& text);
    aspn2_msgs::idl::CommandResponse makeResponse(const aspn2_msgs::idl::CommandResponse& command, const char* text);

    /// How the command ended: its stem and "_PASS" or "_FAIL".
    aspn2_msgs::idl::CommandResponse makeResponse(const aspn2_msgs::idl::CommandResponse& command, bool passed);

    /// Whether the command was accepted: its stem and "_ACK" or "_NACK".
    aspn2_msgs::idl::CommandResponse makeResponseAck(const aspn2_msgs::idl::CommandResponse& command, bool accepted);

    /// Replaces the topic in a message's own device id.
    static void setTopicId(aspn2_msgs::idl::CommandResponse& message, unsigned char topic);

private:
    std::atomic<std::uint32_t> m_deviceId = 0;
    std::atomic<std::uint64_t> m_commandSequence = 0;
    std::atomic<std::uint64_t> m_responseSequence = 0;
    std::atomic<std::uint32_t> m_commandIdentifier = 0;
};

/// What the text of a response says of the command.
enum ResponseKind : std::int32_t {
    RESPONSE_OTHER = 0,
    RESPONSE_ACK = 1,
    RESPONSE_NACK = 2,
    RESPONSE_PASS = 3,
    RESPONSE_FAIL = 4
};

class ResponseType {
public:
    /// By the first of "_ACK", "_NACK", "_PASS" and "_FAIL", in this order, that stands anywhere in the text.
    static ResponseKind GetResponseType(const aspn2_msgs::idl::CommandResponse& response);
};

}  // namespace ASPN2

#endif
