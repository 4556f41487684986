#ifndef VICTORY_ORVANESERVER_FAULTCONSOLE_H
#define VICTORY_ORVANESERVER_FAULTCONSOLE_H

#include "VICTORY/OrvaneServer/BusService.h"
#include "VICTORY/Utilities/VictoryFaultHelper.h"

#include <atomic>
#include <cstdint>
#include <string>

/// The turns of a tester's console, with the bus service as what faults are raised in. The worker thread alone, and
/// before it runs the main thread; `isTellDisabled` is for any thread.
class FaultConsole {
public:
    /// @param name     leading text of its lines
    /// @param service  must outlive this
    FaultConsole(const std::string& name, BusService& service) : m_service(service), m_victoryFaultHelper(name) {}

    /// Offers the service that runs to the tester, or takes it away.
    void offerService();

    /// Takes one key, if one waits. The service can't be ended meanwhile. After a restart it is another one, without
    /// faults.
    void turn();

    /// A tester wants nothing to be published by group.
    bool isTellDisabled() const { return m_tellDisabled; }

private:
    BusService& m_service;
    VictoryFaultHelper m_victoryFaultHelper;
    std::uint32_t m_faultHelperGeneration = 0;  // the start of the service that it knows
    std::atomic<bool> m_tellDisabled = false;
};

#endif
