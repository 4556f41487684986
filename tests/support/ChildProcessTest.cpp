#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// The descriptors that a process finds open.
std::string descriptorsOfAnother()
{
    ChildProcess process({"/bin/ls", "/proc/self/fd"});
    process.wait();
    return process.output();
}

}  // namespace

TEST(ChildProcessTest, OneIsNotGivenThePipesOfAnother)
{
    const std::string alone = descriptorsOfAnother();
    const ChildProcess other({"/bin/sleep", "60"});
    EXPECT_EQ(descriptorsOfAnother(), alone);
}
