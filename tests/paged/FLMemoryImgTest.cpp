// ilFLMemoryImg as an image: its fast tile paths agree with the general memory image, its
// reductions average, the selection outline marks crossings, and ilFLSubImg views a region.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "FLTestSupport.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/paged/ilFLMemoryImg.h"
#include "pigment/paged/ilFLSubImg.h"

TEST(FLMemoryImgTest, IdentityAndCount) {
    const int before = ilFLMemoryImg::GetMemImgCount();
    {
        ilFLMemoryImg a(ilSize(4, 4, 1, 4), ilUChar, ilInterleaved);
        ilFLMemoryImg b(a);
        EXPECT_EQ(ilFLMemoryImg::GetMemImgCount(), before + 2);
        EXPECT_STREQ(a.getDefaultDescription(), "FL Memory");
        EXPECT_EQ(a.getCoordSpace(), ilLowerLeft);
        EXPECT_EQ(a.getColorModel(), ilABGR);
        EXPECT_TRUE(a.derivesFrom(&ilMemoryImg::classList));
        EXPECT_EQ(a.getFill(), ilPixel(ilUChar, 4));
    }
    EXPECT_EQ(ilFLMemoryImg::GetMemImgCount(), before);
}

// The fast paths must answer exactly what the general memory image answers, for reads inside,
// across and outside the image, with and without a restating configuration.
TEST(FLMemoryImgTest, FastTilePathsAgreeWithTheMemoryImage) {
    for (int channels : {1, 3, 4}) {
        const int w = 21, h = 13;
        std::vector<uint8_t> pixels = fltest::randomPixels(w, h, channels, 31);
        ilFLMemoryImg fl(ilSize(w, h, 1, channels), ilUChar, ilInterleaved, false);
        ilMemoryImg plain(ilSize(w, h, 1, channels), ilUChar, ilInterleaved, false);
        ASSERT_EQ(fl.setTile(0, 0, w, h, pixels.data()), ilOK);
        ASSERT_EQ(plain.setTile(0, 0, w, h, pixels.data()), ilOK);
        ASSERT_EQ(plain.setFill(ilPixel(ilUChar, channels)), ilOK);
        ilConfig same(ilUChar, ilInterleaved, channels);
        same.coordSpace = ilLowerLeft;
        const ilTile tiles[] = {ilTile(2, 3, 0, 10, 6, 1), ilTile(0, 0, 0, w, h, 1),
                                ilTile(-3, 5, 0, 8, 4, 1), ilTile(15, 10, 0, 10, 10, 1),
                                ilTile(40, 40, 0, 3, 3, 1)};
        for (const ilTile& t : tiles)
            for (ilConfig* cfg : {static_cast<ilConfig*>(nullptr), &same}) {
                std::vector<uint8_t> a(size_t(t.nx) * t.ny * channels, 0x5A);
                std::vector<uint8_t> b = a;
                ASSERT_EQ(fl.getTile(t.x, t.y, t.nx, t.ny, a.data(), cfg), ilOK);
                ASSERT_EQ(plain.getTile(t.x, t.y, t.nx, t.ny, b.data(), cfg), ilOK);
                EXPECT_EQ(a, b) << channels << " channels, tile at " << t.x << ", " << t.y;
            }
        const uint8_t value[4] = {9, 8, 7, 6};
        ASSERT_EQ(fl.fillTile(-2, 4, 9, 30, value), ilOK);
        ASSERT_EQ(plain.fillTile(-2, 4, 9, 30, value), ilOK);
        std::vector<uint8_t> a(pixels.size()), b(pixels.size());
        fl.getTile(0, 0, w, h, a.data());
        plain.getTile(0, 0, w, h, b.data());
        EXPECT_EQ(a, b) << channels << " channels after a fill";
        EXPECT_EQ(fl.getTile(0, 0, 2, 2, nullptr), ilBadInput);
    }
}

