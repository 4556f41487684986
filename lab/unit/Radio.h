#ifndef LAB_UNIT_RADIO_H
#define LAB_UNIT_RADIO_H

/// What a source of interference does to a GPS receiver. Pure functions, any thread. Powers are dBm, at an antenna that
/// hears all directions alike. There is no terrain, no horizon and no weather.
namespace unitsim {

constexpr double kL1Mhz = 1575.42;
constexpr double kGpsSignalDbm = -131.5;   ///< of L1 P(Y) at the ground, at least (IS-GPS-200: -161.5 dBW)
constexpr double kChipRateHz = 10.23e6;    ///< of the P(Y) code, which the receiver tracks
constexpr double kUndisturbedDbHz = 45.0;  ///< carrier to noise density without interference
constexpr double kLostBelowDbHz = 28.0;    ///< of the disturbed one: tracking ends
constexpr double kBackFromDbHz = 33.0;     ///< signals are found again
constexpr double kNearestMetres = 1.0;     ///< what is nearer is taken to be there: far field

/// Free-space path loss, dB: 20 log10(4 pi d f / c) (ITU-R P.525).
double pathLossDb(double metres, double megahertz);

/// Whether a source reaches into the band of the code around L1.
/// @param bandwidthMhz  between its edges
bool reachesL1(double centerMhz, double bandwidthMhz);

/// Carrier to noise density with interference, dB-Hz: -10 log10(10^(-(C/N0)/10) + 10^((J/S)/10) / (Q Rc)) (Kaplan and
/// Hegarty, Understanding GPS/GNSS) with Q = 1 and the P(Y) code.
/// @param jamDbm  of all sources together; minus infinity for none
double disturbedDbHz(double jamDbm);

/// How many times larger the errors of a fix are: the code loop's deviation goes with one over the root of the carrier
/// to noise density.
/// @return 1 without interference
double noiseFactor(double dbHz);

}  // namespace unitsim

#endif
