#include "VICTORY/OrvaneServer/BusService.h"
#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/HealthEvents.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using BusFiles::kVcl;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using namespace std::chrono_literals;

namespace {

/// What the latest service was made of, where it stands.
const char* s_configurationText = nullptr;
const char* s_vclText = nullptr;

}  // namespace

extern "C" {
VapntsService* __real_vapntsNewService(const char* configurationText, const char* vclText);
VapntsService* __wrap_vapntsNewService(const char* configurationText, const char* vclText);

VapntsService* __wrap_vapntsNewService(const char* configurationText, const char* vclText)
{
    s_configurationText = configurationText;
    s_vclText = vclText;
    return __real_vapntsNewService(configurationText, vclText);
}
}

namespace {

constexpr const char* kReadError = "3:OrvaneServer Error reading VICTORY APNT configuration file.";

struct BusServiceTest : testing::Test {
    BusServiceTest()
    {
        settings.m_victoryConfigurationFile = "config";
        settings.m_vclFile = directory.write("vcl.xml", kVcl);
        victory.setFile("config", "<config/>");
        victory.setFile(settings.m_vclFile, kVcl);
        popHealthEvents();
    }

    void start()
    {
        ASSERT_TRUE(bus.start(nullptr));
        popHealthEvents();
        victory.forgetCalls();
        steps.clear();
    }

    /// What the library is called for, between the steps of the owner.
    void step(const std::string& name)
    {
        for (const auto& operation : victory.operations()) steps.push_back(operation);
        victory.forgetCalls();
        steps.push_back(name);
        if (name == failingStep) throw std::runtime_error("no luck");
    }

    std::vector<std::string> allSteps()
    {
        step("end");
        steps.pop_back();
        return steps;
    }

    const HardDeadline deadline;
    const TemporaryDirectory directory;
    ServerSettings settings;
    VictoryRecorder victory;
    std::vector<std::string> steps;
    std::string failingStep;
    bool isPrepared = true;
    VapntsService* equipped = nullptr;
    BusService bus{settings,
                   {.redirectOutput = [this] { step("redirect"); },
                    .prepare =
                        [this] {
                            step("prepare");
                            return isPrepared;
                        },
                    .equip =
                        [this](VapntsService* service) {
                            equipped = service;
                            step("equip");
                        }}};
    const ConsoleCapture console{std::cout};
};

}  // namespace

// The start.

TEST_F(BusServiceTest, StartGoesThroughLibraryAndOwnerInOrder)
{
    EXPECT_TRUE(bus.start(nullptr));
    EXPECT_TRUE(bus.isStarted());
    EXPECT_THAT(allSteps(), ElementsAre("redirect", "prepare", "vutilReadStringFromFile", "vutilReadStringFromFile",
                                        "vapntsNewService", "equip", "vapntsStartService"));
    EXPECT_EQ(equipped, bus.service());
    EXPECT_EQ(bus.generation(), 1U);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    EXPECT_EQ(console.text(), "");
}

TEST_F(BusServiceTest, AGivenTextIsUsedAsItStands)
{
    std::string configuration;
    std::string vcl;
    victory.onCall("vapntsNewService", [&] {
        configuration = victory.last("vapntsNewService").text(0);
        vcl = victory.last("vapntsNewService").text(1);
    });
    bus.start("<mine/>");
    EXPECT_THAT(allSteps(), ElementsAre("redirect", "prepare", "vutilReadStringFromFile", "vapntsNewService", "equip",
                                        "vapntsStartService"));
    EXPECT_EQ(configuration, "<config/>");
    EXPECT_EQ(vcl, "<mine/>");
    bus.stop();
    bus.start(nullptr);
    EXPECT_EQ(vcl, kVcl);
}

TEST_F(BusServiceTest, SecondStartOnlyRedirects)
{
    start();
    EXPECT_TRUE(bus.start("<other/>"));
    EXPECT_THAT(allSteps(), ElementsAre("redirect"));
    EXPECT_EQ(bus.generation(), 1U);
}

TEST_F(BusServiceTest, ItsAnswerIsThatOfThePreparationButTheServiceRuns)
{
    isPrepared = false;
    EXPECT_FALSE(bus.start(nullptr));
    EXPECT_TRUE(bus.isStarted());
}

