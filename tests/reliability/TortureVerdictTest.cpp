#include "reliability/torture/Verdict.h"
#include "reliability/torture/Walked.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using torture::Ending;
using torture::Facts;
using torture::Judge;
using torture::Phase;
using torture::Point;

namespace {

const std::string kOwnStack = " libstdc++.so.6+0xa8e1a OrvaneServer+0xd060e libc.so.6+0x891f5";
const std::string kMainStack = " libstdc++.so.6+0xa8e1a OrvaneServer+0xd060e libc.so.6+0x27305(__libc_start_main)";
const std::string kForeignStack = " libstdc++.so.6+0xa8e1a libfastrtps.so.2.9+0x12(_ZN4eprosima) libc.so.6+0x891f5";

const Judge kJudge({.lines = {"line # of start"}},
                   {{.function = "open", .place = "/config$", .reason = "it has its place"}});
constexpr const char* kReadNoMore =
    "The queues are read no more, waiting for their input failed: Cannot allocate memory";

Facts cleanEnd()
{
    Facts facts;
    facts.failed = 1;
    facts.status = 0;
    facts.lines = {"line 1 of start"};
    facts.log = {"failed read 1 errno 5 thread 7" + kOwnStack};
    return facts;
}

Facts endedBy(int signal, const std::string& stack)
{
    Facts facts = cleanEnd();
    facts.status = -1;
    facts.signal = signal;
    facts.lines = {"terminate called after throwing an instance of 'std::bad_alloc'", "  what():  std::bad_alloc"};
    facts.log.push_back("crashed 6" + stack);
    return facts;
}

Ending endingOf(const Facts& facts, Phase phase = Phase::Run)
{
    return kJudge.judge({phase, "open", 1, true, ""}, facts).ending;
}

/// How a service ends that went on in silence when this was refused, by the table of the walk.
Ending endingOfSilence(const std::string& call, const std::string& stack = kOwnStack, std::uint64_t number = 3)
{
    Facts facts = cleanEnd();
    facts.log = {"failed kind 3 errno 5 thread 7 of " + call + stack};
    return Judge({.lines = {"line # of start"}}, torture::knownExceptions())
        .judge({Phase::Run, "kind", number, true, ""}, facts)
        .ending;
}

}  // namespace

TEST(TortureVerdictTest, SilenceOfTheServiceIsABrokenPromise)
{
    EXPECT_EQ(endingOf(cleanEnd()), Ending::Broken);
}

TEST(TortureVerdictTest, AnUnusualLineTells)
{
    Facts facts = cleanEnd();
    facts.lines.emplace_back("Unable to open");
    EXPECT_EQ(endingOf(facts), Ending::Told);
}

TEST(TortureVerdictTest, AnUnusualLineThatTellsOfNoFailureTellsNothing)
{
    Facts facts = cleanEnd();
    facts.lines.emplace_back("OrvaneServer: Processed GSSIP: 5044 from 3");
    facts.lines.emplace_back("OrvaneServer: cHas CPU Affinity for CPU1");  // the half of a line, and another one
    facts.lines.emplace_back("OrvaneServer KP!!!!!! OrvaneServer HealthReporter could not publish event type/info = "
                             "2/OrvaneServer stopped successfully.");
    EXPECT_EQ(endingOf(facts), Ending::Broken);
    facts.lines.emplace_back("A message of connection 3 was lost: std::bad_alloc");
    EXPECT_EQ(endingOf(facts), Ending::Told);
}

TEST(TortureVerdictTest, AUsualLineWithAnotherNumberTellsNothing)
{
    Facts facts = cleanEnd();
    facts.lines.emplace_back("line 22 of start");
    EXPECT_EQ(endingOf(facts), Ending::Broken);
}

TEST(TortureVerdictTest, ALastEventThatFindsNobodyTellsNothing)
{
    Facts facts = cleanEnd();
    facts.lines.emplace_back("!!!!!! OrvaneServer HealthReporter could not publish event type/info = 2/OrvaneServer "
                             "stopped successfully.");
    facts.lines.emplace_back("event: OrvaneServer stopped successfully.");
    EXPECT_EQ(endingOf(facts), Ending::Broken);
}

