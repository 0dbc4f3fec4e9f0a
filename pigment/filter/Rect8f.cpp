#include "pigment/filter/Rect8f.h"

#include <algorithm>
#include <cmath>

Rect8f::Rect8f(const ilTile& t)
    : Rect8f(float(t.x), float(t.y), float(t.x) + float(t.nx), float(t.y) + float(t.ny)) {}

Rect8f::Rect8f(float minX, float minY, float maxX, float maxY)
    : x0(minX), y0(minY), x1(minX), y1(maxY), x2(maxX), y2(maxY), x3(maxX), y3(minY) {}

Rect8f::Rect8f(float ax, float ay, float bx, float by, float cx, float cy, float dx, float dy)
    : x0(ax), y0(ay), x1(bx), y1(by), x2(cx), y2(cy), x3(dx), y3(dy) {}

bool Rect8f::operator==(const Rect8f& o) const {
    for (int i = 0; i < 8; ++i)
        if ((*this)[i] != o[i]) return false;
    return true;
}

Rect8f Rect8f::GetBounds() const {
    return Rect8f(std::min({x0, x1, x2, x3}), std::min({y0, y1, y2, y3}),
                  std::max({x0, x1, x2, x3}), std::max({y0, y1, y2, y3}));
}

namespace {
// Halves away from zero, as pixel positions are rounded throughout.
int roundAway(float v) {
    return int(v > 0 ? v + 0.5f : v - 0.5f);
}
}  // namespace

ilTile Rect8f::GetBoundsTile() const {
    const Rect8f b = GetBounds();
    const int x = roundAway(b.x0), y = roundAway(b.y0);
    return ilTile(x, y, 0, int(b.x2 + 0.5f - float(x)), int(b.y2 + 0.5f - float(y)), 1);
}

void Rect8f::GetCenter(float& x, float& y) const {
    x = (x0 + x1 + x2 + x3) * 0.25f;
    y = (y0 + y1 + y2 + y3) * 0.25f;
}

void Rect8f::GetSides(float& a, float& b) const {
    a = std::hypot(x3 - x0, y3 - y0);
    b = std::hypot(x1 - x0, y1 - y0);
}

void Rect8f::Rotate(float degrees) {
    const double radians = double(degrees) * 0.017453292942065223;
    const double c = std::cos(radians), s = std::sin(radians);
    for (int i = 0; i < 8; i += 2) {
        const double x = (*this)[i], y = (*this)[i + 1];
        (*this)[i] = float(x * c - y * s);
        (*this)[i + 1] = float(x * s + y * c);
    }
}

void Rect8f::Scale(float sx, float sy) {
    for (int i = 0; i < 8; i += 2)
        (*this)[i] *= sx, (*this)[i + 1] *= sy;
}

void Rect8f::Translate(float dx, float dy) {
    for (int i = 0; i < 8; i += 2)
        (*this)[i] += dx, (*this)[i + 1] += dy;
}

bool Rect8f::isAffine() const {
    return std::fabs(x2 - x1 + x0 - x3) < 1e-9 && std::fabs(y2 - y1 + y0 - y3) < 1e-9;
}