TEST(FLMemoryImgTest, BoxFilterSnapsAndAverages) {
    // A 16 x 8 image whose pixel (x, y) holds x, y, x + y and 255.
    ilFLMemoryImg img(ilSize(16, 8, 1, 4), ilUChar, ilInterleaved, false);
    std::vector<uint8_t> pixels(16 * 8 * 4);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x) {
            uint8_t* p = &pixels[(size_t(y) * 16 + x) * 4];
            p[0] = uint8_t(x * 10), p[1] = uint8_t(y * 10), p[2] = uint8_t((x + y) * 5), p[3] = 255;
        }
    img.setTile(0, 0, 16, 8, pixels.data());
    const struct {
        float factor;
        int width, height;  // 0: no result
    } cases[] = {{0.6f, 0, 0},
                 {1.0f, 0, 0},
                 {1e-6f, 0, 0},
                 {-0.5f, 0, 0},
                 // The snapping rule takes the power of two at or above the factor, so 0.3 halves.
                 {0.3f, 8, 4},
                 {0.5f, 8, 4},
                 {0.25f, 4, 2},
                 {0.2f, 4, 2},
                 {0.1f, 2, 1},
                 {0.0625f, 1, 1},
                 {0.01f, 1, 1}};
    for (const auto& c : cases) {
        std::unique_ptr<ilFLMemoryImg> r(img.BoxFilter(c.factor));
        if (c.width == 0) {
            EXPECT_EQ(r, nullptr) << c.factor;
            continue;
        }
        ASSERT_NE(r, nullptr) << c.factor;
        ASSERT_EQ(r->getXsize(), c.width);
        ASSERT_EQ(r->getYsize(), c.height);
        const int bx = 16 / c.width, by = 8 / c.height;
        std::vector<uint8_t> out(size_t(c.width) * c.height * 4);
        r->getTile(0, 0, c.width, c.height, out.data());
        for (int y = 0; y < c.height; ++y)
            for (int x = 0; x < c.width; ++x) {
                // The mean of an arithmetic run is the mean of its ends, rounded half up.
                const double mx = (x * bx + (x + 1) * bx - 1) / 2.0,
                             my = (y * by + (y + 1) * by - 1) / 2.0;
                const uint8_t* p = &out[(size_t(y) * c.width + x) * 4];
                EXPECT_EQ(p[0], int(mx * 10 + 0.5)) << c.factor;
                EXPECT_EQ(p[1], int(my * 10 + 0.5)) << c.factor;
                EXPECT_EQ(p[2], int((mx + my) * 5 + 0.5)) << c.factor;
                EXPECT_EQ(p[3], 255);
            }
    }
    ilFLMemoryImg tiny(ilSize(1, 1, 1, 4), ilUChar, ilInterleaved, false);
    EXPECT_EQ(tiny.BoxFilter(0.5f), nullptr) << "the reduced size equals the present one";

    ilFLMemoryImg mask(ilSize(9, 6, 1, 1), ilUChar, ilInterleaved, false);
    std::vector<uint8_t> m = fltest::randomPixels(9, 6, 1, 4);
    mask.setTile(0, 0, 9, 6, m.data());
    uint8_t quarter[2 * 1 + 1] = {0, 0, 0x77};
    mask.BoxFilter1_4(quarter);
    for (int x = 0; x < 2; ++x) {
        unsigned sum = 0;
        for (int j = 0; j < 4; ++j)
            for (int i = 0; i < 4; ++i)
                sum += m[size_t(j) * 9 + x * 4 + i];
        EXPECT_EQ(quarter[x], (sum + 8) / 16);
    }
    EXPECT_EQ(quarter[2], 0x77) << "only whole blocks are written";
}

namespace {

std::string picture(const std::vector<uint8_t>& bytes, int w, int h) {
    std::string s;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const uint8_t v = bytes[size_t(y) * w + x];
            s += v == 255 ? '#' : v >= 128 ? 'o' : '.';
        }
        s += '\n';
    }
    return s;
}

}  // namespace

