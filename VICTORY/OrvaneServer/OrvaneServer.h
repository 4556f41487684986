#ifndef VICTORY_ORVANESERVER_ORVANESERVER_H
#define VICTORY_ORVANESERVER_ORVANESERVER_H

#include "ASPN/AspnDeviceIds.h"
#include "face/FACE_Common.h"
#include "face/FACE_LCM.h"
#include "face/FACE_String.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <set>
#include <string>
#include <thread>

/// The section of the top-level configuration file that describes the unit.
inline constexpr const char* SYST_NAME = "Halvex";

/// The service: one instance a process, walked by the process entry through its life cycle on the main thread. While
/// it runs, a worker thread does the periodic work.
///
///     stopped --START--> running --STOP--> stopped
///
/// The worker thread must have been stopped before the instance is destroyed.
class OrvaneServer : public FACE::LCM::Initializable::InitializableInstance,
                     public FACE::LCM::Configurable::ConfigurableInstance,
                     public FACE::LCM::Connectable::ConnectableInstance,
                     public FACE::LCM::Halvex::RequestedState_ReportedState::Stateful::StatefulInstance {
public:
    OrvaneServer();
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

    /// Connects the service to its unit. The file is that of `Configure`, which has named all others; it is not read.
    void Framework_Connect(const FACE::String& file, FACE::RETURN_CODE_TYPE::Value& rc) override;

    /// Undoes `Framework_Connect`: always `NO_ERROR`.
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

    /// Starts the worker thread; one that runs is stopped first. Main thread only.
    void Start();

    /// Stops the worker thread, if it runs, and waits until its turn has ended. Main thread only.
    void Stop();

protected:
    void workerThreadFunction() noexcept;
    void workerTurn();

    // What the service is and does now.
    std::uint8_t m_serverId = 52;
    std::string m_serverName = ASPN2::ServerIds::to_string(m_serverId);
    std::atomic<std::int32_t> m_state = FACE::LCM::Halvex::ReportedState::STOPPED;

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

    // The worker.
    std::chrono::milliseconds m_turnPause{250};
    std::atomic<bool> m_workerStop = false;
    std::thread m_workerThread;

private:
    void readSettings(const FACE::String& file, std::uint16_t& priority, std::uint16_t& cpu,
                      FACE::RETURN_CODE_TYPE::Value& code);
    void applyScheduling(std::uint16_t priority, std::uint16_t cpu, FACE::RETURN_CODE_TYPE::Value& code);
    void printParameters(std::uint16_t priority, std::uint16_t cpu) const;
    void takeClearDataTimeouts(const std::string& list);
    void takeGssipSources(const std::string& list);
};

#endif
