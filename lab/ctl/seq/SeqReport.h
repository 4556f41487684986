#ifndef LAB_CTL_SEQ_SEQREPORT_H
#define LAB_CTL_SEQ_SEQREPORT_H

#include "lab/ctl/seq/SequenceRun.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

/// What came of sequences as text, with its ends of line. Pure functions, any thread.
namespace orvanectl {

/// A sequence, and what came of its steps.
struct SequenceResults {
    std::string name;
    std::vector<StepResult> steps;
};

struct SeqSum {
    std::size_t passed = 0;
    std::size_t failed = 0;
    std::size_t notRun = 0;
    double seconds = 0;

    void add(const StepResult& result);
};

/// "clear-data.seq:4: ok: request clear-data all: ..."
std::string stepLine(const std::string& name, const StepResult& result);
std::string stepJson(const std::string& name, const StepResult& result);

std::string sumText(const SeqSum& sum);
std::string sumJson(const SeqSum& sum);

/// A document in the form of JUnit: a suite for each sequence, a case for each step.
std::string junitOf(std::span<const SequenceResults> sequences);

}  // namespace orvanectl

#endif
