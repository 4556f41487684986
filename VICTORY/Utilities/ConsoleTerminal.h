#ifndef VICTORY_UTILITIES_CONSOLETERMINAL_H
#define VICTORY_UTILITIES_CONSOLETERMINAL_H

#include <optional>
#include <termios.h>

/// The standard input as a keyboard. A terminal there gives keys instead of lines from the first look on, until the
/// settings that were found are put back; how its readers wait for keys is left as it is. While another job has the
/// terminal it is left alone, since to set or read it would stop the process. One thread at a time.
class ConsoleTerminal {
public:
    ConsoleTerminal() = default;
    ~ConsoleTerminal();
    ConsoleTerminal(const ConsoleTerminal&) = delete;
    ConsoleTerminal& operator=(const ConsoleTerminal&) = delete;

    /// Bytes that wait; 0 if there is no input to be asked, and while another job has the terminal.
    int waiting();

    /// The next key, `EOF` if none waits. It never waits for one on a terminal; another input is read as it is.
    int read() const;

    /// Puts back the settings that the first look has found, and closes what it has opened. The next look is a first
    /// one again. While another job has the terminal the settings are not ours to put back.
    void putBack();

private:
    void switchToKeys();

    bool m_isReady = false;
    std::optional<termios> m_found;  // settings to be put back
    int m_keys = -1;                 // the terminal, opened once more; -1 if that can't be
};

#endif
