#include "utilities/geodetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace QD_K71T_geometry;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kSemiMajor = 6378137.0;
constexpr double kSemiMinor = 6356752.314245;  // WGS 84, NIMA TR8350.2
const double kRoot2 = std::sqrt(2.0);
const double kRoot3 = std::sqrt(3.0);

constexpr double radians(double degrees, double minutes = 0.0, double seconds = 0.0)
{
    return (degrees + minutes / 60.0 + seconds / 3600.0) * kPi / 180.0;
}

void expectNear(const Vector3d& actual, double first, double second, double third, double tolerance)
{
    EXPECT_NEAR(actual[0], first, tolerance);
    EXPECT_NEAR(actual[1], second, tolerance);
    EXPECT_NEAR(actual[2], third, tolerance);
}

using Nine = double[9];

void expectNear(const Matrix3d& actual, const Nine& expected, double tolerance)
{
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_NEAR(actual.GetElements()[i / 3][i % 3], expected[i], tolerance)
            << "row " << i / 3 << " column " << i % 3;
}

/// How far a position stands from what its latitude, longitude and height mean: `height` along the ellipsoid's normal
/// from a point of the ellipsoid. Metres.
double distanceFromMeaning(const Vector3d& ecef, const Vector3d& latLonHeight, double a, double b)
{
    const double sLat = std::sin(latLonHeight[0]), cLat = std::cos(latLonHeight[0]);
    const Vector3d normal(cLat * std::cos(latLonHeight[1]), cLat * std::sin(latLonHeight[1]), sLat);
    const Vector3d foot = ecef - latLonHeight[2] * normal;
    // The point of the ellipsoid where the gradient (x / a^2, y / a^2, z / b^2) has the direction of `normal`.
    const double length = std::sqrt(a * a * cLat * cLat + b * b * sLat * sLat);
    const Vector3d surface = normal.multiply({a * a / length, a * a / length, b * b / length});
    return (foot - surface).magnitude();
}

Vector3d randomPosition(std::mt19937_64& random)
{
    std::uniform_real_distribution<double> sines(-1.0, 1.0), longitudes(-kPi, kPi), decades(0.0, 7.4),
        depths(-1e4, 0.0);
    const double height = random() % 4 == 0 ? depths(random) : std::pow(10.0, decades(random));
    return {std::asin(sines(random)), longitudes(random), height};
}

double modPi(double angle)
{
    AngleModPi(angle);
    return angle;
}

}  // namespace

TEST(GeodeticTest, EquatorAndPolesAreTheAxesOfTheEllipsoid)
{
    const Vector3d origin = Geodetic::ECEF_From_Geodetic(0.0, 0.0, 0.0);
    EXPECT_EQ(origin[0], 6378137.0);
    EXPECT_EQ(origin[1], 0.0);
    EXPECT_EQ(origin[2], 0.0);
    expectNear(Geodetic::ECEF_From_Geodetic(0.0, kPi / 2, 100.0), 0.0, kSemiMajor + 100.0, 0.0, 1e-8);
    expectNear(Geodetic::ECEF_From_Geodetic(kPi / 2, 1.0, 100.0), 0.0, 0.0, kSemiMinor + 100.0, 1e-5);
    expectNear(Geodetic::ECEF_From_Geodetic(-kPi / 2, 1.0, 100.0), 0.0, 0.0, -kSemiMinor - 100.0, 1e-5);
}

// IOGP Guidance Note 7-2, geographic/geocentric conversions, WGS 84 example.
TEST(GeodeticTest, PublishedPositionOnWgs84)
{
    const double latitude = radians(53, 48, 33.820), longitude = radians(2, 7, 46.380);
    expectNear(Geodetic::ECEF_From_Geodetic(latitude, longitude, 73.0), 3771793.968, 140253.342, 5124304.349, 6e-4);
    const Vector3d position = Geodetic::Geodetic_From_ECEF(3771793.968, 140253.342, 5124304.349);
    EXPECT_NEAR(position[0], latitude, 1e-10);
    EXPECT_NEAR(position[1], longitude, 1e-10);
    EXPECT_NEAR(position[2], 73.0, 1e-3);
}

