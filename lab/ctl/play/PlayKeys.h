#ifndef LAB_CTL_PLAY_PLAYKEYS_H
#define LAB_CTL_PLAY_PLAYKEYS_H

namespace orvanectl {

/// What a person asks for while a recording is played.
enum class PlayKey { None, Pause, Step, Faster, Slower, Quit };

/// What a character that was typed says. A line's end is a step, so that a program can ask for one by a line.
PlayKey playKeyOf(char typed);

inline constexpr double kSlowestPlay = 0.001;
inline constexpr double kFastestPlay = 1000;

/// Twice and half the rate, within these two.
double fasterThan(double rate);
double slowerThan(double rate);

}  // namespace orvanectl

#endif
