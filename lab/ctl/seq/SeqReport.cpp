#include "lab/ctl/seq/SeqReport.h"

#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/Rendering.h"

#include <iomanip>
#include <sstream>
#include <string_view>

namespace orvanectl {

namespace {

using Outcome = StepResult::Outcome;

const char* nameOf(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Passed:
        return "ok";
    case Outcome::Failed:
        return "FAILED";
    case Outcome::NotRun:
        return "not run";
    }
    return "";
}

std::string digits(double seconds, int count)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(count) << seconds;
    return text.str();
}

/// A text as the value of an attribute; what is not printable ASCII becomes "?".
std::string attributeText(std::string_view text)
{
    std::string value = "\"";
    for (const char one : text) {
        switch (one) {
        case '&':
            value += "&amp;";
            break;
        case '<':
            value += "&lt;";
            break;
        case '>':
            value += "&gt;";
            break;
        case '"':
            value += "&quot;";
            break;
        default:
            value += one >= ' ' && one <= '~' ? one : '?';
        }
    }
    return value + '"';
}

std::string caseOf(const std::string& name, const StepResult& result)
{
    std::string text = "    <testcase classname=" + attributeText(name) + " name=" +
                       attributeText("line " + std::to_string(result.line->number) + ": " + result.line->text) +
                       " time=\"" + digits(result.seconds, 3) + '"';
    if (result.outcome == Outcome::Passed) return text + "/>\n";
    const std::string inner =
        result.outcome == Outcome::NotRun ? "<skipped/>" : "<failure message=" + attributeText(result.what) + "/>";
    return text + '>' + inner + "</testcase>\n";
}

}  // namespace

void SeqSum::add(const StepResult& result)
{
    ++(result.outcome == Outcome::Passed ? passed : result.outcome == Outcome::Failed ? failed : notRun);
    seconds += result.seconds;
}

std::string stepLine(const std::string& name, const StepResult& result)
{
    return printable(name) + ':' + std::to_string(result.line->number) + ": " + nameOf(result.outcome) + ": " +
           printable(result.line->text) + (result.what.empty() ? "" : ": " + result.what) + '\n';
}

std::string stepJson(const std::string& name, const StepResult& result)
{
    return jsonLine({{"kind", "step"},
                     {"file", printable(name)},
                     {"line", result.line->number},
                     {"step", printable(result.line->text)},
                     {"outcome", nameOf(result.outcome)},
                     {"what", result.what},
                     {"seconds", result.seconds}});
}

std::string sumText(const SeqSum& sum)
{
    const std::size_t steps = sum.passed + sum.failed + sum.notRun;
    return "orvanectl: " + std::to_string(steps) + (steps == 1 ? " step: " : " steps: ") + std::to_string(sum.passed) +
           " passed, " + std::to_string(sum.failed) + " failed, " + std::to_string(sum.notRun) + " not run, in " +
           digits(sum.seconds, 1) + " s\n";
}

std::string sumJson(const SeqSum& sum)
{
    return jsonLine({{"kind", "sum"},
                     {"passed", sum.passed},
                     {"failed", sum.failed},
                     {"not_run", sum.notRun},
                     {"seconds", sum.seconds}});
}

std::string junitOf(std::span<const SequenceResults> sequences)
{
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n";
    for (const SequenceResults& sequence : sequences) {
        SeqSum sum;
        for (const StepResult& step : sequence.steps) sum.add(step);
        text += "  <testsuite name=" + attributeText(sequence.name) + " tests=\"" +
                std::to_string(sequence.steps.size()) + "\" failures=\"" + std::to_string(sum.failed) +
                "\" skipped=\"" + std::to_string(sum.notRun) + "\" time=\"" + digits(sum.seconds, 3) + "\">\n";
        for (const StepResult& step : sequence.steps) text += caseOf(sequence.name, step);
        text += "  </testsuite>\n";
    }
    return text + "</testsuites>\n";
}

}  // namespace orvanectl
