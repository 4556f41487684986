// What it takes to serialize a message, to deserialize it and to tell its size, for script/instructions.

#include "aspn2_msgs/GSSIPPubSubTypes.h"
#include "aspn2_msgs/HalvexPNTPubSubTypes.h"
#include "aspn2_msgs/MeasurementIncorporationStatusPubSubTypes.h"
#include "aspn2_msgs/PositionVelocityAttitudePubSubTypes.h"
#include "bench/Counted.h"

#include <functional>
#include <string>

namespace {

using namespace aspn2_msgs::idl;
using eprosima::fastrtps::rtps::SerializedPayload_t;

template <class Support>
void countCodec(const std::string& name, typename Support::type message)
{
    Support support;
    SerializedPayload_t payload(20000);
    typename Support::type received;
    counted("serialize." + name, 100, [&] { support.serialize(&message, &payload); });
    counted("deserialize." + name, 100, [&] { support.deserialize(&payload, &received); });
    counted("size." + name, 100, [&] { support.getSerializedSizeProvider (&message)(); });
}

}  // namespace

int main()
{
    MeasurementIncorporationStatus status;
    status.meas_types().resize(100);
    GSSIP frame;
    frame.data().resize(412);
    countCodec<PositionVelocityAttitudePubSubType>("PositionVelocityAttitude", {});
    countCodec<HalvexPNTPubSubType>("HalvexPNT", {});
    countCodec<MeasurementIncorporationStatusPubSubType>("MeasurementIncorporationStatus.100", status);
    countCodec<GSSIPPubSubType>("GSSIP.412", frame);
}
