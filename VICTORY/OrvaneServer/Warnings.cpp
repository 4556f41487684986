#include "VICTORY/OrvaneServer/Warnings.h"

#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"
#include "utilities/StringUtils.h"

#include <array>
#include <cstdint>
#include <iostream>
#include <optional>
#include <tuple>

namespace {

/// Receiver numbers `first` to `last` have the ids from `id` on.
struct WarningIdRange {
    unsigned short first;
    unsigned short last;
    std::uint32_t id;
};

constexpr WarningIdRange kWarningIds[] = {{1, 5, 0},    {7, 23, 5},   {27, 28, 22}, {34, 47, 24}, {50, 63, 40},
                                          {67, 70, 54}, {71, 71, 58}, {79, 79, 59}, {81, 81, 61}};
consteval std::array<std::uint32_t, 82> expandWarningIds()
{
    std::array<std::uint32_t, 82> ids = {};
    ids.fill(VAPNTC_WARNING_CUSTOM);
    for (const auto& range : kWarningIds)
        for (unsigned number = range.first; number <= range.last; ++number)
            ids[number] = range.id + number - range.first;
    return ids;
}

constexpr auto kIdsByNumber = expandWarningIds();
static_assert(kIdsByNumber[0] == VAPNTC_WARNING_CUSTOM && kIdsByNumber[1] == 0 && kIdsByNumber[5] == 4);
static_assert(kIdsByNumber[6] == VAPNTC_WARNING_CUSTOM && kIdsByNumber[7] == 5 && kIdsByNumber[23] == 21);
static_assert(kIdsByNumber[63] == 53 && kIdsByNumber[64] == VAPNTC_WARNING_CUSTOM && kIdsByNumber[81] == 61);

/// The warning of the end of an operation; nothing for a type that is none.
std::optional<std::uint32_t> completionId(ClearDataCommand::ClearDataType type, bool success)
{
    switch (type) {
    case ClearDataCommand::CLEAR_ZEROIZE:
        return success ? VAPNTC_WARNING_SYSTEM_ZEROIZE_PASSED : VAPNTC_WARNING_SYSTEM_ZEROIZE_FAILED;
    case ClearDataCommand::CLEAR_DESTROY:
        return success ? VAPNTC_WARNING_SYSTEM_DESTROY_PASSED : VAPNTC_WARNING_SYSTEM_DESTROY_FAILED;
    case ClearDataCommand::CLEAR_ZENTORM_CV_ZEROIZE:
        return success ? VAPNTC_WARNING_CV_ZEROIZE_PASSED : VAPNTC_WARNING_CV_ZEROIZE_FAILED;
    case ClearDataCommand::CLEAR_NONE:
        break;
    }
    return std::nullopt;
}

VapntcWarningMessage warningOf(std::uint32_t id, const char* text)
{
    VapntcWarningMessage warning = {};
    warning.warningId = id;
    if (text) {
        warning.customTextValid = 1;
        StringUtils::strncpy_prot(warning.customText, text, sizeof warning.customText);
    }
    return warning;
}

}  // namespace

void Warnings::initWarningIdEncoder()
{
    m_warningIdRows = kIdsByNumber.size();
}

std::uint32_t Warnings::encodeVictoryWarningId(unsigned short number) const
{
    return number < m_warningIdRows ? kIdsByNumber[number] : std::uint32_t{VAPNTC_WARNING_CUSTOM};
}

void Warnings::handleBlock5044(const unsigned char* frame, unsigned int length)
{
    ZentorM_5044_Msg message;
    if (!message.ok_set_5044_gpsip(frame, length)) return;
    message.unpack_5044();
    append(message.unpacked());
}

void Warnings::append(const unpacked_msg5044_t& received)
{
    const auto id = encodeVictoryWarningId(received.warningNumber);
    if (id == VAPNTC_WARNING_CUSTOM)
        append(warningOf(id, std::string(warningTextOf(received)).c_str()));
    else
        append(id);
}

bool Warnings::append(std::uint32_t id) noexcept
{
    return append(warningOf(id, nullptr));
}

bool Warnings::sendVDBcustomWarning(const std::string& text)
{
    return append(warningOf(VAPNTC_WARNING_CUSTOM, text.c_str()));
}

bool Warnings::sendVDBCompleteWarning(ClearDataCommand::ClearDataType type, bool success,
                                      const std::string& text) noexcept
{
    constexpr const char* kFunction = "sendVDBCompleteWarning";
    bool queued = false;
    shielded(
        [&] {
            const auto id = completionId(type, success);
            if (!id) {
                Reports::sendFault(
                    kFunction, m_settings.m_serverName + ": Unknown eClearType: " + std::to_string(std::int32_t{type}),
                    m_settings.m_quiet ? Reports::Console::Omit : Reports::Console::Print);
                return;
            }
            queued = append(warningOf(*id, text.c_str()));
        },
        [&](const char* what) {
            queued = false;
            Reports::sendFault(kFunction, m_settings.m_serverName +
                                              (what ? std::string(": An exception occurred. Details: ") + what
                                                    : std::string(": Unknown c++ exception occurred")));
        });
    return queued;
}

bool Warnings::append(const VapntcWarningMessage& warning) noexcept
{
    bool appended = false;
    shielded(
        [&] {
            if (m_settings.m_debug && warning.customTextValid != 0)
                printLine(std::cout, "OrvaneServer, appendWarningToList (", __LINE__, "): ", m_settings.m_serverName,
                          ": Sending VDB APNT warning message ID ", warning.warningId,
                          ", custom message: ", warning.customText);
            const MutexLock lock(m_warningListMutex);
            m_warnings.append(warning);
            appended = true;
        },
        [this](const char* what) { Reports::sendJoinException(m_settings.m_serverName, what); });
    return appended;
}

void Warnings::publish(VapntsService* service, bool isStarted, bool isTellDisabled) const
{
    if (!isStarted) {
        Reports::sendFault("cbTellWarningMessagesCallback",
                           m_settings.m_serverName + " : Cannot publish warnings while APNT service is not running! "
                                                     "Warnings remain queued.");
        return;
    }
    VapntcWarningMessagesRecord record = {};
    record.gpsSeconds = m_time.gpsSeconds();
    // The list stays: every warning is told again, until newer ones have pushed it out.
    const MutexLock lock(m_warningListMutex);
    m_warnings.copyTo(record.warnings, record.warningCount);
    if (!isTellDisabled) std::ignore = VictoryLibrary::tell(service, record);
}

std::vector<VapntcWarningMessage> Warnings::list() const
{
    const MutexLock lock(m_warningListMutex);
    return m_warnings.elements();
}
