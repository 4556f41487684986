#ifndef LAB_CTL_SEQ_BUSNEWS_H
#define LAB_CTL_SEQ_BUSNEWS_H

#include "lab/ctl/BusLink.h"
#include "lab/ctl/seq/Judge.h"

#include <string>
#include <utility>
#include <vector>

namespace orvanectl {

/// Makes observations of what comes on the bus. One thread at a time.
class BusNews {
public:
    /// @param fromTheStart  all that the service has told is news, also what was told before the bus was connected to
    explicit BusNews(bool fromTheStart) : m_fromTheStart(fromTheStart) {}

    /// What is new by a line; nothing by one that is no publication.
    std::vector<Observation> observe(const BusLink::Json& line, Observation::Time now);

private:
    using Row = std::pair<int, std::string>;  // a warning's number and text

    std::vector<Row> newWarnings(const BusLink::Json& record);

    bool m_fromTheStart;
    std::vector<Row> m_warnings;  // of the last list
};

}  // namespace orvanectl

#endif
