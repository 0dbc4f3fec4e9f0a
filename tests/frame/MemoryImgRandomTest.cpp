// Seeded random comparison of memory and constant image tile operations with the reference: every
// type, order, channel selection, coordinate space and clip, with guard bytes around every caller
// buffer, and copies between two memory images.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "pigment/frame/ilConstImg.h"
#include "pigment/frame/ilMemoryImg.h"
#include "support/TileCases.h"

using namespace ref;

namespace {

int failures = 0;

// Compares two byte images; describes the first difference of the first few failures.
void same(const Bytes& got, const Bytes& want, const std::string& what) {
    const std::string wrong = difference(got, want);
    if (!wrong.empty() && ++failures <= 5) ADD_FAILURE() << what << "\n" << wrong;
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
        const std::string wrong = memoryTileCase(rng, r, *img);
        if (!wrong.empty() && ++failures <= 5) ADD_FAILURE() << "case " << n << ": " << wrong;
    }
}

// Reads and writes through windows of every origin, size and channel selection over random
// memory images: inside the window the input's pixels, outside only the window's fill, and never
// a pixel of the input beyond the window.
TEST(MemoryImgRandom, WindowsMatchTheModel) {
    failures = 0;
    Rng rng(7002);
    for (int n = 0; n < 4000 && failures < 5; ++n) {
        Image r;
        auto img = randomImage(rng, r);
        Window w;
        randomWindow(rng, r, *img, w);
        for (int op = 0; op < 3; ++op) {
            const std::string wrong = windowTileCase(rng, r, w);
            if (!wrong.empty() && ++failures <= 5) ADD_FAILURE() << "case " << n << ": " << wrong;
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
