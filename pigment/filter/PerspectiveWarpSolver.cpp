#include "pigment/filter/PerspectiveWarpSolver.h"

#include <cmath>

PerspectiveWarpSolver::PerspectiveWarpSolver(float width, float height, double biasU, double biasV,
                                             const Rect8f& quad)
    : QuadSolver(width, height, biasU, biasV, quad), flat(!hasArea()) {
    init();
}

// The square-to-quad map x = (a u + b v + x0) / w, y = (d u + e v + y0) / w, w = g u + h v + 1,
// inverted through its adjoint.
void PerspectiveWarpSolver::init() {
    const float x0 = quad.x0, y0 = quad.y0, x1 = quad.x1, y1 = quad.y1;
    const float x2 = quad.x2, y2 = quad.y2, x3 = quad.x3, y3 = quad.y3;
    const float sx = x0 - x3 + x2 - x1, sy = y0 - y3 + y2 - y1;
    float g, h, a, b, d, e;
    if (sx == 0 && sy == 0) {
        g = h = 0;
        a = x3 - x0, b = x2 - x3, d = y3 - y0, e = y2 - y3;
    } else {
        const float den = (y1 - y2) * (x3 - x2) - (y3 - y2) * (x1 - x2);
        g = ((y1 - y2) * sx - (x1 - x2) * sy) / den;
        h = ((x3 - x2) * sy - (y3 - y2) * sx) / den;
        a = g * x3 + x3 - x0, b = h * x1 + x1 - x0;
        d = g * y3 + y3 - y0, e = h * y1 + y1 - y0;
    }
    A0 = e - h * y0, A1 = g * y0 - d, A2 = h * d - g * e;
    A3 = h * x0 - b, A4 = a - g * x0, A5 = g * b - h * a;
    A6 = b * y0 - e * x0, A7 = d * x0 - a * y0, A8 = e * a - d * b;
}

bool PerspectiveWarpSolver::getUnitUVForXY(float& x, float& y) {
    if (flat) return false;
    float w = y * A5 + x * A2 + A8;
    // A position on the horizon maps to infinity; a tiny w sends it far away instead.
    if (std::fabs(w) < 0.0001f) w = w < 0 ? -0.0001f : 0.0001f;
    float u = (y * A3 + x * A0 + A6) / w;
    float v = (y * A4 + x * A1 + A7) / w;
    if (!(u <= width && u >= -width / 2)) u = width + 1;
    if (!(v <= height && v >= -height / 2)) v = height + 1;
    x = u;
    y = v;
    return u >= 0 && u <= 1 && v >= 0 && v <= 1;
}
