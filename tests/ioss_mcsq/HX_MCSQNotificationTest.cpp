#include "face/HX_Config.h"
#include "ioss_mcsq/HX_MCSQ.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/HealthEvents.h"
#include "tests/support/NoNewThreads.h"
#include "tests/support/ProcessState.h"
#include "tests/support/QueueDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using FACE::RETURN_CODE_TYPE;
using FACE::IOSS::HX_MCSQ;
using FACE::IOSS::MCSQ::READ_PAYLOAD_TYPE;
using testing::Each;
using testing::Ge;
using testing::MatchesRegex;

namespace {

std::mutex waitsMutex;
std::vector<int> notedWaits;
std::atomic<int> waitError = 0;             // that all waits of other threads fail with; 0: none does
std::atomic<bool> areWaitsEndless = false;  // of other threads, where they would wait at all

/// The time-outs of the calls of `poll` by other threads than the first, since the test began.
std::vector<int> waits()
{
    const std::lock_guard lock(waitsMutex);
    return notedWaits;
}

/// Reads what there is and keeps it, with the handle that it was told.
class Listener : public FACE::IOSS::MCSQ::IO_Callback {
public:
    using Message = std::pair<long long, std::vector<std::uint8_t>>;

    explicit Listener(HX_MCSQ& service) : m_service(service) {}

    void Process_Notification_Event(long long handle, FACE::IOSS::NOTIFICATION_EVENT_TYPE::Value event,
                                    RETURN_CODE_TYPE::Value&) override
    {
        READ_PAYLOAD_TYPE payload;
        payload.length(4096);
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ACTION;
        m_service.Read(handle, 0, payload, code);
        if (code == RETURN_CODE_TYPE::NO_ERROR && event == 0) {
            const std::lock_guard lock(m_mutex);
            m_messages.emplace_back(handle,
                                    std::vector<std::uint8_t>(payload.buffer(), payload.buffer() + payload.length()));
        }
        if (afterwards) afterwards();
    }

    std::vector<Message> messages() const
    {
        const std::lock_guard lock(m_mutex);
        return m_messages;
    }

    /// Waits for that many messages in all.
    bool hasHeard(std::size_t count) const
    {
        return eventually([&] { return messages().size() >= count; });
    }

    std::function<void()> afterwards;

private:
    HX_MCSQ& m_service;
    mutable std::mutex m_mutex;
    std::vector<Message> m_messages;
};

struct HX_MCSQNotificationTest : testing::Test {
    HardDeadline deadline;
    TemporaryDirectory directory;
    QueueDevice device{directory.path(), 5};
    QueueDevice second{directory.path(), 6};
    const std::string file =
        directory.write("devices.xml", queueDevicesText({{"A", "5"}, {"B", "6"}, {"A2", "5"}, {"C", "7"}}));
    const std::string pathOfC = QueueDevice::prefix(directory.path()) + "7";  // where there is nothing at first
    const std::shared_ptr<ThreadPulse> pulse = std::make_shared<ThreadPulse>();
    std::optional<HX_MCSQ> service{std::in_place, QueueDevice::prefix(directory.path()), pulse};
    Listener listener{*service};
    std::size_t idleThreads = 0;
    std::atomic<int> callingThread = 0;  // with `calls`, kept by `noteCalls`
    std::vector<std::chrono::steady_clock::time_point> calls;

    void SetUp() override
    {
        int first = 0;  // with it, a sanitizer starts a thread of its own
        std::thread([&] { first = static_cast<int>(syscall(SYS_gettid)); }).join();
        const std::string task = "/proc/self/task/" + std::to_string(first);
        ASSERT_TRUE(eventually([&] { return !std::filesystem::exists(task); }));
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
        service->Set_Reference("x", std::make_shared<FACE::HX_Config>(), 0, code);
        service->Initialize(file.c_str(), code);
        ASSERT_EQ(code, 0);
        idleThreads = threadCount();
        const std::lock_guard lock(waitsMutex);
        notedWaits.clear();
    }

    void TearDown() override { service.reset(); }  // before the listener that it calls

