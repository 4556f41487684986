#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "tests/VICTORY/OrvaneServer/BitResult/BitResultsFixture.h"
#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/FrameBytes.h"
#include "tests/support/HardDeadline.h"
#include "utilities/COutputRedirector.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>
#include <thread>

using BusFiles::kVcl;
using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using namespace std::chrono_literals;

namespace {

const char* const kReadError = "3:OrvaneServer Error reading VICTORY APNT configuration file.";

const std::vector<std::string> kStart = {"vutilReadStringFromFile",
                                         "vutilReadStringFromFile",
                                         "vapntsNewService",
                                         "vapntsInitSaveVclidCallback",
                                         "vapntsInitPubGroup",
                                         "vapntsInitPubGroup",
                                         "vapntsInitPubGroup",
                                         "vapntsInitTellCallback",
                                         "vapntsInitTellCallback",
                                         "vapntsInitTellClearSystemDataCallback",
                                         "vapntsInitTellSystemConfigurationCallback",
                                         "vapntsTellAvailableOutputs",
                                         "vapntsTellSystemConfiguration",
                                         "vapntsTellAvailableSensors",
                                         "vapntsTellBlendedNavigationData",
                                         "vapntsStartService"};

struct VictoryServiceTest : testing::Test {
    VictoryServiceTest()
    {
        victory.setFile("config", "<config/>");
        setVcl(kVcl);
        popHealthEvents();
    }

    /// The library and the server read the file each in its own way.
    void setVcl(const std::string& text)
    {
        server.settings().m_vclFile = directory.write("vcl.xml", text);
        victory.setFile(server.settings().m_vclFile, text);
    }

    void start()
    {
        ASSERT_TRUE(server.bus().start(nullptr));
        popHealthEvents();
        victory.forgetCalls();
    }

    /// One turn, the first that sees the self test over: it lets built-in tests in.
    void endSelfTest() { endSelfTest(server); }
    void endSelfTest(ServerDoor& other) const
    {
        directory.write("PostComplete", "");
        other.settings().m_flagDirectory = directory.path().string();
        other.turn();
    }

    const TemporaryDirectory directory;
    const std::string sensorFile = directory.write("sensors.xml", fileOf({}));
    VictoryRecorder victory;
    ServerDoor server{sensorFile};
    const ConsoleCapture console{std::cout};
};

/// Call-backs that run on threads of the library: the end of the service waits for those that run, and lets no more in.
class LibraryThreads {
public:
    explicit LibraryThreads(VictoryRecorder& victory) : m_victory(victory)
    {
        m_victory.onCall("vapntsNewService", [this] { ++made; });
        m_victory.onCall("vapntsStartService", [this] { open(true); });
        m_victory.onCall("vapntsDeleteService", [this] {
            open(false);
            ++deleted;
        });
    }

    template <class Callback>
    void run(Callback&& callback)
    {
        const std::shared_lock lock(m_mutex);
        if (m_isOpen) callback();
    }

    std::atomic<int> made = 0;
    std::atomic<int> deleted = 0;

private:
    void open(bool isOpen)
    {
        const std::unique_lock lock(m_mutex);
        m_isOpen = isOpen;
    }

    VictoryRecorder& m_victory;
    std::shared_mutex m_mutex;  // the library's own, which has no place in the order of the service's
    bool m_isOpen = true;
};

}  // namespace

// The start.

TEST_F(VictoryServiceTest, StartCallsTheLibraryInOrder)
{
    EXPECT_TRUE(server.bus().start(nullptr));
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_THAT(victory.operations(), ElementsAreArray(kStart));
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    EXPECT_EQ(console.text(), "");
}

