// The canvas is an image: seeded random tile traffic in every buffer layout agrees byte for byte
// with a memory image given the same traffic, the fill outside the content included; bounds grow
// to the union of written tiles and shrink as told.
#include <gtest/gtest.h>

#include <vector>

#include "SmartTestSupport.h"
#include "pigment/frame/ilMemoryImg.h"
#include "support/TileCases.h"

namespace {

class SmartCanvas : public LatchClear {};

// A tile inside [lo, lo + extent) on both axes with sides up to maxSide.
ilTile randomTile(ref::Rng& rng, int lo, int extent, int maxSide) {
    const int w = rng.range(1, maxSide), h = rng.range(1, maxSide);
    return ilTile(lo + rng.range(0, extent - w), lo + rng.range(0, extent - h), 0, w, h, 1);
}

// A buffer box up to 8 pixels larger than t, or now and then one that cuts it.
ilTile boxAround(ref::Rng& rng, const ilTile& t) {
    if (rng.oneIn(6)) return ilTile(t.x + t.nx / 3, t.y, 0, t.nx - t.nx / 3, t.ny, 1);
    const int l = rng.range(0, 4), b = rng.range(0, 4);
    return ilTile(t.x - l, t.y - b, 0, t.nx + l + rng.range(0, 4), t.ny + b + rng.range(0, 4), 1);
}

// Past its bounds a memory image widens its fill into buffer channels beyond its own, while a page
// of the canvas in memory has no such channel to read: reads name the image's channels only.
void ownChannels(ref::Layout& l, int nc) {
    std::vector<int> list;
    for (int i = 0; i < l.nc; ++i)
        list.push_back(l.logical(i) < nc ? l.logical(i) : -1);
    l.list = list;
    l.offset = 0;
}

ilTile moved(ilTile t, int shift) {
    t.x += shift;
    t.y += shift;
    return t;
}

// Writes, fills (sparing a tile or not) and copies out and back in, then reads reaching past the
// written area on every side. The canvas area [shift, shift + 600) is the memory image's
// [0, 600); coordinate spaces are drawn only where both images have one extent.
TEST_F(SmartCanvas, RandomTrafficAgreesWithMemoryImage) {
    struct Setup {
        int nc, shift;
        bool spaces;
    };
    const Setup setups[] = {{4, 0, true}, {1, 0, true}, {4, -300, false}, {1, -300, false}};
    const int n = 600;
    for (const Setup& s : setups) {
        SCOPED_TRACE(testing::Message() << s.nc << " channels, shift " << s.shift);
        ref::Rng rng(1234u + static_cast<unsigned>(s.nc - s.shift));
        const unsigned char fillBytes[4] = {9, 80, 160, 250};
        ilSmartImage smart(ilPixel(ilUChar, s.nc, fillBytes));
        ilMemoryImg mem(ilSize(n, n, 1, s.nc), ilUChar, ilInterleaved);
        mem.setFill(ilPixel(ilUChar, s.nc, fillBytes));
        ref::Layout whole;
        whole.nc = s.nc;
        whole.box = ilTile(0, 0, 0, n, n, 1);
        if (s.spaces) {
            ref::Bytes start = rng.data(whole);  // both images n x n from here on
            ASSERT_EQ(smart.setTile3Dv2(whole.box, start.data()), ilOK);
            ASSERT_EQ(mem.setTile3Dv2(whole.box, start.data()), ilOK);
        } else {
            ASSERT_EQ(mem.fillTile3D(0, 0, 0, n, n, 1, fillBytes, nullptr, nullptr), ilOK);
        }

        for (int i = 0; i < 300; ++i) {
            ref::Layout l = rng.layout(s.nc);
            if (s.spaces) l.space = rng.range(0, 8);
            const int op = rng.range(0, 3);
            const ilTile t = randomTile(rng, 0, n, op == 2 ? 450 : 260), at = moved(t, s.shift);
            l.box = boxAround(rng, t);
            ilConfig ca = l.config(), cb = l.config();
            SCOPED_TRACE(testing::Message() << "op " << i << ": " << op << " " << l.describe());
            if (op < 2) {
                ref::Bytes data = rng.data(l);
                const ilStatus want = ref::repeatsChannel(l) ? ilConfigNotInvertible : ilOK;
                ASSERT_EQ(smart.setSubTile3Dv2(at, data.data(), moved(l.box, s.shift), &ca), want);
                ASSERT_EQ(mem.setSubTile3Dv2(t, data.data(), l.box, &cb), want);
            } else if (op == 2) {
                // Solid pages under later partial writes and channel subsets.
                ref::Layout px = l;
                px.solid = true;
                ref::Bytes value = rng.data(px);
                const ilTile ex = randomTile(rng, 0, n, 200), exAt = moved(ex, s.shift);
                const bool spare = rng.oneIn(2);
                ASSERT_EQ(smart.fillTile3D(at.x, at.y, 0, at.nx, at.ny, 1, value.data(), &ca,
                                           spare ? &exAt : nullptr),
                          ilOK);
                ASSERT_EQ(mem.fillTile3D(t.x, t.y, 0, t.nx, t.ny, 1, value.data(), &cb,
                                         spare ? &ex : nullptr),
                          ilOK);
            } else {
                // Through a scratch memory image: out of the canvas, then back at another place.
                ilMemoryImg scratch(ilSize(t.nx, t.ny, 1, s.nc), ilUChar, ilInterleaved);
                ASSERT_EQ(smart.copyTile(at.x, at.y, at.nx, at.ny, &scratch, 0, 0, nullptr, 0),
                          ilOK);
                std::vector<unsigned char> expect(static_cast<size_t>(t.nx) * t.ny * s.nc), got;
                got = expect;
                mem.getTile(t.x, t.y, t.nx, t.ny, expect.data());
                scratch.getTile(0, 0, t.nx, t.ny, got.data());
                ASSERT_EQ(got, expect);
                const int bx = rng.range(0, n - t.nx), by = rng.range(0, n - t.ny);
                ASSERT_EQ(smart.copyTile(bx + s.shift, by + s.shift, t.nx, t.ny, &scratch, 0, 0),
                          ilOK);
                mem.setTile(bx, by, t.nx, t.ny, got.data());
            }
        }
        if (s.spaces) {
            EXPECT_EQ(smart.getBounds(), whole.box) << "writes inside do not move the bounds";
        }
        for (int i = 0; i < 300; ++i) {
            ref::Layout l = rng.layout(s.nc);
            ownChannels(l, s.nc);
            if (s.spaces) l.space = rng.range(0, 8);
            const ilTile t = randomTile(rng, -40, n + 80, 300);
            l.box = boxAround(rng, t);
            ref::Bytes a = rng.data(l), b = a;
            ilConfig ca = l.config(), cb = l.config();
            ASSERT_EQ(smart.getSubTile3Dv2(moved(t, s.shift), a.data(), moved(l.box, s.shift), &ca),
                      ilOK);
            ASSERT_EQ(mem.getSubTile3Dv2(t, b.data(), l.box, &cb), ilOK);
            ASSERT_EQ(a, b) << "read " << i << " at " << t.x << "," << t.y << " " << t.nx << "x"
                            << t.ny << " " << l.describe();
        }
    }
}

// The same traffic held against the plain model directly, on canvases of random size, channels,
// fill and place.
TEST_F(SmartCanvas, RandomTrafficMatchesTheModel) {
    ref::Rng rng(4321);
    int failures = 0;
    for (int n = 0; n < 12 && failures < 5; ++n) {
        ref::Canvas c;
        ref::randomCanvas(rng, c);
        for (int op = 0; op < 60; ++op) {
            const std::string wrong = ref::canvasTileCase(rng, c);
            if (!wrong.empty() && ++failures <= 5) ADD_FAILURE() << "canvas " << n << ": " << wrong;
        }
    }
}

// Writes grow the bounds to the exact union of the written tiles; fills schedule a shrink that
// the next evaluation serves; a forced shrink collapses an image of nothing but fill.
TEST_F(SmartCanvas, BoundsGrowToWrittenTilesAndShrinkAsTold) {
    const unsigned char clear[4] = {0, 0, 0, 0};
    ilSmartImage canvas(clearFill());
    EXPECT_EQ(canvas.getBounds(), ilTile(0, 0, 0, 0, 0, 1));
    std::vector<std::uint32_t> ink(300 * 300, 0xff336699u);
    struct Step {
        ilTile tile, bounds;
    } steps[] = {
        {ilTile(10, 20, 0, 5, 7, 1), ilTile(10, 20, 0, 5, 7, 1)},
        {ilTile(-3, 100, 0, 2, 1, 1), ilTile(-3, 20, 0, 18, 81, 1)},
        {ilTile(0, 0, 0, 0, 50, 1), ilTile(-3, 20, 0, 18, 81, 1)},  // empty: no growth
        {ilTile(250, -130, 0, 1, 1, 1), ilTile(-3, -130, 0, 254, 231, 1)},
    };
    for (const Step& s : steps) {
        canvas.setTile(s.tile.x, s.tile.y, s.tile.nx, s.tile.ny, ink.data());
        EXPECT_EQ(canvas.getBounds(), s.bounds) << s.tile.x << "," << s.tile.y;
        EXPECT_EQ(canvas.getXsize(), s.bounds.x + s.bounds.nx);
    }

    // A fill that spares a tile while covering the bounds keeps them; a plain fill schedules a
    // shrink that the next evaluation serves, down to the pages that still hold content.
    ilTile keep(250, -130, 0, 1, 1, 1);
    canvas.fillTile3D(-3, -130, 0, 254, 231, 1, clear, nullptr, &keep);
    EXPECT_EQ(canvas.getBounds(), ilTile(-3, -130, 0, 254, 231, 1));
    canvas.fillTile3D(-3, -130, 0, 131, 231, 1, clear);
    EXPECT_EQ(canvas.getBounds(), ilTile(128, -130, 0, 123, 2, 1));
    canvas.ForceShrinkAttempt(false);
    EXPECT_EQ(canvas.getBounds(), keep);

    // Only fill left: collapse, and the size fields fall to 1.
    canvas.fillTile3D(250, -130, 0, 1, 1, 1, clear);
    canvas.ForceShrinkAttempt(false);
    EXPECT_EQ(canvas.getRealBounds(), ilTile(0, 0, 0, 0, 0, 1));
    EXPECT_EQ(canvas.getXsize(), 1);
    EXPECT_EQ(canvas.getYsize(), 1);

    // One channel with fill 255 never shrinks by itself.
    const unsigned char white = 255;
    ilSmartImage mask(ilPixel(ilUChar, 1, &white));
    std::vector<unsigned char> whites(64 * 64, 255);
    mask.setTile(0, 0, 64, 64, whites.data());
    mask.ForceShrinkAttempt(false);
    EXPECT_EQ(mask.getBounds(), ilTile(0, 0, 0, 64, 64, 1));
    mask.ForceShrinkAttempt(true);
    EXPECT_EQ(mask.getBounds(), ilTile(0, 0, 0, 0, 0, 1));
}

}  // namespace

