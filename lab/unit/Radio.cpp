#include "lab/unit/Radio.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace unitsim {

double pathLossDb(double metres, double megahertz)
{
    constexpr double kLight = 299792458.0;  // m/s
    const double distance = std::max(metres, kNearestMetres);
    return 20.0 * std::log10(4.0 * std::numbers::pi * distance * megahertz * 1e6 / kLight);
}

bool reachesL1(double centerMhz, double bandwidthMhz)
{
    return std::abs(centerMhz - kL1Mhz) <= kChipRateHz / 1e6 + bandwidthMhz / 2.0;
}

double disturbedDbHz(double jamDbm)
{
    if (std::isinf(jamDbm)) return kUndisturbedDbHz;  // exactly, so that errors are as without any source
    const double noise = std::pow(10.0, -kUndisturbedDbHz / 10.0);
    const double jam = std::pow(10.0, (jamDbm - kGpsSignalDbm) / 10.0) / kChipRateHz;
    return -10.0 * std::log10(noise + jam);
}

double noiseFactor(double dbHz)
{
    return std::pow(10.0, (kUndisturbedDbHz - dbHz) / 20.0);
}

}  // namespace unitsim
