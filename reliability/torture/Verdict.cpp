#include "reliability/torture/Verdict.h"

#include <algorithm>
#include <array>
#include <csignal>

namespace torture {

namespace {

constexpr std::string_view kService = "OrvaneServer";
constexpr std::array<std::string_view, kEndings> kNames = {"not reached",
                                                           "refused by its step",
                                                           "told",
                                                           "tolerated for a known reason",
                                                           "passed over by a library",
                                                           "spoilt by foreign code",
                                                           "broken"};

/// What the service says at its end in any case. Whether its last events still find somebody who carries them differs,
/// and who carries them does not say that something failed.
bool isOfTheEnd(const std::string& line)
{
    const bool isEvent =
        line.starts_with("event: ") || line.starts_with("!!!!!! OrvaneServer HealthReporter could not publish event");
    return isEvent &&
           (line.ends_with("OrvaneServer stopped successfully.") || line.ends_with(": VapntsService exited"));
}

bool isOnMainThread(const std::vector<Frame>& frames)
{
    return std::ranges::any_of(frames, [](const Frame& frame) { return frame.function == "__libc_start_main"; });
}

/// Whether the runtime of C++ ended the process, and not the code that it first comes from.
bool isByException(const std::vector<Frame>& frames)
{
    for (const Frame& frame : frames) {
        if (frame.object.starts_with("libstdc++.so")) return true;
        if (frame.object == ownerOf(frames)) return false;
    }
    return false;
}

/// The line of the log that begins with a word; empty if there is none.
std::string noted(const Facts& facts, std::string_view word)
{
    const auto line = std::ranges::find_if(facts.log, [&](const std::string& text) { return text.starts_with(word); });
    return line == facts.log.end() ? "" : *line;
}

}  // namespace

std::string_view nameOf(Ending ending)
{
    return kNames.at(static_cast<std::size_t>(ending));
}

Verdict Judge::judge(const Point& point, const Facts& facts, const std::vector<std::string>& functions) const
{
    const std::string owner = ownerOf(framesOf(noted(facts, "failed")));
    const Ending unkept = owner.empty() || owner == kService ? Ending::Broken : Ending::Foreign;
    if (!facts.hang.empty()) return {unkept, "hangs: " + facts.hang};
    if (facts.signal != 0) return judgeCrash(point, facts);
    if (facts.failed == 0) return {Ending::NotReached, ""};
    if (facts.status != 0) return {Ending::Broken, "ended with status " + std::to_string(facts.status)};
    if (!facts.isVclWhole) return {Ending::Broken, "the VCL file has neither the old text nor the new one"};
    if (facts.moreDescriptors > 0) return {unkept, std::to_string(facts.moreDescriptors) + " descriptors stay open"};

    const auto isNew = [&](const std::string& line) {
        return !isOfTheEnd(line) && !m_usual.contains(withoutNumbers(line));
    };
    if (const auto line = std::ranges::find_if(facts.lines, isNew); line != facts.lines.end())
        return {Ending::Told, facts.isDeaf ? "deaf from then on: " + *line : *line};
    return judgeSilence(point, facts, functions);
}

Verdict Judge::judgeCrash(const Point& point, const Facts& facts) const
{
    const auto frames = framesOf(noted(facts, "crashed"));
    const std::string owner = ownerOf(frames);
    const std::string what = "signal " + std::to_string(facts.signal) + " in " + (owner.empty() ? "?" : owner);
    const bool isTold = std::ranges::any_of(
        facts.lines, [](const std::string& line) { return line.find("  what():  ") != std::string::npos; });
    if (facts.signal == SIGABRT && point.phase != Phase::Run && isOnMainThread(frames) && isTold)
        return {Ending::Refused, facts.lines.empty() ? "" : facts.lines.back()};
    const bool hasOwnFrames = std::ranges::any_of(frames, [](const Frame& frame) { return frame.object == kService; });
    // An exception that nobody takes is of whoever should have; any other abort is of the one that calls for it.
    const bool isOwn = facts.signal == SIGABRT && hasOwnFrames && isByException(frames);
    const bool isForeign = !owner.empty() && owner != kService && !isOwn;
    return {isForeign ? Ending::Foreign : Ending::Broken, what};
}

Verdict Judge::judgeSilence(const Point& point, const Facts& facts, const std::vector<std::string>& functions) const
{
    for (const Exception& exception : m_exceptions)
        for (const std::string& function : functions)
            if (exception.kind == point.kind && function.find(exception.function) != std::string::npos)
                return {Ending::Tolerated, std::string(exception.reason)};
    const std::string owner = ownerOf(framesOf(noted(facts, "failed")));
    if (!owner.empty() && owner != kService)
        return {Ending::Library, facts.isDeaf ? owner + ", and deaf from then on" : owner};
    return {Ending::Broken, facts.isDeaf ? "deaf from then on, and silent" : "silent"};
}

std::vector<Exception> knownExceptions()
{
    constexpr std::string_view kNoExec =
        "the descriptor is not closed for programs that the service starts; it starts none";
    return {
        {"fopen", "ConsoleOutput::ConsoleOutput", "the C library's standard error stays as it was"},
        {"fcntl", "closedOnExec", kNoExec},
        {"fcntl", "openClosedStandardDescriptors", "a descriptor that can't be asked for is left as it is"},
        {"fcntl", "ConsoleDescriptor::ConsoleDescriptor", "the pipe is opened anew; if it can't be, the write tells"},
        {"malloc", "__static_initialization_and_destruction_0",
         "a constant is not destroyed at the exit of the process"},
        {"malloc", "Sequence<FACE::TSS::QoS_Element>::length",
         "a message is taken without its quality of service, which nobody reads"},
        {"clock", "", "the kernel refuses no clock that there is, so the runtime of C++ does not look"},
        {"sched", "okSetRealtimeProcessPriority", "the limits of priorities have values to fall back on"},
        {"sched", "okSetCpuAffinity", "which processors there are is only shown"},
        {"poll", "isReadable", "the queue is looked at again at the next turn"},
        {"poll", "eventsOf", "the queue is looked at again at the next turn"},
        {"poll", "ConsoleDescriptor::waitForRoom", "the console is tried again, and lines that are lost are counted"},
        {"open", "openAgain", "the console is written to in pieces, each when there is room"},
        {"open", "Replacement::Replacement", "the VCL text is written in place instead"},
        {"open", "Replacement::takePlace",
         "the new VCL text has its place; only a power failure at once could undo that"},
        {"fsync", "Replacement::takePlace",
         "the new VCL text has its place; only a power failure at once could undo that"},
        {"fsync", "Replacement::synchronize", "the client that saves a VCL text gets its answer"},
        {"rename", "Replacement::takePlace", "the VCL text is written in place instead"},
    };
}

}  // namespace torture
