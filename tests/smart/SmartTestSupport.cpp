// Helpers of the smart tests; the memory probes are set before any test creates the cache.
#include "SmartTestSupport.h"

#include <cstdlib>
#include <vector>

#include "pigment/frame/PigmentCallbacks.h"
#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/SmartImageCache.h"

namespace {
// Reported physical memory: 16 MiB total and 1 MiB available, so the ceiling and floor meet.
const bool probesSet = [] {
    PigmentCB()->totalPhysicalMemory = [] { return 16 * 1024; };
    PigmentCB()->availPhysicalMemory = [] { return 1024; };
    return true;
}();
}  // namespace

void writeContent(SmartImgPage& page, int n, int v) {
    (void)probesSet;
    if (page.IsNull()) page.MakeFilled(0, 4);
    page.Realize(2);
    for (int i = 0; i < kPagePixels; ++i)
        page.SetPixel(patternWord(n, i, v), i & 127, i >> 7);
}

bool hasContent(SmartImgPage& page, int n, int v) {
    page.Realize(0);
    const unsigned mask = page.GetPixelSize() == 4 ? 0xffffffffu : 0xffu;
    for (int i = 0; i < kPagePixels; ++i)
        if (page.GetPixel(i & 127, i >> 7) != (patternWord(n, i, v) & mask)) return false;
    return page.IsInMemory();
}

void paint(ilImage& image, int x, int y, int w, int h, int salt) {
    std::vector<std::uint32_t> px(static_cast<size_t>(w) * h);
    for (size_t i = 0; i < px.size(); ++i)
        px[i] = patternWord(salt, static_cast<int>(i));
    image.setTile(x, y, w, h, px.data());
}

bool painted(ilImage& image, int x, int y, int w, int h, int salt) {
    std::vector<std::uint32_t> px(static_cast<size_t>(w) * h);
    image.getTile(x, y, w, h, px.data());
    for (size_t i = 0; i < px.size(); ++i)
        if (px[i] != patternWord(salt, static_cast<int>(i))) return false;
    return true;
}

ilPixel clearFill() {
    const unsigned char clear[4] = {0, 0, 0, 0};
    return ilPixel(ilUChar, 4, clear);
}

void closeSwapFiles() {
    SmartImageCache* cache = SmartImageCache::GetInstance();
    cache->ImageCreated();
    cache->ImageDestroyed();
}

SwapScope::SwapScope() {
    ResetFaultLatchForTest();
    setenv("SID_TEMP_DIR", dir.path.c_str(), 1);
    closeSwapFiles();
    SmartImageCache::GetInstance()->SetBudget(0);  // clamps to the floor
    SmartImageCache::GetInstance()->RetrySwapNow();
}

SwapScope::~SwapScope() {
    SmartImageCache::GetInstance()->RetrySwapNow();
    closeSwapFiles();
    unsetenv("SID_TEMP_DIR");
}