TEST_F(VictoryServiceTest, FilesStandAtFixedPaths)
{
    ServerDoor shipped(sensorFile);
    shipped.settings() = ServerSettings();
    shipped.bus().start(nullptr);
    const auto reads = victory.calls("vutilReadStringFromFile");
    ASSERT_EQ(reads.size(), 2U);
    EXPECT_EQ(reads[0].text(0), "/opt/halvex/config/APNTServiceConfig_1_9.xml");
    EXPECT_EQ(reads[1].text(0), "/opt/halvex/config/APNT_VCL_1_9.xml");
    EXPECT_EQ(reads[0].number(1), 65536);
    EXPECT_EQ(reads[1].number(1), 65536);
}

TEST_F(VictoryServiceTest, BuffersOfBothFilesAreZeroAtFirst)
{
    std::vector<std::int64_t> zeros;
    victory.onCall("vutilReadStringFromFile", [&] {
        const auto read = victory.last("vutilReadStringFromFile");
        const auto* const buffer = static_cast<const char*>(read.pointer(2));
        zeros.push_back(std::count(buffer, buffer + read.number(1), '\0'));
    });
    server.bus().start(nullptr);
    EXPECT_THAT(zeros, ElementsAre(65536, 65536));
}

TEST_F(VictoryServiceTest, TextsOfBothFilesMakeTheService)
{
    server.bus().start(nullptr);
    EXPECT_EQ(victory.last("vapntsNewService").text(0), "<config/>");
    EXPECT_EQ(victory.last("vapntsNewService").text(1), kVcl);
}

TEST_F(VictoryServiceTest, GroupsHaveOneHertzAndCallbacksTheInstance)
{
    server.bus().start(nullptr);
    const auto groups = victory.calls("vapntsInitPubGroup");
    ASSERT_EQ(groups.size(), 3U);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(groups[static_cast<std::size_t>(i)].number(0), i);
        EXPECT_EQ(groups[static_cast<std::size_t>(i)].real(1), 1.0);
    }
    const auto tells = victory.calls("vapntsInitTellCallback");
    ASSERT_EQ(tells.size(), 2U);
    EXPECT_EQ(tells[0].number(0), 2);
    EXPECT_EQ(tells[1].number(0), 1);
    EXPECT_EQ(tells[0].pointer(1), &*server);
    EXPECT_EQ(tells[1].pointer(1), &*server);
    for (const char* operation : {"vapntsInitSaveVclidCallback", "vapntsInitTellClearSystemDataCallback",
                                  "vapntsInitTellSystemConfigurationCallback"})
        EXPECT_EQ(victory.last(operation).pointer(0), &*server) << operation;
}

TEST_F(VictoryServiceTest, EachGroupTellsItsOwnRecord)
{
    start();
    victory.fireTell(2);
    EXPECT_THAT(victory.operations(), ElementsAre("vapntsTellNavWarSaData"));
    victory.fireTell(1);
    EXPECT_THAT(victory.operations(), ElementsAre("vapntsTellNavWarSaData", "vapntsTellWarningMessagesData"));
}

TEST_F(VictoryServiceTest, ServiceCountsAsRunningOnlyOnceItHasStarted)
{
    bool running = true;
    victory.onCall("vapntsStartService", [&] { running = server.bus().isStarted(); });
    server.bus().start(nullptr);
    EXPECT_FALSE(running);
    EXPECT_TRUE(server.bus().isStarted());
}

TEST_F(VictoryServiceTest, RedirectionComesBeforeAllElse)
{
    bool redirected = false;
    victory.onCall("vutilReadStringFromFile", [&] { redirected = COutputRedirector::originalStdOutStreamDest; });
    server.bus().start(nullptr);
    EXPECT_TRUE(redirected);
}

TEST_F(VictoryServiceTest, ARunningServiceIsNotStartedAgainButTheOutputIsRedirected)
{
    start();
    COutputRedirector().reset();
    ASSERT_EQ(COutputRedirector::originalStdOutStreamDest, nullptr);
    EXPECT_TRUE(server.bus().start(nullptr));
    EXPECT_THAT(victory.operations(), IsEmpty());
    EXPECT_NE(COutputRedirector::originalStdOutStreamDest, nullptr);
}

