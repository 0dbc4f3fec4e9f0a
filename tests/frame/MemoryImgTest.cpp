// Memory images: the named edge cases, images built on an input, seeds, copies between images,
// bad input, and pixel memory that cannot be had.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "MemoryReference.h"
#include "TestImage.h"
#include "pigment/frame/PixelMemory.h"
#include "pigment/frame/ilBuffer.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/frame/ilPage.h"

using namespace memref;

namespace {

// Byte value of pixel (x, y), channel c, in the small test images.
unsigned char ramp(int x, int y, int c) {
    return static_cast<unsigned char>(x * 16 + y * 4 + c + 1);
}

// An interleaved byte image holding ramp().
std::unique_ptr<ilMemoryImg> rampImage(int nx, int ny, int nc) {
    auto img = std::make_unique<ilMemoryImg>(ilSize(nx, ny, 1, nc), ilUChar, ilInterleaved);
    auto* p = static_cast<unsigned char*>(img->getDataPtr());
    for (int y = 0; y < ny; ++y)
        for (int x = 0; x < nx; ++x)
            for (int c = 0; c < nc; ++c)
                *p++ = ramp(x, y, c);
    return img;
}

Bytes blockOf(ilMemoryImg& img) {
    auto* p = static_cast<const unsigned char*>(img.getDataPtr());
    return p ? Bytes(p, p + img.mem_used()) : Bytes();
}

// What the child of the moveable-switch test reports: bit 0 the mode, bit 1 any behaviour that
// does not fit the mode.
int moveableChild() {
    ilMemoryImg img(ilSize(4, 4, 1, 1), ilUChar, ilInterleaved);
    const bool on = img.isMoveable();
    unsigned char in[16], out[16];
    for (int i = 0; i < 16; ++i)
        in[i] = static_cast<unsigned char>(i + 1), out[i] = 0x5a;
    const ilStatus written = img.setTile3D(0, 0, 0, 4, 4, 1, in);
    const ilStatus read = img.getTile3D(0, 0, 0, 4, 4, 1, out);
    const bool roundTrip = std::memcmp(in, out, 16) == 0;
    bool wrong;
    if (on) {
        // No reachable pixels: the failure of reset is kept, and nothing reaches the buffer.
        wrong = img.getStatus() != ilOutOfMemory || written != ilOutOfMemory ||
                read != ilOutOfMemory || img.getDataPtr() != nullptr || out[0] != 0x5a;
        // Once the failure is cleared, reads succeed and still write nothing.
        img.clearStatus();
        wrong = wrong || img.getTile3D(0, 0, 0, 4, 4, 1, out) != ilOK || out[0] != 0x5a;
    } else {
        wrong = written != ilOK || read != ilOK || !roundTrip;
    }
    // The variable is read once: turning it over now changes nothing.
    setenv("QUILLON_TEMPERA_MOVEABLE", on ? "0" : "1", 1);
    ilMemoryImg second(ilSize(2, 2, 1, 1), ilUChar, ilInterleaved);
    wrong = wrong || second.isMoveable() != on;
    return (on ? 1 : 0) | (wrong ? 2 : 0);
}

}  // namespace

TEST(MemoryImg, MoveableModeIsExactlyOneAndReadOnce) {
    // Each case runs in a fresh process, since the process reads the variable only once.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const struct {
        const char* value;
        bool on;
    } cases[] = {{"1", true},   {"0", false},  {"", false},   {"true", false}, {" 1", false},
                 {"1 ", false}, {"01", false}, {"11", false}, {nullptr, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value ? c.value : "(unset)");
        if (c.value)
            setenv("QUILLON_TEMPERA_MOVEABLE", c.value, 1);
        else
            unsetenv("QUILLON_TEMPERA_MOVEABLE");
        EXPECT_EXIT(std::exit(moveableChild()), testing::ExitedWithCode(c.on ? 1 : 0), "");
    }
    unsetenv("QUILLON_TEMPERA_MOVEABLE");
}

