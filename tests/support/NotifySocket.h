#ifndef TESTS_SUPPORT_NOTIFYSOCKET_H
#define TESTS_SUPPORT_NOTIFYSOCKET_H

#include <chrono>
#include <string>

/// The socket of a service manager, which takes what a service tells, in its order.
class NotifySocket {
public:
    /// @param name  a path, or '@' and a name of the abstract namespace. Throws `std::runtime_error` if it can't be bound.
    explicit NotifySocket(const std::string& name);
    ~NotifySocket();
    NotifySocket(const NotifySocket&) = delete;
    NotifySocket& operator=(const NotifySocket&) = delete;

    /// The next datagram, "" if none comes in this time.
    std::string next(std::chrono::milliseconds timeout = std::chrono::milliseconds(0)) const;

    /// Whether a datagram with this text comes before the deadline; those before it are dropped.
    bool await(const std::string& text) const;

private:
    int m_descriptor;
};

#endif
