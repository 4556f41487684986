#ifndef VICTORY_ORVANESERVER_ORVANESERVER_H
#define VICTORY_ORVANESERVER_ORVANESERVER_H

#include "ASPN/AspnCmdResponse.h"
#include "ASPN/AspnDeviceIds.h"
#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "VICTORY/OrvaneServer/BlendedNavigation.h"
#include "VICTORY/OrvaneServer/BusService.h"
#include "VICTORY/OrvaneServer/FaultConsole.h"
#include "VICTORY/OrvaneServer/GpsAvailability.h"
#include "VICTORY/OrvaneServer/LatestTime.h"
#include "VICTORY/OrvaneServer/NavInputs.h"
#include "VICTORY/OrvaneServer/NavWarAwareness.h"
#include "VICTORY/OrvaneServer/PartNumbers.h"
#include "VICTORY/OrvaneServer/SanitizeOrders.h"
#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "VICTORY/OrvaneServer/TopicWiring.h"
#include "VICTORY/OrvaneServer/Warnings.h"
#include "VICTORY/Utilities/ClearDataCommand.h"
#include "VICTORY/libvictory/victory.h"
#include "face/FACE_Common.h"
#include "face/FACE_LCM.h"
#include "face/FACE_String.h"
#include "utilities/COutputRedirector.h"
#include "utilities/StopFlag.h"
#include "utilities/ThreadPulse.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <thread>
#include <vector>

class GssipMcsq;

namespace FACE::IOSS {

class HX_Devmem;

}  // namespace FACE::IOSS