TEST(MemoryImg, UnconfiguredImagesRefuseReadsUntilConfigured) {
    const struct {
        ilSize size;
        ilType type;
        ilOrder order;
    } cases[] = {
        {ilSize(0, 0, 1, 0), ilUChar, ilInterleaved},
        {ilSize(4, 0, 1, 3), ilUChar, ilInterleaved},
        {ilSize(4, 4, 0, 3), ilUChar, ilSeparate},
        {ilSize(4, 4, 1, 0), ilFloat, ilInterleaved},
        {ilSize(-4, 4, 1, 3), ilUChar, ilInterleaved},
        {ilSize(-2, -2, 1, 3), ilUChar, ilSequential},
        {ilSize(4, 4, 1, 3), ilAnyType, ilInterleaved},
        {ilSize(4, 4, 1, 3), ilUChar, ilAnyOrder},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.size.x << "x" << c.size.y << "x" << c.size.z << "x"
                                        << c.size.c << " type " << c.type << " order " << c.order);
        ilMemoryImg img(c.size, c.type, c.order);
        unsigned char buf[48];
        std::memset(buf, 0x5a, sizeof buf);
        EXPECT_EQ(img.getTile3D(0, 0, 0, 2, 2, 1, buf), ilNotConfigured);
        EXPECT_EQ(buf[0], 0x5a);
        // The configuration is judged afresh at every reset.
        img.setSize(ilSize(4, 4, 1, 3));
        img.setDataType(ilUChar);
        img.setOrder(ilInterleaved);
        EXPECT_EQ(img.getTile3D(0, 0, 0, 2, 2, 1, buf), ilOK);
    }
    ilMemoryImg plain, typed(ilUChar, ilInterleaved);
    EXPECT_EQ(plain.getStatus(), ilNotConfigured);
    EXPECT_EQ(plain.getDataType(), ilAnyType);
    EXPECT_EQ(typed.getStatus(), ilNotConfigured);
}

TEST(MemoryImg, SizeChangeReallocatesAtTheNextRead) {
    ilMemoryImg img(ilSize(4, 4, 1, 1), ilUChar, ilInterleaved);
    EXPECT_EQ(img.getStatus(), ilOK);
    EXPECT_EQ(img.mem_used(), 16);
    img.setSize(ilSize(8, 6, 1, 2));
    unsigned char in[96], out[96];
    for (int i = 0; i < 96; ++i)
        in[i] = static_cast<unsigned char>(200 - i);
    EXPECT_EQ(img.setTile3D(0, 0, 0, 8, 6, 1, in), ilOK);
    EXPECT_EQ(img.mem_used(), 96);
    EXPECT_EQ(img.getTile3D(0, 0, 0, 8, 6, 1, out), ilOK);
    EXPECT_EQ(std::memcmp(in, out, 96), 0);

    // A wrapped block of known size is the caller's until it no longer fits; one given without
    // its size is left alone.
    unsigned char mine[16], unsized[16];
    std::memset(mine, 7, 16);
    std::memset(unsized, 9, 16);
    ilMemoryImg wrapped(mine, 16, ilSize(4, 4, 1, 1), ilUChar, ilInterleaved);
    ilMemoryImg blind(unsized, 0, ilSize(4, 4, 1, 1), ilUChar, ilInterleaved);
    EXPECT_EQ(wrapped.getDataPtr(), mine);
    EXPECT_EQ(blind.getDataPtr(), unsized);
    EXPECT_EQ(blind.getTile3D(1, 1, 0, 1, 1, 1, out), ilOK);
    EXPECT_EQ(out[0], 9);
    wrapped.setSize(8, 8);
    EXPECT_NE(wrapped.getDataPtr(), mine);
    EXPECT_EQ(wrapped.mem_used(), 64);
    EXPECT_EQ(mine[15], 7) << "the caller's block is not written or freed";
}

