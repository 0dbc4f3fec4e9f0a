// Sub-images: reading and writing through a window, channel selection, the fill outside the
// window, derived attributes, inverse channel maps for copies, and the failures a caller sees.
#include <gtest/gtest.h>

#include <vector>

#include "TestImage.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/frame/ilSubImg.h"

namespace {

// Input pixel values tell where they came from: 1000 x + 10 y + c.
double code(int x, int y, int c) {
    return 1000.0 * x + 10.0 * y + c;
}

void paint(TestImage& image) {
    ilSize s = image.getSize();
    for (int y = 0; y < s.y; ++y)
        for (int x = 0; x < s.x; ++x)
            for (int c = 0; c < s.c; ++c)
                image.at(x, y, c) = code(x, y, c);
}

// Reads tile as floats through cfg (or the image's own layout) and returns the buffer.
std::vector<float> readFloats(ilImage& image, const ilTile& tile, int nc, ilConfig* cfg) {
    std::vector<float> buffer(static_cast<size_t>(tile.nx) * tile.ny * nc, -1.0f);
    EXPECT_EQ(image.getTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, buffer.data(), cfg), ilOK);
    return buffer;
}

TEST(SubImg, ReadsThroughTheWindow) {
    int reversed[] = {2, 1, 0};
    int first[] = {0};
    int two[] = {2};
    struct Case {
        const char* what;
        ilTile window;  // start and size
        ilConfig* subCfg;
        ilConfig* readCfg;
        int readChans;
        ilTile tile;
        std::vector<float> expected;
    };
    ilConfig reversedCfg(ilFloat, ilInterleaved, 3, reversed);
    ilConfig firstCfg(ilFloat, ilInterleaved, 1, first);
    ilConfig offsetCfg(ilFloat, ilInterleaved, 2, nullptr, 1);
    ilConfig twoCfg(ilFloat, ilInterleaved, 1, two);
    const Case cases[] = {
        {"start 10, 20 reads pixel 0, 0 from input pixel 10, 20",
         ilTile(10, 20, 5, 5),
         nullptr,
         nullptr,
         3,
         ilTile(0, 0, 1, 1),
         {float(code(10, 20, 0)), float(code(10, 20, 1)), float(code(10, 20, 2))}},
        {"a row inside the window",
         ilTile(10, 20, 5, 5),
         nullptr,
         nullptr,
         3,
         ilTile(3, 4, 2, 1),
         {float(code(13, 24, 0)), float(code(13, 24, 1)), float(code(13, 24, 2)),
          float(code(14, 24, 0)), float(code(14, 24, 1)), float(code(14, 24, 2))}},
        {"chanList 2, 1, 0 with a cfg list 0 gives input channel 2",
         ilTile(10, 20, 5, 5),
         &reversedCfg,
         &firstCfg,
         1,
         ilTile(1, 1, 1, 1),
         {float(code(11, 21, 2))}},
        {"chanList 2, 1, 0 without a cfg reverses the channels",
         ilTile(10, 20, 5, 5),
         &reversedCfg,
         nullptr,
         3,
         ilTile(0, 0, 1, 1),
         {float(code(10, 20, 2)), float(code(10, 20, 1)), float(code(10, 20, 0))}},
        {"a channel offset starts the window at channel 1",
         ilTile(0, 0, 40, 40),
         &offsetCfg,
         nullptr,
         2,
         ilTile(7, 8, 1, 1),
         {float(code(7, 8, 1)), float(code(7, 8, 2))}},
        {"a caller's list names input channels when the window has no list of its own",
         ilTile(5, 5, 9, 9),
         &offsetCfg,
         &firstCfg,
         1,
         ilTile(1, 2, 1, 1),
         {float(code(6, 7, 0))}},
        {"a one-channel list",
         ilTile(0, 0, 40, 40),
         &twoCfg,
         nullptr,
         1,
         ilTile(39, 39, 1, 1),
         {float(code(39, 39, 2))}},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        TestImage input(40, 40, 3);
        paint(input);
        ilSubImg sub(&input, k.window.x, k.window.y, k.window.nx, k.window.ny, k.subCfg);
        EXPECT_EQ(readFloats(sub, k.tile, k.readChans, k.readCfg), k.expected);
    }
}

