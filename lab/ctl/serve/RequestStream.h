#ifndef LAB_CTL_SERVE_REQUESTSTREAM_H
#define LAB_CTL_SERVE_REQUESTSTREAM_H

#include <array>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <httplib.h>
#include <string>

// Times are members of the classes of cpp-httplib, which is built with those of the system.
static_assert(sizeof(std::time_t) == sizeof(long));

namespace orvanectl {

/// One connection, as the library reads a request from it and writes the answer. Who sends too much or too slowly, or
/// does not take what is sent, is given up. One thread at a time.
class RequestStream : public httplib::Stream {
public:
    struct Limits {
        std::size_t bytes = 32'768;                ///< of a request: its line, its headers and its body
        std::chrono::milliseconds request{5'000};  ///< for all of a request to come
        std::chrono::milliseconds write{20'000};   ///< for what is written at a time to be taken
    };

    /// The time for the request begins.
    /// @param socket  stays the caller's
    RequestStream(int socket, const Limits& limits)
        : m_socket(socket), m_limits(limits), m_end(Clock::now() + limits.request)
    {}

    bool is_readable() const override;
    /// False as well once the other side sends no more: a viewer has left.
    bool is_writable() const override;
    /// How many bytes came, at least one; -1 if none will.
    ssize_t read(char* to, std::size_t size) override;
    /// `size`, all of them; -1 if not all were taken.
    ssize_t write(const char* from, std::size_t size) override;
    /// Nobody asks for the two places: they stay as they are.
    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    socket_t socket() const override { return m_socket; }

private:
    using Clock = std::chrono::steady_clock;

    bool waitFor(short events, Clock::time_point end) const;
    bool fill();

    const int m_socket;
    const Limits m_limits;
    const Clock::time_point m_end;  // of the time for the request
    // The library reads byte by byte.
    std::array<char, 4096> m_buffer{};
    std::size_t m_begin = 0, m_have = 0;  // what of it is not read yet: from, up to
    std::size_t m_came = 0;
};

}  // namespace orvanectl

#endif
