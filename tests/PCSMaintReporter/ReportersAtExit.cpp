#include "ASPN/AspnDeviceIds.h"
#include "ASPN/HealthReporter.h"
#include "PCSMaintReporter/PCSMaintReporter.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "tests/support/Transport.h"

#include <cstdlib>
#include <iostream>
#include <string_view>

/// A process that ends with both reporters of the process at work: "return" leaves `main`, "exit" calls `std::exit`
/// while the transport still stands. "early" is "return" with the reporters made before anything of DDS.
int main(int argc, char** argv)
{
    const std::string_view ending = argc > 1 ? argv[1] : "";
    if (ending == "early") {
        SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, "early");
        PCSMaintReporter::Instance();
    }
    const Transport transport(
        TransportConfig().connect("EventLog", "EventLog").connect("MaintenanceEvent", "MaintenanceEvent"));
    const auto events = transport.typed<aspn2_msgs::idl::EventLog>();
    const auto maintenance = transport.typed<aspn2_msgs::idl::MaintenanceEvent>();
    const ASPN2::DeviceIdFactory deviceIds(3, 52);
    HealthReporter::Instance().InitHealthReporter("unit", deviceIds, events, transport.connect("EventLog"));
    PCSMaintReporter::Instance().InitMaintReporter("unit", deviceIds, maintenance,
                                                   transport.connect("MaintenanceEvent"));
    for (int i = 0; i < 5; ++i) SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, "last");
    if (ending == "exit") std::exit(-1);
    return 3;
}
