// Shared pieces of the transformed-image tests: seeded images and a plain double-precision
// model of the sampling kernels, written from their formulas.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "pigment/paged/ilFLMemoryImg.h"

namespace fltest {

// Random pixels, C bytes each, width by height.
std::vector<uint8_t> randomPixels(int width, int height, int channels, uint32_t seed);

// The source of a model read: its pixels and shape.
struct Picture {
    const std::vector<uint8_t>* pixels;
    int width, height, channels;
    uint8_t at(int x, int y, int c) const {
        return (*pixels)[(size_t(y) * width + x) * channels + c];
    }
};

// The 24.8 position the scaled read uses for destination index d of an axis.
uint32_t tablePosition(int d, double scale, int size, unsigned minify, unsigned magnify);

// The kernels in double precision at a 24.8 position (x, y): point, bilinear, bicubic (from
// the B-spline itself, not from the rounded weight table).
double modelSample(const Picture& p, unsigned mode, uint32_t x, uint32_t y, int c);

}  // namespace fltest