TEST_F(BusServiceTest, AFileThatCannotBeReadIsReportedAndNoServiceMade)
{
    for (std::string* const file : {&settings.m_victoryConfigurationFile, &settings.m_vclFile}) {
        const std::string there = std::exchange(*file, "none");
        EXPECT_FALSE(bus.start(nullptr)) << there;
        EXPECT_FALSE(bus.isStarted()) << there;
        EXPECT_EQ(bus.service(), nullptr) << there;
        EXPECT_THAT(popHealthEvents(), ElementsAre(kReadError)) << there;
        EXPECT_THAT(allSteps(),
                    ElementsAre("redirect", "prepare", "vutilReadStringFromFile", "vutilReadStringFromFile"));
        steps.clear();
        *file = there;
    }
    EXPECT_THAT(console.text(), MatchesRegex("(OrvaneServer \\([0-9]+\\), InitializeVictory : OrvaneServer Error "
                                             "reading VICTORY APNT configuration file\\.\n){2}"));
}

TEST_F(BusServiceTest, AServiceThatIsNotMadeCountsAsAFailedRead)
{
    victory.answer("vapntsNewService", 0);
    EXPECT_FALSE(bus.start(nullptr));
    EXPECT_EQ(equipped, nullptr);
    EXPECT_THAT(popHealthEvents(), ElementsAre(kReadError));
}

TEST_F(BusServiceTest, AnAnswerOtherThanZeroToTheStartIsShownAndChangesNothing)
{
    victory.answer("vapntsStartService", 7);
    EXPECT_TRUE(bus.start(nullptr));
    EXPECT_TRUE(bus.isStarted());
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    EXPECT_THAT(console.text(),
                MatchesRegex("OrvaneServer \\([0-9]+\\) InitializeVictory : vapntsStartService answered 7\n"));
}

TEST_F(BusServiceTest, WhatTheOwnerThrowsFailsTheStartAndLeavesNoService)
{
    for (const char* name : {"redirect", "prepare", "equip"}) {
        failingStep = name;
        victory.forgetCalls();
        EXPECT_FALSE(bus.start(nullptr)) << name;
        EXPECT_FALSE(bus.isStarted()) << name;
        EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: An exception occurred. Details: no luck")) << name;
        EXPECT_EQ(victory.count("vapntsDeleteService"), failingStep == "equip" ? 1U : 0U) << name;
    }
    failingStep.clear();
    EXPECT_TRUE(bus.start(nullptr));
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
}

// The end.

TEST_F(BusServiceTest, EndDeletesTheServiceAndReportsIt)
{
    EXPECT_FALSE(bus.stop());
    start();
    VapntsService* const service = bus.service();
    victory.onCall("vapntsDeleteService", [] { EXPECT_EQ(popHealthEvent(), "none"); });
    EXPECT_TRUE(bus.stop());
    EXPECT_FALSE(bus.isStarted());
    EXPECT_EQ(victory.last("vapntsDeleteService").service, service);
    EXPECT_EQ(bus.service(), service);
    EXPECT_THAT(popHealthEvents(), ElementsAre("2:OrvaneServer : VapntsService exited"));
    EXPECT_EQ(console.text(), "");
    EXPECT_FALSE(bus.stop());
    EXPECT_EQ(victory.count("vapntsDeleteService"), 1U);
}

TEST_F(BusServiceTest, EndIsPrintedInDebug)
{
    settings.m_debug = true;
    start();
    bus.stop();
    EXPECT_EQ(console.text(), "OrvaneServer : VapntsService exited\n");
}

TEST_F(BusServiceTest, AnExceptionWhileDeletingIsReportedAndTheEndGoesOn)
{
    start();
    victory.onCall("vapntsDeleteService", [] { throw std::runtime_error("no luck"); });
    EXPECT_TRUE(bus.stop());
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: An exception occurred. Details: no luck",
                                               "2:OrvaneServer : VapntsService exited"));
    EXPECT_THAT(console.text(), HasSubstr("), ShutdownVictory : OrvaneServer: An exception occurred."));
}

