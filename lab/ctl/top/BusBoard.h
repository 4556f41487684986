#ifndef LAB_CTL_TOP_BUSBOARD_H
#define LAB_CTL_TOP_BUSBOARD_H

#include "lab/ctl/BusLink.h"
#include "lab/ctl/TopicStatistics.h"
#include "lab/ctl/top/TopView.h"

#include <optional>
#include <string>
#include <vector>

namespace orvanectl {

/// Something that was heard, and when; without a time if that was before the start.
struct BusNote {
    std::string text;
    std::optional<TopicStatistics::Time> time;

    /// "REQUEST_ZEROIZE_ACK 3 s ago"; "-" if there is none.
    std::string textAt(TopicStatistics::Time now) const;
};

/// The latest that was heard of what clients ask for.
struct BusNotes {
    BusNote clearData;
    BusNote builtInTest;
};

/// What the lines of the lab's bus have told. One thread at a time.
class BusBoard {
public:
    /// Names that are kept apart; what comes under more is passed over.
    static constexpr std::size_t kMostNames = 24;

    BusBoard();

    /// Takes a line, whatever it is.
    void take(const BusLink::Json& line, TopicStatistics::Time now, BusNotes& notes);

    void setState(const std::string& state) { m_state = state; }

    /// "service 1 started", or what was set.
    const std::string& state() const { return m_state; }

    /// The three groups, then all else in the order of its first coming.
    const std::vector<GroupRow>& groups() const { return m_groups; }

    /// Roughly what a copy takes, in bytes.
    std::size_t weight() const;

private:
    GroupRow* groupOf(const std::string& name);
    void takeTell(const BusLink::Json& line, TopicStatistics::Time now, BusNotes& notes);
    void takeWarnings(const BusLink::Json& record, BusNote& note, std::optional<TopicStatistics::Time> when);

    std::string m_state;
    std::vector<GroupRow> m_groups;
    std::string m_clearDataWarnings;  // all that stood in the list, to see what is new
};

}  // namespace orvanectl

#endif
