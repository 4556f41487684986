#ifndef RELIABILITY_TORTURE_SYMBOLS_H
#define RELIABILITY_TORTURE_SYMBOLS_H

#include "reliability/torture/Facts.h"

#include <string>
#include <vector>

namespace torture {

/// The names of the service's functions in these frames, the innermost first, by its table of symbols.
std::vector<std::string> functionsOf(const std::vector<Frame>& frames);

}  // namespace torture

#endif
