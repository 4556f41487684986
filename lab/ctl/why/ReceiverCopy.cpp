#include "lab/ctl/why/ReceiverCopy.h"

#include <array>
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
constexpr int kMostReads = 64;  // in one turn, of a writer that never pauses

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

ReceiverCopy::ReceiverCopy(const std::string& path, JoinDiary& diary) : m_diary(diary), m_file(-1)
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

ReceiverCopy::~ReceiverCopy()
{
    ::close(m_file);
}

void ReceiverCopy::take(JoinDiary::Time now)
{
    m_now = now;
    std::array<std::uint8_t, 65536> bytes;
    for (int i = 0; i < kMostReads; ++i) {
        const ssize_t count = ::read(m_file, bytes.data(), bytes.size());
        if (count <= 0) return;
        // Where the way is lost it is looked for in what comes next, as the service does.
        if (!m_cutter || m_cutter->stopped()) m_cutter.emplace(StreamFormat::Records, static_cast<StreamSink&>(*this));
        m_cutter->take(Bytes(bytes).first(static_cast<std::size_t>(count)));
    }
}

}  // namespace orvanectl
