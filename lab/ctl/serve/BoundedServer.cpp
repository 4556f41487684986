#include "lab/ctl/serve/BoundedServer.h"

#include <array>
#include <sys/socket.h>
#include <unistd.h>

namespace orvanectl {

/// A connection that can be ended from outside, from construction to destruction, which closes it.
class BoundedServer::Connection {
public:
    Connection(BoundedServer& server, int socket) : m_server(server), m_socket(socket), m_isOpen(server.begin(socket))
    {}
    ~Connection()
    {
        ::shutdown(m_socket, SHUT_WR);
        // What was sent and not read would have the answer thrown away on its way. What comes later is not waited for.
        std::array<char, 4096> rest{};
        for (int i = 0; i < 16 && ::recv(m_socket, rest.data(), rest.size(), MSG_DONTWAIT) > 0; ++i) continue;
        m_server.end(m_socket);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool isOpen() const { return m_isOpen; }

private:
    BoundedServer& m_server;
    const int m_socket;
    const bool m_isOpen;
};

bool BoundedServer::begin(int socket)
{
    const MutexLock lock(m_mutex);
    m_open.insert(socket);
    return !m_isEnding;
}

void BoundedServer::end(int socket)
{
    // Under the lock: its number may be another's as soon as it is closed.
    const MutexLock lock(m_mutex);
    m_open.erase(socket);
    ::close(socket);
}

void BoundedServer::endConnections()
{
    const MutexLock lock(m_mutex);
    m_isEnding = true;
    for (const int socket : m_open) ::shutdown(socket, SHUT_RDWR);
}

bool BoundedServer::process_and_close_socket(socket_t socket)
{
    const Connection connection(*this, socket);
    if (!connection.isOpen()) return false;
    RequestStream stream(socket, m_limits);
    constexpr bool kIsTheLast = true;
    bool isClosed = false;
    return process_request(stream, kIsTheLast, isClosed, nullptr);
}

}  // namespace orvanectl
