#include "lab/ctl/top/TopScreen.h"

#define NCURSES_NOMACROS 1
#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <curses.h>
#include <iterator>
#include <stdexcept>
#include <string>
#include <sys/ioctl.h>
#include <term.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace orvanectl {

namespace {

/// What would end the process without a word of its own: faults, and signals that nobody here uses.
std::vector<int> fatalSignals()
{
    std::vector<int> signals = {SIGSEGV, SIGBUS,  SIGFPE,    SIGILL,  SIGABRT, SIGSYS,  SIGTRAP, SIGUSR1,
                                SIGUSR2, SIGALRM, SIGVTALRM, SIGPROF, SIGXCPU, SIGXFSZ, SIGIO,   SIGPWR};
#ifdef SIGSTKFLT
    signals.push_back(SIGSTKFLT);
#endif
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) signals.push_back(signal);
    return signals;
}

// What gives the terminal back where nothing may be allocated: in a signal handler, and in `exit`.
std::atomic<bool> g_isTaken = false;
static_assert(std::atomic<bool>::is_always_lock_free);
termios g_found{};
std::array<char, 256> g_ending{};
std::size_t g_endingSize = 0;

extern "C" void giveTerminalBack()
{
    if (!g_isTaken.exchange(false)) return;
    [[maybe_unused]] const ssize_t written = ::write(STDOUT_FILENO, g_ending.data(), g_endingSize);
    ::tcsetattr(STDIN_FILENO, TCSANOW, &g_found);
}

/// By the default action in the end.
extern "C" void onFault(int signal)
{
    giveTerminalBack();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// Adds what the terminal is told for a capability, without the times that old ones needed.
void addEnding(const char* capability)
{
    const char* text = ::tigetstr(capability);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): so terminfo says that it is no text
    if (text == nullptr || text == reinterpret_cast<const char*>(-1)) return;
    while (*text != '\0' && g_endingSize < g_ending.size()) {
        if (std::strncmp(text, "$<", 2) == 0) {
            const char* const end = std::strchr(text, '>');
            if (end == nullptr) return;
            text = end + 1;
            continue;
        }
        g_ending[g_endingSize++] = *text++;
    }
}

/// Only where nobody else has a say: a sanitizer tells more.
void handleFaults()
{
    for (const int fault : fatalSignals()) {
        struct sigaction action {};
        if (sigaction(fault, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
        action = {};
        action.sa_handler = onFault;
        action.sa_flags = SA_NODEFER;
        sigaction(fault, &action, nullptr);
    }
}

/// A terminal that is cleared and written to anywhere.
bool canBeDrawnOn()
{
    for (const char* const capability : {"cup", "clear"}) {
        const char* const text = ::tigetstr(capability);
        // NOLINTNEXTLINE(performance-no-int-to-ptr): so terminfo says that it is no text
        if (text == nullptr || text == reinterpret_cast<const char*>(-1)) return false;
    }
    return true;
}

enum Colour : short { kGood = 1, kDoubtful, kBad, kHeading };

Key keyOf(int typed)
{
    switch (typed) {
    case 'q':
    case 'Q':
        return Key::Quit;
    case 'h':
    case '?':
    case KEY_F(1):
        return Key::Help;
    case 'p':
    case ' ':
        return Key::Pause;
    case 's':
        return Key::Sort;
    case 'r':
        return Key::Reverse;
    case KEY_UP:
    case 'k':
        return Key::Up;
    case KEY_DOWN:
    case 'j':
        return Key::Down;
    case KEY_PPAGE:
    case '[':
        return Key::PageUp;
    case KEY_NPAGE:
    case ']':
        return Key::PageDown;
    case 'e':
    case '\n':
    case '\r':
    case KEY_ENTER:
        return Key::Fields;
    case 27:
        return Key::Back;
    default:
        return Key::None;
    }
}

}  // namespace

void TopScreen::giveBack()
{
    giveTerminalBack();
}

bool TopScreen::isThere()
{
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1;
}

TopScreen::TopScreen(bool hasColours) : m_hasColours(hasColours)
{
    const char* const kind = std::getenv("TERM");
    const std::string named = std::string("TERM is \"") + (kind != nullptr ? kind : "") + '"';
    if (::tcgetattr(STDIN_FILENO, &g_found) != 0) throw std::runtime_error("the terminal's settings can't be read");
    int error = 0;
    if (::setupterm(nullptr, STDOUT_FILENO, &error) != OK)
        throw std::runtime_error("no such kind of terminal: " + named);
    const bool isGood = canBeDrawnOn();
    g_endingSize = 0;
    for (const char* const capability : {"sgr0", "rmkx", "cnorm", "rmcup"}) addEnding(capability);
    ::del_curterm(cur_term);  // the screen makes its own
    if (!isGood) throw std::runtime_error("this kind of terminal can't be drawn on: " + named);

    static const bool isRegistered = std::atexit(giveTerminalBack) == 0;
    static_cast<void>(isRegistered);
    g_isTaken = true;
    handleFaults();
    if (::newterm(nullptr, stdout, stdin) == nullptr) {
        g_isTaken = false;
        throw std::runtime_error("the terminal can't be used: " + named);
    }
    std::signal(SIGWINCH, SIG_DFL);
    std::signal(SIGTSTP, SIG_DFL);
    ::cbreak();
    ::noecho();
    ::nonl();
    ::nodelay(stdscr, true);
    ::keypad(stdscr, true);
    ::set_escdelay(25);
    ::leaveok(stdscr, true);
    ::curs_set(0);
    m_hasColours = m_hasColours && ::has_colors() && ::start_color() == OK;
    if (m_hasColours) {
        const short background = ::use_default_colors() == OK ? short{-1} : short{COLOR_BLACK};
        ::init_pair(kGood, COLOR_GREEN, background);
        ::init_pair(kDoubtful, COLOR_YELLOW, background);
        ::init_pair(kBad, COLOR_RED, background);
        ::init_pair(kHeading, COLOR_CYAN, background);
    }
    resize();
}

TopScreen::~TopScreen()
{
    ::endwin();
    g_isTaken = false;
    for (const int fault : fatalSignals()) {
        struct sigaction action {};
        if (sigaction(fault, nullptr, &action) == 0 && action.sa_handler == onFault) std::signal(fault, SIG_DFL);
    }
    // Curses may leave a key that it has not read; the settings are those that were found.
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &g_found);
}

