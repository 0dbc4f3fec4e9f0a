// Tile boxes: containment, clipping, overlap and the three ways of combining two tiles, checked for
// the integer and the float box alike.
#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <string>
#include <vector>

#include "pigment/frame/ilTile.h"

namespace {

using Box = int[6];  // x, y, z, nx, ny, nz

template <typename Tile>
Tile make(const Box& b) {
    using T = decltype(Tile().x);
    return Tile(T(b[0]), T(b[1]), T(b[2]), T(b[3]), T(b[4]), T(b[5]));
}

template <typename Tile>
std::string str(const Tile& t) {
    std::ostringstream os;
    os << t.x << ',' << t.y << ',' << t.z << ' ' << t.nx << 'x' << t.ny << 'x' << t.nz;
    return os.str();
}

std::vector<double> nums(auto... v) {
    return {static_cast<double>(v)...};
}

template <typename Tile>
class TileBoxTest : public ::testing::Test {};
using TileTypes = ::testing::Types<ilTile, ilTileFloat>;
TYPED_TEST_SUITE(TileBoxTest, TileTypes);

TYPED_TEST(TileBoxTest, FourArgumentFormIsOnePlane) {
    const TypeParam t(2, 3, 4, 5);
    EXPECT_EQ(str(t), str(make<TypeParam>({2, 3, 0, 4, 5, 1})));
    EXPECT_EQ(nums(t.maxX(), t.maxY()), nums(6, 8));
    for (int i = 0; i < 6; ++i) {
        Box d = {2, 3, 0, 4, 5, 1};
        d[i] = 9;
        EXPECT_TRUE(t != make<TypeParam>(d) && !(t == make<TypeParam>(d))) << i;
    }
}

TYPED_TEST(TileBoxTest, ContainsAndEmpty) {
    const TypeParam outer = make<TypeParam>({0, 0, 0, 10, 10, 1});
    const struct {
        Box other;
        bool contained;
    } cases[] = {
        {{2, 2, 0, 3, 3, 1}, true},  {{0, 0, 0, 10, 10, 1}, true},  {{5, 5, 0, 6, 1, 1}, false},
        {{2, 5, 0, 1, 6, 1}, false}, {{-1, 0, 0, 2, 2, 1}, false},  {{0, -1, 0, 2, 2, 1}, false},
        {{0, 0, 1, 1, 1, 1}, false}, {{0, 0, 0, 1, 1, 2}, false},   {{3, 3, 0, 0, 0, 1}, true},
        {{10, 0, 0, 0, 1, 1}, true}, {{20, 20, 0, 0, 0, 1}, false}, {{-5, 0, 0, 0, 1, 1}, false}};
    for (const auto& c : cases)
        EXPECT_EQ(outer.contains(make<TypeParam>(c.other)), c.contained)
            << str(make<TypeParam>(c.other));

    // With limits: other may run past the end of an axis whose limit is at or before that end.
    const struct {
        Box other;
        int lx, ly, lz;
        bool contained;
    } limited[] = {
        {{5, 5, 0, 10, 2, 1}, 10, 10, 1, true}, {{5, 5, 0, 10, 2, 1}, 11, 10, 1, false},
        {{5, 5, 0, 10, 2, 1}, 8, 100, 1, true}, {{5, 5, 0, 2, 9, 1}, 100, 10, 1, true},
        {{5, 5, 0, 2, 9, 1}, 10, 12, 1, false}, {{0, 0, 0, 2, 2, 5}, 10, 10, 1, true},
        {{0, 0, 0, 2, 2, 5}, 10, 10, 3, false}, {{-1, 0, 0, 2, 2, 1}, 0, 0, 0, false},
        {{0, 0, -1, 1, 1, 1}, 0, 0, 0, false},  {{2, 2, 0, 3, 3, 1}, 100, 100, 100, true}};
    for (const auto& c : limited)
        EXPECT_EQ(outer.contains(make<TypeParam>(c.other), c.lx, c.ly, c.lz), c.contained)
            << str(make<TypeParam>(c.other)) << " limits " << c.lx << ',' << c.ly << ',' << c.lz;

    const struct {
        int nx, ny, nz;
        bool empty;
    } extents[] = {
        {1, 1, 1, false}, {0, 1, 1, true}, {1, -1, 1, true}, {1, 1, 0, true}, {7, 7, 7, false}};
    for (const auto& e : extents)
        EXPECT_EQ(make<TypeParam>({0, 0, 0, e.nx, e.ny, e.nz}).empty(), e.empty)
            << e.nx << 'x' << e.ny << 'x' << e.nz;
}

TYPED_TEST(TileBoxTest, ClipPositiveAndCropTo) {
    const struct {
        Box in, out;
    } clips[] = {{{-3, 2, -2, 5, 4, 1}, {0, 2, -2, 2, 4, 1}},  // z stays negative
                 {{-10, -1, 0, 5, 4, 1}, {0, 0, 0, 0, 3, 1}},  // extent stops at 0
                 {{3, 4, 0, 5, 6, 1}, {3, 4, 0, 5, 6, 1}}};
    for (const auto& c : clips) {
        TypeParam t = make<TypeParam>(c.in);
        t.clipPositive();
        EXPECT_EQ(str(t), str(make<TypeParam>(c.out)));
    }
    const struct {
        Box t, other, out;
    } crops[] = {
        {{0, 0, 5, 10, 10, 2}, {2, 3, 0, 4, 20, 1}, {2, 3, 5, 4, 7, 2}},
        {{0, 0, 0, 5, 5, 1}, {8, 0, 0, 2, 5, 1}, {8, 0, 0, -3, 5, 1}},  // extent goes negative
        {{4, 4, 0, 2, 2, 1}, {0, 0, 0, 10, 10, 1}, {4, 4, 0, 2, 2, 1}}};
    for (const auto& c : crops) {
        TypeParam t = make<TypeParam>(c.t);
        t.cropTo(make<TypeParam>(c.other));
        EXPECT_EQ(str(t), str(make<TypeParam>(c.out)));
    }
}

TYPED_TEST(TileBoxTest, IntersectsIsTwoDimensionalAndCountsTouching) {
    const TypeParam t = make<TypeParam>({0, 0, 0, 10, 10, 1});
    const struct {
        Box other;
        bool hit;
        Box overlap;  // the result, whose z 7 and nz 9 were set before and must stay
    } cases[] = {{{10, 0, 0, 5, 5, 1}, true, {10, 0, 7, 0, 5, 9}},
                 {{-5, -5, 0, 5, 5, 1}, true, {0, 0, 7, 0, 0, 9}},
                 {{3, 4, 50, 20, 2, 1}, true, {3, 4, 7, 7, 2, 9}},  // other's z does not matter
                 {{2, 2, 0, 3, 3, 1}, true, {2, 2, 7, 3, 3, 9}},
                 {{11, 0, 0, 5, 5, 1}, false, {}},
                 {{0, -6, 0, 5, 5, 1}, false, {}},
                 {{0, 11, 0, 5, 5, 1}, false, {}},
                 {{-6, 0, 0, 5, 5, 1}, false, {}}};
    for (const auto& c : cases) {
        TypeParam r = make<TypeParam>({-1, -1, 7, -1, -1, 9});
        EXPECT_EQ(t.intersects(make<TypeParam>(c.other), &r), c.hit)
            << str(make<TypeParam>(c.other));
        EXPECT_EQ(t.intersects(make<TypeParam>(c.other)), c.hit);
        if (c.hit) {
            EXPECT_EQ(str(r), str(make<TypeParam>(c.overlap)));
        }
    }
}

// The three ways of combining two tiles a and b: the two-tile constructor (meet),
// ilTileIntersection (overlap) and ilTileUnion (bound).
const struct {
    Box a, b, meet, overlap, bound;
} kCombine[] = {
    // clang-format off
    {{0, 0, 0, 10, 10, 1}, {5, 2, 0, 10, 3, 1},
     {5, 2, 0, 5, 3, 1}, {5, 2, 0, 5, 3, 1}, {0, 0, 0, 15, 10, 1}},
    // No overlap on any axis.
    {{0, 0, 0, 4, 4, 1}, {10, 10, 5, 2, 2, 1},
     {10, 10, 5, 0, 0, 0}, {10, 10, 5, -6, -6, -4}, {0, 0, 0, 12, 12, 6}},
    // No overlap on x alone still empties all three extents of the constructor.
    {{0, 0, 0, 4, 4, 1}, {6, 0, 0, 4, 4, 1},
     {6, 0, 0, 0, 0, 0}, {6, 0, 0, -2, 4, 1}, {0, 0, 0, 10, 4, 1}},
    // No overlap in z alone: the same.
    {{0, 0, 0, 4, 4, 1}, {1, 1, 3, 2, 2, 1},
     {1, 1, 3, 0, 0, 0}, {1, 1, 3, 2, 2, -2}, {0, 0, 0, 4, 4, 4}},
    // Touching tiles: an extent of 0 is not negative.
    {{0, 0, 0, 5, 5, 1}, {5, 0, 0, 5, 5, 1},
     {5, 0, 0, 0, 5, 1}, {5, 0, 0, 0, 5, 1}, {0, 0, 0, 10, 5, 1}},
    // An empty axis of one side does not count in the union.
    {{100, 0, 0, 0, 4, 1}, {2, 1, 0, 3, 2, 1},
     {100, 1, 0, 0, 0, 0}, {100, 1, 0, -95, 2, 1}, {2, 0, 0, 3, 4, 1}},
    {{1, 1, 0, 3, 3, 1}, {0, 50, 0, 5, -2, 1},
     {1, 50, 0, 0, 0, 0}, {1, 50, 0, 3, -46, 1}, {0, 1, 0, 5, 3, 1}},
    {{5, 0, 3, 0, 1, 0}, {7, 0, 0, -1, 1, 2},
     {7, 0, 3, 0, 0, 0}, {7, 0, 3, -2, 1, -1}, {7, 0, 0, -1, 1, 2}},
    // clang-format on
};

TYPED_TEST(TileBoxTest, TwoTileConstructorIsThreeDimensionalIntersection) {
    for (const auto& c : kCombine) {
        TypeParam meet(make<TypeParam>(c.a), make<TypeParam>(c.b));
        EXPECT_EQ(str(meet), str(make<TypeParam>(c.meet))) << str(make<TypeParam>(c.a));
    }
}

TEST(TileCombine, IntersectionKeepsNegativeExtentsAndUnionSkipsEmptyAxes) {
    for (const auto& c : kCombine) {
        const ilTile a = make<ilTile>(c.a), b = make<ilTile>(c.b);
        SCOPED_TRACE(str(a) + " with " + str(b));
        EXPECT_EQ(str(ilTileIntersection(a, b)), str(make<ilTile>(c.overlap)));
        EXPECT_EQ(str(ilTileUnion(a, b)), str(make<ilTile>(c.bound)));
    }
    // A full tile joined with an empty one is the full one, whichever side it stands on.
    const ilTile full(3, 4, 1, 5, 6, 2), none(0, 0, 0, 0, 0, 0);
    EXPECT_EQ(ilTileUnion(full, none), full);
    EXPECT_EQ(ilTileUnion(none, full), full);
}

// Ends past the integer limit are compared as they are, not wrapped round to the other end.
TEST(TileCombine, TilesNearTheIntegerLimits) {
    const ilTile nearMax(INT_MAX - 4, 0, 0, 16, 1, 1), image(0, 0, 0, 64, 64, 1);
    EXPECT_TRUE(ilTile(nearMax, image).empty());
    EXPECT_FALSE(image.contains(nearMax));
    EXPECT_FALSE(nearMax.intersects(image));
    EXPECT_TRUE(ilTile(nearMax, ilTile(INT_MAX - 8, 0, 0, 8, 1, 1)) ==
                ilTile(INT_MAX - 4, 0, 0, 4, 1, 1));
    const ilTile whole(INT_MIN, INT_MIN, 0, INT_MAX, INT_MAX, 1);
    EXPECT_TRUE(whole.contains(ilTile(-5, -5, 0, 1, 1, 1)));
    EXPECT_FALSE(whole.contains(ilTile(5, 5, 0, 1, 1, 1))) << "whole ends at -1";
    // A union too wide for an int saturates rather than going negative.
    const ilTile joined = ilTileUnion(ilTile(INT_MIN, 0, 0, 10, 1, 1), nearMax);
    EXPECT_EQ(joined.x, INT_MIN);
    EXPECT_EQ(joined.nx, INT_MAX);
    ilTile cropped = nearMax;
    cropped.cropTo(ilTile(INT_MIN, 0, 0, INT_MAX, 1, 1));
    EXPECT_LT(cropped.nx, 0);
}

}  // namespace
