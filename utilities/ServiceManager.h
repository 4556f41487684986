#ifndef UTILITIES_SERVICEMANAGER_H
#define UTILITIES_SERVICEMANAGER_H

#include <chrono>
#include <string_view>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

/// The manager that has started this process as a service, as far as it wants to be told: by datagrams of lines
/// "NAME=value" to a socket that it has named. Without such a name there is no socket, and nothing is done.
///
/// Any thread may tell; no call waits, and none throws.
class ServiceManager {
public:
    /// @param address  of the socket: a path from the root on, or '@' and a name of the abstract namespace. Anything
    ///                 else, also one that is too long, counts as null: nobody wants to be told.
    explicit ServiceManager(const char* address);
    ~ServiceManager();
    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;

    bool wantsToBeTold() const { return m_descriptor != -1; }

    /// Sends one datagram; false if it has not gone out, as when the manager is behind with its reading.
    bool tell(std::string_view lines) const noexcept;

    /// The longest time that may pass between two signs of life of this process; 0 if there is no such limit, and for
    /// one under two seconds, which the turns of its threads can't keep.
    /// @param microseconds  decimal; null, and what is no number, is no limit
    /// @param process       the id of the process that is meant; null for any
    static std::chrono::microseconds watchdogPeriod(const char* microseconds, const char* process, pid_t self);

private:
    sockaddr_un m_address{};
    socklen_t m_length = 0;
    int m_descriptor = -1;
};

#endif
