#include "utilities/cvt.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::uint16_t kSecondWords[] = {0x0000, 0x0001, 0x1234, 0x7FFF, 0x8000, 0xFFFF};

std::uint64_t bitsOf(double value)
{
    return std::bit_cast<std::uint64_t>(value);
}

std::uint32_t bitsOf(float value)
{
    return std::bit_cast<std::uint32_t>(value);
}

PdpD pdp(bool negative, unsigned exponent, std::uint64_t fraction)
{
    return {static_cast<std::uint16_t>((negative ? 0x8000u : 0u) | exponent << 7 | unsigned(fraction >> 48)),
            static_cast<std::uint16_t>(fraction >> 32), static_cast<std::uint16_t>(fraction >> 16),
            static_cast<std::uint16_t>(fraction)};
}

/// 0.1fff... x 2^(exponent - 128) by scaling; the three fraction bits too many are cut from the integer.
double numberOf(bool negative, unsigned exponent, std::uint64_t significand)
{
    const double magnitude = std::ldexp(static_cast<double>(significand / 8), static_cast<int>(exponent) - 128 - 53);
    return negative ? -magnitude : magnitude;
}

std::vector<std::uint64_t> fractions()
{
    std::vector<std::uint64_t> list = {0, 1, 7, 8, 0x7FFFFFFFFFFFFF, 0x40000000000000, 0x2AAAAAAAAAAAAA};
    for (int bit = 0; bit < 55; ++bit) list.push_back(std::uint64_t{1} << bit);
    std::mt19937_64 random(7);
    for (int i = 0; i < 50; ++i) list.push_back(random() >> 9);
    return list;
}

std::tuple<double, double> parts(const PdpD& value)
{
    double whole = 77;
    const double fraction = PdpD_modf(value, whole);
    return {whole, fraction};
}

}  // namespace

TEST(PdpDTest, OneIsOne)
{
    EXPECT_EQ(CnvPdpD2PcD({0x4080, 0, 0, 0}), 1.0);
    EXPECT_EQ(cnvpcd(1.0), (PdpD{0x4080, 0, 0, 0}));
    EXPECT_EQ(CnvPdpD2PcD({0xC080, 0, 0, 0}), -1.0);
    EXPECT_EQ(cnvpcd(-1.0), (PdpD{0xC080, 0, 0, 0}));
}

TEST(PdpDTest, FourZeroWordsArePositiveZero)
{
    EXPECT_EQ(bitsOf(CnvPdpD2PcD({0, 0, 0, 0})), 0u);
}

TEST(PdpDTest, OneBitInAnyWordIsNotZero)
{
    EXPECT_EQ(CnvPdpD2PcD({0, 0, 0, 1}), std::ldexp(1.0, -129));
    EXPECT_EQ(CnvPdpD2PcD({0, 0, 1, 0}), std::ldexp(1.0 + std::ldexp(1.0, -39), -129));
    EXPECT_EQ(CnvPdpD2PcD({0, 1, 0, 0}), std::ldexp(1.0 + std::ldexp(1.0, -23), -129));
    EXPECT_EQ(CnvPdpD2PcD({0x8000, 0, 0, 0}), -std::ldexp(1.0, -129)) << "a lone sign is no reserved operand";
}

TEST(PdpDTest, LowestThreeFractionBitsAreCutNotRounded)
{
    EXPECT_EQ(CnvPdpD2PcD({0x4080, 0, 0, 7}), 1.0);
    EXPECT_EQ(CnvPdpD2PcD({0x4080, 0, 0, 8}), std::nextafter(1.0, 2.0));
    EXPECT_EQ(CnvPdpD2PcD({0x40FF, 0xFFFF, 0xFFFF, 0xFFFF}), std::nextafter(2.0, 0.0));
}

