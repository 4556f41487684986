#include "VICTORY/OrvaneServer/SanitizeOrders.h"

#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/HealthEvents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct SanitizeOrdersTest : testing::Test {
    SanitizeOrdersTest() { popHealthEvents(); }

    void order(int count)
    {
        for (int i = 0; i < count; ++i) orders.order();
    }

    /// How many are carried out.
    int carryOut()
    {
        int count = 0;
        orders.carryOut(
            stop, [&] { ++count; }, [](const char*) { FAIL(); });
        return count;
    }

    const ServerSettings settings;
    SanitizeOrders orders{settings};
    std::atomic<bool> stop = false;
};

}  // namespace

TEST_F(SanitizeOrdersTest, NothingIsRequestedUntilAnOrderComesAndThenForGood)
{
    EXPECT_FALSE(orders.isRequested());
    orders.order();
    EXPECT_TRUE(orders.isRequested());
    orders.end();
    orders.begin();
    EXPECT_TRUE(orders.isRequested());
}

TEST_F(SanitizeOrdersTest, EachOrderIsCarriedOutOnce)
{
    EXPECT_EQ(carryOut(), 0);
    order(2);
    EXPECT_EQ(carryOut(), 2);
    EXPECT_EQ(carryOut(), 0);
}

TEST_F(SanitizeOrdersTest, TenWaitAndMoreAreMergedIntoThem)
{
    order(10);
    EXPECT_EQ(carryOut(), 10);
    order(11);
    EXPECT_EQ(carryOut(), 10);
    order(1000);
    EXPECT_EQ(carryOut(), 10);
}

TEST_F(SanitizeOrdersTest, TheOneThatIsBeingCarriedOutDoesNotWait)
{
    int count = 0;
    orders.order();
    orders.carryOut(
        stop,
        [&] {
            if (++count == 1) order(20);
        },
        [](const char*) { FAIL(); });
    EXPECT_EQ(count, 11);
}

TEST_F(SanitizeOrdersTest, AStopEndsTheDrainingAtOnce)
{
    int count = 0;
    order(3);
    orders.carryOut(
        stop,
        [&] {
            ++count;
            stop = true;
        },
        [](const char*) { FAIL(); });
    EXPECT_EQ(count, 1);
    EXPECT_EQ(carryOut(), 0);
}

TEST_F(SanitizeOrdersTest, AFloodOfOrdersDoesNotHoldAStopUp)
{
    const HardDeadline deadline(std::chrono::seconds(30));
    int count = 0;
    orders.order();
    orders.carryOut(
        stop,
        [&] {
            order(2);
            if (++count == 30) stop = true;
        },
        [](const char*) { FAIL(); });
    EXPECT_EQ(count, 30);
}

TEST_F(SanitizeOrdersTest, AnOrderThatFailsIsReportedAndTheNextIsTaken)
{
    std::vector<std::string> reports;
    int count = 0;
    order(3);
    orders.carryOut(
        stop,
        [&] {
            if (++count == 1) throw std::runtime_error("no luck");
            if (count == 2) throw 42;
        },
        [&](const char* what) { reports.emplace_back(what ? what : "<unknown>"); });
    EXPECT_EQ(count, 3);
    EXPECT_THAT(reports, ElementsAre("no luck", "<unknown>"));
    EXPECT_EQ(carryOut(), 0);
}

TEST_F(SanitizeOrdersTest, WhatWaitsAtTheEndIsToldByOneLineAndDropped)
{
    const ConsoleCapture console(std::cout);
    order(3);
    orders.end();
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Stopped. Orders to sanitize that were not carried out: 3"));
    EXPECT_EQ(console.text(), "OrvaneServer: Stopped. Orders to sanitize that were not carried out: 3\n");
    EXPECT_EQ(carryOut(), 0);
}

TEST_F(SanitizeOrdersTest, AnEndWithoutOrdersIsNotTold)
{
    const ConsoleCapture console(std::cout);
    order(1);
    carryOut();
    orders.end();
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    EXPECT_EQ(console.text(), "");
}

TEST_F(SanitizeOrdersTest, AnOrderBehindTheEndIsToldAtOnce)
{
    const ConsoleCapture console(std::cout);
    orders.end();
    orders.order();
    EXPECT_EQ(console.text(), "OrvaneServer: Stopped. Orders to sanitize that were not carried out: 1\n");
    EXPECT_EQ(carryOut(), 0);
    EXPECT_TRUE(orders.isRequested());
}

TEST_F(SanitizeOrdersTest, OrdersWaitAgainFromTheNextBeginOn)
{
    const ConsoleCapture console(std::cout);
    orders.end();
    orders.begin();
    order(2);
    EXPECT_EQ(console.text(), "");
    EXPECT_EQ(carryOut(), 2);
}
