// The shelf packer behind vlUtil::pack: simple, fast and good enough for atlases of similar
// boxes, which is what the library packs.
#include "pigment/base/vlIntRange2d.h"

#include <algorithm>
#include <cmath>

namespace vlUtil {

namespace {
long long roundUpPowerOfTwo(long long v) {
    long long p = 1;
    while (p < v)
        p <<= 1;
    return p;
}
}  // namespace

IntRange2d pack(std::vector<IntRange2d>& ranges, bool powerOfTwo) {
    long long area = 0;
    long long widest = 0;
    std::vector<std::size_t> order;
    order.reserve(ranges.size());
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        if (ranges[i].isEmpty()) {
            ranges[i].moveTo(0, 0);
            continue;
        }
        area += static_cast<long long>(ranges[i].width()) * ranges[i].height();
        widest = std::max<long long>(widest, ranges[i].width());
        order.push_back(i);
    }
    if (order.empty()) return IntRange2d();

    long long atlasWidth = std::max<long long>(
        widest, static_cast<long long>(std::ceil(std::sqrt(static_cast<double>(area)))));
    if (powerOfTwo) atlasWidth = roundUpPowerOfTwo(atlasWidth);

    // Tallest first keeps shelves tight; ties by width, then index for a stable layout.
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        if (ranges[a].height() != ranges[b].height())
            return ranges[a].height() > ranges[b].height();
        if (ranges[a].width() != ranges[b].width()) return ranges[a].width() > ranges[b].width();
        return a < b;
    });

    long long x = 0, shelfY = 0, shelfHeight = 0, usedWidth = 0;
    for (std::size_t i : order) {
        IntRange2d& r = ranges[i];
        if (x + r.width() > atlasWidth) {
            shelfY += shelfHeight;
            x = 0;
            shelfHeight = 0;
        }
        r.moveTo(static_cast<int>(x), static_cast<int>(shelfY));
        x += r.width();
        usedWidth = std::max(usedWidth, x);
        shelfHeight = std::max<long long>(shelfHeight, r.height());
    }
    long long totalHeight = shelfY + shelfHeight;
    if (powerOfTwo) {
        usedWidth = atlasWidth;
        totalHeight = roundUpPowerOfTwo(totalHeight);
    }
    return IntRange2d(0, 0, static_cast<int>(usedWidth), static_cast<int>(totalHeight));
}

}  // namespace vlUtil
