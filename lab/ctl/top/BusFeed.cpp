#include "lab/ctl/top/BusFeed.h"

#include <chrono>
#include <exception>
#include <stdexcept>

namespace orvanectl {

namespace {

constexpr std::chrono::seconds kBetweenTries{1};
constexpr int kMostLines = 2000;

}  // namespace

std::vector<BusLink::Json> BusFeed::take(Time now)
{
    std::vector<BusLink::Json> lines;
    if (m_path.empty()) return lines;
    try {
        if (!m_link) {
            if (m_tried && now - *m_tried < kBetweenTries) return lines;
            m_tried = now;
            m_link.emplace(m_path);
            m_trouble.clear();
        }
        for (int i = 0; i < kMostLines; ++i) {
            const auto text = m_link->arrivedLine();
            if (!text && m_link->isClosed()) throw std::runtime_error("the bus has closed");
            if (!text) break;
            lines.push_back(BusLink::Json::parse(*text, nullptr, false));
        }
    } catch (const std::exception& error) {
        m_link.reset();
        m_trouble = error.what();
    }
    return lines;
}

}  // namespace orvanectl
