#include "VICTORY/Utilities/ClearDataCommand.h"
#include "ASPN/HealthReporter.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/NoNewThreads.h"
#include "tests/support/PretendedClock.h"
#include "tests/support/ProcessState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <future>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Texts = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

constexpr auto kNone = ClearDataCommand::CLEAR_NONE;
constexpr auto kZeroize = ClearDataCommand::CLEAR_ZEROIZE;
constexpr auto kDestroy = ClearDataCommand::CLEAR_DESTROY;
constexpr auto kZentorm = ClearDataCommand::CLEAR_ZENTORM_CV_ZEROIZE;
constexpr auto kIdle = ClearDataCommand::STATE_IDLE;
constexpr auto kRequested = ClearDataCommand::STATE_REQUESTED;
constexpr auto kInProgress = ClearDataCommand::STATE_IN_PROGRESS;

/// The health events since the last call, as "type:text".
Texts events()
{
    Texts texts;
    std::int32_t type = 0;
    std::string text;
    while (HealthReporter::Instance().queue().pop_front(type, text, 0ns))
        texts.push_back(std::to_string(type) + ":" + text);
    return texts;
}

/// Console lines without the number of the source line.
std::string withoutPlace(std::string text)
{
    std::size_t end = 0;
    for (std::size_t start = 0; (start = text.find('(', end)) != std::string::npos; end = start + 3) {
        end = text.find(')', start);
        if (end == std::string::npos) break;
        const std::string place = text.substr(start + 1, end - start - 1);
        EXPECT_TRUE(!place.empty() && place.find_first_not_of("0123456789") == std::string::npos) << place;
        text.replace(start, end - start + 1, "(#)");
    }
    return text;
}

class WakeableCommand : public ClearDataCommand {
public:
    using ClearDataCommand::ClearDataCommand;
    void wake() { m_stateChanged.notify_all(); }
};

/// A command on the desk: what it sends and reports is recorded; the tests play the service that answers.
class ClearDataCommandTest : public testing::Test {
protected:
    explicit ClearDataCommandTest(Clock::duration requestWait = 100s, Clock::time_point (*watchdogNow)() = &Clock::now)
        : m_command("SN", requestWait, watchdogNow)
    {
        events();  // of an earlier test, where one process runs several
        m_command.setClearDataInProgressTimeout(7200s);
        m_command.setClearDataRequestTimeout(30s);
        m_command.setCommandResponseMessageCallback([this](const std::string& command) {
            const std::scoped_lock lock(m_mutex);
            m_requester = gettid();
            m_sent.push_back(command);
            return true;
        });
        m_command.setSendVDBCompleteWarningCallback(
            [this](ClearDataCommand::ClearDataType type, bool isPassed, const std::string& message) {
                const std::scoped_lock lock(m_mutex);
                m_reports.push_back(std::to_string(type) + (isPassed ? ":passed:" : ":failed:") + message);
                return true;
            });
    }

    Texts sent() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_sent;
    }

    Texts reports() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_reports;
    }

    /// A request on a thread of its own, which has sent its command.
    std::future<bool> request(ClearDataCommand::ClearDataType type)
    {
        const std::size_t before = sent().size();
        auto result = std::async(std::launch::async, [=, this] { return m_command.processClearDataRequestType(type); });
        EXPECT_TRUE(eventually([&] { return sent().size() > before; }));
        return result;
    }

    /// A request on a thread of its own, which has sent its command and sleeps until it is answered.
    std::future<bool> waitingRequest(ClearDataCommand::ClearDataType type)
    {
        std::future<bool> result = request(type);
        int looks = 0;  // in a row, at the thread asleep
        EXPECT_TRUE(eventually([&] { return (looks = isAsleep(m_requester) ? looks + 1 : 0) == 5; }));
        return result;
    }

    /// An operation whose request was accepted; its events are gone.
    void bringInProgress(ClearDataCommand::ClearDataType type, const std::string& ack)
    {
        std::future<bool> result = request(type);
        ASSERT_TRUE(m_command.processClearRequestedResponse(ack));
        ASSERT_TRUE(result.get());
        ASSERT_EQ(m_command.state(), kInProgress);
        events();
    }

    /// A request whose command could not be sent, so that it stays without a waiter; its events are gone.
    void leaveRequested(ClearDataCommand::ClearDataType type)
    {
        m_command.setCommandResponseMessageCallback([](const std::string&) { return false; });
        ASSERT_FALSE(m_command.processClearDataRequestType(type));
        ASSERT_EQ(m_command.state(), kRequested);
        events();
    }

    /// Lets the service answer while the command is still being sent.
    void answerAtOnce(const std::function<void()>& answer)
    {
        m_command.setCommandResponseMessageCallback([answer](const std::string&) {
            answer();
            return true;
        });
    }

    /// From now on reports go to `order`, each with the state it is made in, among the events.
    void noteOrder()
    {
        events();
        m_command.setSendVDBCompleteWarningCallback([this](ClearDataCommand::ClearDataType, bool, const std::string&) {
            noteEvents();
            const std::scoped_lock lock(m_mutex);
            m_order.push_back("report in state " + std::to_string(m_command.state()));
            return true;
        });
    }

    void noteEvents()
    {
        const Texts latest = events();
        const std::scoped_lock lock(m_mutex);
        m_order.insert(m_order.end(), latest.begin(), latest.end());
    }

    /// Events and reports since `noteOrder`.
    Texts order()
    {
        noteEvents();
        const std::scoped_lock lock(m_mutex);
        return m_order;
    }

    bool becomesIdle() const
    {
        return eventually([this] { return m_command.state() == kIdle; });
    }

    HardDeadline m_deadline{200s};
    mutable std::mutex m_mutex;  // guards the lists
    Texts m_sent;
    Texts m_reports;
    Texts m_order;
    std::atomic<pid_t> m_requester = 0;  // the thread that has sent the last command
    WakeableCommand m_command;
};

