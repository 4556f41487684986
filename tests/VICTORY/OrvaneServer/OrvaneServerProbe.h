#ifndef TESTS_VICTORY_ORVANESERVER_ORVANESERVERPROBE_H
#define TESTS_VICTORY_ORVANESERVER_ORVANESERVERPROBE_H

#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"

#include <atomic>
#include <functional>

/// The server with its state open to tests, and with the two steps of a turn that may be replaced.
class OrvaneServerProbe : public OrvaneServer {
public:
    using OrvaneServer::m_BITtimeoutSeconds;
    using OrvaneServer::m_clearDataCommand;
    using OrvaneServer::m_clearDataInProgressTimeoutSeconds;
    using OrvaneServer::m_clearDataRequestTimeoutSeconds;
    using OrvaneServer::m_configurationName;
    using OrvaneServer::m_connectionsFile;
    using OrvaneServer::m_debug;
    using OrvaneServer::m_fusionPNTSourceServerId;
    using OrvaneServer::m_gssipMcsq;
    using OrvaneServer::m_gssipSourceServers;
    using OrvaneServer::m_gssipSourceServerSet;
    using OrvaneServer::m_ioDevicesFile;
    using OrvaneServer::m_misSourceServerId;
    using OrvaneServer::m_outputRedirector;
    using OrvaneServer::m_partNumbersArrived;
    using OrvaneServer::m_pva;
    using OrvaneServer::m_pvaSourceServerId;
    using OrvaneServer::m_quiet;
    using OrvaneServer::m_serverId;
    using OrvaneServer::m_serverName;
    using OrvaneServer::m_state;
    using OrvaneServer::m_systemName;
    using OrvaneServer::m_testMode;
    using OrvaneServer::m_threatData;
    using OrvaneServer::m_turnPause;
    using OrvaneServer::m_utcSourceServerId;
    using OrvaneServer::m_workerThread;
    using OrvaneServer::workerTurn;

    void checkForFaultTestEvents() override
    {
        if (onFaultTest) onFaultTest();
    }
    void attemptBlendedNavigationProcessing() override
    {
        if (onBlendedNavigation) onBlendedNavigation();
    }

    std::function<void()> onFaultTest;
    std::function<void()> onBlendedNavigation;
};

#endif
