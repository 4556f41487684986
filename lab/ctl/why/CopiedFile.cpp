#include "lab/ctl/why/CopiedFile.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace orvanectl {

namespace {

constexpr const char* kQueues = "/dev/mcs";

std::string resolved(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? real.get() : path;
}

bool isFollowed(int file)
{
    struct stat status {};
    return ::fstat(file, &status) == 0 && (S_ISREG(status.st_mode) || S_ISFIFO(status.st_mode));
}

}  // namespace

CopiedFile::CopiedFile(const std::string& path) : m_path(path), m_file(-1)
{
    if (resolved(path).starts_with(kQueues))
        throw std::runtime_error(path +
                                 ": is a queue, and who reads it takes the records from the service; give a copy");
    m_file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (m_file < 0) throw std::runtime_error(path + ": " + std::generic_category().message(errno));
    if (isFollowed(m_file)) return;
    ::close(m_file);
    throw std::runtime_error(path + ": is neither a file nor a named pipe");
}

CopiedFile::~CopiedFile()
{
    ::close(m_file);
}

void CopiedFile::skip() const
{
    ::lseek(m_file, 0, SEEK_END);
}

bool CopiedFile::isReplaced() const
{
    struct stat here {
    }, there{};
    return ::fstat(m_file, &here) != 0 || ::stat(m_path.c_str(), &there) != 0 || here.st_ino != there.st_ino ||
           here.st_dev != there.st_dev;
}

bool CopiedFile::isCutShort() const
{
    struct stat status {};
    return ::fstat(m_file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size < ::lseek(m_file, 0, SEEK_CUR);
}

void CopiedFile::rewind() const
{
    ::lseek(m_file, 0, SEEK_SET);
}

std::span<const std::uint8_t> CopiedFile::read(std::span<std::uint8_t> into) const
{
    const ssize_t count = ::read(m_file, into.data(), into.size());
    return into.first(count > 0 ? static_cast<std::size_t>(count) : 0);
}

}  // namespace orvanectl