// Ordnance Survey, A guide to coordinate systems in Great Britain, annex B: the Airy 1830 ellipsoid.
TEST(GeodeticTest, PublishedPositionOnAnotherEllipsoid)
{
    const double a = 6377563.396, b = 6356256.910;
    const Vector3d position(radians(52, 39, 27.2531), radians(1, 43, 4.5177), 24.700);
    expectNear(Geodetic::plh2xyz(position, a, (a - b) / a), 3874938.849, 116218.624, 5047168.208, 2e-3);
}

TEST(GeodeticTest, PositionsAreAtTheirHeightAlongTheNormal)
{
    std::mt19937_64 random(84);
    for (int i = 0; i < 5000; ++i) {
        const Vector3d position = randomPosition(random);
        ASSERT_LT(distanceFromMeaning(Geodetic::ECEF_From_Geodetic(position), position, kSemiMajor, kSemiMinor), 2e-6)
            << position;
    }
}

TEST(GeodeticTest, PositionsOnAnyEllipsoidAreAtTheirHeightAlongTheNormal)
{
    std::mt19937_64 random(1830);
    std::uniform_real_distribution<double> flattenings(0.0, 0.5), axes(1e6, 1e7);
    for (int i = 0; i < 5000; ++i) {
        const Vector3d position = randomPosition(random);
        const double a = axes(random), f = flattenings(random);
        ASSERT_LT(distanceFromMeaning(Geodetic::plh2xyz(position, a, f), position, a, a * (1.0 - f)), 1e-7) << position;
    }
}

TEST(GeodeticTest, FlatteningZeroIsASphere)
{
    EXPECT_NEAR(Geodetic::plh2xyz({0.7, -2.0, 11.0}, 1000.0, 0.0).magnitude(), 1011.0, 1e-9);
}

TEST(GeodeticTest, LatitudesAreThoseOfTheNormalThroughThePosition)
{
    std::mt19937_64 random(6378137);
    std::normal_distribution<double> directions;
    std::uniform_real_distribution<double> radii(6.34e6, 3e7);
    for (int i = 0; i < 5000; ++i) {
        Vector3d ecef(directions(random), directions(random), directions(random));
        ecef.unitize() *= radii(random);
        const Vector3d position = Geodetic::Geodetic_From_ECEF(ecef);
        ASSERT_LT(distanceFromMeaning(ecef, position, kSemiMajor, kSemiMinor), 1e-3) << ecef;
        ASSERT_NEAR(position[1], std::atan2(ecef[1], ecef[0]), 1e-15);
    }
}

TEST(GeodeticTest, PositionsComeBack)
{
    std::mt19937_64 random(1984);
    for (int i = 0; i < 5000; ++i) {
        const Vector3d position = randomPosition(random);
        const Vector3d back = Geodetic::Geodetic_From_ECEF(Geodetic::ECEF_From_Geodetic(position));
        ASSERT_NEAR(back[0], position[0], 1e-10) << position;
        ASSERT_NEAR(back[1], position[1], 1e-14) << position;
        ASSERT_NEAR(back[2], position[2], 1e-3) << position;
    }
}

TEST(GeodeticTest, OverloadsAgree)
{
    const Vector3d ecef = Geodetic::ECEF_From_Geodetic(Vector3d(0.5, 1.5, 2500.0));
    expectNear(ecef - Geodetic::ECEF_From_Geodetic(0.5, 1.5, 2500.0), 0.0, 0.0, 0.0, 0.0);
    expectNear(Geodetic::Geodetic_From_ECEF(ecef) - Geodetic::Geodetic_From_ECEF(ecef[0], ecef[1], ecef[2]), 0.0, 0.0,
               0.0, 0.0);
}

