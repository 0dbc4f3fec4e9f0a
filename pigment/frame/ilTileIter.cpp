#include "pigment/frame/ilTileIter.h"

#include <algorithm>
#include <climits>
#include <cstdint>

namespace {

// Remainder in 0 to d - 1 whatever the sign of v, so that grids reach into negative coordinates.
int floorMod(int v, int d) {
    int m = v % d;
    return m < 0 ? m + d : m;
}

// Pages from first up to (excluding) end in steps of delta.
int64_t steps(int first, int end, int delta) {
    if (end <= first) return 0;
    return (static_cast<int64_t>(end) - first - 1) / delta + 1;
}

}  // namespace

ilTileIter::ilTileIter(const ilTile& tile, int pageX_, int pageY_, int pageZ_, int pageC_,
                       int nChans, const ilConfig* cfg, int anchored_) {
    setPageSize(pageX_, pageY_, pageZ_, pageC_);
    setTile(tile, nChans, cfg, anchored_);
    setPageBorder(0, 0, 0, 1);
}

ilTileIter::ilTileIter(const ilTile& tile, int nChans, const ilConfig* cfg, int anchored_) {
    setPageSize(0, 0, 0, 0);
    setTile(tile, nChans, cfg, anchored_);
    setPageBorder(0, 0, 0, 1);
}

void ilTileIter::setPageSize(int px, int py, int pz, int pc) {
    pageX = px;
    pageY = py;
    pageZ = pz;
    pageC = pc;
    needsReset = 1;
}

void ilTileIter::setPageBorder(int bx, int by, int bz, int clip) {
    borderX = bx;
    borderY = by;
    borderZ = bz;
    clipEnds = clip;
    needsReset = 1;
}

void ilTileIter::setTile(const ilTile& tile, int nChans, const ilConfig* cfg, int anchored_) {
    tileX = x = tile.x;
    tileY = y = tile.y;
    tileZ = z = tile.z;
    tileEndX = endX = tile.x + tile.nx;
    tileEndY = endY = tile.y + tile.ny;
    tileEndZ = endZ = tile.z + tile.nz;
    anchored = anchored_;
    if (cfg && cfg->chanList) {
        // An empty range that reset widens to the pages of the listed channels.
        tileFirstC = nChans;
        tileEndC = 0;
        listCount = cfg->nChans;
        chanList = cfg->chanList;
    } else {
        listCount = 0;
        chanList = nullptr;
        if (cfg) {
            tileFirstC = cfg->chanOffset;
            tileEndC = cfg->chanOffset + (cfg->nChans > 0 ? cfg->nChans : nChans);
        } else {
            tileFirstC = 0;
            tileEndC = nChans;
        }
    }
    firstC = c = tileFirstC;
    endC = tileEndC;
    count = 0;
    needsReset = 1;
}

void ilTileIter::park() {
    x = endX;
    y = endY;
    z = endZ;
    c = endC;
}

int ilTileIter::reset() {
    needsReset = 0;
    count = 0;
    endX = tileEndX;
    endY = tileEndY;
    endZ = tileEndZ;
    firstC = tileFirstC;
    endC = tileEndC;
    if (tileX >= endX || tileY >= endY || tileZ >= endZ) {
        park();
        return 0;
    }
    deltaX = pageX - 2 * borderX;
    deltaY = pageY - 2 * borderY;
    deltaZ = pageZ - 2 * borderZ;
    // A page geometry without a positive stride has no grid to walk.
    if (deltaX < 1 || deltaY < 1 || deltaZ < 1 || pageC < 1) {
        park();
        return 0;
    }
    if (chanList) {
        for (int i = 0; i < listCount; ++i) {
            int e = chanList[i];
            if (e < 0) continue;
            int base = e - e % pageC;
            firstC = std::min(firstC, base);
            endC = std::max(endC, base + pageC);
        }
    }

    int offX = anchored ? 0 : floorMod(tileX, deltaX);
    int offY = anchored ? 0 : floorMod(tileY, deltaY);
    int offZ = anchored ? 0 : floorMod(tileZ, deltaZ);
    firstX = tileX - borderX - offX;
    firstY = tileY - borderY - offY;
    firstZ = tileZ - borderZ - offZ;
    if (!anchored) firstC -= floorMod(firstC, pageC);

    if (clipEnds) {
        if (firstX + borderX > tileX) firstX -= deltaX;
        if (firstY + borderY > tileY) firstY -= deltaY;
        if (firstZ + borderZ > tileZ) firstZ -= deltaZ;
    } else {
        endX -= borderX;
        endY -= borderY;
        endZ -= borderZ;
    }

    int64_t n = steps(firstX, endX, deltaX) * steps(firstY, endY, deltaY) *
                steps(firstZ, endZ, deltaZ) * steps(firstC, endC, pageC);
    count = static_cast<int>(std::min<int64_t>(n, INT_MAX));

    x = firstX - deltaX;
    y = firstY;
    z = firstZ;
    c = firstC - pageC;
    if (firstX >= endX || firstY >= endY || firstZ >= endZ || !moreChans()) {
        count = 0;
        park();
        return 0;
    }
    return 1;
}

int ilTileIter::getCount() {
    if (needsReset) reset();
    return count;
}

bool ilTileIter::more() {
    if (needsReset) reset();
    // An empty walk never moves the cursor, whatever the page geometry holds.
    if (count == 0) return false;
    x += deltaX;
    if (x < endX) return true;
    x = firstX;
    y += deltaY;
    if (y < endY) return true;
    y = firstY;
    z += deltaZ;
    if (z < endZ) return true;
    z = firstZ;
    if (moreChans()) return true;
    park();
    return false;
}

bool ilTileIter::moreChans() {
    for (c += pageC; c < endC; c += pageC) {
        if (!chanList) return true;
        for (int i = 0; i < listCount; ++i)
            if (chanList[i] >= c && chanList[i] < c + pageC) return true;
    }
    return false;
}
