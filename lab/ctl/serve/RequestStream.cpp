#include "lab/ctl/serve/RequestStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

namespace orvanectl {

bool RequestStream::waitFor(short events, Clock::time_point end) const
{
    constexpr std::chrono::milliseconds kLongestPoll{60'000};
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0) return false;
        pollfd waiting = {m_socket, events, 0};
        const int count = ::poll(&waiting, 1, static_cast<int>(std::min(left, kLongestPoll).count()));
        if (count > 0) return true;
        if (count < 0 && errno != EINTR) return false;
    }
}

bool RequestStream::is_readable() const
{
    return m_begin < m_have || waitFor(POLLIN, m_end);
}

bool RequestStream::is_writable() const
{
    if (!waitFor(POLLOUT, Clock::now() + m_limits.write)) return false;
    char next = 0;
    const ssize_t count = ::recv(m_socket, &next, 1, MSG_PEEK | MSG_DONTWAIT);
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

bool RequestStream::fill()
{
    const std::size_t room = std::min(m_buffer.size(), m_limits.bytes - m_came);
    while (room > 0 && waitFor(POLLIN, m_end)) {
        const ssize_t count = ::recv(m_socket, m_buffer.data(), room, MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) continue;
        if (count <= 0) return false;
        m_begin = 0;
        m_have = static_cast<std::size_t>(count);
        m_came += m_have;
        return true;
    }
    return false;
}

ssize_t RequestStream::read(char* to, std::size_t size)
{
    if (m_begin == m_have && !fill()) return -1;
    const std::size_t count = std::min(size, m_have - m_begin);
    std::memcpy(to, m_buffer.data() + m_begin, count);
    m_begin += count;
    return static_cast<ssize_t>(count);
}

ssize_t RequestStream::write(const char* from, std::size_t size)
{
    const auto end = Clock::now() + m_limits.write;
    for (std::size_t sent = 0; sent < size;) {
        const ssize_t count = ::send(m_socket, from + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0)
            sent += static_cast<std::size_t>(count);
        else if (count < 0 && errno == EAGAIN) {
            if (!waitFor(POLLOUT, end)) return -1;
        } else if (count == 0 || errno != EINTR)
            return -1;
    }
    return static_cast<ssize_t>(size);
}

}  // namespace orvanectl
