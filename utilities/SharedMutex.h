#ifndef UTILITIES_SHAREDMUTEX_H
#define UTILITIES_SHAREDMUTEX_H

#include "utilities/ThreadAnnotations.h"

#include <shared_mutex>

#define REQUIRES_SHARED(...) ORVANE_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define ACQUIRE_SHARED(...) ORVANE_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define RELEASE_SHARED(...) ORVANE_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))

/// `std::shared_mutex` with a name that the analysis knows, and its place in the order of locks: many readers or one
/// writer. Taking it uncontended is no system call. Readers that follow each other without a gap keep a writer out, so
/// turn them away first.
template <LockRank rank>
class CAPABILITY("shared mutex") SharedMutex {
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

    void lock_shared() ACQUIRE_SHARED()
    {
        LockOrder::take(rank);
        m_mutex.lock_shared();
    }

    void unlock_shared() RELEASE_SHARED()
    {
        m_mutex.unlock_shared();
        LockOrder::release(rank);
    }

private:
    std::shared_mutex m_mutex;
};

/// Holds a `SharedMutex` for a scope, as the one writer.
template <LockRank rank>
class SCOPED_CAPABILITY ExclusiveLock {
public:
    explicit ExclusiveLock(SharedMutex<rank>& mutex) ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~ExclusiveLock() RELEASE() { m_mutex.unlock(); }
    ExclusiveLock(const ExclusiveLock&) = delete;
    ExclusiveLock& operator=(const ExclusiveLock&) = delete;

private:
    SharedMutex<rank>& m_mutex;
};

/// Holds a `SharedMutex` for a scope, as a reader among others. Not twice in one thread.
template <LockRank rank>
class SCOPED_CAPABILITY SharedLock {
public:
    explicit SharedLock(SharedMutex<rank>& mutex) ACQUIRE_SHARED(mutex) : m_mutex(mutex) { m_mutex.lock_shared(); }
    ~SharedLock() RELEASE() { m_mutex.unlock_shared(); }
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

private:
    SharedMutex<rank>& m_mutex;
};

#endif
