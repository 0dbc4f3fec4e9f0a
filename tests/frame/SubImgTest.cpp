// Sub-images: reading and writing through a window, channel selection, the fill outside the
// window, derived attributes, inverse channel maps for copies, and the failures a caller sees.
#include <gtest/gtest.h>

#include <vector>

#include "pigment/frame/ilMemoryImg.h"
#include "pigment/frame/ilSubImg.h"
#include "support/TestImage.h"

namespace {

using Floats = std::vector<float>;

// Input pixel values tell where they came from: 1000 x + 10 y + c.
float code(int x, int y, int c) {
    return 1000.0f * x + 10.0f * y + c;
}

void paint(TestImage& image) {
    const ilSize s = image.getSize();
    for (int i = 0; i < s.x * s.y * s.c; ++i)
        image.at(i / s.c % s.x, i / s.c / s.x, i % s.c) =
            code(i / s.c % s.x, i / s.c / s.x, i % s.c);
}

// Reads tile as floats through cfg (or the image's own layout).
Floats readFloats(ilImage& image, const ilTile& tile, int nc, ilConfig* cfg = nullptr) {
    Floats buffer(size_t(tile.nx) * tile.ny * nc, -1.0f);
    EXPECT_EQ(image.getTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, buffer.data(), cfg), ilOK);
    return buffer;
}

TEST(SubImg, ReadsThroughTheWindow) {
    int reversed[] = {2, 1, 0}, first[] = {0}, two[] = {2};
    ilConfig rev(ilFloat, ilInterleaved, 3, reversed), first0(ilFloat, ilInterleaved, 1, first);
    ilConfig off1(ilFloat, ilInterleaved, 2, nullptr, 1), two2(ilFloat, ilInterleaved, 1, two);
    const ilTile w(10, 20, 5, 5), all(0, 0, 40, 40), mid(5, 5, 9, 9);
    const struct {
        const char* what;
        ilTile window;
        ilConfig *subCfg, *readCfg;
        int x, y;             // the pixel read, in the window
        int inputX, inputY;   // where it lives in the input
        std::vector<int> cs;  // the input channels the buffer receives
    } rows[] = {
        // clang-format off
        {"start 10, 20: pixel 0, 0 is 10, 20", w, nullptr, nullptr, 0, 0, 10, 20, {0, 1, 2}},
        {"inside the window", w, nullptr, nullptr, 4, 4, 14, 24, {0, 1, 2}},
        {"list 2, 1, 0 and a cfg list 0", w, &rev, &first0, 1, 1, 11, 21, {2}},
        {"list 2, 1, 0 reverses", w, &rev, nullptr, 0, 0, 10, 20, {2, 1, 0}},
        {"offset 1 starts at channel 1", all, &off1, nullptr, 7, 8, 7, 8, {1, 2}},
        {"a caller's list counts within the window", mid, &off1, &first0, 1, 2, 6, 7, {1}},
        {"a one-channel list", all, &two2, nullptr, 39, 39, 39, 39, {2}},
        // clang-format on
    };
    TestImage input(40, 40, 3);
    paint(input);
    for (const auto& r : rows) {
        ilSubImg sub(&input, r.window.x, r.window.y, r.window.nx, r.window.ny, r.subCfg);
        Floats want;
        for (int c : r.cs)
            want.push_back(code(r.inputX, r.inputY, c));
        EXPECT_EQ(readFloats(sub, ilTile(r.x, r.y, 1, 1), int(r.cs.size()), r.readCfg), want)
            << r.what;
    }
}

// A test image that understands a config's coordinate space, for single-pixel reads.
class SpaceImage : public TestImage {
  public:
    using TestImage::TestImage;
    ilStatus getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg) override {
        if (!cfg || !cfg->coordSpace)
            return TestImage::getSubTile3D(x, y, z, nx, ny, nz, data, bx, by, bz, bnx, bny, bnz,
                                           cfg);
        EXPECT_EQ(nx * ny * nz, 1) << "only single pixels are mapped here";
        ilTile t(x, y, z, 1, 1, 1);
        mapTile(t, cfg->coordSpace);
        ilConfig own = *cfg;
        own.coordSpace = ilSpaceDefault;
        return TestImage::getSubTile3D(t.x, t.y, t.z, 1, 1, 1, data, t.x, t.y, t.z, 1, 1, 1, &own);
    }
};

