#ifndef RELIABILITY_TORTURE_FACTS_H
#define RELIABILITY_TORTURE_FACTS_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace torture {

/// When calls of the service fail: from its begin until it runs, while it works, from the signal on that ends it.
enum class Phase { Start, Run, Stop };

std::string_view nameOf(Phase phase);
std::optional<Phase> phaseOf(std::string_view name);

/// Which call of the service is to fail.
struct Point {
    Phase phase = Phase::Start;
    std::string kind;        // a plan's word; empty: no call fails
    std::uint64_t call = 0;  // counted from 1 in the phase
    bool isOnce = true;      // or from that call on, to the end of the phase
    std::string caller;      // part of the name of the object that calls; empty: any
};

std::string textOf(const Point& point);

/// The point that has this text; none if there is no such one.
std::optional<Point> pointOf(const std::string& text);

/// What was seen of one service in which a call failed.
struct Facts {
    std::uint64_t failed = 0;                    // calls
    std::map<std::string, std::uint64_t> calls;  // in the phase, by kind
    std::string hang;                            // what did not come to its end; empty if all did
    int status = -1;
    int signal = 0;
    bool isDeaf = false;         // fresh inputs were no more joined when all was well again
    bool isDeafToLate = false;   // inputs of a peer that came after the start were not joined
    bool wasDeafBefore = false;  // in an earlier trial of the same point, and not in two more
    bool isVclWhole = true;      // the file has the old text or the new one
    bool isVclNew = false;       // the new one
    std::string vclAnswer;       // that the client got who saved it: "saved", "refused", "none"; empty: not asked for
    int moreDescriptors = 0;     // than before the phase
    std::vector<std::string> open;   // what descriptors stand for where it joined after a start; empty: not looked at
    std::vector<std::string> left;   // the same at its exit; empty: not looked at, or it was ended by a signal
    std::vector<std::string> lines;  // of the console, and texts of events
    std::vector<std::string> log;    // what the library of failing calls noted

    /// A line that a process prints for another.
    std::string text() const;
    /// Throws if it isn't one.
    static Facts of(const std::string& text);
};

/// What a descriptor stands for, as the kernel calls it, without what tells two of a kind: "socket:[12]" is "socket:".
std::string withoutNode(const std::string& place);

/// A line without its numbers, so that those of two runs are alike.
std::string withoutNumbers(const std::string& line);

/// A frame of a noted stack.
struct Frame {
    std::string object;
    std::string offset;    // 0x...
    std::string function;  // as far as the object tells it
};

/// The frames of a line of the library's log.
std::vector<Frame> framesOf(const std::string& logLine);

/// The first line of the log that begins with a word; empty if there is none.
std::string notedLine(const Facts& facts, std::string_view word);

/// A call that was made to fail, as the library's log tells it.
struct FailedCall {
    std::string function;  // of the C library
    std::string place;     // the path that it is about, also by a descriptor; empty if there is none
    std::string number;    // a command, a wait or a size (lab/faults/Faults.cpp: Place); empty if there is none
    std::vector<Frame> frames;
};

/// The first one that was noted; all empty if none was.
FailedCall failedCallOf(const Facts& facts);

/// The object of the first frame that is of no runtime library of C or C++; empty if there is none.
std::string ownerOf(const std::vector<Frame>& frames);

}  // namespace torture

#endif
