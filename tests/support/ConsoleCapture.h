#ifndef TESTS_SUPPORT_CONSOLECAPTURE_H
#define TESTS_SUPPORT_CONSOLECAPTURE_H

#include <cstddef>
#include <iosfwd>
#include <mutex>
#include <sstream>
#include <streambuf>
#include <string>

/// What a C++ stream is given while this object lives, instead of its own destination. Several threads may write;
/// the stream must not be given another buffer meanwhile.
class ConsoleCapture {
public:
    explicit ConsoleCapture(std::ostream& stream);
    ~ConsoleCapture();
    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    /// All text so far.
    std::string text() const;

    /// What of it has been flushed.
    std::string flushed() const;

private:
    class Buffer : public std::streambuf {
    public:
        std::string text() const;
        std::string flushed() const;

    protected:
        int_type overflow(int_type character) override;
        std::streamsize xsputn(const char* characters, std::streamsize count) override;
        int sync() override;

    private:
        mutable std::mutex m_mutex;
        std::string m_text;
        std::size_t m_flushed = 0;
    };

    std::ostream& m_stream;
    Buffer m_buffer;
    std::streambuf* m_previous;
};

/// What arrives on a file descriptor of this process (1 or 2) while this object lives, whoever writes it.
class DescriptorCapture {
public:
    explicit DescriptorCapture(int descriptor);
    ~DescriptorCapture();
    DescriptorCapture(const DescriptorCapture&) = delete;
    DescriptorCapture& operator=(const DescriptorCapture&) = delete;

    /// All text so far; C streams are flushed first.
    std::string text() const;

private:
    int m_descriptor;
    int m_saved;
    int m_file;
};

#endif
