#ifndef ASPN2_MSGS_DELTATIMEANDFREQUENCY_H
#define ASPN2_MSGS_DELTATIMEANDFREQUENCY_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_DeltaTimeAndFrequency(FIELD)                                                                      \
    FIELD(header, header)                                                                                              \
    FIELD(dt, float64)                                                                                                 \
    FIELD(variance, float64)                                                                                           \
    FIELD(freqB, float64)

/// A clock's offset with its variance, and its frequency bias.
ASPN2_RECORD(DeltaTimeAndFrequency, 72);

}  // namespace aspn2_msgs::idl

#endif
