#include "VICTORY/Utilities/ConsoleTerminal.h"

#include "utilities/OpenAgain.h"
#include "utilities/WithoutStops.h"

#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace {

bool isInBackground()
{
    const pid_t foreground = tcgetpgrp(STDIN_FILENO);
    return foreground != -1 && foreground != getpgrp();
}

}  // namespace

ConsoleTerminal::~ConsoleTerminal()
{
    putBack();
}

int ConsoleTerminal::waiting()
{
    if (isInBackground()) return 0;
    if (!std::exchange(m_isReady, true)) switchToKeys();
    int count = 0;
    if (ioctl(STDIN_FILENO, FIONREAD, &count) != 0) return 0;
    return count;
}

void ConsoleTerminal::switchToKeys()
{
    std::setbuf(stdin, nullptr);
    termios settings{};
    if (tcgetattr(STDIN_FILENO, &settings) != 0) return;
    m_keys = openAgain(STDIN_FILENO, O_RDONLY);
    if ((settings.c_lflag & ICANON) == 0) return;
    const WithoutStops guard;
    m_found = settings;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON);
    tcsetattr(STDIN_FILENO, TCSANOW, &settings);
}

int ConsoleTerminal::read() const
{
    const WithoutStops guard;
    if (m_keys < 0 && isatty(STDIN_FILENO) == 1) {
        pollfd keys{STDIN_FILENO, POLLIN, 0};
        if (poll(&keys, 1, 0) <= 0) return EOF;
    }
    unsigned char key = 0;
    return ::read(m_keys >= 0 ? m_keys : STDIN_FILENO, &key, 1) == 1 ? key : EOF;
}

void ConsoleTerminal::putBack()
{
    if (m_keys >= 0) close(std::exchange(m_keys, -1));
    if (m_found && !isInBackground()) {
        const WithoutStops guard;
        tcsetattr(STDIN_FILENO, TCSANOW, &*m_found);
    }
    m_found.reset();
    m_isReady = false;
}