int TopScreen::width() const
{
    return ::getmaxx(stdscr);
}

int TopScreen::height() const
{
    return ::getmaxy(stdscr);
}

void TopScreen::resize()
{
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) return;
    const int rows = std::clamp(int{size.ws_row}, 1, Canvas::kMost);
    const int across = std::clamp(int{size.ws_col}, 1, Canvas::kMost);
    if (rows == height() && across == width()) return;
    ::resizeterm(rows, across);
    ::clearok(stdscr, true);
}

int TopScreen::attributesOf(Style style) const
{
    const auto coloured = [&](Colour colour, attr_t without) {
        return static_cast<int>(m_hasColours ? static_cast<attr_t>(COLOR_PAIR(colour)) : without);
    };
    switch (style) {
    case Style::Plain:
        return 0;
    case Style::Title:
    case Style::Selected:
        return static_cast<int>(A_REVERSE);
    case Style::Heading:
        return coloured(kHeading, 0) | static_cast<int>(A_BOLD);
    case Style::Good:
        return coloured(kGood, 0);
    case Style::Doubtful:
        return coloured(kDoubtful, A_BOLD);
    case Style::Bad:
        return coloured(kBad, 0) | static_cast<int>(A_BOLD);
    case Style::Faint:
        return static_cast<int>(A_DIM);
    }
    return 0;
}

void TopScreen::show(const Canvas& canvas)
{
    ::werase(stdscr);
    for (int row = 0; row < std::min(canvas.height(), height()); ++row) {
        const std::string& text = canvas.text(row);
        const std::vector<Style>& styles = canvas.styles(row);
        const auto shown = static_cast<std::size_t>(std::min(canvas.width(), width()));
        for (std::size_t begin = 0; begin < shown;) {
            std::size_t end = begin + 1;
            while (end < shown && styles[end] == styles[begin]) ++end;
            ::wattrset(stdscr, attributesOf(styles[begin]));
            ::mvwaddnstr(stdscr, row, static_cast<int>(begin), text.c_str() + begin, static_cast<int>(end - begin));
            begin = end;
        }
    }
    ::wattrset(stdscr, 0);
    ::wrefresh(stdscr);
}

bool TopScreen::take(Key& key)
{
    const int typed = ::wgetch(stdscr);
    if (typed == ERR) return false;
    key = keyOf(typed);
    return true;
}

void TopScreen::leave()
{
    ::endwin();
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &g_found);
}

void TopScreen::comeBack()
{
    ::reset_prog_mode();
    resize();
    ::clearok(stdscr, true);
    ::wrefresh(stdscr);
    ::curs_set(0);
}

}  // namespace orvanectl
