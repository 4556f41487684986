#ifndef TESTS_VICTORY_ORVANESERVER_SERVERDOOR_H
#define TESTS_VICTORY_ORVANESERVER_SERVERDOOR_H

#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "VICTORY/OrvaneServer/BusService.h"
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
#include "tests/support/HealthEvents.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A server, and what tests may do with it beside its public operations: what its unit, the bus library and a tester do
/// to it, and what these could see of it. The one place of the tests that knows how the server is made. What a part of
/// it does inside is for that part's own tests.
///
/// The library's own operations are those of a `VictoryRecorder`, which must be there before the bus is started.
class ServerDoor {
public:
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

    /// The bus library is to find its two files under "config" and "vcl", unless the settings are changed.
    explicit ServerDoor(const std::string& sensorFile = OrvaneBitResults::kSensorFile);
    ~ServerDoor();
    ServerDoor(const ServerDoor&) = delete;
    ServerDoor& operator=(const ServerDoor&) = delete;

    /// The server, by its public operations.
    OrvaneServer& operator*() const;
    OrvaneServer* operator->() const;

    /// To be changed while no other thread looks at them.
    ServerSettings& settings() const;

    // What the unit sends. It is heard from START to STOP.

    /// START, and the end of the worker, whose turns are the tests' own then. It may have taken some already.
    void run();

    /// STOP.
    void halt();

    /// One of the five inputs that are messages of their own, or a report of built-in tests.
    template <class Message>
    void deliver(const Message& message);
    void fromReceiver(const aspn2_msgs::idl::GSSIP& record);
    void toReceiver(const aspn2_msgs::idl::GSSIP& record);
    void command(const aspn2_msgs::idl::CommandResponse& message);
    void response(const aspn2_msgs::idl::CommandResponse& message);

    /// Lets all services of the unit answer with their part numbers, and the exchange end.
    void collectPartNumbers();

    // The worker.

    void turn();
    std::chrono::milliseconds& turnPause();

    /// In place of the two steps of a turn that may be replaced, if they are set. Set them before the worker runs.
    std::function<void()> onFaultTest;
    std::function<void()> onBlendedNavigation;

    // The bus library's service.

    BusService& bus() const;
    Library busLibrary() const;
    static Library libraryWithoutContext() { return {nullptr, nullptr}; }

    /// What the library prints. @return how much of it was taken
    unsigned libraryPrints(const char* text, unsigned length);

    /// Maps a client's request, null for one without data, and carries it out; false if it was refused. A call-back
    /// doesn't come this far while the service is down.
    bool processClearDataRequest(VapntcSystemData* data);

    // What is to be told: the bus is told it later, some of it once.

    std::vector<VapntcNavWarSaThreat> threats() const;
    std::vector<VapntcWarningMessage> warnings() const;
    bool isSanitizeRequested() const;

    // Commanded operations, which are units of their own.

    OrvaneBitResults& builtInTests();
    ClearDataCommand& clearData();

private:
    struct Server;
    std::unique_ptr<Server> m_server;
};

#endif
