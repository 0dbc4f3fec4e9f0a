// One side of a pixel transfer: a typed buffer holding a box of pixels, or one pixel repeated
// everywhere, with the layout, channel selection, mirrors and clip regions the transfer honours.
#pragma once

#include <cstdint>

#include "pigment/frame/ilPixel.h"
#include "pigment/frame/ilTile.h"
#include "pigment/frame/ilTypes.h"

// A plain descriptor, normally on the caller's stack. Strides are in elements (bits for ilBit) and
// are derived: call computeStrides after changing the box, the order or the flags by hand. The
// buffer must hold nChans channels of the whole box, naturally aligned for its element type, and
// must not overlap the buffer on the other side of a transfer.
class ilTileBlock {
  public:
    void* data;
    int x, y, z, nx, ny, nz;
    // 64-bit: a plane or a channel of a large buffer holds more than 2^31 elements.
    int64_t xStride, yStride, zStride;
    int chanOffset;
    int64_t chanStride;
    int nChans;
    ilTile region;  // taken into account only while regionActive is set
    ilType type;
    ilOrder order;
    const int* chanList;  // borrowed; one entry per channel of the block
    int regionActive, flipX, flipY, exchange;
    ilTile exclude;  // an extent below 1 means no exclusion
    int solid;

    ilTileBlock(void* data, int x, int y, int z, int nx, int ny, int nz, ilType type, ilOrder order,
                int nChans, int chanOffset = 0, const int* chanList = nullptr);
    ilTileBlock(void* data, const ilTile& box, ilType type, ilOrder order, int nChans,
                int chanOffset = 0, const int* chanList = nullptr);
    // A solid block: the pixel repeated everywhere, with a box of all zeros. The pixel is borrowed
    // and must outlive the block; exclude may be null.
    ilTileBlock(const ilPixel& pixel, const int* chanList, int chanOffset, const ilTile* exclude);

    // The box as a tile.
    ilTile box() const { return ilTile(x, y, z, nx, ny, nz); }

    void setRegion(const ilTile& r) {
        region = r;
        regionActive = 1;
    }
    // Mirrors and exchange of the axes, in the transfer's coordinates; strides follow.
    void setFlip(int flipX, int flipY, int exchange);
    void setExclude(const ilTile& e) { exclude = e; }
    void computeStrides();

  private:
    void init(void* data, int x, int y, int z, int nx, int ny, int nz, ilType type, ilOrder order,
              int nChans, int chanOffset, const int* chanList);
};
