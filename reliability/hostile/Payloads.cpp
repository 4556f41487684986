#include "reliability/hostile/Payloads.h"

#include "aspn2_msgs/AssuranceStatePubSubTypes.h"
#include "aspn2_msgs/BitReportPubSubTypes.h"
#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "aspn2_msgs/EventLogPubSubTypes.h"
#include "aspn2_msgs/HalvexPNTPubSubTypes.h"
#include "aspn2_msgs/MaintenanceEventPubSubTypes.h"
#include "aspn2_msgs/MeasurementIncorporationStatusPubSubTypes.h"
#include "aspn2_msgs/PositionVelocityAttitudePubSubTypes.h"
#include "aspn2_msgs/UTCTimePubSubTypes.h"
#include "tests/aspn2_msgs/AllRecords.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <exception>
#include <limits>
#include <stdexcept>

namespace {

/// Numbers as far out as they go, small counts, and texts of any bytes but zero.
class Extremes : public Source {
public:
    explicit Extremes(std::mt19937& random) : m_random(random) {}

    bool boolean() override { return below(2) == 1; }
    char character() override { return static_cast<char>(below(256)); }
    std::uint8_t byte() override { return static_cast<std::uint8_t>(below(256)); }
    std::int32_t int32() override { return static_cast<std::int32_t>(int64()); }
    std::int64_t int64() override
    {
        constexpr std::array<std::int64_t, 10> kValues = {
            0, -1, 1, INT32_MAX, INT32_MIN, std::int64_t{INT32_MAX} + 1, INT64_MAX, INT64_MIN, 999999999, 1000000000};
        return kValues[below(kValues.size())];
    }
    float float32() override { return static_cast<float>(float64()); }
    double float64() override
    {
        using Limits = std::numeric_limits<double>;
        constexpr std::array<double, 10> kValues = {Limits::quiet_NaN(),
                                                    Limits::infinity(),
                                                    -Limits::infinity(),
                                                    FLT_MAX,
                                                    -FLT_MAX,
                                                    Limits::denorm_min(),
                                                    -0.0,
                                                    1e308 / 1e270,
                                                    -1e-300,
                                                    360.0};
        return kValues[below(kValues.size())];
    }
    std::uint32_t enumeration() override { return static_cast<std::uint32_t>(int64()); }
    std::string text() override
    {
        std::string text(below(300), ' ');
        for (char& one : text) one = static_cast<char>(1 + below(255));
        return text;
    }
    std::size_t count() override { return below(60); }

private:
    std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random); }

    std::mt19937& m_random;
};

using SerializedPayload = eprosima::fastrtps::rtps::SerializedPayload_t;

template <class Record, class Support>
Payload extremeOf(std::mt19937& random, std::int32_t device, std::int64_t seconds)
{
    Record record;
    Extremes extremes(random);
    eachFieldOf(record, Fill{extremes});
    record.header().device_id(device);
    record.header().timestamp_valid().sec(seconds);
    record.header().timestamp_valid().nsec(0);
    Support support;
    eprosima::fastrtps::rtps::SerializedPayload_t payload(support.getSerializedSizeProvider(&record)());
    if (!support.serialize(&record, &payload)) throw std::runtime_error("cannot serialize a record");
    return {payload.data, payload.data + payload.length};
}

template <class Record, class Support>
std::optional<Stamp> stampIn(const Payload& payload)
{
    SerializedPayload bytes(static_cast<std::uint32_t>(payload.size()));
    std::copy(payload.begin(), payload.end(), bytes.data);
    bytes.length = bytes.max_size;
    Record record;
    try {
        if (!Support().deserialize(&bytes, &record)) return std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
    const auto& valid = record.header().timestamp_valid();
    return Stamp{static_cast<std::uint8_t>(static_cast<std::uint32_t>(record.header().device_id()) >> 16),
                 static_cast<double>(valid.sec()) + 1e-9 * static_cast<double>(valid.nsec())};
}

struct Row {
    const char* type;
    Payload (*extreme)(std::mt19937& random, std::int32_t device, std::int64_t seconds);
    std::optional<Stamp> (*stamp)(const Payload& payload);
};

#define ROW(Name)                                                                                                      \
    Row                                                                                                                \
    {                                                                                                                  \
#Name, &extremeOf < aspn2_msgs::idl::Name, aspn2_msgs::idl::Name##PubSubType>,                                 \
            &stampIn < aspn2_msgs::idl::Name, aspn2_msgs::idl::Name##PubSubType>                                       \
    }
constexpr Row kRows[] = {ROW(AssuranceState),
                         ROW(BitReport),
                         ROW(CommandResponse),
                         ROW(EventLog),
                         ROW(HalvexPNT),
                         ROW(MaintenanceEvent),
                         ROW(MeasurementIncorporationStatus),
                         ROW(PositionVelocityAttitude),
                         ROW(UTCTime)};
#undef ROW

const Row& rowOf(const std::string& type)
{
    for (const Row& row : kRows)
        if (type == row.type) return row;
    throw std::invalid_argument("no payloads of the type " + type);
}

}  // namespace

Payloads::Payloads(const std::string& type, std::uint32_t seed, std::int32_t device, std::int64_t seconds)
    : m_extreme(rowOf(type).extreme), m_random(seed), m_device(device), m_seconds(seconds)
{}

std::optional<Stamp> stampOf(const std::string& type, const Payload& payload)
{
    return rowOf(type).stamp(payload);
}

double shareThatFits(const std::vector<PoisonedInput>& inputs, std::int32_t device, std::int64_t seconds)
{
    constexpr int kTried = 4000, kBetweenGood = 100;
    std::vector<Payloads> payloads;
    for (const PoisonedInput& input : inputs) payloads.emplace_back(input.type, input.seed, device, seconds);
    std::vector<bool> fits(inputs.size(), true);
    int fitting = 0;
    for (int i = 0; i < kTried; ++i) {
        for (std::size_t input = 0; input < inputs.size(); ++input) {
            const auto stamp = stampOf(inputs[input].type, payloads[input].next());
            if (i % kBetweenGood == 0)
                fits[input] = true;
            else if (stamp && stamp->server == inputs[input].wanted.value_or(stamp->server))
                fits[input] = std::abs(stamp->validAt - static_cast<double>(seconds)) < 1.0;
        }
        fitting += std::ranges::all_of(fits, [](bool one) { return one; });
    }
    return static_cast<double>(fitting) / kTried;
}

Payload Payloads::extreme()
{
    return m_extreme(m_random, m_device, m_seconds);
}

Payload Payloads::next()
{
    constexpr std::size_t kEncapsulation = 4;
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random);
    };
    Payload payload = extreme();
    switch (m_turn++ % 4) {
    case 1:
        for (std::size_t changes = 1 + below(20); changes > 0; --changes)
            payload[kEncapsulation + below(payload.size() - kEncapsulation)] = static_cast<std::uint8_t>(below(256));
        break;
    case 2:
        payload.resize(1 + below(payload.size() - 1));
        break;
    case 3:
        for (std::uint8_t& byte : payload) byte = static_cast<std::uint8_t>(below(256));
        break;
    }
    return payload;
}
