// The pixel transfer engine: moves a box of pixels between two ilTileBlocks, converting element
// type, channel order, channel selection, mirrors and exchange of axes, around an excluded box.
#pragma once

#include <cstdint>

#include "pigment/frame/ilTile.h"
#include "pigment/frame/ilTileBlock_p.h"

// The running state of one move. Construct it over two caller-owned blocks and call run(); it
// never fails: whatever cannot be moved is skipped and the destination keeps its old values.
// Nothing is ever written outside the destination's box.
class ilTileTransfer {
  public:
    ilTileTransfer(ilTileBlock& dest, ilTileBlock& source);

    // The planner: resolves regions and the source's exclusion, then moves every slab.
    void run();

    // Which routes the last run() took, one count per region moved, so that tests and profiles
    // can tell block copies from conversion kernels.
    struct PathCounts {
        int wholeCopies = 0;
        int channelCopies = 0;
        int rowCopies = 0;
        int kernelRuns = 0;
    };
    PathCounts paths;
    // Debug switch: with the fast path off every region goes through the conversion kernels, so
    // the two routes can be compared byte for byte.
    bool fastPathEnabled = true;

    // Walk state, read by the kernels. Positions and bases are element indices (bits for ilBit)
    // and 64-bit, so that large buffers cannot overflow them.
    ilTileBlock* dest;
    ilTileBlock* source;
    int rx, ry, rz, rnx, rny, rnz;
    int64_t destBase, sourceBase;
    int chan, zCount, yCount;
    int64_t destPlane, sourcePlane, destPos, sourcePos;
    int64_t destStep, sourceStep, runLength;
    int merged;
    // Row and plane steps of each side, after the walk has been turned so that the destination is
    // always written in ascending addresses.
    int64_t destRowStep, sourceRowStep, destPlaneStep, sourcePlaneStep;
    // Number of entries in source->chanList that may be searched.
    int sourceListCount;

    // The walk shared by kernels and row copies: advances to the next run. False when no channel
    // remains.
    bool nextRun() {
        if (++yCount < rny) {
            destPos += destRowStep;
            sourcePos += sourceRowStep;
            return true;
        }
        yCount = 0;
        if (++zCount < rnz) {
            destPlane += destPlaneStep;
            sourcePlane += sourcePlaneStep;
            destPos = destPlane;
            sourcePos = sourcePlane;
            return true;
        }
        zCount = 0;
        return nextChannel();
    }
    // Seeks the next destination channel that has a partner in the source and sets the planes and
    // positions for it. False when none remains.
    bool nextChannel();

  private:
    void moveRegion(const ilTile& r);
    bool fastPath();
    // Position of a logical channel in the source, or -1.
    int sourcePlace(int logical) const;
    // True when each destination channel pairs with the source channel at the same position.
    bool sameChannelMap() const;
};

// Runs the conversion kernel of dest's type over the current region; defined beside the kernels.
void ilTransferKernel(ilTileTransfer& t);

// Convenience: one transfer from source into dest.
void ilTransfer(ilTileBlock& dest, ilTileBlock& source);
