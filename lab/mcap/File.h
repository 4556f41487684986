#ifndef LAB_MCAP_FILE_H
#define LAB_MCAP_FILE_H

#include "lab/mcap/Bytes.h"

#include <string>

namespace mcap {

/// Takes a recording's bytes in their order.
class Output {
public:
    virtual ~Output() = default;

    /// Throws what keeps it from being written.
    virtual void write(Bytes bytes) = 0;

protected:
    Output() = default;
    Output(const Output&) = default;
    Output& operator=(const Output&) = default;
};

/// Has a recording's bytes.
class Source {
public:
    virtual ~Source() = default;

    virtual std::uint64_t size() const = 0;

    /// Reads as many bytes from there on as `into` has room for. Throws `Malformed` where there are fewer, and what keeps
    /// them from being read.
    virtual void read(std::uint64_t offset, std::span<std::uint8_t> into) const = 0;

protected:
    Source() = default;
    Source(const Source&) = default;
    Source& operator=(const Source&) = default;
};

/// A new file. What is written is with the system at once, so that it stays when the process
/// is killed. It is locked (`flock`) as long as it is written. One thread at a time.
class FileOutput : public Output {
public:
    /// Throws `std::runtime_error`, as the others do: a line that names the file, which must not be there.
    /// @param mode  of which the process's mask takes away
    explicit FileOutput(const std::string& path, unsigned mode = 0666);
    ~FileOutput() override;
    FileOutput(const FileOutput&) = delete;
    FileOutput& operator=(const FileOutput&) = delete;

    void write(Bytes bytes) override;

    /// Has the disk hold it.
    void sync();

private:
    std::string m_path;
    int m_file;
};

/// A file as long as it was when it was opened. One thread at a time.
class FileSource : public Source {
public:
    /// Throws `std::runtime_error`: a line that names the file. What is no regular file can't be.
    explicit FileSource(const std::string& path);
    ~FileSource() override;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    std::uint64_t size() const override { return m_size; }
    void read(std::uint64_t offset, std::span<std::uint8_t> into) const override;

    /// Whether a `FileOutput` of any process has it. Where there are no locks nothing is known of that: false.
    bool isBeingWritten() const;

private:
    std::string m_path;
    int m_file;
    std::uint64_t m_size = 0;
};

}  // namespace mcap

#endif
