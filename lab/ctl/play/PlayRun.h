#ifndef LAB_CTL_PLAY_PLAYRUN_H
#define LAB_CTL_PLAY_PLAYRUN_H

#include "lab/ctl/play/PlayPlan.h"

#include <optional>
#include <ostream>
#include <string>

namespace orvanectl {

struct PlayOptions {
    std::string file;
    PlayChoice choice;
    std::string connections = "/opt/halvex/config/Connections.xml";
    std::string devices = "/opt/halvex/config/IODevices.xml";
    std::optional<std::string> registers;  ///< memory that must be had; else /dev/mem, if that can be
    bool leavesRegisters = false;          ///< plays neither these nor the flag files
    double rate = 1;
    double waitSeconds = 5;  ///< for subscribers, and in a fast play until a queue's record is taken
    bool loops = false;
    bool isPaused = false;  ///< at first
    bool steps = false;     ///< a message for each key
    bool isFast = false;    ///< as fast as it goes, with times of now
};

/// Plays a recording, and says at the end on `output` what was played. Throws `UnknownName` for what was typed wrongly,
/// `std::runtime_error` for what can't be had, and when a signal has come before the end.
void runPlay(const PlayOptions& options, std::ostream& output);

}  // namespace orvanectl

#endif
