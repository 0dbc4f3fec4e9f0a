// Walks the pages of a page grid that a tile overlaps, X fastest and channel pages slowest; this is
// how tile operations find the pages to lock.
#pragma once

#include "pigment/frame/ilConfig.h"
#include "pigment/frame/ilTile.h"

class ilTileIter {
  public:
    // Page size first, then the tile; the border starts at 0 with clipEnds set.
    ilTileIter(const ilTile& tile, int pageX, int pageY, int pageZ, int pageC, int nChans,
               const ilConfig* cfg = nullptr, int anchored = 0);
    // As above, with the page size to be set before the walk.
    ilTileIter(const ilTile& tile, int nChans, const ilConfig* cfg = nullptr, int anchored = 0);

    void setPageSize(int x, int y, int z, int c);
    // With clipEnds 0 the ends come in by the border, so only pages whose inner part (the page
    // without its border) meets the tile are visited.
    void setPageBorder(int x, int y, int z, int clipEnds);
    // The channels come from cfg: its list (borrowed, so it must outlive the walk), or its offset
    // and count, or all nChans channels when there is no cfg.
    void setTile(const ilTile& tile, int nChans, const ilConfig* cfg = nullptr, int anchored = 0);

    // Number of pages the walk covers, 0 for an empty tile. With a channel list this counts every
    // channel page between the first and last needed one, so it may exceed the pages visited.
    int getCount();
    // Advances to the next page; while true, x, y, z and c hold its position.
    bool more();
    // Prepares the walk and places the cursor before the first page; 0 when there is no page.
    int reset();
    // Advances c to the next channel page that the walk needs; false past the last one.
    bool moreChans();

    int x = 0, y = 0, z = 0;
    int pageX = 0, pageY = 0, pageZ = 0;
    int c = 0;
    int firstX = 0, firstY = 0, firstZ = 0;
    int firstC = 0;
    int endX = 0, endY = 0, endZ = 0;
    int endC = 0;
    int pageC = 0;
    int listCount = 0;
    const int* chanList = nullptr;
    int deltaX = 0, deltaY = 0, deltaZ = 0;
    int borderX = 0, borderY = 0, borderZ = 0;
    int tileX = 0, tileY = 0, tileZ = 0;
    int clipEnds = 1;
    int anchored = 0;
    int needsReset = 1;
    int count = 0;

  private:
    // Puts the cursor where every further more() answers false.
    void park();

    // The tile's own ends and channel range as setTile received them; reset derives the walk's
    // ends from these, so it can run again after the page geometry changes.
    int tileEndX = 0, tileEndY = 0, tileEndZ = 0;
    int tileFirstC = 0, tileEndC = 0;
};
