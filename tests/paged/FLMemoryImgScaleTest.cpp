// Scaled, rotated and warped reads of ilFLMemoryImg against the plain model of the kernels:
// exact copies where nothing moves, the stated kernels elsewhere, and nothing written outside
// the destination.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "FLTestSupport.h"
#include "pigment/paged/ilFLMemoryImg.h"

using fltest::Picture;

namespace {

constexpr uint8_t kSentinel = 0xA5;

struct Image {
    int width, height, channels;
    std::vector<uint8_t> pixels;
    ilFLMemoryImg img;
    Image(int w, int h, int c, uint32_t seed)
        : width(w),
          height(h),
          channels(c),
          pixels(fltest::randomPixels(w, h, c, seed)),
          img(pixels.data(), ilSize(w, h, 1, c), ilUChar, ilInterleaved, false) {}
    Picture picture() const { return {&pixels, width, height, channels}; }
};

int roundAway(double v) {
    return int(v < 0 ? std::ceil(v - 0.5) : std::floor(v + 0.5));
}

}  // namespace

TEST(FLMemoryImgScaleTest, ScaleOneIsAnExactCopyAndStaysInItsRectangle) {
    for (int channels : {1, 4}) {
        Image src(37, 29, channels, 11);
        // The source rectangle 5, 3, 20 x 17, read with offset (2, 1) into a 30 x 25 buffer.
        src.img.SetOffset(2, 1);
        std::vector<uint8_t> dest(size_t(30) * 25 * channels, kSentinel);
        ASSERT_EQ(src.img.getScaleTile(5, 3, 20, 17, dest.data(), 30, 25), ilOK);
        for (int y = 0; y < 25; ++y)
            for (int x = 0; x < 30; ++x)
                for (int c = 0; c < channels; ++c) {
                    const bool inside = x >= 3 && x < 23 && y >= 2 && y < 19;
                    const uint8_t want = inside ? src.picture().at(x + 2, y + 1, c) : kSentinel;
                    ASSERT_EQ(dest[(size_t(y) * 30 + x) * channels + c], want)
                        << channels << " channels at " << x << ", " << y;
                }
    }
}