TEST(GeodeticTest, PointOnTheSecondAxisIsAQuarterTurnToTheEast)
{
    expectNear(Geodetic::Geodetic_From_ECEF(0.0, kSemiMajor + 100.0, 0.0), 0.0, kPi / 2, 100.0, 1e-8);
}

TEST(GeodeticTest, CentreOfTheEarthIsTheZeroVector)
{
    expectNear(Geodetic::Geodetic_From_ECEF(0.0, 0.0, 0.0), 0.0, 0.0, 0.0, 0.0);
    expectNear(Geodetic::Geodetic_From_ECEF(-0.0, 0.0, -0.0), 0.0, 0.0, 0.0, 0.0);
}

TEST(GeodeticTest, OriginOfLatitudeAndLongitudeComesBackAsZeros)
{
    expectNear(Geodetic::Geodetic_From_ECEF(6378137.0, 0.0, 0.0), 0.0, 0.0, 0.0, 0.0);
}

// Deep inside the Earth the iteration is slow, so that the result shows where it ended. The expected values were
// computed apart, from the formulas in a script.
TEST(GeodeticTest, HeightThatMovesLessThanACentimetreEndsTheIteration)
{
    // After 12 turns; a limit of a decimetre ends after 11, one of a millimetre after 14.
    const Vector3d position = Geodetic::Geodetic_From_ECEF(100000.0, 0.0, 100000.0);
    EXPECT_NEAR(position[0], 0.9308402223696858, 1e-12);
    EXPECT_NEAR(position[2], -6224458.12142382, 1e-6);
}

TEST(GeodeticTest, IterationEndsAfterFifteenTurns)
{
    // The heights of the 14th and the 16th turn are a metre away.
    const Vector3d position = Geodetic::Geodetic_From_ECEF(60000.0, 0.0, 50000.0);
    EXPECT_NEAR(position[0], 0.9558840776435603, 1e-11);
    EXPECT_NEAR(position[2], -6288423.372873495, 1e-5);
}

TEST(GeodeticTest, AxisHasTheHeightOfTheCentre)
{
    for (const double z : {6356752.3, 7e6, 1e5}) {
        expectNear(Geodetic::Geodetic_From_ECEF(0.0, 0.0, z), kPi / 2, 0.0, -6399593.6258, 1e-4);
        expectNear(Geodetic::Geodetic_From_ECEF(0.0, 0.0, -z), -kPi / 2, 0.0, -6399593.6258, 1e-4);
    }
}

TEST(GeodeticTest, NoNumberStaysNoNumber)
{
    EXPECT_TRUE(std::isnan(Geodetic::Geodetic_From_ECEF(kNaN, 0.0, 0.0)[0]));
    EXPECT_TRUE(std::isnan(Geodetic::Geodetic_From_ECEF(6378137.0, 0.0, kNaN)[2]));
    EXPECT_TRUE(std::isnan(Geodetic::ECEF_From_Geodetic(kInfinity, 0.0, 0.0)[0]));
}

TEST(GeodeticTest, TangentPlaneRowsAreNorthEastDown)
{
    // Latitude 30, longitude 60 degrees.
    const Nine expected = {-0.25, -kRoot3 / 4, kRoot3 / 2, -kRoot3 / 2, 0.5, 0.0, -kRoot3 / 4, -0.75, -0.5};
    expectNear(Geodetic::Build_CET(radians(30), radians(60), 0.0), expected, 1e-15);
    expectNear(Geodetic::Build_CET(radians(30), radians(60), kNaN), expected, 1e-15);
}

