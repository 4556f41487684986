#ifndef LAB_CTL_PROGRESS_H
#define LAB_CTL_PROGRESS_H

#include "utilities/ThreadAnnotations.h"

#include <chrono>
#include <condition_variable>
#include <string>
#include <thread>

namespace orvanectl {

/// Shows on a terminal what takes long, once it has taken two seconds, on one line that is gone at the end. Anything else
/// than a terminal gets nothing. Any thread may say what is done. No signal is taken by the thread that shows it.
class Progress {
public:
    /// @param terminal  a descriptor
    /// @param after     so long nothing is shown, nor between two looks
    explicit Progress(int terminal, std::chrono::milliseconds after = std::chrono::seconds(2));
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// @param what  in one line, such as "reads FILE"
    void say(const std::string& what) EXCLUDES(m_mutex);

    /// Makes room for a line of somebody else, which is to be written at once: for `after` nothing is shown.
    void hide() EXCLUDES(m_mutex);

private:
    void run() EXCLUDES(m_mutex);
    void write(const std::string& text) const;

    const int m_terminal;
    const std::chrono::milliseconds m_after;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    Mutex m_mutex;  // a leaf
    std::string m_what GUARDED_BY(m_mutex);
    bool m_isShown GUARDED_BY(m_mutex) = false;
    bool m_isOver GUARDED_BY(m_mutex) = false;
    std::chrono::steady_clock::time_point m_hidden GUARDED_BY(m_mutex) = m_start;
    std::condition_variable_any m_ends;
    std::thread m_thread;  // last: it uses the others
};

}  // namespace orvanectl

#endif
