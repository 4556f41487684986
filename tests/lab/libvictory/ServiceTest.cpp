#include "tests/lab/libvictory/BusClient.h"
#include "tests/lab/libvictory/Program.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <dlfcn.h>
#include <limits>
#include <pthread.h>
#include <string>
#include <thread>

using Json = BusClient::Json;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

/// A call-back that can be kept from returning.
struct Gate {
    std::atomic<bool> open{true};
    std::atomic<int> entered{0};
    std::atomic<int> left{0};

    static void pass(void* context, VapntsService*)
    {
        Gate& gate = *static_cast<Gate*>(context);
        ++gate.entered;
        gate.open.wait(false);
        ++gate.left;
    }
    void openUp()
    {
        open = true;
        open.notify_all();
    }
};

/// What the library prints for two texts that it is to refuse.
std::string refusalOf(const char* configuration, const char* vcl)
{
    const DescriptorCapture errors(2);
    EXPECT_EQ(vapntsNewService(configuration, vcl), nullptr);
    return errors.text();
}

bool initGroup(const Program& program, int group, Gate& gate, double rate = 1.0)
{
    return vapntsInitPubGroup(program.service(), group, rate) == 0 &&
           vapntsInitTellCallback(program.service(), group, &Gate::pass, &gate) == 0;
}

}  // namespace

TEST(ServiceTest, TextThatIsNoXmlIsRefusedWithItsPlace)
{
    EXPECT_EQ(refusalOf("<a>\n<b>\n</c></a>", vclWith("1", "1").c_str()),
              "libvictory: cannot use the configuration text, line 2: XML_ERROR_MISMATCHED_ELEMENT\n");
    EXPECT_EQ(refusalOf(kConfiguration, "<vcl:VCL>\n\n<item"),
              "libvictory: cannot use the VCL text, line 3: XML_ERROR_PARSING_ELEMENT\n");
    EXPECT_EQ(refusalOf("", vclWith("1", "1").c_str()),
              "libvictory: cannot use the configuration text, line 0: XML_ERROR_EMPTY_DOCUMENT\n");
    EXPECT_EQ(refusalOf("<!-- nothing -->", vclWith("1", "1").c_str()),
              "libvictory: cannot use the configuration text, line 1: no element\n");
}

TEST(ServiceTest, MissingTextIsRefused)
{
    EXPECT_EQ(refusalOf(nullptr, ""), "libvictory: there is no configuration text\n");
    EXPECT_EQ(refusalOf(kConfiguration, nullptr), "libvictory: there is no VCL text\n");
}

TEST(ServiceTest, VclMustBeOne)
{
    EXPECT_EQ(refusalOf(kConfiguration, "\n<VCL/>"),
              "libvictory: cannot use the VCL text, line 2: no element vcl:VCL\n");
}

TEST(ServiceTest, PeriodMustBeANumberOfMilliseconds)
{
    for (const char* period : {"", "0", "-1", "1.5", " 1", "1s", "4294967296", "99999999999999999999"})
        EXPECT_EQ(refusalOf(kConfiguration, vclWith("1000", period).c_str()),
                  "libvictory: cannot use the VCL text, line 4: updatePeriod is no number of milliseconds\n");
}

TEST(ServiceTest, DeepTextIsRefused)
{
    std::string deep;
    for (int level = 0; level < 100000; ++level) deep += "<a>";
    EXPECT_EQ(refusalOf(kConfiguration, deep.c_str()),
              "libvictory: cannot use the VCL text, line 1: XML_ELEMENT_DEPTH_EXCEEDED\n");
}

TEST(ServiceTest, GroupsTakeTheirPeriodsFromTheVclAndElseFromTheRate)
{
    const Program program(vclWith("250", "4294967295"));
    for (int group = 0; group < 3; ++group) ASSERT_EQ(vapntsInitPubGroup(program.service(), group, 1.0), 0);
    BusClient client(program.busPath());
    EXPECT_EQ(client.ask({{"request", "status"}})["groups"], Json::parse(R"([{"group":0,"period_ms":250.0,"calls":0},
              {"group":1,"period_ms":1000.0,"calls":0},{"group":2,"period_ms":4294967295.0,"calls":0}])"));
}

TEST(ServiceTest, VclWithoutPeriodsLeavesTheRate)
{
    const Program program("<vcl:VCL/>");
    ASSERT_EQ(vapntsInitPubGroup(program.service(), 2, 4.0), 0);
    BusClient client(program.busPath());
    EXPECT_EQ(client.ask({{"request", "status"}})["groups"][0]["period_ms"], 250.0);
}

