#ifndef LAB_CTL_SERVE_ERRORELLIPSE_H
#define LAB_CTL_SERVE_ERRORELLIPSE_H

#include <optional>

namespace orvanectl {

/// Where a position is with 95 percent, in the plane of the ground.
struct ErrorEllipse {
    double majorMetres;     ///< half of the long axis
    double minorMetres;     ///< half of the short one
    double azimuthDegrees;  ///< of the long axis, from north over east, 0 to 180
};

/// Of a covariance in m^2. Nothing for one that is none: not finite, or with a negative eigenvalue. Any thread.
std::optional<ErrorEllipse> errorEllipse(double northNorth, double northEast, double eastEast);

}  // namespace orvanectl

#endif
