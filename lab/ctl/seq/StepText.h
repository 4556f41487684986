#ifndef LAB_CTL_SEQ_STEPTEXT_H
#define LAB_CTL_SEQ_STEPTEXT_H

#include "lab/ctl/seq/Steps.h"

#include <filesystem>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

/// Sequences as a person writes them (docs/lab/orvanectl-seq.md tells the forms). Pure functions, any thread.
namespace orvanectl {

/// The step of a line; none for an empty one and for one that begins with "#". Throws `std::invalid_argument`, whose text
/// begins with the word that is wrong, in quotes.
/// @param folder  of files that are named without one
std::optional<Step> stepOf(std::string_view line, const std::filesystem::path& folder = {});

/// Throws `std::runtime_error` that names the file, the line and the word. The file's folder is that of files that are
/// named in it without one.
Sequence sequenceOf(std::istream& file, const std::string& name);

/// The same, opened by its name; "-" is the standard input.
Sequence readSequence(const std::string& name);

}  // namespace orvanectl

#endif
