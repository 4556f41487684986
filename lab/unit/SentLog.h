#ifndef LAB_UNIT_SENTLOG_H
#define LAB_UNIT_SENTLOG_H

#include "lab/unit/CommandAnswers.h"
#include "lab/unit/Events.h"
#include "lab/unit/Navigation.h"
#include "lab/unit/Settings.h"
#include "lab/unit/SystemClock.h"

#include <array>
#include <fstream>
#include <string>

namespace unitsim {

/// A file with a line for all that was sent or heard, or has changed what is sent, each with the seconds from the start at which it
/// had been, and complete before the next thing is sent. One thread at a time.
///
///     12.000 epoch 23215.000000000 111101
///     12.204 threats 3 2
///     13.100 warning 6 ANTENNA OPEN
///     14.050 answer ZeroizeServer REQUEST_ZEROIZE_ACK
///     15.000 command START_ZEROIZE
///     15.010 heard REQUEST_PARTNUMBERS
///     16.000 gps lost
///     17.000 silent GPS
class SentLog {
public:
    /// Throws `std::runtime_error` that names the file if it can't be written.
    SentLog(const std::string& path, SystemClock::Clock::time_point start);

    /// GPS time of week, and for each output in its order whether it was sent.
    void epoch(GpsMoment time, const std::array<bool, kOutputs>& sent);

    /// Lines of bearing, and how many of them the service reports: those in use that have a bearing.
    void threats(const ThreatReport& report);
    void warning(const Warning& warning);
    void command(const std::string& text);
    void answer(const std::string& server, const PlannedAnswer& answer);

    /// A command that has arrived, also one that was sent from here.
    void heard(const std::string& command);

    /// GPS is lost or back, from the next epoch in the file on.
    void gps(bool isLost);

    /// A component keeps its part numbers, or tells them, from the next command in the file on.
    void silence(const std::string& component, bool isSilent);

private:
    std::ostream& line(const char* what);

    std::ofstream m_file;
    SystemClock::Clock::time_point m_start;
};

}  // namespace unitsim

#endif
