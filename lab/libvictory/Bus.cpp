#include "lab/libvictory/Bus.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>

namespace labvictory {

namespace {

constexpr int kBacklog = 16;
/// Of all buses of the process, so that an answer for a client of an earlier one meets nobody.
std::atomic<Bus::ClientId> s_lastClient{0};

constexpr int kMostWaitMs = 1000;    // for work that it was not woken for
constexpr int kAcceptPauseMs = 100;  // after a client could not be accepted, as when descriptors have run out

sockaddr_un addressOf(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error("the path is too long for a socket");
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

const sockaddr* generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

Descriptor newSocket()
{
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket) fail("socket");
    return socket;
}

/// What a process left that ended without notice. Only a socket that nobody answers on is removed.
void removeLeftover(const std::string& path, const sockaddr_un& address)
{
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return;
    const Descriptor probe = newSocket();
    if (::connect(probe.get(), generic(address), sizeof address) != 0 && errno == ECONNREFUSED) ::unlink(path.c_str());
}

Descriptor listenAt(const std::string& path)
{
    const sockaddr_un address = addressOf(path);
    removeLeftover(path, address);
    Descriptor listener = newSocket();
    if (::bind(listener.get(), generic(address), sizeof address) != 0) fail("bind");
    if (::listen(listener.get(), kBacklog) != 0) fail("listen");
    return listener;
}

std::string numbered(const std::string& line, std::uint64_t number)
{
    return "{\"number\":" + std::to_string(number) + ',' + line.substr(1);
}

/// A publication as a client gets it that was not there when it was made.
std::string asLast(const std::string& line)
{
    return "{\"last\":true," + line.substr(1);
}

}  // namespace

void Bus::Outbox::push(Line line)
{
    bytes += line->size();
    lines.push_back(std::move(line));
    while (bytes > kMostWaiting || lines.size() > kMostWaitingLines) {
        bytes -= lines.front()->size();
        lines.pop_front();
        ++dropped;
    }
}

Bus::Line Bus::Outbox::take()
{
    if (dropped > 0)
        return std::make_shared<const std::string>(
            lineOf({{"type", "dropped"}, {"lines", std::exchange(dropped, std::size_t{0})}}));
    if (lines.empty()) return nullptr;
    Line line = std::move(lines.front());
    lines.pop_front();
    bytes -= line->size();
    return line;
}

Bus::Bus(std::string path, Handler handler)
    : m_path(std::move(path)), m_handler(std::move(handler)), m_listener(listenAt(m_path)),
      m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!m_wake) fail("eventfd");
    m_thread.emplace("victory-bus", [this] { run(); });
}

Bus::~Bus()
{
    close();
}

void Bus::close()
{
    if (!m_thread) return;
    m_stopping = true;
    wake();
    m_thread.reset();
    m_connections.clear();
    ::unlink(m_path.c_str());
    const MutexLock lock(m_mutex);
    m_outboxes.clear();
}

void Bus::publish(const std::string& name, const Json& line, std::string raw)
{
    const std::string text = lineOf(line);
    {
        const MutexLock lock(m_mutex);
        const std::uint64_t number = ++m_lastNumber;
        const auto shared = std::make_shared<const std::string>(numbered(text, number));
        for (auto& [client, outbox] : m_outboxes) outbox.push(shared);
        m_last[name] = {number, *shared, std::move(raw)};
    }
    wake();
}

void Bus::announce(const Json& line)
{
    const auto shared = std::make_shared<const std::string>(lineOf(line));
    {
        const MutexLock lock(m_mutex);
        for (auto& [client, outbox] : m_outboxes) outbox.push(shared);
    }
    wake();
}

void Bus::send(ClientId client, const Json& line)
{
    auto shared = std::make_shared<const std::string>(lineOf(line));
    {
        const MutexLock lock(m_mutex);
        const auto found = m_outboxes.find(client);
        if (found == m_outboxes.end()) return;
        found->second.push(std::move(shared));
    }
    wake();
}

std::map<std::string, Bus::Last> Bus::last() const
{
    const MutexLock lock(m_mutex);
    return m_last;
}

void Bus::wake() const
{
    const std::uint64_t one = 1;
    // When it fails, the bus is awake anyway, or looks by itself a moment later.
    [[maybe_unused]] const ssize_t written = ::write(m_wake.get(), &one, sizeof one);
}

void Bus::run()
{
    while (!m_stopping) {
        try {
            waitForWork();
        } catch (const std::exception&) {
            // Out of memory: the clients go, the bus stays.
            m_connections.clear();
            const MutexLock lock(m_mutex);
            m_outboxes.clear();
        }
    }
}

