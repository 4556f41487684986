#include "utilities/matrix3d.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <utility>

namespace QD_K71T_geometry {

namespace {

bool isRow(unsigned row)
{
    return row >= 1 && row <= 3;
}

/// Every element by `element(row, column)`.
template <class Element>
Matrix3d filled(Element element)
{
    Matrix3d result;
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column) result.GetElements()[row][column] = element(row, column);
    return result;
}

}  // namespace

Matrix3d::Matrix3d(double m00, double m01, double m02, double m10, double m11, double m12, double m20, double m21,
                   double m22)
    : m_elements{{m00, m01, m02}, {m10, m11, m12}, {m20, m21, m22}}
{}

Matrix3d::Matrix3d(const Row* rows)
{
    for (std::size_t row = 0; row < 3; ++row) std::copy_n(rows[row], 3, m_elements[row]);
}

Matrix3d::Matrix3d(const double* elements)
{
    for (std::size_t row = 0; row < 3; ++row) std::copy_n(elements + 3 * row, 3, m_elements[row]);
}

Matrix3d Matrix3d::operator+(const Matrix3d& other) const
{
    return filled([&](auto row, auto column) { return m_elements[row][column] + other.m_elements[row][column]; });
}

Matrix3d Matrix3d::operator-(const Matrix3d& other) const
{
    return filled([&](auto row, auto column) { return m_elements[row][column] - other.m_elements[row][column]; });
}

Matrix3d Matrix3d::operator*(const Matrix3d& other) const
{
    const Row* b = other.m_elements;
    return filled([&](auto row, auto column) {
        const Row& a = m_elements[row];
        return a[0] * b[0][column] + a[1] * b[1][column] + a[2] * b[2][column];
    });
}

Matrix3d Matrix3d::operator*(double factor) const
{
    return filled([&](auto row, auto column) { return m_elements[row][column] * factor; });
}

void Matrix3d::updateRow(unsigned target, unsigned source)
{
    if (!isRow(target) || !isRow(source) || target == source) return;
    std::copy_n(m_elements[source - 1], 3, m_elements[target - 1]);
}

void Matrix3d::updateRow(unsigned row, const Vector3d& values)
{
    if (!isRow(row)) return;
    for (std::size_t column = 0; column < 3; ++column) m_elements[row - 1][column] = values[column];
}

Matrix3d Matrix3d::Inverse() const
{
    const auto& m = m_elements;
    if ((m[1][1] * m[2][2] - m[1][2] * m[2][1]) * m[0][0] == 0.0) {
        std::cout << "\nThe inverse can not be calculated when the determinant is zero\n";
        return {};
    }
    // Rows of the cyclic neighbours give each cofactor with its sign; row and column change places in the adjugate.
    const Matrix3d adjugate = filled([&](auto row, auto column) {
        const Row& next = m[(column + 1) % 3];
        const Row& afterNext = m[(column + 2) % 3];
        return next[(row + 1) % 3] * afterNext[(row + 2) % 3] - next[(row + 2) % 3] * afterNext[(row + 1) % 3];
    });
    const Row* cofactors = adjugate.m_elements;
    const double determinant = m[0][0] * cofactors[0][0] + m[0][1] * cofactors[1][0] + m[0][2] * cofactors[2][0];
    return filled([&](auto row, auto column) { return cofactors[row][column] / determinant; });
}

Matrix3d& Matrix3d::transpose()
{
    std::swap(m_elements[0][1], m_elements[1][0]);
    std::swap(m_elements[0][2], m_elements[2][0]);
    std::swap(m_elements[1][2], m_elements[2][1]);
    return *this;
}

Matrix3d& Matrix3d::identity()
{
    return *this = Matrix3d(1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0);
}

Matrix3d& Matrix3d::zero()
{
    return *this = Matrix3d();
}

Matrix3d& Matrix3d::Build_DCM_rotateX(double angle)
{
    const double s = std::sin(angle), c = std::cos(angle);
    return *this = Matrix3d(1.0, 0.0, 0.0, 0.0, c, -s, 0.0, s, c);
}

Matrix3d& Matrix3d::Build_DCM_rotateY(double angle)
{
    const double s = std::sin(angle), c = std::cos(angle);
    return *this = Matrix3d(c, 0.0, s, 0.0, 1.0, 0.0, -s, 0.0, c);
}

Matrix3d& Matrix3d::Build_DCM_rotateZ(double angle)
{
    const double s = std::sin(angle), c = std::cos(angle);
    return *this = Matrix3d(c, -s, 0.0, s, c, 0.0, 0.0, 0.0, 1.0);
}

Matrix3d transpose(const Matrix3d& matrix)
{
    Matrix3d copy = matrix;
    return copy.transpose();
}

Matrix3d operator*(const double& factor, const Matrix3d& matrix)
{
    return matrix * factor;
}

std::ostream& operator<<(std::ostream& stream, const Matrix3d& matrix)
{
    stream << "\n";
    stream.precision(15);
    for (unsigned number = 1; number <= 3; ++number) {
        const Matrix3d::Row& row = matrix.GetElements()[number - 1];
        stream << "Matrix3d R" << number << ": [ " << row[0] << ", " << row[1] << ", " << row[2] << "]" << std::endl;
    }
    return stream;
}

}  // namespace QD_K71T_geometry
