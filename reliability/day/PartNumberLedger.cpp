#include "reliability/day/PartNumberLedger.h"

#include <optional>

void PartNumberLedger::addSilence(const std::string& component, bool isSilent)
{
    if (isSilent)
        m_silent.insert(component);
    else
        m_silent.erase(component);
}

PartNumberLedger::Verdict PartNumberLedger::verdict(double from, double to) const
{
    Verdict verdict;
    std::optional<double> unanswered;  // since when the last request is
    std::optional<double> answered;
    for (const Request& request : m_requests) {
        if (request.at < from || request.at > to) continue;
        ++verdict.requests;
        verdict.unanswered += !request.isAnswered;
        const bool isEarly = unanswered && request.at < *unanswered + kShortest;
        verdict.needless += answered || isEarly;
        verdict.missing += unanswered && request.at > *unanswered + kLongest;
        if (answered) continue;
        (request.isAnswered ? answered : unanswered) = request.at;
    }
    if (!answered) verdict.missing += to > unanswered.value_or(from) + kLongest;

    std::size_t right = 0;
    for (const double at : m_configurations) {
        if (at < from || at > to) continue;
        const bool isRight = answered && at >= *answered - 1.0 && at <= *answered + kPatience;
        isRight ? ++right : ++verdict.needless;
    }
    if (answered && to > *answered + kPatience) verdict.missing += right == 0;
    return verdict;
}
