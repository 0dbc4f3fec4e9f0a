// The inverse of a projective map from the unit square onto the quadrilateral: straight lines
// stay straight and the far side shrinks, as a plane seen in perspective.
#pragma once

#include "pigment/filter/QuadSolver.h"

class PerspectiveWarpSolver : public QuadSolver {
  public:
    PerspectiveWarpSolver(float width, float height, double biasU, double biasV,
                          const Rect8f& quad);

    // True only for a position whose (u, v) lies within 0..1 on both axes.
    bool getUnitUVForXY(float& x, float& y) override;

  private:
    void init();
    // A quadrilateral without area maps every position to one point: none has a source.
    bool flat;
    float A0, A1, A2, A3, A4, A5, A6, A7, A8;
};
