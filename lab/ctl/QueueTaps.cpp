#include "lab/ctl/QueueTaps.h"

#include "lab/ctl/ProcessLook.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace orvanectl {

namespace {

/// Of a pipe that somebody reads: otherwise the opening would let go a writer who waits for a reader.
std::optional<std::uint64_t> waitingIn(const std::string& path)
{
    struct stat file {};
    if (::stat(path.c_str(), &file) != 0 || !S_ISFIFO(file.st_mode)) return std::nullopt;
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) return std::nullopt;
    int bytes = 0;
    const bool isKnown = ::ioctl(descriptor, FIONREAD, &bytes) == 0 && bytes >= 0;
    ::close(descriptor);
    if (!isKnown) return std::nullopt;
    return static_cast<std::uint64_t>(bytes);
}

}  // namespace

QueueTaps::QueueTaps(std::vector<QueueName> queues)
    : m_queues(std::move(queues)), m_readings(m_queues.size()), m_watches(m_queues.size()),
      m_inotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    if (m_inotify < 0) throw std::system_error(errno, std::generic_category(), "inotify");
    follow();
}

QueueTaps::~QueueTaps()
{
    ::close(m_inotify);
}

std::optional<std::size_t> QueueTaps::numberOf(const std::string& name) const
{
    const auto found = std::ranges::find(m_queues, name, &QueueName::name);
    if (found == m_queues.end()) return std::nullopt;
    return static_cast<std::size_t>(found - m_queues.begin());
}

/// Watches the device that stands at the path now.
void QueueTaps::watch(std::size_t queue)
{
    Watch& watch = m_watches[queue];
    struct stat file {};
    const bool isThere = ::stat(m_queues[queue].device.c_str(), &file) == 0;
    if (isThere && watch.id >= 0 && file.st_ino == watch.inode && file.st_dev == watch.device) return;
    if (watch.id >= 0) inotify_rm_watch(m_inotify, watch.id);
    watch = {};
    if (isThere) {
        const int id = inotify_add_watch(m_inotify, m_queues[queue].device.c_str(), IN_MODIFY | IN_ACCESS);
        watch = {id, file.st_dev, file.st_ino};
    }
    m_readings[queue].isThere = watch.id >= 0;
}

void QueueTaps::follow()
{
    for (std::size_t queue = 0; queue < m_queues.size(); ++queue) watch(queue);
}

void QueueTaps::count(Time now)
{
    constexpr int kMostTurns = 64;  // the rest the next time
    alignas(inotify_event) char buffer[4096];
    for (int turn = 0; turn < kMostTurns; ++turn) {
        const ssize_t count = ::read(m_inotify, buffer, sizeof buffer);
        if (count <= 0) return;
        for (std::size_t at = 0; at + sizeof(inotify_event) <= static_cast<std::size_t>(count);) {
            inotify_event event;
            std::memcpy(&event, buffer + at, sizeof event);
            at += sizeof event + event.len;
            for (std::size_t queue = 0; queue < m_queues.size(); ++queue) {
                if (m_watches[queue].id < 0 || m_watches[queue].id != event.wd) continue;
                if ((event.mask & IN_MODIFY) != 0) ++m_readings[queue].written;
                if ((event.mask & IN_ACCESS) == 0) continue;
                ++m_readings[queue].taken;
                m_readings[queue].lastTaken = now;
            }
        }
    }
}

void QueueTaps::look()
{
    follow();
    for (std::size_t queue = 0; queue < m_queues.size(); ++queue) {
        const FileHolders holders = holdersOf(m_queues[queue].device);
        m_readings[queue].holders = holders.text;
        m_readings[queue].waitingBytes = holders.hasReader ? waitingIn(m_queues[queue].device) : std::nullopt;
    }
}

}  // namespace orvanectl
