// What the smart image can tell and repair about its content: solid colour, transparency, page
// counts, alpha validity, the file size and save sequence, the watermark, and the merge of an
// overlay into its seed by moving page references.
#include <cstdio>
#include <cstring>

#include "pigment/frame/PigmentCallbacks.h"
#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/ilSmartImage.h"

namespace {

constexpr int kFileHeaderBytes = 80;
constexpr int kPageRecordBytes = 16;

// The part of tile within the page at (px, py), in page coordinates.
ilTile localPart(const ilTile& tile, int px, int py) {
    ilTile part(tile.x, tile.y, 0, tile.nx, tile.ny, 1);
    part.cropTo(ilTile(px, py, 0, kPageEdge, kPageEdge, 1));
    part.x -= px;
    part.y -= py;
    return part;
}

}  // namespace

bool ilSmartImage::is_filled(const ilTile& tile, ilPixel& pixel, int scan) {
    resetCheck();
    const int nc = ChannelCount_();
    const std::uint32_t mask = nc == 1 ? 0xffu : 0xffffffffu;
    bool have = false;
    std::uint32_t value = FillWord_();
    PageIterator it(&table, tile.x, tile.y, tile.nx, tile.ny, 0, 0);
    int px, py;
    while (SmartImgPage* page = it.GetNext(px, py)) {
        if (scan) page->WalkPage(nullptr);
        std::uint32_t v;
        if (page->GetState() == SolidFill) {
            v = page->GetFillValue() & mask;
        } else {
            if (!scan) return false;
            ilTile local = localPart(tile, px, py);
            if (local.nx >= kPageEdge && local.ny >= kPageEdge) return false;
            if (!page->IsSolidFilled(local)) return false;
            v = page->GetPixel(local.x, local.y) & mask;
        }
        if (!have) {
            value = v;
            have = true;
        } else if (v != value) {
            return false;
        }
    }
    SmartFault(nc == 1 || nc == 4);
    pixel.set(ilUChar, nc, &value);
    return true;
}

bool ilSmartImage::is_filled(ilPixel& pixel, int scan) {
    return is_filled(getRealBounds(), pixel, scan);
}

int ilSmartImage::TestTransparency(const ilTile& tile, int force) {
    int result = -1;
    PageIterator it(&table, tile.x, tile.y, tile.nx, tile.ny, 0, 0);
    int px, py;
    while (SmartImgPage* page = it.GetNext(px, py)) {
        ilTile local = localPart(tile, px, py);
        const int t = page->IsTransparent(&local, force);
        if (result < 0)
            result = t;
        else if (t != result)
            return SmartImgTransMixed;
    }
    return result < 0 ? SmartImgTransNoPages : result;
}

int ilSmartImage::TestTransparency(int force) {
    return TestTransparency(getRealBounds(), force);
}

int ilSmartImage::TestPageTransparency(int x, int y, int force) {
    int px, py;
    SmartImgPage::FindOrigin(x, y, px, py);
    ilTile whole(0, 0, 0, kPageEdge, kPageEdge, 1);
    return table.FindPageFromOrigin(px, py, 0)->IsTransparent(&whole, force);
}

int ilSmartImage::TestFillTransparency() {
    const std::uint32_t word = FillWord_();
    const std::uint32_t alpha = ChannelCount_() == 1 ? word & 0xffu : word >> 24;
    return alpha == 0     ? SmartImgTransClear
           : alpha == 255 ? SmartImgTransOpaque
                          : SmartImgTransMixed;
}

int ilSmartImage::GetNumPages(int& solid) {
    solid = 0;
    const ilTile& b = getRealBounds();
    PageIterator it(&table, b.x, b.y, b.nx, b.ny, 0, 0);
    int pages = 0;
    while (SmartImgPage* page = it.GetNext()) {
        ++pages;
        if (page->GetState() == SolidFill) ++solid;
    }
    return pages;
}

// ---------------------------------------------------------------------------------------------
// Alpha

void ilSmartImage::ForceAlphaValid() {
    if (ChannelCount_() != 4) return;
    ShrinkBounds_();
    const ilTile& b = realBounds;
    if (b.nx < 1 || b.ny < 1) return;
    int counts[4] = {0, 0, 0, 0};
    {
        PageIterator it(&table, b.x, b.y, b.nx, b.ny, 0, 0);
        while (SmartImgPage* page = it.GetNext()) {
            page->WalkPage(nullptr);
            // A page out on disk is judged by its pixels, not skipped.
            page->Realize(0);
            const int code = page->CheckAlpha();
            if (code >= 0 && code < 4) ++counts[code];
        }
    }
    if (!counts[1] && !counts[2] && !counts[3]) return;
    int mode;
    if (counts[1] || counts[3])
        mode = counts[2] ? 1 : 2;
    else
        mode = 3;
    ForceAlphaValid(mode);
}

