#include "utilities/matrix3d.h"

#include "tests/support/ConsoleCapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <limits>
#include <new>
#include <random>
#include <sstream>

using namespace QD_K71T_geometry;

namespace {

using Nine = double[9];

constexpr double kPi = 3.141592653589793;
const Matrix3d kMatrix(1, 2, 3, 4, 5, 6, 7, 8, 10);

void expectNear(const Matrix3d& actual, const Nine& expected, double tolerance)
{
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_NEAR(actual.GetElements()[i / 3][i % 3], expected[i], tolerance)
            << "row " << i / 3 << " column " << i % 3;
}

void expectEqual(const Matrix3d& actual, const Nine& expected)
{
    expectNear(actual, expected, 0.0);
}

class FlushCounter : public std::stringbuf {
public:
    int flushes = 0;

protected:
    int sync() override
    {
        ++flushes;
        return 0;
    }
};

}  // namespace

TEST(Matrix3dTest, DefaultIsZero)
{
    expectEqual(Matrix3d(), {0, 0, 0, 0, 0, 0, 0, 0, 0});
}

TEST(Matrix3dTest, ElementsStandRowAfterRowHoweverTheyAreGiven)
{
    const Nine expected = {1, 2, 3, 4, 5, 6, 7, 8, 10};
    double rows[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 10}};
    double elements[9] = {1, 2, 3, 4, 5, 6, 7, 8, 10};
    expectEqual(kMatrix, expected);
    expectEqual(Matrix3d(rows), expected);
    expectEqual(Matrix3d(elements), expected);
    expectEqual(Matrix3d(kMatrix), expected);
}

TEST(Matrix3dTest, NothingIsWrittenBehindTheNineElements)
{
    const double rows[4][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {11, 12, 13}};
    const double* const elements = rows[0];
    alignas(Matrix3d) double place[10] = {};
    new (place) Matrix3d(rows);
    EXPECT_EQ(place[9], 0.0);
    new (place) Matrix3d(elements);
    EXPECT_EQ(place[9], 0.0);
}

TEST(Matrix3dTest, CopyIsAMatrixOfItsOwn)
{
    Matrix3d a(kMatrix);
    Matrix3d b;
    b = a;
    a.GetElements()[2][2] = 99.0;
    EXPECT_EQ(a.GetElements()[2][2], 99.0);
    EXPECT_EQ(b.GetElements()[2][2], 10.0);
}

TEST(Matrix3dTest, SumAndDifference)
{
    const Matrix3d other(10, 20, 30, 40, 50, 60, 70, 80, 90);
    expectEqual(kMatrix + other, {11, 22, 33, 44, 55, 66, 77, 88, 100});
    expectEqual(kMatrix - other, {-9, -18, -27, -36, -45, -54, -63, -72, -80});
}

TEST(Matrix3dTest, ProductIsRowByColumn)
{
    const Matrix3d other(1, 0, 2, 0, 3, 0, -1, 0, 1);
    expectEqual(kMatrix * other, {-2, 6, 5, -2, 15, 14, -3, 24, 24});
    expectEqual(other * kMatrix, {15, 18, 23, 12, 15, 18, 6, 6, 7});
}

TEST(Matrix3dTest, FactorFromEitherSide)
{
    const Nine expected = {0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4, 5};
    expectEqual(kMatrix * 0.5, expected);
    expectEqual(0.5 * kMatrix, expected);
}

TEST(Matrix3dTest, RowsToUpdateCountFromOne)
{
    Matrix3d matrix = kMatrix;
    matrix.updateRow(3, 1);
    expectEqual(matrix, {1, 2, 3, 4, 5, 6, 1, 2, 3});
    matrix.updateRow(1, Vector3d(-1, -2, -3));
    expectEqual(matrix, {-1, -2, -3, 4, 5, 6, 1, 2, 3});
    matrix.updateRow(2, 2);
    expectEqual(matrix, {-1, -2, -3, 4, 5, 6, 1, 2, 3});
    matrix.updateRow(2, 1);
    expectEqual(matrix, {-1, -2, -3, -1, -2, -3, 1, 2, 3});
}

TEST(Matrix3dTest, RowsOutsideTheMatrixChangeNothing)
{
    Matrix3d matrix = kMatrix;
    for (const unsigned row : {0u, 4u, std::numeric_limits<unsigned>::max()}) {
        matrix.updateRow(row, 1);
        matrix.updateRow(1, row);
        matrix.updateRow(row, Vector3d(-1, -2, -3));
    }
    expectEqual(matrix, {1, 2, 3, 4, 5, 6, 7, 8, 10});
}

TEST(Matrix3dTest, InverseOfARegularMatrix)
{
    // The determinant is -3.
    expectNear(kMatrix.Inverse(), {-2.0 / 3, -4.0 / 3, 1, -2.0 / 3, 11.0 / 3, -2, 1, -2, 1}, 1e-15);
}

