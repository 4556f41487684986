#ifndef LAB_LIBVICTORY_CONSOLE_H
#define LAB_LIBVICTORY_CONSOLE_H

#include <cstdio>
#include <string>

namespace labvictory {

/// One line on standard error, through C stdio as a library in C prints: the service redirects that. Any thread.
inline void complain(const std::string& text)
{
    std::fprintf(stderr, "libvictory: %s\n", text.c_str());
    std::fflush(stderr);
}

}  // namespace labvictory

#endif
