#ifndef LAB_UNIT_TRACKFILE_H
#define LAB_UNIT_TRACKFILE_H

#include "lab/unit/Drive.h"

#include <string>
#include <vector>

/// Tracks that a vehicle has driven. Pure functions but for the file, any thread. What is wrong throws
/// `std::runtime_error` that names the file, and the line or the point.
namespace unitsim {

/// All that stands in a regular file of at most `labtext::kLargestFileBytes`.
std::string textOfFile(const std::string& name);

/// Lines "SECONDS,LATITUDE,LONGITUDE,HEIGHT" in degrees and metres, with times that rise; the height may be missing (0).
/// Empty lines, those that begin with "#" and a first line of names are passed over.
/// @return its first point at 0 seconds
std::vector<WayPoint> trackOfCsv(const std::string& text, const std::string& name);

/// All points of all tracks of a GPX file, in their order, by their times. An element has at most `kMostAttributes`.
constexpr std::size_t kMostAttributes = 100;
std::vector<WayPoint> trackOfGpx(const std::string& text, const std::string& name);

/// By what stands in the file: GPX if that begins with "<".
std::vector<WayPoint> readTrack(const std::string& name);

}  // namespace unitsim

#endif