TEST_F(VictoryServiceTest, AnUnreadableSensorFileIsTheAnswerButTheServiceRuns)
{
    ServerDoor lame((directory.path() / "none.xml").string());
    lame.settings().m_vclFile = server.settings().m_vclFile;
    EXPECT_FALSE(lame.bus().start(nullptr));
    EXPECT_TRUE(lame.bus().isStarted());
    EXPECT_EQ(victory.count("vapntsStartService"), 1U);
    EXPECT_THAT(popHealthEvents(),
                ElementsAre(testing::StartsWith("3:Halvex: Could not initialize configuration file: ")));
}

TEST_F(VictoryServiceTest, TestsOfTheUnitHaveTheConfiguredLimit)
{
    server.settings().m_BITtimeoutSeconds = 7;
    start();
    endSelfTest();
    server.builtInTests().Start();
    victory.fireExecuteBuiltInTests();
    EXPECT_EQ(victory.last("vapntsTellExecuteBuiltInTests").real(0), 7.0);
}

TEST_F(VictoryServiceTest, FilesOf65535CharactersAreReadWhole)
{
    victory.setFile("config", std::string(65535, 'c'));
    victory.setFile(server.settings().m_vclFile, std::string(65535, 'v'));
    EXPECT_TRUE(server.bus().start(nullptr));
    EXPECT_EQ(victory.last("vapntsNewService").text(0), std::string(65535, 'c'));
    EXPECT_EQ(victory.last("vapntsNewService").text(1), std::string(65535, 'v'));
}

TEST_F(VictoryServiceTest, ALongerFileIsRefusedNotCut)
{
    victory.setFile(server.settings().m_vclFile, std::string(65536, 'v'));
    EXPECT_FALSE(server.bus().start(nullptr));
    EXPECT_EQ(victory.count("vapntsNewService"), 0U);
    EXPECT_THAT(popHealthEvents(), ElementsAre(kReadError));
}

TEST_F(VictoryServiceTest, AFailedRestartKeepsTheOldService)
{
    start();
    VapntsService* const service = server.bus().service();
    victory.onCall("vapntsInitPubGroup", [] { throw std::runtime_error("no luck"); });
    server.bus().restart(1000);
    EXPECT_FALSE(server.bus().isStarted());
    EXPECT_NE(server.bus().service(), nullptr);  // frames are taken in as before
    EXPECT_NE(server.bus().service(), service);
    victory.onCall("vapntsInitPubGroup", nullptr);
    victory.setFile("config", std::string(65536, 'c'));
    VapntsService* const last = server.bus().service();
    server.bus().restart(1000);
    EXPECT_EQ(server.bus().service(), last);
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
}

TEST_F(VictoryServiceTest, WhateverThrowsIsReportedAndLeavesNoService)
{
    for (const std::string& operation : kStart) {
        ServerDoor broken(sensorFile);
        broken.settings().m_vclFile = server.settings().m_vclFile;
        victory.forgetCalls();
        victory.onCall(operation, [] { throw std::runtime_error("no luck"); });
        EXPECT_FALSE(broken.bus().start(nullptr)) << operation;
        EXPECT_FALSE(broken.bus().isStarted()) << operation;
        EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: An exception occurred. Details: no luck"))
            << operation;
        const bool isMade = victory.count("vapntsInitSaveVclidCallback") > 0;
        EXPECT_EQ(victory.count("vapntsDeleteService"), isMade ? 1U : 0U) << operation;
        victory.onCall(operation, nullptr);
        EXPECT_TRUE(broken.bus().start(nullptr)) << operation;
        broken.bus().stop();
        popHealthEvents();
    }
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
    EXPECT_THAT(console.text(), ContainsRegex("^OrvaneServer \\([0-9]+\\), InitializeVictory : OrvaneServer: An "
                                              "exception occurred. Details: no luck\n"));
}

