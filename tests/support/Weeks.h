#ifndef TESTS_SUPPORT_WEEKS_H
#define TESTS_SUPPORT_WEEKS_H

#include "aspn2_msgs/UTCTime.h"
#include "tests/support/Transport.h"

#include <vector>

/// What tells the times apart that have arrived, in their order.
inline std::vector<int> weeksOf(const Inbox<aspn2_msgs::idl::UTCTime>& inbox)
{
    std::vector<int> weeks;
    for (const auto& item : inbox.items()) weeks.push_back(item.message.gps_week());
    return weeks;
}

#endif
