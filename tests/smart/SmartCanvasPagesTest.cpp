// The canvas's pages: the coordinate range and what it costs, the table's lookup rules, sharing
// through seeds and aligned copies, solids from fills, page locks, forced bounds and bad input.
#include <gtest/gtest.h>

#include <vector>

#include "SmartTestSupport.h"
#include "pigment/frame/PigmentCallbacks.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/frame/ilPage.h"

namespace {

class SmartCanvasPages : public LatchClear {};

const unsigned char kClear[4] = {0, 0, 0, 0};

// Exposes the merge, which the frame keeps protected.
class Overlay : public ilSmartImage {
  public:
    using ilSmartImage::ilSmartImage;
    ilStatus merge() { return MergeChangesIntoSeed(); }
};

PageData* bodyAt(ilSmartImage& image, int x, int y) {
    return image.GetSmartImage().FindPage(x, y, 1)->GetPageData();
}

TEST_F(SmartCanvasPages, FarCornersCostAHandfulOfPages) {
    const std::int64_t before = cache()->GetBytesInMemory();
    {
        ilSmartImage canvas(clearFill());
        SmartImage& table = canvas.GetSmartImage();
        std::uint32_t px = 1;
        canvas.getTile(-1, -1, 1, 1, &px);  // outside the bounds: no lookup at all
        EXPECT_EQ(px, 0u);
        EXPECT_EQ(table.CountPages(), 0);
        paint(canvas, -102400, -102400, 3, 3, 1);
        paint(canvas, 102390, 102390, 10, 10, 2);
        EXPECT_EQ(canvas.getBounds(), ilTile(-102400, -102400, 0, 204800, 204800, 1));
        EXPECT_EQ(table.CountClusters(), 3);  // the root and one at each corner
        EXPECT_EQ(table.CountPages(), 2);
        EXPECT_EQ(cache()->GetBytesInMemory() - before, 2 * 65536);
        EXPECT_TRUE(painted(canvas, -102400, -102400, 3, 3, 1));
        EXPECT_TRUE(painted(canvas, 102390, 102390, 10, 10, 2));
        // Untouched space inside the bounds costs a reference, not pixels.
        canvas.getTile(0, 0, 1, 1, &px);
        EXPECT_EQ(px, 0u);
        EXPECT_EQ(cache()->GetBytesInMemory() - before, 2 * 65536);

        // Past the limit: the warning, a scratch page that the next such lookup discards.
        testing::internal::CaptureStdout();
        SmartImgPage* scratch = table.FindPageFromOrigin(102528, 0, 1);
        scratch->Realize(1);
        scratch->SetPixel(7u, 0, 0);
        SmartImgPage* again = table.FindPageFromOrigin(0, -102528, 1);
        EXPECT_EQ(again->GetPixel(0, 0), 0u) << "what was written there is lost";
        canvas.SetPixel(200000, 5, 9u);
        EXPECT_EQ(table.FindPageFromOrigin(102400, 0, 0), table.GetDefaultPage());
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_NE(out.find("SID: Warning: Exceeding Max coord range of -102400 to 102400\n"),
                  std::string::npos);

        // A tile reaching past the limit is clipped, with the message, and the rest written.
        testing::internal::CaptureStdout();
        paint(canvas, 102395, 0, 20, 1, 3);
        out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(out, "SID: SmartImage had to clip an image op to fit +- 102400\n");
        EXPECT_EQ(canvas.getBounds().x + canvas.getBounds().nx, 102400);
    }
    EXPECT_EQ(cache()->GetBytesInMemory(), before);
}

TEST_F(SmartCanvasPages, TableLookupRules) {
    SwapScope swap;
    ilSmartImage canvas(clearFill());
    SmartImage& table = canvas.GetSmartImage();
    paint(canvas, 0, 0, 130, 10, 4);  // pages (0, 0) and (128, 0)

    // IsFilled rounds toward zero and tests the page that a tile's far edge touches.
    canvas.fillTile3D(0, 0, 0, 128, 128, 1, kClear);
    canvas.fillTile3D(-256, -256, 0, 256, 256, 1, kClear);
    struct {
        ilTile tile;
        bool filled;
    } cases[] = {
        {ilTile(0, 0, 0, 127, 127, 1), true},
        {ilTile(0, 0, 0, 128, 127, 1), false},  // ends on x = 128: page 128 holds content
        {ilTile(-200, -200, 0, 199, 100, 1), true},
        {ilTile(5, 5, 0, -10, 5, 1), true},  // nothing to test
    };
    for (const auto& c : cases) {
        unsigned value = 1;
        EXPECT_EQ(table.IsFilled(c.tile, value), c.filled) << c.tile.x << " " << c.tile.nx;
        if (c.filled && c.tile.nx > 0) {
            EXPECT_EQ(value, 0u);
        }
    }

    // An empty iterator; page lists of 4 are never sorted, those of 5 with a swapped page are.
    PageIterator none(&table, 0, 0, 0, 100, 0, 1);
    int x = 5, y = 5;
    EXPECT_EQ(none.GetNext(x, y), nullptr);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, 0);
    paint(canvas, 0, 256, 640, 1, 5);  // five resident pages in a row
    SmartImageCache::GetInstance()->EvictPage(bodyAt(canvas, 0, 256));
    ASSERT_EQ(table.FindPage(0, 256, 0)->GetState(), Swapped);
    {
        PageIterator four(&table, 0, 256, 512, 1, 0, 1);
        EXPECT_EQ(four.GetNext(x, y)->GetState(), Swapped);
        PageIterator five(&table, 0, 256, 640, 1, 0, 1);
        EXPECT_EQ(five.Count(), 5);
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(five.GetNext(x, y)->GetState(), ValidInMem);
        EXPECT_EQ(five.GetNext(x, y)->GetState(), Swapped);
        EXPECT_EQ(x, 0);
    }

