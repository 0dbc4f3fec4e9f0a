#include "support/RandomCases.h"

#include <cmath>

namespace ref {

uint32_t Rng::take(int n) {
    uint32_t v = 0;
    for (int i = 0; i < n && left_ > 0; ++i, --left_)
        v |= uint32_t(*bytes_++) << (8 * i);
    return v;
}

int Rng::range(int lo, int hi) {
    if (!fed_) return std::uniform_int_distribution<int>(lo, hi)(gen_);
    if (hi <= lo) return lo;
    const uint64_t span = uint64_t(int64_t(hi) - lo) + 1;
    const int n = span <= 0x100 ? 1 : span <= 0x10000 ? 2 : span <= 0x1000000 ? 3 : 4;
    return static_cast<int>(lo + int64_t(take(n) % span));
}

double Rng::real() {
    static const double special[] = {300.7,        -1.5,         0.5,           -0.5,     255.0,
                                     256.0,        257.0,        65536.0,       -1.0,     3e9,
                                     -3e9,         2147483648.0, -2147483649.0, 1e20,     -1e20,
                                     4294967301.0, NAN,          INFINITY,      -INFINITY};
    if (oneIn(6)) return pick(special);
    return range(-4000000, 4000000) / 100.0;
}

void Rng::elements(ilType type, Bytes& b) {
    if (type != ilFloat && type != ilDouble) {
        for (auto& c : b)
            c = byte();
        return;
    }
    const size_t w = type == ilFloat ? 4 : 8;
    for (size_t i = 0; i + w <= b.size(); i += w)
        put(type, b.data(), int64_t(i / w), real(), ilDouble);
}

Bytes Rng::data(const Layout& l) {
    Bytes b(size_t(l.bytes()));
    elements(l.type, b);
    return b;
}

ilTile Rng::near(const ilTile& b) {
    if (oneIn(12)) return ilTile(range(-3, 3), 0, 0, range(-2, 0), 3, 1);
    return ilTile(range(b.x - 3, b.x + b.nx), range(b.y - 3, b.y + b.ny),
                  range(b.z - 1, b.z + b.nz - 1), range(1, b.nx + 4), range(1, b.ny + 4),
                  range(1, b.nz + 1));
}

void Rng::channels(Layout& l, int chans) {
    l.offset = 0;
    l.list.clear();
    if (oneIn(3)) {
        for (int i = 0; i < l.nc; ++i)
            l.list.push_back(oneIn(8) ? range(-1, chans + 1) : range(0, chans - 1));
    } else if (oneIn(2)) {
        l.offset = range(0, 2);
    }
}

Layout Rng::layout(int chans) {
    Layout l;
    l.type = pick(kTypes);
    l.order = pick(kOrders);
    l.nc = oneIn(8) ? 8 : range(1, 5);
    channels(l, chans);
    return l;
}

}  // namespace ref
