// The transfer engine's named cases: the conversion rule value by value, channel matching, one
// channel layouts, exclusions, mirrors, solid sources, and which route each move takes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "pigment/frame/ilData.h"
#include "pigment/frame/ilElem_p.h"
#include "pigment/frame/ilTileTransfer_p.h"

namespace {

using Paths = ilTileTransfer::PathCounts;

std::vector<unsigned char> buffer(ilType t, long n) {
    return std::vector<unsigned char>(size_t(ilDataSize(t, n)));
}

// A row long enough to pass through the vectorised blocks and the scalar tail.
constexpr int kRow = 37;

TEST(TransferEdge, ConversionRuleValueByValue) {
    struct Row {
        ilType from;
        double value;
        ilType to;
        double expected;
    };
    const Row rows[] = {
        {ilFloat, 300.7, ilUChar, 44},                   // truncate, keep the low bits
        {ilFloat, -1.5, ilUChar, 255},                   // -1 wraps
        {ilFloat, 0.5, ilUChar, 0},                      // no rounding
        {ilUChar, 255, ilFloat, 255},                    // no scaling
        {ilUShort, 256, ilBit, 0},                       // only the low 8 bits count
        {ilUShort, 257, ilBit, 1},                       //
        {ilFloat, 256.0, ilBit, 0},                      //
        {ilFloat, 0.75, ilBit, 0},                       // truncated to 0
        {ilDouble, -1.0, ilBit, 1},                      //
        {ilBit, 1, ilUChar, 1},                          // a bit reads as 0 or 1
        {ilBit, 1, ilDouble, 1},                         //
        {ilChar, -1, ilUShort, 65535},                   // widening follows the source's sign
        {ilChar, -1, ilLong, -1},                        //
        {ilUChar, 200, ilShort, 200},                    //
        {ilShort, -2, ilUChar, 254},                     // narrowing keeps the low bits
        {ilULong, 4294967295.0, ilFloat, 4294967296.0},  // unsigned, not -1
        {ilULong, 4294967295.0, ilLong, -1},             //
        {ilFloat, 3e9, ilUChar, 255},                    // saturates at 2^31 - 1 first
        {ilFloat, -3e9, ilUShort, 0},                    // saturates at -2^31 first
        {ilFloat, 3e9, ilULong, 3000000000.0},           // 32-bit targets go through 64 bits
        {ilDouble, -1.5, ilULong, 4294967295.0},         //
        {ilDouble, 1e30, ilLong, -1},                    // 2^63 - 1, low 32 bits
        {ilFloat, NAN, ilUShort, 0},                     //
        {ilFloat, NAN, ilLong, 0},                       //
        {ilFloat, INFINITY, ilShort, -1},                // 2^31 - 1, low 16 bits
        {ilDouble, 65537.9, ilUShort, 1},                //
        {ilDouble, 0.1, ilFloat, 0.1f},                  //
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message()
                     << "from " << r.from << " value " << r.value << " to " << r.to);
        auto src = buffer(r.from, kRow);
        auto dst = buffer(r.to, kRow);
        for (int i = 0; i < kRow; ++i)
            ilElem::set(r.from, src.data(), i, r.value);
        if (r.from == ilFloat)  // ilElem rounds through double; store the float itself
            for (int i = 0; i < kRow; ++i)
                ilElem::store<float>(src.data(), i, static_cast<float>(r.value));
        ilTileBlock d(dst.data(), 0, 0, 0, kRow, 1, 1, r.to, ilInterleaved, 1);
        ilTileBlock s(src.data(), 0, 0, 0, kRow, 1, 1, r.from, ilInterleaved, 1);
        ilTileTransfer t(d, s);
        t.run();
        for (int i = 0; i < kRow; ++i)
            ASSERT_EQ(ilElem::get(r.to, dst.data(), i), r.expected);
        // A solid source converts by the same rule.
        std::fill(dst.begin(), dst.end(), 0);
        ilPixel px(r.from, 1, src.data());
        ilTileBlock solid(px, nullptr, 0, nullptr);
        ilTransfer(d, solid);
        for (int i = 0; i < kRow; ++i)
            ASSERT_EQ(ilElem::get(r.to, dst.data(), i), r.expected);
    }
}

// 2 x 2 RGB(A) pictures for the channel-matching cases: pixel p, channel c holds 10 * p + c.
std::vector<uint8_t> picture(int nc) {
    std::vector<uint8_t> v(size_t(4 * nc));
    for (int p = 0; p < 4; ++p)
        for (int c = 0; c < nc; ++c)
            v[size_t(p * nc + c)] = uint8_t(10 * p + c);
    return v;
}

