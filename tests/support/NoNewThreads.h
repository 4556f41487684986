#ifndef TESTS_SUPPORT_NONEWTHREADS_H
#define TESTS_SUPPORT_NONEWTHREADS_H

#include <limits>
#include <pthread.h>
#include <stdexcept>

/// No thread can be started while this object lives: there is no room for its stack. One object at a time.
class NoNewThreads {
public:
    NoNewThreads()
    {
        pthread_attr_t attributes;
        const bool isKnown = pthread_getattr_default_np(&m_before) == 0;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, std::numeric_limits<std::size_t>::max() / 8 * 7);
        const bool isSet = isKnown && pthread_setattr_default_np(&attributes) == 0;
        pthread_attr_destroy(&attributes);
        if (!isSet) throw std::runtime_error("cannot set the size of stacks");
    }
    ~NoNewThreads()
    {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }
    NoNewThreads(const NoNewThreads&) = delete;
    NoNewThreads& operator=(const NoNewThreads&) = delete;

private:
    pthread_attr_t m_before{};
};

#endif
