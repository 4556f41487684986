#ifndef UTILITIES_BOXVEHTRANSFORM_H
#define UTILITIES_BOXVEHTRANSFORM_H

/// The axes of a box that is mounted along the axes of its vehicle in one of 24 ways. Each function permutes and
/// negates the components of a vector x, y, z, and does the same with a second one, x2, y2, z2. Outputs may be the
/// variables that the inputs come from. Exact, signed zeros included (0 negated is -0). Pure; any thread.
/// @param code  the mounting, 0 (as the vehicle) to 23; any other copies both vectors

void BoxToVeh(int code, double& outX, double& outY, double& outZ, double& outX2, double& outY2, double& outZ2, double x,
              double y, double z, double x2, double y2, double z2);

/// Undoes `BoxToVeh` of the same code.
void VehToBox(int code, double& outX, double& outY, double& outZ, double& outX2, double& outY2, double& outZ2, double x,
              double y, double z, double x2, double y2, double z2);

#endif
