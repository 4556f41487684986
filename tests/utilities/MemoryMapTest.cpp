#include "utilities/MemoryMap.h"

#include "tests/support/ConfinedChild.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RegisterFile.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const auto kPage = static_cast<std::uint32_t>(::sysconf(_SC_PAGESIZE));

class MemoryMapTest : public testing::Test {
protected:
    const RegisterFile m_registers;
    const MemoryDeviceFileDescriptor m_memory{m_registers.path().c_str()};
};

/// Gives this process devices of its own: none.
bool hasEmptyDevices()
{
    return (::unshare(CLONE_NEWNS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) &&
           ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("none", "/dev", "tmpfs", 0, nullptr) == 0;
}

}  // namespace

TEST_F(MemoryMapTest, MemoryIsOpenForReadingAndWritingInStep)
{
    const int flags = ::fcntl(m_memory.fileDescriptor(), F_GETFL);
    EXPECT_EQ(flags & (O_ACCMODE | O_SYNC | O_NONBLOCK | O_APPEND), O_RDWR | O_SYNC);
    EXPECT_EQ(m_memory.pageSize(), kPage);
}

TEST_F(MemoryMapTest, NoProgramThatIsStartedGetsTheMemory)
{
    EXPECT_EQ(::fcntl(m_memory.fileDescriptor(), F_GETFD), FD_CLOEXEC);
}

