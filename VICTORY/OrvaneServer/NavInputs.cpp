#include "VICTORY/OrvaneServer/NavInputs.h"

#include "ASPN/AspnHelper.h"
#include "VICTORY/OrvaneServer/MessageSource.h"
#include "utilities/ConsoleLine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <string>

namespace {

using namespace aspn2_msgs::idl;

constexpr std::uint8_t kAnySource = 0;
constexpr const char* kJoin = "attemptBlendedNavigationProcessing";

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

}  // namespace

template <class Message>
bool NavInputs::storeLatest(const Message& message, std::uint8_t wantedSource, Message NavInputs::*latest,
                            bool NavInputs::*isNew)
{
    if (wantedSource != kAnySource && wantedSource != MessageSource::sourceOf(message)) return false;
    const MutexLock lock(m_navDataMutex);
    this->*isNew = true;
    this->*latest = message;
    return true;
}

bool NavInputs::store(const PositionVelocityAttitude& message)
{
    return storeLatest(message, m_settings.m_pvaSourceServerId, &NavInputs::m_pva, &NavInputs::m_hasPVA);
}

bool NavInputs::store(const UTCTime& message)
{
    return storeLatest(message, m_settings.m_utcSourceServerId, &NavInputs::m_utcTime, &NavInputs::m_hasUTCTime);
}

bool NavInputs::store(const HalvexPNT& message)
{
    return storeLatest(message, m_settings.m_fusionPNTSourceServerId, &NavInputs::m_fusionPNT,
                       &NavInputs::m_hasFusionPNT);
}

bool NavInputs::store(const MeasurementIncorporationStatus& message)
{
    return storeLatest(message, m_settings.m_misSourceServerId, &NavInputs::m_mis, &NavInputs::m_hasMIS);
}

bool NavInputs::store(const AssuranceState& message)
{
    return storeLatest(message, kAnySource, &NavInputs::m_assuranceState, &NavInputs::m_hasAssuranceState);
}

void NavInputs::storeReceiver(const GSSIP& message)
{
    const MutexLock lock(m_navDataMutex);
    m_8504 = message;
    m_has8504 = true;
}

void NavInputs::join(const std::function<void(const Joined&)>& body)
{
    const MutexLock lock(m_navDataMutex);
    if (!areAllNew() || !belongTogether()) return;
    if (!m_settings.m_quiet)
        printLine(std::cout, m_settings.m_serverName, ": ", kJoin,
                  ": *** All synchronized messages received. Processing... ");

    ZentorM_8504_Msg receiver;
    if (receiver.ok_set_8504_gpsip(m_8504.data().data(), static_cast<std::uint32_t>(m_8504.num_bytes()))) {
        receiver.unpack_8504();
        body({m_utcTime, m_fusionPNT, m_mis, m_pva, m_assuranceState, receiver.unpacked()});
        ++m_joins;
    }
    m_hasPVA = m_hasUTCTime = m_hasFusionPNT = m_hasMIS = m_hasAssuranceState = m_has8504 = false;
}

bool NavInputs::areAllNew() const
{
    return m_hasPVA && m_hasUTCTime && m_hasFusionPNT && m_hasMIS && m_hasAssuranceState && m_has8504;
}

bool NavInputs::belongTogether() const
{
    const auto apart = [this](const auto& message) REQUIRES(m_navDataMutex) {
        return std::fabs(ASPN2::deltaTov(m_utcTime.header(), message.header()));
    };
    const Pairs pairs = {{{": UTCTime <-> PVA     deltaTov: ", apart(m_pva)},
                          {": UTCTime <-> HXPNT   deltaTov: ", apart(m_fusionPNT)},
                          {": UTCTime <-> MIS     deltaTov: ", apart(m_mis)},
                          {": UTCTime <-> Ass. St deltaTov: ", apart(m_assuranceState)},
                          {": UTCTime <-> 8504    deltaTov: ", apart(m_8504)}}};
    if (!m_settings.m_quiet) print(pairs, m_settings.m_serverName);
    // Not a number is too far apart too.
    return std::all_of(pairs.begin(), pairs.end(),
                       [](const Pair& pair) { return pair.apart < NavInputs::kFarthestApart; });
}
