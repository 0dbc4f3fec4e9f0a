// A quadrilateral as a value: where the four corners of a source rectangle land. Corner 0 is
// the origin, corner 1 the end of the first side in y, corner 3 the end of the first side in x.
#pragma once

#include "pigment/frame/ilTile.h"

struct Rect8f {
    float x0 = 0, y0 = 0, x1 = 0, y1 = 0, x2 = 0, y2 = 0, x3 = 0, y3 = 0;

    Rect8f() = default;
    // The tile's rectangle, corners (x, y), (x, y + ny), (x + nx, y + ny), (x + nx, y).
    explicit Rect8f(const ilTile& tile);
    // The rectangle from (minX, minY) to (maxX, maxY), corners in the same order as a tile's.
    Rect8f(float minX, float minY, float maxX, float maxY);
    // Any quadrilateral, corner by corner.
    Rect8f(float ax, float ay, float bx, float by, float cx, float cy, float dx, float dy);

    bool operator==(const Rect8f& o) const;
    bool operator!=(const Rect8f& o) const { return !(*this == o); }

    // Corner coordinates by index: x of corner i at 2i, y at 2i + 1.
    float& operator[](int i) { return (&x0)[i]; }
    float operator[](int i) const { return (&x0)[i]; }

    // The axis-aligned bounding rectangle, and the same as a tile rounded to whole pixels.
    Rect8f GetBounds() const;
    ilTile GetBoundsTile() const;
    // The mean of the four corners.
    void GetCenter(float& x, float& y) const;
    // a: the length of the side from corner 0 to corner 3; b: from corner 0 to corner 1.
    void GetSides(float& a, float& b) const;
    // About the origin, counter-clockwise for positive degrees.
    void Rotate(float degrees);
    void Scale(float sx, float sy);
    void Translate(float dx, float dy);
    // True when opposite sides are parallel (a parallelogram), so one linear map covers it.
    bool isAffine() const;
    void clear() { *this = Rect8f(); }
};
