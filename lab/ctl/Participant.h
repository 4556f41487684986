#ifndef LAB_CTL_PARTICIPANT_H
#define LAB_CTL_PARTICIPANT_H

#include "lab/ctl/ConnectionFile.h"

#include <memory>
#include <string>
#include <vector>

/// The tool's place in the domain. While it is made, no other thread may print.
namespace orvanectl {

inline constexpr const char* kParticipant = "orvanectl";

/// Throws `std::runtime_error`: a line that names the file and what can't be had.
std::shared_ptr<FACE::TSS::HX_TSS> makeParticipant(const ConnectionFile& file, const std::vector<WatchedTopic>& topics,
                                                   Delivery delivery);

/// The connection of a topic. Throws the same.
long long connect(FACE::TSS::HX_TSS& transport, const std::string& file, const std::string& topic);

}  // namespace orvanectl

#endif
