#ifndef UTILITIES_CONSOLEOUTPUT_H
#define UTILITIES_CONSOLEOUTPUT_H

#include "utilities/ConsoleStreamBuffer.h"

#include <array>
#include <cstdio>
#include <optional>
#include <streambuf>

/// Opens /dev/null as those of the descriptors 0 to 2 that are closed. Otherwise the next file or socket would get such
/// a number, and with it what is meant for the console. To be called before anything is opened.
void openClosedStandardDescriptors();

/// Lets `std::cout`, `std::cerr` and `std::clog` go through the console's buffers as long as it lives, and C's
/// `stderr`, to which the C++ library writes when an exception ends the process. They share one where descriptors 1 and
/// 2 lead to the same reader, which is waited for once then. No other thread may use the streams while it is made or
/// destroyed.
class ConsoleOutput {
public:
    ConsoleOutput();
    ~ConsoleOutput();
    ConsoleOutput(const ConsoleOutput&) = delete;
    ConsoleOutput& operator=(const ConsoleOutput&) = delete;

    /// Makes one for the rest of the process, if there is none. It is never destroyed: threads of libraries, and what
    /// runs at the exit of the process, still print then.
    static void install();

private:
    ConsoleStreamBuffer m_output;
    std::optional<ConsoleStreamBuffer> m_errors;  // nothing if `m_output` serves
    std::array<std::streambuf*, 3> m_previous{};
    bool m_wasLogUnbuffered = false;
    std::FILE* const m_previousErrors = stderr;
    std::FILE* m_cErrors = nullptr;  // nothing if it can't be opened
};

#endif
