// Bytes as frames of the receiver and the anti-jam sensor: what is taken, what is read of it, both checksums, and the
// printed form.
// Input: a frame.

#include "fuzz/Fuzz.h"
#include "ioss_mcsq/GssipBytes.h"
#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"

#include <cmath>
#include <vector>

namespace {

using Bytes = std::span<const std::uint8_t>;

class Sink : public IWriteByteStreams {
public:
    void write(const std::uint8_t* bytes, std::size_t length) override { frame.assign(bytes, bytes + length); }

    std::vector<std::uint8_t> frame;
};

unsigned wordAt(Bytes bytes, std::size_t index)
{
    return bytes[2 * index] + 256u * bytes[2 * index + 1];
}

unsigned sumOf(Bytes bytes, std::size_t words)
{
    unsigned sum = 0;
    for (std::size_t i = 0; i < words; ++i) sum += wordAt(bytes, i);
    return sum % 65536;
}

/// At most 106 words of data, all there, and both sums 0.
bool isRight(Bytes bytes)
{
    if (bytes.size() < 10 || sumOf(bytes, 5) != 0) return false;
    const std::size_t words = wordAt(bytes, 2);
    if (words == 0) return true;
    return words <= 106 && bytes.size() >= 12 + 2 * words && sumOf(bytes.subspan(10), words + 1) == 0;
}

/// What is written of a frame is right, and what was taken but for its checksums, unless its header tells another
/// number of words.
void expectWritten(GssipMessage& message, Bytes taken)
{
    Sink sink;
    message.WriteMessage(&sink);
    if (wordAt(taken, 2) != message.wordCount()) return;
    const std::size_t size = 12 + 2 * std::size_t{message.wordCount()};
    FUZZ_EXPECT(sink.frame.size() == size);
    FUZZ_EXPECT(std::equal(taken.begin(), taken.begin() + 8, sink.frame.begin()));
    FUZZ_EXPECT(
        std::equal(taken.begin() + 10, taken.begin() + static_cast<std::ptrdiff_t>(size - 2), sink.frame.begin() + 10));
    FUZZ_EXPECT(sumOf(sink.frame, 5) == 0 && sumOf(Bytes(sink.frame).subspan(10), message.wordCount() + 1u) == 0);
}

void lookAtWarning(Bytes bytes)
{
    ZentorM_5044_Msg message;
    const bool isTaken = message.ok_set_5044_gpsip(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    FUZZ_EXPECT(isTaken == (bytes.size() == 54 || bytes.size() == 55));
    if (!isTaken) return;
    message.unpack_5044();
    std::string text;
    for (std::size_t i = 0; i < 32 && bytes[20 + (i ^ 1)] != 0; ++i) text += static_cast<char>(bytes[20 + (i ^ 1)]);
    // The defect: the text ends at a '~'.
    const std::string_view told = warningTextOf(message.unpacked());
    FUZZ_EXPECT((fuzz::kPlanted ? told.substr(0, told.find('~')) : told) == text);
    FUZZ_EXPECT(message.unpacked().warningNumber == wordAt(bytes, 9));
    expectWritten(message, bytes);
}

void lookAtReport(Bytes bytes)
{
    ZentorM_8504_Msg message;
    const bool isTaken = message.ok_set_8504_gpsip(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    FUZZ_EXPECT(isTaken == (bytes.size() == 412 || bytes.size() == 413));
    if (!isTaken) return;
    FUZZ_EXPECT(message.recieverFailureDetected() == ((bytes[10 + 96] & 0x10) != 0));
    message.unpack_8504();
    const double whole = message.unpacked().wholePart;
    const double fraction = message.unpacked().fractionPart;
    FUZZ_EXPECT(std::trunc(whole) == whole && std::abs(fraction) < 1.0);
    FUZZ_EXPECT(std::equal(bytes.begin() + 10 + 144, bytes.begin() + 10 + 400, message.unpacked().block144));
    message.pack_8504();
    ZentorM_8504_Msg again;
    again.copy_all(message);
    again.unpack_8504();
    FUZZ_EXPECT(again.unpacked().word088 == message.unpacked().word088);
    FUZZ_EXPECT(again.unpacked().status120 == message.unpacked().status120);
    ZentorM_8504_Msg other;
    other.ok_set_8504_gpsip(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    expectWritten(other, bytes);
}

void lookAtThreats(Bytes bytes)
{
    ThreatData message;
    const bool isTaken = message.OkSetContent(bytes.data(), static_cast<std::uint16_t>(bytes.size()));
    FUZZ_EXPECT(isTaken == (bytes.size() == 212 || bytes.size() == 213));
    if (!isTaken) return;
    for (std::size_t i = 0; i < 11; ++i) {
        const ThreatEntry entry = message.threat(i);
        if (i >= ThreatData::kThreats) {
            FUZZ_EXPECT(!entry.isReported());
            continue;
        }
        const Bytes raw = bytes.subspan(48 + 18 * i, 18);
        FUZZ_EXPECT(entry.isReported() == (raw[0] % 4 == 2 && raw[1] % 2 == 1));
        FUZZ_EXPECT(entry.confidence() == raw[1] / 4u % 16 * 25 && entry.centerHz() == 5e4 * wordAt(raw, 2));
        const double bandwidth = (raw[0] & 0x20) != 0 ? 1e3 * wordAt(raw, 3) : 3.3e7;
        FUZZ_EXPECT(entry.bandwidthHz() == bandwidth);
        FUZZ_EXPECT(static_cast<std::uint16_t>(entry.Az) == wordAt(raw, 7));
    }
    expectWritten(message, bytes);
    double seconds;
    std::memcpy(&seconds, bytes.data() + 10, sizeof(seconds));
    message.setGpsTime(seconds);
    FUZZ_EXPECT(!std::isfinite(seconds) || (message.gpsTime() >= 0 && message.gpsTime() <= 604800));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto& console = fuzz::QuietConsole::instance();
    if (size > 65535) return 0;
    const Bytes bytes(data, size);
    const auto id = gssip::messageIdOf(bytes);
    FUZZ_EXPECT(id.has_value() == (size >= 4) && (!id || *id == wordAt(bytes, 1)));
    FUZZ_EXPECT(gssip::beginsWithHeader(bytes) == (size >= 10 && wordAt(bytes, 0) == 0x81FF && sumOf(bytes, 5) == 0));
    FUZZ_EXPECT(ChecksumsAreOkInGPSmessage(bytes) == isRight(bytes));
    const std::size_t linesBefore = console.lines();
    PrintMessageInHex(bytes);
    FUZZ_EXPECT((console.lines() > linesBefore) == (size >= 10));
    lookAtWarning(bytes);
    lookAtReport(bytes);
    lookAtThreats(bytes);
    return 0;
}
