// Byte counts of boxes of elements that saturate instead of overflowing, so that absurd extents
// read as memory that cannot be had rather than as undefined arithmetic.
#pragma once

#include <cstdint>

#include "pigment/frame/ilData.h"

// Bytes of a times b times c times d elements of type: 0 when a factor is below 1, INT64_MAX when
// the count does not fit.
inline int64_t ilBoxBytes(ilType type, int64_t a, int64_t b = 1, int64_t c = 1, int64_t d = 1) {
    if (a < 1 || b < 1 || c < 1 || d < 1) return 0;
    int64_t n = a;
    if (__builtin_mul_overflow(n, b, &n) || __builtin_mul_overflow(n, c, &n) ||
        __builtin_mul_overflow(n, d, &n) || n > INT64_MAX / 8)
        return INT64_MAX;
    return ilDataSize(type, n);
}

// The same, clamped to the int range of page byte counts.
inline int ilBoxBytesInt(ilType type, int64_t a, int64_t b, int64_t c, int64_t d) {
    const int64_t n = ilBoxBytes(type, a, b, c, d);
    return n > INT32_MAX ? INT32_MAX : static_cast<int>(n);
}
