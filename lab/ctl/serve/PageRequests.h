#ifndef LAB_CTL_SERVE_PAGEREQUESTS_H
#define LAB_CTL_SERVE_PAGEREQUESTS_H

#include "lab/ctl/BusLink.h"
#include "lab/ctl/serve/Confirmations.h"

#include <atomic>
#include <chrono>
#include <span>
#include <string>

namespace orvanectl {

/// A button of the page.
struct PageRequest {
    const char* name;   ///< "clear-data-all"
    const char* label;  ///< what stands on the button
    const char* body;   ///< the bus's request, as JSON
    const char* warns;  ///< what will happen, to be confirmed; null for what changes nothing that lasts
};

/// The requests that the page may make, and no others; each by a connection of its own to the bus. Any thread.
class PageRequests {
public:
    using Json = BusLink::Json;

    /// Made at the same time; more are refused.
    static constexpr int kMostAtOnce = 4;

    static std::span<const PageRequest> all();

    /// The buttons, for the page.
    static Json list();

    /// @param socket    of the bus; empty: there is none
    /// @param deadline  for an answer
    explicit PageRequests(std::string socket, std::chrono::milliseconds deadline = std::chrono::minutes(1))
        : m_socket(std::move(socket)), m_deadline(deadline)
    {}

    /// What a person is asked before: `warns` and `confirmation`. An object with `error` for a name that needs none.
    Json confirmation(const std::string& name);

    /// Makes it and waits for its answer: `ok`, and `text` for people, or `error`.
    /// @param confirmation  as asked for, or empty
    Json make(const std::string& name, const std::string& confirmation);

    /// Nobody waits any more.
    void end() { m_hasEnded = true; }

private:
    Json ask(const PageRequest& request);

    const std::string m_socket;
    const std::chrono::milliseconds m_deadline;
    Confirmations m_confirmations;
    std::atomic<bool> m_hasEnded = false;
    std::atomic<int> m_underWay = 0;
    std::atomic<unsigned> m_number = 0;
};

}  // namespace orvanectl

#endif
