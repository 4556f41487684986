#include "utilities/OpenAgain.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

int openAgain(int descriptor, int access)
{
    const int flags = access | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    std::array<char, 32> path{};
    std::snprintf(path.data(), path.size(), "/proc/self/fd/%d", descriptor);
    const int again = open(path.data(), flags);
    // The terminal of another user can be opened by its own session all the same.
    if (again < 0 && tcgetsid(descriptor) == getsid(0)) return open("/dev/tty", flags);
    return again;
}
