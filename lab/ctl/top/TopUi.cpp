#include "lab/ctl/top/TopUi.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace orvanectl {

namespace {

constexpr TopUi::Sort kSorts[] = {TopUi::Sort::File, TopUi::Sort::Name, TopUi::Sort::Rate, TopUi::Sort::Age,
                                  TopUi::Sort::Gaps};

TopUi::Sort next(TopUi::Sort sort)
{
    const auto* const found = std::ranges::find(kSorts, sort);
    return found + 1 == std::end(kSorts) ? kSorts[0] : found[1];
}

/// Whether a topic stands in front of another: names from a on, of numbers the most first.
bool isBefore(TopUi::Sort sort, const TopicRow& one, const TopicRow& other)
{
    switch (sort) {
    case TopUi::Sort::File:
        return false;
    case TopUi::Sort::Name:
        return one.name < other.name;
    case TopUi::Sort::Rate:
        return one.rateHz.value_or(-1) > other.rateHz.value_or(-1);
    case TopUi::Sort::Age: {
        // What never came is older than all.
        constexpr double kNever = std::numeric_limits<double>::infinity();
        return one.ageSeconds.value_or(kNever) > other.ageSeconds.value_or(kNever);
    }
    case TopUi::Sort::Gaps:
        return one.gaps > other.gaps;
    }
    return false;
}

}  // namespace

bool TopUi::take(Key key, const std::vector<TopicRow>& rows)
{
    if (key == Key::Quit) return false;
    // Help goes by any key.
    if (m_page == Page::Help) {
        m_page = Page::Overview;
        return true;
    }
    switch (key) {
    case Key::None:
    case Key::Quit:
        break;
    case Key::Help:
        m_page = Page::Help;
        break;
    case Key::Pause:
        m_isPaused = !m_isPaused;
        break;
    case Key::Sort:
        m_sort = next(m_sort);
        break;
    case Key::Reverse:
        m_isReversed = !m_isReversed;
        break;
    case Key::Up:
        step(-1, rows);
        break;
    case Key::Down:
        step(1, rows);
        break;
    case Key::PageUp:
        turn(false);
        break;
    case Key::PageDown:
        turn(true);
        break;
    case Key::Fields:
        m_page = m_page == Page::Fields || m_topics == 0 ? Page::Overview : Page::Fields;
        m_firstLine = 0;
        break;
    case Key::Back:
        m_page = Page::Overview;
        break;
    }
    return true;
}

void TopUi::limitFirstLine(std::size_t most)
{
    m_firstLine = std::min(m_firstLine, most);
}

std::vector<std::size_t> TopUi::order(const std::vector<TopicRow>& rows) const
{
    std::vector<std::size_t> indexes(rows.size());
    std::iota(indexes.begin(), indexes.end(), std::size_t{0});
    std::ranges::stable_sort(
        indexes, [&](std::size_t one, std::size_t other) { return isBefore(m_sort, rows[one], rows[other]); });
    if (m_isReversed) std::ranges::reverse(indexes);
    return indexes;
}

void TopUi::limitFirstGroup(std::size_t most)
{
    m_firstGroup = std::min(m_firstGroup, most);
}

/// Goes up or down by the page in what is shown: names of the bus, or lines of fields.
void TopUi::turn(bool isDown)
{
    constexpr std::size_t kGroups = 4, kLines = 15;
    const bool isFields = m_page == Page::Fields;
    std::size_t& first = isFields ? m_firstLine : m_firstGroup;
    const std::size_t by = isFields ? kLines : kGroups;
    first = isDown ? first + by : first - std::min(first, by);
}

/// Goes up or down in what is shown: topics, or lines of fields.
void TopUi::step(int by, const std::vector<TopicRow>& rows)
{
    if (m_page == Page::Fields) {
        if (by > 0 || m_firstLine > 0) m_firstLine += static_cast<std::size_t>(by);
        return;
    }
    const std::vector<std::size_t> shown = order(rows);
    const auto found = std::ranges::find(shown, m_marked);
    if (found == shown.end()) return;
    if (by < 0 && found != shown.begin()) m_marked = *(found - 1);
    if (by > 0 && found + 1 != shown.end()) m_marked = *(found + 1);
}

}  // namespace orvanectl
