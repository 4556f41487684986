#include "lab/ctl/why/JoinEntries.h"

namespace orvanectl {

using namespace aspn2_msgs::idl;

const std::vector<std::string> kJoinTopics = {"UTCTime", "PositionVelocityAttitude", "HalvexPNT",
                                              "MeasurementIncorporationStatus", "AssuranceState"};

void enterRecord(JoinDiary& diary, std::size_t topic, const void* record, JoinDiary::Time now)
{
    switch (topic) {
    case 0:
        return diary.take(*static_cast<const UTCTime*>(record), now);
    case 1:
        return diary.take(*static_cast<const PositionVelocityAttitude*>(record), now);
    case 2:
        return diary.take(*static_cast<const HalvexPNT*>(record), now);
    case 3:
        return diary.take(*static_cast<const MeasurementIncorporationStatus*>(record), now);
    default:
        return diary.take(*static_cast<const AssuranceState*>(record), now);
    }
}

}  // namespace orvanectl
