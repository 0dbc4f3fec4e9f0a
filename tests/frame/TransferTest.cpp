// The transfer engine: seeded random moves against the reference over every type, order, channel
// selection, mirror, region, exclusion and solid source, the fast path against the kernels, and
// the named cases that pin the conversion rule, channel matching, routes and exclusion slabs.
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <vector>

#include "pigment/frame/ilData.h"
#include "pigment/frame/ilTileTransfer_p.h"
#include "support/TransferCases.h"

namespace {

using namespace ref;

TEST(TransferRandom, MatchesReferenceOverAllTypesOrdersAndChannelMaps) {
    Rng rng(20240611);
    int mismatches = 0, moved = 0;
    for (int n = 0; n < 24000 && mismatches < 5; ++n) {
        Side d, s;
        randomMove(rng, d, s);
        const Outcome o = runBoth(d, s, rng.oneIn(2));
        EXPECT_TRUE(o.sourceKept);
        if (o.engine != o.reference && ++mismatches)
            ADD_FAILURE() << "case " << n << "\n dest   " << d.describe() << "\n source "
                          << s.describe();
        moved += o.engine != d.data;
    }
    EXPECT_GT(moved, 7000) << "the generator must mostly produce moves that change something";
}

// Types of the same width, whose copies ignore signedness.
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
        d.l.type = rng.pick(kTypes);
        s.l.type = copyTwin(rng, d.l.type);
        d.l.order = rng.pick(kOrders);
        s.l.order = rng.oneIn(4) ? rng.pick(kOrders) : d.l.order;
        d.l.nc = d.l.type == ilBit && rng.oneIn(2) ? 8 * rng.range(1, 2) : rng.range(1, 4);
        s.l.nc = rng.oneIn(4) ? rng.range(1, 4) : d.l.nc;
        randomGeometry(rng, d, nullptr);
        d.l.exchange = 0;
        const ilTile nb = rng.near(d.l.box);
        s.l.box = rng.oneIn(2) || nb.empty() ? d.l.box : nb;
        s.l.flipX = rng.oneIn(4) ? rng.range(0, 1) : d.l.flipX;
        s.l.flipY = rng.oneIn(4) ? rng.range(0, 1) : d.l.flipY;
        s.l.exchange = rng.oneIn(10);
        s.regionActive = rng.oneIn(4);
        s.region = rng.near(s.l.box);
        if (rng.oneIn(5)) rng.channels(d.l, 4);
        if (rng.oneIn(5)) rng.channels(s.l, 4);
        s.exclude = rng.oneIn(4) ? randomExclude(rng, d.l.box) : ilTile(0, 0, 0, 0, 0, 0);
        d.data = rng.data(d.l);
        s.data = rng.data(s.l);

