#ifndef LAB_CTL_TOP_TOPLAYOUT_H
#define LAB_CTL_TOP_TOPLAYOUT_H

#include "lab/ctl/top/Canvas.h"
#include "lab/ctl/top/TopUi.h"
#include "lab/ctl/top/TopView.h"

#include <string>
#include <vector>

/// Where things stand on the screen of `orvanectl top`. Pure functions, any thread.
namespace orvanectl {

/// The page that the person has chosen. In a window that is too small for it, a word on what it takes.
/// @param fields  of the marked topic's latest record, a line each
Canvas layOut(const TopView& view, const TopUi& ui, const std::vector<std::string>& fields, int width, int height);

/// How many lines of fields a window of that height shows.
int fieldLinesOf(int height);

/// How many names of the bus a window of that height shows at once.
int groupLinesOf(const TopView& view, int height);

/// A line with the middle marked, and how far `seconds` is from it, up to 1 s to either side; what is 1 s or more away,
/// which can't be joined, ends in '<' or '>'.
/// @param width  odd, 3 at the least
std::string offsetBar(double seconds, int width);

}  // namespace orvanectl

#endif
