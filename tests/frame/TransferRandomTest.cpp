// Seeded random comparison of the transfer engine with the plain reference transfer, over every
// type pair, order pair, channel selection, mirror, region, exclusion and solid source.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "TransferReference.h"
#include "pigment/frame/ilData.h"
#include "pigment/frame/ilElem_p.h"
#include "pigment/frame/ilTileTransfer_p.h"

namespace {

const ilType kTypes[] = {ilBit,   ilUChar, ilChar,  ilUShort, ilShort,
                         ilULong, ilLong,  ilFloat, ilDouble};
const ilOrder kOrders[] = {ilInterleaved, ilSequential, ilSeparate};
using Bytes = std::vector<unsigned char>;

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
    double real() {
        static const double special[] = {
            300.7,        -1.5,          0.5,  -0.5,  255.0,        256.0, 65536.0,  3e9,      -3e9,
            2147483648.0, -2147483649.0, 1e20, -1e20, 4294967296.0, NAN,   INFINITY, -INFINITY};
        if (oneIn(6)) return pick(special);
        return range(-40000, 40000) / 100.0;
    }

  private:
    std::mt19937 gen_;
};

void fillRandom(Rng& rng, ilType type, Bytes& b) {
    if (type == ilFloat || type == ilDouble) {
        const long n = static_cast<long>(b.size()) / (type == ilFloat ? 4 : 8);
        for (long i = 0; i < n; ++i) {
            if (type == ilFloat)
                ilElem::store<float>(b.data(), i, static_cast<float>(rng.real()));
            else
                ilElem::store<double>(b.data(), i, rng.real());
        }
    } else {
        for (auto& c : b)
            c = rng.byte();
    }
}

// One side of a random case, with the storage its block borrows.
struct Side {
    ilType type = ilUChar;
    ilOrder order = ilInterleaved;
    int nc = 1;
    ilTile box = ilTile(0, 0, 0, 1, 1, 1);
    int offset = 0;
    std::vector<int> list;
    bool hasList = false;
    int flipX = 0, flipY = 0, exchange = 0;
    bool regionActive = false;
    ilTile region = ilTile(0, 0, 0, 0, 0, 0);
    ilTile exclude = ilTile(0, 0, 0, 0, 0, 0);
    bool solid = false;
    ilPixel pixel;
    Bytes data;

    void allocate() {
        data.assign(size_t(ilDataSize(type, int64_t(nc) * box.nx * box.ny * box.nz)), 0);
    }
    ilTileBlock block(Bytes& storage) const {
        const int* l = hasList ? list.data() : nullptr;
        if (solid) {
            ilTileBlock b(pixel, l, offset, &exclude);
            if (regionActive) b.setRegion(region);
            return b;
        }
        ilTileBlock b(storage.data(), box, type, order, nc, offset, l);
        if (regionActive) b.setRegion(region);
        b.setFlip(flipX, flipY, exchange);
        b.setExclude(exclude);
        return b;
    }
    std::string describe() const {
        std::ostringstream o;
        o << (solid ? "solid " : "") << "type " << type << " order " << order << " nc " << nc
          << " box " << box.x << "," << box.y << "," << box.z << " " << box.nx << "x" << box.ny
          << "x" << box.nz << " off " << offset << " list";
        if (hasList)
            for (int v : list)
                o << " " << v;
        else
            o << " none";
        o << " flip " << flipX << flipY << exchange;
        if (regionActive)
            o << " region " << region.x << "," << region.y << "," << region.z << " " << region.nx
              << "x" << region.ny << "x" << region.nz;
        o << " exclude " << exclude.x << "," << exclude.y << "," << exclude.z << " " << exclude.nx
          << "x" << exclude.ny << "x" << exclude.nz;
        return o.str();
    }
};

ilTile randomBox(Rng& rng) {
    const int nx = rng.oneIn(5) ? rng.range(16, 40) : rng.range(1, 8);
    return ilTile(rng.range(-3, 3), rng.range(-3, 3), rng.range(-1, 1), nx, rng.range(1, 6),
                  rng.range(1, 3));
}

