// A page shown as an image: memory pages and solids (with or without memory) read through the
// bound image, writes through a view made writable land in the page, and views share a pool.
#include <gtest/gtest.h>

#include <cstring>

#include "SmartTestSupport.h"
#include "pigment/frame/ilImage.h"
#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/PageImageView.h"

namespace {

TEST(PageImageView, BindsMemoryOrConstantAndReadsThePage) {
    enum Kind { Resident, Solid };
    struct Row {
        Kind kind;
        int pixelSize;
        int needMemory;
        int isMemory;
    };
    const Row rows[] = {{Resident, 4, 0, 1}, {Resident, 1, 1, 1}, {Solid, 4, 0, 0},
                        {Solid, 4, 1, 1},    {Solid, 1, 0, 0},    {Solid, 1, 1, 1}};
    ResetFaultLatchForTest();
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << r.kind << " " << r.pixelSize << " " << r.needMemory);
        SmartImgPage page;
        page.MakeFilled(0x80604020u, r.pixelSize);
        if (r.kind == Resident) writeContent(page, 4);
        PageImageView view;
        ilImage* image = view.Bind(&page, 0, r.needMemory);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(view.IsMemory(), r.isMemory);
        EXPECT_EQ(page.GetState(), r.kind == Resident ? ValidInMem : SolidFill);
        unsigned char pixels[2 * 2 * 4] = {};
        ASSERT_EQ(image->getTile3D(5, 6, 0, 2, 2, 1, pixels), ilOK);
        for (int j = 0; j < 2; ++j)
            for (int i = 0; i < 2; ++i) {
                const std::uint32_t expected =
                    r.kind == Resident ? contentWord(4, (5 + i) + (6 + j) * 128) : 0x80604020u;
                std::uint32_t got = 0;
                std::memcpy(&got, pixels + (j * 2 + i) * r.pixelSize, r.pixelSize);
                const std::uint32_t mask = r.pixelSize == 4 ? 0xffffffffu : 0xffu;
                EXPECT_EQ(got, expected & mask) << i << "," << j;
            }
        view.Release();
        EXPECT_EQ(view.GetImage(), nullptr);
        page.UnRef(1);
    }
    EXPECT_EQ(FaultLatch, 0u);
}

TEST(PageImageView, WritableViewsWriteThePageAndShareThePool) {
    ResetFaultLatchForTest();
    SmartImgPage solid(0x11223344u, 4), shared;
    shared = SmartImgPage(solid);  // a second count on the same body
    PageImageView view;
    ilImage* image = view.Bind(&solid, 0, 0);
    ASSERT_EQ(view.IsMemory(), 0);
    image = view.MakeWritable();
    ASSERT_EQ(view.IsMemory(), 1);
    EXPECT_NE(solid.GetPageData(), shared.GetPageData());  // unshared before the write
    std::uint32_t value = 0xa1b2c3d4u;
    ASSERT_EQ(image->setTile3D(7, 8, 0, 1, 1, 1, &value), ilOK);
    EXPECT_EQ(solid.GetPixel(7, 8), 0xa1b2c3d4u);
    EXPECT_EQ(solid.GetPixel(8, 8), 0x11223344u);
    EXPECT_EQ(shared.GetPixel(7, 8), 0x11223344u);
    view.Release();

    // The memory image just released is the one the next view of that pixel size gets.
    PageImageView again;
    EXPECT_EQ(again.Bind(&solid, 0, 0), image);
    again.Release();
    EXPECT_EQ(again.Bind(nullptr, 0, 0), nullptr);
    solid.UnRef(1);
    shared.UnRef(1);
    EXPECT_EQ(FaultLatch, 0u);
}

}  // namespace
