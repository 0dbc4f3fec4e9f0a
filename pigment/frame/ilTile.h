// Box records of the frame: ilSize (the extent of an image) and ilTile / ilTileFloat (an origin and
// extents on three axes), with the union and intersection rules every tile operation relies on.
#pragma once

#include <cstdint>
#include <type_traits>

// x, y, z extents and channel count. The default constructor initialises nothing.
struct ilSize {
    int32_t x, y, z, c;

    ilSize() = default;
    ilSize(int32_t x_, int32_t y_, int32_t c_) : x(x_), y(y_), z(1), c(c_) {}
    ilSize(int32_t x_, int32_t y_, int32_t z_, int32_t c_) : x(x_), y(y_), z(z_), c(c_) {}

    // Multiplied as unsigned so that an oversized product wraps instead of overflowing.
    operator int() const {
        return static_cast<int>(static_cast<uint32_t>(x) * static_cast<uint32_t>(y) *
                                static_cast<uint32_t>(z) * static_cast<uint32_t>(c));
    }
    bool operator==(const ilSize& o) const { return x == o.x && y == o.y && z == o.z && c == o.c; }
    bool operator!=(const ilSize& o) const { return !(*this == o); }
};

// The shared rules of integer and float boxes. Two-dimensional operations (clipPositive, cropTo,
// intersects) leave z alone; the two-tile constructor of the derived types is three-dimensional.
// Integer ends are computed in 64 bits, so a tile that starts near the integer limit is compared
// and cut correctly instead of wrapping round; results are brought back into range.
template <typename T>
struct ilTileBox {
    using Wide = std::conditional_t<std::is_integral_v<T>, int64_t, T>;

    T x, y, z, nx, ny, nz;

    T minX() const { return x; }
    T minY() const { return y; }
    T maxX() const { return narrow(endX()); }
    T maxY() const { return narrow(endY()); }
    T width() const { return nx; }
    T height() const { return ny; }
    // The exclusive ends, exact for any start and extent.
    Wide endX() const { return Wide(x) + nx; }
    Wide endY() const { return Wide(y) + ny; }
    Wide endZ() const { return Wide(z) + nz; }

    bool empty() const { return nx < 1 || ny < 1 || nz < 1; }

    bool operator==(const ilTileBox& o) const {
        return x == o.x && y == o.y && z == o.z && nx == o.nx && ny == o.ny && nz == o.nz;
    }
    bool operator!=(const ilTileBox& o) const { return !(*this == o); }

    // True when other lies within this box on all three axes; an empty other is judged by its
    // coordinates alone.
    bool contains(const ilTileBox& o) const {
        return o.x >= x && o.y >= y && o.z >= z && o.endX() <= endX() && o.endY() <= endY() &&
               o.endZ() <= endZ();
    }

    // As contains, except that other may reach past this box's end on an axis whose limit is not
    // past that end; other's start must still be inside.
    bool contains(const ilTileBox& o, T limitX, T limitY, T limitZ) const {
        auto axis = [](T start, T size, T oStart, T oSize, T limit) {
            const Wide end = Wide(start) + size;
            if (oStart < start || oStart > end) return false;
            return Wide(oStart) + oSize <= end || limit <= end;
        };
        return axis(x, nx, o.x, o.nx, limitX) && axis(y, ny, o.y, o.ny, limitY) &&
               axis(z, nz, o.z, o.nz, limitZ);
    }

    // Moves a negative x or y origin to 0, shrinking the extent by as much but not below 0.
    void clipPositive() {
        if (x < 0) {
            nx = narrow(Wide(nx) + x < 0 ? 0 : Wide(nx) + x);
            x = 0;
        }
        if (y < 0) {
            ny = narrow(Wide(ny) + y < 0 ? 0 : Wide(ny) + y);
            y = 0;
        }
    }

    // Shrinks this tile to other in x and y; extents may go negative.
    void cropTo(const ilTileBox& o) {
        const Wide ex = endX(), ey = endY();
        if (x < o.x) x = o.x;
        if (y < o.y) y = o.y;
        nx = narrow((ex < o.endX() ? ex : o.endX()) - x);
        ny = narrow((ey < o.endY() ? ey : o.endY()) - y);
    }

    // Two-dimensional overlap test in which touching tiles intersect; result receives the overlap
    // in x and y (its z and nz are left alone).
    bool intersects(const ilTileBox& o, ilTileBox* result = nullptr) const {
        if (o.x > endX() || o.endX() < x || o.y > endY() || o.endY() < y) return false;
        if (result) {
            T rx = x > o.x ? x : o.x;
            T ry = y > o.y ? y : o.y;
            Wide ex = endX() < o.endX() ? endX() : o.endX();
            Wide ey = endY() < o.endY() ? endY() : o.endY();
            result->x = rx;
            result->y = ry;
            result->nx = narrow(ex - rx);
            result->ny = narrow(ey - ry);
        }
        return true;
    }