TEST(TortureVerdictTest, AHangIsABrokenPromiseThoughItBeganInACallOfALibrary)
{
    Facts facts = cleanEnd();
    facts.hang = "end";
    facts.log = {"failed send 1 errno 5 thread 7" + kForeignStack};
    EXPECT_EQ(endingOf(facts), Ending::Broken);
}

TEST(TortureVerdictTest, DescriptorsThatStayOpenAreABrokenPromiseThoughACallOfALibraryFailed)
{
    Facts facts = cleanEnd();
    facts.moreDescriptors = 1;
    facts.log = {"failed open 1 errno 5 thread 7" + kForeignStack};
    EXPECT_EQ(endingOf(facts), Ending::Broken);
}

TEST(TortureVerdictTest, WhoPrintsAndNeverJoinsAgainHasNotTold)
{
    Facts facts = cleanEnd();
    facts.isDeaf = true;
    facts.lines.emplace_back("Unable to open");
    EXPECT_EQ(endingOf(facts), Ending::Broken);
}

TEST(TortureVerdictTest, WhoNeverJoinsAgainAfterACallOfALibraryBreaksAPromise)
{
    Facts facts = cleanEnd();
    facts.isDeaf = true;
    facts.log = {"failed send 1 errno 5 thread 7" + kForeignStack};
    EXPECT_EQ(endingOf(facts), Ending::Broken);
}

TEST(TortureVerdictTest, WhoNeverJoinsAgainAndSaysSoAsUsersAreToldHasTold)
{
    Facts facts = cleanEnd();
    facts.isDeaf = true;
    facts.lines.emplace_back(kReadNoMore);
    EXPECT_EQ(endingOf(facts), Ending::Told);
}

TEST(TortureVerdictTest, WhereNoCallFailedPromisesHoldAllTheSame)
{
    Facts facts = cleanEnd();
    facts.failed = 0;
    facts.log = {};
    EXPECT_EQ(endingOf(facts), Ending::NotReached);
    facts.isDeaf = true;
    EXPECT_EQ(endingOf(facts), Ending::Broken);
    facts.isDeaf = false;
    facts.isVclWhole = false;
    EXPECT_EQ(endingOf(facts), Ending::Broken);
    facts.isVclWhole = true;
    facts.moreDescriptors = 1;
    EXPECT_EQ(endingOf(facts), Ending::Broken);
    facts.moreDescriptors = 0;
    facts.status = 1;
    EXPECT_EQ(endingOf(facts), Ending::Broken);
}

TEST(TortureVerdictTest, OnlyLinesOfLastingFailuresTellDeafness)
{
    EXPECT_TRUE(torture::isDeafnessTold("a line\n" + std::string(kReadNoMore) + "\n"));
    EXPECT_TRUE(torture::isDeafnessTold("libvictory: cannot open the bus at /tmp/bus: pthread_create: no"));
    EXPECT_FALSE(torture::isDeafnessTold(
        "OrvaneServer (50), InitializeVictory : OrvaneServer Error capturing what the VICTORY library prints."));
}

TEST(TortureVerdictTest, SilenceMayHaveAKnownReason)
{
    Facts facts = cleanEnd();
    facts.log = {"failed open 1 errno 13 thread 7 of open64 at /opt/config" + kOwnStack};
    EXPECT_EQ(endingOf(facts), Ending::Tolerated);
    facts.log = {"failed open 1 errno 13 thread 7 of open64 at /opt/config/file" + kOwnStack};
    EXPECT_EQ(endingOf(facts), Ending::Broken);
    facts.log = {"failed open 1 errno 13 thread 7 of openat at /opt/config" + kOwnStack};
    EXPECT_EQ(endingOf(facts), Ending::Broken);
}

TEST(TortureVerdictTest, ALookAtAQueueMayFailInSilenceAndTheWaitForAllMayNot)
{
    EXPECT_EQ(endingOfSilence("poll at /dev/mcs5 with 0"), Ending::Tolerated);
    EXPECT_EQ(endingOfSilence("poll with 50"), Ending::Broken);
    EXPECT_EQ(endingOfSilence("poll at /dev/mcs5 with 50"), Ending::Broken);
}

