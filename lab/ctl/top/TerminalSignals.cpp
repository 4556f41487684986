#include "lab/ctl/top/TerminalSignals.h"

#include <cerrno>
#include <csignal>
#include <initializer_list>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace orvanectl {

namespace {

sigset_t setOf(std::initializer_list<int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) sigaddset(&set, signal);
    return set;
}

const sigset_t& terminalSignals()
{
    static const sigset_t kSet = setOf({SIGWINCH, SIGTSTP, SIGCONT});
    return kSet;
}

}  // namespace

TerminalSignals::TerminalSignals() : m_descriptor(signalfd(-1, &terminalSignals(), SFD_NONBLOCK | SFD_CLOEXEC))
{
    if (m_descriptor < 0) throw std::system_error(errno, std::generic_category(), "signalfd");
    pthread_sigmask(SIG_BLOCK, &terminalSignals(), nullptr);
}

TerminalSignals::~TerminalSignals()
{
    take();
    pthread_sigmask(SIG_UNBLOCK, &terminalSignals(), nullptr);
    ::close(m_descriptor);
}

TerminalSignals::Came TerminalSignals::take()
{
    Came came;
    signalfd_siginfo info{};
    while (::read(m_descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        const auto signal = static_cast<int>(info.ssi_signo);
        if (signal == SIGWINCH) came.resize = true;
        if (signal == SIGTSTP) came.stop = true;
        if (signal == SIGCONT) came.go = true;
    }
    return came;
}

void TerminalSignals::stop()
{
    const sigset_t stopping = setOf({SIGTSTP});
    std::raise(SIGTSTP);
    pthread_sigmask(SIG_UNBLOCK, &stopping, nullptr);  // here it stops
    pthread_sigmask(SIG_BLOCK, &stopping, nullptr);
}

}  // namespace orvanectl