TEST(TransferEdge, ChannelsMeetByLogicalNumber) {
    const int bgr[] = {2, 1, 0};
    const int skipFirst[] = {-1, 1, 2};
    struct Row {
        const char* name;
        int destChans, sourceChans;
        const int* destList;
        const int* sourceList;
        int destOffset, sourceOffset;
        std::vector<int>
            expectedChannel;  // source channel per dest channel, -1 keeps the old value
        bool fast;
    };
    const Row rows[] = {
        {"4 from 3 keeps channel 3", 4, 3, nullptr, nullptr, 0, 0, {0, 1, 2, -1}, false},
        {"dest list 2,1,0 reads BGR", 3, 3, bgr, nullptr, 0, 0, {2, 1, 0}, false},
        {"source list 2,1,0 sends c to the entry c", 3, 3, nullptr, bgr, 0, 0, {2, 1, 0}, false},
        {"same lists copy straight", 3, 3, bgr, bgr, 0, 0, {0, 1, 2}, true},
        {"dest offset 1 starts at channel 1", 2, 3, nullptr, nullptr, 1, 0, {1, 2}, false},
        {"equal offsets copy straight", 3, 3, nullptr, nullptr, 2, 2, {0, 1, 2}, true},
        {"source offset shifts its channels up", 3, 3, nullptr, nullptr, 0, 2, {-1, -1, 0}, false},
        {"a skipped channel stays when lists agree",
         3,
         3,
         skipFirst,
         skipFirst,
         0,
         0,
         {-1, 1, 2},
         false},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        std::vector<uint8_t> src = picture(r.sourceChans);
        std::vector<uint8_t> dst(size_t(4 * r.destChans), 99);
        ilTileBlock d(dst.data(), 0, 0, 0, 2, 2, 1, ilUChar, ilInterleaved, r.destChans,
                      r.destOffset, r.destList);
        ilTileBlock s(src.data(), 0, 0, 0, 2, 2, 1, ilUChar, ilInterleaved, r.sourceChans,
                      r.sourceOffset, r.sourceList);
        ilTileTransfer t(d, s);
        t.run();
        EXPECT_EQ(t.paths.wholeCopies > 0, r.fast);
        for (int p = 0; p < 4; ++p)
            for (int c = 0; c < r.destChans; ++c) {
                const int sc = r.expectedChannel[size_t(c)];
                EXPECT_EQ(dst[size_t(p * r.destChans + c)], sc < 0 ? 99 : 10 * p + sc)
                    << "pixel " << p << " channel " << c;
            }
    }
}

