#ifndef TESTS_SUPPORT_BUSSOCKET_H
#define TESTS_SUPPORT_BUSSOCKET_H

#include <chrono>
#include <string>
#include <vector>

/// A client's connection to the lab's bus, which talks in lines. One thread sends, and one reads.
class BusSocket {
public:
    static constexpr const char* kPath = "/tmp/bus";

    /// Waits until the bus is there; throws `std::runtime_error` if it doesn't come.
    explicit BusSocket(const std::string& path = kPath);
    ~BusSocket();
    BusSocket(const BusSocket&) = delete;
    BusSocket& operator=(const BusSocket&) = delete;

    /// Sends a line, which has no newline yet. Throws `std::runtime_error` if the bus doesn't take it.
    void send(const std::string& line) const;

    /// Whether there is something to read, or the bus has ended, within this time.
    bool awaitMore(std::chrono::milliseconds within) const;

    /// Adds what comes next to a text, and waits for it. False when the bus has ended.
    bool read(std::string& text);

    /// Whoever reads finds the end. Any thread.
    void shutDown() const;

private:
    int m_socket;
    std::vector<char> m_part;
};

#endif
