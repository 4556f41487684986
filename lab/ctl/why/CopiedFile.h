#ifndef LAB_CTL_WHY_COPIEDFILE_H
#define LAB_CTL_WHY_COPIEDFILE_H

#include <cstdint>
#include <span>
#include <string>

namespace orvanectl {

/// A file or a named pipe that gets what a queue gets, read as it grows. Nothing waits. One thread at a time.
class CopiedFile {
public:
    /// Throws `std::runtime_error` for what can't be opened, and for a queue: who reads that takes the records from the
    /// service.
    explicit CopiedFile(const std::string& path);
    ~CopiedFile();
    CopiedFile(const CopiedFile&) = delete;
    CopiedFile& operator=(const CopiedFile&) = delete;

    /// Passes over what stands in the file; nothing of a pipe.
    void skip() const;

    /// Whether another file, or none, stands at the path now.
    bool isReplaced() const;

    /// Whether the file is shorter than what was read of it or passed over; never of a pipe.
    bool isCutShort() const;

    /// Goes back to the start of the file.
    void rewind() const;

    /// What has come since the last call, up to the size of `into`; empty if nothing has.
    std::span<const std::uint8_t> read(std::span<std::uint8_t> into) const;

private:
    const std::string m_path;
    int m_file;
};

}  // namespace orvanectl

#endif
