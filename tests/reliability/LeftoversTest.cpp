#include "reliability/restart/Leftovers.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/system/WhatIsLeft.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <unistd.h>

namespace {

struct LeftoversTest : testing::Test {
    /// A lock that somebody holds until the test ends.
    void hold(const std::string& name, int kind)
    {
        const auto path = folder.path() / name;
        descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        ASSERT_EQ(flock(descriptor, kind | LOCK_NB), 0);
    }
    ~LeftoversTest() override { close(descriptor); }

    TemporaryDirectory folder;
    int descriptor = -1;
};

}  // namespace

TEST_F(LeftoversTest, WhatNobodyHoldsGoesWithItsLockAndSemaphore)
{
    for (const char* name : {"fastrtps_port7413", "fastrtps_port7413_el", "sem.fastrtps_port7413_mutex",
                             "fastrtps_0123456789abcdef", "fastrtps_0123456789abcdef_el"})
        folder.write(name, "");
    EXPECT_EQ(Leftovers::count(folder.path()), 5U);
    EXPECT_EQ(Leftovers::sweep(folder.path()), 5U);
    EXPECT_EQ(entries(folder.path()), Names());
}

TEST_F(LeftoversTest, WhatSomebodyHoldsStays)
{
    for (const char* name : {"fastrtps_port7411", "fastrtps_port7411_el", "sem.fastrtps_port7411_mutex"})
        folder.write(name, "");
    hold("fastrtps_port7411_el", LOCK_EX);
    EXPECT_EQ(Leftovers::sweep(folder.path()), 0U);
    EXPECT_EQ(Leftovers::count(folder.path()), 3U);
}

TEST_F(LeftoversTest, WhatSeveralMayHoldStaysForOne)
{
    for (const char* name : {"fastrtps_port7400", "fastrtps_port7400_el", "fastrtps_port7400_sl"})
        folder.write(name, "");
    hold("fastrtps_port7400_sl", LOCK_SH);
    EXPECT_EQ(Leftovers::sweep(folder.path()), 0U);
}

TEST_F(LeftoversTest, FilesOfOthersStay)
{
    for (const char* name : {"other_el", "fastrtps_without_lock", "sem.other_mutex"}) folder.write(name, "");
    EXPECT_EQ(Leftovers::sweep(folder.path()), 0U);
    EXPECT_EQ(Leftovers::count(folder.path()), 3U);
}

TEST(RemovedPortsTest, PortsWhoseFilesAreGoneCountOnce)
{
    EXPECT_EQ(Leftovers::removedPorts("7f00-7f10 rw-s 0 00:1 7 /dev/shm/fastrtps_port7413 (deleted)\n"
                                      "7f20-7f30 rw-s 0 00:1 7 /dev/shm/fastrtps_port7413 (deleted)\n"
                                      "7f40-7f50 rw-s 0 00:1 8 /dev/shm/fastrtps_port7411\n"
                                      "7f60-7f70 rw-s 0 00:1 9 /dev/shm/fastrtps_0123456789abcdef (deleted)\n"),
              1U);
}
