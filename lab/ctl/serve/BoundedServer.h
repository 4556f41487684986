#ifndef LAB_CTL_SERVE_BOUNDEDSERVER_H
#define LAB_CTL_SERVE_BOUNDEDSERVER_H

#include "lab/ctl/serve/RequestStream.h"
#include "utilities/ThreadAnnotations.h"

#include <set>

namespace orvanectl {

/// The library's server, on a socket that is there already. Each connection is for one request, within limits, and all
/// of them can be ended from outside.
class BoundedServer : public httplib::Server {
public:
    explicit BoundedServer(const RequestStream::Limits& limits) : m_limits(limits) {}

    /// Before it listens.
    void adopt(int socket) { svr_sock_ = socket; }

    /// Ends all connections, and each that comes later as it comes. Any thread.
    void endConnections() EXCLUDES(m_mutex);

private:
    class Connection;

    bool process_and_close_socket(socket_t socket) override;
    bool begin(int socket) EXCLUDES(m_mutex);
    void end(int socket) EXCLUDES(m_mutex);

    const RequestStream::Limits m_limits;
    Mutex m_mutex;  // a leaf
    std::set<int> m_open GUARDED_BY(m_mutex);
    bool m_isEnding GUARDED_BY(m_mutex) = false;
};

}  // namespace orvanectl

#endif
