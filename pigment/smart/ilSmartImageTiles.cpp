// Tile traffic of the smart image: every read, write, fill and copy is cut into page pieces and
// moved by the transfer engine straight on page memory; whole pages take the fast roads (no
// read-back on overwrite, solids for fills, shared references between aligned smart images).
#include <cstdio>

#include "pigment/frame/ilPage.h"
#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/SmartPageIO_p.h"
#include "pigment/smart/ilSmartImage.h"

namespace {

// Pages have no depth: a tile works on its first plane, whichever it is.
ilTile pagePart(const ilTile& tile, int px, int py) {
    ilTile part(tile.x, tile.y, tile.z, tile.nx, tile.ny, 1);
    part.cropTo(ilTile(px, py, 0, kPageEdge, kPageEdge, 1));
    return part;
}

bool nonEmpty(const ilTile& t) {
    return t.nx > 0 && t.ny > 0;
}

bool wholePage(const ilTile& part, int px, int py) {
    return part.x == px && part.y == py && part.nx == kPageEdge && part.ny == kPageEdge;
}

bool insideXY(const ilTile& outer, const ilTile& t) {
    return t.x >= outer.x && t.y >= outer.y && t.x + t.nx <= outer.x + outer.nx &&
           t.y + t.ny <= outer.y + outer.ny;
}

// The overlap of two tiles in x and y; z and nz come from the first.
ilTile overlapXY(const ilTile& a, const ilTile& b) {
    ilTile r = a;
    r.cropTo(b);
    return r;
}

// The part of a tile that the canvas holds: within the coordinate limit on x and y, and in plane
// 0, the only plane it has. Answers whether anything is left; clipped answers whether the limit
// cut the tile, which a write reports.
bool cutToCanvas(ilTile& t, bool* clipped = nullptr) {
    const ilTile canvas(-kSmartMaxCoord, -kSmartMaxCoord, 0, 2 * kSmartMaxCoord, 2 * kSmartMaxCoord,
                        1);
    const ilTile cut(t, canvas);
    if (clipped)
        *clipped = !t.empty() && (cut.x != t.x || cut.y != t.y || cut.nx != t.nx || cut.ny != t.ny);
    t = cut;
    return !t.empty();
}

// Writes report a cut at the limit as the page table does.
bool cutWriteToCanvas(ilTile& t) {
    bool clipped = false;
    const bool left = cutToCanvas(t, &clipped);
    if (clipped)
        std::printf("SID: SmartImage had to clip an image op to fit +- %d\n", kSmartMaxCoord);
    return left;
}

bool isCanvasPart(const ilTile& t) {
    ilTile cut = t;
    return cutToCanvas(cut) && cut == t;
}

ilSmartImage* smartOf(ilImage* image) {
    return image && image->getImageType() == ilSmartType ? dynamic_cast<ilSmartImage*>(image)
                                                         : nullptr;
}

}  // namespace

void ilSmartImage::CheckAlphaOf_(SmartImgPage* page) {
    alphaValid &= page->CheckAlpha();
}

// ---------------------------------------------------------------------------------------------
// Reading

ilStatus ilSmartImage::getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                    int by, int bz, int bnx, int bny, int bnz, ilConfig* cfg) {
    return ReadTile_(ilTile(x, y, z, nx, ny, nz), data, ilTile(bx, by, bz, bnx, bny, bnz), cfg);
}

ilStatus ilSmartImage::getSubTile3Dv2(const ilTile& tile, void* data, const ilTile& box,
                                      ilConfig* cfg) {
    return ReadTile_(tile, data, box, cfg);
}

bool ilSmartImage::MapCallerSpace_(ilTile& tile, ilTile& box, const ilConfig* cfg,
                                   SmartBuffer& buffer) {
    if (!cfg || !cfg->coordSpace || cfg->coordSpace == coordSpace) return true;
    int flip = 0, transpose = 0;
    mapFlipTrans(cfg->coordSpace, flip, transpose);
    mapTile(tile, cfg->coordSpace);
    mapTile(box, cfg->coordSpace);
    buffer.flipX = flip & ilFlipX;
    buffer.flipY = flip & ilFlipY;
    buffer.exchange = transpose;
    return !tile.empty();
}

