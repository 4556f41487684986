#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "ioss_mcsq/gps_msgs.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstring>

namespace {

constexpr unsigned kWords = 200;
using Words = std::array<std::uint16_t, kWords>;

Words someWords()
{
    Words words{};
    for (unsigned i = 0; i < kWords; ++i) words[i] = static_cast<std::uint16_t>(i * 40503u + 12345u);
    return words;
}

/// Reads and adds word by word: what every compiler makes of a sum whose length it does not know.
[[gnu::noinline]] std::uint16_t plainChecksum(const std::uint16_t* words, unsigned first, unsigned last)
{
    std::uint16_t sum = 0;
    for (unsigned i = first; i <= last; ++i) sum = static_cast<std::uint16_t>(sum + words[i]);
    return static_cast<std::uint16_t>(0 - sum);
}

template <std::uint16_t (*Checksum)(const std::uint16_t*, unsigned, unsigned)>
void checksum(benchmark::State& state)
{
    Words words = someWords();
    unsigned last = kWords - 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(words.data());
        benchmark::DoNotOptimize(last);
        benchmark::DoNotOptimize(Checksum(words.data(), 0, last));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sizeof(words)));
}

void copy(benchmark::State& state)
{
    const Words words = someWords();
    Words target{};
    std::size_t size = sizeof(words);
    for (auto _ : state) {
        benchmark::DoNotOptimize(size);
        std::memcpy(target.data(), words.data(), size);
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sizeof(words)));
}

void unpack8504(benchmark::State& state)
{
    packed_msg8504_t packed{};
    for (std::uint16_t& word : packed.words) word = 0x40C1;
    unpacked_msg8504_t unpacked{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(&packed);
        ZentorM_8504_Msg::unpack_8504(packed, unpacked);
        benchmark::DoNotOptimize(&unpacked);
        benchmark::ClobberMemory();
    }
}

void pack8504(benchmark::State& state)
{
    packed_msg8504_t packed{};
    for (std::uint16_t& word : packed.words) word = 0x40C1;
    unpacked_msg8504_t unpacked{};
    ZentorM_8504_Msg::unpack_8504(packed, unpacked);
    for (auto _ : state) {
        benchmark::DoNotOptimize(&unpacked);
        ZentorM_8504_Msg::pack_8504(unpacked, packed);
        benchmark::DoNotOptimize(&packed);
        benchmark::ClobberMemory();
    }
}

}  // namespace

BENCHMARK(checksum<CalculateChecksum>)->Name("CalculateChecksum/200");
BENCHMARK(checksum<plainChecksum>)->Name("plain loop/200");
BENCHMARK(copy)->Name("memcpy/200");
BENCHMARK(unpack8504);
BENCHMARK(pack8504);
