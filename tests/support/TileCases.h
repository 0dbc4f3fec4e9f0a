// Random tile traffic on a memory image, a window over it and a canvas, each held against the plain
// reference; the test suites and the fuzz targets share it. A case answers an empty text when the
// image did what the reference did, and otherwise says what was asked and where the two parted.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "pigment/frame/ilMemoryImg.h"
#include "pigment/frame/ilSubImg.h"
#include "support/RandomCases.h"

class ilSmartImage;

namespace ref {

// Bytes kept on both sides of every caller buffer, to catch a write past its ends.
constexpr size_t kGuard = 64;

// A caller buffer with guard bytes on both sides, all of it prefilled with a random pattern.
struct Guarded {
    Bytes mem;
    Guarded(Rng& rng, int64_t bytes);
    unsigned char* data() { return mem.data() + kGuard; }
};

std::string show(const ilTile& t);
std::string show(const Image& r);
// "" when equal, else the first byte that differs.
std::string difference(const Bytes& got, const Bytes& want);
// The block of a memory image, as the reference holds it.
Bytes blockOf(ilMemoryImg& img);

// A memory image of random type, order, size, space, fill and pixels, and its model.
std::unique_ptr<ilMemoryImg> randomImage(Rng& rng, Image& r);

// One read, write or fill of img through a random caller buffer; r follows. With at given, the
// buffer's box and the tile are at, which may lie anywhere (the box must end by INT_MAX): a read
// there is checked against the fill alone, which is all that lies so far out.
std::string memoryTileCase(Rng& rng, Image& r, ilMemoryImg& img, const ilTile* at = nullptr);

// A window over a memory image: its origin, size, channels (a start and count, or a list of input
// channels) and, now and then, a fill of its own.
struct Window {
    int x = 0, y = 0, z = 0, c = 0, nx = 1, ny = 1, nz = 1, nc = 1;
    std::vector<int> list;  // input channel of each window channel; empty: from c
    std::unique_ptr<ilSubImg> image;
};
void randomWindow(Rng& rng, const Image& r, ilMemoryImg& img, Window& w);
// One read or write through the window, in the images' own coordinate space; at as above.
std::string windowTileCase(Rng& rng, Image& r, Window& w, const ilTile* at = nullptr);

// A canvas whose area [shift, shift + r.size) is modelled by r (bytes, interleaved, one or four
// channels), with the canvas's fill beyond.
struct Canvas {
    Image r;
    int shift = 0;
    std::unique_ptr<ilSmartImage> image;
    Canvas();
    ~Canvas();
};
void randomCanvas(Rng& rng, Canvas& c);
// One read, write or fill of the canvas through a random caller buffer.
std::string canvasTileCase(Rng& rng, Canvas& c);

}  // namespace ref
