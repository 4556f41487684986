#ifndef FACE_FACE_TEXT_H
#define FACE_FACE_TEXT_H

#include "face/FACE_String.h"

#include <string>

namespace FACE {

/// The text of a string for printing; empty when the string is not valid. A stream that is handed the null buffer of
/// such a string fails and stays silent from then on.
inline std::string textOf(const String& text)
{
    return text.buffer() ? std::string(text.buffer(), text.length()) : std::string();
}

}  // namespace FACE

#endif
