#ifndef UTILITIES_CVT_H
#define UTILITIES_CVT_H

#include <array>
#include <cstdint>
#include <span>

/// The receiver's number formats, older than IEEE 754, and the small swaps that come with them. Every function is pure,
/// allocates nothing and throws nothing; any thread.

/// Four words, first word first. Word 0: bit 15 sign, bits 14-7 exponent in excess of 128, bits 6-0 top of the
/// fraction; words 1 to 3: the rest of the fraction, most significant first. The value is 0.1fff... x 2^(exponent -
/// 128) with a hidden top bit, 56 bits with it; four zero words are 0.
using PdpD = std::array<std::uint16_t, 4>;

/// Two words: word 0 as in `PdpD`, word 1 the rest of the fraction.
using PdpF = std::array<std::uint16_t, 2>;

/// Six bytes in the order of the wire: the exponent of a `PdpD`; 39 bits of its fraction, lowest byte first, whose top
/// seven share the last byte with the sign in bit 7.
using TovelD = std::array<std::uint8_t, 6>;

/// Four bytes: a `PdpF` arranged as a `TovelD` is.
using TovelF = std::array<std::uint8_t, 4>;

/// Two's-complement form of four words. Word 3: exponent in the high byte, bit 7 sign, bits 6-0 top of the mantissa;
/// words 1 and 0: the rest of the 39 mantissa bits, word 0 the lowest; word 2 is not used.
using TwosComplementD = std::array<std::uint16_t, 4>;

/// Two's-complement form of two words: word 1 as word 3 above, word 0 the low 16 of the 23 mantissa bits.
using TwosComplementF = std::array<std::uint16_t, 2>;

/// Exact but for the lowest 3 fraction bits, which are cut off. Exponent 0 is not special: a lone sign bit is -2^-129.
double CnvPdpD2PcD(const PdpD& value);

/// Exact. Exponents below 3, among them that of zero, give +0.
float CnvPdpF2PcF(const PdpF& value);

/// As `CnvPdpD2PcD` of the same sign, exponent and fraction.
double CnvTovelD2PcD(const TovelD& value);

/// As `CnvPdpF2PcF` of the same sign, exponent and fraction.
float CnvTovelF2PcF(const TovelF& value);

/// Exact within 2^-128 <= |value| < 2^127. Below, zero of either sign included, all words are zero; from there on, for
/// infinity and NaN too, all are 0xFFFF, but for bit 15 of word 0, which stays the sign.
PdpD cnvpcd(double value);

/// Exact within 2^-125 <= |value| < 2^127; below zeros and above saturated as `cnvpcd`.
PdpF cnvpcs(float value);

/// As `cnvpcd`, cut to 39 fraction bits.
TovelD CnvPcD2TovelE(double value);

/// As `cnvpcs`.
TovelF CnvPcF2TovelF(float value);

/// Splits a number at its binary point, by exact work on all 56 bits; only then are the two parts made doubles, as by
/// `CnvPdpD2PcD`. Both have the number's sign, except that a part which is not there is +0.
/// @param whole  the whole part
/// @return the fraction, below 1 in magnitude
double PdpD_modf(const PdpD& value, double& whole);

/// 1.m x 2^exponent with the exponent byte as a signed number, -128 for zero. For a negative number the mantissa bits
/// alone are negated, so that a mantissa of 0 keeps its exponent.
double cnvte(const TwosComplementD& value);

/// The same, stored.
void cnvten(const TwosComplementD& value, double& result);

/// As `cnvte` for the exponent bytes 0 to 0x7F. Those from 0x81 on run over into the sign, which is deliberate: 0xFF
/// with no mantissa is -0.5.
float cnvts(const TwosComplementF& value);

/// The same, stored.
void cnvtsn(const TwosComplementF& value, float& result);

/// Swaps the two bytes of the word in place, and gives the new word.
std::uint16_t u16swap(std::uint16_t& word);

/// `u16swap` on `count` words; nothing for a `count` of 0 or less or a null pointer.
void ByteSwap(std::uint16_t* words, int count);

/// Swaps the two 16-bit halves in place, and gives the new value.
std::uint32_t lswap(std::uint32_t& value);

/// Swaps the first two bytes with the last two, in place; the order within each pair stays.
void MSW16_LSW16_swap(std::span<std::uint8_t, 4> bytes);

/// The value of four decimal digits, a nibble each. A nibble above 9 counts as 0; the top one counts only while the
/// whole value is below 0xA000, which is the same.
std::uint16_t FromNBCD(std::uint16_t value);

/// 1 to 9999 as four decimal digits, a nibble each; other values come back as they are.
std::uint16_t ToNBCD(std::uint16_t value);

/// Direction of a velocity in radians, -pi to pi, from the x axis toward the y axis: `atan2`.
double DirectionRadiansFromVelocity(double y, double x);

/// The same in single precision.
float DirectionRadiansFromVelocityF(float y, float x);

#endif
