#include "utilities/RSS.h"

#include <cmath>
#include <initializer_list>
#include <limits>

namespace RSS {

double SquareSum(double sum, double value)
{
    return sum + value * value;
}

double RootIt(double x)
{
    return x < std::numeric_limits<double>::epsilon() ? 0.0 : std::sqrt(x);
}

double Rss(double a, double b, double c, double d, double e, double f)
{
    double sum = 0.0;
    for (const double value : {a, b, c, d, e, f}) sum = SquareSum(sum, value);
    return RootIt(sum);
}

}  // namespace RSS
