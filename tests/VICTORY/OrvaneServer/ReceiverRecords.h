#ifndef TESTS_VICTORY_ORVANESERVER_RECEIVERRECORDS_H
#define TESTS_VICTORY_ORVANESERVER_RECEIVERRECORDS_H

#include "aspn2_msgs/GSSIP.h"

#include <cstdint>
#include <vector>

/// A record of the receiver, server 39, with this frame.
inline aspn2_msgs::idl::GSSIP receiverRecordOf(const std::vector<std::uint8_t>& frame)
{
    aspn2_msgs::idl::GSSIP record;
    record.header().device_id(0x01270000);
    record.num_bytes(static_cast<std::int32_t>(frame.size()));
    record.data(frame);
    return record;
}

#endif
