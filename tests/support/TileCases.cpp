#include "support/TileCases.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "pigment/smart/ilSmartImage.h"

namespace ref {

Guarded::Guarded(Rng& rng, int64_t bytes) : mem(size_t(bytes) + 2 * kGuard) {
    for (auto& b : mem)
        b = rng.byte();
}

std::string show(const ilTile& t) {
    std::ostringstream o;
    o << t.x << "," << t.y << "," << t.z << " " << t.nx << "x" << t.ny << "x" << t.nz;
    return o.str();
}

std::string show(const Image& r) {
    std::ostringstream o;
    o << "image type " << r.type << " order " << r.order << " size " << r.size.x << "x" << r.size.y
      << "x" << r.size.z << "x" << r.size.c << " space " << r.space << " fill type "
      << r.fill.type() << " nc " << r.fill.nc();
    return o.str();
}

std::string difference(const Bytes& got, const Bytes& want) {
    if (got == want) return "";
    if (got.size() != want.size())
        return "sizes differ: " + std::to_string(got.size()) + " for " +
               std::to_string(want.size());
    size_t i = 0;
    while (got[i] == want[i])
        ++i;
    return "first difference at byte " + std::to_string(i) + ": " + std::to_string(got[i]) +
           " instead of " + std::to_string(want[i]);
}

Bytes blockOf(ilMemoryImg& img) {
    auto* p = static_cast<const unsigned char*>(img.getDataPtr());
    return p ? Bytes(p, p + img.mem_used()) : Bytes();
}

std::unique_ptr<ilMemoryImg> randomImage(Rng& rng, Image& r) {
    r.type = rng.pick(kTypes);
    r.order = rng.pick(kOrders);
    r.size = ilSize(rng.oneIn(4) ? rng.range(10, 37) : rng.range(1, 9),
                    rng.oneIn(4) ? rng.range(10, 23) : rng.range(1, 7),
                    rng.oneIn(4) ? rng.range(2, 3) : 1, rng.range(1, 5));
    auto img = std::make_unique<ilMemoryImg>(r.size, r.type, r.order);
    if (rng.oneIn(4)) {
        r.space = rng.range(1, 8);
        img->setCoordSpace(static_cast<ilCoordSpace>(r.space));
    }
    if (!rng.oneIn(4)) {
        Layout f;
        f.type = rng.pick(kTypes);
        f.nc = rng.range(1, 6);
        f.solid = true;
        img->setFill(ilPixel(f.type, f.nc, rng.data(f).data()));
    }
    r.bytes = rng.data(r.layout());
    std::memcpy(img->getDataPtr(), r.bytes.data(), r.bytes.size());
    r.fill = img->getFill();
    return img;
}

namespace {

// A buffer box over an image of the given size, and a tile near it.
ilTile randomBox(Rng& rng, const ilSize& s) {
    const int m = std::max(s.x, s.y);
    return ilTile(rng.range(-3, m), rng.range(-3, m), rng.range(-1, s.z - 1), rng.range(1, m + 4),
                  rng.range(1, m + 4), rng.range(1, s.z + 1));
}

}  // namespace

std::string memoryTileCase(Rng& rng, Image& r, ilMemoryImg& img, const ilTile* at) {
    Layout b;
    const bool useCfg = !rng.oneIn(8);
    if (useCfg) {
        b = rng.layout(r.size.c);
        b.space = rng.range(0, 8);
    } else {
        b.type = r.type, b.order = r.order, b.nc = r.size.c;
    }
    b.box = at ? *at : randomBox(rng, r.size);
    const ilTile t = at ? *at : rng.near(b.box), B = b.box;
    ilConfig cfg = b.config();
    // Zero channels in a config stand for the image's own count.
    if (b.nc == r.size.c && b.list.empty() && rng.oneIn(2)) cfg.nChans = 0;
    ilConfig* pc = useCfg ? &cfg : nullptr;
    const int op = rng.range(0, 2);
    const std::string what = "memory op " + std::to_string(op) + ": " + show(r) +
                             (useCfg ? "; " : "; no cfg; ") + b.describe() + "; tile " + show(t);
    std::string wrong;
    if (op == 0) {
        Guarded out(rng, b.bytes());
        Bytes want = out.mem;
        if (at) {
            // Nothing of the image lies so far out, in whatever space the caller names.
            Image none = r;
            none.size = ilSize(0, 0, 0, r.size.c);
            Layout plain = b;
            plain.space = 0;
            read(none, plain, t, want.data() + kGuard);
        } else {
            read(r, b, t, want.data() + kGuard);
        }
        const ilStatus s = img.getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, out.data(), B.x, B.y,
                                            B.z, B.nx, B.ny, B.nz, pc);
        wrong = s != ilOK ? "read answered " + std::to_string(s) : difference(out.mem, want);
    } else if (op == 1) {
        Bytes src = rng.data(b);
        const Bytes before = src;
        // So far out nothing lands, whatever the space; the model need not walk it.
        const bool taken = at ? !repeatsChannel(b) : write(r, b, t, src.data());
        const ilStatus want = taken ? ilOK : ilConfigNotInvertible;
        const ilStatus s = img.setSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, src.data(), B.x, B.y,
                                            B.z, B.nx, B.ny, B.nz, pc);
        if (s != want) wrong = "write answered " + std::to_string(s);
        if (src != before) wrong += " the written buffer changed";
        if (wrong.empty()) wrong = difference(blockOf(img), r.bytes);
    } else {
        Layout px = b;
        px.solid = true;
        const Bytes pixel = rng.data(px);
        ilTile ex = at || rng.oneIn(5) ? ilTile(-8, -8, -2, 60, 60, 8) : rng.near(t);
        const ilTile* exclude = rng.oneIn(3) ? nullptr : &ex;
        const void* data = rng.oneIn(6) ? nullptr : pixel.data();
        if (!at) fill(r, b, t, data, exclude);
        const ilStatus s = img.fillTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, data, &cfg, exclude);
        wrong =
            s != ilOK ? "fill answered " + std::to_string(s) : difference(blockOf(img), r.bytes);
        if (!wrong.empty() && exclude) wrong += " excluding " + show(ex);
    }
    return wrong.empty() ? "" : what + "\n" + wrong;
}

