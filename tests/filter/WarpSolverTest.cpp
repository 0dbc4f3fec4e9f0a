// The warp solvers against their forward maps: a bilinear patch and a projective map written
// out here, over seeded random convex quadrilaterals and the degenerate shapes.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "pigment/filter/CornerWarpSolver.h"
#include "pigment/filter/PerspectiveWarpSolver.h"

namespace {

struct Point {
    double x, y;
};

Point corner(const Rect8f& q, int i) {
    return {q[2 * i], q[2 * i + 1]};
}

// (u, v) = (0, 0) at corner 0, (1, 0) at corner 3, (1, 1) at corner 2, (0, 1) at corner 1.
Point bilinear(const Rect8f& q, double u, double v) {
    const Point a = corner(q, 0), b = corner(q, 3), c = corner(q, 2), d = corner(q, 1);
    return {(1 - u) * (1 - v) * a.x + u * (1 - v) * b.x + u * v * c.x + (1 - u) * v * d.x,
            (1 - u) * (1 - v) * a.y + u * (1 - v) * b.y + u * v * c.y + (1 - u) * v * d.y};
}

// The projective map of the unit square onto q, found by solving the eight equations of the
// four corners directly (Gaussian elimination), independent of the solver's closed form.
struct Homography {
    double m[8];
    explicit Homography(const Rect8f& q) {
        const double us[4] = {0, 0, 1, 1}, vs[4] = {0, 1, 1, 0};
        double A[8][9] = {};
        for (int i = 0; i < 4; ++i) {
            const Point p = corner(q, i);
            double* rx = A[2 * i];
            double* ry = A[2 * i + 1];
            rx[0] = us[i], rx[1] = vs[i], rx[2] = 1, rx[6] = -us[i] * p.x, rx[7] = -vs[i] * p.x;
            rx[8] = p.x;
            ry[3] = us[i], ry[4] = vs[i], ry[5] = 1, ry[6] = -us[i] * p.y, ry[7] = -vs[i] * p.y;
            ry[8] = p.y;
        }
        for (int c = 0; c < 8; ++c) {
            int best = c;
            for (int r = c + 1; r < 8; ++r)
                if (std::fabs(A[r][c]) > std::fabs(A[best][c])) best = r;
            std::swap(A[c], A[best]);
            for (int r = 0; r < 8; ++r) {
                if (r == c) continue;
                const double k = A[r][c] / A[c][c];
                for (int k2 = c; k2 < 9; ++k2)
                    A[r][k2] -= k * A[c][k2];
            }
        }
        for (int i = 0; i < 8; ++i)
            m[i] = A[i][8] / A[i][i];
    }
    Point operator()(double u, double v) const {
        const double w = m[6] * u + m[7] * v + 1;
        return {(m[0] * u + m[1] * v + m[2]) / w, (m[3] * u + m[4] * v + m[5]) / w};
    }
};

// A convex quadrilateral: four points on a jittered ellipse in angular order, either way round.
Rect8f randomConvexQuad(std::mt19937& rng) {
    std::uniform_real_distribution<double> unit(0, 1);
    const double cx = unit(rng) * 400 - 200, cy = unit(rng) * 400 - 200;
    const double rx = 5 + unit(rng) * 300, ry = 5 + unit(rng) * 300;
    const double start = unit(rng) * 2 * M_PI;
    const bool clockwise = unit(rng) < 0.5;
    Rect8f q;
    for (int i = 0; i < 4; ++i) {
        const double t = start + (clockwise ? -1 : 1) * (i * M_PI / 2 + (unit(rng) - 0.5) * 1.2);
        q[2 * i] = float(cx + rx * std::cos(t));
        q[2 * i + 1] = float(cy + ry * std::sin(t));
    }
    return q;
}

// Keeps quads whose corners are not nearly collinear, so float corners still make a quad.
bool wellShaped(const Rect8f& q) {
    for (int i = 0; i < 4; ++i) {
        const Point a = corner(q, i), b = corner(q, (i + 1) % 4), c = corner(q, (i + 2) % 4);
        const double area = std::fabs((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x));
        const double scale = std::hypot(b.x - a.x, b.y - a.y) * std::hypot(c.x - b.x, c.y - b.y);
        if (area < 0.05 * scale) return false;
    }
    return true;
}

template <class Solver, class Forward>
void expectRoundTrips(const Rect8f& q, Forward forward, std::mt19937& rng, int samples,
                      const char* what) {
    Solver solver(1, 1, 1, 1, q);
    std::uniform_real_distribution<double> unit(0.001, 0.999);
    for (int i = 0; i < samples; ++i) {
        const double u = unit(rng), v = unit(rng);
        const Point p = forward(u, v);
        float x = float(p.x), y = float(p.y);
        ASSERT_TRUE(solver.getUnitUVForXY(x, y)) << what << " u " << u << " v " << v;
        // Corner coordinates are floats of magnitude up to a few hundred: 1e-4 of the unit
        // square is what that precision allows.
        ASSERT_NEAR(x, u, 1e-4) << what << " v " << v;
        ASSERT_NEAR(y, v, 1e-4) << what << " u " << u;
    }
}

Rect8f rotatedRect(float w, float h, float degrees, float tx, float ty) {
    Rect8f q(0, 0, w, h);
    q.Rotate(degrees);
    q.Translate(tx, ty);
    return q;
}

}  // namespace

