#include "reliability/torture/Verdict.h"

#include "face/FACE_Sequence.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <iterator>
#include <utility>

namespace torture {

namespace {

constexpr std::string_view kService = "OrvaneServer";
constexpr std::array<std::string_view, kEndings> kNames = {"not reached",
                                                           "refused by its step",
                                                           "told",
                                                           "tolerated for a known reason",
                                                           "passed over by a library, as is known",
                                                           "passed over by a library, unexplained",
                                                           "spoilt by foreign code",
                                                           "broken"};

/// What the service says at its end in any case. Whether its last events still find somebody who carries them differs,
/// and who carries them does not say that something failed; nor does the half of a line in front of that.
bool isOfTheEnd(std::string_view line)
{
    const bool isEvent =
        line.starts_with("event: ") ||
        line.find("!!!!!! OrvaneServer HealthReporter could not publish event") != std::string_view::npos;
    return isEvent &&
           (line.ends_with("OrvaneServer stopped successfully.") || line.ends_with(": VapntsService exited"));
}

/// What a line has in it that tells of a failure: the words of the service, of the lab's bus library, and what the system
/// gives as a reason.
constexpr std::string_view kFailures[] = {
    "FAILED to",
    "failed",
    "Unable to",
    "Could not initialize",
    "could not publish",
    "was not available",
    "error or could not find",
    "Error connecting",
    "Error from Register_Callback or Register_Sender",
    "Error reading",
    "Error capturing",
    "exception",
    "EXCEPTION",
    " was lost: ",
    "console lines were lost",
    " answered -",
    "libvictory: cannot ",
    "std::bad_alloc",
    "Resource temporarily unavailable",
    "Cannot allocate memory",
    "Too many open files",
    "Input/output error",
    "Invalid argument",
    "No buffer space available",
    "Operation not permitted",
};

/// Lines that tell what docs/operation.md says of failures after which nothing is joined, and that of the lab's bus library
/// without its bus, on which no join could be seen.
constexpr std::string_view kDeafness[] = {
    "The queues are read no more, waiting for their input failed: ",
    "InitializeVictory : OrvaneServer Error reading VICTORY APNT configuration file.",
    "InitializeVictory : OrvaneServer: An exception occurred. Details: ",
    "InitializeVictory : OrvaneServer: Unknown c++ exception occurred",
    "libvictory: cannot open the bus at ",
};

/// As docs/operation.md tells, a client gets no error for a VCL text that is not saved while the bus service does not run.
bool isRefusalTold(const std::vector<std::string>& lines)
{
    return std::ranges::any_of(lines, [](const std::string& line) {
        return line.find("Ignored. Cannot save VCLID / VCL XML file") != std::string::npos;
    });
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
    if (isLast && !point.caller.empty() && (calls == facts.calls.end() || calls->second != point.call)) return false;
    return (function.empty() || function == failed.function) && (!phase || *phase == point.phase) &&
           (place.empty() || (failed.place + "$").find(place) != std::string::npos) &&
           (number.empty() || number == failed.number) && (call == 0 || call == point.call) &&
           (through.empty() || std::ranges::any_of(failed.frames, isThrough)) &&
           (!isAnswered || facts.vclAnswer == "refused" || facts.vclAnswer.empty());
}

bool isDeafnessTold(std::string_view text)
{
    return std::ranges::any_of(kDeafness, [&](std::string_view told) { return text.find(told) != std::string::npos; });
}

bool tellsFailure(std::string_view line)
{
    return !isOfTheEnd(line) &&
           std::ranges::any_of(kFailures, [&](std::string_view told) { return line.find(told) != std::string::npos; });
}

bool isDeafUntold(const Facts& facts)
{
    return (facts.isDeaf || facts.isDeafToLate) && std::ranges::none_of(facts.lines, &isDeafnessTold);
}

void Usual::add(Phase phase, const Facts& facts)
{
    for (const auto& line : facts.lines) lines.insert(withoutNumbers(line));
    const auto widen = [&](std::map<Phase, Places>& usual, const std::vector<std::string>& seen) {
        Places both;
        std::ranges::set_union(usual[phase], Places(seen.begin(), seen.end()), std::inserter(both, both.end()));
        usual[phase] = std::move(both);
    };
    if (!facts.open.empty()) widen(open, facts.open);
    if (!facts.left.empty()) widen(left, facts.left);
}

/// Those that are not usual, in words; empty if there are none.
std::string Judge::descriptorsTooMany(Phase phase, const Facts& facts) const
{
    if (facts.moreDescriptors > 0) return std::to_string(facts.moreDescriptors) + " descriptors stay open";
    const auto surplus = [&](const std::map<Phase, Usual::Places>& usual, const std::vector<std::string>& seen) {
        std::string text;
        const auto known = usual.find(phase);
        if (known == usual.end()) return text;
        auto allowed = known->second;
        // Who can't have one for waking a thread takes both ends of a pipe instead.
        if (failedCallOf(facts).function == "eventfd") allowed.insert({"pipe:", "pipe:"});
        std::vector<std::string> more;
        std::ranges::set_difference(Usual::Places(seen.begin(), seen.end()), allowed, std::back_inserter(more));
        for (const auto& place : more) text += " " + place;
        return text;
    };
    if (const auto more = surplus(m_usual.open, facts.open); !more.empty()) return "stay open after the start:" + more;
    if (const auto more = surplus(m_usual.left, facts.left); !more.empty()) return "stay open to the exit:" + more;
    return "";
}

Verdict Judge::judge(const Point& point, const Facts& facts) const
{
    const FailedCall failed = failedCallOf(facts);
    if (!facts.hang.empty()) return {Ending::Broken, "hangs: " + facts.hang};
    if (facts.signal != 0) return judgeCrash(point, facts);
    if (facts.status != 0) return {Ending::Broken, "ended with status " + std::to_string(facts.status)};
    if (!facts.isVclWhole) return {Ending::Broken, "the VCL file has neither the old text nor the new one"};
    if (leavesOpen(point.phase, facts)) return {Ending::Broken, descriptorsTooMany(point.phase, facts)};
    if (isDeafUntold(facts))
        return {Ending::Broken, facts.isDeafToLate ? "deaf to who comes later" : "deaf from then on"};
    if (facts.vclAnswer == "saved" && !facts.isVclNew && !isRefusalTold(facts.lines))
        return {Ending::Broken, "the client was told that its VCL text is saved, and the file has the old one"};
    if (facts.failed == 0) return {Ending::NotReached, ""};

    const auto isNew = [&](const std::string& line) {
        return tellsFailure(line) && !m_usual.lines.contains(withoutNumbers(line));
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
    const bool isForeign = !owner.empty() && owner != kService;
    const auto known = std::ranges::find_if(m_exceptions, [&](const Exception& exception) {
        const bool isOfThat =
            isForeign ? !exception.owner.empty() && owner.starts_with(exception.owner) : exception.owner.empty();
        return isOfThat && exception.covers(point, facts, failed);
    });
    if (known != m_exceptions.end())
        return {isForeign ? Ending::Library : Ending::Tolerated, std::string(known->reason)};
    if (isForeign) return {Ending::Unknown, "silent, " + owner};
    return {Ending::Broken, "silent"};
}

std::vector<Exception> knownExceptions()
{
    constexpr std::string_view kQueueLater = "the queue is looked at again at the next turn";
    constexpr std::string_view kVclInPlace = "the VCL text is written in place instead";
    constexpr std::string_view kVclHasPlace =
        "the new VCL text has its place; only a power failure at once could undo that";
    constexpr std::string_view kVclAnswered = "the client that saves a VCL text is told that it was not saved";
    constexpr std::string_view kDds = "libfastrtps.so";
    constexpr std::string_view kLabBus = "libvictory.so";
    constexpr std::string_view kDatagram =
        "a datagram that is lost on the way would be the same; DDS sends it again, and joins go on";
    constexpr std::string_view kSocket =
        "Fast DDS takes another port, or does without a socket or an option of it; joins go on";
    constexpr std::string_view kAsio = "Fast DDS looks at its sockets in other ways; joins go on";
    constexpr std::string_view kBusClient = "the lab's bus lets the client go, who comes again";
    constexpr std::string_view kBusTurn = "the lab's bus takes it up at its next turn; joins go on";
    static const std::string s_noExec = std::to_string(F_SETFD);
    static const std::string s_isOpen = std::to_string(F_GETFD);
    static const std::string s_access = std::to_string(F_GETFL);
    // What the C library keeps 32 entries of four words in, with two words before them.
    static const std::string s_atExit = std::to_string((2 + 32 * 4) * sizeof(void*));
    // An entry of the call-backs of the queues: four words of the tree in front of it.
    static const std::string s_tap =
        std::to_string(4 * sizeof(void*) + sizeof(std::pair<const long long, std::function<void()>>));
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
        {.function = "malloc",
         .number = s_tap,
         .phase = Phase::Stop,
         .reason = "the queues are closed with their service a moment later"},
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
        {.function = "fsync", .place = ".replacement$", .isAnswered = true, .reason = kVclAnswered},
        {.function = "rename", .place = ".replacement$", .isAnswered = true, .reason = kVclAnswered},
        {.function = "malloc", .through = "realpath", .isAnswered = true, .reason = kVclAnswered},
        {.function = "malloc",
         .through = "basic_stringbuf",
         .reason = "a line that can't be put together goes out in pieces"},
        {.function = "setsockopt", .owner = kDds, .reason = kSocket},
        {.function = "socket", .owner = kDds, .reason = kSocket},
        {.function = "bind", .owner = kDds, .reason = kSocket},
        {.function = "recvfrom", .owner = kDds, .reason = kDatagram},
        {.function = "sendto", .owner = kDds, .reason = kDatagram},
        {.function = "pthread_create",
         .through = "UDPChannelResource",
         .owner = kDds,
         .phase = Phase::Start,
         .reason = "Fast DDS takes another port; peers are heard, and those that come later, too"},
        {.function = "eventfd", .owner = kDds, .reason = kAsio},
        {.function = "eventfd", .reason = "who wants the queue reader's lock waits for the rest of its poll of 50 ms"},
        {.function = "timerfd_create", .owner = kDds, .reason = kAsio},
        {.function = "write", .place = "anon_inode:[eventfd]", .owner = kDds, .reason = kAsio},
        {.function = "write", .place = "anon_inode:[eventfd]", .owner = kLabBus, .reason = kBusTurn},
        {.function = "read", .place = "anon_inode:[eventfd]", .owner = kLabBus, .reason = kBusTurn},
        {.function = "poll", .owner = kLabBus, .reason = kBusTurn},
        {.function = "send", .owner = kLabBus, .reason = kBusClient},
        {.function = "recv", .owner = kLabBus, .reason = kBusClient},
        {.function = "write", .place = ".replacement$", .owner = kLabBus, .isAnswered = true, .reason = kVclAnswered},
    };
}

}  // namespace torture
