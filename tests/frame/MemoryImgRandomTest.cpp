// Seeded random comparison of memory image and constant image tile operations with the plain model
// of MemoryReference: every type, order, channel selection, coordinate space and clip, with guard
// bytes around every caller buffer.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>

#include "MemoryReference.h"
#include "pigment/frame/ilConstImg.h"
#include "pigment/frame/ilMemoryImg.h"

using namespace memref;

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

struct Case {
    std::unique_ptr<ilMemoryImg> img;
    Image ref;
    Buffer buf;
    bool useCfg = true, zeroChans = false;
    ilTile tile = ilTile(0, 0, 0, 0, 0, 0);
    ilConfig cfg;

    ilConfig* config() {
        if (!useCfg) return nullptr;
        cfg = buf.config();
        if (zeroChans) cfg.nChans = 0;
        return &cfg;
    }
    std::string describe(int n) const {
        std::ostringstream o;
        o << "case " << n << ": image type " << ref.type << " order " << ref.order << " size "
          << ref.size.x << "x" << ref.size.y << "x" << ref.size.z << "x" << ref.size.c << " space "
          << ref.space << " fill type " << ref.fill.type() << " nc " << ref.fill.nc() << "; "
          << (useCfg ? "" : "no cfg; ") << buf.describe() << "; tile " << tile.x << "," << tile.y
          << "," << tile.z << " " << tile.nx << "x" << tile.ny << "x" << tile.nz;
        return o.str();
    }
};

void randomChannels(Rng& rng, Buffer& b, int imageChans) {
    b.offset = 0;
    b.list.clear();
    if (rng.oneIn(3)) {
        // Any image channel in any order, now and then one the image does not have.
        for (int i = 0; i < b.nc; ++i)
            b.list.push_back(rng.oneIn(8) ? rng.range(-1, imageChans + 1)
                                          : rng.range(0, imageChans - 1));
    } else if (rng.oneIn(2)) {
        b.offset = rng.range(0, 2);
    }
}

// A tile around box: inside, across an edge, wholly outside now and then, or empty.
ilTile tileNear(Rng& rng, const ilTile& box) {
    if (rng.oneIn(12)) return ilTile(rng.range(-3, 3), 0, 0, rng.range(-2, 0), 3, 1);
    return ilTile(rng.range(box.x - 3, box.x + box.nx), rng.range(box.y - 3, box.y + box.ny),
                  rng.range(box.z - 1, box.z + box.nz - 1), rng.range(1, box.nx + 4),
                  rng.range(1, box.ny + 4), rng.range(1, box.nz + 1));
}

Case makeCase(Rng& rng) {
    Case k;
    Image& r = k.ref;
    r.type = rng.pick(kTypes);
    r.order = rng.pick(kOrders);
    r.size = ilSize(rng.oneIn(4) ? rng.range(10, 37) : rng.range(1, 9),
                    rng.oneIn(4) ? rng.range(10, 23) : rng.range(1, 7),
                    rng.oneIn(4) ? rng.range(2, 3) : 1, rng.range(1, 5));
    k.img = std::make_unique<ilMemoryImg>(r.size, r.type, r.order);
    if (rng.oneIn(4)) {
        r.space = rng.range(1, 8);
        k.img->setCoordSpace(static_cast<ilCoordSpace>(r.space));
    }
    if (!rng.oneIn(4)) {
        Bytes px(6 * 8);
        const ilType ft = rng.pick(kTypes);
        rng.elements(ft, px);
        k.img->setFill(ilPixel(ft, rng.range(1, 6), px.data()));
    }
    auto* block = static_cast<unsigned char*>(k.img->getDataPtr());
    r.bytes.resize(size_t(ilDataSize(r.type, int64_t(r.size))));
    rng.elements(r.type, r.bytes);
    if (block) std::memcpy(block, r.bytes.data(), r.bytes.size());
    r.fill = k.img->getFill();

    Buffer& b = k.buf;
    k.useCfg = !rng.oneIn(8);
    if (k.useCfg) {
        b.type = rng.pick(kTypes);
        b.order = rng.pick(kOrders);
        b.nc = rng.range(1, 6);
        randomChannels(rng, b, r.size.c);
        b.space = rng.range(0, 8);
        k.zeroChans = b.nc == r.size.c && b.list.empty() && rng.oneIn(2);
    } else {
        b.type = r.type;
        b.order = r.order;
        b.nc = r.size.c;
    }
    const int m = std::max(r.size.x, r.size.y);
    b.box = ilTile(rng.range(-3, m), rng.range(-3, m), rng.range(-1, r.size.z - 1),
                   rng.range(1, m + 4), rng.range(1, m + 4), rng.range(1, r.size.z + 1));
    k.tile = tileNear(rng, b.box);
    return k;
}