    // A new fill recolours all untouched space at once, a written page's part beyond the bounds
    // included; shrinking without a seed drops every cluster but the root.
    const int clusters = table.CountClusters();
    paint(canvas, 5000, 5000, 1, 1, 6);
    ASSERT_EQ(table.CountClusters(), clusters + 1);
    const unsigned char other[4] = {4, 3, 2, 1};
    canvas.setFill(ilPixel(ilUChar, 4, other));
    EXPECT_EQ(canvas.GetPixel(3000, 3000), 0x01020304u);
    EXPECT_EQ(canvas.GetPixel(-9000, 100), 0x01020304u);
    EXPECT_EQ(canvas.GetPixel(129, 5), patternWord(4, 5 * 130 + 129));
    EXPECT_EQ(table.FindPage(5000, 5000, 0)->GetPixel(9, 9), 0x01020304u);
    canvas.SetBounds_(ilTile(0, 0, 0, 0, 0, 1), 0);
    EXPECT_EQ(table.CountClusters(), 1);
    EXPECT_EQ(table.CountPages(), 0);
}

// Shrinking the bounds keeps whole pages inside, fills the outside part of a page that is cut and
// drops pages outside (there is no seed to uncover).
TEST_F(SmartCanvasPages, PruningKeepsTheBoundsAndFillsTheRestOfAPage) {
    ilSmartImage canvas(clearFill());
    SmartImage& table = canvas.GetSmartImage();
    const unsigned char red[4] = {200, 0, 0, 255};
    canvas.fillTile3D(0, 0, 0, 384, 256, 1, red);
    table.FindPage(128, 0, 0)->Realize(1);  // a page in memory, not a solid
    canvas.SetBounds_(ilTile(0, 0, 0, 178, 200, 1), 0);
    struct Probe {
        int px, py, x, y;  // page origin, pixel in the page
        std::uint32_t expected;
    } probes[] = {{0, 0, 127, 127, 0xff0000c8u}, {128, 0, 49, 127, 0xff0000c8u},
                  {128, 0, 50, 10, 0u},          {0, 128, 10, 71, 0xff0000c8u},
                  {0, 128, 10, 72, 0u},          {128, 128, 49, 71, 0xff0000c8u}};
    for (const Probe& p : probes)
        EXPECT_EQ(table.FindPage(p.px, p.py, 0)->GetPixel(p.x, p.y), p.expected)
            << p.px << "," << p.py << ": " << p.x << "," << p.y;
    EXPECT_EQ(table.CountPages(), 4);
}

