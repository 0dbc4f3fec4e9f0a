// A canvas far larger than the cache's budget: written whole with distinct content under the
// 16 MiB floor, read back exact after paging through swap files, which go with the last image.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "SmartTestSupport.h"
#include "pigment/base/vlOSFile.h"

namespace {

class SmartCanvasSwap : public LatchClear {};

#ifdef __SANITIZE_ADDRESS__
constexpr int kFullCanvas = 8192;
#else
constexpr int kFullCanvas = 32768;
#endif
constexpr int kTile = 1024;

// The largest canvas up to the full one whose swap traffic fits the disk with room to spare: a
// machine short of disk still pages a canvas many times the budget.
int canvasEdgeFor(const std::string& dir) {
    const std::uint64_t free = vlOS::freeDiskSpace(dir.c_str());
    int edge = kFullCanvas;
    while (edge > 4096 && static_cast<std::uint64_t>(edge) * edge * 4 * 5 / 4 > free)
        edge /= 2;
    return edge;
}

void makeTile(std::vector<std::uint32_t>& buffer, int tx, int ty) {
    for (int y = 0; y < kTile; ++y) {
        std::uint32_t* row = buffer.data() + static_cast<size_t>(y) * kTile;
        for (int x = 0; x < kTile; ++x)
            row[x] = patternWord(tx + x, ty + y);
    }
}

TEST_F(SmartCanvasSwap, CanvasFarLargerThanTheBudgetReadsBackExact) {
    SwapScope swap;
    SmartImageCache* cache = SmartImageCache::GetInstance();
    ASSERT_EQ(cache->GetBudget(), 16 << 20);
    const int kCanvas = canvasEdgeFor(swap.dir.path);
    if (kCanvas < kFullCanvas)
        std::printf("disk space is short: paging a %d x %d canvas instead of %d x %d\n", kCanvas,
                    kCanvas, kFullCanvas, kFullCanvas);

    const unsigned char clear[4] = {0, 0, 0, 0};
    auto canvas = std::make_unique<ilSmartImage>(ilPixel(ilUChar, 4, clear));
    std::vector<std::uint32_t> tile(static_cast<size_t>(kTile) * kTile);
    std::int64_t peak = 0;
    for (int ty = 0; ty < kCanvas; ty += kTile)
        for (int tx = 0; tx < kCanvas; tx += kTile) {
            makeTile(tile, tx, ty);
            ASSERT_EQ(canvas->setTile(tx, ty, kTile, kTile, tile.data()), ilOK);
            peak = std::max(peak, cache->GetBytesInMemory());
        }
    EXPECT_EQ(canvas->getBounds(), ilTile(0, 0, 0, kCanvas, kCanvas, 1));
    // One tile's pages may be resident beyond the budget while the tile is written.
    EXPECT_LE(peak, cache->GetBudget() + 2 * (kTile / 128) * (kTile / 128) * 65536);
    EXPECT_GT(cache->GetSwappedCount(), 0);
    EXPECT_TRUE(cache->GetSwapFile(4).IsOpen());
    EXPECT_TRUE(swap.dir.files().empty()) << "swap files have no name while in use";

    // Read back in the opposite order, so that every page comes in from disk.
    std::vector<std::uint32_t> expect(tile.size());
    int wrong = 0;
    for (int ty = kCanvas - kTile; ty >= 0; ty -= kTile)
        for (int tx = kCanvas - kTile; tx >= 0; tx -= kTile) {
            ASSERT_EQ(canvas->getTile(tx, ty, kTile, kTile, tile.data()), ilOK);
            makeTile(expect, tx, ty);
            if (tile != expect) ++wrong;
        }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(cache->GetMisses(), 0);

    canvas.reset();
    EXPECT_FALSE(cache->GetSwapFile(4).IsOpen()) << "the last smart image closes the swap files";
    EXPECT_EQ(cache->GetImageCount(), 0);
}

}  // namespace