TEST_F(BusServiceTest, CallsAreMadeOnlyWhileTheServiceRuns)
{
    std::vector<VapntsService*> called;
    const auto call = [&](VapntsService* service) { called.push_back(service); };
    EXPECT_FALSE(bus.whileStarted(call));
    bus.whileHeld(call);
    start();
    EXPECT_TRUE(bus.whileStarted(call));
    bus.whileHeld(call);
    EXPECT_THAT(called, ElementsAre(nullptr, bus.service(), bus.service()));
}

TEST_F(BusServiceTest, ServiceIsNotDeletedUnderACallOfAnotherThread)
{
    start();
    std::atomic<bool> isIn = false;
    std::atomic<bool> go = false;
    std::thread worker([&] {
        bus.whileHeld([&](VapntsService*) {
            isIn = true;
            EXPECT_TRUE(eventually([&] { return go.load(); }));
        });
    });
    EXPECT_TRUE(eventually([&] { return isIn.load(); }));
    std::thread main([&] { bus.stop(); });
    EXPECT_FALSE(victory.waitForCalls("vapntsDeleteService", 1, 100ms));
    go = true;
    EXPECT_TRUE(victory.waitForCalls("vapntsDeleteService", 1));
    worker.join();
    main.join();
}

// The restart.

TEST_F(BusServiceTest, LessThanASecondIsOnlyPrinted)
{
    start();
    EXPECT_FALSE(bus.restart(999));
    EXPECT_FALSE(bus.restart(0));
    EXPECT_THAT(allSteps(), IsEmpty());
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\) updateVDMdataRate : Updating VDM rate to 999 "
                                             "milliseconds\\.\nOrvaneServer \\([0-9]+\\) updateVDMdataRate : "
                                             "Updating VDM rate to 0 milliseconds\\.\n"));
    EXPECT_TRUE(bus.isStarted());
}

TEST_F(BusServiceTest, ASecondRestartsTheService)
{
    start();
    EXPECT_TRUE(bus.restart(1000));
    EXPECT_THAT(allSteps(), ElementsAre("vapntsDeleteService", "redirect", "prepare", "vutilReadStringFromFile",
                                        "vapntsNewService", "equip", "vapntsStartService"));
    EXPECT_EQ(bus.generation(), 2U);
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\) updateVDMdataRate : Updating VDM rate to 1000 "
                                             "milliseconds\\.\nOrvaneServer \\([0-9]+\\) updateVDMdataRate : "
                                             "Restarting APNT\\.\n"));
}

TEST_F(BusServiceTest, BothPeriodsOfTheTextAreNewAndTheFileStays)
{
    std::string text;
    victory.onCall("vapntsNewService", [&] { text = victory.last("vapntsNewService").text(1); });
    bus.restart(4294967295UL);
    EXPECT_EQ(text, R"(<?xml version="1.0"?>
<vcl:VCL>
    <group type="ASSURED_PNT_BLENDED_NAVIGATION">
        <item name="updatePeriod" value="4294967295"/>
        <item name="other" value="2"/>
    </group>
    <group type="ASSURED_PNT_NAVWAR_SA">
        <item name="updatePeriod" value="4294967295"/>
    </group>
    <group type="ASSURED_PNT_WARNINGS">
        <item name="updatePeriod" value="4"/>
    </group>
</vcl:VCL>
)");
    EXPECT_EQ(readFile(settings.m_vclFile), kVcl);
    EXPECT_EQ(victory.file(settings.m_vclFile), kVcl);
    EXPECT_THAT(console.text(), HasSubstr("Updating VDM rate to 4294967295 milliseconds.\n"));
}

TEST_F(BusServiceTest, AFailedRestartLeavesTheServiceDown)
{
    start();
    failingStep = "equip";
    EXPECT_TRUE(bus.restart(1000));
    EXPECT_FALSE(bus.isStarted());
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
}

TEST_F(BusServiceTest, MemoryThatLacksOnceBehindTheEndKeepsNoRestartFromItsStart)
{
    std::size_t granted = 0;
    std::optional<FailingAllocation> memory;
    victory.onCall("vapntsDeleteService", [&] { memory.emplace(granted, 1); });
    for (; granted < 10; ++granted) {
        start();
        bool isThrown = false;
        try {
            bus.restart(1000);
        } catch (const std::bad_alloc&) {
            isThrown = true;
        }
        memory.reset();
        EXPECT_FALSE(isThrown) << granted;
        bus.stop();
        memory.reset();
    }
}

