#ifndef TESTS_VICTORY_ORVANESERVER_FRESHINPUTS_H
#define TESTS_VICTORY_ORVANESERVER_FRESHINPUTS_H

#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "tests/VICTORY/OrvaneServer/ReceiverRecords.h"
#include "tests/support/FrameBytes.h"

#include <cstdint>
#include <functional>
#include <vector>

/// The six inputs of a record, valid at 1000 s but for what a test says.
namespace FreshInputs {

/// From server 96.
template <class Message>
Message at(std::int64_t seconds = 1000, std::int32_t nanoseconds = 0)
{
    Message message;
    message.header().device_id(0x01600000);
    message.header().timestamp_valid().sec(seconds);
    message.header().timestamp_valid().nsec(nanoseconds);
    return message;
}

inline aspn2_msgs::idl::GSSIP receiverAt(std::int64_t seconds = 1000, std::int32_t nanoseconds = 0, float angle = 0.0F)
{
    ZentorM_8504_Msg status;
    status.unpacked().angle084 = angle;
    status.pack_8504();
    FrameBytes bytes;
    status.WriteMessage(&bytes);
    auto record = receiverRecordOf(bytes.data);
    record.header().timestamp_valid().sec(seconds);
    record.header().timestamp_valid().nsec(nanoseconds);
    return record;
}

/// The arrival of each of the six, the receiver's last.
/// @param take  takes a message of any of their types
template <class Take>
std::vector<std::function<void()>> arrivalsOf(Take take)
{
    using namespace aspn2_msgs::idl;
    return {[take] { take(at<UTCTime>()); },        [take] { take(at<PositionVelocityAttitude>()); },
            [take] { take(at<HalvexPNT>()); },      [take] { take(at<MeasurementIncorporationStatus>()); },
            [take] { take(at<AssuranceState>()); }, [take] { take(receiverAt()); }};
}

}  // namespace FreshInputs

#endif
