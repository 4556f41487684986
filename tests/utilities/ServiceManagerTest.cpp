#include "utilities/ServiceManager.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/NotifySocket.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

std::ptrdiff_t openDescriptors()
{
    return std::ranges::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

struct ServiceManagerTest : testing::Test {
    /// A path of so many characters in the test's own directory.
    std::string pathOf(std::size_t length) const
    {
        const std::string front = folder.path().string() + "/";
        return front + std::string(length - front.size(), 'n');
    }

    /// A name of so many characters, that of this process alone.
    static std::string nameOf(std::size_t length)
    {
        const std::string front = "@orvane-test-" + std::to_string(getpid()) + "-";
        return front + std::string(length - front.size(), 'n');
    }

    static std::string heardAt(const std::string& address)
    {
        const NotifySocket socket(address);
        EXPECT_TRUE(ServiceManager(address.c_str()).tell("READY=1\nSTATUS=text")) << address;
        return socket.next(30s);
    }

    const TemporaryDirectory folder;
};

}  // namespace

TEST_F(ServiceManagerTest, WithoutAnAddressThereIsNoSocketAndNothingIsTold)
{
    const auto before = openDescriptors();
    const ServiceManager manager(nullptr);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(manager.wantsToBeTold());
    EXPECT_FALSE(manager.tell("READY=1"));
}

TEST_F(ServiceManagerTest, ASocketIsToldByItsPathUpToTheLongest)
{
    EXPECT_EQ(heardAt(pathOf(80)), "READY=1\nSTATUS=text");
    EXPECT_EQ(heardAt(pathOf(107)), "READY=1\nSTATUS=text");
}

TEST_F(ServiceManagerTest, ASocketIsToldByItsAbstractNameUpToTheLongest)
{
    EXPECT_EQ(heardAt(nameOf(40)), "READY=1\nSTATUS=text");
    EXPECT_EQ(heardAt(nameOf(108)), "READY=1\nSTATUS=text");
}

TEST_F(ServiceManagerTest, WhatIsNoAddressOfASocketCountsAsNone)
{
    const auto before = openDescriptors();
    for (const std::string& address : {std::string(), std::string("/"), std::string("@"), std::string("notify"),
                                       std::string("vsock:2:1"), pathOf(108), nameOf(109), nameOf(100'000)}) {
        const ServiceManager manager(address.c_str());
        EXPECT_EQ(openDescriptors(), before) << address;
        EXPECT_FALSE(manager.wantsToBeTold()) << address;
    }
}

TEST_F(ServiceManagerTest, NoProgramThatIsStartedGetsTheSocket)
{
    const int next = dup(STDIN_FILENO);  // the lowest number that is free
    close(next);
    const ServiceManager manager(pathOf(80).c_str());
    EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC);
}

TEST_F(ServiceManagerTest, ASocketThatIsNotReadHoldsNobodyUp)
{
    const std::string path = pathOf(80);
    const NotifySocket socket(path);
    const ServiceManager manager(path.c_str());
    int told = 0;
    while (told < 1'000'000 && manager.tell("STATUS=text")) ++told;
    EXPECT_LT(told, 1'000'000);
    EXPECT_EQ(socket.next(), "STATUS=text");
    EXPECT_TRUE(manager.tell("STATUS=text"));
}

TEST_F(ServiceManagerTest, AManagerThatComesBackIsTold)
{
    const std::string path = pathOf(80);
    const ServiceManager manager(path.c_str());
    EXPECT_FALSE(manager.tell("STATUS=text"));
    const NotifySocket socket(path);
    EXPECT_TRUE(manager.tell("STATUS=text"));
}

TEST_F(ServiceManagerTest, AWatchdogIsTakenFromTwoSecondsOn)
{
    EXPECT_EQ(ServiceManager::watchdogPeriod("40000000", nullptr, 1), 40s);
    EXPECT_EQ(ServiceManager::watchdogPeriod("2000000", nullptr, 1), 2s);
    EXPECT_EQ(ServiceManager::watchdogPeriod("946080000000000", nullptr, 1), 262'800h);
    for (const char* text : {"1999999", "1", "0", "", "-2000000", "+2000000", " 2000000", "2000000 ", "2e6", "0x1E8480",
                             "946080000000001", "18446744073709551615", "18446744073711551616", "infinity"})
        EXPECT_EQ(ServiceManager::watchdogPeriod(text, nullptr, 1), 0s) << text;
    EXPECT_EQ(ServiceManager::watchdogPeriod(nullptr, nullptr, 1), 0s);
}

TEST_F(ServiceManagerTest, AWatchdogOfAnotherProcessIsNone)
{
    EXPECT_EQ(ServiceManager::watchdogPeriod("2000000", "4711", 4711), 2s);
    for (const char* process : {"4712", "", "0", "-4711", "4711x"})
        EXPECT_EQ(ServiceManager::watchdogPeriod("2000000", process, 4711), 0s) << process;
}
