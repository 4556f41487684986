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
/// @param units   the units of numbers by the names of `fields`, in objects within objects as there; a unit stands
///                behind its number, that of an array's elements behind each row of them
std::string paragraph(const std::string& heading, const Json& fields, bool colour, const Json& units = {});

}  // namespace orvanectl

#endif
