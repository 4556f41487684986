#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// What a handler and a join cost, beside the least that they could: a copy of the message under a lock, and the
// unpacking and handing over alone. The bus library takes every record and drops it.

namespace {

benchmark::IterationCount s_published = 0;  // of Blended Navigation; one thread at a time

}  // namespace

extern "C" {

int vapntsTellBlendedNavigationData(VapntsService*, VapntcBlendedNavigationRecord record, const VapntcTime*)
{
    ++s_published;
    benchmark::DoNotOptimize(record);
    return 0;
}
int vapntsTellNavWarSaData(VapntsService*, VapntcNavWarSaRecord, const VapntcTime*)
{
    return 0;
}
int vapntsTellWarningMessagesData(VapntsService*, VapntcWarningMessagesRecord, const VapntcTime*)
{
    return 0;
}
int vapntsTellSystemConfiguration(VapntsService*, VapntcSystemConfiguration)
{
    return 0;
}
int vapntsTellAvailableOutputs(VapntsService*, VapntcAvailableOutputs)
{
    return 0;
}
int vapntsTellAvailableSensors(VapntsService*, VapntcAvailableSensors)
{
    return 0;
}
int vapntsTellClearSystemData(VapntsService*, int)
{
    return 0;
}
int vapntsTellExecuteBuiltInTests(VapntsService*, double, const char*)
{
    return 0;
}
int vapntsTellGetBuiltInTestResults(VapntsService*, VapntcBitResults)
{
    return 0;
}
int vapntsTellClearBuiltInTestResults(VapntsService*, int)
{
    return 0;
}
VapntsService* vapntsNewService(const char*, const char*)
{
    static char any;
    return reinterpret_cast<VapntsService*>(&any);  // never looked into
}
int vapntsInitSaveVclidCallback(VapntsService*, VapntsSaveVclidCallback, void*)
{
    return 0;
}
int vapntsInitPubGroup(VapntsService*, int, double)
{
    return 0;
}
int vapntsInitTellCallback(VapntsService*, int, VapntsTellCallback, void*)
{
    return 0;
}
int vapntsInitTellClearSystemDataCallback(VapntsService*, VapntsTellClearSystemDataCallback, void*)
{
    return 0;
}
int vapntsInitTellSystemConfigurationCallback(VapntsService*, VapntsTellSystemConfigurationCallback, void*)
{
    return 0;
}
int vapntsInitTellExecuteBuiltInTestsCallback(VapntsService*, VapntsTellExecuteBuiltInTestsCallback, void*, int)
{
    return 0;
}
int vapntsInitTellGetBuiltInTestResultsCallback(VapntsService*, VapntsTellGetBuiltInTestResultsCallback, void*)
{
    return 0;
}
int vapntsInitTellClearBuiltInTestResultsCallback(VapntsService*, VapntsTellClearBuiltInTestResultsCallback, void*)
{
    return 0;
}
int vapntsStartService(VapntsService*)
{
    return 0;
}
void vapntsDeleteService(VapntsService*) {}
int vutilReadStringFromFile(const char*, int, char*)
{
    return 0;
}
int vutilWriteStringToFile(const char*, const char*)
{
    return 1;
}
uint32_t vapntsAddFault(VapntsService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
uint32_t vgpssAddFault(VgpssService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
uint32_t vdotsAddFault(VdotsService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
uint32_t vgensAddFault(VgensService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
uint32_t vorisAddFault(VorisService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
uint32_t vpossAddFault(VpossService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
int vapntsRemoveFault(VapntsService*, uint32_t, VhlthcAction)
{
    return 0;
}
int vgpssRemoveFault(VgpssService*, uint32_t, VhlthcAction)
{
    return 0;
}
int vdotsRemoveFault(VdotsService*, uint32_t, VhlthcAction)
{
    return 0;
}
int vgensRemoveFault(VgensService*, uint32_t, VhlthcAction)
{
    return 0;
}
int vorisRemoveFault(VorisService*, uint32_t, VhlthcAction)
{
    return 0;
}
int vpossRemoveFault(VpossService*, uint32_t, VhlthcAction)
{
    return 0;
}

}  // extern "C"

namespace {

using namespace aspn2_msgs::idl;

/// A running server whose bus service is started.
struct BenchedServer : ServerDoor {
    BenchedServer()
    {
        settings().m_gssipSourceServers = {39};
        bus().start(nullptr);
        builtInTests().Start();
        run();
    }
    ~BenchedServer() { bus().stop(); }
};

/// A record of the receiver with this frame.
GSSIP recordOf(std::vector<std::uint8_t> frame)
{
    GSSIP record;
    record.header().device_id(39 << 16);
    record.num_bytes(static_cast<std::int32_t>(frame.size()));
    record.data(std::move(frame));
    return record;
}

template <class Message>
GSSIP recordOf(Message& message)
{
    struct Bytes : IWriteByteStreams {
        void write(const std::uint8_t* bytes, std::size_t length) override { data.assign(bytes, bytes + length); }
        std::vector<std::uint8_t> data;
    } bytes;
    message.WriteMessage(&bytes);
    return recordOf(std::move(bytes.data));
}

/// A report of nine bearings, which is the dearest one.
GSSIP threatReport()
{
    constexpr std::size_t kFirstLine = 48, kLine = 18, kLines = 9;
    std::vector<std::uint8_t> frame = {0xFF, 0x81, 0xCB, 0x3A, 0x64, 0x00, 0x00, 0x80};
    frame.resize(212);
    for (std::size_t i = 0; i < kLines; ++i) {
        frame[kFirstLine + kLine * i] = 2;      // a line of bearing
        frame[kFirstLine + kLine * i + 1] = 1;  // with its angles
    }
    return recordOf(std::move(frame));
}

/// The six inputs of one moment.
struct Inputs {
    Inputs()
    {
        for (int id = 0; id < 12; ++id) {
            meas_type_set entry;
            entry.meas_set_id(id);
            entry.meas_avail(4);
            entry.meas_used(4);
            mis.meas_types().push_back(entry);
        }
        utcTime.gps_week(2400);
        utcTime.gps_tow_sec(100'018);
        utcTime.utc_tod_sec(13'600);

        ZentorM_8504_Msg message;
        message.pack_8504();
        receiver = recordOf(message);
    }

    void giveTo(BenchedServer& server) const
    {
        server.deliver(pva);
        server.deliver(utcTime);
        server.deliver(pnt);
        server.deliver(mis);
        server.deliver(assurance);
        server.fromReceiver(receiver);
    }

    PositionVelocityAttitude pva;
    UTCTime utcTime;
    HalvexPNT pnt;
    MeasurementIncorporationStatus mis;
    AssuranceState assurance;
    GSSIP receiver;
};

/// What else comes by the topics and the taps.
struct Others {
    Others()
    {
        report.header().device_id(32 << 16 | 1);  // a commanded test's, while none runs
        for (int i = 0; i < 10; ++i) report.bit_components().emplace_back();

        command.header().device_id(53 << 16);
        command.command_response("REQUEST_SOMETHING");

        response.header().device_id(53 << 16);
        response.commanded_device_id(52 << 16);
        response.command_response_type(command_response_type_enum{1});
        response.command_response("REQUEST_SOMETHING_PASS");
    }

    BitReport report;
    CommandResponse command;
    CommandResponse response;
    GSSIP threats = threatReport();
    ZentorM_5044_Msg warningMessage;
    GSSIP warning = recordOf(warningMessage);
};

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
    s_published = 0;
    for (auto _ : state) {
        inputs().giveTo(server);
        server->attemptBlendedNavigationProcessing();
    }
    if (s_published != state.iterations()) state.SkipWithError("not each six were published");
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
