#include "aspn2_msgs/EventLog.h"
#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"
#include "tests/support/Partners.h"
#include "tests/support/QueueDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using Ending = ChildProcess::Ending;
using Json = Bus::Json;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using namespace std::chrono_literals;

namespace {

const std::string kVcl = "/opt/halvex/config/APNT_VCL_1_9.xml";

bool isTimed(const Json& tell)
{
    return !tell.at("timeOfValidity").is_null();
}

/// How often the threads of a process have gone to sleep so far.
double sleepsOf(pid_t process)
{
    double sum = 0;
    for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        std::ifstream status(task.path() / "status");
        for (std::string word; status >> word;)
            if (double count = 0; word == "voluntary_ctxt_switches:" && status >> count) sum += count;
    }
    return sum;
}

/// A running service whose devices, disk or bus are not as they should be.
struct SurroundingsTest : testing::Test {
    SurroundingsTest() { desk.set("Debug", "true"); }

    /// Makes queue 6 the device 7, which is this file.
    void makeQueueSix(const std::string& path) const
    {
        fs::create_symlink(path, "/dev/mcs7");
        desk.replace("IODevices.xml", "<Port>6<", "<Port>7<");
    }

    /// Has the service join six inputs, all valid at a time of their own.
    void expectJoin(Bus& bus, Inputs& inputs)
    {
        ++seconds;
        const auto at = [&](auto& record) { validAt(record, seconds); };
        at(inputs.pva), at(inputs.utcTime), at(inputs.pnt), at(inputs.mis), at(inputs.assurance), at(inputs.receiver);
        inputs.sendAll();
        bus.awaitTell("blended-navigation", isTimed);
    }

    void expectEndInOrder()
    {
        desk.service().send(SIGTERM);
        EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    }

    /// Runs the service to its end and gives all that it printed.
    std::string wholeRun(Ending ending)
    {
        desk.start();
        EXPECT_EQ(desk.service().wait(), ending);
        return desk.service().output() + desk.service().errors();
    }

    Desk desk;
    std::int64_t seconds = 2000;
};

}  // namespace

TEST_F(SurroundingsTest, QueueThatHasEndedIsToldOnceAndNotLookedAtWithoutEnd)
{
    std::ofstream("/tmp/ended");
    makeQueueSix("/tmp/ended");
    Partners partners(desk);
    Inputs inputs(desk);
    desk.run();
    ASSERT_TRUE(partners.waitForService());
    const std::string text = "Nothing can be read from pipe file: /dev/mcs7: it has ended or hung up";
    EXPECT_EQ(partners.typeOfEvent(text), 3);

    const double before = sleepsOf(desk.service().id());
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(desk.awaitTurns());
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    EXPECT_LT((sleepsOf(desk.service().id()) - before) / passed.count(), 500);  // a second

    Bus bus;
    ASSERT_TRUE(inputs.waitForService());
    expectJoin(bus, inputs);  // with a frame of the other queue
    expectEndInOrder();
    EXPECT_EQ(desk.service().errors(), text + "\n");
}

TEST_F(SurroundingsTest, QueueThatIsRemovedIsServedAsLongAsItIsOpen)
{
    TemporaryDirectory directory;
    std::optional<QueueDevice> device(std::in_place, directory.path(), 7);
    makeQueueSix(directory.path() / "mcs7");
    Inputs inputs(desk);
    desk.run();
    device.reset();
    fs::remove("/dev/mcs7");
    Bus bus;
    ASSERT_TRUE(inputs.waitForService());
    expectJoin(bus, inputs);
    expectEndInOrder();
    EXPECT_EQ(desk.service().errors(), "");
}

TEST_F(SurroundingsTest, RegistersBehindTheEndOfTheirFileEndTheServiceWithALine)
{
    ASSERT_EQ(truncate("/dev/mem", 0), 0);
    const std::string output = wholeRun({-1, SIGABRT});
    EXPECT_THAT(output, HasSubstr("Unable to map memory space.\n"));
    EXPECT_THAT(output, HasSubstr("FpgaFace() FAILED to read FPGA number of UARTs"));
}

