#include "reliability/torture/Verdict.h"

#include "face/FACE_Sequence.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>

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

/// Lines that tell what docs/operation.md says of failures after which nothing is joined, and that of the lab's bus library
/// without its bus, on which no join could be seen.
constexpr std::string_view kDeafness[] = {
    "The queues are read no more, waiting for their input failed: ",
    "InitializeVictory : OrvaneServer Error reading VICTORY APNT configuration file.",
    "InitializeVictory : OrvaneServer: An exception occurred. Details: ",
    "InitializeVictory : OrvaneServer: Unknown c++ exception occurred",
    "libvictory: cannot open the bus at ",
};

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

}  // namespace

std::string_view nameOf(Ending ending)
{
    return kNames.at(static_cast<std::size_t>(ending));
}

bool Exception::covers(const Point& point, const Facts& facts, const FailedCall& failed) const
{
    const auto isThrough = [&](const Frame& frame) {
        return frame.object.find(through) != std::string::npos || frame.function.find(through) != std::string::npos;
    };
    const auto calls = facts.calls.find(point.kind);
    if (isLast && (calls == facts.calls.end() || calls->second != point.call)) return false;
    return (function.empty() || function == failed.function) &&
           (place.empty() || (failed.place + "$").find(place) != std::string::npos) &&
           (number.empty() || number == failed.number) && (call == 0 || call == point.call) &&
           (through.empty() || std::ranges::any_of(failed.frames, isThrough));
}

bool isDeafnessTold(std::string_view text)
{
    return std::ranges::any_of(kDeafness, [&](std::string_view told) { return text.find(told) != std::string::npos; });
}

bool isDeafUntold(const Facts& facts)
{
    return facts.isDeaf && std::ranges::none_of(facts.lines, &isDeafnessTold);
}

Verdict Judge::judge(const Point& point, const Facts& facts) const
{
    const FailedCall failed = failedCallOf(facts);
    if (!facts.hang.empty()) return {Ending::Broken, "hangs: " + facts.hang};
    if (facts.signal != 0) return judgeCrash(point, facts);
    if (facts.status != 0) return {Ending::Broken, "ended with status " + std::to_string(facts.status)};
    if (!facts.isVclWhole) return {Ending::Broken, "the VCL file has neither the old text nor the new one"};
    if (facts.moreDescriptors > 0)
        return {Ending::Broken, std::to_string(facts.moreDescriptors) + " descriptors stay open"};
    if (isDeafUntold(facts)) return {Ending::Broken, "deaf from then on"};
    if (facts.failed == 0) return {Ending::NotReached, ""};

    const auto isNew = [&](const std::string& line) {
        return !isOfTheEnd(line) && !m_usual.contains(withoutNumbers(line));
    };
    if (const auto line = std::ranges::find_if(facts.lines, isNew); line != facts.lines.end())
        return {Ending::Told, *line};
    return judgeSilence(point, facts, failed);
}

Verdict Judge::judgeCrash(const Point& point, const Facts& facts) const
{
    const auto frames = framesOf(notedLine(facts, "crashed"));
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

Verdict Judge::judgeSilence(const Point& point, const Facts& facts, const FailedCall& failed) const
{
    const std::string owner = ownerOf(failed.frames);
    if (!owner.empty() && owner != kService) return {Ending::Library, owner};
    const auto known = std::ranges::find_if(
        m_exceptions, [&](const Exception& exception) { return exception.covers(point, facts, failed); });
    if (known != m_exceptions.end()) return {Ending::Tolerated, std::string(known->reason)};
    return {Ending::Broken, "silent"};
}

std::vector<Exception> knownExceptions()
{
    constexpr std::string_view kQueueLater = "the queue is looked at again at the next turn";
    constexpr std::string_view kVclInPlace = "the VCL text is written in place instead";
    constexpr std::string_view kVclHasPlace =
        "the new VCL text has its place; only a power failure at once could undo that";
    static const std::string s_noExec = std::to_string(F_SETFD);
    static const std::string s_isOpen = std::to_string(F_GETFD);
    static const std::string s_access = std::to_string(F_GETFL);
    // What the C library keeps 32 entries of four words in, with two words before them.
    static const std::string s_atExit = std::to_string((2 + 32 * 4) * sizeof(void*));
    static const std::string s_quality = std::to_string(3 * sizeof(FACE::TSS::QoS_Element));
    return {
        {.function = "fopencookie", .call = 1, .reason = "the C library's standard error stays as it was"},
        {.function = "malloc", .through = "fopencookie", .reason = "the C library's standard error stays as it was"},
        {.function = "fcntl",
         .number = s_noExec,
         .reason = "the descriptor is not closed for programs that the service starts; it starts none"},
        {.function = "fcntl", .number = s_isOpen, .reason = "a descriptor that can't be asked for is left as it is"},
        {.function = "fcntl", .number = s_access, .reason = "the pipe is opened anew; if it can't be, the write tells"},
        {.function = "calloc", .number = s_atExit, .reason = "a constant is not destroyed at the exit of the process"},
        {.function = "malloc",
         .number = s_quality,
         .through = "libfastrtps.so",
         .reason = "a message is taken without its quality of service, which nobody reads"},
        {.function = "malloc",
         .number = "131072",
         .reason = "memory for what is read from the queues is asked for again at each read"},
        {.function = "clock_gettime",
         .reason = "the kernel refuses no clock that there is, so the runtime of C++ does not look"},
        {.function = "sched_get_priority_min", .reason = "the limits of priorities have values to fall back on"},
        {.function = "sched_get_priority_max", .reason = "the limits of priorities have values to fall back on"},
        {.function = "sched_getaffinity", .reason = "which processors there are is only shown"},
        {.function = "poll", .place = "/dev/mcs", .number = "0", .reason = kQueueLater},
        {.function = "read",
         .place = "/dev/mcs",
         .reason = "what waits in the queue is read at the next turn; a third failure in a row is told"},
        {.function = "write",
         .place = "pipe:",
         .isLast = true,
         .reason = "no line follows that would tell of the lost one"},
        {.function = "poll",
         .place = "pipe:",
         .reason = "the console is tried again, and lines that are lost are counted"},
        {.function = "open",
         .place = "/proc/self/fd/",
         .reason = "the console is written to in pieces, each when there is room"},
        {.function = "open", .place = ".replacement$", .reason = kVclInPlace},
        {.function = "open", .place = "/opt/halvex/config$", .reason = kVclHasPlace},
        {.function = "fsync", .place = "/opt/halvex/config$", .reason = kVclHasPlace},
        {.function = "fsync", .place = ".replacement$", .reason = "the client that saves a VCL text gets its answer"},
        {.function = "rename", .place = ".replacement$", .reason = kVclInPlace},
    };
}

}  // namespace torture
