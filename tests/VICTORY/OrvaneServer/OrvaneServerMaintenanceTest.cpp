#include "ASPN/AspnDeviceIds.h"
#include "PCSMaintReporter/PCSMaintReporter.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/OneConnection.h"
#include "tests/support/VictoryRecorder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <iostream>
#include <string>

using aspn2_msgs::idl::MaintenanceEvent;

TEST(OrvaneServerMaintenanceTest, AFaultOfTheBusLibraryIsPublishedWithTheServicesParticulars)
{
    const ConsoleCapture console(std::cout);
    OneConnection<MaintenanceEvent> connection("MaintenanceEvent");
    connection.registerSender();
    auto& reporter = PCSMaintReporter::Instance();
    reporter.InitMaintReporter("unit", ASPN2::DeviceIdFactory(3, 52), connection.front(), connection.id());
    VictoryRecorder victory;
    ServerDoor server;
    const std::string text = "SOAP 1.2 fault SOAP-ENV:Sender";
    EXPECT_EQ(server.libraryPrints(text.c_str(), static_cast<unsigned>(text.size())), text.size());
    reporter.DoneMaintReporter();

    const auto items = connection.inbox.items();
    ASSERT_EQ(items.size(), 1U);
    const MaintenanceEvent& record = items[0].message;
    EXPECT_STREQ(record.description().data(), "SOAP:SOAP 1.2 fault SOAP-ENV:Sender");
    EXPECT_STREQ(record.identity().data(), "OrvaneServer");
    EXPECT_EQ(record.criticality_id(), 3);
    EXPECT_EQ(record.outcome_id(), 3);
    EXPECT_EQ(record.location_id(), 52);
    EXPECT_EQ(record.category_id(), 11);
    EXPECT_EQ(record.repeat_in_seconds(), 0);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(record.fault_sources()[i].lru_id(), i == 0 ? 1 : 0) << i;
        EXPECT_EQ(record.fault_sources()[i].component_id(), i == 0 ? 1 : 0) << i;
    }
}
