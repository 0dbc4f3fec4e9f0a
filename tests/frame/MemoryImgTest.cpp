// Memory and constant images: the named edge cases, images built on an input, seeds, copies of
// the object, bad input, and pixel memory that cannot be had.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "pigment/frame/ilBuffer.h"
#include "pigment/frame/ilConstImg.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/frame/ilPage.h"
#include "support/TestImage.h"

namespace {

using Bytes = std::vector<unsigned char>;

// Byte value of pixel (x, y), channel c, in the small test images.
unsigned char ramp(int x, int y, int c) {
    return static_cast<unsigned char>(x * 16 + y * 4 + c + 1);
}

// An interleaved byte image holding ramp().
std::unique_ptr<ilMemoryImg> rampImage(int nx, int ny, int nc) {
    auto img = std::make_unique<ilMemoryImg>(ilSize(nx, ny, 1, nc), ilUChar, ilInterleaved);
    auto* p = static_cast<unsigned char*>(img->getDataPtr());
    for (int i = 0; i < nx * ny * nc; ++i)
        p[i] = ramp(i / nc % nx, i / nc / nx, i % nc);
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
    bool wrong;
    if (on) {
        // No reachable pixels: the failure of reset is kept, and nothing reaches the buffer; once
        // the failure is cleared, reads succeed and still write nothing.
        wrong = img.getStatus() != ilOutOfMemory || written != ilOutOfMemory ||
                read != ilOutOfMemory || img.getDataPtr() != nullptr || out[0] != 0x5a;
        img.clearStatus();
        wrong = wrong || img.getTile3D(0, 0, 0, 4, 4, 1, out) != ilOK || out[0] != 0x5a;
    } else {
        wrong = written != ilOK || read != ilOK || std::memcmp(in, out, 16) != 0;
    }
    // The variable is read once: turning it over now changes nothing.
    setenv("QUILLON_TEMPERA_MOVEABLE", on ? "0" : "1", 1);
    ilMemoryImg second(ilSize(2, 2, 1, 1), ilUChar, ilInterleaved);
    return (on ? 1 : 0) | (wrong || second.isMoveable() != on ? 2 : 0);
}

}  // namespace

TEST(MemoryImg, MoveableModeIsExactlyOneAndReadOnce) {
    // Each case runs in a fresh process, since the process reads the variable only once.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const char* values[] = {"1", "0", "", "true", " 1", "1 ", "01", "11", nullptr};
    for (const char* v : values) {
        SCOPED_TRACE(v ? v : "(unset)");
        v ? setenv("QUILLON_TEMPERA_MOVEABLE", v, 1) : unsetenv("QUILLON_TEMPERA_MOVEABLE");
        const bool on = v && std::string(v) == "1";
        EXPECT_EXIT(std::exit(moveableChild()), testing::ExitedWithCode(on ? 1 : 0), "");
    }
    unsetenv("QUILLON_TEMPERA_MOVEABLE");
}

TEST(MemoryImg, UnconfiguredImagesRefuseReadsUntilConfigured) {
    const struct {
        ilSize size;
        ilType type;
        ilOrder order;
    } rows[] = {
        {ilSize(0, 0, 1, 0), ilUChar, ilInterleaved},
        {ilSize(4, 0, 1, 3), ilUChar, ilInterleaved},
        {ilSize(4, 4, 0, 3), ilUChar, ilSeparate},
        {ilSize(4, 4, 1, 0), ilFloat, ilInterleaved},
        {ilSize(-4, 4, 1, 3), ilUChar, ilInterleaved},
        {ilSize(-2, -2, 1, 3), ilUChar, ilSequential},
        {ilSize(4, 4, 1, 3), ilAnyType, ilInterleaved},
        {ilSize(4, 4, 1, 3), ilUChar, ilAnyOrder},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << r.size.x << "x" << r.size.y << "x" << r.size.z << "x"
                                        << r.size.c << " type " << r.type << " order " << r.order);
        ilMemoryImg img(r.size, r.type, r.order);
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
    EXPECT_EQ(blind.getTile3D(1, 1, 0, 1, 1, 1, out), ilOK);
    EXPECT_EQ(out[0], 9);
    wrapped.setSize(8, 8);
    EXPECT_NE(wrapped.getDataPtr(), mine);
    EXPECT_EQ(wrapped.mem_used(), 64);
    EXPECT_EQ(mine[15], 7) << "the caller's block is not written or freed";
}

