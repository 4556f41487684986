#ifndef LAB_LIBVICTORY_DOCUMENTTEXTS_H
#define LAB_LIBVICTORY_DOCUMENTTEXTS_H

#include <array>
#include <chrono>
#include <optional>

namespace labvictory {

constexpr int kGroups = 3;

/// Update periods that the VCL names, by publication group.
using GroupPeriods = std::array<std::optional<std::chrono::milliseconds>, kGroups>;

/// What the two documents of a service say. The configuration must be an XML document; the VCL must have the element
/// `vcl:VCL`, and a period in it must be a whole number of milliseconds from 1 to 4294967295. A group without one in
/// the VCL has none here. Throws `std::runtime_error` that says which text is bad, and where.
/// @param configuration, vcl  zero-terminated, or null
GroupPeriods readDocuments(const char* configuration, const char* vcl);

}  // namespace labvictory

#endif
