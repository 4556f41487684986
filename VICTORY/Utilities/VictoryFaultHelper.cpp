#include "VICTORY/Utilities/VictoryFaultHelper.h"

#include "VICTORY/Utilities/ConsoleTerminal.h"
#include "utilities/ConsoleLine.h"

#include <iostream>
#include <tuple>

namespace {

constexpr const char* kFaultText = "Fake Fault for Compliance Testing";
constexpr VhlthcCategory kCategory = 22;
constexpr VhlthcAction kRaise = 1;
constexpr VhlthcAction kClear = 0;

constexpr std::array<const char*, VictoryFaultHelper::kModes> FaultModeString = {
    "none.", "Position", "Orientation", "Direction of Travel", "GPS Receiver", "Generic End Node", "APNT"};

struct ModeKey {
    char key;
    VictoryFaultHelper::FaultMode mode;
    const char* changed;
};

constexpr ModeKey kModeKeys[] = {
    {'p', VictoryFaultHelper::POSITION, "Changed to Position fault test mode"},
    {'o', VictoryFaultHelper::ORIENTATION, "Changed to Orientation fault test mode"},
    {'d', VictoryFaultHelper::DIRECTION_OF_TRAVEL, "Changed to Direction of Travel fault test mode"},
    {'g', VictoryFaultHelper::GPS_RECEIVER, "GPS Receiver fault test mode"},
    {'e', VictoryFaultHelper::GENERIC_END_NODE, "Generic End Node fault test mode"},
    {'a', VictoryFaultHelper::APNT, "APNT fault test mode"},
};

constexpr std::size_t indexOf(VictoryFaultHelper::FaultMode mode)
{
    return static_cast<std::size_t>(mode);
}

constexpr const char* textOf(VictoryFaultHelper::FaultMode mode)
{
    return FaultModeString[indexOf(mode)];
}

struct Severity {
    const char* word;
    VhlthcSeverity number;
};

/// By digit: 1 to 5 and, once more, 6 to 9 and 0.
constexpr std::array<Severity, VictoryFaultHelper::kKeys> kSeverities = {{{"Warning", VHLTHC_SEVERITY_WARNING},
                                                                          {"Emergency", VHLTHC_SEVERITY_EMERGENCY},
                                                                          {"Alert", VHLTHC_SEVERITY_ALERT},
                                                                          {"Critical", VHLTHC_SEVERITY_CRITICAL},
                                                                          {"Error", VHLTHC_SEVERITY_ERROR},
                                                                          {"Warning", VHLTHC_SEVERITY_WARNING},
                                                                          {"Emergency", VHLTHC_SEVERITY_EMERGENCY},
                                                                          {"Alert", VHLTHC_SEVERITY_ALERT},
                                                                          {"Critical", VHLTHC_SEVERITY_CRITICAL},
                                                                          {"Error", VHLTHC_SEVERITY_ERROR}}};

constexpr bool isAcknowledged(int digit)
{
    return digit >= 1 && digit <= 5;
}

/// That of the process. Whoever leaves by `exit` finds its settings put back too.
ConsoleTerminal& terminal()
{
    static ConsoleTerminal only;
    return only;
}

}  // namespace

int _kbhit()
{
    return terminal().waiting();
}

int readKey()
{
    return terminal().read();
}

VictoryFaultHelper::VictoryFaultHelper(const std::string& name, Keyboard keyboard) : m_name(name), m_keyboard(keyboard)
{}

VictoryFaultHelper::~VictoryFaultHelper()
{
    terminal().putBack();
}

std::uint32_t& VictoryFaultHelper::faultId(int key)
{
    return m_faultIds[indexOf(m_faultMode)][static_cast<std::size_t>(key)];
}

void VictoryFaultHelper::ManageFaults(bool& tellDisabled)
{
    if (m_keyboard.waiting() <= 0) return;
    const int key = m_keyboard.read();
    if (key >= '0' && key <= '9') {
        const int digit = key - '0';
        if (faultId(digit) != 0)
            deactivateFault(digit);
        else
            activateFault(digit, isAcknowledged(digit));
    } else if (key == 'z') {
        tellDisabled = !tellDisabled;
        printLine(std::cout, m_name, tellDisabled ? "Tell disabled for " : "Tell enabled for ", textOf(m_faultMode));
    } else if (key == 'h') {
        displayHelpText();
    } else {
        for (const ModeKey& row : kModeKeys)
            if (key == row.key) changeMode(row.mode, row.changed);
    }
}

void VictoryFaultHelper::changeMode(FaultMode mode, const char* changedText)
{
    if (!m_services[indexOf(mode)]) {
        printLine(std::cout, m_name, " VictoryFaultHelper : CANNOT change fault test mode to ", textOf(mode),
                  " Service! Mode remains: ", textOf(m_faultMode));
        return;
    }
    m_faultMode = mode;
    printLine(std::cout, m_name, " VictoryFaultHelper : ", changedText);
}

void VictoryFaultHelper::activateFault(int key, bool acknowledged)
{
    if (key < 0 || key >= static_cast<int>(kKeys)) return;
    const auto& severity = kSeverities[static_cast<std::size_t>(key)];
    printLine(std::cout, m_name, "Added ", acknowledged ? "" : "non-", "acknowledged ", severity.word);
    if (const auto& service = m_services[indexOf(m_faultMode)])
        faultId(key) =
            VictoryLibrary::addFault(*service, {kFaultText, acknowledged, severity.number, kCategory, kRaise});
    printLine(std::cout, textOf(m_faultMode), " Fault: ", faultId(key));
}

void VictoryFaultHelper::deactivateFault(int key)
{
    if (key < 0 || key >= static_cast<int>(kKeys)) return;
    if (const auto& service = m_services[indexOf(m_faultMode)])
        std::ignore = VictoryLibrary::removeFault(*service, faultId(key), kClear);
    printLine(std::cout, m_name, " Removed ", textOf(m_faultMode), " fault: ", faultId(key));
    faultId(key) = 0;
}

void VictoryFaultHelper::displayHelpText() const
{
    printLine(std::cout, m_name,
              " VictoryFaultHelper available keys:\n"
              "    1 = Send / Remove Acknowledged Emergency\n"
              "    2 = Send / Remove Acknowledged Alert\n"
              "    3 = Send / Remove Acknowledged Critical\n"
              "    4 = Send / Remove Acknowledged Error\n"
              "    5 = Send / Remove Acknowledged Warning\n"
              "    6 = Send / Remove Nonacknowledged Emergency\n"
              "    7 = Send / Remove Nonacknowledged Alert\n"
              "    8 = Send / Remove Nonacknowledged Critical\n"
              "    9 = Send / Remove Nonacknowledged Error\n"
              "    0 = Send / Remove Nonacknowledged Warning\n"
              "    p = Select Position fault mode\n"
              "    o = Select Orientation fault mode\n"
              "    d = Select Direction of Travel fault mode\n"
              "    g = Select GPS Receiver fault mode\n"
              "    e = Select Generic End Node fault mode\n"
              "    a = Select APNT fault mode\n"
              "    z = Enable / Disable VICTORY service tell output");
}
