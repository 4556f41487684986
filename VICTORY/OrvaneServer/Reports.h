#ifndef VICTORY_ORVANESERVER_REPORTS_H
#define VICTORY_ORVANESERVER_REPORTS_H

#include "ASPN/HealthReporter.h"
#include "utilities/ConsoleLine.h"

#include <iostream>
#include <string>

/// Health events and console lines of the server, with the place that they come from. The place is the caller's own
/// where it is left out. The number in a line is that of a line of the unit which reports; beside an event, the event
/// names the file of the same place.
namespace Reports {

/// What a call-back of the bus library says that was given no context.
inline constexpr const char* kNoInstance =
    "OrvaneServer: instance pointer was not found in VICTORY callbackData parameter";

/// Whether a line is wanted.
enum class Console { Print, Omit };

inline void sendEvent(EventTypes::eEventType type, const std::string& text, const char* file = __builtin_FILE(),
                      int line = __builtin_LINE())
{
    HealthReporter::Instance().SendEvent(file, line, type, text.c_str());
}

/// Sends an event, and prints its text.
inline void sendAndPrint(EventTypes::eEventType type, const std::string& text, const char* file = __builtin_FILE(),
                         int line = __builtin_LINE())
{
    sendEvent(type, text, file, line);
    printLine(std::cout, text);
}

/// Sends a fault, and prints "OrvaneServer (<line>), <function> : <text>".
inline void sendFault(const char* function, const std::string& text, Console console = Console::Print,
                      const char* file = __builtin_FILE(), int line = __builtin_LINE())
{
    sendEvent(EventTypes::EVENT_FAULT, text, file, line);
    if (console == Console::Print) printLine(std::cout, "OrvaneServer (", line, "), ", function, " : ", text);
}

/// "OrvaneServer (<line>) ", in front of a line on the console.
inline std::string location(int line = __builtin_LINE())
{
    return "OrvaneServer (" + std::to_string(line) + ") ";
}

/// Reports what a call-back of the bus library throws: a `std::exception`'s text, or null for anything else.
inline void sendCallbackException(const char* function, const char* what, const char* file = __builtin_FILE(),
                                  int line = __builtin_LINE())
{
    sendFault(function,
              what ? std::string("OrvaneServer: An exception occurred. Details: ") + what
                   : std::string("OrvaneServer: Unknown c++ exception occurred"),
              Console::Print, file, line);
}

/// Reports what the join of the inputs throws, as `sendCallbackException` does. What queues threats and warnings
/// reports in the same words, deliberately: the name of the join is what the unit's log is searched for.
inline void sendJoinException(const std::string& serverName, const char* what, const char* file = __builtin_FILE(),
                              int line = __builtin_LINE())
{
    const std::string text =
        serverName + (what ? std::string(": An exception occurred. Details: ") + what
                           : std::string(": Unknown c++ exception in attemptBlendedNavigationProcessing"));
    sendEvent(EventTypes::EVENT_FAULT, text, file, line);
    printLine(std::cout, location(line), "attemptBlendedNavigationProcessing",
              what ? " : An exception occurred in attemptBlendedNavigationProcessing. Details: " : " : ", text);
}

}  // namespace Reports

#endif