TEST(MemoryImg, TileWhollyOutsideReadsTheFill) {
    auto img = rampImage(4, 4, 3);
    const unsigned char rgb[3] = {9, 8, 7};
    img->setFill(ilPixel(ilUChar, 3, rgb));
    const ilTile tiles[] = {ilTile(10, 10, 0, 3, 2, 1), ilTile(-5, -5, 0, 3, 2, 1),
                            ilTile(0, 0, 4, 3, 2, 1), ilTile(INT_MAX / 2, 0, 0, 3, 2, 1)};
    for (const ilTile& t : tiles) {
        unsigned char out[18];
        float f[18];
        ilConfig asFloat(ilFloat, ilSeparate, 3);
        EXPECT_EQ(img->getTile3Dv2(t, out), ilOK);
        EXPECT_EQ(img->getTile3Dv2(t, f, &asFloat), ilOK);
        for (int i = 0; i < 18; ++i) {
            EXPECT_EQ(out[i], rgb[i % 3]) << "byte " << i << " of tile at " << t.x << "," << t.y;
            EXPECT_EQ(f[i], rgb[i / 6]) << "float " << i;
        }
    }
}

TEST(MemoryImg, LockPageGivesOneWholePageUntilTheNextReset) {
    auto img = rampImage(5, 4, 2);
    ilStatus s = ilBadInput;
    ilPage* p = img->lockPage(0, 0, 0, 0, s);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(s, ilOK);
    EXPECT_EQ(img->lockPage(4, 3, 0, 1, s), p);
    EXPECT_EQ(p->getData(), img->getDataPtr());
    EXPECT_EQ(p->z, 1);
    EXPECT_EQ(p->c, 2);
    img->unlockPage(p);
    EXPECT_EQ(img->lockPage(0, 0, 0, 0, s), p) << "the page outlives its unlock";
    // Positions outside the image or its channels get no page.
    EXPECT_EQ(img->lockPage(5, 0, 0, 0, s), nullptr);
    EXPECT_EQ(img->lockPage(0, 0, 0, 2, s), nullptr);
    EXPECT_EQ(img->lockPage(INT_MIN, 0, 0, 0, s), nullptr);
    EXPECT_EQ(s, ilOK);

    // After a change the old pointer is stale and is not touched again; a new page describes
    // the new block (its record may reuse the old address).
    img->setNumChans(3);
    ilPage* q = img->lockPage(0, 0, 0, 0, s);
    ASSERT_NE(q, nullptr);
    EXPECT_EQ(q->c, 3);
    EXPECT_EQ(q->getData(), img->getDataPtr());
    EXPECT_EQ(img->mem_used(), 5 * 4 * 3);
}

TEST(MemoryImg, InputIsPulledLazilyOrSnapshotAndFollowed) {
    TestImage counted(3, 2, 2, ilFloat);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 2; ++c)
                counted.at(x, y, c) = x + 10 * y + 100 * c;
    {
        ilMemoryImg lazy(&counted, 1);
        EXPECT_EQ(counted.tileReads, 0) << "nothing is read at construction";
        float out[12];
        EXPECT_EQ(lazy.getTile3D(0, 0, 0, 3, 2, 1, out), ilOK);
        EXPECT_EQ(counted.tileReads, 1);
        EXPECT_EQ(out[2 * 2 + 1], 102.0f);
        EXPECT_EQ(lazy.getTile3D(0, 0, 0, 3, 2, 1, out), ilOK);
        EXPECT_EQ(counted.tileReads, 1) << "an unchanged input is not read again";
        ilMemoryImg snapshot(&counted, 0);
        EXPECT_EQ(counted.tileReads, 2) << "autoSync 0 reads at construction";
    }

    auto input = rampImage(3, 2, 1);
    ilMemoryImg follows(input.get(), 1), snapshot(input.get(), 0);
    EXPECT_EQ(input->refs(), 2) << "a memory image input is a counted seed";
    unsigned char v = 42, got = 0;
    EXPECT_EQ(input->setTile3D(1, 1, 0, 1, 1, 1, &v), ilOK);
    EXPECT_EQ(follows.getTile3D(1, 1, 0, 1, 1, 1, &got), ilOK);
    EXPECT_EQ(got, 42);
    EXPECT_EQ(snapshot.getTile3D(1, 1, 0, 1, 1, 1, &got), ilOK);
    EXPECT_EQ(got, ramp(1, 1, 0));
    // Pixels changed behind the image's back reach its children once it is marked dirty.
    static_cast<unsigned char*>(input->getDataPtr())[0] = 99;
    EXPECT_EQ(follows.getTile3D(0, 0, 0, 1, 1, 1, &got), ilOK);
    EXPECT_EQ(got, ramp(0, 0, 0));
    input->markDirty();
    EXPECT_EQ(follows.getTile3D(0, 0, 0, 1, 1, 1, &got), ilOK);
    EXPECT_EQ(got, 99);
    // A snapshot switched to autoSync follows from its next read.
    snapshot.setAutoSync(1);
    EXPECT_EQ(snapshot.getTile3D(1, 1, 0, 1, 1, 1, &got), ilOK);
    EXPECT_EQ(got, 42);

    // A missing input is an error until an input is given; an input in error passes it on.
    ilMemoryImg orphan(nullptr, 1);
    EXPECT_EQ(orphan.getStatus(), ilBadInput);
    EXPECT_EQ(orphan.getDataType(), ilAnyType);
    EXPECT_EQ(orphan.getTile3D(0, 0, 0, 1, 1, 1, &got), ilBadInput);
    EXPECT_EQ(orphan.setInput(input.get(), 0), ilOK);
    EXPECT_EQ(orphan.getTile3D(1, 1, 0, 1, 1, 1, &got), ilOK);
    EXPECT_EQ(got, 42);
    TestImage broken(2, 2, 1);
    broken.failReset = true;
    ilMemoryImg child(&broken, 1);
    EXPECT_EQ(child.getStatus(), ilBadInput);
}

