#include "ASPN/AspnDeviceIds.h"
#include "ASPN/HealthReporter.h"
#include "PCSMaintReporter/PCSMaintReporter.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "tests/support/Transport.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string_view>

namespace {

std::weak_ptr<HealthReporter::Transport> s_events;
std::weak_ptr<PCSMaintReporter::Transport> s_maintenance;

void tellWhatIsHeld()
{
    if (!s_events.expired()) std::fputs("events are held\n", stderr);
    if (!s_maintenance.expired()) std::fputs("maintenance is held\n", stderr);
}

}  // namespace

/// A process that ends with both reporters of the process at work: "return" leaves `main`, "exit" calls `std::exit`
/// while the transport still stands. "early" is "return" with the reporters made before anything of DDS. A transport that
/// is still held when `main` and the reporters should have let go of it is told on the standard error.
int main(int argc, char** argv)
{
    const std::string_view ending = argc > 1 ? argv[1] : "";
    if (ending != "exit") std::atexit(tellWhatIsHeld);  // behind what is registered from here on
    if (ending == "early") {
        SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, "early");
        PCSMaintReporter::Instance();
    }
    const Transport transport(
        TransportConfig().connect("EventLog", "EventLog").connect("MaintenanceEvent", "MaintenanceEvent"));
    const auto events = transport.typed<aspn2_msgs::idl::EventLog>();
    const auto maintenance = transport.typed<aspn2_msgs::idl::MaintenanceEvent>();
    s_events = events;
    s_maintenance = maintenance;
    const ASPN2::DeviceIdFactory deviceIds(3, 52);
    HealthReporter::Instance().InitHealthReporter("unit", deviceIds, events, transport.connect("EventLog"));
    PCSMaintReporter::Instance().InitMaintReporter("unit", deviceIds, maintenance,
                                                   transport.connect("MaintenanceEvent"));
    for (int i = 0; i < 5; ++i) SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, "last");
    if (ending == "exit") std::exit(-1);
    return 3;
}
