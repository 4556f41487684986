#ifndef TESTS_VICTORY_ORVANESERVER_OPENSERVER_H
#define TESTS_VICTORY_ORVANESERVER_OPENSERVER_H

#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"

#include <array>
#include <string>
#include <vector>

// Tests look at what is guarded when no other thread is there, so the analysis has nothing to say in them.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wthread-safety"
#endif

/// The server with its parts open to tests, which have the bus library's recorder in place of the library.
class OpenServer : public OrvaneServer {
public:
    using OrvaneServer::appendThreatToList;
    using OrvaneServer::appendWarningToList;
    using OrvaneServer::attemptNavWarSaProcessing;
    using OrvaneServer::carryOutSanitizeOrders;
    using OrvaneServer::cbAssuranceState;
    using OrvaneServer::cbBitReport;
    using OrvaneServer::cbClearSystemDataCallback;
    using OrvaneServer::cbCmd;
    using OrvaneServer::cbHalvexPNT;
    using OrvaneServer::cbHxGssip;
    using OrvaneServer::cbMeasurementIncorporationStatus;
    using OrvaneServer::cbPVA;
    using OrvaneServer::cbRsp;
    using OrvaneServer::cbSaveVclidCallback;
    using OrvaneServer::cbTellNavWarSaCallback;
    using OrvaneServer::cbTellSystemConfigurationCallback;
    using OrvaneServer::cbTellWarningMessagesCallback;
    using OrvaneServer::cbUTCTime;
    using OrvaneServer::cbZentorGssip;
    using OrvaneServer::clearApntConfiguration;
    using OrvaneServer::encodeVictoryMeasSource;
    using OrvaneServer::encodeVictoryNavWarSA;
    using OrvaneServer::encodeVictoryWarningId;
    using OrvaneServer::findAndClearComponentConfigurationByIdAndName;
    using OrvaneServer::handleBlock5044;
    using OrvaneServer::handlePartNumberResponses;
    using OrvaneServer::InitializeVictory;
    using OrvaneServer::initMeasSourceEncoder;
    using OrvaneServer::logMaintenanceEvent;
    using OrvaneServer::OrvaneServer;
    using OrvaneServer::performPOSTcomplete;
    using OrvaneServer::processClearDataRequest;
    using OrvaneServer::processPartNumbers;
    using OrvaneServer::sendCommandResponseMessage;
    using OrvaneServer::sendVDBCompleteWarning;
    using OrvaneServer::sendVDBcustomWarning;
    using OrvaneServer::set_VictoryTime;
    using OrvaneServer::ShutdownVictory;
    using OrvaneServer::storeGpsAvailability;
    using OrvaneServer::updateComponentConfiguration;
    using OrvaneServer::updateSystemConfiguration;
    using OrvaneServer::updateVDMdataRate;
    using OrvaneServer::waitForPartNumberResponses;
    using OrvaneServer::workerTurn;

    using OrvaneServer::m_8504;
    using OrvaneServer::m_allOutputs;
    using OrvaneServer::m_apntConfigurationMutex;
    using OrvaneServer::m_bitResults;
    using OrvaneServer::m_BITtimeoutSeconds;
    using OrvaneServer::m_clearDataCommand;
    using OrvaneServer::m_connectionsFile;
    using OrvaneServer::m_debug;
    using OrvaneServer::m_flagDirectory;
    using OrvaneServer::m_fusionPNTSourceServerId;
    using OrvaneServer::m_gpsLost;
    using OrvaneServer::m_gpsSeconds;
    using OrvaneServer::m_gssipSourceServers;
    using OrvaneServer::m_has8504;
    using OrvaneServer::m_hasAssuranceState;
    using OrvaneServer::m_hasFusionPNT;
    using OrvaneServer::m_hasMIS;
    using OrvaneServer::m_hasPVA;
    using OrvaneServer::m_hasUTCTime;
    using OrvaneServer::m_ioDevicesFile;
    using OrvaneServer::m_latestTime;
    using OrvaneServer::m_mis;
    using OrvaneServer::m_misSourceServerId;
    using OrvaneServer::m_navDataMutex;
    using OrvaneServer::m_partNumberMutex;
    using OrvaneServer::m_partNumberResponses;
    using OrvaneServer::m_partNumbersArrived;
    using OrvaneServer::m_partNumbersComplete;
    using OrvaneServer::m_postCompleteSeen;
    using OrvaneServer::m_pva;
    using OrvaneServer::m_pvaSourceServerId;
    using OrvaneServer::m_quiet;
    using OrvaneServer::m_requestPartNumbers;
    using OrvaneServer::m_sanitizeRequested;
    using OrvaneServer::m_service;
    using OrvaneServer::m_state;
    using OrvaneServer::m_steadyNow;
    using OrvaneServer::m_systemConfiguration;
    using OrvaneServer::m_systemName;
    using OrvaneServer::m_tellDisabled;
    using OrvaneServer::m_testMode;
    using OrvaneServer::m_threats;
    using OrvaneServer::m_timeMutex;
    using OrvaneServer::m_tss;
    using OrvaneServer::m_turnPause;
    using OrvaneServer::m_updatedVclText;
    using OrvaneServer::m_utcSourceServerId;
    using OrvaneServer::m_utcTime;
    using OrvaneServer::m_vclFile;
    using OrvaneServer::m_vclText;
    using OrvaneServer::m_victoryConfigurationFile;
    using OrvaneServer::m_victoryConfigurationText;
    using OrvaneServer::m_victoryFaultHelper;
    using OrvaneServer::m_victoryStarted;
    using OrvaneServer::m_warnings;

    /// The ids of the connections, in the order of their making.
    std::array<long long*, 10> connectionIds()
    {
        return {&m_bitReportId, &m_commandId, &m_responseId,       &m_pvaId,      &m_utcTimeId,
                &m_halvexPNTId, &m_misId,     &m_assuranceStateId, &m_eventLogId, &m_maintenanceEventId};
    }

    /// Lets messages in.
    void run() { m_state = FACE::LCM::Halvex::ReportedState::RUNNING; }
};

#endif
