#include "ioss_mcsq/gps_msgs.h"

#include "tests/support/ConsoleCapture.h"
#include "tests/support/GuardedMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <iostream>
#include <limits>
#include <numeric>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Words = std::vector<std::uint16_t>;

/// A frame with the data 1, 2, 3 ... and both checksums right, by plain addition.
Words frameOf(std::uint16_t wdcnt, std::uint16_t msgId = 15051)
{
    Words frame = {0x81FF, msgId, wdcnt, 0x8000};
    unsigned sum = 0x81FFu + msgId + wdcnt + 0x8000u;
    frame.push_back(static_cast<std::uint16_t>(0x40000 - sum));
    if (wdcnt == 0) return frame;
    sum = 0;
    for (unsigned i = 1; i <= wdcnt; ++i) {
        frame.push_back(static_cast<std::uint16_t>(i));
        sum += i;
    }
    frame.push_back(static_cast<std::uint16_t>(0 - sum));
    return frame;
}

std::vector<std::uint8_t> littleEndian(const Words& words)
{
    std::vector<std::uint8_t> bytes;
    for (const std::uint16_t word : words) {
        bytes.push_back(static_cast<std::uint8_t>(word % 256));
        bytes.push_back(static_cast<std::uint8_t>(word / 256));
    }
    return bytes;
}

/// What `call` returns and what it writes to standard error.
template <class Call>
std::pair<bool, std::string> judged(Call call)
{
    const ConsoleCapture capture(std::cerr);
    const bool result = call();
    return {result, capture.text()};
}

std::pair<bool, std::string> filled(Words& frame)
{
    return judged([&] { return OkChecksumGPSmessage(frame.data()); });
}

std::pair<bool, std::string> verified(const Words& frame)
{
    return judged([&] { return ChecksumsAreOkInGPSmessage(frame.data()); });
}

std::string dumped(const Words& frame)
{
    const ConsoleCapture capture(std::cout);
    PrintMessageInHex(frame.data());
    return capture.text();
}

std::string dumpedBytes(const std::vector<std::uint8_t>& bytes)
{
    const ConsoleCapture capture(std::cout);
    PrintMessageInHex(bytes);
    return capture.text();
}

std::pair<bool, std::string> accepted()
{
    return {true, ""};
}

std::pair<bool, std::string> refused(const std::string& text)
{
    return {false, text};
}

}  // namespace

TEST(CalculateChecksumTest, FirstBehindLastIsZero)
{
    const std::array<std::uint16_t, 3> words = {1, 2, 3};
    EXPECT_EQ(CalculateChecksum(words.data(), 2, 1), 0);
    EXPECT_EQ(CalculateChecksum(words.data(), std::numeric_limits<unsigned>::max(), 0), 0);
}

TEST(CalculateChecksumTest, BothEndsAreIncluded)
{
    const std::array<std::uint16_t, 5> words = {0x1000, 0x0001, 0x0020, 0x0300, 0x4000};
    EXPECT_EQ(CalculateChecksum(words.data(), 1, 3), 0xFCDF);
    EXPECT_EQ(CalculateChecksum(words.data(), 0, 4), 0xACDF);
}

TEST(CalculateChecksumTest, OneWordIsNegated)
{
    const std::array<std::uint16_t, 3> words = {0x1234, 0, 0x8000};
    EXPECT_EQ(CalculateChecksum(words.data(), 0, 0), 0xEDCC);
    EXPECT_EQ(CalculateChecksum(words.data(), 1, 1), 0);
    EXPECT_EQ(CalculateChecksum(words.data(), 2, 2), 0x8000);
}

TEST(CalculateChecksumTest, EveryLengthFromEveryStartIsThePlainSum)
{
    std::array<std::uint16_t, 300> words{};
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint16_t>(i * 40503 + 12345);
    for (unsigned first = 0; first < words.size(); ++first) {
        unsigned sum = 0;
        for (unsigned last = first; last < words.size(); ++last) {
            sum += words[last];
            ASSERT_EQ(CalculateChecksum(words.data(), first, last), (0x10000 - sum % 0x10000) % 0x10000)
                << first << " " << last;
        }
    }
}

TEST(CalculateChecksumTest, GreatestSumsWrap)
{
    const std::vector<std::uint16_t> words(70000, 0xFFFF);
    EXPECT_EQ(CalculateChecksum(words.data(), 0, 69999), 4464) << "70000 modulo 65536";
}

