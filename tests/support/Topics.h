#ifndef TESTS_SUPPORT_TOPICS_H
#define TESTS_SUPPORT_TOPICS_H

#include <string>
#include <utility>
#include <vector>

/// The topics of the unit, and the record of each.
inline const std::vector<std::pair<std::string, std::string>> kTopics = {
    {"BitReport", "BitReport"},
    {"Command", "CommandResponse"},
    {"Response", "CommandResponse"},
    {"PositionVelocityAttitude", "PositionVelocityAttitude"},
    {"UTCTime", "UTCTime"},
    {"HalvexPNT", "HalvexPNT"},
    {"MeasurementIncorporationStatus", "MeasurementIncorporationStatus"},
    {"AssuranceState", "AssuranceState"},
    {"EventLog", "EventLog"},
    {"MaintenanceEvent", "MaintenanceEvent"}};

#endif
