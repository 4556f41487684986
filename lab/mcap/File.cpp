#include "lab/mcap/File.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace mcap {

namespace {

std::runtime_error failure(const std::string& path)
{
    return std::runtime_error(path + ": " + std::generic_category().message(errno));
}

}  // namespace

FileOutput::FileOutput(const std::string& path, unsigned mode)
    : m_path(path), m_file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode))
{
    if (m_file < 0) throw failure(path);
    ::flock(m_file, LOCK_EX | LOCK_NB);  // it is new: where it can't be had there are no locks
}

FileOutput::~FileOutput()
{
    ::close(m_file);
}

void FileOutput::write(Bytes bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(m_file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) throw failure(m_path);
        if (count > 0) bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

void FileOutput::sync()
{
    // What has no disk needs none.
    if (::fsync(m_file) != 0 && errno != EINVAL && errno != EROFS) throw failure(m_path);
}

FileSource::FileSource(const std::string& path)
    : m_path(path), m_file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
{
    if (m_file < 0) throw failure(path);
    struct stat status {};
    const bool isKnown = ::fstat(m_file, &status) == 0;
    if (isKnown && S_ISREG(status.st_mode)) {
        m_size = static_cast<std::uint64_t>(status.st_size);
        return;
    }
    ::close(m_file);
    throw std::runtime_error(path + ": is no file");
}

FileSource::~FileSource()
{
    ::close(m_file);
}

bool FileSource::isBeingWritten() const
{
    if (::flock(m_file, LOCK_SH | LOCK_NB) != 0) return errno == EWOULDBLOCK;
    ::flock(m_file, LOCK_UN);
    return false;
}

void FileSource::read(std::uint64_t offset, std::span<std::uint8_t> into) const
{
    while (!into.empty()) {
        const ssize_t count = ::pread(m_file, into.data(), into.size(), static_cast<off_t>(offset));
        if (count < 0 && errno != EINTR) throw failure(m_path);
        if (count == 0) throw Malformed(m_path + ": ends too early");
        if (count < 0) continue;
        into = into.subspan(static_cast<std::size_t>(count));
        offset += static_cast<std::uint64_t>(count);
    }
}

}  // namespace mcap
