#include "pigment/frame/ilSpace.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace {

struct SpaceFacts {
    bool low, left, exchanged;
};

// Index 0, the image's own space, behaves like ilLowerLeft.
constexpr SpaceFacts kFacts[9] = {{true, true, false},  {false, true, false}, {false, false, false},
                                  {true, false, false}, {true, true, false},  {false, true, true},
                                  {false, false, true}, {true, false, true},  {true, true, true}};

const SpaceFacts& facts(int space) {
    return kFacts[space >= 0 && space <= 8 ? space : 0];
}

// Truncation toward zero that stays defined for floats beyond the int range.
int truncToInt(float v) {
    return static_cast<int>(std::clamp(static_cast<double>(v), -2147483648.0, 2147483647.0));
}

ilCoordSpace lookup(const int (&table)[9], int space) {
    return space >= 0 && space <= 8 ? static_cast<ilCoordSpace>(table[space]) : ilSpaceDefault;
}

}  // namespace

ilCoordSpace ilSpaceMirrorX(int space) {
    static const int table[9] = {3, 2, 1, 4, 3, 8, 7, 6, 5};
    return lookup(table, space);
}

ilCoordSpace ilSpaceMirrorY(int space) {
    static const int table[9] = {1, 4, 3, 2, 1, 6, 5, 8, 7};
    return lookup(table, space);
}

ilCoordSpace ilSpaceExchange(int space) {
    static const int table[9] = {8, 5, 6, 7, 8, 1, 2, 3, 4};
    return lookup(table, space);
}

bool ilSpaceOriginLow(int space) {
    return facts(space).low;
}
bool ilSpaceOriginLeft(int space) {
    return facts(space).left;
}
bool ilSpaceExchanged(int space) {
    return facts(space).exchanged;
}

void ilSpaceFlipTrans(int from, int to, int& flip, int& transpose) {
    const SpaceFacts& a = facts(from);
    const SpaceFacts& b = facts(to);
    transpose = a.exchanged != b.exchanged;
    flip = 0;
    // In an exchanged target the first axis runs vertically, so the roles of the two origin facts
    // swap.
    bool lowDiffers = a.low != b.low;
    bool leftDiffers = a.left != b.left;
    if (b.exchanged) {
        if (lowDiffers) flip |= ilFlipX;
        if (leftDiffers) flip |= ilFlipY;
    } else {
        if (leftDiffers) flip |= ilFlipX;
        if (lowDiffers) flip |= ilFlipY;
    }
}

bool ilSpaceIsMirror(int from, int to) {
    const SpaceFacts& a = facts(from);
    const SpaceFacts& b = facts(to);
    int changes = (a.exchanged != b.exchanged) + (a.low != b.low) + (a.left != b.left);
    return changes % 2 == 1;
}

namespace {

// The start of a mirrored axis. Integer tiles are mirrored in 64 bits and held to the int range:
// a tile far beyond the image stays far beyond it, on the other side.
template <typename T>
T mirrored(int size, T extent, T start) {
    if constexpr (std::is_integral_v<T>) {
        const int64_t v = int64_t(size) - extent - start;
        return static_cast<T>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
    } else {
        return static_cast<T>(size) - extent - start;
    }
}

template <typename Tile, typename T>
void mapTileImpl(int from, int to, const ilSize& size, Tile& t) {
    int flip, transpose;
    ilSpaceFlipTrans(from, to, flip, transpose);
    if (transpose) {
        std::swap(t.x, t.y);
        std::swap(t.nx, t.ny);
    }
    if (flip & ilFlipX) t.x = mirrored<T>(size.x, t.nx, t.x);
    if (flip & ilFlipY) t.y = mirrored<T>(size.y, t.ny, t.y);
}

}  // namespace

void ilSpaceMapTile(int from, int to, const ilSize& size, ilTile& tile) {
    mapTileImpl<ilTile, int32_t>(from, to, size, tile);
}

void ilSpaceMapTile(int from, int to, const ilSize& size, ilTileFloat& tile) {
    mapTileImpl<ilTileFloat, float>(from, to, size, tile);
}

void ilSpaceMapXY(int from, int to, const ilSize& size, float& x, float& y) {
    int flip, transpose;
    ilSpaceFlipTrans(from, to, flip, transpose);
    if (transpose) std::swap(x, y);
    if (flip & ilFlipX) x = static_cast<float>(size.x) - x - 1.0f;
    if (flip & ilFlipY) y = static_cast<float>(size.y) - y - 1.0f;
}

void ilSpaceMapXY(int from, int to, const ilSize& size, int& x, int& y) {
    float fx = static_cast<float>(x), fy = static_cast<float>(y);
    ilSpaceMapXY(from, to, size, fx, fy);
    x = truncToInt(fx);
    y = truncToInt(fy);
}

void ilSpaceMapXYSign(int from, int to, float& x, float& y) {
    int flip, transpose;
    ilSpaceFlipTrans(from, to, flip, transpose);
    if (transpose) std::swap(x, y);
    if (flip & ilFlipX) x = -x;
    if (flip & ilFlipY) y = -y;
}

void ilSpaceMapXYSign(int from, int to, int& x, int& y) {
    int flip, transpose;
    ilSpaceFlipTrans(from, to, flip, transpose);
    if (transpose) std::swap(x, y);
    // INT_MIN has no negative: it goes to INT_MAX.
    if (flip & ilFlipX) x = x == INT32_MIN ? INT32_MAX : -x;
    if (flip & ilFlipY) y = y == INT32_MIN ? INT32_MAX : -y;
}

void ilSpaceMapSize(int from, int to, ilSize& size) {
    if (ilSpaceExchanged(from) != ilSpaceExchanged(to)) std::swap(size.x, size.y);
}
