// The vector bilinear rows against their scalar twin, bit for bit, over seeded random positions
// that include the last row and column and the full fractions.
#include <gtest/gtest.h>

#include <random>

#include "FLTestSupport.h"
#include "pigment/paged/ilFLKernels_p.h"

TEST(FLKernelsTest, VectorBilinearRowsEqualTheScalarTwin) {
    std::mt19937 rng(77);
    for (int trial = 0; trial < 200; ++trial) {
        const int w = 2 + int(rng() % 40), h = 1 + int(rng() % 20);
        const std::vector<uint8_t> pixels = fltest::randomPixels(w, h, 4, uint32_t(rng()));
        const ilFLKernels::Source src{pixels.data(), w, h};
        const int n = 1 + int(rng() % 33);
        std::vector<uint32_t> xs(static_cast<size_t>(n)), ys(static_cast<size_t>(n));
        for (int i = 0; i < n; ++i) {
            // Mostly inside, sometimes exactly on or past the last pixel.
            xs[size_t(i)] =
                rng() % 5 == 0 ? uint32_t(w - 1) * 256 + rng() % 256 : rng() % (uint32_t(w) * 256);
            ys[size_t(i)] = rng() % 5 == 0 ? uint32_t(h - 1) * 256 : rng() % (uint32_t(h) * 256);
        }
        std::vector<uint8_t> fast(size_t(n) * 4), scalar(size_t(n) * 4), each(size_t(n) * 4);
        ilFLKernels::scaleRowBilinear<4>(src, xs.data(), n, ys[0], fast.data());
        ilFLKernels::scaleRowBilinearScalar4(src, xs.data(), n, ys[0], scalar.data());
        ASSERT_EQ(fast, scalar) << "trial " << trial;
        ilFLKernels::sampleRowBilinear<4>(src, xs.data(), ys.data(), n, fast.data());
        for (int i = 0; i < n; ++i)
            ilFLKernels::scaleRowBilinearScalar4(src, &xs[size_t(i)], 1, ys[size_t(i)],
                                                 &each[size_t(i) * 4]);
        ASSERT_EQ(fast, each) << "trial " << trial;
    }
}
