// vlLinear points and vectors: small double-precision values (float for VectorFlt) with the
// few operations geometry code needs; Point2 orders by y, then x, for ordered sets of origins.
#pragma once

#include <cmath>

namespace vlLinear {

// The tolerance geometry code compares floats with.
inline constexpr float epsilonTolFlt = 1.0e-6f;

struct Point2 {
    double x, y;
    Point2() : x(0), y(0) {}
    Point2(double px, double py) : x(px), y(py) {}
    void set(double px, double py) {
        x = px;
        y = py;
    }
    bool operator==(const Point2& o) const { return x == o.x && y == o.y; }
    bool operator!=(const Point2& o) const { return !(*this == o); }
    // Row-major order: by y, then by x.
    bool operator<(const Point2& o) const { return y < o.y || (y == o.y && x < o.x); }
};

struct Vector2 {
    double x, y;
    Vector2() : x(0), y(0) {}
    Vector2(double vx, double vy) : x(vx), y(vy) {}
    void set(double vx, double vy) {
        x = vx;
        y = vy;
    }
    double length() const { return std::sqrt(x * x + y * y); }
    // Scales to length 1; a null vector stays as it is and answers false.
    bool normalize() {
        const double n = length();
        if (n == 0.0) return false;
        x /= n;
        y /= n;
        return true;
    }
    double dot(const Vector2& o) const { return x * o.x + y * o.y; }
    Vector2 operator+(const Vector2& o) const { return {x + o.x, y + o.y}; }
    Vector2 operator-(const Vector2& o) const { return {x - o.x, y - o.y}; }
    Vector2 operator*(double s) const { return {x * s, y * s}; }
    bool operator==(const Vector2& o) const { return x == o.x && y == o.y; }
};

struct Point {
    double x, y, z;
    Point() : x(0), y(0), z(0) {}
    Point(double px, double py, double pz = 0) : x(px), y(py), z(pz) {}
    void set(double px, double py, double pz) {
        x = px;
        y = py;
        z = pz;
    }
    bool operator==(const Point& o) const { return x == o.x && y == o.y && z == o.z; }
};

// A direction in space. Its components are v[0..2] (also through []): the name z is taken by
// the unit Z axis, Vector::z.
class Vector {
  public:
    double v[3];

    static const Vector z;

    Vector() : v{0, 0, 0} {}
    Vector(double vx, double vy, double vz) : v{vx, vy, vz} {}
    void set(double vx, double vy, double vz) {
        v[0] = vx;
        v[1] = vy;
        v[2] = vz;
    }
    double& operator[](int i) { return v[i]; }
    double operator[](int i) const { return v[i]; }
    double length() const { return std::sqrt(dot(*this)); }
    // Scales to length 1; a null vector stays as it is and answers false.
    bool normalize() {
        const double n = length();
        if (n == 0.0) return false;
        v[0] /= n;
        v[1] /= n;
        v[2] /= n;
        return true;
    }
    double dot(const Vector& o) const { return v[0] * o.v[0] + v[1] * o.v[1] + v[2] * o.v[2]; }
    Vector operator+(const Vector& o) const {
        return {v[0] + o.v[0], v[1] + o.v[1], v[2] + o.v[2]};
    }
    Vector operator-(const Vector& o) const {
        return {v[0] - o.v[0], v[1] - o.v[1], v[2] - o.v[2]};
    }
    Vector operator-() const { return {-v[0], -v[1], -v[2]}; }
    Vector operator*(double s) const { return {v[0] * s, v[1] * s, v[2] * s}; }
    bool operator==(const Vector& o) const {
        return v[0] == o.v[0] && v[1] == o.v[1] && v[2] == o.v[2];
    }
};

inline const Vector Vector::z{0.0, 0.0, 1.0};

struct VectorFlt {
    float x, y, z;
    VectorFlt() : x(0), y(0), z(0) {}
    VectorFlt(float vx, float vy, float vz) : x(vx), y(vy), z(vz) {}
    void set(float vx, float vy, float vz) {
        x = vx;
        y = vy;
        z = vz;
    }
    float length() const { return std::sqrt(x * x + y * y + z * z); }
    // Scales to length 1; a null vector stays as it is and answers false.
    bool normalize() {
        const float n = length();
        if (n == 0.0f) return false;
        x /= n;
        y /= n;
        z /= n;
        return true;
    }
    float dot(const VectorFlt& o) const { return x * o.x + y * o.y + z * o.z; }
    VectorFlt operator+(const VectorFlt& o) const { return {x + o.x, y + o.y, z + o.z}; }
    VectorFlt operator-(const VectorFlt& o) const { return {x - o.x, y - o.y, z - o.z}; }
    VectorFlt operator*(float s) const { return {x * s, y * s, z * s}; }
};

inline Vector operator-(const Point& a, const Point& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Point operator+(const Point& p, const Vector& d) {
    return {p.x + d.v[0], p.y + d.v[1], p.z + d.v[2]};
}
inline Vector2 operator-(const Point2& a, const Point2& b) {
    return {a.x - b.x, a.y - b.y};
}
inline Point2 operator+(const Point2& p, const Vector2& d) {
    return {p.x + d.x, p.y + d.y};
}

inline Vector cross(const Vector& a, const Vector& b) {
    return {a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2],
            a.v[0] * b.v[1] - a.v[1] * b.v[0]};
}
inline VectorFlt cross(const VectorFlt& a, const VectorFlt& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
// The 2-d cross product: the z component of the 3-d one.
inline double cross(const Vector2& a, const Vector2& b) {
    return a.x * b.y - a.y * b.x;
}

inline double distance(const Point& a, const Point& b) {
    return (a - b).length();
}
inline double distance(const Point2& a, const Point2& b) {
    return (a - b).length();
}

}  // namespace vlLinear
