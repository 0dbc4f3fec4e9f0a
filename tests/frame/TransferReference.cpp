#include "TransferReference.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "pigment/frame/ilElem_p.h"
#include "pigment/frame/ilPixel.h"

namespace {

bool inside(const ilTile& t, int x, int y, int z) {
    return x >= t.x && x < t.x + t.nx && y >= t.y && y < t.y + t.ny && z >= t.z && z < t.z + t.nz;
}

// Element index of channel c of pixel (px, py, pz), from the layout definitions: with exchange the
// buffer's rows run along y.
int64_t elementIndex(const ilTileBlock& b, int px, int py, int pz, int c) {
    const int64_t nx = b.nx, ny = b.ny, nz = b.nz, nc = b.nChans;
    int64_t lx = px - b.x, ly = py - b.y, lz = pz - b.z;
    if (b.flipX) lx = nx - 1 - lx;
    if (b.flipY) ly = ny - 1 - ly;
    const bool ex = b.exchange != 0;
    switch (b.order) {
        case ilInterleaved:
            return (ex ? (lz * nx + lx) * ny + ly : (lz * ny + ly) * nx + lx) * nc + c;
        case ilSequential:
            return ex ? ((lz * nx + lx) * nc + c) * ny + ly : ((lz * ny + ly) * nc + c) * nx + lx;
        default:
            return ex ? ((c * nz + lz) * nx + lx) * ny + ly : ((c * nz + lz) * ny + ly) * nx + lx;
    }
}

// A source value: exact integer, or floating.
struct Value {
    bool floating;
    int64_t i;
    double f;
};

Value read(ilType t, const void* base, int64_t idx) {
    using ilElem::load;
    switch (t) {
        case ilBit:
            return {false, ilElem::bitAt(base, idx), 0};
        case ilUChar:
            return {false, load<uint8_t>(base, idx), 0};
        case ilChar:
            return {false, load<int8_t>(base, idx), 0};
        case ilUShort:
            return {false, load<uint16_t>(base, idx), 0};
        case ilShort:
            return {false, load<int16_t>(base, idx), 0};
        case ilULong:
            return {false, load<uint32_t>(base, idx), 0};
        case ilLong:
            return {false, load<int32_t>(base, idx), 0};
        case ilFloat:
            return {true, 0, load<float>(base, idx)};
        default:
            return {true, 0, load<double>(base, idx)};
    }
}

// Truncation toward zero into a signed integer of the given width, saturating out of range, NaN 0.
int64_t truncSaturate(double v, int bits) {
    if (std::isnan(v)) return 0;
    const double limit = std::ldexp(1.0, bits - 1);
    if (v >= limit) return bits == 64 ? std::numeric_limits<int64_t>::max() : int64_t(limit) - 1;
    if (v <= -limit) return bits == 64 ? std::numeric_limits<int64_t>::min() : -int64_t(limit);
    return static_cast<int64_t>(std::trunc(v));
}

void write(ilType t, void* base, int64_t idx, const Value& v) {
    using ilElem::store;
    auto integer = [&](int bits) { return v.floating ? truncSaturate(v.f, bits) : v.i; };
    switch (t) {
        case ilBit:
            ilElem::setBitAt(base, idx, static_cast<uint8_t>(integer(32)) != 0);
            break;
        case ilUChar:
            store<uint8_t>(base, idx, static_cast<uint8_t>(integer(32)));
            break;
        case ilChar:
            store<int8_t>(base, idx, static_cast<int8_t>(integer(32)));
            break;
        case ilUShort:
            store<uint16_t>(base, idx, static_cast<uint16_t>(integer(32)));
            break;
        case ilShort:
            store<int16_t>(base, idx, static_cast<int16_t>(integer(32)));
            break;
        case ilULong:
            store<uint32_t>(base, idx, static_cast<uint32_t>(integer(64)));
            break;
        case ilLong:
            store<int32_t>(base, idx, static_cast<int32_t>(integer(64)));
            break;
        case ilFloat:
            store<float>(base, idx, v.floating ? static_cast<float>(v.f) : static_cast<float>(v.i));
            break;
        case ilDouble:
            store<double>(base, idx, v.floating ? v.f : static_cast<double>(v.i));
            break;
        default:
            break;
    }
}

bool knownType(ilType t) {
    return t == ilBit || t == ilUChar || t == ilChar || t == ilUShort || t == ilShort ||
           t == ilULong || t == ilLong || t == ilFloat || t == ilDouble;
}

}  // namespace

void referenceTransfer(const ilTileBlock& d, const ilTileBlock& s) {
    if (!d.data || !s.data || d.solid || d.nChans < 1 || s.nChans < 1) return;
    if (!knownType(d.type) || !knownType(s.type)) return;
    const void* sData = s.data;
    ilType sType = s.type;
    int sChans = s.nChans;
    ilPixel widened;
    if (s.solid && s.nChans < d.nChans) {
        widened.convert(ilPixel(s.type, s.nChans, s.data), d.type, d.nChans);
        sData = widened.elems();
        sType = widened.type();
        sChans = widened.nc();
    }
    const ilTile sBox(s.x, s.y, s.z, s.nx, s.ny, s.nz);
    for (int pz = d.z; pz < d.z + d.nz; ++pz)
        for (int py = d.y; py < d.y + d.ny; ++py)
            for (int px = d.x; px < d.x + d.nx; ++px) {
                if (d.regionActive && !inside(d.region, px, py, pz)) continue;
                if (!s.solid && !inside(sBox, px, py, pz)) continue;
                if (s.regionActive && !inside(s.region, px, py, pz)) continue;
                if (!s.exclude.empty() && inside(s.exclude, px, py, pz)) continue;
                for (int c = 0; c < d.nChans; ++c) {
                    const long logical = d.chanList ? d.chanList[c] : long(c) + d.chanOffset;
                    if (logical < 0) continue;
                    int place = -1;
                    if (!s.chanList) {
                        const long p = logical - s.chanOffset;
                        if (p >= 0 && p < sChans) place = int(p);
                    } else {
                        // The list has one entry per channel the caller gave the block.
                        for (int p = 0; p < s.nChans && place < 0; ++p)
                            if (s.chanList[p] == logical) place = p;
                    }
                    if (place < 0) continue;
                    const int64_t si = s.solid ? place : elementIndex(s, px, py, pz, place);
                    write(d.type, d.data, elementIndex(d, px, py, pz, c), read(sType, sData, si));
                }
            }
}
