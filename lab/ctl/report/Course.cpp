#include "lab/ctl/report/Course.h"

#include <algorithm>
#include <cmath>

namespace orvanectl {

namespace {

std::int64_t half(std::int64_t number)
{
    return number >= 0 ? number / 2 : -((1 - number) / 2);
}

}  // namespace

Json roundedTo(double value, double step)
{
    const double parts = std::round(1 / step);
    const double scaled = std::round(value * parts) / parts;
    if (!std::isfinite(scaled)) return nullptr;
    return scaled;
}

Course::Course(std::size_t most, double width) : m_most(std::max<std::size_t>(most, 2)), m_width(width) {}

void Course::append(double seconds, double value)
{
    constexpr double kFarthest = 1e12;  // s, so that a number of a bucket is one
    if (!std::isfinite(value) || !(std::abs(seconds) < kFarthest)) return;
    const auto number = static_cast<std::int64_t>(std::floor(seconds / m_width));
    if (m_buckets.empty() || m_buckets.back().number < number) {
        m_buckets.push_back({number, seconds, value, value, value, 1});
        while (m_buckets.size() > m_most) widen();
        return;
    }
    Bucket& bucket = m_buckets.back();
    bucket.low = std::min(bucket.low, value);
    bucket.high = std::max(bucket.high, value);
    bucket.sum += value;
    ++bucket.count;
}

void Course::widen()
{
    m_width *= 2;
    std::vector<Bucket> wider;
    for (Bucket bucket : m_buckets) {
        bucket.number = half(bucket.number);
        if (wider.empty() || wider.back().number != bucket.number) {
            wider.push_back(bucket);
            continue;
        }
        Bucket& last = wider.back();
        last.low = std::min(last.low, bucket.low);
        last.high = std::max(last.high, bucket.high);
        last.sum += bucket.sum;
        last.count += bucket.count;
    }
    m_buckets = std::move(wider);
}

Json Course::json(double step) const
{
    Json seconds = Json::array(), low = Json::array(), high = Json::array(), mean = Json::array();
    for (const Bucket& bucket : m_buckets) {
        seconds.push_back(roundedTo(bucket.seconds, 0.001));
        low.push_back(roundedTo(bucket.low, step));
        high.push_back(roundedTo(bucket.high, step));
        mean.push_back(roundedTo(bucket.sum / static_cast<double>(bucket.count), step));
    }
    return {{"width", m_width}, {"seconds", seconds}, {"low", low}, {"high", high}, {"mean", mean}};
}

Json Course::ratesJson() const
{
    Json seconds = Json::array(), hertz = Json::array();
    for (const Bucket& bucket : m_buckets) {
        seconds.push_back(roundedTo(static_cast<double>(bucket.number) * m_width, 0.001));
        hertz.push_back(roundedTo(static_cast<double>(bucket.count) / m_width, 0.001));
    }
    return {{"width", m_width}, {"seconds", seconds}, {"hertz", hertz}};
}

}  // namespace orvanectl
