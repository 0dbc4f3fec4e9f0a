// Smart page behaviour: sharing and copy on write, Realize from every state, solid scans,
// retention, origins, lines, seeds, transparency and alpha rules.
#include <gtest/gtest.h>

#include <cstring>

#include "SmartTestSupport.h"
#include "pigment/frame/ilAlphaCheck.h"
#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/PageCluster.h"
#include "pigment/smart/SmartImageCache.h"
#include "support/TestImage.h"

namespace {

SmartImageCache* cache() {
    return SmartImageCache::GetInstance();
}

// A plain four-channel byte image whose pixel (x, y) holds x, y, x ^ y, 200 in its channels.
struct PatternSeed : TestImage {
    PatternSeed() : TestImage(256, 256, 4, ilUChar) {
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 256; ++x) {
                at(x, y, 0) = x;
                at(x, y, 1) = y;
                at(x, y, 2) = x ^ y;
                at(x, y, 3) = 200;
            }
    }
    static std::uint32_t word(int x, int y) {
        return static_cast<std::uint32_t>(x | y << 8 | (x ^ y) << 16 | 200u << 24);
    }
};

TEST(SmartPage, SharedBodiesCloneOnFirstWrite) {
    ResetFaultLatchForTest();
    SmartImgPage a;
    writeContent(a, 1);
    SmartImgPage b(a);
    EXPECT_EQ(a.GetPageData(), b.GetPageData());
    EXPECT_EQ(a.GetRefCnt(), 2);

    // Writing in place on a shared resident page reaches both handles.
    a.SetPixel(0x12345678u, 3, 4);
    EXPECT_EQ(b.GetPixel(3, 4), 0x12345678u);

    // Realize(1) unshares first: the writer gets a copy, the other keeps the old pixels.
    PageData* before = b.GetPageData();
    a.Realize(1);
    a.SetPixel(0xdeadbeefu, 3, 4);
    EXPECT_NE(a.GetPageData(), b.GetPageData());
    EXPECT_EQ(a.GetRefCnt(), 1);
    EXPECT_EQ(b.GetRefCnt(), 1);
    EXPECT_EQ(a.GetPageData()->potentialDuplicate, before);
    EXPECT_EQ(a.GetPixel(3, 4), 0xdeadbeefu);
    EXPECT_EQ(b.GetPixel(3, 4), 0x12345678u);
    EXPECT_EQ(a.GetPixel(5, 5), contentWord(1, 5 + 5 * 128));
    a.MergeWithPotentialDuplicate();
    EXPECT_EQ(a.GetPageData()->potentialDuplicate, nullptr);

    // Reference moves the count: a drops its own body and shares b's.
    a.Reference(&b);
    EXPECT_EQ(a.GetPageData(), b.GetPageData());
    EXPECT_EQ(b.GetRefCnt(), 2);
    a.UnRef(1);
    EXPECT_EQ(b.GetRefCnt(), 1);
    b.UnRef(2);
    EXPECT_TRUE(b.IsNull());
    EXPECT_EQ(FaultLatch, 0u);
}

