#include "lab/ctl/WatchRun.h"

#include <gtest/gtest.h>

#include <csignal>
#include <unistd.h>

using namespace orvanectl;

namespace {

void say()
{
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, "given back", 10);
}

}  // namespace

TEST(EndingSignalsTest, OneOfEachKindIsTaken)
{
    EndingSignals signals;
    signals.listen();
    EXPECT_FALSE(signals.received());
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) std::raise(signal);
    EXPECT_TRUE(signals.received());
}

TEST(EndingSignalsTest, TheSecondOfAKindEndsTheProcessBehindTheLastAction)
{
    const auto raiseTwice = [] {
        EndingSignals signals;
        signals.beforeDefault(say);
        signals.listen();
        std::raise(SIGINT);
        std::raise(SIGINT);
    };
    EXPECT_EXIT(raiseTwice(), testing::KilledBySignal(SIGINT), "given back");
}