TEST(FLMemoryImgScaleTest, ScaledReadsFollowTheStatedKernels) {
    struct Case {
        float sx, sy;
        unsigned mode;  // the mode set for both minify and magnify
        int channels;
        float x, y, nx, ny, ox, oy;
    };
    const Case cases[] = {
        {0.5f, 0.5f, 1, 4, 0, 0, 64, 48, 0, 0},     {0.25f, 0.3f, 1, 4, 3, 5, 50, 40, 0, 1},
        {1.5f, 1.5f, 1, 4, 0, 0, 64, 48, 0, 0},     {2.3f, 0.7f, 1, 1, 10, 4, 30, 30, 3, 0},
        {3.0f, 3.0f, 2, 4, 20, 10, 15, 12, 40, 20}, {0.6f, 0.8f, 2, 4, 1, 2, 60, 40, 0, 0},
        {0.5f, 2.0f, 0, 4, 0, 0, 64, 48, 0, 0},     {1.7f, 1.2f, 0, 1, 5, 5, 40, 30, 2, 2},
        {1.0f, 1.0f, 1, 4, 0, 0, 64, 48, 0, 0},  // kept off the copy path by the colour factors
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(testing::Message() << k.sx << " x " << k.sy << " mode " << k.mode << ", "
                                        << k.channels << " channels");
        Image src(64, 48, k.channels, 5);
        src.img.SetScaleFactors(k.sx, k.sy);
        src.img.SetMinifyScaleMode(k.mode);
        src.img.SetMagnifyScaleMode(k.mode);
        src.img.SetOffset(k.ox, k.oy);
        const bool identityFactors = k.sx == 1.0f && k.sy == 1.0f;
        if (identityFactors) src.img.SetRGBAScaleAndOffset(0xfffffffeu, 0);
        const int W = 200, H = 160;
        std::vector<uint8_t> dest(size_t(W) * H * k.channels, kSentinel);
        ASSERT_EQ(src.img.getScaleTile(k.x, k.y, k.nx, k.ny, dest.data(), W, H), ilOK);

        const int x0 = roundAway(k.x * k.sx - k.ox), y0 = roundAway(k.y * k.sy - k.oy);
        const int x1 = roundAway((k.x + k.nx) * k.sx - k.ox);
        const int y1 = roundAway((k.y + k.ny) * k.sy - k.oy);
        const int ox = roundAway(k.ox), oy = roundAway(k.oy);
        int written = 0;
        for (int y = 0; y < H; ++y)
            for (int x = 0; x < W; ++x) {
                const uint8_t* got = &dest[(size_t(y) * W + x) * k.channels];
                if (x < x0 || x >= x1 || y < y0 || y >= y1) {
                    for (int c = 0; c < k.channels; ++c)
                        ASSERT_EQ(got[c], kSentinel) << x << "," << y;
                    continue;
                }
                ++written;
                const uint32_t px = fltest::tablePosition(x + ox, k.sx, 64, k.mode, k.mode);
                const uint32_t py = fltest::tablePosition(y + oy, k.sy, 48, k.mode, k.mode);
                for (int c = 0; c < k.channels; ++c) {
                    double want =
                        std::floor(fltest::modelSample(src.picture(), k.mode, px, py, c) + 1e-9);
                    // 0xfe on byte 0: (v * 254 + 127) / 255.
                    if (identityFactors && c == 0) want = std::floor((want * 254 + 127) / 255);
                    // Bilinear and point are exact; bicubic weights are rounded to 1/256.
                    const double tolerance = k.mode == 2 ? 1.0 : 0.0;
                    ASSERT_NEAR(got[c], want, tolerance) << "at " << x << ", " << y << " c " << c;
                }
            }
        EXPECT_EQ(written, (x1 - x0) * (y1 - y0));
    }
}

TEST(FLMemoryImgScaleTest, OneChannelBicubicReadsAsBilinear) {
    Image src(40, 30, 1, 9);
    std::vector<uint8_t> bicubic(80 * 60), bilinear(80 * 60);
    src.img.SetScaleFactors(2, 2);
    src.img.SetMagnifyScaleMode(2);
    ASSERT_EQ(src.img.getScaleTile(0, 0, 40, 30, bicubic.data(), 80, 60), ilOK);
    src.img.SetMagnifyScaleMode(1);
    ASSERT_EQ(src.img.getScaleTile(0, 0, 40, 30, bilinear.data(), 80, 60), ilOK);
    EXPECT_EQ(bicubic, bilinear);
}

TEST(FLMemoryImgScaleTest, ExtremeMagnificationShowsOnePixel) {
    Image src(8, 8, 4, 3);
    src.img.SetScaleFactors(5000, 5000);
    std::vector<uint32_t> dest(16 * 16, 0xA5A5A5A5u);
    // Source (2.5, 3.2) lands at (12500, 16000); the offset brings it to the buffer's origin.
    src.img.SetOffset(12500, 16000);
    ASSERT_EQ(src.img.getScaleTile(2.5f, 3.2f, 0.001f, 0.001f, dest.data(), 16, 16), ilOK);
    uint32_t want;
    std::memcpy(&want, &src.pixels[(3 * 8 + 2) * 4], 4);
    int seen = 0;
    for (uint32_t v : dest)
        seen += v == want;
    EXPECT_GT(seen, 0);
    for (uint32_t v : dest)
        EXPECT_TRUE(v == want || v == 0xA5A5A5A5u);
}

