#include "utilities/ConsoleDescriptor.h"

#include "utilities/OpenAgain.h"
#include "utilities/WithoutStops.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <termios.h>
#include <unistd.h>

ConsoleDescriptor::ConsoleDescriptor(int descriptor) : m_descriptor(descriptor), m_isTerminal(isatty(descriptor) == 1)
{
    struct stat status {};
    if (fstat(descriptor, &status) != 0) return;
    m_isSocket = S_ISSOCK(status.st_mode);
    const bool isPipe = S_ISFIFO(status.st_mode);
    if (!isPipe && !m_isTerminal) return;
    if ((fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY) return;  // writing fails, as it should
    m_own = openAgain(descriptor, O_WRONLY);
    if (m_own >= 0) return;
    // A pipe that has room takes this much. A terminal may have room for a single character.
    m_piece = isPipe ? PIPE_BUF : 1;
}

ConsoleDescriptor::~ConsoleDescriptor()
{
    if (m_own >= 0) close(m_own);
}

ssize_t ConsoleDescriptor::write(std::string_view text) const
{
    if (m_isSocket) return send(m_descriptor, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    // Another job may get the terminal behind the look at it. What is under way then goes out, which stops nobody.
    std::optional<WithoutStops> guard;
    if (m_isTerminal) guard.emplace();
    const bool hasRoom = m_piece == 0 || waitForRoom(std::chrono::milliseconds(0));
    if (!hasRoom || mustNotWrite()) {
        errno = EAGAIN;
        return -1;
    }
    if (m_piece != 0) return writePiece(text.substr(0, m_piece));
    return ::write(m_own >= 0 ? m_own : m_descriptor, text.data(), text.size());
}

/// Another writer may have taken the room meanwhile, so the kernel is asked not to wait, where it can do that.
ssize_t ConsoleDescriptor::writePiece(std::string_view text) const
{
    const iovec piece{const_cast<char*>(text.data()), text.size()};
    const ssize_t taken = pwritev2(m_descriptor, &piece, 1, -1, RWF_NOWAIT);
    if (taken >= 0 || (errno != EOPNOTSUPP && errno != ENOSYS && errno != EINVAL)) return taken;
    return ::write(m_descriptor, text.data(), text.size());
}

bool ConsoleDescriptor::waitForRoom(std::chrono::milliseconds limit) const
{
    pollfd waiting{m_own >= 0 ? m_own : m_descriptor, POLLOUT, 0};
    return poll(&waiting, 1, static_cast<int>(limit.count())) > 0;
}

/// Whether another job has the terminal, and has it stop those that write to it.
bool ConsoleDescriptor::mustNotWrite() const
{
    if (!m_isTerminal) return false;
    const pid_t foreground = tcgetpgrp(m_descriptor);
    if (foreground == -1 || foreground == getpgrp()) return false;
    termios settings{};
    return tcgetattr(m_descriptor, &settings) == 0 && (settings.c_lflag & TOSTOP) != 0;
}
