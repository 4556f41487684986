#ifndef VICTORY_ORVANESERVER_SERVERSETTINGS_H
#define VICTORY_ORVANESERVER_SERVERSETTINGS_H

#include "ASPN/AspnDeviceIds.h"
#include "face/FACE_String.h"

#include <cstdint>
#include <set>
#include <string>

/// What the service is, and what its top-level configuration file says. Written before there is a second thread, and
/// only read from then on.
struct ServerSettings {
    std::uint8_t m_serverId = 52;
    std::string m_serverName = ASPN2::ServerIds::to_string(m_serverId);

    // Of the unit and of the service's section, as they stand in the file.
    FACE::String m_systemName;
    FACE::String m_configurationName;  ///< read, and used by nothing
    FACE::String m_connectionsFile;
    FACE::String m_ioDevicesFile;
    bool m_debug = false;
    bool m_quiet = true;
    bool m_testMode = false;
    std::uint8_t m_pvaSourceServerId = 0;  ///< 0 accepts every source, here and below
    std::uint8_t m_utcSourceServerId = 0;
    std::uint8_t m_misSourceServerId = 0;
    std::uint8_t m_fusionPNTSourceServerId = 0;
    FACE::String m_gssipSourceServerSet;          ///< as the file lists them
    std::set<std::uint8_t> m_gssipSourceServers;  ///< an empty set accepts none

    /// Whether frames of the receiver, or of the anti-jam sensor, are taken from that server.
    bool takesFramesOf(std::uint8_t server) const { return m_gssipSourceServers.contains(server); }

    std::uint64_t m_clearDataInProgressTimeoutSeconds = 7200;
    std::uint64_t m_clearDataRequestTimeoutSeconds = 12;
    std::uint32_t m_BITtimeoutSeconds = 25;

    // Files of the bus library, and the folder of the unit's flag files.
    std::string m_victoryConfigurationFile = "/opt/halvex/config/APNTServiceConfig_1_9.xml";
    std::string m_vclFile = "/opt/halvex/config/APNT_VCL_1_9.xml";
    std::string m_flagDirectory = "/tmp";
};

#endif