    /// From now on; they are to be looked at when the service is gone.
    void noteCalls()
    {
        listener.afterwards = [this] {
            callingThread = static_cast<int>(syscall(SYS_gettid));
            calls.push_back(std::chrono::steady_clock::now());
        };
    }
    /// From one call to the next.
    std::vector<std::chrono::nanoseconds> gaps() const
    {
        std::vector<std::chrono::nanoseconds> all;
        for (std::size_t i = 1; i < calls.size(); ++i) all.push_back(calls[i] - calls[i - 1]);
        return all;
    }

    long long open(const char* name)
    {
        long long handle = -1;
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ACTION;
        service->Open_Connection(name, -1, handle, code);
        EXPECT_EQ(code, 0) << name;
        return handle;
    }
    int registerFor(long long handle)
    {
        auto code = static_cast<RETURN_CODE_TYPE::Value>(77);
        service->Register_Notification_Event(handle, listener, code);
        return code;
    }
    int unregister(long long handle)
    {
        auto code = static_cast<RETURN_CODE_TYPE::Value>(77);
        service->Unregister_Notification_Event(handle, code);
        return code;
    }
    int close(long long handle)
    {
        auto code = static_cast<RETURN_CODE_TYPE::Value>(77);
        service->Close_Connection(handle, code);
        return code;
    }
    bool threadEnds() const
    {
        return eventually([&] { return threadCount() == idleThreads; });
    }
};

std::vector<std::uint8_t> message(std::uint8_t byte)
{
    return {byte};
}

void nothing(int) {}

/// This process's descriptors of a device with that name.
std::vector<int> descriptorsOf(const std::string& name)
{
    std::vector<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;  // the iterator's own is gone by then
        if (std::filesystem::read_symlink(entry.path(), error).filename() == name)
            found.push_back(std::stoi(entry.path().filename().string()));
    }
    return found;
}

/// Opens and closes the other end of a pseudo-terminal.
void hangUp(int terminal)
{
    if (unlockpt(terminal) == 0) close(ioctl(terminal, TIOCGPTPEER, O_RDWR | O_NOCTTY));
}

}  // namespace

extern "C" {
int __real_poll(pollfd* entries, nfds_t count, int timeout);

int __wrap_poll(pollfd* entries, nfds_t count, int timeout)
{
    if (syscall(SYS_gettid) != getpid()) {
        const std::lock_guard lock(waitsMutex);
        notedWaits.push_back(timeout);
    }
    if (syscall(SYS_gettid) != getpid() && waitError != 0) {
        errno = waitError;
        return -1;
    }
    const bool isEndless = areWaitsEndless && timeout > 0 && syscall(SYS_gettid) != getpid();
    return __real_poll(entries, count, isEndless ? -1 : timeout);
}
}

TEST_F(HX_MCSQNotificationTest, NoThreadRunsBeforeARegistration)
{
    open("A");
    open("B");
    EXPECT_EQ(threadCount(), idleThreads);
}

TEST_F(HX_MCSQNotificationTest, InputIsToldWithTheHandle)
{
    open("A");
    const long long handle = open("B");
    EXPECT_EQ(registerFor(handle), 0);
    second.send(message(42));
    ASSERT_TRUE(listener.hasHeard(1));
    EXPECT_EQ(listener.messages()[0], Listener::Message(1, {42}));
}

TEST_F(HX_MCSQNotificationTest, WhatIsThereAlreadyIsToldToo)
{
    device.send(message(1));
    registerFor(open("A"));
    EXPECT_TRUE(listener.hasHeard(1));
}

TEST_F(HX_MCSQNotificationTest, OneThreadServesAllConnections)
{
    registerFor(open("A"));
    registerFor(open("B"));
    EXPECT_EQ(threadCount(), idleThreads + 1);
    device.send(message(1));
    second.send(message(2));
    EXPECT_TRUE(listener.hasHeard(2));
}

TEST_F(HX_MCSQNotificationTest, RegistrationNeedsAnOpenConnection)
{
    EXPECT_EQ(registerFor(-1), 3);
    EXPECT_EQ(registerFor(1), 3);
    const long long handle = open("A");
    close(handle);
    EXPECT_EQ(registerFor(handle), 11);
    EXPECT_EQ(unregister(handle), 11);
    EXPECT_EQ(unregister(-1), 3);
    EXPECT_EQ(threadCount(), idleThreads);
}