ilStatus ilSmartImage::ReadTile_(const ilTile& tileIn, void* data, const ilTile& boxIn,
                                 ilConfig* cfg) {
    if (tileIn.empty()) return ilOK;
    ilStatus s = checkTileBuffer(data, tileIn);
    if (s == ilOK) s = resetCheck();
    if (s != ilOK) return s;
    ilTile tile = tileIn, box = boxIn;
    SmartBuffer buffer;
    if (!MapCallerSpace_(tile, box, cfg, buffer)) return ilOK;
    ApplyForcedBounds(tile);
    const int nc = ChannelCount_();
    buffer.describe(data, box, cfg, nc);
    if (!isCanvasPart(tile)) {
        // Beyond the limit and off plane 0 there are no pages: only the fill.
        SmartSolidRead(buffer, tile, fill);
        if (!cutToCanvas(tile)) return ilOK;
    }
    ilPixel solid;
    PageIterator it(&table, tile.x, tile.y, tile.nx, tile.ny, 0, 1);
    int px, py;
    while (SmartImgPage* page = it.GetNext(px, py)) {
        const ilTile part = pagePart(tile, px, py);
        if (!nonEmpty(part)) continue;
        page->Realize(0);
        if (page->GetState() == ValidInMem && page->GetData()) {
            SmartPageRead(buffer, part, page->GetData(), px, py, part.z, nc);
        } else if (page->GetState() == SolidFill) {
            const std::uint32_t value = page->GetFillValue();
            solid.set(ilUChar, nc, &value);
            SmartSolidRead(buffer, part, solid);
        } else {
            SmartFault(0);
        }
    }
    return ilOK;
}

// ---------------------------------------------------------------------------------------------
// Writing

ilStatus ilSmartImage::setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                    int by, int bz, int bnx, int bny, int bnz, ilConfig* cfg) {
    return WriteTile_(ilTile(x, y, z, nx, ny, nz), data, ilTile(bx, by, bz, bnx, bny, bnz), cfg);
}

ilStatus ilSmartImage::setSubTile3Dv2(const ilTile& tile, void* data, const ilTile& box,
                                      ilConfig* cfg) {
    return WriteTile_(tile, data, box, cfg);
}

ilStatus ilSmartImage::WriteTile_(ilTile tile, void* data, ilTile box, ilConfig* cfg) {
    ilStatus s = checkTileBuffer(data, tile);
    if (s != ilOK) return s;
    if (!cutWriteToCanvas(tile)) return ilOK;
    s = resetCheck();
    if (s == ilOK) s = checkWriteChannels(cfg, ChannelCount_());
    if (s != ilOK) return s;
    SmartBuffer buffer;
    if (!MapCallerSpace_(tile, box, cfg, buffer)) return ilOK;
    dirtyTile = ilTileUnion(dirtyTile, tile);
    const int nc = ChannelCount_();
    buffer.describe(data, box, cfg, nc);
    // A page wholly overwritten in every channel need not keep its old pixels.
    const bool allChannels = SmartConfigCoversChannels(cfg, nc);
    const bool boxHasPlane = tile.z >= box.z && tile.z < box.endZ();
    if (data && boxHasPlane) {
        PageIterator it(&table, tile.x, tile.y, tile.nx, tile.ny, 1, 1);
        int px, py;
        while (SmartImgPage* page = it.GetNext(px, py)) {
            const ilTile part = pagePart(tile, px, py);
            const ilTile written = overlapXY(part, box);
            if (!nonEmpty(written)) continue;
            page->Realize(allChannels && wholePage(written, px, py) ? 2 : 1);
            if (page->GetState() != ValidInMem || !page->GetData()) {
                SmartFault(0);
                continue;
            }
            page->MarkDirty();
            SmartPageWrite(page->GetData(), px, py, part.z, nc, part, buffer);
            page->MergeWithPotentialDuplicate();
            if (checkAlphaOnCopy) CheckAlphaOf_(page);
        }
    }
    AddToBounds_(tile);
    ApplyForcedBounds(tile);
    setTimeStamp();
    return ilOK;
}

// ---------------------------------------------------------------------------------------------
// Filling

