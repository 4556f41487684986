#ifndef UTILITIES_CONSOLESTREAMBUFFER_H
#define UTILITIES_CONSOLESTREAMBUFFER_H

#include "utilities/ConsoleDescriptor.h"
#include "utilities/ThreadAnnotations.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <streambuf>
#include <string>
#include <string_view>

/// The console's end of `std::cout` or `std::cerr`, which never stops the service. Text goes out when it is flushed; on
/// a terminal at the end of a line too.
///
/// A reader that doesn't read is waited for once, for a short while. From then on, until it takes something again,
/// whole lines are dropped without waiting. Lines are also dropped while there is an error, such as a full disk or a
/// reader that is gone. The next line that goes out has their number in front. A line of which a part is out is kept
/// and completed first. To the stream, all of this is success: its state stays good.
///
/// Any thread may write. The lock is the last in the order of locks, and is held over the wait, so that threads wait
/// together, not one behind the other.
class ConsoleStreamBuffer : public std::streambuf {
public:
    /// How long a reader that doesn't read is waited for.
    static constexpr std::chrono::milliseconds kPatience{200};

    explicit ConsoleStreamBuffer(int descriptor, std::chrono::milliseconds patience = kPatience);
    ~ConsoleStreamBuffer() override;

protected:
    std::streamsize xsputn(const char* characters, std::streamsize count) override;
    int_type overflow(int_type character) override;
    int sync() override;

private:
    void put(std::string_view text) noexcept EXCLUDES(m_mutex);
    void flushPending(std::size_t size) REQUIRES(m_mutex);
    void write(std::string_view text) noexcept REQUIRES(m_mutex);
    bool isBlocked() const REQUIRES(m_mutex);
    bool sendRest() REQUIRES(m_mutex);
    bool tellLost() REQUIRES(m_mutex);
    bool send(std::string_view& text) REQUIRES(m_mutex);
    bool waitForReader(std::optional<std::chrono::steady_clock::time_point>& end) REQUIRES(m_mutex);
    bool keepOrCut(std::string_view line) REQUIRES(m_mutex);
    void keepOrLose(std::string_view text) REQUIRES(m_mutex);

    const ConsoleDescriptor m_descriptor;
    const std::chrono::milliseconds m_patience;
    RankedMutex<LockRank::Console> m_mutex;
    std::array<char, 4096> m_pending GUARDED_BY(m_mutex);  // not flushed yet
    std::size_t m_pendingSize GUARDED_BY(m_mutex) = 0;
    std::string m_rest GUARDED_BY(m_mutex);           // of a line of which a part is out
    bool m_isCut GUARDED_BY(m_mutex) = false;         // that line ends behind the rest, there was no memory for more
    bool m_isLineOpen GUARDED_BY(m_mutex) = false;    // what is out ends within a line
    bool m_isInLostLine GUARDED_BY(m_mutex) = false;  // a line was dropped of which more is to come
    bool m_isDropping GUARDED_BY(m_mutex) = false;    // the reader has been waited for
    std::uint64_t m_lost GUARDED_BY(m_mutex) = 0;     // lines
};

#endif
