#include "lab/ctl/record/Draft.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace orvanectl {

namespace {

constexpr std::array<int, 4> kEnding = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// What the handler uses, which is there only while there is a draft.
std::array<char, PATH_MAX> g_draft;
std::array<struct sigaction, kEnding.size()> g_before;

extern "C" void removeDraftAndEnd(int signal)
{
    ::unlink(g_draft.data());
    std::signal(signal, SIG_DFL);
    std::raise(signal);  // comes once this handler has returned
}

/// Has them wait as long as it is.
class HeldSignals {
public:
    HeldSignals()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : kEnding) sigaddset(&signals, signal);
        pthread_sigmask(SIG_BLOCK, &signals, &m_before);
    }
    ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

private:
    sigset_t m_before{};
};

std::runtime_error failure(const std::string& path, int error)
{
    return std::runtime_error(path + ": " + std::generic_category().message(error));
}

bool isThere(const std::string& path)
{
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// Where the file is that is to be written.
std::string placeOf(const std::string& path, Draft::Place place)
{
    if (place == Draft::Place::Free) {
        if (isThere(path)) throw failure(path, EEXIST);
        return path;
    }
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    if (!real) throw failure(path, errno);
    return real.get();
}

/// A name beside it; what was left of another draft stays.
std::string draftOf(const std::string& path)
{
    std::string draft = path + ".part";
    for (int number = 1; isThere(draft) && number < 1000; ++number) draft = path + ".part" + std::to_string(number);
    if (draft.size() >= g_draft.size()) throw failure(path, ENAMETOOLONG);
    return draft;
}

/// As of the file that it takes the place of; the owner where that may be given.
void copyRights(const std::string& from, const std::string& to)
{
    struct stat status {};
    if (::stat(from.c_str(), &status) != 0) throw failure(from, errno);
    [[maybe_unused]] const int owned = ::chown(to.c_str(), status.st_uid, status.st_gid);
    if (::chmod(to.c_str(), status.st_mode & 0777U) != 0) throw failure(to, errno);
}

void moveToFree(const std::string& from, const std::string& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return;
    if (errno != EINVAL && errno != ENOSYS) throw failure(to, errno);
    // A file system that can't do both at once.
    if (isThere(to)) throw failure(to, EEXIST);
    if (std::rename(from.c_str(), to.c_str()) != 0) throw failure(to, errno);
}

}  // namespace

Draft::Draft(const std::string& path, Place place)
    : m_place(place), m_path(placeOf(path, place)), m_draft(draftOf(m_path))
{
    // What takes the place of a file that few may read is not to be read by others meanwhile.
    constexpr unsigned kOwnersAlone = 0600, kUsual = 0666;
    const HeldSignals held;
    m_output = std::make_unique<mcap::FileOutput>(m_draft, place == Place::Taken ? kOwnersAlone : kUsual);
    std::memcpy(g_draft.data(), m_draft.c_str(), m_draft.size() + 1);
    for (std::size_t i = 0; i < kEnding.size(); ++i) {
        sigaction(kEnding[i], nullptr, &g_before[i]);
        if (g_before[i].sa_handler != SIG_IGN) std::signal(kEnding[i], removeDraftAndEnd);
    }
}

Draft::~Draft()
{
    const HeldSignals held;
    if (!m_isKept) ::unlink(m_draft.c_str());
    for (std::size_t i = 0; i < kEnding.size(); ++i) sigaction(kEnding[i], &g_before[i], nullptr);
}

void Draft::keep()
{
    if (m_place == Place::Taken) copyRights(m_path, m_draft);
    m_output->sync();
    const HeldSignals held;
    if (m_place == Place::Free)
        moveToFree(m_draft, m_path);
    else if (std::rename(m_draft.c_str(), m_path.c_str()) != 0)
        throw failure(m_path, errno);
    m_isKept = true;
}

}  // namespace orvanectl
