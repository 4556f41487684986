#ifndef VICTORY_ORVANESERVER_MESSAGESOURCE_H
#define VICTORY_ORVANESERVER_MESSAGESOURCE_H

#include "ASPN/AspnDeviceIds.h"

#include <cstdint>
#include <string>

/// Who sent a message: what the device id of its header says. Pure functions, any thread.
namespace MessageSource {

inline std::uint8_t serverOf(std::int32_t deviceId)
{
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(deviceId) >> 16);
}

inline std::uint8_t topicOf(std::int32_t deviceId)
{
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(deviceId));
}

/// The server that sent a record of the unit.
template <class Message>
std::uint8_t sourceOf(const Message& message)
{
    return serverOf(message.header().device_id());
}

/// The name of a server for people, "(unknown ID <number>)" for one without a name.
inline std::string nameOf(std::uint8_t server)
{
    const std::string name = ASPN2::ServerIds::to_string(server);
    return name == "INVALID_SERVER_ID" ? "(unknown ID " + std::to_string(server) + ")" : name;
}

}  // namespace MessageSource

#endif