TEST(FLMemoryImgScaleTest, AnglesAreBroughtIntoOneTurn) {
    Image src(4, 4, 4, 1);
    const struct {
        float in;
        bool rotated;
        float stored;
    } cases[] = {{360.0005f, false, 0}, {0.0004f, false, 0}, {750, true, 30},
                 {-90, true, 270},      {720, false, 0},     {1e30f, true, -1}};
    for (const auto& c : cases) {
        src.img.SetScaleAndRotation(1, 1, c.in, 0, 0);
        EXPECT_EQ(src.img.isRotated(), c.rotated) << c.in;
        const float got = src.img.getRotation();
        if (c.stored >= 0) {
            EXPECT_NEAR(got, c.stored, 1e-3) << c.in;
        }
        EXPECT_TRUE(got >= 0 && got < 360) << c.in;
    }
}

TEST(FLMemoryImgScaleTest, QuarterTurnsAndFlipsAreExact) {
    for (int channels : {1, 4}) {
        const int w = 13, h = 7;
        Image src(w, h, channels, 21);
        const Picture p = src.picture();
        struct Turn {
            const char* name;
            ilStatus (ilFLMemoryImg::*op)();
            bool swaps;
            // Where source (x, y) lands.
            int (*tx)(int x, int y, int w, int h);
            int (*ty)(int x, int y, int w, int h);
        };
        const Turn turns[] = {
            {"left", &ilFLMemoryImg::SimpleRotateLeft, true,
             [](int, int y, int, int h) { return h - 1 - y; },
             [](int x, int, int, int) { return x; }},
            {"right", &ilFLMemoryImg::SimpleRotateRight, true,
             [](int, int y, int, int) { return y; },
             [](int x, int, int w, int) { return w - 1 - x; }},
            {"horizontal", &ilFLMemoryImg::HorizontalFlip, false,
             [](int x, int, int w, int) { return w - 1 - x; },
             [](int, int y, int, int) { return y; }},
            {"vertical", &ilFLMemoryImg::VerticalFlip, false,
             [](int x, int, int, int) { return x; },
             [](int, int y, int, int h) { return h - 1 - y; }},
        };
        for (const Turn& t : turns) {
            SCOPED_TRACE(t.name);
            ilFLMemoryImg img(ilSize(w, h, 1, channels), ilUChar, ilInterleaved, false);
            ASSERT_EQ(img.setTile(0, 0, w, h, src.pixels.data()), ilOK);
            ASSERT_EQ((img.*t.op)(), ilOK);
            const int nw = t.swaps ? h : w, nh = t.swaps ? w : h;
            ASSERT_EQ(img.getXsize(), nw);
            ASSERT_EQ(img.getYsize(), nh);
            std::vector<uint8_t> out(src.pixels.size());
            ASSERT_EQ(img.getTile(0, 0, nw, nh, out.data()), ilOK);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                    for (int c = 0; c < channels; ++c)
                        ASSERT_EQ(
                            out[(size_t(t.ty(x, y, w, h)) * nw + t.tx(x, y, w, h)) * channels + c],
                            p.at(x, y, c));
        }
        // A rotated read by a quarter turn lands on the same pixels as the turn itself.
        ilFLMemoryImg turned(ilSize(w, h, 1, channels), ilUChar, ilInterleaved, false);
        ASSERT_EQ(turned.setTile(0, 0, w, h, src.pixels.data()), ilOK);
        ASSERT_EQ(turned.SimpleRotateLeft(), ilOK);
        std::vector<uint8_t> expect(src.pixels.size()), read(src.pixels.size(), kSentinel);
        ASSERT_EQ(turned.getTile(0, 0, h, w, expect.data()), ilOK);
        src.img.SetScaleAndRotation(1, 1, 90, 0, 0);
        src.img.SetMinifyScaleMode(0);
        src.img.SetMagnifyScaleMode(0);
        src.img.SetOffset(float(-h), 0);
        ASSERT_EQ(src.img.getScaleTile(0, 0, w, h, read.data(), h, w), ilOK);
        EXPECT_EQ(read, expect);
    }
}

