#include "lab/ctl/serve/ListeningSocket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace orvanectl {

namespace {

[[noreturn]] void fail(const std::string& what)
{
    throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

/// Either kind of address.
struct Place {
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;

    sockaddr* any() { return reinterpret_cast<sockaddr*>(&storage); }
};

Place placeOf(const std::string& address, int port)
{
    Place place;
    sockaddr_in four{};
    sockaddr_in6 six{};
    if (::inet_pton(AF_INET, address.c_str(), &four.sin_addr) == 1) {
        four.sin_family = AF_INET;
        four.sin_port = htons(static_cast<std::uint16_t>(port));
        std::memcpy(&place.storage, &four, sizeof four);
        place.size = sizeof four;
    } else if (::inet_pton(AF_INET6, address.c_str(), &six.sin6_addr) == 1) {
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(static_cast<std::uint16_t>(port));
        std::memcpy(&place.storage, &six, sizeof six);
        place.size = sizeof six;
    } else {
        throw std::runtime_error(address + ": no address in numbers");
    }
    return place;
}

}  // namespace

ListeningSocket::ListeningSocket(const std::string& address, int port)
{
    constexpr int kWaiting = 64;
    Place place = placeOf(address, port);
    m_socket = ::socket(place.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_socket < 0) fail("socket");
    const int yes = 1;
    // Connections of a run before that are being closed don't keep the place.
    ::setsockopt(m_socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (::bind(m_socket, place.any(), place.size) != 0 || ::listen(m_socket, kWaiting) != 0) {
        const int error = errno;
        ::close(std::exchange(m_socket, -1));
        throw std::runtime_error("cannot listen at " + address + " port " + std::to_string(port) + ": " +
                                 std::generic_category().message(error));
    }
    learnPlace();
}

ListeningSocket::ListeningSocket(int descriptor)
{
    int listens = 0;
    socklen_t size = sizeof listens;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) != 0 || listens == 0)
        throw std::runtime_error("descriptor " + std::to_string(descriptor) + " is no socket that listens");
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    m_socket = descriptor;
    learnPlace();
}

ListeningSocket::~ListeningSocket()
{
    if (m_socket >= 0) ::close(m_socket);
}

int ListeningSocket::release()
{
    return std::exchange(m_socket, -1);
}

void ListeningSocket::learnPlace()
{
    Place place;
    char text[INET6_ADDRSTRLEN] = "";
    if (::getsockname(m_socket, place.any(), &place.size) != 0) fail("getsockname");
    if (place.storage.ss_family == AF_INET) {
        sockaddr_in four{};
        std::memcpy(&four, &place.storage, sizeof four);
        ::inet_ntop(AF_INET, &four.sin_addr, text, sizeof text);
        m_host = text;
        m_port = ntohs(four.sin_port);
    } else if (place.storage.ss_family == AF_INET6) {
        sockaddr_in6 six{};
        std::memcpy(&six, &place.storage, sizeof six);
        ::inet_ntop(AF_INET6, &six.sin6_addr, text, sizeof text);
        m_host = '[' + std::string(text) + ']';
        m_port = ntohs(six.sin6_port);
    } else {
        ::close(std::exchange(m_socket, -1));
        throw std::runtime_error("the descriptor is no TCP socket");
    }
}

}  // namespace orvanectl
