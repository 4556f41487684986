#ifndef UTILITIES_CONSOLELINE_H
#define UTILITIES_CONSOLELINE_H

#include <ostream>
#include <sstream>

/// Writes the parts one behind the other as one line, in one write, and flushes. Lines of several threads do not mix.
/// Where there is no memory to put the line together, it goes out in pieces, which other lines may get between.
template <class... Parts>
void printLine(std::ostream& stream, const Parts&... parts)
{
    std::ostringstream line;
    (line << ... << parts) << '\n';
    if (line.good()) {
        stream << line.view() << std::flush;
        return;
    }
    std::ostream pieces(stream.rdbuf());  // with a state and a format of its own, as the line has
    (pieces << ... << parts) << '\n' << std::flush;
}

#endif
