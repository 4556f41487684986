#ifndef VICTORY_ORVANESERVER_HANDLERFAULTS_H
#define VICTORY_ORVANESERVER_HANDLERFAULTS_H

#include "utilities/Shielded.h"

#include <string>

/// How the handlers of what arrives from the unit report what they throw: their words as data. Any thread; no lock is
/// taken. The place of an event, and of its line on the console, is the handler's own, so that the record of faults
/// keeps two handlers apart whose events read the same.
namespace HandlerFaults {

/// The words of one handler. The names that are not its own are deliberate: the unit's log is searched for these texts.
struct Handler {
    const char* name;
    const char* detailsOf;  ///< null: the event is the bare text of the exception
    const char* unknownIn;  ///< null: the handler reports as the worker does, "<server>: <name>() EXCEPTION: <text>"
};

inline constexpr Handler kPVA = {"cbPVA", nullptr, "cbPVA"};
inline constexpr Handler kUTCTime = {"cbUTCTime", "cbUTCTime", "cbUTCTime"};
inline constexpr Handler kHalvexPNT = {"cbHalvexPNT", "cbUTCTime", "cbHalvexPNT"};
inline constexpr Handler kMIS = {"cbMeasurementIncorporationStatus", "cbUTCTime", "cbMeasurementIncorporationStatus"};
inline constexpr Handler kAssuranceState = {"cbAssuranceState", "cbAssuranceState", "cbAssuranceState"};
inline constexpr Handler kZentorGssip = {"cbZentorGssip", nullptr, "cbGssip"};
inline constexpr Handler kHxGssip = {"cbHxGssip", nullptr, "cbGssip"};
inline constexpr Handler kCmd = {"cbCmd", "cbCmd", "cbCmd"};
inline constexpr Handler kRsp = {"cbRsp", "cbRsp", "cbCmd."};
inline constexpr Handler kBitReport = {"cbBitReport", nullptr, nullptr};
inline constexpr Handler kWorker = {"workerThreadFunction", nullptr, nullptr};

/// Reports what a handler threw, as a fault and a line on the console.
/// @param what  the text of a `std::exception`; null for anything else
void report(const Handler& handler, const std::string& serverName, const char* what,
            const char* file = __builtin_FILE(), int line = __builtin_LINE());

/// Runs the work of a handler so that no exception leaves it.
template <class Body>
void handle(const Handler& handler, const std::string& serverName, Body&& body, const char* file = __builtin_FILE(),
            int line = __builtin_LINE()) noexcept
{
    shielded(body, [&](const char* what) { report(handler, serverName, what, file, line); });
}

}  // namespace HandlerFaults

#endif