// Which route a move takes, for layouts that should and should not become block copies.
TEST(TransferEdge, RouteChosenForEachLayout) {
    struct Row {
        const char* name;
        ilType destType, sourceType;
        ilOrder destOrder, sourceOrder;
        int nc;
        int flipYDest, flipYSource;
        ilTile region;  // of the destination; an empty one leaves the whole box
        Paths expected;
    };
    const ilTile all(0, 0, 0, 0, 0, 0);
    const ilTile narrow(1, 1, 0, 4, 3, 2);    // rows do not match
    const ilTile someRows(0, 1, 0, 6, 3, 1);  // whole rows of one plane
    const Row rows[] = {
        {"same layout", ilUChar, ilUChar, ilInterleaved, ilInterleaved, 4, 0, 0, all, {1, 0, 0, 0}},
        {"signedness ignored",
         ilUShort,
         ilShort,
         ilSequential,
         ilSequential,
         3,
         0,
         0,
         all,
         {1, 0, 0, 0}},
        {"float meets long",
         ilFloat,
         ilLong,
         ilInterleaved,
         ilInterleaved,
         4,
         0,
         0,
         all,
         {0, 0, 0, 1}},
        {"long meets float", ilLong, ilFloat, ilSeparate, ilSeparate, 1, 0, 0, all, {0, 0, 0, 1}},
        {"interleaved to separate",
         ilUChar,
         ilUChar,
         ilSeparate,
         ilInterleaved,
         3,
         0,
         0,
         all,
         {0, 0, 0, 1}},
        {"sequential to separate",
         ilUChar,
         ilUChar,
         ilSeparate,
         ilSequential,
         3,
         0,
         0,
         all,
         {0, 0, 1, 0}},
        {"one-channel interleaved is separate",
         ilUChar,
         ilUChar,
         ilInterleaved,
         ilSeparate,
         1,
         0,
         0,
         narrow,
         {0, 0, 1, 0}},
        {"interleaved, part of the rows",
         ilUChar,
         ilUChar,
         ilInterleaved,
         ilInterleaved,
         4,
         0,
         0,
         narrow,
         {0, 0, 1, 0}},
        {"separate, whole rows of one plane",
         ilDouble,
         ilDouble,
         ilSeparate,
         ilSeparate,
         2,
         0,
         0,
         someRows,
         {0, 1, 0, 0}},
        {"sequential, whole rows of one plane",
         ilFloat,
         ilFloat,
         ilSequential,
         ilSequential,
         2,
         0,
         0,
         someRows,
         {1, 0, 0, 0}},
        {"both flipped in y",
         ilUChar,
         ilUChar,
         ilInterleaved,
         ilInterleaved,
         4,
         1,
         1,
         all,
         {1, 0, 0, 0}},
        {"one side flipped in y",
         ilUChar,
         ilUChar,
         ilInterleaved,
         ilInterleaved,
         4,
         1,
         0,
         all,
         {0, 0, 1, 0}},
        {"eight bit channels",
         ilBit,
         ilBit,
         ilInterleaved,
         ilInterleaved,
         8,
         0,
         0,
         all,
         {1, 0, 0, 0}},
        {"eight bit channels, part of the rows",
         ilBit,
         ilBit,
         ilInterleaved,
         ilInterleaved,
         8,
         0,
         0,
         narrow,
         {0, 0, 1, 0}},
        {"three bit channels",
         ilBit,
         ilBit,
         ilInterleaved,
         ilInterleaved,
         3,
         0,
         0,
         all,
         {0, 0, 0, 1}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        const int nx = 6, ny = 5, nz = 2;
        auto dst = buffer(r.destType, long(nx) * ny * nz * r.nc);
        auto src = buffer(r.sourceType, long(nx) * ny * nz * r.nc);
        for (size_t i = 0; i < src.size(); ++i)
            src[i] = uint8_t(i * 7 + 1);
        ilTileBlock d(dst.data(), 0, 0, 0, nx, ny, nz, r.destType, r.destOrder, r.nc);
        ilTileBlock s(src.data(), 0, 0, 0, nx, ny, nz, r.sourceType, r.sourceOrder, r.nc);
        if (!r.region.empty()) d.setRegion(r.region);
        d.setFlip(0, r.flipYDest, 0);
        s.setFlip(0, r.flipYSource, 0);
        ilTileTransfer t(d, s);
        t.run();
        EXPECT_EQ(t.paths.wholeCopies, r.expected.wholeCopies);
        EXPECT_EQ(t.paths.channelCopies, r.expected.channelCopies);
        EXPECT_EQ(t.paths.rowCopies, r.expected.rowCopies);
        EXPECT_EQ(t.paths.kernelRuns, r.expected.kernelRuns);
        if (r.nc == 1) {
            EXPECT_EQ(d.order, ilSeparate);
        }
        // The block copies move the same bytes as the kernels.
        auto slow = buffer(r.destType, long(nx) * ny * nz * r.nc);
        d.data = slow.data();
        ilTileTransfer k(d, s);
        k.fastPathEnabled = false;
        k.run();
        EXPECT_EQ(dst, slow);
    }
}

TEST(TransferEdge, FlipYReversesRows) {
    const int nx = 3, ny = 4;
    std::vector<uint8_t> src(nx * ny), dst(nx * ny, 0), back(nx * ny, 0);
    for (int i = 0; i < nx * ny; ++i)
        src[size_t(i)] = uint8_t(i);
    ilTileBlock s(src.data(), 0, 0, 0, nx, ny, 1, ilUChar, ilSeparate, 1);
    ilTileBlock d(dst.data(), 0, 0, 0, nx, ny, 1, ilUChar, ilSeparate, 1);
    d.setFlip(0, 1, 0);
    ilTransfer(d, s);
    for (int y = 0; y < ny; ++y)
        for (int x = 0; x < nx; ++x)
            EXPECT_EQ(dst[size_t(y * nx + x)], src[size_t((ny - 1 - y) * nx + x)]);
    // Mirrored alike on both sides, the move is a plain copy again.
    ilTileBlock d2(back.data(), 0, 0, 0, nx, ny, 1, ilUChar, ilSeparate, 1);
    d2.setFlip(0, 1, 0);
    ilTransfer(d2, d);
    EXPECT_EQ(back, dst);
}

TEST(TransferEdge, ExclusionLeavesItsBoxAlone) {
    struct Row {
        const char* name;
        ilTile exclude;
        int regions;  // regions actually moved
    };
    const Row rows[] = {
        {"none", ilTile(0, 0, 0, 0, 0, 0), 1},
        {"outside", ilTile(20, 20, 0, 3, 3, 1), 1},
        {"covers all", ilTile(-1, -1, -1, 10, 10, 5), 0},
        {"splits in x", ilTile(3, -5, -5, 2, 20, 20), 2},
        {"hole in the middle", ilTile(2, 1, 0, 3, 2, 1), 5},
        {"a z slab", ilTile(-5, -5, 1, 20, 20, 1), 2},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        const int nx = 8, ny = 4, nz = 3;
        std::vector<float> dst(nx * ny * nz, -1.0f);
        ilPixel fill(ilFloat, 1);
        fill.setElem(7.0, 0);
        ilTileBlock d(dst.data(), 0, 0, 0, nx, ny, nz, ilFloat, ilSeparate, 1);
        ilTileBlock s(fill, nullptr, 0, &r.exclude);
        ilTileTransfer t(d, s);
        t.run();
        EXPECT_EQ(t.paths.kernelRuns, r.regions);
        for (int z = 0; z < nz; ++z)
            for (int y = 0; y < ny; ++y)
                for (int x = 0; x < nx; ++x) {
                    const ilTile& e = r.exclude;
                    const bool excluded = !e.empty() && x >= e.x && x < e.x + e.nx && y >= e.y &&
                                          y < e.y + e.ny && z >= e.z && z < e.z + e.nz;
                    EXPECT_EQ(dst[size_t((z * ny + y) * nx + x)], excluded ? -1.0f : 7.0f);
                }
    }
}

TEST(TransferEdge, SolidSourcesWidenAndRepeat) {
    // One channel into four repeats the value; two into four repeats the last.
    struct Row {
        int pixelChans;
        std::vector<double> pixel;
        std::vector<uint8_t> expected;
    };
    const Row rows[] = {
        {1, {200.0}, {200, 200, 200, 200}},
        {2, {1.0, 2.0}, {1, 2, 2, 2}},
        {4, {1.0, 2.0, 3.0, 4.0}, {1, 2, 3, 4}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.pixelChans);
        ilPixel px(ilDouble, r.pixelChans);
        for (int c = 0; c < r.pixelChans; ++c)
            px.setElem(r.pixel[size_t(c)], c);
        std::vector<uint8_t> dst(4 * 5 * 3, 0);
        ilTileBlock d(dst.data(), 0, 0, 0, 5, 3, 1, ilUChar, ilInterleaved, 4);
        ilTileBlock s(px, nullptr, 0, nullptr);
        ilTransfer(d, s);
        for (size_t i = 0; i < dst.size(); ++i)
            ASSERT_EQ(dst[i], r.expected[i % 4]);
        EXPECT_EQ(s.nChans, r.pixelChans);  // the caller's block is not widened
    }
}

TEST(TransferEdge, NothingMovesWithoutData) {
    std::vector<uint8_t> buf(16, 5);
    ilPixel empty;
    struct Row {
        void* dest;
        void* source;
    };
    const Row rows[] = {{nullptr, buf.data()}, {buf.data(), nullptr}};
    for (const Row& r : rows) {
        std::vector<uint8_t> other(16, 9);
        ilTileBlock d(r.dest ? r.dest : other.data(), 0, 0, 0, 4, 4, 1, ilUChar, ilSeparate, 1);
        if (!r.dest) d.data = nullptr;
        ilTileBlock s(r.source ? r.source : other.data(), 0, 0, 0, 4, 4, 1, ilUChar, ilSeparate, 1);
        if (!r.source) s.data = nullptr;
        ilTransfer(d, s);
        EXPECT_EQ(buf, std::vector<uint8_t>(16, 5));
        EXPECT_EQ(other, std::vector<uint8_t>(16, 9));
    }
    ilTileBlock d(buf.data(), 0, 0, 0, 4, 4, 1, ilUChar, ilSeparate, 1);
    ilTileBlock s(empty, nullptr, 0, nullptr);
    ilTransfer(d, s);
    EXPECT_EQ(buf, std::vector<uint8_t>(16, 5));
}

}  // namespace
