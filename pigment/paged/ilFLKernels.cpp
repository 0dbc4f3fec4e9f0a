#include "pigment/paged/ilFLKernels_p.h"

#include <algorithm>
#include <cmath>

namespace ilFLKernels {

namespace {

// The uniform cubic B-spline at distance d from a tap.
double bspline(double d) {
    if (d <= 1) return ((3 * d - 6) * d * d + 4) / 6;
    return (((6 - d) * d - 12) * d + 8) / 6;
}

struct BicubicTable {
    uint32_t packed[256];
    BicubicTable() {
        for (int i = 0; i < 256; ++i) {
            const double t = (2 * i + 1) * 0.001953125;
            int w[4];
            const double d[4] = {1 + t, t, 1 - t, 2 - t};
            int sum = 0;
            for (int k = 0; k < 4; ++k)
                sum += w[k] = int(bspline(d[k]) * 256 + 0.5);
            // Rounding leaves the weights a step off 256; the step goes to a middle weight.
            const int residue = 256 - sum;
            const bool secondLarger = w[2] >= w[1];
            const int larger = secondLarger ? 2 : 1, smaller = w[2] == w[1] ? 2 : 3 - larger;
            w[residue < 1 ? larger : smaller] += residue;
            packed[i] =
                uint32_t(w[0]) | uint32_t(w[1]) << 8 | uint32_t(w[2]) << 16 | uint32_t(w[3]) << 24;
        }
    }
};

// The integer column or row and the fraction of a 24.8 position, clamped to the source.
struct Tap {
    int i0, i1;  // the pixel and its next neighbour (the edge repeats)
    int f;       // 0..255
};

inline Tap tap(uint32_t pos, int size) {
    const int top = size - 1;
    int i = int(pos >> 8);
    int f = int(pos & 255);
    if (i >= top) i = top, f = 0;
    return {i, std::min(i + 1, top), f};
}

inline int clampIndex(int i, int size) {
    return i < 0 ? 0 : i >= size ? size - 1 : i;
}

template <int C>
inline void bilinearPixel(const Source& s, uint32_t px, uint32_t py, uint8_t* out) {
    const Tap x = tap(px, s.width), y = tap(py, s.height);
    const uint8_t* r0 = s.data + size_t(y.i0) * s.width * C;
    const uint8_t* r1 = s.data + size_t(y.i1) * s.width * C;
    const uint32_t fx = x.f, gx = 256 - fx, fy = y.f, gy = 256 - fy;
    for (int c = 0; c < C; ++c) {
        const uint32_t top = r0[x.i1 * C + c] * fx + r0[x.i0 * C + c] * gx;
        const uint32_t bottom = r1[x.i1 * C + c] * fx + r1[x.i0 * C + c] * gx;
        out[c] = uint8_t((top * gy + bottom * fy) >> 16);
    }
}

template <int C>
inline void bicubicPixel(const Source& s, uint32_t px, uint32_t py, uint8_t* out) {
    const uint32_t* table = bicubicTable();
    const int xi = int(std::min<uint32_t>(px >> 8, uint32_t(s.width - 1)));
    const int yi = int(std::min<uint32_t>(py >> 8, uint32_t(s.height - 1)));
    const uint32_t wx = table[px & 255], wy = table[py & 255];
    int cols[4];
    const uint8_t* rows[4];
    for (int k = 0; k < 4; ++k) {
        cols[k] = clampIndex(xi - 1 + k, s.width) * C;
        rows[k] = s.data + size_t(clampIndex(yi - 1 + k, s.height)) * s.width * C;
    }
    for (int c = 0; c < C; ++c) {
        uint32_t sum = 0;
        for (int j = 0; j < 4; ++j) {
            uint32_t row = 0;
            for (int k = 0; k < 4; ++k)
                row += rows[j][cols[k] + c] * ((wx >> (8 * k)) & 255);
            sum += row * ((wy >> (8 * j)) & 255);
        }
        out[c] = uint8_t(sum >> 16);
    }
}

template <int C>
inline void pointPixel(const Source& s, uint32_t px, uint32_t py, uint8_t* out) {
    const int x = std::min(int((px + 128) >> 8), s.width - 1);
    const int y = std::min(int((py + 128) >> 8), s.height - 1);
    const uint8_t* p = s.data + (size_t(y) * s.width + x) * C;
    for (int c = 0; c < C; ++c)
        out[c] = p[c];
}

}  // namespace

const uint32_t* bicubicTable() {
    static const BicubicTable table;
    return table.packed;
}

template <int C>
void scaleRowPoint(const Source& s, const uint32_t* xpos, int n, uint32_t ypos, uint8_t* out) {
    for (int i = 0; i < n; ++i)
        pointPixel<C>(s, xpos[i], ypos, out + i * C);
}

void scaleRowBilinearScalar4(const Source& s, const uint32_t* xpos, int n, uint32_t ypos,
                             uint8_t* out) {
    for (int i = 0; i < n; ++i)
        bilinearPixel<4>(s, xpos[i], ypos, out + i * 4);
}

template <int C>
void scaleRowBilinear(const Source& s, const uint32_t* xpos, int n, uint32_t ypos, uint8_t* out) {
    for (int i = 0; i < n; ++i)
        bilinearPixel<C>(s, xpos[i], ypos, out + i * C);
}

template <int C>
void scaleRowBicubic(const Source& s, const uint32_t* xpos, int n, uint32_t ypos, uint8_t* out) {
    for (int i = 0; i < n; ++i)
        bicubicPixel<C>(s, xpos[i], ypos, out + i * C);
}

template <int C>
void sampleRowPoint(const Source& s, const uint32_t* xpos, const uint32_t* ypos, int n,
                    uint8_t* out) {
    for (int i = 0; i < n; ++i)
        pointPixel<C>(s, xpos[i], ypos[i], out + i * C);
}

template <int C>
void sampleRowBilinear(const Source& s, const uint32_t* xpos, const uint32_t* ypos, int n,
                       uint8_t* out) {
    for (int i = 0; i < n; ++i)
        bilinearPixel<C>(s, xpos[i], ypos[i], out + i * C);
}

template <int C>
void sampleRowBicubic(const Source& s, const uint32_t* xpos, const uint32_t* ypos, int n,
                      uint8_t* out) {
    for (int i = 0; i < n; ++i)
        bicubicPixel<C>(s, xpos[i], ypos[i], out + i * C);
}

#define IL_FL_KERNELS(C)                                                                        \
    template void scaleRowPoint<C>(const Source&, const uint32_t*, int, uint32_t, uint8_t*);    \
    template void scaleRowBilinear<C>(const Source&, const uint32_t*, int, uint32_t, uint8_t*); \
    template void scaleRowBicubic<C>(const Source&, const uint32_t*, int, uint32_t, uint8_t*);  \
    template void sampleRowPoint<C>(const Source&, const uint32_t*, const uint32_t*, int,       \
                                    uint8_t*);                                                  \
    template void sampleRowBilinear<C>(const Source&, const uint32_t*, const uint32_t*, int,    \
                                       uint8_t*);                                               \
    template void sampleRowBicubic<C>(const Source&, const uint32_t*, const uint32_t*, int,     \
                                      uint8_t*);
IL_FL_KERNELS(1)
IL_FL_KERNELS(4)
#undef IL_FL_KERNELS

}  // namespace ilFLKernels
