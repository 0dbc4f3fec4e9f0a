// Numbers, element type tables, the fatal error slot, printed texts, ilSize and coordinate spaces:
// values callers store and compare, so any drift breaks hosts built against older numbers.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "pigment/pigment.h"

namespace {

using Ints = std::vector<int>;

TEST(Vocabulary, EnumeratorNumbersAreFixed) {
    const struct {
        Ints enumerators, numbers;
    } enums[] = {
        {{ilOK, ilOutOfMemory, ilNotConfigured, ilConfigNotInvertible, ilBadInputCount, ilBadInput,
          ilBadColorModel, ilNotImplemented, ilTileClipped, ilBadInputIndex, ilUnsupported,
          ilPageNotReady},
         {0, 3, 7, 10, 14, 18, 19, 20, 24, 25, 29, 33}},
        {{ilBit, ilUChar, ilChar, ilUShort, ilShort, ilULong, ilLong, ilFloat, ilDouble, ilAnyType},
         {1, 2, 4, 8, 16, 32, 64, 128, 256, 511}},
        {{ilInterleaved, ilSequential, ilSeparate, ilAnyOrder}, {1, 2, 4, 7}},
        {{ilUnknownModel, ilMinWhite, ilMinBlack, ilRGB, ilColorIndex, ilRGBA, ilHSV, ilCMY, ilCMYK,
          ilBGR, ilABGR, ilMultiSpectral, ilYCC},
         {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
        {{ilSpaceDefault, ilUpperLeft, ilUpperRight, ilLowerRight, ilLowerLeft, ilLeftUpper,
          ilRightUpper, ilRightLower, ilLeftLower},
         {0, 1, 2, 3, 4, 5, 6, 7, 8}},
        {{ilFlipX, ilFlipY, ilMemoryType, ilGenericType, ilSmartType}, {1, 2, 1, 6, 100}},
        {{ilNoCompression, ilCCITT3, ilCCITT4, ilLZW, ilMacRLE, ilSGIRLE},
         {1, 3, 4, 5, 0x8005, 0x8085}}};
    for (const auto& e : enums)
        EXPECT_EQ(e.enumerators, e.numbers);
    EXPECT_EQ(sizeof(ilStatus), 4u);
}

TEST(Vocabulary, DataTables) {
    const struct {
        int type;
        int64_t size3;  // bytes of 3 elements
        double min, max;
        int isSigned;
    } types[] = {{ilBit, 1, 0, 1, 0},
                 {ilUChar, 3, -128, 255, 0},  // the settled -128
                 {ilChar, 3, -128, 127, 4},
                 {ilUShort, 6, 0, 65535, 0},
                 {ilShort, 6, -32768, 32767, 16},
                 {ilULong, 12, 0, 4294967295.0, 0},
                 {ilLong, 12, -2147483648.0, 2147483647.0, 64},
                 {ilFloat, 12, -3.4028234663852886e38, 3.4028234663852886e38, 128},
                 {ilDouble, 24, -1.7976931348623157e308, 1.7976931348623157e308, 256},
                 {ilAnyType, 0, 0, 0, 468},
                 {0, 0, 0, 0, 0},
                 {3, 0, 0, 0, 0},  // two flags at once are no type
                 {6, 0, 0, 0, 4},
                 {512, 0, 0, 0, 0}};
    for (const auto& c : types) {
        const ilType t = static_cast<ilType>(c.type);
        SCOPED_TRACE("type " + std::to_string(c.type));
        EXPECT_EQ(ilDataSize(t, 3), c.size3);
        EXPECT_EQ(ilDataMin(t), c.min);
        EXPECT_EQ(ilDataMax(t), c.max);
        EXPECT_EQ(ilDataIsSigned(t), c.isSigned);
    }
    const struct {
        ilType type;
        int64_t count, bytes;
    } counts[] = {
        {ilBit, 0, 0},  {ilBit, 1, 1},      {ilBit, 8, 1},    {ilBit, 9, 2},
        {ilBit, -9, 0}, {ilAnyType, 10, 0}, {ilDouble, 1, 8}, {ilUShort, 1LL << 33, 1LL << 34}};
    for (const auto& c : counts)
        EXPECT_EQ(ilDataSize(c.type, c.count), c.bytes) << c.type << " x " << c.count;
}

TEST(Vocabulary, FatalErrorSlotKeepsItsOwnCopy) {
    char text[] = "out of pixel memory";
    ilSetFatalError(text);
    ASSERT_NE(ilGetFatalError(), nullptr);
    EXPECT_NE(ilGetFatalError(), text);
    text[0] = 'X';
    EXPECT_STREQ(ilGetFatalError(), "out of pixel memory");
    ilSetFatalError("second");
    ilSetFatalError(ilGetFatalError());  // its own text back: must not read freed memory
    EXPECT_STREQ(ilGetFatalError(), "second");
    ilSetFatalError(nullptr);
    EXPECT_EQ(ilGetFatalError(), nullptr);
}

TEST(Vocabulary, PrintedTexts) {
    const struct {
        const char* (*fn)(int);
        Ints values;
        std::vector<const char*> texts;
    } rows[] = {
        {ilTypeText,
         {1, 2, 4, 8, 16, 32, 64, 128, 256, 511, 0, 3},
         {"bit", "unsigned char", "char", "unsigned short", "short", "unsigned long", "long",
          "float", "double", "unknown", "unknown", "unknown"}},
        {ilOrderText,
         {1, 2, 4, 7, 0, 3},
         {"interleaved", "sequential", "separate", "unknown", "unknown", "unknown"}},
        {ilColorModelText,
         {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, -1},
         {"unknown", "greyscale, minimum value white", "greyscale", "RGB", "color index", "RGBA",
          "HSV", "CMY", "CMYK", "BGR", "ABGR", "multi-spectral", "YCC", "unknown", "unknown"}},
        {ilColorModelReportText,  // reports know only 1 to 11, so YCC is unspecified
         {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, -1},
         {"unspecified", "grey: minimum value white", "grey: minimum value black", "RGB",
          "color index", "RGBA", "HSV", "CMY", "CMYK", "BGR", "ABGR", "multi-spectral",
          "unspecified", "unspecified", "unspecified"}},
        {ilCoordSpaceText,
         {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -1},
         {"unknown", "upper-left", "upper-right", "lower-right", "lower-left", "left-upper",
          "right-upper", "right-lower", "left-lower", "unknown", "unknown"}},
        {ilCoordSpaceReportText,
         {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -1},
         {"unspecified", "upper-left (X varies fastest)", "upper-right (X varies fastest)",
          "lower-right (X varies fastest)", "lower-left (X varies fastest)",
          "left-upper (Y varies fastest)", "right-upper (Y varies fastest)",
          "right-lower (Y varies fastest)", "left-lower (Y varies fastest)", "unspecified",
          "unspecified"}},
        {ilCompressText,
         {1, 3, 4, 5, 32773, 32901, 0, 2},
         {"none", "CCITT Group 3", "CCITT Group 4", "Lempel-Ziv & Welch", "Mac-RLE", "SGI-RLE",
          "unknown", "unknown"}}};
    for (const auto& row : rows) {
        ASSERT_EQ(row.values.size(), row.texts.size());
        for (size_t i = 0; i < row.values.size(); ++i)
            EXPECT_STREQ(row.fn(row.values[i]), row.texts[i]) << "value " << row.values[i];
    }
}

TEST(Vocabulary, SizeProductWrapsWithoutUndefinedBehaviour) {
    const struct {
        ilSize s;
        int product;
    } rows[] = {{ilSize(640, 480, 4), 640 * 480 * 4},
                {ilSize(-2, 3, 1), -6},
                {ilSize(65536, 65536, 1, 1), 0},
                {ilSize(INT_MAX, INT_MAX, INT_MAX, INT_MAX), 1}};
    for (const auto& r : rows)
        EXPECT_EQ(static_cast<int>(r.s), r.product) << r.s.x << "x" << r.s.y;
    EXPECT_EQ(ilSize(640, 480, 4), ilSize(640, 480, 1, 4));
    EXPECT_NE(ilSize(1, 2, 3, 4), ilSize(1, 2, 9, 4));
}

// The three facts of each space 0 to 8; space 0 behaves like lower-left.
const bool kLow[9] = {1, 0, 0, 1, 1, 0, 0, 1, 1};
const bool kLeft[9] = {1, 1, 0, 0, 1, 1, 0, 0, 1};
const bool kExchanged[9] = {0, 0, 0, 0, 0, 1, 1, 1, 1};

TEST(Space, MirrorAndExchangeTables) {
    const int mirrorX[9] = {3, 2, 1, 4, 3, 8, 7, 6, 5};
    const int mirrorY[9] = {1, 4, 3, 2, 1, 6, 5, 8, 7};
    const int exchange[9] = {8, 5, 6, 7, 8, 1, 2, 3, 4};
    for (int s = 0; s <= 8; ++s) {
        SCOPED_TRACE("space " + std::to_string(s));
        EXPECT_EQ(Ints({ilSpaceMirrorX(s), ilSpaceMirrorY(s), ilSpaceExchange(s)}),
                  Ints({mirrorX[s], mirrorY[s], exchange[s]}));
        EXPECT_EQ(Ints({ilSpaceOriginLow(s), ilSpaceOriginLeft(s), ilSpaceExchanged(s)}),
                  Ints({kLow[s], kLeft[s], kExchanged[s]}));
    }
}

// A box as seen on screen in a 7 by 4 picture: column and row of its top-left pixel counted from
// the top-left corner, width and height. boxIn gives its x, y, nx, ny in a space; a point is the
// box of one pixel, which is why a mirrored point is size - x - 1.
struct Seen {
    float col, row, w, h;
};
constexpr int kW = 7, kH = 4;
ilSize sizeIn(int s) {
    return kExchanged[s] ? ilSize(kH, kW, 1) : ilSize(kW, kH, 1);
}
std::vector<float> boxIn(int s, Seen b) {
    const float u = kLeft[s] ? b.col : kW - b.col - b.w;
    const float v = kLow[s] ? kH - b.row - b.h : b.row;
    return kExchanged[s] ? std::vector<float>{v, u, b.h, b.w} : std::vector<float>{u, v, b.w, b.h};
}

TEST(Space, EveryMapAgreesWithThePictureForAll81Pairs) {
    const Seen boxes[] = {{0, 0, 1, 1}, {2, 1, 3, 2}, {6, 3, 1, 1}, {1.5f, 0.25f, 2.25f, 1.5f}};
    for (int a = 0; a <= 8; ++a) {
        for (int b = 0; b <= 8; ++b) {
            SCOPED_TRACE("from " + std::to_string(a) + " to " + std::to_string(b));
            int flip = -1, transpose = -1;
            ilSpaceFlipTrans(a, b, flip, transpose);
            const int lowDiffers = kLow[a] != kLow[b], leftDiffers = kLeft[a] != kLeft[b];
            EXPECT_EQ(transpose, kExchanged[a] != kExchanged[b]);
            EXPECT_EQ(flip, kExchanged[b] ? lowDiffers * ilFlipX + leftDiffers * ilFlipY
                                          : leftDiffers * ilFlipX + lowDiffers * ilFlipY);
            EXPECT_EQ(ilSpaceIsMirror(a, b), (transpose + lowDiffers + leftDiffers) % 2 == 1);

            ilSize size = sizeIn(a);
            ilSpaceMapSize(a, b, size);
            EXPECT_EQ(size, sizeIn(b));
            for (const Seen& box : boxes) {
                const Seen dot{box.col, box.row, 1, 1};
                const std::vector<float> t = boxIn(a, box), p = boxIn(a, dot);
                ilTileFloat tf(t[0], t[1], t[2], t[3]);
                ilTile ti(t[0], t[1], t[2], t[3]);
                float x = p[0], y = p[1];
                int ix = p[0], iy = p[1];
                ilSpaceMapTile(a, b, sizeIn(b), tf);
                ilSpaceMapTile(a, b, sizeIn(b), ti);
                ilSpaceMapXY(a, b, sizeIn(b), x, y);
                ilSpaceMapXY(a, b, sizeIn(b), ix, iy);
                EXPECT_EQ(std::vector<float>({tf.x, tf.y, tf.nx, tf.ny}), boxIn(b, box));
                EXPECT_EQ(std::vector<float>({x, y, 1, 1}), boxIn(b, dot));
                if (box.col != static_cast<int>(box.col)) continue;
                EXPECT_EQ(
                    std::vector<float>({float(ti.x), float(ti.y), float(ti.nx), float(ti.ny)}),
                    boxIn(b, box));
                EXPECT_EQ(Ints({ti.z, ti.nz}), Ints({0, 1}));
                EXPECT_EQ(std::vector<float>({float(ix), float(iy), 1, 1}), boxIn(b, dot));
            }
            // A direction seen as 3 right and 2 up is the move between two points.
            const std::vector<float> p0 = boxIn(a, {0, 2, 1, 1}), p1 = boxIn(a, {3, 0, 1, 1});
            const std::vector<float> q0 = boxIn(b, {0, 2, 1, 1}), q1 = boxIn(b, {3, 0, 1, 1});
            float dx = p1[0] - p0[0], dy = p1[1] - p0[1];
            int idx = dx, idy = dy;
            ilSpaceMapXYSign(a, b, dx, dy);
            ilSpaceMapXYSign(a, b, idx, idy);
            EXPECT_EQ(std::vector<float>({dx, dy}),
                      std::vector<float>({q1[0] - q0[0], q1[1] - q0[1]}));
            EXPECT_EQ(Ints({idx, idy}), Ints({int(dx), int(dy)}));
        }
    }
    ilTile t(3, 10, 20, 5);  // lower-left to upper-left in a height of 100
    ilSpaceMapTile(ilLowerLeft, ilUpperLeft, ilSize(50, 100, 1), t);
    EXPECT_EQ(t, ilTile(3, 85, 20, 5));
}

}  // namespace
