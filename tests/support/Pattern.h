// Test content that differs from pixel to pixel, page to page and version to version: a hash of
// up to three numbers, so a misplaced, stale or swapped word shows at once.
#pragma once

#include <cstdint>

inline std::uint32_t patternWord(int a, int b, int c = 0) {
    std::uint32_t h = static_cast<std::uint32_t>(a) * 0x9e3779b1u ^
                      static_cast<std::uint32_t>(b) * 0x85ebca77u ^
                      static_cast<std::uint32_t>(c) * 0xc2b2ae3du;
    h ^= h >> 15;
    h *= 0x2c1b3c6du;
    h ^= h >> 12;
    return h;
}
