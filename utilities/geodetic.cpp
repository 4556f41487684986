#include "utilities/geodetic.h"

#include "utilities/AngleUtility.h"
#include "utilities/NormalizeRange.h"

#include <cmath>

namespace QD_K71T_geometry {

namespace {

constexpr double kHalfTurn = 3.141592653589793;
constexpr double kFullTurn = 6.283185307179586;
constexpr int kIterationEnd = 16;

/// Radius of curvature in the prime vertical.
double primeVertical(double latitude, double a, double eccentricitySquared)
{
    const double s = std::sin(latitude);
    return a / std::sqrt(1.0 - eccentricitySquared * s * s);
}

/// @param polar  (b / a)^2, by which the radius is shorter toward the poles
Vector3d cartesian(const Vector3d& latLonHeight, double radius, double polar)
{
    const double latitude = latLonHeight[0], longitude = latLonHeight[1], height = latLonHeight[2];
    return {(radius + height) * std::cos(latitude) * std::cos(longitude),
            (radius + height) * std::cos(latitude) * std::sin(longitude),
            (height + polar * radius) * std::sin(latitude)};
}

}  // namespace

Vector3d Geodetic::ECEF_From_Geodetic(const Vector3d& latLonHeight)
{
    return cartesian(latLonHeight, primeVertical(latLonHeight[0], SEMI_MAJOR_AXIS, ECCENTRICITY_SQUARED),
                     ONE_MINUS_ECCENTRICITY_SQUARED);
}

Vector3d Geodetic::ECEF_From_Geodetic(double latitude, double longitude, double height)
{
    return ECEF_From_Geodetic({latitude, longitude, height});
}

Vector3d Geodetic::plh2xyz(const Vector3d& latLonHeight, double a, double f)
{
    return cartesian(latLonHeight, primeVertical(latLonHeight[0], a, (2.0 - f) * f), (1.0 - f) * (1.0 - f));
}

Vector3d Geodetic::Geodetic_From_ECEF(const Vector3d& ecef)
{
    return Geodetic_From_ECEF(ecef[0], ecef[1], ecef[2]);
}

Vector3d Geodetic::Geodetic_From_ECEF(double x, double y, double z)
{
    if (x == 0.0 && y == 0.0 && z == 0.0) return {};
    const double p = std::sqrt(x * x + y * y);
    double latitude = std::atan2(z / p, ONE_MINUS_ECCENTRICITY_SQUARED);
    double height = 0.0;
    double previousHeight = 0.0;
    int counter = 1;
    do {
        previousHeight = height;
        const double radius = primeVertical(latitude, SEMI_MAJOR_AXIS, ECCENTRICITY_SQUARED);
        const double c = std::cos(latitude);
        height = p / c - radius;
        latitude = std::atan2(z / c, height + radius * ONE_MINUS_ECCENTRICITY_SQUARED);
        ++counter;
    } while (counter < kIterationEnd && std::abs(height - previousHeight) > HEIGHT_CONVERGENCE);
    return {latitude, std::atan2(y, x), height};
}

Matrix3d Geodetic::Build_CET(double lat, double lon, double /*alt*/)
{
    const double sLat = std::sin(lat), cLat = std::cos(lat);
    const double sLon = std::sin(lon), cLon = std::cos(lon);
    return {-sLat * cLon, -sLat * sLon, cLat,  //
            -sLon,        cLon,         0.0,   //
            -cLat * cLon, -cLat * sLon, -sLat};
}

Matrix3d Geodetic::Build_ECEF_to_ENU_DCM(double lat, double lon)
{
    const double sLat = std::sin(lat), cLat = std::cos(lat);
    const double sLon = std::sin(lon), cLon = std::cos(lon);
    return {-sLon,        cLon,         0.0,   //
            -sLat * cLon, -sLat * sLon, cLat,  //
            cLat * cLon,  cLat * sLon,  sLat};
}

Matrix3d Geodetic::Build_ECEF_to_ENU_DCM(const Vector3d& latLonHeight)
{
    return Build_ECEF_to_ENU_DCM(latLonHeight[0], latLonHeight[1]);
}

Matrix3d Geodetic::Build_Body_To_Tangent_DCM(double yaw, double pitch, double roll)
{
    const double sy = std::sin(yaw), cy = std::cos(yaw);
    const double sp = std::sin(pitch), cp = std::cos(pitch);
    const double sr = std::sin(roll), cr = std::cos(roll);
    return {cy * cp,
            -sy * cr + cy * sp * sr,
            cy * sp * cr + sy * sr,  //
            sy * cp,
            sy * sp * sr + cy * cr,
            -cy * sr + sy * sp * cr,  //
            -sp,
            cp * sr,
            cp * cr};
}

Matrix3d Geodetic::Build_Body_To_Tangent_DCM(const Vector3d& yawPitchRoll)
{
    return Build_Body_To_Tangent_DCM(yawPitchRoll[0], yawPitchRoll[1], yawPitchRoll[2]);
}

Vector3d Geodetic::ENU_ToAzEl(const Vector3d& enu)
{
    const Vector3d unit = enu.unitized();
    const double e = unit[0], n = unit[1], u = unit[2];
    const double elevation = std::abs(u) > 1.0 ? 0.0 : std::asin(u);
    const bool noAzimuth = std::abs(e) > 1.0 || std::abs(n) > 1.0;
    const double azimuth = noAzimuth ? 0.0 : AngleUtility::NormalizeValue(std::atan2(e, n), 0.0, AZIMUTH_TURN);
    return {azimuth, elevation, 0.0};
}

Vector3d Geodetic::AzElRadTo_UnitVector3dENU(const Vector3d& azEl)
{
    const double azimuth = azEl[0], elevation = azEl[1];
    return {std::sin(azimuth) * std::cos(elevation), std::cos(azimuth) * std::cos(elevation), std::sin(elevation)};
}

double DDMM2Degrees(double d, double m)
{
    return DDMMSS2Degrees(d, m, 0.0);
}

double DDMMSS2Degrees(double d, double m, double s)
{
    if (d < 0.0) return d - std::abs(m) / 60.0 - std::abs(s) / 3600.0;
    return d + std::abs(m) / 60.0 + std::abs(s) / 3600.0;
}

double truncate(double x)
{
    return std::trunc(x);
}

void DegreesToDDMM(double deg, double& d, double& m)
{
    d = truncate(deg);
    m = std::abs(deg - d) * 60.0;
}

void DegreesToDDMMSS(double deg, double& d, double& m, double& s)
{
    double minutes = 0.0;
    DegreesToDDMM(deg, d, minutes);
    m = truncate(minutes);
    s = (minutes - m) * 60.0;
}

Vector3d NEDToPlatform(const Vector3d& ned, const double& heading)
{
    const double s = std::sin(heading), c = std::cos(heading);
    return {s * ned[0] + c * ned[1], c * ned[0] - s * ned[1], -ned[2]};
}

Vector3d PlatformToNED(const Vector3d& v, const double& heading)
{
    const double s = std::sin(heading), c = std::cos(heading);
    return {-s * v[0] + c * v[1], s * v[1] + c * v[0], -v[2]};
}

void AngleModPi(double& angle)
{
    angle = normalizeRange(angle, -kHalfTurn, kHalfTurn, kFullTurn);
    if (angle == kHalfTurn) angle = -kHalfTurn;
}

}  // namespace QD_K71T_geometry