void randomWindow(Rng& rng, const Image& r, ilMemoryImg& img, Window& w) {
    const ilSize& s = r.size;
    w.x = rng.range(-2, s.x - 1);
    w.y = rng.range(-2, s.y - 1);
    w.z = rng.range(0, s.z - 1);
    w.nx = rng.range(1, s.x + 2);
    w.ny = rng.range(1, s.y + 2);
    w.nz = rng.range(1, s.z);
    w.list.clear();
    w.c = 0;
    w.nc = s.c;
    const int kind = rng.range(0, 2);
    if (kind == 1) {
        w.c = rng.range(0, s.c - 1);
        w.nc = rng.range(1, s.c - w.c);
        w.image = std::make_unique<ilSubImg>(&img, w.x, w.y, w.z, w.c, w.nx, w.ny, w.nz, w.nc);
    } else if (kind == 2) {
        w.nc = rng.range(1, 4);
        for (int i = 0; i < w.nc; ++i)
            w.list.push_back(rng.range(0, s.c - 1));
        ilConfig cfg(static_cast<ilType>(0), static_cast<ilOrder>(0), w.nc, w.list.data());
        w.image = std::make_unique<ilSubImg>(&img, w.x, w.y, w.z, w.nx, w.ny, w.nz, &cfg);
    } else {
        w.image = std::make_unique<ilSubImg>(&img, w.x, w.y, w.z, w.nx, w.ny, w.nz);
    }
    if (rng.oneIn(3)) {
        Layout f;
        f.type = rng.pick(kTypes);
        f.nc = rng.range(1, 5);
        f.solid = true;
        w.image->setFill(ilPixel(f.type, f.nc, rng.data(f).data()));
    }
}

namespace {

// The input channel that a caller's buffer channel k reaches through the window, or -1.
int inputChannel(const Window& w, const Layout& b, int k) {
    const int wc = b.list.empty() ? b.offset + k : b.list[size_t(k)];
    if (wc < 0 || wc >= w.nc) return -1;
    return w.list.empty() ? w.c + wc : w.list[size_t(wc)];
}

// Clips t to the window's box from the origin, axis by axis, an empty axis staying at its start;
// true when that changed anything.
bool clipToWindow(const Window& w, ilTile& t) {
    bool changed = false;
    auto axis = [&changed](int& start, int& extent, int limit) {
        const int lo = std::max(start, 0);
        const int hi = static_cast<int>(std::min<int64_t>(int64_t(start) + extent, limit));
        const int n = std::max(hi - lo, 0);
        changed = changed || lo != start || n != extent;
        start = lo;
        extent = n;
    };
    axis(t.x, t.nx, w.nx);
    axis(t.y, t.ny, w.ny);
    axis(t.z, t.nz, w.nz);
    return changed;
}

}  // namespace

