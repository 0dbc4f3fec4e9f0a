// The three bounds of the smart image (real, published, forced): growth by written tiles, the
// page-level and pixel-exact shrinks, and the forced bounds that prune what lies outside.
#include <algorithm>
#include <cstdio>

#include "pigment/smart/ilSmartImage.h"

namespace {

bool insideXY(const ilTile& outer, const ilTile& t) {
    return t.x >= outer.x && t.y >= outer.y && t.x + t.nx <= outer.x + outer.nx &&
           t.y + t.ny <= outer.y + outer.ny;
}

// Whether the 128 entries of a page row, or column (stride 128), all equal value.
template <typename T>
bool lineEquals(const T* p, int stride, T value) {
    unsigned diff = 0;
    for (int i = 0; i < kPageEdge; ++i)
        diff |= static_cast<unsigned>(p[i * stride] ^ value);
    return diff == 0;
}

}  // namespace

ilTile ilSmartImage::getBounds() {
    resetCheck();
    if (forcedEnabled) SetBounds_(forcedBounds, 0);
    const Rectangle_& b = table.GetBounds();
    realBounds.x = b.x;
    realBounds.y = b.y;
    realBounds.nx = b.w;
    realBounds.ny = b.h;
    if (forcedEnabled) realBounds = forcedBounds;
    publishedBounds.x = realBounds.x;
    publishedBounds.y = realBounds.y;
    publishedBounds.nx = realBounds.nx;
    publishedBounds.ny = realBounds.ny;
    publishedBounds.z = realBounds.z;
    publishedBounds.nz = realBounds.nz;
    return publishedBounds;
}

const ilTile& ilSmartImage::getRealBounds() {
    if (forcedEnabled) realBounds = publishedBounds = forcedBounds;
    return realBounds;
}

void ilSmartImage::UpdateBounds() {
    if (forcedEnabled) SetBounds_(forcedBounds, 0);
    const Rectangle_& b = table.GetBounds();
    realBounds.x = b.x;
    realBounds.y = b.y;
    realBounds.nx = b.w;
    realBounds.ny = b.h;
}

void ilSmartImage::SetBounds_(const ilTile& tile, int noPrune) {
    ilTile t = tile;
    t.z = 0;
    t.nz = 1;
    if (t != realBounds) {
        realBounds = forcedEnabled ? forcedBounds : t;
        setAltered(ilAttrContents);
    }
    if (forcedEnabled) realBounds = forcedBounds;
    // The table takes the tile itself: with forced bounds on it may reach past them until the
    // next ApplyForcedBounds prunes it back.
    table.SetBounds(t.x, t.y, t.nx, t.ny, noPrune);
}

void ilSmartImage::AddToBounds_(const ilTile& tile) {
    ilTile r = realBounds;
    auto axis = [](int start, int extent, int& rs, int& rn) {
        if (extent < 1) return;
        if (rn < 1) {
            rs = start;
            rn = extent;
            return;
        }
        const int end = std::max(rs + rn, start + extent);
        rs = std::min(rs, start);
        rn = end - rs;
    };
    axis(tile.x, tile.nx, r.x, r.nx);
    axis(tile.y, tile.ny, r.y, r.ny);
    SetBounds_(r, 1);
}

void ilSmartImage::ExpandBounds(int margin) {
    const ilTile& b = realBounds;
    // In 64 bits and held to the coordinate limit, so that any margin gives a tile the table can
    // take; a negative margin larger than the bounds leaves them empty.
    auto edge = [](std::int64_t v) {
        v = std::clamp<std::int64_t>(v, -kSmartMaxCoord, kSmartMaxCoord);
        return static_cast<int>(v) & ~(kPageEdge - 1);
    };
    const int left = edge(std::int64_t(b.x) - margin), top = edge(std::int64_t(b.y) - margin);
    const int right = std::max(edge(b.endX() + margin + 127), left);
    const int bottom = std::max(edge(b.endY() + margin + 127), top);
    SetBounds_(ilTile(left, top, 0, right - left, bottom - top, 1), 1);
    publishedBounds = realBounds;
}

