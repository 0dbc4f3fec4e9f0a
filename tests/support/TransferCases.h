// Random moves of the transfer engine, shared by its test suite and its fuzz target: both sides of
// a move as layouts with storage or a solid pixel, and the engine run beside the reference.
#pragma once

#include <string>

#include "pigment/frame/ilTileTransfer_p.h"
#include "support/RandomCases.h"

namespace ref {

// One side of an engine move: a layout with its storage, or a solid pixel, and its clips.
struct Side {
    Layout l;
    Bytes data;
    ilPixel pixel;
    bool regionActive = false;
    ilTile region, exclude = ilTile(0, 0, 0, 0, 0, 0);

    ilTileBlock block(Bytes& storage) const;
    std::string describe() const;
};

// Mirrors, exchange and region of a buffer side; its box is near `share` when given.
void randomGeometry(Rng& rng, Side& s, const ilTile* share);
// None mostly; now and then one near the box, one covering everything or an x slice splitting it.
ilTile randomExclude(Rng& rng, const ilTile& b);
// A move of any types, orders, channel maps, mirrors, regions and exclusions, with a solid source
// now and then.
void randomMove(Rng& rng, Side& d, Side& s);

struct Outcome {
    Bytes engine, reference;
    ilTileTransfer::PathCounts paths;
    bool sourceKept = true;  // the source's bytes and block came through unchanged
};

// Runs the engine (with its fast path on or off) and the reference on copies of d's bytes.
Outcome runBoth(const Side& d, const Side& s, bool fast);

}  // namespace ref
