#include "lab/clock/ClockFile.h"
#include "lab/text/NearestWord.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace labclock;

std::int64_t nanosecondsOf(double seconds)
{
    if (!(std::abs(seconds) < 9e9)) throw std::invalid_argument("seconds are less than 9000000000");
    return static_cast<std::int64_t>(std::llround(seconds * 1e9));
}

std::int64_t thousandthsOf(double rate)
{
    if (!(rate > 0.0 && rate <= 1000.0)) throw std::invalid_argument("a rate is 0.001 to 1000");
    return static_cast<std::int64_t>(std::llround(rate * 1000.0));
}

void show(const ClockFile& file)
{
    const ClockState state = file.state();
    std::printf("rate %g  monotonic %.3f s  real %.3f s\n", static_cast<double>(state.rate) / 1e3,
                static_cast<double>(file.monotonic()) / 1e9, static_cast<double>(file.real()) / 1e9);
}

/// A clock is set by the machine's time: who sets it must not live by it, as one does that is started by a process that
/// does.
void leaveClock(char** arguments)
{
    constexpr const char* kVariable = "ORVANE_LAB_CLOCK";
    if (!std::getenv(kVariable)) return;
    ::unsetenv(kVariable);
    ::execv("/proc/self/exe", arguments);
    std::perror("lab-clock: /proc/self/exe");
    std::exit(1);
}

/// What to say if no verb was given, or none that there is; empty if something else is wrong.
std::string unknownVerb(const CLI::App& app)
{
    if (!app.get_subcommands().empty()) return "";
    std::vector<std::string> verbs;
    for (const CLI::App* const verb : app.get_subcommands([](const CLI::App*) { return true; }))
        verbs.push_back(verb->get_name());
    std::string all;
    for (const std::string& verb : verbs) all += (all.empty() ? "" : ", ") + verb;
    const std::vector<std::string> words = app.remaining();
    if (words.empty()) return "which verb? there are: " + all;
    const std::string nearest = labtext::nearestWord(words.front(), verbs);
    return "no verb \"" + words.front() + "\"; " +
           (nearest.empty() ? "there are: " + all : "did you mean " + nearest + '?');
}

}  // namespace

int main(int argc, char** argv)
{
    leaveClock(argv);
    CLI::App app{"Makes and sets the clock of processes that run with liblab_clock.so and ORVANE_LAB_CLOCK=FILE"};
    app.name("lab-clock");
    app.require_subcommand(1);
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return "lab-clock: " + std::string(error.what()) + " (lab-clock --help tells more)\n";
    });
    app.footer("Examples:\n"
               "  lab-clock create drive.clock --rate 60 --real 1772323200\n"
               "  lab-clock show drive.clock\n"
               "  lab-clock step drive.clock -- -0.5       half a second back");
    std::string path;
    double number = 0.0, rate = 1.0, duration = 0.0, real = -1.0;
    const auto verb = [&](const std::string& name, const char* what, const std::string& rest) {
        CLI::App* const command = app.add_subcommand(name, what);
        command->footer("Examples:\n  lab-clock " + name + " drive.clock" + rest);
        command->add_option("FILE", path, "the clock")->required();
        return command;
    };
    CLI::App* const create = verb("create", "makes a clock anew", " --rate 60 --real 1772323200");
    create->add_option("--rate", rate, "how many times as fast as the machine's, 0.001 to 1000");
    create->add_option("--real", real, "real time to begin with, seconds since 1970; the machine's otherwise");
    CLI::App* const setRate = verb("rate", "lets it run at another rate", " 10");
    setRate->add_option("RATE", number)->required();
    CLI::App* const step = verb("step", "shifts its real time at once", " -- -0.5");
    step->add_option("SECONDS", number, "may be negative")->required();
    CLI::App* const stepTo = verb("set", "sets its real time", " 1772323200");
    stepTo->add_option("SECONDS", number, "since 1970")->required();
    CLI::App* const slew = verb("slew", "shifts its real time evenly", " 2 --over 60");
    slew->add_option("SECONDS", number, "may be negative")->required();
    slew->add_option("--over", duration, "seconds of the clock that it takes")->required();
    CLI::App* const leap = verb("leap", "lets a second pass twice", " 1798761600");
    leap->add_option("SECONDS", number, "real time at which it begins again, since 1970")->required();
    CLI::App* const showing = verb("show", "prints rate and times", "");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool isWord = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
        if (const std::string what = isWord ? unknownVerb(app) : ""; !what.empty()) {
            std::cerr << "lab-clock: " << what << " (lab-clock --help tells more)\n";
            return 2;
        }
        return app.exit(error) == 0 ? 0 : 2;
    }
    try {
        if (*create) {
            ClockFile::create(path, thousandthsOf(rate), real < 0.0 ? -1 : nanosecondsOf(real));
            return 0;
        }
        ClockFile file(path);
        if (*setRate) file.setRate(thousandthsOf(number));
        if (*step) file.step(nanosecondsOf(number));
        if (*stepTo) file.stepTo(nanosecondsOf(number));
        if (*slew) file.slew(nanosecondsOf(number), nanosecondsOf(duration));
        if (*leap) file.leapAt(nanosecondsOf(number));
        if (*showing) show(file);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "lab-clock: " << error.what() << '\n';
        return 1;
    }
}
