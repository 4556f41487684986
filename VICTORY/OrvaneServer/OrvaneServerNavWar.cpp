#include "VICTORY/OrvaneServer/NavWarThreat.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"

#include <iostream>
#include <tuple>

void OrvaneServer::attemptNavWarSaProcessing()
{
    shielded(
        [this] {
            const MutexLock lock(m_threatDataMutex);
            if (!m_threatReportWaits) return;
            if (m_debug)
                printLine(std::cout, m_serverName, "OrvaneServer", ", ",
                          "processing Navwar SA from ThreatData (Line of Bearing) message");
            encodeVictoryNavWarSA();
            m_threatReportWaits = false;
        },
        [this](const char* what) { Reports::sendJoinException(m_serverName, what); });
}

bool OrvaneServer::encodeVictoryNavWarSA()
{
    constexpr const char* kFunction = "encodeVictoryNavWarSA";
    bool made = false;
    for (std::size_t i = 0; i < ThreatData::kThreats; ++i) {
        const ThreatEntry entry = m_threatData.threat(i);
        if (!entry.isReported()) continue;
        if (m_debug)
            printLine(std::cout, m_serverName, ": ", ", ", kFunction, ": ",
                      "Encoding Navwar SA from ThreatData (Line of Bearing) message data");
        VapntcTime time = {};
        {
            const MutexLock lock(m_timeMutex);
            set_VictoryTime(time, m_latestTime, !m_quiet);
        }
        const auto threat = navWarThreat(entry, time);
        if (m_debug)
            printLine(std::cout, m_serverName, kFunction, " (", __LINE__, "), ", "threat detail:\n",
                      "\nGPS Time       = ", m_threatData.gpsTime(), "\nlat            = ", m_threatData.lat(),
                      "\nlon            = ", m_threatData.lon(), "\nalt            = ", m_threatData.alt(),
                      "\nPos_Accuracy   = ", m_threatData.Pos_Accuracy(), "\nAz             = ", entry.Az, " deg, ",
                      threat.azimuth, "\nAz Conf (0-100)= ", threat.azimuthConfidence, "\nEl             = ", entry.El,
                      " deg, ", threat.elevation, "\nEl Conf (0-100)= ", threat.elevationConfidence,
                      "\nCenter         = ", threat.centreFrequency, "\nBW             = ", threat.bandwidth,
                      "\nPower          = ", threat.power);
        appendThreatToList(threat);
        made = true;
    }
    return made;
}

void OrvaneServer::appendThreatToList(const VapntcNavWarSaThreat& threat)
{
    const MutexLock lock(m_threatListMutex);
    m_threats.append(threat);
}

void OrvaneServer::cbTellNavWarSaCallback(void* context, VapntsService* service) noexcept
{
    constexpr const char* kFunction = "cbTellNavWarSaCallback";
    shielded(
        [&] {
            if (!context) {
                Reports::sendFault(kFunction, Reports::kNoInstance);
                return;
            }
            static_cast<OrvaneServer*>(context)->tellNavWarSa(service);
        },
        [&](const char* what) { Reports::sendCallbackException(kFunction, what); });
}

void OrvaneServer::tellNavWarSa(VapntsService* service)
{
    if (!m_victoryStarted) {
        Reports::sendFault("cbTellNavWarSaCallback", m_serverName + " : Cannot publish NavWarSA threats while APNT "
                                                                    "service is not running! Threats remain queued.");
        return;
    }
    VapntcNavWarSaRecord record = {};
    const MutexLock lock(m_threatListMutex);
    if (m_debug && !m_threats.empty())
        printLine(std::cout, m_serverName, " : sending NavWarSa data to VDB. Number of threats: ", m_threats.size());
    record.threatsPresent = !m_threats.empty();
    m_threats.copyTo(record.threats, record.threatCount);
    m_threats.clear();
    if (!m_tellDisabled) std::ignore = VictoryLibrary::tell(service, record);
}
