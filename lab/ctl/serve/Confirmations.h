#ifndef LAB_CTL_SERVE_CONFIRMATIONS_H
#define LAB_CTL_SERVE_CONFIRMATIONS_H

#include "utilities/ThreadAnnotations.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <string>

namespace orvanectl {

/// What a person was asked whether to do, and has not answered yet. Each is good for one thing, once, for a minute. Any
/// thread.
class Confirmations {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::seconds kLifetime{60};
    /// The oldest gives way.
    static constexpr std::size_t kMost = 64;

    /// What is to come back.
    std::string ask(const std::string& what, Time now) EXCLUDES(m_mutex);

    /// Whether that was asked of this; it is used up by it.
    bool take(const std::string& what, const std::string& confirmation, Time now) EXCLUDES(m_mutex);

private:
    struct Row {
        std::string what;
        std::string confirmation;
        Time end;
    };

    Mutex m_mutex;  // a leaf
    std::deque<Row> m_rows GUARDED_BY(m_mutex);
};

}  // namespace orvanectl

#endif