int failures = 0;

// Compares two byte images; describes the first difference once per test run.
bool same(const Bytes& got, const Bytes& want, const std::string& what) {
    if (got == want) return true;
    size_t i = 0;
    while (got[i] == want[i])
        ++i;
    if (++failures <= 5)
        ADD_FAILURE() << what << "\nfirst difference at byte " << i << ": " << int(got[i])
                      << " instead of " << int(want[i]);
    return false;
}

}  // namespace

TEST(MemoryImgRandom, ReadsMatchTheModelAndTouchNothingElse) {
    failures = 0;
    Rng rng(7001);
    for (int n = 0; n < 4000 && failures < 5; ++n) {
        Case k = makeCase(rng);
        Guarded out(rng, k.buf.bytes());
        Bytes want = out.mem;
        read(k.ref, k.buf, k.tile, want.data() + kGuard);
        const ilTile& t = k.tile;
        const ilTile& b = k.buf.box;
        const ilStatus s = k.img->getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, out.data(), b.x,
                                               b.y, b.z, b.nx, b.ny, b.nz, k.config());
        EXPECT_EQ(s, ilOK) << k.describe(n);
        same(out.mem, want, k.describe(n));
    }
}

TEST(MemoryImgRandom, WritesMatchTheModelAndReadBackWhole) {
    failures = 0;
    Rng rng(7002);
    for (int n = 0; n < 3000 && failures < 5; ++n) {
        Case k = makeCase(rng);
        Bytes src(size_t(k.buf.bytes()));
        rng.elements(k.buf.type, src);
        const Bytes srcBefore = src;
        write(k.ref, k.buf, k.tile, src.data());
        const ilTile& t = k.tile;
        const ilTile& b = k.buf.box;
        EXPECT_EQ(k.img->setSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, src.data(), b.x, b.y, b.z,
                                      b.nx, b.ny, b.nz, k.config()),
                  ilOK);
        EXPECT_EQ(src, srcBefore) << "the written buffer is only read";

        // Read the whole image back in its own layout.
        const ilSize& z = k.ref.size;
        Buffer whole;
        whole.type = k.ref.type;
        whole.order = k.ref.order;
        whole.nc = z.c;
        whole.box = ilTile(0, 0, 0, z.x, z.y, z.z);
        Guarded back(rng, whole.bytes());
        Bytes want = back.mem;
        read(k.ref, whole, whole.box, want.data() + kGuard);
        EXPECT_EQ(k.img->getTile3D(0, 0, 0, z.x, z.y, z.z, back.data()), ilOK);
        same(back.mem, want, k.describe(n));
    }
}

