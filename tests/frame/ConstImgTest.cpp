// Constant images: what they report, reads in any layout, and the refusals and fills of their
// write and copy operations. Random agreement of the two read paths is in MemoryImgRandomTest.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "pigment/frame/ilConstImg.h"
#include "pigment/frame/ilMemoryImg.h"

TEST(ConstImg, AttributesFollowTheFill) {
    ilConstImg zero;
    EXPECT_EQ(zero.getSize(), ilSize(1, 1, 1, 1));
    EXPECT_EQ(zero.getDataType(), ilUChar);
    EXPECT_EQ(zero.getOrder(), ilInterleaved);
    EXPECT_EQ(zero.getFillValue(0), 0.0);
    EXPECT_STREQ(zero.getDefaultDescription(), "Constant");

    const float rgba[4] = {0.25f, 0.5f, 0.75f, 1.0f};
    ilConstImg paint(ilPixel(ilFloat, 4, rgba));
    EXPECT_EQ(paint.getNumChans(), 4);
    EXPECT_EQ(paint.getDataType(), ilFloat);
    const unsigned short grey[3] = {1, 2, 3};
    EXPECT_EQ(paint.setFill(ilPixel(ilUShort, 3, grey)), ilOK);
    EXPECT_EQ(paint.getNumChans(), 3);
    EXPECT_EQ(paint.getDataType(), ilUShort);
    EXPECT_EQ(paint.setOrder(ilSeparate), ilUnsupported);
}

TEST(ConstImg, ReadsGiveTheFillInAnyLayout) {
    const unsigned char rgba[4] = {10, 20, 30, 40};
    ilConstImg img(ilPixel(ilUChar, 4, rgba));
    int bgr[3] = {2, 1, 0};
    const struct {
        ilConfig cfg;
        std::vector<double> first;  // the first pixel's elements in buffer order
    } cases[] = {
        {ilConfig(ilUChar), {10, 20, 30, 40}},
        {ilConfig(ilFloat, ilInterleaved, 4), {10, 20, 30, 40}},
        {ilConfig(ilUShort, ilInterleaved, 2, nullptr, 2), {30, 40}},
        {ilConfig(ilUChar, ilInterleaved, 3, bgr), {30, 20, 10}},
        {ilConfig(ilDouble, ilInterleaved, 6), {10, 20, 30, 40, 40, 40}},
        {ilConfig(ilBit, ilInterleaved, 4), {1, 1, 1, 1}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.cfg.type << " nc " << c.cfg.nChans);
        ilConfig cfg = c.cfg;
        double out[3 * 2 * 6];
        std::memset(out, 0, sizeof out);
        EXPECT_EQ(img.getTile3D(-7, 1000, 0, 3, 2, 1, out, &cfg), ilOK);
        ilPixel got(cfg.type, int(c.first.size()), out);
        for (size_t i = 0; i < c.first.size(); ++i)
            EXPECT_EQ(got[int(i)], c.first[i]) << "element " << i;
    }
    // Whole rows of the all-zero and all-one words take the byte fill.
    for (unsigned char v : {0x00, 0xff}) {
        const unsigned char px[4] = {v, v, v, v};
        ilConstImg plain(ilPixel(ilUChar, 4, px));
        std::vector<unsigned char> out(20 * 3 * 4 + 8, 0x5a);
        EXPECT_EQ(plain.getTile3D(0, 0, 0, 20, 3, 1, out.data()), ilOK);
        EXPECT_EQ(out[239], v);
        EXPECT_EQ(out[240], 0x5a);
    }
    EXPECT_EQ(img.getTile3D(0, 0, 0, 4, 4, 1, nullptr), ilOK);
}

TEST(ConstImg, WritesAreRefusedAndPushesFill) {
    const unsigned char rgba[4] = {10, 20, 30, 40};
    ilConstImg img(ilPixel(ilUChar, 4, rgba));
    ilMemoryImg canvas(ilSize(4, 4, 1, 4), ilUChar, ilInterleaved);
    std::vector<unsigned char> before(64);
    for (int i = 0; i < 64; ++i)
        before[size_t(i)] = static_cast<unsigned char>(i);
    std::memcpy(canvas.getDataPtr(), before.data(), 64);
    auto pixelAt = [&](int x, int y) {
        return static_cast<unsigned char*>(canvas.getDataPtr()) + (y * 4 + x) * 4;
    };

    EXPECT_EQ(img.setTile3D(0, 0, 0, 1, 1, 1, before.data()), ilUnsupported);
    EXPECT_EQ(img.copyTileCfg(0, 0, 0, 2, 2, 1, &canvas, 0, 0, 0, nullptr, 1), ilUnsupported);
    EXPECT_EQ(std::memcmp(canvas.getDataPtr(), before.data(), 64), 0) << "a pull moves nothing";

    // A push fills the tile at the destination, channels chosen by the caller's list.
    EXPECT_EQ(img.copyTile(0, 0, 2, 2, &canvas, 1, 2, nullptr, 0), ilOK);
    EXPECT_EQ(std::memcmp(pixelAt(2, 3), rgba, 4), 0);
    EXPECT_EQ(std::memcmp(pixelAt(0, 0), before.data(), 4), 0);
    int swap[4] = {2, 3, 0, 1};
    ilConfig cfg(ilUChar, ilInterleaved, 4, swap);
    EXPECT_EQ(img.copyTileCfg(0, 0, 0, 1, 1, 1, &canvas, 0, 0, 0, &cfg, 0), ilOK);
    const unsigned char swapped[4] = {30, 40, 10, 20};
    EXPECT_EQ(std::memcmp(pixelAt(0, 0), swapped, 4), 0);
    EXPECT_EQ(std::memcmp(pixelAt(1, 0), before.data() + 4, 4), 0);

    // A memory image pulls from a constant one through the constant's byte path.
    EXPECT_EQ(canvas.copyTile(2, 2, 2, 2, &img, 100, -100), ilOK);
    EXPECT_EQ(std::memcmp(pixelAt(3, 3), rgba, 4), 0);
    EXPECT_EQ(std::memcmp(pixelAt(1, 1), before.data() + 20, 4), 0);
}
