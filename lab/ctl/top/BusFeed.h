#ifndef LAB_CTL_TOP_BUSFEED_H
#define LAB_CTL_TOP_BUSFEED_H

#include "lab/ctl/BusLink.h"
#include "lab/ctl/TopicStatistics.h"

#include <optional>
#include <string>
#include <vector>

namespace orvanectl {

/// The lines of a bus that may come and go, such as with the service. Nothing waits. One thread at a time.
class BusFeed {
public:
    using Time = TopicStatistics::Time;

    /// @param path  empty: there is none
    explicit BusFeed(std::string path) : m_path(std::move(path)) {}

    /// The lines that are there, in their order, not too many at once. Looks for a bus that is gone once a second.
    std::vector<BusLink::Json> take(Time now);

    /// Why there is no bus; empty while there is one.
    const std::string& trouble() const { return m_trouble; }

    /// Can be read, for `poll`, when something has come; -1 while there is no bus.
    int descriptor() const { return m_link ? m_link->descriptor() : -1; }

private:
    std::string m_path;
    std::optional<BusLink> m_link;
    std::optional<Time> m_tried;
    std::string m_trouble = "none given";
};

}  // namespace orvanectl

#endif
