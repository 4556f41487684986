#ifndef UTILITIES_THREADANNOTATIONS_H
#define UTILITIES_THREADANNOTATIONS_H

#include "utilities/LockRank.h"

#include <mutex>

/// Words that join a lock to what it guards. clang checks them (-Wthread-safety); they are empty elsewhere.
#if defined(__clang__)
#define ORVANE_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ORVANE_THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(x) ORVANE_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY ORVANE_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) ORVANE_THREAD_ANNOTATION(guarded_by(x))
#define REQUIRES(...) ORVANE_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) ORVANE_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) ORVANE_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) ORVANE_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

/// `std::mutex` with a name that the analysis knows.
class CAPABILITY("mutex") Mutex {
public:
    void lock() ACQUIRE() { m_mutex.lock(); }
    void unlock() RELEASE() { m_mutex.unlock(); }

private:
    std::mutex m_mutex;
};

/// A `Mutex` with its place in the order of locks.
template <LockRank rank>
class CAPABILITY("mutex") RankedMutex {
public:
    void lock() ACQUIRE()
    {
        LockOrder::take(rank);
        m_mutex.lock();
    }

    void unlock() RELEASE()
    {
        m_mutex.unlock();
        LockOrder::release(rank);
    }

private:
    std::mutex m_mutex;
};

/// Holds a `Mutex` or a `RankedMutex` for a scope. A `std::condition_variable_any` may wait on the mutex.
template <class Lockable>
class SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Lockable& mutex) ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~MutexLock() RELEASE() { m_mutex.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Lockable& m_mutex;
};

#endif
