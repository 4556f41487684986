#ifndef LAB_CTL_REPORT_EVENTREPORT_H
#define LAB_CTL_REPORT_EVENTREPORT_H

#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "lab/ctl/report/Course.h"
#include "lab/ctl/report/EndsList.h"

#include <cstdint>
#include <map>
#include <string>

namespace orvanectl {

/// Events and maintenance events of a recording. Faults are kept apart, so that no flood of others hides them. Times are
/// seconds since the start and must not go back. One thread at a time.
class EventReport {
public:
    void take(const aspn2_msgs::idl::EventLog& event, double seconds);
    void take(const aspn2_msgs::idl::MaintenanceEvent& event, double seconds);

    /// `count`, `types` with how often, `leftOut`, and as `rows` [seconds, type, source, text].
    Json json() const;

private:
    struct Row {
        double seconds;
        std::string type, source, text;
    };

    void add(Row row, bool isFault);

    static constexpr std::size_t kMost = 200;  // of either end, of faults and of others
    static constexpr std::size_t kMostTypes = 32;

    EndsList<Row> m_faults{kMost};
    EndsList<Row> m_others{kMost};
    std::map<std::string, std::uint64_t> m_types;
};

}  // namespace orvanectl

#endif
