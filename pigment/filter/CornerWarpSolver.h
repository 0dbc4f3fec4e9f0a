// The inverse of a bilinear patch: the quadrilateral's corners are joined by straight lines in
// u and in v, and each destination position is solved back to the (u, v) that lands there.
#pragma once

#include "pigment/filter/QuadSolver.h"

class CornerWarpSolver : public QuadSolver {
  public:
    CornerWarpSolver(float width, float height, double biasU, double biasV, const Rect8f& quad);

    // False for a position outside the patch, or one the patch cannot reach.
    bool getUnitUVForXY(float& x, float& y) override;

  private:
    // a is corner 0 (u 0, v 0), b corner 3 (u 1, v 0), c corner 2 (u 1, v 1), d corner 1 (u 0, v
    // 1).
    double ax, ay, bx, by, cx, cy, dx, dy;
    // Which root of the quadratics belongs to the patch: it follows the corners' turning sense.
    double rootSign = 1.0;
    bool flat = false;
};
