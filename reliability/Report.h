#ifndef RELIABILITY_REPORT_H
#define RELIABILITY_REPORT_H

#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>

/// What a figure should be.
struct Goal {
    enum Side { AtMost, AtLeast };
    Side side;
    double limit;
};

/// What a long run over the service finds, a line each on a stream: figures, with their goals if they have one, and
/// promises that did not hold. A figure that misses its goal is told and nothing more; a broken promise makes the run
/// a failure. Any thread may call.
///
///     load: longest hold of a caller: 0.8 ms (at most 1: kept)
///     load: joins published: 600
///     load: BROKEN: the service did not end within 60 s of SIGTERM
class Report {
public:
    /// @param part  the first word of each line
    Report(std::string part, std::ostream& stream) : m_part(std::move(part)), m_stream(stream) {}

    void figure(std::string_view name, double value, std::string_view unit = "");
    void figure(std::string_view name, double value, std::string_view unit, Goal goal);

    /// Anything that a reader should know: what is run, for how long.
    void note(std::string_view text);

    /// A promise that did not hold.
    void broken(std::string_view what);

    /// `what` is a broken promise unless `holds`; gives `holds`.
    bool expect(bool holds, std::string_view what);

    std::size_t brokenCount() const;

    /// Of the program: 0, or 1 when a promise was broken.
    int status() const { return brokenCount() == 0 ? 0 : 1; }

private:
    void line(std::string_view text);

    const std::string m_part;
    std::ostream& m_stream;
    mutable std::mutex m_mutex;
    std::size_t m_broken = 0;
};

#endif
