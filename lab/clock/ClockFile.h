#ifndef LAB_CLOCK_CLOCKFILE_H
#define LAB_CLOCK_CLOCKFILE_H

#include "lab/clock/ClockPage.h"

#include <cstdint>
#include <string>

namespace labclock {

/// A file with the clock of all processes that are told its path, for those who set it. One thread at a time; processes
/// take turns by a lock on the file.
///
/// What is wrong throws `std::runtime_error` that names the file.
class ClockFile {
public:
    /// Makes the file anew.
    /// @param rate  thousandths, 1 to 1000000
    /// @param real  since 1970, nanoseconds; the machine's time if negative
    static ClockFile create(const std::string& path, std::int64_t rate, std::int64_t real = -1);

    explicit ClockFile(const std::string& path);
    ~ClockFile();
    ClockFile(const ClockFile&) = delete;
    ClockFile& operator=(const ClockFile&) = delete;

    /// Now, nanoseconds.
    std::int64_t monotonic() const;
    std::int64_t real() const;

    ClockState state() const;

    /// Those that change it; what is out of range throws `std::invalid_argument` that says what would be right.
    void setRate(std::int64_t rate);  // returns when it holds, a fifth of a second later
    void step(std::int64_t by);
    void stepTo(std::int64_t real);
    void slew(std::int64_t by, std::int64_t duration);
    void leapAt(std::int64_t real);

private:
    template <class Change>
    void change(Change change);

    std::string m_path;
    int m_descriptor = -1;
    ClockPage* m_page = nullptr;
};

}  // namespace labclock

#endif
