// Seeded random comparison of memory and constant image tile operations with the reference: every
// type, order, channel selection, coordinate space and clip, with guard bytes around every caller
// buffer, and copies between two memory images.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>

#include "pigment/frame/ilConstImg.h"
#include "pigment/frame/ilMemoryImg.h"
#include "support/RandomCases.h"

using namespace ref;

namespace {

constexpr size_t kGuard = 64;

// A caller buffer with guard bytes on both sides, all of it prefilled with a random pattern.
struct Guarded {
    Bytes mem;
    Guarded(Rng& rng, int64_t bytes) : mem(size_t(bytes) + 2 * kGuard) {
        for (auto& b : mem)
            b = rng.byte();
    }
    unsigned char* data() { return mem.data() + kGuard; }
};

Bytes blockOf(ilMemoryImg& img) {
    auto* p = static_cast<const unsigned char*>(img.getDataPtr());
    return Bytes(p, p + img.mem_used());
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

// A memory image of random type, order, size, space, fill and pixels, and its model.
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

int failures = 0;

// Compares two byte images; describes the first difference of the first few failures.
void same(const Bytes& got, const Bytes& want, const std::string& what) {
    if (got == want) return;
    size_t i = 0;
    while (got[i] == want[i])
        ++i;
    if (++failures <= 5)
        ADD_FAILURE() << what << "\nfirst difference at byte " << i << ": " << int(got[i])
                      << " instead of " << int(want[i]);
}

}  // namespace

// Reads, writes and fills through a random caller buffer: a read writes exactly the model's bytes
// and nothing beside the buffer; a write or fill leaves exactly the model's image.
TEST(MemoryImgRandom, TileOperationsMatchTheModel) {
    failures = 0;
    Rng rng(7001);
    for (int n = 0; n < 10000 && failures < 5; ++n) {
        Image r;
        auto img = randomImage(rng, r);
        Layout b;
        const bool useCfg = !rng.oneIn(8);
        if (useCfg) {
            b = rng.layout(r.size.c);
            b.space = rng.range(0, 8);
        } else {
            b.type = r.type, b.order = r.order, b.nc = r.size.c;
        }
        const int m = std::max(r.size.x, r.size.y);
        b.box = ilTile(rng.range(-3, m), rng.range(-3, m), rng.range(-1, r.size.z - 1),
                       rng.range(1, m + 4), rng.range(1, m + 4), rng.range(1, r.size.z + 1));
        const ilTile t = rng.near(b.box), B = b.box;
        ilConfig cfg = b.config();
        // Zero channels in a config stand for the image's own count.
        if (b.nc == r.size.c && b.list.empty() && rng.oneIn(2)) cfg.nChans = 0;
        const int op = rng.range(0, 2);
        std::string what = "case " + std::to_string(n) + " op " + std::to_string(op) + ": " +
                           show(r) + (useCfg ? "; " : "; no cfg; ") + b.describe() + "; tile " +
                           show(t);
        if (op == 0) {
            Guarded out(rng, b.bytes());
            Bytes want = out.mem;
            read(r, b, t, want.data() + kGuard);
            EXPECT_EQ(img->getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, out.data(), B.x, B.y, B.z,
                                        B.nx, B.ny, B.nz, useCfg ? &cfg : nullptr),
                      ilOK);
            same(out.mem, want, what);
        } else if (op == 1) {
            Bytes src = rng.data(b);
            const Bytes before = src;
            const ilStatus want = write(r, b, t, src.data()) ? ilOK : ilConfigNotInvertible;
            EXPECT_EQ(img->setSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, src.data(), B.x, B.y, B.z,
                                        B.nx, B.ny, B.nz, useCfg ? &cfg : nullptr),
                      want);
            EXPECT_EQ(src, before) << "the written buffer is only read";
            same(blockOf(*img), r.bytes, what);
        } else {
            Layout px = b;
            px.solid = true;
            const Bytes pixel = rng.data(px);
            ilTile ex = rng.oneIn(5) ? ilTile(-8, -8, -2, 60, 60, 8) : rng.near(t);
            const ilTile* exclude = rng.oneIn(3) ? nullptr : &ex;
            const void* data = rng.oneIn(6) ? nullptr : pixel.data();
            fill(r, b, t, data, exclude);
            EXPECT_EQ(img->fillTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, data, &cfg, exclude), ilOK);
            same(blockOf(*img), r.bytes, what + (exclude ? " excluding " + show(ex) : ""));
        }
    }
}

