#ifndef LAB_CTL_SEQ_SEQUENCERUN_H
#define LAB_CTL_SEQ_SEQUENCERUN_H

#include "lab/ctl/WatchRun.h"
#include "lab/ctl/seq/Steps.h"

#include <functional>
#include <string>
#include <vector>

namespace orvanectl {

/// Where everything is.
struct SeqPaths {
    std::string bus;         ///< socket
    std::string control;     ///< socket of `unit-sim`
    std::string terminal;    ///< other end of the service's, when it is not started here; empty: there is none
    std::string service;     ///< program
    std::string unitSim;     ///< program
    std::string busLibrary;  ///< folder; empty: as the machine finds it
    std::string config = "/opt/halvex/config/OrvaneServer.xml";
    std::string connections = "/opt/halvex/config/Connections.xml";
};

struct StepResult {
    enum class Outcome { Passed, Failed, NotRun };

    const StepLine* line;
    Outcome outcome;
    std::string what;  ///< came of it, or is wrong
    double seconds;    ///< that it took
};

/// Runs the steps of a sequence one after the other. A step that does something and fails ends it, an expectation that
/// fails does not. What it has started is ended. Once; one thread at a time.
/// @param signals   one that was received ends it; the step then has failed
/// @param onResult  gets the result of each step when it is known
std::vector<StepResult> runSequence(const Sequence& sequence, const SeqPaths& paths, const EndingSignals& signals,
                                    const std::function<void(const StepResult&)>& onResult);

}  // namespace orvanectl

#endif