TEST(TortureVerdictTest, TheLibrarysStandardErrorIsTheFirstStreamOfTheService)
{
    EXPECT_EQ(endingOfSilence("fopencookie", kOwnStack, 1), Ending::Tolerated);
    EXPECT_EQ(endingOfSilence("fopencookie", kOwnStack, 2), Ending::Broken);
}

TEST(TortureVerdictTest, AnEventOfTheServiceItselfMayLackInSilence)
{
    EXPECT_EQ(endingOfSilence("eventfd", kOwnStack), Ending::Tolerated);
    EXPECT_EQ(endingOfSilence("timerfd_create", kOwnStack), Ending::Broken);
}

TEST(TortureVerdictTest, ALostLineMayBeSilentWhereItIsTheLast)
{
    Facts facts = cleanEnd();
    facts.log = {"failed write 2 errno 5 thread 7 of write at pipe:[12]" + kOwnStack};
    const Judge judge({.lines = {"line # of start"}}, torture::knownExceptions());
    const Point second{Phase::Stop, "write", 2, true, "OrvaneServer"};
    facts.calls["write"] = 2;
    EXPECT_EQ(judge.judge(second, facts).ending, Ending::Tolerated);
    facts.calls["write"] = 3;
    EXPECT_EQ(judge.judge(second, facts).ending, Ending::Broken);
    EXPECT_EQ(judge.judge({Phase::Stop, "write", 2, true, ""}, facts).ending, Ending::Tolerated);
}

TEST(TortureVerdictTest, MemoryForTheQualityOfAMessageMayBeRefusedInSilenceAndNoOther)
{
    EXPECT_EQ(endingOfSilence("malloc with 100", kOwnStack + " libfastrtps.so.2.9+0x12"), Ending::Broken);
}

TEST(TortureVerdictTest, AReasonMayHoldInOnePhaseAlone)
{
    Facts facts = cleanEnd();
    facts.log = {"failed read 1 errno 5 thread 7 of read" + kOwnStack};
    const Judge judge({.lines = {"line # of start"}},
                      {{.function = "read", .phase = Phase::Stop, .reason = "it ends anyway"}});
    EXPECT_EQ(judge.judge({Phase::Stop, "read", 1, true, ""}, facts).ending, Ending::Tolerated);
    EXPECT_EQ(judge.judge({Phase::Run, "read", 1, true, ""}, facts).ending, Ending::Broken);
}

TEST(TortureVerdictTest, ALibraryMayDoWithoutForAKnownReasonAndElseIsToldApart)
{
    EXPECT_EQ(endingOfSilence("sendto at socket:[7]", kForeignStack), Ending::Library);
    EXPECT_EQ(endingOfSilence("sendto at socket:[7]"), Ending::Broken);
    EXPECT_EQ(endingOfSilence("sendto at socket:[7]", " libother.so.1+0x1"), Ending::Unknown);
    EXPECT_EQ(endingOfSilence("pthread_create", kForeignStack), Ending::Unknown);
}

TEST(TortureVerdictTest, AReasonOfTheServiceIsNoneForALibrary)
{
    EXPECT_EQ(endingOfSilence("sched_getaffinity"), Ending::Tolerated);
    EXPECT_EQ(endingOfSilence("sched_getaffinity", kForeignStack), Ending::Unknown);
}

TEST(TortureVerdictTest, WhoIsToldThatItsTextIsSavedFindsIt)
{
    Facts facts = cleanEnd();
    facts.lines.emplace_back("Unable to open");
    facts.vclAnswer = "saved";
    EXPECT_EQ(endingOf(facts), Ending::Broken);
    facts.isVclNew = true;
    EXPECT_EQ(endingOf(facts), Ending::Told);
    facts.isVclNew = false;
    facts.vclAnswer = "refused";
    EXPECT_EQ(endingOf(facts), Ending::Told);
}