        const Outcome fast = runBoth(d, s, true), slow = runBoth(d, s, false);
        EXPECT_TRUE(fast.sourceKept && slow.sourceKept);
        EXPECT_EQ(slow.paths.wholeCopies + slow.paths.channelCopies + slow.paths.rowCopies, 0);
        if ((fast.engine != slow.engine || fast.engine != fast.reference) && ++mismatches)
            ADD_FAILURE() << "case " << n << (fast.engine != slow.engine ? " fast!=kernel" : "")
                          << "\n dest   " << d.describe() << "\n source " << s.describe();
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

Bytes buffer(ilType t, long n) {
    return Bytes(size_t(ilDataSize(t, n)));
}

// The rule pinned value by value where the reference could share a misreading of it.
TEST(TransferEdge, ConversionRuleValueByValue) {
    const struct {
        ilType from;
        double value;
        ilType to;
        double expected;
    } rows[] = {
        // clang-format off
        {ilFloat, 300.7, ilUChar, 44},    {ilFloat, -1.5, ilUChar, 255},   // truncate, low bits
        {ilFloat, 0.5, ilUChar, 0},       {ilUChar, 255, ilFloat, 255},    // no rounding or scaling
        {ilUShort, 256, ilBit, 0},        {ilUShort, 257, ilBit, 1},       // only the low 8 bits
        {ilChar, -1, ilUShort, 65535},    {ilBit, 1, ilDouble, 1},         // the source's sign
        {ilULong, 4294967295.0, ilFloat, 4294967296.0},                    // unsigned, not -1
        {ilFloat, 3e9, ilUChar, 255},     {ilFloat, -3e9, ilUShort, 0},    // saturate at 2^31 first
        {ilFloat, 3e9, ilULong, 3e9},     {ilDouble, -1.5, ilULong, 4294967295.0},  // via 64 bits
        {ilFloat, NAN, ilLong, 0},        {ilFloat, INFINITY, ilShort, -1},
        // clang-format on
    };
    const int n = 37;  // long enough for the vectorised blocks and the scalar tail
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << "from " << r.from << " " << r.value << " to " << r.to);
        Bytes src = buffer(r.from, n), dst = buffer(r.to, n);
        for (int i = 0; i < n; ++i)
            putPixel(r.from, src.data(), i, r.value);
        ilTileBlock d(dst.data(), 0, 0, 0, n, 1, 1, r.to, ilInterleaved, 1);
        ilTileBlock s(src.data(), 0, 0, 0, n, 1, 1, r.from, ilInterleaved, 1);
        ilTransfer(d, s);
        for (int i = 0; i < n; ++i)
            ASSERT_EQ(get(r.to, dst.data(), i), r.expected);
    }
}

TEST(TransferEdge, ChannelsMeetByLogicalNumber) {
    const int bgr[] = {2, 1, 0}, skipFirst[] = {-1, 1, 2};
    const struct {
        const char* name;
        int destChans, sourceChans;
        const int *destList, *sourceList;
        int destOffset, sourceOffset;
        std::vector<int> from;  // source channel per dest channel, -1 keeps the old value
        bool whole;
    } rows[] = {
        // clang-format off
        {"4 from 3 keeps channel 3", 4, 3, nullptr, nullptr, 0, 0, {0, 1, 2, -1}, false},
        {"dest list 2,1,0 reads BGR", 3, 3, bgr, nullptr, 0, 0, {2, 1, 0}, false},
        {"source list 2,1,0 sends c to the entry c", 3, 3, nullptr, bgr, 0, 0, {2, 1, 0}, false},
        {"same lists copy straight", 3, 3, bgr, bgr, 0, 0, {0, 1, 2}, true},
        {"dest offset 1 starts at channel 1", 2, 3, nullptr, nullptr, 1, 0, {1, 2}, false},
        {"equal offsets copy straight", 3, 3, nullptr, nullptr, 2, 2, {0, 1, 2}, true},
        {"source offset shifts its channels up", 3, 3, nullptr, nullptr, 0, 2, {-1, -1, 0}, false},
        {"a skipped channel stays", 3, 3, skipFirst, skipFirst, 0, 0, {-1, 1, 2}, false},
        // clang-format on
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.name);
        // 2 x 2 pictures: pixel p, channel c holds 10 p + c.
        Bytes src(size_t(4 * r.sourceChans)), dst(size_t(4 * r.destChans), 99);
        for (size_t i = 0; i < src.size(); ++i)
            src[i] = uint8_t(10 * (i / r.sourceChans) + i % r.sourceChans);
        ilTileBlock d(dst.data(), 0, 0, 0, 2, 2, 1, ilUChar, ilInterleaved, r.destChans,
                      r.destOffset, r.destList);
        ilTileBlock s(src.data(), 0, 0, 0, 2, 2, 1, ilUChar, ilInterleaved, r.sourceChans,
                      r.sourceOffset, r.sourceList);
        ilTileTransfer t(d, s);
        t.run();
        EXPECT_EQ(t.paths.wholeCopies > 0, r.whole);
        for (int p = 0; p < 4; ++p)
            for (int c = 0; c < r.destChans; ++c) {
                const int sc = r.from[size_t(c)];
                EXPECT_EQ(dst[size_t(p * r.destChans + c)], sc < 0 ? 99 : 10 * p + sc) << p << c;
            }
    }
}

