// The seeded generator of random cases that the differential tests of pixel moves share: values
// that probe the conversion rule, tiles around a box, channel selections and buffer layouts.
#pragma once

#include <cstdint>
#include <random>

#include "support/PixelReference.h"

namespace ref {

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

    // Mostly ordinary values with fractions; now and then one that tests truncation, wrapping,
    // saturation, NaN or infinity.
    double real();
    // Random elements of the given type: any bytes for integers, real() for floating types.
    void elements(ilType type, Bytes& b);
    // Storage for a layout's elements, filled by elements().
    Bytes data(const Layout& l);
    // A tile around box: inside, across an edge, now and then wholly outside or empty.
    ilTile near(const ilTile& box);
    // A channel list naming channels 0 to chans - 1 (now and then one beyond), or an offset.
    void channels(Layout& l, int chans);
    // A buffer of random type, order, channel count and channels among the other side's chans;
    // its box is left to the caller.
    Layout layout(int chans);

  private:
    std::mt19937 gen_;
};

}  // namespace ref