TEST(TortureVerdictTest, ATextThatIsNotSavedWhileTheBusServiceDoesNotRunIsTold)
{
    Facts facts = cleanEnd();
    facts.vclAnswer = "saved";
    facts.lines.emplace_back(
        "event: OrvaneServer : Ignored. Cannot save VCLID / VCL XML file while APNT service is not "
        "running!");
    facts.lines.emplace_back("Unable to open");
    EXPECT_EQ(endingOf(facts), Ending::Told);
}

TEST(TortureVerdictTest, ATextThatCanNotTakeItsPlaceMayBeLostInSilenceIfItsClientIsTold)
{
    Facts facts = cleanEnd();
    facts.log = {"failed rename 1 errno 5 thread 7 of rename at /opt/halvex/config/a.xml.replacement" + kOwnStack};
    const Judge judge({.lines = {"line # of start"}}, torture::knownExceptions());
    const Point point{Phase::Run, "rename", 1, true, ""};
    facts.vclAnswer = "refused";
    EXPECT_EQ(judge.judge(point, facts).ending, Ending::Tolerated);
    facts.vclAnswer = "none";
    EXPECT_EQ(judge.judge(point, facts).ending, Ending::Broken);
}

TEST(TortureVerdictTest, HangsLeaksAndTornFilesAreBrokenPromisesWhateverIsTold)
{
    Facts facts = cleanEnd();
    facts.lines.emplace_back("Unable to open");
    facts.hang = "end";
    EXPECT_EQ(endingOf(facts), Ending::Broken);
    facts.hang = "";
    facts.moreDescriptors = 1;
    EXPECT_EQ(endingOf(facts), Ending::Broken);
    facts.moreDescriptors = 0;
    facts.isVclWhole = false;
    EXPECT_EQ(endingOf(facts), Ending::Broken);
}

TEST(TortureVerdictTest, AStepMayEndTheProcessButNoOtherThreadOfTheService)
{
    EXPECT_EQ(endingOf(endedBy(SIGABRT, kMainStack), Phase::Start), Ending::Refused);
    EXPECT_EQ(endingOf(endedBy(SIGABRT, kOwnStack), Phase::Start), Ending::Broken);
    EXPECT_EQ(endingOf(endedBy(SIGABRT, kMainStack), Phase::Run), Ending::Broken);
}

TEST(TortureVerdictTest, AnAbortWithoutAReasonIsABrokenPromise)
{
    Facts facts = endedBy(SIGABRT, kMainStack);
    facts.lines = {"terminate called without an active exception"};
    EXPECT_EQ(endingOf(facts, Phase::Start), Ending::Broken);
}

TEST(TortureVerdictTest, ACrashInForeignCodeIsCountedApart)
{
    EXPECT_EQ(endingOf(endedBy(SIGSEGV, kForeignStack)), Ending::Foreign);
    EXPECT_EQ(endingOf(endedBy(SIGSEGV, kMainStack)), Ending::Broken);
}

TEST(TortureVerdictTest, AnAssertionOfALibraryIsForeignThoughTheServiceCalledIt)
{
    const std::string stack = " libc.so.6+0x26395 libfastrtps.so.2.9+0x40b83b" + kMainStack;
    Facts facts = endedBy(SIGABRT, stack);
    facts.lines = {"Assertion failed"};
    EXPECT_EQ(endingOf(facts, Phase::Start), Ending::Foreign);
}

TEST(TortureVerdictTest, AnExceptionThroughALibraryToAThreadOfTheServiceIsItsOwn)
{
    const std::string stack = kForeignStack + " OrvaneServer+0x1";
    EXPECT_EQ(endingOf(endedBy(SIGABRT, stack), Phase::Run), Ending::Broken);
}