std::string windowTileCase(Rng& rng, Image& r, Window& w, const ilTile* at) {
    Layout b = rng.layout(w.nc);
    b.box = at ? *at : randomBox(rng, ilSize(w.nx, w.ny, w.nz, w.nc));
    const ilTile t = at ? *at : rng.near(b.box), B = b.box;
    ilConfig cfg = b.config();
    const bool write = rng.oneIn(2);
    const std::string what = std::string("window ") + (write ? "write" : "read") + " at " +
                             show(ilTile(w.x, w.y, w.z, w.nx, w.ny, w.nz)) + " channels " +
                             std::to_string(w.c) + "+" + std::to_string(w.nc) +
                             (w.list.empty() ? "" : " listed") + ": " + show(r) + "; " +
                             b.describe() + "; tile " + show(t);

    // The request as the input sees it: moved by the origin, channels through the window's.
    ilTile inside = t;
    const bool clipped = clipToWindow(w, inside);
    Layout there = b;
    there.box = inside.empty() ? B : ilTile(B.x + w.x, B.y + w.y, B.z + w.z, B.nx, B.ny, B.nz);
    there.list.clear();
    there.offset = 0;
    for (int k = 0; k < b.nc; ++k)
        there.list.push_back(inputChannel(w, b, k));
    const ilTile moved = inside.empty() ? inside
                                        : ilTile(inside.x + w.x, inside.y + w.y, inside.z + w.z,
                                                 inside.nx, inside.ny, inside.nz);

    std::string wrong;
    if (!write) {
        Guarded out(rng, b.bytes());
        Bytes want = out.mem;
        if (clipped) {
            // Outside the window only its fill, as the window reports it, over the whole buffer
            // first.
            const ilPixel f = w.image->getFill();
            Layout solid;
            solid.type = f.type();
            solid.nc = f.nc();
            solid.solid = true;
            transfer(b, want.data() + kGuard, nullptr, solid, f.elems(), nullptr,
                     ilTile(0, 0, 0, 0, 0, 0));
        }
        if (!inside.empty()) read(r, there, moved, want.data() + kGuard);
        const ilStatus s = w.image->getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, out.data(), B.x,
                                                 B.y, B.z, B.nx, B.ny, B.nz, &cfg);
        wrong = s != ilOK ? "read answered " + std::to_string(s) : difference(out.mem, want);
    } else {
        Bytes src = rng.data(b);
        const bool taken = inside.empty() || ref::write(r, there, moved, src.data());
        const ilStatus want = taken ? ilOK : ilConfigNotInvertible;
        const ilStatus s = w.image->setSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, src.data(), B.x,
                                                 B.y, B.z, B.nx, B.ny, B.nz, &cfg);
        if (s != want) wrong = "write answered " + std::to_string(s);
        if (wrong.empty())
            wrong = difference(blockOf(*static_cast<ilMemoryImg*>(w.image->getInput(0))), r.bytes);
    }
    return wrong.empty() ? "" : what + "\n" + wrong;
}

Canvas::Canvas() = default;
Canvas::~Canvas() = default;

void randomCanvas(Rng& rng, Canvas& c) {
    const int nc = rng.oneIn(2) ? 4 : 1;
    const int n = rng.range(1, 300);
    c.shift = rng.oneIn(2) ? 0 : rng.range(-400, 400);
    c.r = Image();
    c.r.type = ilUChar;
    c.r.order = ilInterleaved;
    c.r.size = ilSize(n, n, 1, nc);
    Bytes fill(4);
    for (auto& v : fill)
        v = rng.byte();
    c.r.fill = ilPixel(ilUChar, nc, fill.data());
    c.r.bytes.assign(size_t(n) * n * nc, 0);
    for (size_t i = 0; i < c.r.bytes.size(); ++i)
        c.r.bytes[i] = fill[i % size_t(nc)];
    c.image = std::make_unique<ilSmartImage>(c.r.fill);
}

