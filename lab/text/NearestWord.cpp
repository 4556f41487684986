#include "lab/text/NearestWord.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>

namespace labtext {

namespace {

constexpr std::size_t kLongest = 64;

char lower(char letter)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
}

/// Optimal string alignment distance, by rows of which three are kept.
std::size_t distanceOf(std::string_view a, std::string_view b)
{
    std::array<std::array<std::size_t, kLongest + 1>, 3> rows{};
    for (std::size_t j = 0; j <= b.size(); ++j) rows[0][j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        auto& row = rows[i % 3];
        const auto& above = rows[(i + 2) % 3];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool isSame = lower(a[i - 1]) == lower(b[j - 1]);
            row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (isSame ? 0 : 1)});
            const bool isSwapped =
                i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) && lower(a[i - 2]) == lower(b[j - 1]);
            if (isSwapped) row[j] = std::min(row[j], rows[(i + 1) % 3][j - 2] + 1);
        }
    }
    return rows[a.size() % 3][b.size()];
}

}  // namespace

std::string nearestWord(std::string_view word, const std::vector<std::string>& words)
{
    std::string nearest;
    std::size_t least = kLongest;
    if (word.empty() || word.size() > kLongest) return nearest;
    for (const std::string& candidate : words) {
        if (candidate.empty() || candidate.size() > kLongest) continue;
        const std::size_t distance = distanceOf(word, candidate);
        const std::size_t allowed = std::max<std::size_t>(1, std::max(word.size(), candidate.size()) / 3);
        if (distance > allowed || distance >= least) continue;
        least = distance;
        nearest = candidate;
    }
    return nearest;
}

}  // namespace labtext
