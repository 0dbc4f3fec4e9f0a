// The reference-counted body of a smart page: pixel storage or its stand-in (a solid value, a swap
// block or a seed), the cache's list links and the bookkeeping of sharing and retention.
#pragma once

#include <cstdint>

class ilImage;
struct SwapBlock;

// Live and dead signature words of pages, seed records, tables and swap files.
constexpr std::uint32_t kSmartLiveSignature = 0xf00dface;
constexpr std::uint32_t kSmartDeadSignature = 0xdeadbeef;

// Where a page's pixels are. 4 is reserved and never entered; 5 is unused.
enum PageState : std::int32_t {
    Invalid = 0,
    ValidInMem = 1,
    Swapped = 2,
    SolidFill = 3,
    ReservedState = 4,
    FromSeed = 6,
    Freed = 7,
    Unrealized = 8,
    ZeroRef = 9
};

// What the alpha of a page or area is known to be.
enum SmartImgTrans : std::int32_t {
    SmartImgTransMixed = 0,
    SmartImgTransClear = 1,
    SmartImgTransOpaque = 2,
    SmartImgTransNoPages = 3
};

// The seed image and page origin a FromSeed page will read its pixels from. The image is not
// counted here: the smart image that owns the page holds it as its input.
struct SeedRecord {
    std::uint32_t signature = kSmartLiveSignature;
    ilImage* seedImage = nullptr;
    std::int32_t x = 0;
    std::int32_t y = 0;
};

struct PageData {
    explicit PageData(std::uint32_t stamp) : lastAccess(stamp) {}

    std::uint32_t signature = kSmartLiveSignature;
    unsigned char* data = nullptr;
    SeedRecord* seed = nullptr;
    // The solid value in SolidFill (and the last solid value while ValidInMem); the swap block in
    // Swapped. Both share one word.
    union {
        std::uint32_t fillValue;
        SwapBlock* swapBlock = nullptr;
    };
    PageData* nextInList = nullptr;
    PageData* prevInList = nullptr;
    PageData* nextToScan = nullptr;
    PageData* prevToScan = nullptr;
    PageData* potentialDuplicate = nullptr;
    std::int32_t lockCount = 0;
    std::int32_t refCount = 1;
    std::uint32_t lastAccess;
    std::uint16_t readerCount = 0;
    std::int32_t state = Invalid;
    std::uint8_t priority = 0;
    std::uint8_t pixelSize = 0;
    std::uint8_t pixelShift = 0;
    std::uint8_t swapClean = 0;
    std::uint8_t seedClean = 1;
    // 1 off the scan list, 0 on it, 255 a temporary solid.
    std::uint8_t scanState = 1;
    std::int32_t transparency = 0;
    std::int16_t readLocks = 0;
    std::int16_t writeLocks = 0;
};

// Page geometry shared by the page, the cache and the table.
constexpr int kPageEdge = 128;
constexpr int kPagePixels = kPageEdge * kPageEdge;
constexpr int kRetainedPriority = 255;