TEST(ServiceTest, GroupFallsDueAgainAndAgain)
{
    Program program(vclWith("20", "50"));
    Gate gate;
    ASSERT_TRUE(initGroup(program, VAPNTS_PUB_GROUP_NAVWAR_SA, gate));
    const auto start = Clock::now();
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    EXPECT_TRUE(eventually([&] { return gate.left >= 10; }));
    EXPECT_GE(Clock::now() - start, milliseconds(500));
    program.end();
}

TEST(ServiceTest, DueTimesThatPassWithinACallBackAreLeftOut)
{
    Program program(vclWith("10", "10"));
    Gate slow;
    slow.open = false;
    Gate clock;
    ASSERT_TRUE(initGroup(program, 0, clock) && initGroup(program, 2, slow));
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    ASSERT_TRUE(eventually([&] { return slow.entered == 1; }));
    const int before = clock.left;
    ASSERT_TRUE(eventually([&] { return clock.left >= before + 20; }));
    EXPECT_EQ(slow.entered, 1);
    const auto opened = Clock::now();
    slow.openUp();
    EXPECT_TRUE(eventually([&] { return slow.entered >= 12; }));
    EXPECT_GE(Clock::now() - opened, milliseconds(100));  // those that were missed would come at once
    program.end();
}

TEST(ServiceTest, NothingFallsDueBeforeTheStart)
{
    Program program(vclWith("1", "1"));
    Gate gate;
    const std::size_t threads = threadCount();
    ASSERT_TRUE(initGroup(program, 2, gate));
    EXPECT_EQ(threadCount(), threads);
    program.end();
    EXPECT_EQ(gate.entered, 0);
}

TEST(ServiceTest, NoCallBackComesAfterTheDeletion)
{
    Program program(vclWith("1", "1"));
    Gate gate;
    ASSERT_TRUE(initGroup(program, 2, gate));
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    ASSERT_TRUE(eventually([&] { return gate.left >= 5; }));
    program.end();
    const int entered = gate.entered;
    EXPECT_EQ(gate.left, entered);
    std::this_thread::sleep_for(milliseconds(30));  // many periods
    EXPECT_EQ(gate.entered, entered);
}

TEST(ServiceTest, DeletionWaitsForACallBackThatRuns)
{
    Program program(vclWith("1", "1"));
    Gate gate;
    gate.open = false;
    ASSERT_TRUE(initGroup(program, 2, gate));
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    ASSERT_TRUE(eventually([&] { return gate.entered == 1; }));

    BusClient client(program.busPath());
    std::atomic<int> leftAtTheEnd{-1};
    std::thread deleting([&] {
        program.end();
        leftAtTheEnd = gate.left.load();
    });
    EXPECT_TRUE(eventually([&] { return client.ask({{"request", "status"}})["phase"] == "stopped"; }));
    EXPECT_EQ(leftAtTheEnd, -1);
    gate.openUp();
    deleting.join();
    EXPECT_EQ(leftAtTheEnd, 1);
    EXPECT_EQ(gate.entered, 1);
}

TEST(ServiceTest, CallBackThatRunsWhileTheServiceEndsCanStillTell)
{
    struct Context {
        std::atomic<bool> entered{false};
        std::atomic<bool> goOn{false};
        std::atomic<int> told{-2};
    } context;
    Program program(vclWith("1", "1"));
    ASSERT_EQ(vapntsInitPubGroup(program.service(), 2, 1.0), 0);
    ASSERT_EQ(vapntsInitTellCallback(
                  program.service(), 2,
                  [](void* data, VapntsService* service) {
                      auto& own = *static_cast<Context*>(data);
                      own.entered = true;
                      own.entered.notify_all();
                      own.goOn.wait(false);
                      own.told = vapntsTellClearSystemData(service, 0);
                  },
                  &context),
              0);
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    context.entered.wait(false);
    BusClient client(program.busPath());
    std::thread deleting([&] { program.end(); });
    EXPECT_TRUE(eventually([&] { return client.ask({{"request", "status"}})["phase"] == "stopped"; }));
    context.goOn = true;
    context.goOn.notify_all();
    deleting.join();
    EXPECT_EQ(context.told, 0);
}

