#include "lab/unit/ControlSocket.h"

#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace unitsim {

namespace {

sockaddr_un addressOf(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path)
        throw std::runtime_error(path + ": no path for a socket, which has 1 to " +
                                 std::to_string(sizeof address.sun_path - 1) + " bytes");
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

int newSocket()
{
    return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

/// Whether there is a socket that refuses everybody, as one does whose process is gone. A file refuses them too.
bool isAbandoned(const sockaddr_un& address)
{
    std::error_code ignored;
    if (!std::filesystem::is_socket(std::filesystem::symlink_status(address.sun_path, ignored))) return false;
    const int socket = newSocket();
    if (socket < 0) return false;
    const bool refused =
        ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 && errno == ECONNREFUSED;
    ::close(socket);
    return refused;
}

int listeningAt(const std::string& path)
{
    const sockaddr_un address = addressOf(path);
    const int socket = newSocket();
    int error = socket < 0 ? errno : 0;
    const auto isDone = [&error](int result) {
        if (result != 0) error = errno;
        return result == 0;
    };
    const auto bind = [&] {
        return isDone(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    };
    const auto bindAnew = [&] {
        return error == EADDRINUSE && isAbandoned(address) && ::unlink(path.c_str()) == 0 && bind();
    };
    if (socket >= 0 && (bind() || bindAnew()) && isDone(::listen(socket, 8))) return socket;
    if (socket >= 0) ::close(socket);
    throw std::runtime_error(path + ": can't be listened at: " + std::generic_category().message(error));
}

}  // namespace

ControlSocket::ControlSocket(const std::string& path, std::function<std::string(const std::string&)> answer)
    : m_path(path), m_answer(std::move(answer)), m_listening(listeningAt(path)),
      m_end(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)), m_thread([this] { run(); })
{}

ControlSocket::~ControlSocket()
{
    eventfd_write(m_end, 1);
    m_thread.join();
    for (const Client& client : m_clients) ::close(client.socket);
    ::close(m_end);
    ::close(m_listening);
    ::unlink(m_path.c_str());
}

void ControlSocket::run() noexcept
{
    shielded([this] { serve(); },
             [](const char* what) { printLine(std::cerr, "unit-sim: control: ", what ? what : "unknown"); });
}

void ControlSocket::serve()
{
    for (;;) {
        std::vector<pollfd> waiting = {{m_end, POLLIN, 0}, {m_listening, POLLIN, 0}};
        for (const Client& client : m_clients) waiting.push_back({client.socket, POLLIN, 0});
        if (::poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "poll");
        if (waiting[0].revents != 0) return;
        // From the last one, so that those before keep their places.
        for (std::size_t i = m_clients.size(); i-- > 0;) {
            if (waiting[i + 2].revents == 0 || attend(m_clients[i])) continue;
            ::close(m_clients[i].socket);
            m_clients.erase(m_clients.begin() + static_cast<std::ptrdiff_t>(i));
        }
        if (waiting[1].revents != 0) admit();
    }
}

void ControlSocket::admit()
{
    const int socket = ::accept4(m_listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket < 0) {
        ::poll(nullptr, 0, 50);  // without descriptors it waits there, and would be asked for again and again
        return;
    }
    if (m_clients.size() < kClients)
        m_clients.push_back({socket, {}});
    else
        ::close(socket);
}

/// Answers what has come; false when the client is to go.
bool ControlSocket::attend(Client& client)
{
    std::array<char, kLongestLine> piece;
    const ssize_t count = ::recv(client.socket, piece.data(), piece.size(), 0);
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    if (count == 0) return false;
    client.input.append(piece.data(), static_cast<std::size_t>(count));
    for (std::size_t end; (end = client.input.find('\n')) != std::string::npos; client.input.erase(0, end + 1)) {
        const std::string answer = m_answer(client.input.substr(0, end)) + '\n';
        // One that does not read its answers is turned away.
        if (::send(client.socket, answer.data(), answer.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(answer.size()))
            return false;
    }
    return client.input.size() <= kLongestLine;
}

}  // namespace unitsim