TEST_F(HX_MCSQNotificationTest, WithoutAThreadTheRegistrationFailsAndALaterOneIsServed)
{
    const long long handle = open("A");
    {
        const ConsoleCapture errors(std::cerr);
        const NoNewThreads none;
        EXPECT_EQ(registerFor(handle), 2);
        EXPECT_THAT(errors.text(), MatchesRegex("[0-9]+ Resource temporarily unavailable\n"));
    }
    device.send(message(1));
    ASSERT_EQ(registerFor(handle), 0);
    EXPECT_TRUE(listener.hasHeard(1));
    EXPECT_EQ(unregister(handle), 0);
    EXPECT_TRUE(threadEnds());  // the one that failed has left nothing in the list
}

TEST_F(HX_MCSQNotificationTest, UnregisteringWhatIsNotRegisteredIsNoError)
{
    EXPECT_EQ(unregister(open("A")), 0);
}

TEST_F(HX_MCSQNotificationTest, TheThreadEndsWithTheLastRegistrationAndANewOneStartsLater)
{
    const long long handle = open("A");
    for (std::size_t round = 1; round <= 3; ++round) {
        ASSERT_EQ(registerFor(handle), 0);
        EXPECT_EQ(threadCount(), idleThreads + 1);
        device.send(message(1));
        ASSERT_TRUE(listener.hasHeard(round));
        ASSERT_EQ(unregister(handle), 0);
        ASSERT_TRUE(threadEnds());
    }
}

TEST_F(HX_MCSQNotificationTest, NothingIsToldAfterUnregister)
{
    const long long handle = open("A");
    registerFor(open("B"));
    registerFor(handle);
    unregister(handle);
    device.send(message(1));
    second.send(message(2));
    ASSERT_TRUE(listener.hasHeard(1));
    second.send(message(3));
    ASSERT_TRUE(listener.hasHeard(2));
    EXPECT_EQ(listener.messages()[0].second, message(2));
    EXPECT_EQ(listener.messages()[1].second, message(3));
    EXPECT_FALSE(device.isEmpty());
}

TEST_F(HX_MCSQNotificationTest, UnregisterTakesBackOneOfTwoRegistrations)
{
    const long long handle = open("A");
    registerFor(handle);
    registerFor(handle);
    unregister(handle);
    device.send(message(1));
    EXPECT_TRUE(listener.hasHeard(1));
    unregister(handle);
    EXPECT_TRUE(threadEnds());
}

TEST_F(HX_MCSQNotificationTest, UnregisterTakesBackTheFirstOfTwoRegistrations)
{
    const long long handle = open("A");
    const long long between = open("A2");
    const long long starter = open("B");
    // The thread itself puts the message in, so that every entry of the device is readable when it looks next.
    listener.afterwards = [this, starter] {
        if (listener.messages().back().first == starter) device.send(message(1));
    };
    for (const long long each : {handle, between, handle, starter}) registerFor(each);
    for (std::size_t i = 1; i <= 20; ++i) {
        if (i == 11) unregister(handle);
        second.send(message(0));
        ASSERT_TRUE(listener.hasHeard(2 * i));
        EXPECT_EQ(listener.messages().back(), Listener::Message(i <= 10 ? handle : between, {1}));
    }
}

TEST_F(HX_MCSQNotificationTest, OfTwoConnectionsOnOneDeviceTheOneWithTheDescriptorIsTold)
{
    open("A");
    const long long other = open("A2");
    registerFor(other);
    device.send(message(1));
    ASSERT_TRUE(listener.hasHeard(1));
    EXPECT_EQ(listener.messages()[0], Listener::Message(other, {1}));
}

TEST_F(HX_MCSQNotificationTest, TwoRegistrationsOfOneHandleDoNotHang)
{
    const long long handle = open("A");
    registerFor(handle);
    registerFor(handle);
    for (std::uint8_t i = 0; i < 50; ++i) {
        device.send(message(i));
        ASSERT_TRUE(listener.hasHeard(i + 1U));
        EXPECT_EQ(listener.messages().back(), Listener::Message(handle, {i}));
    }
    EXPECT_EQ(unregister(handle), 0);  // what waited in a read would keep this waiting
}

