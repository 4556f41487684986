#include "lab/ctl/report/Spread.h"

#include "lab/ctl/report/Course.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orvanectl {

void Spread::add(double value)
{
    if (!std::isfinite(value)) return;
    m_least = m_count == 0 ? value : std::min(m_least, value);
    m_most = m_count == 0 ? value : std::max(m_most, value);
    if (m_count++ % m_every != 0) return;
    m_values.push_back(value);
    if (m_values.size() <= kMost) return;
    std::vector<double> fewer;
    for (std::size_t i = 0; i < m_values.size(); i += 2) fewer.push_back(m_values[i]);
    m_values = std::move(fewer);
    m_every *= 2;
}

double Spread::quantile(double part) const
{
    if (m_values.empty()) return std::numeric_limits<double>::quiet_NaN();
    if (part <= 0) return m_least;
    if (part >= 1) return m_most;
    std::vector<double> sorted = m_values;
    const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(sorted.size())));
    const std::size_t index = std::clamp<std::size_t>(rank, 1, sorted.size()) - 1;
    std::nth_element(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(index), sorted.end());
    return sorted[index];
}

Json Spread::json(double step) const
{
    if (m_count == 0) return nullptr;
    return {{"count", m_count},
            {"least", roundedTo(m_least, step)},
            {"median", roundedTo(quantile(0.5), step)},
            {"p95", roundedTo(quantile(0.95), step)},
            {"most", roundedTo(m_most, step)}};
}

}  // namespace orvanectl