namespace {

ilTile moved(ilTile t, int shift) {
    t.x += shift;
    t.y += shift;
    return t;
}

// A canvas page in memory has no channel beyond the image's to read, where the model would widen
// its fill: reads name the image's channels only.
void ownChannels(Layout& l, int nc) {
    std::vector<int> list;
    for (int i = 0; i < l.nc; ++i)
        list.push_back(l.logical(i) < nc ? l.logical(i) : -1);
    l.list = list;
    l.offset = 0;
}

// A tile inside [0, extent) on both axes with sides up to maxSide.
ilTile insideTile(Rng& rng, int extent, int maxSide) {
    const int w = rng.range(1, std::min(maxSide, extent)),
              h = rng.range(1, std::min(maxSide, extent));
    return ilTile(rng.range(0, extent - w), rng.range(0, extent - h), 0, w, h, 1);
}

// A buffer box up to 8 pixels larger than t, or now and then one that cuts it.
ilTile boxAround(Rng& rng, const ilTile& t) {
    if (rng.oneIn(6)) return ilTile(t.x + t.nx / 3, t.y, 0, t.nx - t.nx / 3, t.ny, 1);
    const int l = rng.range(0, 4), b = rng.range(0, 4);
    return ilTile(t.x - l, t.y - b, 0, t.nx + l + rng.range(0, 4), t.ny + b + rng.range(0, 4), 1);
}

}  // namespace

std::string canvasTileCase(Rng& rng, Canvas& c) {
    const int n = c.r.size.x, nc = c.r.size.c;
    ilSmartImage& canvas = *c.image;
    Layout l = rng.layout(nc);
    const int op = rng.range(0, 2);
    std::string wrong;
    if (op < 2) {
        // Writes and fills inside the modelled area.
        const ilTile t = insideTile(rng, n, op == 1 ? 450 : 260), at = moved(t, c.shift);
        l.box = boxAround(rng, t);
        ilConfig cfg = l.config();
        if (op == 0) {
            Bytes data = rng.data(l);
            const ilStatus want = write(c.r, l, t, data.data()) ? ilOK : ilConfigNotInvertible;
            const ilStatus s = canvas.setSubTile3Dv2(at, data.data(), moved(l.box, c.shift), &cfg);
            if (s != want) wrong = "write answered " + std::to_string(s);
        } else {
            Layout px = l;
            px.solid = true;
            const Bytes value = rng.data(px);
            const ilTile ex = insideTile(rng, n, 200), exAt = moved(ex, c.shift);
            const bool spare = rng.oneIn(2);
            fill(c.r, l, t, value.data(), spare ? &ex : nullptr);
            const ilStatus s = canvas.fillTile3D(at.x, at.y, 0, at.nx, at.ny, 1, value.data(), &cfg,
                                                 spare ? &exAt : nullptr);
            if (s != ilOK) wrong = "fill answered " + std::to_string(s);
        }
        if (wrong.empty()) {
            Bytes all(c.r.bytes.size());
            canvas.getTile(c.shift, c.shift, n, n, all.data());
            wrong = difference(all, c.r.bytes);
        }
        if (!wrong.empty())
            wrong = (op ? "fill " : "write ") + show(t) + " " + l.describe() + "\n" + wrong;
    } else {
        // Reads reaching past the area on every side.
        ownChannels(l, nc);
        const ilTile t = moved(insideTile(rng, n + 80, 300), -40);
        l.box = boxAround(rng, t);
        Guarded out(rng, l.bytes());
        Bytes want = out.mem;
        read(c.r, l, t, want.data() + kGuard);
        ilConfig cfg = l.config();
        const ilStatus s =
            canvas.getSubTile3Dv2(moved(t, c.shift), out.data(), moved(l.box, c.shift), &cfg);
        wrong = s != ilOK ? "read answered " + std::to_string(s) : difference(out.mem, want);
        if (!wrong.empty()) wrong = "read " + show(t) + " " + l.describe() + "\n" + wrong;
    }
    return wrong.empty() ? ""
                         : "canvas " + std::to_string(n) + "x" + std::to_string(n) + "x" +
                               std::to_string(nc) + " at " + std::to_string(c.shift) + ": " + wrong;
}

}  // namespace ref
