// What the handlers of messages and a join take, for script/instructions.

#include "bench/Counted.h"
#include "bench/VICTORY/OrvaneServer/BenchedServer.h"
#include "bench/VICTORY/OrvaneServer/DroppingBus.h"

#include <iostream>

int main()
{
    constexpr int kCalls = 100;
    const Inputs inputs;
    const Others others;
    BenchedServer server;
    counted("handler.PositionVelocityAttitude", kCalls, [&] { server.deliver(inputs.pva); });
    counted("handler.UTCTime", kCalls, [&] { server.deliver(inputs.utcTime); });
    counted("handler.HalvexPNT", kCalls, [&] { server.deliver(inputs.pnt); });
    counted("handler.MeasurementIncorporationStatus", kCalls, [&] { server.deliver(inputs.mis); });
    counted("handler.AssuranceState", kCalls, [&] { server.deliver(inputs.assurance); });
    counted("handler.8504", kCalls, [&] { server.fromReceiver(inputs.receiver); });
    counted("handler.5044", kCalls, [&] { server.fromReceiver(others.warning); });
    counted("handler.15051", kCalls, [&] { server.toReceiver(others.threats); });
    counted("handler.BitReport", kCalls, [&] { server.deliver(others.report); });
    counted("handler.command", kCalls, [&] { server.command(others.command); });
    counted("handler.response", kCalls, [&] { server.response(others.response); });

    DroppingBus::published = 0;
    counted("inputs.and.join", kCalls, [&] {
        inputs.giveTo(server);
        server->attemptBlendedNavigationProcessing();
    });
    if (DroppingBus::published == 2 * kCalls && !server.threats().empty() && !server.warnings().empty()) return 0;
    std::cerr << "the server has told " << DroppingBus::published << " records, " << server.threats().size()
              << " threats and " << server.warnings().size() << " warnings wait\n";
    return 1;
}
