#ifndef LAB_CTL_CHECK_SILENCE_H
#define LAB_CTL_CHECK_SILENCE_H

#include <iostream>
#include <streambuf>

namespace orvanectl {

/// Lets what code of the service prints vanish while this object lives. One at a time, while no other thread prints.
class Silence {
public:
    Silence() : m_output(std::cout.rdbuf(&m_nowhere)), m_errors(std::cerr.rdbuf(&m_nowhere)) {}
    ~Silence()
    {
        std::cout.rdbuf(m_output);
        std::cerr.rdbuf(m_errors);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    class Nowhere : public std::streambuf {
        int_type overflow(int_type byte) override { return traits_type::not_eof(byte); }
        std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
    };

    Nowhere m_nowhere;
    std::streambuf* const m_output;
    std::streambuf* const m_errors;
};

}  // namespace orvanectl

#endif
