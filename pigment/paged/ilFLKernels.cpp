#include "pigment/paged/ilFLKernels_p.h"

#include <emmintrin.h>

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

// Two four-byte pixels at once in 16-bit lanes, exactly as bilinearPixel computes them: a and b
// are the pixels' top-left neighbours in rows 0 and 1 (each followed by its right neighbour),
// fx and fy their fractions out of 256. The horizontal sums fit 16 bits (at most 255 * 256); the
// vertical products are split into high and low halves with the carry of the low sum restored.
inline __m128i bilinear2(const uint8_t* a0, const uint8_t* a1, const uint8_t* b0, const uint8_t* b1,
                         int fxa, int fxb, int fya, int fyb) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i row0 = _mm_unpacklo_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a0)),
                                            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b0)));
    const __m128i row1 = _mm_unpacklo_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a1)),
                                            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b1)));
    const __m128i fx = _mm_set_epi16(short(fxb), short(fxb), short(fxb), short(fxb), short(fxa),
                                     short(fxa), short(fxa), short(fxa));
    const __m128i gx = _mm_sub_epi16(_mm_set1_epi16(256), fx);
    const __m128i fy = _mm_set_epi16(short(fyb), short(fyb), short(fyb), short(fyb), short(fya),
                                     short(fya), short(fya), short(fya));
    const __m128i gy = _mm_sub_epi16(_mm_set1_epi16(256), fy);
    const __m128i top = _mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(row0, zero), gx),
                                      _mm_mullo_epi16(_mm_unpackhi_epi8(row0, zero), fx));
    const __m128i bottom = _mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(row1, zero), gx),
                                         _mm_mullo_epi16(_mm_unpackhi_epi8(row1, zero), fx));
    const __m128i lo0 = _mm_mullo_epi16(top, gy), lo1 = _mm_mullo_epi16(bottom, fy);
    const __m128i hi = _mm_add_epi16(_mm_mulhi_epu16(top, gy), _mm_mulhi_epu16(bottom, fy));
    const __m128i lo = _mm_add_epi16(lo0, lo1);
    const __m128i sign = _mm_set1_epi16(short(0x8000));
    const __m128i carry = _mm_cmplt_epi16(_mm_xor_si128(lo, sign), _mm_xor_si128(lo0, sign));
    return _mm_packus_epi16(_mm_sub_epi16(hi, carry), zero);
}

// A column tap for the paired kernel: the right neighbour must exist in memory, so the last
// column is read as the one before it at the full fraction, which weighs the same pixel.
inline void pairTap(uint32_t pos, int width, int& x, int& f) {
    x = int(pos >> 8), f = int(pos & 255);
    if (x >= width - 1) x = width - 2, f = 256;
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
    int i = 0;
    if (C == 4 && s.width >= 2) {
        const Tap y = tap(ypos, s.height);
        const uint8_t* r0 = s.data + size_t(y.i0) * s.width * 4;
        const uint8_t* r1 = s.data + size_t(y.i1) * s.width * 4;
        for (; i + 2 <= n; i += 2) {
            int xa, fa, xb, fb;
            pairTap(xpos[i], s.width, xa, fa);
            pairTap(xpos[i + 1], s.width, xb, fb);
            _mm_storel_epi64(
                reinterpret_cast<__m128i*>(out + i * 4),
                bilinear2(r0 + xa * 4, r1 + xa * 4, r0 + xb * 4, r1 + xb * 4, fa, fb, y.f, y.f));
        }
    }
    for (; i < n; ++i)
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
    int i = 0;
    if (C == 4 && s.width >= 2) {
        const size_t row = size_t(s.width) * 4;
        for (; i + 2 <= n; i += 2) {
            int xa, fa, xb, fb;
            pairTap(xpos[i], s.width, xa, fa);
            pairTap(xpos[i + 1], s.width, xb, fb);
            const Tap ya = tap(ypos[i], s.height), yb = tap(ypos[i + 1], s.height);
            const uint8_t* a = s.data + xa * 4;
            const uint8_t* b = s.data + xb * 4;
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i * 4),
                             bilinear2(a + ya.i0 * row, a + ya.i1 * row, b + yb.i0 * row,
                                       b + yb.i1 * row, fa, fb, ya.f, yb.f));
        }
    }
    for (; i < n; ++i)
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
