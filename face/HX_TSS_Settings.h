#ifndef FACE_HX_TSS_SETTINGS_H
#define FACE_HX_TSS_SETTINGS_H

#include "face/FACE_Configuration.h"

#include <cstdint>
#include <string>

namespace eprosima::fastrtps {

class ParticipantAttributes;
class PublisherAttributes;
class SubscriberAttributes;

}  // namespace eprosima::fastrtps

namespace FACE::TSS {

/// What the connection file says of the transport as a whole, in its container "FastRtps".
struct HX_TSS_Settings {
    std::uint32_t domainId = 0;
    std::int32_t historyDepth = 0;  ///< samples; the depth of history and every resource limit of each endpoint
    bool useBestEffort = false;     ///< else reliable
    bool backFillHistory = false;   ///< a late subscriber gets what publishers still hold
    std::string useTransport;       ///< "SHM", "UDP", "TCP_Client" or "TCP_Server"; any other text is no transport
    std::string tcpAddress;         ///< dotted IPv4
    std::uint32_t tcpPort = 0;
};

/// The highest domain whose ports exist. The library ends the process when it is asked for a higher one.
inline constexpr std::uint32_t kHighestDomainId = 232;

/// Reads all seven keys, whichever are missing: none has a default. A missing one prints its warning and sets
/// `return_code` to `INVALID_CONFIG`, which is not written otherwise. Integers are decimal, hexadecimal with 0x or
/// octal with a leading zero, and cut to 32 bits; a text that is no number is 0.
HX_TSS_Settings readSettings(Configuration& config, int handle, RETURN_CODE_TYPE::Value& return_code);

/// The library's defaults and what differs from them. Throws what running out of memory throws.
eprosima::fastrtps::ParticipantAttributes participantAttributes(const HX_TSS_Settings& settings,
                                                                const std::string& participantName);

/// Names and types of more than 255 characters are cut.
eprosima::fastrtps::PublisherAttributes publisherAttributes(const HX_TSS_Settings& settings,
                                                            const std::string& topicName, const std::string& topicType);
eprosima::fastrtps::SubscriberAttributes
subscriberAttributes(const HX_TSS_Settings& settings, const std::string& topicName, const std::string& topicType);

}  // namespace FACE::TSS

#endif