TEST(MemoryImg, LockPageGivesOneWholePageUntilTheNextReset) {
    auto img = rampImage(5, 4, 2);
    ilStatus s = ilBadInput;
    ilPage* p = img->lockPage(0, 0, 0, 0, s);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(s, ilOK);
    EXPECT_EQ(img->lockPage(4, 3, 0, 1, s), p);
    EXPECT_EQ(p->getData(), img->getDataPtr());
    EXPECT_EQ(p->c, 2);
    img->unlockPage(p);
    EXPECT_EQ(img->lockPage(0, 0, 0, 0, s), p) << "the page outlives its unlock";
    // Positions outside the image or its channels get no page.
    const int outside[][4] = {{5, 0, 0, 0}, {0, 0, 0, 2}, {INT_MIN, 0, 0, 0}};
    for (const auto& o : outside)
        EXPECT_EQ(img->lockPage(o[0], o[1], o[2], o[3], s), nullptr);
    EXPECT_EQ(s, ilOK);
    // After a change the old pointer is stale; a new page describes the new block.
    img->setNumChans(3);
    ilPage* q = img->lockPage(0, 0, 0, 0, s);
    ASSERT_NE(q, nullptr);
    EXPECT_EQ(q->c, 3);
    EXPECT_EQ(q->getData(), img->getDataPtr());
}

TEST(MemoryImg, InputIsPulledLazilyOrSnapshotAndFollowed) {
    TestImage counted(3, 2, 2, ilFloat);
    counted.at(2, 1, 1) = 102;
    {
        ilMemoryImg lazy(&counted, 1);
        EXPECT_EQ(counted.tileReads, 0) << "nothing is read at construction";
        float out[12];
        EXPECT_EQ(lazy.getTile3D(0, 0, 0, 3, 2, 1, out), ilOK);
        EXPECT_EQ(lazy.getTile3D(0, 0, 0, 3, 2, 1, out), ilOK);
        EXPECT_EQ(counted.tileReads, 1) << "an unchanged input is not read again";
        EXPECT_EQ(out[11], 102.0f);
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
    follows.getTile3D(0, 0, 0, 1, 1, 1, &got);
    EXPECT_EQ(got, ramp(0, 0, 0));
    input->markDirty();
    follows.getTile3D(0, 0, 0, 1, 1, 1, &got);
    EXPECT_EQ(got, 99);
    // A snapshot switched to autoSync follows from its next read.
    snapshot.setAutoSync(1);
    snapshot.getTile3D(1, 1, 0, 1, 1, 1, &got);
    EXPECT_EQ(got, 42);

    // A missing input is an error until an input is given; an input in error passes it on.
    ilMemoryImg orphan(nullptr, 1);
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
        unsigned char changed[2] = {70, 80};
        middle.setTile3D(0, 0, 0, 2, 1, 1, changed);
        EXPECT_TRUE(top.CollapseSeed());
        EXPECT_EQ(top.GetSeedImage(), base.get());
        EXPECT_EQ(blockOf(*base), Bytes(changed, changed + 2)) << "middle merged into base";
        EXPECT_EQ(base->refs(), 2);
        EXPECT_EQ(middle.refs(), 0) << "released, not deleted";
        EXPECT_FALSE(middle.CollapseSeed()) << "base has no seed of its own";

        TestImage plain(2, 2, 1);
        ilMemoryImg overPlain(&plain, 0);
        EXPECT_EQ(plain.refs(), 0) << "a seed of another kind is not counted";
        EXPECT_FALSE(overPlain.CollapseSeed());
    }
    EXPECT_EQ(base->refs(), 0);
    // A child outlives a deleted seed, whose edge goes with it; the sanitizers watch its end.
    auto* seed = new ilMemoryImg(ilSize(2, 2, 1), ilUChar, ilInterleaved);
    ilMemoryImg child(seed, 0);
    delete seed;
    EXPECT_EQ(child.getNumParents(), 0);
}

TEST(MemoryImg, CopiesAndAssignmentShareTheBlockWithoutOwningIt) {
    auto a = rampImage(2, 2, 1);
    {
        ilMemoryImg copy(*a);
        EXPECT_EQ(copy.getDataPtr(), a->getDataPtr());
        EXPECT_EQ(copy.getImageId(), a->getImageId());
    }
    ilMemoryImg b(ilSize(3, 3, 1, 1), ilUChar, ilInterleaved);
    b.getDataPtr();
    b = *a;
    EXPECT_EQ(b.getDataPtr(), a->getDataPtr());
    unsigned char got = 0;
    EXPECT_EQ(a->getTile3D(1, 1, 0, 1, 1, 1, &got), ilOK);
    EXPECT_EQ(got, ramp(1, 1, 0)) << "the block outlived the copy";
}