TEST(SmartPage, RealizeFromEveryState) {
    enum Setup { Mem, MemShared, Solid, SolidShared, Out, OutShared, Seed };
    enum Content { Old, Zero, Any };
    struct Row {
        Setup setup;
        int mode;
        int state;
        int refs;
        Content content;
    };
    const Row rows[] = {
        {Mem, 0, ValidInMem, 1, Old},         {Mem, 1, ValidInMem, 1, Old},
        {Mem, 2, ValidInMem, 1, Old},         {Mem, 3, ValidInMem, 1, Old},
        {MemShared, 0, ValidInMem, 2, Old},   {MemShared, 1, ValidInMem, 1, Old},
        {MemShared, 2, ValidInMem, 1, Any},   {MemShared, 3, SolidFill, 1, Zero},
        {Solid, 0, SolidFill, 1, Old},        {Solid, 1, ValidInMem, 1, Old},
        {Solid, 2, ValidInMem, 1, Any},       {Solid, 3, SolidFill, 1, Zero},
        {SolidShared, 0, SolidFill, 2, Old},  {SolidShared, 1, ValidInMem, 1, Old},
        {SolidShared, 2, ValidInMem, 1, Any}, {SolidShared, 3, SolidFill, 1, Zero},
        {Out, 0, ValidInMem, 1, Old},         {Out, 1, ValidInMem, 1, Old},
        {Out, 2, ValidInMem, 1, Any},         {Out, 3, SolidFill, 1, Zero},
        {OutShared, 0, ValidInMem, 2, Old},   {OutShared, 1, ValidInMem, 1, Old},
        {OutShared, 2, ValidInMem, 1, Any},   {OutShared, 3, SolidFill, 1, Zero},
        {Seed, 0, ValidInMem, 1, Old},        {Seed, 1, ValidInMem, 1, Old},
        {Seed, 2, ValidInMem, 1, Old},        {Seed, 3, ValidInMem, 1, Old},
    };
    TempDir dir;
    setenv("SID_TEMP_DIR", dir.path.c_str(), 1);
    PatternSeed seed;
    ResetFaultLatchForTest();
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "setup " << row.setup << " mode " << row.mode);
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
        const bool shared =
            row.setup == MemShared || row.setup == SolidShared || row.setup == OutShared;
        if (shared) other = SmartImgPage(page);

        page.Realize(row.mode);
        EXPECT_EQ(page.GetState(), row.state);
        EXPECT_EQ(page.GetRefCnt(), row.refs);
        const unsigned probe = page.GetPixel(9, 17);
        if (row.content == Zero) {
            EXPECT_EQ(probe, 0u);
        }
        if (row.content == Old) {
            const unsigned expected = row.setup == Seed ? PatternSeed::word(128 + 9, 17)
                                      : solid           ? 0x80402010u
                                                        : contentWord(7, 9 + 17 * 128);
            EXPECT_EQ(probe, expected);
        }
        if (row.setup == Seed) {
            EXPECT_EQ(page.SeedDirty(), row.mode == 0 ? 0 : 1);
        }
        if (shared) {
            // The other handle still sees the old pixels whatever the writer did.
            if (row.mode != 0) page.SetPixel(1, 9, 17);
            EXPECT_EQ(other.GetPixel(9, 17), solid ? 0x80402010u : contentWord(7, 9 + 17 * 128));
            other.UnRef(1);
        }
        page.UnRef(2);
        EXPECT_TRUE(page.IsNull());
    }
    EXPECT_EQ(FaultLatch, 0u);
    closeSwapFiles();
    EXPECT_TRUE(dir.files().empty());
    unsetenv("SID_TEMP_DIR");
}

TEST(SmartPage, SolidScanFreesMemory) {
    struct Row {
        int pixelSize;
        unsigned value;
        int changeAt;  // a pixel that differs, or -1
        bool solid;
    };
    const Row rows[] = {{4, 0xff00ff00u, -1, true}, {4, 0x11111111u, -1, true},
                        {4, 7u, 16383, false},      {4, 7u, 8000, false},
                        {1, 0x5au, -1, true},       {1, 0x5au, 16383, false},
                        {1, 0x5au, 2, false},       {1, 0x5au, 9000, false}};
    ResetFaultLatchForTest();
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.pixelSize << " " << row.changeAt);
        SmartImgPage page;
        page.MakeFilled(0, row.pixelSize);
        page.Realize(2);
        for (int i = 0; i < kPagePixels; ++i)
            page.SetPixel(row.value, i & 127, i >> 7);
        if (row.changeAt >= 0) page.SetPixel(row.value + 1, row.changeAt & 127, row.changeAt >> 7);
        const std::int64_t before = cache()->GetBytesInMemory();
        EXPECT_EQ(page.CheckForSolid(nullptr), row.solid ? 1 : 0);
        EXPECT_EQ(page.GetState(), row.solid ? SolidFill : ValidInMem);
        EXPECT_EQ(cache()->GetBytesInMemory(), before - (row.solid ? row.pixelSize * 16384 : 0));
        if (row.solid) {
            EXPECT_EQ(page.GetFillValue(), row.value);
        }
        // A fresh page carries corner marks, so unwritten memory never passes for solid.
        SmartImgPage fresh;
        fresh.MakeFilled(0, row.pixelSize);
        fresh.Realize(2);
        EXPECT_EQ(fresh.CheckForSolid(nullptr), 0);
        fresh.UnRef(1);
        page.UnRef(1);
    }
    EXPECT_EQ(FaultLatch, 0u);
}

TEST(SmartPage, RetainAndRelease) {
    ResetFaultLatchForTest();
    SmartImgPage page;
    writeContent(page, 3);
    const int locked = cache()->GetLockedCount();
    page.ForceRetain();
    page.ForceRetain();
    EXPECT_EQ(page.GetPriority(), 255);
    EXPECT_EQ(page.GetPageData()->readerCount, 1);
    EXPECT_EQ(cache()->GetLockedCount(), locked + 1);
    page.DontRetain();
    EXPECT_EQ(page.GetPriority(), 0);
    EXPECT_EQ(cache()->GetLockedCount(), locked);
    EXPECT_TRUE(cache()->IsHeadOfInMemList(page.GetPageData()));

    // A retained page outlives its last handle until the retain ends.
    page.ForceRetain();
    SmartImgPage keeper;
    keeper = page;  // the pointer only, no count
    page.UnRef(5);
    EXPECT_FALSE(page.IsNull());
    EXPECT_TRUE(keeper.IsValid());
    EXPECT_EQ(keeper.GetRefCnt(), 0);
    keeper.DontRetain();
    EXPECT_TRUE(keeper.IsNull());

    // A read-locked solid borrows memory and is solid again afterwards.
    SmartImgPage solid(0x01020304u, 4);
    solid.SetTransparency(SmartImgTransOpaque);
    solid.MakeInMemFromSolid();
    solid.MarkTempSolid();
    solid.ForceRetain();
    EXPECT_EQ(solid.GetPixel(100, 100), 0x01020304u);
    const std::int64_t bytes = cache()->GetBytesInMemory();
    solid.DontRetain();
    EXPECT_EQ(solid.GetState(), SolidFill);
    EXPECT_EQ(solid.GetFillValue(), 0x01020304u);
    EXPECT_EQ(solid.GetTransparency(), SmartImgTransOpaque);
    EXPECT_EQ(cache()->GetBytesInMemory(), bytes - 65536);
    solid.UnRef(1);
    EXPECT_EQ(FaultLatch, 0u);
}

