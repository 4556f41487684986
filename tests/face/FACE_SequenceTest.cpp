#include "face/FACE_Sequence.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>
#include <utility>

using FACE::Sequence;
using FACE::String;
using FACE::TSS::QoS_Element;
using Octets = Sequence<std::uint8_t>;

namespace {

/// An element whose copies fail on demand.
struct Fragile {
    int number = 0;
    bool breaks = false;
    Fragile() = default;
    Fragile(int value, bool fails) : number(value), breaks(fails) {}
    Fragile(const Fragile& other) : number(other.number), breaks(other.breaks) { check(); }
    Fragile& operator=(const Fragile& other)
    {
        number = other.number;
        breaks = other.breaks;
        check();
        return *this;
    }
    void check() const
    {
        if (breaks) throw std::bad_alloc();
    }
};

void expectUnusable(Octets& octets)
{
    EXPECT_FALSE(octets.is_valid());
    EXPECT_EQ(octets.buffer(), nullptr);
    EXPECT_EQ(std::as_const(octets).buffer(), nullptr);
    EXPECT_EQ(octets.length(), 0u);
    EXPECT_EQ(octets.bound(), 0u);
    EXPECT_EQ(octets.capacity(), 0u);
    EXPECT_FALSE(octets.is_managed());
    EXPECT_FALSE(octets.is_bounded());
    EXPECT_EQ(octets.append(1), 3);
    EXPECT_EQ(octets.length(1), 3);
    EXPECT_EQ(octets[0], 0);
    octets.clear();
}

}  // namespace

TEST(SequenceTest, DefaultIsValidManagedAndUnbounded)
{
    const Sequence<QoS_Element> settings;
    EXPECT_TRUE(settings.is_valid());
    EXPECT_TRUE(settings.is_managed());
    EXPECT_FALSE(settings.is_bounded());
    EXPECT_EQ(settings.bound(), 0xFFFFFFFFu);
    EXPECT_EQ(settings.length(), 0u);
}

TEST(SequenceTest, HoldsQualityOfServiceElements)
{
    Sequence<QoS_Element> settings;
    EXPECT_EQ(settings.append({"reliability", "best effort"}), 0);
    EXPECT_EQ(settings.append({"history", "1"}), 0);
    EXPECT_EQ(settings.length(), 2u);
    EXPECT_STREQ(settings[1].name.buffer(), "history");
    EXPECT_STREQ(settings[1].value.buffer(), "1");
}

TEST(SequenceTest, BoundLimitsAppendAndLength)
{
    String::RETURN_CODE rc = String::INVALID_VALUE;
    Octets octets(2, rc);
    EXPECT_EQ(rc, 0);
    EXPECT_TRUE(octets.is_bounded());
    EXPECT_EQ(octets.append(1), 0);
    EXPECT_EQ(octets.append(2), 0);
    EXPECT_EQ(octets.append(3), 1);
    EXPECT_EQ(octets.length(3), 1);
    EXPECT_EQ(octets.length(), 2u);
    EXPECT_EQ(octets[1], 2);
}

TEST(SequenceTest, UnusableBoundsAreRefused)
{
    const auto codeOf = [](auto bound) {
        String::RETURN_CODE rc = String::NO_ERROR;
        Octets octets(bound, rc);
        expectUnusable(octets);
        return static_cast<int>(rc);
    };
    EXPECT_EQ(codeOf(0), 3);
    EXPECT_EQ(codeOf(0xFFFFFFFFu), 3);
    EXPECT_EQ(codeOf(-1), 3);
}

TEST(SequenceTest, LengthGrowsAndShrinks)
{
    Octets octets;
    EXPECT_EQ(octets.append(7), 0);
    EXPECT_EQ(octets.length(3), 0);
    EXPECT_EQ(octets.length(), 3u);
    octets[2] = 9;
    EXPECT_EQ(octets[0], 7);
    EXPECT_EQ(octets.buffer()[2], 9);
    EXPECT_EQ(octets.length(1), 0);
    EXPECT_EQ(octets.length(), 1u);
    EXPECT_GE(octets.capacity(), 3u);
}

TEST(SequenceTest, ElementsThatLengthMakesAreConstructed)
{
    Sequence<QoS_Element> settings;
    EXPECT_EQ(settings.append({"name", "value"}), 0);
    EXPECT_EQ(settings.length(1000), 0);
    EXPECT_STREQ(settings[0].name.buffer(), "name");
    for (std::uint32_t i = 1; i < 1000; ++i) {
        EXPECT_TRUE(settings[i].name.is_valid()) << i;
        EXPECT_STREQ(settings[i].value.buffer(), "") << i;
    }
}

TEST(SequenceTest, ExternalArrayIsUsedUpToItsBound)
{
    std::uint8_t array[3] = {1, 0, 0};
    String::RETURN_CODE rc = String::INVALID_VALUE;
    Octets octets(array, 1, 3, rc);
    EXPECT_EQ(rc, 0);
    EXPECT_FALSE(octets.is_managed());
    EXPECT_EQ(octets.buffer(), array);
    EXPECT_EQ(octets.capacity(), 3u);
    EXPECT_EQ(octets.append(2), 0);
    EXPECT_EQ(octets.append(3), 0);
    EXPECT_EQ(octets.append(4), 1);
    EXPECT_EQ(array[1], 2);
    EXPECT_EQ(array[2], 3);
    octets.clear();
    EXPECT_EQ(octets.length(), 0u);
    EXPECT_EQ(octets.length(3), 0);
    EXPECT_EQ(octets.length(4), 1);
}

