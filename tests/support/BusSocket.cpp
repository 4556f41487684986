#include "tests/support/BusSocket.h"

#include "tests/support/ChildProcess.h"

#include <cstddef>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

BusSocket::BusSocket(const std::string& path) : m_part(std::size_t{1} << 18)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error(path + " is too long");
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isThere =
        eventually([&] { return connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0; });
    if (!isThere) {
        close(m_socket);
        throw std::runtime_error("there is no bus at " + path);
    }
}

BusSocket::~BusSocket()
{
    close(m_socket);
}

void BusSocket::send(const std::string& line) const
{
    const std::string text = line + '\n';
    if (::send(m_socket, text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("the bus takes no request");
}

bool BusSocket::awaitMore(std::chrono::milliseconds within) const
{
    pollfd waiting{m_socket, POLLIN, 0};
    return within.count() > 0 && poll(&waiting, 1, static_cast<int>(within.count())) > 0;
}

bool BusSocket::read(std::string& text)
{
    const ssize_t count = recv(m_socket, m_part.data(), m_part.size(), 0);
    if (count <= 0) return false;
    text.append(m_part.data(), static_cast<std::size_t>(count));
    return true;
}

void BusSocket::shutDown() const
{
    shutdown(m_socket, SHUT_RDWR);
}