TEST_F(SmartCanvasPages, SnapshotsShareUntilWrittenAndMergeBack) {
    ilSmartImage canvas(clearFill());
    paint(canvas, 0, 0, 384, 128, 7);  // pages 0, 128, 256
    Overlay child(&canvas);
    child.ReferenceSeedPages(nullptr);
    for (int px : {0, 128, 256}) {
        EXPECT_EQ(bodyAt(child, px, 0), bodyAt(canvas, px, 0)) << px;
        EXPECT_EQ(bodyAt(child, px, 0)->refCount, 2);
    }
    EXPECT_EQ(canvas.GetDependentCount(), 1);

    // Each side's write clones the written page alone; the other keeps the old pixels.
    const std::int64_t before = cache()->GetBytesInMemory();
    paint(canvas, 0, 0, 10, 10, 8);
    paint(child, 300, 5, 1, 1, 9);
    EXPECT_EQ(cache()->GetBytesInMemory() - before, 2 * 65536);
    EXPECT_NE(bodyAt(child, 0, 0), bodyAt(canvas, 0, 0));
    EXPECT_EQ(bodyAt(child, 128, 0), bodyAt(canvas, 128, 0));
    EXPECT_NE(bodyAt(child, 256, 0), bodyAt(canvas, 256, 0));
    EXPECT_EQ(child.GetPixel(5, 5), patternWord(7, 5 * 384 + 5));
    EXPECT_EQ(canvas.GetPixel(5, 5), patternWord(8, 55));

    // The merge moves the overlay's bodies into the seed; nothing is copied.
    PageData* written = bodyAt(child, 256, 0);
    EXPECT_EQ(child.merge(), ilOK);
    EXPECT_EQ(bodyAt(canvas, 256, 0), written);
    EXPECT_EQ(canvas.GetPixel(300, 5), patternWord(9, 0));
    EXPECT_EQ(bodyAt(canvas, 256, 0)->refCount, 2);
    EXPECT_EQ(cache()->GetBytesInMemory() - before, 65536) << "the seed's old page is released";

    Overlay lone(clearFill());
    EXPECT_EQ(lone.merge(), ilBadInputCount);
}

TEST_F(SmartCanvasPages, PlainSeedsAreReadAtConstruction) {
    std::vector<std::uint32_t> words(200 * 150);
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = patternWord(10, static_cast<int>(i));
    ilMemoryImg seed(words.data(), static_cast<int64_t>(words.size() * 4), ilSize(200, 150, 1, 4),
                     ilUChar, ilInterleaved);
    Overlay child(&seed);
    EXPECT_EQ(child.getBounds(), ilTile(0, 0, 0, 200, 150, 1));
    words[0] = 0xdeadbeefu;  // later changes of the seed do not show
    EXPECT_EQ(child.GetPixel(0, 0), patternWord(10, 0));
    EXPECT_EQ(child.GetPixel(199, 149), patternWord(10, 200 * 150 - 1));
    EXPECT_EQ(child.GetSmartImage().FindPage(0, 0, 0)->GetState(), ValidInMem);

    // A merge into a plain seed copies the written pages back, saying so.
    std::uint32_t ink = 0x12345678u;
    child.setTile(1, 1, 1, 1, &ink);
    testing::internal::CaptureStdout();
    EXPECT_EQ(child.merge(), ilOK);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "SID: ERROR: Mergeing with non-smart seed 0, 0, (Memory)\n");
    EXPECT_EQ(words[201], 0x12345678u);
    EXPECT_EQ(words[0], patternWord(10, 0));

    // A seed of bits cannot be held in pages.
    ilMemoryImg bits(ilSize(64, 64, 1, 1), ilBit, ilInterleaved);
    ilSmartImage refused(&bits);
    EXPECT_EQ(refused.getStatus(), ilBadInput);
    std::uint32_t px = 0;
    EXPECT_EQ(refused.getTile(0, 0, 1, 1, &px), ilBadInput);
    EXPECT_EQ(refused.GetSeed(), nullptr);
}

TEST_F(SmartCanvasPages, ChildOutlivesItsSeed) {
    auto* grand = new ilSmartImage(clearFill());
    paint(*grand, 0, 0, 256, 256, 11);
    auto* seed = new ilSmartImage(grand);
    paint(*seed, 128, 0, 128, 128, 12);
    ilSmartImage child(seed);  // looks nothing up yet
    EXPECT_EQ(child.GetSmartImage().CountPages(), 0);
    delete seed;
    EXPECT_EQ(child.GetSeed(), grand) << "the grandparent becomes the seed";
    EXPECT_EQ(child.GetPixel(130, 0), patternWord(12, 2));
    EXPECT_EQ(child.GetPixel(0, 200), patternWord(11, 200 * 256));
    delete grand;
    EXPECT_EQ(child.GetSeed(), nullptr);
    EXPECT_EQ(child.GetPixel(0, 200), patternWord(11, 200 * 256));
}

