#ifndef UTILITIES_ANGLEUTILITY_H
#define UTILITIES_ANGLEUTILITY_H

/// Angles and other values of a limited range. Pure functions, any thread.
namespace AngleUtility {

/// An azimuth counted from north as one counted from east.
/// @param azimuth  degrees
/// @return `azimuth - 90`, plus 360 once if that is negative, degrees
double NorthAzToGDIAngle(double azimuth);

/// `value` in the closed range 0 to `maximum`, by whole steps of `maximum` (see `normalizeRange`).
double NormalizeValue(double value, double maximum);

/// `value` in the closed range `minimum` to `maximum`, by whole steps of their difference (see `normalizeRange`).
double NormalizeValue(double value, double minimum, double maximum);

/// `value`, or the limit that it exceeds. Throws `std::invalid_argument` unless `maximum` is greater than `minimum`.
double ConstrainRange(double value, double minimum, double maximum);

}  // namespace AngleUtility

#endif
