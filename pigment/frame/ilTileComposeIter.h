// Cuts one tile into the boxes that remain after removing another, one slab at a time, so that
// callers can visit "A but not B" without building a region.
#pragma once

#include "pigment/frame/ilTile.h"

// How the two tiles are combined; A out of B is the only combination offered.
enum ilCompose {
    ilAOutB = 6,
};

class ilTileComposeIter : public ilTile {
  public:
    // Only ilAOutB walks; any other value yields no boxes.
    ilTileComposeIter(const ilTile& a, const ilTile& b, ilCompose compose = ilAOutB);

    // Advances; while true, this object's ilTile base holds the next box.
    bool more() { return moreFn ? (this->*moreFn)() : false; }

    int state = 0;
    int aEmpty;
    int xMin, xMax, yMin, yMax, zMin, zMax;  // what remains of A, inclusive bounds
    int bEmpty;
    int bxMin, bxMax, byMin, byMax, bzMin, bzMax;
    bool (ilTileComposeIter::*moreFn)() = nullptr;

  private:
    bool moreAOutB();
    // Delivers the remainder with the given bounds on the axis being cut.
    void deliver(int x0, int x1, int y0, int y1, int z0, int z1);
};