// A test image that understands a config's coordinate space, for single-pixel reads.
class SpaceImage : public TestImage {
  public:
    using TestImage::TestImage;
    ilStatus getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg) override {
        if (!cfg || !cfg->coordSpace) {
            return TestImage::getSubTile3D(x, y, z, nx, ny, nz, data, bx, by, bz, bnx, bny, bnz,
                                           cfg);
        }
        EXPECT_EQ(nx * ny * nz, 1) << "only single pixels are mapped here";
        ilTile tile(x, y, z, nx, ny, nz);
        mapTile(tile, cfg->coordSpace);
        ilConfig own = *cfg;
        own.coordSpace = ilSpaceDefault;
        return TestImage::getSubTile3D(tile.x, tile.y, tile.z, 1, 1, 1, data, tile.x, tile.y,
                                       tile.z, 1, 1, 1, &own);
    }
};

TEST(SubImg, ReadsInAnotherCoordinateSpace) {
    struct Case {
        ilCoordSpace space;
        int x, y;            // in the caller's space, within a window of 5 by 8 at 10, 20
        int inputX, inputY;  // where the pixel lives in the input (lower-left)
    };
    const Case cases[] = {
        {ilLowerLeft, 1, 2, 11, 22},  {ilUpperLeft, 0, 0, 10, 27},  {ilUpperLeft, 1, 7, 11, 20},
        {ilUpperRight, 0, 0, 14, 27}, {ilLowerRight, 4, 0, 10, 20}, {ilLeftUpper, 1, 0, 10, 26},
        {ilLeftUpper, 7, 0, 10, 20},  {ilLeftLower, 7, 4, 14, 27},
    };
    SpaceImage input(40, 40, 3);
    paint(input);
    ilSubImg sub(&input, 10, 20, 5, 8);
    for (const Case& k : cases) {
        SCOPED_TRACE(::testing::Message() << "space " << k.space << " at " << k.x << "," << k.y);
        ilConfig cfg(ilFloat, ilInterleaved, 3, nullptr, 0, k.space);
        std::vector<float> got = readFloats(sub, ilTile(k.x, k.y, 1, 1), 3, &cfg);
        EXPECT_EQ(got[0], float(code(k.inputX, k.inputY, 0)));
        EXPECT_EQ(got[2], float(code(k.inputX, k.inputY, 2)));
    }
}

TEST(SubImg, OutsideTheWindowReadsTheFill) {
    TestImage input(40, 40, 3);
    paint(input);
    ilSubImg sub(&input, 10, 20, 5, 5);
    ilPixel fill(ilFloat, 3);
    for (int c = 0; c < 3; ++c)
        fill.setElem(-7.0 - c, c);
    ASSERT_EQ(sub.setFill(fill), ilOK);

    // The tile reaches two columns and one row past the window, where the input still has pixels.
    std::vector<float> got = readFloats(sub, ilTile(3, 3, 4, 3), 3, nullptr);
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 4; ++i)
            for (int c = 0; c < 3; ++c) {
                bool inside = 3 + i < 5 && 3 + j < 5;
                float want = inside ? float(code(13 + i, 23 + j, c)) : float(-7.0 - c);
                EXPECT_EQ(got[(j * 4 + i) * 3 + c], want) << i << "," << j << "," << c;
            }

    // Wholly outside: only fill, and through a buffer config of another type and one channel.
    int list[] = {1};
    ilConfig oneChan(ilShort, ilInterleaved, 1, list);
    std::vector<short> shorts(6, 99);
    ASSERT_EQ(sub.getTile(-10, 0, 3, 2, shorts.data(), &oneChan), ilOK);
    EXPECT_EQ(shorts, std::vector<short>(6, -8));
}

