#include "lab/ctl/record/WriteRequests.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace orvanectl {

namespace {

sigset_t requestSignal()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    return signals;
}

}  // namespace

WriteRequests::WriteRequests() : m_signal(-1), m_hasKeys(::isatty(STDIN_FILENO) == 1)
{
    const sigset_t signals = requestSignal();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_signal = ::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
    if (m_signal < 0) throw std::system_error(errno, std::generic_category(), "signalfd");
}

/// The signal stays blocked: one that comes late shall not end the process before its files are closed.
WriteRequests::~WriteRequests()
{
    ::close(m_signal);
}

bool WriteRequests::take()
{
    const bool hasSignal = takeSignal();
    return takeKey() || hasSignal;
}

bool WriteRequests::takeSignal() const
{
    signalfd_siginfo information{};
    return ::read(m_signal, &information, sizeof information) == static_cast<ssize_t>(sizeof information);
}

/// A terminal hands over whole lines.
bool WriteRequests::takeKey()
{
    // Who reads a terminal from the background is stopped.
    if (!m_hasKeys || ::tcgetpgrp(STDIN_FILENO) != ::getpgrp()) return false;
    pollfd waiting{STDIN_FILENO, POLLIN, 0};
    if (::poll(&waiting, 1, 0) != 1) return false;
    std::array<char, 256> line;
    const ssize_t count = (waiting.revents & POLLIN) != 0 ? ::read(STDIN_FILENO, line.data(), line.size()) : 0;
    m_hasKeys = count > 0 || (count < 0 && (errno == EINTR || errno == EAGAIN));
    return count > 0;
}

}  // namespace orvanectl
