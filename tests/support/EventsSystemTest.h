#ifndef TESTS_SUPPORT_EVENTSSYSTEMTEST_H
#define TESTS_SUPPORT_EVENTSSYSTEMTEST_H

#include "aspn2_msgs/EventLog.h"
#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"

#include <gtest/gtest.h>

#include <optional>

/// A service whose events a test listens to from the first one on, with its clock at 5.5 s.
struct EventsSystemTest : testing::Test {
    EventsSystemTest()
    {
        desk.setRegister(Desk::kSystemCount, 324'403'200);
        desk.replace("Connections.xml", "<BackFillHistory>false<", "<BackFillHistory>true<");
        transport.emplace("/opt/halvex/config/Connections.xml", "listener");
        events.emplace(*transport, "EventLog");
    }

    Desk desk;
    std::optional<Transport> transport;
    std::optional<Subscriber<aspn2_msgs::idl::EventLog>> events;
};

#endif
