#include "utilities/scheduling.h"

#include "tests/support/ConsoleCapture.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>
#include <sched.h>
#include <string>
#include <vector>

namespace {

/// What the unit asked of the system, and what the system answers. The linker sends the calls here, so that no test
/// changes how the machine schedules.
struct System {
    int least = 1, greatest = 99;
    bool accepts = true;
    bool tellsMask = true;
    std::vector<unsigned> presentCpus = {};  // counted from 0

    int classAsked = -1;
    int policy = -1;
    int priority = -1;
    pid_t process = -1;
    std::vector<unsigned> cpus = {};  // counted from 0
    std::string calls = {};
};
System theSystem;

int answer(bool succeeds)
{
    if (!succeeds) errno = EPERM;
    return succeeds ? 0 : -1;
}

class SchedulingTest : public testing::Test {
protected:
    SchedulingTest() { theSystem = {}; }

    std::string textOf(unsigned cpu, bool expected)
    {
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(okSetCpuAffinity(cpu), expected);
        return console.text();
    }
};

}  // namespace

extern "C" {

int __wrap_sched_get_priority_min(int policy)
{
    theSystem.classAsked = policy;
    return theSystem.least;
}

int __wrap_sched_get_priority_max(int policy)
{
    theSystem.classAsked = policy;
    return theSystem.greatest;
}

int __wrap_sched_setscheduler(pid_t process, int policy, const sched_param* parameters)
{
    theSystem.process = process;
    theSystem.policy = policy;
    theSystem.priority = parameters->sched_priority;
    return answer(theSystem.accepts);
}

int __wrap_sched_setaffinity(pid_t process, size_t size, const cpu_set_t* mask)
{
    theSystem.calls += "set " + std::to_string(size * 8) + " ";
    theSystem.process = process;
    for (unsigned bit = 0; bit < size * 8; ++bit)
        if (CPU_ISSET_S(bit, size, mask)) theSystem.cpus.push_back(bit);
    return answer(theSystem.accepts && !theSystem.cpus.empty());
}

int __wrap_sched_getaffinity(pid_t process, size_t size, cpu_set_t* mask)
{
    theSystem.calls += "get " + std::to_string(size * 8) + " ";
    theSystem.process = process;
    CPU_ZERO_S(size, mask);
    for (const unsigned bit : theSystem.presentCpus) CPU_SET_S(bit, size, mask);
    return answer(theSystem.tellsMask);
}
}

using CpuList = std::vector<unsigned>;

TEST_F(SchedulingTest, PriorityIsAskedForTheCallingProcessInTheFifoClass)
{
    EXPECT_TRUE(okSetRealtimeProcessPriority(42));
    EXPECT_EQ(theSystem.classAsked, SCHED_FIFO);
    EXPECT_EQ(theSystem.policy, SCHED_FIFO);
    EXPECT_EQ(theSystem.process, 0);
    EXPECT_EQ(theSystem.priority, 42);
}

TEST_F(SchedulingTest, PriorityIsClampedToWhatTheSystemAllows)
{
    struct Row {
        int least, greatest, asked, given;
    };
    constexpr Row kRows[] = {{1, 99, 0, 1},     {1, 99, 1, 1},      {1, 99, 99, 99},  {1, 99, 100, 99},
                             {10, 20, 9, 10},   {10, 20, 21, 20},   {10, 20, 15, 15}, {1, 99, 255, 99},
                             {-1, -1, -7, 1},   {-1, -1, 1000, 99}, {-1, 20, 0, 1},   {-1, 20, 50, 20},
                             {10, -1, 200, 99}, {10, -1, 2, 10},    {-1, -1, 50, 50}};
    for (const Row& row : kRows) {
        theSystem.least = row.least;
        theSystem.greatest = row.greatest;
        EXPECT_TRUE(okSetRealtimeProcessPriority(row.asked));
        EXPECT_EQ(theSystem.priority, row.given) << row.least << ".." << row.greatest << ": " << row.asked;
    }
}

TEST_F(SchedulingTest, RefusedPriorityIsToldSo)
{
    theSystem.accepts = false;
    EXPECT_FALSE(okSetRealtimeProcessPriority(5));
    EXPECT_EQ(theSystem.priority, 5);
}

TEST_F(SchedulingTest, AffinityIsOneBitCountedFromOne)
{
    struct Row {
        unsigned cpu;
        CpuList bits;
    };
    const Row rows[] = {{1, {0}}, {2, {1}}, {64, {63}}, {65, {64}}, {1024, {1023}}};
    for (const Row& row : rows) {
        theSystem = {};
        EXPECT_TRUE(okSetCpuAffinity(row.cpu));
        EXPECT_EQ(theSystem.cpus, row.bits) << row.cpu;
        EXPECT_EQ(theSystem.process, 0);
        EXPECT_EQ(theSystem.calls, "set 1024 get 1024 ");
    }
}

TEST_F(SchedulingTest, CpuOutsideTheMaskAsksForNoneAndFails)
{
    for (const unsigned cpu : {0u, 1025u, 65536u, 4294967295u}) {
        theSystem = {};
        EXPECT_FALSE(okSetCpuAffinity(cpu)) << cpu;
        EXPECT_EQ(theSystem.cpus, CpuList()) << cpu;
        EXPECT_EQ(theSystem.calls, "set 1024 get 1024 ") << cpu;
    }
}

TEST_F(SchedulingTest, PresentMaskIsPrintedCountedFromOne)
{
    theSystem.presentCpus = {0, 3, 1023};
    EXPECT_EQ(textOf(4, true), "Has CPU Affinity for CPU1\nHas CPU Affinity for CPU4\nHas CPU Affinity for CPU1024\n");
}

TEST_F(SchedulingTest, PresentMaskIsPrintedAfterARefusalToo)
{
    theSystem.accepts = false;
    theSystem.presentCpus = {1};
    EXPECT_EQ(textOf(1, false), "Has CPU Affinity for CPU2\n");
}

TEST_F(SchedulingTest, MaskThatCannotBeReadIsNotPrintedAndIsNoFailure)
{
    theSystem.tellsMask = false;
    theSystem.presentCpus = {0};
    EXPECT_EQ(textOf(1, true), "");
}