TEST_F(VictoryServiceTest, WhatIsNoStandardExceptionIsReportedAsUnknown)
{
    victory.onCall("vapntsStartService", [] { throw 42; });
    EXPECT_FALSE(server.bus().start(nullptr));
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: Unknown c++ exception occurred"));
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\), InitializeVictory : OrvaneServer: Unknown c\\+"
                                             "\\+ exception occurred\n"));
}

TEST_F(VictoryServiceTest, AnExceptionWhileCleaningUpIsReportedToo)
{
    victory.onCall("vapntsStartService", [] { throw 42; });
    victory.onCall("vapntsDeleteService", [] { throw std::runtime_error("worse"); });
    EXPECT_FALSE(server.bus().start(nullptr));
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: Unknown c++ exception occurred",
                                               "3:OrvaneServer: An exception occurred. Details: worse"));
}

// The end.

TEST_F(VictoryServiceTest, CallbacksRunToTheirEndWhileTheServiceIsDeleted)
{
    const HardDeadline deadline;
    server.collectPartNumbers();
    start();
    victory.onCall("vapntsDeleteService", [&] {
        std::thread([&] {
            VapntcSystemData data = VAPNTC_SYSTEM_DATA_CRYPTO;
            victory.fireTell(1);
            victory.fireTell(2);
            victory.fireSaveVclid("<new/>");
            victory.fireSystemConfiguration();
            victory.fireClearSystemData(&data);
        }).join();
    });
    EXPECT_TRUE(server.bus().stop());
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer : Cannot publish warnings while APNT service is not running! Warnings "
                            "remain queued.",
                            "3:OrvaneServer : Cannot publish NavWarSA threats while APNT service is not running! "
                            "Threats remain queued.",
                            "3:OrvaneServer : Ignored. Cannot save VCLID / VCL XML file while APNT service is not "
                            "running!",
                            "3:OrvaneServer : Cannot request part numbers while APNT service is not running!",
                            "3:OrvaneServer : Ignored. Cannot process APNT Clear System Data while APNT service is "
                            "not running!",
                            "2:OrvaneServer : VapntsService exited"));
}

TEST_F(VictoryServiceTest, WhatThrowsInAnyOtherCallLeavesNoLockBehind)
{
    const HardDeadline deadline;
    start();
    victory.onCall("vapntsInitTellExecuteBuiltInTestsCallback", [] { throw std::runtime_error("no luck"); });
    EXPECT_THROW(endSelfTest(), std::runtime_error);
    EXPECT_TRUE(server.bus().stop());
}

// The rate.

TEST_F(VictoryServiceTest, AMissingItemLeavesTheOtherChangeInPlace)
{
    setVcl(R"(<vcl:VCL><a type="ASSURED_PNT_BLENDED_NAVIGATION"><b name="updatePeriod" value="1"/></a></vcl:VCL>)");
    start();
    EXPECT_TRUE(server.bus().restart(5000));
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_THAT(victory.last("vapntsNewService").text(1), HasSubstr(R"(<b name="updatePeriod" value="5000"/>)"));
}

TEST_F(VictoryServiceTest, AServiceThatIsDownIsStarted)
{
    EXPECT_TRUE(server.bus().restart(1000));
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_EQ(victory.count("vapntsDeleteService"), 0U);
}

TEST_F(VictoryServiceTest, AVclFileThatCannotBeLoadedLeavesItToTheLibrary)
{
    start();
    server.settings().m_vclFile = (directory.path() / "none.xml").string();
    victory.answer("vapntsNewService", 0);
    EXPECT_TRUE(server.bus().restart(1000));
    EXPECT_EQ(victory.last("vapntsNewService").text(1), "");
    EXPECT_FALSE(server.bus().isStarted());
    EXPECT_THAT(popHealthEvents(), ElementsAre("2:OrvaneServer : VapntsService exited", kReadError));
}

