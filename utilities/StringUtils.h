#ifndef UTILITIES_STRINGUTILS_H
#define UTILITIES_STRINGUTILS_H

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

/// Small work on texts. No state, any thread. Whitespace is blank, newline, carriage return, tab, form feed and
/// vertical tab, whatever the locale.
namespace StringUtils {

/// A copy without leading whitespace.
std::string ltrim(const std::string& text);

/// A copy without trailing whitespace.
std::string rtrim(const std::string& text);

/// A copy without leading and trailing whitespace.
std::string trim(const std::string& text);

/// Replaces, in place, every character of `text` that occurs in `characters`. A null `text` or `characters` does
/// nothing.
void cstr_replace(char* text, const char* characters, char replacement);

/// Copies a text into a buffer of `size` bytes: at most `size - 1` characters, then zeros to the end of the buffer, so
/// that a record's field holds nothing of what was there. A null `source` counts as empty; a null `destination` or a
/// `size` of 0 does nothing.
void strncpy_prot(char* destination, const char* source, unsigned size);

/// The same for a field of a record, whose size is that of the buffer. The text ends at its first zero.
template <std::size_t size>
void copyText(char (&field)[size], const std::string& text)
{
    static_assert(size <= std::numeric_limits<unsigned>::max());
    strncpy_prot(field, text.c_str(), static_cast<unsigned>(size));
}

/// Appends `text` to `chunks` in pieces of `size` characters; the last may be shorter. An empty text appends nothing, a
/// `size` of 0 the text in one piece. `text` may be an element of `chunks`.
void splitToChunks(const std::string& text, unsigned size, std::vector<std::string>& chunks);

/// The pieces alone.
std::vector<std::string> splitToChunks(const std::string& text, unsigned size);

/// The parts with `separator` between them and none at the end.
std::string join(const std::vector<std::string>& parts, char separator);

/// The parts of `text` between separators, empty ones included; but a trailing separator gives no empty last part, and
/// an empty text has no parts. Throws `std::bad_alloc`, and never leaves out a part for want of memory.
std::vector<std::string> split(const std::string& text, char separator);

}  // namespace StringUtils

#endif
