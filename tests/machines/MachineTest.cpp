#include "tests/machines/Dump.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

TEST(MachineTest, DumpIsTheSameOnEveryMachine)
{
    std::ifstream file(ORVANE_MACHINE_DUMP);
    ASSERT_TRUE(file) << ORVANE_MACHINE_DUMP;
    std::istringstream here(dumpOfMachine());
    std::string kept, line;
    while (std::getline(file, kept)) {
        ASSERT_TRUE(std::getline(here, line)) << "missing: " << kept;
        EXPECT_EQ(line, kept);
    }
    EXPECT_FALSE(std::getline(here, line)) << "more: " << line;
}
