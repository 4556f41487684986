#ifndef VICTORY_ORVANESERVER_NAVWARAWARENESS_H
#define VICTORY_ORVANESERVER_NAVWARAWARENESS_H

#include "VICTORY/OrvaneServer/LatestTime.h"
#include "VICTORY/OrvaneServer/PublicationList.h"
#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "VICTORY/libvictory/victory.h"
#include "ioss_mcsq/ThreatData.h"
#include "utilities/ThreadAnnotations.h"

#include <cstdint>
#include <span>
#include <vector>

/// Sources of interference: the sensor's report at hand, and the threats that wait for the bus library.
///
///     take --> report at hand --process--> threats, the newest 50 --publish--> the library, once each
///
/// Any thread; a report that is taken before the one at hand has been processed replaces it. Locks: under that of the
/// report, those of the time and of the list of threats are taken in turn, and the console is written to. That of the
/// list is held while the library is told, so that threats wait meanwhile.
class NavWarAwareness {
public:
    /// @param time  gives the time of a threat
    NavWarAwareness(const ServerSettings& settings, const LatestTime& time) : m_settings(settings), m_time(time) {}

    /// Makes a frame the report at hand. False, and nothing done, if it is none: of its length the low 16 bits count.
    bool take(std::span<const std::uint8_t> frame) EXCLUDES(m_threatDataMutex);

    /// Makes threats of the report at hand, if there is one, which is used up then. What fails is reported, and the
    /// report stays at hand; nothing is thrown.
    /// @return whether there is a new threat
    bool process() noexcept EXCLUDES(m_threatDataMutex, m_threatListMutex);

    /// Adds a threat, and drops the oldest of more than 50, silently.
    void append(const VapntcNavWarSaThreat& threat) EXCLUDES(m_threatListMutex);

    /// Tells the library all threats that wait, none included, and forgets them, also if that fails.
    /// @param isStarted       the bus service runs; otherwise threats go on waiting, with an event
    /// @param isTellDisabled  keeps the record back: the threats are lost all the same
    void publish(VapntsService* service, bool isStarted, bool isTellDisabled) EXCLUDES(m_threatListMutex);

    /// The threats that wait, oldest first.
    std::vector<VapntcNavWarSaThreat> list() const EXCLUDES(m_threatListMutex);

private:
    /// Appends a threat for each line of bearing of the report, in their order.
    /// @return whether there was one
    bool encodeVictoryNavWarSA() REQUIRES(m_threatDataMutex) EXCLUDES(m_threatListMutex);
    void printDetail(const ThreatEntry& entry, const VapntcNavWarSaThreat& threat) const REQUIRES(m_threatDataMutex);

    const ServerSettings& m_settings;
    const LatestTime& m_time;
    RankedMutex<LockRank::ThreatReport> m_threatDataMutex;
    ThreatData m_threatData GUARDED_BY(m_threatDataMutex);
    bool m_threatReportWaits GUARDED_BY(m_threatDataMutex) = false;
    mutable RankedMutex<LockRank::Lists> m_threatListMutex;
    PublicationList<VapntcNavWarSaThreat, VAPNTC_MAX_ROWS> m_threats GUARDED_BY(m_threatListMutex);
};

#endif
