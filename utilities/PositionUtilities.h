#ifndef UTILITIES_POSITIONUTILITIES_H
#define UTILITIES_POSITIONUTILITIES_H

/// Figures of merit. Pure functions, any thread.
namespace PositionUtilities {

/// Figure of merit of a position, 1 (best, up to 25 m) to 9 (worst, also for a variance that is not finite).
/// @param variance  m^2, sum over the three axes; a negative one counts as best
int PosVar2Fom(double variance);

/// Estimated figure of merit, which divides the best class of `PosVar2Fom` further: 1 (up to 1 m) to 5 (above 10 m,
/// also for a variance that is not finite).
/// @param variance  as for `PosVar2Fom`
int PosVar2Efom(double variance);

}  // namespace PositionUtilities

#endif