TEST(FLMemoryImgTest, MarchingAntsMarkCrossingsAndDash) {
    const int w = 8, h = 5;
    // A 4 x 3 block of 255 (capped to 254 first) on 0; rows are stored bottom first.
    std::vector<uint8_t> mask(w * h, 0);
    for (int y = 1; y < 4; ++y)
        for (int x = 2; x < 6; ++x)
            mask[size_t(y) * w + x] = 255;
    ilFLMemoryImg img(mask.data(), ilSize(w, h, 1, 1), ilUChar, ilInterleaved, false);
    ilTile bounds;
    img.MarchingAntsPreProcess(128, nullptr, &bounds);
    // Rows: the way in at x 2 and the way out at x 6; columns: in at y 1, out at y 4.
    EXPECT_EQ(picture(mask, w, h),
              "........\n"
              "..#####.\n"
              "..#ooo#.\n"
              "..#ooo#.\n"
              "..####..\n")
        << "each crossing marks its second pixel";
    EXPECT_EQ(bounds, ilTile(2, 1, 0, 5, 4, 1));

    ilFLMemoryImg ants(ilSize(w, h, 1, 4), ilUChar, ilInterleaved, false);
    ants.MarchingAntsApply(mask.data(), 2, nullptr);
    std::vector<uint32_t> out(w * h);
    ants.getTile(0, 0, w, h, out.data());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const unsigned counter = 3 + unsigned(y);
            const uint32_t want = !mask[size_t(y) * w + x]            ? 0u
                                  : ((unsigned(x) + counter) & 7) < 4 ? 0xFF000000u
                                                                      : 0xFFFFFFFFu;
            EXPECT_EQ(out[size_t(y) * w + x], want) << x << ", " << y;
        }
}

TEST(FLMemoryImgTest, ForceAlphaValidCapsColourAtAlpha) {
    uint8_t px[] = {200, 10, 90, 100, 5, 6, 7, 0, 255, 255, 255, 255};
    ilFLMemoryImg img(px, ilSize(3, 1, 1, 4), ilUChar, ilInterleaved, false);
    ASSERT_EQ(img.ForceAlphaValid(), ilOK);
    const uint8_t want[] = {100, 10, 90, 100, 0, 0, 0, 0, 255, 255, 255, 255};
    EXPECT_EQ(0, std::memcmp(px, want, sizeof want));
}

TEST(FLMemoryImgTest, SubImageViewsARegion) {
    const int w = 12, h = 10;
    std::vector<uint8_t> pixels = fltest::randomPixels(w, h, 4, 8);
    ilFLMemoryImg base(ilSize(w, h, 1, 4), ilUChar, ilInterleaved, false);
    base.setTile(0, 0, w, h, pixels.data());
    const uint8_t fill[4] = {1, 2, 3, 4};
    base.setFill(ilPixel(ilUChar, 4, fill));
    ilFLSubImg view(&base, 3, 2, 5, 4);
    EXPECT_STREQ(view.getDefaultDescription(), "FL SubImage");
    EXPECT_EQ(view.getXsize(), 5);
    EXPECT_EQ(view.getYsize(), 4);
    // Read 7 x 6 from (-1, -1): the region inside, the fill around it.
    std::vector<uint8_t> out(7 * 6 * 4);
    ASSERT_EQ(view.getTile(-1, -1, 7, 6, out.data()), ilOK);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 7; ++x)
            for (int c = 0; c < 4; ++c) {
                const int vx = x - 1, vy = y - 1;
                const bool in = vx >= 0 && vx < 5 && vy >= 0 && vy < 4;
                const uint8_t want = in ? pixels[(size_t(vy + 2) * w + vx + 3) * 4 + c] : fill[c];
                ASSERT_EQ(out[(size_t(y) * 7 + x) * 4 + c], want) << x << ", " << y;
            }
    // A write lands in the base at the region's offset, and nowhere outside the region.
    const uint32_t red = 0xff0000ffu;
    std::vector<uint32_t> block(9 * 9, red);
    ASSERT_EQ(view.setTile(-2, -2, 9, 9, block.data()), ilOK);
    std::vector<uint32_t> now(w * h);
    base.getTile(0, 0, w, h, now.data());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const bool in = x >= 3 && x < 8 && y >= 2 && y < 6;
            uint32_t before;
            std::memcpy(&before, &pixels[(size_t(y) * w + x) * 4], 4);
            EXPECT_EQ(now[size_t(y) * w + x], in ? red : before) << x << ", " << y;
        }
    ilFLSubImg orphan(nullptr, 0, 0, 4, 4);
    uint32_t one;
    EXPECT_EQ(orphan.getTile(0, 0, 1, 1, &one), ilBadInput);
}
