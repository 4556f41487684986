#ifndef LAB_CTL_NEARESTWORD_H
#define LAB_CTL_NEARESTWORD_H

#include <string>
#include <string_view>
#include <vector>

namespace orvanectl {

/// The word that was probably meant: the first of those with the fewest letters inserted, left out, replaced or swapped
/// with their neighbour, whatever their case. Empty if that is more than a third of the longer one, at least one
/// letter, or if there is no word. Words longer than 64 letters are never meant.
std::string nearestWord(std::string_view word, const std::vector<std::string>& words);

/// "did you mean UTCTime?", or "there are: Command, UTCTime" where no word was probably meant. On one line.
std::string nearestOrAll(std::string_view word, const std::vector<std::string>& words);

}  // namespace orvanectl

#endif
