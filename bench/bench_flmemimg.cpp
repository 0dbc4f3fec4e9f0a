// Transformed reads of 4096 x 4096 ilFLMemoryImg images, four bytes and one byte a pixel, in
// megapixels of output per second, with pixman's bilinear transform of the same pixels beside
// them when pixman is present, and a memcpy of the image as the bandwidth reference.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "pigment/paged/ilFLMemoryImg.h"

#ifdef PIGMENT_HAVE_PIXMAN
#include <pixman.h>
#endif

namespace {

constexpr int kSide = 4096;
constexpr int kOut = 1024;

std::vector<uint8_t>& pixels(int channels) {
    static std::vector<uint8_t> four, one;
    std::vector<uint8_t>& v = channels == 4 ? four : one;
    if (v.empty()) {
        v.resize(size_t(kSide) * kSide * channels);
        uint32_t s = 12345;
        for (uint8_t& b : v)
            b = uint8_t((s = s * 1103515245u + 12345u) >> 24);
    }
    return v;
}

ilFLMemoryImg& image(int channels) {
    static ilFLMemoryImg* four = nullptr;
    static ilFLMemoryImg* one = nullptr;
    ilFLMemoryImg*& img = channels == 4 ? four : one;
    if (!img)
        img = new ilFLMemoryImg(pixels(channels).data(), ilSize(kSide, kSide, 1, channels), ilUChar,
                                ilInterleaved, false);
    return *img;
}

std::vector<uint8_t>& destination() {
    static std::vector<uint8_t> d(size_t(kOut) * kOut * 4, 1);
    return d;
}

void report(benchmark::State& state, int64_t pixelsPerRun) {
    state.counters["Mpx/s"] = benchmark::Counter(double(pixelsPerRun) * state.iterations() / 1e6,
                                                 benchmark::Counter::kIsRate);
}

enum Read { Down, Up, Rotate, Deform };

void BM_FL(benchmark::State& state) {
    const int channels = int(state.range(0));
    const Read read = Read(state.range(1));
    ilFLMemoryImg& img = image(channels);
    img.SetMinifyScaleMode(1);
    img.SetMagnifyScaleMode(1);
    img.SetOffset(0, 0);
    switch (read) {
        case Down:
            img.SetScaleFactors(0.25f, 0.25f);
            break;
        case Up:
            img.SetScaleFactors(1.5f, 1.5f);
            img.SetOffset(1024, 1024);  // a 1024 square from the middle of the enlargement
            break;
        case Rotate:
            img.SetScaleAndRotation(1, 1, 30, 2048, 2048);
            img.SetOffset(1536, 1536);
            break;
        case Deform:
            break;
    }
    uint8_t* out = destination().data();
    const Rect8f quad(100, 50, 300, 1000, 800, 950, 1000, 20);
    for (auto _ : state) {
        ilStatus s = read == Deform ? img.getDeformTile(quad, out, kOut, kOut, 1, 1, 1)
                                    : img.getScaleTile(0, 0, kSide, kSide, out, kOut, kOut);
        benchmark::DoNotOptimize(s);
        benchmark::ClobberMemory();
    }
    // The warp writes only the pixels inside its quad.
    report(state,
           read == Deform ? int64_t(0.5 * 1000 * 1000 + 0.5 * 920 * 890) : int64_t(kOut) * kOut);
}
BENCHMARK(BM_FL)
    ->ArgNames({"channels", "read"})
    ->Args({4, Down})
    ->Args({4, Up})
    ->Args({4, Rotate})
    ->Args({4, Deform})
    ->Args({1, Down})
    ->Args({1, Up})
    ->Args({1, Rotate})
    ->Args({1, Deform})
    ->Unit(benchmark::kMillisecond);

#ifdef PIGMENT_HAVE_PIXMAN
// The same reads through pixman: the destination pixel's centre maps back through the inverse
// transform, sampled bilinearly, written with the source operator.
void BM_Pixman(benchmark::State& state) {
    const int channels = int(state.range(0));
    const Read read = Read(state.range(1));
    pixman_image_t* src = pixman_image_create_bits(
        channels == 4 ? PIXMAN_a8b8g8r8 : PIXMAN_a8, kSide, kSide,
        reinterpret_cast<uint32_t*>(pixels(channels).data()), kSide * channels);
    pixman_image_t* dst = pixman_image_create_bits(
        channels == 4 ? PIXMAN_a8b8g8r8 : PIXMAN_a8, kOut, kOut,
        reinterpret_cast<uint32_t*>(destination().data()), kOut * channels);
    pixman_transform_t t;
    pixman_transform_init_identity(&t);
    switch (read) {
        case Down:
            pixman_transform_init_scale(&t, pixman_double_to_fixed(4), pixman_double_to_fixed(4));
            break;
        case Up:
            pixman_transform_init_scale(&t, pixman_double_to_fixed(1 / 1.5),
                                        pixman_double_to_fixed(1 / 1.5));
            pixman_transform_translate(&t, nullptr, pixman_double_to_fixed(1024 / 1.5),
                                       pixman_double_to_fixed(1024 / 1.5));
            break;
        case Rotate: {
            // Destination (x, y) + 1536 about 2048, turned back by 30 degrees.
            const double a = -30 * M_PI / 180;
            pixman_f_transform_t f;
            pixman_f_transform_init_translate(&f, 1536 - 2048, 1536 - 2048);
            pixman_f_transform_rotate(&f, nullptr, std::cos(a), std::sin(a));
            pixman_f_transform_translate(&f, nullptr, 2048, 2048);
            pixman_transform_from_pixman_f_transform(&t, &f);
            break;
        }
        case Deform:
            break;
    }
    pixman_image_set_transform(src, &t);
    pixman_image_set_filter(src, PIXMAN_FILTER_BILINEAR, nullptr, 0);
    for (auto _ : state) {
        pixman_image_composite32(PIXMAN_OP_SRC, src, nullptr, dst, 0, 0, 0, 0, 0, 0, kOut, kOut);
        benchmark::ClobberMemory();
    }
    report(state, int64_t(kOut) * kOut);
    pixman_image_unref(src);
    pixman_image_unref(dst);
}
BENCHMARK(BM_Pixman)
    ->ArgNames({"channels", "read"})
    ->Args({4, Down})
    ->Args({4, Up})
    ->Args({4, Rotate})
    ->Args({1, Down})
    ->Args({1, Up})
    ->Args({1, Rotate})
    ->Unit(benchmark::kMillisecond);
#else
void BM_Pixman(benchmark::State& state) {
    state.SkipWithError("pixman is not installed here (libpixman-1-dev): no peer figures");
}
BENCHMARK(BM_Pixman);
#endif

// The bandwidth reference: a copy of the four-byte image.
void BM_Memcpy(benchmark::State& state) {
    static std::vector<uint8_t> to(pixels(4).size());
    for (auto _ : state) {
        std::memcpy(to.data(), pixels(4).data(), to.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(to.size()) * state.iterations());
    report(state, int64_t(kSide) * kSide);
}
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
