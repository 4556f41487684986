#ifndef LAB_CTL_TOP_TOPSCREEN_H
#define LAB_CTL_TOP_TOPSCREEN_H

#include "lab/ctl/top/Canvas.h"
#include "lab/ctl/top/TopUi.h"

namespace orvanectl {

/// The terminal on standard input and output, taken from construction to destruction. It is given back as it was found
/// also when the program ends by `exit`, an `abort`, a fault or a signal that nobody handles. One object at a time, one
/// thread.
class TopScreen {
public:
    /// Gives the terminal back for good, if it is taken. May be called in a signal handler.
    static void giveBack();

    /// Whether standard input and output are a terminal.
    static bool isThere();

    /// Throws `std::runtime_error` for a terminal of a kind that is not known, or that can't be drawn on. The actions of
    /// SIGWINCH and SIGTSTP are the default ones behind this.
    /// @param hasColours  if the terminal has some
    explicit TopScreen(bool hasColours);
    ~TopScreen();
    TopScreen(const TopScreen&) = delete;
    TopScreen& operator=(const TopScreen&) = delete;

    int width() const;
    int height() const;

    /// Takes over the terminal's size, which may have changed.
    void resize();

    void show(const Canvas& canvas);

    /// The next key that was typed; `None` for one that means nothing. False if there is none.
    bool take(Key& key);

    /// Gives the terminal back for a while, and takes it again, with everything to be drawn anew.
    void leave();
    void comeBack();

private:
    int attributesOf(Style style) const;

    bool m_hasColours;
};

}  // namespace orvanectl

#endif
