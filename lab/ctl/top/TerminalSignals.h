#ifndef LAB_CTL_TOP_TERMINALSIGNALS_H
#define LAB_CTL_TOP_TERMINALSIGNALS_H

namespace orvanectl {

/// The signals by which a terminal and its shell speak to a program: SIGWINCH, SIGTSTP and SIGCONT. They are kept from
/// all threads that are made later, and taken from a descriptor. One object at a time, made before other threads are.
class TerminalSignals {
public:
    /// What has come since the last look.
    struct Came {
        bool resize = false;
        bool stop = false;
        bool go = false;  ///< after a stop that was not asked for by `stop` too
    };

    /// Throws `std::system_error`.
    TerminalSignals();
    ~TerminalSignals();
    TerminalSignals(const TerminalSignals&) = delete;
    TerminalSignals& operator=(const TerminalSignals&) = delete;

    /// Can be read, for `poll`, when one has come.
    int descriptor() const { return m_descriptor; }

    Came take();

    /// Stops the process as the default action of SIGTSTP does; comes back when it goes on.
    void stop();

private:
    int m_descriptor;
};

}  // namespace orvanectl

#endif
