// Smart pages: sharing and copy on write, Realize from every state, solid scans, retention,
// origins, lines, transparency and alpha rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "SmartTestSupport.h"
#include "pigment/frame/ilAlphaCheck.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/smart/PageCluster.h"

namespace {

class SmartPage : public LatchClear {};

TEST_F(SmartPage, RealizeFromEveryState) {
    enum Setup { Mem, MemShared, Solid, SolidShared, Out, OutShared, Seed };
    enum Content { Old, Zero, Any };
    const int M = ValidInMem, S = SolidFill;
    struct Row {
        Setup setup;
        int state[4], refs[4];  // after Realize(0), (1), (2), (3)
        Content content[4];
    };
    const Row rows[] = {
        {Mem, {M, M, M, M}, {1, 1, 1, 1}, {Old, Old, Old, Old}},
        {MemShared, {M, M, M, S}, {2, 1, 1, 1}, {Old, Old, Any, Zero}},
        {Solid, {S, M, M, S}, {1, 1, 1, 1}, {Old, Old, Any, Zero}},
        {SolidShared, {S, M, M, S}, {2, 1, 1, 1}, {Old, Old, Any, Zero}},
        {Out, {M, M, M, S}, {1, 1, 1, 1}, {Old, Old, Any, Zero}},
        {OutShared, {M, M, M, S}, {2, 1, 1, 1}, {Old, Old, Any, Zero}},
        {Seed, {M, M, M, M}, {1, 1, 1, 1}, {Old, Old, Old, Old}},  // the seed is read first
    };
    SwapScope swap;
    ilMemoryImg seed(ilSize(256, 256, 1, 4), ilUChar, ilInterleaved);
    paint(seed, 0, 0, 256, 256, 9);
    for (const Row& row : rows)
        for (int mode = 0; mode < 4; ++mode) {
            SCOPED_TRACE(testing::Message() << "setup " << row.setup << " mode " << mode);
            SmartImgPage page, other;
            const bool solid = row.setup == Solid || row.setup == SolidShared;
            if (row.setup == Seed) {
                page.SetSeed(&seed, 128, 0);
            } else if (solid) {
                page.MakeFilled(0x80402010u, 4);
            } else {
                writeContent(page, 7);
            }
            if (row.setup == Out || row.setup == OutShared) {
                cache()->EvictPage(page.GetPageData());
                ASSERT_EQ(page.GetState(), Swapped);
            }
            const bool shared = row.setup % 2 == 1;  // the odd setups
            if (shared) other = SmartImgPage(page);
            const std::uint32_t old = row.setup == Seed ? patternWord(9, 17 * 256 + 128 + 9)
                                      : solid           ? 0x80402010u
                                                        : patternWord(7, 9 + 17 * 128);

            page.Realize(mode);
            EXPECT_EQ(page.GetState(), row.state[mode]);
            EXPECT_EQ(page.GetRefCnt(), row.refs[mode]);
            if (row.content[mode] != Any) {
                EXPECT_EQ(page.GetPixel(9, 17), row.content[mode] == Old ? old : 0u);
            }
            if (row.setup == Seed) {
                EXPECT_EQ(page.SeedDirty(), mode == 0 ? 0 : 1);
            }
            if (shared) {
                // The other handle keeps the old pixels whatever the writer does.
                if (mode != 0) page.SetPixel(1, 9, 17);
                EXPECT_EQ(other.GetPixel(9, 17), old);
                other.UnRef(1);
            }
            page.UnRef(2);
            EXPECT_TRUE(page.IsNull());
        }
    closeSwapFiles();
    EXPECT_TRUE(swap.dir.files().empty());
}

TEST_F(SmartPage, SolidScanFreesMemory) {
    struct Row {
        int pixelSize;
        unsigned value;
        int changeAt;  // a pixel that differs, or -1
    };
    const Row rows[] = {{4, 0xff00ff00u, -1}, {4, 0x11111111u, -1}, {4, 7u, 16383},
                        {4, 7u, 8100},        {1, 0x5au, -1},       {1, 0x5au, 16383},
                        {1, 0x5au, 2},        {1, 0x5au, 9100}};
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.pixelSize << " " << row.changeAt);
        SmartImgPage page(0, row.pixelSize), fresh(0, row.pixelSize);
        page.Realize(2);
        for (int i = 0; i < kPagePixels; ++i)
            page.SetPixel(i == row.changeAt ? row.value + 1 : row.value, i & 127, i >> 7);
        const bool solid = row.changeAt < 0;
        const std::int64_t before = cache()->GetBytesInMemory();
        EXPECT_EQ(page.CheckForSolid(nullptr), solid ? 1 : 0);
        EXPECT_EQ(page.GetState(), solid ? SolidFill : ValidInMem);
        EXPECT_EQ(cache()->GetBytesInMemory(), before - (solid ? row.pixelSize * 16384 : 0));
        EXPECT_EQ(page.GetPixel(0, 0), row.value);
        // A fresh page carries corner marks, so unwritten memory never passes for solid.
        fresh.Realize(2);
        EXPECT_EQ(fresh.CheckForSolid(nullptr), 0);
        fresh.UnRef(1);
        page.UnRef(1);
    }
}

