#ifndef LAB_CTL_SERVE_PAGESERVER_H
#define LAB_CTL_SERVE_PAGESERVER_H

#include "lab/ctl/serve/FrameBoard.h"
#include "lab/ctl/serve/ListeningSocket.h"
#include "lab/ctl/serve/PageGuard.h"
#include "lab/ctl/serve/PageRequests.h"
#include "lab/ctl/serve/ReplayPosition.h"

#include <chrono>
#include <memory>

namespace orvanectl {

/// Serves the page over HTTP from construction to destruction, on threads of its own:
///
///     GET  /            the page, with the guard's token in it; /page.css and so on
///     GET  /events      server-sent events: each a frame of the board
///     POST /confirm     {"name": ...}: what will happen, and the confirmation
///     POST /request     {"name": ..., "confirmation": ...}: a request to the bus
///     POST /position    {"to": ...} and so on: where a recording is shown, if one is; then the two before are refused
///
/// The guard is asked before each.
class PageServer {
public:
    /// Who looks on at the same time; the next one is told to come back later.
    static constexpr int kMostViewers = 16;

    /// All must outlive it; `board` and `requests` are closed by its end.
    /// @param requestTime  for all of a request to come, from the first to the last byte
    /// @param position     of the recording that is shown; null for what is sent now
    PageServer(ListeningSocket& socket, const PageGuard& guard, FrameBoard& board, PageRequests& requests,
               std::chrono::milliseconds requestTime = std::chrono::seconds(5), ReplayPosition* position = nullptr);
    ~PageServer();
    PageServer(const PageServer&) = delete;
    PageServer& operator=(const PageServer&) = delete;

    int viewers() const;

    /// It takes no connections any more, for which there is a reason in the system.
    bool hasFailed() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace orvanectl

#endif
