// Cluster construction, release of its pages, the cluster origin rule and pruning to bounds.
#include "pigment/smart/PageCluster.h"

#include <algorithm>
#include <cstring>

#include "pigment/smart/SmartImage.h"

PageCluster::PageCluster() : x(0), y(0), next(nullptr), prev(nullptr) {}

PageCluster::PageCluster(int ox, int oy) : x(ox), y(oy), next(nullptr), prev(nullptr) {}

PageCluster::~PageCluster() {
    for (auto& column : pages)
        for (SmartImgPage& page : column) {
            page.UnRef(1234007);
            page.MakeNull();
        }
}

void PageCluster::FindOrigin(int px, int py, int& ox, int& oy) {
    // Masking the low bits of a two's complement value floors toward minus infinity.
    ox = px & ~(kClusterEdge - 1);
    oy = py & ~(kClusterEdge - 1);
}

namespace {

// Sets the pixels of columns x0..x1-1 of row y of a resident page.
void fillSpan(unsigned char* data, int pixelSize, int y, int x0, int x1, std::uint32_t value) {
    if (x1 <= x0) return;
    const int at = SmartImgPage::GetPixelOffset(x0, y);
    if (pixelSize == 4)
        std::fill_n(reinterpret_cast<std::uint32_t*>(data) + at, x1 - x0, value);
    else
        std::memset(data + at, static_cast<int>(value & 0xff), static_cast<std::size_t>(x1 - x0));
}

}  // namespace

void PageCluster::PrunePages(int kx, int ky, int kw, int kh, SmartImage* image) {
    const bool hasSeed = image->GetSeed() != nullptr;
    const std::uint32_t fill = image->GetFill();
    for (int col = 0; col < kClusterPages; ++col)
        for (int row = 0; row < kClusterPages; ++row) {
            SmartImgPage& page = pages[col][row];
            if (page.IsNull()) continue;
            const int px = x + col * kPageEdge, py = y + row * kPageEdge;
            // The part of the page to keep, in page coordinates.
            int lx = kx - px, ly = ky - py, lw = kw, lh = kh;
            const bool anyInside = SmartImgPage::ClipToPage(lx, ly, lw, lh);
            if (anyInside && lw == kPageEdge && lh == kPageEdge) continue;
            if (!anyInside && !hasSeed) {
                page.UnRef(1234012);
                page.MakeNull();
                continue;
            }
            if (!anyInside) {
                // Dropping the handle would uncover the seed: the page becomes a solid of fill.
                if (page.IsSolidFilled(fill)) continue;
                page.Realize(3);
                page.MarkDirty();
                page.FillPage(fill);
                continue;
            }
            page.Realize(1);
            unsigned char* data = page.GetData();
            if (!data) continue;
            page.MarkDirty();
            const int size = page.GetPixelSize();
            for (int r = 0; r < kPageEdge; ++r) {
                if (r < ly || r >= ly + lh) {
                    fillSpan(data, size, r, 0, kPageEdge, fill);
                } else {
                    fillSpan(data, size, r, 0, lx, fill);
                    fillSpan(data, size, r, lx + lw, kPageEdge, fill);
                }
            }
        }
}
