// Tile traffic through the smart canvas beside the same traffic through a memory image and a
// memcpy of the same bytes, all in one run so the figures read as ratios; and the cost of a seed
// snapshot per page at two canvas sizes.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "pigment/frame/PigmentCallbacks.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/smart/ilSmartImage.h"

namespace {

constexpr int kSide = 4096;
constexpr int64_t kPixels = int64_t(kSide) * kSide;
constexpr int64_t kBytes = kPixels * 4;

// The host's memory probes: the machine's own figures, so that the canvas stays in memory.
int physicalKB() {
    return int(int64_t(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE) / 1024);
}
const bool probes = [] {
    PigmentCB()->totalPhysicalMemory = physicalKB;
    PigmentCB()->availPhysicalMemory = [] {
        return int(int64_t(sysconf(_SC_AVPHYS_PAGES)) * sysconf(_SC_PAGESIZE) / 1024);
    };
    return true;
}();

uint32_t* picture() {
    static uint32_t* p = [] {
        auto* b = static_cast<uint32_t*>(std::aligned_alloc(64, size_t(kBytes)));
        for (int64_t i = 0; i < kPixels; ++i)
            b[i] = uint32_t(i * 2654435761u);
        return b;
    }();
    return p;
}
uint32_t* scratch() {
    static uint32_t* p = [] {
        auto* b = static_cast<uint32_t*>(std::aligned_alloc(64, size_t(kBytes)));
        std::memset(b, 1, size_t(kBytes));
        return b;
    }();
    return p;
}

void report(benchmark::State& state) {
    state.counters["bytes/s"] = benchmark::Counter(
        double(kBytes), benchmark::Counter::kIsIterationInvariantRate, benchmark::Counter::kIs1024);
    state.counters["pixels/s"] =
        benchmark::Counter(double(kPixels), benchmark::Counter::kIsIterationInvariantRate);
}

ilImage* smartCanvas() {
    (void)probes;
    static ilSmartImage* canvas = [] {
        auto* c = new ilSmartImage(ilPixel(ilUChar, 4, "\0\0\0\0"));
        c->setTile(0, 0, kSide, kSide, picture());
        return c;
    }();
    return canvas;
}
ilImage* memoryCanvas() {
    static ilMemoryImg* canvas = [] {
        auto* c = new ilMemoryImg(ilSize(kSide, kSide, 1, 4), ilUChar, ilInterleaved);
        c->setTile(0, 0, kSide, kSide, picture());
        return c;
    }();
    return canvas;
}

// Every tile of the 4096 x 4096 area, each from or into its own tile-sized buffer; the buffers
// lie one after another in one picture-sized block, so the bytes moved equal the memcpy's.
void traffic(benchmark::State& state, ilImage* image, int tile, bool write) {
    uint32_t* block = write ? picture() : scratch();
    const int64_t tilePixels = int64_t(tile) * tile;
    for (auto _ : state) {
        uint32_t* buffer = block;
        for (int y = 0; y < kSide; y += tile)
            for (int x = 0; x < kSide; x += tile, buffer += tilePixels) {
                const ilTile t(x, y, 0, tile, tile, 1);
                if (write)
                    image->setTile3Dv2(t, buffer);
                else
                    image->getTile3Dv2(t, buffer);
            }
        benchmark::ClobberMemory();
    }
    report(state);
}

void BM_Memcpy(benchmark::State& state) {
    uint32_t* s = picture();
    uint32_t* d = scratch();
    for (auto _ : state) {
        std::memcpy(d, s, size_t(kBytes));
        benchmark::ClobberMemory();
    }
    report(state);
}

void BM_SmartWrite(benchmark::State& state) {
    traffic(state, smartCanvas(), int(state.range(0)), true);
}
void BM_SmartRead(benchmark::State& state) {
    traffic(state, smartCanvas(), int(state.range(0)), false);
}
void BM_MemoryWrite(benchmark::State& state) {
    traffic(state, memoryCanvas(), int(state.range(0)), true);
}
void BM_MemoryRead(benchmark::State& state) {
    traffic(state, memoryCanvas(), int(state.range(0)), false);
}

// A snapshot: a child seeded by the canvas that takes references to all of its pages. Its cost
// per page should not depend on the canvas's size.
void BM_Snapshot(benchmark::State& state) {
    const int side = int(state.range(0));
    ilSmartImage canvas(ilPixel(ilUChar, 4, "\0\0\0\0"));
    {
        auto* rows = static_cast<uint32_t*>(std::malloc(size_t(side) * 128 * 4));
        for (int i = 0; i < side * 128; ++i)
            rows[i] = uint32_t(i * 2654435761u);
        for (int y = 0; y < side; y += 128)
            canvas.setTile(0, y, side, std::min(128, side - y), rows);
        std::free(rows);
    }
    const int64_t pages = int64_t((side + 127) / 128) * ((side + 127) / 128);
    for (auto _ : state) {
        auto child = std::make_unique<ilSmartImage>(&canvas);
        child->ReferenceSeedPages(nullptr);
        state.PauseTiming();
        child.reset();
        state.ResumeTiming();
    }
    state.counters["pages"] = double(pages);
    // Seconds per page, shown with an SI prefix (n for nanoseconds).
    state.counters["time/page"] = benchmark::Counter(
        double(pages), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

}  // namespace

BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SmartWrite)->Arg(128)->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemoryWrite)->Arg(128)->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SmartRead)->Arg(128)->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemoryRead)->Arg(128)->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Snapshot)->Arg(5000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
