#include "reliability/ProcessWatch.h"
#include "reliability/Statistics.h"
#include "reliability/load/BusWatch.h"
#include "reliability/load/Ending.h"
#include "reliability/load/Navigator.h"
#include "reliability/load/Scenes.h"

#include <chrono>
#include <cmath>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Seconds = std::chrono::duration<double>;

constexpr const char* kTurn = "State Notification: Post incomplete\n";  // a line of each turn of the worker
constexpr double kTurnMs = 250;

/// A service that tells its turns, a navigator that it hears, and a client of its bus.
struct Load {
    Load()
    {
        desk.set("Debug", "true");
        navigator.emplace(desk);
        desk.run();
        bus.emplace();
        if (!navigator->waitForService()) throw std::runtime_error("the service is not found");
    }

    Desk desk;
    std::optional<Navigator> navigator;
    std::optional<BusWatch> bus;
};

void judge(Report& report, const Load& load, const std::string& what, std::int32_t blockEpochs, double floodEnd)
{
    auto told = load.bus->told();
    const auto findings = Joins::judge(told, load.navigator->sent(), blockEpochs);
    report.expect(load.bus->unreadable() == 0,
                  what + ": records of no input that was sent: " + std::to_string(load.bus->unreadable()));
    report.expect(findings.usedTwice == 0, what + ": inputs used twice: " + std::to_string(findings.usedTwice));
    report.expect(findings.neverSent == 0, what + ": inputs never sent: " + std::to_string(findings.neverSent));
    // A sample that a full socket has lost comes later, if at all, and nobody can tell that from here.
    report.figure(what + ", records with an old position or assurance", static_cast<double>(findings.ofAnotherBlock),
                  "", {Goal::AtMost, 0});
    // What was sent last of all waits for the next turn, with nothing newer behind it.
    std::erase_if(told, [&](const Told& record) { return record.at > floodEnd; });
    const auto meanwhile = Joins::judge(told, load.navigator->sent(), blockEpochs);
    Statistics::tell(report, what + ", last input to tell", meanwhile.latency, "ms");
    Statistics::tell(report, what + ", newer input left out for", meanwhile.outdated, "ms");
}

/// Sends six inputs and waits for what is made of them, as often as that; each must be told once.
void setBySet(Report& report, int sets)
{
    const std::string what = "set by set";
    Load load;
    std::mt19937 random(1);  // NOLINT: the same moments each time
    std::uniform_real_distribution<double> pause(0.0, kTurnMs);
    for (int set = 1; set <= sets; ++set) {
        std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(pause(random)));
        load.navigator->send(set, 1.0);
        if (!report.expect(load.bus->awaitEpoch(set), what + ": a set was not told")) break;
    }
    report.expect(load.desk.awaitTurns(), what + ": the worker turns no more");
    load.bus->end();
    report.figure(what + ", sets sent", sets);
    report.figure(what + ", records told", static_cast<double>(load.bus->count()));
    report.expect(load.bus->count() == static_cast<std::size_t>(sets), what + ": not one record a set");
    Statistics::tell(report, what + ", last input to tell",
                     Joins::judge(load.bus->told(), load.navigator->sent(), 1).latency, "ms");
    endInOrder(report, load.desk.service(), what);
}

void judgeNumbered(Report& report, const std::string& what, const std::vector<NumberedTell>& tells,
                   const SentTimes& sent, Numbered::Comes comes, double floodEnd)
{
    const auto findings = Numbered::judge(tells, sent, comes);
    report.figure(what + ", told", static_cast<double>(findings.all));
    report.expect(findings.all > 0, what + ": none was told");
    report.expect(findings.leftOut == 0, what + ": left out: " + std::to_string(findings.leftOut));
    report.expect(findings.repeated == 0, what + ": told again: " + std::to_string(findings.repeated));
    report.expect(findings.neverSent == 0, what + ": never sent: " + std::to_string(findings.neverSent));
    report.expect(findings.tooLong == 0, what + ": more than fifty in a tell");
    std::vector<NumberedTell> meanwhile = tells;
    std::erase_if(meanwhile, [&](const NumberedTell& tell) { return tell.at > floodEnd; });
    Statistics::tell(report, what + ", newer one left out for", Numbered::judge(meanwhile, sent, comes).outdated, "ms");
}

/// Sends each input at a rate, whether the service keeps up or not.
void flood(Report& report, double rate, Seconds time)
{
    const std::string what = std::to_string(std::lround(rate)) + " Hz";
    report.note(what + " of each input and of messages 5044 and 15051 for " +
                std::to_string(std::lround(time.count())) + " s");
    Load load;
    ProcessWatch watch(load.desk.service().id());
    const auto turnsBefore = load.desk.count(kTurn);
    const auto begin = std::chrono::steady_clock::now();
    load.navigator->flood(rate, time);
    const double floodEnd = Navigator::wallClockMs();
    const double seconds = Seconds(std::chrono::steady_clock::now() - begin).count();
    const auto turns = load.desk.count(kTurn) - turnsBefore;
    watch.tell(report, what);
    report.expect(load.desk.awaitTurns(), what + ": the worker turns no more");
    load.bus->end();

    const double told = static_cast<double>(load.bus->count());
    report.figure(what + ", sent", load.navigator->flooded() / seconds, "Hz of each input",
                  {Goal::AtLeast, 0.95 * rate});
    report.figure(what + ", messages 5044 sent", load.navigator->floodedWarnings() / seconds, "Hz",
                  {Goal::AtLeast, 0.95 * rate});
    report.figure(what + ", messages 15051 sent", load.navigator->floodedThreats() / seconds, "Hz",
                  {Goal::AtLeast, 0.95 * rate});
    report.figure(what + ", turns of the worker", static_cast<double>(turns));
    report.figure(what + ", records told", told, "", {Goal::AtLeast, 0.99 * static_cast<double>(turns) - 1.0});
    // One that was under way at either end, and what was left for the first turn behind it.
    report.expect(told <= static_cast<double>(turns) + 2.0, what + ": more than one record a turn");
    judge(report, load, what, Navigator::blockEpochs(rate), floodEnd);
    judgeNumbered(report, what + ", warnings", load.bus->warnings(), load.navigator->sentWarnings(),
                  Numbered::Comes::Again, floodEnd);
    judgeNumbered(report, what + ", threats", load.bus->threats(), load.navigator->sentThreats(), Numbered::Comes::Once,
                  floodEnd);
    endInOrder(report, load.desk.service(), what);
}

}  // namespace

void Scenes::rates(Report& report, bool isShort)
{
    setBySet(report, isShort ? 6 : 400);
    flood(report, 100.0, isShort ? Seconds(2) : Seconds(600));
    flood(report, 1000.0, isShort ? Seconds(2) : Seconds(60));
}
