#ifndef LAB_CTL_PLAY_RECORDTIMES_H
#define LAB_CTL_PLAY_RECORDTIMES_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>

/// The headers of records as they travel: CDR of either order, behind four bytes that tell it. Nothing else of a record is
/// looked at, or changed.
namespace orvanectl {

struct TravelHeader {
    std::chrono::nanoseconds arrival;
    std::chrono::nanoseconds valid;
    std::uint8_t server;  ///< that it comes from
};

/// Nothing for bytes that have no header, and for a time that no 64 bits of nanoseconds hold. Any thread.
std::optional<TravelHeader> travelHeaderOf(std::span<const std::uint8_t> payload);

/// Moves both times of a header; leaves bytes alone that have none, and times that would not fit. Any thread.
void moveTimes(std::span<std::uint8_t> payload, std::chrono::nanoseconds by);

/// Moves records to the time at which they are played. All that have the same time of validity are moved alike, so that
/// inputs that belonged together still do. Of the latest 64 such times it is known how. One thread at a time.
class TimeMover {
public:
    /// @param by  how far, if no record of that time of validity was moved before
    void move(std::span<std::uint8_t> payload, std::chrono::nanoseconds by);

    /// The times that follow have nothing to do with those before.
    void beginAnew() { m_moved.clear(); }

private:
    struct Moved {
        std::chrono::nanoseconds valid;
        std::chrono::nanoseconds by;
    };

    std::deque<Moved> m_moved;
};

}  // namespace orvanectl

#endif