TEST(CalculateChecksumTest, NothingOutsideTheRangeIsRead)
{
    GuardedMemory memory(1024);
    for (unsigned count = 1; count <= 500; ++count) {
        const std::span<std::uint8_t> place = memory.atEnd(std::size_t{2} * count);
        std::ranges::fill(place, std::uint8_t{0xFF});
        const auto* words = reinterpret_cast<const std::uint16_t*>(place.data());
        ASSERT_EQ(CalculateChecksum(words, 0, count - 1), count);
    }
}

TEST(MakeHeaderTest, EightBytesAndTheirChecksum)
{
    Words header(5);
    EXPECT_EQ(MakeHeader(header.data(), 8504, 200), 0xDC01);
    EXPECT_EQ(littleEndian(header),
              (std::vector<std::uint8_t>{0xFF, 0x81, 0x38, 0x21, 0xC8, 0x00, 0x00, 0x80, 0x01, 0xDC}));
}

TEST(MakeHeaderTest, FlagWordIsTakenAsGiven)
{
    Words header(5);
    EXPECT_EQ(MakeHdrSpecifyFlagWd(header.data(), 5044, 0x9000, 21), 0xDA38);
    EXPECT_EQ(header, (Words{0x81FF, 5044, 21, 0x9000, 0xDA38}));
}

TEST(MakeHeaderTest, AcknowledgementsHaveNoDataAndTheirFlag)
{
    Words header(6, 0x7777);
    EXPECT_EQ(MakeACK(header.data(), 15051), 0xBB36);
    EXPECT_EQ(header, (Words{0x81FF, 15051, 0, 0x8800, 0xBB36, 0x7777}));
    EXPECT_EQ(static_cast<std::uint16_t>(std::accumulate(header.begin(), header.begin() + 5, 0u)), 0);
    EXPECT_EQ(MakeNAK(header.data(), 15051), 0xBF36);
    EXPECT_EQ(header, (Words{0x81FF, 15051, 0, 0x8400, 0xBF36, 0x7777}));
}

TEST(OkChecksumTest, FillsBothChecksumsWhateverStoodThere)
{
    Words frame = {0x81FF, 15051, 3, 0x8000, 0x1111, 1, 2, 0xFFFF, 0x2222, 0x3333};
    EXPECT_EQ(filled(frame), accepted());
    EXPECT_EQ(frame, (Words{0x81FF, 15051, 3, 0x8000, 0xC333, 1, 2, 0xFFFF, 0xFFFE, 0x3333}));
}

TEST(OkChecksumTest, WithoutDataTheDelimiterDoesNotMatter)
{
    Words frame = {0x1234, 5044, 0, 0x8000, 0x1111, 0x2222};
    EXPECT_EQ(filled(frame), accepted());
    EXPECT_EQ(frame, (Words{0x1234, 5044, 0, 0x8000, 0x5A18, 0x2222}));
}

TEST(OkChecksumTest, WrongDelimiterIsToldWithTheComputedHeaderChecksum)
{
    Words frame = {0x82FF, 5044, 2, 0x0800, 0x1111, 1, 2, 0x2222};
    EXPECT_EQ(filled(frame), refused("No delsoh checksumming Msg(5044) delsoh:82FF cnt:    2 flag:0800  hck:614B\n"));
    EXPECT_EQ(frame, (Words{0x82FF, 5044, 2, 0x0800, 0x614B, 1, 2, 0x2222}));
}

TEST(OkChecksumTest, Accepts32500WordsAndNoMore)
{
    Words frame = frameOf(32500);
    const Words whole = frame;
    frame[4] = frame[32505] = 0x1111;
    EXPECT_EQ(filled(frame), accepted());
    EXPECT_EQ(frame, whole);

    Words longer = frameOf(32501);
    const std::uint16_t headerChecksum = longer[4];
    longer[4] = longer[32506] = 0x1111;
    EXPECT_EQ(filled(longer), refused("Bad wdcnt (32501) checksumming Msg(15051) \n"));
    EXPECT_EQ(longer[4], headerChecksum);
    EXPECT_EQ(longer[32506], 0x1111);
}

TEST(OkChecksumTest, WordCountIsJudgedBeforeTheDelimiter)
{
    Words frame = {0, 1, 65535, 0, 0};
    EXPECT_EQ(filled(frame), refused("Bad wdcnt (65535) checksumming Msg(1) \n"));
    EXPECT_EQ(frame[4], 0) << "1 + 65535 is 0";
}

TEST(ChecksumsAreOkTest, RightSumsAreAccepted)
{
    EXPECT_EQ(verified(frameOf(0)), accepted());
    EXPECT_EQ(verified(frameOf(1)), accepted());
    EXPECT_EQ(verified(frameOf(100)), accepted());
}

