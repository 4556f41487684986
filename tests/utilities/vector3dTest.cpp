#include "utilities/vector3d.h"

#include "utilities/matrix3d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <stdexcept>

using namespace QD_K71T_geometry;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void expectEqual(const Vector3d& actual, double first, double second, double third)
{
    EXPECT_EQ(actual[0], first);
    EXPECT_EQ(actual[1], second);
    EXPECT_EQ(actual[2], third);
}

const Matrix3d kMatrix(1, 2, 3, 4, 5, 6, 7, 8, 10);

}  // namespace

TEST(Vector3dTest, DefaultIsZero)
{
    expectEqual(Vector3d(), 0.0, 0.0, 0.0);
}

TEST(Vector3dTest, CopyIsAVectorOfItsOwn)
{
    Vector3d a(1, 2, 3);
    Vector3d b(a);
    b[1] = 9.0;
    expectEqual(a, 1, 2, 3);
    a = b;
    expectEqual(a, 1, 9, 3);
}

TEST(Vector3dTest, ElementBeyondTheThirdThrows)
{
    Vector3d a;
    const Vector3d b;
    EXPECT_THROW(a[3] = 1.0, std::out_of_range);
    EXPECT_THROW(static_cast<void>(b[3]), std::out_of_range);
}

TEST(Vector3dTest, Difference)
{
    expectEqual(Vector3d(1, 2, 3) - Vector3d(10, 30, -5), -9, -28, 8);
}

TEST(Vector3dTest, VectorIsARowFromTheLeftOfAMatrix)
{
    expectEqual(Vector3d(1, 10, 100) * kMatrix, 741, 852, 1063);
}

TEST(Vector3dTest, VectorIsAColumnFromTheRightOfAMatrix)
{
    expectEqual(kMatrix * Vector3d(1, 10, 100), 321, 654, 1087);
}

TEST(Vector3dTest, FactorFromEitherSide)
{
    Vector3d vector(1, -2, 3);
    expectEqual(vector * 2.5, 2.5, -5, 7.5);
    expectEqual(2.5 * vector, 2.5, -5, 7.5);
    expectEqual(vector *= 2.5, 2.5, -5, 7.5);
    expectEqual(vector, 2.5, -5, 7.5);
}

TEST(Vector3dTest, FactorMayBeAnElementOfTheVector)
{
    Vector3d vector(2, 3, 4);
    vector *= vector[0];
    expectEqual(vector, 4, 6, 8);
}

TEST(Vector3dTest, MultiplyIsElementByElement)
{
    expectEqual(Vector3d(1, 2, 3).multiply(Vector3d(4, -5, 6)), 4, -10, 18);
}

TEST(Vector3dTest, CrossProductIsRightHanded)
{
    expectEqual(cross(Vector3d(1, 0, 0), Vector3d(0, 1, 0)), 0, 0, 1);
    expectEqual(cross(Vector3d(2, 3, 4), Vector3d(5, 6, 7)), -3, 6, -3);
}

TEST(Vector3dTest, DotProduct)
{
    EXPECT_EQ(dot(Vector3d(1, 2, 3), Vector3d(4, -5, 6)), 12.0);
}

TEST(Vector3dTest, MagnitudeIsTheRootOfTheSquares)
{
    EXPECT_EQ(Vector3d(2, -3, 6).magnitude(), 7.0);
    EXPECT_EQ(Vector3d::magnitude(Vector3d(0, 3, 4)), 5.0);
}

TEST(Vector3dTest, MagnitudeOfNaNIsZero)
{
    EXPECT_EQ(Vector3d(1, kNaN, 2).magnitude(), 0.0);
    EXPECT_EQ(Vector3d(-0.0, 0.0, 0.0).magnitude(), 0.0);
    EXPECT_EQ(Vector3d(1, -kInfinity, 2).magnitude(), kInfinity);
}

TEST(Vector3dTest, UnitizeDividesByTheMagnitude)
{
    Vector3d vector(0, 3, -4);
    expectEqual(vector.unitize(), 0.0, 0.6, -0.8);
    expectEqual(vector, 0.0, 0.6, -0.8);
}

TEST(Vector3dTest, UnitizedLeavesTheVectorAlone)
{
    Vector3d vector(0, 3, -4);
    expectEqual(vector.unitized(), 0.0, 0.6, -0.8);
    expectEqual(Vector3d::unitized(vector), 0.0, 0.6, -0.8);
    expectEqual(vector, 0, 3, -4);
}

TEST(Vector3dTest, UnitizeLeavesTheZeroVectorAlone)
{
    Vector3d vector;
    expectEqual(vector.unitize(), 0.0, 0.0, 0.0);
}

TEST(Vector3dTest, UnitizeLeavesWhatHasNoMagnitudeAlone)
{
    const Vector3d vector = Vector3d(5, kNaN, 3).unitized();
    EXPECT_EQ(vector[0], 5.0);
    EXPECT_TRUE(std::isnan(vector[1]));
    EXPECT_EQ(vector[2], 3.0);
}

TEST(Vector3dTest, UnitizeDividesByTheSmallestMagnitude)
{
    // The square is the smallest double, whose root is 2.2e-162.
    EXPECT_EQ(Vector3d(2.2227587494850775e-162, 0, 0).unitized()[0], 1.0);
}

TEST(Vector3dTest, TextHasFifteenPlacesAndTheStreamKeepsThem)
{
    std::ostringstream stream;
    stream << Vector3d(1.0 / 3.0, -2.0, 1e20) << 2.0 / 3.0;
    EXPECT_EQ(stream.str(), "Vector3d: [ 0.333333333333333, -2, 1e+20]0.666666666666667");
    EXPECT_EQ(stream.precision(), 15);
}