TEST(SmartPage, OriginsFloorTowardMinusInfinity) {
    struct Row {
        int x, y, ox, oy, cx, cy;
    };
    const Row rows[] = {{-1, -128, -128, -128, -2048, -2048},
                        {-129, 0, -256, 0, -2048, 0},
                        {0, 0, 0, 0, 0, 0},
                        {127, 128, 0, 128, 0, 0},
                        {2047, 2048, 1920, 2048, 0, 2048},
                        {-2049, 5000, -2176, 4992, -4096, 4096}};
    for (const Row& r : rows) {
        int ox, oy, ux, uy, cx, cy;
        SmartImgPage::FindOrigin(r.x, r.y, ox, oy, ux, uy);
        PageCluster::FindOrigin(r.x, r.y, cx, cy);
        EXPECT_EQ(ox, r.ox) << r.x;
        EXPECT_EQ(oy, r.oy) << r.y;
        EXPECT_EQ(ux, r.ox + 128);
        EXPECT_EQ(uy, r.oy + 128);
        EXPECT_EQ(cx, r.cx) << r.x;
        EXPECT_EQ(cy, r.cy) << r.y;
    }
    PageCluster cluster(-2048, 2048);
    EXPECT_TRUE(cluster.IsIn(-2048, 2048));
    EXPECT_FALSE(cluster.IsIn(0, 2048));
    EXPECT_EQ(cluster.ux(), 0);
    EXPECT_EQ(cluster.uy(), 4096);
    SmartImgPage* cell = cluster.FindPage(-1, 4095);
    EXPECT_EQ(cell, cluster.FindPage(-128, 3968));
    EXPECT_TRUE(cell->IsNull());
    cell->MakeFilled(5, 1);  // released by the cluster's destructor
}

TEST(SmartPage, HorizontalLinesUpToColumn128) {
    struct Row {
        int x1, x2, y;
        bool drawn;
    };
    const Row rows[] = {{0, 128, 5, true},  {128, 0, 5, true},  {10, 20, 127, true},
                        {0, 129, 5, false}, {-1, 10, 5, false}, {0, 10, 129, false},
                        {0, 10, -1, false}, {3, 3, 0, true}};
    ResetFaultLatchForTest();
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << r.x1 << ".." << r.x2 << " @" << r.y);
        SmartImgPage page(0x10u, 4);
        page.DrawHorizLine(r.x1, r.x2, r.y, 0xabcdefu);
        EXPECT_EQ(page.GetState(), r.drawn ? ValidInMem : SolidFill);
        if (r.drawn) {
            const int lo = std::min(r.x1, r.x2), hi = std::min(std::max(r.x1, r.x2), 127);
            EXPECT_EQ(page.GetPixel(lo, r.y), 0xabcdefu);
            EXPECT_EQ(page.GetPixel(hi, r.y), 0xabcdefu);
            if (lo > 0) {
                EXPECT_EQ(page.GetPixel(lo - 1, r.y), 0x10u);
            }
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
    EXPECT_EQ(FaultLatch, 0u);
}

TEST(SmartPage, SeedReadLeavesPageClean) {
    ResetFaultLatchForTest();
    PatternSeed seed;
    SmartImgPage page;
    page.SetSeed(&seed, 0, 128);
    EXPECT_EQ(page.GetState(), FromSeed);
    EXPECT_EQ(page.GetPixelSize(), 4);
    page.Realize(0);
    EXPECT_EQ(page.GetState(), ValidInMem);
    EXPECT_EQ(page.SeedDirty(), 0);
    EXPECT_EQ(page.GetPixel(0, 0), PatternSeed::word(0, 128));
    EXPECT_EQ(page.GetPixel(127, 127), PatternSeed::word(127, 255));
    EXPECT_EQ(IsSmartImage(&seed), 0);
    EXPECT_EQ(IsSmartImage(nullptr), 0);

    // Written back to a seed: memory by tile, solids by fill.
    PatternSeed target;
    page.SetPixel(0x01020304u, 1, 1);
    EXPECT_EQ(page.SeedDirty(), 1);
    EXPECT_EQ(page.CopyToSeed(&target, 128, 0, nullptr), ilOK);
    EXPECT_EQ(target.at(129, 1, 0), 4);
    EXPECT_EQ(target.at(129, 1, 3), 1);
    page.UnRef(1);
    EXPECT_EQ(FaultLatch, 0u);
}

