#ifndef LAB_CTL_WHY_BUSENTRIES_H
#define LAB_CTL_WHY_BUSENTRIES_H

#include "lab/ctl/BusLink.h"
#include "lab/ctl/why/JoinDiary.h"

namespace orvanectl {

/// Enters in a diary what a line of the bus tells of joins: Blended Navigation that was published, and whether a service
/// runs. Any other line, or what is none, is passed over.
void enterBusLine(JoinDiary& diary, const BusLink::Json& line, JoinDiary::Time now);

}  // namespace orvanectl

#endif
