#include "lab/unit/CommandLine.h"
#include "lab/unit/ControlLine.h"
#include "lab/unit/ControlSocket.h"
#include "lab/unit/UnitSim.h"
#include "utilities/ConsoleLine.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <exception>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

namespace {

using namespace unitsim;

/// Waits on a thread of its own for the signals that end `unit-sim`, and stops it.
class EndingSignals {
public:
    /// Keeps the signals from this thread and those that it starts.
    static sigset_t block()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&signals, signal);
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        return signals;
    }

    EndingSignals(const sigset_t& signals, UnitSim& unit)
        : m_thread([this, signals, &unit] {
              constexpr timespec kLook{0, 100'000'000};
              while (!m_done)
                  if (sigtimedwait(&signals, nullptr, &kLook) > 0) unit.stop();
          })
    {}

    ~EndingSignals()
    {
        m_done = true;
        m_thread.join();
    }

    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

private:
    std::atomic<bool> m_done = false;
    std::thread m_thread;  // last: it uses the above
};

void sumUp(const Totals& totals)
{
    std::ostringstream line;
    const char* separator = "";
    for (std::size_t i = 0; i < kOutputs; ++i) {
        line << separator << totals.sent[i] << ' ' << kOutputNames[i];
        separator = ", ";
    }
    line << separator << totals.warnings << " 5044, " << totals.threats << " 15051";
    printLine(std::cout, "unit-sim: sent ", line.str());
    printLine(std::cout, "unit-sim: commands ", totals.commands, ", answers ", totals.answers,
              ", refused by the transport ", totals.refused, ", dropped from a full queue ", totals.dropped,
              ", epochs skipped ", totals.skipped);
}

}  // namespace

int main(int argc, char** argv)
{
    const CommandLine line = readCommandLine(argc, argv, std::cout, std::cerr);
    if (!line.settings) return line.status;
    try {
        const sigset_t signals = EndingSignals::block();
        UnitSim unit(*line.settings);
        {
            const EndingSignals endings(signals, unit);
            std::optional<ControlSocket> control;
            if (!line.settings->control.empty())
                control.emplace(line.settings->control, [&unit](const std::string& text) {
                    return answerToLine(text, unit.elapsedSeconds(),
                                        [&unit](const Event& event) { unit.order(event); });
                });
            if (!line.settings->quiet)
                printLine(std::cout, "unit-sim: plays the unit at ", line.settings->rateHz, " Hz, seed ",
                          line.settings->seed);
            unit.run();
        }
        if (!line.settings->quiet) sumUp(unit.totals());
        return 0;
    } catch (const std::exception& error) {
        printLine(std::cerr, "unit-sim: ", error.what());
        return 1;
    }
}
