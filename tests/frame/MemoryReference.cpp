#include "MemoryReference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>
#include <utility>

namespace memref {

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

// Truncation toward zero into a signed integer of 32 or 64 bits, saturating at its ends.
int64_t truncSigned(double v, bool wide) {
    if (std::isnan(v)) return 0;
    const double t = std::trunc(v);
    const double lo = wide ? -9223372036854775808.0 : -2147483648.0;
    const double hi = wide ? 9223372036854775808.0 : 2147483648.0;
    if (t <= lo) return wide ? INT64_MIN : INT32_MIN;
    if (t >= hi) return wide ? INT64_MAX : INT32_MAX;
    return static_cast<int64_t>(t);
}

// Writes the low bits of an integer value into an integer element.
void storeInt(ilType type, void* base, int64_t i, int64_t v) {
    switch (type) {
        case ilUChar:
        case ilChar:
            return store<uint8_t>(base, i, uint8_t(uint64_t(v)));
        case ilUShort:
        case ilShort:
            return store<uint16_t>(base, i, uint16_t(uint64_t(v)));
        default:
            return store<uint32_t>(base, i, uint32_t(uint64_t(v)));
    }
}

bool isFloating(ilType t) {
    return t == ilFloat || t == ilDouble;
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
    // Integers convert exactly; floating values pass through int32 for narrow destinations and
    // int64 for 32-bit ones.
    const bool wide = !isFloating(from) || width(type) == 4;
    switch (type) {
        case ilBit:
            return setBit(base, i, uint8_t(uint64_t(truncSigned(v, wide))) != 0);
        case ilFloat:
            return store<float>(base, i, static_cast<float>(v));
        case ilDouble:
            return store<double>(base, i, v);
        default:
            return storeInt(type, base, i, truncSigned(v, wide));
    }
}

void putPixelRule(ilType type, void* base, int64_t i, double v) {
    switch (type) {
        case ilBit:
            return setBit(base, i, std::trunc(v) != 0.0);
        case ilFloat:
            return store<float>(base, i, static_cast<float>(v));
        case ilDouble:
            return store<double>(base, i, v);
        default: {
            // The low 32 bits of the truncated value, also beyond the int64 range.
            double t = std::isfinite(v) ? std::trunc(v) : 0.0;
            double m = std::fmod(t, 4294967296.0);
            if (m < 0) m += 4294967296.0;
            return storeInt(type, base, i, int64_t(m));
        }
    }
}

int64_t index(ilOrder order, int nc, int nx, int ny, int nz, int x, int y, int z, int ch) {
    const int64_t px = x, py = y, pz = z, c = ch;
    if (nc == 1 || order == ilSeparate) return ((c * nz + pz) * ny + py) * nx + px;
    if (order == ilSequential) return ((pz * ny + py) * nc + c) * nx + px;
    return ((pz * ny + py) * nx + px) * nc + c;
}

void toImage(int from, int to, const ilSize& size, int& x, int& y) {
    // Origin low, origin left, axes exchanged; space 0 is lower-left.
    static const bool facts[9][3] = {{1, 1, 0}, {0, 1, 0}, {0, 0, 0}, {1, 0, 0}, {1, 1, 0},
                                     {0, 1, 1}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}};
    const bool* a = facts[from];
    const bool* b = facts[to];
    if (a[2] != b[2]) std::swap(x, y);
    // In an exchanged space the first axis runs vertically, so the two origin facts trade roles.
    const bool flipX = b[2] ? a[0] != b[0] : a[1] != b[1];
    const bool flipY = b[2] ? a[1] != b[1] : a[0] != b[0];
    if (flipX) x = size.x - 1 - x;
    if (flipY) y = size.y - 1 - y;
}

int64_t Buffer::bytes() const {
    const int64_t n = int64_t(nc) * box.nx * box.ny * box.nz;
    return type == ilBit ? (n + 7) / 8 : n * width(type);
}

std::string Buffer::describe() const {
    std::ostringstream o;
    o << "type " << type << " order " << order << " nc " << nc << " offset " << offset << " space "
      << space << " box " << box.x << "," << box.y << "," << box.z << " " << box.nx << "x" << box.ny
      << "x" << box.nz << " list";
    for (int v : list)
        o << " " << v;
    return o.str();
}

namespace {

int logical(const Buffer& b, int i) {
    return b.list.empty() ? b.offset + i : b.list[size_t(b.offset + i)];
}

// Calls f(u, v, w, ix, iy) for each caller position of t within box, with its image position.
template <typename F>
void walk(const Image& img, const Buffer& b, const ilTile& t, F f) {
    const ilTile r = t.empty() ? b.box : t;
    for (int w = std::max(r.z, b.box.z); w < std::min(r.z + r.nz, b.box.z + b.box.nz); ++w)
        for (int v = std::max(r.y, b.box.y); v < std::min(r.y + r.ny, b.box.y + b.box.ny); ++v)
            for (int u = std::max(r.x, b.box.x); u < std::min(r.x + r.nx, b.box.x + b.box.nx);
                 ++u) {
                int ix = u, iy = v;
                if (b.space) toImage(b.space, img.space, img.size, ix, iy);
                f(u, v, w, ix, iy);
            }
}

}  // namespace

