#include "ioss_mcsq/mcsQport.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/ProcessState.h"
#include "tests/support/QueueDevice.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <type_traits>
#include <vector>

static_assert(std::is_abstract_v<mcsQport> && std::has_virtual_destructor_v<mcsQport>);
static_assert(!std::is_copy_constructible_v<mcsReaderPort> && !std::is_move_constructible_v<mcsReaderPort>);
static_assert(!std::is_copy_assignable_v<mcsWriterPort> && !std::is_move_assignable_v<mcsWriterPort>);

namespace {

struct mcsQportTest : testing::Test {
    HardDeadline deadline;
    TemporaryDirectory directory;
    QueueDevice device{directory.path(), 5};
    const std::string missing = (directory.path() / "none").string();
    mcsReaderPort reader;
    mcsWriterPort writer;
    std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(100);
};

}  // namespace

TEST_F(mcsQportTest, OpeningStandsNextToTheDestructor)
{
    EXPECT_EQ(virtualSlot(&mcsQport::openPort), virtualSlot(&AfterDestructor::operation));
}

TEST_F(mcsQportTest, ANewPortHasNothing)
{
    EXPECT_STREQ(reader.get_filename(), "");
    EXPECT_FALSE(reader.hasSetFilename());
    EXPECT_FALSE(reader.is_file_open());
    EXPECT_EQ(reader.getFileDescriptor(), 0);
}

TEST_F(mcsQportTest, TheNameIsKeptByItsPointer)
{
    reader.set_filename(device.path().c_str());
    EXPECT_EQ(reader.get_filename(), device.path().c_str());
    EXPECT_TRUE(reader.hasSetFilename());
}

TEST_F(mcsQportTest, ANullNameIsNone)
{
    reader.set_filename(nullptr);
    EXPECT_FALSE(reader.hasSetFilename());
    EXPECT_STREQ(reader.get_filename(), "");
    EXPECT_EQ(reader.openPort(), -1);
}

TEST_F(mcsQportTest, WithoutANameNothingOpensAndNothingIsSaid)
{
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(reader.can_open_file(), -1);
    EXPECT_EQ(reader.openPortForRead(), -1);
    EXPECT_EQ(writer.openPortForWrite(), -1);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(mcsQportTest, AFileThatIsNotThereIsReportedByDirection)
{
    reader.set_filename(missing.c_str());
    writer.set_filename(missing.c_str());
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(reader.can_open_file(), 0);
    EXPECT_EQ(errors.text(), "Unable to open output pipe file: " + missing + "\n");
    EXPECT_EQ(reader.openPort(), -1);
    EXPECT_EQ(writer.openPort(), -1);
    EXPECT_EQ(errors.text(), "Unable to open output pipe file: " + missing + "\nUnable to open input pipe file: " +
                                 missing + "\nUnable to open output pipe file: " + missing + "\n");
    EXPECT_FALSE(reader.is_file_open());
    EXPECT_FALSE(writer.is_file_open());
}

TEST_F(mcsQportTest, AReaderIsProbedForWriting)
{
    const std::string readOnly = directory.path().string();  // a directory can be opened, but not to be written
    reader.set_filename(readOnly.c_str());
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(reader.can_open_file(), 0);
    EXPECT_NE(reader.openPort(), -1);
}

TEST_F(mcsQportTest, TheProbeClosesWhatItOpened)
{
    reader.set_filename(device.path().c_str());
    const std::size_t before = descriptorCount();
    EXPECT_EQ(reader.can_open_file(), 1);
    EXPECT_EQ(descriptorCount(), before);
    EXPECT_FALSE(reader.is_file_open());
}

TEST_F(mcsQportTest, PortsAreOpenedWithoutFurtherFlags)
{
    reader.set_filename(device.path().c_str());
    writer.set_filename(device.path().c_str());
    const int descriptors[] = {reader.openPort(), writer.openPort()};
    ASSERT_EQ(descriptors[0], reader.getFileDescriptor());
    ASSERT_EQ(descriptors[1], writer.getFileDescriptor());
    constexpr int kLooked = O_ACCMODE | O_NONBLOCK | O_DIRECT | O_APPEND | O_SYNC;
    EXPECT_EQ(fcntl(reader.getFileDescriptor(), F_GETFL) & kLooked, O_RDONLY);
    EXPECT_EQ(fcntl(writer.getFileDescriptor(), F_GETFL) & kLooked, O_WRONLY);
}

TEST_F(mcsQportTest, NoProgramThatIsStartedGetsAPort)
{
    reader.set_filename(device.path().c_str());
    writer.set_filename(device.path().c_str());
    EXPECT_EQ(fcntl(reader.openPort(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(writer.openPort(), F_GETFD), FD_CLOEXEC);
}

TEST_F(mcsQportTest, OneReadTakesOneMessage)
{
    reader.set_filename(device.path().c_str());
    reader.openPort();
    device.send(std::vector<std::uint8_t>{1, 2, 3});
    device.send(std::vector<std::uint8_t>{4});
    EXPECT_EQ(reader.readFromPort(buffer.data(), buffer.size()), 3);
    EXPECT_EQ(reader.readFromPort(buffer.data(), buffer.size()), 1);
    EXPECT_EQ(buffer[0], 4);
}

TEST_F(mcsQportTest, OneWritePutsInOneMessage)
{
    writer.set_filename(device.path().c_str());
    writer.openPort();
    const std::vector<std::uint8_t> message{9, 8, 7};
    EXPECT_EQ(writer.writeToPort(message.data(), 3), 3);
    EXPECT_EQ(device.receive(), message);
}

TEST_F(mcsQportTest, AClosedPortTransfersNothing)
{
    EXPECT_EQ(reader.readFromPort(buffer.data(), buffer.size()), 0);
    EXPECT_EQ(writer.writeToPort(buffer.data(), buffer.size()), 0);
}

TEST_F(mcsQportTest, ALengthOfZeroTransfersNothing)
{
    writer.set_filename(device.path().c_str());
    writer.openPort();
    reader.set_filename(device.path().c_str());
    reader.openPort();
    EXPECT_EQ(writer.writeToPort(nullptr, 0), 0);
    EXPECT_EQ(reader.readFromPort(nullptr, 0), 0);
    EXPECT_TRUE(device.isEmpty());
}

TEST_F(mcsQportTest, OpeningAnOpenPortClosesItFirst)
{
    reader.set_filename(device.path().c_str());
    ASSERT_NE(reader.openPort(), -1);
    const std::size_t before = descriptorCount();
    ASSERT_NE(reader.openPort(), -1);
    EXPECT_EQ(descriptorCount(), before);
    reader.set_filename(missing.c_str());
    const ConsoleCapture errors(std::cerr);
    EXPECT_EQ(reader.openPort(), -1);
    EXPECT_FALSE(reader.is_file_open());
    EXPECT_EQ(descriptorCount(), before - 1);
}

TEST_F(mcsQportTest, APortClosesWhenItGoes)
{
    const std::size_t before = descriptorCount();
    {
        mcsWriterPort port;
        port.set_filename(device.path().c_str());
        ASSERT_NE(port.openPort(), -1);
        EXPECT_EQ(descriptorCount(), before + 1);
    }
    EXPECT_EQ(descriptorCount(), before);
}

TEST_F(mcsQportTest, APortThatWasNeverOpenedClosesNothing)
{
    const int flags = fcntl(0, F_GETFD);
    {
        mcsReaderPort port;
        port.doDebug(3);
    }
    EXPECT_EQ(fcntl(0, F_GETFD), flags);
}
