#ifndef LAB_CTL_WHY_JOINENTRIES_H
#define LAB_CTL_WHY_JOINENTRIES_H

#include "lab/ctl/why/JoinDiary.h"

#include <cstddef>
#include <string>
#include <vector>

namespace orvanectl {

/// The topics of the inputs, each named as its type, in the order of `JoinInput`.
extern const std::vector<std::string> kJoinTopics;

/// Enters a record of an input in a diary.
/// @param topic   index in `kJoinTopics`
/// @param record  of its type
void enterRecord(JoinDiary& diary, std::size_t topic, const void* record, JoinDiary::Time now);

}  // namespace orvanectl

#endif
