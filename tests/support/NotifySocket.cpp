#include "tests/support/NotifySocket.h"

#include "tests/support/ChildProcess.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

NotifySocket::NotifySocket(const std::string& name) : m_descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (m_descriptor == -1 || name.size() > sizeof address.sun_path) throw std::runtime_error("no socket " + name);
    std::ranges::copy(name, address.sun_path);
    const bool isAbstract = name.starts_with('@');
    if (isAbstract) address.sun_path[0] = '\0';
    const auto length = offsetof(sockaddr_un, sun_path) + name.size() + (isAbstract ? 0 : 1);
    if (bind(m_descriptor, reinterpret_cast<const sockaddr*>(&address), static_cast<socklen_t>(length)) != 0)
        throw std::runtime_error("cannot bind " + name);
}

NotifySocket::~NotifySocket()
{
    if (m_descriptor != -1) close(m_descriptor);
}

std::string NotifySocket::next(std::chrono::milliseconds timeout) const
{
    pollfd entry{m_descriptor, POLLIN, 0};
    if (poll(&entry, 1, static_cast<int>(timeout.count())) != 1) return "";
    std::array<char, 4096> text{};
    const ssize_t size = recv(m_descriptor, text.data(), text.size(), 0);
    return size > 0 ? std::string(text.data(), static_cast<std::size_t>(size)) : "";
}

bool NotifySocket::await(const std::string& text) const
{
    return eventually([&] { return next(std::chrono::milliseconds(100)).find(text) != std::string::npos; });
}
