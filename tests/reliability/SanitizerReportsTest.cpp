#include "reliability/SanitizerReports.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

constexpr const char* kTwo = R"(==================
WARNING: ThreadSanitizer: data race (pid=12)
  Write of size 4 at 0x55 by thread T1:
    #0 Gate::open() ../Gate.cpp:12 (program+0x1)
SUMMARY: ThreadSanitizer: data race ../units/Gate.cpp:12 in Gate::open()
==================
==================
WARNING: ThreadSanitizer: lock-order-inversion (potential deadlock) (pid=12)
SUMMARY: ThreadSanitizer: lock-order-inversion (potential deadlock) ../units/List.h:7 in List::add(int)
==================
ThreadSanitizer: reported 2 warnings
)";

}  // namespace

TEST(SanitizerReportsTest, EachReportIsItsKindAndItsPlace)
{
    EXPECT_THAT(SanitizerReports::summariesOf(kTwo),
                ElementsAre("data race (Gate.cpp:12 in Gate::open())",
                            "lock-order-inversion (potential deadlock) (List.h:7 in List::add(int))"));
}

TEST(SanitizerReportsTest, ReportThatWasBrokenOffCountsToo)
{
    EXPECT_THAT(SanitizerReports::summariesOf("WARNING: ThreadSanitizer: data race (pid=12)\n  Write of"),
                ElementsAre("data race"));
}

TEST(SanitizerReportsTest, SummaryAloneIsNoReport)
{
    EXPECT_THAT(SanitizerReports::summariesOf("SUMMARY: ThreadSanitizer: data race a/B.cpp:1 in b\nother words\n"),
                IsEmpty());
}

TEST(SanitizerReportsTest, FilesOfAllProcessesWithThePrefixAreRead)
{
    const TemporaryDirectory directory;
    directory.write("service.12", kTwo);
    directory.write("service.13", "WARNING: ThreadSanitizer: data race (pid=13)\n");
    directory.write("unit.14", kTwo);
    EXPECT_EQ(SanitizerReports::read(directory.path(), "service.").size(), 3U);
    EXPECT_THAT(SanitizerReports::read(directory.path(), "other."), IsEmpty());
}

TEST(SanitizerReportsTest, FileWithAnotherComplaintCountsForOne)
{
    const TemporaryDirectory directory;
    directory.write("service.12", "FATAL: ThreadSanitizer: out of memory\nmore\n");
    EXPECT_THAT(SanitizerReports::read(directory.path(), "service."),
                UnorderedElementsAre("service.12: FATAL: ThreadSanitizer: out of memory"));
}
