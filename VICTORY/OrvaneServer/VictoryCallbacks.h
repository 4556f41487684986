#ifndef VICTORY_ORVANESERVER_VICTORYCALLBACKS_H
#define VICTORY_ORVANESERVER_VICTORYCALLBACKS_H

#include "VICTORY/OrvaneServer/Reports.h"
#include "utilities/Shielded.h"

#include <utility>

/// What call-backs of the bus library have alike: a context that may be null, and nothing that may be thrown. Any
/// thread; no lock is held.
namespace VictoryCallbacks {

/// What the console shows of the event of a null context.
enum class Line {
    None,
    Text,   ///< the event's text
    Place,  ///< "OrvaneServer (<line>), <function> : <text>"
};

/// The words of one call-back. They differ from one to the other, deliberately: the unit's log is searched for them.
struct Texts {
    const char* function;
    const char* noContext = Reports::kNoInstance;
    Line noContextLine = Line::Place;

    // Of the event of what is thrown, which the console doesn't show; null for that of
    // `Reports::sendCallbackException`.
    const char* exception = nullptr;  ///< the text of a `std::exception` follows
    const char* unknown = nullptr;    ///< for whatever else is thrown
};

inline constexpr Texts kSaveVclid = {"cbSaveVclidCallback"};
inline constexpr Texts kTellNavWarSa = {"cbTellNavWarSaCallback"};
inline constexpr Texts kTellWarningMessages = {"cbTellWarningMessagesCallback"};
inline constexpr Texts kClearSystemData = {"cbClearSystemDataCallback", Reports::kNoInstance, Line::None};
inline constexpr Texts kTellSystemConfiguration = {
    "cbTellSystemConfigurationCallback",
    "OrvaneServer: instance pointer was not found in VICTORY cbTellSystemConfigurationCallback, callbackData parameter",
    Line::Text, "OrvaneServer: An exception occurred in cbTellSystemConfigurationCallback. Details: ",
    "OrvaneServer: Unknown c++ exception occurred in cbTellSystemConfigurationCallback"};

/// Sends the event of a null context.
void reportNoContext(const Texts& texts, const char* file, int line);

/// Sends the event of what was thrown.
/// @param what  the text of a `std::exception`, or null
void reportException(const Texts& texts, const char* what, const char* file, int line);

/// Calls `body` with the server that a context is. Without one, and when `body` throws, sends an event instead, with
/// the place of the caller.
template <class Server, class Body>
void withServer(void* context, const Texts& texts, Body&& body, const char* file = __builtin_FILE(),
                int line = __builtin_LINE()) noexcept
{
    shielded(
        [&] {
            if (context)
                std::forward<Body>(body)(*static_cast<Server*>(context));
            else
                reportNoContext(texts, file, line);
        },
        [&](const char* what) { reportException(texts, what, file, line); });
}

}  // namespace VictoryCallbacks

#endif
