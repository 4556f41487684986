#ifndef LAB_CTL_SERVE_FRAMEBOARD_H
#define LAB_CTL_SERVE_FRAMEBOARD_H

#include "utilities/ThreadAnnotations.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvanectl {

/// What viewers are shown, in named sections of JSON. A frame that a viewer gets has the sections that have changed since
/// the one it got before, as they are now. So one that reads slowly misses frames, but nothing that stands in a section.
///
/// Any thread. Who publishes never waits for a viewer.
class FrameBoard {
public:
    using Sections = std::vector<std::pair<std::string, std::string>>;  // name and JSON, in one line

    struct Frame {
        std::uint64_t number;
        std::string text;  ///< a JSON object of the sections
    };

    /// Gives sections their present JSON; those that are not among them stay.
    void publish(const Sections& sections) EXCLUDES(m_mutex);

    /// The next frame behind that number, waited for; of number 0 the first, with everything. Nothing once it is closed.
    std::optional<Frame> next(std::uint64_t seen) EXCLUDES(m_mutex);

    /// Nobody waits any more.
    void close() EXCLUDES(m_mutex);

private:
    struct Section {
        std::string name;
        std::shared_ptr<const std::string> json;
        std::uint64_t changed;  // number of the frame
    };

    Mutex m_mutex;  // a leaf
    std::condition_variable_any m_wake;
    std::vector<Section> m_sections GUARDED_BY(m_mutex);
    std::uint64_t m_number GUARDED_BY(m_mutex) = 0;
    bool m_isClosed GUARDED_BY(m_mutex) = false;
};

}  // namespace orvanectl

#endif
