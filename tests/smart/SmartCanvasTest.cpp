// The canvas is an image: seeded random tile traffic in every buffer configuration agrees byte for
// byte with a memory image given the same traffic; the fill shows outside the content; bounds grow
// to the union of written tiles and shrink as told.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "SmartTestSupport.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/ilSmartImage.h"

namespace {

// One buffer layout a caller may hand to a tile operation.
struct Layout {
    ilType type;
    ilOrder order;
    int nChans;
    std::vector<int> chans;  // empty: no channel list
    ilCoordSpace space;

    ilConfig config() {
        return ilConfig(type, order, nChans, chans.empty() ? nullptr : chans.data(), 0, space);
    }
};

class Traffic {
  public:
    Traffic(unsigned seed, int channels) : rng(seed), nc(channels) {}

    int uniform(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }

    Layout layout(bool withSpaces, bool forWrite) {
        static const ilType types[] = {ilUChar, ilUShort, ilFloat, ilChar, ilDouble};
        static const ilOrder orders[] = {ilInterleaved, ilSequential, ilSeparate};
        Layout l{types[uniform(0, 4)], orders[uniform(0, 2)], nc, {}, ilSpaceDefault};
        if (withSpaces) l.space = static_cast<ilCoordSpace>(uniform(0, 8));
        const int pick = uniform(0, 3);
        if (nc == 4 && pick == 1) l.chans = {2, 0};  // a subset, out of order
        if (nc == 4 && pick == 2) l.chans = {3};
        if (nc == 4 && pick == 3 && !forWrite) l.chans = {1, 1, 3};  // reads may repeat
        if (!l.chans.empty()) l.nChans = static_cast<int>(l.chans.size());
        return l;
    }

    // A tile inside [lo, lo + extent) on both axes, and a box around it up to 9 pixels larger.
    void tile(int lo, int extent, int maxSide, ilTile& t, ilTile& box) {
        const int w = uniform(1, maxSide), h = uniform(1, maxSide);
        t = ilTile(lo + uniform(0, extent - w), lo + uniform(0, extent - h), 0, w, h, 1);
        const int l = uniform(0, 4), r = uniform(0, 4), b = uniform(0, 4), a = uniform(0, 4);
        box = ilTile(t.x - l, t.y - b, 0, w + l + r, h + b + a, 1);
        if (uniform(0, 5) == 0) box = ilTile(t.x + w / 3, t.y, 0, w - w / 3, h, 1);  // smaller
    }

    std::vector<unsigned char> bytes(const ilTile& box, const Layout& l) {
        std::vector<unsigned char> v(static_cast<size_t>(ilDataSize(l.type, 1)) * box.nx * box.ny *
                                     l.nChans);
        for (auto& b : v)
            b = static_cast<unsigned char>(rng());
        // Floating buffers hold ordinary numbers within the byte range.
        if (l.type == ilFloat)
            for (size_t i = 0; i < v.size() / 4; ++i) {
                float f = static_cast<float>(rng() % 256);
                std::memcpy(&v[i * 4], &f, 4);
            }
        if (l.type == ilDouble)
            for (size_t i = 0; i < v.size() / 8; ++i) {
                double d = static_cast<double>(rng() % 256);
                std::memcpy(&v[i * 8], &d, 8);
            }
        return v;
    }

