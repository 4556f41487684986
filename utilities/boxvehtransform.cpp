#include "utilities/boxvehtransform.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

/// An input axis, its number negated where the output has the opposite sense.
enum Axis { X = 1, Y = 2, Z = 3 };

/// The three outputs in terms of the inputs.
using Mapping = std::array<int, 3>;

struct Mounting {
    Mapping boxToVeh;
    Mapping vehToBox;
};

// clang-format off
constexpr std::array<Mounting, 24> kMountings = {{
    {{ X,  Y,  Z}, { X,  Y,  Z}},
    {{-X,  Y, -Z}, {-X,  Y, -Z}},
    {{-X, -Z, -Y}, {-X, -Z, -Y}},
    {{-X, -Y,  Z}, {-X, -Y,  Z}},
    {{ Z,  X,  Y}, { Y,  Z,  X}},
    {{ Z, -Y,  X}, { Z, -Y,  X}},
    {{ Z, -X, -Y}, {-Y, -Z,  X}},
    {{ Z,  Y, -X}, {-Z,  Y,  X}},
    {{ Y,  Z,  X}, { Z,  X,  Y}},
    {{ Y,  X, -Z}, { Y,  X, -Z}},
    {{ Y, -Z, -X}, {-Z,  X, -Y}},
    {{ Y, -X,  Z}, {-Y,  X,  Z}},
    {{ X, -Z,  Y}, { X,  Z, -Y}},
    {{-X,  Z,  Y}, {-X,  Z,  Y}},
    {{ X,  Z, -Y}, { X, -Z,  Y}},
    {{ X, -Y, -Z}, { X, -Y, -Z}},
    {{-Z, -X,  Y}, {-Y,  Z, -X}},
    {{-Z,  Y,  X}, { Z,  Y, -X}},
    {{-Z,  X, -Y}, { Y, -Z, -X}},
    {{-Z, -Y, -X}, {-Z, -Y, -X}},
    {{-Y,  Z, -X}, {-Z, -X,  Y}},
    {{-Y, -X, -Z}, {-Y, -X, -Z}},
    {{-Y, -Z,  X}, { Z, -X, -Y}},
    {{-Y,  X,  Z}, { Y, -X,  Z}},
}};
// clang-format on

/// True when `inverse` of the outputs of `mapping` is the inputs.
constexpr bool undoes(const Mapping& inverse, const Mapping& mapping)
{
    for (int axis = X; axis <= Z; ++axis) {
        const int from = inverse[static_cast<std::size_t>(axis - 1)];
        const int source = mapping[static_cast<std::size_t>((from < 0 ? -from : from) - 1)];
        if ((from < 0 ? -source : source) != axis) return false;
    }
    return true;
}

static_assert(std::ranges::all_of(kMountings, [](const Mounting& row) { return undoes(row.vehToBox, row.boxToVeh); }));

using Vector = std::array<double, 3>;

void map(const Mapping& mapping, const Vector& in, double& outX, double& outY, double& outZ)
{
    const auto component = [&in](int axis) {
        return axis < 0 ? -in[static_cast<std::size_t>(-axis - 1)] : in[static_cast<std::size_t>(axis - 1)];
    };
    outX = component(mapping[0]);
    outY = component(mapping[1]);
    outZ = component(mapping[2]);
}

const Mounting& mountingOf(int code)
{
    const bool known = code > 0 && static_cast<std::size_t>(code) < kMountings.size();
    return kMountings[known ? static_cast<std::size_t>(code) : 0];
}

}  // namespace

void BoxToVeh(int code, double& outX, double& outY, double& outZ, double& outX2, double& outY2, double& outZ2, double x,
              double y, double z, double x2, double y2, double z2)
{
    const Mapping& mapping = mountingOf(code).boxToVeh;
    map(mapping, {x, y, z}, outX, outY, outZ);
    map(mapping, {x2, y2, z2}, outX2, outY2, outZ2);
}

void VehToBox(int code, double& outX, double& outY, double& outZ, double& outX2, double& outY2, double& outZ2, double x,
              double y, double z, double x2, double y2, double z2)
{
    const Mapping& mapping = mountingOf(code).vehToBox;
    map(mapping, {x, y, z}, outX, outY, outZ);
    map(mapping, {x2, y2, z2}, outX2, outY2, outZ2);
}
