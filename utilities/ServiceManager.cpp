#include "utilities/ServiceManager.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <unistd.h>

namespace {

constexpr std::chrono::microseconds kShortestWatchdog = std::chrono::seconds(2);
constexpr std::chrono::microseconds kLongestWatchdog = std::chrono::hours(24 * 365 * 30);  // so that nothing overflows

/// A number of decimal digits and nothing else.
std::optional<std::uint64_t> numberIn(const char* text)
{
    std::uint64_t number = 0;
    const char* const end = text + std::strlen(text);
    const auto [rest, error] = std::from_chars(text, end, number);
    if (error != std::errc() || rest != end) return std::nullopt;
    return number;
}

}  // namespace

ServiceManager::ServiceManager(const char* address)
{
    if (!address) return;
    const std::size_t length = std::strlen(address);
    const bool isAbstract = address[0] == '@';
    // A path ends with a zero; an abstract name doesn't, and begins with one.
    const std::size_t room = sizeof m_address.sun_path - (isAbstract ? 0 : 1);
    if ((!isAbstract && address[0] != '/') || length < 2 || length > room) return;

    m_address.sun_family = AF_UNIX;
    std::memcpy(m_address.sun_path, address, length);
    if (isAbstract) m_address.sun_path[0] = '\0';
    m_length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length + (isAbstract ? 0 : 1));
    m_descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

ServiceManager::~ServiceManager()
{
    if (m_descriptor != -1) ::close(m_descriptor);
}

bool ServiceManager::tell(std::string_view lines) const noexcept
{
    if (m_descriptor == -1) return false;
    const auto* const address = reinterpret_cast<const sockaddr*>(&m_address);
    const ssize_t sent =
        ::sendto(m_descriptor, lines.data(), lines.size(), MSG_DONTWAIT | MSG_NOSIGNAL, address, m_length);
    return sent == static_cast<ssize_t>(lines.size());
}

std::chrono::microseconds ServiceManager::watchdogPeriod(const char* microseconds, const char* process, pid_t self)
{
    const auto none = std::chrono::microseconds::zero();
    if (!microseconds) return none;
    if (process && numberIn(process) != static_cast<std::uint64_t>(self)) return none;
    const auto number = numberIn(microseconds);
    if (!number || *number > static_cast<std::uint64_t>(kLongestWatchdog.count())) return none;
    const std::chrono::microseconds period(static_cast<std::int64_t>(*number));
    return period < kShortestWatchdog ? none : period;
}