    std::mt19937 rng;
    int nc;
};

ilPixel pixelOf(int nc, const unsigned char* bytes) {
    return ilPixel(ilUChar, nc, bytes);
}

// Reads the same random tiles from both images into identical buffers and compares them whole.
void compareReads(Traffic& t, ilImage& smart, ilImage& mem, int lo, int extent, int shift,
                  bool withSpaces, int rounds) {
    for (int i = 0; i < rounds; ++i) {
        Layout l = t.layout(withSpaces, false);
        ilTile tile, box;
        // Reads reach past the written area on every side.
        t.tile(lo - 40, extent + 80, 300, tile, box);
        std::vector<unsigned char> a = t.bytes(box, l), b = a;
        ilConfig ca = l.config(), cb = l.config();
        ilTile shifted(tile.x + shift, tile.y + shift, 0, tile.nx, tile.ny, 1);
        ilTile shiftedBox(box.x + shift, box.y + shift, 0, box.nx, box.ny, 1);
        ASSERT_EQ(smart.getSubTile3Dv2(shifted, a.data(), shiftedBox, &ca), ilOK);
        ASSERT_EQ(mem.getSubTile3Dv2(tile, b.data(), box, &cb), ilOK);
        ASSERT_EQ(a, b) << "read " << i << " at " << tile.x << "," << tile.y << " " << tile.nx
                        << "x" << tile.ny << " type " << l.type << " order " << l.order << " space "
                        << l.space << " chans " << l.chans.size();
    }
}

// Layouts, channel lists and coordinate spaces, on a canvas whose extent equals the memory
// image's so that every space maps alike.
TEST(SmartCanvas, RandomTrafficAgreesWithMemoryImage) {
    ResetFaultLatchForTest();
    const int n = 700;
    for (int nc : {4, 1}) {
        const unsigned char fillBytes[4] = {9, 80, 160, 250};
        ilSmartImage smart(pixelOf(nc, fillBytes));
        ilMemoryImg mem(ilSize(n, n, 1, nc), ilUChar, ilInterleaved);
        mem.setFill(pixelOf(nc, fillBytes));
        Traffic t(1234u + static_cast<unsigned>(nc), nc);

        // A first write covering everything makes both images n x n.
        Layout plain{ilUChar, ilInterleaved, nc, {}, ilSpaceDefault};
        ilTile all(0, 0, 0, n, n, 1);
        std::vector<unsigned char> start = t.bytes(all, plain);
        ASSERT_EQ(smart.setTile3Dv2(all, start.data()), ilOK);
        ASSERT_EQ(mem.setTile3Dv2(all, start.data()), ilOK);
        ASSERT_EQ(smart.getBounds(), all);

        for (int i = 0; i < 300; ++i) {
            Layout l = t.layout(true, true);
            ilTile tile, box;
            t.tile(0, n, 260, tile, box);
            std::vector<unsigned char> data = t.bytes(box, l);
            ilConfig ca = l.config(), cb = l.config();
            if (t.uniform(0, 2) == 0) {
                // Solid pages under later partial writes and channel subsets.
                t.tile(0, n, 450, tile, box);
                ASSERT_EQ(
                    smart.fillTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, data.data(), &ca),
                    ilOK);
                ASSERT_EQ(mem.fillTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, data.data(), &cb),
                          ilOK);
                continue;
            }
            ASSERT_EQ(smart.setSubTile3Dv2(tile, data.data(), box, &ca), ilOK);
            ASSERT_EQ(mem.setSubTile3Dv2(tile, data.data(), box, &cb), ilOK);
        }
        EXPECT_EQ(smart.getBounds(), all) << "writes inside the extent do not move the bounds";
        compareReads(t, smart, mem, 0, n, 0, true, 300);
        EXPECT_EQ(FaultLatch, 0u);
    }
}

// Negative coordinates, fills with exclusions and copies in and out, in the image's own space.
TEST(SmartCanvas, FillsAndCopiesAgreeAcrossNegativeCoordinates) {
    ResetFaultLatchForTest();
    const int n = 600, lo = -300;  // the canvas area [-300, 300) is the memory image's [0, 600)
    const int shift = lo;
    for (int nc : {4, 1}) {
        const unsigned char fillBytes[4] = {1, 2, 3, 4};
        ilSmartImage smart(pixelOf(nc, fillBytes));
        ilMemoryImg mem(ilSize(n, n, 1, nc), ilUChar, ilInterleaved);
        mem.setFill(pixelOf(nc, fillBytes));
        mem.fillTile3D(0, 0, 0, n, n, 1, fillBytes, nullptr, nullptr);
        Traffic t(99u + static_cast<unsigned>(nc), nc);
        ilTile written(0, 0, 0, 0, 0, 0);

        for (int i = 0; i < 200; ++i) {
            Layout l = t.layout(false, true);
            ilTile tile, box;
            t.tile(0, n, 300, tile, box);
            ilConfig ca = l.config(), cb = l.config();
            ilTile at(tile.x + shift, tile.y + shift, 0, tile.nx, tile.ny, 1);
            const int op = t.uniform(0, 3);
            if (op < 2) {
                std::vector<unsigned char> data = t.bytes(box, l);
                ilTile atBox(box.x + shift, box.y + shift, 0, box.nx, box.ny, 1);
                ASSERT_EQ(smart.setSubTile3Dv2(at, data.data(), atBox, &ca), ilOK);
                ASSERT_EQ(mem.setSubTile3Dv2(tile, data.data(), box, &cb), ilOK);
                written = ilTileUnion(written, at);
            } else if (op == 2) {
                std::vector<unsigned char> value = t.bytes(ilTile(0, 0, 0, 1, 1, 1), l);
                ilTile ex, exBox;
                t.tile(0, n, 200, ex, exBox);
                ilTile exAt(ex.x + shift, ex.y + shift, 0, ex.nx, ex.ny, 1);
                const bool spare = t.uniform(0, 1) == 1;
                ASSERT_EQ(smart.fillTile3D(at.x, at.y, 0, at.nx, at.ny, 1, value.data(), &ca,
                                           spare ? &exAt : nullptr),
                          ilOK);
                ASSERT_EQ(mem.fillTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, value.data(), &cb,
                                         spare ? &ex : nullptr),
                          ilOK);
            } else {
                // Through a scratch memory image: out of the canvas, then back at another place.
                ilMemoryImg scratch(ilSize(tile.nx, tile.ny, 1, nc), ilUChar, ilInterleaved);
                ASSERT_EQ(smart.copyTile(at.x, at.y, at.nx, at.ny, &scratch, 0, 0, nullptr, 0),
                          ilOK);
                std::vector<unsigned char> expect(static_cast<size_t>(tile.nx) * tile.ny * nc);
                std::vector<unsigned char> got = expect;
                mem.getTile(tile.x, tile.y, tile.nx, tile.ny, expect.data());
                scratch.getTile(0, 0, tile.nx, tile.ny, got.data());
                ASSERT_EQ(got, expect) << "copy out " << i;
                const int tx = t.uniform(0, n - tile.nx), ty = t.uniform(0, n - tile.ny);
                ASSERT_EQ(smart.copyTile(tx + shift, ty + shift, tile.nx, tile.ny, &scratch, 0, 0),
                          ilOK);
                mem.setTile(tx, ty, tile.nx, tile.ny, got.data());
                written =
                    ilTileUnion(written, ilTile(tx + shift, ty + shift, 0, tile.nx, tile.ny, 1));
            }
        }
        compareReads(t, smart, mem, 0, n, shift, false, 300);
        EXPECT_EQ(FaultLatch, 0u);
    }
}

