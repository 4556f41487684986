#ifndef RELIABILITY_DAY_ANSWERLEDGER_H
#define RELIABILITY_DAY_ANSWERLEDGER_H

#include <cstddef>
#include <map>

/// Requests to the bus, each known by its id, beside the answers: each is to have one. One thread at a time.
class AnswerLedger {
public:
    /// @param at  seconds of the unit
    void addAsked(int id, double at) { m_asked[id].at = at; }
    void addAnswer(int id) { ++m_asked[id].answers; }

    struct Verdict {
        std::size_t due = 0;
        std::size_t missing = 0;
        std::size_t unexpected = 0;  ///< second answers, and those to nothing that was asked
    };

    /// @param to  nothing is due that was asked later
    Verdict verdict(double to) const
    {
        Verdict verdict;
        for (const auto& [id, request] : m_asked) {
            const bool isAsked = request.at >= 0.0, isDue = isAsked && request.at <= to;
            verdict.due += isDue;
            verdict.missing += isDue && request.answers == 0;
            verdict.unexpected += request.answers - (isAsked && request.answers > 0 ? 1 : 0);
        }
        return verdict;
    }

private:
    struct Request {
        double at = -1.0;  // of none
        std::size_t answers = 0;
    };

    std::map<int, Request> m_asked;
};

#endif
