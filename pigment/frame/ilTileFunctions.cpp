#include "pigment/frame/ilTileFunctions.h"

#include <algorithm>

#include "pigment/frame/ilSIDImage.h"

void ilTile_union(ilTile& out, const ilTile& a, const ilTile& b) {
    out = ilTileUnion(a, b);
}

void ilTile_reset(ilTile& tile) {
    tile.set(0, 0, 0, 0, 0, 1);
}

void ilTile_expand(ilTile& tile, int n) {
    tile.x -= n;
    tile.y -= n;
    tile.nx += 2 * n;
    tile.ny += 2 * n;
}

bool ilTile_intersected(const ilTile& a, const ilTile& b) {
    int overlapX = std::min(a.x + a.nx, b.x + b.nx) - std::max(a.x, b.x);
    int overlapY = std::min(a.y + a.ny, b.y + b.ny) - std::max(a.y, b.y);
    return overlapX >= 0 && overlapY >= 0;
}

namespace {

// An odd origin steps down and an odd extent grows, so the halved axis still covers every pixel.
void halveAxis(int& origin, int& extent) {
    if (origin & 1) {
        origin -= 1;
        extent += 1;
    }
    if (extent & 1) extent += 1;
    origin >>= 1;
    extent >>= 1;
    if (extent == 0) extent = 1;
}

}  // namespace

void ilTileHalfScale(ilTile& tile) {
    halveAxis(tile.x, tile.nx);
    halveAxis(tile.y, tile.ny);
}

namespace {

ilTile boundsOf(ilSIDImage* image) {
    return image ? image->getBounds() : ilTile(0, 0, 0, 0, 0, 0);
}

}  // namespace

ilTile ilBoundaryUnion(ilSIDImage* a, ilSIDImage* b) {
    return ilTileUnion(boundsOf(a), boundsOf(b));
}

ilTile ilBoundaryIntersection(ilSIDImage* a, ilSIDImage* b) {
    return ilTileIntersection(boundsOf(a), boundsOf(b));
}