TEST(PdpDTest, EveryExponentIsScaledExactly)
{
    for (const std::uint64_t fraction : fractions())
        for (unsigned exponent = 0; exponent < 256; ++exponent)
            for (const bool negative : {false, true}) {
                if (exponent == 0 && fraction == 0 && !negative) continue;
                const double expected = numberOf(negative, exponent, fraction | std::uint64_t{1} << 55);
                ASSERT_EQ(bitsOf(CnvPdpD2PcD(pdp(negative, exponent, fraction))), bitsOf(expected))
                    << exponent << " " << fraction;
            }
}

TEST(PdpDTest, EveryExponentButZeroComesBack)
{
    for (const std::uint64_t fraction : fractions())
        for (unsigned exponent = 1; exponent < 256; ++exponent) {
            const PdpD value = pdp(fraction % 2 != 0, exponent, fraction / 8 * 8);
            ASSERT_EQ(cnvpcd(CnvPdpD2PcD(value)), value) << exponent << " " << fraction;
        }
}

TEST(PdpDTest, ExponentZeroUnpacksButPacksToZero)
{
    EXPECT_EQ(CnvPdpD2PcD({0x0040, 0, 0, 0}), std::ldexp(1.5, -129));
    EXPECT_EQ(cnvpcd(std::ldexp(1.5, -129)), (PdpD{0, 0, 0, 0}));
}

TEST(PdpDTest, TooSmallPacksToZeroWithoutItsSign)
{
    EXPECT_EQ(cnvpcd(1e-40), (PdpD{0, 0, 0, 0}));
    EXPECT_EQ(cnvpcd(-1e-40), (PdpD{0, 0, 0, 0}));
    EXPECT_EQ(cnvpcd(-0.0), (PdpD{0, 0, 0, 0}));
    EXPECT_EQ(cnvpcd(std::numeric_limits<double>::denorm_min()), (PdpD{0, 0, 0, 0}));
    EXPECT_EQ(cnvpcd(std::nextafter(std::ldexp(1.0, -128), 0.0)), (PdpD{0, 0, 0, 0})) << "host exponent 894";
    EXPECT_EQ(cnvpcd(std::ldexp(-1.0, -128)), (PdpD{0x8080, 0, 0, 0})) << "host exponent 895";
}

TEST(PdpDTest, TooLargeSaturatesWithItsSign)
{
    EXPECT_EQ(cnvpcd(-1e40), (PdpD{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}));
    EXPECT_EQ(cnvpcd(1e40), (PdpD{0x7FFF, 0xFFFF, 0xFFFF, 0xFFFF}));
    EXPECT_EQ(cnvpcd(kInfinity), (PdpD{0x7FFF, 0xFFFF, 0xFFFF, 0xFFFF}));
    EXPECT_EQ(cnvpcd(std::numeric_limits<double>::quiet_NaN()), (PdpD{0x7FFF, 0xFFFF, 0xFFFF, 0xFFFF}));
    EXPECT_EQ(cnvpcd(std::ldexp(1.0, 127)), (PdpD{0x7FFF, 0xFFFF, 0xFFFF, 0xFFFF})) << "host exponent 1150";
    EXPECT_EQ(cnvpcd(std::ldexp(1.0, 126)), (PdpD{0x7F80, 0, 0, 0})) << "host exponent 1149";
}

TEST(PdpFTest, EveryFirstWordIsScaledExactly)
{
    for (unsigned first = 0; first < 0x10000; ++first)
        for (const std::uint16_t second : kSecondWords) {
            const unsigned exponent = first >> 7 & 0xFF;
            const unsigned significand = 0x800000u | (first & 0x7Fu) << 16 | second;
            float expected = 0.0F;
            if (exponent >= 3)
                expected = std::ldexp(static_cast<float>(significand), static_cast<int>(exponent) - 128 - 24) *
                           (first & 0x8000u ? -1.0F : 1.0F);
            ASSERT_EQ(bitsOf(CnvPdpF2PcF({static_cast<std::uint16_t>(first), second})), bitsOf(expected))
                << first << " " << second;
        }
}

