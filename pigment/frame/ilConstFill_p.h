// Row writers for constant pixels: a byte value or a 32-bit value repeated along a row.
#pragma once

#include <cstdint>
#include <cstring>

namespace ilConstFill {

// Writes value n times from dst, which need not be aligned; runs of the all-zero and all-one
// words become a byte fill.
inline void fill32(unsigned char* dst, uint32_t value, long n) {
    if (n <= 0) return;
    if (value == 0u || value == 0xffffffffu) {
        std::memset(dst, static_cast<int>(value & 0xff), static_cast<size_t>(n) * 4);
        return;
    }
    for (long i = 0; i < n; ++i)
        std::memcpy(dst + 4 * i, &value, 4);
}

}  // namespace ilConstFill
