#ifndef LAB_CTL_PLAY_PLAYTERMINAL_H
#define LAB_CTL_PLAY_PLAYTERMINAL_H

#include "lab/ctl/play/PlayKeys.h"

#include <string>

namespace orvanectl {

/// Takes keys from standard input, and shows a line on standard error where that is a terminal. A terminal tells each key
/// at once meanwhile and does not show it; Ctrl-C is a signal as ever. One object, one thread at a time.
class PlayTerminal {
public:
    /// @param takesAnyInput  keys are read from what is no terminal, too
    explicit PlayTerminal(bool takesAnyInput);
    ~PlayTerminal();
    PlayTerminal(const PlayTerminal&) = delete;
    PlayTerminal& operator=(const PlayTerminal&) = delete;

    /// For `poll`; -1 if there will be no key.
    int descriptor() const { return m_input; }

    /// To be called when the descriptor can be read: the next key, which may be none. At the end of the input, and when
    /// it can't be read any more, there is no descriptor from then on.
    PlayKey take();

    /// Shows a line in place of the one before; an empty one leaves none.
    void show(const std::string& line);
    bool canShow() const { return m_canShow; }

    /// Gives the terminal back, for a stop, and takes it again.
    void leave();
    void comeBack();

    /// The former in a signal's handler.
    static void giveBack();

private:
    int m_input = -1;
    bool m_isTerminal = false;
    const bool m_canShow;
    bool m_isShown = false;
};

}  // namespace orvanectl

#endif