TEST(FLMemoryImgScaleTest, RotatedReadsSampleTheTurnedPoint) {
    Image src(48, 40, 4, 17);
    const float degrees = 30, pivotX = 20, pivotY = 15;
    src.img.SetScaleAndRotation(1.5f, 1.5f, degrees, pivotX, pivotY);
    int w, h, ox, oy;
    src.img.getTargetSizeAndOffset(w, h, ox, oy);
    src.img.SetOffset(float(ox), float(oy));
    std::vector<uint8_t> dest(size_t(w) * h * 4, kSentinel);
    ASSERT_EQ(src.img.getScaleTile(0, 0, 48, 40, dest.data(), w, h), ilOK);
    const double a = degrees * M_PI / 180, c = std::cos(a), s = std::sin(a);
    int checked = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            // Turn the pixel's centre back about the pivot and unscale it.
            const double dx = x + 0.5 + ox - pivotX, dy = y + 0.5 + oy - pivotY;
            const double sx = (pivotX + dx * c + dy * s) / 1.5,
                         sy = (pivotY - dx * s + dy * c) / 1.5;
            // Pixels near the edge may fall either side of it by the fixed-point steps.
            if (sx < 1.5 || sy < 1.5 || sx > 46.5 || sy > 38.5) continue;
            ++checked;
            const uint32_t px = uint32_t((sx - 0.5) * 256), py = uint32_t((sy - 0.5) * 256);
            for (int k = 0; k < 4; ++k)
                ASSERT_NEAR(dest[(size_t(y) * w + x) * 4 + k],
                            fltest::modelSample(src.picture(), 1, px, py, k), 2.0)
                    << x << ", " << y;
        }
    EXPECT_GT(checked, 2000);
}

TEST(FLMemoryImgScaleTest, AWarpOverARectangleEqualsAScaledRead) {
    for (unsigned mode : {0u, 1u, 2u}) {
        Image src(32, 16, 4, 23);
        src.img.SetMinifyScaleMode(mode);
        src.img.SetMagnifyScaleMode(mode);
        std::vector<uint8_t> warped(64 * 64 * 4, kSentinel), scaled(64 * 64 * 4, kSentinel);
        ASSERT_EQ(src.img.getDeformTile(Rect8f(0, 0, 64, 64), warped.data(), 64, 64, 0, 1, 1),
                  ilOK);
        ASSERT_EQ(src.img.getDeformTile(Rect8f(0, 0, 64, 64), scaled.data(), 64, 64, 1, 1, 1),
                  ilOK);
        EXPECT_EQ(warped, scaled) << "corner and perspective solvers agree, mode " << mode;
        src.img.SetScaleFactors(2, 4);
        std::fill(scaled.begin(), scaled.end(), kSentinel);
        ASSERT_EQ(src.img.getScaleTile(0, 0, 32, 16, scaled.data(), 64, 64), ilOK);
        EXPECT_EQ(warped, scaled) << "mode " << mode;
    }
}

