#include "utilities/AngleUtility.h"

#include "utilities/NormalizeRange.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace AngleUtility {

double NorthAzToGDIAngle(double azimuth)
{
    const double angle = azimuth - 90.0;
    return angle < 0.0 ? angle + 360.0 : angle;
}

double NormalizeValue(double value, double maximum)
{
    return normalizeRange(value, 0.0, maximum, maximum);
}

double NormalizeValue(double value, double minimum, double maximum)
{
    return normalizeRange(value, minimum, maximum, maximum - minimum);
}

double ConstrainRange(double value, double minimum, double maximum)
{
    if (!(maximum > minimum)) {
        std::ostringstream text;
        text << "maxrange must be greater than minrange: minrange:" << minimum << " maxrange:" << maximum;
        throw std::invalid_argument(text.str());
    }
    return std::clamp(value, minimum, maximum);
}

}  // namespace AngleUtility
