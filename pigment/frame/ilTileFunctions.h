// Small free functions on ilTile used by tile walkers and image pyramids: union, reset, growth,
// a two-dimensional touch test, halving for the next coarser level, and bounds of two images.
#pragma once

#include "pigment/frame/ilTile.h"

class ilSIDImage;

// out becomes the bounding box of a and b, by the rules of ilTileUnion.
void ilTile_union(ilTile& out, const ilTile& a, const ilTile& b);
// x, y, z, nx, ny become 0 and nz 1: an empty tile on the first plane.
void ilTile_reset(ilTile& tile);
// Grows the tile by n on each side in x and y; z is untouched.
void ilTile_expand(ilTile& tile, int n);
// True when a and b overlap or touch in x and y.
bool ilTile_intersected(const ilTile& a, const ilTile& b);
// The tile at half resolution, rounded outward so it covers every pixel the original touched;
// an extent that would vanish stays 1. z is untouched.
void ilTileHalfScale(ilTile& tile);

// The bounding box and the overlap of the bounds of two images; a null image has empty bounds.
ilTile ilBoundaryUnion(ilSIDImage* a, ilSIDImage* b);
ilTile ilBoundaryIntersection(ilSIDImage* a, ilSIDImage* b);

// Pointer forms for callers that hold tiles by address.
inline void ilTile_union(ilTile* out, const ilTile* a, const ilTile* b) {
    ilTile_union(*out, *a, *b);
}
inline void ilTile_reset(ilTile* tile) {
    ilTile_reset(*tile);
}
inline void ilTile_expand(ilTile* tile, int n) {
    ilTile_expand(*tile, n);
}
inline bool ilTile_intersected(const ilTile* a, const ilTile* b) {
    return ilTile_intersected(*a, *b);
}
inline void ilTileHalfScale(ilTile* tile) {
    ilTileHalfScale(*tile);
}