TEST(MemoryImg, SeedsAreCountedAndCollapseIntoTheirSeeds) {
    auto base = rampImage(2, 1, 1);
    {
        ilMemoryImg middle(base.get(), 0);
        ilMemoryImg top(&middle, 0);
        EXPECT_EQ(base->refs(), 1);
        EXPECT_EQ(middle.refs(), 1);
        const unsigned char changed[2] = {70, 80};
        middle.setTile3D(0, 0, 0, 2, 1, 1, const_cast<unsigned char*>(changed));

        EXPECT_TRUE(top.CollapseSeed());
        EXPECT_EQ(top.GetSeedImage(), base.get());
        EXPECT_EQ(Bytes(blockOf(*base)), Bytes(changed, changed + 2)) << "middle merged into base";
        EXPECT_EQ(base->refs(), 2);
        EXPECT_EQ(middle.refs(), 0) << "released, not deleted";
        EXPECT_FALSE(middle.CollapseSeed()) << "base has no seed of its own";

        TestImage plain(2, 2, 1);
        ilMemoryImg overPlain(&plain, 0);
        EXPECT_EQ(overPlain.GetSeedImage(), &plain);
        EXPECT_EQ(plain.refs(), 0) << "a seed of another kind is not counted";
        EXPECT_FALSE(overPlain.CollapseSeed());
        EXPECT_EQ(top.getBounds(), ilTile(0, 0, 0, 2, 1, 1));
        EXPECT_NE(top.getImageId(), middle.getImageId());
    }
    EXPECT_EQ(base->refs(), 0);
}

TEST(MemoryImg, ChildOutlivesADeletedSeed) {
    auto* seed = new ilMemoryImg(ilSize(2, 2, 1), ilUChar, ilInterleaved);
    {
        ilMemoryImg child(seed, 0);
        delete seed;  // its edge goes with it
        EXPECT_EQ(child.getNumParents(), 0);
    }  // the child's destructor must not touch the dead seed: the sanitizers watch
}

TEST(MemoryImg, CopiesAndAssignmentShareTheBlockWithoutOwningIt) {
    const int live = ilMemoryImg::liveCount();
    auto a = rampImage(2, 2, 1);
    {
        ilMemoryImg copy(*a);
        EXPECT_EQ(copy.getDataPtr(), a->getDataPtr());
        EXPECT_EQ(copy.getImageId(), a->getImageId());
        EXPECT_EQ(ilMemoryImg::liveCount(), live + 2);
    }
    ilMemoryImg b(ilSize(3, 3, 1, 1), ilUChar, ilInterleaved);
    b.getDataPtr();
    b = *a;
    EXPECT_EQ(b.getDataPtr(), a->getDataPtr());
    unsigned char got = 0;
    EXPECT_EQ(a->getTile3D(1, 1, 0, 1, 1, 1, &got), ilOK);
    EXPECT_EQ(got, ramp(1, 1, 0)) << "the block outlived the copy";
}

