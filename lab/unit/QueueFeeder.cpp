#include "lab/unit/QueueFeeder.h"

#include "ioss_mcsq/GssipTopicSerializer.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace unitsim {

namespace {

std::runtime_error failure(const std::string& device, const char* what)
{
    return std::runtime_error(device + ": " + what + ": " + std::strerror(errno));
}

}  // namespace

QueueFeeder::QueueFeeder(const std::string& device) : m_device(device)
{
    struct stat status {};
    if (stat(device.c_str(), &status) != 0) throw failure(device, "can't be found");
    if (!S_ISFIFO(status.st_mode))
        throw std::runtime_error(device + ": is no named pipe, and a real device is not written: run in lab/sandbox");
    m_descriptor = open(device.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (m_descriptor < 0) throw failure(device, "can't be opened");
    if (fcntl(m_descriptor, F_SETFL, O_NONBLOCK | O_DIRECT) != 0) {
        const std::runtime_error error = failure(device, "can't take packets");
        close(m_descriptor);
        throw error;
    }
}

QueueFeeder::~QueueFeeder()
{
    close(m_descriptor);
}

void QueueFeeder::send(const aspn2_msgs::idl::GSSIP& record)
{
    GssipTopicSerializer serializer;
    std::vector<std::uint8_t> bytes;
    if (!serializer.Serialize(record, bytes)) refuse(bytes.size());
    send(bytes);
}

void QueueFeeder::send(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() > kLargestPacket) refuse(bytes.size());
    if (m_copy) m_copy(bytes);
    for (;;) {
        const ssize_t written = write(m_descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            ++m_sent;
            return;
        }
        if (errno == EAGAIN)
            dropOldest();
        else if (errno != EINTR)
            throw failure(m_device, "can't be written");
    }
}

void QueueFeeder::refuse(std::size_t size) const
{
    throw std::length_error(m_device + ": a record of " + std::to_string(size) + " bytes is longer than a packet");
}

std::size_t QueueFeeder::waiting() const
{
    int bytes = 0;
    return ioctl(m_descriptor, FIONREAD, &bytes) == 0 && bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
}

void QueueFeeder::dropOldest()
{
    std::array<std::uint8_t, kLargestPacket> packet{};
    if (read(m_descriptor, packet.data(), packet.size()) > 0) ++m_dropped;
}

}  // namespace unitsim
