#include "lab/ctl/LineSocket.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace orvanectl {

namespace {

[[noreturn]] void fail(const std::string& what)
{
    throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

}  // namespace

LineSocket::LineSocket(const std::string& path, const std::string& what) : m_what(what), m_socket(-1)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error(path + ": the path is too long for a socket");
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    m_socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_socket < 0) fail("socket");
    if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return;
    const int error = errno;
    ::close(m_socket);
    throw std::runtime_error("no " + what + " at " + path + ": " + std::generic_category().message(error));
}

LineSocket::~LineSocket()
{
    ::close(m_socket);
}

void LineSocket::send(std::string line)
{
    line += '\n';
    for (std::string_view rest = line; !rest.empty();) {
        const ssize_t count = ::send(m_socket, rest.data(), rest.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail("cannot write to the " + m_what);
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
}

std::optional<std::string> LineSocket::nextLine()
{
    for (;;) {
        if (auto line = takeLine()) return line;
        if (!receive(0) && m_closed) return std::nullopt;
    }
}

std::optional<std::string> LineSocket::arrivedLine()
{
    for (;;) {
        if (auto line = takeLine()) return line;
        if (m_closed || !receive(MSG_DONTWAIT)) return std::nullopt;
    }
}

std::optional<std::string> LineSocket::takeLine()
{
    const std::size_t end = m_input.find('\n', m_searched);
    m_searched = m_input.size();
    if (end == std::string::npos) return std::nullopt;
    std::string line = m_input.substr(0, end);
    m_input.erase(0, end + 1);
    m_searched = 0;
    return line;
}

/// Whether more has come.
bool LineSocket::receive(int flags)
{
    if (m_input.size() > kLongestLine) throw std::runtime_error("a line of the " + m_what + " is too long");
    std::array<char, 65536> piece;
    const ssize_t count = ::recv(m_socket, piece.data(), piece.size(), flags);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return false;
    if (count < 0 && errno != ECONNRESET) fail("cannot read from the " + m_what);
    m_closed = count <= 0;  // reset is how it closes with something of this side unread
    if (!m_closed) m_input.append(piece.data(), static_cast<std::size_t>(count));
    return !m_closed;
}

}  // namespace orvanectl