void ilSmartImage::ForceAlphaValid(int mode) {
    const ilTile& b = getRealBounds();
    PageIterator it(&table, b.x, b.y, b.nx, b.ny, 0, 0);
    while (SmartImgPage* page = it.GetNext()) {
        page->Realize(0);
        page->ForceAlphaValid(mode);
    }
}

void ilSmartImage::SetCheckAlphaOnCopy(int on) {
    if (checkAlphaOnCopy && !on && alphaValid == 0) ForceAlphaValid();
    checkAlphaOnCopy = on;
    alphaValid = 1;
}

// ---------------------------------------------------------------------------------------------
// File size, save, watermark

int ilSmartImage::GetImageFileSize() {
    int pages;
    return GetImageFileSize(pages);
}

int ilSmartImage::GetImageFileSize(int& pages) {
    resetCheck();
    ShrinkBounds_();
    pages = 0;
    int bytes = kFileHeaderBytes;
    const ilTile& b = realBounds;
    if (b.nx < 1 || b.ny < 1) return bytes;
    PageIterator it(&table, b.x, b.y, b.nx, b.ny, 0, 0);
    while (SmartImgPage* page = it.GetNext()) {
        page->WalkPage(nullptr);
        ++pages;
        bytes += kPageRecordBytes;
        if (page->GetState() != SolidFill) bytes += ChannelCount_() * kPagePixels;
    }
    return bytes;
}

int ilSmartImage::SaveImageToFile() {
    const int bytes = GetImageFileSize();
    ShrinkBounds_();
    if (!SaveImageBegin(this, bytes)) return -1;
    unsigned char header[kFileHeaderBytes] = {};
    if (!SaveImageData(header, kFileHeaderBytes)) return -1;
    const ilTile& b = realBounds;
    if (b.nx < 1 || b.ny < 1) return 0;
    PageIterator it(&table, b.x, b.y, b.nx, b.ny, 0, 0);
    while (SmartImgPage* page = it.GetNext()) {
        unsigned char record[kPageRecordBytes] = {};
        if (!SaveImageData(record, kPageRecordBytes)) return -1;
        if (page->GetState() == SolidFill) continue;
        page->Realize(1);
        if (!SaveImageData(page->GetData(), page->GetDataSize())) return -1;
    }
    return SaveImageEnd(0) ? 0 : -1;
}

void ilSmartImage::ApplyWatermark() {
    const ilTile b = getRealBounds();
    if (ChannelCount_() != 4 || b.nx < 1 || b.ny < 1) return;
    auto mark = PigmentCB()->applyWatermark;
    PageIterator it(&table, b.x, b.y, b.nx, b.ny, 1, 0);
    int px, py;
    while (SmartImgPage* page = it.GetNext(px, py)) {
        page->Realize(1);
        if (mark && page->GetData())
            mark(page->GetData(), px, py, kPageEdge, kPageEdge, b.nx, b.ny);
    }
}

// ---------------------------------------------------------------------------------------------
// Merge into the seed

ilStatus ilSmartImage::merge_into_seed() {
    if (getNumInputs() != 1) return ilBadInputCount;
    ilImage* seed = GetSeed();
    if (!seed) return ilBadInputCount;
    resetCheck();
    auto* smart = seed->getImageType() == ilSmartType ? dynamic_cast<ilSmartImage*>(seed) : nullptr;
    const ilTile d = dirtyTile;
    if (!smart) {
        PageIterator it(&table, d.x, d.y, d.nx, d.ny, 0, 0);
        int px, py;
        while (SmartImgPage* page = it.GetNext(px, py)) {
            if (!page->SeedDirty()) continue;
            std::printf("SID: ERROR: Mergeing with non-smart seed %d, %d, (%s)\n", px, py,
                        seed->getDefaultDescription());
            page->CopyToSeed(seed, px, py, nullptr);
        }
    } else {
        smart->setFill(fill);
        const ilTile sb = smart->getRealBounds();
        if (sb != realBounds) {
            smart->fillTile3D(sb.x, sb.y, 0, sb.nx, sb.nx, 1, fill.elems(), nullptr, &realBounds);
            smart->SetBounds_(realBounds, 0);
        }
        PageIterator it(&table, d.x, d.y, d.nx, d.ny, 0, 0);
        int px, py;
        while (SmartImgPage* page = it.GetNext(px, py)) {
            if (!page->SeedDirty()) continue;
            // The seed takes this image's body: no pixel moves, and either side's next write
            // clones.
            smart->AddToBounds_(ilTile(px, py, 0, kPageEdge, kPageEdge, 1));
            smart->table.FindPageFromOrigin(px, py, 1)->Reference(page);
            smart->table.ExpandBounds(px, py, kPageEdge, kPageEdge);
        }
    }
    seed->setAltered(ilAttrContents);
    return ilOK;
}
