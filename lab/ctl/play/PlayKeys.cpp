#include "lab/ctl/play/PlayKeys.h"

#include <algorithm>

namespace orvanectl {

PlayKey playKeyOf(char typed)
{
    switch (typed) {
    case ' ':
        return PlayKey::Pause;
    case '.':
    case '\n':
        return PlayKey::Step;
    case '+':
        return PlayKey::Faster;
    case '-':
        return PlayKey::Slower;
    case 'q':
        return PlayKey::Quit;
    default:
        return PlayKey::None;
    }
}

double fasterThan(double rate)
{
    return std::min(rate * 2, kFastestPlay);
}

double slowerThan(double rate)
{
    return std::max(rate / 2, kSlowestPlay);
}

}  // namespace orvanectl
