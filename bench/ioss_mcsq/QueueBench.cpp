// Records through `GssipMcsq` beside a bare loop of read(2) and the generated deserializer, on the same named pipe and
// from the same feeder. `stream` lets a read take up to 131072 bytes, `messages` one message of 4096.
//
// A reader of queues pauses for 100 us after each read, so that other threads get in; nothing that flows faster can be
// had from it. Hence two peers: `bare` reads without a pause, `paused` as often as a reader of queues may. What a record
// costs, without any waiting, is told by `records_per_cpu_s`, the reading thread's own time. Run it with
// --benchmark_enable_random_interleaving=true --benchmark_repetitions=9 --benchmark_report_aggregates_only=true.

#include "commandPubSubTypes.h"
#include "face/HX_Config.h"
#include "ioss_mcsq/GssipMcsq.h"
#include "ioss_mcsq/HX_MCSQ.h"
#include "tests/support/QueueDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <poll.h>
#include <pthread.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kRecordSize = 512;  // eight to a message, so that no read ends within one
constexpr std::size_t kMessages = 2000;
constexpr int kRecords = static_cast<int>(kMessages * QueueDevice::kLargestMessage / kRecordSize);

enum class Feed { Stream, Messages };

Bytes message()
{
    GssipTopicSerializer serializer;
    aspn2_msgs::idl::GSSIP record;
    record.data().resize(kRecordSize - GssipTopicSerializer::kOverhead, 0x5A);
    record.num_bytes(static_cast<std::int32_t>(record.data().size()));
    Bytes one;
    Bytes all;
    serializer.Serialize(record, one);
    while (all.size() < QueueDevice::kLargestMessage) all.insert(all.end(), one.begin(), one.end());
    return all;
}

double seconds(const timespec& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double cpuSeconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return seconds(time);
}

/// Feeds the device from a thread of its own and times how long that takes until the last record has been called back,
/// which is what `await` waits for and tells the time of.
template <class Await, class CpuTime>
void run(benchmark::State& state, const QueueDevice& device, Feed feed, Await&& await, CpuTime&& cpuTime)
{
    const Bytes bytes = message();
    double cpu = 0;
    for (auto _ : state) {
        const double cpuBefore = cpuTime();
        const auto start = Clock::now();
        std::thread feeder([&] {
            for (std::size_t i = 0; i < kMessages; ++i)
                feed == Feed::Stream ? device.sendStream(bytes) : device.send(bytes);
        });
        const Clock::time_point end = await();
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
        cpu += cpuTime() - cpuBefore;
        feeder.join();
    }
    const auto records = static_cast<double>(state.iterations()) * kRecords;
    state.SetItemsProcessed(state.iterations() * kRecords);
    state.counters["records_per_cpu_s"] = records / cpu;
}

/// What a program would do by itself.
class BareReader {
public:
    BareReader(const QueueDevice& device, bool isPaused)
        : m_descriptor(open(device.path().c_str(), O_RDONLY)), m_isPaused(isPaused)
    {
        if (m_descriptor < 0) throw std::runtime_error("cannot open the device");
    }
    ~BareReader() { close(m_descriptor); }
    BareReader(const BareReader&) = delete;
    BareReader& operator=(const BareReader&) = delete;

    Clock::time_point operator()()
    {
        int count = 0;
        const std::function<void(const generated::idl::GSSIP&)> callback = [&](const generated::idl::GSSIP& record) {
            benchmark::DoNotOptimize(record.data().data());
            ++count;
        };
        while (count < kRecords) {
            if (m_isPaused) {
                pollfd entry{m_descriptor, POLLIN, 0};
                poll(&entry, 1, 50);
            }
            const ssize_t size = read(m_descriptor, m_area.data(), m_area.size());
            for (std::int64_t position = 0; position < size;) {
                generated::idl::GSSIP record;
                eprosima::fastrtps::rtps::SerializedPayload_t payload;
                payload.data = m_area.data() + position;
                payload.length = payload.max_size = static_cast<std::uint32_t>(size - position);
                const bool isRead = m_type.deserialize(&payload, &record);
                payload.data = nullptr;
                if (!isRead) throw std::runtime_error("no record");
                position += record.num_bytes() + 56;
                callback(record);
            }
            if (m_isPaused && count < kRecords) std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        return Clock::now();
    }

private:
    int m_descriptor;
    bool m_isPaused;
    Bytes m_area = Bytes(131072);
    generated::idl::GSSIPPubSubType m_type;
};

void bare(benchmark::State& state, Feed feed, bool isPaused)
{
    const TemporaryDirectory directory;
    const QueueDevice device(directory.path(), 5);
    BareReader reader(device, isPaused);
    run(state, device, feed, reader, [] { return cpuSeconds(CLOCK_THREAD_CPUTIME_ID); });
}

void channel(benchmark::State& state, Feed feed)
{
    const TemporaryDirectory directory;
    const QueueDevice device(directory.path(), 5);
    std::atomic<int> count = 0;
    Clock::time_point end;  // written before the last count
    std::atomic<clockid_t> clock = CLOCK_THREAD_CPUTIME_ID;
    GssipMcsq queue("bench", std::make_unique<FACE::IOSS::HX_MCSQ>(QueueDevice::prefix(directory.path())));
    const std::string file = directory.write("devices.xml", queueDevicesText({{"ZEN_HX", "5"}}));
    auto code = FACE::RETURN_CODE_TYPE::NO_ACTION;
    queue.Connect_ReadOnly(
        file.c_str(), "ZEN_HX",
        [&](const aspn2_msgs::idl::GSSIP& record) {
            benchmark::DoNotOptimize(record.data().data());
            if (count.load(std::memory_order_relaxed) < 0) {
                clockid_t own{};
                pthread_getcpuclockid(pthread_self(), &own);
                clock = own;
            }
            if (count.load(std::memory_order_relaxed) == kRecords - 1) end = Clock::now();
            if (count.fetch_add(1) == kRecords - 1) count.notify_one();
        },
        code);
    if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("cannot connect");

    // One message tells which thread it is.
    count = -8;
    device.send(message());
    while (count < 0) std::this_thread::yield();

    const auto await = [&] {
        for (int now = count; now < kRecords; now = count) count.wait(now);
        count = 0;
        return end;
    };
    run(state, device, feed, await, [&] { return cpuSeconds(clock); });
}

}  // namespace

BENCHMARK_CAPTURE(bare, stream, Feed::Stream, false)->Name("stream/bare")->UseManualTime();
BENCHMARK_CAPTURE(bare, streamPaused, Feed::Stream, true)->Name("stream/paused")->UseManualTime();
BENCHMARK_CAPTURE(channel, stream, Feed::Stream)->Name("stream/ours")->UseManualTime();
BENCHMARK_CAPTURE(bare, messages, Feed::Messages, false)->Name("messages/bare")->UseManualTime();
BENCHMARK_CAPTURE(bare, messagesPaused, Feed::Messages, true)->Name("messages/paused")->UseManualTime();
BENCHMARK_CAPTURE(channel, messages, Feed::Messages)->Name("messages/ours")->UseManualTime();
