// vlLinear::AffineMatrix, a 3-d affine map (3 by 4, acting on column vectors), and
// vlLinear::ProjMatrix, a plain 4 by 4 matrix of doubles.
#pragma once

#include "pigment/base/vlLinear.h"

namespace vlLinear {

// m[r][c]; column 3 is the translation. p' = M p. The builders scale, translate and rotateZ
// multiply on the left, so each applies after what the matrix already does:
// m.identity().translate(t).rotateZ(a) translates, then rotates.
class AffineMatrix {
  public:
    double m[3][4];

    AffineMatrix() { identity(); }
    virtual ~AffineMatrix() {}

    AffineMatrix& identity();
    AffineMatrix& scale(double sx, double sy, double sz = 1.0);
    AffineMatrix& translate(double tx, double ty, double tz = 0.0);
    AffineMatrix& translate(const Vector& t) { return translate(t.v[0], t.v[1], t.v[2]); }
    // Rotates counter-clockwise about the Z axis by radians.
    AffineMatrix& rotateZ(double radians);
    // The map from the frame (origin, xAxis, yAxis, zAxis) to world space: the axes become
    // columns 0 to 2 and the origin column 3. The short form takes cross(xAxis, yAxis) as zAxis.
    AffineMatrix& setFrame(const Point& origin, const Vector& xAxis, const Vector& yAxis);
    AffineMatrix& setFrame(const Point& origin, const Vector& xAxis, const Vector& yAxis,
                           const Vector& zAxis);

    // The inverse map. A singular matrix answers the identity and sets ok to false.
    AffineMatrix inverse(bool* ok = nullptr) const;
    double determinant() const;

    // this after other: (A * B) p = A (B p).
    AffineMatrix operator*(const AffineMatrix& other) const;
    Point operator*(const Point& p) const;
    // Directions ignore the translation.
    Vector operator*(const Vector& d) const;
    bool isIdentity(double tolerance = 0.0) const;
};

// r[row][col]. ProjMatrix(d) is d on the diagonal and 0 elsewhere: ProjMatrix(0.0) is the zero
// matrix, ProjMatrix(1.0) the identity.
class ProjMatrix {
  public:
    double r[4][4];

    explicit ProjMatrix(double diagonal = 1.0);
    virtual ~ProjMatrix() {}

    void setZero();
    double& operator()(int row, int col) { return r[row][col]; }
    double operator()(int row, int col) const { return r[row][col]; }
    // The sixteen values, row after row.
    double* data() { return &r[0][0]; }
    const double* data() const { return &r[0][0]; }
    ProjMatrix operator*(const ProjMatrix& other) const;
    // Divides by r[3][3] so it becomes 1; answers false when it is 0.
    bool normalize();
};

}  // namespace vlLinear