TEST(ChecksumsAreOkTest, Accepts106WordsAndNoMore)
{
    EXPECT_EQ(verified(frameOf(106)), accepted());
    EXPECT_EQ(verified(frameOf(107)), refused("Bad wdcnt (107) verifying checksums Msg(15051) \n"));
    EXPECT_EQ(verified(frameOf(200, 8504)), refused("Bad wdcnt (200) verifying checksums Msg(8504) \n"));
}

TEST(ChecksumsAreOkTest, BadHeaderIsToldFirstWithTheResidualSum)
{
    Words frame = frameOf(3);
    frame[4] = static_cast<std::uint16_t>(frame[4] + 5);
    frame[5] = 0x7777;
    EXPECT_EQ(verified(frame), refused("Bad header chksum (5) verifying checksums Msg(15051) \n"));
    frame = frameOf(200, 8504);
    frame[4] = static_cast<std::uint16_t>(frame[4] - 1);
    EXPECT_EQ(verified(frame), refused("Bad header chksum (65535) verifying checksums Msg(8504) \n"));
}

TEST(ChecksumsAreOkTest, BadDataAreToldWithTheResidualSum)
{
    Words frame = frameOf(3);
    frame[7] = static_cast<std::uint16_t>(frame[7] + 9);
    EXPECT_EQ(verified(frame), refused("Bad data chksum (9) verifying checksums Msg(15051) \n"));
    frame = frameOf(106);
    frame.back() = static_cast<std::uint16_t>(frame.back() - 2);
    EXPECT_EQ(verified(frame), refused("Bad data chksum (65534) verifying checksums Msg(15051) \n"));
}

TEST(ChecksumsAreOkTest, DelimiterCountsInTheSumOnly)
{
    Words frame = frameOf(3);
    frame[0] = 0x81FE;
    frame[4] = static_cast<std::uint16_t>(frame[4] + 1);
    EXPECT_EQ(verified(frame), accepted());
}

TEST(ChecksumsAreOkTest, BytesAreJudgedAsTheFrameTheyHold)
{
    const auto judgedBytes = [](const std::vector<std::uint8_t>& bytes) {
        return judged([&] { return ChecksumsAreOkInGPSmessage(bytes); });
    };
    EXPECT_EQ(judgedBytes(littleEndian(frameOf(0))), accepted());
    EXPECT_EQ(judgedBytes(littleEndian(frameOf(106))), accepted());
    EXPECT_EQ(judgedBytes(littleEndian(frameOf(107))), refused("Bad wdcnt (107) verifying checksums Msg(15051) \n"));
    std::vector<std::uint8_t> bytes = littleEndian(frameOf(100));
    bytes.push_back(0xFF);
    EXPECT_EQ(judgedBytes(bytes), accepted()) << "what stands behind is not looked at";
    bytes.resize(211);
    EXPECT_EQ(judgedBytes(bytes), refused("")) << "the last byte is missing";
    bytes[8] ^= 1;
    EXPECT_EQ(judgedBytes(bytes).first, false);
    EXPECT_EQ(judgedBytes(bytes).second.substr(0, 17), "Bad header chksum");
    bytes.resize(9);
    EXPECT_EQ(judgedBytes(bytes), refused(""));
}

TEST(PrintMessageInHexTest, HeaderAloneWithoutData)
{
    EXPECT_EQ(dumped({0x81FF, 5044, 0, 0x8800, 0xABCD}),
              "Header:  81FF 13B4 0000 8800 ABCD; msgId: 5044 Wdcnt:    0\n");
}

TEST(PrintMessageInHexTest, FiveWordsEndTheirRowWithABar)
{
    EXPECT_EQ(dumped({0x81FF, 1, 5, 0x8000, 0, 0xA, 0xB, 0xC, 0xD, 0xE, 0xF00F}),
              "Header:  81FF 0001 0005 8000 0000; msgId:    1 Wdcnt:    5\n"
              "Data:  0  000A 000B 000C 000D 000E | \n"
              "DataCks:  F00F\n");
}

TEST(PrintMessageInHexTest, TenWordsToARow)
{
    EXPECT_EQ(dumped(frameOf(10)), "Header:  81FF 3ACB 000A 8000 C32C; msgId:15051 Wdcnt:   10\n"
                                   "Data:  0  0001 0002 0003 0004 0005 | 0006 0007 0008 0009 000A \n"
                                   "DataCks:  FFC9\n");
    EXPECT_EQ(dumped(frameOf(23)), "Header:  81FF 3ACB 0017 8000 C31F; msgId:15051 Wdcnt:   23\n"
                                   "Data:  0  0001 0002 0003 0004 0005 | 0006 0007 0008 0009 000A \n"
                                   "Data: 10  000B 000C 000D 000E 000F | 0010 0011 0012 0013 0014 \n"
                                   "Data: 20  0015 0016 0017 \n"
                                   "DataCks:  FEEC\n");
}