TEST(PdpFTest, EveryFirstWordComesBackFromExponentFourOn)
{
    for (unsigned first = 0; first < 0x10000; ++first)
        for (const std::uint16_t second : kSecondWords) {
            const PdpF value = {static_cast<std::uint16_t>(first), second};
            const bool flushed = (first >> 7 & 0xFF) < 4;
            ASSERT_EQ(cnvpcs(CnvPdpF2PcF(value)), flushed ? (PdpF{0, 0}) : value) << first << " " << second;
        }
}

TEST(PdpFTest, KnownWords)
{
    EXPECT_EQ(CnvPdpF2PcF({0x4080, 0}), 1.0F);
    EXPECT_EQ(CnvPdpF2PcF({0xC120, 0}), -2.5F);
    EXPECT_EQ(cnvpcs(-2.5F), (PdpF{0xC120, 0}));
    EXPECT_EQ(bitsOf(CnvPdpF2PcF({0x817F, 0xFFFF})), 0u) << "negative, exponent 2";
    EXPECT_EQ(CnvPdpF2PcF({0x0180, 0}), std::numeric_limits<float>::min()) << "exponent 3";
}

TEST(PdpFTest, TooSmallPacksToZero)
{
    EXPECT_EQ(cnvpcs(std::ldexp(-1.5F, -126)), (PdpF{0, 0})) << "host exponent 1";
    EXPECT_EQ(cnvpcs(std::ldexp(1.0F, -125)), (PdpF{0x0200, 0})) << "host exponent 2";
    EXPECT_EQ(cnvpcs(-0.0F), (PdpF{0, 0}));
}

TEST(PdpFTest, TooLargeSaturatesWithItsSign)
{
    EXPECT_EQ(cnvpcs(static_cast<float>(kInfinity)), (PdpF{0x7FFF, 0xFFFF}));
    EXPECT_EQ(cnvpcs(-static_cast<float>(kInfinity)), (PdpF{0xFFFF, 0xFFFF}));
    EXPECT_EQ(cnvpcs(std::numeric_limits<float>::quiet_NaN()), (PdpF{0x7FFF, 0xFFFF}));
    EXPECT_EQ(cnvpcs(std::ldexp(-1.0F, 127)), (PdpF{0xFFFF, 0xFFFF})) << "host exponent 254";
    EXPECT_EQ(cnvpcs(std::ldexp(-1.0F, 126)), (PdpF{0xFF80, 0})) << "host exponent 253";
}

TEST(TovelTest, SixZeroBytesAreZero)
{
    EXPECT_EQ(bitsOf(CnvTovelD2PcD({0, 0, 0, 0, 0, 0})), 0u);
    EXPECT_EQ(bitsOf(CnvTovelF2PcF({0, 0, 0, 0})), 0u);
}

TEST(TovelTest, BytesRunFromExponentAndLowestFractionUpToTheSign)
{
    // Exponent 0x81, fraction 0x52 0x3456 0x789A of 7, 16 and 16 bits, negative.
    const TovelD value = {0x81, 0x9A, 0x78, 0x56, 0x34, 0xD2};
    EXPECT_EQ(CnvTovelD2PcD(value), CnvPdpD2PcD({0xC0D2, 0x3456, 0x789A, 0}));
    EXPECT_EQ(CnvTovelD2PcD(value), -std::ldexp(double(0x8000000000 | 0x523456789A), -39));
    EXPECT_EQ(CnvPcD2TovelE(-std::ldexp(double(0x8000000000 | 0x523456789A), -39)), value);
}

TEST(TovelTest, ShortFormRunsTheSameWay)
{
    const TovelF value = {0x80, 0x56, 0x34, 0xD2};
    EXPECT_EQ(CnvTovelF2PcF(value), -std::ldexp(float(0x800000 | 0x523456), -24));
    EXPECT_EQ(CnvPcF2TovelF(-std::ldexp(float(0x800000 | 0x523456), -24)), value);
}