TEST(SmartPage, TransparencyReadsFirstByteOfMemory) {
    enum Kind { Big, Small, Solid, SolidListed, Null };
    struct Row {
        Kind kind;
        std::uint32_t pixel;
        int oddPixel;  // index given another value, or -1
        ilTile tile;
        int force;
        int isTransparent;
        int tested;
    };
    const ilTile whole{0, 0, 0, 128, 128, 1}, part{0, 0, 0, 64, 64, 1};
    const Row rows[] = {
        {Big, 0x00000000u, -1, whole, 1, 1, 1},
        {Big, 0xff000000u, -1, whole, 1, 1, 1},  // alpha 255 but first byte 0: clear
        {Big, 0x000000ffu, -1, whole, 1, 2, 2},  // alpha 0 but first byte 255: opaque
        {Big, 0x000000ffu, 9999, whole, 1, 0, 0},
        {Big, 0x00000007u, -1, whole, 1, 0, 0},
        {Big, 0x00000000u, -1, part, 1, 0, 0},
        {Big, 0x00000000u, -1, whole, 0, 0, 1},  // not forced: no test of memory
        {Small, 0u, -1, whole, 1, 0, 0},
        {Solid, 0xff000000u, -1, whole, 1, 0, 0},  // off the scan list: the cached 0 stands
        {SolidListed, 0xff000000u, -1, whole, 0, 2, 2},
        {SolidListed, 0x000000ffu, -1, whole, 0, 1, 1},
        {SolidListed, 0x7f000000u, -1, whole, 0, 0, 0},
        {Null, 0u, -1, whole, 0, 1, 1},
    };
    ResetFaultLatchForTest();
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << r.kind << " " << std::hex << r.pixel);
        SmartImgPage page;
        if (r.kind == Big || r.kind == Small) {
            page.MakeFilled(0, r.kind == Big ? 4 : 1);
            page.Realize(2);  // resident and on the scan list
            if (r.kind == Big) {
                auto* w = reinterpret_cast<std::uint32_t*>(page.GetData());
                std::fill_n(w, kPagePixels, r.pixel);
                if (r.oddPixel >= 0) w[r.oddPixel] = 0x12;
            } else {
                std::memset(page.GetData(), 0, kPagePixels);
            }
        } else if (r.kind != Null) {
            page.MakeFilled(r.pixel, 4);
            if (r.kind == SolidListed) page.MarkForScan();
        }
        ilTile tile = r.tile;
        EXPECT_EQ(page.IsTransparent(&tile, r.force), r.isTransparent);
        EXPECT_EQ(page.TestTransparency(&tile), r.tested);
        page.UnRef(1);
    }
    EXPECT_EQ(FaultLatch, 0u);
}

TEST(SmartPage, AlphaClassesAndRepairs) {
    struct Row {
        std::uint32_t a, b;  // two pixels
        int code;
        std::uint32_t repairedA, repairedB;
        const char* message;
    };
    const Row rows[] = {
        {0x80404040u, 0xff0000ffu, 0, 0x80404040u, 0xff0000ffu, ""},
        {0x80818080u, 0x10101010u, 1, 0x81818080u, 0x10101010u, "Bumping Alpha"},
        {0x80ff0000u, 0x00000000u, 2, 0x80800000u, 0x00000000u, "Premultiplying RGB"},
        {0x00ff0000u, 0x00000001u, 3, 0xffff0000u, 0xff000001u, "Forcing image Alpha"},
    };
    for (const Row& r : rows) {
        std::uint32_t pixels[2] = {r.a, r.b};
        EXPECT_EQ(ilCheckAlpha(pixels, 2), r.code);
        testing::internal::CaptureStdout();
        EXPECT_EQ(ilForceAlphaValid(pixels, 2), r.code);
        const std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(pixels[0], r.repairedA) << std::hex << r.a;
        EXPECT_EQ(pixels[1], r.repairedB) << std::hex << r.b;
        if (*r.message) {
            EXPECT_NE(out.find(std::string("SID: Warning: ") + r.message), std::string::npos);
        } else {
            EXPECT_TRUE(out.empty());
        }
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
    SmartImgPage small(0xffu, 1);
    EXPECT_EQ(small.CheckAlpha(), 0);
    small.UnRef(1);
}

}  // namespace