// An image copied onto itself with overlapping boxes ends as a copy through a separate buffer
// would leave it, for every direction of shift, pulling and pushing.
TEST(MemoryImg, CopiesOntoItselfWithOverlappingBoxes) {
    const int shifts[][2] = {{1, 1}, {-1, -1}, {1, 0}, {0, -1}, {3, -2}, {-2, 3}, {0, 0}};
    for (const auto& d : shifts)
        for (int pull = 0; pull < 2; ++pull) {
            const int dx = d[0], dy = d[1];
            SCOPED_TRACE(testing::Message() << "shift " << dx << ", " << dy << " pull " << pull);
            auto img = rampImage(7, 7, 2);
            const Bytes before = blockOf(*img);
            // The largest tile whose source and target both lie in the image; either way round,
            // pixel (x + i, y + j) ends with what (x + i + dx, y + j + dy) held.
            const int x = std::max(0, -dx), y = std::max(0, -dy), w = 7 - std::abs(dx),
                      h = 7 - std::abs(dy);
            if (pull)
                ASSERT_EQ(img->copyTile(x, y, w, h, img.get(), x + dx, y + dy), ilOK);
            else
                ASSERT_EQ(img->copyTile(x + dx, y + dy, w, h, img.get(), x, y, nullptr, 0), ilOK);
            Bytes want = before;
            for (int j = 0; j < h; ++j)
                for (int i = 0; i < w; ++i)
                    for (int c = 0; c < 2; ++c)
                        want[size_t(((y + j) * 7 + x + i) * 2 + c)] =
                            before[size_t(((y + j + dy) * 7 + x + i + dx) * 2 + c)];
            EXPECT_EQ(blockOf(*img), want);
        }
}

TEST(MemoryImg, BadInputNeverCrashesOrWritesOutsideTheBuffer) {
    enum Op { Get, Set, Fill };
    static int wild[3] = {1000, -7, INT_MIN};
    const int h = INT_MAX / 2;
    const ilTile box(0, 0, 0, 4, 4, 1), shifted(1, 1, 0, 4, 4, 1), far(h, h, h, 4, 4, 1);
    const ilTile wide(-2, -2, 0, 8, 8, 1);
    auto cfg = [](int type, int order, int nc, int offset = 0, int* list = nullptr, int space = 0) {
        return ilConfig(ilType(type), ilOrder(order), nc, list, offset, ilCoordSpace(space));
    };
    const int U8 = ilUChar, IL = ilInterleaved;  // short names keep one row per line
    const ilConfig own = cfg(U8, IL, 3);
    const struct {
        const char* what;
        Op op;
        ilTile tile, box;
        int nullData, useCfg;
        ilConfig cfg;
        int bufferChanges, imageChanges;
    } rows[] = {
        // clang-format off
        {"read to null", Get, box, box, 1, 0, own, 0, 0},
        {"write from null", Set, box, box, 1, 0, own, 0, 0},
        {"negative buffer box", Get, box, ilTile(0, 0, 0, -3, 2, 1), 0, 0, own, 0, 0},
        {"negative tile reads the box", Get, ilTile(0, 0, 0, -2, 2, 1), shifted, 0, 0, own, 1, 0},
        {"negative tile writes the box", Set, ilTile(0, 0, 0, 2, -2, 1), shifted, 0, 0, own, 0, 1},
        {"huge tile and box", Get, far, far, 0, 0, own, 1, 0},
        {"huge tile, small box", Get, ilTile(h, -h, 0, h, h, 1), box, 0, 0, own, 0, 0},
        {"huge write", Set, ilTile(-h, h, 0, 4, 4, 1), ilTile(-h, h, 0, 4, 4, 1), 0, 0, own, 0, 0},
        {"null config", Get, box, box, 0, 0, own, 1, 0},
        {"unknown type 3", Get, box, box, 0, 1, cfg(3, IL, 3), 0, 0},
        {"unknown type 1000 written", Set, box, box, 0, 1, cfg(1000, IL, 3), 0, 0},
        {"unset type and order", Get, box, box, 0, 1, cfg(0, 0, 3), 1, 0},
        {"unknown order", Get, box, box, 0, 1, cfg(U8, 99, 3), 1, 0},
        {"unknown space", Get, box, box, 0, 1, cfg(U8, IL, 3, 0, nullptr, 42), 1, 0},
        {"negative channels", Get, box, box, 0, 1, cfg(U8, IL, -2), 0, 0},
        {"offset past every channel", Get, box, box, 0, 1, cfg(U8, IL, 3, INT_MAX), 0, 0},
        {"negative offset written", Set, box, box, 0, 1, cfg(U8, IL, 3, -INT_MAX), 0, 0},
        {"wild channel list", Get, wide, box, 0, 1, cfg(U8, IL, 3, 0, wild), 0, 0},
        {"fill of unknown type", Fill, box, box, 0, 1, cfg(3, IL, 3), 0, 1},
        {"fill of negative channels", Fill, box, box, 0, 1, cfg(U8, IL, -1), 0, 0},
        {"fill far away", Fill, ilTile(h, h, 0, h, h, 1), box, 0, 0, own, 0, 0},
        // clang-format on
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        auto img = rampImage(4, 4, 3);
        Bytes mem(48 + 2 * 64);
        for (size_t i = 0; i < mem.size(); ++i)
            mem[i] = static_cast<unsigned char>(i * 37 + 11);
        const Bytes before = mem, image = blockOf(*img);
        ilConfig c = r.cfg;
        ilConfig* pc = r.useCfg ? &c : nullptr;
        void* data = r.nullData ? nullptr : mem.data() + 64;
        const ilTile& t = r.tile;
        const ilStatus s =
            r.op == Get   ? img->getSubTile3Dv2(t, data, r.box, pc)
            : r.op == Set ? img->setSubTile3Dv2(t, data, r.box, pc)
                          : img->fillTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, data, pc, nullptr);
        // A missing buffer is the one bad argument that is refused rather than survived.
        EXPECT_EQ(s, r.nullData && r.op != Fill ? ilBadInput : ilOK);
        EXPECT_TRUE(std::equal(mem.begin(), mem.begin() + 64, before.begin())) << "guard before";
        EXPECT_TRUE(std::equal(mem.end() - 64, mem.end(), before.end() - 64)) << "guard after";
        EXPECT_EQ(mem != before, r.bufferChanges != 0);
        EXPECT_EQ(blockOf(*img) != image, r.imageChanges != 0);
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
    // 2^52 bytes: more than the address space of any x86-64 process, whatever the overcommit.
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

    // A byte count beyond 64 bits fails the same way, and so does a scratch buffer of that size.
    testing::internal::CaptureStderr();
    ilMemoryImg absurd(ilSize(INT_MAX, INT_MAX, INT_MAX, 4), ilDouble, ilInterleaved);
    EXPECT_EQ(absurd.getStatus(), ilOutOfMemory);
    testing::internal::GetCapturedStderr();
    ilBuffer scratch(ilDouble, INT_MAX, INT_MAX, INT_MAX, 4);
    EXPECT_EQ(scratch.getData(), nullptr);
}

