#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "ioss_mcsq/gps_msgs.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/GuardedMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iostream>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kLongest = 600;

/// Every length from 0 to 600 of several contents, each at the end of the memory that may be touched.
template <class Test>
void forEachHostileFrame(Test test)
{
    GuardedMemory memory(kLongest);
    std::mt19937 random(5);
    for (std::size_t length = 0; length <= kLongest; ++length)
        for (const auto wdcnt : std::to_array<std::uint16_t>({0, 1, 21, 100, 106, 200, 295, 32500, 65535})) {
            std::vector<std::uint8_t> bytes(length);
            for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
            if (length >= 10) {
                std::array<std::uint16_t, 5> header{};
                MakeHeader(header.data(), 8504, wdcnt);
                std::memcpy(bytes.data(), header.data(), sizeof(header));
            }
            test(memory.atEnd(bytes));
            if (length >= 10) {  // data that sum to zero wherever they are cut
                std::fill(bytes.begin() + 10, bytes.end(), std::uint8_t{0});
                test(memory.atEnd(bytes));
            }
        }
    for (std::size_t length = 0; length <= kLongest; ++length)
        for (const auto content : std::to_array<std::uint8_t>({0x00, 0xFF}))
            test(memory.atEnd(std::vector<std::uint8_t>(length, content)));
}

}  // namespace

TEST(HostileFramesTest, OnlyTheirOwnLengthsAreTaken)
{
    forEachHostileFrame([](std::span<const std::uint8_t> bytes) {
        ZentorM_5044_Msg warning;
        ZentorM_8504_Msg report;
        ThreatData threats;
        const std::size_t length = bytes.size();
        ASSERT_EQ(warning.ok_set_5044_gpsip(bytes.data(), static_cast<std::uint32_t>(length)), length / 2 == 27);
        ASSERT_EQ(report.ok_set_8504_gpsip(bytes.data(), static_cast<std::uint32_t>(length)), length / 2 == 206);
        ASSERT_EQ(threats.OkSetContent(bytes.data(), static_cast<std::uint16_t>(length)), length / 2 == 106);
    });
}

TEST(HostileFramesTest, WhatWasTakenIsReadToTheEnd)
{
    forEachHostileFrame([](std::span<const std::uint8_t> bytes) {
        ZentorM_5044_Msg warning;
        ZentorM_8504_Msg report;
        ThreatData threats;
        if (warning.ok_set_5044_gpsip(bytes.data(), static_cast<std::uint32_t>(bytes.size()))) {
            warning.unpack_5044();
            ASSERT_TRUE(std::isfinite(double{warning.unpacked().field000}));
            ASSERT_EQ(warning.unpacked().textEnd[0], 0);
        }
        if (report.ok_set_8504_gpsip(bytes.data(), static_cast<std::uint32_t>(bytes.size()))) {
            report.unpack_8504();
            ASSERT_TRUE(std::isfinite(float{report.unpacked().angle084}));
            report.pack_8504();
            report.insert_checksum();
            report.clearContents();
        }
        if (threats.OkSetContent(bytes.data(), static_cast<std::uint16_t>(bytes.size()))) {
            threats.setGpsTime(threats.gpsTime());
            ASSERT_FALSE(threats.gpsTime() > 604800.0 || threats.gpsTime() < 0.0);
            for (std::size_t i = 0; i < 9; ++i) ASSERT_LE(threats.threat(i).confidence(), 375u);
        }
    });
}

TEST(HostileFramesTest, DumpPrintsTheWordsThatAreThere)
{
    forEachHostileFrame([](std::span<const std::uint8_t> bytes) {
        std::string text;
        {
            const ConsoleCapture capture(std::cout);
            PrintMessageInHex(bytes);
            text = capture.text();
        }
        if (bytes.size() < 10) {
            ASSERT_EQ(text, "");
            return;
        }
        const std::size_t wdcnt = bytes[4] + bytes[5] * 256u;
        const std::size_t there = (bytes.size() - 10) / 2;
        const std::size_t rows = (std::min(wdcnt, there) + 9) / 10;
        const std::size_t checksum = wdcnt != 0 && there > wdcnt ? 1 : 0;
        ASSERT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')), 1 + rows + checksum);
        ASSERT_EQ(text.find("DataCks") != std::string::npos, checksum == 1);
        ASSERT_EQ(text.back(), '\n');
    });
}

TEST(HostileFramesTest, OnlyWholeFramesVerify)
{
    const ConsoleCapture silence(std::cerr);
    forEachHostileFrame([](std::span<const std::uint8_t> bytes) {
        const bool result = ChecksumsAreOkInGPSmessage(bytes);
        if (bytes.size() < 10) {
            ASSERT_FALSE(result);
            return;
        }
        const std::size_t wdcnt = bytes[4] + bytes[5] * 256u;
        if (result) {
            ASSERT_LE(wdcnt, 106u);
            ASSERT_GE(bytes.size(), wdcnt == 0 ? 10 : 12 + 2 * wdcnt);
        }
    });
}

TEST(HostileFramesTest, OfDataThatSumToZeroOnlyTheWholeVerify)
{
    const ConsoleCapture silence(std::cerr);
    GuardedMemory memory(kLongest);
    int verified = 0;
    for (std::size_t length = 10; length <= kLongest; ++length)
        for (const auto wdcnt : std::to_array<std::uint16_t>({0, 1, 21, 100, 106, 107, 200, 295})) {
            std::vector<std::uint8_t> bytes(length);
            std::array<std::uint16_t, 5> header{};
            MakeHeader(header.data(), 8504, wdcnt);
            std::memcpy(bytes.data(), header.data(), sizeof(header));
            const bool isWhole = wdcnt == 0 || (wdcnt <= 106 && length >= 12 + std::size_t{2} * wdcnt);
            ASSERT_EQ(ChecksumsAreOkInGPSmessage(std::span<const std::uint8_t>(memory.atEnd(bytes))), isWhole)
                << length << ' ' << wdcnt;
            verified += isWhole;
        }
    EXPECT_GT(verified, 591);
}

TEST(HostileFramesTest, FilledFrameAtTheEndOfMemoryVerifies)
{
    GuardedMemory memory(kLongest);
    for (std::uint16_t wdcnt = 1; wdcnt <= 106; ++wdcnt) {
        const std::span<std::uint8_t> place = memory.atEnd(std::size_t{12} + 2u * wdcnt);
        std::ranges::fill(place, std::uint8_t{0xA7});
        auto* const frame = reinterpret_cast<std::uint16_t*>(place.data());
        MakeHeader(frame, 15051, wdcnt);
        ASSERT_TRUE(OkChecksumGPSmessage(frame));
        ASSERT_TRUE(ChecksumsAreOkInGPSmessage(frame));
        ASSERT_TRUE(ChecksumsAreOkInGPSmessage(place));
    }
}
