#include "VICTORY/OrvaneServer/HandlerFaults.h"

#include "VICTORY/OrvaneServer/Reports.h"
#include "utilities/ConsoleLine.h"

#include <iostream>

namespace HandlerFaults {

void report(const Handler& handler, const std::string& serverName, const char* what, const char* file, int line)
{
    const auto send = [&](const std::string& event) { Reports::sendEvent(EventTypes::EVENT_FAULT, event, file, line); };
    if (!handler.unknownIn) {
        const std::string event = serverName + ": " + handler.name + "() EXCEPTION: " + (what ? what : "<unknown>");
        Reports::sendAndPrint(EventTypes::EVENT_FAULT, event, file, line);
    } else if (!what) {
        const std::string event = serverName + ": Unknown c++ exception in " + handler.unknownIn;
        send(event);
        printLine(std::cout, Reports::location(line), handler.name, " : ", event);
    } else if (!handler.detailsOf) {
        send(what);
        printLine(std::cout, Reports::location(line), handler.name, " : An exception occurred. Details: ", what);
    } else {
        const std::string event = serverName + ": An exception occurred. Details: " + what;
        send(event);
        printLine(std::cout, Reports::location(line), handler.name, " : An exception occurred in ", handler.detailsOf,
                  ". Details: ", event);
    }
}

}  // namespace HandlerFaults
