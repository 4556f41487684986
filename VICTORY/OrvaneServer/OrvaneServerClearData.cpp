#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"

#include <iostream>
#include <optional>
#include <string>
#include <tuple>

namespace {

/// What a client's request asks for.
struct Request {
    std::optional<ClearDataCommand::ClearDataType> type;  ///< nothing if it goes no further
    std::string complaint;                                ///< behind the service's name; empty if there is none
};

/// @param data  null for a request without any
Request requestOf(const VapntcSystemData* data)
{
    if (!data) return {ClearDataCommand::CLEAR_ZEROIZE, ""};
    switch (*data) {
    case VAPNTC_SYSTEM_DATA_ALL:
        return {ClearDataCommand::CLEAR_DESTROY, ""};
    case VAPNTC_SYSTEM_DATA_CRYPTO:
        return {std::nullopt, ": VAPNTC_SYSTEM_DATA_CRYPTO command is not supported from APNT."};
    case VAPNTC_SYSTEM_DATA_INVALID:
        return {ClearDataCommand::CLEAR_NONE, ": Received VAPNTC_SYSTEM_DATA_INVALID. Nothing to do."};
    }
    return {std::nullopt, ": Unknown systemDataType: " + std::to_string(*data)};
}

}  // namespace

int OrvaneServer::cbClearSystemDataCallback(void* context, VapntsService* service, VapntcSystemData* data) noexcept
{
    constexpr const char* kFunction = "cbClearSystemDataCallback";
    auto* const server = static_cast<OrvaneServer*>(context);
    shielded(
        [&] {
            if (!server) {
                Reports::sendEvent(EventTypes::EVENT_FAULT, Reports::kNoInstance);
                return;
            }
            if (server->m_debug) printLine(std::cout, "CALLBACK RECIEVED --- ");
            if (server->m_sanitizeRequested) {
                Reports::sendEvent(EventTypes::EVENT_FAULT,
                                   server->m_serverName +
                                       ": Sanitize in progress, not processing APNT clear system data command");
                return;
            }
            if (!server->m_victoryStarted) {
                Reports::sendEvent(EventTypes::EVENT_FAULT,
                                   server->m_serverName + " : Ignored. Cannot process APNT Clear System Data while "
                                                          "APNT service is not running!");
                return;
            }
            // The answer says that the request was heard; how the erasing ends reaches the client as a warning.
            server->processClearDataRequest(service, data);
            std::ignore = VictoryLibrary::tellClearRequestTaken(service);
        },
        [&](const char* what) { Reports::sendCallbackException(kFunction, what); });
    shielded(
        [&] {
            // The word is always this one.
            if (server && !server->m_quiet) printLine(std::cout, kFunction, " : ", "Return code to VDB: ", "ERROR");
        },
        [](const char*) {});
    return 1;
}

bool OrvaneServer::processClearDataRequest(VapntsService*, VapntcSystemData* data)
{
    constexpr const char* kFunction = "processClearDataRequest";
    if (!m_victoryStarted) {
        Reports::sendEvent(EventTypes::EVENT_FAULT, m_serverName + " : Ignored. Cannot process APNT Clear System Data "
                                                                   "requests while APNT service is not running!");
        return true;
    }

    const auto report = [this](const std::string& text, int line = __builtin_LINE()) {
        Reports::sendFault(kFunction, text, m_quiet ? Reports::Console::Omit : Reports::Console::Print,
                           __builtin_FILE(), line);
        sendVDBcustomWarning(text);
    };
    if (!data && !m_quiet) printLine(std::cout, "No command provided, Zeroize device command type");
    const auto [type, complaint] = requestOf(data);
    if (!complaint.empty()) report(m_serverName + complaint);
    if (!type) return false;
    if (m_debug) printLine(std::cout, "Identified eClearType = ", m_clearDataCommand.requestName(*type));
    return m_clearDataCommand.processClearDataRequestType(*type);
}
