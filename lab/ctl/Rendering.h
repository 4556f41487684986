#ifndef LAB_CTL_RENDERING_H
#define LAB_CTL_RENDERING_H

#include "lab/ctl/FrameDecoder.h"

#include <string>

/// Decoded values as text. Pure functions, any thread.
namespace orvanectl {

/// One line of JSON, with its end, valid whatever the values are: a number that is not finite becomes null, and the
/// member `notes` then tells which it was.
/// @param fields  an object
std::string jsonLine(Json fields);

/// A heading, a line a value, and an empty line. An object of plain values is one line.
/// @param colour  what is wrong with checksums stands in red, by ANSI sequences
std::string paragraph(const std::string& heading, const Json& fields, bool colour);

}  // namespace orvanectl

#endif
