#ifndef TESTS_VICTORY_ORVANESERVER_SERVERDOOR_H
#define TESTS_VICTORY_ORVANESERVER_SERVERDOOR_H

#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/Utilities/ClearDataCommand.h"
#include "VICTORY/libvictory/victory.h"
#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

/// A server, and what tests may do with it beside its public operations: what its unit, the bus library and a tester do
/// to it, and what these could see of it. The one place of the tests that knows how the server is made.
///
/// The library's own operations are those of a `VictoryRecorder`, which must be there before the bus is started.
class ServerDoor {
public:
    /// As the top-level file gives them, with the files of the bus library and of the self test.
    struct Settings {
        std::string systemName;
        std::string configurationName;
        std::string connectionsFile;
        std::string ioDevicesFile;
        bool debug = false;
        bool quiet = true;
        bool testMode = false;
        std::uint8_t utcSource = 0;  // 0 accepts every source, here and below
        std::uint8_t pvaSource = 0;
        std::uint8_t misSource = 0;
        std::uint8_t pntSource = 0;
        std::string gssipSourceList;          // as the file lists them
        std::set<std::uint8_t> gssipSources;  // an empty set accepts none
        std::uint64_t clearDataRequestSeconds = 0;
        std::uint64_t clearDataInProgressSeconds = 0;
        std::uint32_t bitTimeoutSeconds = 0;
        std::string busConfigurationFile;
        std::string vclFile;
        std::string flagDirectory;
        bool allOutputs = false;
    };

    /// The inputs of a Blended Navigation record.
    enum class Input { UtcTime, Pva, Pnt, Mis, Assurance, Receiver };

    /// Where the exchange of part numbers stands.
    struct PartNumbers {
        bool isRequestDue = false;
        bool isComplete = false;
        std::map<std::string, bool> answered;  // the expected components
    };

    /// The call-backs of the bus library, as it makes them, whether its service runs or not.
    class Library {
    public:
        Library(void* context, VapntsService* service) : m_context(context), m_service(service) {}

        int saveVcl(const char* text) const;
        void tellThreats() const;
        void tellWarnings() const;
        int clearSystemData(VapntcSystemData* data) const;
        void tellConfiguration() const;

    private:
        void* m_context;
        VapntsService* m_service;
    };

    using Clock = std::chrono::steady_clock;

    explicit ServerDoor(const std::string& sensorFile = OrvaneBitResults::kSensorFile);
    ~ServerDoor();
    ServerDoor(const ServerDoor&) = delete;
    ServerDoor& operator=(const ServerDoor&) = delete;

    /// The server, by its public operations.
    OrvaneServer& operator*() const;
    OrvaneServer* operator->() const;

    // Settings, to be changed while no other thread looks at them.

    Settings settings() const;
    void change(const std::function<void(Settings&)>& how);
    void setQuiet(bool isQuiet);
    void setDebug(bool isDebug);
    void useBusFiles(const std::string& configuration, const std::string& vcl);

    // What the unit sends. It is heard from `run` to `halt`, which change the state alone.

    void run();
    void halt();
    void deliver(const aspn2_msgs::idl::UTCTime& message);
    void deliver(const aspn2_msgs::idl::PositionVelocityAttitude& message);
    void deliver(const aspn2_msgs::idl::HalvexPNT& message);
    void deliver(const aspn2_msgs::idl::MeasurementIncorporationStatus& message);
    void deliver(const aspn2_msgs::idl::AssuranceState& message);
    void deliver(const aspn2_msgs::idl::BitReport& report);
    void fromReceiver(const aspn2_msgs::idl::GSSIP& record);
    void toReceiver(const aspn2_msgs::idl::GSSIP& record);
    void command(const aspn2_msgs::idl::CommandResponse& message);
    void response(const aspn2_msgs::idl::CommandResponse& message);

    /// Counts the GPS measurements of a message, and does nothing else with it.
    void measure(const aspn2_msgs::idl::MeasurementIncorporationStatus& message);

    /// Uses this transport from now on, whose connections have the ids from `firstId` on; none for null.
    void useTransport(std::shared_ptr<FACE::TSS::HX_TSS> transport, long long firstId = 0);
    bool hasTransport() const;