TEST(GeodeticTest, EnuRowsAreEastNorthUp)
{
    const Nine expected = {-kRoot3 / 2, 0.5, 0.0, -0.25, -kRoot3 / 4, kRoot3 / 2, kRoot3 / 4, 0.75, 0.5};
    expectNear(Geodetic::Build_ECEF_to_ENU_DCM(radians(30), radians(60)), expected, 1e-15);
    expectNear(Geodetic::Build_ECEF_to_ENU_DCM({radians(30), radians(60), kNaN}), expected, 1e-15);
}

TEST(GeodeticTest, EnuIsTheDirectionOfSmallMoves)
{
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> latitudes(-1.5, 1.5), longitudes(-3.1, 3.1);
    for (int i = 0; i < 500; ++i) {
        const double lat = latitudes(random), lon = longitudes(random), step = 1e-6;
        const auto moved = [&](double north, double east, double up) {
            return (Geodetic::ECEF_From_Geodetic(lat + north, lon + east, up) -
                    Geodetic::ECEF_From_Geodetic(lat - north, lon - east, -up))
                .unitized();
        };
        const Matrix3d enu = Geodetic::Build_ECEF_to_ENU_DCM(lat, lon);
        expectNear(enu * moved(0, step, 0), 1.0, 0.0, 0.0, 1e-7);
        expectNear(enu * moved(step, 0, 0), 0.0, 1.0, 0.0, 1e-7);
        expectNear(enu * moved(0, 0, 10.0), 0.0, 0.0, 1.0, 1e-7);
    }
}

TEST(GeodeticTest, BodyToTangentByItsElements)
{
    // Yaw 30, pitch 45, roll 60 degrees.
    const Nine expected = {kRoot3 * kRoot2 / 4,
                           -0.25 + 3 * kRoot2 / 8,
                           kRoot3 * kRoot2 / 8 + kRoot3 / 4,
                           kRoot2 / 4,
                           kRoot2 * kRoot3 / 8 + kRoot3 / 4,
                           -0.75 + kRoot2 / 8,
                           -kRoot2 / 2,
                           kRoot2 * kRoot3 / 4,
                           kRoot2 / 4};
    expectNear(Geodetic::Build_Body_To_Tangent_DCM(radians(30), radians(45), radians(60)), expected, 1e-15);
    expectNear(Geodetic::Build_Body_To_Tangent_DCM({radians(30), radians(45), radians(60)}), expected, 1e-15);
}

TEST(GeodeticTest, BodyToTangentIsYawAfterPitchAfterRoll)
{
    std::mt19937_64 random(6);
    std::uniform_real_distribution<double> angles(-kPi, kPi);
    for (int i = 0; i < 200; ++i) {
        const double yaw = angles(random), pitch = angles(random), roll = angles(random);
        const Matrix3d product = Matrix3d().Build_DCM_rotateZ(yaw) * Matrix3d().Build_DCM_rotateY(pitch) *
                                 Matrix3d().Build_DCM_rotateX(roll);
        expectNear(Geodetic::Build_Body_To_Tangent_DCM(yaw, pitch, roll) - product, {0, 0, 0, 0, 0, 0, 0, 0, 0}, 1e-15);
    }
}

TEST(GeodeticTest, AzimuthCountsFromNorthThroughEast)
{
    expectNear(Geodetic::ENU_ToAzEl({0, 5, 0}), 0.0, 0.0, 0.0, 0.0);
    expectNear(Geodetic::ENU_ToAzEl({5, 0, 0}), kPi / 2, 0.0, 0.0, 1e-15);
    expectNear(Geodetic::ENU_ToAzEl({0, -5, 0}), kPi, 0.0, 0.0, 1e-15);
    expectNear(Geodetic::ENU_ToAzEl({1, 1, kRoot2}), kPi / 4, kPi / 4, 0.0, 1e-15);
    expectNear(Geodetic::ENU_ToAzEl({0, 0, -7}), 0.0, -kPi / 2, 0.0, 1e-15);
}

