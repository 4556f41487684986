#ifndef UTILITIES_WITHOUTSTOPS_H
#define UTILITIES_WITHOUTSTOPS_H

#include <csignal>

/// Holds back, on this thread, the signals that stop a job that touches a terminal which another job has just got. A
/// write goes through then, also where the terminal has such jobs stopped; a read fails.
class WithoutStops {
public:
    WithoutStops()
    {
        sigset_t stops;
        sigemptyset(&stops);
        sigaddset(&stops, SIGTTIN);
        sigaddset(&stops, SIGTTOU);
        pthread_sigmask(SIG_BLOCK, &stops, &m_before);
    }
    ~WithoutStops() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    WithoutStops(const WithoutStops&) = delete;
    WithoutStops& operator=(const WithoutStops&) = delete;

private:
    sigset_t m_before{};
};

#endif
