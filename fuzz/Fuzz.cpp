#include "fuzz/Fuzz.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <streambuf>
#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

namespace {

class CountingBuffer : public std::streambuf {
    int_type overflow(int_type character) override
    {
        if (character == '\n') QuietConsole::instance().count(1);
        return traits_type::not_eof(character);
    }
    std::streamsize xsputn(const char* text, std::streamsize size) override
    {
        QuietConsole::instance().count(static_cast<std::size_t>(std::count(text, text + size, '\n')));
        return size;
    }
};

}  // namespace

void fail(const char* condition, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

QuietConsole& QuietConsole::instance()
{
    static QuietConsole console;
    return console;
}

QuietConsole::QuietConsole()
{
    static CountingBuffer* const buffer = new CountingBuffer;  // streams are written to until the very end
    std::cout.rdbuf(buffer);
    std::cerr.rdbuf(buffer);
}

MemoryFile::MemoryFile(const std::string& content) : m_descriptor(::memfd_create("fuzz", MFD_CLOEXEC))
{
    FUZZ_EXPECT(m_descriptor >= 0);
    FUZZ_EXPECT(::write(m_descriptor, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
}

MemoryFile::~MemoryFile()
{
    ::close(m_descriptor);
}

std::string MemoryFile::path() const
{
    return "/proc/self/fd/" + std::to_string(m_descriptor);
}

std::string MemoryFile::content() const
{
    std::string content(static_cast<std::size_t>(::lseek(m_descriptor, 0, SEEK_END)), '\0');
    FUZZ_EXPECT(::pread(m_descriptor, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
    return content;
}

}  // namespace fuzz
