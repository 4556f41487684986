#ifndef VICTORY_ORVANESERVER_ORVANESERVER_H
#define VICTORY_ORVANESERVER_ORVANESERVER_H

#include "ASPN/AspnCmdResponse.h"
#include "ASPN/AspnDeviceIds.h"
#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "VICTORY/OrvaneServer/GpsAvailability.h"
#include "VICTORY/OrvaneServer/PublicationList.h"
#include "VICTORY/Utilities/ClearDataCommand.h"
#include "VICTORY/Utilities/VictoryFaultHelper.h"
#include "VICTORY/libvictory/victory.h"
#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "face/FACE_Common.h"
#include "face/FACE_LCM.h"
#include "face/FACE_String.h"
#include "face/HX_TypedTS.h"
#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "utilities/COutputRedirector.h"
#include "utilities/SharedMutex.h"
#include "utilities/ThreadAnnotations.h"
#include "utilities/VersionStatus.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

class GssipMcsq;

namespace FACE::IOSS {

class HX_Devmem;

}  // namespace FACE::IOSS

/// The section of the top-level configuration file that describes the unit.
inline constexpr const char* SYST_NAME = "Halvex";

/// The service: one instance a process, walked by the process entry through its life cycle on the main thread. While
/// it runs, a worker thread does the periodic work.
///
///     stopped --START--> running --STOP--> stopped
///
/// What arrives from the unit is stored by call-backs on threads of the transport, and dropped while the state is
/// stopped. The bus library calls back on threads of its own. Locks are taken in this order, those in one pair of
/// brackets never together:
///
///     m_lifeCycleMutex, { m_apntConfigurationMutex, m_serviceGate | the lock of m_bitResults }
///     the locks of the GSSIP channel, { m_threatDataMutex, { m_timeMutex | m_threatListMutex } |
///                                       m_navDataMutex, m_serviceGate | m_warningListMutex }
///     the lock of m_clearDataCommand, m_warningListMutex
///     m_partNumberMutex alone
///
/// The worker thread must have been stopped, and `Framework_Disconnect` called, before the instance is destroyed.
class OrvaneServer : public FACE::LCM::Initializable::InitializableInstance,
                     public FACE::LCM::Configurable::ConfigurableInstance,
                     public FACE::LCM::Connectable::ConnectableInstance,
                     public FACE::LCM::Halvex::RequestedState_ReportedState::Stateful::StatefulInstance {
public:
    /// @param sensorFile  the list of the unit's sensors
    explicit OrvaneServer(const std::string& sensorFile = OrvaneBitResults::kSensorFile);
    ~OrvaneServer() override;
    OrvaneServer(const OrvaneServer&) = delete;
    OrvaneServer& operator=(const OrvaneServer&) = delete;

    /// Nothing to do: `NO_ACTION`.
    void Initialize(FACE::RETURN_CODE_TYPE::Value& rc) override;

    /// Nothing to do: `NO_ACTION`.
    void Finalize(FACE::RETURN_CODE_TYPE::Value& rc) override;

    /// Reads the settings from the top-level configuration file, and applies process priority and CPU affinity.
    /// `INVALID_CONFIG` if anything is missing or refused; what is missing is told on the console.
    void Configure(const FACE::String& file, FACE::RETURN_CODE_TYPE::Value& rc) override;

    /// Connects the service to its unit and to the bus. The file is that of `Configure`, which has named all others; it
    /// is not read. `INVALID_CONFIG` if anything fails; whatever can be connected is. Throws `std::runtime_error` if
    /// the FPGA or a reporter can't be started.
    void Framework_Connect(const FACE::String& file, FACE::RETURN_CODE_TYPE::Value& rc) override;

    /// Undoes `Framework_Connect`: always `NO_ERROR`. The queue taps end with the instance.
    void Framework_Disconnect(FACE::RETURN_CODE_TYPE::Value& rc) override;

    /// The reported state; any thread.
    void Query_State(FACE::LCM::Halvex::ReportedState::Value& state, FACE::RETURN_CODE_TYPE::Value& rc) override;

    /// START of a stopped server and STOP of a running one; `NOT_AVAILABLE`, and nothing done, for any other pair.
    void Request_State_Transition(FACE::LCM::Halvex::RequestedState::Value requested,
                                  FACE::RETURN_CODE_TYPE::Value& rc) override;

    /// Lets a tester inject faults from the console; in test mode, once a turn of the worker.
    virtual void checkForFaultTestEvents();

    /// Joins the latest inputs and publishes Blended Navigation; once a turn of the worker.
    virtual void attemptBlendedNavigationProcessing() EXCLUDES(m_navDataMutex);

    /// Starts the worker thread; one that runs is stopped first. Main thread only.
    void Start();

    /// Stops the worker thread, if it runs, and waits until its turn has ended. Main thread only.
    void Stop();

protected:
    using BitReport = aspn2_msgs::idl::BitReport;
    using CommandResponse = aspn2_msgs::idl::CommandResponse;
    using PositionVelocityAttitude = aspn2_msgs::idl::PositionVelocityAttitude;
    using UTCTime = aspn2_msgs::idl::UTCTime;
    using HalvexPNT = aspn2_msgs::idl::HalvexPNT;
    using MeasurementIncorporationStatus = aspn2_msgs::idl::MeasurementIncorporationStatus;
    using AssuranceState = aspn2_msgs::idl::AssuranceState;
    using GSSIP = aspn2_msgs::idl::GSSIP;

    void workerThreadFunction() noexcept;
    void reportWorkerException(const char* what);
    void workerTurn();

    /// Silences the bus and wipes the configuration, once for each order that came since.
    void carryOutSanitizeOrders() EXCLUDES(m_lifeCycleMutex, m_serviceGate);

    // What arrives from the unit. Nothing leaves these call-backs but by their own reports.
    void cbBitReport(const BitReport& report);
    void cbCmd(const CommandResponse& command);
    void cbRsp(const CommandResponse& response);
    void cbPVA(const PositionVelocityAttitude& message) EXCLUDES(m_navDataMutex);
    void cbUTCTime(const UTCTime& message) EXCLUDES(m_navDataMutex, m_timeMutex);
    void cbHalvexPNT(const HalvexPNT& message) EXCLUDES(m_navDataMutex);
    void cbMeasurementIncorporationStatus(const MeasurementIncorporationStatus& message) EXCLUDES(m_navDataMutex);
    void cbAssuranceState(const AssuranceState& message) EXCLUDES(m_navDataMutex);
    void cbHxGssip(const GSSIP& message) EXCLUDES(m_threatDataMutex);
    void cbZentorGssip(const GSSIP& message) EXCLUDES(m_navDataMutex);
    void storeGpsAvailability(const MeasurementIncorporationStatus& message);

    /// Publishes a command to the other services; false, with an event, if it can't be. Any thread.
    bool sendCommandResponseMessage(const std::string& text);

    // The bus library's service.

    /// Starts it, with the VCL text or, for null, with that of the file. True if it runs and the sensors' file could be
    /// used; at once if it runs already.
    bool InitializeVictory(const char* vclText) EXCLUDES(m_lifeCycleMutex, m_serviceGate);

    /// Ends it, and waits for its call-backs; false if it doesn't run.
    bool ShutdownVictory() EXCLUDES(m_lifeCycleMutex, m_serviceGate);

    /// Restarts it with another period of Blended Navigation and NavWar awareness, in ms. False, and nothing done, for
    /// less than 1000. The VCL file stays as it is. Not from a call-back of the library.
    bool updateVDMdataRate(unsigned long periodMs) EXCLUDES(m_lifeCycleMutex, m_serviceGate);

    /// Lets the library run built-in tests, once the unit's own is over.
    void performPOSTcomplete() EXCLUDES(m_serviceGate);

    /// Takes what the library prints: a fault of its SOAP service becomes maintenance records.
    /// @return `length` if the text was taken, 0 if it is to be printed
    unsigned int logMaintenanceEvent(const char* text, unsigned int length);

    // Call-backs of the library, on its threads; the context is the instance.
    static int cbSaveVclidCallback(void* context, VapntsService* service, const char* vclText) noexcept;
    static void cbTellNavWarSaCallback(void* context, VapntsService* service) noexcept;
    static void cbTellWarningMessagesCallback(void* context, VapntsService* service) noexcept;
    static int cbClearSystemDataCallback(void* context, VapntsService* service, VapntcSystemData* data) noexcept;
    static void cbTellSystemConfigurationCallback(void* context, VapntsService* service) noexcept;

    // Blended Navigation.
    void encodeVictoryBlendedNavigation(const UTCTime& utcTime, const HalvexPNT& pnt,
                                        const MeasurementIncorporationStatus& mis, const PositionVelocityAttitude& pva,
                                        const AssuranceState& assurance, unpacked_msg8504_t receiver)
        EXCLUDES(m_serviceGate);
    static void set_VictoryTime(VapntcTime& time, const UTCTime& utcTime, bool print);
    void initMeasSourceEncoder();

    /// The source row of an id; null if there is none.
    const VapntcMeasSource* encodeVictoryMeasSource(unsigned short id) const;

    // NavWar awareness.
    void attemptNavWarSaProcessing() EXCLUDES(m_threatDataMutex);
    bool encodeVictoryNavWarSA() REQUIRES(m_threatDataMutex) EXCLUDES(m_timeMutex, m_threatListMutex);
    void appendThreatToList(const VapntcNavWarSaThreat& threat) EXCLUDES(m_threatListMutex);
    void tellNavWarSa(VapntsService* service) EXCLUDES(m_threatListMutex);

    // Warnings.
    void initWarningIdEncoder();
    std::uint32_t encodeVictoryWarningId(unsigned short number) const;
    void handleBlock5044(const unsigned char* frame, unsigned int length);
    bool appendWarningToList(const VapntcWarningMessage& warning) EXCLUDES(m_warningListMutex);
    bool sendVDBcustomWarning(std::string text) EXCLUDES(m_warningListMutex);
    bool sendVDBCompleteWarning(ClearDataCommand::ClearDataType type, bool success, std::string text)
        EXCLUDES(m_warningListMutex);
    void tellWarningMessages(VapntsService* service) EXCLUDES(m_timeMutex, m_warningListMutex);

    // Management data and system configuration.
    bool initVictoryDefaultManagementData() REQUIRES(m_lifeCycleMutex) EXCLUDES(m_apntConfigurationMutex);
    bool initVictoryDefaultVDMData() REQUIRES(m_lifeCycleMutex);
    void updateSystemConfiguration(const std::string& name, const std::string& serialNumber,
                                   const std::string& software, const std::string& hardware,
                                   const std::string& manufacturerCode) REQUIRES(m_apntConfigurationMutex);
    void tellSystemConfiguration() REQUIRES(m_apntConfigurationMutex) EXCLUDES(m_serviceGate);
    void awaitSystemConfiguration() EXCLUDES(m_partNumberMutex);
    void clearApntConfiguration() REQUIRES(m_apntConfigurationMutex) EXCLUDES(m_serviceGate);

    // Part numbers.
    void processPartNumbers();
    void handlePartNumberResponses(const std::string& text, const unsigned char& serverId, unsigned char topicId)
        EXCLUDES(m_apntConfigurationMutex);
    bool waitForPartNumberResponses(int seconds) EXCLUDES(m_partNumberMutex);
    bool updateComponentConfiguration(int index, const std::string& id, const std::string& name,
                                      const std::string& serialNumber, const std::string& software,
                                      const std::string& hardware) REQUIRES(m_apntConfigurationMutex);
    void updateTARVOComponentConfiguration(VersionStatus& status, const std::string& id, const std::string& name)
        REQUIRES(m_apntConfigurationMutex);
    int findAndClearComponentConfigurationByIdAndName(const std::string& id, const std::string& name)
        REQUIRES(m_apntConfigurationMutex);

    // Clear data.
    bool processClearDataRequest(VapntsService* service, VapntcSystemData* data);

    // The members are destroyed in reverse order: first the redirection and what calls back, last what is stored.

    // What the service is and does now.
    std::uint8_t m_serverId = 52;
    std::string m_serverName = ASPN2::ServerIds::to_string(m_serverId);
    std::atomic<std::int32_t> m_state = FACE::LCM::Halvex::ReportedState::STOPPED;
    std::atomic<bool> m_postCompleteSeen = false;
    std::atomic<bool> m_sanitizeRequested = false;  // for good: the unit ends with it
    std::atomic<int> m_sanitizeOrders = 0;          // that the worker has not begun
    std::atomic<bool> m_tellDisabled = false;       // by a tester: nothing is published by group

    // Settings of the top-level file. Written by `Configure` alone, before there is another thread.
    FACE::String m_systemName;
    FACE::String m_configurationName;  // read, and used by nothing
    FACE::String m_connectionsFile;
    FACE::String m_ioDevicesFile;
    bool m_debug = false;
    bool m_quiet = true;
    bool m_testMode = false;
    std::uint8_t m_pvaSourceServerId = 0;  // 0 accepts every source, here and below
    std::uint8_t m_utcSourceServerId = 0;
    std::uint8_t m_misSourceServerId = 0;
    std::uint8_t m_fusionPNTSourceServerId = 0;
    FACE::String m_gssipSourceServerSet;          // as the file lists them
    std::set<std::uint8_t> m_gssipSourceServers;  // an empty set accepts none
    std::uint64_t m_clearDataInProgressTimeoutSeconds = 7200;
    std::uint64_t m_clearDataRequestTimeoutSeconds = 12;
    std::uint32_t m_BITtimeoutSeconds = 25;

    // Files of the bus library.
    std::string m_victoryConfigurationFile = "/opt/halvex/config/APNTServiceConfig_1_9.xml";
    std::string m_vclFile = "/opt/halvex/config/APNT_VCL_1_9.xml";
    std::string m_flagDirectory = "/tmp";

    // The latest of each input, and whether it came since the last output.
    Mutex m_navDataMutex;
    PositionVelocityAttitude m_pva GUARDED_BY(m_navDataMutex);
    UTCTime m_utcTime GUARDED_BY(m_navDataMutex);
    HalvexPNT m_fusionPNT GUARDED_BY(m_navDataMutex);
    MeasurementIncorporationStatus m_mis GUARDED_BY(m_navDataMutex);
    AssuranceState m_assuranceState GUARDED_BY(m_navDataMutex);
    GSSIP m_8504 GUARDED_BY(m_navDataMutex);
    bool m_hasPVA GUARDED_BY(m_navDataMutex) = false;
    bool m_hasUTCTime GUARDED_BY(m_navDataMutex) = false;
    bool m_hasFusionPNT GUARDED_BY(m_navDataMutex) = false;
    bool m_hasMIS GUARDED_BY(m_navDataMutex) = false;
    bool m_hasAssuranceState GUARDED_BY(m_navDataMutex) = false;
    bool m_has8504 GUARDED_BY(m_navDataMutex) = false;

    // The time for what is told at other moments; it is never cleared.
    Mutex m_timeMutex;
    UTCTime m_latestTime GUARDED_BY(m_timeMutex);
    std::atomic<double> m_gpsSeconds = 0.0;  // of the GPS week

    // GPS measurements, seen by one thread alone but for the flag.
    GpsAvailability m_gpsAvailRing;
    std::atomic<bool> m_gpsLost = false;

    // Threats: the report at hand, and what waits for the library.
    Mutex m_threatDataMutex;
    ThreatData m_threatData GUARDED_BY(m_threatDataMutex);
    bool m_threatReportWaits GUARDED_BY(m_threatDataMutex) = false;
    Mutex m_threatListMutex;
    PublicationList<VapntcNavWarSaThreat, VAPNTC_MAX_ROWS> m_threats GUARDED_BY(m_threatListMutex);

    // Warnings, which stay until newer ones push them out.
    Mutex m_warningListMutex;
    PublicationList<VapntcWarningMessage, VAPNTC_MAX_ROWS> m_warnings GUARDED_BY(m_warningListMutex);

    // The tables of the encoders, once the bus service has been started.
    std::atomic<std::size_t> m_measSourceRows = 0;
    std::atomic<std::size_t> m_warningIdRows = 0;

    // Part numbers and the configuration that is told.
    std::atomic<bool> m_requestPartNumbers = true;
    std::chrono::steady_clock::time_point m_lastPartNumberRequest = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point (*m_steadyNow)() = &std::chrono::steady_clock::now;
    Mutex m_apntConfigurationMutex;
    std::map<std::string, bool> m_partNumberResponses GUARDED_BY(m_apntConfigurationMutex);
    VapntcSystemConfiguration m_systemConfiguration GUARDED_BY(m_apntConfigurationMutex) = {};
    bool m_allOutputs = false;  // nothing sets it; selects the longer list of outputs

    // The bus library's service. Whoever calls it from outside its own call-backs does so through `whileStarted`.
    Mutex m_lifeCycleMutex;  // never in a call-back of the library: the end of the service waits for those
    SharedMutex<LockRank::Gate> m_serviceGate;
    std::atomic<VapntsService*> m_service = nullptr;  // null until the first start, and not cleared by the end
    std::atomic<bool> m_victoryStarted = false;
    bool m_hasService GUARDED_BY(m_lifeCycleMutex) = false;  // m_service is made, and not deleted yet
    std::atomic<std::uint32_t> m_victoryGeneration = 0;      // counts its starts
    std::array<char, 65536> m_victoryConfigurationText = {};
    std::array<char, 65536> m_vclText = {};
    std::string m_updatedVclText;  // that the service was restarted with

    // The worker.
    std::chrono::milliseconds m_turnPause{250};
    std::atomic<bool> m_workerStop = false;
    std::thread m_workerThread;

    // Commanded operations.
    OrvaneBitResults m_bitResults;
    ClearDataCommand m_clearDataCommand;
    VictoryFaultHelper m_victoryFaultHelper;    // worker thread only, once that runs
    std::uint32_t m_faultHelperGeneration = 0;  // the start of the service that it knows

    // The wait for part numbers goes before the commanded operations do.
    Mutex m_partNumberMutex;
    std::condition_variable_any m_partNumbersArrived;
    std::atomic<bool> m_partNumbersComplete = false;  // set under m_partNumberMutex

    // The unit's transport.
    std::shared_ptr<FACE::TSS::HX_TSS> m_tss;
    template <class T>
    using Transport = std::shared_ptr<FACE::TSS::Details::HX_TypedTS<T>>;
    Transport<BitReport> m_bitReportTS;
    Transport<CommandResponse> m_commandResponseTS;  // of both commands and responses
    Transport<PositionVelocityAttitude> m_pvaTS;
    Transport<UTCTime> m_utcTimeTS;
    Transport<MeasurementIncorporationStatus> m_misTS;
    Transport<HalvexPNT> m_halvexPNTTS;
    Transport<AssuranceState> m_assuranceStateTS;
    Transport<aspn2_msgs::idl::EventLog> m_eventLogTS;
    Transport<aspn2_msgs::idl::MaintenanceEvent> m_maintenanceEventTS;
    long long m_bitReportId = -1;
    long long m_commandId = -1;
    long long m_responseId = -1;
    long long m_pvaId = -1;
    long long m_utcTimeId = -1;
    long long m_halvexPNTId = -1;
    long long m_misId = -1;
    long long m_assuranceStateId = -1;
    long long m_eventLogId = -1;
    long long m_maintenanceEventId = -1;
    ASPN2::DeviceIdFactory m_deviceIdFactory;
    ASPN2::CmdResponse m_cmdResponse;

    // The unit's platform. The process-wide reporters must not outlive the transport with a reference to it.
    struct ReporterGuard {
        bool started = false;
        ~ReporterGuard();
    };
    std::shared_ptr<FACE::IOSS::HX_Devmem> m_devmem;
    ReporterGuard m_reporters;

    std::shared_ptr<GssipMcsq> m_gssipMcsq;
    COutputRedirector m_outputRedirector;

private:
    void readSettings(const FACE::String& file, std::uint16_t& priority, std::uint16_t& cpu,
                      FACE::RETURN_CODE_TYPE::Value& code);
    void applyScheduling(std::uint16_t priority, std::uint16_t cpu, FACE::RETURN_CODE_TYPE::Value& code);
    void printParameters(std::uint16_t priority, std::uint16_t cpu) const;
    void takeClearDataTimeouts(const std::string& list);
    void prepareCommandedOperations();
    void takeGssipSources(const std::string& list);

    struct ConnectionRow;
    static const std::array<ConnectionRow, 10>& connectionRows();
    void createConnections(FACE::RETURN_CODE_TYPE::Value& code);
    void makeTransports();
    void registerCallbacks(FACE::RETURN_CODE_TYPE::Value& code);
    bool connectDevices();
    void startPlatform();

    bool isRunning() const { return m_state == FACE::LCM::Halvex::ReportedState::RUNNING; }
    void joinLatestInputs() REQUIRES(m_navDataMutex);

    /// Stores a message as the latest of its kind, beside its flag; false, and nothing done, unless it is wanted now and
    /// from its source.
    template <class Message>
    bool storeLatest(const Message& message, std::uint8_t wantedSource, Message OrvaneServer::*latest,
                     bool OrvaneServer::*isNew) EXCLUDES(m_navDataMutex);

    void printProcessing(const char* handler, const char* text, std::uint8_t source) const;
    void printProcessed(const char* handler, unsigned messageId, const std::string& source, const GSSIP& message) const;
    void sendResponse(const CommandResponse& response);
    bool publishCommandResponse(long long connection, const CommandResponse& message);
    void sanitize();

    bool startVictory(const char* vclText) REQUIRES(m_lifeCycleMutex);
    bool shutdownVictory() REQUIRES(m_lifeCycleMutex);
    bool startService(const char* vclText) REQUIRES(m_lifeCycleMutex);

    /// Makes the service of its texts; null, as the library's answer is, if they can't be read.
    VapntsService* makeService(const char* vclText) REQUIRES(m_lifeCycleMutex);

    void discardService() REQUIRES(m_lifeCycleMutex) EXCLUDES(m_serviceGate);
    void deleteService(const char* caller) REQUIRES(m_lifeCycleMutex) EXCLUDES(m_serviceGate);

    /// Calls `call` with the service, and lets nobody end it meanwhile; false, and no call, if it doesn't run.
    template <class Call>
    bool whileStarted(Call&& call) EXCLUDES(m_serviceGate)
    {
        const SharedLock lock(m_serviceGate);
        if (!m_victoryStarted) return false;
        call(m_service.load());
        return true;
    }
};

#endif
