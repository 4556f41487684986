#include "utilities/COutputRedirector.h"

#include "utilities/ConsoleStreamBuffer.h"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <limits>
#include <unistd.h>
#include <utility>

std::FILE* COutputRedirector::originalStdOutStreamDest = nullptr;
std::FILE* COutputRedirector::originalStdErrStreamDest = nullptr;

namespace {

void writeToDescriptor(int descriptor, const char* buffer, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(descriptor, buffer, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        buffer += written;
        size -= static_cast<std::size_t>(written);
    }
}

/// Captured standard error comes out here too.
void sendOn(const char* buffer, unsigned size)
{
    // The service's own console never holds up whoever prints; the C library's stream would.
    if (auto* const console = dynamic_cast<ConsoleStreamBuffer*>(std::cout.rdbuf())) {
        console->sputn(buffer, static_cast<std::streamsize>(size));
        console->pubsync();
        return;
    }
    std::FILE* const out = COutputRedirector::originalStdOutStreamDest;
    if (!out) return writeToDescriptor(STDOUT_FILENO, buffer, size);
    std::fwrite(buffer, 1, size, out);
    std::fflush(out);
}

}  // namespace

COutputRedirector::~COutputRedirector()
{
    if (holdsStandardStream()) reset();
    if (m_stream && !holdsStandardStream()) std::fclose(m_stream);
}

bool COutputRedirector::redirect(Sink sink)
{
    if (inForce() || !openStream()) return false;
    m_sink = std::move(sink);
    originalStdOutStreamDest = stdout;
    originalStdErrStreamDest = stderr;
    stdout = m_stream;
    stderr = m_stream;
    return true;
}

void COutputRedirector::reset()
{
    if (!inForce()) return;
    std::fflush(stdout);
    stdout = std::exchange(originalStdOutStreamDest, nullptr);
    stderr = std::exchange(originalStdErrStreamDest, nullptr);
}

unsigned COutputRedirector::file_write(void* cookie, const char* buffer, unsigned size) noexcept
{
    try {
        const int answer = cookie ? static_cast<COutputRedirector*>(cookie)->m_sink(buffer, size) : 0;
        if (answer != 0) return answer < 0 ? 0 : std::min(static_cast<unsigned>(answer), size);
        sendOn(buffer, size);
        return size;
    } catch (...) {
        return 0;
    }
}

/// What the C library calls. It may hand over more than the sink's `unsigned` can count.
ssize_t COutputRedirector::streamWrite(void* cookie, const char* buffer, std::size_t size)
{
    constexpr std::size_t kMostAtOnce = std::numeric_limits<int>::max();
    std::size_t done = 0;
    while (done < size) {
        const auto part = static_cast<unsigned>(std::min(size - done, kMostAtOnce));
        const unsigned taken = file_write(cookie, buffer + done, part);
        done += taken;
        if (taken < part) break;
    }
    return static_cast<ssize_t>(done);
}

bool COutputRedirector::openStream()
{
    if (m_stream) return true;
    cookie_io_functions_t functions = {};
    functions.write = &COutputRedirector::streamWrite;
    m_stream = fopencookie(this, "w", functions);
    // Otherwise a line would reach the sink only with the ones that fill the buffer.
    if (m_stream) std::setvbuf(m_stream, nullptr, _IOLBF, 0);
    return m_stream != nullptr;
}
