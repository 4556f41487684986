#include "VICTORY/OrvaneServer/OrvaneServerMain.h"
#include "tests/support/Desk.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <malloc.h>
#include <string>
#include <unistd.h>

/// The process entry; its own name belongs to the test program.
int orvaneServerMain(int argc, char* argv[]);

namespace fs = std::filesystem;

namespace {

/// Heap in use, as the C library tells it; a sanitizer's own heap tells nothing.
std::size_t heapBytes()
{
    return mallinfo2().uordblks;
}

/// Memory of this process that is resident.
std::size_t residentBytes()
{
    std::size_t total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// The whole service, but for the process around it, on a unit of the lab.
struct CyclesTest : testing::Test {
    CyclesTest()
    {
        setenv("ORVANE_LAB_BUS", "/tmp/bus", 1);
        transactionPollMs = 1;
        exitPollMs = 1;
        desk.replace("Connections.xml", "<UseTransport>UDP<", "<UseTransport>SHM<");
    }

    /// From its start to its end, by a signal while the bus has a client; false if it doesn't run, or end well.
    static bool cycle()
    {
        exitFlag = 0;
        std::signal(SIGINT, SIG_DFL);
        auto status = std::async(std::launch::async, [] {
            std::string program = "service", file = "/opt/halvex/config/OrvaneServer.xml";
            char* arguments[] = {program.data(), file.data(), nullptr};
            return orvaneServerMain(2, arguments);
        });
        {
            Bus bus;
            const bool isRunning = eventually([] {
                struct sigaction now = {};
                return sigaction(SIGINT, nullptr, &now) == 0 && now.sa_handler == SignalHandler;
            });
            if (!isRunning) return false;
            std::raise(SIGTERM);
        }
        return status.get() == 0 && exitSignal == SIGTERM;
    }

    Desk desk;
};

}  // namespace

TEST_F(CyclesTest, TwoHundredInOneProcessLeaveNothingBehind)
{
    constexpr std::size_t kCycles = 200, kWarmUp = 20;
    for (std::size_t i = 0; i < kWarmUp; ++i) ASSERT_TRUE(cycle()) << i;
    const std::size_t descriptors = descriptorCount(), threads = threadCount();
    const std::size_t heap = heapBytes();
    [[maybe_unused]] const std::size_t resident = residentBytes();
    for (std::size_t i = kWarmUp; i < kCycles; ++i) {
        ASSERT_TRUE(cycle()) << i;
        // A thread that has been joined, and the bus's end of a connection, may be there for a moment longer.
        const auto isBack = [&] { return descriptorCount() <= descriptors && threadCount() <= threads; };
        ASSERT_TRUE(eventually(isBack)) << i << ": " << descriptorCount() << " of " << descriptors << ", "
                                        << threadCount() << " of " << threads;
        ASSERT_TRUE(fs::is_empty("/dev/shm")) << i;
    }
    // The health reporter of the process keeps the two configuration events of each service, which repeat for ever.
    EXPECT_LT(heapBytes(), heap + 512 * (kCycles - kWarmUp));
#ifndef ORVANE_SANITIZED
    EXPECT_LT(residentBytes(), resident + 2 * 1024 * 1024);
#endif
}