// Pull and push between two memory images of different types, orders and channel counts, with
// channel selections, offsets and tiles reaching outside either image, against the model.
TEST(MemoryImg, CopiesBetweenImagesMatchTheModel) {
    Rng rng(7100);
    int failures = 0;
    for (int n = 0; n < 1500 && failures < 5; ++n) {
        Image ra, rb;
        std::unique_ptr<ilMemoryImg> img[2];
        Image* refs[2] = {&ra, &rb};
        for (int i = 0; i < 2; ++i) {
            Image& r = *refs[i];
            r.type = rng.pick(kTypes);
            r.order = rng.pick(kOrders);
            r.size = ilSize(rng.range(1, 8), rng.range(1, 6), rng.range(1, 2), rng.range(1, 4));
            img[i] = std::make_unique<ilMemoryImg>(r.size, r.type, r.order);
            if (rng.oneIn(3)) {
                r.space = rng.range(1, 8);
                img[i]->setCoordSpace(static_cast<ilCoordSpace>(r.space));
            }
            if (rng.oneIn(2)) {
                Bytes px(8 * 8);
                rng.elements(r.type, px);
                img[i]->setFill(ilPixel(r.type, rng.range(1, 5), px.data()));
            }
            r.bytes.resize(size_t(ilDataSize(r.type, int64_t(r.size))));
            rng.elements(r.type, r.bytes);
            std::memcpy(img[i]->getDataPtr(), r.bytes.data(), r.bytes.size());
            r.fill = img[i]->getFill();
        }
        ilMemoryImg& a = *img[0];
        ilMemoryImg& b = *img[1];

        // The block of a as b sees it: a's layout at the offset, with the caller's channels.
        Buffer local;
        local.type = ra.type;
        local.order = ra.order;
        local.nc = ra.size.c;
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
                  oz = rng.range(-1, rb.size.z - 1);
        const int direction = rng.range(0, 1);
        local.box = ilTile(ox - t.x, oy - t.y, oz - t.z, sa.x, sa.y, sa.z);

        // The model: the tile clipped to a, moved to b.
        ilTile clipped(t, ilTile(0, 0, 0, sa.x, sa.y, sa.z));
        const ilTile there(clipped.x + local.box.x, clipped.y + local.box.y,
                           clipped.z + local.box.z, clipped.nx, clipped.ny, clipped.nz);
        if (direction) {
            if (!clipped.empty()) read(rb, local, there, ra.bytes.data());
        } else {
            if (!clipped.empty()) write(rb, local, there, ra.bytes.data());
            // What the tile held beyond a arrives in b as a's fill; an empty tile holds nothing.
            const ilTile whole(ox, oy, oz, t.nx, t.ny, t.nz);
            if (!whole.empty())
                fill(rb, local, whole, ra.fill.nc() == sa.c ? ra.fill.elems() : nullptr,
                     &local.box);
        }

        ilConfig cfg = local.config();
        ilStatus s;
        if (form == 0) {
            s = a.copyTileCfg(t.x, t.y, t.z, t.nx, t.ny, t.nz, &b, ox, oy, oz, &cfg, direction);
        } else if (form == 1) {
            s = a.copyTileCfgV2(t, &b, ilXYZstruct<int>{ox, oy, oz}, &cfg, direction);
        } else {
            s = a.copyTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, &b, ox, oy, oz,
                             form == 2 ? local.list.data() : nullptr, direction);
        }
        EXPECT_EQ(s, ilOK);
        std::ostringstream what;
        what << "case " << n << (direction ? " pull" : " push") << " form " << form << " a: type "
             << ra.type << " order " << ra.order << " " << sa.x << "x" << sa.y << "x" << sa.z << "x"
             << sa.c << " space " << ra.space << "; b: type " << rb.type << " order " << rb.order
             << " " << rb.size.x << "x" << rb.size.y << "x" << rb.size.z << "x" << rb.size.c
             << " space " << rb.space << "; tile " << t.x << "," << t.y << "," << t.z << " " << t.nx
             << "x" << t.ny << "x" << t.nz << " to " << ox << "," << oy << "," << oz << "; "
             << local.describe();
        if (blockOf(a) != ra.bytes || blockOf(b) != rb.bytes) {
            ++failures;
            ADD_FAILURE() << what.str() << (blockOf(a) != ra.bytes ? " (a differs)" : "")
                          << (blockOf(b) != rb.bytes ? " (b differs)" : "");
        }
    }
}

