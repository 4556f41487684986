#include "utilities/boxvehtransform.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

using Six = std::array<double, 6>;

constexpr Six kInput = {1, 2, 3, 40, 50, 60};

Six boxToVeh(int code, const Six& in)
{
    Six out{};
    BoxToVeh(code, out[0], out[1], out[2], out[3], out[4], out[5], in[0], in[1], in[2], in[3], in[4], in[5]);
    return out;
}

Six vehToBox(int code, const Six& in)
{
    Six out{};
    VehToBox(code, out[0], out[1], out[2], out[3], out[4], out[5], in[0], in[1], in[2], in[3], in[4], in[5]);
    return out;
}

struct Row {
    std::array<double, 3> boxToVeh;
    std::array<double, 3> vehToBox;
};

// What each code makes of 1, 2, 3.
constexpr std::array<Row, 24> kExpected = {{
    {{1, 2, 3}, {1, 2, 3}},       {{-1, 2, -3}, {-1, 2, -3}},   {{-1, -3, -2}, {-1, -3, -2}},
    {{-1, -2, 3}, {-1, -2, 3}},   {{3, 1, 2}, {2, 3, 1}},       {{3, -2, 1}, {3, -2, 1}},
    {{3, -1, -2}, {-2, -3, 1}},   {{3, 2, -1}, {-3, 2, 1}},     {{2, 3, 1}, {3, 1, 2}},
    {{2, 1, -3}, {2, 1, -3}},     {{2, -3, -1}, {-3, 1, -2}},   {{2, -1, 3}, {-2, 1, 3}},
    {{1, -3, 2}, {1, 3, -2}},     {{-1, 3, 2}, {-1, 3, 2}},     {{1, 3, -2}, {1, -3, 2}},
    {{1, -2, -3}, {1, -2, -3}},   {{-3, -1, 2}, {-2, 3, -1}},   {{-3, 2, 1}, {3, 2, -1}},
    {{-3, 1, -2}, {2, -3, -1}},   {{-3, -2, -1}, {-3, -2, -1}}, {{-2, 3, -1}, {-3, -1, 2}},
    {{-2, -1, -3}, {-2, -1, -3}}, {{-2, -3, 1}, {3, -1, -2}},   {{-2, 1, 3}, {2, -1, 3}},
}};

/// The second vector is 40, 50, 60: the component n of the first stands for (n + 3) x 10 with its sign.
double second(double component)
{
    return component < 0 ? (component - 3) * 10 : (component + 3) * 10;
}

Six bothVectors(const std::array<double, 3>& first)
{
    return {first[0], first[1], first[2], second(first[0]), second(first[1]), second(first[2])};
}

}  // namespace

TEST(BoxVehTransformTest, EveryCodeMapsBothVectorsAsListed)
{
    for (int code = 0; code < 24; ++code) {
        const Row& row = kExpected[static_cast<std::size_t>(code)];
        EXPECT_EQ(boxToVeh(code, kInput), bothVectors(row.boxToVeh)) << code;
        EXPECT_EQ(vehToBox(code, kInput), bothVectors(row.vehToBox)) << code;
    }
}

TEST(BoxVehTransformTest, EachFunctionUndoesTheOther)
{
    for (int code = 0; code < 24; ++code) {
        EXPECT_EQ(vehToBox(code, boxToVeh(code, kInput)), kInput) << code;
        EXPECT_EQ(boxToVeh(code, vehToBox(code, kInput)), kInput) << code;
    }
}

TEST(BoxVehTransformTest, UnknownCodeCopies)
{
    for (const int code : {24, 1000, -1, -2147483647 - 1, 2147483647}) {
        EXPECT_EQ(boxToVeh(code, kInput), kInput) << code;
        EXPECT_EQ(vehToBox(code, kInput), kInput) << code;
    }
}

TEST(BoxVehTransformTest, OutputsMayBeTheInputs)
{
    Six v = kInput;
    BoxToVeh(6, v[0], v[1], v[2], v[3], v[4], v[5], v[0], v[1], v[2], v[3], v[4], v[5]);
    EXPECT_EQ(v, (Six{3, -1, -2, 60, -40, -50}));
    VehToBox(6, v[0], v[1], v[2], v[3], v[4], v[5], v[0], v[1], v[2], v[3], v[4], v[5]);
    EXPECT_EQ(v, kInput);
}

TEST(BoxVehTransformTest, NegatedZeroComesBackAsItWas)
{
    const Six turned = boxToVeh(1, {0.0, 1, 2, 3, 4, 5});
    EXPECT_TRUE(std::signbit(turned[0]));
    EXPECT_FALSE(std::signbit(vehToBox(1, turned)[0]));
}
