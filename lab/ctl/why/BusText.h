#ifndef LAB_CTL_WHY_BUSTEXT_H
#define LAB_CTL_WHY_BUSTEXT_H

#include "lab/ctl/FrameDecoder.h"

#include <optional>
#include <string>

/// Members of the bus's lines, whatever the lines are. Pure functions, any thread.
namespace orvanectl::bus {

/// Empty for what is no text; the first 300 characters of one, in which nothing controls a terminal.
std::string text(const Json& object, const char* key);

/// Nothing for what is no number, or not finite.
std::optional<double> number(const Json& object, const char* key);

/// A number that the record says is valid.
std::optional<double> number(const Json& object, const char* key, const char* validKey);

/// The whole numbers from 0 up that a `double` has.
std::optional<std::uint64_t> count(const Json& object, const char* key);

/// An empty list for what is none.
const Json& list(const Json& object, const char* key);

/// The record of a tell; null if there is none.
const Json& record(const Json& line);

/// Whether a tell was made while somebody listened, and with a time if it is one of the navigation: one without was
/// made at the start, and has nothing in it.
bool isToldNow(const Json& line, const char* tell);

/// A line; null for what is no object, or is nested deeper than any of them.
Json parsed(std::string_view line);

}  // namespace orvanectl::bus

#endif
