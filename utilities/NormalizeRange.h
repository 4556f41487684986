#ifndef UTILITIES_NORMALIZERANGE_H
#define UTILITIES_NORMALIZERANGE_H

/// Brings a periodic quantity into the closed range `minimum` to `maximum`: adds `width` while the value is below
/// `minimum`, then subtracts it while the value is above `maximum`. All four are of one unit.
///
/// The result is that of the two loops to the last bit, closed ends and signed zeros included: 720 in 0..360 gives 360,
/// -360 gives +0, -0 stays. Only a value more than 4096 widths outside is brought near by a remainder first, so that
/// every call ends at once. There it equals the loops for whole ends and widths such as 180, 360 or 604800 up to 2^53,
/// and for others is nearer the truth than thousands of rounded steps.
///
/// @param width    `maximum - minimum`, or its value as a table gives it (6.283185307179586 for -pi..pi). Not above
///                 zero or not finite: the value comes back unchanged.
/// @return NaN for an infinite value; NaN stays. Any thread.
double normalizeRange(double value, double minimum, double maximum, double width);

#endif
