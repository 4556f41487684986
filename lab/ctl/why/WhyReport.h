#ifndef LAB_CTL_WHY_WHYREPORT_H
#define LAB_CTL_WHY_WHYREPORT_H

#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/Progress.h"
#include "lab/ctl/why/JoinDiary.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

/// What `why` hears, and what it prints, be it live or of a recording. One thread at a time.
namespace orvanectl {

/// What a sum is told with.
struct WhyHeard {
    bool bus = false;
    bool receiver = false;             ///< its records are heard
    bool queue = false;                ///< it is known when its queue is read
    std::vector<std::string> without;  ///< topics that nothing was heard of
    std::string withoutText;           ///< in front of each of them
    std::uint64_t leftOut = 0;
    std::string leftOutText;  ///< behind their number
};

class WhyReport {
public:
    using Time = JoinDiary::Time;

    /// @param all  joined time messages are told, too
    WhyReport(std::ostream& output, bool all, bool json, Time start)
        : m_output(output), m_all(all), m_json(json), m_start(start)
    {}

    /// Throws `std::runtime_error` when the output fails, as the others do.
    void show(const std::vector<Epoch>& epochs);
    /// Once for each reason: an epoch of which no time message tells is only known when the next one comes.
    void saySilence(const std::optional<MissCause>& silence, Time now);
    void hearsAll();
    void progress(const std::string& what) { m_progress->say(what); }

    /// To be called once, and nothing after it.
    void printSum(const WhyHeard& heard, const std::optional<MissCause>& silence);

private:
    void print(const std::string& text);

    std::ostream& m_output;
    const bool m_all;
    const bool m_json;
    const Time m_start;
    std::string m_said;  // of a silence that goes on
    JoinSum m_sum;
    std::optional<Progress> m_progress{std::in_place, STDERR_FILENO};
};

}  // namespace orvanectl

#endif
