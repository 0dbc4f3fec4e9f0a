#include "support/TransferCases.h"

#include <sstream>

namespace ref {

ilTileBlock Side::block(Bytes& storage) const {
    const int* list = l.list.empty() ? nullptr : l.list.data();
    ilTileBlock b = l.solid
                        ? ilTileBlock(pixel, list, l.offset, &exclude)
                        : ilTileBlock(storage.data(), l.box, l.type, l.order, l.nc, l.offset, list);
    if (regionActive) b.setRegion(region);
    if (!l.solid) b.setFlip(l.flipX, l.flipY, l.exchange), b.setExclude(exclude);
    return b;
}

std::string Side::describe() const {
    std::ostringstream o;
    o << l.describe() << (regionActive ? " region " : " no region ") << region.x << "," << region.y
      << "," << region.z << " " << region.nx << "x" << region.ny << "x" << region.nz << " exclude "
      << exclude.x << "," << exclude.y << "," << exclude.z << " " << exclude.nx << "x" << exclude.ny
      << "x" << exclude.nz;
    return o.str();
}

namespace {

ilTile randomBox(Rng& rng) {
    return ilTile(rng.range(-3, 3), rng.range(-3, 3), rng.range(-1, 1),
                  rng.oneIn(5) ? rng.range(16, 40) : rng.range(1, 8), rng.range(1, 6),
                  rng.range(1, 3));
}

}  // namespace

void randomGeometry(Rng& rng, Side& s, const ilTile* share) {
    s.l.box = share ? (rng.oneIn(3) ? *share : rng.near(*share)) : randomBox(rng);
    if (s.l.box.empty()) s.l.box = randomBox(rng);
    s.l.flipX = rng.oneIn(4);
    s.l.flipY = rng.oneIn(4);
    s.l.exchange = rng.oneIn(5);
    s.regionActive = rng.oneIn(3);
    s.region = rng.near(s.l.box);
}

ilTile randomExclude(Rng& rng, const ilTile& b) {
    const int kind = rng.range(0, 9);
    if (kind < 2) return rng.near(b);
    if (kind == 2) return ilTile(-100, -100, -100, 300, 300, 300);
    if (kind == 3) return ilTile(b.x + b.nx / 2, -100, -100, rng.range(1, 2), 300, 300);
    return ilTile(0, 0, 0, 0, 0, 0);
}

void randomMove(Rng& rng, Side& d, Side& s) {
    d.l = rng.layout(5);
    randomGeometry(rng, d, nullptr);
    d.exclude = randomExclude(rng, d.l.box);  // a destination's exclusion plays no part
    d.data = rng.data(d.l);
    s.l = rng.layout(5);
    if (rng.oneIn(6)) {
        s.l.solid = true;
        s.l.nc = rng.range(1, d.l.nc + 1);
        rng.channels(s.l, 5);
        const Bytes px = rng.data(s.l);
        s.pixel.set(s.l.type, s.l.nc, px.data());
        s.regionActive = rng.oneIn(3);
        s.region = rng.near(d.l.box);
    } else {
        if (rng.oneIn(3)) s.l.nc = d.l.nc, rng.channels(s.l, 5);
        randomGeometry(rng, s, &d.l.box);
        s.data = rng.data(s.l);
    }
    s.exclude = randomExclude(rng, d.l.box);
}

Outcome runBoth(const Side& d, const Side& s, bool fast) {
    Outcome out{d.data, d.data, {}, true};
    Bytes source = s.data;
    ilTileBlock db = d.block(out.engine), sb = s.block(source);
    const ilTileBlock before = sb;
    ilTileTransfer t(db, sb);
    t.fastPathEnabled = fast;
    t.run();
    out.paths = t.paths;
    // The source is only read, and a widened solid leaves the caller's block alone.
    out.sourceKept = source == s.data && sb.data == before.data && sb.nChans == before.nChans &&
                     sb.type == before.type;
    transfer(d.l, out.reference.data(), d.regionActive ? &d.region : nullptr, s.l,
             s.l.solid ? s.pixel.elems() : s.data.data(), s.regionActive ? &s.region : nullptr,
             s.exclude);
    return out;
}

}  // namespace ref