// Handles share a body by count; the last UnRef destroys it, unless the page is retained: then
// the end of the retain does.
TEST_F(SmartPage, CountsAndRetainsDecideWhenABodyDies) {
    SmartImgPage a, b;
    writeContent(a, 1);
    writeContent(b, 2);
    const std::int64_t bytes = cache()->GetBytesInMemory();
    a.Reference(&b);  // releases a's own body
    EXPECT_EQ(cache()->GetBytesInMemory(), bytes - 65536);
    SmartImgPage c(a);
    EXPECT_EQ(c.GetPageData(), b.GetPageData());
    EXPECT_EQ(b.GetRefCnt(), 3);
    a.UnRef(1);
    c.UnRef(1);
    EXPECT_TRUE(hasContent(b, 2));
    EXPECT_EQ(b.GetRefCnt(), 1);

    const int locked = cache()->GetLockedCount();
    b.ForceRetain();
    b.ForceRetain();  // a page is retained once
    EXPECT_EQ(b.GetPriority(), 255);
    EXPECT_EQ(cache()->GetLockedCount(), locked + 1);
    b.DontRetain();
    EXPECT_EQ(b.GetPriority(), 0);
    EXPECT_EQ(cache()->GetLockedCount(), locked);
    EXPECT_TRUE(cache()->IsHeadOfInMemList(b.GetPageData()));

    b.ForceRetain();
    SmartImgPage keeper;
    keeper = b;  // the pointer only, no count
    b.UnRef(5);
    EXPECT_TRUE(keeper.IsValid());
    EXPECT_EQ(keeper.GetRefCnt(), 0);
    keeper.DontRetain();
    EXPECT_TRUE(keeper.IsNull());
    EXPECT_EQ(cache()->GetBytesInMemory(), bytes - 2 * 65536);
}

TEST_F(SmartPage, OriginsFloorTowardMinusInfinity) {
    struct Row {
        int x, y, ox, oy, cx, cy;
    };
    const Row rows[] = {{-1, -128, -128, -128, -2048, -2048},
                        {-129, 0, -256, 0, -2048, 0},
                        {127, 128, 0, 128, 0, 0},
                        {2047, 2048, 1920, 2048, 0, 2048},
                        {-2049, 5000, -2176, 4992, -4096, 4096}};
    for (const Row& r : rows) {
        int ox, oy, ux, uy, cx, cy;
        SmartImgPage::FindOrigin(r.x, r.y, ox, oy, ux, uy);
        PageCluster::FindOrigin(r.x, r.y, cx, cy);
        EXPECT_EQ(std::vector<int>({ox, oy, ux, uy, cx, cy}),
                  std::vector<int>({r.ox, r.oy, r.ox + 128, r.oy + 128, r.cx, r.cy}))
            << r.x << "," << r.y;
    }
    PageCluster cluster(-2048, 2048);
    EXPECT_EQ(cluster.FindPage(-1, 4095), cluster.FindPage(-128, 3968));
    EXPECT_NE(cluster.FindPage(-1, 4095), cluster.FindPage(-129, 4095));
}

TEST_F(SmartPage, HorizontalLinesUpToColumn128) {
    struct Row {
        int x1, x2, y;
        bool drawn;
    };
    const Row rows[] = {{0, 128, 5, true},  {128, 0, 5, true},  {10, 20, 127, true},
                        {0, 129, 5, false}, {-1, 10, 5, false}, {0, 10, 129, false},
                        {0, 10, -1, false}, {3, 3, 0, true}};
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << r.x1 << ".." << r.x2 << " @" << r.y);
        SmartImgPage page(0x10u, 4);
        page.DrawHorizLine(r.x1, r.x2, r.y, 0xabcdefu);
        EXPECT_EQ(page.GetState(), r.drawn ? ValidInMem : SolidFill);
        const int lo = std::min(r.x1, r.x2), hi = std::min(std::max(r.x1, r.x2), 127);
        if (r.drawn) {
            EXPECT_EQ(page.GetPixel(lo, r.y), 0xabcdefu);
            EXPECT_EQ(page.GetPixel(hi, r.y), 0xabcdefu);
            EXPECT_EQ(page.GetPixel(lo > 0 ? lo - 1 : 127, r.y == 127 ? 0 : r.y + 1), 0x10u);
        }
        page.UnRef(1);
    }
    // A solid of the line's value, and a null page drawn with 0, stay as they are.
    SmartImgPage same(0xabcdefu, 4), none;
    same.DrawHorizLine(0, 127, 0, 0xabcdefu);
    none.DrawHorizLine(0, 127, 0, 0);
    EXPECT_EQ(same.GetState(), SolidFill);
    EXPECT_TRUE(none.IsNull());
    same.UnRef(1);
}

