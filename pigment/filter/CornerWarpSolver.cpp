#include "pigment/filter/CornerWarpSolver.h"

#include <cmath>

CornerWarpSolver::CornerWarpSolver(float width, float height, double biasU, double biasV,
                                   const Rect8f& q)
    : QuadSolver(width, height, biasU, biasV, q),
      ax(q.x0),
      ay(q.y0),
      bx(q.x3),
      by(q.y3),
      cx(q.x2),
      cy(q.y2),
      dx(q.x1),
      dy(q.y1) {
    // The patch's root of the quadratics is the positive one for clockwise corners.
    rootSign = twiceSignedArea() > 0 ? -1.0 : 1.0;
    flat = !hasArea();
}

namespace {

double cross(double px, double py, double qx, double qy) {
    return px * qy - py * qx;
}

// A unit coordinate a hair outside 0..1 is rounding in the solution, not a position outside.
bool unitRange(double& t) {
    constexpr double slack = 1e-6;
    if (!(t >= -slack && t <= 1.0 + slack)) return false;
    t = t < 0 ? 0 : t > 1 ? 1 : t;
    return true;
}

}  // namespace

bool CornerWarpSolver::getUnitUVForXY(float& fx, float& fy) {
    if (flat) return false;
    const double X = fx, Y = fy;
    const double px = ax - bx, py = ay - by, qx = ax - dx, qy = ay - dy;
    const double rx = cx - bx, ry = cy - by, sx = cx - dx, sy = cy - dy;

    const double u1 = 2 * (py * sx - px * sy), d1 = sy * py + px * sx;
    const double u2 = 2 * (ry * qx - rx * qy), d2 = qy * ry + rx * qx;
    const double t1 = d1 == 0 ? 1 : u1 / d1, t2 = d2 == 0 ? 1 : u2 / d2;

    double u, v;
    if (std::fabs(t1) >= 0.0001 && std::fabs(t2) >= 0.0001) {
        const double B1 = (cx - dx + ax - bx) * Y + (by - ay - cy + dy) * X - cx * ay + dx * by +
                          (cy - 2 * by) * ax + (2 * ay - dy) * bx;
        const double C = 2 * u2 * ((ax - bx) * Y + (by - ay) * X + bx * ay - ax * by);
        const double B2 = (dx - cx - ax + bx) * Y + (ay - by + cy - dy) * X + dx * by - bx * dy +
                          (cx - 2 * dx) * ay + (2 * dy - cy) * ax;
        const double disc = B1 * B1 - C;
        if (disc < 0) return false;
        // Both roots take the root of B1 B1 - C: the two discriminants are equal for a point of
        // the plane, and this one is formed with the v equation's own constant, whereas squaring
        // B2 against that same constant would not invert the patch. The patch's own root is the
        // positive one for clockwise corners and the negative one for a mirrored quad.
        const double root = rootSign * std::sqrt(disc);
        // C is B1 B1 less the discriminant; Cu, the u equation's constant, is B2 B2 less it.
        // Where B and the root have opposite signs the sum cancels, and the product of the
        // roots gives the same root without the cancellation.
        const double Cu = 2 * u1 * cross(ax - X, ay - Y, dx - ax, dy - ay);
        v = B1 * root >= 0 || B1 == root ? (B1 + root) / u2 : C / (u2 * (B1 - root));
        u = B2 * root >= 0 || B2 == root ? (B2 + root) / u1 : Cu / (u1 * (B2 - root));
    } else {
        // One pair of sides is parallel, or nearly so: with h = a - P, e = b - a, f = d - a and
        // g = a - b + c - d the patch reads h + u e + v f + u v g = 0, and crossing out v (or u)
        // leaves A t t + B t + C = 0 with A small. The root taken is C / q, q = -(B + sign(B)
        // sqrt(B B - 4 A C)) / 2, which is the line's solution -C / B when A is 0 and stays exact
        // when A is merely small. The other unknown then follows from the better-conditioned
        // component of the vector equation.
        const double hx = ax - X, hy = ay - Y, ex = bx - ax, ey = by - ay;
        const double fx_ = dx - ax, fy_ = dy - ay, gx = ax - bx + cx - dx, gy = ay - by + cy - dy;
        const bool solveU = std::fabs(t1) < 0.0001;
        // Solving for u: A = e x g, B = h x g + e x f, C = h x f; for v, e and f trade places.
        const double px_ = solveU ? ex : fx_, py_ = solveU ? ey : fy_;
        const double ox = solveU ? fx_ : ex, oy = solveU ? fy_ : ey;
        const double A = cross(px_, py_, gx, gy);
        const double B = cross(hx, hy, gx, gy) + cross(px_, py_, ox, oy);
        const double Cl = cross(hx, hy, ox, oy);
        const double disc = B * B - 4 * A * Cl;
        if (disc < 0) return false;
        const double q = -(B + std::copysign(std::sqrt(disc), B)) / 2;
        if (q == 0) return false;
        const double t = Cl / q;
        const double kx = ox + t * gx, ky = oy + t * gy;
        const bool useX = std::fabs(kx) >= std::fabs(ky);
        const double k = useX ? kx : ky;
        if (k == 0) return false;
        const double other = -(useX ? hx + t * px_ : hy + t * py_) / k;
        u = solveU ? t : other;
        v = solveU ? other : t;
    }
    if (!unitRange(u) || !unitRange(v)) return false;
    fx = float(u);
    fy = float(v);
    return true;
}
