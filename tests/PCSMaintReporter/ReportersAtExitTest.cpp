#include "tests/support/ChildProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

/// The errors of a process that ends this way, whatever the reporters of the process are doing; it must end by itself.
std::string errorsAtEnd(const char* ending, int status)
{
    ChildProcess process({ORVANE_REPORTERS_AT_EXIT, ending});
    EXPECT_EQ(process.wait(), (ChildProcess::Ending{status, 0}));
    return process.errors();
}

}  // namespace

TEST(ReportersAtExitTest, LeavingMainEndsCleanly)
{
    for (int i = 0; i < 5; ++i) EXPECT_EQ(errorsAtEnd("return", 3), "");
}

TEST(ReportersAtExitTest, LeavingMainEndsCleanlyWithReportersOlderThanTheTransport)
{
    for (int i = 0; i < 5; ++i) EXPECT_EQ(errorsAtEnd("early", 3), "");
}

TEST(ReportersAtExitTest, ExitWithTheTransportStandingEndsCleanly)
{
    for (int i = 0; i < 5; ++i) EXPECT_EQ(errorsAtEnd("exit", 255), "");
}