TEST_F(SmartPage, TransparencyReadsFirstByteOfMemory) {
    enum Kind { Big, Small, Solid, SolidListed, Null };
    struct Row {
        Kind kind;
        std::uint32_t pixel;
        int oddPixel;  // index given another value, or -1
        int side;      // of the tile tested
        int force, isTransparent, tested;
    };
    const Row rows[] = {
        {Big, 0xff000000u, -1, 128, 1, 1, 1},  // alpha 255 but first byte 0: clear
        {Big, 0x000000ffu, -1, 128, 1, 2, 2},  // alpha 0 but first byte 255: opaque
        {Big, 0x000000ffu, 9999, 128, 1, 0, 0},
        {Big, 0x00000000u, -1, 64, 1, 0, 0},   // only whole pages are tested
        {Big, 0x00000000u, -1, 128, 0, 0, 1},  // not forced: no test of memory
        {Small, 0u, -1, 128, 1, 0, 0},
        {Solid, 0xff000000u, -1, 128, 1, 0, 0},  // off the scan list: the cached 0 stands
        {SolidListed, 0xff000000u, -1, 128, 0, 2, 2},
        {SolidListed, 0x000000ffu, -1, 128, 0, 1, 1},
        {SolidListed, 0x7f000000u, -1, 128, 0, 0, 0},
        {Null, 0u, -1, 128, 0, 1, 1},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << r.kind << " " << std::hex << r.pixel);
        SmartImgPage page;
        if (r.kind == Big || r.kind == Small) {
            page.MakeFilled(0, r.kind == Big ? 4 : 1);
            page.Realize(2);  // resident and on the scan list
            for (int i = 0; i < kPagePixels; ++i)
                page.SetPixel(i == r.oddPixel ? 0x12 : r.pixel, i & 127, i >> 7);
        } else if (r.kind != Null) {
            page.MakeFilled(r.pixel, 4);
            if (r.kind == SolidListed) page.MarkForScan();
        }
        ilTile tile(0, 0, 0, r.side, r.side, 1);
        EXPECT_EQ(page.IsTransparent(&tile, r.force), r.isTransparent);
        EXPECT_EQ(page.TestTransparency(&tile), r.tested);
        page.UnRef(1);
    }
}

TEST_F(SmartPage, AlphaClassesAndRepairs) {
    struct Row {
        std::uint32_t a, b;  // two pixels
        int code;
        std::uint32_t repairedA, repairedB;
        const char* message;
    };
    const Row rows[] = {
        {0x80404040u, 0xff0000ffu, 0, 0x80404040u, 0xff0000ffu, ""},
        {0x80818080u, 0x10101010u, 1, 0x81818080u, 0x10101010u, "Bumping Alpha values.\n"},
        {0x80ff0000u, 0x00000000u, 2, 0x80800000u, 0x00000000u, "Premultiplying RGB values.\n"},
        {0x00ff0000u, 0x00000001u, 3, 0xffff0000u, 0xff000001u,
         "Forcing image Alpha to be opaque.\n"},
    };
    for (const Row& r : rows) {
        std::uint32_t pixels[2] = {r.a, r.b};
        EXPECT_EQ(ilCheckAlpha(pixels, 2), r.code);
        testing::internal::CaptureStdout();
        EXPECT_EQ(ilForceAlphaValid(pixels, 2), r.code);
        const std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(pixels[0], r.repairedA) << std::hex << r.a;
        EXPECT_EQ(pixels[1], r.repairedB) << std::hex << r.b;
        EXPECT_EQ(out, *r.message ? std::string("SID: Warning: ") + r.message : "");
    }

    // Pages number the repairs 1 opaque, 2 bump, 3 premultiply, and repair solids by value.
    struct PageRow {
        int mode;
        std::uint32_t before, after;
    };
    const PageRow pageRows[] = {{1, 0x00ff0000u, 0xffff0000u},
                                {2, 0x80818080u, 0x81818080u},
                                {3, 0x80ff0000u, 0x80800000u}};
    for (const PageRow& r : pageRows) {
        SmartImgPage solid(r.before, 4), resident(r.before, 4);
        resident.Realize(1);
        EXPECT_EQ(solid.CheckAlpha(), resident.CheckAlpha());
        solid.ForceAlphaValid(r.mode);
        resident.ForceAlphaValid(r.mode);
        EXPECT_EQ(solid.GetFillValue(), r.after);
        EXPECT_EQ(resident.GetPixel(77, 99), r.after);
        EXPECT_EQ(resident.CheckAlpha(), 0);
        solid.UnRef(1);
        resident.UnRef(1);
    }
}

}  // namespace
