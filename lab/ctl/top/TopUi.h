#ifndef LAB_CTL_TOP_TOPUI_H
#define LAB_CTL_TOP_TOPUI_H

#include "lab/ctl/top/TopView.h"

#include <cstddef>
#include <vector>

namespace orvanectl {

/// What a person has typed.
enum class Key { None, Quit, Help, Pause, Sort, Reverse, Up, Down, PageUp, PageDown, Fields, Back };

/// What the person has chosen: the page, the order of the topics, the one that is marked, how far
/// lists are scrolled. One thread at a time.
class TopUi {
public:
    enum class Page { Overview, Fields, Help };
    enum class Sort { File, Name, Rate, Age, Gaps };

    /// @param topics  how many there are; that stays
    explicit TopUi(std::size_t topics) : m_topics(topics) {}

    /// Does what a key says; false once the person has left.
    /// @param rows  the topics that are shown
    bool take(Key key, const std::vector<TopicRow>& rows);

    Page page() const { return m_page; }
    Sort sort() const { return m_sort; }
    bool isReversed() const { return m_isReversed; }
    bool isPaused() const { return m_isPaused; }

    /// Index of the marked topic in the order of the file; meaningless without topics.
    std::size_t marked() const { return m_marked; }

    /// The first line of fields that is shown.
    std::size_t firstLine() const { return m_firstLine; }

    /// Keeps `firstLine` within so many.
    void limitFirstLine(std::size_t most);

    /// The first name of the bus that is shown.
    std::size_t firstGroup() const { return m_firstGroup; }

    /// Keeps `firstGroup` within so many.
    void limitFirstGroup(std::size_t most);

    /// Indexes of the topics in the order in which they are shown.
    std::vector<std::size_t> order(const std::vector<TopicRow>& rows) const;

private:
    void step(int by, const std::vector<TopicRow>& rows);
    void turn(bool isDown);

    std::size_t m_topics;
    Page m_page = Page::Overview;
    Sort m_sort = Sort::File;
    bool m_isReversed = false;
    bool m_isPaused = false;
    std::size_t m_marked = 0;
    std::size_t m_firstLine = 0;
    std::size_t m_firstGroup = 0;
};

}  // namespace orvanectl

#endif