class ImpatientClearDataCommandTest : public ClearDataCommandTest {
protected:
    ImpatientClearDataCommandTest() : ClearDataCommandTest(20ms) {}
};

struct Vocabulary {
    ClearDataCommand::ClearDataType type;
    std::string request, ack, nack, pass, fail;

    friend std::ostream& operator<<(std::ostream& stream, const Vocabulary& vocabulary)
    {
        return stream << vocabulary.request;
    }
};

class ClearDataVocabularyTest : public ClearDataCommandTest, public testing::WithParamInterface<Vocabulary> {};

INSTANTIATE_TEST_SUITE_P(
    Types, ClearDataVocabularyTest,
    testing::Values(Vocabulary{kZeroize, "REQUEST_ZEROIZE", "REQUEST_ZEROIZE_ACK", "REQUEST_ZEROIZE_NACK",
                               "SYSTEM_ZEROIZE_PASS", "SYSTEM_ZEROIZE_FAIL"},
                    Vocabulary{kDestroy, "REQUEST_DESTROY", "REQUEST_DESTROY_ACK", "REQUEST_DESTROY_NACK",
                               "SYSTEM_DESTROY_PASS", "SYSTEM_DESTROY_FAIL"},
                    Vocabulary{kZentorm, "ZENTORM_CV_ZEROIZE", "ZENTORM_CV_ZEROIZE_ACK", "ZENTORM_CV_ZEROIZE_NACK",
                               "ZENTORM_CV_ZEROIZE_PASS", "ZENTORM_CV_ZEROIZE_FAIL"}));

}  // namespace

