#ifndef TESTS_LAB_LIBVICTORY_BUSCLIENT_H
#define TESTS_LAB_LIBVICTORY_BUSCLIENT_H

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// A client of the bus: lines out and in. Throws `std::runtime_error` when what it waits for does not come.
class BusClient {
public:
    using Json = nlohmann::json;
    static constexpr std::chrono::seconds kDeadline{60};

    explicit BusClient(const std::string& path) : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("cannot connect to " + path);
    }
    ~BusClient() { ::close(m_socket); }
    BusClient(const BusClient&) = delete;
    BusClient& operator=(const BusClient&) = delete;

    void sendRaw(const std::string& bytes) const
    {
        for (std::size_t sent = 0; sent < bytes.size();) {
            const ssize_t count = ::send(m_socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) throw std::runtime_error("cannot send");
            sent += static_cast<std::size_t>(count);
        }
    }
    void send(const Json& request) const { sendRaw(request.dump() + '\n'); }
    void endSending() const { ::shutdown(m_socket, SHUT_WR); }

    /// The next line.
    Json next() { return Json::parse(nextLine()); }

    /// The next line as it has come.
    std::string nextLine()
    {
        for (;;) {
            if (const std::size_t end = m_input.find('\n'); end != std::string::npos) {
                std::string line = m_input.substr(0, end);
                m_input.erase(0, end + 1);
                return line;
            }
            pollfd polled{m_socket, POLLIN, 0};
            const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(kDeadline).count();
            if (::poll(&polled, 1, static_cast<int>(wait)) <= 0) throw std::runtime_error("no line comes");
            char piece[65536];
            const ssize_t count = ::recv(m_socket, piece, sizeof piece, 0);
            if (count <= 0) throw std::runtime_error("the bus has closed");
            m_input.append(piece, static_cast<std::size_t>(count));
        }
    }

    /// The next line whose member has the value; others are passed over.
    Json nextWith(const std::string& key, const Json& value)
    {
        for (;;)
            if (Json line = next(); line.contains(key) && line[key] == value) return line;
    }

    /// Asks, and passes over what is no answer.
    Json ask(const Json& request)
    {
        send(request);
        return nextWith("type", "answer");
    }

private:
    int m_socket;
    std::string m_input;
};

#endif
