#ifndef UTILITIES_RSS_H
#define UTILITIES_RSS_H

/// Root of the sum of squares, for values of one unit. Pure functions, any thread.
namespace RSS {

/// `sum + value * value`.
double SquareSum(double sum, double value);

/// The square root of `x`, 0.0 where `x` is below 2.220446049250313e-16, negative values included. NaN stays.
double RootIt(double x);

/// The root of the sum of the squares of two to six values, added in their order.
double Rss(double a, double b, double c = 0.0, double d = 0.0, double e = 0.0, double f = 0.0);

}  // namespace RSS

#endif
