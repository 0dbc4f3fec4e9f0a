// Shared helpers of the smart tests: a small machine for the cache (16 MiB, so the budget sits at
// its floor), page and canvas content from the shared pattern, and a private swap directory.
#pragma once

#include <gtest/gtest.h>

#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/SmartImageCache.h"
#include "pigment/smart/ilSmartImage.h"
#include "support/Pattern.h"
#include "support/TempDir.h"

// Writes (Realize 2) or checks pattern n, version v over a whole page; a null handle becomes a big
// page.
void writeContent(SmartImgPage& page, int n, int v = 0);
bool hasContent(SmartImgPage& page, int n, int v = 0);

// Four-channel content: pixel i of the w x h tile at (x, y) is patternWord(salt, i).
void paint(ilImage& image, int x, int y, int w, int h, int salt);
bool painted(ilImage& image, int x, int y, int w, int h, int salt);
ilPixel clearFill();

inline SmartImageCache* cache() {
    return SmartImageCache::GetInstance();
}

// A test that starts with the fault latch clear and fails when a consistency test tripped it.
class LatchClear : public testing::Test {
  protected:
    void SetUp() override { ResetFaultLatchForTest(); }
    void TearDown() override { EXPECT_EQ(FaultLatch, 0u) << "a consistency test tripped"; }
};

// Closes the swap files as the last image going would: the cache is quiet between tests.
void closeSwapFiles();

// Swap files go to a fresh directory, the fault latch is clear and the budget at its 16 MiB floor;
// at the end the swap files are closed.
struct SwapScope {
    TempDir dir;
    SwapScope();
    ~SwapScope();
};
