// The type supports of the message catalogue beside those that fastddsgen makes, on the same records. What is timed is
// one call as DDS makes it; run it with --benchmark_repetitions=5 --benchmark_report_aggregates_only=true.

#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "aspn2_msgs/GPSLineOfSightPubSubTypes.h"
#include "aspn2_msgs/GSSIPPubSubTypes.h"
#include "aspn2_msgs/HalvexPNTPubSubTypes.h"
#include "aspn2_msgs/MeasurementIncorporationStatusPubSubTypes.h"
#include "aspn2_msgs/PositionVelocityAttitudePubSubTypes.h"
#include "aspn2_msgs/UTCTimePubSubTypes.h"

#include "commandPubSubTypes.h"
#include "gnssPubSubTypes.h"
#include "navigationPubSubTypes.h"

#include <benchmark/benchmark.h>

namespace {

using eprosima::fastrtps::rtps::SerializedPayload_t;

/// Sets the parts of a record that grow to the length that is usual on the bus, or the most that it can have.
template <class Record>
Record sample()
{
    Record record;
    if constexpr (requires { record.meas_types(); }) record.meas_types().resize(100);
    if constexpr (requires { record.obs(); }) record.obs().resize(100);
    if constexpr (requires { record.command_response(); }) record.command_response("REQUEST_ZEROIZE_ACK");
    if constexpr (requires { record.data(); }) record.data().resize(412);
    return record;
}

template <class Support>
void serialize(benchmark::State& state)
{
    Support support;
    auto record = sample<typename Support::type>();
    SerializedPayload_t payload(20000);
    for (auto _ : state) {
        benchmark::DoNotOptimize(support.serialize(&record, &payload));
        benchmark::ClobberMemory();
    }
}

template <class Support>
void deserialize(benchmark::State& state)
{
    Support support;
    auto record = sample<typename Support::type>();
    SerializedPayload_t payload(20000);
    support.serialize(&record, &payload);
    for (auto _ : state) {
        benchmark::DoNotOptimize(support.deserialize(&payload, &record));
        benchmark::ClobberMemory();
    }
}

/// Into a record that is new each time, as a receiver's first one is.
template <class Support>
void deserializeNew(benchmark::State& state)
{
    Support support;
    auto record = sample<typename Support::type>();
    SerializedPayload_t payload(20000);
    support.serialize(&record, &payload);
    for (auto _ : state) {
        typename Support::type fresh;
        benchmark::DoNotOptimize(support.deserialize(&payload, &fresh));
        benchmark::ClobberMemory();
    }
}

template <class Support>
void size(benchmark::State& state)
{
    using Record = typename Support::type;
    const auto record = sample<Record>();
    std::size_t (*sizeOf)(const Record&, std::size_t) = &Record::getCdrSerializedSize;
    benchmark::DoNotOptimize(sizeOf);  // else a size that is a constant is not worked out at all
    for (auto _ : state) benchmark::DoNotOptimize(sizeOf(record, 0));
}

}  // namespace

#define BENCH_BOTH(operation, record)                                                                                  \
    BENCHMARK(operation<aspn2_msgs::idl::record##PubSubType>)->Name(#operation "/" #record "/ours");                   \
    BENCHMARK(operation<generated::idl::record##PubSubType>)->Name(#operation "/" #record "/generated");
#define BENCH_RECORD(record)                                                                                           \
    BENCH_BOTH(serialize, record)                                                                                      \
    BENCH_BOTH(deserialize, record)                                                                                    \
    BENCH_BOTH(deserializeNew, record)                                                                                 \
    BENCH_BOTH(size, record)

BENCH_RECORD(PositionVelocityAttitude)
BENCH_RECORD(HalvexPNT)
BENCH_RECORD(UTCTime)
BENCH_RECORD(MeasurementIncorporationStatus)
BENCH_RECORD(GPSLineOfSight)
BENCH_RECORD(CommandResponse)
BENCH_RECORD(GSSIP)
