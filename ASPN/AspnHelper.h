#ifndef ASPN_ASPNHELPER_H
#define ASPN_ASPNHELPER_H

#include "aspn2_msgs/header.h"

#include <atomic>
#include <chrono>
#include <cstdint>

/// Time stamps of message headers: the time of validity (ToV) and the time of arrival (ToA), each in seconds,
/// nanoseconds, and the code of the time base. The helpers impose no epoch: a stamp counts from what its source counts
/// from. They allocate nothing, and every sum and product wraps.
namespace ASPN2 {

/// The time code of the process. Any thread may read and set it.
class TimeCodeHelper {
public:
    static constexpr std::int32_t kLive = 100;
    static constexpr std::int32_t kSimulated = 101;

    static TimeCodeHelper& Instance();

    TimeCodeHelper(const TimeCodeHelper&) = delete;
    TimeCodeHelper& operator=(const TimeCodeHelper&) = delete;

    void setLiveMode() { m_timeCode = kLive; }
    void setSimMode() { m_timeCode = kSimulated; }
    std::int32_t getTimeCode() const { return m_timeCode; }

private:
    TimeCodeHelper() = default;

    std::atomic<std::int32_t> m_timeCode{kLive};
};

/// The message header as the host keeps it.
struct header {
    std::uint64_t seq_num = 0;
    std::int64_t toa_sec = 0;
    std::int32_t toa_nsec = 0;
    std::int32_t toa_time_code = 0;
    std::int64_t tov_sec = 0;
    std::int32_t tov_nsec = 0;
    std::int32_t tov_time_code = 0;
    std::uint32_t device_id = 0;
};

/// Sets the ToV to a duration, with the time code of the moment; a negative one has negative seconds and nanoseconds.
void setToV_fromNSec(std::chrono::nanoseconds duration, aspn2_msgs::idl::header& to);

/// The same, and then the ToA to the ToV.
void setToVandToA_fromNSec(std::chrono::nanoseconds duration, aspn2_msgs::idl::header& to);

/// Set a stamp to the FPGA's system count, 58,982,400 ticks a second, with the time code of the moment:
/// ticks * 78125 / 4608 - 8 nanoseconds; the 8 ns calibrate the path and are taken off 0 ticks too. The
/// product wraps at 64 bits and is taken as signed: after 2^63 / 78125 ticks (some 23 days) the stamp jumps to a
/// negative time, deliberately so on all services of the unit.
void setToV_fromFpgaTicks(std::uint64_t ticks, aspn2_msgs::idl::header& to);
void setToV_fromFpgaTicks(std::uint64_t ticks, header& to);
void setToA_fromFpgaTicks(std::uint64_t ticks, aspn2_msgs::idl::header& to);
void setToA_fromFpgaTicks(std::uint64_t ticks, header& to);

/// Set the ToV, and then the ToA to the ToV with its time code.
void setToVandToA_fromFpgaTicks(std::uint64_t ticks, aspn2_msgs::idl::header& to);
void setToVandToA_fromFpgaTicks(std::uint64_t ticks, header& to);

/// Copy both stamps as they are.
void setToVandToA_fromTo(const header& from, aspn2_msgs::idl::header& to);
void setToVandToA_fromTo(const aspn2_msgs::idl::header& from, header& to);

/// Copy both stamps, the sequence number and the device id.
void copyHeader_fromTo(const header& from, aspn2_msgs::idl::header& to);
void copyHeader_fromTo(const aspn2_msgs::idl::header& from, header& to);

/// The ToA in nanoseconds.
std::chrono::nanoseconds getNSec_fromToA(const aspn2_msgs::idl::header& from);

/// ToV of `first` minus ToV of `second`, in seconds, with its sign. The time codes are not compared.
double deltaTov(const aspn2_msgs::idl::header& first, const aspn2_msgs::idl::header& second);
double deltaTov(const header& first, const header& second);

}  // namespace ASPN2

#endif