/// The service: one instance a process, walked by the process entry through its life cycle on the main thread. While
/// it runs, a worker thread does the periodic work.
///
///     stopped --START--> running --STOP--> stopped
///
/// It wires its units to each other, and has no rule and no lock of its own. What arrives from the unit is handed to
/// them on threads of the transport, and dropped while the state is stopped; the bus library calls back on threads of
/// its own.
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
    virtual void attemptBlendedNavigationProcessing();

    /// How many times inputs were joined, modulo 2^32; any thread.
    std::uint32_t joins() const { return m_inputs.joins(); }

    /// The pulses of the worker, the queue reader and the event publisher, for as long as this lives.
    std::vector<const ThreadPulse*> threads() const;

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
    void workerTurn();

    /// Silences the bus and wipes the configuration, once for each order that waits. A stop of the worker ends it.
    void carryOutSanitizeOrders();

    // What arrives from the unit. Nothing leaves these call-backs but by their own reports.
    void cbBitReport(const BitReport& report);
    void cbCmd(const CommandResponse& command);
    void cbRsp(const CommandResponse& response);
    void cbPVA(const PositionVelocityAttitude& message);
    void cbUTCTime(const UTCTime& message);
    void cbHalvexPNT(const HalvexPNT& message);
    void cbMeasurementIncorporationStatus(const MeasurementIncorporationStatus& message);
    void cbAssuranceState(const AssuranceState& message);
    void cbHxGssip(const GSSIP& message);
    void cbZentorGssip(const GSSIP& message);

    /// Publishes a command to the other services; false, with an event, if it can't be. Any thread.
    bool sendCommandResponseMessage(const std::string& text);

    // The bus library's service.

    /// Starts it, with the VCL text or, for null, with that of the file. True if it runs and the sensors' file could be
    /// used; at once if it runs already.
    bool InitializeVictory(const char* vclText);

    /// Ends it, and waits for its call-backs; false if it doesn't run.
    bool ShutdownVictory();

    /// Restarts it with another period of Blended Navigation and NavWar awareness, in ms. False, with nothing
    /// done but a console line, for less than 1000; else true, also when the start fails, as an event tells then. The
    /// VCL file stays as it is. Not from a call-back of the library.
    bool updateVDMdataRate(unsigned long periodMs);

    /// Lets the library run built-in tests, once the unit's own is over.
    void performPOSTcomplete();

    /// Takes what the library prints: a fault of its SOAP service becomes maintenance records.
    /// @return `length` if the text was taken, 0 if it is to be printed
    unsigned int logMaintenanceEvent(const char* text, unsigned int length);

    // Call-backs of the library, on its threads; the context is the instance.
    static int cbSaveVclidCallback(void* context, VapntsService* service, const char* vclText) noexcept;
    static void cbTellNavWarSaCallback(void* context, VapntsService* service) noexcept;
    static void cbTellWarningMessagesCallback(void* context, VapntsService* service) noexcept;
    static int cbClearSystemDataCallback(void* context, VapntsService* service, VapntcSystemData* data) noexcept;
    static void cbTellSystemConfigurationCallback(void* context, VapntsService* service) noexcept;

    /// Hands a client's request to the clear-data operation, and answers as that does; false if the request goes no
    /// further, but true, with an event, while the bus library's service doesn't run.
    bool processClearDataRequest(VapntsService* service, VapntcSystemData* data);

    /// Tells the bus library the record of inputs that belong together; a fault if its service doesn't run.
    void encodeVictoryBlendedNavigation(const NavInputs::Joined& inputs);

    // The members are destroyed in reverse order: first the redirection and what calls back, last what is stored.

    ServerSettings m_settings;
    std::atomic<std::int32_t> m_state = FACE::LCM::Halvex::ReportedState::STOPPED;
    std::atomic<bool> m_postCompleteSeen = false;
    bool m_allOutputs = false;  // nothing sets it; selects the longer list of outputs

    // What came from the unit, and what is told of it.
    NavInputs m_inputs{m_settings};
    LatestTime m_time;
    GpsAvailability m_gpsAvailability;
    BlendedNavigation::MeasSources m_measSources;
    NavWarAwareness m_navWar{m_settings, m_time};
    Warnings m_warnings{m_settings, m_time};
    SanitizeOrders m_sanitizeOrders{m_settings};

    // The bus library's service.
    BusService m_bus;

    // The worker.
    std::chrono::milliseconds m_turnPause{NavInputs::kBetweenLooks};
    StopFlag m_workerStop;
    ThreadPulse m_workerPulse;
    std::thread m_workerThread;

    // Commanded operations. The wait for part numbers goes before they do.
    OrvaneBitResults m_bitResults;
    ClearDataCommand m_clearDataCommand;
    FaultConsole m_faultConsole;
    PartNumbers m_partNumbers{m_settings, m_bus};

    // The unit's transport and platform. The process-wide reporters must not outlive the transport with a reference to
    // it.
    struct ReporterGuard {
        bool started = false;
        ~ReporterGuard();
    };
    TopicWiring m_wiring{m_settings};
    ASPN2::DeviceIdFactory m_deviceIdFactory;
    ASPN2::CmdResponse m_cmdResponse;
    std::shared_ptr<FACE::IOSS::HX_Devmem> m_devmem;
    ReporterGuard m_reporters;

    const std::shared_ptr<ThreadPulse> m_queuePulse = std::make_shared<ThreadPulse>();
    std::shared_ptr<GssipMcsq> m_gssipMcsq;
    COutputRedirector m_outputRedirector;

private:
    bool isRunning() const { return m_state == FACE::LCM::Halvex::ReportedState::RUNNING; }
    void prepareCommandedOperations();
    TopicHandlers topicHandlers();

    /// False if the queues or the memory device can't be had.
    bool connectDevices();
    void startPlatform();

    /// A frame of a record from one of the sources of the settings; empty for any other record, and while stopped.
    std::span<const std::uint8_t> wantedFrame(const GSSIP& message) const;
    void printProcessing(const char* handler, const char* text, std::uint8_t source) const;
    void printProcessed(const char* handler, unsigned messageId, const std::string& source, const GSSIP& message) const;
    void sendResponse(const CommandResponse& response);
    void sanitize();
    int saveVcl(const char* vclText);
    void clearSystemData(VapntsService* service, VapntcSystemData* data);

    BusService::Owner busOwner();
    void redirectOutput();

    /// False if the unit's sensors can't be read.
    bool prepareBus();
    void equipBus(VapntsService* service);
    void initVictoryDefaultManagementData(VapntsService* service);
};

#endif
