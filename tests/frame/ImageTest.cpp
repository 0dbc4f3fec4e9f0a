// The image base class: attribute setters and getters, derived attributes after reset, the tile
// forwarders, the copy through an intermediate buffer, clipping and the generic page path.
#include <gtest/gtest.h>

#include "pigment/frame/ilLockedTile.h"
#include "pigment/frame/ilPage.h"
#include "support/TestImage.h"

TEST(Image, SettersMarkOnlyOnChangeAndRefuseDisallowedBits) {
    TestImage a(4, 4, 3);
    a.getXsize();
    EXPECT_EQ(a.setXsize(4), ilOK);
    EXPECT_EQ(a.alteredMask(), 0u) << "an equal value does not alter";
    EXPECT_NE(a.chosenMask() & ilAttrXsize, 0u) << "but it counts as chosen";
    EXPECT_EQ(a.setYsize(6), ilOK);
    EXPECT_NE(a.alteredMask() & ilAttrYsize, 0u);
    EXPECT_EQ(a.getYsize(), 6);

    EXPECT_EQ(a.setMinValue(-2.0, -1), ilOK);
    EXPECT_EQ(a.getMinPixel().nc(), 3);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(a.getMinValue(c), -2.0);
    EXPECT_EQ(a.setMaxValue(7.0, -1), ilOK);
    EXPECT_EQ(a.setMaxValue(9.0, 1), ilOK);
    EXPECT_EQ(a.getMaxValue(0), 7.0);
    EXPECT_EQ(a.getMaxValue(-1), 9.0) << "-1 reads the largest channel";

    a.clearAllowedForTest(ilAttrXsize);
    EXPECT_EQ(a.setXsize(10), ilUnsupported);
    EXPECT_EQ(a.getXsize(), 4);
    EXPECT_EQ(a.setAltered(ilAttrXsize), ilUnsupported);
    EXPECT_EQ(a.setSize(ilSize(9, 9, 1, 3)), ilUnsupported);
}

TEST(Image, DerivedAttributesAfterReset) {
    struct Case {
        int chans;
        ilColorModel model;
    } cases[] = {
        {1, ilMinBlack}, {3, ilRGB}, {4, ilRGBA}, {2, ilMultiSpectral}, {5, ilMultiSpectral}};
    for (const Case& c : cases) {
        TestImage a(8, 8, c.chans, ilUChar);
        EXPECT_EQ(a.getColorModel(), c.model) << c.chans;
        EXPECT_EQ(a.getMinValue(0), -128.0) << "the unsigned byte minimum is -128";
        EXPECT_EQ(a.getMaxValue(0), 255.0);
        EXPECT_EQ(a.getFill().nc(), c.chans);
        EXPECT_EQ(a.getPageSizeVal(), 64 * c.chans);
    }
    // A chosen model that does not fit the chosen channel count is an error ...
    TestImage bad(2, 2, 3);
    bad.setNumChans(3);
    bad.setColorModel(ilCMYK);
    EXPECT_EQ(bad.getStatus(), ilBadColorModel);
    // ... while an unchosen count follows the model.
    TestImage follows(2, 2, 1);
    follows.setColorModel(ilCMYK);
    EXPECT_EQ(follows.getNumChans(), 4);
}

TEST(Image, FillFollowsTypeAndChannels) {
    TestImage a(2, 2, 2, ilShort);
    ilPixel f(ilShort, 1);
    f.setElem(7, 0);
    a.getXsize();
    a.setFillForTest(f);  // a fill of the image's type but too few channels
    a.setNumChans(3);
    EXPECT_EQ(a.getFill().nc(), 3);
    EXPECT_EQ(a.getFillValue(2), 7.0) << "missing channels repeat the last value";
    a.setDataType(ilFloat);
    EXPECT_EQ(a.getFill().type(), ilFloat);
    EXPECT_EQ(a.getFillValue(1), 7.0) << "a fill of another type is converted";

    ilPixel chosen(ilUChar, 1);
    chosen.setElem(9, 0);
    EXPECT_EQ(a.setFill(chosen), ilOK);
    EXPECT_EQ(a.getFill().type(), ilUChar) << "a chosen fill is left alone";
    EXPECT_EQ(a.setFill(chosen), ilOK);
    EXPECT_EQ(a.alteredMask(), 0u);
}

