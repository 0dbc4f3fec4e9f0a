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
    // Choices taken from the bytes instead, as few a choice as its range needs, and 0 once they
    // run out: a fuzzer then steers every choice through its input.
    Rng(const uint8_t* bytes, size_t size) : gen_(0), bytes_(bytes), left_(size), fed_(true) {}

    int range(int lo, int hi);
    bool oneIn(int n) { return range(0, n - 1) == 0; }
    unsigned char byte() { return fed_ ? static_cast<unsigned char>(take(1)) : uint8_t(gen_()); }
    // Whether the bytes of a fed generator are used up.
    bool exhausted() const { return fed_ && left_ == 0; }
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
    // The next n bytes (up to 4) of a fed generator as a little-endian number.
    uint32_t take(int n);

    std::mt19937 gen_;
    const uint8_t* bytes_ = nullptr;
    size_t left_ = 0;
    bool fed_ = false;
};

}  // namespace ref