// The same window over a memory image, whose reads run through the transfer engine.
TEST(SubImg, OverAMemoryImage) {
    ilMemoryImg input(ilSize(6, 4, 1, 3), ilUChar, ilInterleaved);
    std::vector<unsigned char> pixels(6 * 4 * 3);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<unsigned char>(i);
    ASSERT_EQ(input.setTile(0, 0, 6, 4, pixels.data()), ilOK);
    int reversed[] = {2, 1, 0};
    ilConfig cfg(ilUChar, ilInterleaved, 3, reversed);
    ilSubImg sub(&input, 2, 1, 3, 2, &cfg);
    ilPixel fill(ilUChar, 3);
    for (int c = 0; c < 3; ++c)
        fill.setElem(200 + c, c);
    ASSERT_EQ(sub.setFill(fill), ilOK);

    std::vector<unsigned char> got(3 * 2 * 3, 0);
    ASSERT_EQ(sub.getTile(1, 1, 3, 2, got.data()), ilOK);
    for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 3; ++i)
            for (int c = 0; c < 3; ++c) {
                bool inside = 1 + i < 3 && 1 + j < 2;
                int want = inside ? pixels[((2 + j) * 6 + 3 + i) * 3 + 2 - c] : 200 + c;
                EXPECT_EQ(got[(j * 3 + i) * 3 + c], want) << i << "," << j << "," << c;
            }
}

TEST(SubImg, WritesGoThroughToTheInputAndStopAtTheEdge) {
    TestImage input(40, 40, 3);
    ilSubImg sub(&input, 10, 20, 5, 5);
    std::vector<float> row = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    ASSERT_EQ(sub.setTile(3, 4, 3, 1, row.data()), ilOK);
    EXPECT_EQ(input.at(13, 24, 0), 1);
    EXPECT_EQ(input.at(13, 24, 2), 3);
    EXPECT_EQ(input.at(14, 24, 1), 5);
    EXPECT_EQ(input.at(15, 24, 0), 0) << "the third pixel lies outside the window";

    int reversed[] = {2, 1, 0};
    ilConfig reversedCfg(ilFloat, ilInterleaved, 3, reversed);
    ilSubImg swapped(&input, &reversedCfg);
    std::vector<float> pixel = {10, 20, 30};
    ASSERT_EQ(swapped.setTile(0, 0, 1, 1, pixel.data()), ilOK);
    EXPECT_EQ(input.at(0, 0, 0), 30);
    EXPECT_EQ(input.at(0, 0, 2), 10);
}

TEST(SubImg, AttributesFollowTheInputUnlessChosen) {
    TestImage input(40, 30, 3, ilFloat);
    ilSubImg whole(&input);
    ilSubImg window(&input, 2, 3, 5, 6);
    int two[] = {2};
    ilConfig narrow(ilUChar, ilInterleaved, 1, two);
    ilSubImg grey(&input, &narrow);

    EXPECT_EQ(whole.getSize(), ilSize(40, 30, 1, 3));
    EXPECT_EQ(window.getSize(), ilSize(5, 6, 1, 3));
    EXPECT_EQ(whole.getDataType(), ilFloat);
    EXPECT_EQ(whole.getColorModel(), ilRGB);
    EXPECT_EQ(grey.getNumChans(), 1);
    EXPECT_EQ(grey.getDataType(), ilUChar);
    EXPECT_EQ(grey.getColorModel(), ilMinBlack) << "channel counts differ, so the model is derived";

    ASSERT_EQ(input.setXsize(50), ilOK);
    EXPECT_EQ(whole.getXsize(), 50);
    EXPECT_EQ(window.getXsize(), 5);

    // A read without a config gets a buffer in the window's own type and channels.
    paint(input);
    unsigned char value = 0;
    ASSERT_EQ(grey.getTile(0, 0, 1, 1, &value), ilOK);
    EXPECT_EQ(value, static_cast<unsigned char>(code(0, 0, 2)));

    EXPECT_STREQ(whole.getDefaultDescription(), "Sub Image");
    EXPECT_EQ(whole.derivesFrom(&ilSubImg::classList), 1);
    EXPECT_EQ(whole.derivesFrom(&ilImage::classList), 2);
    EXPECT_EQ(whole.derivesFrom(&ilLink::classList), 3);
    EXPECT_STREQ(whole.getClassName(), "a");
}