TEST(PrintMessageInHexTest, LongestFrameIsPrintedWhole)
{
    const std::string text = dumped(frameOf(65535));
    EXPECT_NE(text.find("\nData:65530  FFFB FFFC FFFD FFFE FFFF | \nDataCks:  8000\n"), std::string::npos);
    EXPECT_EQ(std::ranges::count(text, '\n'), 1 + 6554 + 1);
}

TEST(PrintMessageInHexTest, BytesThatHoldTheFrameGiveTheSameDump)
{
    for (const auto wdcnt : std::to_array<std::uint16_t>({0, 1, 5, 10, 21, 200}))
        EXPECT_EQ(dumpedBytes(littleEndian(frameOf(wdcnt))), dumped(frameOf(wdcnt)));
}

TEST(PrintMessageInHexTest, FewerThanTenBytesPrintNothing)
{
    std::vector<std::uint8_t> bytes = littleEndian(frameOf(3));
    for (std::size_t size = 0; size < 10; ++size)
        EXPECT_EQ(dumpedBytes({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)}), "");
}

TEST(PrintMessageInHexTest, CutDataEndTheirRowAndHaveNoChecksum)
{
    const std::string header = "Header:  81FF 3ACB 0003 8000 C333; msgId:15051 Wdcnt:    3\n";
    std::vector<std::uint8_t> bytes = littleEndian(frameOf(3));
    bytes.resize(17);
    EXPECT_EQ(dumpedBytes(bytes), header + "Data:  0  0001 0002 0003 \n") << "half of the data checksum";
    bytes.resize(15);
    EXPECT_EQ(dumpedBytes(bytes), header + "Data:  0  0001 0002 \n");
    bytes.resize(10);
    EXPECT_EQ(dumpedBytes(bytes), header);
}

TEST(PrintMessageInHexTest, DumpIsOneWrite)
{
    class CountingBuffer : public std::streambuf {
    public:
        int writes = 0;

    protected:
        std::streamsize xsputn(const char* /*text*/, std::streamsize count) override
        {
            ++writes;
            return count;
        }
    } buffer;
    std::streambuf* const previous = std::cout.rdbuf(&buffer);
    PrintMessageInHex(frameOf(23).data());
    std::cout.rdbuf(previous);
    EXPECT_EQ(buffer.writes, 1);
}

TEST(FlushZeroTest, BufferIsLeftFullOfThePattern)
{
    std::array<std::uint8_t, 9> buffer{};
    EXPECT_EQ(flushZero(buffer.data(), 8), 0);
    EXPECT_EQ(buffer, (std::array<std::uint8_t, 9>{0x55, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55, 0}));
}

TEST(FlushZeroTest, LengthZeroTouchesNothing)
{
    std::uint8_t byte = 0x77;
    EXPECT_EQ(flushZero(&byte, 0), 0);
    EXPECT_EQ(byte, 0x77);
    EXPECT_EQ(flushZero(nullptr, 0), 0);
}

TEST(FlushZeroTest, GreatestLengthEnds)
{
    GuardedMemory memory(65535);
    EXPECT_EQ(flushZero(memory.atEnd(65535).data(), 65535), 0);
    EXPECT_EQ(memory.atEnd(1)[0], 0x55);
}

namespace {

/// What `flushZero` answers at last for memory whose last byte another process turns to zero whenever it holds the
/// pattern; 0 if it holds for a minute.
int flushedWithoutPattern(std::uint8_t pattern)
{
    constexpr std::size_t kSize = 65535;
    void* const shared = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) return -1;
    const pid_t child = fork();
    if (child < 0) return -1;
    if (child == 0) {
        volatile std::uint8_t* const last = static_cast<std::uint8_t*>(shared) + kSize - 1;
        for (;;)
            if (*last == pattern) *last = 0;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    int result = 0;
    while (result == 0 && std::chrono::steady_clock::now() < deadline)
        result = flushZero(static_cast<std::uint8_t*>(shared), kSize);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    munmap(shared, kSize);
    return result;
}

}  // namespace

TEST(FlushZeroTest, MemoryThatDoesNotHoldEitherPatternIsAFault)
{
    EXPECT_EQ(flushedWithoutPattern(0x55), 1);
    EXPECT_EQ(flushedWithoutPattern(0xAA), 1);
}