  protected:
    // A wide value brought into the range of T, saturating.
    static T narrow(Wide v) {
        if constexpr (std::is_integral_v<T>) {
            if (v > Wide(INT32_MAX)) return INT32_MAX;
            if (v < Wide(INT32_MIN)) return INT32_MIN;
        }
        return T(v);
    }
    void setIntersection(const ilTileBox& a, const ilTileBox& b) {
        x = a.x > b.x ? a.x : b.x;
        y = a.y > b.y ? a.y : b.y;
        z = a.z > b.z ? a.z : b.z;
        const Wide ex = a.endX() < b.endX() ? a.endX() : b.endX();
        const Wide ey = a.endY() < b.endY() ? a.endY() : b.endY();
        const Wide ez = a.endZ() < b.endZ() ? a.endZ() : b.endZ();
        nx = narrow(ex - x);
        ny = narrow(ey - y);
        nz = narrow(ez - z);
    }
    // Per axis: an empty extent on one side takes the other side's axis whole.
    void setUnion(const ilTileBox& a, const ilTileBox& b) {
        auto axis = [](T as, T an, T bs, T bn, T& s, T& n) {
            if (an < 1) {
                s = bs;
                n = bn;
            } else if (bn < 1) {
                s = as;
                n = an;
            } else {
                s = as < bs ? as : bs;
                const Wide e = Wide(as) + an > Wide(bs) + bn ? Wide(as) + an : Wide(bs) + bn;
                n = narrow(e - s);
            }
        };
        axis(a.x, a.nx, b.x, b.nx, x, nx);
        axis(a.y, a.ny, b.y, b.ny, y, ny);
        axis(a.z, a.nz, b.z, b.nz, z, nz);
    }
};

class ilTile : public ilTileBox<int32_t> {
  public:
    ilTile() = default;
    ilTile(int32_t x_, int32_t y_, int32_t nx_, int32_t ny_) { set(x_, y_, 0, nx_, ny_, 1); }
    ilTile(int32_t x_, int32_t y_, int32_t z_, int32_t nx_, int32_t ny_, int32_t nz_) {
        set(x_, y_, z_, nx_, ny_, nz_);
    }
    // Three-dimensional intersection; when any extent comes out negative all three become 0 and the
    // origins stay.
    ilTile(const ilTile& a, const ilTile& b) {
        setIntersection(a, b);
        if (nx < 0 || ny < 0 || nz < 0) nx = ny = nz = 0;
    }
    ilTile(const ilTile&) = default;
    ilTile& operator=(const ilTile&) = default;

    void set(int32_t x_, int32_t y_, int32_t z_, int32_t nx_, int32_t ny_, int32_t nz_) {
        x = x_;
        y = y_;
        z = z_;
        nx = nx_;
        ny = ny_;
        nz = nz_;
    }
};

class ilTileFloat : public ilTileBox<float> {
  public:
    ilTileFloat() = default;
    ilTileFloat(float x_, float y_, float nx_, float ny_) { set(x_, y_, 0.0f, nx_, ny_, 1.0f); }
    ilTileFloat(float x_, float y_, float z_, float nx_, float ny_, float nz_) {
        set(x_, y_, z_, nx_, ny_, nz_);
    }
    ilTileFloat(const ilTileFloat& a, const ilTileFloat& b) {
        setIntersection(a, b);
        if (nx < 0 || ny < 0 || nz < 0) nx = ny = nz = 0;
    }
    ilTileFloat(const ilTileFloat&) = default;
    ilTileFloat& operator=(const ilTileFloat&) = default;

    void set(float x_, float y_, float z_, float nx_, float ny_, float nz_) {
        x = x_;
        y = y_;
        z = z_;
        nx = nx_;
        ny = ny_;
        nz = nz_;
    }
};

// The bounding box of two tiles, per axis; an axis of extent below 1 does not count.
class ilTileUnion : public ilTile {
  public:
    ilTileUnion(const ilTile& a, const ilTile& b) { setUnion(a, b); }
};

// The overlap of two tiles; unlike the two-tile ilTile constructor, negative extents stay.
class ilTileIntersection : public ilTile {
  public:
    ilTileIntersection(const ilTile& a, const ilTile& b) { setIntersection(a, b); }
};
