#include "utilities/ConsoleOutput.h"

#include <cerrno>
#include <fcntl.h>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Whether somebody reads what is written to either. Two files at one place stay apart: each has its own position.
bool haveSameReader(int a, int b)
{
    struct stat first {
    }, second{};
    if (fstat(a, &first) != 0 || fstat(b, &second) != 0) return false;
    const bool isRead = S_ISFIFO(first.st_mode) || S_ISSOCK(first.st_mode) || isatty(a) == 1;
    return isRead && first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// What the C library calls.
ssize_t writeTo(void* cookie, const char* text, std::size_t size)
{
    auto& buffer = *static_cast<ConsoleStreamBuffer*>(cookie);
    buffer.sputn(text, static_cast<std::streamsize>(size));
    buffer.pubsync();
    return static_cast<ssize_t>(size);
}

}  // namespace

void openClosedStandardDescriptors()
{
    // The lowest number that is free is the one that is given.
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) static_cast<void>(open("/dev/null", O_RDWR));
}

ConsoleOutput::ConsoleOutput() : m_output(STDOUT_FILENO)
{
    std::cout.flush();
    if (!haveSameReader(STDOUT_FILENO, STDERR_FILENO)) m_errors.emplace(STDERR_FILENO);
    ConsoleStreamBuffer& errors = m_errors ? *m_errors : m_output;
    m_previous = {std::cout.rdbuf(&m_output), std::cerr.rdbuf(&errors), std::clog.rdbuf(&errors)};
    m_wasLogUnbuffered = (std::clog.flags() & std::ios::unitbuf) != 0;
    std::clog << std::unitbuf;  // as the C library has it; std::cerr is so already
    cookie_io_functions_t functions = {};
    functions.write = &writeTo;
    m_cErrors = fopencookie(&errors, "w", functions);
    if (!m_cErrors) return;
    std::setvbuf(m_cErrors, nullptr, _IONBF, 0);
    stderr = m_cErrors;
}

ConsoleOutput::~ConsoleOutput()
{
    if (m_cErrors) {
        if (stderr == m_cErrors) stderr = m_previousErrors;
        std::fclose(m_cErrors);
    }
    std::cout.rdbuf(m_previous[0]);
    std::cerr.rdbuf(m_previous[1]);
    std::clog.rdbuf(m_previous[2]);
    if (!m_wasLogUnbuffered) std::clog << std::nounitbuf;
}

void ConsoleOutput::install()
{
    [[maybe_unused]] static ConsoleOutput* const console = new ConsoleOutput;
}