TEST(ServiceTest, GroupsDoNotWaitForOneAnother)
{
    Program program(vclWith("10", "10"));
    Gate blocked;
    blocked.open = false;
    Gate other;
    ASSERT_TRUE(initGroup(program, 2, blocked) && initGroup(program, 0, other));
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    EXPECT_TRUE(eventually([&] { return blocked.entered == 1 && other.left >= 3; }));
    blocked.openUp();
    program.end();
}

TEST(ServiceTest, RequestIsServedWhileAGroupsCallBackBlocks)
{
    Program program(vclWith("1", "1"));
    Gate blocked;
    blocked.open = false;
    Gate request;
    ASSERT_TRUE(initGroup(program, 2, blocked));
    ASSERT_EQ(vapntsInitTellSystemConfigurationCallback(program.service(), &Gate::pass, &request), 0);
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    ASSERT_TRUE(eventually([&] { return blocked.entered == 1; }));
    BusClient client(program.busPath());
    EXPECT_EQ(client.ask({{"request", "system-configuration"}})["ok"], true);
    EXPECT_EQ(blocked.left, 0);
    EXPECT_EQ(request.left, 1);
    blocked.openUp();
    program.end();
}

TEST(ServiceTest, ThreadsOfTheLibraryHaveRoomAndTakeNoSignals)
{
    struct Seen {
        std::atomic<std::size_t> stack{0};
        std::atomic<bool> takesTerm{true};
        std::atomic<bool> done{false};
    } seen;
    Program program(vclWith("1", "1"));
    ASSERT_EQ(vapntsInitPubGroup(program.service(), 2, 1.0), 0);
    ASSERT_EQ(vapntsInitTellCallback(
                  program.service(), 2,
                  [](void* context, VapntsService*) {
                      auto& own = *static_cast<Seen*>(context);
                      pthread_attr_t attributes;
                      std::size_t stack = 0;
                      ::pthread_getattr_np(::pthread_self(), &attributes);
                      ::pthread_attr_getstacksize(&attributes, &stack);
                      ::pthread_attr_destroy(&attributes);
                      sigset_t blocked;
                      ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
                      own.stack = stack;
                      own.takesTerm = ::sigismember(&blocked, SIGTERM) == 0;
                      own.done = true;
                  },
                  &seen),
              0);
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    EXPECT_TRUE(eventually([&] { return seen.done.load(); }));
    program.end();
    EXPECT_GE(seen.stack, 8U * 1024 * 1024);
    EXPECT_FALSE(seen.takesTerm);
}

TEST(ServiceTest, StartCanBeRefused)
{
    const Program program(vclWith("1", "1"));
    Gate gate;
    ASSERT_TRUE(initGroup(program, 2, gate));
    ::setenv("ORVANE_LAB_VICTORY", "refuse-start", 1);
    const DescriptorCapture errors(2);
    EXPECT_NE(vapntsStartService(program.service()), 0);
    EXPECT_EQ(errors.text(), "libvictory: the environment refuses the start of the service\n");
    BusClient client(program.busPath());
    EXPECT_EQ(client.ask({{"request", "status"}})["phase"], "new");
    EXPECT_EQ(gate.entered, 0);
}

TEST(ServiceTest, ServiceStartsOnce)
{
    const Program program;
    EXPECT_EQ(vapntsStartService(program.service()), 0);
    EXPECT_NE(vapntsStartService(program.service()), 0);
}

TEST(ServiceTest, GroupsAreSetUpOnceAndBeforeTheStart)
{
    const Program program;
    Gate gate;
    EXPECT_NE(vapntsInitTellCallback(program.service(), 1, &Gate::pass, &gate), 0);
    EXPECT_EQ(vapntsInitPubGroup(program.service(), 1, 1.0), 0);
    EXPECT_NE(vapntsInitPubGroup(program.service(), 1, 1.0), 0);
    EXPECT_EQ(vapntsInitTellCallback(program.service(), 1, &Gate::pass, &gate), 0);
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    EXPECT_NE(vapntsInitPubGroup(program.service(), 2, 1.0), 0);
}

