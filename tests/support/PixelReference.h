// A slow, plain model of every pixel move of the frame, against which the transfer engine and the
// memory image are compared: element conversion, buffer layouts, channel matching, clips.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pigment/frame/ilConfig.h"
#include "pigment/frame/ilPixel.h"
#include "pigment/frame/ilTile.h"
#include "pigment/frame/ilTypes.h"

namespace ref {

using Bytes = std::vector<unsigned char>;

inline const ilType kTypes[] = {ilBit,   ilUChar, ilChar,  ilUShort, ilShort,
                                ilULong, ilLong,  ilFloat, ilDouble};
inline const ilOrder kOrders[] = {ilInterleaved, ilSequential, ilSeparate};

// Element i of a typed array as a double; bits are numbered from the most significant bit.
double get(ilType type, const void* base, int64_t i);
// The transfer rule: v, a value of type `from`, stored by a plain cast. Floating values are
// truncated through a signed integer (64 bits for 32-bit destinations, else 32), saturating, and
// keep the low bits; a bit is set when the low 8 bits of the value are not all zero.
void put(ilType type, void* base, int64_t i, double v, ilType from);
// The pixel rule: the low 32 bits of the truncated value; a bit is set when that is not zero.
void putPixel(ilType type, void* base, int64_t i, double v);

// A buffer: element type, order, channels, the box it holds, the logical channels it names (a
// list, else an offset), mirrors and exchange of its axes, and the caller's coordinate space. A
// solid buffer is one pixel repeated everywhere.
struct Layout {
    ilType type = ilUChar;
    ilOrder order = ilInterleaved;
    int nc = 1;
    ilTile box = ilTile(0, 0, 0, 1, 1, 1);
    int offset = 0;
    std::vector<int> list;  // empty: no list
    int flipX = 0, flipY = 0, exchange = 0;
    int space = 0;
    bool solid = false;

    // Element index of channel c of pixel (x, y, z), from the layout definitions.
    int64_t at(int x, int y, int z, int c) const;
    int logical(int i) const { return list.empty() ? offset + i : list[size_t(i)]; }
    // The first position that holds logical channel l, or -1.
    int place(int l) const;
    int64_t bytes() const;
    ilConfig config() const;
    std::string describe() const;
};

// Moves pixel s at (sx, sy, sz) into pixel d at (dx, dy, dz): each destination channel takes the
// source channel of the same logical number; one without a partner keeps its value.
void movePixel(const Layout& d, void* dData, int dx, int dy, int dz, const Layout& s,
               const void* sData, int sx, int sy, int sz);

// A solid source with fewer channels than its destination, as the engine widens it: converted by
// the pixel rule to the destination's type and count, repeating its last channel.
Layout widen(const Layout& s, const void* sData, const Layout& d, Bytes& out);

// The transfer engine: moves source into dest wherever dest's box and region, source's box (unless
// solid) and region meet, outside source's exclusion.
void transfer(const Layout& d, void* dData, const ilTile* dRegion, const Layout& s,
              const void* sData, const ilTile* sRegion, const ilTile& sExclude);

// An image in plain storage, as a memory image holds it.
struct Image {
    ilType type = ilUChar;
    ilOrder order = ilInterleaved;
    ilSize size = ilSize(1, 1, 1, 1);
    int space = ilLowerLeft;
    Bytes bytes;
    ilPixel fill;

    Layout layout() const;
};

// Maps a point given in space `from` into the space `to` of an image of the given size.
void toImage(int from, int to, const ilSize& size, int& x, int& y);

// getSubTile3D of tile t into data laid out as b; an empty t reads the whole box.
void read(const Image& img, const Layout& b, const ilTile& t, void* data);
// Whether a list names one logical channel at two positions.
bool repeatsChannel(const Layout& l);
// setSubTile3D of tile t from data laid out as b; false, with nothing written, when b's list
// repeats a channel, which a write refuses as not invertible.
bool write(Image& img, const Layout& b, const ilTile& t, const void* data);
// fillTile3D of tile t (empty: all of the image) with a pixel of b's type and channels (null:
// zeros), around exclude.
void fill(Image& img, const Layout& b, const ilTile& t, const void* pixel, const ilTile* exclude);

}  // namespace ref
