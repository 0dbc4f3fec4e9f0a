// vlUtil::IntRange2d: a box of two integer axes (0 is x, 1 is y), each the half-open span
// [lo, hi). Coordinates can be tested, wrapped (tiling) or clamped into it.
#pragma once

#include <vector>

namespace vlUtil {

class IntRange2d {
  public:
    IntRange2d() : lo{0, 0}, hi{0, 0} {}
    IntRange2d(int x0, int y0, int x1, int y1) : lo{x0, y0}, hi{x1, y1} {}
    IntRange2d(const IntRange2d&) = default;
    IntRange2d& operator=(const IntRange2d&) = default;

    void set(int x0, int y0, int x1, int y1) {
        lo[0] = x0;
        lo[1] = y0;
        hi[0] = x1;
        hi[1] = y1;
    }
    int min(int axis) const { return lo[axis & 1]; }
    int max(int axis) const { return hi[axis & 1]; }
    int size(int axis) const { return hi[axis & 1] - lo[axis & 1]; }
    int width() const { return size(0); }
    int height() const { return size(1); }
    bool isEmpty() const { return span(0) <= 0 || span(1) <= 0; }
    // Moves the box so its low corner is (x, y), keeping its size.
    void moveTo(int x, int y) {
        hi[0] += x - lo[0];
        hi[1] += y - lo[1];
        lo[0] = x;
        lo[1] = y;
    }

    bool contains(int axis, int value) const {
        return value >= lo[axis & 1] && value < hi[axis & 1];
    }
    // The coordinate brought into the span by whole periods; an empty span answers lo.
    int wrap(int axis, int value) const {
        const long long n = span(axis);
        if (n <= 0) return lo[axis & 1];
        long long r = (static_cast<long long>(value) - lo[axis & 1]) % n;
        if (r < 0) r += n;
        return static_cast<int>(lo[axis & 1] + r);
    }
    // The nearest coordinate inside the span; an empty span answers lo.
    int clamp(int axis, int value) const {
        if (span(axis) <= 0 || value < lo[axis & 1]) return lo[axis & 1];
        if (value >= hi[axis & 1]) return hi[axis & 1] - 1;
        return value;
    }

    bool operator==(const IntRange2d& other) const {
        return lo[0] == other.lo[0] && lo[1] == other.lo[1] && hi[0] == other.hi[0] &&
               hi[1] == other.hi[1];
    }

  private:
    // The extent without int overflow, for boxes spanning most of the int range.
    long long span(int axis) const { return static_cast<long long>(hi[axis & 1]) - lo[axis & 1]; }

    int lo[2];
    int hi[2];
};

// Packs the boxes into one atlas without overlap: each keeps its size and is moved so its low
// corner is its place in the atlas, whose bounding range (from 0, 0) is answered. Boxes go on
// shelves, tallest first, on an atlas about as wide as it is tall. With powerOfTwo the atlas
// width is a power of two and the answered range is rounded up to powers of two on both axes.
// Empty boxes are moved to (0, 0) and take no room.
IntRange2d pack(std::vector<IntRange2d>& ranges, bool powerOfTwo);

}  // namespace vlUtil
