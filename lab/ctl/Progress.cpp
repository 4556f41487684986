#include "lab/ctl/Progress.h"

#include "utilities/Shielded.h"

#include <unistd.h>

namespace orvanectl {

namespace {

constexpr const char* kEraseLine = "\r\033[K";

}  // namespace

Progress::Progress(int terminal, std::chrono::milliseconds after) : m_terminal(terminal), m_after(after)
{
    if (::isatty(terminal) == 1) m_thread = std::thread([this] { shielded([this] { run(); }, [](const char*) {}); });
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

void Progress::run()
{
    const MutexLock lock(m_mutex);
    bool isShown = false;
    while (!m_isOver) {
        m_ends.wait_for(m_mutex, m_after);
        const auto since = std::chrono::steady_clock::now() - m_start;
        if (m_isOver || since < m_after || m_what.empty()) continue;
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since).count();
        write(kEraseLine + ("orvanectl: " + m_what + ", " + std::to_string(seconds) + " s"));
        isShown = true;
    }
    if (isShown) write(kEraseLine);
}

void Progress::write(const std::string& text) const
{
    [[maybe_unused]] const ssize_t written = ::write(m_terminal, text.data(), text.size());
}

}  // namespace orvanectl
