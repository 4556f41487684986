#include "lab/unit/InputFaults.h"

#include "aspn2_msgs/Layout.h"
#include "ioss_mcsq/gps_msgs.h"
#include "lab/unit/Geometry.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <type_traits>

namespace unitsim {

namespace {

namespace layout = aspn2_msgs::idl::layout;

std::mt19937_64 engineOf(std::uint64_t seed, Output output)
{
    constexpr std::uint32_t kFaults = 3;  // other kinds of random events have 1 and 2
    std::seed_seq sequence{static_cast<std::uint32_t>(seed), static_cast<std::uint32_t>(seed >> 32), kFaults,
                           static_cast<std::uint32_t>(indexOf(output))};
    return std::mt19937_64(sequence);
}

template <class T>
void scrambleField(T& field, std::mt19937_64& random)
{
    if constexpr (std::is_enum_v<T>) {
        field = static_cast<T>(static_cast<std::underlying_type_t<T>>(random()));
    } else if constexpr (std::is_same_v<T, bool>) {
        field = (random() & 1) != 0;
    } else if constexpr (std::is_same_v<T, double>) {
        field = std::bit_cast<double>(std::uint64_t{random()});
    } else if constexpr (std::is_same_v<T, float>) {
        field = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    } else if constexpr (std::is_arithmetic_v<T>) {
        field = static_cast<T>(random());
    } else if constexpr (layout::kIsArray<T> || layout::kIsSequence<T>) {
        for (auto& element : field) scrambleField(element, random);
    } else if constexpr (layout::Record<T>) {
        auto deeper = [&random](auto& part) { scrambleField(part, random); };
        layout::Access::eachField(field, deeper);
    }
}

}  // namespace

FaultyInput::FaultyInput(std::uint64_t seed, Output output) : m_random(engineOf(seed, output)) {}

void FaultyInput::set(const Fault& fault)
{
    m_fault = fault;
    m_epochs = 0;
}

bool FaultyInput::skipsEpoch()
{
    const std::uint64_t epoch = m_epochs++;
    switch (m_fault.kind) {
    case Fault::Kind::Off:
        return true;
    case Fault::Kind::Slow:
        return epoch % static_cast<std::uint64_t>(m_fault.amount) != 0;
    case Fault::Kind::Intermittent:
        // The upper 53 bits as a fraction below 1.
        return static_cast<double>(m_random() >> 11) * 0x1p-53 < m_fault.amount;
    case Fault::Kind::None:
    case Fault::Kind::Stuck:
    case Fault::Kind::Garbage:
    case Fault::Kind::Wrong:
    case Fault::Kind::Delayed:
        return false;
    }
    return false;
}

Solution scaled(const Solution& solution, double factor)
{
    if (factor == 1.0) return solution;
    Solution result = solution;
    const double timeError = static_cast<double>(solution.time.nanoseconds - solution.trueTime.nanoseconds);
    result.time.nanoseconds = solution.trueTime.nanoseconds + std::llround(factor * timeError);
    const auto scale = [&](double& value, double truth) { value = truth + factor * (value - truth); };
    for (std::size_t axis = 0; axis < 3; ++axis) {
        scale(result.state.position[axis], solution.truth.position[axis]);
        scale(result.state.velocity[axis], solution.truth.velocity[axis]);
        scale(result.state.attitude[axis], solution.truth.attitude[axis]);
        result.positionError[axis] *= factor;
        result.velocityError[axis] *= factor;
        result.attitudeError[axis] *= factor;
    }
    result.timeError *= factor;
    return result;
}

Solution wrongSolution(const Solution& solution, Output output, double amount)
{
    Solution result = solution;
    if (output == Output::UTCTime || output == Output::Report8504)
        result.time.nanoseconds += std::llround(amount * 1e9);
    else
        result.state.position[0] += amount / (meridianRadius(result.state.position[0]) + result.state.position[2]);
    return result;
}

void useNothing(aspn2_msgs::idl::MeasurementIncorporationStatus& record)
{
    for (auto& set : record.meas_types()) set.meas_used(0);
}

void scramble(aspn2_msgs::idl::PositionVelocityAttitude& record, std::mt19937_64& random)
{
    scrambleField(record, random);
}

void scramble(aspn2_msgs::idl::UTCTime& record, std::mt19937_64& random)
{
    scrambleField(record, random);
}

void scramble(aspn2_msgs::idl::HalvexPNT& record, std::mt19937_64& random)
{
    scrambleField(record, random);
}

void scramble(aspn2_msgs::idl::MeasurementIncorporationStatus& record, std::mt19937_64& random)
{
    scrambleField(record, random);
}

void scramble(aspn2_msgs::idl::AssuranceState& record, std::mt19937_64& random)
{
    scrambleField(record, random);
}

void scramble(aspn2_msgs::idl::GSSIP& record, std::mt19937_64& random)
{
    for (std::size_t i = kGssipHeaderWords * 2; i < record.data().size(); ++i)
        record.data()[i] = static_cast<std::uint8_t>(random());
}

}  // namespace unitsim
