// Reads from a 4096 x 4096 four-channel 8-bit memory image through getTile3D, beside a memcpy of
// the same bytes in the same run: each figure is also given as a fraction of that memcpy.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "pigment/frame/ilMemoryImg.h"

namespace {

constexpr int kSide = 4096;
constexpr int kChans = 4;
constexpr int kTile = 128;
constexpr int64_t kPixels = int64_t(kSide) * kSide;
constexpr int64_t kBytes = kPixels * kChans;

// Buffers are made once and touched, so that page faults stay out of the timings.
void* buffer(int64_t bytes) {
    void* p = std::aligned_alloc(4096, size_t(bytes));
    std::memset(p, 1, size_t(bytes));
    return p;
}
void* destination() {
    static void* p = buffer(kBytes);
    return p;
}
void* floatDestination() {
    static void* p = buffer(kBytes * int64_t(sizeof(float)));
    return p;
}

ilMemoryImg& image() {
    static ilMemoryImg* img = [] {
        auto* m = new ilMemoryImg(ilSize(kSide, kSide, 1, kChans), ilUChar, ilInterleaved);
        auto* b = static_cast<uint8_t*>(m->getDataPtr());
        for (int64_t i = 0; i < kBytes; ++i)
            b[i] = uint8_t(i * 31 + (i >> 12));
        return m;
    }();
    return *img;
}

// Processor time of this process, like the CPU column of the report: on a shared machine the
// wall clock also counts the time other programs ran.
double cpuSeconds() {
    return double(std::clock()) / CLOCKS_PER_SEC;
}

// memcpy of the picture's bytes, best of a few runs, in bytes per second.
double memcpyRate() {
    static const double rate = [] {
        const void* s = image().getDataPtr();
        void* d = destination();
        double best = 1e30;
        for (int i = 0; i < 8; ++i) {
            const double t0 = cpuSeconds();
            std::memcpy(d, s, size_t(kBytes));
            benchmark::ClobberMemory();
            best = std::min(best, cpuSeconds() - t0);
        }
        return double(kBytes) / best;
    }();
    return rate;
}

// Runs body once per iteration. bytes/s counts the bytes written to the caller's buffer;
// of_memcpy is the time a memcpy of the picture's bytes takes, as a fraction of one iteration.
template <typename F>
void measure(benchmark::State& state, int64_t bytesWritten, F body) {
    using C = benchmark::Counter;
    const double reference = double(kBytes) / memcpyRate();
    double seconds = 0;
    for (auto _ : state) {
        const double t0 = cpuSeconds();
        body();
        benchmark::ClobberMemory();
        seconds += cpuSeconds() - t0;
    }
    state.counters["bytes/s"] = C(double(bytesWritten), C::kIsIterationInvariantRate, C::kIs1024);
    state.counters["pixels/s"] = C(double(kPixels), C::kIsIterationInvariantRate);
    state.counters["of_memcpy"] = reference / (seconds / double(state.iterations()));
}

void read(benchmark::State& state, void* out, ilConfig* cfg, int64_t bytesWritten) {
    ilMemoryImg& img = image();
    measure(state, bytesWritten, [&] { img.getTile3D(0, 0, 0, kSide, kSide, 1, out, cfg); });
}

void BM_Memcpy(benchmark::State& state) {
    const void* s = image().getDataPtr();
    void* d = destination();
    measure(state, kBytes, [&] { std::memcpy(d, s, size_t(kBytes)); });
}

// The limit of the tiled read below: the same rows moved by memcpy alone.
void BM_MemcpyTiles128(benchmark::State& state) {
    const auto* s = static_cast<const uint8_t*>(image().getDataPtr());
    auto* tiles = static_cast<uint8_t*>(destination());
    const int64_t row = int64_t(kTile) * kChans;
    measure(state, kBytes, [&] {
        uint8_t* d = tiles;
        for (int ty = 0; ty < kSide; ty += kTile)
            for (int tx = 0; tx < kSide; tx += kTile)
                for (int y = 0; y < kTile; ++y, d += row)
                    std::memcpy(d, s + ((int64_t(ty) + y) * kSide + tx) * kChans, size_t(row));
    });
}

// The whole image in its own layout: one block copy.
void BM_ReadWhole(benchmark::State& state) {
    read(state, destination(), nullptr, kBytes);
}

// The image in 128 x 128 tiles, each into its own contiguous buffer, as a paged canvas is filled.
void BM_ReadTiles128(benchmark::State& state) {
    ilMemoryImg& img = image();
    auto* tiles = static_cast<uint8_t*>(destination());
    const int64_t tileBytes = int64_t(kTile) * kTile * kChans;
    measure(state, kBytes, [&] {
        int64_t n = 0;
        for (int ty = 0; ty < kSide; ty += kTile)
            for (int tx = 0; tx < kSide; tx += kTile, ++n)
                img.getTile3D(tx, ty, 0, kTile, kTile, 1, tiles + n * tileBytes);
    });
}

void BM_ReadUCharToFloat(benchmark::State& state) {
    ilConfig cfg(ilFloat, ilInterleaved, kChans);
    read(state, floatDestination(), &cfg, kBytes * int64_t(sizeof(float)));
}

void BM_ReadInterleavedToSeparate(benchmark::State& state) {
    ilConfig cfg(ilUChar, ilSeparate, kChans);
    read(state, destination(), &cfg, kBytes);
}

// A config in upper-left space on the lower-left image: every row lands mirrored.
void BM_ReadMirrored(benchmark::State& state) {
    ilConfig cfg(ilUChar, ilInterleaved, kChans, nullptr, 0, ilUpperLeft);
    read(state, destination(), &cfg, kBytes);
}

}  // namespace

BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemcpyTiles128)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadWhole)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadTiles128)->Unit(benchmark::kMillisecond);

// The way a painter reads: every tile into the same buffer, which stays in the cache.
void BM_ReadTiles128OneBuffer(benchmark::State& state) {
    ilMemoryImg& img = image();
    auto* tile = static_cast<uint8_t*>(destination());
    measure(state, kBytes, [&] {
        for (int ty = 0; ty < kSide; ty += kTile)
            for (int tx = 0; tx < kSide; tx += kTile)
                img.getTile3D(tx, ty, 0, kTile, kTile, 1, tile);
    });
}
BENCHMARK(BM_ReadTiles128OneBuffer)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadUCharToFloat)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadInterleavedToSeparate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadMirrored)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