TEST(MemoryImg, BadInputNeverCrashesOrWritesOutsideTheBuffer) {
    enum Op { Get, Set, Fill };
    static int wild[3] = {1000, -7, INT_MIN};
    const int h = INT_MAX / 2;
    const ilTile box(0, 0, 0, 4, 4, 1);
    auto cfg = [](int type, int order, int nc, int offset = 0, int* list = nullptr, int space = 0) {
        return ilConfig(ilType(type), ilOrder(order), nc, list, offset, ilCoordSpace(space));
    };
    const ilConfig own = cfg(ilUChar, ilInterleaved, 3);
    const struct {
        const char* what;
        Op op;
        ilTile tile, box;
        bool nullData, useCfg;
        ilConfig cfg;
        bool bufferChanges, imageChanges;
    } rows[] = {
        {"read to null", Get, box, box, true, false, own, false, false},
        {"write from null", Set, box, box, true, false, own, false, false},
        {"negative buffer box", Get, box, ilTile(0, 0, 0, -3, 2, 1), false, false, own, 0, 0},
        {"negative tile reads the box", Get, ilTile(0, 0, 0, -2, 2, 1), ilTile(1, 1, 0, 4, 4, 1),
         false, false, own, true, false},
        {"negative tile writes the box", Set, ilTile(0, 0, 0, 2, -2, 1), ilTile(1, 1, 0, 4, 4, 1),
         false, false, own, false, true},
        {"huge tile and box", Get, ilTile(h, h, h, 4, 4, 1), ilTile(h, h, h, 4, 4, 1), false, false,
         own, true, false},
        {"huge tile, small box", Get, ilTile(h, -h, 0, h, h, 1), box, false, false, own, 0, 0},
        {"huge write", Set, ilTile(-h, h, 0, 4, 4, 1), ilTile(-h, h, 0, 4, 4, 1), false, false, own,
         false, false},
        {"null config", Get, box, box, false, false, own, true, false},
        {"unknown type 3", Get, box, box, false, true, cfg(3, ilInterleaved, 3), false, false},
        {"unknown type 1000 written", Set, box, box, false, true, cfg(1000, ilInterleaved, 3),
         false, false},
        {"unset type and order", Get, box, box, false, true, cfg(0, 0, 3), true, false},
        {"unknown order", Get, box, box, false, true, cfg(ilUChar, 99, 3), true, false},
        {"unknown space", Get, box, box, false, true,
         cfg(ilUChar, ilInterleaved, 3, 0, nullptr, 42), true, false},
        {"negative channels", Get, box, box, false, true, cfg(ilUChar, ilInterleaved, -2), 0, 0},
        {"offset past every channel", Get, box, box, false, true,
         cfg(ilUChar, ilInterleaved, 3, INT_MAX), false, false},
        {"negative offset written", Set, box, box, false, true,
         cfg(ilUChar, ilInterleaved, 3, -INT_MAX), false, false},
        {"wild channel list", Get, ilTile(-2, -2, 0, 8, 8, 1), box, false, true,
         cfg(ilUChar, ilInterleaved, 3, 0, wild), false, false},
        {"fill of unknown type", Fill, box, box, false, true, cfg(3, ilInterleaved, 3), 0, 1},
        {"fill of negative channels", Fill, box, box, false, true, cfg(ilUChar, 1, -1), 0, 0},
        {"fill far away", Fill, ilTile(h, h, 0, h, h, 1), box, false, false, own, false, false},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        auto img = rampImage(4, 4, 3);
        Rng rng(1);
        Bytes mem(48 + 2 * 64);
        for (auto& b : mem)
            b = rng.byte();
        const Bytes before = mem, image = blockOf(*img);
        ilConfig c = r.cfg;
        ilConfig* pc = r.useCfg ? &c : nullptr;
        void* data = r.nullData ? nullptr : mem.data() + 64;
        const ilTile& t = r.tile;
        const ilStatus s =
            r.op == Get   ? img->getSubTile3Dv2(t, data, r.box, pc)
            : r.op == Set ? img->setSubTile3Dv2(t, data, r.box, pc)
                          : img->fillTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, data, pc, nullptr);
        EXPECT_EQ(s, ilOK);
        EXPECT_TRUE(std::equal(mem.begin(), mem.begin() + 64, before.begin())) << "guard before";
        EXPECT_TRUE(std::equal(mem.end() - 64, mem.end(), before.end() - 64)) << "guard after";
        EXPECT_EQ(mem != before, r.bufferChanges);
        EXPECT_EQ(blockOf(*img) != image, r.imageChanges);
    }
    auto img = rampImage(2, 2, 3);
    ilMemoryImg other(ilSize(2, 2, 1, 3), ilUChar, ilInterleaved);
    EXPECT_EQ(img->copyTileCfg(0, 0, 0, 2, 2, 1, nullptr, 0, 0, 0, nullptr, 1), ilBadInput);
    const Bytes image = blockOf(*img);
    EXPECT_EQ(img->copyTile3D(0, 0, 0, -2, -2, 1, &other, 0, 0, 0), ilOK);
    EXPECT_EQ(blockOf(*img), image) << "a copy of nothing moves nothing";
}