TEST(MemoryImgRandom, FillsMatchTheModelAroundExclusions) {
    failures = 0;
    Rng rng(7003);
    for (int n = 0; n < 3000 && failures < 5; ++n) {
        Case k = makeCase(rng);
        k.useCfg = true;
        Bytes px(8 * 8);
        rng.elements(k.buf.type, px);
        const void* pixel = rng.oneIn(6) ? nullptr : px.data();
        ilTile ex = tileNear(rng, k.tile);
        const ilTile* exclude = rng.oneIn(3) ? nullptr : &ex;
        if (exclude && rng.oneIn(5)) ex = ilTile(-8, -8, -2, 60, 60, 8);  // covers every image
        fill(k.ref, k.buf, k.tile, pixel, exclude);
        const ilTile& t = k.tile;
        EXPECT_EQ(k.img->fillTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, pixel, k.config(), exclude),
                  ilOK);
        const auto* block = static_cast<const unsigned char*>(k.img->getDataPtr());
        same(Bytes(block, block + k.ref.bytes.size()), k.ref.bytes,
             k.describe(n) + (exclude ? " with exclusion" : ""));
    }
}

// A constant image answers the one- and four-channel byte reads without the engine; the answer
// must be the engine's, byte for byte, and every other read must follow the model.
TEST(MemoryImgRandom, ConstantReadsAgreeOnBothPathsAndWithTheModel) {
    failures = 0;
    Rng rng(7004);
    for (int n = 0; n < 3000 && failures < 5; ++n) {
        const bool bytes = !rng.oneIn(3);
        const ilType type = bytes ? ilUChar : rng.pick(kTypes);
        const int nc = bytes ? (rng.oneIn(2) ? 4 : 1) : rng.range(1, 5);
        Bytes px(8 * 8);
        rng.elements(type, px);
        if (bytes && rng.oneIn(4)) std::memset(px.data(), rng.oneIn(2) ? 0 : 0xff, 4);
        const ilPixel pixel(type, nc, px.data());
        ilConstImg img(pixel);

        Buffer b;
        b.type = type;
        b.nc = nc;
        b.box = ilTile(rng.range(-4, 4), rng.range(-4, 4), rng.range(-1, 1), rng.range(1, 21),
                       rng.range(1, 6), rng.oneIn(4) ? 2 : 1);
        const ilTile t = tileNear(rng, b.box);
        std::ostringstream what;
        what << "case " << n << " pixel type " << type << " nc " << nc << " " << b.describe()
             << " tile " << t.x << "," << t.y << "," << t.z << " " << t.nx << "x" << t.ny << "x"
             << t.nz;

        // The fast candidate and the same request with an identity channel list.
        Guarded fast(rng, b.bytes());
        Guarded general(rng, 0);
        general.mem = fast.mem;
        std::vector<int> identity;
        for (int i = 0; i < nc; ++i)
            identity.push_back(i);
        ilConfig same4(type, ilInterleaved, nc, identity.data());
        const ilTile& B = b.box;
        EXPECT_EQ(img.getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, fast.data(), B.x, B.y, B.z,
                                   B.nx, B.ny, B.nz, nullptr),
                  ilOK);
        img.getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, general.data(), B.x, B.y, B.z, B.nx, B.ny,
                         B.nz, &same4);
        same(fast.mem, general.mem, what.str() + " (fast against general)");

        // Any config, against the model: the constant is the fill of an image nothing lies in.
        Buffer any;
        any.type = rng.pick(kTypes);
        any.order = rng.pick(kOrders);
        any.nc = rng.range(1, 6);
        randomChannels(rng, any, nc);
        any.box = b.box;
        Image none;
        none.size = ilSize(0, 0, 0, nc);
        none.fill = pixel;
        Guarded out(rng, any.bytes());
        Bytes want = out.mem;
        if (!t.empty()) {
            // The pixel is converted by the pixel rule to the buffer's type first.
            if (any.type != type) none.fill.convert(pixel, any.type, std::max(nc, any.nc));
            read(none, any, t, want.data() + kGuard);
        }
        ilConfig cfg = any.config();
        img.getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, out.data(), B.x, B.y, B.z, B.nx, B.ny,
                         B.nz, &cfg);
        same(out.mem, want, what.str() + " against " + any.describe());
    }
}
