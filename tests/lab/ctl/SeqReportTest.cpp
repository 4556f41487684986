#include "lab/ctl/seq/SeqReport.h"

#include <gtest/gtest.h>

using namespace orvanectl;
using Outcome = StepResult::Outcome;

namespace {

const StepLine kStep = {4, "request clear-data all", {}};
const StepResult kPassed = {&kStep, Outcome::Passed, "clear-data  ok true", 0.25};
const StepResult kFailed = {&kStep, Outcome::Failed, "came instead: 22 \"<a>\"", 1};
const StepResult kNotRun = {&kStep, Outcome::NotRun, "", 0};

}  // namespace

TEST(SeqReportTest, StepIsALineWithItsPlaceAndWhatCame)
{
    EXPECT_EQ(stepLine("a.seq", kPassed), "a.seq:4: ok: request clear-data all: clear-data  ok true\n");
    EXPECT_EQ(stepLine("a.seq", kFailed), "a.seq:4: FAILED: request clear-data all: came instead: 22 \"<a>\"\n");
    EXPECT_EQ(stepLine("a.seq", kNotRun), "a.seq:4: not run: request clear-data all\n");
}

TEST(SeqReportTest, StepAsJson)
{
    EXPECT_EQ(stepJson("a.seq", kPassed),
              R"({"kind":"step","file":"a.seq","line":4,"step":"request clear-data all","outcome":"ok",)"
              R"("what":"clear-data  ok true","seconds":0.25})"
              "\n");
}

TEST(SeqReportTest, SumCountsByOutcome)
{
    SeqSum sum;
    for (const StepResult& result : {kPassed, kFailed, kNotRun}) sum.add(result);
    EXPECT_EQ(sumText(sum), "orvanectl: 3 steps: 1 passed, 1 failed, 1 not run, in 1.2 s\n");
    EXPECT_EQ(sumJson(sum), "{\"kind\":\"sum\",\"passed\":1,\"failed\":1,\"not_run\":1,\"seconds\":1.25}\n");
}

TEST(SeqReportTest, JunitHasASuiteForASequenceAndACaseForAStep)
{
    const SequenceResults results[] = {{"a&b.seq", {kPassed, kFailed, kNotRun}}};
    EXPECT_EQ(junitOf(results),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<testsuites>\n"
              "  <testsuite name=\"a&amp;b.seq\" tests=\"3\" failures=\"1\" skipped=\"1\" time=\"1.250\">\n"
              "    <testcase classname=\"a&amp;b.seq\" name=\"line 4: request clear-data all\" time=\"0.250\"/>\n"
              "    <testcase classname=\"a&amp;b.seq\" name=\"line 4: request clear-data all\" time=\"1.000\">"
              "<failure message=\"came instead: 22 &quot;&lt;a&gt;&quot;\"/></testcase>\n"
              "    <testcase classname=\"a&amp;b.seq\" name=\"line 4: request clear-data all\" time=\"0.000\">"
              "<skipped/></testcase>\n"
              "  </testsuite>\n"
              "</testsuites>\n");
}
