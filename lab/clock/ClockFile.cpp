#include "lab/clock/ClockFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace labclock {

namespace {

constexpr std::int64_t kLatest = 7'258'118'400 * kSecond;  // the year 2200

std::int64_t timeOf(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * kSecond + now.tv_nsec;
}

std::int64_t machineNow()
{
    return timeOf(CLOCK_MONOTONIC);
}

void waitUntil(std::int64_t machine)
{
    const timespec until{static_cast<time_t>(machine / kSecond), static_cast<long>(machine % kSecond)};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

std::runtime_error failure(const std::string& path, const char* what)
{
    return std::runtime_error(path + ": " + what);
}

void checkRate(std::int64_t rate)
{
    if (rate < ClockState::kLeastRate || rate > ClockState::kGreatestRate)
        throw std::invalid_argument("a rate is 0.001 to 1000");
}

void checkReal(std::int64_t real)
{
    if (real < 0 || real > kLatest) throw std::invalid_argument("the time must stay within the years 1970 to 2199");
}

}  // namespace

ClockFile ClockFile::create(const std::string& path, std::int64_t rate, std::int64_t real)
{
    checkRate(rate);
    if (real < 0) real = timeOf(CLOCK_REALTIME);
    checkReal(real);
    // Beside, then in its place: no reader sees half a file.
    const std::string beside = path + ".new";
    const int descriptor = open(beside.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const bool isSized = descriptor >= 0 && ftruncate(descriptor, sizeof(ClockPage)) == 0;
    const int error = errno;
    if (descriptor >= 0) close(descriptor);
    if (!isSized) throw std::system_error(error, std::generic_category(), beside);
    const char* what = nullptr;
    ClockPage* const page = mapClockPage(beside.c_str(), true, what);
    if (!page) throw failure(beside, what);
    page->write(started(machineNow(), real, rate));
    munmap(page, sizeof *page);
    if (std::rename(beside.c_str(), path.c_str()) != 0) throw std::system_error(errno, std::generic_category(), path);
    return ClockFile(path);
}

ClockFile::ClockFile(const std::string& path) : m_path(path)
{
    const char* error = nullptr;
    m_page = mapClockPage(path.c_str(), true, error);
    if (!m_page) throw failure(path, error);
    ClockState state;
    const bool isClock = m_page->read(state);
    m_descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (isClock && m_descriptor >= 0) return;
    munmap(m_page, sizeof *m_page);
    if (m_descriptor >= 0) close(m_descriptor);
    throw failure(path, "is no clock of lab-clock");
}

ClockFile::~ClockFile()
{
    munmap(m_page, sizeof *m_page);
    close(m_descriptor);
}

ClockState ClockFile::state() const
{
    ClockState state;
    if (!m_page->read(state)) throw failure(m_path, "is a clock no more");
    return state;
}

std::int64_t ClockFile::monotonic() const
{
    ClockState state;
    std::int64_t machine = 0;
    if (!m_page->read(state, machine, machineNow)) throw failure(m_path, "is a clock no more");
    return monotonicAt(state, machine);
}

std::int64_t ClockFile::real() const
{
    ClockState state;
    std::int64_t machine = 0;
    if (!m_page->read(state, machine, machineNow)) throw failure(m_path, "is a clock no more");
    return realAt(state, machine);
}

template <class Change>
void ClockFile::change(Change change)
{
    while (flock(m_descriptor, LOCK_EX) != 0)
        if (errno != EINTR) throw std::system_error(errno, std::generic_category(), m_path);
    try {
        m_page->write(change(state(), machineNow()));
    } catch (...) {
        flock(m_descriptor, LOCK_UN);
        throw;
    }
    flock(m_descriptor, LOCK_UN);
}

void ClockFile::setRate(std::int64_t rate)
{
    checkRate(rate);
    std::int64_t from = 0;
    change([&](const ClockState& state, std::int64_t now) {
        // An earlier change may still be to come.
        waitUntil(std::min(state.machineAnchor, now + ClockPage::kNotice));
        from = machineNow() + ClockPage::kNotice;
        return withRate(state, from, rate);
    });
    waitUntil(from);
}

void ClockFile::step(std::int64_t by)
{
    change([&](const ClockState& state, std::int64_t now) {
        std::int64_t real = 0;
        if (__builtin_add_overflow(realAt(state, now), by, &real)) real = -1;
        checkReal(real);
        return stepped(state, now, by);
    });
}

void ClockFile::stepTo(std::int64_t real)
{
    checkReal(real);
    change([&](const ClockState& state, std::int64_t now) { return stepped(state, now, real - realAt(state, now)); });
}

void ClockFile::slew(std::int64_t by, std::int64_t duration)
{
    change([&](const ClockState& state, std::int64_t now) {
        std::int64_t real = 0;
        if (__builtin_add_overflow(realAt(state, now), by, &real)) real = -1;
        checkReal(real);
        if (duration <= 0 || duration > kLatest || (by < 0 && -by >= duration))
            throw std::invalid_argument("a slew takes longer than it goes back");
        return slewed(state, now, by, duration);
    });
}

void ClockFile::leapAt(std::int64_t real)
{
    checkReal(real);
    change([&](const ClockState& state, std::int64_t now) {
        if (real <= realAt(state, now)) throw std::invalid_argument("a leap second is to come, not past");
        return withLeapAt(state, now, real);
    });
}

}  // namespace labclock