ilStatus ilSmartImage::fillTile3D(int x, int y, int z, int nx, int ny, int nz, const void* data,
                                  ilConfig* cfg, const ilTile* exclude) {
    ilTile tile(x, y, z, nx, ny, nz);
    if (!cutWriteToCanvas(tile)) return ilOK;
    const ilStatus s = resetCheck();
    if (s != ilOK) return s;
    // An exclusion with a zero extent is none.
    const bool useExclude = exclude && exclude->nx > 0 && exclude->ny > 0;
    ilTile ex = useExclude ? *exclude : ilTile(0, 0, 0, 0, 0, 0);
    if (cfg && cfg->coordSpace && cfg->coordSpace != coordSpace) {
        mapTile(tile, cfg->coordSpace);
        if (useExclude) mapTile(ex, cfg->coordSpace);
        if (tile.empty()) return ilOK;
    }
    if (useExclude && insideXY(ex, tile)) return ilOK;
    ex.z = tile.z;
    ex.nz = 1;

    // The value in the pages' own type, one entry per buffer channel.
    const int nc = ChannelCount_();
    const int given = cfg && cfg->nChans ? cfg->nChans : nc;
    const ilType type = cfg && cfg->type != ilAnyType && cfg->type != 0 ? cfg->type : ilUChar;
    ilPixel raw(type, given, nullptr);
    if (data)
        raw.set(type, given, data);
    else
        for (int c = 0; c < given; ++c)
            raw.setElem(0.0, c);
    ilPixel pixel;
    pixel.convert(raw, ilUChar, given);
    const bool identity = SmartConfigIsIdentity(cfg, nc);
    std::uint32_t word = 0;
    if (identity) {
        const auto* bytes = static_cast<const unsigned char*>(pixel.elems());
        for (int c = 0; c < nc; ++c)
            word |= static_cast<std::uint32_t>(bytes[c]) << (8 * c);
    }

    dirtyTile = ilTileUnion(dirtyTile, tile);
    bool touched = false;
    {
        PageIterator it(&table, tile.x, tile.y, tile.nx, tile.ny, 1, 0);
        int px, py;
        while (SmartImgPage* page = it.GetNext(px, py)) {
            const ilTile part = pagePart(tile, px, py);
            if (!nonEmpty(part)) continue;
            bool excludedHere = false;
            if (useExclude) {
                const ilTile e = overlapXY(part, ex);
                if (nonEmpty(e)) {
                    if (e.x == part.x && e.y == part.y && e.nx == part.nx && e.ny == part.ny)
                        continue;
                    excludedHere = true;
                }
            }
            touched = true;
            if (identity && !excludedHere && wholePage(part, px, py)) {
                // A whole page of one value becomes a solid: no memory, nothing per pixel.
                page->Realize(3);
                page->MarkDirty();
                page->FillPage(word);
            } else {
                page->Realize(1);
                if (page->GetState() != ValidInMem || !page->GetData()) {
                    SmartFault(0);
                    continue;
                }
                page->MarkDirty();
                SmartPageFill(page->GetData(), px, py, part.z, nc, part, pixel,
                              cfg ? cfg->chanList : nullptr, cfg ? cfg->chanOffset : 0,
                              excludedHere ? &ex : nullptr);
            }
            if (checkAlphaOnCopy) CheckAlphaOf_(page);
        }
    }
    if (touched) {
        if (useExclude && insideXY(tile, realBounds)) {
            ilTile kept = overlapXY(ex, realBounds);
            kept.z = 0;
            kept.nz = 1;
            SetBounds_(kept, 1);
        } else {
            TryToShrinkBounds_();
        }
    }
    AddToBounds_(tile);
    ApplyForcedBounds(tile);
    setTimeStamp();
    return ilOK;
}

void ilSmartImage::SetPixelExp(int x, int y, unsigned value) {
    AddToBounds_(ilTile(x, y, 0, 1, 1, 1));
    table.SetPixel(x, y, value);
}

void ilSmartImage::SetSpan(int x, int y1, int y2, const void* value) {
    fillTile3D(x, y1, 1, 1, y2 - y1 + 1, 1, value, nullptr, nullptr);
}

// ---------------------------------------------------------------------------------------------
// Copying

ilStatus ilSmartImage::copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other,
                                   int ox, int oy, int oz, ilConfig* cfg, int direction) {
    return CopyTile_(ilTile(x, y, z, nx, ny, nz), other, ilXYZstruct<int>{ox, oy, oz}, cfg,
                     direction);
}

ilStatus ilSmartImage::copyTileCfgV2(const ilTile& tile, ilImage* other,
                                     const ilXYZstruct<int>& dest, ilConfig* cfg, int direction) {
    return CopyTile_(tile, other, dest, cfg, direction);
}