TEST_F(SurroundingsTest, RegistersThatVanishWhileItRunsEndTheServiceAtOnce)
{
    // A sanitizer would take the signal itself.
    for (const char* options : {"ASAN_OPTIONS", "TSAN_OPTIONS"}) {
        const char* others = std::getenv(options);
        setenv(options, (std::string(others ? others : "") + ":handle_sigbus=0").c_str(), 1);
    }
    const Partners partners(desk);
    desk.run();
    ASSERT_TRUE(partners.waitForService());
    ASSERT_EQ(truncate("/dev/mem", 0), 0);
    partners.command("BITSERVER_PING");  // which is answered with the registers' time
    EXPECT_EQ(desk.service().wait(), Ending({-1, SIGBUS}));
    EXPECT_TRUE(desk.service().errors().ends_with("!!!!!! OrvaneServer: ended by a fault of its own\n"));
}

TEST_F(SurroundingsTest, RegistersOfAllOnesEndTheService)
{
    for (const std::uint64_t offset : {8U, 16U, 24U, 32U})
        desk.setRegister(Desk::kClockRate + offset, ~std::uint64_t{0});
    EXPECT_THAT(wholeRun({-1, SIGABRT}), ContainsRegex("FpgaFace.. FAILED to open PTFE [0-9]+ interface"));
}

TEST_F(SurroundingsTest, ClockRateOfZeroEndsTheService)
{
    desk.setRegister(Desk::kClockRate, 0);
    EXPECT_THAT(wholeRun({-1, SIGABRT}), HasSubstr("FPGA clock rate mismatch, got 0, expected 58982400"));
}