// Which route a move takes, for layouts that should and should not become block copies; the
// block copies move the same bytes as the kernels.
TEST(TransferEdge, RouteChosenForEachLayout) {
    const ilTile all(0, 0, 0, 0, 0, 0), narrow(1, 1, 0, 4, 3, 2), rows1(0, 1, 0, 6, 3, 1);
    const ilOrder I = ilInterleaved, Q = ilSequential, S = ilSeparate;
    const struct {
        const char* name;
        ilType destType, sourceType;
        ilOrder destOrder, sourceOrder;
        int nc, flipYDest, flipYSource;
        ilTile region;  // of the destination; an empty one leaves the whole box
        ilTileTransfer::PathCounts expected;  // whole, channel, row copies, kernel runs
    } rows[] = {
        {"same layout", ilUChar, ilUChar, I, I, 4, 0, 0, all, {1, 0, 0, 0}},
        {"signedness ignored", ilUShort, ilShort, Q, Q, 3, 0, 0, all, {1, 0, 0, 0}},
        {"float meets long", ilFloat, ilLong, I, I, 4, 0, 0, all, {0, 0, 0, 1}},
        {"interleaved to separate", ilUChar, ilUChar, S, I, 3, 0, 0, all, {0, 0, 0, 1}},
        {"sequential to separate", ilUChar, ilUChar, S, Q, 3, 0, 0, all, {0, 0, 1, 0}},
        {"1 channel: interleaved=separate", ilUChar, ilUChar, I, S, 1, 0, 0, narrow, {0, 0, 1, 0}},
        {"separate, rows of a plane", ilDouble, ilDouble, S, S, 2, 0, 0, rows1, {0, 1, 0, 0}},
        {"both flipped in y", ilUChar, ilUChar, I, I, 4, 1, 1, all, {1, 0, 0, 0}},
        {"one side flipped in y", ilUChar, ilUChar, I, I, 4, 1, 0, all, {0, 0, 1, 0}},
        {"8 bit channels", ilBit, ilBit, I, I, 8, 0, 0, all, {1, 0, 0, 0}},
        {"3 bit channels", ilBit, ilBit, I, I, 3, 0, 0, all, {0, 0, 0, 1}},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.name);
        const int nx = 6, ny = 5, nz = 2;
        Bytes dst = buffer(r.destType, nx * ny * nz * r.nc), slow = dst;
        Bytes src = buffer(r.sourceType, nx * ny * nz * r.nc);
        for (size_t i = 0; i < src.size(); ++i)
            src[i] = uint8_t(i * 7 + 1);
        ilTileBlock d(dst.data(), 0, 0, 0, nx, ny, nz, r.destType, r.destOrder, r.nc);
        ilTileBlock s(src.data(), 0, 0, 0, nx, ny, nz, r.sourceType, r.sourceOrder, r.nc);
        if (!r.region.empty()) d.setRegion(r.region);
        d.setFlip(0, r.flipYDest, 0);
        s.setFlip(0, r.flipYSource, 0);
        ilTileTransfer t(d, s);
        t.run();
        const auto& p = t.paths;
        EXPECT_EQ(std::vector<int>({p.wholeCopies, p.channelCopies, p.rowCopies, p.kernelRuns}),
                  std::vector<int>({r.expected.wholeCopies, r.expected.channelCopies,
                                    r.expected.rowCopies, r.expected.kernelRuns}));
        d.data = slow.data();
        ilTileTransfer k(d, s);
        k.fastPathEnabled = false;
        k.run();
        EXPECT_EQ(dst, slow);
    }
}

