// Linear algebra: vectors, frames, matrix inverses and products.
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "pigment/base/vlLinear.h"
#include "pigment/base/vlMatrix.h"

namespace {

using namespace vlLinear;

TEST(Linear, VectorsNormalizeCrossDistanceAndOrder) {
    Vector v(3, 0, 4), null;
    EXPECT_TRUE(v.normalize());
    EXPECT_DOUBLE_EQ(v[0], 0.6);
    EXPECT_FALSE(null.normalize());
    EXPECT_EQ(null, Vector(0, 0, 0));
    Vector2 v2(0, -2);
    EXPECT_TRUE(v2.normalize());
    EXPECT_EQ(v2, Vector2(0, -1));
    EXPECT_EQ(cross(Vector(0, 1, 0), Vector(1, 0, 0)), -Vector::z);
    EXPECT_EQ(cross(VectorFlt(0, 1, 0), VectorFlt(0, 0, 1)).x, 1.0f);
    EXPECT_DOUBLE_EQ(distance(Point(1, 2, 3), Point(4, 6, 3)), 5.0);
    EXPECT_DOUBLE_EQ(distance(Point2(-1, -1), Point2(2, 3)), 5.0);

    // Points order row by row, as tile origins are visited.
    const std::set<Point2> origins{{128, 0}, {0, 128}, {0, 0}, {256, 0}, {128, 0}};
    EXPECT_EQ(std::vector<Point2>(origins.begin(), origins.end()),
              (std::vector<Point2>{{0, 0}, {128, 0}, {256, 0}, {0, 128}}));
}

TEST(Linear, AffineInverseTimesMatrixIsIdentity) {
    AffineMatrix frame;
    frame.setFrame(Point(5, -3, 2), Vector(0, 2, 0), Vector(-1, 0, 0));
    AffineMatrix built;
    built.identity().scale(2, 0.5, 3).rotateZ(0.7).translate(10, -4, 1);
    AffineMatrix chained = built * frame;
    for (const AffineMatrix* m : {&frame, &built, &chained}) {
        bool ok = false;
        const AffineMatrix inv = m->inverse(&ok);
        EXPECT_TRUE(ok);
        EXPECT_TRUE((inv * *m).isIdentity(1e-12));
        EXPECT_TRUE((*m * inv).isIdentity(1e-12));
    }
    // The builders apply in order: scale, then rotate, then translate.
    const Point p = built * Point(1, 0, 0);
    EXPECT_NEAR(p.x, 10 + 2 * std::cos(0.7), 1e-12);
    EXPECT_NEAR(p.y, -4 + 2 * std::sin(0.7), 1e-12);
    EXPECT_NEAR(p.z, 1, 1e-12);
    // A frame maps its local axes onto the given ones; directions ignore the origin.
    EXPECT_EQ(frame * Point(1, 1, 1), Point(4, -1, 4));
    EXPECT_EQ(frame * Vector::z, Vector(0, 0, 2));

    AffineMatrix flat;
    flat.scale(1, 0, 1);
    bool ok = true;
    EXPECT_TRUE(flat.inverse(&ok).isIdentity());
    EXPECT_FALSE(ok);
    const ProjMatrix zero(0.0), id(1.0);
    EXPECT_EQ(zero(2, 2) + id(2, 2) + id(0, 3), 1.0) << "the argument fills the diagonal";
}

}  // namespace