TEST(TovelTest, FourthWordIsDiscardedWhenPacking)
{
    const double value = std::nextafter(1.0, 2.0);
    EXPECT_EQ(CnvPcD2TovelE(value), (TovelD{0x81, 0, 0, 0, 0, 0}));
    EXPECT_EQ(CnvTovelD2PcD(CnvPcD2TovelE(value)), 1.0);
}

TEST(TovelTest, SaturatesAndFlushesAsTheOtherFormats)
{
    EXPECT_EQ(CnvPcD2TovelE(1e40), (TovelD{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(CnvPcD2TovelE(-1e40), (TovelD{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(CnvPcD2TovelE(-1e-40), (TovelD{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(CnvPcF2TovelF(static_cast<float>(-kInfinity)), (TovelF{0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(TovelTest, EveryExponentComesBack)
{
    for (unsigned exponent = 1; exponent < 256; ++exponent)
        for (const unsigned top : {0x00u, 0x7Fu, 0x80u, 0xFFu, 0x2Au}) {
            const auto e = static_cast<std::uint8_t>(exponent);
            const auto t = static_cast<std::uint8_t>(top);
            const TovelD wide = {e, 0x01, 0x80, 0xFE, 0x13, t};
            ASSERT_EQ(CnvPcD2TovelE(CnvTovelD2PcD(wide)), wide);
            const TovelF narrow = {e, 0x01, 0x80, t};
            ASSERT_EQ(CnvPcF2TovelF(CnvTovelF2PcF(narrow)), exponent < 4 ? (TovelF{0, 0, 0, 0}) : narrow);
        }
}

TEST(PdpDModfTest, SplitsAtTheBinaryPoint)
{
    EXPECT_EQ(parts({0xC120, 0, 0, 0}), std::tuple(-2.0, -0.5)) << "-2.5";
    EXPECT_EQ(parts({0x459A, 0x5000, 0, 0}), std::tuple(1234.0, 0.5)) << "1234.5";
    EXPECT_EQ(parts({0x4000, 0, 0, 0}), std::tuple(0.0, 0.5)) << "0.5";
}

TEST(PdpDModfTest, WhatIsNotThereIsPositiveZero)
{
    double whole = 77;
    EXPECT_EQ(bitsOf(PdpD_modf({0, 0, 0, 0}, whole)), 0u);
    EXPECT_EQ(bitsOf(whole), 0u);
    EXPECT_EQ(bitsOf(PdpD_modf({0xC100, 0, 0, 0}, whole)), 0u) << "-2";
    EXPECT_EQ(whole, -2.0);
    EXPECT_EQ(PdpD_modf({0xC000, 0, 0, 0}, whole), -0.5);
    EXPECT_EQ(bitsOf(whole), 0u) << "-0.5";
    EXPECT_EQ(bitsOf(PdpD_modf({0xDC00, 0, 0, 1}, whole)), 0u) << "exponent 56";
    EXPECT_EQ(whole, -std::ldexp(1.0, 55));
}

TEST(PdpDModfTest, SeesTheBitsThatADoubleDoesNotHold)
{
    // 2^52 + 2^-3: the last of the 56 bits.
    EXPECT_EQ(parts({0x5A80, 0, 0, 1}), std::tuple(std::ldexp(1.0, 52), 0.125));
    // 2^54 + 0.5 + ... : exponent 55, one fraction bit.
    EXPECT_EQ(parts({0x5B80, 0, 0, 3}), std::tuple(std::ldexp(1.0, 54), 0.5));
}

TEST(PdpDModfTest, EveryExponentAgreesWithIntegerArithmetic)
{
    for (const std::uint64_t fraction : fractions())
        for (unsigned exponent = 129; exponent <= 183; ++exponent)
            for (const bool negative : {false, true}) {
                const std::uint64_t significand = fraction | std::uint64_t{1} << 55;
                const int scale = static_cast<int>(exponent) - 128 - 56;  // of the significand's lowest bit
                const std::uint64_t one = std::uint64_t{1} << -scale;
                // A double holds 53 bits: those of the whole part below are cut, the fraction has fewer.
                const double whole = std::ldexp(static_cast<double>(significand / one * one / 8), scale + 3);
                std::uint64_t remainder = significand % one;
                int cut = 0;
                for (; remainder >> cut >= std::uint64_t{1} << 53; ++cut) {
                }
                const double rest = std::ldexp(static_cast<double>(remainder >> cut), scale + cut);
                const auto [w, f] = parts(pdp(negative, exponent, fraction));
                ASSERT_EQ(w, negative ? -whole : whole) << exponent << " " << fraction;
                ASSERT_EQ(bitsOf(f), bitsOf(remainder != 0 && negative ? -rest : rest)) << exponent << " " << fraction;
            }
}

TEST(PdpDModfTest, OutsideTheSplittingExponentsOnePartIsTheValue)
{
    for (const std::uint64_t fraction : fractions())
        for (unsigned exponent = 0; exponent < 256; ++exponent) {
            if (exponent > 128 && exponent < 184) continue;
            const PdpD value = pdp(true, exponent, fraction);
            const auto [whole, rest] = parts(value);
            ASSERT_EQ(exponent <= 128 ? rest : whole, CnvPdpD2PcD(value)) << exponent;
            ASSERT_EQ(bitsOf(exponent <= 128 ? whole : rest), 0u) << exponent;
        }
}

TEST(TwosComplementTest, PositiveNumbers)
{
    EXPECT_EQ(cnvts({0x0000, 0x0000}), 1.0F);
    EXPECT_EQ(cnvts({0x0000, 0x0140}), 3.0F) << "1.5 x 2^1";
    EXPECT_EQ(cnvts({0x0001, 0x0000}), std::nextafter(1.0F, 2.0F));
    EXPECT_EQ(cnvte({0x0000, 0x0000, 0x5555, 0x0140}), 3.0) << "word 2 is not looked at";
    EXPECT_EQ(cnvte({0x0001, 0x0000, 0, 0x0000}), 1.0 + std::ldexp(1.0, -39));
    EXPECT_EQ(cnvte({0x0000, 0x0001, 0, 0x0000}), 1.0 + std::ldexp(1.0, -23));
}

TEST(TwosComplementTest, ExponentByte80IsZero)
{
    EXPECT_EQ(bitsOf(cnvts({0xFFFF, 0x80FF})), 0u);
    EXPECT_EQ(bitsOf(cnvte({0xFFFF, 0xFFFF, 0xFFFF, 0x80FF})), 0u);
}

TEST(TwosComplementTest, NegativeMantissaIsNegatedWithinItsBits)
{
    EXPECT_EQ(cnvts({0x0000, 0x00C0}), -1.5F);
    EXPECT_EQ(cnvts({0xFFFF, 0x00FF}), -std::nextafter(1.0F, 2.0F));
    EXPECT_EQ(cnvts({0x0000, 0x0080}), -1.0F) << "a mantissa of 0 stays 0";
    EXPECT_EQ(cnvte({0x0000, 0x0000, 0, 0x00C0}), -1.5);
    EXPECT_EQ(cnvte({0xFFFF, 0xFFFF, 0, 0x00FF}), -1.0 - std::ldexp(1.0, -39));
    EXPECT_EQ(cnvte({0x0000, 0x0000, 0, 0x0080}), -1.0);
}

TEST(TwosComplementTest, ShortFormCarriesNegativeExponentsIntoTheSign)
{
    EXPECT_EQ(cnvts({0, 0xFF00}), -0.5F);
    EXPECT_EQ(cnvts({0, 0xFE00}), -0.25F);
    EXPECT_EQ(bitsOf(cnvts({0, 0x8100})), 0x80000000u);
    EXPECT_EQ(bitsOf(cnvts({0, 0x7F00})), 0x7F000000u);
}

TEST(TwosComplementTest, LongFormTakesTheExponentAsASignedByte)
{
    for (int exponent = -127; exponent <= 127; ++exponent) {
        const auto word = static_cast<std::uint16_t>((exponent & 0xFF) << 8 | 0x40);
        ASSERT_EQ(cnvte({0, 0, 0, word}), std::ldexp(1.5, exponent));
    }
}

TEST(TwosComplementTest, StoringFormsStoreTheSame)
{
    double wide = 77;
    cnvten({0x0000, 0x0000, 0, 0x01C0}, wide);
    EXPECT_EQ(wide, -3.0);
    float narrow = 77;
    cnvtsn({0x0000, 0x01C0}, narrow);
    EXPECT_EQ(narrow, -3.0F);
}

TEST(SwapTest, WordIsSwappedInPlaceAndReturned)
{
    std::uint16_t word = 0x1234;
    EXPECT_EQ(u16swap(word), 0x3412);
    EXPECT_EQ(word, 0x3412);
    for (unsigned value = 0; value < 0x10000; ++value) {
        word = static_cast<std::uint16_t>(value);
        ASSERT_EQ(u16swap(word), value % 256 * 256 + value / 256);
    }
}

TEST(SwapTest, CountOfWordsIsSwappedAndNoMore)
{
    std::array<std::uint16_t, 3> words = {0x1234, 0x5678, 0x9ABC};
    ByteSwap(words.data(), 2);
    EXPECT_EQ(words, (std::array<std::uint16_t, 3>{0x3412, 0x7856, 0x9ABC}));
    ByteSwap(words.data(), 0);
    ByteSwap(words.data(), -1);
    ByteSwap(nullptr, 5);
    EXPECT_EQ(words, (std::array<std::uint16_t, 3>{0x3412, 0x7856, 0x9ABC}));
}

TEST(SwapTest, HalvesOfALongAreSwappedInPlaceAndReturned)
{
    std::uint32_t value = 0xFFFE0001;
    EXPECT_EQ(lswap(value), 0x0001FFFEu);
    EXPECT_EQ(value, 0x0001FFFEu);
}

TEST(SwapTest, HalvesOfFourBytesKeepTheirOwnOrder)
{
    std::array<std::uint8_t, 4> bytes = {1, 2, 3, 4};
    MSW16_LSW16_swap(bytes);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{3, 4, 1, 2}));
}

TEST(NbcdTest, FourDigits)
{
    EXPECT_EQ(FromNBCD(0x1234), 1234);
    EXPECT_EQ(ToNBCD(1234), 0x1234);
    EXPECT_EQ(FromNBCD(0x9999), 9999);
    EXPECT_EQ(ToNBCD(9999), 0x9999);
}

TEST(NbcdTest, BadNibbleCountsZero)
{
    EXPECT_EQ(FromNBCD(0xA234), 234);
    EXPECT_EQ(FromNBCD(0x9A34), 9034);
    EXPECT_EQ(FromNBCD(0x92B4), 9204);
    EXPECT_EQ(FromNBCD(0x923F), 9230);
    EXPECT_EQ(FromNBCD(0xFFFF), 0);
}

TEST(NbcdTest, NoFourDigitsComeBackUnchanged)
{
    EXPECT_EQ(ToNBCD(0), 0);
    EXPECT_EQ(ToNBCD(10000), 10000);
    EXPECT_EQ(ToNBCD(65535), 65535);
}

TEST(NbcdTest, EveryNumberComesBack)
{
    for (unsigned value = 0; value <= 9999; ++value)
        ASSERT_EQ(FromNBCD(ToNBCD(static_cast<std::uint16_t>(value))), value);
}

TEST(DirectionTest, AngleFromXTowardY)
{
    EXPECT_EQ(DirectionRadiansFromVelocity(1.0, 0.0), 1.5707963267948966);
    EXPECT_EQ(DirectionRadiansFromVelocity(0.0, -1.0), 3.141592653589793);
    EXPECT_EQ(DirectionRadiansFromVelocity(-1.0, 1.0), -0.7853981633974483);
    EXPECT_EQ(DirectionRadiansFromVelocityF(1.0F, 0.0F), 1.57079637F);
}
