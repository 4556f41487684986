#ifndef TESTS_SUPPORT_QUEUEDEVICE_H
#define TESTS_SUPPORT_QUEUEDEVICE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// A queue device of a test's own: a named pipe, held open in both directions so that nobody waits for somebody to open
/// the other end. It goes with this object; who has it open keeps the old one.
///
/// What takes longer than the deadline throws `std::runtime_error`.
class QueueDevice {
public:
    static constexpr std::size_t kLargestMessage = 4096;
    static constexpr std::chrono::seconds kDeadline{60};

    /// Makes `directory`/mcs`number`.
    QueueDevice(const std::filesystem::path& directory, unsigned number);
    ~QueueDevice();
    QueueDevice(const QueueDevice&) = delete;
    QueueDevice& operator=(const QueueDevice&) = delete;

    /// What stands before the number in the path of a device of that directory.
    static std::string prefix(const std::filesystem::path& directory) { return (directory / "mcs").string(); }

    const std::string& path() const { return m_path; }

    /// Puts in one message, of up to 4096 bytes: a read takes no more than one.
    void send(std::span<const std::uint8_t> message) const;

    /// Puts in bytes without any division, up to a megabyte before somebody must read: a read takes what is there.
    void sendStream(std::span<const std::uint8_t> bytes) const;

    /// Takes out what was put in by anybody: up to 65536 bytes, at least one.
    std::vector<std::uint8_t> receive() const;

    /// Whether everything has been taken.
    bool isEmpty() const;

private:
    void write(std::span<const std::uint8_t> bytes, int mode) const;
    void waitFor(short event) const;

    std::string m_path;
    int m_descriptor = -1;
};

/// The text of a devices file in which each connection, by name, has that "Port".
std::string queueDevicesText(std::initializer_list<std::pair<std::string, std::string>> connections);

#endif
