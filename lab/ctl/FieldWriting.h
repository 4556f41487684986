#ifndef LAB_CTL_FIELDWRITING_H
#define LAB_CTL_FIELDWRITING_H

#include "lab/ctl/FieldSink.h"
#include "lab/ctl/RecordTypes.h"

#include <string>
#include <vector>

/// Frames and records as named values, for who writes them down without looking into them. Pure functions, any thread.
namespace orvanectl {

/// Writes the members of what `decodeFrame` gives as `fields` to the object that is open there. Gives the problems.
/// @param frame  the bytes of one frame; any will do
std::vector<std::string> writeFrame(Bytes frame, FieldSink& sink);

/// Writes what `decodeHeader` gives.
void writeHeader(const aspn2_msgs::idl::header& header, FieldSink& sink);

/// Writes what the type's `fieldsOf` gives.
void writeFields(const RecordType& type, const void* record, FieldSink& sink);

}  // namespace orvanectl

#endif