TEST(SequenceTest, ExternalArrayOfSettingsTakesCopiesOfThem)
{
    QoS_Element array[2];
    String::RETURN_CODE rc = String::INVALID_VALUE;
    Sequence<QoS_Element> settings(array, 0, 2, rc);
    EXPECT_EQ(settings.append(QoS_Element("depth", "10")), 0);
    EXPECT_STREQ(array[0].name.buffer(), "depth");
    EXPECT_STREQ(array[0].value.buffer(), "10");
    EXPECT_EQ(settings.length(), 1u);
}

TEST(SequenceTest, SettingPastTheEndIsEmptyAgainAfterItWasWritten)
{
    Sequence<QoS_Element> settings;
    settings[3].name = "depth";
    EXPECT_EQ(settings[3].name.length(), 0u);
}

TEST(SequenceTest, UnusableExternalArraysAreRefused)
{
    std::uint8_t array[3] = {};
    const auto codeOf = [](std::uint8_t* external, std::uint32_t count, std::uint32_t bound) {
        String::RETURN_CODE rc = String::NO_ERROR;
        Octets octets(external, count, bound, rc);
        expectUnusable(octets);
        return static_cast<int>(rc);
    };
    EXPECT_EQ(codeOf(nullptr, 0, 3), 3);
    EXPECT_EQ(codeOf(array, 0, 0), 3);
    EXPECT_EQ(codeOf(array, 3, 2), 3);
}

TEST(SequenceTest, UnboundedExternalArrayTakesElementsUnchecked)
{
    std::uint8_t array[2] = {};
    String::RETURN_CODE rc = String::INVALID_VALUE;
    Octets octets(array, 0, 0xFFFFFFFFu, rc);
    EXPECT_EQ(rc, 0);
    EXPECT_FALSE(octets.is_bounded());
    EXPECT_EQ(octets.append(5), 0);
    EXPECT_EQ(octets.append(6), 0);
    EXPECT_EQ(array[1], 6);
}

TEST(SequenceTest, CopyIsManagedDeepAndKeepsTheBound)
{
    std::uint8_t array[3] = {1, 2, 3};
    String::RETURN_CODE rc = String::INVALID_VALUE;
    const Octets source(array, 2, 3, rc);
    Octets copy(source);
    array[0] = 9;
    EXPECT_TRUE(copy.is_managed());
    EXPECT_EQ(copy.bound(), 3u);
    EXPECT_EQ(copy.length(), 2u);
    EXPECT_EQ(copy[0], 1);
}

TEST(SequenceTest, CopyOfAnUnusableSequenceIsUnusable)
{
    String::RETURN_CODE rc = String::NO_ERROR;
    const Octets unusable(0, rc);
    Octets copy(unusable);
    expectUnusable(copy);
}

TEST(SequenceTest, AssignmentToItselfMakesAnExternalArrayManaged)
{
    std::uint8_t array[3] = {1, 2, 3};
    String::RETURN_CODE rc = String::INVALID_VALUE;
    Octets octets(array, 2, 3, rc);
    const Octets& same = octets;
    octets = same;
    EXPECT_TRUE(octets.is_managed());
    EXPECT_EQ(octets.length(), 2u);
    EXPECT_EQ(octets[1], 2);
    octets = same;
    EXPECT_EQ(octets.length(), 2u);
}

TEST(SequenceTest, AssignmentDropsAnExternalArrayUntouched)
{
    std::uint8_t array[3] = {1, 2, 3};
    String::RETURN_CODE rc = String::INVALID_VALUE;
    Octets target(array, 3, 3, rc);
    Octets source;
    source.append(9);
    target = source;
    EXPECT_TRUE(target.is_managed());
    EXPECT_EQ(target.length(), 1u);
    EXPECT_EQ(target[0], 9);
    EXPECT_EQ(array[0], 1);
    const Octets& same = target;
    target = same;
    EXPECT_EQ(target[0], 9);
}

TEST(SequenceTest, AssignmentOfAnUnusableSequenceMakesTheTargetUnusable)
{
    String::RETURN_CODE rc = String::NO_ERROR;
    Octets target;
    target.append(1);
    target = Octets(0, rc);
    expectUnusable(target);
}

TEST(SequenceTest, FailureToCopyAnElementIsAMemoryFailureAndChangesNothing)
{
    Sequence<Fragile> managed;
    EXPECT_EQ(managed.append({1, false}), 0);
    EXPECT_EQ(managed.append({2, true}), 2);
    EXPECT_EQ(managed.length(), 1u);
    Fragile array[2];
    String::RETURN_CODE rc = String::INVALID_VALUE;
    Sequence<Fragile> external(array, 0, 2, rc);
    EXPECT_EQ(external.append({2, true}), 2);
    EXPECT_EQ(external.length(), 0u);
}

TEST(SequenceTest, IndexPastTheEndIsHarmless)
{
    Octets octets;
    octets[5] = 3;
    EXPECT_EQ(octets[5], 0);
    EXPECT_EQ(octets.length(), 0u);
}