TEST_F(MemoryMapTest, DescriptorIsClosedWithItsObject)
{
    int descriptor = -1;
    {
        const MemoryDeviceFileDescriptor memory(m_registers.path().c_str());
        descriptor = memory.fileDescriptor();
        EXPECT_NE(::fcntl(descriptor, F_GETFD), -1);
    }
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

TEST_F(MemoryMapTest, MemoryThatCantBeOpenedIsAnError)
{
    EXPECT_EQ(errorOf([] { MemoryDeviceFileDescriptor("/nowhere/memory"); }),
              "Unable to open /dev/mem file descriptor.");
}

TEST_F(MemoryMapTest, MemoryThatCantBeMappedIsAnError)
{
    const MemoryDeviceFileDescriptor nothing("/dev/null");
    EXPECT_EQ(errorOf([&] { MemoryMap(0x43C00000, 16, nothing); }), "Unable to map memory space.");
}

TEST_F(MemoryMapTest, MemoryWhoseDescriptorIsGoneIsAnError)
{
    const MemoryDeviceFileDescriptor memory(m_registers.path().c_str());
    ::close(memory.fileDescriptor());
    EXPECT_EQ(errorOf([&] { MemoryMap(0x10000, 16, memory); }), "Unable to map memory space.");
}

TEST_F(MemoryMapTest, RangeBehindTheEndOfAFileIsAnError)
{
    const TemporaryDirectory directory;
    const MemoryDeviceFileDescriptor page(directory.write("page", std::string(kPage, '\0')).c_str());
    const MemoryDeviceFileDescriptor empty(directory.write("empty", "").c_str());
    EXPECT_EQ(MemoryMap(kPage - 16, 16, page).offsetInPage(), kPage - 16);
    EXPECT_EQ(errorOf([&] { MemoryMap(kPage - 16, 17, page); }), "Unable to map memory space.");
    EXPECT_EQ(errorOf([&] { MemoryMap(0, 1, empty); }), "Unable to map memory space.");
}

TEST_F(MemoryMapTest, PointerToBaseIsTheRequestedAddress)
{
    m_registers.set32(0x43C00104, 0x12345678);
    const MemoryMap map(0x43C00104, 16, m_memory);
    std::uint32_t value = 0;
    std::memcpy(&value, map.getPointerToBase(), sizeof(value));
    EXPECT_EQ(value, 0x12345678u);
    EXPECT_EQ(map.offsetInPage(), 0x104u);
}

TEST_F(MemoryMapTest, PageBelowAnUnalignedBaseIsCovered)
{
    m_registers.set8(0x43C00000, 0xAB);
    const MemoryMap map(0x43C00104, 16, m_memory);
    EXPECT_EQ(map.getPointerToBase()[-0x104], 0xAB);
}

TEST_F(MemoryMapTest, WritesReachTheMemory)
{
    const MemoryMap map(0xFFFFF000, 16, m_memory);
    map.getPointerToBase()[15] = 0x5A;
    EXPECT_EQ(m_registers.get8(0xFFFFF00F), 0x5A);
}

TEST_F(MemoryMapTest, OnePageMoreThanABareDivision)
{
    const auto pages = [this](std::uint32_t address, std::uint32_t size) {
        const MemoryMap map(address, size, m_memory);
        EXPECT_EQ(map.mappedSize(), std::size_t{map.pageCount()} * kPage);
        return map.pageCount();
    };
    EXPECT_EQ(pages(0x10000, 0), 1u);
    EXPECT_EQ(pages(0x10000, 1), 1u);
    EXPECT_EQ(pages(0x10000, kPage - 1), 1u);
    EXPECT_EQ(pages(0x10000, kPage), 2u);
    EXPECT_EQ(pages(0x10000 + 16, kPage - 16), 2u);
    EXPECT_EQ(pages(0x10000 + 16, kPage - 17), 1u);
    EXPECT_EQ(pages(0x10000, 2 * kPage), 3u);
}

TEST_F(MemoryMapTest, SizesNearTheLimitOf32BitsDoNotWrap)
{
    if (sizeof(void*) < 8) {
        EXPECT_EQ(errorOf([this] { MemoryMap(0x10FFF, 0xFFFFFFFF, m_memory); }), "Unable to map memory space.");
        return;
    }
    const MemoryMap map(0x10000 + kPage - 1, 0xFFFFFFFF, m_memory);
    EXPECT_EQ(map.mappedSize(), (std::uint64_t{1} << 32) + kPage);
}

TEST_F(MemoryMapTest, DestructionUnmaps)
{
    {
        const MemoryMap map(0x10000, 16, m_memory);
        EXPECT_EQ(mappingsOf(m_registers.path()), 1);
    }
    EXPECT_EQ(mappingsOf(m_registers.path()), 0);
}

TEST_F(MemoryMapTest, MappingOutlivesItsDescriptor)
{
    m_registers.set8(0x10000, 0x77);
    auto memory = std::make_unique<MemoryDeviceFileDescriptor>(m_registers.path().c_str());
    const MemoryMap map(0x10000, 16, *memory);
    memory.reset();
    EXPECT_EQ(map.getPointerToBase()[0], 0x77);
}

TEST_F(MemoryMapTest, MappingThatCantBeReleasedIsOneLineAndNoException)
{
    const TemporaryDirectory directory;
    const std::string errors = directory.write("errors", "");
    const int status = inChild([&] {
        const int file = ::open(errors.c_str(), O_WRONLY);
        if (file < 0 || ::dup2(file, 2) != 2) return 1;
        {
            const MemoryMap map(0x10000, 16, m_memory);
            if (!confineSystemCalls(SYS_munmap, SECCOMP_RET_ERRNO | EPERM, SECCOMP_RET_ALLOW)) return kNotPossible;
        }
        return 0;
    });
    if (status == kNotPossible) GTEST_SKIP() << "system calls can't be refused here";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readFile(errors), "Unable to mumap memory space: Operation not permitted\n");
}

TEST(MemoryDeviceTest, MachineMemoryIsOpenedOnFirstUseAndTriedAgainAfterAFailure)
{
    const int status = inChild([] {
        if (!hasEmptyDevices()) return kNotPossible;
        for (int i = 0; i < 2; ++i)
            if (errorOf([] { MemoryMap(0x1000, 16); }) != "Unable to open /dev/mem file descriptor.") return 1;
        const int file = ::open("/dev/mem", O_RDWR | O_CREAT, 0600);
        if (::ftruncate(file, 0x10000) != 0 || ::pwrite(file, "\x5A", 1, 0x1010) != 1) return 2;
        const MemoryMap first(0x1010, 16);
        if (first.getPointerToBase()[0] != 0x5A) return 3;
        const int descriptor = MemoryDeviceFileDescriptor::Instance().fileDescriptor();
        const MemoryMap second(0x1010, 16);
        return MemoryDeviceFileDescriptor::Instance().fileDescriptor() == descriptor ? 0 : 4;
    });
    if (status == kNotPossible) GTEST_SKIP() << "no name space of its own to be had here";
    EXPECT_EQ(status, 0);
}
