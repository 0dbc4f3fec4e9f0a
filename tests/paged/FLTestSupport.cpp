#include "FLTestSupport.h"

#include <algorithm>
#include <cmath>

namespace fltest {

std::vector<uint8_t> randomPixels(int width, int height, int channels, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<uint8_t> v(size_t(width) * height * channels);
    for (uint8_t& b : v)
        b = uint8_t(rng());
    return v;
}

uint32_t tablePosition(int d, double scale, int size, unsigned minify, unsigned magnify) {
    int top;
    if (scale > 1 && minify == 0)
        top = size - 1;
    else if (scale >= 1 || magnify != 0)
        top = size - 2;
    else
        top = size - 1;
    const double p = std::clamp(d / scale - 0.5, 0.0, double(std::max(top, 0)));
    return uint32_t(p * 256 + 0.5);
}

namespace {
double bspline(double d) {
    d = std::fabs(d);
    if (d <= 1) return (3 * d * d * d - 6 * d * d + 4) / 6;
    if (d <= 2) return (2 - d) * (2 - d) * (2 - d) / 6;
    return 0;
}
int clampTo(int i, int n) {
    return std::clamp(i, 0, n - 1);
}
}  // namespace

double modelSample(const Picture& p, unsigned mode, uint32_t x, uint32_t y, int c) {
    if (mode == 0)
        return p.at(clampTo(int((x + 128) >> 8), p.width), clampTo(int((y + 128) >> 8), p.height),
                    c);
    int xi = int(x >> 8), yi = int(y >> 8);
    double fx = (x & 255) / 256.0, fy = (y & 255) / 256.0;
    if (mode == 1) {
        if (xi >= p.width - 1) xi = p.width - 1, fx = 0;
        if (yi >= p.height - 1) yi = p.height - 1, fy = 0;
        const int x1 = clampTo(xi + 1, p.width), y1 = clampTo(yi + 1, p.height);
        return (p.at(xi, yi, c) * (1 - fx) + p.at(x1, yi, c) * fx) * (1 - fy) +
               (p.at(xi, y1, c) * (1 - fx) + p.at(x1, y1, c) * fx) * fy;
    }
    // The weights sample the spline at the middle of each 1/256 step.
    const double tx = ((x & 255) * 2 + 1) / 512.0, ty = ((y & 255) * 2 + 1) / 512.0;
    xi = std::min(xi, p.width - 1), yi = std::min(yi, p.height - 1);
    double sum = 0;
    for (int j = -1; j <= 2; ++j)
        for (int i = -1; i <= 2; ++i)
            sum += bspline(i - tx) * bspline(j - ty) *
                   p.at(clampTo(xi + i, p.width), clampTo(yi + j, p.height), c);
    return sum;
}

}  // namespace fltest
