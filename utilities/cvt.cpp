#include "utilities/cvt.h"

#include <bit>
#include <cmath>
#include <limits>
#include <utility>

namespace {

static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559);

// A `PdpD` as one number: bit 63 sign, bits 62-55 exponent, bits 54-0 fraction.
constexpr int kFractionBitsD = 55;
constexpr std::uint64_t kHiddenBitD = std::uint64_t{1} << kFractionBitsD;
constexpr std::uint64_t kFractionMaskD = kHiddenBitD - 1;
constexpr std::uint64_t kSignD = std::uint64_t{1} << 63;
constexpr int kExponentBias = 128;

constexpr int kHostFractionBitsD = 52;
constexpr std::uint64_t kHostFractionMaskD = (std::uint64_t{1} << kHostFractionBitsD) - 1;
constexpr int kFractionBitsLostD = kFractionBitsD - kHostFractionBitsD;
// 0.1f x 2^(e - 128) is 1.f x 2^(e - 129), and 1023 - 129 makes that the host's exponent field.
constexpr unsigned kExponentOffsetD = 894;

// A `PdpF` has the arrangement of a host float: bit 31 sign, bits 30-23 exponent, bits 22-0 fraction.
constexpr int kFractionBitsF = 23;
constexpr std::uint32_t kExponentStepF = std::uint32_t{2} << kFractionBitsF;  // 129 - 127
constexpr std::uint32_t kSignF = std::uint32_t{1} << 31;

constexpr std::uint64_t joined(const PdpD& words)
{
    return std::uint64_t{words[0]} << 48 | std::uint64_t{words[1]} << 32 | std::uint64_t{words[2]} << 16 | words[3];
}

constexpr std::uint32_t joined(const PdpF& words)
{
    return std::uint32_t{words[0]} << 16 | words[1];
}

constexpr PdpD splitD(std::uint64_t bits)
{
    return {static_cast<std::uint16_t>(bits >> 48), static_cast<std::uint16_t>(bits >> 32),
            static_cast<std::uint16_t>(bits >> 16), static_cast<std::uint16_t>(bits)};
}

constexpr PdpF splitF(std::uint32_t bits)
{
    return {static_cast<std::uint16_t>(bits >> 16), static_cast<std::uint16_t>(bits)};
}

constexpr unsigned exponentOfD(std::uint64_t bits)
{
    return static_cast<unsigned>(bits >> kFractionBitsD) & 0xFFu;
}

constexpr unsigned exponentOfF(std::uint32_t bits)
{
    return (bits >> kFractionBitsF) & 0xFFu;
}

double hostFromD(std::uint64_t bits)
{
    if (bits == 0) return 0.0;
    const std::uint64_t exponent = exponentOfD(bits) + kExponentOffsetD;
    const std::uint64_t fraction = (bits & kFractionMaskD) >> kFractionBitsLostD;
    return std::bit_cast<double>((bits & kSignD) | exponent << kHostFractionBitsD | fraction);
}

float hostFromF(std::uint32_t bits)
{
    if (exponentOfF(bits) < 3) return 0.0F;
    return std::bit_cast<float>(bits - kExponentStepF);
}

std::uint64_t fromHostD(double value)
{
    const auto host = std::bit_cast<std::uint64_t>(value);
    const unsigned exponent = static_cast<unsigned>(host >> kHostFractionBitsD) & 0x7FFu;
    if (exponent < kExponentOffsetD + 1) return 0;
    if (exponent > kExponentOffsetD + 255) return (host & kSignD) | (kSignD - 1);
    return (host & kSignD) | std::uint64_t{exponent - kExponentOffsetD} << kFractionBitsD |
           (host & kHostFractionMaskD) << kFractionBitsLostD;
}

std::uint32_t fromHostF(float value)
{
    const auto host = std::bit_cast<std::uint32_t>(value);
    const unsigned exponent = exponentOfF(host);
    if (exponent < 2) return 0;
    if (exponent > 253) return (host & kSignF) | (kSignF - 1);
    return host + kExponentStepF;
}

}  // namespace

double CnvPdpD2PcD(const PdpD& value)
{
    return hostFromD(joined(value));
}

float CnvPdpF2PcF(const PdpF& value)
{
    return hostFromF(joined(value));
}

double CnvTovelD2PcD(const TovelD& value)
{
    const unsigned top = value[5];
    return CnvPdpD2PcD({static_cast<std::uint16_t>((top & 0x80u) << 8 | unsigned{value[0]} << 7 | (top & 0x7Fu)),
                        static_cast<std::uint16_t>(unsigned{value[4]} << 8 | value[3]),
                        static_cast<std::uint16_t>(unsigned{value[2]} << 8 | value[1]), 0});
}

float CnvTovelF2PcF(const TovelF& value)
{
    const unsigned top = value[3];
    return CnvPdpF2PcF({static_cast<std::uint16_t>((top & 0x80u) << 8 | unsigned{value[0]} << 7 | (top & 0x7Fu)),
                        static_cast<std::uint16_t>(unsigned{value[2]} << 8 | value[1])});
}

PdpD cnvpcd(double value)
{
    return splitD(fromHostD(value));
}

PdpF cnvpcs(float value)
{
    return splitF(fromHostF(value));
}

