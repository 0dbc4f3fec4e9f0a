#include "pigment/filter/QuadSolver.h"

#include <algorithm>
#include <cmath>

QuadSolver::QuadSolver(float w, float h, double bu, double bv, const Rect8f& q)
    : width(w), height(h), quad(q), biasU(bu), biasV(bv) {}

QuadSolver::~QuadSolver() = default;

bool QuadSolver::getUVForXY(float& x, float& y) {
    if (!getUnitUVForXY(x, y)) return false;
    applyBias(x, y);
    x *= width;
    y *= height;
    return true;
}

void QuadSolver::applyBias(float& u, float& v) const {
    if (biasU != 1.0) u = float(std::pow(double(u), biasU));
    if (biasV != 1.0) v = float(std::pow(double(v), biasV));
}

bool QuadSolver::equivalent(double p, double q) {
    return std::fabs(p - q) < 0.0001;
}

double QuadSolver::twiceSignedArea() const {
    const Rect8f& q = quad;
    return (double(q.x0) * q.y1 - double(q.x1) * q.y0) +
           (double(q.x1) * q.y2 - double(q.x2) * q.y1) +
           (double(q.x2) * q.y3 - double(q.x3) * q.y2) +
           (double(q.x3) * q.y0 - double(q.x0) * q.y3);
}

bool QuadSolver::hasArea() const {
    const Rect8f b = quad.GetBounds();
    const double extent = std::max(double(b.x2) - b.x0, double(b.y2) - b.y0);
    // Relative to the extent, so that float corners on one line, which leave a rounding
    // residue, count as a line; NaN corners fail the comparison too.
    return std::fabs(twiceSignedArea()) > 1e-7 * extent * extent;
}
