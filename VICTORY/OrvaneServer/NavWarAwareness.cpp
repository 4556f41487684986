#include "VICTORY/OrvaneServer/NavWarAwareness.h"

#include "VICTORY/OrvaneServer/NavWarThreat.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"

#include <iostream>
#include <tuple>

namespace {

constexpr const char* kEncode = "encodeVictoryNavWarSA";

}  // namespace

bool NavWarAwareness::take(std::span<const std::uint8_t> frame)
{
    const MutexLock lock(m_threatDataMutex);
    if (!m_threatData.OkSetContent(frame.data(), static_cast<std::uint16_t>(frame.size()))) return false;
    m_threatReportWaits = true;
    return true;
}

bool NavWarAwareness::process() noexcept
{
    bool made = false;
    shielded(
        [&] {
            const MutexLock lock(m_threatDataMutex);
            if (!m_threatReportWaits) return;
            if (m_settings.m_debug)
                printLine(std::cout, m_settings.m_serverName, "OrvaneServer", ", ",
                          "processing Navwar SA from ThreatData (Line of Bearing) message");
            made = encodeVictoryNavWarSA();
            m_threatReportWaits = false;
        },
        [this](const char* what) { Reports::sendJoinException(m_settings.m_serverName, what); });
    return made;
}

bool NavWarAwareness::encodeVictoryNavWarSA()
{
    bool made = false;
    for (std::size_t i = 0; i < ThreatData::kThreats; ++i) {
        const ThreatEntry entry = m_threatData.threat(i);
        if (!entry.isReported()) continue;
        if (m_settings.m_debug)
            printLine(std::cout, m_settings.m_serverName, ": ", ", ", kEncode, ": ",
                      "Encoding Navwar SA from ThreatData (Line of Bearing) message data");
        const auto threat = navWarThreat(entry, m_time.victoryTime(!m_settings.m_quiet));
        if (m_settings.m_debug) printDetail(entry, threat);
        append(threat);
        made = true;
    }
    return made;
}

void NavWarAwareness::printDetail(const ThreatEntry& entry, const VapntcNavWarSaThreat& threat) const
{
    printLine(std::cout, m_settings.m_serverName, kEncode, " (", __LINE__, "), ", "threat detail:\n",
              "\nGPS Time       = ", m_threatData.gpsTime(), "\nlat            = ", m_threatData.lat(),
              "\nlon            = ", m_threatData.lon(), "\nalt            = ", m_threatData.alt(),
              "\nPos_Accuracy   = ", m_threatData.Pos_Accuracy(), "\nAz             = ", entry.Az, " deg, ",
              threat.azimuth, "\nAz Conf (0-100)= ", threat.azimuthConfidence, "\nEl             = ", entry.El,
              " deg, ", threat.elevation, "\nEl Conf (0-100)= ", threat.elevationConfidence,
              "\nCenter         = ", threat.centreFrequency, "\nBW             = ", threat.bandwidth,
              "\nPower          = ", threat.power);
}

void NavWarAwareness::append(const VapntcNavWarSaThreat& threat)
{
    const MutexLock lock(m_threatListMutex);
    m_threats.append(threat);
}

void NavWarAwareness::publish(VapntsService* service, bool isStarted, bool isTellDisabled)
{
    if (!isStarted) {
        Reports::sendFault("cbTellNavWarSaCallback", m_settings.m_serverName +
                                                         " : Cannot publish NavWarSA threats while APNT service is not "
                                                         "running! Threats remain queued.");
        return;
    }
    VapntcNavWarSaRecord record = {};
    const MutexLock lock(m_threatListMutex);
    if (m_settings.m_debug && !m_threats.empty())
        printLine(std::cout, m_settings.m_serverName,
                  " : sending NavWarSa data to VDB. Number of threats: ", m_threats.size());
    record.threatsPresent = !m_threats.empty();
    m_threats.copyTo(record.threats, record.threatCount);
    m_threats.clear();
    if (!isTellDisabled) std::ignore = VictoryLibrary::tell(service, record);
}

std::vector<VapntcNavWarSaThreat> NavWarAwareness::list() const
{
    const MutexLock lock(m_threatListMutex);
    return m_threats.elements();
}
