#ifndef LAB_UNIT_INPUTFAULTS_H
#define LAB_UNIT_INPUTFAULTS_H

#include "lab/unit/Events.h"
#include "lab/unit/Navigation.h"
#include "lab/unit/Outputs.h"

#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"

#include <cstdint>
#include <random>

namespace unitsim {

/// One of the outputs, sound or with a fault. The same seed, output and calls give the same. One thread at a time.
class FaultyInput {
public:
    FaultyInput(std::uint64_t seed, Output output);

    /// From now on, begun anew.
    void set(const Fault& fault);

    const Fault& fault() const { return m_fault; }
    bool is(Fault::Kind kind) const { return m_fault.kind == kind; }

    /// Whether the present epoch goes without it. Called once an epoch.
    bool skipsEpoch();

    /// How much later than its epoch it is sent.
    double delaySeconds() const { return is(Fault::Kind::Delayed) ? m_fault.amount : 0.0; }

    std::mt19937_64& random() { return m_random; }

private:
    std::mt19937_64 m_random;
    Fault m_fault;
    std::uint64_t m_epochs = 0;  // since the fault began
};

/// A solution whose errors and claimed deviations are `factor` times as large.
Solution scaled(const Solution& solution, double factor);

/// What an output that is wrong is made of: position so many metres to the north, or time so many seconds ahead.
Solution wrongSolution(const Solution& solution, Output output, double amount);

/// Used none of the measurements.
void useNothing(aspn2_msgs::idl::MeasurementIncorporationStatus& record);

/// Every number at random, as bits; sequences keep their lengths. Of a frame only what stands behind its header, so that
/// its checksum is wrong but for one time in 65536.
void scramble(aspn2_msgs::idl::PositionVelocityAttitude& record, std::mt19937_64& random);
void scramble(aspn2_msgs::idl::UTCTime& record, std::mt19937_64& random);
void scramble(aspn2_msgs::idl::HalvexPNT& record, std::mt19937_64& random);
void scramble(aspn2_msgs::idl::MeasurementIncorporationStatus& record, std::mt19937_64& random);
void scramble(aspn2_msgs::idl::AssuranceState& record, std::mt19937_64& random);
void scramble(aspn2_msgs::idl::GSSIP& record, std::mt19937_64& random);

}  // namespace unitsim

#endif
