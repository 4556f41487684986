#ifndef RELIABILITY_TORTURE_WALKED_H
#define RELIABILITY_TORTURE_WALKED_H

#include "reliability/torture/Facts.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace torture {

/// What was seen at each point by now, kept in a file so that a walk that is broken off goes on where it was. Facts and no
/// verdicts: who judges otherwise by then need not walk again. One thread at a time.
class Walked {
public:
    /// @param path     of the file; empty: nothing is kept. One of another service is begun anew.
    /// @param service  tells one build of the service from another
    Walked(std::string path, const std::string& service);

    /// Nothing if the point was not tried.
    std::optional<Facts> at(const Point& point) const;

    void add(const Point& point, const Facts& facts);

private:
    const std::string m_path;
    std::map<std::string, std::string> m_texts;  // of facts, by the text of their point
};

/// All points of such a file with what was seen, of whatever build of the service. Throws if it can't be read.
std::vector<std::pair<Point, Facts>> allWalked(const std::string& path);

/// A text that differs, in all likelihood, for files of different bytes. Throws if the file can't be read.
std::string fingerprintOf(const std::string& path);

}  // namespace torture

#endif
