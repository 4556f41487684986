#ifndef LAB_CTL_SEQ_PROGRAMS_H
#define LAB_CTL_SEQ_PROGRAMS_H

#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace orvanectl {

/// A program that was started by this one, and does not outlive it. One thread at a time.
class Program {
public:
    /// Throws `std::system_error` when no process can be made. One whose program can't be run ends with status 127.
    /// @param arguments    the program's path first
    /// @param environment  more variables: "NAME=value"
    /// @param terminal     becomes its terminal, input and output; -1: it reads and prints nothing but what is wrong
    Program(const std::vector<std::string>& arguments, const std::vector<std::string>& environment, int terminal = -1);

    /// Kills it if it runs.
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void send(int signal);

    /// How it has ended: "status 0", "signal 6"; nothing while it runs.
    const std::optional<std::string>& ending();

private:
    pid_t m_process;
    std::optional<std::string> m_ending;
};

/// A pseudo-terminal, from the side of who sits at it. One thread at a time.
class Terminal {
public:
    /// Throws `std::system_error`.
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// The program's side, which is closed when the program has it.
    int line() const { return m_line; }
    void closeLine();

    /// Whether keys reach the program one by one, instead of whole lines.
    bool takesKeys() const;

    /// Throws `std::system_error`.
    void type(const std::string& keys) const;

    /// The lines that have been printed since the last call, without their ends.
    std::vector<std::string> lines();

    /// Can be read, for `poll`, when something was printed; -1 once the program has closed its side.
    int descriptor() const { return m_isOver ? -1 : m_screen; }

private:
    static constexpr std::size_t kLongestLine = 65536;  // a longer one is cut there

    int m_screen;
    int m_line = -1;
    bool m_isOver = false;
    std::string m_rest;
};

}  // namespace orvanectl

#endif
