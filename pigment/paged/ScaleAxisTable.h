// The source positions of one axis of a scaled read: for each destination index, where it
// samples the source, in 24.8 fixed point. Kept between reads, since a stroke reads alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct ScaleAxisTable {
    // One 24.8 source position per destination index destFirst..destLast.
    std::vector<uint32_t> positions;
    int destFirst = 0, destLast = 0;
    int sourceFirst = 0, sourceLast = 0;
    // The filter modes the table was built for.
    unsigned minifyCopy = 1, magnifyCopy = 1;
    float scale = 1.0f;

    // Frees the positions and forgets the ranges, so the next read builds afresh.
    void clear();
    // Whether a read of source columns first..last (floor and ceiling of the request) is covered.
    bool covers(int first, int last) const {
        return !positions.empty() && first >= sourceFirst && last <= sourceLast;
    }
    // Builds the positions for source range first..last of an axis of size pixels.
    void build(int first, int last, int size);
    // The position for destination index d, which must lie in destFirst..destLast.
    uint32_t at(int d) const { return positions[std::size_t(d - destFirst)]; }
};