// A tile around b: inside, overlapping an edge, or now and then empty.
ilTile tileNear(Rng& rng, const ilTile& b) {
    const int low = rng.oneIn(10) ? 0 : 1;
    return ilTile(rng.range(b.x - 2, b.x + b.nx - 1), rng.range(b.y - 2, b.y + b.ny - 1),
                  rng.range(b.z - 1, b.z + b.nz - 1), rng.range(low, b.nx + 2),
                  rng.range(low, b.ny + 2), rng.range(low, b.nz + 1));
}

ilTile randomExclude(Rng& rng, const ilTile& near) {
    switch (rng.range(0, 9)) {
        case 0:
        case 4:
            return tileNear(rng, near);
        case 1:
            return ilTile(-100, -100, -100, 300, 300, 300);  // covers everything
        case 2: {
            // A slice in x that splits the region in two.
            const int x = near.x + near.nx / 2;
            return ilTile(x, -100, -100, rng.range(1, 2), 300, 300);
        }
        default:
            return ilTile(0, 0, 0, 0, 0, 0);
    }
}

void randomChannels(Rng& rng, Side& s) {
    s.offset = rng.oneIn(3) ? rng.range(0, 2) : 0;
    s.hasList = rng.oneIn(3);
    s.list.resize(size_t(s.nc));
    if (rng.oneIn(2)) {
        for (int i = 0; i < s.nc; ++i)
            s.list[size_t(i)] = s.nc - 1 - i;
    } else {
        for (int& v : s.list)
            v = rng.range(-1, 5);
    }
}

void randomGeometry(Rng& rng, Side& s, const ilTile* share) {
    s.box = share && rng.oneIn(3) ? *share : (share ? tileNear(rng, *share) : randomBox(rng));
    if (s.box.nx < 1 || s.box.ny < 1 || s.box.nz < 1) s.box = randomBox(rng);
    s.flipX = rng.oneIn(4);
    s.flipY = rng.oneIn(4);
    s.exchange = rng.oneIn(5);
    s.regionActive = rng.oneIn(3);
    s.region = tileNear(rng, s.box);
}

struct Outcome {
    Bytes engine, reference;
    ilTileTransfer::PathCounts paths;
};

Outcome runBoth(const Side& d, const Side& s, bool fast) {
    Outcome out{d.data, d.data, {}};
    Bytes sourceData = s.data;
    ilTileBlock db = d.block(out.engine);
    ilTileBlock sb = s.block(sourceData);
    const ilTileBlock sourceBefore = sb;
    ilTileTransfer t(db, sb);
    t.fastPathEnabled = fast;
    t.run();
    out.paths = t.paths;
    // The source side is only read, and a widened solid leaves the caller's block alone.
    EXPECT_EQ(sourceData, s.data);
    EXPECT_EQ(sb.data, sourceBefore.data);
    EXPECT_EQ(sb.nChans, sourceBefore.nChans);
    EXPECT_EQ(sb.type, sourceBefore.type);

    Bytes refSource = s.data;
    ilTileBlock rb = d.block(out.reference);
    referenceTransfer(rb, s.block(refSource));
    return out;
}

TEST(TransferRandom, MatchesReferenceOverAllTypesOrdersAndChannelMaps) {
    Rng rng(20240611);
    int mismatches = 0, moved = 0;
    for (int n = 0; n < 24000 && mismatches < 5; ++n) {
        Side d, s;
        d.type = rng.pick(kTypes);
        d.order = rng.pick(kOrders);
        d.nc = rng.oneIn(8) ? 8 : rng.range(1, 5);
        randomGeometry(rng, d, nullptr);
        randomChannels(rng, d);
        d.exclude = randomExclude(rng, d.box);  // a destination's exclusion plays no part
        d.allocate();
        fillRandom(rng, d.type, d.data);

        s.type = rng.pick(kTypes);
        if (rng.oneIn(6)) {
            s.solid = true;
            s.nc = rng.range(1, d.nc + 1);
            Bytes px(size_t(ilDataSize(s.type, s.nc)));
            fillRandom(rng, s.type, px);
            s.pixel.set(s.type, s.nc, px.data());
            s.regionActive = rng.oneIn(3);
            s.region = tileNear(rng, d.box);
        } else {
            s.order = rng.pick(kOrders);
            s.nc = rng.oneIn(3) ? d.nc : rng.range(1, 5);
            randomGeometry(rng, s, &d.box);
            s.allocate();
            fillRandom(rng, s.type, s.data);
        }
        randomChannels(rng, s);
        s.exclude = randomExclude(rng, d.box);

        const Outcome o = runBoth(d, s, rng.oneIn(2));
        if (o.engine != o.reference) {
            ++mismatches;
            ADD_FAILURE() << "case " << n << "\n dest   " << d.describe() << "\n source "
                          << s.describe();
        }
        if (o.engine != d.data) ++moved;
    }
    // The generator must mostly produce moves that change something, or it proves little.
    EXPECT_GT(moved, 8000);
}

