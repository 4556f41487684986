#include "ASPN/AspnDeviceIds.h"

#include <string_view>

namespace ASPN2 {

// Ahead of what other sources make before `main`, which may use them.
#define ASPN2_EARLY [[gnu::init_priority(1000)]]
#define ASPN2_DEFINE_NAME(number, symbol, name) ASPN2_EARLY const std::string symbol = name;

namespace SystemIds {
ASPN2_SYSTEM_IDS(ASPN2_DEFINE_NAME)
}  // namespace SystemIds

namespace ServerIds {
ASPN2_SERVER_IDS(ASPN2_DEFINE_NAME)
}  // namespace ServerIds

#undef ASPN2_DEFINE_NAME

namespace Components {

ASPN2_EARLY const std::string sv_component = "Sarvent";
ASPN2_EARLY const std::string hx_component = "Halvex";
ASPN2_EARLY const std::string pntq_component = "PNT-Q";
ASPN2_EARLY const std::string altnav_component = "ALTNAV";
ASPN2_EARLY const std::string gps_component = "GPS";
ASPN2_EARLY const std::string tarvo_component = "TARVO";
ASPN2_EARLY const std::string tarvosw_component = "TARVOSW";

}  // namespace Components

#undef ASPN2_EARLY

namespace {

constexpr const char* kInvalid = "INVALID_SERVER_ID";

struct NamedId {
    std::uint8_t id;
    const char* name;
};

#define ASPN2_TABLE_ROW(number, symbol, name) {number, name},
constexpr NamedId kSystems[] = {ASPN2_SYSTEM_IDS(ASPN2_TABLE_ROW)};
constexpr NamedId kServers[] = {ASPN2_SERVER_IDS(ASPN2_TABLE_ROW)};
#undef ASPN2_TABLE_ROW
static_assert(std::size(kSystems) == 3 && std::size(kServers) == 40);

}  // namespace

std::uint8_t SystemIds::from_string(const char* name)
{
    if (!name) return 0;
    for (const NamedId& system : kSystems)
        if (std::string_view(name) == system.name) return system.id;
    return 0;
}

const char* ServerIds::to_string(std::uint8_t id)
{
    for (const NamedId& server : kServers)
        if (server.id == id) return server.name;
    return kInvalid;
}

const char* Components::to_component(std::uint8_t serverId, std::uint8_t topicId)
{
    if (topicId == 1) return sv_component.c_str();
    if (topicId == 2) return tarvo_component.c_str();
    if (topicId > 2) return kInvalid;
    switch (serverId) {
    case 53:
        return hx_component.c_str();
    case 49:
        return pntq_component.c_str();
    case 38:
        return altnav_component.c_str();
    case 39:
        return gps_component.c_str();
    case 47:
        return tarvosw_component.c_str();
    default:
        return kInvalid;
    }
}

void DeviceIdFactory::reset(const char* systemName, std::uint8_t serverId)
{
    reset(SystemIds::from_string(systemName), serverId);
}

std::uint32_t DeviceIdFactory::makeDeviceId(std::uint8_t messageNumber, std::uint8_t topicId) const
{
    return m_base | static_cast<std::uint32_t>(messageNumber) << 8 | topicId;
}

}  // namespace ASPN2
