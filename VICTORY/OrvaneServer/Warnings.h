#ifndef VICTORY_ORVANESERVER_WARNINGS_H
#define VICTORY_ORVANESERVER_WARNINGS_H

#include "VICTORY/OrvaneServer/LatestTime.h"
#include "VICTORY/OrvaneServer/PublicationList.h"
#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "VICTORY/Utilities/ClearDataCommand.h"
#include "VICTORY/libvictory/victory.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// The warnings of the unit, as the bus library is told them again and again, until newer ones have pushed them out.
///
/// Any thread. The lock is held while the library is told, so that warnings wait meanwhile; nothing else is called
/// under it. That of the time is released before it is taken.
class Warnings {
public:
    /// @param time  gives the seconds of the week that a record is told with
    Warnings(const ServerSettings& settings, const LatestTime& time) : m_settings(settings), m_time(time) {}

    /// Makes the table of the receiver's numbers; before that each of them is custom. At each start of the bus service.
    void initWarningIdEncoder();

    /// The id of a receiver's number, `VAPNTC_WARNING_CUSTOM` for one that has none.
    std::uint32_t encodeVictoryWarningId(unsigned short number) const;

    /// Adds the warning of the receiver's message 5044; a frame that is refused adds none. A custom one has the
    /// receiver's text.
    void handleBlock5044(const unsigned char* frame, unsigned int length);
    void append(const unpacked_msg5044_t& received);

    /// Adds a warning, and drops the oldest of more than 50, silently. False, with an event, if it can't be kept.
    bool append(const VapntcWarningMessage& warning) noexcept EXCLUDES(m_warningListMutex);

    /// Adds one without a text; false likewise.
    bool append(std::uint32_t id) noexcept;

    /// Adds a text of its own, cut to 255 characters, here and below; false as `append`.
    bool sendVDBcustomWarning(const std::string& text);

    /// Adds the end of an operation. False, with an event, for a type that is none, and as `append`.
    bool sendVDBCompleteWarning(ClearDataCommand::ClearDataType type, bool success, const std::string& text) noexcept;

    /// Tells the library the whole list, an empty one included. The list stays.
    /// @param isStarted       the bus service runs; otherwise there is an event
    /// @param isTellDisabled  keeps the record back
    void publish(VapntsService* service, bool isStarted, bool isTellDisabled) const EXCLUDES(m_warningListMutex);

    /// The warnings, oldest first.
    std::vector<VapntcWarningMessage> list() const EXCLUDES(m_warningListMutex);

private:
    const ServerSettings& m_settings;
    const LatestTime& m_time;
    std::atomic<std::size_t> m_warningIdRows = 0;
    mutable RankedMutex<LockRank::Lists> m_warningListMutex;
    PublicationList<VapntcWarningMessage, VAPNTC_MAX_ROWS> m_warnings GUARDED_BY(m_warningListMutex);
};

#endif