// Writes grow the bounds to the exact union of the written tiles; fills schedule a shrink that
// the next evaluation serves; a forced shrink collapses an image of nothing but fill.
TEST(SmartCanvas, BoundsGrowToWrittenTilesAndShrinkAsTold) {
    ResetFaultLatchForTest();
    const unsigned char clear[4] = {0, 0, 0, 0};
    ilSmartImage canvas(pixelOf(4, clear));
    EXPECT_EQ(canvas.getBounds(), ilTile(0, 0, 0, 0, 0, 1));
    std::vector<std::uint32_t> ink(300 * 300, 0xff336699u);

    struct Step {
        ilTile tile;
        ilTile bounds;
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
    ilSmartImage mask(pixelOf(1, &white));
    std::vector<unsigned char> whites(64 * 64, 255);
    mask.setTile(0, 0, 64, 64, whites.data());
    mask.ForceShrinkAttempt(false);
    EXPECT_EQ(mask.getBounds(), ilTile(0, 0, 0, 64, 64, 1));
    mask.ForceShrinkAttempt(true);
    EXPECT_EQ(mask.getBounds(), ilTile(0, 0, 0, 0, 0, 1));
    EXPECT_EQ(FaultLatch, 0u);
}

// Outside the content every read gives the fill, and setFill recolours untouched space at once.
TEST(SmartCanvas, ReadsOutsideContentGiveTheFill) {
    ResetFaultLatchForTest();
    const unsigned char fillBytes[4] = {5, 6, 7, 8};
    ilSmartImage canvas(pixelOf(4, fillBytes));
    std::uint32_t px = 0;
    canvas.getTile(-1, -1, 1, 1, &px);
    EXPECT_EQ(px, 0x08070605u);
    EXPECT_EQ(canvas.GetSmartImage().CountPages(), 0) << "a read outside leaves the table";

    std::vector<std::uint32_t> ink(10 * 10, 0x11223344u);
    canvas.setTile(0, 0, 10, 10, ink.data());
    std::vector<std::uint32_t> row(20, 0);
    canvas.getTile(0, 5, 20, 1, row.data());
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(row[static_cast<size_t>(i)], i < 10 ? 0x11223344u : 0x08070605u) << i;

    const unsigned char other[4] = {50, 60, 70, 80};
    canvas.setFill(pixelOf(4, other));
    canvas.getTile(5000, -7000, 1, 1, &px);
    EXPECT_EQ(px, 0x50463c32u);
    canvas.getTile(0, 5, 20, 1, row.data());
    EXPECT_EQ(row[3], 0x11223344u);
    EXPECT_EQ(row[15], 0x50463c32u) << "the page edge beyond the bounds takes the new fill";
}

}  // namespace