TEST_F(HX_MCSQNotificationTest, TwoConnectionsOnOneDeviceShareItsMessages)
{
    const long long first = open("A");
    const long long other = open("A2");
    EXPECT_NE(first, other);
    registerFor(first);
    registerFor(other);
    for (std::uint8_t i = 0; i < 50; ++i) {
        device.send(message(i));
        ASSERT_TRUE(listener.hasHeard(i + 1U));
        EXPECT_EQ(listener.messages().back().second, message(i));
    }
    for (std::uint8_t i = 0; i < 100; ++i) device.send(message(i));
    ASSERT_TRUE(listener.hasHeard(150));
    EXPECT_EQ(unregister(first), 0);
    EXPECT_EQ(unregister(other), 0);
    EXPECT_EQ(listener.messages().size(), 150U);
}

TEST_F(HX_MCSQNotificationTest, ASecondConnectionIsRegisteredWhileTheThreadWaitsOrWorks)
{
    registerFor(open("A"));
    const long long handle = open("B");
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(registerFor(handle), 0);
        ASSERT_EQ(unregister(handle), 0);
    }
    // 50 ms each, and as much again for a slow machine: the idle thread lets go of its lock for a moment only, and who
    // waits for it must get it then.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));

    std::atomic<bool> stop = false;
    std::thread feeder([&] {
        while (!stop) device.send(message(1));
    });
    ASSERT_TRUE(listener.hasHeard(10));
    ASSERT_EQ(registerFor(handle), 0);
    second.send(message(2));
    EXPECT_TRUE(eventually([&] {
        const auto all = listener.messages();
        return std::ranges::find(all, Listener::Message(handle, {2})) != all.end();
    }));
    stop = true;
    feeder.join();
}

TEST_F(HX_MCSQNotificationTest, ARegistrationBesideTheThreadsEndIsServed)
{
    const long long handle = open("A");
    registerFor(handle);
    for (std::size_t round = 1; round <= 100; ++round) {
        device.send(message(1));
        ASSERT_TRUE(listener.hasHeard(round)) << "no thread in round " << round;
        unregister(handle);
        const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(round % 20 * 10);
        while (std::chrono::steady_clock::now() < until) {
        }
        registerFor(handle);
    }
}