TEST_F(VictoryServiceTest, AFailedRestartLeavesTheServiceDownAndDeletesItOnce)
{
    for (const char* operation : {"vutilReadStringFromFile", "vapntsNewService"}) {
        start();
        victory.onCall(operation, [] { throw std::runtime_error("no luck"); });
        EXPECT_TRUE(server.bus().restart(1000)) << operation;
        EXPECT_FALSE(server.bus().isStarted()) << operation;
        EXPECT_EQ(victory.count("vapntsDeleteService"), 1U) << operation;
        victory.onCall(operation, nullptr);
    }
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
}

TEST_F(VictoryServiceTest, ARestartIsTheStateOfNoService)
{
    start();
    victory.onCall("vapntsNewService", [&] {
        EXPECT_FALSE(server.bus().isStarted());
        endSelfTest();
    });
    server.bus().restart(1000);
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
    EXPECT_EQ(victory.count("vapntsTellSystemConfiguration"), 1U);
}

TEST_F(VictoryServiceTest, ARestartDoublesNoSensorAndSetsNoTestCallbacks)
{
    directory.write("sensors.xml", fileOf(manySensors(3)));
    start();
    endSelfTest();
    server.bus().restart(1000);
    EXPECT_EQ(victory.last("vapntsTellAvailableSensors").record<VapntcAvailableSensors>().sensorCount, 3);
    EXPECT_EQ(victory.count("vapntsInitTellExecuteBuiltInTestsCallback"), 1U);
}

// Saving of the VCL text.

TEST_F(VictoryServiceTest, ANewVclTextIsWritten)
{
    start();
    EXPECT_EQ(victory.fireSaveVclid("<new/>"), 0);
    EXPECT_EQ(victory.last("vutilWriteStringToFile").text(0), "<new/>");
    EXPECT_EQ(readFile(server.settings().m_vclFile), "<new/>");
    EXPECT_EQ(console.text(), "");
    server.settings().m_quiet = false;
    EXPECT_EQ(victory.fireSaveVclid("<new/>"), 0);
    EXPECT_EQ(console.text(), "OrvaneServer: Saving VCLID file: " + server.settings().m_vclFile + "\n");
}

TEST_F(VictoryServiceTest, AFailedWriteOfTheVclTextAnswersOne)
{
    start();
    victory.answer("vutilWriteStringToFile", -1);
    EXPECT_EQ(victory.fireSaveVclid("<new/>"), 1);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(VictoryServiceTest, NoVclTextIsNotWritten)
{
    start();
    EXPECT_EQ(victory.fireSaveVclid(nullptr), 1);
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(VictoryServiceTest, NoVclTextIsSavedWithoutAnInstance)
{
    EXPECT_EQ(ServerDoor::libraryWithoutContext().saveVcl("<new/>"), 1);
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: instance pointer was not found in VICTORY callbackData "
                                               "parameter"));
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\), cbSaveVclidCallback : OrvaneServer: instance "
                                             "pointer was not found in VICTORY callbackData parameter\n"));
}

TEST_F(VictoryServiceTest, NoVclTextIsSavedWhileTheServiceIsDown)
{
    EXPECT_EQ(server.busLibrary().saveVcl("<new/>"), 0);
    EXPECT_THAT(victory.operations(), IsEmpty());
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer : Ignored. Cannot save VCLID / VCL XML file while APNT "
                                               "service is not running!"));
    EXPECT_THAT(console.text(),
                MatchesRegex("OrvaneServer \\([0-9]+\\), cbSaveVclidCallback : OrvaneServer : Ignored\\. "
                             "Cannot save VCLID / VCL XML file while APNT service is not running!\n"));
}

