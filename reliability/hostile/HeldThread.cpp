#include "reliability/hostile/HeldThread.h"

#include "reliability/hostile/PendingSignal.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <utility>

namespace {

constexpr int kCallStop = SIGTRAP | 0x80;  // as PTRACE_O_TRACESYSGOOD has it

[[noreturn]] void fail(const char* what)
{
    throw std::runtime_error(std::string("cannot hold the service: ") + what + ": " + std::strerror(errno));
}

void* asData(int number)
{
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(number));
}

/// A minute for all that is done beside it: a service that lives on makes calls for ever.
class Deadline {
public:
    explicit Deadline(std::string what) : m_what(std::move(what)) {}

    void check() const
    {
        if (std::chrono::steady_clock::now() > m_end) throw std::runtime_error(m_what + " for a minute");
    }

private:
    const std::string m_what;
    const std::chrono::steady_clock::time_point m_end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
};

/// Waits for a stop of the process; false if it has ended, which is left to be waited for.
bool awaitStop(pid_t process, int& status)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < end) {
        siginfo_t info{};
        const auto id = static_cast<id_t>(process);
        if (waitid(P_PID, id, &info, WEXITED | WSTOPPED | WNOHANG | WNOWAIT) != 0) fail("waitid");
        if (info.si_pid == process) {
            if (info.si_code != CLD_TRAPPED && info.si_code != CLD_STOPPED) return false;
            if (waitpid(process, &status, WNOHANG) == process) return true;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    throw std::runtime_error("the service has not come to where it is to be held");
}

}  // namespace

HeldThread::HeldThread(pid_t process) : m_process(process)
{
    if (ptrace(PTRACE_SEIZE, process, nullptr, asData(PTRACE_O_TRACESYSGOOD)) != 0) fail("seize");
    if (ptrace(PTRACE_INTERRUPT, process, nullptr, nullptr) != 0) fail("interrupt");
    int status = 0;
    m_isHeld = awaitStop(process, status);
    if (!m_isHeld) throw std::runtime_error("the service ended before it could be held");
}

std::optional<HeldThread::Stop> HeldThread::next()
{
    if (!m_isHeld) return std::nullopt;
    m_isHeld = false;
    if (ptrace(PTRACE_SYSCALL, m_process, nullptr, asData(m_toDeliver)) != 0 && errno != ESRCH) fail("go on");
    int status = 0;
    m_isHeld = awaitStop(m_process, status);
    m_toDeliver = 0;
    if (!m_isHeld) return std::nullopt;
    const int signal = WSTOPSIG(status), event = status >> 16;
    if (signal == kCallStop) return Stop{0, true};
    return Stop{event == 0 ? signal : 0, false};
}

std::string HeldThread::textToWrite() const
{
    __ptrace_syscall_info info{};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, m_process, reinterpret_cast<void*>(sizeof info), &info) <= 0) fail("look");
    const auto& entry = info.entry;
    if (info.op != PTRACE_SYSCALL_INFO_ENTRY || (entry.nr != SYS_write && entry.nr != SYS_pwritev2)) return {};
    const auto read = [this](std::uint64_t from, void* to, std::size_t size) {
        const iovec own{to, size}, other{reinterpret_cast<void*>(static_cast<std::uintptr_t>(from)), size};
        return process_vm_readv(m_process, &own, 1, &other, 1, 0) == static_cast<ssize_t>(size);
    };
    std::uint64_t from = entry.args[1], size = entry.args[2];
    if (entry.nr == SYS_pwritev2) {  // of one piece
        iovec piece{};
        if (!read(from, &piece, sizeof piece)) return {};
        from = reinterpret_cast<std::uintptr_t>(piece.iov_base), size = piece.iov_len;
    }
    std::string text(static_cast<std::size_t>(std::min<std::uint64_t>(size, 4096)), '\0');
    return read(from, text.data(), text.size()) ? text : std::string();
}

bool HeldThread::runTo(const std::string& text)
{
    const Deadline deadline("\"" + text + "\" has not been written");
    while (const auto stop = next()) {
        if (stop->isCall && textToWrite().find(text) != std::string::npos) return true;
        m_toDeliver = stop->signal;
        deadline.check();
    }
    return false;
}

bool HeldThread::sendTwice(int signal)
{
    kill(m_process, signal);
    if (threads() > 1) {  // of which another one takes it
        const auto state = awaitTaken(m_process, signal);
        if (state == SignalState::Taken) kill(m_process, signal);
        if (state != SignalState::Pending) {
            letGo();
            return state == SignalState::Taken;
        }
    }
    const Deadline deadline("the signal has not come");
    while (const auto stop = next()) {
        if (stop->signal == signal) {
            kill(m_process, signal);
            letGo(signal);
            return true;
        }
        m_toDeliver = stop->signal;
        deadline.check();
    }
    return false;
}

std::size_t HeldThread::threads() const
{
    std::error_code gone;
    using Entries = std::filesystem::directory_iterator;
    const Entries entries("/proc/" + std::to_string(m_process) + "/task", gone);
    return static_cast<std::size_t>(std::distance(entries, Entries()));
}

void HeldThread::letGo(int signal)
{
    if (!m_isHeld) return;
    ptrace(PTRACE_DETACH, m_process, nullptr, asData(signal != 0 ? signal : m_toDeliver));
    m_isHeld = false;
}
