#ifndef LAB_UNIT_WINDOW_H
#define LAB_UNIT_WINDOW_H

#include <limits>
#include <vector>

namespace unitsim {

/// A stretch of time in seconds from the start: `from` is in it, `to` is not.
struct Window {
    double from = 0.0;
    double to = std::numeric_limits<double>::infinity();

    bool holds(double seconds) const { return seconds >= from && seconds < to; }
    bool operator==(const Window&) const = default;
};

bool anyHolds(const std::vector<Window>& windows, double seconds);

}  // namespace unitsim

#endif
