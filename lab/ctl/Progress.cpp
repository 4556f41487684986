#include "lab/ctl/Progress.h"

#include "utilities/Shielded.h"

#include <csignal>
#include <unistd.h>

namespace orvanectl {

namespace {

constexpr const char* kEraseLine = "\r\033[K";

}  // namespace

Progress::Progress(int terminal, std::chrono::milliseconds after) : m_terminal(terminal), m_after(after)
{
    if (::isatty(terminal) != 1) return;
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    m_thread = std::thread([this] { shielded([this] { run(); }, [](const char*) {}); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

Progress::~Progress()
{
    {
        const MutexLock lock(m_mutex);
        m_isOver = true;
    }
    m_ends.notify_all();
    if (m_thread.joinable()) m_thread.join();
}

void Progress::say(const std::string& what)
{
    const MutexLock lock(m_mutex);
    m_what = what;
}

void Progress::hide()
{
    const MutexLock lock(m_mutex);
    if (m_isShown) write(kEraseLine);
    m_isShown = false;
    m_hidden = std::chrono::steady_clock::now();
}

void Progress::run()
{
    const MutexLock lock(m_mutex);
    while (!m_isOver) {
        m_ends.wait_for(m_mutex, m_after);
        const auto now = std::chrono::steady_clock::now();
        if (m_isOver || now - m_hidden < m_after || m_what.empty()) continue;
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - m_start).count();
        write(kEraseLine + ("orvanectl: " + m_what + ", " + std::to_string(seconds) + " s"));
        m_isShown = true;
    }
    if (m_isShown) write(kEraseLine);
}

void Progress::write(const std::string& text) const
{
    [[maybe_unused]] const ssize_t written = ::write(m_terminal, text.data(), text.size());
}

}  // namespace orvanectl