// Exclusion slabs: how many regions move, and that the excluded box keeps its values.
TEST(TransferEdge, ExclusionLeavesItsBoxAlone) {
    const struct {
        const char* name;
        ilTile exclude;
        int regions;
    } rows[] = {
        {"none", ilTile(0, 0, 0, 0, 0, 0), 1},
        {"outside", ilTile(20, 20, 0, 3, 3, 1), 1},
        {"covers all", ilTile(-1, -1, -1, 10, 10, 5), 0},
        {"splits in x", ilTile(3, -5, -5, 2, 20, 20), 2},
        {"hole in the middle", ilTile(2, 1, 0, 3, 2, 1), 5},
        {"a z slab", ilTile(-5, -5, 1, 20, 20, 1), 2},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.name);
        const int nx = 8, ny = 4, nz = 3;
        std::vector<float> dst(nx * ny * nz, -1.0f);
        ilPixel fill(ilFloat, 1);
        fill.setElem(7.0, 0);
        ilTileBlock d(dst.data(), 0, 0, 0, nx, ny, nz, ilFloat, ilSeparate, 1);
        ilTileBlock s(fill, nullptr, 0, &r.exclude);
        ilTileTransfer t(d, s);
        t.run();
        EXPECT_EQ(t.paths.kernelRuns, r.regions);
        const ilTile& e = r.exclude;
        for (int i = 0; i < nx * ny * nz; ++i) {
            const int x = i % nx, y = i / nx % ny, z = i / (nx * ny);
            const bool out = !e.empty() && x >= e.x && x < e.x + e.nx && y >= e.y &&
                             y < e.y + e.ny && z >= e.z && z < e.z + e.nz;
            EXPECT_EQ(dst[size_t(i)], out ? -1.0f : 7.0f) << x << "," << y << "," << z;
        }
    }
}

// One channel into four repeats the value; two into four repeats the last.
TEST(TransferEdge, SolidSourcesWidenAndRepeat) {
    const struct {
        std::vector<double> pixel;
        std::vector<uint8_t> expected;
    } rows[] = {
        {{200.0}, {200, 200, 200, 200}}, {{1, 2}, {1, 2, 2, 2}}, {{1, 2, 3, 4}, {1, 2, 3, 4}}};
    for (const auto& r : rows) {
        ilPixel px(ilDouble, int(r.pixel.size()));
        for (size_t c = 0; c < r.pixel.size(); ++c)
            px.setElem(r.pixel[c], int(c));
        std::vector<uint8_t> dst(4 * 5 * 3, 0);
        ilTileBlock d(dst.data(), 0, 0, 0, 5, 3, 1, ilUChar, ilInterleaved, 4);
        ilTileBlock s(px, nullptr, 0, nullptr);
        ilTransfer(d, s);
        for (size_t i = 0; i < dst.size(); ++i)
            ASSERT_EQ(dst[i], r.expected[i % 4]) << r.pixel.size() << " channels";
        EXPECT_EQ(s.nChans, int(r.pixel.size())) << "the caller's block is not widened";
    }
}

TEST(TransferEdge, NothingMovesWithoutData) {
    Bytes buf(16, 5), other(16, 9);
    ilPixel empty;
    ilTileBlock d(buf.data(), 0, 0, 0, 4, 4, 1, ilUChar, ilSeparate, 1);
    ilTileBlock s(other.data(), 0, 0, 0, 4, 4, 1, ilUChar, ilSeparate, 1);
    ilTileBlock none(empty, nullptr, 0, nullptr);
    s.data = nullptr;
    ilTransfer(d, s);
    ilTransfer(d, none);
    d.data = nullptr;
    s.data = other.data();
    ilTransfer(d, s);
    EXPECT_EQ(buf, Bytes(16, 5));
    EXPECT_EQ(other, Bytes(16, 9));
}

}  // namespace