TEST(ConstImg, AttributesFollowTheFill) {
    ilConstImg img;
    const unsigned short grey[3] = {1, 2, 3};
    EXPECT_EQ(img.setFill(ilPixel(ilUShort, 3, grey)), ilOK);
    EXPECT_EQ(img.getSize(), ilSize(1, 1, 1, 3));
    EXPECT_EQ(img.getDataType(), ilUShort);
    EXPECT_EQ(img.setOrder(ilSeparate), ilUnsupported);
}

TEST(ConstImg, WritesAreRefusedAndPushesFill) {
    const unsigned char rgba[4] = {10, 20, 30, 40};
    ilConstImg img(ilPixel(ilUChar, 4, rgba));
    ilMemoryImg canvas(ilSize(4, 4, 1, 4), ilUChar, ilInterleaved);
    Bytes before(64);
    for (int i = 0; i < 64; ++i)
        before[size_t(i)] = static_cast<unsigned char>(i);
    std::memcpy(canvas.getDataPtr(), before.data(), 64);
    auto pixelAt = [&](int x, int y) {
        const Bytes b = blockOf(canvas);
        return Bytes(b.begin() + (y * 4 + x) * 4, b.begin() + (y * 4 + x) * 4 + 4);
    };
    const Bytes color(rgba, rgba + 4);

    EXPECT_EQ(img.setTile3D(0, 0, 0, 1, 1, 1, before.data()), ilUnsupported);
    EXPECT_EQ(img.copyTileCfg(0, 0, 0, 2, 2, 1, &canvas, 0, 0, 0, nullptr, 1), ilUnsupported);
    EXPECT_EQ(blockOf(canvas), before) << "a pull moves nothing";
    // A push fills the tile at the destination, channels chosen by the caller's list.
    EXPECT_EQ(img.copyTile(0, 0, 2, 2, &canvas, 1, 2, nullptr, 0), ilOK);
    EXPECT_EQ(pixelAt(2, 3), color);
    EXPECT_EQ(pixelAt(0, 0), Bytes(before.begin(), before.begin() + 4));
    int swap[4] = {2, 3, 0, 1};
    ilConfig cfg(ilUChar, ilInterleaved, 4, swap);
    EXPECT_EQ(img.copyTileCfg(0, 0, 0, 1, 1, 1, &canvas, 0, 0, 0, &cfg, 0), ilOK);
    EXPECT_EQ(pixelAt(0, 0), Bytes({30, 40, 10, 20}));
    EXPECT_EQ(pixelAt(1, 0), Bytes(before.begin() + 4, before.begin() + 8));
    // A memory image pulls from a constant one through the constant's byte path.
    EXPECT_EQ(canvas.copyTile(2, 2, 2, 2, &img, 100, -100), ilOK);
    EXPECT_EQ(pixelAt(3, 3), color);
    EXPECT_EQ(pixelAt(1, 1), Bytes(before.begin() + 20, before.begin() + 24));
}