TEST_F(HX_MCSQNotificationTest, ThreadsRegisterAndUnregisterBesideEachOther)
{
    const long long handles[] = {open("A"), open("B")};
    std::vector<std::thread> threads;
    for (const long long handle : handles)
        threads.emplace_back([this, handle] {
            for (int i = 0; i < 20; ++i) {
                EXPECT_EQ(registerFor(handle), 0);
                (handle == 0 ? device : second).send(message(1));
                EXPECT_EQ(unregister(handle), 0);
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(threadEnds());
}

TEST_F(HX_MCSQNotificationTest, WhatACallBackThrowsIsPrintedAndTheThreadGoesOn)
{
    const ConsoleCapture errors(std::cerr);
    noteCalls();
    listener.afterwards = [this, note = listener.afterwards] {
        note();
        if (calls.size() == 1) throw std::runtime_error("first");
        if (calls.size() == 2) throw 2;
    };
    registerFor(open("A"));
    for (std::uint8_t i = 1; i <= 3; ++i) {
        device.send(message(i));
        ASSERT_TRUE(listener.hasHeard(i));
    }
    service.reset();
    EXPECT_EQ(calls.size(), 3U);
    EXPECT_THAT(errors.text(), MatchesRegex("[0-9]+ first\n[0-9]+ unknown exception\n"));
}

TEST_F(HX_MCSQNotificationTest, TheErrorNumberThatACallBackLeavesIsNoFailedWait)
{
    listener.afterwards = [] { errno = EIO; };
    registerFor(open("A"));
    for (std::uint8_t i = 1; i <= 3; ++i) {
        device.send(message(i));
        ASSERT_TRUE(listener.hasHeard(i));
    }
}

TEST_F(HX_MCSQNotificationTest, ASignalDoesNotEndTheThread)
{
    struct sigaction action {};
    action.sa_handler = nothing;
    sigaction(SIGUSR1, &action, nullptr);
    registerFor(open("A"));
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        const int id = std::stoi(task.path().filename().string());
        if (id != getpid()) syscall(SYS_tgkill, getpid(), id, SIGUSR1);
    }
    device.send(message(1));
    EXPECT_TRUE(listener.hasHeard(1));
    EXPECT_EQ(threadCount(), idleThreads + 1);
}

TEST_F(HX_MCSQNotificationTest, AStormOfSignalsLosesNothingAndCutsNoPauseShort)
{
    struct sigaction action {};
    action.sa_handler = nothing;
    sigaction(SIGUSR1, &action, nullptr);
    noteCalls();
    registerFor(open("A"));
    device.send(message(0));
    ASSERT_TRUE(eventually([&] { return callingThread != 0; }));

    std::atomic<int> signals = 0;
    std::jthread storm([&](const std::stop_token& stop) {
        for (; !stop.stop_requested(); ++signals) {
            syscall(SYS_tgkill, getpid(), callingThread.load(), SIGUSR1);
            std::this_thread::sleep_for(std::chrono::microseconds(10));  // else a pause never ends
        }
    });
    std::size_t sent = 1;
    for (; sent < 500 || signals < 1000; ++sent) device.send(message(static_cast<std::uint8_t>(sent)));
    EXPECT_TRUE(listener.hasHeard(sent));
    storm.request_stop();
    storm.join();
    const auto heard = listener.messages();
    ASSERT_EQ(heard.size(), sent);
    for (std::size_t i = 0; i < sent; ++i) ASSERT_EQ(heard[i].second, message(static_cast<std::uint8_t>(i))) << i;
    EXPECT_EQ(threadCount(), idleThreads + 1);
    service.reset();  // ends the thread
    EXPECT_EQ(calls.size(), sent);
    EXPECT_THAT(gaps(), Each(Ge(std::chrono::microseconds(100))));
}

TEST_F(HX_MCSQNotificationTest, AFailedWaitIsToldOnceAsAFaultAndALine)
{
    const ConsoleCapture errors(std::cerr);
    const long long handle = open("A");
    waitError = ENOMEM;
    registerFor(handle);
    const bool ended = threadEnds();
    waitError = 0;
    ASSERT_TRUE(ended);
    const std::string text = "The queues are read no more, waiting for their input failed: Cannot allocate memory";
    EXPECT_EQ(errors.text(), text + "\n");
    EXPECT_EQ(popHealthEvent(), "3:" + text);
    EXPECT_EQ(popHealthEvent(), "none");
    EXPECT_NE(pulse->turns(), ThreadPulse::kAtRest);  // nobody takes it for one that is not wanted
}

TEST_F(HX_MCSQNotificationTest, TheThreadTurnsWhileThereIsARegistrationAndRestsBehindIt)
{
    EXPECT_EQ(pulse->turns(), ThreadPulse::kAtRest);
    const long long handle = open("A");
    registerFor(handle);
    EXPECT_TRUE(eventually([&] { return pulse->turns() >= 3; }));
    unregister(handle);
    EXPECT_TRUE(eventually([&] { return pulse->turns() == ThreadPulse::kAtRest; }));
}

TEST_F(HX_MCSQNotificationTest, ACallBackThatHangsStopsTheTurns)
{
    std::atomic<bool> mayReturn = false;
    std::atomic<std::uint32_t> before = 0;
    listener.afterwards = [&] {
        before = pulse->turns();
        while (!mayReturn) std::this_thread::yield();
    };
    registerFor(open("A"));
    device.send(message(1));
    EXPECT_TRUE(eventually([&] { return before != 0; }));
    EXPECT_EQ(pulse->turns(), before);
    mayReturn = true;
    EXPECT_TRUE(eventually([&] { return pulse->turns() != before; }));
}

TEST_F(HX_MCSQNotificationTest, AFailedWaitEndsTheThreadAndALaterRegistrationStartsANewOne)
{
    const long long handle = open("A");
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    constexpr rlim_t kLimit = 40;  // of descriptors: more entries than that are refused
    const rlimit small{kLimit, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &small);
    for (rlim_t i = 0; i <= kLimit; ++i) registerFor(handle);
    const bool ended = eventually([&] { return threadCount() == idleThreads; });
    setrlimit(RLIMIT_NOFILE, &before);
    ASSERT_TRUE(ended);
    device.send(message(1));
    registerFor(handle);
    EXPECT_TRUE(listener.hasHeard(1));
}

TEST_F(HX_MCSQNotificationTest, ADeviceThatVanishedAndCameBackIsServedAfterCloseAndOpen)
{
    std::optional<QueueDevice> third(std::in_place, directory.path(), 7);
    const long long handle = open("C");
    registerFor(handle);
    third->send(message(1));
    ASSERT_TRUE(listener.hasHeard(1));

    third.reset();
    unregister(handle);
    EXPECT_EQ(close(handle), 0);
    {
        const ConsoleCapture errors(std::cerr);
        long long gone = 7;
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
        service->Open_Connection("C", -1, gone, code);
        EXPECT_EQ(code, 1);
        EXPECT_EQ(gone, -1);
    }
    third.emplace(directory.path(), 7);
    EXPECT_EQ(open("C"), handle);
    registerFor(handle);
    third->send(message(2));
    ASSERT_TRUE(listener.hasHeard(2));
    EXPECT_EQ(listener.messages()[1], Listener::Message(handle, {2}));
}

TEST_F(HX_MCSQNotificationTest, AConnectionClosedWhileRegisteredIsPassedOver)
{
    const long long handle = open("A");
    registerFor(open("B"));
    registerFor(handle);
    close(handle);
    device.send(message(1));
    second.send(message(2));
    ASSERT_TRUE(listener.hasHeard(1));
    EXPECT_EQ(listener.messages()[0].second, message(2));
}

TEST_F(HX_MCSQNotificationTest, WhoTakesOverADescriptorIsNotToldThroughARegistrationOfAnother)
{
    const QueueDevice third(directory.path(), 7);
    const long long witness = open("A2");
    registerFor(witness);
    const long long former = open("B");
    registerFor(former);
    unregister(former);
    close(former);
    const long long closed = open("C");  // has the descriptors that "B" had
    registerFor(closed);
    registerFor(closed);
    unregister(closed);
    close(closed);
    ASSERT_EQ(open("B"), former);  // has them again
    second.send(message(9));
    for (std::uint8_t i = 1; i <= 2; ++i) {  // one turn of the thread has looked at all by then
        device.send(message(i));
        ASSERT_TRUE(listener.hasHeard(i));
        EXPECT_EQ(listener.messages().back(), Listener::Message(witness, {i}));
    }
    EXPECT_FALSE(second.isEmpty());
}

TEST_F(HX_MCSQNotificationTest, ARegistrationFollowsItsConnectionToANewDescriptor)
{
    const long long handle = open("A");
    registerFor(handle);
    close(handle);
    open("B");  // has the descriptors that "A" had
    ASSERT_EQ(open("A"), handle);
    device.send(message(1));
    ASSERT_TRUE(listener.hasHeard(1));
    EXPECT_EQ(listener.messages()[0], Listener::Message(handle, {1}));
    EXPECT_EQ(unregister(handle), 0);
    EXPECT_TRUE(threadEnds());
}

TEST_F(HX_MCSQNotificationTest, ConnectionsAreOpenedAndClosedBesideTheThread)
{
    registerFor(open("A"));
    std::atomic<bool> stop = false;
    std::thread feeder([&] {
        while (!stop) device.send(message(1));
    });
    for (int i = 0; i < 200; ++i) close(open("B"));
    EXPECT_TRUE(listener.hasHeard(100));
    stop = true;
    feeder.join();
}

TEST_F(HX_MCSQNotificationTest, TheThreadPausesFor100MicrosecondsAfterEachRead)
{
    noteCalls();
    for (std::uint8_t i = 0; i < 50; ++i) device.send(message(i));
    registerFor(open("A"));
    ASSERT_TRUE(listener.hasHeard(50));
    service.reset();  // ends the thread
    EXPECT_EQ(calls.size(), 50U);
    EXPECT_THAT(gaps(), Each(Ge(std::chrono::microseconds(100))));
}

TEST_F(HX_MCSQNotificationTest, AWaitTakesUpTo50Milliseconds)
{
    registerFor(open("A"));
    ASSERT_TRUE(eventually([] { return waits().size() >= 3; }));
    EXPECT_THAT(waits(), Each(50));  // nothing came: it did not look at a single device
}

TEST_F(HX_MCSQNotificationTest, DestructionEndsTheThreadWithinItsWait)
{
    registerFor(open("A"));
    const auto start = std::chrono::steady_clock::now();
    service.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_TRUE(threadEnds());
}

TEST_F(HX_MCSQNotificationTest, RegistrationsAndDestructionEndAWaitThatWouldHaveNoEnd)
{
    areWaitsEndless = true;
    registerFor(open("A"));
    ASSERT_TRUE(eventually([] { return !waits().empty(); }));
    const long long other = open("B");
    registerFor(other);
    auto code = FACE::RETURN_CODE_TYPE::NO_ACTION;
    service->Unregister_Notification_Event(other, code);
    EXPECT_EQ(code, 0);
    service.reset();
    EXPECT_TRUE(threadEnds());
}

TEST_F(HX_MCSQNotificationTest, ADeviceThatHasEndedIsLookedAtNowAndThenAndToldOnce)
{
    const ConsoleCapture errors(std::cerr);
    std::filesystem::create_symlink(directory.write("ended", ""), pathOfC);
    noteCalls();
    registerFor(open("C"));
    ASSERT_TRUE(eventually([&] { return waits().size() >= 20; }));
    service.reset();  // ends the thread
    const auto seen = gaps();
    ASSERT_GT(seen.size(), 5U);
    // What is not gone may give nothing once or twice.
    EXPECT_THAT(std::vector(seen.begin() + 2, seen.end()), Each(Ge(std::chrono::milliseconds(50))));
    EXPECT_EQ(errors.text(), "Nothing can be read from pipe file: " + pathOfC + ": it has ended or hung up\n");
}

TEST_F(HX_MCSQNotificationTest, ADeviceThatHangsUpIsLookedAtNowAndThenAndToldOnce)
{
    const ConsoleCapture errors(std::cerr);
    std::filesystem::create_symlink("/dev/ptmx", pathOfC);
    registerFor(open("C"));
    for (const int terminal : descriptorsOf("ptmx")) hangUp(terminal);
    ASSERT_TRUE(eventually([&] { return !errors.text().empty(); }));
    const auto start = std::chrono::steady_clock::now();
    const auto before = waits().size();
    ASSERT_TRUE(eventually([&] { return waits().size() >= before + 30; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
    EXPECT_EQ(errors.text(), "Nothing can be read from pipe file: " + pathOfC + ": it has ended or hung up\n");
}

TEST_F(HX_MCSQNotificationTest, ADeviceThatGivesNothingDelaysNoOther)
{
    const ConsoleCapture errors(std::cerr);
    std::filesystem::create_symlink("/dev/null", pathOfC);
    registerFor(open("C"));
    registerFor(open("A"));
    ASSERT_TRUE(eventually([&] { return !errors.text().empty(); }));
    noteCalls();
    for (std::uint8_t i = 0; i < 200; ++i) device.send(message(i));
    ASSERT_TRUE(listener.hasHeard(200));
    service.reset();  // ends the thread
    EXPECT_LT(std::ranges::count_if(gaps(), [](auto gap) { return gap >= std::chrono::milliseconds(50); }), 100);
}

TEST_F(HX_MCSQNotificationTest, TheSilenceOfADeviceThatIsOpenedAnewIsToldAnew)
{
    const ConsoleCapture errors(std::cerr);
    std::filesystem::create_symlink(directory.write("ended", ""), pathOfC);
    const long long handle = open("C");
    registerFor(handle);
    const std::string line = "Nothing can be read from pipe file: " + pathOfC + ": it has ended or hung up\n";
    ASSERT_TRUE(eventually([&] { return errors.text() == line; }));
    EXPECT_EQ(close(handle), 0);
    ASSERT_TRUE(eventually([before = waits().size()] { return waits().size() >= before + 3; }));
    open("C");
    EXPECT_TRUE(eventually([&] { return errors.text() == line + line; }));
}

TEST_F(HX_MCSQNotificationTest, ADeviceThatGivesSomethingAgainIsServedAndItsNextSilenceIsTold)
{
    const ConsoleCapture errors(std::cerr);
    const std::string ended = directory.write("ended", "");
    std::filesystem::create_symlink(ended, pathOfC);
    const long long handle = open("C");
    registerFor(handle);
    ASSERT_TRUE(eventually([&] { return !errors.text().empty(); }));
    std::ofstream(ended, std::ios::app) << "\x01";
    ASSERT_TRUE(listener.hasHeard(1));
    EXPECT_EQ(listener.messages()[0], Listener::Message(handle, {1}));
    const std::string line = "Nothing can be read from pipe file: " + pathOfC + ": it has ended or hung up\n";
    EXPECT_TRUE(eventually([&] { return errors.text() == line + line; }));
}
