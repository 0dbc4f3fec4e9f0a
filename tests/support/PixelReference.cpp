#include "support/PixelReference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>
#include <utility>

namespace ref {

namespace {

int width(ilType t) {
    switch (t) {
        case ilUChar:
        case ilChar:
            return 1;
        case ilUShort:
        case ilShort:
            return 2;
        case ilULong:
        case ilLong:
        case ilFloat:
            return 4;
        case ilDouble:
            return 8;
        default:
            return 0;
    }
}

bool floating(ilType t) {
    return t == ilFloat || t == ilDouble;
}

template <typename T>
T load(const void* base, int64_t i) {
    T v;
    std::memcpy(&v, static_cast<const unsigned char*>(base) + i * int64_t(sizeof(T)), sizeof(T));
    return v;
}

template <typename T>
void store(void* base, int64_t i, T v) {
    std::memcpy(static_cast<unsigned char*>(base) + i * int64_t(sizeof(T)), &v, sizeof(T));
}

void setBit(void* base, int64_t i, bool on) {
    unsigned char& b = static_cast<unsigned char*>(base)[i / 8];
    const unsigned char m = static_cast<unsigned char>(0x80 >> (i % 8));
    b = static_cast<unsigned char>(on ? b | m : b & ~m);
}

// Truncation toward zero into a signed integer of 32 or 64 bits, saturating; NaN gives 0.
int64_t truncSigned(double v, bool wide) {
    if (std::isnan(v)) return 0;
    const double t = std::trunc(v), limit = wide ? 9223372036854775808.0 : 2147483648.0;
    if (t <= -limit) return wide ? INT64_MIN : INT32_MIN;
    if (t >= limit) return wide ? INT64_MAX : INT32_MAX;
    return static_cast<int64_t>(t);
}

// The low bits of an integer value into an integer element.
void storeInt(ilType type, void* base, int64_t i, int64_t v) {
    const int w = width(type);
    if (w == 1) return store<uint8_t>(base, i, uint8_t(uint64_t(v)));
    if (w == 2) return store<uint16_t>(base, i, uint16_t(uint64_t(v)));
    store<uint32_t>(base, i, uint32_t(uint64_t(v)));
}

bool inside(const ilTile& t, int x, int y, int z) {
    return x >= t.x && x < t.endX() && y >= t.y && y < t.endY() && z >= t.z && z < t.endZ();
}

}  // namespace

double get(ilType type, const void* base, int64_t i) {
    switch (type) {
        case ilBit:
            return (static_cast<const unsigned char*>(base)[i / 8] >> (7 - i % 8)) & 1;
        case ilUChar:
            return load<uint8_t>(base, i);
        case ilChar:
            return load<int8_t>(base, i);
        case ilUShort:
            return load<uint16_t>(base, i);
        case ilShort:
            return load<int16_t>(base, i);
        case ilULong:
            return load<uint32_t>(base, i);
        case ilLong:
            return load<int32_t>(base, i);
        case ilFloat:
            return load<float>(base, i);
        default:
            return load<double>(base, i);
    }
}

void put(ilType type, void* base, int64_t i, double v, ilType from) {
    // Integer values are exact in a double and convert exactly.
    const bool wide = !floating(from) || width(type) == 4;
    if (type == ilBit) return setBit(base, i, uint8_t(uint64_t(truncSigned(v, wide))) != 0);
    if (type == ilFloat) return store<float>(base, i, static_cast<float>(v));
    if (type == ilDouble) return store<double>(base, i, v);
    storeInt(type, base, i, truncSigned(v, wide));
}

void putPixel(ilType type, void* base, int64_t i, double v) {
    if (type == ilBit) return setBit(base, i, std::trunc(v) != 0.0);
    if (floating(type)) return put(type, base, i, v, ilDouble);
    // The low 32 bits of the truncated value, also beyond the 64-bit range.
    double m = std::fmod(std::isfinite(v) ? std::trunc(v) : 0.0, 4294967296.0);
    storeInt(type, base, i, int64_t(m < 0 ? m + 4294967296.0 : m));
}

int64_t Layout::at(int x, int y, int z, int c) const {
    if (solid) return c;
    const int64_t nx = box.nx, ny = box.ny, nz = box.nz;
    int64_t lx = x - box.x, ly = y - box.y, lz = z - box.z;
    if (flipX) lx = nx - 1 - lx;
    if (flipY) ly = ny - 1 - ly;
    // With exchange the buffer's rows run along y.
    const int64_t row = exchange ? ny : nx, fast = exchange ? ly : lx, slow = exchange ? lx : ly;
    const int64_t rows = exchange ? nx : ny;
    switch (order) {
        case ilInterleaved:
            return ((lz * rows + slow) * row + fast) * nc + c;
        case ilSequential:
            return ((lz * rows + slow) * nc + c) * row + fast;
        default:
            return ((c * nz + lz) * rows + slow) * row + fast;
    }
}

int Layout::place(int l) const {
    if (list.empty()) return l - offset >= 0 && l - offset < nc ? l - offset : -1;
    for (size_t p = 0; p < list.size(); ++p)
        if (list[p] == l) return int(p);
    return -1;
}

int64_t Layout::bytes() const {
    const int64_t n = solid ? nc : int64_t(nc) * box.nx * box.ny * box.nz;
    return type == ilBit ? (n + 7) / 8 : n * width(type);
}

ilConfig Layout::config() const {
    return ilConfig(type, order, nc, list.empty() ? nullptr : const_cast<int*>(list.data()), offset,
                    static_cast<ilCoordSpace>(space));
}

std::string Layout::describe() const {
    std::ostringstream o;
    o << (solid ? "solid " : "") << "type " << type << " order " << order << " nc " << nc << " box "
      << box.x << "," << box.y << "," << box.z << " " << box.nx << "x" << box.ny << "x" << box.nz
      << " offset " << offset << " flips " << flipX << flipY << exchange << " space " << space
      << " list";
    for (int v : list)
        o << " " << v;
    return o.str();
}

void movePixel(const Layout& d, void* dData, int dx, int dy, int dz, const Layout& s,
               const void* sData, int sx, int sy, int sz) {
    for (int c = 0; c < d.nc; ++c) {
        const int p = d.logical(c) < 0 ? -1 : s.place(d.logical(c));
        if (p >= 0)
            put(d.type, dData, d.at(dx, dy, dz, c), get(s.type, sData, s.at(sx, sy, sz, p)),
                s.type);
    }
}

Layout widen(const Layout& s, const void* sData, const Layout& d, Bytes& out) {
    Layout w = s;
    w.type = d.type;
    w.nc = d.nc;
    out.assign(size_t(d.nc) * 8 + 1, 0);
    for (int c = 0; c < d.nc; ++c)
        putPixel(d.type, out.data(), c, get(s.type, sData, std::min(c, s.nc - 1)));
    return w;
}

void transfer(const Layout& d, void* dData, const ilTile* dRegion, const Layout& s,
              const void* sData, const ilTile* sRegion, const ilTile& sExclude) {
    const auto known = [](ilType t) { return t == ilBit || width(t) > 0; };
    if (!dData || !sData || d.nc < 1 || s.nc < 1 || !known(d.type) || !known(s.type)) return;
    Bytes wide;
    const Layout src = s.solid && s.nc < d.nc ? widen(s, sData, d, wide) : s;
    if (!wide.empty()) sData = wide.data();
    const ilTile& b = d.box;
    for (int z = b.z; z < b.endZ(); ++z)
        for (int y = b.y; y < b.endY(); ++y)
            for (int x = b.x; x < b.endX(); ++x) {
                if ((dRegion && !inside(*dRegion, x, y, z)) ||
                    (!s.solid && !inside(s.box, x, y, z)) ||
                    (sRegion && !inside(*sRegion, x, y, z)) ||
                    (!sExclude.empty() && inside(sExclude, x, y, z)))
                    continue;
                movePixel(d, dData, x, y, z, src, sData, x, y, z);
            }
}

Layout Image::layout() const {
    Layout l;
    l.type = type;
    l.order = order;
    l.nc = size.c;
    l.box = ilTile(0, 0, 0, size.x, size.y, size.z);
    return l;
}

void toImage(int from, int to, const ilSize& size, int& x, int& y) {
    // Origin low, origin left, axes exchanged; space 0 is lower-left.
    static const bool facts[9][3] = {{1, 1, 0}, {0, 1, 0}, {0, 0, 0}, {1, 0, 0}, {1, 1, 0},
                                     {0, 1, 1}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}};
    const bool* a = facts[from];
    const bool* b = facts[to];
    if (a[2] != b[2]) std::swap(x, y);
    // In an exchanged space the first axis runs vertically, so the two origin facts trade roles.
    if (b[2] ? a[0] != b[0] : a[1] != b[1]) x = size.x - 1 - x;
    if (b[2] ? a[1] != b[1] : a[0] != b[0]) y = size.y - 1 - y;
}