TEST(WarpSolverTest, BothSolversInvertTheirMapsOnRandomConvexQuads) {
    std::mt19937 rng(20261125);
    int tried = 0;
    while (tried < 3000) {
        const Rect8f q = randomConvexQuad(rng);
        if (!wellShaped(q)) continue;
        ++tried;
        expectRoundTrips<CornerWarpSolver>(
            q, [&](double u, double v) { return bilinear(q, u, v); }, rng, 8, "corner");
        const Homography h(q);
        expectRoundTrips<PerspectiveWarpSolver>(q, h, rng, 8, "perspective");
    }
}

TEST(WarpSolverTest, DegenerateShapesInvertToo) {
    std::mt19937 rng(7);
    struct Case {
        const char* name;
        Rect8f quad;
    };
    std::vector<Case> cases = {
        {"rectangle", Rect8f(10, 20, 110, 70)},
        {"square at origin", Rect8f(0, 0, 1, 1)},
        {"parallelogram", Rect8f(0, 0, 30, 50, 130, 50, 100, 0)},
        {"trapezoid, u sides parallel", Rect8f(0, 0, 20, 40, 80, 40, 100, 0)},
        {"trapezoid, v sides parallel", Rect8f(0, 0, 0, 100, 60, 80, 60, 20)},
    };
    for (float degrees : {0.0f, 1e-3f, 30.0f, 45.0f, 90.0f, 135.0f, 180.0f, 233.3f, 270.0f, 359.0f})
        cases.push_back({"rotated rectangle", rotatedRect(64, 40, degrees, 500, -300)});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        expectRoundTrips<CornerWarpSolver>(
            c.quad, [&](double u, double v) { return bilinear(c.quad, u, v); }, rng, 200, c.name);
        const Homography h(c.quad);
        expectRoundTrips<PerspectiveWarpSolver>(c.quad, h, rng, 200, c.name);
    }
}

TEST(WarpSolverTest, PositionsOutsideTheQuadHaveNoSource) {
    const Rect8f quads[] = {Rect8f(10, 20, 110, 70), Rect8f(0, 0, 20, 40, 80, 40, 100, 0),
                            Rect8f(0, 0, 10, 90, 120, 100, 90, -10), rotatedRect(50, 50, 30, 0, 0)};
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    for (const Rect8f& q : quads) {
        const Rect8f b = q.GetBounds();
        const float outside[][2] = {{b.x0 - 5, b.y0 - 5},
                                    {b.x2 + 5, b.y2 + 5},
                                    {b.x0 - 1, b.y2 + 1},
                                    {b.x2 + 200, (b.y0 + b.y2) / 2},
                                    {nan, 0},
                                    {0, inf}};
        CornerWarpSolver corner(1, 1, 1, 1, q);
        PerspectiveWarpSolver perspective(1, 1, 1, 1, q);
        for (const auto& p : outside) {
            float x = p[0], y = p[1];
            EXPECT_FALSE(corner.getUnitUVForXY(x, y)) << p[0] << ", " << p[1];
            x = p[0], y = p[1];
            EXPECT_FALSE(perspective.getUnitUVForXY(x, y)) << p[0] << ", " << p[1];
        }
    }
}