void read(const Image& img, const Buffer& b, const ilTile& t, void* data) {
    const ilPixel& fill = img.fill;
    // A fill with fewer channels than the buffer is first widened to the buffer's type and
    // count, repeating its last channel.
    const bool widened = fill.nc() < b.nc;
    const int fillChans = widened ? b.nc : fill.nc();
    walk(img, b, t, [&](int u, int v, int w, int ix, int iy) {
        const bool in = img.inside(ix, iy, w);
        for (int i = 0; i < b.nc; ++i) {
            const int c = logical(b, i);
            const int64_t at = b.at(u, v, w, i);
            if (in) {
                if (c >= 0 && c < img.size.c)
                    put(b.type, data, at, get(img.type, img.bytes.data(), img.at(ix, iy, w, c)),
                        img.type);
            } else if (fill.nc() > 0 && c >= 0 && c < fillChans) {
                if (widened)
                    putPixelRule(b.type, data, at, fill.getElem(c));
                else
                    put(b.type, data, at, fill.getElem(c), fill.type());
            }
        }
    });
}

void write(Image& img, const Buffer& b, const ilTile& t, const void* data) {
    walk(img, b, t, [&](int u, int v, int w, int ix, int iy) {
        if (!img.inside(ix, iy, w)) return;
        for (int c = 0; c < img.size.c; ++c) {
            // The first buffer channel that names image channel c.
            int p = 0;
            while (p < b.nc && logical(b, p) != c)
                ++p;
            if (p < b.nc)
                put(img.type, img.bytes.data(), img.at(ix, iy, w, c),
                    get(b.type, data, b.at(u, v, w, p)), b.type);
        }
    });
}

void fill(Image& img, const Buffer& b, const ilTile& t, const void* pixel, const ilTile* exclude) {
    // The pixel in the image's type, through the pixel conversion rule when the types differ.
    const ilPixel raw(b.type, b.nc, pixel);
    Bytes px(size_t(b.nc) * 8 + 1, 0);
    for (int k = 0; k < b.nc; ++k)
        putPixelRule(img.type, px.data(), k, raw.getElem(k));
    const int chans = std::max(b.nc, img.size.c);

    const ilSize& s = img.size;
    std::vector<char> mark(size_t(s.x) * s.y * s.z, t.empty());
    auto paint = [&](const ilTile& r, char on) {
        for (int w = r.z; w < r.z + r.nz; ++w)
            for (int v = r.y; v < r.y + r.ny; ++v)
                for (int u = r.x; u < r.x + r.nx; ++u) {
                    int ix = u, iy = v;
                    if (b.space) toImage(b.space, img.space, s, ix, iy);
                    if (img.inside(ix, iy, w)) mark[(size_t(w) * s.y + iy) * s.x + ix] = on;
                }
    };
    if (!t.empty()) paint(t, 1);
    if (exclude && !exclude->empty()) paint(*exclude, 0);

    for (int w = 0; w < s.z; ++w)
        for (int y = 0; y < s.y; ++y)
            for (int x = 0; x < s.x; ++x) {
                if (!mark[(size_t(w) * s.y + y) * s.x + x]) continue;
                for (int c = 0; c < s.c; ++c) {
                    int p = c - b.offset;
                    if (!b.list.empty()) {
                        p = 0;
                        while (p < b.nc && b.list[size_t(p)] != c)
                            ++p;
                        if (p == b.nc) p = -1;
                    }
                    if (p < 0 || p >= chans) continue;
                    put(img.type, img.bytes.data(), img.at(x, y, w, c),
                        get(img.type, px.data(), std::min(p, b.nc - 1)), img.type);
                }
            }
}

double Rng::real() {
    static const double special[] = {300.7,
                                     -1.5,
                                     0.5,
                                     -0.5,
                                     255.0,
                                     256.0,
                                     257.0,
                                     65536.0,
                                     -1.0,
                                     3e9,
                                     -3e9,
                                     2147483648.0,
                                     4294967296.0 + 5,
                                     1e20,
                                     -1e20};
    if (oneIn(6)) return pick(special);
    return range(-4000000, 4000000) / 100.0;
}

void Rng::elements(ilType type, Bytes& b) {
    if (isFloating(type)) {
        const int w = width(type);
        for (size_t i = 0; i + size_t(w) <= b.size(); i += size_t(w))
            put(type, b.data(), int64_t(i) / w, real(), ilDouble);
    } else {
        for (auto& c : b)
            c = byte();
    }
}

}  // namespace memref