TEST_F(VictoryServiceTest, AVclTextIsSavedWhileAClearIsOnlyRequested)
{
    start();
    server.clearData().setCommandResponseMessageCallback([](const std::string&) { return false; });
    server.clearData().processClearDataRequestType(ClearDataCommand::CLEAR_ZEROIZE);
    ASSERT_EQ(server.clearData().state(), ClearDataCommand::STATE_REQUESTED);
    EXPECT_EQ(victory.fireSaveVclid("<new/>"), 0);
    EXPECT_EQ(readFile(server.settings().m_vclFile), "<new/>");
}

TEST_F(VictoryServiceTest, NoVclTextIsSavedDuringAClearWhetherTheServiceRunsOrNot)
{
    server.clearData().setQuiet(true);
    server.clearData().setClearDataInProgressTimeout(std::chrono::hours(1));
    server.clearData().setCommandResponseMessageCallback([&](const std::string&) {
        server.clearData().processClearRequestedResponse("REQUEST_ZEROIZE_ACK");
        return true;
    });
    server.clearData().processClearDataRequestType(ClearDataCommand::CLEAR_ZEROIZE);
    ASSERT_EQ(server.clearData().state(), ClearDataCommand::STATE_IN_PROGRESS);
    popHealthEvents();
    EXPECT_EQ(server.busLibrary().saveVcl("<new/>"), 1);
    EXPECT_THAT(victory.operations(), IsEmpty());
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer : APNT Clear in progress, not processing SaveVCLID command"));
    EXPECT_THAT(console.text(),
                MatchesRegex("OrvaneServer \\([0-9]+\\), cbSaveVclidCallback : OrvaneServer : APNT Clear "
                             "in progress, not processing SaveVCLID command\n"));
}

TEST_F(VictoryServiceTest, AnExceptionWhileSavingAnswersOne)
{
    start();
    victory.onCall("vutilWriteStringToFile", [] { throw std::runtime_error("no luck"); });
    EXPECT_EQ(victory.fireSaveVclid("<new/>"), 1);
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: An exception occurred. Details: no luck"));
    victory.onCall("vutilWriteStringToFile", [] { throw 42; });
    EXPECT_EQ(victory.fireSaveVclid("<new/>"), 1);
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: Unknown c++ exception occurred"));
    EXPECT_THAT(console.text(),
                MatchesRegex("OrvaneServer \\([0-9]+\\), cbSaveVclidCallback : OrvaneServer: An exception "
                             "occurred\\. Details: no luck\n"
                             "OrvaneServer \\([0-9]+\\), cbSaveVclidCallback : OrvaneServer: Unknown "
                             "c\\+\\+ exception occurred\n"));
}

TEST_F(VictoryServiceTest, NothingThatTheLibraryCallsThrows)
{
    start();
    const auto failing = [] { throw 42; };
    for (const char* operation :
         {"vapntsTellNavWarSaData", "vapntsTellWarningMessagesData", "vapntsTellClearSystemData"})
        victory.onCall(operation, failing);
    VapntcSystemData data = VAPNTC_SYSTEM_DATA_CRYPTO;
    victory.fireTell(1);
    victory.fireTell(2);
    victory.fireClearSystemData(&data);
    EXPECT_THAT(popHealthEvents(), Contains("3:OrvaneServer: Unknown c++ exception occurred").Times(3));
}

// What the library prints.

// The reporter isn't started here: it prints each record that it would send, and that it can't.
TEST_F(VictoryServiceTest, AFaultOfASenderBecomesNumberedMaintenanceRecords)
{
    const std::string text = "error: SOAP 1.2 fault SOAP-ENV:Sender [no subcode]\n";
    EXPECT_EQ(server.libraryPrints((text + "beyond").c_str(), static_cast<unsigned>(text.size())), text.size());
    EXPECT_THAT(
        console.text(),
        AllOf(HasSubstr(": Sending maintenance event: SOAP_1:error: SOAP 1.2 fault SOAP-ENV:Sender [no subcod\n"),
              HasSubstr(": Sending maintenance event: SOAP_2:e]\n"), Not(HasSubstr("beyond"))));
}