namespace {

// Calls f(u, v, w, ix, iy) for each caller position of t within b's box, with its image position.
template <typename F>
void walk(const Image& img, const Layout& b, const ilTile& t, F f) {
    const ilTile r = t.empty() ? b.box : t;
    const ilTile& B = b.box;
    // Ends in 64 bits: tiles near the integer limits are part of the traffic.
    for (int w = std::max(r.z, B.z); w < std::min(r.endZ(), B.endZ()); ++w)
        for (int v = std::max(r.y, B.y); v < std::min(r.endY(), B.endY()); ++v)
            for (int u = std::max(r.x, B.x); u < std::min(r.endX(), B.endX()); ++u) {
                int ix = u, iy = v;
                if (b.space) toImage(b.space, img.space, img.size, ix, iy);
                f(u, v, w, ix, iy);
            }
}

bool inImage(const Image& img, int x, int y, int z) {
    return inside(ilTile(0, 0, 0, img.size.x, img.size.y, img.size.z), x, y, z);
}

}  // namespace

void read(const Image& img, const Layout& b, const ilTile& t, void* data) {
    const Layout own = img.layout();
    Layout fill;
    fill.type = img.fill.type();
    fill.nc = img.fill.nc();
    fill.solid = true;
    const void* fillData = img.fill.elems();
    Bytes wide;
    if (fill.nc > 0 && fill.nc < b.nc)
        fill = widen(fill, fillData, b, wide), fillData = wide.data();
    walk(img, b, t, [&](int u, int v, int w, int ix, int iy) {
        if (inImage(img, ix, iy, w))
            movePixel(b, data, u, v, w, own, img.bytes.data(), ix, iy, w);
        else if (fill.nc > 0)
            movePixel(b, data, u, v, w, fill, fillData, 0, 0, 0);
    });
}

