#include "ioss_mcsq/ThreatData.h"

#include "ioss_mcsq/BitGroup.h"
#include "utilities/NormalizeRange.h"

#include <bit>
#include <cstring>
#include <limits>

namespace {

static_assert(std::endian::native == std::endian::little && std::numeric_limits<double>::is_iec559);

constexpr BitGroup kStateOfA = {0, 2};
constexpr BitGroup kPowerValidOfA = {3, 1};
constexpr BitGroup kBandwidthValidOfA = {5, 1};
constexpr BitGroup kBearingOfB = {0, 1};
constexpr BitGroup kConfidenceValidOfB = {1, 1};
constexpr BitGroup kConfidenceOfB = {2, 4};
constexpr std::uint8_t kStateToReport = 2;

constexpr double kSecondsOfWeek = 604800.0;
constexpr double kDefaultBandwidthHz = 3.3e7;

/// The data block. The doubles are not aligned in the frame, so it stands for the offsets only.
struct Block {
    double gpsTime;
    double lat;
    double lon;
    double alt;
    std::uint16_t Pos_Accuracy;
    std::uint8_t reserved34[4];
    ThreatEntry threats[ThreatData::kThreats];
};
static_assert(sizeof(Block) == 200);
static_assert(offsetof(Block, lat) == 8 && offsetof(Block, lon) == 16 && offsetof(Block, alt) == 24);
static_assert(offsetof(Block, Pos_Accuracy) == 32 && offsetof(Block, threats) == 38);

template <class T>
T load(const packed_ThreatData_t& frame, std::size_t offset)
{
    T value;
    std::memcpy(&value, frame.data().subspan(offset).first(sizeof(T)).data(), sizeof(T));
    return value;
}

}  // namespace

bool ThreatEntry::isReported() const
{
    return bitsOf(statusA, kStateOfA) == kStateToReport && bitsOf(statusB, kBearingOfB) != 0;
}

bool ThreatEntry::hasPower() const
{
    return bitsOf(statusA, kPowerValidOfA) != 0;
}

bool ThreatEntry::hasConfidence() const
{
    return bitsOf(statusB, kConfidenceValidOfB) != 0;
}

unsigned ThreatEntry::confidence() const
{
    return bitsOf(statusB, kConfidenceOfB) * 25u;
}

double ThreatEntry::centerHz() const
{
    return Center * 50000.0;
}

double ThreatEntry::bandwidthHz() const
{
    return bitsOf(statusA, kBandwidthValidOfA) != 0 ? BW * 1000.0 : kDefaultBandwidthHz;
}

ThreatData::ThreatData() : m_packed{}
{
    attachFrame(m_packed.words, 100, 15051, kGssipFlagsDefault);
}

void ThreatData::debugPrintMessage() {}

double ThreatData::gpsTime() const
{
    return load<double>(m_packed, offsetof(Block, gpsTime));
}

void ThreatData::setGpsTime(double seconds)
{
    const double normalized = normalizeRange(seconds, 0.0, kSecondsOfWeek, kSecondsOfWeek);
    std::memcpy(m_packed.data().data() + offsetof(Block, gpsTime), &normalized, sizeof(normalized));
}

double ThreatData::lat() const
{
    return load<double>(m_packed, offsetof(Block, lat));
}

double ThreatData::lon() const
{
    return load<double>(m_packed, offsetof(Block, lon));
}

double ThreatData::alt() const
{
    return load<double>(m_packed, offsetof(Block, alt));
}

std::uint16_t ThreatData::Pos_Accuracy() const
{
    return load<std::uint16_t>(m_packed, offsetof(Block, Pos_Accuracy));
}

ThreatEntry ThreatData::threat(std::size_t index) const
{
    if (index >= kThreats) return {};
    return load<ThreatEntry>(m_packed, offsetof(Block, threats) + index * sizeof(ThreatEntry));
}
