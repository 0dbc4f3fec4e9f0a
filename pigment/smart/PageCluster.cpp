// Cluster construction, release of its pages, the cluster origin rule and pruning to bounds.
#include "pigment/smart/PageCluster.h"

#include "pigment/frame/ilImage.h"
#include "pigment/smart/PageImageView.h"
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
            // Part of the page stays: the rest takes the fill through a view of the page.
            PageImageView view;
            ilImage* pageImage = view.Bind(&page, 1, 1);
            if (!pageImage) continue;
            page.MarkDirty();
            const ilTile keep(lx, ly, lw, lh);
            pageImage->fillTile3D(0, 0, 0, kPageEdge, kPageEdge, 1, &fill, nullptr, &keep);
        }
}