bool ilSmartImage::ClipToBounds(ilTile& tile) {
    const ilTile& b = getRealBounds();
    tile.cropTo(b);
    if (tile.nx < 0) tile.nx = 0;
    if (tile.ny < 0) tile.ny = 0;
    return tile.nx > 0 && tile.ny > 0;
}

void ilSmartImage::SetForcedBounds(const ilTile& tile) {
    if (tile.nx < 1 || tile.ny < 1) {
        std::printf(
            "SID: Warning: SmartImage: Someone is SETTING Empty Forced Bounds! Ignoring.\n");
        return;
    }
    forcedBounds = tile;
    forcedBounds.z = 0;
    forcedBounds.nz = 1;
    setFill(ilPixel(ilUChar, ChannelCount_(), "\0\0\0\0"));
}

void ilSmartImage::ApplyForcedBounds(const ilTile& tile) {
    if (!forcedEnabled || insideXY(forcedBounds, tile)) return;
    realBounds = forcedBounds;
    SetBounds_(realBounds, 0);
}

void ilSmartImage::force_in_img_(ilTile& tile) {
    if (!forcedEnabled || forcedBounds.nx < 1 || forcedBounds.ny < 1) return;
    tile.cropTo(forcedBounds);
    tile.nx = std::max(tile.nx, 0);
    tile.ny = std::max(tile.ny, 0);
    tile.z = 0;
    tile.nz = 1;
}

void ilSmartImage::force_in_img_(int& x, int& y, int& w, int& h) {
    ilTile t(x, y, 0, w, h, 1);
    force_in_img_(t);
    x = t.x, y = t.y, w = t.nx, h = t.ny;
}

void ilSmartImage::force_in_img_(int& x, int& y, int& z, int& nx, int& ny, int& nz) {
    ilTile t(x, y, z, nx, ny, nz);
    force_in_img_(t);
    x = t.x, y = t.y, z = t.z, nx = t.nx, ny = t.ny, nz = t.nz;
}

// ---------------------------------------------------------------------------------------------
// Shrinking

void ilSmartImage::TryToShrinkBounds_() {
    shrinkPending = 1;
    setAltered(ilAttrContents);
}

void ilSmartImage::ShrinkBounds_() {
    const std::uint32_t fillWord = FillWord_();
    if (ChannelCount_() == 1 && fillWord != 0) return;
    if (realBounds.nx < 1 || realBounds.ny < 1 || forcedEnabled) return;
    ilTile content(0, 0, 0, 0, 0, 0);
    bool any = false;
    {
        const ilTile& b = realBounds;
        PageIterator it(&table, b.x, b.y, b.nx, b.ny, 0, 0);
        int px, py;
        while (SmartImgPage* page = it.GetNext(px, py)) {
            page->WalkPage(nullptr);
            if (page->GetState() == SolidFill && page->IsSolidFilled(fillWord)) continue;
            const ilTile rect(px, py, 0, kPageEdge, kPageEdge, 1);
            content = any ? ilTileUnion(content, rect) : rect;
            any = true;
        }
    }
    ilTile r(realBounds.x, realBounds.y, 0, 0, 0, 1);
    if (any) {
        r = ilTile(realBounds, content);
        r.z = 0;
        r.nz = 1;
    }
    SetBounds_(r, 1);
}

void ilSmartImage::Collapse_() {
    realBounds = ilTile(0, 0, 0, 0, 0, 1);
    table.SetBounds(0, 0, 0, 0, 1);
    publishedBounds = realBounds;
    UpdateSizeFields_();
    setAltered(ilAttrContents);
}

