#include "lab/ctl/play/UnitRegisters.h"

#include "lab/unit/DeviceMap.h"
#include "lab/unit/SystemClock.h"

#include <algorithm>

namespace orvanectl {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

namespace {

constexpr nanoseconds kPath{8};  // that stamps take off
constexpr std::chrono::milliseconds kStep{1};

}  // namespace

std::uint64_t ticksOfStamp(nanoseconds stamp)
{
    return static_cast<std::uint64_t>(unitsim::SystemClock::ticksIn(std::max(stamp + kPath, 0ns)));
}

nanoseconds stampOfTicks(std::uint64_t ticks)
{
    constexpr auto kPerSecond = static_cast<std::uint64_t>(unitsim::SystemClock::kTicksPerSecond);
    constexpr std::uint64_t kMostSeconds = 9'000'000'000;
    const auto seconds = static_cast<std::int64_t>(std::min(ticks / kPerSecond, kMostSeconds));
    const auto rest = static_cast<std::int64_t>(ticks % kPerSecond * 625000 / 36864);
    return std::chrono::seconds(seconds) + nanoseconds(rest) - kPath;
}

UnitRegisters::UnitRegisters(const std::string& memory, const std::string& devices)
    : m_registers(memory, unitsim::DeviceMap(devices)), m_timeline(Timeline::Clock::now(), 1, true),
      m_atBegin(stampOfTicks(m_registers.systemCount()))
{
    m_registers.identify({});
    m_thread = std::thread([this] { run(); });
}

UnitRegisters::~UnitRegisters()
{
    {
        const MutexLock lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_one();
    m_thread.join();
    const MutexLock lock(m_mutex);
    m_registers.setSystemCount(ticksOfStamp(nowHeld()));  // a step of a fast play is long
}

void UnitRegisters::follow(const Timeline& timeline, nanoseconds atBegin)
{
    const MutexLock lock(m_mutex);
    m_timeline = timeline;
    m_atBegin = atBegin;
    m_registers.setSystemCount(ticksOfStamp(nowHeld()));
}

nanoseconds UnitRegisters::now() const
{
    const MutexLock lock(m_mutex);
    return nowHeld();
}

nanoseconds UnitRegisters::nowHeld() const
{
    return m_atBegin + m_timeline.at(Timeline::Clock::now());
}

void UnitRegisters::run()
{
    MutexLock lock(m_mutex);
    while (!m_stop) {
        m_registers.setSystemCount(ticksOfStamp(nowHeld()));
        m_wake.wait_for(m_mutex, kStep);
    }
}

}  // namespace orvanectl