TEST(ServiceTest, OddGroupsAndRatesAreRefused)
{
    const Program program;
    Gate gate;
    for (const int group : {-1, 3, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_NE(vapntsInitPubGroup(program.service(), group, 1.0), 0);
        EXPECT_NE(vapntsInitTellCallback(program.service(), group, &Gate::pass, &gate), 0);
    }
    for (const double rate : {0.0, -1.0, 1001.0, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_NE(vapntsInitPubGroup(program.service(), 0, rate), 0);
    EXPECT_EQ(vapntsInitPubGroup(program.service(), 0, 1e-300), 0);
}

TEST(ServiceTest, ServicesFollowOneAnother)
{
    const Program program;
    BusClient client(program.busPath());
    Gate gate;
    for (int round = 0; round < 2; ++round) {
        VapntsService* const service = vapntsNewService(kConfiguration, vclWith("1", "5").c_str());
        ASSERT_EQ(vapntsInitPubGroup(service, 2, 1.0), 0);
        ASSERT_EQ(vapntsInitTellCallback(service, 2, &Gate::pass, &gate), 0);
        ASSERT_EQ(vapntsStartService(service), 0);
        const int before = gate.left;
        EXPECT_TRUE(eventually([&] { return gate.left > before; }));
        vapntsDeleteService(service);
        EXPECT_EQ(client.nextWith("event", "deleted")["phase"], "stopped");
    }
}

TEST(ServiceTest, CallOnAServiceThatIsGoneIsTold)
{
    Program program;
    VapntsService* const gone = program.service();
    program.end();
    BusClient client(program.busPath());
    client.nextWith("type", "hello");  // what is announced before is not kept for it
    const DescriptorCapture errors(2);
    EXPECT_NE(vapntsTellClearSystemData(gone, 0), 0);
    EXPECT_EQ(errors.text(), "libvictory: vapntsTellClearSystemData: there is no such service\n");
    EXPECT_EQ(client.nextWith("type", "misuse")["what"], "vapntsTellClearSystemData: there is no such service");
}

TEST(ServiceTest, NullServiceIsRefusedByAllOperations)
{
    Gate gate;
    EXPECT_NE(vapntsInitPubGroup(nullptr, 0, 1.0), 0);
    EXPECT_NE(vapntsInitTellCallback(nullptr, 0, &Gate::pass, &gate), 0);
    EXPECT_NE(vapntsInitSaveVclidCallback(nullptr, nullptr, nullptr), 0);
    EXPECT_NE(vapntsInitTellExecuteBuiltInTestsCallback(nullptr, &Gate::pass, &gate, 0), 0);
    EXPECT_NE(vapntsStartService(nullptr), 0);
    EXPECT_NE(vapntsTellAvailableOutputs(nullptr, {}), 0);
    EXPECT_NE(vapntsTellWarningMessagesData(nullptr, {}, nullptr), 0);
    EXPECT_EQ(vapntsAddFault(nullptr, "text", 1, 33, 22, 1), 0U);
    EXPECT_NE(vapntsRemoveFault(nullptr, 1, 0), 0);
    vapntsDeleteService(nullptr);
}

TEST(ServiceTest, CallBackCannotDeleteItsService)
{
    std::atomic<bool> done{false};
    Program program(vclWith("1", "1"));
    ASSERT_EQ(vapntsInitPubGroup(program.service(), 2, 1.0), 0);
    ASSERT_EQ(vapntsInitTellCallback(
                  program.service(), 2,
                  [](void* context, VapntsService* service) {
                      vapntsDeleteService(service);
                      *static_cast<std::atomic<bool>*>(context) = true;
                  },
                  &done),
              0);
    BusClient client(program.busPath());
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    EXPECT_EQ(client.nextWith("type", "misuse")["what"], "vapntsDeleteService: from a call-back");
    EXPECT_TRUE(eventually([&] { return done.load(); }));
    program.end();
}

TEST(ServiceTest, SampleFilesMakeAService)
{
    std::string configuration(65536, '\0');
    std::string vcl(65536, '\0');
    ASSERT_EQ(vutilReadStringFromFile(ORVANE_LAB_CONFIG "/APNTServiceConfig_1_9.xml", 65536, configuration.data()), 0);
    ASSERT_EQ(vutilReadStringFromFile(ORVANE_LAB_CONFIG "/APNT_VCL_1_9.xml", 65536, vcl.data()), 0);
    VapntsService* const service = vapntsNewService(configuration.c_str(), vcl.c_str());
    EXPECT_NE(service, nullptr);
    vapntsDeleteService(service);
}

TEST(ServiceTest, LibraryIsFoundByItsSoname)
{
    Dl_info found{};
    ASSERT_NE(::dladdr(reinterpret_cast<const void*>(&vapntsNewService), &found), 0);
    EXPECT_EQ(std::string(found.dli_fname).substr(std::string(found.dli_fname).rfind('/') + 1), "libvictory.so.5.0");
}
