#include "lab/ctl/seq/Programs.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>

extern char** environ;

namespace orvanectl {

namespace {

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// This one's, but for the variables that are given.
std::vector<std::string> environmentWith(const std::vector<std::string>& more)
{
    std::vector<std::string> all = more;
    for (char** entry = environ; *entry; ++entry) {
        const std::string variable = *entry;
        const std::string name = variable.substr(0, variable.find('=') + 1);
        bool isGiven = false;
        for (const std::string& given : more) isGiven = isGiven || given.starts_with(name);
        if (!isGiven) all.push_back(variable);
    }
    return all;
}

/// In the new process, where only what a signal handler may call can be called.
[[noreturn]] void become(char* const* arguments, char* const* environment, int input, int output, bool atTerminal)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) ::signal(signal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::setsid();
    if (atTerminal) ::ioctl(input, TIOCSCTTY, 0);
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    if (atTerminal) ::dup2(output, STDERR_FILENO);
    ::execve(arguments[0], arguments, environment);
    ::_exit(127);
}

}  // namespace

Program::Program(const std::vector<std::string>& arguments, const std::vector<std::string>& environment, int terminal)
{
    std::vector<std::string> words = arguments, variables = environmentWith(environment);
    const std::vector<char*> argv = pointersTo(words), envp = pointersTo(variables);
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null < 0) fail("/dev/null");
    m_process = ::fork();
    if (m_process == 0)
        become(argv.data(), envp.data(), terminal < 0 ? null : terminal, terminal < 0 ? null : terminal, terminal >= 0);
    const int error = errno;
    ::close(null);
    errno = error;
    if (m_process < 0) fail("fork");
}

Program::~Program()
{
    if (ending()) return;
    send(SIGKILL);
    while (::waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
    }
}

void Program::send(int signal)
{
    if (!ending()) ::kill(m_process, signal);
}

const std::optional<std::string>& Program::ending()
{
    int status = 0;
    if (!m_ending && ::waitpid(m_process, &status, WNOHANG) == m_process)
        m_ending = WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                       : "status " + std::to_string(WEXITSTATUS(status));
    return m_ending;
}

Terminal::Terminal() : m_screen(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK))
{
    std::array<char, 128> path{};
    if (m_screen >= 0 && ::grantpt(m_screen) == 0 && ::unlockpt(m_screen) == 0 &&
        ::ptsname_r(m_screen, path.data(), path.size()) == 0)
        m_line = ::open(path.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_line >= 0) return;
    const int error = errno;
    if (m_screen >= 0) ::close(m_screen);
    errno = error;
    fail("pseudo-terminal");
}

Terminal::~Terminal()
{
    closeLine();
    ::close(m_screen);
}

void Terminal::closeLine()
{
    if (m_line >= 0) ::close(std::exchange(m_line, -1));
}

bool Terminal::takesKeys() const
{
    termios settings{};
    return ::tcgetattr(m_screen, &settings) == 0 && (settings.c_lflag & static_cast<tcflag_t>(ICANON)) == 0;
}

void Terminal::type(const std::string& keys) const
{
    if (::write(m_screen, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) fail("terminal");
}

std::vector<std::string> Terminal::lines()
{
    std::vector<std::string> lines;
    const auto finish = [&] {
        if (!m_rest.empty() && m_rest.back() == '\r') m_rest.pop_back();
        lines.push_back(std::exchange(m_rest, {}));
    };
    std::array<char, 4096> piece;
    for (;;) {
        const ssize_t count = ::read(m_screen, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EAGAIN) return lines;
        if (count <= 0) {  // EIO: nobody has the other side
            m_isOver = true;
            if (!m_rest.empty()) finish();
            return lines;
        }
        for (const char one : std::string_view(piece.data(), static_cast<std::size_t>(count))) {
            if (one == '\n' || m_rest.size() == kLongestLine) finish();
            if (one != '\n') m_rest += one;
        }
    }
}

}  // namespace orvanectl