TEST(SubImg, ReadsInAnotherCoordinateSpace) {
    const struct {
        ilCoordSpace space;
        int x, y;            // in the caller's space, within a window of 5 by 8 at 10, 20
        int inputX, inputY;  // where the pixel lives in the input (lower-left)
    } rows[] = {
        {ilLowerLeft, 1, 2, 11, 22},  {ilUpperLeft, 0, 0, 10, 27},  {ilUpperLeft, 1, 7, 11, 20},
        {ilUpperRight, 0, 0, 14, 27}, {ilLowerRight, 4, 0, 10, 20}, {ilLeftUpper, 1, 0, 10, 26},
        {ilLeftUpper, 7, 0, 10, 20},  {ilLeftLower, 7, 4, 14, 27},
    };
    SpaceImage input(40, 40, 3);
    paint(input);
    ilSubImg sub(&input, 10, 20, 5, 8);
    for (const auto& r : rows) {
        ilConfig cfg(ilFloat, ilInterleaved, 3, nullptr, 0, r.space);
        const Floats got = readFloats(sub, ilTile(r.x, r.y, 1, 1), 3, &cfg);
        EXPECT_EQ(got, Floats({code(r.inputX, r.inputY, 0), code(r.inputX, r.inputY, 1),
                               code(r.inputX, r.inputY, 2)}))
            << "space " << r.space << " at " << r.x << "," << r.y;
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
    const Floats got = readFloats(sub, ilTile(3, 3, 4, 3), 3);
    for (int i = 0; i < 4 * 3 * 3; ++i) {
        const int x = 3 + i / 3 % 4, y = 3 + i / 12, c = i % 3;
        EXPECT_EQ(got[size_t(i)], x < 5 && y < 5 ? code(10 + x, 20 + y, c) : -7.0f - c) << i;
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
    std::vector<unsigned char> pixels(6 * 4 * 3), got(3 * 2 * 3, 0);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<unsigned char>(i);
    ASSERT_EQ(input.setTile(0, 0, 6, 4, pixels.data()), ilOK);
    int reversed[] = {2, 1, 0};
    ilConfig cfg(ilUChar, ilInterleaved, 3, reversed);
    ilSubImg sub(&input, 2, 1, 3, 2, &cfg);
    const unsigned char fill[3] = {200, 201, 202};
    ASSERT_EQ(sub.setFill(ilPixel(ilUChar, 3, fill)), ilOK);
    ASSERT_EQ(sub.getTile(1, 1, 3, 2, got.data()), ilOK);
    for (int i = 0; i < 3 * 2 * 3; ++i) {
        const int x = 1 + i / 3 % 3, y = 1 + i / 9, c = i % 3;
        EXPECT_EQ(got[size_t(i)],
                  x < 3 && y < 2 ? pixels[((1 + y) * 6 + 2 + x) * 3 + 2 - c] : fill[c])
            << i;
    }
}

TEST(SubImg, WritesGoThroughToTheInputAndStopAtTheEdge) {
    TestImage input(40, 40, 3);
    ilSubImg sub(&input, 10, 20, 5, 5);
    Floats row = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    ASSERT_EQ(sub.setTile(3, 4, 3, 1, row.data()), ilOK);
    EXPECT_EQ(input.at(13, 24, 0), 1);
    EXPECT_EQ(input.at(14, 24, 1), 5);
    EXPECT_EQ(input.at(15, 24, 0), 0) << "the third pixel lies outside the window";

    int reversed[] = {2, 1, 0};
    ilConfig reversedCfg(ilFloat, ilInterleaved, 3, reversed);
    ilSubImg swapped(&input, &reversedCfg);
    Floats pixel = {10, 20, 30};
    ASSERT_EQ(swapped.setTile(0, 0, 1, 1, pixel.data()), ilOK);
    EXPECT_EQ(input.at(0, 0, 0), 30);
    EXPECT_EQ(input.at(0, 0, 2), 10);
}

TEST(SubImg, AttributesFollowTheInputUnlessChosen) {
    TestImage input(40, 30, 3, ilFloat);
    ilSubImg whole(&input), window(&input, 2, 3, 5, 6);
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
    EXPECT_EQ(whole.derivesFrom(&ilLink::classList), 3);
}

TEST(SubImg, StartAndConfigCanChange) {
    TestImage input(40, 40, 3);
    paint(input);
    ilSubImg sub(&input, 10, 20, 5, 5);
    ASSERT_EQ(sub.setStart(1, 2, 0, 1), ilOK);
    EXPECT_EQ(readFloats(sub, ilTile(0, 0, 1, 1), 3)[0], code(1, 2, 1));
    ASSERT_EQ(sub.setStart(3, 4, 0), ilOK);
    int x, y, z, c;
    sub.getStart(x, y, z, c);
    EXPECT_EQ(c, 0) << "the three-argument form starts at channel 0";
    EXPECT_EQ(readFloats(sub, ilTile(0, 0, 1, 1), 3)[0], code(3, 4, 0));
    // setConfig keeps its own copy of the list.
    std::vector<int> list = {1, 0, 2};
    ilConfig cfg(ilFloat, ilInterleaved, 3, list.data());
    ASSERT_EQ(sub.setConfig(&cfg), ilOK);
    list.assign(3, 0);
    EXPECT_EQ(readFloats(sub, ilTile(0, 0, 1, 1), 3),
              Floats({code(3, 4, 1), code(3, 4, 0), code(3, 4, 2)}));
}

TEST(SubImg, Failures) {
    float buffer[3] = {0, 0, 0};
    ilSubImg orphan(nullptr, 0, 0, 4, 4);
    TestImage other(4, 4, 3);
    EXPECT_EQ(orphan.getTile(0, 0, 1, 1, buffer), ilBadInput);
    EXPECT_EQ(orphan.setTile(0, 0, 1, 1, buffer), ilBadInput);
    EXPECT_EQ(orphan.copyTile(0, 0, 1, 1, &other, 0, 0), ilBadInput);
    EXPECT_EQ(orphan.hasPages(), 0);

    TestImage broken(4, 4, 3);
    broken.failReset = true;
    ilSubImg onBroken(&broken);
    EXPECT_EQ(onBroken.getTile(0, 0, 1, 1, buffer), ilBadInput);

    TestImage input(4, 4, 3);
    int duplicate[] = {0, 0, 2};
    ilConfig dup(ilFloat, ilInterleaved, 3, duplicate);
    ilSubImg sub(&input, &dup);
    EXPECT_EQ(sub.copyTile(0, 0, 2, 2, &other, 0, 0), ilConfigNotInvertible);
}

// A copy through a window stops at its edge: a pull changes nothing of the input beyond it, and a
// push hands over the window's fill there.
TEST(SubImg, CopiesStopAtTheWindowsEdge) {
    TestImage input(32, 32, 3), source(8, 8, 3);
    ilMemoryImg target(ilSize(8, 8, 1, 3), ilFloat, ilInterleaved);
    paint(source);
    paint(input);
    ilSubImg window(&input, 4, 4, 8, 8);
    ilPixel fill(ilFloat, 3);
    for (int c = 0; c < 3; ++c)
        fill.setElem(-1.0 - c, c);
    ASSERT_EQ(window.setFill(fill), ilOK);
    ASSERT_EQ(window.copyTile(6, 6, 4, 4, &source, 1, 1), ilOK);
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i) {
            const bool inside = i < 2 && j < 2;
            EXPECT_EQ(input.at(10 + i, 10 + j, 1),
                      inside ? code(1 + i, 1 + j, 1) : code(10 + i, 10 + j, 1))
                << i << "," << j;
        }
    ASSERT_EQ(window.copyTile(6, 6, 4, 4, &target, 2, 2, nullptr, 0), ilOK);
    const Floats pushed = readFloats(target, ilTile(2, 2, 4, 4), 3);
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i) {
            const bool inside = i < 2 && j < 2;
            EXPECT_EQ(pushed[size_t((j * 4 + i) * 3 + 2)], inside ? code(1 + i, 1 + j, 2) : -3.0f)
                << i << "," << j;
        }
    // Wholly outside: a pull moves nothing at all.
    ASSERT_EQ(window.copyTile(20, 20, 4, 4, &source, 0, 0), ilOK);
    EXPECT_EQ(input.at(24, 24, 0), code(24, 24, 0));
}