TEST(FLMemoryImgScaleTest, APerspectiveWarpWritesOnlyInsideItsQuad) {
    Image src(32, 32, 4, 29);
    const Rect8f quad(10, 5, 20, 50, 55, 58, 60, 2);
    std::vector<uint32_t> dest(70 * 70, 0xA5A5A5A5u);
    ASSERT_EQ(src.img.getDeformTile(quad, dest.data(), 70, 70, 1, 1, 1), ilOK);
    int inside = 0;
    for (int y = 0; y < 70; ++y)
        for (int x = 0; x < 70; ++x) {
            const bool written = dest[size_t(y) * 70 + x] != 0xA5A5A5A5u;
            // Signed distance to the side from a to b: positive on its left, which is outside
            // for these clockwise corners.
            auto side = [&](float ax, float ay, float bx, float by) {
                return ((bx - ax) * (y - ay) - (by - ay) * (x - ax)) / std::hypot(bx - ax, by - ay);
            };
            const float d = std::max({side(quad.x0, quad.y0, quad.x1, quad.y1),
                                      side(quad.x1, quad.y1, quad.x2, quad.y2),
                                      side(quad.x2, quad.y2, quad.x3, quad.y3),
                                      side(quad.x3, quad.y3, quad.x0, quad.y0)});
            if (written) {
                EXPECT_LE(d, 0.0f) << x << ", " << y;
            }
            // A pixel a whole pixel inside is always drawn; one on a side may go either way.
            if (d < -1) {
                ++inside;
                EXPECT_TRUE(written) << x << ", " << y;
            }
        }
    EXPECT_GT(inside, 1500);
    // Corner 0 shows the source's first pixel.
    uint32_t first;
    std::memcpy(&first, src.pixels.data(), 4);
    EXPECT_EQ(dest[size_t(5) * 70 + 10], first);
}

TEST(FLMemoryImgScaleTest, BadRequestsTouchNothing) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    struct Case {
        const char* name;
        float sx, sy, degrees;
        int destWidth, destHeight;
        bool nullDest;
        ilStatus want;
    };
    const Case cases[] = {
        {"null destination", 1, 1, 0, 16, 16, true, ilBadInput},
        {"zero width", 1, 1, 0, 0, 16, false, ilBadInput},
        {"negative height", 1, 1, 0, 16, -3, false, ilBadInput},
        {"zero scale", 0, 1, 0, 16, 16, false, ilBadInput},
        {"negative scale", 1, -2, 0, 16, 16, false, ilBadInput},
        {"NaN scale", nan, 1, 0, 16, 16, false, ilBadInput},
        {"infinite scale", 1, inf, 0, 16, 16, false, ilBadInput},
        {"NaN angle", 1, 1, nan, 16, 16, false, ilBadInput},
        {"infinite angle", 1, 1, -inf, 16, 16, false, ilBadInput},
    };
    for (const Case& c : cases) {
        Image src(8, 8, 4, 2);
        src.img.SetScaleAndRotation(c.sx, c.sy, c.degrees, 0, 0);
        std::vector<uint8_t> dest(16 * 16 * 4, kSentinel);
        EXPECT_EQ(src.img.getScaleTile(0, 0, 8, 8, c.nullDest ? nullptr : dest.data(), c.destWidth,
                                       c.destHeight),
                  c.want)
            << c.name;
        for (uint8_t b : dest)
            ASSERT_EQ(b, kSentinel) << c.name;
    }
    const Rect8f quads[] = {Rect8f(5, 5, 5, 5, 5, 5, 5, 5), Rect8f(0, 0, 10, 10, 0, 10, 10, 0),
                            Rect8f(nan, 0, 10, 10)};
    for (const Rect8f& q : quads)
        for (int force : {0, 1}) {
            Image src(8, 8, 4, 2);
            std::vector<uint8_t> dest(16 * 16 * 4, kSentinel);
            const ilStatus s = src.img.getDeformTile(q, dest.data(), 16, 16, force, 1, 1);
            EXPECT_TRUE(s == ilOK || s == ilBadInput);
            for (uint8_t b : dest)
                ASSERT_EQ(b, kSentinel);
        }
    Image src(8, 8, 4, 2);
    std::vector<uint8_t> dest(16 * 16 * 4, kSentinel);
    EXPECT_EQ(src.img.getDeformTile(Rect8f(0, 0, 8, 8), nullptr, 16, 16, 0, 1, 1), ilBadInput);
    EXPECT_EQ(src.img.getDeformTile(Rect8f(0, 0, 8, 8), dest.data(), 16, 16, 0, nan, 1),
              ilBadInput);
    for (uint8_t b : dest)
        ASSERT_EQ(b, kSentinel);
}