// Pull and push between two memory images of different types, orders and channel counts, with
// channel selections, offsets and tiles reaching outside either image.
TEST(MemoryImgRandom, CopiesBetweenImagesMatchTheModel) {
    failures = 0;
    Rng rng(7100);
    for (int n = 0; n < 1500 && failures < 5; ++n) {
        Image ra, rb;
        auto a = randomImage(rng, ra), b = randomImage(rng, rb);
        // The block of a as b sees it: a's layout at the offset, with the caller's channels.
        Layout local = ra.layout();
        local.space = ra.space;
        const int form = rng.range(0, 3);  // copyTileCfg, copyTileCfgV2, copyTile3D, no config
        if (form == 2 || (form < 2 && rng.oneIn(2))) {
            for (int i = 0; i < local.nc; ++i)
                local.list.push_back(rng.range(-1, rb.size.c));
        } else if (form < 2 && rng.oneIn(2)) {
            local.offset = 1;
        }
        const ilSize& sa = ra.size;
        const ilTile t(rng.range(-2, sa.x), rng.range(-2, sa.y), rng.range(-1, sa.z - 1),
                       rng.range(rng.oneIn(10) ? -1 : 1, sa.x + 3), rng.range(1, sa.y + 3),
                       rng.range(1, sa.z + 1));
        const int ox = rng.range(-3, rb.size.x), oy = rng.range(-3, rb.size.y),
                  oz = rng.range(-1, rb.size.z - 1), pull = rng.range(0, 1);
        local.box = ilTile(ox - t.x, oy - t.y, oz - t.z, sa.x, sa.y, sa.z);

        // The model: the tile clipped to a, moved to or from b; on a push what the tile held
        // beyond a arrives in b as a's fill, in a's type.
        const ilTile clipped(t, ilTile(0, 0, 0, sa.x, sa.y, sa.z));
        const ilTile there(clipped.x + local.box.x, clipped.y + local.box.y,
                           clipped.z + local.box.z, clipped.nx, clipped.ny, clipped.nz);
        const ilTile whole(ox, oy, oz, t.nx, t.ny, t.nz);
        if (pull && !clipped.empty()) read(rb, local, there, ra.bytes.data());
        // A refused push (a list that repeats a channel) leaves the fill out as well.
        const bool pushed = pull || clipped.empty() || write(rb, local, there, ra.bytes.data());
        ilPixel aFill;
        aFill.convert(ra.fill, ra.type);
        if (!pull && pushed && !whole.empty())
            fill(rb, local, whole, ra.fill.nc() == sa.c ? aFill.elems() : nullptr, &local.box);

        ilConfig cfg = local.config();
        const ilStatus s =
            form == 0
                ? a->copyTileCfg(t.x, t.y, t.z, t.nx, t.ny, t.nz, b.get(), ox, oy, oz, &cfg, pull)
            : form == 1 ? a->copyTileCfgV2(t, b.get(), ilXYZstruct<int>{ox, oy, oz}, &cfg, pull)
                        : a->copyTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, b.get(), ox, oy, oz,
                                        form == 2 ? local.list.data() : nullptr, pull);
        EXPECT_EQ(s, ilOK);
        const std::string what = "case " + std::to_string(n) + (pull ? " pull" : " push") +
                                 " form " + std::to_string(form) + "\n a: " + show(ra) +
                                 "\n b: " + show(rb) + "\n tile " + show(t) + " to " + show(whole) +
                                 "; " + local.describe();
        same(blockOf(*a), ra.bytes, what + " (a)");
        same(blockOf(*b), rb.bytes, what + " (b)");
    }
}

// A constant image answers the one- and four-channel byte reads without the engine; the answer
// must be the engine's, byte for byte, and every other read must follow the model.
TEST(MemoryImgRandom, ConstantReadsAgreeOnBothPathsAndWithTheModel) {
    failures = 0;
    Rng rng(7004);
    for (int n = 0; n < 3000 && failures < 5; ++n) {
        const bool bytes = !rng.oneIn(3);
        Layout b;
        b.type = bytes ? ilUChar : rng.pick(kTypes);
        b.nc = bytes ? (rng.oneIn(2) ? 4 : 1) : rng.range(1, 5);
        b.solid = true;
        Bytes px = rng.data(b);
        if (bytes && rng.oneIn(4)) std::memset(px.data(), rng.oneIn(2) ? 0 : 0xff, px.size());
        const ilPixel pixel(b.type, b.nc, px.data());
        ilConstImg img(pixel);
        b.solid = false;
        b.box = ilTile(rng.range(-4, 4), rng.range(-4, 4), rng.range(-1, 1), rng.range(1, 21),
                       rng.range(1, 6), rng.oneIn(4) ? 2 : 1);
        const ilTile t = rng.near(b.box), B = b.box;
        const std::string what =
            "case " + std::to_string(n) + " " + b.describe() + " tile " + show(t);

        // The fast candidate and the same request with an identity channel list.
        Guarded fast(rng, b.bytes()), general = fast;
        Layout listed = b;
        for (int i = 0; i < b.nc; ++i)
            listed.list.push_back(i);
        ilConfig identity = listed.config();
        EXPECT_EQ(img.getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, fast.data(), B.x, B.y, B.z,
                                   B.nx, B.ny, B.nz, nullptr),
                  ilOK);
        img.getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, general.data(), B.x, B.y, B.z, B.nx, B.ny,
                         B.nz, &identity);
        same(fast.mem, general.mem, what + " (fast against general)");

        // Any config, against the model: the constant is the fill of an image nothing lies in,
        // converted by the pixel rule to the buffer's type first.
        Layout any = rng.layout(b.nc);
        any.box = B;
        Image none;
        none.size = ilSize(0, 0, 0, b.nc);
        none.fill = pixel;
        if (any.type != b.type) none.fill.convert(pixel, any.type, std::max(b.nc, any.nc));
        Guarded out(rng, any.bytes());
        Bytes want = out.mem;
        if (!t.empty()) read(none, any, t, want.data() + kGuard);
        ilConfig cfg = any.config();
        img.getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, out.data(), B.x, B.y, B.z, B.nx, B.ny,
                         B.nz, &cfg);
        same(out.mem, want, what + " against " + any.describe());
    }
}