TEST(SubImg, CopiesThroughTheInverseChannelMap) {
    TestImage input(8, 8, 3), source(8, 8, 3), target(8, 8, 3), input2(8, 8, 3);
    paint(source);
    int reversed[] = {2, 1, 0};
    ilConfig reversedCfg(ilFloat, ilInterleaved, 3, reversed);
    ilSubImg sub(&input, 2, 2, 4, 4, &reversedCfg);
    // Pull: the window's channel i receives the source's channel i.
    ASSERT_EQ(sub.copyTile(0, 0, 2, 2, &source, 5, 6), ilOK);
    for (int i = 0; i < 2 * 2 * 3; ++i) {
        const int x = i / 3 % 2, y = i / 6, c = i % 3;
        EXPECT_EQ(input.at(2 + x, 2 + y, 2 - c), code(5 + x, 6 + y, c)) << i;
    }
    EXPECT_EQ(readFloats(sub, ilTile(1, 1, 1, 1), 3),
              Floats({code(6, 7, 0), code(6, 7, 1), code(6, 7, 2)}));
    // Push: pixels of the window go to the target in the window's channel order.
    ASSERT_EQ(sub.copyTile(0, 0, 2, 2, &target, 0, 0, nullptr, 0), ilOK);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(target.at(1, 1, c), code(6, 7, c));
    // A caller's list is composed with the inverse: window channel 0 only, from source channel 1.
    ilSubImg sub2(&input2, &reversedCfg);
    int pick[] = {1, -1, -1};
    ASSERT_EQ(sub2.copyTile(0, 0, 1, 1, &source, 3, 3, pick, 1), ilOK);
    EXPECT_EQ(input2.at(0, 0, 2), code(3, 3, 1));
}