void Bus::waitForWork()
{
    std::vector<pollfd> polled{{m_wake.get(), POLLIN, 0}, {m_acceptPaused ? -1 : m_listener.get(), POLLIN, 0}};
    std::vector<ClientId> clients;
    for (const auto& [client, connection] : m_connections) {
        const int events = (connection.ended ? 0 : POLLIN) | (connection.output ? POLLOUT : 0);
        polled.push_back({connection.socket.get(), static_cast<short>(events), 0});
        clients.push_back(client);
    }
    const int waitMs = m_acceptPaused ? kAcceptPauseMs : kMostWaitMs;
    if (::poll(polled.data(), static_cast<nfds_t>(polled.size()), waitMs) < 0) return;

    if (polled[0].revents != 0) {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t read = ::read(m_wake.get(), &count, sizeof count);
    }
    for (std::size_t index = 0; index < clients.size(); ++index) {
        const auto found = m_connections.find(clients[index]);
        if (serve(found->first, found->second, polled[index + 2].revents)) continue;
        m_connections.erase(found);
        const MutexLock lock(m_mutex);
        m_outboxes.erase(clients[index]);
    }
    m_acceptPaused = false;
    if (polled[1].revents != 0) accept();
}

void Bus::accept()
{
    Descriptor socket(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!socket) {
        m_acceptPaused = errno != EAGAIN && errno != EINTR && errno != ECONNABORTED;
        return;
    }
    if (m_connections.size() >= kMostClients) return refuse(socket.get());

    const ClientId client = ++s_lastClient;
    m_connections[client].socket = std::move(socket);
    {
        const MutexLock lock(m_mutex);
        Outbox& outbox = m_outboxes[client];
        outbox.push(std::make_shared<const std::string>(lineOf({{"type", "hello"}, {"bus", "lab"}, {"protocol", 1}})));
        std::vector<const Last*> byNumber;
        for (const auto& [name, last] : m_last) byNumber.push_back(&last);
        std::ranges::sort(byNumber, {}, &Last::number);
        for (const Last* last : byNumber) outbox.push(std::make_shared<const std::string>(asLast(last->line)));
    }
    writeTo(client, m_connections[client]);
}

void Bus::refuse(int socket) const
{
    const std::string line = lineOf({{"type", "error"}, {"error", "too many clients"}});
    [[maybe_unused]] const ssize_t sent = ::send(socket, line.data(), line.size(), MSG_NOSIGNAL);
}

/// False when the client is gone.
bool Bus::serve(ClientId client, Connection& connection, short events)
{
    if ((events & (POLLIN | POLLHUP)) != 0 && !readFrom(client, connection)) return false;
    if ((events & (POLLHUP | POLLERR | POLLNVAL)) != 0) return false;
    return writeTo(client, connection);
}

/// Reads a piece, so that one client can't keep the others waiting. False when the client is gone.
bool Bus::readFrom(ClientId client, Connection& connection)
{
    std::array<char, 65536> piece;
    const ssize_t count = ::recv(connection.socket.get(), piece.data(), piece.size(), 0);
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    if (count == 0) connection.ended = true;
    take(client, connection, std::string_view(piece.data(), static_cast<std::size_t>(count)));
    return true;
}

void Bus::take(ClientId client, Connection& connection, std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t end = bytes.find('\n');
        const std::string_view part = bytes.substr(0, end);
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);

        if (!connection.skipping && connection.input.size() + part.size() > kLongestLine) {
            send(client, {{"type", "error"}, {"error", "a line is longer than " + std::to_string(kLongestLine)}});
            connection.skipping = true;
            std::string().swap(connection.input);
        }
        if (!connection.skipping) connection.input += part;
        if (end == std::string_view::npos) return;
        if (!std::exchange(connection.skipping, false)) m_handler(client, std::exchange(connection.input, {}));
    }
}

/// Sends what the socket takes. False when the client is gone.
bool Bus::writeTo(ClientId client, Connection& connection)
{
    for (;;) {
        if (!connection.output) {
            const MutexLock lock(m_mutex);
            connection.output = m_outboxes[client].take();
            connection.sent = 0;
        }
        if (!connection.output) return true;
        const std::string_view rest = std::string_view(*connection.output).substr(connection.sent);
        const ssize_t sent = ::send(connection.socket.get(), rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) return errno == EAGAIN || errno == EINTR;
        connection.sent += static_cast<std::size_t>(sent);
        if (connection.sent == connection.output->size()) connection.output = nullptr;
    }
}

}  // namespace labvictory
