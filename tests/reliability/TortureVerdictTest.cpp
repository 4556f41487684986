#include "reliability/torture/Verdict.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>

using torture::Ending;
using torture::Facts;
using torture::Judge;
using torture::Phase;
using torture::Point;

namespace {

const std::string kOwnStack = " libstdc++.so.6+0xa8e1a OrvaneServer+0xd060e libc.so.6+0x891f5";
const std::string kMainStack = " libstdc++.so.6+0xa8e1a OrvaneServer+0xd060e libc.so.6+0x27305(__libc_start_main)";
const std::string kForeignStack = " libstdc++.so.6+0xa8e1a libfastrtps.so.2.9+0x12(_ZN4eprosima) libc.so.6+0x891f5";

const Judge kJudge({"line # of start"}, {{"open", "Replacement::takePlace", "it has its place"}});

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

Ending endingOf(const Facts& facts, Phase phase = Phase::Run, const std::vector<std::string>& functions = {})
{
    return kJudge.judge({phase, "open", 1, true, ""}, facts, functions).ending;
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

TEST(TortureVerdictTest, AHangInACallOfALibraryIsForeign)
{
    Facts facts = cleanEnd();
    facts.hang = "end";
    facts.log = {"failed send 1 errno 5 thread 7" + kForeignStack};
    EXPECT_EQ(endingOf(facts), Ending::Foreign);
}

TEST(TortureVerdictTest, SilenceMayHaveAKnownReason)
{
    EXPECT_EQ(endingOf(cleanEnd(), Phase::Run, {"(anonymous namespace)::Replacement::takePlace()"}), Ending::Tolerated);
}

TEST(TortureVerdictTest, ALibraryMayDoWithout)
{
    Facts facts = cleanEnd();
    facts.log = {"failed send 1 errno 5 thread 7" + kForeignStack};
    EXPECT_EQ(endingOf(facts), Ending::Library);
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

TEST(TortureVerdictTest, FactsComeThroughTheirText)
{
    Facts facts = endedBy(SIGSEGV, kOwnStack);
    facts.calls["read"] = 7;
    facts.moreDescriptors = 3;
    const Facts again = Facts::of(facts.text());
    EXPECT_EQ(again.signal, SIGSEGV);
    EXPECT_EQ(again.calls.at("read"), 7U);
    EXPECT_EQ(again.moreDescriptors, 3);
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
