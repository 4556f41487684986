#ifndef LAB_CTL_REPORT_SPREAD_H
#define LAB_CTL_REPORT_SPREAD_H

#include "lab/ctl/FrameDecoder.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvanectl {

/// How values are spread. Least and greatest are exact; the others are as long as there are no more than `kMost` values,
/// and from then on of every second, fourth, ... of them. One thread at a time.
class Spread {
public:
    static constexpr std::size_t kMost = 65'536;

    /// What is not finite is left out.
    void add(double value);

    std::uint64_t count() const { return m_count; }

    /// The value that so large a part of the values does not go beyond. NaN without one.
    /// @param part  0 to 1
    double quantile(double part) const;

    /// `count`, `least`, `median`, `p95` and `most`, rounded to `step`; null without values.
    Json json(double step) const;

private:
    std::uint64_t m_count = 0;
    std::uint64_t m_every = 1;
    double m_least = 0;
    double m_most = 0;
    std::vector<double> m_values;
};

}  // namespace orvanectl

#endif
