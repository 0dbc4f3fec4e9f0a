// Affine and projective matrix arithmetic. The affine inverse works on the 3 by 3 part by
// cofactors and maps the translation back, which is exact enough for frames and page maps.
#include "pigment/base/vlMatrix.h"

#include <cmath>

namespace vlLinear {

AffineMatrix& AffineMatrix::identity() {
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 4; ++j)
            m[i][j] = (i == j) ? 1.0 : 0.0;
    }
    return *this;
}

AffineMatrix& AffineMatrix::scale(double sx, double sy, double sz) {
    AffineMatrix s;
    s.m[0][0] = sx;
    s.m[1][1] = sy;
    s.m[2][2] = sz;
    return *this = s * *this;
}

AffineMatrix& AffineMatrix::translate(double tx, double ty, double tz) {
    m[0][3] += tx;
    m[1][3] += ty;
    m[2][3] += tz;
    return *this;
}

AffineMatrix& AffineMatrix::rotateZ(double radians) {
    const double c = std::cos(radians), s = std::sin(radians);
    AffineMatrix rz;
    rz.m[0][0] = c;
    rz.m[0][1] = -s;
    rz.m[1][0] = s;
    rz.m[1][1] = c;
    return *this = rz * *this;
}

AffineMatrix& AffineMatrix::setFrame(const Point& origin, const Vector& xAxis,
                                     const Vector& yAxis) {
    return setFrame(origin, xAxis, yAxis, cross(xAxis, yAxis));
}

AffineMatrix& AffineMatrix::setFrame(const Point& origin, const Vector& xAxis, const Vector& yAxis,
                                     const Vector& zAxis) {
    for (int i = 0; i < 3; ++i) {
        m[i][0] = xAxis.v[i];
        m[i][1] = yAxis.v[i];
        m[i][2] = zAxis.v[i];
    }
    m[0][3] = origin.x;
    m[1][3] = origin.y;
    m[2][3] = origin.z;
    return *this;
}

double AffineMatrix::determinant() const {
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

AffineMatrix AffineMatrix::inverse(bool* ok) const {
    AffineMatrix inv;
    const double det = determinant();
    if (det == 0.0 || !std::isfinite(det)) {
        if (ok) *ok = false;
        return inv;
    }
    const double k = 1.0 / det;
    inv.m[0][0] = (m[1][1] * m[2][2] - m[1][2] * m[2][1]) * k;
    inv.m[0][1] = (m[0][2] * m[2][1] - m[0][1] * m[2][2]) * k;
    inv.m[0][2] = (m[0][1] * m[1][2] - m[0][2] * m[1][1]) * k;
    inv.m[1][0] = (m[1][2] * m[2][0] - m[1][0] * m[2][2]) * k;
    inv.m[1][1] = (m[0][0] * m[2][2] - m[0][2] * m[2][0]) * k;
    inv.m[1][2] = (m[0][2] * m[1][0] - m[0][0] * m[1][2]) * k;
    inv.m[2][0] = (m[1][0] * m[2][1] - m[1][1] * m[2][0]) * k;
    inv.m[2][1] = (m[0][1] * m[2][0] - m[0][0] * m[2][1]) * k;
    inv.m[2][2] = (m[0][0] * m[1][1] - m[0][1] * m[1][0]) * k;
    for (int i = 0; i < 3; ++i) {
        inv.m[i][3] = -(inv.m[i][0] * m[0][3] + inv.m[i][1] * m[1][3] + inv.m[i][2] * m[2][3]);
    }
    if (ok) *ok = true;
    return inv;
}

AffineMatrix AffineMatrix::operator*(const AffineMatrix& o) const {
    AffineMatrix p;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 4; ++j) {
            double sum = m[i][0] * o.m[0][j] + m[i][1] * o.m[1][j] + m[i][2] * o.m[2][j];
            if (j == 3) sum += m[i][3];
            p.m[i][j] = sum;
        }
    }
    return p;
}

Point AffineMatrix::operator*(const Point& p) const {
    return {m[0][0] * p.x + m[0][1] * p.y + m[0][2] * p.z + m[0][3],
            m[1][0] * p.x + m[1][1] * p.y + m[1][2] * p.z + m[1][3],
            m[2][0] * p.x + m[2][1] * p.y + m[2][2] * p.z + m[2][3]};
}

Vector AffineMatrix::operator*(const Vector& d) const {
    return {m[0][0] * d.v[0] + m[0][1] * d.v[1] + m[0][2] * d.v[2],
            m[1][0] * d.v[0] + m[1][1] * d.v[1] + m[1][2] * d.v[2],
            m[2][0] * d.v[0] + m[2][1] * d.v[1] + m[2][2] * d.v[2]};
}

bool AffineMatrix::isIdentity(double tolerance) const {
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 4; ++j) {
            if (std::fabs(m[i][j] - (i == j ? 1.0 : 0.0)) > tolerance) return false;
        }
    }
    return true;
}

ProjMatrix::ProjMatrix(double diagonal) {
    setZero();
    for (int i = 0; i < 4; ++i)
        r[i][i] = diagonal;
}

void ProjMatrix::setZero() {
    for (auto& row : r) {
        for (double& value : row)
            value = 0.0;
    }
}

ProjMatrix ProjMatrix::operator*(const ProjMatrix& o) const {
    ProjMatrix p(0.0);
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            double sum = 0.0;
            for (int k = 0; k < 4; ++k)
                sum += r[i][k] * o.r[k][j];
            p.r[i][j] = sum;
        }
    }
    return p;
}

bool ProjMatrix::normalize() {
    const double w = r[3][3];
    if (w == 0.0) return false;
    for (auto& row : r) {
        for (double& value : row)
            value /= w;
    }
    return true;
}

}  // namespace vlLinear
