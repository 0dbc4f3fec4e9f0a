// Throughput of the pixel transfer engine on a 4096 x 4096 four-channel 8-bit picture, beside a
// memcpy of the same bytes in the same run, so each figure reads as a fraction of memory bandwidth.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "pigment/frame/ilTileTransfer_p.h"

namespace {

constexpr int kSide = 4096;
constexpr int kChans = 4;
constexpr int kTile = 128;
constexpr int64_t kPixels = int64_t(kSide) * kSide;
constexpr int64_t kBytes = kPixels * kChans;

// Buffers are made once, touched so that page faults stay out of the timings, and kept.
void* buffer(int64_t bytes, int seed) {
    void* p = std::aligned_alloc(64, size_t(bytes));
    std::memset(p, seed, size_t(bytes));
    return p;
}
void* source() {
    static void* p = [] {
        auto* b = static_cast<uint8_t*>(buffer(kBytes, 0));
        for (int64_t i = 0; i < kBytes; ++i)
            b[i] = uint8_t(i * 31 + (i >> 12));
        return static_cast<void*>(b);
    }();
    return p;
}
void* destination() {
    static void* p = buffer(kBytes, 1);
    return p;
}
void* floatDestination() {
    static void* p = buffer(kBytes * int64_t(sizeof(float)), 0);
    return p;
}

void report(benchmark::State& state, int64_t bytesWritten) {
    state.counters["bytes/s"] =
        benchmark::Counter(double(bytesWritten), benchmark::Counter::kIsIterationInvariantRate,
                           benchmark::Counter::kIs1024);
    state.counters["pixels/s"] =
        benchmark::Counter(double(kPixels), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_Memcpy(benchmark::State& state) {
    void* s = source();
    void* d = destination();
    for (auto _ : state) {
        std::memcpy(d, s, size_t(kBytes));
        benchmark::ClobberMemory();
    }
    report(state, kBytes);
}

// Same layout on both sides: one block copy.
void BM_WholeCopy(benchmark::State& state) {
    ilTileBlock s(source(), 0, 0, 0, kSide, kSide, 1, ilUChar, ilInterleaved, kChans);
    ilTileBlock d(destination(), 0, 0, 0, kSide, kSide, 1, ilUChar, ilInterleaved, kChans);
    for (auto _ : state) {
        ilTransfer(d, s);
        benchmark::ClobberMemory();
    }
    report(state, kBytes);
}

// The picture cut into 128 x 128 tiles, each read into its own contiguous tile buffer, as a
// paged canvas is filled: one transfer per tile, one row copy per tile row.
void BM_TiledCopy(benchmark::State& state) {
    ilTileBlock s(source(), 0, 0, 0, kSide, kSide, 1, ilUChar, ilInterleaved, kChans);
    auto* tiles = static_cast<uint8_t*>(destination());
    const int64_t tileBytes = int64_t(kTile) * kTile * kChans;
    for (auto _ : state) {
        int64_t n = 0;
        for (int ty = 0; ty < kSide; ty += kTile)
            for (int tx = 0; tx < kSide; tx += kTile, ++n) {
                ilTileBlock d(tiles + n * tileBytes, tx, ty, 0, kTile, kTile, 1, ilUChar,
                              ilInterleaved, kChans);
                ilTransfer(d, s);
            }
        benchmark::ClobberMemory();
    }
    report(state, kBytes);
}

// 8-bit to float: the unit conversion kernel over rows that merge all four channels.
void BM_UCharToFloat(benchmark::State& state) {
    ilTileBlock s(source(), 0, 0, 0, kSide, kSide, 1, ilUChar, ilInterleaved, kChans);
    ilTileBlock d(floatDestination(), 0, 0, 0, kSide, kSide, 1, ilFloat, ilInterleaved, kChans);
    for (auto _ : state) {
        ilTransfer(d, s);
        benchmark::ClobberMemory();
    }
    report(state, kBytes * int64_t(sizeof(float)));
}

// Interleaved to separate planes: the strided kernel, one channel of one row per run.
void BM_InterleavedToSeparate(benchmark::State& state) {
    ilTileBlock s(source(), 0, 0, 0, kSide, kSide, 1, ilUChar, ilInterleaved, kChans);
    ilTileBlock d(destination(), 0, 0, 0, kSide, kSide, 1, ilUChar, ilSeparate, kChans);
    for (auto _ : state) {
        ilTransfer(d, s);
        benchmark::ClobberMemory();
    }
    report(state, kBytes);
}

// A read mirrored in y: rows no longer line up, so one block copy per row.
void BM_FlipYRead(benchmark::State& state) {
    ilTileBlock s(source(), 0, 0, 0, kSide, kSide, 1, ilUChar, ilInterleaved, kChans);
    ilTileBlock d(destination(), 0, 0, 0, kSide, kSide, 1, ilUChar, ilInterleaved, kChans);
    d.setFlip(0, 1, 0);
    for (auto _ : state) {
        ilTransfer(d, s);
        benchmark::ClobberMemory();
    }
    report(state, kBytes);
}

}  // namespace

BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WholeCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TiledCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UCharToFloat)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InterleavedToSeparate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FlipYRead)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
