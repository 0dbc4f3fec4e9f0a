// Shared helpers of the smart page tests: a small machine for the cache (ceiling 16 MiB), a swap
// directory per test, page content that differs by page and offset, and a plain seed image.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pigment/smart/SmartImgPage.h"

// Reported physical memory: 16 MiB total, 1 MiB available, so the ceiling and floor meet.
constexpr int kTestTotalKB = 16 * 1024;
constexpr int kTestAvailKB = 1024;

// Content of pixel i of page n in version v.
inline std::uint32_t contentWord(int n, int i, int v = 0) {
    std::uint32_t h = static_cast<std::uint32_t>(n) * 0x9e3779b1u ^
                      static_cast<std::uint32_t>(i) * 0x85ebca77u ^
                      static_cast<std::uint32_t>(v) * 0xc2b2ae3du;
    h ^= h >> 15;
    h *= 0x2c1b3c6du;
    h ^= h >> 12;
    return h;
}

// Writes (Realize 2) and checks the whole content of a page; a null handle becomes a big page.
void writeContent(SmartImgPage& page, int n, int v = 0);
bool hasContent(SmartImgPage& page, int n, int v = 0);

// A fresh directory under the system's temporary directory, removed with its files by clean().
struct TempDir {
    std::string path;
    TempDir();
    ~TempDir();
    std::vector<std::string> files() const;
};

// Brings the cache back to a quiet state between tests: no image, swap files closed.
void closeSwapFiles();
