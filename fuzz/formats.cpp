// The receiver's number formats: each value beside its plain reading, and there and back.
// Input: eight bytes, read as one of each.

#include "fuzz/Fuzz.h"
#include "utilities/cvt.h"

#include <bit>
#include <cmath>

namespace {

using std::ldexp;

/// The fraction of a double-length number with its hidden bit: 56 bits.
std::uint64_t mantissaOf(const PdpD& value)
{
    return (std::uint64_t{0x80u | (value[0] & 0x7Fu)} << 48) | (std::uint64_t{value[1]} << 32) |
           (std::uint64_t{value[2]} << 16) | value[3];
}

int exponentOf(std::uint16_t top)
{
    return (top >> 7 & 0xFF) - 128;
}

bool isNegative(std::uint16_t top)
{
    return (top & 0x8000) != 0;
}

/// `mantissa` x 2^`exponent`, with no more than the first 53 bits of it.
double cut(std::uint64_t mantissa, int exponent)
{
    while (mantissa >> 53 != 0) {
        mantissa >>= 1;
        ++exponent;
    }
    return ldexp(static_cast<double>(mantissa), exponent);
}

double plain(const PdpD& value)
{
    if (value == PdpD{}) return 0.0;
    const double magnitude = cut(mantissaOf(value), exponentOf(value[0]) - 56);
    return isNegative(value[0]) ? -magnitude : magnitude;
}

bool isSame(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// The defect: one exponent is read with the last bit lost.
double ours(const PdpD& value)
{
    const double read = CnvPdpD2PcD(value);
    return fuzz::kPlanted && exponentOf(value[0]) == 77 ? std::nextafter(read, 0.0) : read;
}

void lookAtDouble(const PdpD& value)
{
    const double read = ours(value);
    FUZZ_EXPECT(isSame(read, plain(value)));

    double whole = 0.0;
    const double fraction = PdpD_modf(value, whole);
    FUZZ_EXPECT(whole == std::trunc(read));
    const int exponent = exponentOf(value[0]);
    const int places = std::clamp(56 - exponent, 0, 56);  // bits behind the point that are not zeros in front
    const std::uint64_t behind = mantissaOf(value) & ((std::uint64_t{1} << places) - 1);
    const double expected = value == PdpD{} ? 0.0 : cut(exponent <= 0 ? mantissaOf(value) : behind, exponent - 56);
    FUZZ_EXPECT(fraction == (isNegative(value[0]) ? -expected : expected));

    PdpD back = value;
    back[3] &= 0xFFF8;
    if (exponent > -128) FUZZ_EXPECT(cnvpcd(read) == back);

    const TovelD wire = CnvPcD2TovelE(read);
    if (exponent > -128) {
        FUZZ_EXPECT(std::abs(CnvTovelD2PcD(wire)) <= std::abs(read));
        FUZZ_EXPECT(CnvPcD2TovelE(CnvTovelD2PcD(wire)) == wire);
    }
}

void lookAtFloat(const PdpF& value)
{
    const int exponent = exponentOf(value[0]);
    const float read = CnvPdpF2PcF(value);
    const double magnitude = ldexp((0x80u | (value[0] & 0x7Fu)) * 65536.0 + value[1], exponent - 24);
    if (exponent < 3 - 128) {
        FUZZ_EXPECT(std::bit_cast<std::uint32_t>(read) == 0);
    } else {
        FUZZ_EXPECT(isSame(static_cast<double>(read), isNegative(value[0]) ? -magnitude : magnitude));
        const bool isKept = std::abs(read) >= 0x1p-125f;
        FUZZ_EXPECT(cnvpcs(read) == (isKept ? value : PdpF{}));
        FUZZ_EXPECT(CnvTovelF2PcF(CnvPcF2TovelF(read)) == (isKept ? read : 0.0f));
    }
}

void lookAtHosts(double value, float single)
{
    const PdpD packed = cnvpcd(value);
    if (std::abs(value) >= 0x1p-128 && std::abs(value) < 0x1p127)
        FUZZ_EXPECT(isSame(CnvPdpD2PcD(packed), value));
    else if (std::abs(value) < 0x1p-128)
        FUZZ_EXPECT(packed == PdpD{});
    else
        FUZZ_EXPECT(packed ==
                    PdpD{static_cast<std::uint16_t>(std::signbit(value) ? 0xFFFF : 0x7FFF), 0xFFFF, 0xFFFF, 0xFFFF});
    if (std::abs(single) >= 0x1p-125f && std::abs(single) < 0x1p127f)
        FUZZ_EXPECT(CnvPdpF2PcF(cnvpcs(single)) == single);
    if (!(std::abs(single) >= 0x1p-125f) && !std::isnan(single)) FUZZ_EXPECT(cnvpcs(single) == PdpF{});
}

void lookAtTwosComplement(const TwosComplementD& words, const TwosComplementF& pair)
{
    const double value = cnvte(words);
    double stored = 0.0;
    cnvten(words, stored);
    FUZZ_EXPECT(isSame(value, stored));
    const int exponent = static_cast<std::int8_t>(words[3] >> 8);
    if (exponent == -128)
        FUZZ_EXPECT(value == 0.0);
    else
        FUZZ_EXPECT(std::ilogb(value) == exponent && std::signbit(value) == ((words[3] & 0x80) != 0));
    float single = 0.0f;
    cnvtsn(pair, single);
    FUZZ_EXPECT(std::bit_cast<std::uint32_t>(cnvts(pair)) == std::bit_cast<std::uint32_t>(single));
}

void lookAtSwaps(std::uint32_t pair)
{
    std::uint32_t twice = pair;
    lswap(twice);
    FUZZ_EXPECT(twice == std::rotl(pair, 16));
    auto word = static_cast<std::uint16_t>(pair);
    const std::uint16_t digits = ToNBCD(word);
    FUZZ_EXPECT(word == 0 || word > 9999 || FromNBCD(digits) == word);
    FUZZ_EXPECT(FromNBCD(word) <= 9999);
    u16swap(word);
    ByteSwap(&word, 1);
    FUZZ_EXPECT(word == static_cast<std::uint16_t>(pair));
}

template <class T>
T as(std::span<const std::uint8_t, 8> bytes)
{
    T value;
    std::memcpy(&value, bytes.data(), sizeof(T));
    return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 8) return 0;
    const std::span<const std::uint8_t, 8> bytes(data, 8);
    lookAtDouble(as<PdpD>(bytes));
    lookAtFloat(as<PdpF>(bytes));
    lookAtHosts(as<double>(bytes), as<float>(bytes));
    lookAtTwosComplement(as<TwosComplementD>(bytes), as<TwosComplementF>(bytes));
    lookAtSwaps(as<std::uint32_t>(bytes));
    return 0;
}
