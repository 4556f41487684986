#include "ASPN/AspnHelper.h"
#include "VICTORY/OrvaneServer/BlendedNavigation.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <tuple>

namespace {

constexpr const char* kJoin = "attemptBlendedNavigationProcessing";
constexpr double kFarthestApart = 1.0;  // s

/// The time and another input.
struct Pair {
    const char* label;
    double apart;  // s
};

using Pairs = std::array<Pair, 5>;

void print(const Pairs& pairs, const std::string& serverName)
{
    printLine(std::cout, serverName, ": ", kJoin, ": Messages received: ");
    for (const auto& pair : pairs) printLine(std::cout, serverName, ": ", kJoin, pair.label, pair.apart);
}

bool belongTogether(const Pairs& pairs)
{
    // Not a number is too far apart too.
    return std::all_of(pairs.begin(), pairs.end(), [](const Pair& pair) { return pair.apart < kFarthestApart; });
}

}  // namespace

void OrvaneServer::attemptBlendedNavigationProcessing()
{
    shielded(
        [this] {
            const MutexLock lock(m_navDataMutex);
            joinLatestInputs();
        },
        [this](const char* what) { Reports::sendJoinException(m_serverName, what); });
}

void OrvaneServer::joinLatestInputs()
{
    if (!m_hasUTCTime || !m_hasPVA || !m_hasFusionPNT || !m_hasMIS || !m_hasAssuranceState || !m_has8504) return;

    const auto apart = [this](const auto& message) REQUIRES(m_navDataMutex) {
        return std::fabs(ASPN2::deltaTov(m_utcTime.header(), message.header()));
    };
    const Pairs pairs = {{{": UTCTime <-> PVA     deltaTov: ", apart(m_pva)},
                          {": UTCTime <-> HXPNT   deltaTov: ", apart(m_fusionPNT)},
                          {": UTCTime <-> MIS     deltaTov: ", apart(m_mis)},
                          {": UTCTime <-> Ass. St deltaTov: ", apart(m_assuranceState)},
                          {": UTCTime <-> 8504    deltaTov: ", apart(m_8504)}}};
    if (!m_quiet) print(pairs, m_serverName);
    if (!belongTogether(pairs)) return;
    if (!m_quiet)
        printLine(std::cout, m_serverName, ": ", kJoin, ": *** All synchronized messages received. Processing... ");

    ZentorM_8504_Msg receiver;
    if (receiver.ok_set_8504_gpsip(m_8504.data().data(), static_cast<std::uint32_t>(m_8504.num_bytes()))) {
        receiver.unpack_8504();
        encodeVictoryBlendedNavigation(m_utcTime, m_fusionPNT, m_mis, m_pva, m_assuranceState, receiver.unpacked());
    }
    m_hasPVA = m_hasUTCTime = m_hasFusionPNT = m_hasMIS = m_hasAssuranceState = m_has8504 = false;
}

void OrvaneServer::encodeVictoryBlendedNavigation(const UTCTime& utcTime, const HalvexPNT& pnt,
                                                  const MeasurementIncorporationStatus& mis,
                                                  const PositionVelocityAttitude& pva, const AssuranceState& assurance,
                                                  unpacked_msg8504_t receiver)
{
    const bool told = whileStarted([&](VapntsService* service) {
        const auto record =
            BlendedNavigation::record({utcTime, pnt, mis, pva, assurance, receiver, m_gpsLost.load()},
                                      [this](unsigned short id) { return encodeVictoryMeasSource(id); });
        VapntcTime time = {};
        set_VictoryTime(time, utcTime, !m_quiet);
        if (!m_tellDisabled) std::ignore = VictoryLibrary::tell(service, record, &time);
    });
    if (!told)
        Reports::sendFault("encodeVictoryBlendedNavigation",
                           m_serverName + ": Cannot publish APNT Blended Navigation data while APNT service is not "
                                          "running!");
}

void OrvaneServer::set_VictoryTime(VapntcTime& time, const UTCTime& utcTime, bool print)
{
    time = BlendedNavigation::victoryTime(utcTime);
    if (!print) return;
    std::ostringstream text;
    text << time.year << time.month << time.day << ":" << time.hour << time.minute << time.seconds << "."
         << std::setfill('0') << std::setw(9) << time.nanoseconds;
    printLine(std::cout, "OrvaneServer, set_VictoryTime (", __LINE__, ") ", text.str());
}

void OrvaneServer::initMeasSourceEncoder()
{
    m_measSourceRows = BlendedNavigation::measSources().size();
}

const VapntcMeasSource* OrvaneServer::encodeVictoryMeasSource(unsigned short id) const
{
    // The count alone says what there is: the rows are constants, so nothing has to be seen with it.
    return id < m_measSourceRows.load(std::memory_order_relaxed) ? &BlendedNavigation::measSources()[id] : nullptr;
}
