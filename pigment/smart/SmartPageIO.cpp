// Page transfers of the smart image: each builds two transfer blocks over the page memory and the
// caller's buffer, both in image coordinates, and lets the engine convert and clip.
#include "pigment/smart/SmartPageIO_p.h"

#include "pigment/frame/ilTileTransfer_p.h"
#include "pigment/smart/PageData.h"

void SmartBuffer::describe(void* bytes, const ilTile& b, const ilConfig* cfg, int imageChans) {
    data = bytes;
    box = b;
    type = cfg && cfg->type != ilAnyType && cfg->type != 0 ? cfg->type : ilUChar;
    order = cfg && (cfg->order == ilInterleaved || cfg->order == ilSequential ||
                    cfg->order == ilSeparate)
                ? cfg->order
                : ilInterleaved;
    nChans = cfg && cfg->nChans ? cfg->nChans : imageChans;
    chanOffset = cfg ? cfg->chanOffset : 0;
    chanList = cfg ? cfg->chanList : nullptr;
}

namespace {

ilTileBlock bufferBlock(SmartBuffer& b) {
    ilTileBlock block(b.data, b.box, b.type, b.order, b.nChans, b.chanOffset, b.chanList);
    if (b.flipX || b.flipY || b.exchange) block.setFlip(b.flipX, b.flipY, b.exchange);
    return block;
}

ilTileBlock pageBlock(const unsigned char* page, int px, int py, int pz, int nc) {
    return ilTileBlock(const_cast<unsigned char*>(page), px, py, pz, kPageEdge, kPageEdge, 1,
                       ilUChar, ilInterleaved, nc);
}

}  // namespace

void SmartPageRead(SmartBuffer& buffer, const ilTile& region, const unsigned char* page, int px,
                   int py, int pz, int nc) {
    ilTileBlock dest = bufferBlock(buffer);
    dest.setRegion(region);
    ilTileBlock source = pageBlock(page, px, py, pz, nc);
    ilTransfer(dest, source);
}

void SmartSolidRead(SmartBuffer& buffer, const ilTile& region, const ilPixel& value) {
    ilTileBlock dest = bufferBlock(buffer);
    dest.setRegion(region);
    // The solid is matched by image channel, so the buffer's channel list picks from it.
    ilTileBlock source(value, nullptr, 0, nullptr);
    ilTransfer(dest, source);
}

void SmartPageWrite(unsigned char* page, int px, int py, int pz, int nc, const ilTile& region,
                    SmartBuffer& buffer) {
    ilTileBlock dest = pageBlock(page, px, py, pz, nc);
    dest.setRegion(region);
    ilTileBlock source = bufferBlock(buffer);
    ilTransfer(dest, source);
}

void SmartPageFill(unsigned char* page, int px, int py, int pz, int nc, const ilTile& region,
                   const ilPixel& pixel, const int* chanList, int chanOffset,
                   const ilTile* exclude) {
    ilTileBlock dest = pageBlock(page, px, py, pz, nc);
    dest.setRegion(region);
    ilTileBlock source(pixel, chanList, chanOffset, exclude);
    ilTransfer(dest, source);
}

bool SmartConfigCoversChannels(const ilConfig* cfg, int nc) {
    if (!cfg) return true;
    const int n = cfg->nChans ? cfg->nChans : nc;
    bool seen[4] = {false, false, false, false};
    for (int k = 0; k < n; ++k) {
        const int c = cfg->mapChan(k);
        if (c >= 0 && c < nc && c < 4) seen[c] = true;
    }
    for (int c = 0; c < nc && c < 4; ++c)
        if (!seen[c]) return false;
    return true;
}

bool SmartConfigIsIdentity(const ilConfig* cfg, int nc) {
    if (!cfg) return true;
    const int n = cfg->nChans ? cfg->nChans : nc;
    if (n < nc) return false;
    for (int k = 0; k < nc; ++k)
        if (cfg->mapChan(k) != k) return false;
    return true;
}
