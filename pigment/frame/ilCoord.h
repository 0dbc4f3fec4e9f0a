// Plain coordinate records: pairs, triples and quadruples, with value arithmetic for the pair and
// triple objects. Float pairs carry pen positions; int triples and quadruples carry page positions.
#pragma once

template <typename T>
struct ilXYstruct {
    T x, y;
};

template <typename T>
struct ilXYZstruct {
    T x, y, z;
};

template <typename T>
struct ilXYZCstruct {
    T x, y, z, c;
};

template <typename S, typename T>
class ilXYobj : public S {
  public:
    ilXYobj() : S{} {}
    ilXYobj(T x_, T y_) : S{x_, y_} {}
    ilXYobj(const S& s) : S(s) {}

    ilXYobj operator+(const ilXYobj& o) const { return ilXYobj(this->x + o.x, this->y + o.y); }
    ilXYobj operator-(const ilXYobj& o) const { return ilXYobj(this->x - o.x, this->y - o.y); }
    ilXYobj operator*(T s) const { return ilXYobj(this->x * s, this->y * s); }
    ilXYobj& operator+=(const ilXYobj& o) {
        this->x += o.x;
        this->y += o.y;
        return *this;
    }
    ilXYobj& operator-=(const ilXYobj& o) {
        this->x -= o.x;
        this->y -= o.y;
        return *this;
    }
    bool operator==(const ilXYobj& o) const { return this->x == o.x && this->y == o.y; }
    bool operator!=(const ilXYobj& o) const { return !(*this == o); }
};

template <typename S, typename T>
class ilXYZobj : public S {
  public:
    ilXYZobj() : S{} {}
    ilXYZobj(T x_, T y_, T z_) : S{x_, y_, z_} {}
    ilXYZobj(const S& s) : S(s) {}

    ilXYZobj operator+(const ilXYZobj& o) const {
        return ilXYZobj(this->x + o.x, this->y + o.y, this->z + o.z);
    }
    ilXYZobj operator-(const ilXYZobj& o) const {
        return ilXYZobj(this->x - o.x, this->y - o.y, this->z - o.z);
    }
    bool operator==(const ilXYZobj& o) const {
        return this->x == o.x && this->y == o.y && this->z == o.z;
    }
    bool operator!=(const ilXYZobj& o) const { return !(*this == o); }
};

using ilXYfloat = ilXYobj<ilXYstruct<float>, float>;
using ilXYint = ilXYobj<ilXYstruct<int>, int>;
using ilXYZint = ilXYZobj<ilXYZstruct<int>, int>;