TEST(TortureVerdictTest, AFailedCallTellsWhatItIsAbout)
{
    Facts facts;
    facts.log = {"failed fcntl 2 errno 22 thread 7 of fcntl64 at /dev/mcs5 with -2" + kOwnStack};
    const auto call = torture::failedCallOf(facts);
    EXPECT_EQ(call.function, "fcntl");
    EXPECT_EQ(call.place, "/dev/mcs5");
    EXPECT_EQ(call.number, "-2");
    EXPECT_EQ(torture::ownerOf(call.frames), "OrvaneServer");
    facts.log = {"failed read 2 errno 5 thread 7 of __read_chk" + kForeignStack};
    EXPECT_EQ(torture::failedCallOf(facts).function, "read");
    EXPECT_EQ(torture::failedCallOf(facts).place, "");
}

TEST(WalkedTest, GoesOnWhereItWasBrokenOff)
{
    const TemporaryDirectory directory;
    const std::string path = directory.path() / "walked";
    const Point point{Phase::Run, "open", 1, true, ""};
    torture::Walked(path, "a").add(point, endedBy(SIGSEGV, kOwnStack));
    std::ofstream(path, std::ios::app) << "run open 2 once\t{\"signal\":1";
    torture::Walked again(path, "a");
    ASSERT_TRUE(again.at(point));
    EXPECT_EQ(again.at(point)->signal, SIGSEGV);
    EXPECT_FALSE(again.at({Phase::Run, "open", 2, true, ""}));
    again.add({Phase::Run, "open", 3, true, ""}, cleanEnd());
    EXPECT_TRUE(torture::Walked(path, "a").at({Phase::Run, "open", 3, true, ""}));
}

TEST(WalkedTest, AnotherBuildOfTheServiceIsWalkedAnew)
{
    const TemporaryDirectory directory;
    const std::string path = directory.path() / "walked";
    const Point point{Phase::Run, "open", 1, true, ""};
    torture::Walked(path, "a").add(point, cleanEnd());
    EXPECT_FALSE(torture::Walked(path, "b").at(point));
    EXPECT_FALSE(torture::Walked(path, "a").at(point));
}

TEST(WalkedTest, WhatWasSeenOfAnotherBuildCanBeJudged)
{
    const TemporaryDirectory directory;
    const std::string path = directory.path() / "walked";
    const Point point{Phase::Stop, "malloc", 17, false, "OrvaneServer"};
    torture::Walked(path, "a").add(point, endedBy(SIGSEGV, kOwnStack));
    const auto walked = torture::allWalked(path);
    ASSERT_EQ(walked.size(), 1U);
    EXPECT_EQ(textOf(walked[0].first), "stop malloc 17 on of OrvaneServer");
    EXPECT_EQ(walked[0].second.signal, SIGSEGV);
    EXPECT_THROW(torture::allWalked(directory.write("other", "text\n")), std::runtime_error);
}

TEST(WalkedTest, FilesOfOtherBytesHaveOtherFingerprints)
{
    const TemporaryDirectory directory;
    EXPECT_EQ(torture::fingerprintOf(directory.write("a", "text")),
              torture::fingerprintOf(directory.write("b", "text")));
    EXPECT_NE(torture::fingerprintOf(directory.write("a", "text")),
              torture::fingerprintOf(directory.write("b", "test")));
}

TEST(TortureVerdictTest, FactsComeThroughTheirText)
{
    Facts facts = endedBy(SIGSEGV, kOwnStack);
    facts.calls["read"] = 7;
    facts.moreDescriptors = 3;
    facts.vclAnswer = "saved";
    facts.isVclNew = true;
    const Facts again = Facts::of(facts.text());
    EXPECT_EQ(again.signal, SIGSEGV);
    EXPECT_EQ(again.calls.at("read"), 7U);
    EXPECT_EQ(again.moreDescriptors, 3);
    EXPECT_EQ(again.vclAnswer, "saved");
    EXPECT_TRUE(again.isVclNew);
    EXPECT_EQ(again.log, facts.log);
}

TEST(TortureVerdictTest, FramesTellObjectOffsetAndFunction)
{
    const auto frames = torture::framesOf("crashed 6" + kMainStack);
    ASSERT_EQ(frames.size(), 3U);
    EXPECT_EQ(frames[1].object, "OrvaneServer");
    EXPECT_EQ(frames[1].offset, "0xd060e");
    EXPECT_EQ(frames[2].function, "__libc_start_main");
    EXPECT_EQ(torture::ownerOf(frames), "OrvaneServer");
}