// The canvas holds plane 0 within +-102400: a tile reaching past the limit is cut there, one wholly
// beyond moves nothing and leaves the bounds alone, and every other plane reads as the fill.
TEST_F(SmartCanvas, OnlyPlaneZeroWithinTheLimitHoldsPixels) {
    constexpr int L = kSmartMaxCoord;
    ilSmartImage canvas(clearFill());
    std::vector<std::uint32_t> ink(64);
    for (int i = 0; i < 64; ++i)
        ink[size_t(i)] = 0xff000000u + static_cast<std::uint32_t>(i);
    testing::internal::CaptureStdout();
    // Wholly beyond, on each side, as writes and as fills.
    EXPECT_EQ(canvas.setTile(-L - 100, 0, 50, 1, ink.data()), ilOK);
    EXPECT_EQ(canvas.setTile(L, 5, 50, 1, ink.data()), ilOK);
    EXPECT_EQ(canvas.setTile(0, -L - 64, 1, 64, ink.data()), ilOK);
    EXPECT_EQ(canvas.fillTile(-L - 100, 7, 50, 1, ink.data()), ilOK);
    EXPECT_EQ(canvas.getBounds(), ilTile(0, 0, 0, 0, 0, 1));
    // Across the limit: only the columns inside land, each where the buffer puts it.
    EXPECT_EQ(canvas.setTile(-L - 10, 0, 20, 1, ink.data()), ilOK);
    EXPECT_EQ(canvas.setTile(L - 4, 1, 8, 1, ink.data()), ilOK);
    const std::string said = testing::internal::GetCapturedStdout();
    EXPECT_NE(said.find("SID: SmartImage had to clip an image op to fit +- 102400\n"),
              std::string::npos);
    std::vector<std::uint32_t> got(20, 1);
    canvas.getTile(-L - 10, 0, 20, 1, got.data());
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(got[size_t(i)], i < 10 ? 0u : ink[size_t(i)]) << i;
    canvas.getTile(L - 4, 1, 8, 1, got.data());
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(got[size_t(i)], i < 4 ? ink[size_t(i)] : 0u) << i;
    EXPECT_EQ(canvas.getBounds(), ilTile(-L, 0, 0, 2 * L, 2, 1));

    // Planes: a write or fill to plane 7 leaves plane 0 alone; a read of planes -1 to 1 gives fill
    // around plane 0's pixels.
    ilSmartImage planes(clearFill());
    ASSERT_EQ(planes.setTile3D(0, 0, 0, 4, 1, 1, ink.data()), ilOK);
    EXPECT_EQ(planes.setTile3D(0, 0, 7, 4, 1, 1, ink.data() + 8), ilOK);
    EXPECT_EQ(planes.fillTile3D(0, 0, 3, 4, 1, 2, ink.data() + 9), ilOK);
    got.assign(12, 1);
    ASSERT_EQ(planes.getTile3D(0, 0, -1, 4, 1, 3, got.data()), ilOK);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(got[size_t(i)], i / 4 == 1 ? ink[size_t(i % 4)] : 0u) << i;
}
