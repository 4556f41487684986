#ifndef LAB_UNIT_QUEUEFEEDER_H
#define LAB_UNIT_QUEUEFEEDER_H

#include "aspn2_msgs/GSSIP.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <utility>

namespace unitsim {

/// The sending end of a queue device, which on a desk is a named pipe. The pipe is held open for reading and writing, so
/// that the service finds it at any time, and takes packets: a read gets one record, never a part. Nothing blocks: when
/// nobody reads and the pipe is full, the oldest record makes room. One thread at a time.
class QueueFeeder {
public:
    static constexpr std::size_t kLargestPacket = 4096;

    /// Throws `std::runtime_error` that names the device if it is no pipe or can't be opened.
    explicit QueueFeeder(const std::string& device);
    ~QueueFeeder();
    QueueFeeder(const QueueFeeder&) = delete;
    QueueFeeder& operator=(const QueueFeeder&) = delete;

    /// Writes a record as one packet. One that is longer than `kLargestPacket` throws `std::length_error`.
    void send(const aspn2_msgs::idl::GSSIP& record);

    /// Has each record's bytes given to `copy` before they are written.
    void setCopy(std::function<void(std::span<const std::uint8_t>)> copy) { m_copy = std::move(copy); }

    /// Writes bytes as one packet, whatever they are. More than `kLargestPacket` throw the same.
    void send(std::span<const std::uint8_t> bytes);

    std::uint64_t sent() const { return m_sent; }
    /// Bytes that nobody has taken yet.
    std::size_t waiting() const;

    std::uint64_t dropped() const { return m_dropped; }

private:
    [[noreturn]] void refuse(std::size_t size) const;
    void dropOldest();

    std::string m_device;
    std::function<void(std::span<const std::uint8_t>)> m_copy;
    int m_descriptor = -1;
    std::uint64_t m_sent = 0;
    std::uint64_t m_dropped = 0;
};

}  // namespace unitsim

#endif
