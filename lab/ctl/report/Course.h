#ifndef LAB_CTL_REPORT_COURSE_H
#define LAB_CTL_REPORT_COURSE_H

#include "lab/ctl/FrameDecoder.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvanectl {

/// A course of values in a bounded number of buckets, each of which keeps its least, its greatest and its mean: a peak of
/// a moment is still there in a day. When there are too many, their width is doubled. One thread at a time.
class Course {
public:
    struct Bucket {
        std::int64_t number;  ///< it holds what came from `number * width()` on
        double seconds;       ///< of its first value
        double low;
        double high;
        double sum;
        std::uint64_t count;
    };

    static constexpr std::size_t kMostBuckets = 600;

    /// @param most   buckets that are kept, 2 at the least
    /// @param width  s
    explicit Course(std::size_t most = kMostBuckets, double width = 0.25);

    /// @param seconds  since the start; must not go back, and is finite
    /// @param value    is left out if it is not finite
    void append(double seconds, double value);

    double width() const { return m_width; }
    const std::vector<Bucket>& buckets() const { return m_buckets; }

    /// `width`, and in columns `seconds`, `low`, `high` and `mean`, rounded to `step`.
    Json json(double step) const;

    /// `width`, and in columns `seconds` of the beginnings of buckets and `hertz`, values a second.
    Json ratesJson() const;

private:
    void widen();

    std::size_t m_most;
    double m_width;
    std::vector<Bucket> m_buckets;
};

/// To the nearest multiple; null for what is not finite.
/// @param step  a whole part of 1
Json roundedTo(double value, double step);

}  // namespace orvanectl

#endif