TEST_F(SurroundingsTest, ClockThatStandsStillOrJumpsBackLeavesTheJoins)
{
    Inputs inputs(desk);
    desk.setRegister(Desk::kSystemCount, 58'982'400'000);
    desk.run();
    Bus bus;
    ASSERT_TRUE(inputs.waitForService());
    for (const std::uint64_t count : {58'982'400'000ULL, 58'982'400'000ULL, 1ULL, ~0ULL, 0ULL}) {
        desk.setRegister(Desk::kSystemCount, count);
        expectJoin(bus, inputs);
    }
    expectEndInOrder();
}

namespace {

/// A service that sees its disks in its own way.
struct DiskSurroundingsTest : SurroundingsTest {
    /// Has the service save a text, and tells its answer.
    /// @param before  commands of the shell that starts it
    Json save(const std::string& text, const std::vector<std::string>& mounts, const std::string& before)
    {
        std::vector<std::string> line = {"/usr/bin/env", "bwrap", "--die-with-parent", "--dev-bind", "/", "/"};
        line.insert(line.end(), mounts.begin(), mounts.end());
        line.insert(line.end(), {"--", "/bin/sh", "-c", before + " && \"$@\"; cat " + kVcl + " >/tmp/kept", "sh"});
        const auto command = Desk::commandLine();
        line.insert(line.end(), command.begin(), command.end());
        ChildProcess service(line);
        const auto runs = [&] { return service.output().find("Worker thread started.") != std::string::npos; };
        if (!eventually(runs)) throw std::runtime_error("the service does not run: " + service.errors());
        const Json answer = Bus().request({{"request", "save-vcl"}, {"text", text}}).at("returned");
        endService();
        EXPECT_EQ(service.wait(), Ending({0, 0})) << service.errors();
        return answer;
    }

    /// Ends the service, wherever it stands below its shell.
    static void endService()
    {
        for (const auto& entry : fs::directory_iterator("/proc")) {
            // Its file and not its name, which may be another where disks are seen otherwise.
            std::error_code error;
            if (fs::equivalent(entry.path() / "exe", ORVANE_SERVER_BINARY, error))
                kill(std::stoi(entry.path().filename()), SIGTERM);
        }
    }

    const std::string old = readFile(kVcl);
};

}  // namespace

TEST_F(DiskSurroundingsTest, VclOnAFullDiskStaysAsItWas)
{
    // 64 KiB, of which the old file and one more take all but one page.
    const std::string fill =
        "cp " + kVcl + " /disk/vcl && head -c 40960 /dev/zero >/disk/rest && ln -sf /disk/vcl " + kVcl;
    EXPECT_EQ(save("<new>" + std::string(50000, '.') + "</new>", {"--size", "65536", "--tmpfs", "/disk"}, fill), 1);
    EXPECT_EQ(readFile("/tmp/kept"), old);
}

TEST_F(DiskSurroundingsTest, VclOnAReadOnlyDiskStaysAsItWas)
{
    EXPECT_EQ(save("<new/>", {"--ro-bind", "/opt/halvex/config", "/opt/halvex/config"}, "true"), 1);
    EXPECT_EQ(readFile("/tmp/kept"), old);
}

namespace {

/// A bus library that does not keep its promises.
struct BusSurroundingsTest : SurroundingsTest {
    void begin()
    {
        desk.run();
        bus.emplace();
        ASSERT_TRUE(inputs.waitForService());
    }

    void misbehave(const std::string& call, Json how)
    {
        how["request"] = "misbehave";
        how["call"] = call;
        const Json answer = bus->request(how);
        EXPECT_EQ(answer.at("ok"), true) << answer;
    }

    /// Offers built-in tests, which the service does once the self test is over.
    void offerBuiltInTests()
    {
        desk.completeSelfTest();
        ASSERT_TRUE(desk.awaitOutput("State Notification: Post IS Complete!\n"));
    }

    static constexpr const char* kCalls[] = {
        "navwar-sa", "warning-messages", "save-vcl", "clear-data", "system-configuration",
        "bit-run",   "bit-results",      "bit-clear"};

    Inputs inputs{desk};
    std::optional<Bus> bus;
};

}  // namespace

TEST_F(BusSurroundingsTest, CallBacksBesideThemselvesLeaveTheJoinsAndTheEnd)
{
    begin();
    offerBuiltInTests();
    for (const char* const call : kCalls) misbehave(call, {{"times", 16}});
    expectJoin(*bus, inputs);
    expectEndInOrder();
}

TEST_F(BusSurroundingsTest, CallBacksWithoutContextAreReportedAndLeaveTheJoinsAndTheEnd)
{
    begin();
    offerBuiltInTests();
    for (const char* const call : kCalls) misbehave(call, {{"times", 4}, {"context", false}});
    expectJoin(*bus, inputs);
    expectEndInOrder();
    EXPECT_THAT(desk.service().output(), HasSubstr("instance pointer"));
}

TEST_F(BusSurroundingsTest, WildCountsLeaveTheJoinsAndTheEnd)
{
    begin();
    offerBuiltInTests();
    for (const int count : {-2147483647 - 1, -1, 51, 2147483647})
        for (const char* const call : {"bit-results", "bit-clear"}) misbehave(call, {{"times", 2}, {"count", count}});
    expectJoin(*bus, inputs);
    expectEndInOrder();
}

TEST_F(BusSurroundingsTest, CallBacksDuringTheDeletionLeaveTheEnd)
{
    begin();
    offerBuiltInTests();
    misbehave("navwar-sa", {{"times", 32}, {"when", "deletion"}});
    expectEndInOrder();
}

TEST_F(BusSurroundingsTest, RequestsDuringTheDeletionLeaveTheEnd)
{
    begin();
    misbehave("clear-data", {{"times", 32}, {"when", "deletion"}});
    expectEndInOrder();
}

TEST_F(BusSurroundingsTest, CallBacksOfAServiceThatIsGoneLeaveTheEnd)
{
    // Topics that hold their samples: a publisher may know its subscriber before that knows the publisher.
    const Partners partners(desk);
    begin();
    ASSERT_TRUE(partners.waitForService());
    // Calls that come before the service takes any again do nothing; then it is restarted once more.
    BusSocket watcher;
    std::string heard;
    bool isForTheOldOne = false;
    for (int restart = 0; restart < 20 && !isForTheOldOne; ++restart) {
        misbehave("warning-messages", {{"times", 8}, {"when", "restart"}});
        partners.command("START_ZEROIZE");
        bus->await("the service to be started anew", [](const Json& line) {
            return line.value("type", "") == "service" && line.value("event", "") == "started";
        });
        isForTheOldOne = eventually(
            [&] {
                while (watcher.awaitMore(1ms) && watcher.read(heard)) continue;
                return heard.find("\"misuse\"") != std::string::npos;
            },
            2s);
    }
    EXPECT_TRUE(isForTheOldOne) << heard;
    expectJoin(*bus, inputs);
    expectEndInOrder();
}

TEST_F(BusSurroundingsTest, TellThatIsBlockedHoldsUpInputsAndTheEndNoLongerThanItself)
{
    begin();
    ASSERT_TRUE(
        bus->request({{"request", "hold-tell"}, {"tell", "blended-navigation"}, {"milliseconds", 3000}}).at("ok"));
    inputs.sendAll();
    bus->await("the tell to be held", [](const Json& line) { return line.value("type", "") == "held"; });
    const auto start = std::chrono::steady_clock::now();
    desk.service().send(SIGTERM);
    inputs.sendPva();  // whose handler waits for the join
    EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
}