TEST_F(VictoryServiceTest, AnyOtherTextIsNotTaken)
{
    for (const std::string& text : {std::string("error: SOAP 1.2 fault SOAP-ENV:Receiver"),
                                    std::string("SOAP 1.2 fault SOAP-ENV:Sende"), std::string("")})
        EXPECT_EQ(server.libraryPrints(text.c_str(), static_cast<unsigned>(text.size())), 0U) << text;
    EXPECT_EQ(server.libraryPrints(nullptr, 0), 0U);
    EXPECT_EQ(console.text(), "");
}

TEST_F(VictoryServiceTest, WhatTheLibraryPrintsIsShownOnDebug)
{
    server.settings().m_debug = true;
    server.libraryPrints("anything", 8);
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\) logMaintenanceEvent: OrvaneServer SOAP Error: "
                                             "anything\n"));
}

TEST_F(VictoryServiceTest, FromTheStartOnWhatTheProcessPrintsComesBy)
{
    start();
    std::puts("SOAP 1.2 fault SOAP-ENV:Sender 17");
    std::fflush(stdout);
    EXPECT_THAT(console.text(), HasSubstr(": Sending maintenance event: SOAP:SOAP 1.2 fault SOAP-ENV:Sender 17\n"));
}

TEST_F(VictoryServiceTest, WhatIsStillBufferedWhenTheServerEndsComesByToo)
{
    {
        ServerDoor other(sensorFile);
        other.bus().start(nullptr);
        std::fputs("SOAP 1.2 fault SOAP-ENV:Sender 18", stdout);  // no line's end
        other.bus().stop();
        EXPECT_THAT(console.text(), Not(HasSubstr("Sender 18")));
    }
    EXPECT_THAT(console.text(), HasSubstr(": Sending maintenance event: SOAP:SOAP 1.2 fault SOAP-ENV:Sender 18\n"));
}

// The turn of the worker.

TEST_F(VictoryServiceTest, TestCallbacksHaveTheTestsAsTheirContext)
{
    start();
    EXPECT_THROW(victory.fireExecuteBuiltInTests(), std::logic_error);
    endSelfTest();
    EXPECT_THAT(victory.operations(),
                ElementsAre("vapntsInitTellExecuteBuiltInTestsCallback", "vapntsInitTellGetBuiltInTestResultsCallback",
                            "vapntsInitTellClearBuiltInTestResultsCallback"));
    for (const auto& call : victory.calls()) EXPECT_EQ(call.pointer(0), &server.builtInTests()) << call.operation;
    EXPECT_EQ(victory.calls()[0].number(1), 0);
    server.builtInTests().Start();
    victory.fireExecuteBuiltInTests();
    victory.fireGetBuiltInTestResults({});
    victory.fireClearBuiltInTestResults({});
    EXPECT_EQ(victory.count("vapntsTellExecuteBuiltInTests"), 1U);
    EXPECT_EQ(victory.count("vapntsTellGetBuiltInTestResults"), 1U);
    EXPECT_EQ(victory.count("vapntsTellClearBuiltInTestResults"), 1U);
}

TEST_F(VictoryServiceTest, NoTestCallbacksAreSetInAServiceThatIsDown)
{
    ServerDoor other(sensorFile);
    endSelfTest(other);
    start();
    server.bus().stop();
    endSelfTest();
    EXPECT_EQ(victory.count("vapntsInitTellExecuteBuiltInTestsCallback"), 0U);
}

