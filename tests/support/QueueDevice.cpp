#include "tests/support/QueueDevice.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kCapacity = 1 << 20;

}  // namespace

QueueDevice::QueueDevice(const std::filesystem::path& directory, unsigned number)
    : m_path(prefix(directory) + std::to_string(number))
{
    if (mkfifo(m_path.c_str(), 0600) != 0) throw std::runtime_error("cannot make " + m_path);
    m_descriptor = open(m_path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (m_descriptor < 0 || fcntl(m_descriptor, F_SETPIPE_SZ, kCapacity) < 0)
        throw std::runtime_error("cannot open " + m_path);
}

QueueDevice::~QueueDevice()
{
    close(m_descriptor);
    unlink(m_path.c_str());
}

void QueueDevice::send(std::span<const std::uint8_t> message) const
{
    if (message.size() > kLargestMessage) throw std::length_error("message too large");
    write(message, O_DIRECT);
}

void QueueDevice::sendStream(std::span<const std::uint8_t> bytes) const
{
    write(bytes, 0);
}

void QueueDevice::write(std::span<const std::uint8_t> bytes, int mode) const
{
    if (fcntl(m_descriptor, F_SETFL, O_NONBLOCK | mode) != 0) throw std::runtime_error("cannot set the mode");
    while (!bytes.empty()) {
        const ssize_t count = ::write(m_descriptor, bytes.data(), bytes.size());
        if (count > 0)
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        else if (errno == EAGAIN)
            waitFor(POLLOUT);
        else if (errno != EINTR)
            throw std::runtime_error("cannot write to " + m_path);
    }
}

std::vector<std::uint8_t> QueueDevice::receive() const
{
    waitFor(POLLIN);
    std::vector<std::uint8_t> bytes(65536);
    const ssize_t count = read(m_descriptor, bytes.data(), bytes.size());
    if (count < 0) throw std::runtime_error("cannot read from " + m_path);
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

bool QueueDevice::isEmpty() const
{
    int waiting = 0;
    if (ioctl(m_descriptor, FIONREAD, &waiting) != 0) throw std::runtime_error("cannot ask " + m_path);
    return waiting == 0;
}

void QueueDevice::waitFor(short event) const
{
    pollfd entry{m_descriptor, event, 0};
    const auto milliseconds = std::chrono::milliseconds(kDeadline).count();
    if (poll(&entry, 1, static_cast<int>(milliseconds)) <= 0) throw std::runtime_error("nothing happens on " + m_path);
}

std::string queueDevicesText(std::initializer_list<std::pair<std::string, std::string>> connections)
{
    std::string text = "<HX_Configurations>\n";
    for (const auto& [name, port] : connections) {
        text += "  <Queue>\n    <Name>" + name + "</Name>\n    <Parameters>\n";
        text += "      <Port>" + port + "</Port>\n    </Parameters>\n  </Queue>\n";
    }
    return text + "</HX_Configurations>\n";
}