TEST(WarpSolverTest, CollapsedAndCrossedQuadsAnswerWithoutFault) {
    // All corners on one point, or on one line: no position has a source.
    const Rect8f collapsed[] = {Rect8f(5, 5, 5, 5, 5, 5, 5, 5), Rect8f(0, 0, 0, 0, 10, 10, 10, 10),
                                Rect8f(0, 0, 1, 1, 2, 2, 3, 3)};
    for (const Rect8f& q : collapsed) {
        CornerWarpSolver corner(1, 1, 1, 1, q);
        PerspectiveWarpSolver perspective(1, 1, 1, 1, q);
        for (float p : {0.0f, 1.0f, 2.5f, 5.0f, 7.0f}) {
            float x = p, y = p;
            EXPECT_FALSE(corner.getUnitUVForXY(x, y)) << p;
            x = p, y = p;
            EXPECT_FALSE(perspective.getUnitUVForXY(x, y)) << p;
        }
    }
    // A bow tie folds over itself: whatever a solver answers must be a unit coordinate.
    const Rect8f bowTie(0, 0, 100, 100, 0, 100, 100, 0);
    CornerWarpSolver corner(1, 1, 1, 1, bowTie);
    PerspectiveWarpSolver perspective(1, 1, 1, 1, bowTie);
    for (float y = -10; y <= 110; y += 7)
        for (float x = -10; x <= 110; x += 7)
            for (QuadSolver* s :
                 {static_cast<QuadSolver*>(&corner), static_cast<QuadSolver*>(&perspective)}) {
                float u = x, v = y;
                if (s->getUnitUVForXY(u, v)) {
                    EXPECT_TRUE(u >= 0 && u <= 1 && v >= 0 && v <= 1) << x << ", " << y;
                }
            }
}

TEST(WarpSolverTest, ScaledResultsAndBias) {
    const Rect8f q(10, 20, 110, 70);
    struct Case {
        double biasU, biasV;
        float x, y;
        bool ok;
        float u, v;  // expected, scaled by 200 by 50
    };
    const Case cases[] = {
        {1, 1, 60, 45, true, 100, 25},                    // the centre
        {2, 1, 60, 45, true, 50, 25},                     // u bent by its square
        {1, 0.5, 60, 32.5, true, 200 * 0.5f, 50 * 0.5f},  // v = 0.25, square root 0.5
        {2, 2, 0, 0, false, 0, 0},                        // outside: no bias, no result
    };
    for (const Case& c : cases) {
        CornerWarpSolver corner(200, 50, c.biasU, c.biasV, q);
        PerspectiveWarpSolver perspective(200, 50, c.biasU, c.biasV, q);
        for (QuadSolver* s :
             {static_cast<QuadSolver*>(&corner), static_cast<QuadSolver*>(&perspective)}) {
            float x = c.x, y = c.y;
            ASSERT_EQ(s->getUVForXY(x, y), c.ok);
            if (!c.ok) continue;
            EXPECT_NEAR(x, c.u, 1e-3);
            EXPECT_NEAR(y, c.v, 1e-3);
        }
    }
}

TEST(WarpSolverTest, Rect8fGeometry) {
    Rect8f q(0, 0, 4, 2);
    EXPECT_TRUE(q.isAffine());
    float a, b;
    q.GetSides(a, b);
    EXPECT_FLOAT_EQ(a, 4);
    EXPECT_FLOAT_EQ(b, 2);
    q.Rotate(90);
    // (4, 0) turns to (0, 4) and (0, 2) to (-2, 0), within the float precision of the angle.
    EXPECT_NEAR(q.x3, 0, 1e-5);
    EXPECT_NEAR(q.y3, 4, 1e-5);
    EXPECT_NEAR(q.x1, -2, 1e-5);
    q.Translate(10, 10);
    q.Scale(2, 1);
    float cx, cy;
    q.GetCenter(cx, cy);
    EXPECT_NEAR(cx, 18, 1e-4);
    EXPECT_NEAR(cy, 12, 1e-4);
    const ilTile t = Rect8f(-1.5f, 0.4f, 2.5f, 3.6f).GetBoundsTile();
    EXPECT_EQ(t, ilTile(-2, 0, 0, 5, 4, 1));  // -1.5 rounds away from zero; the end 2.5 + 0.5 - -2
    EXPECT_FALSE(Rect8f(0, 0, 0, 10, 12, 10, 10, 0).isAffine());
    EXPECT_EQ(Rect8f(ilTile(1, 2, 0, 3, 4, 1)), Rect8f(1, 2, 4, 6));
}
