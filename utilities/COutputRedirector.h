#ifndef UTILITIES_COUTPUTREDIRECTOR_H
#define UTILITIES_COUTPUTREDIRECTOR_H

#include <cstddef>
#include <cstdio>
#include <functional>
#include <sys/types.h>

/// Captures what the process prints through C stdio, standard output and standard error alike, and hands it to a sink:
/// the console lines of libraries. `std::cout` and `std::cerr` keep their destination, so the service's own lines don't
/// come by; the sink must print through these alone, for `printf` would enter the stream that is being written.
///
/// One redirection is in force in the process at a time. Nothing locks: `redirect`, `reset` and destruction must not
/// meet each other or a thread that prints. The sink runs on whatever thread prints, under that stream's own lock.
class COutputRedirector {
public:
    /// Takes `size` characters at `text`, which no zero ends. Answers how many it took, 0 to have them printed on the
    /// standard output, also what was meant for the standard error. It takes all or nothing: what lies behind a smaller
    /// number is lost.
    using Sink = std::function<int(const char* text, unsigned int size)>;

    COutputRedirector() = default;
    COutputRedirector(const COutputRedirector&) = delete;
    COutputRedirector& operator=(const COutputRedirector&) = delete;

    /// Hands over what is still buffered, ends the redirection if it is this object's own, and closes the stream: the
    /// flush at the end of the process must not find a sink that is gone.
    ~COutputRedirector();

    /// Starts handing what is printed to `sink`, line by line; a line longer than the stream's buffer comes in pieces.
    /// @return false, with nothing changed, if a redirection is in force or no stream can be opened
    bool redirect(Sink sink);

    /// Ends the redirection in force, whichever object started it: what is still buffered goes to its sink, the
    /// original streams return. The stream itself stays open for whoever kept a pointer to it.
    void reset();

    /// Hands a text to the sink of `cookie`, a `COutputRedirector`. A null `cookie`, or a sink that answers 0, sends it
    /// to the saved standard output, to descriptor 1 if none is saved, also what was printed to standard error; to the
    /// buffer of `std::cout` where that is a `ConsoleStreamBuffer`.
    /// @return the sink's answer, within 0 to `size`; `size` for a text sent on; 0 if the sink threw
    static unsigned file_write(void* cookie, const char* buffer, unsigned size) noexcept;

    /// The streams of the process while a redirection is in force, otherwise null.
    static std::FILE* originalStdOutStreamDest;
    static std::FILE* originalStdErrStreamDest;

private:
    static bool inForce() { return originalStdOutStreamDest && originalStdErrStreamDest; }
    static ssize_t streamWrite(void* cookie, const char* buffer, std::size_t size);
    bool holdsStandardStream() const { return m_stream && (stdout == m_stream || stderr == m_stream); }
    bool openStream();

    Sink m_sink;
    std::FILE* m_stream = nullptr;  // opened once, used by every redirection of this object
};

#endif
