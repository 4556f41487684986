#include "lab/clock/ClockPage.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace labclock {

namespace {

constexpr std::int64_t ClockState::*kMembers[] = {
    &ClockState::machineAnchor, &ClockState::monotonicAnchor, &ClockState::rate,
    &ClockState::earlierRate,   &ClockState::realOffset,      &ClockState::slew,
    &ClockState::slewFrom,      &ClockState::slewDuration,    &ClockState::leapAt};

}  // namespace

bool ClockPage::read(ClockState& state) const
{
    static_assert(std::size(kMembers) == kNumbers);
    if (m_mark.load(std::memory_order_relaxed) != kMark) return false;
    // A state is overwritten only after as many new ones as there are places.
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const std::uint32_t count = m_count.load(std::memory_order_acquire);
        if (count == 0) return false;
        const auto& place = m_places[(count - 1) % kPlaces];
        for (std::size_t i = 0; i < kNumbers; ++i) state.*kMembers[i] = place[i].load(std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_acquire);
        if (m_count.load(std::memory_order_relaxed) - count < kPlaces - 1) return isValid(state);
    }
    return false;
}

bool ClockPage::read(ClockState& state, std::int64_t& machine, std::int64_t (*machineNow)()) const
{
    // Whoever is held up between the two would go by a rate that holds no more.
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const std::uint32_t count = m_count.load(std::memory_order_acquire);
        if (!read(state)) return false;
        machine = machineNow();
        if (m_count.load(std::memory_order_acquire) == count) return true;
    }
    return false;
}

void ClockPage::write(const ClockState& state)
{
    const std::uint32_t count = m_count.load(std::memory_order_relaxed);
    auto& place = m_places[count % kPlaces];
    std::atomic_thread_fence(std::memory_order_release);
    for (std::size_t i = 0; i < kNumbers; ++i) place[i].store(state.*kMembers[i], std::memory_order_relaxed);
    m_mark.store(kMark, std::memory_order_relaxed);
    m_count.store(count + 1, std::memory_order_release);
}

ClockPage* mapClockPage(const char* path, bool isWritable, const char*& error)
{
    const int descriptor = open(path, (isWritable ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        error = std::strerror(errno);
        return nullptr;
    }
    struct stat status {};
    void* memory = MAP_FAILED;
    error = "is no clock of lab-clock";
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size == sizeof(ClockPage))
        memory = mmap(nullptr, sizeof(ClockPage), isWritable ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED,
                      descriptor, 0);
    close(descriptor);
    if (memory == MAP_FAILED) return nullptr;
    return static_cast<ClockPage*>(memory);
}

}  // namespace labclock