// The VCL file.

TEST_F(BusServiceTest, ANewVclTextReplacesTheFile)
{
    EXPECT_TRUE(bus.saveVcl("<new/>"));
    EXPECT_EQ(readFile(settings.m_vclFile), "<new/>");
}

TEST_F(BusServiceTest, NoVclTextIsNotSaved)
{
    EXPECT_FALSE(bus.saveVcl(nullptr));
    EXPECT_THAT(victory.operations(), IsEmpty());
    EXPECT_EQ(readFile(settings.m_vclFile), kVcl);
}

TEST_F(BusServiceTest, AVclTextThatCannotBeWrittenLeavesTheFile)
{
    victory.onCall("vutilWriteStringToFile",
                   [&] { directory.write(victory.last("vutilWriteStringToFile").text(1), "<n"); });
    victory.answer("vutilWriteStringToFile", -1);
    EXPECT_FALSE(bus.saveVcl("<new/>"));
    EXPECT_EQ(readFile(settings.m_vclFile), kVcl);
}

TEST_F(BusServiceTest, TheFileIsNotReadWhileItIsWritten)
{
    std::atomic<bool> isWriting = false;
    std::thread restarter;
    victory.onCall("vutilWriteStringToFile", [&] {
        isWriting = true;
        restarter = std::thread([&] {
            bus.stop();
            bus.start(nullptr);
        });
        EXPECT_FALSE(victory.waitForCalls("vutilReadStringFromFile", 2, 100ms));
        isWriting = false;
    });
    victory.onCall("vutilReadStringFromFile", [&] {
        const bool isVcl = victory.last("vutilReadStringFromFile").text(0) == settings.m_vclFile;
        EXPECT_FALSE(isVcl && isWriting);
    });
    bus.saveVcl("<new/>");
    restarter.join();
    EXPECT_TRUE(bus.isStarted());
}

TEST_F(BusServiceTest, ARestartWaitsForASavingBeforeItLoads)
{
    start();
    const std::string saved =
        R"(<vcl:VCL><g type="ASSURED_PNT_NAVWAR_SA"><i name="updatePeriod" value="9"/></g></vcl:VCL>)";
    std::string text;
    victory.onCall("vapntsNewService", [&] { text = victory.last("vapntsNewService").text(1); });
    std::thread restarter;
    victory.onCall("vutilWriteStringToFile", [&] {
        restarter = std::thread([&] { bus.restart(5000); });
        EXPECT_FALSE(victory.waitForCalls("vapntsDeleteService", 1, 100ms));
    });
    EXPECT_TRUE(bus.saveVcl(saved.c_str()));
    restarter.join();
    EXPECT_THAT(text, HasSubstr(R"(<i name="updatePeriod" value="5000"/>)"));
}

// The end waits for the library's call-backs, and one of them may be saving.
TEST_F(BusServiceTest, ACallBackMaySaveWhileTheServiceIsEnded)
{
    start();
    victory.onCall("vapntsDeleteService", [&] { std::thread([&] { EXPECT_TRUE(bus.saveVcl("<new/>")); }).join(); });
    EXPECT_TRUE(bus.stop());
    EXPECT_EQ(readFile(settings.m_vclFile), "<new/>");
}

TEST_F(BusServiceTest, TextsOfAServiceStandUntilTheServiceIsDeleted)
{
    const std::string text =
        R"(<vcl:VCL><g type="ASSURED_PNT_NAVWAR_SA"><i name="updatePeriod" value="1"/></g></vcl:VCL>)";
    directory.write("vcl.xml", text);
    victory.setFile(settings.m_vclFile, text);
    BusService service(settings, {[] {}, [] { return true; }, [](VapntsService*) {}});
    std::vector<bool> stand;
    victory.onCall("vapntsDeleteService", [&] {
        const auto made = victory.last("vapntsNewService");
        stand.push_back(s_configurationText == made.text(0) && s_vclText == made.text(1));
    });
    service.start(nullptr);
    service.restart(1000);
    service.restart(2000);
    service.stop();
    EXPECT_THAT(stand, ElementsAre(true, true, true));
    victory.onCall("vapntsDeleteService", nullptr);
}