TEST(TortureVerdictTest, NodesOfTheKernelAreAlikeAndPathsStayWhole)
{
    EXPECT_EQ(torture::withoutNode("socket:[4711]"), "socket:");
    EXPECT_EQ(torture::withoutNode("anon_inode:[eventfd]"), "anon_inode:[eventfd]");
    EXPECT_EQ(torture::withoutNode("/tmp/a:[12]"), "/tmp/a:[12]");
    EXPECT_EQ(torture::withoutNode("/dev/mcs5"), "/dev/mcs5");
}

namespace {

/// How a service ends after a start in which a call failed, and which it told. One in which nothing fails has two pipes
/// and a socket at work, and a pipe at its exit.
torture::Verdict verdictOfStart(const std::vector<std::string>& open, const std::vector<std::string>& left,
                                const std::string& call = "open")
{
    Facts clean = cleanEnd();
    clean.open = {"pipe:", "pipe:"};
    clean.left = {"pipe:"};
    torture::Usual usual;
    usual.add(Phase::Start, clean);
    clean.open = {"pipe:", "socket:"};
    usual.add(Phase::Start, clean);

    Facts facts = cleanEnd();
    facts.lines.emplace_back("Unable to open");
    facts.open = open;
    facts.left = left;
    facts.log = {"failed kind 1 errno 24 thread 7 of " + call + kOwnStack};
    return Judge(usual, {}).judge({Phase::Start, "open", 1, true, ""}, facts);
}

}  // namespace

TEST(TortureVerdictTest, ADescriptorMoreThanUsualAfterAStartIsABrokenPromise)
{
    EXPECT_EQ(verdictOfStart({"pipe:", "pipe:", "socket:"}, {}).ending, Ending::Told);
    EXPECT_EQ(verdictOfStart({"socket:", "pipe:", "/dev/mcs5"}, {}).why, "stay open after the start: /dev/mcs5");
    EXPECT_EQ(verdictOfStart({"pipe:", "pipe:", "pipe:"}, {}).ending, Ending::Broken);
}

TEST(TortureVerdictTest, APipeMayStandInForWhatWakesAThread)
{
    const std::vector<std::string> open = {"pipe:", "pipe:", "pipe:", "pipe:"};
    EXPECT_EQ(verdictOfStart(open, {}).ending, Ending::Broken);
    EXPECT_EQ(verdictOfStart(open, {}, "eventfd").ending, Ending::Told);
}

TEST(TortureVerdictTest, ADescriptorMoreThanUsualAtTheExitIsABrokenPromise)
{
    EXPECT_EQ(verdictOfStart({}, {"pipe:"}).ending, Ending::Told);
    EXPECT_EQ(verdictOfStart({}, {"pipe:", "/dev/mem"}).why, "stay open to the exit: /dev/mem");
}

TEST(TortureVerdictTest, DescriptorsAreNotJudgedWhereNothingIsUsual)
{
    Facts facts = cleanEnd();
    facts.lines.emplace_back("Unable to open");
    facts.left = {"/dev/mem"};
    EXPECT_EQ(endingOf(facts, Phase::Stop), Ending::Told);
}

TEST(TortureVerdictTest, WhoComesLaterMustBeHeardToo)
{
    Facts facts = cleanEnd();
    facts.lines.emplace_back("Unable to open");
    facts.isDeafToLate = true;
    EXPECT_EQ(kJudge.judge({Phase::Start, "thread", 2, true, ""}, Facts::of(facts.text())).why,
              "deaf to who comes later");
}

TEST(TortureVerdictTest, DescriptorsComeBackFromAFileOfFacts)
{
    Facts facts = cleanEnd();
    facts.open = {"pipe:", "/dev/mcs5"};
    facts.left = {"/dev/null"};
    EXPECT_EQ(Facts::of(facts.text()).open, facts.open);
    EXPECT_EQ(Facts::of(facts.text()).left, facts.left);
}
