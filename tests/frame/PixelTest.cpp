// ilPixel element access, growth and conversion, and the channel maps of ilConfig: the rules fill
// values, min/max pixels and every channel selection of a transfer depend on.
#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <string>
#include <vector>

#include "pigment/frame/ilConfig.h"
#include "pigment/frame/ilPixel.h"
#include "pigment/frame/ilReport.h"

namespace {

// "type: e0 e1 ..." so that a failure shows the whole pixel.
std::string show(const ilPixel& p) {
    std::ostringstream os;
    os << ilTypeText(p.type()) << ':';
    for (int i = 0; i < p.nc(); ++i)
        os << ' ' << p[i];
    return os.str();
}

ilPixel pixelOf(ilType type, std::vector<double> values) {
    ilPixel p(type, static_cast<int>(values.size()));
    for (size_t i = 0; i < values.size(); ++i)
        p.setElem(values[i], static_cast<int>(i));
    return p;
}

TEST(Pixel, SetElemTruncatesKeepsLowBitsAndNeverClamps) {
    const struct {
        ilType type;
        double value, stored;
    } cases[] = {
        // clang-format off
        {ilUChar, 300.0, 44},      {ilUChar, 255.9, 255},     {ilUChar, -1.0, 255},
        {ilUChar, -0.9, 0},        {ilChar, 200.0, -56},      {ilChar, -3.7, -3},
        {ilUShort, 70000, 4464},   {ilShort, 40000, -25536},  {ilULong, -1, 4294967295.0},
        {ilLong, 6e9, 1705032704}, {ilLong, 2147483648.0, -2147483648.0},
        {ilBit, 0.4, 0},           {ilBit, -0.6, 0},          {ilBit, 2.0, 1},
        {ilBit, -1.0, 1},          {ilFloat, -2.25, -2.25},   {ilDouble, 1e300, 1e300},
        // clang-format on
    };
    for (const auto& c : cases) {
        ilPixel p(c.type, 2);
        p.setElem(c.value, 1);
        EXPECT_EQ(p.getElem(1), c.stored) << ilTypeText(c.type) << ' ' << c.value;
        EXPECT_EQ(p.nc(), 2);
        EXPECT_EQ(p.type(), c.type);
    }
    // Bits are stored most significant first.
    ilPixel bits = pixelOf(ilBit, {1, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    const unsigned char* b = static_cast<const unsigned char*>(bits.elems());
    EXPECT_EQ(b[0], 0x80);
    EXPECT_EQ(b[1] & 0xc0, 0x40);
}

TEST(Pixel, GrowthClampedReadsAndIgnoredIndices) {
    ilPixel any;
    EXPECT_EQ(show(any), "unknown:");
    EXPECT_EQ(any.getElem(0), 0.0);
    any.setElem(1.0, 2);  // an untyped pixel becomes double as it grows
    EXPECT_EQ(any.type(), ilDouble);
    EXPECT_EQ(any.nc(), 3);
    EXPECT_EQ(any[2], 1.0);

    ilPixel p = pixelOf(ilUChar, {10, 20});
    p.setElem(7, 4);
    EXPECT_EQ(p.nc(), 5);
    EXPECT_EQ(show(p).substr(0, 20), "unsigned char: 10 20");
    EXPECT_EQ(p[4], 7);

    const ilPixel three = pixelOf(ilShort, {1, -2, 3});
    const int reads[][2] = {{0, 1}, {1, -2}, {2, 3}, {3, 3}, {INT_MAX, 3}, {-1, 1}, {INT_MIN, 1}};
    for (const auto& r : reads)
        EXPECT_EQ(three.getElem(r[0]), r[1]) << "index " << r[0];

    ilPixel q = three;
    for (int index : {-1, INT_MIN, INT_MAX})
        q.setElem(99, index);  // huge: refused, no crash
    EXPECT_TRUE(q == three);

    ilPixel wide(ilUChar, 70000);  // the refusal stops growth only, never a channel it has
    wide.setElem(5, 69999);
    EXPECT_EQ(wide[69999], 5);
}

TEST(Pixel, SetMinMaxAndEquality) {
    ilPixel p = pixelOf(ilUChar, {1, 2, 3, 4});
    p.set(ilUChar, 2, nullptr);  // a block large enough is kept, bytes and all
    EXPECT_EQ(show(p), "unsigned char: 1 2");
    p.set(ilUChar, 2, static_cast<unsigned char*>(p.elems()) + 1);  // from its own bytes
    EXPECT_EQ(show(p), "unsigned char: 2 3");
    const unsigned char bytes[] = {9, 8, 7};
    p.set(ilFloat, 0, bytes);
    EXPECT_EQ(show(p), "float:");
    EXPECT_EQ(p.elems(), nullptr);

    const struct {
        ilPixel p;
        double min, max;
    } ranges[] = {{pixelOf(ilShort, {3, -1, 7}), -1, 7},
                  {pixelOf(ilDouble, {5, 5, 4, 6}), 4, 6},
                  {ilPixel(), 0, 0}};
    for (const auto& r : ranges)
        EXPECT_TRUE(r.p.minElem() == r.min && r.p.maxElem() == r.max) << show(r.p);

    const ilPixel a = pixelOf(ilUShort, {1, 2});
    for (const ilPixel& other :
         {pixelOf(ilShort, {1, 2}), pixelOf(ilUShort, {1, 2, 2}), pixelOf(ilUShort, {1, 3})})
        EXPECT_TRUE(a != other && !(a == other)) << show(other);
    EXPECT_TRUE(a == pixelOf(ilUShort, {1, 2}) && !(a != ilPixel(a)));
}

TEST(Pixel, ConvertPicksRepeatsAndConvertsChannels) {
    const ilPixel src = pixelOf(ilFloat, {10.5, 300.5, -1});
    const int swap[] = {1, 0, 1, 7};
    const struct {
        ilType type;
        int nc;
        const int* list;
        const char* out;
    } cases[] = {{ilUChar, 0, nullptr, "unsigned char: 10 44 255"},
                 {ilDouble, 5, nullptr, "double: 10.5 300.5 -1 -1 -1"},  // the last repeats
                 {ilShort, 4, swap, "short: 300 10 300 -1"},
                 {ilBit, 2, nullptr, "bit: 1 1"},
                 {ilAnyType, 2, nullptr, "double: 10.5 300.5"}};  // grown as setElem grows
    for (const auto& c : cases) {
        ilPixel dst = pixelOf(ilUShort, {1, 2, 3, 4, 5, 6, 7, 8});
        dst.convert(src, c.type, c.nc, c.list);
        EXPECT_EQ(show(dst), c.out);
    }
    ilPixel self = pixelOf(ilChar, {1, -2});
    const int rev[] = {1, 0, 0};
    self.convert(self, ilFloat, 3, rev);
    EXPECT_EQ(show(self), "float: -2 1 1");
}

TEST(Config, ChannelMaps) {
    int list[] = {3, 2, 0, 1, 1};
    using Ints = std::vector<int>;
    const struct {
        ilConfig cfg;
        Ints mapped;    // mapChan(-1) to mapChan(nChans)
        Ints inverted;  // invert(4, ...)
        bool invertible;
    } cases[] = {
        {ilConfig(ilUChar, ilInterleaved, 3), {-1, 0, 1, 2, -1}, {0, 1, 2, -1}, true},
        {ilConfig(ilUChar, ilInterleaved, 2, nullptr, 3), {-1, 3, 4, -1}, {-1, -1, -1, 0}, true},
        {ilConfig(ilUChar, ilInterleaved, 3, list), {-1, 3, 2, 0, -1}, {2, -1, 1, 0}, true},
        {ilConfig(ilUChar, ilInterleaved, 3, list, 2), {-1, 0, 1, 1, -1}, {0, 2, -1, -1}, false},
        {ilConfig(ilUChar, ilInterleaved, 0, list), {-1, -1}, {-1, -1, -1, -1}, true}};
    for (const auto& c : cases) {
        Ints mapped, viaIndex;
        for (int i = -1; i <= c.cfg.nChans; ++i) {
            mapped.push_back(c.cfg.mapChan(i));
            viaIndex.push_back(c.cfg[i]);
        }
        EXPECT_EQ(mapped, c.mapped);
        EXPECT_EQ(viaIndex, c.mapped);
        Ints inv(4, 42);
        c.cfg.invert(4, inv.data());
        EXPECT_EQ(inv, c.inverted);
        EXPECT_EQ(c.cfg.isInvertable(), c.invertible);
    }

    const ilConfig cfg(ilFloat, ilSequential, 3, list, 1);
    const int in[] = {2, 0, 5, -1};
    int out[4] = {};
    cfg.compose(4, in, out);
    EXPECT_EQ(Ints(out, out + 4), Ints({1, 2, -1, -1}));
}

}  // namespace
