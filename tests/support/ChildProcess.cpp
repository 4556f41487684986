#include "tests/support/ChildProcess.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

/// The bit of a signal in a mask of /proc/<pid>/status; false if the process is gone.
bool isInMask(pid_t process, const std::string& field, int signal)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(field)) return std::stoull(line.substr(field.size()), nullptr, 16) >> (signal - 1) & 1;
    return false;
}

/// The end of who prints, if there is a socket at the path that somebody listens at; -1 if there is none.
int connectTo(const std::string& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return -1;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.copy(address.sun_path, sizeof address.sun_path - 1) != path.size())
        throw std::runtime_error("too long for a socket: " + path);
    const int end = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (end < 0 || connect(end, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("nobody listens at " + path);
    return end;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const std::string& input,
                           const std::string& console)
{
    int output[2], errors[2];
    const int socketEnd = connectTo(console);
    // Kept from processes that other threads start meanwhile: they would hold the ends open.
    if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) throw std::runtime_error("cannot make a pipe");

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, input.c_str(), O_RDONLY | O_NOCTTY, 0);
    posix_spawn_file_actions_adddup2(&actions, output[1], 1);
    posix_spawn_file_actions_adddup2(&actions, errors[1], 2);
    if (socketEnd >= 0) {
        posix_spawn_file_actions_adddup2(&actions, socketEnd, 1);
        posix_spawn_file_actions_adddup2(&actions, socketEnd, 2);
    } else if (!console.empty()) {
        posix_spawn_file_actions_addopen(&actions, 1, console.c_str(), O_WRONLY | O_NOCTTY, 0);
        posix_spawn_file_actions_adddup2(&actions, 1, 2);
    }

    std::vector<char*> words;
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    const int error = posix_spawn(&m_process, arguments.at(0).c_str(), &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(output[1]);
    close(errors[1]);
    if (socketEnd >= 0) close(socketEnd);
    if (error != 0) {
        close(output[0]);
        close(errors[0]);
        throw std::runtime_error("cannot run " + arguments[0]);
    }
    start(m_output, output[0]);
    start(m_errors, errors[0]);
}

ChildProcess::~ChildProcess()
{
    if (!m_ended) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    for (Stream* stream : {&m_output, &m_errors}) {
        if (stream->reader.joinable()) stream->reader.join();
        close(stream->descriptor);
    }
}

void ChildProcess::start(Stream& stream, int descriptor)
{
    stream.descriptor = descriptor;
    stream.reader = std::thread([this, &stream] {
        char part[4096];
        for (ssize_t count = 0; (count = read(stream.descriptor, part, sizeof part)) > 0;) {
            const std::lock_guard lock(m_mutex);
            stream.text.append(part, static_cast<std::size_t>(count));
        }
    });
}

void ChildProcess::send(int signal) const
{
    if (kill(m_process, signal) != 0) throw std::runtime_error("cannot send a signal");
}

bool ChildProcess::waitUntilHandled(int signal) const
{
    bool isGone = false;
    const bool isSeen = eventually([&] {
        siginfo_t info{};
        isGone = waitid(P_PID, static_cast<id_t>(m_process), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                 info.si_pid == m_process;
        return isGone || isInMask(m_process, "SigCgt:", signal);
    });
    return isSeen && !isGone;
}

ChildProcess::Ending ChildProcess::wait()
{
    int status = 0;
    if (!eventually([&] { return waitpid(m_process, &status, WNOHANG) == m_process; })) {
        kill(m_process, SIGKILL);
        waitpid(m_process, &status, 0);
        m_ended = true;
        throw std::runtime_error("the process has not ended");
    }
    m_ended = true;
    m_output.reader.join();
    m_errors.reader.join();
    if (WIFSIGNALED(status)) return {-1, WTERMSIG(status)};
    return {WEXITSTATUS(status), 0};
}

std::string ChildProcess::output() const
{
    return textOf(m_output);
}

std::string ChildProcess::errors() const
{
    return textOf(m_errors);
}

std::string ChildProcess::textOf(const Stream& stream) const
{
    const std::lock_guard lock(m_mutex);
    return stream.text;
}