TEST(GeodeticTest, AzimuthOfWestIsPositiveByTheShortTurn)
{
    const double azimuth = Geodetic::ENU_ToAzEl({-1, 0, 0})[0];
    EXPECT_NEAR(azimuth, 4.71, 0.003);
    EXPECT_EQ(azimuth, 6.2831853071796 - kPi / 2);
    EXPECT_NE(azimuth, 2 * kPi - kPi / 2);
}

TEST(GeodeticTest, ZeroVectorHasAzimuthAndElevationZero)
{
    expectNear(Geodetic::ENU_ToAzEl({0, 0, 0}), 0.0, 0.0, 0.0, 0.0);
}

TEST(GeodeticTest, ElementsBeyondOneHaveNoAngle)
{
    // What has no magnitude isn't unitized.
    EXPECT_EQ(Geodetic::ENU_ToAzEl({0.5, kNaN, 3.0})[1], 0.0);
    EXPECT_EQ(Geodetic::ENU_ToAzEl({0.5, kNaN, -3.0})[1], 0.0);
    EXPECT_EQ(Geodetic::ENU_ToAzEl({2.0, kNaN, 0.5})[0], 0.0);
    EXPECT_EQ(Geodetic::ENU_ToAzEl({kNaN, -2.0, 0.5})[0], 0.0);
    EXPECT_EQ(Geodetic::ENU_ToAzEl({-2.0, 0.0, kNaN})[0], 0.0);
    EXPECT_NEAR(Geodetic::ENU_ToAzEl({2.0, kNaN, 0.5})[1], kPi / 6, 1e-15);
}

TEST(GeodeticTest, DirectionOfAzimuthAndElevation)
{
    expectNear(Geodetic::AzElRadTo_UnitVector3dENU({radians(30), radians(60), 9.0}), 0.25, kRoot3 / 4, kRoot3 / 2,
               1e-15);
    expectNear(Geodetic::AzElRadTo_UnitVector3dENU({radians(300), radians(-30), 0.0}), -0.75, kRoot3 / 4, -0.5, 1e-15);
}

TEST(GeodeticTest, DirectionsComeBack)
{
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> azimuths(0.0, 6.28), elevations(-1.5, 1.5), lengths(0.1, 1e7);
    for (int i = 0; i < 2000; ++i) {
        const double azimuth = azimuths(random), elevation = elevations(random);
        const Vector3d direction = Geodetic::AzElRadTo_UnitVector3dENU({azimuth, elevation, 0.0}) * lengths(random);
        expectNear(Geodetic::ENU_ToAzEl(direction), azimuth, elevation, 0.0, 1e-13);
    }
}

TEST(GeodeticTest, PlatformFormulasAreNoInverses)
{
    const double heading = radians(30);
    expectNear(NEDToPlatform({1, 2, 3}, heading), 0.5 + kRoot3, kRoot3 / 2 - 1, -3.0, 1e-15);
    expectNear(PlatformToNED({1, 2, 3}, heading), -0.5 + kRoot3, 1 + kRoot3 / 2, -3.0, 1e-15);
    // cos(60), -sin(60) and sin(60), cos(60) instead of the identity.
    expectNear(PlatformToNED(NEDToPlatform({1, 0, 0}, heading), heading), 0.5, kRoot3 / 2, 0.0, 1e-15);
}

TEST(GeodeticTest, HalfATurnBecomesTheNegativeOne)
{
    EXPECT_EQ(modPi(kPi), -kPi);
    EXPECT_EQ(modPi(-kPi), -kPi);
    EXPECT_EQ(modPi(std::nextafter(kPi, 0.0)), std::nextafter(kPi, 0.0));
    EXPECT_EQ(modPi(3 * kPi), -kPi);
}

