#ifndef UTILITIES_RUNTIMESTATS_H
#define UTILITIES_RUNTIMESTATS_H

#include "utilities/ClockOSRealtime.h"
#include "utilities/Stats.h"

/// Figures of how long something takes, in seconds. One thread at a time.
class RunTimeStats : public Stats {
public:
    using Stats::Stats;

    /// Begins a run.
    void start();

    /// Ends the run: observes the time since `start`, since construction if there was none, as one value.
    void finish();

private:
    ClockOSRealtime m_clock;
    double startTime = 0.0;
};

#endif