TEST(Matrix3dTest, InverseTimesTheMatrixIsTheIdentity)
{
    std::mt19937 random(33);
    std::uniform_real_distribution<double> off(-1.0, 1.0), diagonal(3.0, 9.0);
    for (int i = 0; i < 500; ++i) {
        const Matrix3d matrix(diagonal(random), off(random), off(random), off(random), -diagonal(random), off(random),
                              off(random), off(random), diagonal(random));
        expectNear(matrix.Inverse() * matrix, {1, 0, 0, 0, 1, 0, 0, 0, 1}, 1e-14);
        expectNear(matrix * matrix.Inverse(), {1, 0, 0, 0, 1, 0, 0, 0, 1}, 1e-14);
    }
}

TEST(Matrix3dTest, InverseOfAMatrixWithoutFirstElementIsRefused)
{
    const Matrix3d exchange(0, 1, 0, 1, 0, 0, 0, 0, 1);  // regular, its own inverse
    const ConsoleCapture console(std::cout);
    expectEqual(exchange.Inverse(), {0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(console.text(), "\nThe inverse can not be calculated when the determinant is zero\n");
}

TEST(Matrix3dTest, InverseOfAMatrixWithoutFirstMinorIsRefused)
{
    const ConsoleCapture console(std::cout);
    expectEqual(Matrix3d(5, 1, 0, 1, 0, 0, 0, 0, 1).Inverse(), {0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(console.text(), "\nThe inverse can not be calculated when the determinant is zero\n");
}

TEST(Matrix3dTest, SingularMatrixWithAFirstTermIsDividedByZero)
{
    const ConsoleCapture console(std::cout);
    const Matrix3d inverse = Matrix3d(1, 2, 3, 4, 5, 6, 7, 8, 9).Inverse();
    EXPECT_EQ(inverse.GetElements()[0][0], -std::numeric_limits<double>::infinity());
    EXPECT_EQ(inverse.GetElements()[0][1], std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(Matrix3d(1, 1, 0, 1, 1, 0, 0, 0, 1).Inverse().GetElements()[0][2]));
    EXPECT_EQ(console.text(), "");
}

TEST(Matrix3dTest, TransposeChangesTheMatrixAndTheFreeOneACopy)
{
    const Nine expected = {1, 4, 7, 2, 5, 8, 3, 6, 10};
    Matrix3d matrix = kMatrix;
    expectEqual(transpose(matrix), expected);
    expectEqual(matrix, {1, 2, 3, 4, 5, 6, 7, 8, 10});
    EXPECT_EQ(&matrix.transpose(), &matrix);
    expectEqual(matrix, expected);
}

TEST(Matrix3dTest, IdentityAndZeroAreInPlace)
{
    Matrix3d matrix = kMatrix;
    EXPECT_EQ(&matrix.identity(), &matrix);
    expectEqual(matrix, {1, 0, 0, 0, 1, 0, 0, 0, 1});
    EXPECT_EQ(&matrix.zero(), &matrix);
    expectEqual(matrix, {0, 0, 0, 0, 0, 0, 0, 0, 0});
}

TEST(Matrix3dTest, RotationsReplaceTheMatrix)
{
    const double c = std::sqrt(3.0) / 2.0;
    Matrix3d matrix = kMatrix;
    EXPECT_EQ(&matrix.Build_DCM_rotateX(kPi / 6), &matrix);
    expectNear(matrix, {1, 0, 0, 0, c, -0.5, 0, 0.5, c}, 1e-15);
    EXPECT_EQ(&matrix.Build_DCM_rotateY(kPi / 6), &matrix);
    expectNear(matrix, {c, 0, 0.5, 0, 1, 0, -0.5, 0, c}, 1e-15);
    EXPECT_EQ(&matrix.Build_DCM_rotateZ(kPi / 6), &matrix);
    expectNear(matrix, {c, -0.5, 0, 0.5, c, 0, 0, 0, 1}, 1e-15);
}

TEST(Matrix3dTest, TextIsALineARowAndTheStreamKeepsThePrecision)
{
    std::ostringstream stream;
    stream << Matrix3d(1.0 / 3.0, 2, 3, 4, 5, 6, 7, 8, -9.5);
    EXPECT_EQ(stream.str(), "\n"
                            "Matrix3d R1: [ 0.333333333333333, 2, 3]\n"
                            "Matrix3d R2: [ 4, 5, 6]\n"
                            "Matrix3d R3: [ 7, 8, -9.5]\n");
    EXPECT_EQ(stream.precision(), 15);
}

TEST(Matrix3dTest, EachLineOfTheTextIsFlushed)
{
    FlushCounter buffer;
    std::ostream stream(&buffer);
    stream << kMatrix;
    EXPECT_EQ(buffer.flushes, 3);
}
