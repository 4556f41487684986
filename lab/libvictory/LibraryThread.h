#ifndef LAB_LIBVICTORY_LIBRARYTHREAD_H
#define LAB_LIBVICTORY_LIBRARYTHREAD_H

#include <functional>
#include <memory>
#include <pthread.h>

namespace labvictory {

/// A thread with a stack of 8 MiB, so that a call-back may hold a few of the largest records. It takes no signals: those
/// are the program's. Joined with the object.
class LibraryThread {
public:
    static constexpr std::size_t kStackSize = std::size_t{8} * 1024 * 1024;

    /// Throws `std::system_error`.
    /// @param name  as debuggers show it, 15 characters
    /// @param body  throws nothing
    LibraryThread(const char* name, std::function<void()> body);
    ~LibraryThread();
    LibraryThread(const LibraryThread&) = delete;
    LibraryThread& operator=(const LibraryThread&) = delete;

private:
    pthread_t m_thread{};
};

}  // namespace labvictory

#endif
