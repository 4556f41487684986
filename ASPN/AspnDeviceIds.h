#ifndef ASPN_ASPNDEVICEIDS_H
#define ASPN_ASPNDEVICEIDS_H

#include <concepts>
#include <cstdint>
#include <string>

/// Who is who on the unit's internal bus. A device id names the source of a message in four bytes, highest first:
/// system, server, message number, topic. The names are there ahead of what
/// other sources make before `main`.
namespace ASPN2 {

/// The product variants: number, symbol, name.
#define ASPN2_SYSTEM_IDS(ROW)                                                                                          \
    ROW(1, kolt_name, "KOLT")                                                                                          \
    ROW(2, rens_name, "RENS")                                                                                          \
    ROW(3, sarventPlus_name, "SarventPlus")

/// The services of the unit: number, symbol, name.
#define ASPN2_SERVER_IDS(ROW)                                                                                          \
    ROW(33, ism330_name, "ISM330")                                                                                     \
    ROW(34, Memsense3020_name, "Memsense3020")                                                                         \
    ROW(1, gateway_name, "Gateway")                                                                                    \
    ROW(16, msdui_name, "MSDUI")                                                                                       \
    ROW(35, MicrosemiOX171_name, "MicrosemiOX171")                                                                     \
    ROW(36, SiT5356_name, "SiT5356")                                                                                   \
    ROW(37, masterClockServer_name, "MasterClock")                                                                     \
    ROW(39, ZentorM_name, "ZentorM")                                                                                   \
    ROW(38, JacksonLabsSTL2600_name, "JacksonLabsSTL2600")                                                             \
    ROW(80, BAE44MHz_name, "BAE44MHz")                                                                                 \
    ROW(96, halvexNavigator_name, "HalvexNavigator")                                                                   \
    ROW(97, pilServer_name, "pilServer")                                                                               \
    ROW(32, BitServer_name, "BitServer")                                                                               \
    ROW(40, WebsocketServer_name, "WebsocketServer")                                                                   \
    ROW(41, WheelSensorServer_name, "WheelSensorServer")                                                               \
    ROW(42, WheelCalibratorServer_name, "WheelCalibratorServer")                                                       \
    ROW(44, VTimeServer_name, "VTimeServer")                                                                           \
    ROW(45, VPosOrDirServer_name, "VPosOrDirServer")                                                                   \
    ROW(46, VGpsReceiverServer_name, "VGpsReceiverServer")                                                             \
    ROW(47, TarvoServer_name, "TarvoServer")                                                                           \
    ROW(48, HmiServer_name, "HmiServer")                                                                               \
    ROW(49, QuillEServer_name, "QuillEServer")                                                                         \
    ROW(50, ZentorMDt_name, "ZentorMDt")                                                                               \
    ROW(51, ZeroizeServer_name, "ZeroizeServer")                                                                       \
    ROW(113, AtpServer_name, "AtpServer")                                                                              \
    ROW(114, CrpaServer_name, "CrpaServer")                                                                            \
    ROW(115, GalileoServer_name, "GalileoServer")                                                                      \
    ROW(116, GpmcServer_name, "GpmcServer")                                                                            \
    ROW(117, VendrelServer_name, "VendrelServer")                                                                      \
    ROW(118, ZentorSServer_name, "ZentorSServer")                                                                      \
    ROW(119, LoaderServer_name, "LoaderServer")                                                                        \
    ROW(120, LogServer_name, "LogServer")                                                                              \
    ROW(121, NavigatorOutputServer_name, "NavigatorOutputServer")                                                      \
    ROW(122, ShciServer_name, "ShciServer")                                                                            \
    ROW(123, SinglePointPositionServer_name, "SinglePointPositionServer")                                              \
    ROW(124, SMEMSImuServer_name, "SMEMSImuServer")                                                                    \
    ROW(52, OrvaneServer_name, "OrvaneServer")                                                                         \
    ROW(53, SystemController_name, "SystemController")                                                                 \
    ROW(125, VGenericEndNodeServer_name, "VGenericEndNodeServer")                                                      \
    ROW(54, MaintLogServer_name, "MaintLogServer")

#define ASPN2_DECLARE_NAME(number, symbol, name) extern const std::string symbol;

namespace SystemIds {

ASPN2_SYSTEM_IDS(ASPN2_DECLARE_NAME)

/// The number of the system of that very name, 1 to 3; 0 for any other text and for null.
std::uint8_t from_string(const char* name);

}  // namespace SystemIds

namespace ServerIds {

ASPN2_SERVER_IDS(ASPN2_DECLARE_NAME)

/// The name of a server; "INVALID_SERVER_ID" for a number that is not assigned.
const char* to_string(std::uint8_t id);

}  // namespace ServerIds

#undef ASPN2_DECLARE_NAME

/// The names under which part numbers are reported.
namespace Components {

extern const std::string sv_component;
extern const std::string hx_component;
extern const std::string pntq_component;
extern const std::string altnav_component;
extern const std::string gps_component;
extern const std::string tarvo_component;
extern const std::string tarvosw_component;

/// The component that a server reports under a topic; "INVALID_SERVER_ID" where it reports none. Topics 1 and 2 name
/// a board and a sensor whatever the server: the one that reports them also reports itself, under topic 0.
const char* to_component(std::uint8_t serverId, std::uint8_t topicId);

}  // namespace Components

/// Makes the device ids of one server. One thread at a time while it is reset; any thread otherwise.
class DeviceIdFactory {
public:
    /// Every id has system and server 0.
    DeviceIdFactory() = default;
    template <std::integral Id>
    DeviceIdFactory(Id systemId, std::uint8_t serverId)
    {
        reset(systemId, serverId);
    }
    DeviceIdFactory(const char* systemName, std::uint8_t serverId) { reset(systemName, serverId); }

    /// Replaces system, of which the low byte counts, and server. A system name that is not known counts as system 0.
    template <std::integral Id>
    void reset(Id systemId, std::uint8_t serverId)
    {
        m_base = static_cast<std::uint32_t>(static_cast<std::uint8_t>(systemId)) << 24 |
                 static_cast<std::uint32_t>(serverId) << 16;
    }
    void reset(const char* systemName, std::uint8_t serverId);

    /// The id of a message (1 event log, 2 command and response, 59 maintenance event) and, where a server publishes
    /// for a part of itself, a topic.
    std::uint32_t makeDeviceId(std::uint8_t messageNumber, std::uint8_t topicId) const;

private:
    std::uint32_t m_base = 0;
};

}  // namespace ASPN2

#endif
