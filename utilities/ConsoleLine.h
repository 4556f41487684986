#ifndef UTILITIES_CONSOLELINE_H
#define UTILITIES_CONSOLELINE_H

#include <ostream>
#include <sstream>
#include <string>

/// Writes the parts one behind the other as one line, in one write, and flushes. Lines of several threads do not mix.
template <class... Parts>
void printLine(std::ostream& stream, const Parts&... parts)
{
    std::ostringstream line;
    (line << ... << parts) << '\n';
    stream << line.str() << std::flush;
}

#endif
