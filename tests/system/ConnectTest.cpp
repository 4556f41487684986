#include "tests/support/Desk.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using Ending = ChildProcess::Ending;

namespace {

constexpr const char* kErrorConnecting = "Error connecting to";
constexpr const char* kStartRefused = ") InitializeVictory : vapntsStartService answered ";
constexpr const char* kNotRead = "OrvaneServer Error reading VICTORY APNT configuration file.\n";

/// A unit on which something is not as it should be.
struct ConnectSystemTest : testing::Test {
    /// Runs the service to its end, which is the uncaught exception of a failed connection, and gives what it printed.
    std::string failedRun(const std::vector<std::string>& environment = {})
    {
        desk.start(environment);
        EXPECT_EQ(desk.service().wait(), Ending({-1, SIGABRT}));
        // Its own line, and that of the exception.
        EXPECT_EQ(desk.count("]:INVALID_CONFIG Framework_Connect() failed\n"), 2U) << desk.service().output();
        return desk.service().output();
    }

    void hideTopic(const std::string& name) const
    {
        desk.replace("Connections.xml", "<Name>" + name + "</Name>", "<Name>hidden</Name>");
    }

    Desk desk;
};

bool has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

}  // namespace

TEST_F(ConnectSystemTest, EachMissingTopicHasItsLine)
{
    hideTopic("UTCTime");
    hideTopic("EventLog");
    const std::string output = failedRun();
    EXPECT_EQ(desk.count(kErrorConnecting), 2U) << output;
    EXPECT_TRUE(has(output, ") Framework_Connect: Error connecting to UTCTimeTopic\n")) << output;
    EXPECT_TRUE(has(output, ") Framework_Connect: Error connecting to EventLogTopic\n")) << output;
}

TEST_F(ConnectSystemTest, LibraryIsStartedWhateverTopicsAreMissing)
{
    hideTopic("UTCTime");
    hideTopic("EventLog");
    EXPECT_FALSE(has(failedRun(), kStartRefused));
    EXPECT_TRUE(std::filesystem::is_socket("/tmp/bus"));  // left by a service that was made

    EXPECT_TRUE(has(failedRun({"ORVANE_LAB_VICTORY=refuse-start"}), kStartRefused));
}

TEST_F(ConnectSystemTest, MissingMaintenanceTopicHasNoLine)
{
    hideTopic("MaintenanceEvent");
    EXPECT_FALSE(has(failedRun(), kErrorConnecting));
    EXPECT_EQ(desk.count("KPN:"), 0U);  // it got no further
}

TEST_F(ConnectSystemTest, RefusedStartIsShownAndTheServiceRunsAndEndsInOrder)
{
    desk.set("Debug", "true");
    desk.start({"ORVANE_LAB_VICTORY=refuse-start"});
    ASSERT_TRUE(desk.awaitOutput(kStartRefused)) << desk.service().output();
    ASSERT_TRUE(desk.awaitOutput("Worker thread started.")) << desk.service().output();
    ASSERT_TRUE(desk.awaitTurns());
    ASSERT_TRUE(desk.service().waitUntilHandled(SIGINT));
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    EXPECT_EQ(desk.count("\nOrvaneServer : VapntsService exited\n"), 1U) << desk.service().output();
}

TEST_F(ConnectSystemTest, VclThatCantBeReadAsXmlEndsTheService)
{
    std::ofstream("/opt/halvex/config/APNT_VCL_1_9.xml") << "<vcl:VCL><open></vcl:VCL>";
    const std::string output = failedRun();
    EXPECT_TRUE(has(output, "), InitializeVictory : " + std::string(kNotRead))) << output;
    EXPECT_TRUE(has(output + desk.service().errors(), "libvictory: ")) << desk.service().errors();
}

TEST_F(ConnectSystemTest, MissingVclEndsTheService)
{
    std::filesystem::remove("/opt/halvex/config/APNT_VCL_1_9.xml");
    EXPECT_TRUE(has(failedRun(), kNotRead));
}

TEST_F(ConnectSystemTest, ClockThatIsOneTickOffEndsTheService)
{
    desk.setRegister(Desk::kClockRate, 58982401);
    desk.start();
    EXPECT_EQ(desk.service().wait(), Ending({-1, SIGABRT}));
    EXPECT_TRUE(has(desk.service().errors(), "FpgaFace() FPGA clock rate mismatch, got 58982401, expected 58982400"))
        << desk.service().errors();
    EXPECT_EQ(desk.count("KPN:"), 0U);
}

TEST_F(ConnectSystemTest, WithoutPhysicalMemoryTheServiceEnds)
{
    // Devices of their own once more, without that one.
    std::vector<std::string> line = {"/usr/bin/bwrap",   "--bind",    "/",         "/",      "--dev",     "/dev",
                                     "--bind",           "/dev/mcs5", "/dev/mcs5", "--bind", "/dev/mcs6", "/dev/mcs6",
                                     "--die-with-parent"};
    const auto service = Desk::commandLine();
    line.insert(line.end(), service.begin(), service.end());
    ChildProcess process(line);
    EXPECT_EQ(process.wait(), Ending({128 + SIGABRT, 0}));
    EXPECT_TRUE(has(process.errors(), "Unable to open /dev/mem file descriptor.\n")) << process.errors();
    EXPECT_TRUE(has(process.errors(), "INVALID_MODE FpgaFace() FAILED to read FPGA number of UARTs"))
        << process.errors();
}

TEST_F(ConnectSystemTest, MissingDevicesFileEndsTheService)
{
    std::filesystem::remove("/opt/halvex/config/IODevices.xml");
    const std::string output = failedRun();
    EXPECT_EQ(desk.count("KPN:"), 0U);
    EXPECT_FALSE(has(output, kErrorConnecting));
    EXPECT_FALSE(has(output, kStartRefused));
    EXPECT_TRUE(std::filesystem::is_socket("/tmp/bus"));  // connected as far as can be
}
