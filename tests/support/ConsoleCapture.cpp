#include "tests/support/ConsoleCapture.h"

#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <stdexcept>
#include <unistd.h>

ConsoleCapture::ConsoleCapture(std::ostream& stream) : m_stream(stream), m_previous(stream.rdbuf(&m_buffer)) {}

ConsoleCapture::~ConsoleCapture()
{
    m_stream.rdbuf(m_previous);
}

std::string ConsoleCapture::text() const
{
    return m_buffer.text();
}

std::string ConsoleCapture::Buffer::text() const
{
    const std::lock_guard lock(m_mutex);
    return m_text;
}

ConsoleCapture::Buffer::int_type ConsoleCapture::Buffer::overflow(int_type character)
{
    if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
    const std::lock_guard lock(m_mutex);
    m_text.push_back(traits_type::to_char_type(character));
    return character;
}

std::streamsize ConsoleCapture::Buffer::xsputn(const char* characters, std::streamsize count)
{
    const std::lock_guard lock(m_mutex);
    m_text.append(characters, static_cast<std::size_t>(count));
    return count;
}

std::string ConsoleCapture::flushed() const
{
    return m_buffer.flushed();
}

std::string ConsoleCapture::Buffer::flushed() const
{
    const std::lock_guard lock(m_mutex);
    return m_text.substr(0, m_flushed);
}

int ConsoleCapture::Buffer::sync()
{
    const std::lock_guard lock(m_mutex);
    m_flushed = m_text.size();
    return 0;
}

DescriptorCapture::DescriptorCapture(int descriptor) : m_descriptor(descriptor)
{
    std::fflush(nullptr);
    char name[] = "/tmp/capture.XXXXXX";
    m_file = mkstemp(name);
    m_saved = dup(descriptor);
    if (m_file < 0 || m_saved < 0 || dup2(m_file, descriptor) < 0) throw std::runtime_error("cannot capture output");
    unlink(name);
}

DescriptorCapture::~DescriptorCapture()
{
    std::fflush(nullptr);
    dup2(m_saved, m_descriptor);
    close(m_saved);
    close(m_file);
}

std::string DescriptorCapture::text() const
{
    std::fflush(nullptr);
    std::string all;
    char part[4096];
    off_t offset = 0;
    for (ssize_t count = 0; (count = pread(m_file, part, sizeof part, offset)) > 0; offset += count)
        all.append(part, static_cast<std::size_t>(count));
    return all;
}