TovelD CnvPcD2TovelE(double value)
{
    const PdpD words = cnvpcd(value);
    return {static_cast<std::uint8_t>(words[0] >> 7),
            static_cast<std::uint8_t>(words[2]),
            static_cast<std::uint8_t>(words[2] >> 8),
            static_cast<std::uint8_t>(words[1]),
            static_cast<std::uint8_t>(words[1] >> 8),
            static_cast<std::uint8_t>((words[0] >> 8 & 0x80) | (words[0] & 0x7F))};
}

TovelF CnvPcF2TovelF(float value)
{
    const PdpF words = cnvpcs(value);
    return {static_cast<std::uint8_t>(words[0] >> 7), static_cast<std::uint8_t>(words[1]),
            static_cast<std::uint8_t>(words[1] >> 8),
            static_cast<std::uint8_t>((words[0] >> 8 & 0x80) | (words[0] & 0x7F))};
}

double PdpD_modf(const PdpD& value, double& whole)
{
    const std::uint64_t bits = joined(value);
    const int exponent = static_cast<int>(exponentOfD(bits)) - kExponentBias;
    if (bits == 0 || exponent <= 0) {
        whole = 0.0;
        return hostFromD(bits);
    }
    if (exponent > kFractionBitsD) {
        whole = hostFromD(bits);
        return 0.0;
    }
    const int fractionBits = kFractionBitsD + 1 - exponent;  // 1 to 55
    const std::uint64_t remainder = bits & ((std::uint64_t{1} << fractionBits) - 1);
    whole = hostFromD(bits ^ remainder);
    if (remainder == 0) return 0.0;
    const int shift = std::countl_zero(remainder) - std::countl_zero(kHiddenBitD);  // 1 to 55
    const auto shiftedExponent = static_cast<std::uint64_t>(exponent + kExponentBias - shift);
    return hostFromD((bits & kSignD) | shiftedExponent << kFractionBitsD | (remainder << shift & kFractionMaskD));
}

double cnvte(const TwosComplementD& value)
{
    constexpr int kMantissaBits = 39;
    constexpr std::uint64_t kMantissaMask = (std::uint64_t{1} << kMantissaBits) - 1;
    const auto exponent = static_cast<std::int8_t>(value[3] >> 8);
    if (exponent == -128) return 0.0;
    const bool negative = (value[3] & 0x80) != 0;
    std::uint64_t mantissa = std::uint64_t{value[3] & 0x7Fu} << 32 | std::uint64_t{value[1]} << 16 | value[0];
    if (negative) mantissa = (0 - mantissa) & kMantissaMask;
    const auto hostExponent = static_cast<std::uint64_t>(exponent + 1023);
    return std::bit_cast<double>((negative ? kSignD : 0) | hostExponent << kHostFractionBitsD |
                                 mantissa << (kHostFractionBitsD - kMantissaBits));
}

void cnvten(const TwosComplementD& value, double& result)
{
    result = cnvte(value);
}

float cnvts(const TwosComplementF& value)
{
    constexpr std::uint32_t kMantissaMask = (std::uint32_t{1} << kFractionBitsF) - 1;
    const std::uint32_t exponent = std::uint32_t{value[1]} >> 8;
    if (exponent == 0x80) return 0.0F;
    const bool negative = (value[1] & 0x80) != 0;
    std::uint32_t mantissa = std::uint32_t{value[1] & 0x7Fu} << 16 | value[0];
    if (negative) mantissa = (0 - mantissa) & kMantissaMask;
    const std::uint32_t high = (exponent * 256 + 0x7F00) / 2;  // no mask: what exceeds the exponent is the sign
    return std::bit_cast<float>((negative ? kSignF : 0) | high << 16 | mantissa);
}

void cnvtsn(const TwosComplementF& value, float& result)
{
    result = cnvts(value);
}

std::uint16_t u16swap(std::uint16_t& word)
{
    word = static_cast<std::uint16_t>(word << 8 | word >> 8);
    return word;
}

void ByteSwap(std::uint16_t* words, int count)
{
    if (words == nullptr) return;
    for (int i = 0; i < count; ++i) u16swap(words[i]);
}

std::uint32_t lswap(std::uint32_t& value)
{
    value = std::rotl(value, 16);
    return value;
}

void MSW16_LSW16_swap(std::span<std::uint8_t, 4> bytes)
{
    std::swap(bytes[0], bytes[2]);
    std::swap(bytes[1], bytes[3]);
}

std::uint16_t FromNBCD(std::uint16_t value)
{
    const auto digit = [value](int shift) {
        const unsigned nibble = unsigned{value} >> shift & 0xFu;
        return nibble > 9 ? 0u : nibble;
    };
    return static_cast<std::uint16_t>(digit(12) * 1000 + digit(8) * 100 + digit(4) * 10 + digit(0));
}

std::uint16_t ToNBCD(std::uint16_t value)
{
    if (value > 9999) return value;
    const unsigned number = value;
    return static_cast<std::uint16_t>(number / 1000 << 12 | number / 100 % 10 << 8 | number / 10 % 10 << 4 |
                                      number % 10);
}

double DirectionRadiansFromVelocity(double y, double x)
{
    return std::atan2(y, x);
}

float DirectionRadiansFromVelocityF(float y, float x)
{
    return std::atan2(y, x);
}