TEST_F(VictoryServiceTest, TurnThatSeesTheSelfTestOverLetsTestsInAndTheNextRunsThem)
{
    std::vector<std::string> commands;
    server.builtInTests().setCommandResponseMessageCallback([&](const std::string& command) {
        commands.push_back(command);
        return true;
    });
    server.settings().m_flagDirectory = directory.path().string();
    server.builtInTests().Start();
    start();
    server.turn();
    EXPECT_EQ(victory.count("vapntsInitTellExecuteBuiltInTestsCallback"), 0U);

    directory.write("PostComplete", "");
    server.builtInTests().ExecuteBuiltInTests(server.bus().service());
    server.turn();
    EXPECT_EQ(victory.count("vapntsInitTellExecuteBuiltInTestsCallback"), 1U);
    // They are looked at before the self test is seen to be over.
    EXPECT_THAT(popHealthEvents(), Not(Contains(HasSubstr("REQUEST_PARTNUMBERS"))));
    EXPECT_THAT(commands, IsEmpty());

    std::filesystem::remove(directory.path() / "PostComplete");  // once seen is seen
    server.turn();
    EXPECT_EQ(victory.count("vapntsInitTellExecuteBuiltInTestsCallback"), 1U);
    EXPECT_THAT(popHealthEvents(), Contains(HasSubstr("REQUEST_PARTNUMBERS")));
    EXPECT_THAT(commands, ElementsAre("REQUEST_CBIT"));
}

// Threads.

TEST_F(VictoryServiceTest, NobodyUsesADeletedServiceWhateverMeets)
{
    const HardDeadline deadline(240s);
    LibraryThreads library(victory);
    server.collectPartNumbers();
    server.settings().m_gssipSourceServers = {39};
    server.settings().m_flagDirectory = directory.path().string();
    std::atomic<int> published = 0;
    victory.onCall("vapntsTellBlendedNavigationData", [&] { ++published; });
    server.run();
    server.bus().start(nullptr);

    FrameBytes frame;
    ZentorM_8504_Msg status;
    status.WriteMessage(&frame);
    aspn2_msgs::idl::GSSIP record;
    record.header().device_id(39 << 16);
    record.data(frame.data);
    record.num_bytes(static_cast<std::int32_t>(frame.data.size()));

    aspn2_msgs::idl::CommandResponse partNumbers;
    partNumbers.header().device_id(49 << 16);
    partNumbers.command_response("PARTNUMBERS");

    std::atomic<bool> stop = false;
    const auto loop = [&](const std::function<void()>& body) {
        return std::thread([&stop, body] {
            do {
                body();
                std::this_thread::sleep_for(100us);  // or else the recorder's list fills the memory
            } while (!stop);
        });
    };
    std::vector<std::thread> threads;
    threads.push_back(loop([&] {
        server.deliver(aspn2_msgs::idl::UTCTime());
        server.deliver(aspn2_msgs::idl::PositionVelocityAttitude());
        server.deliver(aspn2_msgs::idl::HalvexPNT());
        server.deliver(aspn2_msgs::idl::MeasurementIncorporationStatus());
        server.deliver(aspn2_msgs::idl::AssuranceState());
        server.fromReceiver(record);
    }));
    threads.push_back(loop([&] { server.turn(); }));
    threads.push_back(loop([&] { server.response(partNumbers); }));
    threads.push_back(loop([&] { library.run([&] { victory.fireTell(1); }); }));
    threads.push_back(loop([&] { library.run([&] { victory.fireTell(2); }); }));
    threads.push_back(loop([&] {
        library.run([&] {
            victory.fireSaveVclid("<new/>");
            victory.fireSystemConfiguration();
        });
    }));
    threads.push_back(loop([&] { server.bus().start(nullptr); }));
    for (int i = 0; i < 30; ++i) {
        if (i == 15) directory.write("PostComplete", "");
        server.bus().restart(1000);
        server.bus().stop();
        popHealthEvents();
        victory.forgetCalls();
    }
    stop = true;
    for (auto& thread : threads) thread.join();
    server.bus().stop();
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
    EXPECT_GE(library.made, 30);
    EXPECT_EQ(library.deleted, library.made);
    EXPECT_GE(published, library.made);  // each start tells one
}
