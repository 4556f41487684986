#include "lab/unit/RecordCopy.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace unitsim {

namespace {

bool isWritten(int file, std::span<const std::uint8_t> record)
{
    return ::write(file, record.data(), record.size()) == static_cast<ssize_t>(record.size());
}

}  // namespace

RecordCopy::RecordCopy(std::string path, std::size_t largest) : m_path(std::move(path)), m_largest(largest)
{
    struct stat status {};
    if (::lstat(m_path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        throw std::runtime_error(m_path + ": is no file, and is not replaced by a copy");
    if (!begin()) throw std::runtime_error(m_path + ": can't be written: " + std::generic_category().message(errno));
}

RecordCopy::~RecordCopy()
{
    end();
}

/// A new file: who follows the one before goes on reading that.
bool RecordCopy::begin()
{
    const std::string made = m_path + ".new";
    ::unlink(made.c_str());
    m_file = ::open(made.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    m_written = 0;
    if (m_file < 0) return false;
    if (::rename(made.c_str(), m_path.c_str()) == 0) return true;
    ::close(std::exchange(m_file, -1));
    return false;
}

void RecordCopy::end()
{
    if (m_file < 0) return;
    ::unlink(m_path.c_str());
    ::close(std::exchange(m_file, -1));
}

void RecordCopy::append(std::span<const std::uint8_t> record)
{
    if (m_file < 0) return;
    if (m_written > 0 && m_written + record.size() > m_largest) {
        ::close(m_file);
        if (!begin()) {
            ::unlink(m_path.c_str());
            return;
        }
    }
    m_written += record.size();
    // A copy that lacks something would be worse than none.
    if (!isWritten(m_file, record)) end();
}

void appendToCopy(const char* path, std::span<const std::uint8_t> record)
{
    const int file = ::open(path, O_WRONLY | O_APPEND | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0) return;
    struct stat status {};
    // A file that is full is found out by who keeps it.
    if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode)) static_cast<void>(isWritten(file, record));
    ::close(file);
}

}  // namespace unitsim
