// A slow, plain model of memory image tile operations: element reads and writes by index, the
// conversion rule, buffer layouts, and the map from a caller's coordinate space to an image's.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "pigment/frame/ilConfig.h"
#include "pigment/frame/ilPixel.h"
#include "pigment/frame/ilTile.h"
#include "pigment/frame/ilTypes.h"

namespace memref {

using Bytes = std::vector<unsigned char>;

inline const ilType kTypes[] = {ilBit,   ilUChar, ilChar,  ilUShort, ilShort,
                                ilULong, ilLong,  ilFloat, ilDouble};
inline const ilOrder kOrders[] = {ilInterleaved, ilSequential, ilSeparate};

// Element i of a typed array as a double; bits are numbered from the most significant bit.
double get(ilType type, const void* base, int64_t i);
// Stores v, a value of type `from`, into element i by the transfer rule: plain cast; floating
// values truncated through a signed integer (32 bits for narrow destinations, 64 for 32-bit ones,
// saturating) keeping the low bits; a bit is set when the value's low 8 bits are not all zero.
void put(ilType type, void* base, int64_t i, double v, ilType from);
// As put, but an ilBit element is set when the truncated value is non-zero (the pixel rule).
void putPixelRule(ilType type, void* base, int64_t i, double v);

// Element index of channel ch at (x, y, z) of a box nx by ny by nz with nc channels.
int64_t index(ilOrder order, int nc, int nx, int ny, int nz, int x, int y, int z, int ch);

// Maps a point given in space `from` into the image's space `to` within size (the image's axes).
void toImage(int from, int to, const ilSize& size, int& x, int& y);

// An image in plain storage.
struct Image {
    ilType type = ilUChar;
    ilOrder order = ilInterleaved;
    ilSize size = ilSize(1, 1, 1, 1);
    int space = ilLowerLeft;
    Bytes bytes;
    ilPixel fill;

    bool inside(int x, int y, int z) const {
        return x >= 0 && y >= 0 && z >= 0 && x < size.x && y < size.y && z < size.z;
    }
    int64_t at(int x, int y, int z, int c) const {
        return index(order, size.c, size.x, size.y, size.z, x, y, z, c);
    }
};

// A caller's buffer as a config describes it.
struct Buffer {
    ilType type = ilUChar;
    ilOrder order = ilInterleaved;
    int nc = 1;
    int offset = 0;
    std::vector<int> list;  // empty: no list
    int space = 0;
    ilTile box = ilTile(0, 0, 0, 1, 1, 1);

    ilConfig config() {
        return ilConfig(type, order, nc, list.empty() ? nullptr : list.data(), offset,
                        static_cast<ilCoordSpace>(space));
    }
    int64_t at(int x, int y, int z, int c) const {
        return index(order, nc, box.nx, box.ny, box.nz, x - box.x, y - box.y, z - box.z, c);
    }
    int64_t bytes() const;
    std::string describe() const;
};

// getSubTile3D of T into buffer data laid out as b; an empty T reads the whole box.
void read(const Image& img, const Buffer& b, const ilTile& t, void* data);
// setSubTile3D of T from buffer data laid out as b.
void write(Image& img, const Buffer& b, const ilTile& t, const void* data);
// fillTile3D of T with a pixel of b's type and channels (null: zeros), around exclude.
void fill(Image& img, const Buffer& b, const ilTile& t, const void* pixel, const ilTile* exclude);

// A seeded generator with the few draws the tests need.
class Rng {
  public:
    explicit Rng(uint32_t seed) : gen_(seed) {}
    int range(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(gen_); }
    bool oneIn(int n) { return range(0, n - 1) == 0; }
    unsigned char byte() { return static_cast<unsigned char>(gen_()); }
    template <typename T, size_t N>
    T pick(const T (&a)[N]) {
        return a[range(0, int(N) - 1)];
    }
    // Values with fractions and signs, now and then one that wraps or truncates; all within the
    // range of a 32-bit signed integer, where the conversion rule is unambiguous.
    double real();
    // Random elements of the given type: any bytes for integers, real() for floating types.
    void elements(ilType type, Bytes& b);

  private:
    std::mt19937 gen_;
};

}  // namespace memref