ilStatus ilSmartImage::CopyTile_(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                                 ilConfig* cfg, int direction) {
    if (tile.empty()) return ilOK;
    const ilStatus s = resetCheck();
    if (s != ilOK) return s;
    if (!other) return ilBadInput;
    // A copy within one image goes through a buffer, so that source and target cannot overlap.
    if (other == this) return ilSIDImage::copyTileCfgV2(tile, other, dest, cfg, direction);
    const int nc = ChannelCount_();
    ilConfig work(ilUChar, ilInterleaved, nc, cfg ? cfg->chanList : nullptr,
                  cfg ? cfg->chanOffset : 0, coordSpace, cfg ? cfg->colorModel : ilUnknownModel);
    const bool differs = other->getNumChans() != nc || other->getDataType() != ilUChar ||
                         other->getOrder() != ilInterleaved || other->getCoordSpace() != coordSpace;
    ilConfig* used = cfg || differs ? &work : nullptr;
    const int dx = dest.x - tile.x, dy = dest.y - tile.y, dz = dest.z - tile.z;
    ilSmartImage* smart = smartOf(other);
    const bool pageFast = smart && smart->IsValid() && dx % kPageEdge == 0 && dy % kPageEdge == 0 &&
                          !cfg && other->getNumChans() == nc;
    ilStatus result = direction ? CopyInto_(tile, other, dx, dy, dz, used, pageFast)
                                : CopyOut_(tile, other, dx, dy, dz, used);
    status = result;
    return result;
}

ilStatus ilSmartImage::CopyInto_(ilTile tile, ilImage* other, int dx, int dy, int dz,
                                 ilConfig* work, bool pageFast) {
    if (!cutWriteToCanvas(tile)) return ilOK;
    ilSmartImage* smart = pageFast ? static_cast<ilSmartImage*>(other) : nullptr;
    if (smart) smart->resetCheck();
    dirtyTile = ilTileUnion(dirtyTile, tile);
    ilStatus result = ilOK;
    {
        PageIterator it(&table, tile.x, tile.y, tile.nx, tile.ny, 1, 1);
        int px, py;
        while (SmartImgPage* page = it.GetNext(px, py)) {
            const ilTile part = pagePart(tile, px, py);
            if (!nonEmpty(part)) continue;
            SmartImgPage* source =
                smart ? smart->table.FindPageFromOrigin(px + dx, py + dy, 0) : nullptr;
            if (source && wholePage(part, px, py)) {
                // Aligned whole pages are shared, not copied. The other image's default page is
                // never shared: its value follows that image's fill.
                if (source == smart->table.GetDefaultPage()) {
                    const std::uint32_t value = source->GetFillValue();
                    page->Realize(3);
                    page->MarkDirty();
                    page->FillPage(value);
                } else if (source->GetPageData() != page->GetPageData()) {
                    page->Reference(source);
                }
            } else {
                const int remembered = page->GetTransparency();
                page->Realize(1);
                if (page->GetState() != ValidInMem || !page->GetData()) {
                    SmartFault(0);
                    continue;
                }
                page->MarkDirty();
                if (source && source->GetTransparency() == remembered)
                    page->SetTransparency(static_cast<SmartImgTrans>(remembered));
                // Retained, so that paging in the source cannot evict the page being written.
                const bool retained = page->GetPriority() >= kRetainedPriority;
                if (!retained) page->ForceRetain();
                result = other->getSubTile3D(part.x + dx, part.y + dy, part.z + dz, part.nx,
                                             part.ny, 1, page->GetData(), px + dx, py + dy,
                                             part.z + dz, kPageEdge, kPageEdge, 1, work);
                if (!retained) page->DontRetain();
                page->MergeWithPotentialDuplicate();
            }
            if (checkAlphaOnCopy) CheckAlphaOf_(page);
            if (result != ilOK) break;
        }
    }
    AddToBounds_(tile);
    ApplyForcedBounds(tile);
    setTimeStamp();
    return result;
}