TEST(GeodeticTest, AnglesComeWithinHalfATurn)
{
    EXPECT_EQ(modPi(1.25), 1.25);
    EXPECT_NEAR(modPi(4.0), 4.0 - 2 * kPi, 1e-15);
    EXPECT_NEAR(modPi(-4.0), 2 * kPi - 4.0, 1e-15);
    EXPECT_NEAR(modPi(1.0 + 200 * kPi), 1.0, 1e-11);
    EXPECT_NEAR(modPi(-1.0 - 200 * kPi), -1.0, 1e-11);
    EXPECT_TRUE(std::signbit(modPi(-0.0)));
}

TEST(GeodeticTest, WildAnglesEnd)
{
    for (const double angle : {1e6, -1e9, 1e15, -9.7e39, 1e300}) EXPECT_LE(std::abs(modPi(angle)), kPi) << angle;
    EXPECT_TRUE(std::isnan(modPi(kInfinity)));
    EXPECT_TRUE(std::isnan(modPi(-kInfinity)));
    EXPECT_TRUE(std::isnan(modPi(kNaN)));
}

TEST(GeodeticTest, MinutesCountAwayFromZero)
{
    EXPECT_EQ(DDMM2Degrees(-10, 30), -10.5);
    EXPECT_EQ(DDMM2Degrees(-10, -30), -10.5);
    EXPECT_EQ(DDMM2Degrees(10, -30), 10.5);
    EXPECT_EQ(DDMMSS2Degrees(10, 30, 36), 10.51);
    EXPECT_EQ(DDMMSS2Degrees(-10, -30, -36), -10.51);
}

TEST(GeodeticTest, DegreesOfZeroArePositive)
{
    EXPECT_EQ(DDMM2Degrees(0, 30), 0.5);
    EXPECT_EQ(DDMM2Degrees(-0.0, 30), 0.5);
    EXPECT_EQ(DDMM2Degrees(0, -30), 0.5);
    EXPECT_EQ(DDMMSS2Degrees(-0.0, 15, -900), 0.5);
}

TEST(GeodeticTest, TruncateIsTowardZero)
{
    EXPECT_EQ(truncate(2.9), 2.0);
    EXPECT_EQ(truncate(-2.9), -2.0);
    EXPECT_EQ(truncate(1e300), 1e300);
    EXPECT_TRUE(std::signbit(truncate(-0.5)));
}

TEST(GeodeticTest, SignOfDegreesAndMinutesIsThatOfTheDegrees)
{
    double d = 0.0, m = 0.0;
    DegreesToDDMM(-10.5, d, m);
    EXPECT_EQ(d, -10.0);
    EXPECT_EQ(m, 30.0);
    DegreesToDDMM(-0.25, d, m);
    EXPECT_EQ(d, 0.0);
    EXPECT_TRUE(std::signbit(d));
    EXPECT_EQ(m, 15.0);
}

TEST(GeodeticTest, DegreesMinutesAndSeconds)
{
    double d = 0.0, m = 0.0, s = 0.0;
    DegreesToDDMMSS(12.50625, d, m, s);
    EXPECT_EQ(d, 12.0);
    EXPECT_EQ(m, 30.0);
    EXPECT_NEAR(s, 22.5, 1e-10);
    DegreesToDDMMSS(-12.50625, d, m, s);
    EXPECT_EQ(d, -12.0);
    EXPECT_EQ(m, 30.0);
    EXPECT_NEAR(s, 22.5, 1e-10);
}

TEST(GeodeticTest, ConstantsAreThoseInUse)
{
    EXPECT_EQ(Geodetic::SEMI_MAJOR_AXIS, 6378137.0);
    EXPECT_EQ(Geodetic::ECCENTRICITY_SQUARED, 0.0066943799901414);
    EXPECT_EQ(Geodetic::ONE_MINUS_ECCENTRICITY_SQUARED, 0.9933056200098586);
    EXPECT_EQ(Geodetic::HEIGHT_CONVERGENCE, 0.01);
    EXPECT_EQ(Geodetic::AZIMUTH_TURN, 6.2831853071796);
}
