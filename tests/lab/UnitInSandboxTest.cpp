#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

/// A little-endian register of the file that stands in for memory.
std::uint64_t registerAt(const std::string& memory, std::streamoff place)
{
    std::ifstream file(memory, std::ios::binary);
    file.seekg(place);
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value |= static_cast<std::uint64_t>(file.get() & 0xFF) << (8 * i);
    return value;
}

}  // namespace

TEST(UnitInSandboxTest, UnitFindsAllItsPathsAndFilesInTheSandbox)
{
    const TemporaryDirectory directory;
    const std::string unit = (directory.path() / "unit").string();
    const std::string sandbox = ORVANE_LAB_DIR "/sandbox";
    ChildProcess probe({sandbox, "true"});
    if (probe.wait() != ChildProcess::Ending{0, 0}) GTEST_SKIP() << probe.errors();

    const std::string binary = ORVANE_UNIT_SIM;
    ChildProcess process({sandbox, "--unit", unit, "--bind", std::filesystem::path(binary).parent_path().string(), "--",
                          binary, "--duration", "0.5", "--rate", "10"});
    EXPECT_EQ(process.wait(), (ChildProcess::Ending{0, 0})) << process.errors();
    EXPECT_NE(process.output().find(", refused by the transport 0,"), std::string::npos) << process.output();
    EXPECT_EQ(registerAt(unit + "/dev/mem", 0x43C20000), 58982400U);
    EXPECT_GE(registerAt(unit + "/dev/mem", 0x43C20000 + 128), 60 * 58982400U);
}