ilStatus ilSmartImage::CopyOut_(ilTile tile, ilImage* other, int dx, int dy, int dz,
                                ilConfig* work) {
    const ilTile real = realBounds;
    if (!insideXY(real, tile) || !isCanvasPart(tile)) {
        // What lies beyond this image's content, plane 0 of it, arrives there as this image's
        // fill.
        const ilTile spared(real.x + dx, real.y + dy, dz, real.nx, real.ny, 1);
        other->fillTile3D(tile.x + dx, tile.y + dy, tile.z + dz, tile.nx, tile.ny, tile.nz,
                          fill.elems(), work, &spared);
        if (!cutToCanvas(tile)) return ilOK;
        tile = overlapXY(tile, real);
        if (!nonEmpty(tile)) return ilOK;
    }
    const int nc = ChannelCount_();
    ilStatus result = ilOK;
    PageIterator it(&table, tile.x, tile.y, tile.nx, tile.ny, 0, 1);
    int px, py;
    while (SmartImgPage* page = it.GetNext(px, py)) {
        const ilTile part = pagePart(tile, px, py);
        if (!nonEmpty(part)) continue;
        page->Realize(0);
        if (page->GetState() == ValidInMem && page->GetData()) {
            const bool retained = page->GetPriority() >= kRetainedPriority;
            if (!retained) page->ForceRetain();
            result = other->setSubTile3D(part.x + dx, part.y + dy, part.z + dz, part.nx, part.ny, 1,
                                         page->GetData(), px + dx, py + dy, part.z + dz, kPageEdge,
                                         kPageEdge, 1, work);
            if (!retained) page->DontRetain();
        } else if (page->GetState() == SolidFill) {
            const std::uint32_t value = page->GetFillValue();
            unsigned char bytes[4];
            for (int c = 0; c < 4; ++c)
                bytes[c] = static_cast<unsigned char>(value >> (8 * c));
            ilConfig plain(ilUChar, ilInterleaved, nc, nullptr, 0, coordSpace);
            result = other->fillTile3D(part.x + dx, part.y + dy, part.z + dz, part.nx, part.ny, 1,
                                       bytes, work ? work : &plain, nullptr);
        } else {
            result = ilUnsupported;
            SmartFault(0);
        }
        if (result != ilOK) break;
    }
    setTimeStamp();
    return result;
}

// ---------------------------------------------------------------------------------------------
// Page locks

ilStatus ilSmartImage::lockPageSet(ilLockRequest* requests, int mode, int count) {
    if (!IsValid() || !requests) return ilOK;
    resetCheck();
    const bool write = (mode & ilLockWrite) != 0;
    for (int i = 0; i < count; ++i) {
        ilLockRequest& r = requests[i];
        int px, py;
        SmartImgPage::FindOrigin(r.x, r.y, px, py);
        SmartImgPage* page = table.FindPageFromOrigin(px, py, 1);
        const ilTile rect(px, py, 0, kPageEdge, kPageEdge, 1);
        AddToBounds_(rect);
        if (write) dirtyTile = ilTileUnion(dirtyTile, rect);
        page->Realize(write ? 1 : 0);
        page->IncrementLockCount();
        if (page->GetState() == SolidFill) {
            // A temporary solid: memory for the caller's pointer, dropped again at the unlock.
            if (!write) {
                const int transparency = page->GetTransparency();
                page->MakeInMemFromSolid();
                page->SetTransparency(static_cast<SmartImgTrans>(transparency));
            }
            page->MarkTempSolid();
        }
        page->ForceRetain();
        r.page = new ilPage(px, py, r.z, table.GetPixelSize(), page->GetData());
        r.status = ilOK;
    }
    return ilOK;
}

ilStatus ilSmartImage::unlockPageSet(ilLockRequest* requests, int count) {
    if (!requests) return ilOK;
    for (int i = 0; i < count; ++i) {
        ilLockRequest& r = requests[i];
        if (!r.page) continue;
        const int px = r.page->x, py = r.page->y;
        SmartImgPage* page = table.FindPageFromOrigin(px, py, 0);
        // A page locked outside what are now the bounds is found in its cell all the same.
        if (page->GetData() != r.page->data) page = table.FindPageFromOrigin(px, py, 1);
        page->DecrementLockCount();
        const int locks = page->GetLockCount();
        if (locks == 0) page->DontRetain();
        delete r.page;
        r.page = nullptr;
        if (locks == 0) page->MergeWithPotentialDuplicate();
        if (checkAlphaOnCopy) CheckAlphaOf_(page);
        // Last, since pruning to forced bounds may release the page.
        ApplyForcedBounds(ilTile(px, py, 0, kPageEdge, kPageEdge, 1));
    }
    return ilOK;
}