TEST(MemoryImg, MemoryThatCannotBeHadIsReportedAndKept) {
#if defined(__SANITIZE_ADDRESS__)
    // The sanitizer's allocator aborts on such a request unless it may return null.
    const char* options = std::getenv("ASAN_OPTIONS");
    if (!options || !std::strstr(options, "allocator_may_return_null=1"))
        GTEST_SKIP() << "needs ASAN_OPTIONS=allocator_may_return_null=1 (set by the asan preset)";
#endif
    // 2^52 bytes: more than the address space of any x86-64 process, whatever the overcommit
    // policy of the machine.
    const ilSize huge(1 << 24, 1 << 24, 1, 4);
    const std::string text = "ilMemoryImg: Could not allocate memory (4503599627370496 bytes)";
    ilSetFatalError(nullptr);
    testing::internal::CaptureStderr();
    ilMemoryImg img(huge, ilFloat, ilInterleaved);
    EXPECT_EQ(img.getStatus(), ilOutOfMemory);
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find(text + "\n"), std::string::npos) << err;
    ASSERT_NE(ilGetFatalError(), nullptr);
    EXPECT_EQ(ilGetFatalError(), text);
    float px[4] = {5, 5, 5, 5};
    EXPECT_EQ(img.getTile3D(0, 0, 0, 1, 1, 1, px), ilOutOfMemory);
    EXPECT_EQ(px[0], 5.0f);
    EXPECT_EQ(img.getDataPtr(), nullptr);

    // With a new-handler installed, it runs and the allocation is tried again for as long as a
    // handler is there, however often that is.
    static int calls;
    calls = 0;
    std::set_new_handler([] {
        if (++calls == 300000) std::set_new_handler(nullptr);
    });
    testing::internal::CaptureStderr();
    ilMemoryImg again(huge, ilFloat, ilInterleaved);
    EXPECT_EQ(again.getStatus(), ilOutOfMemory);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(calls, 300000);
    std::set_new_handler(nullptr);

    // A size whose byte count does not fit in 64 bits fails the same way, and so does a scratch
    // buffer of that size.
    testing::internal::CaptureStderr();
    ilMemoryImg absurd(ilSize(INT_MAX, INT_MAX, INT_MAX, 4), ilDouble, ilInterleaved);
    EXPECT_EQ(absurd.getStatus(), ilOutOfMemory);
    testing::internal::GetCapturedStderr();
    ilBuffer scratch(ilDouble, INT_MAX, INT_MAX, INT_MAX, 4);
    EXPECT_EQ(scratch.getData(), nullptr);
}