    /// Publishes a command; false if it can't be.
    bool sendCommand(const std::string& text);

    // The worker.

    void turn();
    std::chrono::milliseconds turnPause() const;
    void setTurnPause(std::chrono::milliseconds pause);
    std::thread::id worker() const;  ///< that of no thread if there is none

    /// In place of the two steps of a turn that may be replaced, if they are set. Set them before the worker runs.
    std::function<void()> onFaultTest;
    std::function<void()> onBlendedNavigation;

    /// Carries out the orders to sanitize that wait.
    void sanitize();
    bool isSanitizeRequested() const;

    // The bus library's service.

    /// @param vclText  null for that of the file
    bool startBus(const char* vclText = nullptr);
    bool stopBus();
    bool restartBus(unsigned long periodMs);
    bool busRuns() const;
    VapntsService* busService() const;  ///< the latest that was made; null before the first
    Library library() const;
    static Library libraryWithoutContext() { return {nullptr, nullptr}; }

    /// What the library prints. @return how much of it was taken
    unsigned libraryPrints(const char* text, unsigned length);

    /// Lets the library run built-in tests, as the end of the self test does.
    void offerBuiltInTests();

    /// A tester's switch: nothing is published by group.
    void setTellDisabled(bool isDisabled);
    bool isTellDisabled() const;

    /// Takes a tester's key, without offering the running service to him first.
    void takeFaultKey();

    // What is told.

    std::set<Input> newInputs() const;
    aspn2_msgs::idl::PositionVelocityAttitude latestPva() const;
    aspn2_msgs::idl::GSSIP latestReceiverRecord() const;
    aspn2_msgs::idl::UTCTime latestTime() const;
    bool isGpsLost() const;

    /// Runs this while nobody else can read or write the time that is told.
    void whileTimeIsHeld(const std::function<void()>& action);

    /// The source that a measurement is told by; null if there is none.
    const VapntcMeasSource* encodeVictoryMeasSource(unsigned short id) const;

    std::vector<VapntcNavWarSaThreat> threats() const;
    void processThreatReport();    ///< if one waits
    bool encodeVictoryNavWarSA();  ///< the latest report once more; whether there was a threat in it

    std::vector<VapntcWarningMessage> warnings() const;
    bool warn(const VapntcWarningMessage& warning);
    bool warn(const std::string& text);
    bool warnOfEnd(ClearDataCommand::ClearDataType type, bool isPassed, const std::string& text);
    std::uint32_t encodeVictoryWarningId(unsigned short number) const;

    // The configuration that is told, and the part numbers of which it is made.

    VapntcSystemConfiguration configuration() const;
    void changeConfiguration(const std::function<void(VapntcSystemConfiguration&)>& how);
    void setConfigurationHead(const std::string& name, const std::string& serialNumber, const std::string& software,
                              const std::string& hardware, const std::string& manufacturerCode);

    /// Tells the library an empty configuration.
    void wipeConfiguration();

    /// Writes a row, a new one for -1; false if there is no room.
    bool updateComponentConfiguration(int index, const std::string& id, const std::string& name,
                                      const std::string& serialNumber, const std::string& software,
                                      const std::string& hardware);

    /// The row that was found and cleared, -1 if there is none.
    int findAndClearComponentConfiguration(const std::string& id, const std::string& name);

    PartNumbers partNumbers() const;
    void partNumberTurn();
    void setPartNumberRequestDue(bool isDue);
    void setPartNumbersComplete();
    bool awaitPartNumbers(int seconds);
    void wakeThoseWhoAwaitPartNumbers();
    void setPartNumberClock(Clock::time_point (*now)());

    bool isSelfTestOver() const;
    void setSelfTestOver();

    // Commanded operations, which are units of their own.

    /// Maps a client's request, null for one without data, and carries it out; false if it was refused.
    bool processClearDataRequest(VapntcSystemData* data);

    OrvaneBitResults& builtInTests();
    ClearDataCommand& clearData();

private:
    class Server;
    std::unique_ptr<Server> m_server;
};

/// The next health event of this process as "<type>:<text>"; "none" if there is none.
std::string popHealthEvent();

/// All that wait, in their order.
std::vector<std::string> popHealthEvents();

#endif
