// The inverse maps of a warped image: for a position in the destination, the source position
// whose quadrilateral corner mapping lands there. QuadSolver holds the common steps.
#pragma once

#include "pigment/filter/Rect8f.h"

class QuadSolver {
  public:
    // width and height scale the unit result; a bias other than 1 bends u or v by that power.
    QuadSolver(float width, float height, double biasU, double biasV, const Rect8f& quad);
    QuadSolver(const QuadSolver&) = default;
    QuadSolver& operator=(const QuadSolver&) = default;
    virtual ~QuadSolver();

    // On entry a destination position, on exit unit coordinates (u, v); false when the position
    // has no source, and then x and y are not to be used.
    virtual bool getUnitUVForXY(float& x, float& y) = 0;

    // As getUnitUVForXY, then biased and scaled to width and height.
    bool getUVForXY(float& x, float& y);

  protected:
    void applyBias(float& u, float& v) const;
    static bool equivalent(double p, double q);
    // Twice the area enclosed by corners 0, 1, 2, 3 in turn: negative when they run clockwise
    // (as a tile's do with y upward), near 0 when they collapse onto a line or cross evenly.
    double twiceSignedArea() const;
    // False for a quadrilateral without area, which no position can be solved back through.
    bool hasArea() const;

    float width, height;
    Rect8f quad;
    double biasU, biasV;
};
