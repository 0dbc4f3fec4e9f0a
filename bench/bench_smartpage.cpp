// Smart page hot paths: copy-on-write clone, Realize of a resident page, page out and in against
// plain sequential file transfer of the same bytes in the same directory, and the solid scan.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "pigment/base/vlFilename.h"
#include "pigment/base/vlOSFile.h"
#include "pigment/base/vlSysInfo.h"
#include "pigment/frame/PigmentCallbacks.h"
#include "pigment/smart/SmartImageCache.h"
#include "pigment/smart/SmartImgPage.h"

namespace {

constexpr int kBatch = 64;  // pages per timed batch: 4 MiB of big pages
constexpr int kBigBytes = 65536;

std::string swapDirectory;

void fillContent(SmartImgPage& page, std::uint32_t seed) {
    if (page.IsNull()) page.MakeFilled(0, 4);
    page.Realize(2);
    auto* w = reinterpret_cast<std::uint32_t*>(page.GetData());
    for (int i = 0; i < kPagePixels; ++i)
        w[i] = (seed + static_cast<std::uint32_t>(i)) * 2654435761u;
}

void BM_CloneSharedPage(benchmark::State& state) {
    SmartImgPage source;
    fillContent(source, 1);
    for (auto _ : state) {
        SmartImgPage copy(source);
        copy.Realize(1);  // shared: clones 64 KiB
        benchmark::DoNotOptimize(copy.GetData());
        copy.UnRef(1);
    }
    source.UnRef(1);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_CloneSharedPage);

void BM_RealizeResident(benchmark::State& state) {
    const int mode = static_cast<int>(state.range(0));
    SmartImgPage page;
    fillContent(page, 2);
    for (auto _ : state) {
        page.Realize(mode);
        benchmark::DoNotOptimize(page.GetData());
    }
    page.UnRef(1);
}
BENCHMARK(BM_RealizeResident)->Arg(0)->Arg(1);

// Page out (timed) and back in (not timed), or the reverse, with the budget far away: evicted
// buffers go back to the heap and page-ins allocate afresh.
void BM_PageOutIn(benchmark::State& state) {
    const bool timeOut = state.range(0) == 0;
    SmartImageCache* cache = SmartImageCache::GetInstance();
    cache->SetBudget(std::int64_t{1} << 40);  // clamped to the ceiling
    std::vector<SmartImgPage> pages(kBatch);
    for (int n = 0; n < kBatch; ++n)
        fillContent(pages[n], static_cast<std::uint32_t>(n));
    for (auto _ : state) {
        if (!timeOut) state.PauseTiming();
        for (SmartImgPage& page : pages)
            cache->EvictPage(page.GetPageData());
        if (!timeOut) state.ResumeTiming();
        if (timeOut) state.PauseTiming();
        for (SmartImgPage& page : pages)
            page.Realize(0);
        if (timeOut) state.ResumeTiming();
    }
    for (SmartImgPage& page : pages)
        page.UnRef(1);
    state.SetBytesProcessed(state.iterations() * kBatch * kBigBytes);
}
BENCHMARK(BM_PageOutIn)->Arg(0)->Arg(1)->ArgNames({"in"});

// Steady paging at the 16 MiB floor over twice as many pages: every read brings one page in and
// sends the least recently used one out, handing its buffer over. Bytes count both directions.
void BM_PagingSteady(benchmark::State& state) {
    SmartImageCache* cache = SmartImageCache::GetInstance();
    cache->SetBudget(0);  // clamped to the 16 MiB floor
    const int count = static_cast<int>(2 * cache->GetBudget() / kBigBytes);
    std::vector<SmartImgPage> pages(count);
    for (int n = 0; n < count; ++n)
        fillContent(pages[n], static_cast<std::uint32_t>(n));
    int next = 0;
    for (auto _ : state) {
        for (int n = 0; n < kBatch; ++n) {
            pages[next].Realize(0);
            next = next + 1 == count ? 0 : next + 1;
        }
    }
    for (SmartImgPage& page : pages)
        page.UnRef(1);
    state.SetBytesProcessed(state.iterations() * kBatch * 2 * kBigBytes);
    cache->SetBudget(std::int64_t{1} << 40);
}
BENCHMARK(BM_PagingSteady);

// The same bytes written to and read from a file in the swap directory, block by block, from
// and into as many distinct buffers as there are pages. Mode 0 times the writes, 1 the reads,
// 2 a write and a read per block over a file twice the buffers' size, as steady paging does.
void BM_PlainFile(benchmark::State& state) {
    const int mode = static_cast<int>(state.range(0));
    const int buffers = mode == 2 ? 256 : kBatch;
    const std::string path = vlOS::uniqueTempName(swapDirectory.c_str(), "plain");
    const int fd = vlOS::fileCreateReadWrite(path.c_str());
    std::vector<std::vector<std::uint32_t>> blocks(buffers,
                                                   std::vector<std::uint32_t>(kPagePixels));
    for (int b = 0; b < buffers; ++b)
        for (int i = 0; i < kPagePixels; ++i)
            blocks[b][i] = static_cast<std::uint32_t>(i + b) * 2654435761u;
    for (int b = 0; b < 2 * buffers; ++b)
        vlOS::fileWrite(fd, blocks[b % buffers].data(), kBigBytes);
    int next = 0;
    for (auto _ : state) {
        if (mode == 2) {
            for (int n = 0; n < kBatch; ++n) {
                const std::int64_t out =
                    static_cast<std::int64_t>((next + buffers) % (2 * buffers));
                vlOS::fileSeek(fd, out * kBigBytes);
                vlOS::fileWrite(fd, blocks[next % buffers].data(), kBigBytes);
                vlOS::fileSeek(fd, static_cast<std::int64_t>(next) * kBigBytes);
                vlOS::fileRead(fd, blocks[next % buffers].data(), kBigBytes);
                next = (next + 1) % (2 * buffers);
            }
            continue;
        }
        if (mode != 0) state.PauseTiming();
        vlOS::fileSeek(fd, 0);
        for (int n = 0; n < kBatch; ++n)
            vlOS::fileWrite(fd, blocks[n].data(), kBigBytes);
        if (mode != 0) state.ResumeTiming();
        if (mode == 0) state.PauseTiming();
        vlOS::fileSeek(fd, 0);
        for (int n = 0; n < kBatch; ++n)
            vlOS::fileRead(fd, blocks[n].data(), kBigBytes);
        if (mode == 0) state.ResumeTiming();
    }
    vlOS::fileClose(fd);
    vlOS::fileDelete(path.c_str());
    state.SetBytesProcessed(state.iterations() * kBatch * kBigBytes * (mode == 2 ? 2 : 1));
}
BENCHMARK(BM_PlainFile)->Arg(0)->Arg(1)->Arg(2)->ArgNames({"mode"});

// Whole-page solid scans of pages written with one value (each then gives up its memory).
void BM_SolidScan(benchmark::State& state) {
    std::vector<SmartImgPage> pages(kBatch);
    for (auto _ : state) {
        state.PauseTiming();
        for (int n = 0; n < kBatch; ++n) {
            if (pages[n].IsNull()) pages[n].MakeFilled(0, 4);
            pages[n].Realize(2);
            std::fill_n(reinterpret_cast<std::uint32_t*>(pages[n].GetData()), kPagePixels,
                        static_cast<std::uint32_t>(n));
        }
        state.ResumeTiming();
        for (SmartImgPage& page : pages)
            benchmark::DoNotOptimize(page.CheckForSolid(nullptr));
    }
    for (SmartImgPage& page : pages)
        page.UnRef(1);
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_SolidScan);

}  // namespace

int main(int argc, char** argv) {
    // Memory as the host would report it, and a private swap directory.
    PigmentCB()->totalPhysicalMemory = [] {
        return static_cast<int>(vlOS::sysInfo().totalPhysicalMemory() / 1024);
    };
    // No spare memory reported, so that the budget stays where the benchmark puts it.
    PigmentCB()->availPhysicalMemory = [] { return 0; };
    swapDirectory = vlOS::uniqueTempName(nullptr, "bench_smartpage");
    vlOS::directoryCreate(swapDirectory.c_str());
    setenv("SID_TEMP_DIR", swapDirectory.c_str(), 1);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    SmartImageCache* cache = SmartImageCache::GetInstance();
    cache->ImageCreated();
    cache->ImageDestroyed();  // no page is left: the swap files go
    vlOS::directoryDelete(swapDirectory.c_str());
    return 0;
}