TEST_F(SmartCanvasPages, AlignedCopiesShareAndFillsMakeSolids) {
    ilSmartImage source(clearFill());
    paint(source, 128, 0, 512, 256, 13);
    struct {
        int offset;
        bool shared;
    } cases[] = {{128, true}, {127, false}};
    for (const auto& c : cases) {
        ilSmartImage target(clearFill());
        ASSERT_EQ(target.copyTile(0, 0, 384, 256, &source, c.offset, 0), ilOK);
        for (int px : {0, 128, 256})
            for (int py : {0, 128})
                EXPECT_EQ(bodyAt(target, px, py) == bodyAt(source, px + c.offset, py), c.shared)
                    << c.offset << " " << px << "," << py;
        std::vector<std::uint32_t> a(384 * 256), b(384 * 256);
        target.getTile(0, 0, 384, 256, a.data());
        source.getTile(c.offset, 0, 384, 256, b.data());
        EXPECT_EQ(a, b);
    }

    // A big fill: covered pages become solids without memory, the margins go through memory.
    ilSmartImage canvas(clearFill());
    const std::int64_t before = cache()->GetBytesInMemory();
    const unsigned char blue[4] = {0, 0, 255, 255};
    canvas.fillTile3D(0, 0, 0, 1000, 1000, 1, blue);
    int solid = 0;
    EXPECT_EQ(canvas.GetNumPages(solid), 64);
    EXPECT_EQ(solid, 49);
    EXPECT_EQ(cache()->GetBytesInMemory() - before, 15 * 65536);
    EXPECT_EQ(canvas.GetPixel(999, 999), 0xffff0000u);
    EXPECT_EQ(canvas.GetSmartImage().FindPage(500, 500, 0)->GetData(), nullptr);
}

TEST_F(SmartCanvasPages, LocksForcedBoundsAndFiles) {
    ilSmartImage canvas(clearFill());
    EXPECT_EQ(canvas.GetImageFileSize(), 80);
    EXPECT_EQ(canvas.SaveImageToFile(), -1);

    const unsigned char grey[4] = {9, 9, 9, 9};
    canvas.fillTile3D(0, 0, 0, 256, 256, 1, grey);
    ilLockRequest read;
    read.init(130, 10, 0, 0);
    ASSERT_EQ(canvas.lockPageSet(&read, ilLockRead, 1), ilOK);
    ASSERT_TRUE(read.page && read.page->x == 128 && read.page->getData());
    EXPECT_EQ(static_cast<const std::uint32_t*>(read.page->getData())[16383], 0x09090909u);
    canvas.unlockPageSet(&read, 1);
    EXPECT_EQ(read.page, nullptr);
    SmartImgPage* page = canvas.GetSmartImage().FindPage(130, 10, 0);
    EXPECT_EQ(page->GetState(), SolidFill);
    EXPECT_EQ(page->GetData(), nullptr);

    ilLockRequest write;
    write.init(-5, -5, 0, 0);
    ASSERT_EQ(canvas.lockPageSet(&write, ilLockWrite, 1), ilOK);
    static_cast<std::uint32_t*>(write.page->getData())[0] = 0xabcdef01u;
    canvas.unlockPageSet(&write, 1);
    EXPECT_EQ(canvas.GetPixel(-128, -128), 0xabcdef01u);
    EXPECT_EQ(canvas.getBounds(), ilTile(-128, -128, 0, 384, 384, 1));
    EXPECT_EQ(canvas.GetImageFileSize(), 80 + 9 * 16 + 1 * 16384 * 4);

    // Forced bounds: whatever is written outside them is gone after the call.
    canvas.SetForcedBounds(ilTile(0, 0, 0, 256, 256, 1));
    canvas.EnableForcedBounds(1);
    paint(canvas, 1000, 1000, 10, 10, 14);
    EXPECT_EQ(canvas.getBounds(), ilTile(0, 0, 0, 256, 256, 1));
    EXPECT_EQ(canvas.GetSmartImage().CountClusters(), 1);
    canvas.EnableForcedBounds(0);
    canvas.SetBounds_(ilTile(0, 0, 0, 2048, 2048, 1), 1);
    EXPECT_EQ(canvas.GetPixel(1005, 1005), 0u);
    testing::internal::CaptureStdout();
    canvas.SetForcedBounds(ilTile(0, 0, 0, 0, 5, 1));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "SID: Warning: SmartImage: Someone is SETTING Empty Forced Bounds! Ignoring.\n");

    // Tiles of zero or negative extent do nothing and succeed.
    const ilTile bounds = canvas.getBounds();
    std::uint32_t px = 5;
    EXPECT_EQ(canvas.setTile(10, 10, 0, 4, &px), ilOK);
    EXPECT_EQ(canvas.setTile(-10, 10, -4, 4, &px), ilOK);
    EXPECT_EQ(canvas.fillTile3D(10, 10, 0, 4, -1, 1, &px), ilOK);
    EXPECT_EQ(canvas.getTile(10, 10, 0, 0, &px), ilOK);
    EXPECT_EQ(canvas.getBounds(), bounds);
}