ilType copyTwin(Rng& rng, ilType t) {
    if (!rng.oneIn(3)) return t;
    switch (t) {
        case ilUChar:
            return ilChar;
        case ilChar:
            return ilUChar;
        case ilUShort:
            return ilShort;
        case ilShort:
            return ilUShort;
        case ilULong:
            return ilLong;
        case ilLong:
            return ilULong;
        default:
            return t;
    }
}

// Layouts that agree often, so that whole, channel and row copies all run; with the fast path on
// and off the bytes must be identical, and both must match the reference.
TEST(TransferRandom, FastPathAgreesWithKernels) {
    Rng rng(777);
    ilTileTransfer::PathCounts total;
    int mismatches = 0;
    for (int n = 0; n < 12000 && mismatches < 5; ++n) {
        Side d, s;
        d.type = rng.pick(kTypes);
        s.type = copyTwin(rng, d.type);
        d.order = rng.pick(kOrders);
        s.order = rng.oneIn(4) ? rng.pick(kOrders) : d.order;
        d.nc = d.type == ilBit && rng.oneIn(2) ? 8 * rng.range(1, 2) : rng.range(1, 4);
        s.nc = rng.oneIn(4) ? rng.range(1, 4) : d.nc;
        randomGeometry(rng, d, nullptr);
        d.exchange = 0;
        s.box = rng.oneIn(2) ? d.box : tileNear(rng, d.box);
        if (s.box.empty()) s.box = d.box;
        s.flipX = rng.oneIn(4) ? rng.range(0, 1) : d.flipX;
        s.flipY = rng.oneIn(4) ? rng.range(0, 1) : d.flipY;
        s.exchange = rng.oneIn(10);
        s.regionActive = rng.oneIn(4);
        s.region = tileNear(rng, s.box);
        if (rng.oneIn(5)) randomChannels(rng, d);
        if (rng.oneIn(5)) randomChannels(rng, s);
        s.exclude = rng.oneIn(4) ? randomExclude(rng, d.box) : ilTile(0, 0, 0, 0, 0, 0);
        d.allocate();
        s.allocate();
        fillRandom(rng, d.type, d.data);
        fillRandom(rng, s.type, s.data);

        const Outcome fast = runBoth(d, s, true);
        const Outcome slow = runBoth(d, s, false);
        EXPECT_EQ(slow.paths.wholeCopies + slow.paths.channelCopies + slow.paths.rowCopies, 0);
        if (fast.engine != slow.engine || fast.engine != fast.reference) {
            ++mismatches;
            ADD_FAILURE() << "case " << n << (fast.engine != slow.engine ? " fast!=kernel" : "")
                          << "\n dest   " << d.describe() << "\n source " << s.describe();
        }
        total.wholeCopies += fast.paths.wholeCopies;
        total.channelCopies += fast.paths.channelCopies;
        total.rowCopies += fast.paths.rowCopies;
        total.kernelRuns += fast.paths.kernelRuns;
    }
    // Every kind of block copy must have been exercised, and often.
    EXPECT_GT(total.wholeCopies, 500);
    EXPECT_GT(total.channelCopies, 200);
    EXPECT_GT(total.rowCopies, 500);
    EXPECT_GT(total.kernelRuns, 500);
}

}  // namespace
