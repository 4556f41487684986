#include "ASPN/AspnHelper.h"

namespace ASPN2 {

namespace idl = aspn2_msgs::idl;

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

struct Stamp {
    std::int64_t sec;
    std::int32_t nsec;
    std::int32_t timeCode;
};

Stamp stampOf(std::int64_t nanoseconds)
{
    return {nanoseconds / kNanosecondsPerSecond, static_cast<std::int32_t>(nanoseconds % kNanosecondsPerSecond),
            TimeCodeHelper::Instance().getTimeCode()};
}

Stamp stampOfTicks(std::uint64_t ticks)
{
    // 78125 / 4608 is 10^9 / 58,982,400 in lowest terms.
    constexpr std::int64_t kCalibration = 8;  // ns
    return stampOf(static_cast<std::int64_t>(ticks * 78125u) / 4608 - kCalibration);
}

Stamp stampOf(const idl::timestamp& time)
{
    return {time.sec(), time.nsec(), time.time_code()};
}

void set(idl::timestamp& time, const Stamp& stamp)
{
    time.sec(stamp.sec);
    time.nsec(stamp.nsec);
    time.time_code(stamp.timeCode);
}

Stamp toV(const idl::header& from)
{
    return stampOf(from.timestamp_valid());
}
Stamp toV(const header& from)
{
    return {from.tov_sec, from.tov_nsec, from.tov_time_code};
}
Stamp toA(const idl::header& from)
{
    return stampOf(from.timestamp_arrival());
}
Stamp toA(const header& from)
{
    return {from.toa_sec, from.toa_nsec, from.toa_time_code};
}

void setToV(idl::header& to, const Stamp& stamp)
{
    set(to.timestamp_valid(), stamp);
}
void setToV(header& to, const Stamp& stamp)
{
    to.tov_sec = stamp.sec;
    to.tov_nsec = stamp.nsec;
    to.tov_time_code = stamp.timeCode;
}
void setToA(idl::header& to, const Stamp& stamp)
{
    set(to.timestamp_arrival(), stamp);
}
void setToA(header& to, const Stamp& stamp)
{
    to.toa_sec = stamp.sec;
    to.toa_nsec = stamp.nsec;
    to.toa_time_code = stamp.timeCode;
}

/// One stamp for both, so that a mode that changes meanwhile cannot part them.
template <class Header>
void setBoth(Header& to, const Stamp& stamp)
{
    setToV(to, stamp);
    setToA(to, stamp);
}

template <class From, class To>
void copyStamps(const From& from, To& to)
{
    setToV(to, toV(from));
    setToA(to, toA(from));
}

/// Seconds from `second` to `first`. The differences wrap: the numbers may come from the wire.
double difference(const Stamp& first, const Stamp& second)
{
    const auto sec =
        static_cast<std::int64_t>(static_cast<std::uint64_t>(first.sec) - static_cast<std::uint64_t>(second.sec));
    const auto nsec =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(first.nsec) - static_cast<std::uint32_t>(second.nsec));
    return static_cast<double>(sec) + static_cast<double>(nsec) * 1e-9;
}

}  // namespace

TimeCodeHelper& TimeCodeHelper::Instance()
{
    static TimeCodeHelper instance;
    return instance;
}

void setToV_fromNSec(std::chrono::nanoseconds duration, idl::header& to)
{
    setToV(to, stampOf(duration.count()));
}
void setToVandToA_fromNSec(std::chrono::nanoseconds duration, idl::header& to)
{
    setBoth(to, stampOf(duration.count()));
}

void setToV_fromFpgaTicks(std::uint64_t ticks, idl::header& to)
{
    setToV(to, stampOfTicks(ticks));
}
void setToV_fromFpgaTicks(std::uint64_t ticks, header& to)
{
    setToV(to, stampOfTicks(ticks));
}
void setToA_fromFpgaTicks(std::uint64_t ticks, idl::header& to)
{
    setToA(to, stampOfTicks(ticks));
}
void setToA_fromFpgaTicks(std::uint64_t ticks, header& to)
{
    setToA(to, stampOfTicks(ticks));
}
void setToVandToA_fromFpgaTicks(std::uint64_t ticks, idl::header& to)
{
    setBoth(to, stampOfTicks(ticks));
}
void setToVandToA_fromFpgaTicks(std::uint64_t ticks, header& to)
{
    setBoth(to, stampOfTicks(ticks));
}

void setToVandToA_fromTo(const header& from, idl::header& to)
{
    copyStamps(from, to);
}
void setToVandToA_fromTo(const idl::header& from, header& to)
{
    copyStamps(from, to);
}

void copyHeader_fromTo(const header& from, idl::header& to)
{
    copyStamps(from, to);
    to.seq_num(static_cast<std::int64_t>(from.seq_num));
    to.device_id(static_cast<std::int32_t>(from.device_id));
}

void copyHeader_fromTo(const idl::header& from, header& to)
{
    copyStamps(from, to);
    to.seq_num = static_cast<std::uint64_t>(from.seq_num());
    to.device_id = static_cast<std::uint32_t>(from.device_id());
}

std::chrono::nanoseconds getNSec_fromToA(const idl::header& from)
{
    const Stamp stamp = toA(from);
    const auto sum = static_cast<std::uint64_t>(stamp.sec) * std::uint64_t{kNanosecondsPerSecond} +
                     static_cast<std::uint64_t>(std::int64_t{stamp.nsec});
    return std::chrono::nanoseconds(static_cast<std::int64_t>(sum));
}

double deltaTov(const idl::header& first, const idl::header& second)
{
    return difference(toV(first), toV(second));
}
double deltaTov(const header& first, const header& second)
{
    return difference(toV(first), toV(second));
}

}  // namespace ASPN2
