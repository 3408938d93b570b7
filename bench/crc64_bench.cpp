// Checksums of paths (40 to 120 bytes) and of long buffers, by every way.
#include "base/crc64.h"

#include <benchmark/benchmark.h>

#include <string>

#include "base/crc64_ways.h"

namespace kestrix {
namespace {

using Way = std::uint64_t (*)(std::uint64_t, const unsigned char*, std::size_t);

void checksum(benchmark::State& state, Way way) {
    const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        benchmark::DoNotOptimize(way(0, reinterpret_cast<const unsigned char*>(text.data()), text.size()));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

std::uint64_t asUsed(std::uint64_t crc, const unsigned char* data, std::size_t length) {
    return crc64_ecma182(crc, data, length);
}

void lengths(benchmark::internal::Benchmark* bench) {
    for (const int length : {8, 15, 40, 80, 120, 4096, 1 << 20}) {
        bench->Arg(length);
    }
}

BENCHMARK_CAPTURE(checksum, asUsed, asUsed)->Apply(lengths);
BENCHMARK_CAPTURE(checksum, byTables, crc64_ways::byTables)->Apply(lengths);

}  // namespace
}  // namespace kestrix
