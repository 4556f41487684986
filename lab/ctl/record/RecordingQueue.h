#ifndef LAB_CTL_RECORD_RECORDINGQUEUE_H
#define LAB_CTL_RECORD_RECORDINGQUEUE_H

#include "lab/ctl/StreamCutter.h"

#include <string>

namespace orvanectl {

/// Hands over the records of a queue, as a cutter does of the bytes that the queue carried: offsets count these. What was
/// no record is a problem, and so is damage of the recording, at the offset where it is met. Throws `std::runtime_error`
/// for what is no recording, and `UnknownName` for a queue that it has not.
/// @param queue  its name; may be empty if the recording has one only
void readQueue(const std::string& file, const std::string& queue, StreamSink& sink);

}  // namespace orvanectl

#endif