// A window over input channels 1 and 2 of a four-channel image: whatever channels a caller names,
// by list or by offset, count from the window's first and never reach channel 0 or 3.
TEST(SubImg, CallerChannelsCountWithinTheWindow) {
    using Bytes = std::vector<unsigned char>;
    int zero[] = {0}, one[] = {1}, past[] = {2}, both[] = {1, 0};
    const struct {
        const char* what;
        ilConfig cfg;
        Bytes read;     // from input pixel (c + 10 in channel c)
        Bytes written;  // the input pixel after writing 90 + buffer channel
    } rows[] = {
        {"list 0", ilConfig(ilUChar, ilInterleaved, 1, zero), {11}, {10, 90, 12, 13}},
        {"list 1", ilConfig(ilUChar, ilInterleaved, 1, one), {12}, {10, 11, 90, 13}},
        {"list past the window", ilConfig(ilUChar, ilInterleaved, 1, past), {0}, {10, 11, 12, 13}},
        {"list 1, 0", ilConfig(ilUChar, ilInterleaved, 2, both), {12, 11}, {10, 91, 90, 13}},
        {"offset 1", ilConfig(ilUChar, ilInterleaved, 1, nullptr, 1), {12}, {10, 11, 90, 13}},
        {"offset 1, two channels",
         ilConfig(ilUChar, ilInterleaved, 2, nullptr, 1),
         {12, 0},
         {10, 11, 90, 13}},
    };
    const unsigned char start[4] = {10, 11, 12, 13};
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        ilMemoryImg input(ilSize(2, 2, 1, 4), ilUChar, ilInterleaved);
        ASSERT_EQ(input.fillTile(0, 0, 2, 2, start), ilOK);
        ilSubImg window(&input, 0, 0, 0, 1, 2, 2, 1, 2);
        ilConfig cfg = r.cfg;
        Bytes got(r.read.size(), 0);
        ASSERT_EQ(window.getTile(1, 1, 1, 1, got.data(), &cfg), ilOK);
        EXPECT_EQ(got, r.read);
        Bytes pixel = {90, 91};
        ASSERT_EQ(window.setTile(1, 1, 1, 1, pixel.data(), &cfg), ilOK);
        Bytes after(4);
        input.getTile(1, 1, 1, 1, after.data());
        EXPECT_EQ(after, r.written);
    }
    // Copies take the window's channels too: window channel 0 is input channel 1.
    ilMemoryImg input(ilSize(2, 2, 1, 4), ilUChar, ilInterleaved),
        source(ilSize(2, 2, 1, 2), ilUChar, ilInterleaved);
    ASSERT_EQ(input.fillTile(0, 0, 2, 2, start), ilOK);
    const unsigned char pair[2] = {50, 60};
    ASSERT_EQ(source.fillTile(0, 0, 2, 2, pair), ilOK);
    ilSubImg window(&input, 0, 0, 0, 1, 2, 2, 1, 2);
    ASSERT_EQ(window.copyTile(0, 0, 2, 2, &source, 0, 0), ilOK);
    Bytes after(4);
    input.getTile(0, 0, 1, 1, after.data());
    EXPECT_EQ(after, Bytes({10, 50, 60, 13}));
}

}  // namespace
