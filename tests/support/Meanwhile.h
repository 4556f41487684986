#ifndef TESTS_SUPPORT_MEANWHILE_H
#define TESTS_SUPPORT_MEANWHILE_H

#include "tests/support/ChildProcess.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <utility>

/// An action for a thread of its own, begun while another is at a place of interest, such as in a call of the bus
/// library: it shows what that place keeps others from. The thread is waited for at the end at the latest.
class Meanwhile {
public:
    explicit Meanwhile(std::function<void()> action) : m_action(std::move(action)) {}
    ~Meanwhile()
    {
        if (hasBegun()) join();
    }
    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;

    /// Begins the action, once. @return whether it is over in that time
    bool isOverWithin(std::chrono::milliseconds time)
    {
        m_thread = std::thread([this] {
            m_action();
            m_isOver = true;
        });
        return eventually([this] { return m_isOver.load(); }, time);
    }

    /// Whether it was begun, and nobody has waited for its end.
    bool hasBegun() const { return m_thread.joinable(); }

    /// Waits for its end. Throws `std::system_error` if it was never begun.
    void join() { m_thread.join(); }

private:
    std::function<void()> m_action;
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;
};

#endif
