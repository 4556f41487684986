#ifndef LAB_UNIT_RECORDCOPY_H
#define LAB_UNIT_RECORDCOPY_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace unitsim {

/// Where the lab's tools look for a copy of what the receiver's queue gets.
inline constexpr const char* kReceiverCopy = "/tmp/desk/receiver";

/// A file that gets a copy of what goes into a queue, for who must not read the queue. One that has grown large is
/// replaced by a new one at the same path: who follows it reads the old one to its end. It is removed with the object,
/// and when it can't be written. One thread at a time.
class RecordCopy {
public:
    static constexpr std::size_t kLargest = 8 << 20;  // bytes

    /// Begins anew what an earlier run has left. Throws `std::runtime_error` that names the path if there is something
    /// else than a file, or a file can't be made.
    explicit RecordCopy(std::string path, std::size_t largest = kLargest);
    ~RecordCopy();
    RecordCopy(const RecordCopy&) = delete;
    RecordCopy& operator=(const RecordCopy&) = delete;

    /// @param record  whole
    void append(std::span<const std::uint8_t> record);

private:
    bool begin();
    void end();

    const std::string m_path;
    const std::size_t m_largest;
    int m_file = -1;  // -1 once it could not be written
    std::size_t m_written = 0;
};

/// Adds a record to a copy that somebody else keeps; nothing if there is none.
void appendToCopy(const char* path, std::span<const std::uint8_t> record);

}  // namespace unitsim

#endif