TEST(Image, TileForwardersReachTheVirtualInterface) {
    TestImage a(4, 3, 1);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            a.at(x, y, 0) = 10 * y + x;
    ilPixel f(ilFloat, 1);
    f.setElem(-1, 0);
    a.setFill(f);
    float row[6];
    EXPECT_EQ(a.getTile(2, 1, 3, 2, row), ilOK);
    EXPECT_EQ(std::vector<float>(row, row + 6), (std::vector<float>{12, 13, -1, 22, 23, -1}))
        << "pixels outside the image read as the fill";
    float px = 0;
    EXPECT_EQ(a.getTile3Dv2(ilTile(3, 2, 1, 1), &px), ilOK);
    EXPECT_EQ(px, 23);
    float in[2] = {5, 6};
    EXPECT_EQ(a.setTile(0, 0, 2, 1, in), ilOK);
    ilPixel p;
    EXPECT_EQ(a.getPixel(1, 0, p), ilOK);
    EXPECT_EQ(p.nc(), 1);
    EXPECT_EQ(p.getElem(0), 6.0);
    EXPECT_EQ(a.fillTile(0, 0, 1, 1, nullptr), ilNotImplemented);
    EXPECT_EQ(a.seekTile(0, 0, 1, 1), ilUnsupported);
    a.failReset = true;
    a.setXsize(4 + 1);
    EXPECT_EQ(a.getTile(0, 0, 1, 1, row), ilBadInput);
}

TEST(Image, CopyTileCfgMovesThroughABufferInTheTargetsLayout) {
    TestImage src(3, 2, 3, ilFloat);
    TestImage dst(3, 2, 1, ilUChar);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 3; ++c)
                src.at(x, y, c) = 100 * c + 10 * y + x;
    int pickBlue[] = {2};
    EXPECT_EQ(dst.copyTile(0, 0, 3, 2, &src, 0, 0, pickBlue, 1), ilOK);
    EXPECT_EQ(dst.at(2, 1, 0), 212.0);
    TestImage back(3, 2, 3, ilFloat);
    EXPECT_EQ(dst.copyTile(0, 0, 3, 2, &back, 0, 0, nullptr, 0), ilOK);  // push
    EXPECT_EQ(back.at(1, 1, 0), 211.0);
}

TEST(Image, ClipTileTable) {
    TestImage a(10, 8, 1);
    a.setPageBorder(2, 2, 0);
    struct Case {
        ilTile in;
        int border;
        ilTile out;
        ilStatus status;
    } cases[] = {
        {ilTile(1, 1, 3, 3), 0, ilTile(1, 1, 3, 3), ilOK},
        {ilTile(-5, 2, 10, 2), 0, ilTile(0, 2, 5, 2), ilTileClipped},
        {ilTile(8, 6, 5, 5), 0, ilTile(8, 6, 2, 2), ilTileClipped},
        {ilTile(-5, -5, 2, 2), 0, ilTile(0, 0, 0, 0), ilTileClipped},
        {ilTile(-5, 0, 10, 2), 1, ilTile(-2, 0, 7, 2), ilTileClipped},
    };
    for (const Case& c : cases) {
        ilTile t = c.in;
        EXPECT_EQ(a.clipTile(t, c.border), c.status);
        EXPECT_EQ(t, c.out) << t.x << "," << t.y << " " << t.nx << "x" << t.ny;
    }
}

TEST(Image, SpaceMappingUsesTheImageSize) {
    TestImage a(50, 100, 1);
    ilTile t(3, 10, 4, 5);
    a.mapTile(t, ilUpperLeft);  // upper-left to the image's own lower-left
    EXPECT_EQ(t.y, 85);
    EXPECT_EQ(a.mapSpace(0, 1, 0), ilUpperLeft);
    EXPECT_EQ(a.isMirrorSpace(ilUpperLeft), 1);
    a.setCoordSpace(ilLeftLower);
    EXPECT_EQ(a.getWidth(), 100);
    EXPECT_EQ(a.getHeight(), 50);
}

TEST(Image, GenericPagePathCopiesAndLockedTilesRelease) {
    TestImage a(5, 4, 1);
    a.setPageSize(4, 4, 1, 1);
    a.at(4, 0, 0) = 3;
    ilStatus s;
    ilPage* page = a.lockPage(4, 0, 0, 0, s, ilLockRead);
    ASSERT_EQ(s, ilOK);
    ASSERT_NE(page, nullptr);
    EXPECT_TRUE(page->matches(4, 0, 0, 0));
    EXPECT_EQ(static_cast<float*>(page->getData())[0], 3.0f);
    a.unlockPage(page);
    EXPECT_EQ(a.lockPage(9, 0, 0, 0, s, ilLockRead), nullptr);
    EXPECT_EQ(s, ilOK) << "a page outside the image is no error";

    ilLockedTile* locked = a.lockTile(0, 0, 5, 4);
    ASSERT_NE(locked, nullptr);
    EXPECT_EQ(locked->status, ilOK);
    EXPECT_EQ(locked->count, 2);
    delete locked;

    a.failReset = true;
    a.setXsize(6);
    EXPECT_EQ(a.lockTile(0, 0, 5, 4), nullptr);
}