void ilSmartImage::ForceShrinkAttempt(bool force) {
    if (forcedEnabled) return;
    if (ChannelCount_() == 1 && FillWord_() != 0 && !force) return;
    auto collapsed = [this] {
        if (realBounds.nx > 0 && realBounds.ny > 0 && realBounds.nz > 0) return false;
        Collapse_();
        return true;
    };
    for (;;) {
        const ilTile before = realBounds;
        if (collapsed()) return;
        ShrinkBounds_();
        if (collapsed()) return;
        while (PixelShrinkTop_()) {
        }
        if (collapsed()) return;
        while (PixelShrinkRight_()) {
        }
        if (collapsed()) return;
        while (PixelShrinkBottom_()) {
        }
        if (collapsed()) return;
        while (PixelShrinkLeft_()) {
        }
        if (collapsed()) return;
        table.SetBounds(realBounds.x, realBounds.y, realBounds.nx, realBounds.ny, 1);
        publishedBounds = realBounds;
        UpdateSizeFields_();
        setAltered(ilAttrContents);
        if (realBounds == before) return;
    }
}

int ilSmartImage::PixelShrinkTop_() {
    if (realBounds.ny < 1 || !IsPixelRowSolid_(realBounds.y + realBounds.ny - 1)) return 0;
    --realBounds.ny;
    return 1;
}

int ilSmartImage::PixelShrinkBottom_() {
    if (realBounds.ny < 1 || !IsPixelRowSolid_(realBounds.y)) return 0;
    ++realBounds.y;
    --realBounds.ny;
    return 1;
}

int ilSmartImage::PixelShrinkRight_() {
    if (realBounds.nx < 1 || !IsPixelColumnSolid_(realBounds.x + realBounds.nx - 1)) return 0;
    --realBounds.nx;
    return 1;
}

int ilSmartImage::PixelShrinkLeft_() {
    if (realBounds.nx < 1 || !IsPixelColumnSolid_(realBounds.x)) return 0;
    ++realBounds.x;
    --realBounds.nx;
    return 1;
}

bool ilSmartImage::IsPixelRowSolid_(int y) {
    ilTile line(-32768, y, 0, 65536, 1, 1);
    line.cropTo(realBounds);
    if (line.nx < 1 || line.ny < 1) return true;
    const std::uint32_t fillWord = FillWord_();
    PageIterator it(&table, line.x, line.y, line.nx, 1, 0, 1);
    int px, py;
    while (SmartImgPage* page = it.GetNext(px, py)) {
        page->Realize(0);
        if (page->GetState() == SolidFill) {
            if (!page->IsSolidFilled(fillWord)) return false;
        } else if (page->GetState() == ValidInMem && page->GetData()) {
            const int at = SmartImgPage::GetPixelOffset(0, y - py);
            const bool same =
                page->GetPixelSize() == 4
                    ? lineEquals(reinterpret_cast<const std::uint32_t*>(page->GetData()) + at, 1,
                                 fillWord)
                    : lineEquals(page->GetData() + at, 1, static_cast<unsigned char>(fillWord));
            if (!same) return false;
        } else {
            return false;
        }
    }
    return true;
}

bool ilSmartImage::IsPixelColumnSolid_(int x) {
    ilTile line(x, -32768, 0, 1, 65536, 1);
    line.cropTo(realBounds);
    if (line.nx < 1 || line.ny < 1) return true;
    const std::uint32_t fillWord = FillWord_();
    PageIterator it(&table, line.x, line.y, 1, line.ny, 0, 1);
    int px, py;
    while (SmartImgPage* page = it.GetNext(px, py)) {
        page->Realize(0);
        if (page->GetState() == SolidFill) {
            if (!page->IsSolidFilled(fillWord)) return false;
        } else if (page->GetState() == ValidInMem && page->GetData()) {
            const int at = x - px;
            const bool same =
                page->GetPixelSize() == 4
                    ? lineEquals(reinterpret_cast<const std::uint32_t*>(page->GetData()) + at,
                                 kPageEdge, fillWord)
                    : lineEquals(page->GetData() + at, kPageEdge,
                                 static_cast<unsigned char>(fillWord));
            if (!same) return false;
        } else {
            return false;
        }
    }
    return true;
}
