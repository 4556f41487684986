#include "lab/ctl/play/PlayTerminal.h"

#include <atomic>
#include <cerrno>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace orvanectl {

namespace {

// What gives the terminal back where nothing may be allocated.
std::atomic<bool> g_isTaken = false;
static_assert(std::atomic<bool>::is_always_lock_free);
termios g_found{};

/// A job in the background may not change it.
bool isOurTerminal()
{
    return ::isatty(STDIN_FILENO) == 1 && ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

}  // namespace

PlayTerminal::PlayTerminal(bool takesAnyInput) : m_isTerminal(isOurTerminal()), m_canShow(::isatty(STDERR_FILENO) == 1)
{
    if (m_isTerminal || (takesAnyInput && ::isatty(STDIN_FILENO) != 1)) m_input = STDIN_FILENO;
    comeBack();
}

PlayTerminal::~PlayTerminal()
{
    show("");
    giveBack();
}

PlayKey PlayTerminal::take()
{
    char typed = 0;
    const ssize_t count = ::read(m_input, &typed, 1);
    if (count == 1) return playKeyOf(typed);
    if (count == 0 || (errno != EINTR && errno != EAGAIN)) m_input = -1;
    return PlayKey::None;
}

void PlayTerminal::show(const std::string& line)
{
    if (!m_canShow || (line.empty() && !m_isShown)) return;
    winsize size{};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    // One that breaks would stay.
    const std::string text = "\r" + line.substr(0, isKnown ? size.ws_col - 1U : line.size()) + "\x1B[K";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
    m_isShown = !line.empty();
}

void PlayTerminal::leave()
{
    show("");
    giveBack();
}

void PlayTerminal::comeBack()
{
    if (!m_isTerminal || g_isTaken || !isOurTerminal() || ::tcgetattr(STDIN_FILENO, &g_found) != 0) return;
    g_isTaken = true;
    termios raw = g_found;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    ::tcsetattr(STDIN_FILENO, TCSANOW, &raw);
}

void PlayTerminal::giveBack()
{
    if (g_isTaken.exchange(false)) ::tcsetattr(STDIN_FILENO, TCSANOW, &g_found);
}

}  // namespace orvanectl