bool repeatsChannel(const Layout& l) {
    for (size_t i = 0; i < l.list.size(); ++i)
        if (l.list[i] >= 0 && std::count(l.list.begin() + i + 1, l.list.end(), l.list[i]))
            return true;
    return false;
}

bool write(Image& img, const Layout& b, const ilTile& t, const void* data) {
    if (repeatsChannel(b)) return false;
    const Layout own = img.layout();
    walk(img, b, t, [&](int u, int v, int w, int ix, int iy) {
        if (inImage(img, ix, iy, w)) movePixel(own, img.bytes.data(), ix, iy, w, b, data, u, v, w);
    });
    return true;
}

void fill(Image& img, const Layout& b, const ilTile& t, const void* pixel, const ilTile* exclude) {
    // The pixel in the image's type by the pixel rule, then widened as a solid source.
    const Layout own = img.layout();
    const ilPixel raw(b.type, b.nc, pixel);
    Layout solid = b;
    solid.type = img.type;
    solid.solid = true;
    Bytes px(size_t(b.nc) * 8 + 1, 0), wide;
    for (int k = 0; k < b.nc; ++k)
        putPixel(img.type, px.data(), k, raw.getElem(k));
    const void* pxData = px.data();
    if (b.nc < own.nc) solid = widen(solid, pxData, own, wide), pxData = wide.data();

    const ilSize& s = img.size;
    std::vector<char> mark(size_t(s.x) * s.y * s.z, t.empty());
    const auto paint = [&](const ilTile& r, char on) {
        Layout area = b;
        area.box = r;
        walk(img, area, r, [&](int, int, int w, int ix, int iy) {
            if (inImage(img, ix, iy, w)) mark[(size_t(w) * s.y + iy) * s.x + ix] = on;
        });
    };
    if (!t.empty()) paint(t, 1);
    if (exclude && !exclude->empty()) paint(*exclude, 0);
    for (int w = 0; w < s.z; ++w)
        for (int y = 0; y < s.y; ++y)
            for (int x = 0; x < s.x; ++x)
                if (mark[(size_t(w) * s.y + y) * s.x + x])
                    movePixel(own, img.bytes.data(), x, y, w, solid, pxData, 0, 0, 0);
}

}  // namespace ref
