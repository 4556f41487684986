#ifndef TESTS_FACE_NINETYPES_H
#define TESTS_FACE_NINETYPES_H

#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"

/// The types that the transport carries.
#define FOR_EACH_OF_NINE(TYPE)                                                                                         \
    TYPE(AssuranceState)                                                                                               \
    TYPE(BitReport)                                                                                                    \
    TYPE(CommandResponse)                                                                                              \
    TYPE(EventLog)                                                                                                     \
    TYPE(HalvexPNT)                                                                                                    \
    TYPE(MaintenanceEvent)                                                                                             \
    TYPE(MeasurementIncorporationStatus)                                                                               \
    TYPE(PositionVelocityAttitude)                                                                                     \
    TYPE(UTCTime)

#endif
