#ifndef RELIABILITY_LOAD_ENDING_H
#define RELIABILITY_LOAD_ENDING_H

#include "reliability/Report.h"
#include "tests/support/ChildProcess.h"

#include <chrono>
#include <csignal>
#include <string>

/// Has the service end, which it must in order.
/// @return seconds that it took
inline double endInOrder(Report& report, ChildProcess& service, const std::string& after)
{
    const auto begin = std::chrono::steady_clock::now();
    service.send(SIGTERM);
    report.expect(service.wait() == ChildProcess::Ending{0, 0}, "the service did not end in order after " + after);
    report.expect(service.errors().empty(), "the service complained after " + after + ": " + service.errors());
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

#endif
