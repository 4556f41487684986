#ifndef LAB_TEXT_NEARESTWORD_H
#define LAB_TEXT_NEARESTWORD_H

#include <string>
#include <string_view>
#include <vector>

namespace labtext {

/// The word that was probably meant: the first of those with the fewest letters inserted, left out, replaced or swapped
/// with their neighbour, whatever their case. Empty if that is more than a third of the longer one, at least one
/// letter, or if there is no word. Words longer than 64 letters are never meant.
std::string nearestWord(std::string_view word, const std::vector<std::string>& words);

}  // namespace labtext

#endif
