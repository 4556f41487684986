#ifndef UTILITIES_MATRIX3D_H
#define UTILITIES_MATRIX3D_H

#include "utilities/vector3d.h"

#include <iosfwd>

namespace QD_K71T_geometry {

/// Three rows of three numbers. Rows and columns count from 0 in elements, rows from 1 in `updateRow`.
class Matrix3d {
public:
    using Row = double[3];

    /// The zero matrix.
    Matrix3d() = default;
    Matrix3d(double m00, double m01, double m02, double m10, double m11, double m12, double m20, double m21,
             double m22);

    /// @param rows  three
    explicit Matrix3d(const Row* rows);

    /// @param elements  nine, row after row
    explicit Matrix3d(const double* elements);

    Matrix3d operator+(const Matrix3d& other) const;
    Matrix3d operator-(const Matrix3d& other) const;
    Matrix3d operator*(const Matrix3d& other) const;
    Matrix3d operator*(double factor) const;

    /// Copies row `source` over row `target`. A row outside 1 to 3 changes nothing.
    void updateRow(unsigned target, unsigned source);

    /// Sets row `row`. One outside 1 to 3 changes nothing.
    void updateRow(unsigned row, const Vector3d& values);

    /// The adjugate divided by the determinant.
    ///
    /// What is tested for zero is the determinant's first term alone, m00 times its minor, on purpose; on exactly 0.0 a
    /// line goes to standard output and the result is the zero matrix. So a regular matrix with m00 = 0 has no inverse
    /// here, and a singular one with another first term has one of infinities and NaN.
    Matrix3d Inverse() const;

    /// The first of the three rows.
    Row* GetElements() { return m_elements; }
    const Row* GetElements() const { return m_elements; }

    /// These change the matrix in place and return it. The rotations are by `angle` about one axis, counted positive
    /// from y to z, z to x or x to y, of a vector to the right.
    Matrix3d& transpose();
    Matrix3d& identity();
    Matrix3d& zero();
    Matrix3d& Build_DCM_rotateX(double angle);
    Matrix3d& Build_DCM_rotateY(double angle);
    Matrix3d& Build_DCM_rotateZ(double angle);

private:
    Row m_elements[3] = {};
};

/// A transposed copy.
Matrix3d transpose(const Matrix3d& matrix);
Matrix3d operator*(const double& factor, const Matrix3d& matrix);

/// A newline, then a line "Matrix3d R1: [ a, b, c]" a row, each flushed. The stream keeps the precision of 15 places.
std::ostream& operator<<(std::ostream& stream, const Matrix3d& matrix);

}  // namespace QD_K71T_geometry

#endif