TEST_F(SmartCanvasPages, ContentQueriesAndAlphaRepairs) {
    ilSmartImage canvas(clearFill());
    const unsigned char red[4] = {255, 0, 0, 255};
    canvas.fillTile3D(0, 0, 0, 256, 128, 1, red);
    ilPixel px;
    EXPECT_TRUE(canvas.is_filled(ilTile(0, 0, 0, 256, 128, 1), px, 0));
    EXPECT_EQ(px, ilPixel(ilUChar, 4, red));
    EXPECT_FALSE(canvas.is_filled(ilTile(0, 0, 0, 300, 128, 1), px, 1));
    EXPECT_EQ(canvas.TestFillTransparency(), SmartImgTransClear);
    EXPECT_EQ(canvas.TestTransparency(ilTile(0, 0, 0, 0, 5, 1), 1), SmartImgTransNoPages);

    // Colours above alpha: the survey finds only unpremultiplied pages and premultiplies.
    std::vector<std::uint32_t> loud(128 * 128, 0x10ffffffu);
    canvas.setTile(0, 0, 128, 128, loud.data());
    canvas.ForceAlphaValid();
    EXPECT_EQ(canvas.GetPixel(7, 7), 0x10101010u);
    // With the check on, turning it off repairs what was copied in since.
    canvas.SetCheckAlphaOnCopy(1);
    canvas.setTile(0, 0, 128, 128, loud.data());
    EXPECT_EQ(canvas.GetAlphaValid(), 0);
    canvas.SetCheckAlphaOnCopy(0);
    EXPECT_EQ(canvas.GetPixel(7, 7), 0x10101010u);

    static std::vector<std::vector<int>> marks;
    marks.clear();
    PigmentCB()->applyWatermark = [](void* data, int x, int y, int w, int h, int iw, int ih) {
        marks.push_back({x, y, w, h, iw, ih});
        static_cast<std::uint32_t*>(data)[0] = 0xffffffffu;
    };
    canvas.ApplyWatermark();
    PigmentCB()->applyWatermark = nullptr;
    EXPECT_EQ(marks, (std::vector<std::vector<int>>{{0, 0, 128, 128, 256, 128},
                                                    {128, 0, 128, 128, 256, 128}}));
    EXPECT_EQ(canvas.GetPixel(128, 0), 0xffffffffu);

    struct {
        ilTile in, out;
    } snaps[] = {
        {ilTile(5, -3, 0, 10, 10, 1), ilTile(0, -128, 0, 128, 256, 1)},
        {ilTile(128, 0, 0, 128, 1, 1), ilTile(128, 0, 0, 128, 128, 1)},
        {ilTile(-129, 0, 0, 1, 129, 1), ilTile(-256, 0, 0, 128, 256, 1)},
    };
    for (auto& c : snaps) {
        SnapOutTile(c.in);
        EXPECT_EQ(c.in, c.out);
    }
    ilSmartImage small(clearFill());
    paint(small, 5, 5, 10, 10, 15);
    small.ExpandBounds(10);
    EXPECT_EQ(small.getBounds(), ilTile(-128, -128, 0, 256, 256, 1));
}

}  // namespace