TEST_P(ClearDataVocabularyTest, AnAcceptedRequestIsInProgress)
{
    std::future<bool> result = request(GetParam().type);
    EXPECT_EQ(m_command.state(), kRequested);
    EXPECT_THAT(events(), ElementsAre("2:SN: Requesting clear data command, " + GetParam().request));
    EXPECT_TRUE(m_command.processClearRequestedResponse(GetParam().ack));
    EXPECT_TRUE(result.get());
    EXPECT_EQ(m_command.state(), kInProgress);
    EXPECT_EQ(events().front(), "2:SN: Received Ack. Clear data command, " + GetParam().request + ", in-progress");
    EXPECT_THAT(sent(), ElementsAre(GetParam().request));
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_P(ClearDataVocabularyTest, ARefusedRequestIsReportedOnceAndIdle)
{
    leaveRequested(GetParam().type);
    EXPECT_TRUE(m_command.processClearRequestedResponse(GetParam().nack));
    const std::string text = "SN: Received Nack. Clear data request command, " + GetParam().request + " failed";
    EXPECT_THAT(events(), ElementsAre("4:" + text));
    EXPECT_THAT(reports(), ElementsAre(std::to_string(GetParam().type) + ":failed:" + text));
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_P(ClearDataVocabularyTest, APassIsReportedAsPassed)
{
    bringInProgress(GetParam().type, GetParam().ack);
    EXPECT_FALSE(m_command.processClearRequestedResponse(GetParam().pass));
    EXPECT_TRUE(m_command.processClearCompletedResponse(GetParam().pass));
    const std::string text =
        "SN: Clear data complete for command, " + GetParam().request + ". Result was " + GetParam().pass;
    EXPECT_THAT(events(), ElementsAre("2:" + text));
    EXPECT_THAT(reports(), ElementsAre(std::to_string(GetParam().type) + ":passed:" + text));
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_P(ClearDataVocabularyTest, AFailIsReportedAsFailed)
{
    bringInProgress(GetParam().type, GetParam().ack);
    EXPECT_TRUE(m_command.processClearCompletedResponse(GetParam().fail));
    const std::string text =
        "SN: Clear data complete for command, " + GetParam().request + ". Result was " + GetParam().fail;
    EXPECT_THAT(events(), ElementsAre("2:" + text));
    EXPECT_THAT(reports(), ElementsAre(std::to_string(GetParam().type) + ":failed:" + text));
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_P(ClearDataVocabularyTest, AnExpiryIsReportedAsFailedOnce)
{
    m_command.setClearDataInProgressTimeout(0s);
    std::future<bool> result = request(GetParam().type);
    EXPECT_TRUE(m_command.processClearRequestedResponse(GetParam().ack));
    EXPECT_TRUE(result.get());
    ASSERT_TRUE(becomesIdle());
    const std::string text = "SN: Clear data command,  " + GetParam().request + ", timed out after 0 seconds.";
    EXPECT_THAT(reports(), ElementsAre(std::to_string(GetParam().type) + ":failed:" + text));
    EXPECT_THAT(events(), testing::Contains("4:" + text).Times(1));
    EXPECT_FALSE(m_command.processClearCompletedResponse(GetParam().pass));
    EXPECT_THAT(reports(), testing::SizeIs(1));
}

TEST_P(ClearDataVocabularyTest, RequestNameIsTheCommandText)
{
    EXPECT_EQ(m_command.requestName(GetParam().type), GetParam().request);
}

TEST_F(ClearDataCommandTest, AnAcceptanceWithoutAThreadForTheWatchdogIsAnEventAndMayComeAgain)
{
    std::future<bool> result = request(kZeroize);
    events();
    {
        const NoNewThreads none;
        EXPECT_FALSE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    }
    EXPECT_EQ(m_command.state(), kRequested);
    EXPECT_THAT(events(), Contains(AllOf(HasSubstr("An exception occurred. Details: "), StartsWith("4:"))));
    EXPECT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    EXPECT_TRUE(result.get());
    EXPECT_EQ(m_command.state(), kInProgress);
}

TEST_F(ClearDataCommandTest, NamesOfNoTypeAndOfAnUnknownOne)
{
    EXPECT_EQ(m_command.requestName(kNone), "none");
    EXPECT_EQ(m_command.requestName(static_cast<ClearDataCommand::ClearDataType>(4)), "unknown clear data type");
    EXPECT_EQ(m_command.requestName(static_cast<ClearDataCommand::ClearDataType>(-1)), "unknown clear data type");
}

TEST_F(ClearDataCommandTest, NoTypeIsAnErrorInEveryState)
{
    EXPECT_FALSE(m_command.processClearDataRequestType(kNone));
    EXPECT_EQ(m_command.state(), kIdle);
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    EXPECT_FALSE(m_command.processClearDataRequestType(kNone));
    EXPECT_THAT(events(), ElementsAre("3:SN: Error, no clear data command to execute"));
    EXPECT_EQ(m_command.state(), kInProgress);
    EXPECT_THAT(sent(), testing::SizeIs(1));
}

TEST_F(ClearDataCommandTest, NoTypeIsAnErrorInIdleWithoutACommand)
{
    EXPECT_FALSE(m_command.processClearDataRequestType(kNone));
    EXPECT_THAT(events(), ElementsAre("3:SN: Error, no clear data command to execute"));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(ClearDataCommandTest, AnUnknownTypeStaysRequestedAndSendsNothing)
{
    EXPECT_FALSE(m_command.processClearDataRequestType(static_cast<ClearDataCommand::ClearDataType>(9)));
    EXPECT_THAT(events(), ElementsAre("4:SN: Invalid or unknown clear command type (eClearType), 9"));
    EXPECT_EQ(m_command.state(), kRequested);
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_FALSE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_THAT(events(), ElementsAre("3:SNREQUEST_ZEROIZE ignored due to clear command, unknown clear data type, "
                                      "already started: Clear data requested"));
}

TEST_F(ClearDataCommandTest, ASecondRequestIsIgnoredWhileRequested)
{
    std::future<bool> first = request(kZeroize);
    events();
    EXPECT_FALSE(m_command.processClearDataRequestType(kDestroy));
    EXPECT_THAT(events(), ElementsAre("3:SNREQUEST_DESTROY ignored due to clear command, REQUEST_ZEROIZE, "
                                      "already started: Clear data requested"));
    EXPECT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    EXPECT_TRUE(first.get());
    EXPECT_THAT(sent(), ElementsAre("REQUEST_ZEROIZE"));
}

TEST_F(ClearDataCommandTest, ASecondRequestIsIgnoredWhileInProgress)
{
    bringInProgress(kDestroy, "REQUEST_DESTROY_ACK");
    EXPECT_FALSE(m_command.processClearDataRequestType(kDestroy));
    EXPECT_THAT(events(), ElementsAre("3:SNREQUEST_DESTROY ignored due to clear command, REQUEST_DESTROY, "
                                      "already started: Clear data in-progress"));
    EXPECT_TRUE(m_command.processClearCompletedResponse("SYSTEM_DESTROY_PASS"));
    EXPECT_THAT(reports(), testing::SizeIs(1));
}

TEST_F(ClearDataCommandTest, TheNextRequestFollowsAnEndOfAnyKind)
{
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    ASSERT_TRUE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_FAIL"));
    std::future<bool> refused = request(kDestroy);
    ASSERT_TRUE(m_command.processClearRequestedResponse("REQUEST_DESTROY_NACK"));
    refused.get();
    m_command.setClearDataInProgressTimeout(0s);
    std::future<bool> expired = request(kZeroize);
    ASSERT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    expired.get();
    ASSERT_TRUE(becomesIdle());
    m_command.setClearDataInProgressTimeout(7200s);
    bringInProgress(kDestroy, "REQUEST_DESTROY_ACK");
    EXPECT_TRUE(m_command.processClearCompletedResponse("SYSTEM_DESTROY_PASS"));
    EXPECT_THAT(reports(), testing::SizeIs(4));
}

TEST_F(ClearDataCommandTest, OfRequestsAtOnceExactlyOneStarts)
{
    std::vector<std::future<bool>> results;
    for (int i = 0; i < 8; ++i)
        results.push_back(
            std::async(std::launch::async, [this] { return m_command.processClearDataRequestType(kZeroize); }));
    ASSERT_TRUE(eventually([this] { return !sent().empty(); }));
    ASSERT_TRUE(eventually([] { return HealthReporter::Instance().queue().size() == 8; }));
    ASSERT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    int accepted = 0;
    for (std::future<bool>& result : results) accepted += result.get() ? 1 : 0;
    EXPECT_EQ(accepted, 1);
    EXPECT_THAT(sent(), testing::SizeIs(1));
}

TEST_F(ClearDataCommandTest, AnAckWakesTheWaiter)
{
    std::future<bool> result = waitingRequest(kZeroize);
    events();
    m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK");
    EXPECT_TRUE(result.get());
    EXPECT_THAT(events(),
                ElementsAre("2:SN: Received Ack. Clear data command, REQUEST_ZEROIZE, in-progress",
                            "2:SN: Request wait loop received ACK / successful response for clear data command, "
                            "REQUEST_ZEROIZE"));
}

TEST_F(ClearDataCommandTest, ANackWakesTheWaiterWhichDoesNotReportAgain)
{
    std::future<bool> result = waitingRequest(kZeroize);
    events();
    m_command.processClearRequestedResponse("REQUEST_ZEROIZE_NACK");
    EXPECT_FALSE(result.get());
    EXPECT_THAT(events(), ElementsAre("4:SN: Received Nack. Clear data request command, REQUEST_ZEROIZE failed",
                                      "4:SN Request wait loop received NACK for clear data command, REQUEST_ZEROIZE"));
    EXPECT_THAT(reports(), testing::SizeIs(1));
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_F(ClearDataCommandTest, AnAckBeforeTheWaitGivesTrueWithoutAWord)
{
    answerAtOnce([this] { m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"); });
    EXPECT_TRUE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_THAT(events(), ElementsAre("2:SN: Requesting clear data command, REQUEST_ZEROIZE",
                                      "2:SN: Received Ack. Clear data command, REQUEST_ZEROIZE, in-progress"));
}

TEST_F(ClearDataCommandTest, ANackBeforeTheWaitGivesTrueToo)
{
    answerAtOnce([this] { m_command.processClearRequestedResponse("REQUEST_ZEROIZE_NACK"); });
    EXPECT_TRUE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_EQ(m_command.state(), kIdle);
    EXPECT_THAT(events(), ElementsAre("2:SN: Requesting clear data command, REQUEST_ZEROIZE",
                                      "4:SN: Received Nack. Clear data request command, REQUEST_ZEROIZE failed"));
}

TEST_F(ClearDataCommandTest, ANextOperationIsNotMistakenForTheWaitersOwn)
{
    m_command.setCommandResponseMessageCallback([this](const std::string& command) {
        if (command == "REQUEST_DESTROY") return false;  // it stays requested
        m_command.processClearRequestedResponse("REQUEST_ZEROIZE_NACK");
        EXPECT_FALSE(m_command.processClearDataRequestType(kDestroy));
        return true;
    });
    EXPECT_TRUE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_EQ(m_command.state(), kRequested);
    EXPECT_TRUE(m_command.processClearRequestedResponse("REQUEST_DESTROY_ACK"));
}

TEST_F(ClearDataCommandTest, AckAndPassBackToBackAreAnAcceptedRequest)
{
    for (int round = 0; round < 200; ++round) {
        std::future<bool> result = request(kZeroize);
        ASSERT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
        ASSERT_TRUE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
        ASSERT_TRUE(result.get());
        ASSERT_EQ(m_command.state(), kIdle);
    }
    EXPECT_THAT(reports(), testing::SizeIs(200));
}

// The refused waiter wakes when the next operation may have begun already.
TEST_F(ClearDataCommandTest, ARequestRightBehindANackIsLeftAlone)
{
    for (int round = 0; round < 100; ++round) {
        std::future<bool> refused = request(kZeroize);
        ASSERT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_NACK"));
        std::future<bool> next = request(kDestroy);
        refused.get();
        ASSERT_EQ(m_command.state(), kRequested);
        ASSERT_TRUE(m_command.processClearRequestedResponse("REQUEST_DESTROY_ACK"));
        ASSERT_TRUE(m_command.processClearCompletedResponse("SYSTEM_DESTROY_PASS"));
        ASSERT_TRUE(next.get());
    }
    EXPECT_THAT(reports(), testing::SizeIs(200));
}

TEST_F(ImpatientClearDataCommandTest, AnUnansweredRequestIsReportedOnceAndIdle)
{
    EXPECT_FALSE(m_command.processClearDataRequestType(kDestroy));
    const std::string text =
        "SN: Request wait loop for clear data command, REQUEST_DESTROY, timed out after 30 seconds.";
    EXPECT_THAT(events(), ElementsAre("2:SN: Requesting clear data command, REQUEST_DESTROY", "4:" + text));
    EXPECT_THAT(reports(), ElementsAre("2:failed:" + text));
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_F(ImpatientClearDataCommandTest, AnAnswerThatComesTooLateIsNotMatched)
{
    EXPECT_FALSE(m_command.processClearDataRequestType(kZeroize));
    events();
    EXPECT_FALSE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    EXPECT_FALSE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_NACK"));
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_F(ImpatientClearDataCommandTest, ARequestTimeoutOfThirtySecondsIsToldAndNotWaited)
{
    const auto start = Clock::now();
    EXPECT_FALSE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_LT(Clock::now() - start, 25s);
    EXPECT_THAT(reports(), ElementsAre("1:failed:SN: Request wait loop for clear data command, REQUEST_ZEROIZE, timed "
                                       "out after 30 seconds."));
}

// That a request waits so long where nothing else is passed in is shown on the shipped binary.
TEST(ClearDataCommandWaitTest, ARequestWaitsTwelveSeconds)
{
    EXPECT_EQ(ClearDataCommand::kRequestWait, 12s);
}

namespace {

class WokenClearDataCommandTest : public ClearDataCommandTest {
protected:
    WokenClearDataCommandTest() : ClearDataCommandTest(5s) {}
};

/// A command whose erasing is measured by a clock that the tests set.
class TimedClearDataCommandTest : public ClearDataCommandTest {
protected:
    TimedClearDataCommandTest() : ClearDataCommandTest(100s, &PretendedClock::now) { PretendedClock::setElapsed(0s); }
};

}  // namespace

TEST_F(WokenClearDataCommandTest, AWakeUpWithoutAnAnswerRenewsTheWait)
{
    std::future<bool> result = request(kZeroize);
    EXPECT_FALSE(eventually(
        [&] {
            m_command.wake();
            return m_command.state() == kIdle;
        },
        6s));
    EXPECT_FALSE(result.get());
    EXPECT_THAT(reports(), testing::SizeIs(1));
}

TEST_F(ClearDataCommandTest, AFailedSendStaysRequestedAndLocksOut)
{
    m_command.setCommandResponseMessageCallback([](const std::string&) { return false; });
    EXPECT_FALSE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_THAT(events(), ElementsAre("2:SN: Requesting clear data command, REQUEST_ZEROIZE",
                                      "4:SN: Send command response message failed for command, REQUEST_ZEROIZE"));
    EXPECT_EQ(m_command.state(), kRequested);
    EXPECT_FALSE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_EQ(events().size(), 1u);
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(ClearDataCommandTest, AfterAFailedSendALateAckIsTaken)
{
    leaveRequested(kZeroize);
    EXPECT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    EXPECT_EQ(m_command.state(), kInProgress);
    EXPECT_TRUE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
}

TEST_F(ClearDataCommandTest, ResponsesOutOfTurnInProgressAreIgnored)
{
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    EXPECT_FALSE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    EXPECT_FALSE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_NACK"));
    EXPECT_THAT(events(), ElementsAre("4:SN: Ignoring REQUEST_ZEROIZE_ACK during state, Clear data in-progress",
                                      "4:SN: Ignoring REQUEST_ZEROIZE_NACK during state, Clear data in-progress"));
    EXPECT_EQ(m_command.state(), kInProgress);
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(ClearDataCommandTest, ACompletionWhileRequestedIsIgnoredAndTheOperationGoesOn)
{
    leaveRequested(kZeroize);
    EXPECT_FALSE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
    EXPECT_FALSE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_FAIL"));
    EXPECT_THAT(events(), ElementsAre("4:SN: Ignoring SYSTEM_ZEROIZE_PASS during state: Clear data requested",
                                      "4:SN: Ignoring SYSTEM_ZEROIZE_FAIL during state: Clear data requested"));
    EXPECT_THAT(reports(), IsEmpty());
    EXPECT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    EXPECT_TRUE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
}

TEST_F(ClearDataCommandTest, APassThatComesBeforeTheAckIsOneIgnoredEventAndTheWaitGoesOn)
{
    std::future<bool> result = waitingRequest(kZeroize);
    events();
    EXPECT_FALSE(m_command.processClearRequestedResponse("SYSTEM_ZEROIZE_PASS"));  // as each response is offered:
    EXPECT_FALSE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));  // to this if the first has no use
    EXPECT_THAT(events(), ElementsAre("4:SN: Ignoring SYSTEM_ZEROIZE_PASS during state: Clear data requested"));
    EXPECT_EQ(m_command.state(), kRequested);
    EXPECT_EQ(result.wait_for(0s), std::future_status::timeout);
    EXPECT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    EXPECT_TRUE(result.get());
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(ClearDataCommandTest, AResponseThatIsNotMatchedAsksForNoMemory)
{
    leaveRequested(kZeroize);
    const std::string response = "REQUEST_ZEROIZE_NEVER";
    bool isMatched = m_command.processClearRequestedResponse(response);  // the first one makes what stays
    EXPECT_FALSE(isMatched);
    std::size_t refused = 1;
    {
        const FailingAllocation memory;
        isMatched =
            m_command.processClearRequestedResponse(response) || m_command.processClearCompletedResponse(response);
        refused = memory.refused();
    }
    EXPECT_FALSE(isMatched);
    EXPECT_EQ(refused, 0u);
}

TEST_F(ClearDataCommandTest, AResponseMayOverlapNeitherStemNorSuffix)
{
    leaveRequested(kZeroize);
    for (const char* text : {"REQUEST_ZEROIZE", "_ACK", "", "REQUEST_ZEROIZE_ACK_ACK", "REQUEST_ZEROIZE _ACK"})
        EXPECT_FALSE(m_command.processClearRequestedResponse(text)) << text;
}

TEST_F(ClearDataCommandTest, ResponsesOfAnotherOperationAreNotMatched)
{
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    for (const char* text : {"REQUEST_DESTROY_ACK", "SYSTEM_DESTROY_PASS", "REQUEST_ZEROIZE", "REQUEST_ZEROIZE_ACK ",
                             "request_zeroize_ack", "SYSTEM_ZEROIZE_PASS,1", "_ACK", ""}) {
        EXPECT_FALSE(m_command.processClearRequestedResponse(text)) << text;
        EXPECT_FALSE(m_command.processClearCompletedResponse(text)) << text;
    }
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(m_command.state(), kInProgress);
}

TEST_F(ClearDataCommandTest, InIdleARealResponseIsNotMatched)
{
    for (const char* text :
         {"REQUEST_ZEROIZE_ACK", "REQUEST_ZEROIZE_NACK", "SYSTEM_ZEROIZE_PASS", "SYSTEM_ZEROIZE_FAIL"}) {
        EXPECT_FALSE(m_command.processClearRequestedResponse(text)) << text;
        EXPECT_FALSE(m_command.processClearCompletedResponse(text)) << text;
    }
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(ClearDataCommandTest, InIdleTheStemIsNone)
{
    EXPECT_FALSE(m_command.processClearRequestedResponse("none_ACK"));
    EXPECT_FALSE(m_command.processClearCompletedResponse("none_PASS"));
    EXPECT_THAT(events(), ElementsAre("4:SN: Ignoring none_ACK during state, Idle",
                                      "4:SN: Ignoring none_PASS during state: Idle"));
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_F(ClearDataCommandTest, InIdleARefusalAndAFailureOfNoneAreIgnoredToo)
{
    EXPECT_FALSE(m_command.processClearRequestedResponse("none_NACK"));
    EXPECT_FALSE(m_command.processClearCompletedResponse("none_FAIL"));
    EXPECT_THAT(events(), ElementsAre("4:SN: Ignoring none_NACK during state, Idle",
                                      "4:SN: Ignoring none_FAIL during state: Idle"));
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(TimedClearDataCommandTest, TheErasingMayTakeTwoHoursAndNoMillisecondMore)
{
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    PretendedClock::setElapsed(7199'999ms);
    ASSERT_TRUE(PretendedClock::isSeenAndWaitedOn());
    EXPECT_THAT(reports(), IsEmpty());
    PretendedClock::setElapsed(7200s);
    EXPECT_TRUE(becomesIdle());
    EXPECT_THAT(reports(),
                ElementsAre("1:failed:SN: Clear data command,  REQUEST_ZEROIZE, timed out after 7200 seconds."));
}

TEST_F(TimedClearDataCommandTest, ASecondRequestLeavesTheWatchdogOfTheFirstAlone)
{
    m_command.setClearDataInProgressTimeout(5s);
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    PretendedClock::setElapsed(4s);
    EXPECT_FALSE(m_command.processClearDataRequestType(kZeroize));
    PretendedClock::setElapsed(5s);
    EXPECT_TRUE(becomesIdle());
    EXPECT_THAT(reports(),
                ElementsAre("1:failed:SN: Clear data command,  REQUEST_ZEROIZE, timed out after 5 seconds."));
}

TEST_F(TimedClearDataCommandTest, ACompletionCancelsTheWatchdog)
{
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    EXPECT_TRUE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
    const int looks = PretendedClock::s_looks;
    EXPECT_FALSE(eventually([=] { return PretendedClock::s_looks > looks; }, 100ms));  // nobody waits any more
    leaveRequested(kDestroy);  // an expiry of the first would end this one
    PretendedClock::setElapsed(7200s);
    EXPECT_FALSE(eventually([this] { return reports().size() > 1 || m_command.state() != kRequested; }, 300ms));
}

TEST_F(ClearDataCommandTest, ACompletionDuringTheTimeoutReportIsIgnored)
{
    std::atomic<int> reports = 0;
    std::promise<void> isReporting, mayEnd;
    m_command.setClearDataInProgressTimeout(0s);
    m_command.setSendVDBCompleteWarningCallback([&](ClearDataCommand::ClearDataType, bool, const std::string&) {
        ++reports;
        isReporting.set_value();
        mayEnd.get_future().wait();
        return true;
    });
    answerAtOnce([this] { m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"); });
    ASSERT_TRUE(m_command.processClearDataRequestType(kZeroize));
    isReporting.get_future().wait();
    events();
    EXPECT_FALSE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
    EXPECT_THAT(events(), ElementsAre("4:SN: Ignoring SYSTEM_ZEROIZE_PASS during state: Clear data in-progress"));
    EXPECT_FALSE(m_command.processClearDataRequestType(kDestroy));
    mayEnd.set_value();
    EXPECT_TRUE(becomesIdle());
    EXPECT_EQ(reports, 1);
}

TEST_F(TimedClearDataCommandTest, AnExpiryDuringTheCompletionReportIsSilent)
{
    std::atomic<int> reports = 0;
    m_command.setSendVDBCompleteWarningCallback([&](ClearDataCommand::ClearDataType, bool, const std::string&) {
        ++reports;
        PretendedClock::setElapsed(7200s);
        eventually([] { return false; }, 300ms);  // the watchdog expires meanwhile
        return true;
    });
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    EXPECT_TRUE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(events().size(), 1u);
    EXPECT_EQ(m_command.state(), kIdle);
}

// The moment of the completion follows the outcome, so that completion and expiry keep meeting.
TEST_F(ClearDataCommandTest, ACompletionAtTheMomentOfExpiryGivesExactlyOneReport)
{
    m_command.setClearDataInProgressTimeout(0s);
    answerAtOnce([this] { m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"); });
    std::chrono::microseconds delay = 0us;
    int passes = 0;
    for (std::size_t round = 1; round <= 1000; ++round) {
        ASSERT_TRUE(m_command.processClearDataRequestType(kZeroize));
        for (const auto start = Clock::now(); Clock::now() - start < delay;) {
        }
        const bool isPassed = m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS");
        ASSERT_TRUE(becomesIdle());
        ASSERT_EQ(reports().size(), round);
        ASSERT_THAT(reports().back(), testing::StartsWith(isPassed ? "1:passed:" : "1:failed:"));
        delay += isPassed ? 1us : (delay > 0us ? -1us : 0us);
        passes += isPassed ? 1 : 0;
    }
    RecordProperty("passes", passes);
    EXPECT_GT(passes, 0);
    EXPECT_LT(passes, 1000);
}

TEST_F(ClearDataCommandTest, ARefusalIsAnEventBeforeItsReportAndIdleBehindIt)
{
    leaveRequested(kZeroize);
    noteOrder();
    EXPECT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_NACK"));
    EXPECT_THAT(order(), ElementsAre("4:SN: Received Nack. Clear data request command, REQUEST_ZEROIZE failed",
                                     "report in state 1"));
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_F(ImpatientClearDataCommandTest, AnUnansweredRequestIsReportedBeforeItsEventAndIdleBehindIt)
{
    noteOrder();
    EXPECT_FALSE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_THAT(order(), ElementsAre("2:SN: Requesting clear data command, REQUEST_ZEROIZE", "report in state 1",
                                     "4:SN: Request wait loop for clear data command, REQUEST_ZEROIZE, timed out after "
                                     "30 seconds."));
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_F(ClearDataCommandTest, ACompletionIsAnEventBeforeItsReportAndIdleBehindIt)
{
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    noteOrder();
    EXPECT_TRUE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
    EXPECT_THAT(order(),
                ElementsAre("2:SN: Clear data complete for command, REQUEST_ZEROIZE. Result was SYSTEM_ZEROIZE_PASS",
                            "report in state 2"));
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_F(ClearDataCommandTest, AnExpiryIsReportedBeforeItsEventAndIdleBehindIt)
{
    m_command.setClearDataInProgressTimeout(0s);
    leaveRequested(kZeroize);
    noteOrder();
    EXPECT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    ASSERT_TRUE(becomesIdle());
    // The event of the ACK may be noted at once or with the report: it comes first in any case.
    EXPECT_THAT(order(),
                ElementsAre("2:SN: Received Ack. Clear data command, REQUEST_ZEROIZE, in-progress", "report in state 2",
                            "4:SN: Clear data command,  REQUEST_ZEROIZE, timed out after 0 seconds."));
}

namespace {

/// Holds up the end of the thread that it belongs to.
struct HeldThread {
    ~HeldThread()
    {
        if (!until.valid()) return;
        isHeld = true;
        until.wait();
    }
    std::shared_future<void> until;
    static inline std::atomic<bool> isHeld = false;
};
thread_local HeldThread t_held;

}  // namespace

// A watchdog whose report has failed, and whose thread takes its time to end: to cancel it is to wait for that.
TEST_F(ClearDataCommandTest, ACompletionIsReportedThenCancelsTheWatchdogAndIsIdleOnlyThen)
{
    std::promise<void> mayEnd;
    m_command.setClearDataInProgressTimeout(0s);
    m_command.setSendVDBCompleteWarningCallback(
        [until = mayEnd.get_future().share()](ClearDataCommand::ClearDataType, bool, const std::string&) -> bool {
            t_held.until = until;
            throw std::runtime_error("no report");
        });
    leaveRequested(kZeroize);
    ASSERT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    ASSERT_TRUE(eventually([] { return HeldThread::isHeld.load(); }));
    ASSERT_EQ(HealthReporter::Instance().queue().size(), 2U);
    noteOrder();

    auto completion = std::async(std::launch::async,
                                 [this] { return m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"); });
    EXPECT_TRUE(eventually([this] { return order().size() == 2; }, 20s));
    EXPECT_FALSE(eventually([this] { return m_command.state() != kInProgress; }, 200ms));
    EXPECT_EQ(completion.wait_for(0s), std::future_status::timeout);
    {
        const ConsoleCapture console(std::cout);
        m_command.setQuiet(false);
        m_command.dumpStateInfo();
        EXPECT_EQ(console.text(), ", m_eClearTypeRequested = REQUEST_ZEROIZE\n");
    }
    mayEnd.set_value();
    EXPECT_TRUE(completion.get());
    EXPECT_EQ(m_command.state(), kIdle);
}

TEST_F(ClearDataCommandTest, DestructionWhileErasingReturnsAtOnceWithoutAReport)
{
    const auto start = Clock::now();
    int reports = 0;
    {
        ClearDataCommand command("SN");
        command.setClearDataInProgressTimeout(7200s);
        command.setSendVDBCompleteWarningCallback(
            [&](ClearDataCommand::ClearDataType, bool, const std::string&) { return ++reports > 0; });
        command.setCommandResponseMessageCallback(
            [&](const std::string&) { return command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"); });
        ASSERT_TRUE(command.processClearDataRequestType(kZeroize));
    }
    EXPECT_LT(Clock::now() - start, 10s);
    EXPECT_EQ(reports, 0);
}

TEST_F(ClearDataCommandTest, TheLongestTimesNeitherExpireNorOverflow)
{
    EXPECT_EQ(ClearDataCommand::limitedSeconds(18'446'744'073'709'551'615u), 4294967295s);
    EXPECT_EQ(ClearDataCommand::limitedSeconds(7200), 7200s);
    for (const std::chrono::seconds longest :
         {ClearDataCommand::limitedSeconds(18'446'744'073'709'551'615u), std::chrono::seconds::max()}) {
        m_command.setClearDataInProgressTimeout(longest);
        bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
        EXPECT_FALSE(eventually([this] { return m_command.state() == kIdle; }, 100ms));
        EXPECT_TRUE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
    }
}

TEST_F(ClearDataCommandTest, AnUnsetSendCallbackIsReportedAndTheStateKept)
{
    m_command.setCommandResponseMessageCallback(nullptr);
    EXPECT_FALSE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_THAT(events(), ElementsAre("2:SN: Requesting clear data command, REQUEST_ZEROIZE",
                                      "4:SN: An exception occurred. Details: bad_function_call"));
    EXPECT_EQ(m_command.state(), kRequested);
}

TEST_F(ClearDataCommandTest, AnExceptionWithoutATextIsUnknown)
{
    m_command.setCommandResponseMessageCallback([](const std::string&) -> bool { throw 1; });
    EXPECT_FALSE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_THAT(events(), ElementsAre("2:SN: Requesting clear data command, REQUEST_ZEROIZE",
                                      "4:SN: Unknown c++ exception occurred"));
}

namespace {

bool failingReport(ClearDataCommand::ClearDataType, bool, const std::string&)
{
    throw std::runtime_error("no report");
}

}  // namespace

TEST_F(ClearDataCommandTest, AnExceptionInANackKeepsTheState)
{
    leaveRequested(kZeroize);
    m_command.setSendVDBCompleteWarningCallback(failingReport);
    EXPECT_FALSE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_NACK"));
    EXPECT_EQ(events().back(), "4:SN: An exception occurred. Details: no report");
    EXPECT_EQ(m_command.state(), kRequested);
}

TEST_F(ClearDataCommandTest, AnExceptionInACompletionKeepsTheStateForTheNextOne)
{
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    m_command.setSendVDBCompleteWarningCallback(failingReport);
    EXPECT_FALSE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
    EXPECT_EQ(events().back(), "4:SN: An exception occurred. Details: no report");
    EXPECT_EQ(m_command.state(), kInProgress);
    m_command.setSendVDBCompleteWarningCallback([](auto, bool, const std::string&) { return true; });
    EXPECT_TRUE(m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS"));
}

TEST_F(ClearDataCommandTest, AnExceptionInTheTimeoutStaysInTheWatchdogsThread)
{
    m_command.setClearDataInProgressTimeout(0s);
    m_command.setSendVDBCompleteWarningCallback(failingReport);
    leaveRequested(kZeroize);
    EXPECT_TRUE(m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK"));
    ASSERT_TRUE(eventually([] { return HealthReporter::Instance().queue().size() == 2; }));
    EXPECT_EQ(events().back(), "4:SN: An exception occurred. Details: no report");
    EXPECT_EQ(m_command.state(), kInProgress);
}

TEST_F(ImpatientClearDataCommandTest, AnExceptionInAnUnansweredRequestKeepsTheState)
{
    m_command.setSendVDBCompleteWarningCallback(failingReport);
    EXPECT_FALSE(m_command.processClearDataRequestType(kZeroize));
    EXPECT_EQ(events().back(), "4:SN: An exception occurred. Details: no report");
    EXPECT_EQ(m_command.state(), kRequested);
}

TEST_F(ClearDataCommandTest, NothingIsPrintedWhileQuietAsFromTheStart)
{
    const ConsoleCapture console(std::cout);
    bringInProgress(kZeroize, "REQUEST_ZEROIZE_ACK");
    m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS");
    m_command.dumpStateInfo();
    EXPECT_EQ(console.text(), "");
}

TEST_F(ClearDataCommandTest, UnlessQuietARequestTellsTheStateAndEachEvent)
{
    m_command.setQuiet(false);
    m_command.setCommandResponseMessageCallback([](const std::string&) { return false; });
    const ConsoleCapture console(std::cout);
    m_command.processClearDataRequestType(kZeroize);
    EXPECT_EQ(
        withoutPlace(console.text()),
        "ClearDataCommand, processClearDataRequestType (#): eClearType = REQUEST_ZEROIZE, "
        "m_eClearTypeRequested = none, m_eClearDataState = Idle\n"
        "ClearDataCommand, processClearDataRequestType (#): SN: Requesting clear data command, REQUEST_ZEROIZE\n"
        "ClearDataCommand, processClearDataRequestType (#): SN: Send command response message failed for command, "
        "REQUEST_ZEROIZE\n");
}

TEST_F(ClearDataCommandTest, DumpStateInfoPrintsTheRunningRequest)
{
    m_command.setQuiet(false);
    const ConsoleCapture console(std::cout);
    m_command.dumpStateInfo();
    EXPECT_EQ(console.text(), ", m_eClearTypeRequested = none\n");
    m_command.setQuiet(true);
    leaveRequested(kDestroy);
    m_command.setQuiet(false);
    m_command.dumpStateInfo();
    EXPECT_EQ(console.text(), ", m_eClearTypeRequested = none\n, m_eClearTypeRequested = REQUEST_DESTROY\n");
}

TEST_F(ClearDataCommandTest, AStateThatCantBePrintedForWantOfMemoryIsReported)
{
    m_command.setQuiet(false);
    const ConsoleCapture console(std::cout);
    std::size_t refused = 0;
    {
        const FailingAllocation once(0, 1);
        m_command.dumpStateInfo();
        refused = once.refused();
    }
    EXPECT_EQ(refused, 1u);
    EXPECT_THAT(events(), ElementsAre("4:SN: An exception occurred. Details: std::bad_alloc"));
}

TEST_F(ClearDataCommandTest, LinesOfResponsesNameTheOperationThatTakesThem)
{
    leaveRequested(kZeroize);
    m_command.setQuiet(false);
    const ConsoleCapture console(std::cout);
    m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK");
    m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK");
    m_command.processClearCompletedResponse("SYSTEM_ZEROIZE_PASS");
    m_command.processClearCompletedResponse("none_PASS");
    EXPECT_EQ(withoutPlace(console.text()),
              "ClearDataCommand, processClearRequestedResponse (#): SN: Received Ack. Clear data command, "
              "REQUEST_ZEROIZE, in-progress\n"
              "ClearDataCommand, processClearRequestedResponse (#): SN: Ignoring REQUEST_ZEROIZE_ACK during state, "
              "Clear data in-progress\n"
              "ClearDataCommand, processClearCompletedResponse (#): SN: Clear data complete for command, "
              "REQUEST_ZEROIZE. Result was SYSTEM_ZEROIZE_PASS\n"
              "ClearDataCommand, processClearCompletedResponse (#): SN: Ignoring none_PASS during state: Idle\n");
}

TEST_F(ClearDataCommandTest, LineOfARefusalNamesTheOperationThatTakesIt)
{
    leaveRequested(kZeroize);
    m_command.setQuiet(false);
    const ConsoleCapture console(std::cout);
    m_command.processClearRequestedResponse("REQUEST_ZEROIZE_NACK");
    EXPECT_EQ(withoutPlace(console.text()), "ClearDataCommand, processClearRequestedResponse (#): SN: Received Nack. "
                                            "Clear data request command, REQUEST_ZEROIZE failed\n");
}

TEST_F(ClearDataCommandTest, LineOfAnIgnoredRequestNamesTheOperationThatWasAsked)
{
    leaveRequested(kZeroize);
    m_command.setQuiet(false);
    const ConsoleCapture console(std::cout);
    m_command.processClearDataRequestType(kDestroy);
    EXPECT_THAT(
        withoutPlace(console.text()),
        testing::EndsWith("\nClearDataCommand, processClearDataRequestType (#): SNREQUEST_DESTROY ignored due to "
                          "clear command, REQUEST_ZEROIZE, already started: Clear data requested\n"));
}

TEST_F(ClearDataCommandTest, LineOfAnAcceptedRequestNamesTheWait)
{
    m_command.setQuiet(false);
    const ConsoleCapture console(std::cout);
    std::future<bool> result = waitingRequest(kZeroize);
    m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK");
    ASSERT_TRUE(result.get());
    EXPECT_THAT(withoutPlace(console.text()),
                testing::EndsWith("\nClearDataCommand, waitForClearDataRequestedResponse (#): SN: Request wait loop "
                                  "received ACK / successful response for clear data command, REQUEST_ZEROIZE\n"));
}

TEST_F(ImpatientClearDataCommandTest, LineOfAnUnansweredRequestNamesTheWait)
{
    m_command.setQuiet(false);
    const ConsoleCapture console(std::cout);
    m_command.processClearDataRequestType(kZeroize);
    EXPECT_THAT(
        withoutPlace(console.text()),
        testing::EndsWith("\nClearDataCommand, waitForClearDataRequestedResponse (#): SN: Request wait loop for "
                          "clear data command, REQUEST_ZEROIZE, timed out after 30 seconds.\n"));
}

TEST_F(ClearDataCommandTest, LineOfAnExpiryNamesTheTimeout)
{
    m_command.setClearDataInProgressTimeout(0s);
    leaveRequested(kZeroize);
    m_command.setQuiet(false);
    const ConsoleCapture console(std::cout);
    m_command.processClearRequestedResponse("REQUEST_ZEROIZE_ACK");
    ASSERT_TRUE(becomesIdle());
    EXPECT_THAT(
        withoutPlace(console.text()),
        HasSubstr("ClearDataCommand, processClearDataTimeout (#): SN: Clear data command,  REQUEST_ZEROIZE, timed "
                  "out after 0 seconds.\n"));
}