TEST(SubImg, StartAndConfigCanChange) {
    TestImage input(40, 40, 3);
    paint(input);
    ilSubImg sub(&input, 10, 20, 5, 5);
    int x, y, z, c;
    sub.getStart(x, y, z, c);
    EXPECT_EQ(x, 10);
    EXPECT_EQ(y, 20);
    EXPECT_EQ(z, 0);
    EXPECT_EQ(c, 0);

    ASSERT_EQ(sub.setStart(1, 2, 0, 1), ilOK);
    EXPECT_EQ(readFloats(sub, ilTile(0, 0, 1, 1), 3, nullptr)[0], float(code(1, 2, 1)));
    ASSERT_EQ(sub.setStart(3, 4, 0), ilOK);
    sub.getStart(x, y, z, c);
    EXPECT_EQ(c, 0) << "the three-argument form starts at channel 0";
    EXPECT_EQ(readFloats(sub, ilTile(0, 0, 1, 1), 3, nullptr)[0], float(code(3, 4, 0)));

    // setConfig keeps its own copy of the list.
    std::vector<int> list = {1, 0, 2};
    ilConfig cfg(ilFloat, ilInterleaved, 3, list.data());
    ASSERT_EQ(sub.setConfig(&cfg), ilOK);
    list.assign(3, 0);
    std::vector<float> got = readFloats(sub, ilTile(0, 0, 1, 1), 3, nullptr);
    EXPECT_EQ(got, (std::vector<float>{float(code(3, 4, 1)), float(code(3, 4, 0)),
                                       float(code(3, 4, 2))}));
}

TEST(SubImg, Failures) {
    float buffer[3] = {0, 0, 0};
    ilSubImg orphan(nullptr, 0, 0, 4, 4);
    EXPECT_EQ(orphan.getTile(0, 0, 1, 1, buffer), ilBadInput);
    EXPECT_EQ(orphan.setTile(0, 0, 1, 1, buffer), ilBadInput);
    TestImage other(4, 4, 3);
    EXPECT_EQ(orphan.copyTile(0, 0, 1, 1, &other, 0, 0), ilBadInput);
    EXPECT_EQ(orphan.hasPages(), 0);

    TestImage broken(4, 4, 3);
    broken.failReset = true;
    ilSubImg onBroken(&broken);
    EXPECT_EQ(onBroken.getTile(0, 0, 1, 1, buffer), ilBadInput);
    EXPECT_EQ(onBroken.getStatus(), ilBadInput);

    TestImage input(4, 4, 3);
    int duplicate[] = {0, 0, 2};
    ilConfig dup(ilFloat, ilInterleaved, 3, duplicate);
    ilSubImg sub(&input, &dup);
    EXPECT_EQ(sub.copyTile(0, 0, 2, 2, &other, 0, 0), ilConfigNotInvertible);
}

TEST(SubImg, CopiesThroughTheInverseChannelMap) {
    TestImage input(8, 8, 3), source(8, 8, 3);
    paint(source);
    int reversed[] = {2, 1, 0};
    ilConfig reversedCfg(ilFloat, ilInterleaved, 3, reversed);
    ilSubImg sub(&input, 2, 2, 4, 4, &reversedCfg);

    // Pull: the window's channel i receives the source's channel i.
    ASSERT_EQ(sub.copyTile(0, 0, 2, 2, &source, 5, 6), ilOK);
    for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 2; ++i)
            for (int c = 0; c < 3; ++c) {
                EXPECT_EQ(input.at(2 + i, 2 + j, 2 - c), code(5 + i, 6 + j, c));
            }
    std::vector<float> back = readFloats(sub, ilTile(1, 1, 1, 1), 3, nullptr);
    EXPECT_EQ(back, (std::vector<float>{float(code(6, 7, 0)), float(code(6, 7, 1)),
                                        float(code(6, 7, 2))}));

    // Push: pixels of the window go to the target in the window's channel order.
    TestImage target(8, 8, 3);
    ASSERT_EQ(sub.copyTile(0, 0, 2, 2, &target, 0, 0, nullptr, 0), ilOK);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(target.at(1, 1, c), code(6, 7, c));

    // A caller's list is composed with the inverse: window channel 0 only, from source channel 1.
    TestImage input2(8, 8, 3);
    ilSubImg sub2(&input2, &reversedCfg);
    int pick[] = {1, -1, -1};
    ASSERT_EQ(sub2.copyTile(0, 0, 1, 1, &source, 3, 3, pick, 1), ilOK);
    EXPECT_EQ(input2.at(0, 0, 2), code(3, 3, 1));
}

}  // namespace
