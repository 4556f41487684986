#include "utilities/vector3d.h"

#include "utilities/matrix3d.h"

#include <cmath>
#include <ostream>

namespace QD_K71T_geometry {

Vector3d Vector3d::operator-(const Vector3d& other) const
{
    return {m_elements[0] - other.m_elements[0], m_elements[1] - other.m_elements[1],
            m_elements[2] - other.m_elements[2]};
}

Vector3d Vector3d::operator*(const Matrix3d& matrix) const
{
    const Matrix3d::Row* m = matrix.GetElements();
    Vector3d product;
    for (std::size_t column = 0; column < 3; ++column)
        product[column] = m_elements[0] * m[0][column] + m_elements[1] * m[1][column] + m_elements[2] * m[2][column];
    return product;
}

Vector3d Vector3d::operator*(const double& factor) const
{
    return {m_elements[0] * factor, m_elements[1] * factor, m_elements[2] * factor};
}

Vector3d& Vector3d::operator*=(const double& factor)
{
    return *this = *this * factor;
}

Vector3d Vector3d::multiply(const Vector3d& other) const
{
    return {m_elements[0] * other.m_elements[0], m_elements[1] * other.m_elements[1],
            m_elements[2] * other.m_elements[2]};
}

double Vector3d::magnitude() const
{
    const double squareSum = dot(*this, *this);
    return squareSum > 0.0 ? std::sqrt(squareSum) : 0.0;
}

Vector3d& Vector3d::unitize()
{
    const double length = magnitude();
    if (length != 0.0)
        for (double& element : m_elements) element /= length;
    return *this;
}

Vector3d Vector3d::unitized() const
{
    Vector3d copy = *this;
    return copy.unitize();
}

Vector3d cross(const Vector3d& a, const Vector3d& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const Vector3d& a, const Vector3d& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector3d operator*(const Matrix3d& matrix, const Vector3d& vector)
{
    const Matrix3d::Row* m = matrix.GetElements();
    Vector3d product;
    for (std::size_t row = 0; row < 3; ++row)
        product[row] = m[row][0] * vector[0] + m[row][1] * vector[1] + m[row][2] * vector[2];
    return product;
}

Vector3d operator*(const double& factor, const Vector3d& vector)
{
    return vector * factor;
}

std::ostream& operator<<(std::ostream& stream, const Vector3d& vector)
{
    stream.precision(15);
    return stream << "Vector3d: [ " << vector[0] << ", " << vector[1] << ", " << vector[2] << "]";
}

}  // namespace QD_K71T_geometry
