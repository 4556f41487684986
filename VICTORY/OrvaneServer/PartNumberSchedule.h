#ifndef VICTORY_ORVANESERVER_PARTNUMBERSCHEDULE_H
#define VICTORY_ORVANESERVER_PARTNUMBERSCHEDULE_H

#include <chrono>

/// What the exchange of part numbers stands at.
struct PartNumberFacts {
    bool isPostComplete = false;  ///< the unit's power-on self test is over
    bool isRequestDue = true;
    bool isComplete = false;  ///< all have answered, and that has been told
    std::chrono::nanoseconds sinceRequest{0};
};

/// What a turn of the exchange does.
enum class PartNumberStep {
    AwaitSelfTest,
    SendRequest,
    Nothing,         ///< the exchange is over, for good
    AskAgain,        ///< not all have answered in time: a request becomes due
    CountResponses,  ///< and end the exchange if all have answered
};

/// How long a request waits for all answers: ten seconds are still in time.
inline constexpr std::chrono::nanoseconds kLongestWaitForPartNumbers{9'999'999'999};

constexpr PartNumberStep nextStep(const PartNumberFacts& facts)
{
    if (!facts.isPostComplete) return PartNumberStep::AwaitSelfTest;
    if (facts.isRequestDue) return PartNumberStep::SendRequest;
    if (facts.isComplete) return PartNumberStep::Nothing;
    if (facts.sinceRequest > kLongestWaitForPartNumbers) return PartNumberStep::AskAgain;
    return PartNumberStep::CountResponses;
}

#endif
