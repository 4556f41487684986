#include "lab/unit/SentLog.h"

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <stdexcept>

namespace unitsim {

namespace {

constexpr std::uint8_t kInUse = 2;

}  // namespace

SentLog::SentLog(const std::string& path, SystemClock::Clock::time_point start) : m_file(path), m_start(start)
{
    if (!m_file) throw std::runtime_error("--log " + path + ": the file can't be written");
    m_file << std::fixed;
}

std::ostream& SentLog::line(const char* what)
{
    const double seconds = std::chrono::duration<double>(SystemClock::Clock::now() - m_start).count();
    return m_file << std::setprecision(3) << seconds << ' ' << what << ' ';
}

void SentLog::epoch(GpsMoment time, const std::array<bool, kOutputs>& sent)
{
    line("epoch") << std::setprecision(9) << static_cast<double>(time.nanosecondsOfWeek()) / 1e9 << ' ';
    for (const bool isSent : sent) m_file << (isSent ? '1' : '0');
    m_file << std::endl;
}

void SentLog::threats(const ThreatReport& report)
{
    const auto isReported = [](const Threat& threat) { return threat.state == kInUse && threat.hasBearing; };
    line("threats") << report.threats.size() << ' '
                    << std::count_if(report.threats.begin(), report.threats.end(), isReported) << std::endl;
}

void SentLog::warning(const Warning& warning)
{
    line("warning") << warning.number << ' ' << warning.text << std::endl;
}

void SentLog::command(const std::string& text)
{
    line("command") << text << std::endl;
}

void SentLog::answer(const std::string& server, const PlannedAnswer& answer)
{
    line("answer") << server << ' ' << (answer.kind == PlannedAnswer::Kind::BitReport ? "BitReport" : answer.text)
                   << std::endl;
}

void SentLog::heard(const std::string& command)
{
    line("heard") << command << std::endl;
}

void SentLog::gps(bool isLost)
{
    line("gps") << (isLost ? "lost" : "back") << std::endl;
}

void SentLog::silence(const std::string& component, bool isSilent)
{
    line(isSilent ? "silent" : "speaking") << component << std::endl;
}

}  // namespace unitsim
