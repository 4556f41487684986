#include "VICTORY/libvictory/victory.h"
#include "bench/VICTORY/OrvaneServer/BenchedServer.h"
#include "bench/VICTORY/OrvaneServer/DroppingBus.h"

#include <benchmark/benchmark.h>

#include <cstdint>

// What a handler and a join cost, beside the least that they could: a copy of the message under a lock, and the
// unpacking and handing over alone. The bus library takes every record and drops it.

namespace {

template <class Message>
void copyUnderLock(benchmark::State& state, const Message& message)
{
    Mutex mutex;
    Message latest;
    for (auto _ : state) {
        const MutexLock lock(mutex);
        latest = message;
        benchmark::DoNotOptimize(latest);
    }
}

template <class Handler>
void handler(benchmark::State& state, Handler&& call)
{
    BenchedServer server;
    for (auto _ : state) call(server);
}

const Inputs& inputs()
{
    static const Inputs all;
    return all;
}

void PVA_copy(benchmark::State& state)
{
    copyUnderLock(state, inputs().pva);
}
void PVA_handler(benchmark::State& state)
{
    handler(state, [](BenchedServer& server) { server.deliver(inputs().pva); });
}
void UTCTime_copy(benchmark::State& state)
{
    copyUnderLock(state, inputs().utcTime);
}
void UTCTime_handler(benchmark::State& state)
{
    handler(state, [](BenchedServer& server) { server.deliver(inputs().utcTime); });
}
void HalvexPNT_copy(benchmark::State& state)
{
    copyUnderLock(state, inputs().pnt);
}
void HalvexPNT_handler(benchmark::State& state)
{
    handler(state, [](BenchedServer& server) { server.deliver(inputs().pnt); });
}
void MIS_copy(benchmark::State& state)
{
    copyUnderLock(state, inputs().mis);
}
void MIS_handler(benchmark::State& state)
{
    handler(state, [](BenchedServer& server) { server.deliver(inputs().mis); });
}
void AssuranceState_copy(benchmark::State& state)
{
    copyUnderLock(state, inputs().assurance);
}
void AssuranceState_handler(benchmark::State& state)
{
    handler(state, [](BenchedServer& server) { server.deliver(inputs().assurance); });
}
void Receiver8504_copy(benchmark::State& state)
{
    copyUnderLock(state, inputs().receiver);
}
void Receiver8504_handler(benchmark::State& state)
{
    handler(state, [](BenchedServer& server) { server.fromReceiver(inputs().receiver); });
}

const Others& others()
{
    static const Others all;
    return all;
}

void BitReport_copy(benchmark::State& state)
{
    copyUnderLock(state, others().report);
}
void BitReport_handler(benchmark::State& state)
{
    handler(state, [](BenchedServer& server) { server.deliver(others().report); });
}
void Command_copy(benchmark::State& state)
{
    copyUnderLock(state, others().command);
}
void Command_handler(benchmark::State& state)
{
    handler(state, [](BenchedServer& server) { server.command(others().command); });
}
void Response_copy(benchmark::State& state)
{
    copyUnderLock(state, others().response);
}
void Response_handler(benchmark::State& state)
{
    handler(state, [](BenchedServer& server) { server.response(others().response); });
}
void Threats15051_copy(benchmark::State& state)
{
    copyUnderLock(state, others().threats);
}
void Threats15051_handler(benchmark::State& state)
{
    BenchedServer server;
    for (auto _ : state) server.toReceiver(others().threats);
    if (server.threats().empty()) state.SkipWithError("the report was refused");
}
void Receiver5044_copy(benchmark::State& state)
{
    copyUnderLock(state, others().warning);
}
void Receiver5044_handler(benchmark::State& state)
{
    BenchedServer server;
    for (auto _ : state) server.fromReceiver(others().warning);
    if (server.warnings().empty()) state.SkipWithError("the frame was refused");
}

void SixInputs(benchmark::State& state)
{
    BenchedServer server;
    for (auto _ : state) inputs().giveTo(server);
}

void SixInputsAndJoin(benchmark::State& state)
{
    BenchedServer server;
    DroppingBus::published = 0;
    for (auto _ : state) {
        inputs().giveTo(server);
        server->attemptBlendedNavigationProcessing();
    }
    if (DroppingBus::published != state.iterations()) state.SkipWithError("not each six were published");
}

void UnpackAndTell(benchmark::State& state)
{
    for (auto _ : state) {
        ZentorM_8504_Msg message;
        const auto& frame = inputs().receiver.data();
        if (!message.ok_set_8504_gpsip(frame.data(), static_cast<std::uint32_t>(frame.size())))
            state.SkipWithError("the frame was refused");
        message.unpack_8504();
        VapntcBlendedNavigationRecord record = {};
        record.angleDegrees = message.unpacked().angle084;
        vapntsTellBlendedNavigationData(nullptr, record, nullptr);
    }
}

BENCHMARK(PVA_copy);
BENCHMARK(PVA_handler);
BENCHMARK(UTCTime_copy);
BENCHMARK(UTCTime_handler);
BENCHMARK(HalvexPNT_copy);
BENCHMARK(HalvexPNT_handler);
BENCHMARK(MIS_copy);
BENCHMARK(MIS_handler);
BENCHMARK(AssuranceState_copy);
BENCHMARK(AssuranceState_handler);
BENCHMARK(Receiver8504_copy);
BENCHMARK(Receiver8504_handler);
BENCHMARK(Receiver5044_copy);
BENCHMARK(Receiver5044_handler);
BENCHMARK(Threats15051_copy);
BENCHMARK(Threats15051_handler);
BENCHMARK(BitReport_copy);
BENCHMARK(BitReport_handler);
BENCHMARK(Command_copy);
BENCHMARK(Command_handler);
BENCHMARK(Response_copy);
BENCHMARK(Response_handler);
BENCHMARK(UnpackAndTell);
BENCHMARK(SixInputs);
BENCHMARK(SixInputsAndJoin);

}  // namespace
