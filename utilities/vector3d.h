#ifndef UTILITIES_VECTOR3D_H
#define UTILITIES_VECTOR3D_H

#include <array>
#include <cstddef>
#include <iosfwd>

/// Vectors and matrices of three dimensions, with WGS-84 geodesy. Plain values: different objects may be used by
/// different threads. Angles are radians unless a name says degrees, lengths are metres.
namespace QD_K71T_geometry {

class Matrix3d;

/// Three numbers: ECEF x, y, z; east, north, up; north, east, down; or latitude, longitude, height above the ellipsoid.
class Vector3d {
public:
    /// The zero vector.
    Vector3d() = default;
    Vector3d(double first, double second, double third) : m_elements{first, second, third} {}

    /// Element 0, 1 or 2. Throws `std::out_of_range` for any other.
    double& operator[](std::size_t index) { return m_elements.at(index); }
    const double& operator[](std::size_t index) const { return m_elements.at(index); }

    Vector3d operator-(const Vector3d& other) const;

    /// This vector as a row, from the left.
    Vector3d operator*(const Matrix3d& matrix) const;
    Vector3d operator*(const double& factor) const;
    Vector3d& operator*=(const double& factor);

    /// The product element by element.
    Vector3d multiply(const Vector3d& other) const;

    /// Root of the sum of the squares; 0.0 for a sum that isn't above zero, NaN included.
    double magnitude() const;
    static double magnitude(const Vector3d& vector) { return vector.magnitude(); }

    /// Divides by the magnitude, unless that is 0.0.
    Vector3d& unitize();

    /// A unitized copy.
    Vector3d unitized() const;
    static Vector3d unitized(const Vector3d& vector) { return vector.unitized(); }

private:
    std::array<double, 3> m_elements = {};
};

Vector3d cross(const Vector3d& a, const Vector3d& b);
double dot(const Vector3d& a, const Vector3d& b);

/// The vector as a column, from the right.
Vector3d operator*(const Matrix3d& matrix, const Vector3d& vector);
Vector3d operator*(const double& factor, const Vector3d& vector);

/// "Vector3d: [ a, b, c]". The stream keeps the precision of 15 places.
std::ostream& operator<<(std::ostream& stream, const Vector3d& vector);

}  // namespace QD_K71T_geometry

#endif
