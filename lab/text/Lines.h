#ifndef LAB_TEXT_LINES_H
#define LAB_TEXT_LINES_H

#include <cstddef>
#include <functional>
#include <istream>
#include <string>
#include <string_view>

namespace labtext {

constexpr std::size_t kLongestLine = std::size_t{64} << 10;
constexpr std::size_t kLargestFileBytes = std::size_t{64} << 20;

/// Whether a line is empty or a note, which begins with "#".
bool isBlankOrNote(std::string_view line);

/// Gives each line to `take` that is neither empty nor a note. What that throws about a line is thrown as a
/// `std::runtime_error` that names the file and the line, as is a line, or a file, that is longer than it may be. Any
/// thread.
void readLines(std::istream& file, const std::string& name,
               const std::function<void(std::size_t number, std::string_view line)>& take);

}  // namespace labtext

#endif
