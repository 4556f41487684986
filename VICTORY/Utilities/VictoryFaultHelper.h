#ifndef VICTORY_UTILITIES_VICTORYFAULTHELPER_H
#define VICTORY_UTILITIES_VICTORYFAULTHELPER_H

#include "VICTORY/Utilities/VictoryLibrary.h"
#include "VICTORY/libvictory/victory.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/// Bytes that wait at the standard input; 0 if there is none to be asked, and while another job has the terminal. The
/// first call switches a terminal to keys instead of lines, until a `VictoryFaultHelper` ends.
int _kbhit();

/// The next key at the standard input; `EOF` if none waits. It never waits for a key that another reader took from the
/// terminal.
int readKey();

/// The console of a tester, who raises and removes fake faults in services of the bus, and switches the telling of data
/// off and on, by single keys; "h" lists them. One thread only. It never waits: one key is taken a poll.
///
/// At the end the terminal's settings are put back. Faults are not removed: they end with their service.
class VictoryFaultHelper {
public:
    /// The kinds of service, and none.
    enum FaultMode : std::int32_t {
        NONE = 0,
        POSITION = 1,
        ORIENTATION = 2,
        DIRECTION_OF_TRAVEL = 3,
        GPS_RECEIVER = 4,
        GENERIC_END_NODE = 5,
        APNT = 6
    };

    static constexpr std::size_t kModes = 7;
    static constexpr std::size_t kKeys = 10;

    /// Where keys come from.
    struct Keyboard {
        int (*waiting)();
        int (*read)();
    };

    /// @param name  leading text of lines on the console
    explicit VictoryFaultHelper(const std::string& name, Keyboard keyboard = {&_kbhit, &readKey});
    virtual ~VictoryFaultHelper();
    VictoryFaultHelper(const VictoryFaultHelper&) = delete;
    VictoryFaultHelper& operator=(const VictoryFaultHelper&) = delete;

    /// Offers a service of one of the six kinds to the tester. Null takes it away: its faults can't be reached then.
    template <class T>
    void SetAvailableService(T* service)
    {
        auto& available = m_services[static_cast<std::size_t>(modeOf(service))];
        available.reset();
        if (service) available = service;
    }

    /// Forgets the faults of a kind of service, which have ended with it.
    void forgetFaults(FaultMode mode) { m_faultIds[static_cast<std::size_t>(mode)] = {}; }

    void displayHelpText() const;

    /// Raise or remove the fault of a digit in the present mode.
    /// @param key           0 to 9
    /// @param acknowledged  true: the fault counts as acknowledged from the start
    void activateFault(int key, bool acknowledged);
    void deactivateFault(int key);

    /// Takes one key, if one waits.
    /// @param tellDisabled  true while the tester has stopped what is published by group; the key may turn it
    void ManageFaults(bool& tellDisabled);

private:
    static constexpr FaultMode modeOf(const VpossService*) { return POSITION; }
    static constexpr FaultMode modeOf(const VorisService*) { return ORIENTATION; }
    static constexpr FaultMode modeOf(const VdotsService*) { return DIRECTION_OF_TRAVEL; }
    static constexpr FaultMode modeOf(const VgpssService*) { return GPS_RECEIVER; }
    static constexpr FaultMode modeOf(const VgensService*) { return GENERIC_END_NODE; }
    static constexpr FaultMode modeOf(const VapntsService*) { return APNT; }
    void changeMode(FaultMode mode, const char* changedText);
    std::uint32_t& faultId(int key);

    const std::string m_name;
    const Keyboard m_keyboard;
    FaultMode m_faultMode = NONE;
    std::array<std::array<std::uint32_t, kKeys>, kModes> m_faultIds = {};             // zero where free
    std::array<std::optional<VictoryLibrary::FaultService>, kModes> m_services = {};  // nothing where not available
};

#endif
