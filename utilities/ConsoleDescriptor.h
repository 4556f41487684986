#ifndef UTILITIES_CONSOLEDESCRIPTOR_H
#define UTILITIES_CONSOLEDESCRIPTOR_H

#include <chrono>
#include <cstddef>
#include <string_view>
#include <sys/types.h>

/// Writes to a standard stream of the process without waiting for whoever reads there. The descriptor itself is shared
/// with other processes and stays as it is: a pipe or a terminal is opened once more, a socket is told with each text.
/// Files and other devices are written as they are. One thread at a time.
class ConsoleDescriptor {
public:
    explicit ConsoleDescriptor(int descriptor);
    ~ConsoleDescriptor();
    ConsoleDescriptor(const ConsoleDescriptor&) = delete;
    ConsoleDescriptor& operator=(const ConsoleDescriptor&) = delete;

    /// As `write` of the C library: how much of `text`, which is not empty, was taken, or -1 and `errno`, EAGAIN while
    /// nobody reads.
    ssize_t write(std::string_view text) const;

    /// Waits until a reader has made room, or there is an error for `write` to tell.
    bool waitForRoom(std::chrono::milliseconds limit) const;

    bool isTerminal() const { return m_isTerminal; }

private:
    bool mustNotWrite() const;
    ssize_t writePiece(std::string_view text) const;

    const int m_descriptor;
    const bool m_isTerminal;
    bool m_isSocket = false;
    int m_own = -1;           // opened once more; -1 if that can't be, or need not
    std::size_t m_piece = 0;  // what may be written at once without waiting, where there is room; 0 if all
};

#endif
