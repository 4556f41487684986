#include "utilities/ConsoleStreamBuffer.h"

#include "utilities/SleepFully.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How often a wait looks for itself: a terminal doesn't always wake who waits for room.
constexpr milliseconds kLook{20};

/// More of one line is not kept.
constexpr std::size_t kMostKept = 1024UL * 1024UL;

/// The size of the first line, with its end if it has one.
std::size_t sizeOfLine(std::string_view text)
{
    return std::min(text.find('\n'), text.size() - 1) + 1;
}

}  // namespace

ConsoleStreamBuffer::ConsoleStreamBuffer(int descriptor, milliseconds patience)
    : m_descriptor(descriptor), m_patience(patience)
{}

ConsoleStreamBuffer::~ConsoleStreamBuffer()
{
    const MutexLock lock(m_mutex);
    flushPending(m_pendingSize);
}

std::streamsize ConsoleStreamBuffer::xsputn(const char* characters, std::streamsize count)
{
    if (count > 0) put({characters, static_cast<std::size_t>(count)});
    return count;
}

ConsoleStreamBuffer::int_type ConsoleStreamBuffer::overflow(int_type character)
{
    if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
    const char one = traits_type::to_char_type(character);
    put({&one, 1});
    return character;
}

int ConsoleStreamBuffer::sync()
{
    const MutexLock lock(m_mutex);
    flushPending(m_pendingSize);
    return 0;
}

void ConsoleStreamBuffer::put(std::string_view text) noexcept
{
    const MutexLock lock(m_mutex);
    if (text.size() > m_pending.size() - m_pendingSize) flushPending(m_pendingSize);
    if (text.size() > m_pending.size()) return write(text);
    std::memcpy(m_pending.data() + m_pendingSize, text.data(), text.size());
    m_pendingSize += text.size();
    if (m_descriptor.isTerminal()) {
        const std::string_view pending(m_pending.data(), m_pendingSize);
        flushPending(pending.rfind('\n') + 1);  // nothing if there is none
    }
}

void ConsoleStreamBuffer::flushPending(std::size_t size)
{
    write({m_pending.data(), size});
    m_pendingSize -= size;
    std::memmove(m_pending.data(), m_pending.data() + size, m_pendingSize);
}

void ConsoleStreamBuffer::write(std::string_view text) noexcept
{
    if (m_isInLostLine && !text.empty()) {
        const std::string_view line = text.substr(0, sizeOfLine(text));
        m_isInLostLine = !line.ends_with('\n');
        text.remove_prefix(line.size());
    }
    if (text.empty()) return;
    const bool isOut = !isBlocked() && sendRest() && tellLost() && send(text);
    if (!isOut) keepOrLose(text);
}

/// The reader has been waited for and still takes nothing. Short texts would still fit in: they are no sign of one.
bool ConsoleStreamBuffer::isBlocked() const
{
    return m_isDropping && !m_descriptor.waitForRoom(milliseconds(0));
}

bool ConsoleStreamBuffer::sendRest()
{
    if (m_rest.empty() && !m_isCut) return true;
    std::string_view rest = m_rest;
    bool isOut = send(rest);
    m_rest.erase(0, m_rest.size() - rest.size());
    if (isOut && m_isCut) {
        std::string_view end = "\n";
        isOut = send(end);
        m_isCut = !isOut;
    }
    if (isOut) m_isDropping = false;
    return isOut;
}

/// The line that is out is complete then: lines are lost behind a whole one, or behind the rest of one.
bool ConsoleStreamBuffer::tellLost()
{
    if (m_lost == 0) return true;
    std::array<char, 64> notice{};
    const int length =
        std::snprintf(notice.data(), notice.size(), "!!!!!! %" PRIu64 " console lines were lost\n", m_lost);
    std::string_view text(notice.data(), static_cast<std::size_t>(length));
    const bool isOut = send(text);
    if (isOut) m_isDropping = false;
    if (isOut || (m_isLineOpen && keepOrCut(text))) m_lost = 0;
    return isOut;
}

/// Writes as much as is taken. `text` becomes what is left of it.
bool ConsoleStreamBuffer::send(std::string_view& text)
{
    std::optional<Clock::time_point> end;  // of the wait for a reader
    while (!text.empty()) {
        const ssize_t taken = m_descriptor.write(text);
        if (taken > 0) {
            const auto size = static_cast<std::size_t>(taken);
            m_isLineOpen = text[size - 1] != '\n';
            text.remove_prefix(size);
            end.reset();
            continue;
        }
        if (taken < 0 && errno == EINTR) continue;
        if (taken == 0 || errno != EAGAIN || !waitForReader(end)) return false;
    }
    return true;
}

/// Waits until it is worth another try; false once the reader has been waited for long enough.
bool ConsoleStreamBuffer::waitForReader(std::optional<Clock::time_point>& end)
{
    if (m_isDropping) return false;
    if (!end)
        end = Clock::now() + m_patience;
    else if (m_descriptor.waitForRoom(milliseconds(0)))
        sleepFully(milliseconds(1));  // there is room, but not for this
    const auto left = std::chrono::ceil<milliseconds>(*end - Clock::now());
    m_isDropping = left <= milliseconds(0);
    if (!m_isDropping) m_descriptor.waitForRoom(std::min(left, kLook));
    return !m_isDropping;
}

/// Keeps what is still to go out of the line that has begun; false if that can't be, so that the line is to be cut.
bool ConsoleStreamBuffer::keepOrCut(std::string_view line)
{
    try {
        if (m_rest.size() + line.size() > kMostKept) throw std::length_error("line");
        m_rest += line;
    } catch (const std::exception&) {
        m_isCut = true;
    }
    return !m_isCut;
}

/// For text that can't go out now: completes the line that is out in part, counts the others.
void ConsoleStreamBuffer::keepOrLose(std::string_view text)
{
    const bool isBegun = !m_isCut && (m_rest.empty() ? m_isLineOpen : !m_rest.ends_with('\n'));
    if (isBegun && !text.empty()) {
        const std::string_view line = text.substr(0, sizeOfLine(text));
        if (keepOrCut(line)) text.remove_prefix(line.size());
    }
    if (text.empty()) return;
    m_lost += static_cast<std::uint64_t>(std::ranges::count(text, '\n'));
    m_isInLostLine = !text.ends_with('\n');
    if (m_isInLostLine) ++m_lost;
}
