// Tile iteration: the page walk of ilTileIter against a brute-force enumeration, the locking page
// walker, lockTile3D, the A-out-of-B slab iterator and the free tile functions.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <ostream>
#include <random>
#include <set>
#include <tuple>
#include <vector>

#include "pigment/frame/ilImage.h"
#include "pigment/frame/ilLockedTile.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/frame/ilPage.h"
#include "pigment/frame/ilPageWalker.h"
#include "pigment/frame/ilTileComposeIter.h"
#include "pigment/frame/ilTileFunctions.h"
#include "pigment/frame/ilTileIter.h"

// Readable tiles in failure messages.
static void PrintTo(const ilTile& t, std::ostream* os) {
    *os << "(" << t.x << "," << t.y << "," << t.z << " " << t.nx << "x" << t.ny << "x" << t.nz
        << ")";
}

namespace {

using Pos = std::tuple<int, int, int, int>;  // x, y, z, c

std::vector<Pos> walk(ilTileIter& it) {
    std::vector<Pos> out;
    while (it.more()) {
        out.emplace_back(it.x, it.y, it.z, it.c);
        if (out.size() > 100000) break;  // a runaway walk fails the comparison instead of hanging
    }
    return out;
}

// ---- ilTileIter: the cases a caller relies on ----

TEST(TileIter, EdgeCases) {
    int list05[] = {0, 5};
    int list09[] = {9, -1, 0};
    ilConfig cfg05(ilUChar, ilInterleaved, 2, list05);
    ilConfig cfg09(ilUChar, ilInterleaved, 3, list09);
    ilConfig offset3(ilUChar, ilInterleaved, 2, nullptr, 3);
    struct Case {
        const char* what;
        ilTile tile;
        int page, pageC, border, clipEnds, anchored, nChans;
        const ilConfig* cfg;
        std::vector<int> xs;  // x of each page visited, in order
        std::vector<int> cs;  // c of each page visited, in order
    };
    // clang-format off
    const Case cases[] = {
        {"unanchored grid starts at the page below x 130",
         ilTile(130, 0, 10, 1), 128, 1, 0, 1, 0, 1, nullptr, {128}, {0}},
        {"anchored grid starts at the tile",
         ilTile(130, 0, 10, 1), 128, 1, 0, 1, 1, 1, nullptr, {130}, {0}},
        {"border 2: delta 124, first origin -2",
         ilTile(0, 0, 200, 1), 128, 1, 2, 1, 0, 1, nullptr, {-2, 122}, {0, 0}},
        {"border 2 without clipEnds: the next page once its inner part is reached",
         ilTile(0, 0, 125, 1), 128, 1, 2, 0, 0, 1, nullptr, {-2, 122}, {0, 0}},
        {"border 2 without clipEnds, tile inside the first page",
         ilTile(0, 0, 124, 1), 128, 1, 2, 0, 0, 1, nullptr, {-2}, {0}},
        {"border 2 with clipEnds takes the page whose border meets the tile",
         ilTile(0, 0, 124, 1), 128, 1, 2, 1, 0, 1, nullptr, {-2, 122}, {0, 0}},
        {"negative origin",
         ilTile(-5, 0, 10, 1), 16, 1, 0, 1, 0, 1, nullptr, {-16, 0}, {0, 0}},
        {"empty tile",
         ilTile(5, 5, 0, 1), 16, 1, 0, 1, 0, 1, nullptr, {}, {}},
        {"empty in z",
         ilTile(5, 5, 0, 3, 3, 0), 16, 1, 0, 1, 0, 1, nullptr, {}, {}},
        {"list 0 and 5 with pageC 4 visits channel pages 0 and 4",
         ilTile(0, 0, 8, 1), 16, 4, 0, 1, 0, 8, &cfg05, {0, 0}, {0, 4}},
        {"list 9, -1, 0 skips the channel page in between",
         ilTile(0, 0, 8, 1), 16, 4, 0, 1, 0, 12, &cfg09, {0, 0}, {0, 8}},
        {"offset 3 for 2 channels, pageC 2",
         ilTile(0, 0, 8, 1), 16, 2, 0, 1, 0, 8, &offset3, {0, 0}, {2, 4}},
        {"channels slowest",
         ilTile(10, 0, 30, 1), 16, 1, 0, 1, 0, 2, nullptr, {0, 16, 32, 0, 16, 32},
         {0, 0, 0, 1, 1, 1}},
    };
    // clang-format on
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        ilTileIter it(k.tile, k.page, k.page, k.page, k.pageC, k.nChans, k.cfg, k.anchored);
        it.setPageBorder(k.border, k.border, k.border, k.clipEnds);
        std::vector<Pos> got = walk(it);
        std::vector<int> xs, cs;
        for (const Pos& p : got) {
            xs.push_back(std::get<0>(p));
            cs.push_back(std::get<3>(p));
        }
        EXPECT_EQ(xs, k.xs);
        EXPECT_EQ(cs, k.cs);
        EXPECT_FALSE(it.more()) << "a finished walk stays finished";
        if (k.xs.empty()) {
            EXPECT_EQ(it.getCount(), 0);
        }
    }
}

TEST(TileIter, DeltaAndCountWithBorder) {
    ilTileIter it(ilTile(0, 0, 0, 300, 130, 1), 128, 128, 1, 1, 1, nullptr, 0);
    it.setPageBorder(2, 2, 0, 1);
    EXPECT_EQ(it.getCount(), 3 * 2);
    EXPECT_EQ(it.deltaX, 124);
    EXPECT_EQ(it.deltaY, 124);
    EXPECT_EQ(it.firstX, -2);
    EXPECT_EQ(it.firstY, -2);
}

TEST(TileIter, RestartsAfterNewGeometry) {
    ilTileIter it(ilTile(0, 0, 40, 1), 16, 16, 1, 1, 1, nullptr, 0);
    EXPECT_EQ(walk(it).size(), 3u);
    it.setPageSize(32, 32, 1, 1);
    EXPECT_EQ(walk(it).size(), 2u);
    it.setTile(ilTile(100, 0, 1, 1), 1, nullptr, 0);
    std::vector<Pos> one = walk(it);
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(std::get<0>(one[0]), 96);
}

// ---- ilTileIter against brute force ----

struct Walk {
    ilTile tile;
    int page[3], border[3], pageC, clipEnds, anchored, nChans;
    bool useCfg;
    ilConfig cfg;
    std::vector<int> list;
};

// Every page origin on the grid of one axis whose page the walk must visit, by the definition:
// the grid runs through the image origin (or the tile's when anchored) offset by the border, the
// page's inner cell must reach past the tile's start, and the page (or its inner part without
// clipEnds) must begin before the tile's end.
std::vector<int> axisPages(int start, int extent, int page, int border, int clipEnds,
                           int anchored) {
    int delta = page - 2 * border;
    std::vector<int> out;
    for (int p = start - 4 * page - border; p < start + extent + 4 * page; ++p) {
        int cell = p + border;
        bool onGrid = anchored ? (cell - start) % delta == 0 && cell >= start
                               : ((cell % delta) + delta) % delta == 0;
        if (!onGrid || cell + delta <= start) continue;
        int end = start + extent;
        if (clipEnds ? p < end : cell < end) out.push_back(p);
    }
    return out;
}

std::vector<Pos> bruteForce(const Walk& w) {
    std::vector<Pos> out;
    if (w.tile.empty()) return out;
    std::vector<int> cPages;
    if (!w.list.empty()) {
        for (int q = 0; q < 64; q += w.pageC) {
            bool needed = false;
            for (int e : w.list)
                needed |= e >= q && e < q + w.pageC;
            if (needed) cPages.push_back(q);
        }
    } else {
        int first = w.useCfg ? w.cfg.chanOffset : 0;
        int end = first + (w.useCfg && w.cfg.nChans ? w.cfg.nChans : w.nChans);
        int q0 = w.anchored ? first : first - first % w.pageC;
        for (int q = q0; q < end; q += w.pageC)
            cPages.push_back(q);
    }
    std::vector<int> xs =
        axisPages(w.tile.x, w.tile.nx, w.page[0], w.border[0], w.clipEnds, w.anchored);
    std::vector<int> ys =
        axisPages(w.tile.y, w.tile.ny, w.page[1], w.border[1], w.clipEnds, w.anchored);
    std::vector<int> zs =
        axisPages(w.tile.z, w.tile.nz, w.page[2], w.border[2], w.clipEnds, w.anchored);
    for (int c : cPages)
        for (int z : zs)
            for (int y : ys)
                for (int x : xs)
                    out.emplace_back(x, y, z, c);
    return out;
}

TEST(TileIter, PageOrderMatchesBruteForce) {
    std::mt19937 rng(20240611);
    auto uni = [&rng](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    int withPages = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        Walk w;
        w.tile =
            ilTile(uni(-70, 70), uni(-70, 70), uni(-20, 20), uni(0, 60), uni(0, 60), uni(0, 12));
        for (int a = 0; a < 3; ++a) {
            w.page[a] = uni(2, 24);
            w.border[a] = uni(0, (w.page[a] - 1) / 2);
        }
        w.pageC = uni(1, 4);
        w.clipEnds = uni(0, 1);
        w.anchored = uni(0, 1);
        w.nChans = uni(1, 9);
        int channelMode = uni(0, 2);
        w.useCfg = channelMode > 0;
        if (channelMode == 1) {
            w.cfg = ilConfig(ilUChar, ilInterleaved, uni(0, 4), nullptr, uni(0, 6));
        } else if (channelMode == 2) {
            int n = uni(1, 4);
            for (int i = 0; i < n; ++i)
                w.list.push_back(uni(-1, w.nChans - 1));
            w.cfg = ilConfig(ilUChar, ilInterleaved, n, w.list.data());
        }
        SCOPED_TRACE(::testing::Message()
                     << "trial " << trial << " tile " << w.tile.x << "," << w.tile.y << ","
                     << w.tile.z << " " << w.tile.nx << "x" << w.tile.ny << "x" << w.tile.nz
                     << " page " << w.page[0] << "," << w.page[1] << "," << w.page[2] << " border "
                     << w.border[0] << "," << w.border[1] << "," << w.border[2] << " pageC "
                     << w.pageC << " clipEnds " << w.clipEnds << " anchored " << w.anchored
                     << " channels " << channelMode);
        ilTileIter it(w.tile, w.nChans, w.useCfg ? &w.cfg : nullptr, w.anchored);
        it.setPageSize(w.page[0], w.page[1], w.page[2], w.pageC);
        it.setPageBorder(w.border[0], w.border[1], w.border[2], w.clipEnds);
        std::vector<Pos> expected = bruteForce(w);
        int count = it.getCount();
        std::vector<Pos> got = walk(it);
        ASSERT_EQ(got, expected);
        if (w.list.empty())
            EXPECT_EQ(count, static_cast<int>(got.size()));
        else
            EXPECT_GE(count, static_cast<int>(got.size()));
        withPages += !got.empty();
    }
    EXPECT_GT(withPages, 1500) << "the random cases must mostly produce pages";
}

// ---- An image whose page locks are recorded ----

class LockImage : public ilImage {
  public:
    LockImage(int sx, int sy, int sc, int px, int py, int pc, int border) {
        size = ilSize(sx, sy, 1, sc);
        pageSize = ilSize(px, py, 1, pc);
        pageBorder = {border, border, 0};
        dataType = ilUChar;
        order = ilInterleaved;
    }
    ~LockImage() override {
        for (auto& kv : held)
            delete kv.second;
    }

    ilStatus getSubTile3D(int, int, int, int, int, int, void*, int, int, int, int, int, int,
                          ilConfig*) override {
        return ilOK;
    }
    ilStatus setSubTile3D(int, int, int, int, int, int, void*, int, int, int, int, int, int,
                          ilConfig*) override {
        return ilOK;
    }

    // Pages in busy answer ilPageNotReady to a try-only lock; pages in broken fail outright.
    ilStatus lockPageSet(ilLockRequest* requests, int mode, int count) override {
        calls.push_back({mode, count, static_cast<int>(held.size())});
        ilStatus result = ilOK;
        for (int i = 0; i < count; ++i) {
            ilLockRequest& r = requests[i];
            Pos p(r.x, r.y, r.z, r.c);
            r.page = nullptr;
            if ((mode & ilLockNoWait) && busy.count(p)) {
                r.status = ilPageNotReady;
                result = ilPageNotReady;
                continue;
            }
            if (broken.count(p)) {
                r.status = ilOutOfMemory;
                result = ilOutOfMemory;
                continue;
            }
            if (held.count(p)) {
                ADD_FAILURE() << "page locked twice";
                continue;
            }
            r.status = ilOK;
            r.page = new ilPage(r.x, r.y, r.z, r.c, &payload);
            held[p] = r.page;
            ++lockCount[p];
        }
        return result;
    }
    ilStatus unlockPageSet(ilLockRequest* requests, int count) override {
        for (int i = 0; i < count; ++i) {
            ilLockRequest& r = requests[i];
            if (!r.page) continue;
            auto found = held.find(Pos(r.x, r.y, r.z, r.c));
            if (found == held.end() || found->second != r.page) {
                ADD_FAILURE() << "unlock of a page that is not held";
                continue;
            }
            delete r.page;
            r.page = nullptr;
            held.erase(found);
        }
        return ilOK;
    }

    struct Call {
        int mode, count, heldBefore;
    };
    std::vector<Call> calls;
    std::set<Pos> busy, broken;
    std::map<Pos, ilPage*> held;
    std::map<Pos, int> lockCount;
    int payload = 0;
};

std::vector<Pos> gridPagesUnder(const ilTile& t, int sx, int sy, int px, int py, int border) {
    // Clip to the image, then every page whose inner cell meets the clipped tile.
    int x0 = std::max(t.x, 0), y0 = std::max(t.y, 0);
    int x1 = std::min(t.x + t.nx, sx), y1 = std::min(t.y + t.ny, sy);
    std::vector<Pos> out;
    if (x1 <= x0 || y1 <= y0) return out;
    int dx = px - 2 * border, dy = py - 2 * border;
    for (int cy = -dy; cy < sy + dy; cy += dy)
        for (int cx = -dx; cx < sx + dx; cx += dx)
            if (cx < x1 && cx + dx > x0 && cy < y1 && cy + dy > y0)
                out.emplace_back(cx - border, cy - border, 0, 0);
    return out;
}

TEST(PageWalker, DeferredPagesComeLastAndEveryLockIsReleased) {
    struct Case {
        const char* what;
        std::vector<Pos> busy;
        int batchSize;
    };
    const Case cases[] = {
        {"nothing busy", {}, 1},
        {"two busy, batches of one", {Pos(16, 0, 0, 0), Pos(0, 16, 0, 0)}, 1},
        {"three busy, batches of two", {Pos(0, 0, 0, 0), Pos(32, 16, 0, 0), Pos(16, 32, 0, 0)}, 2},
        {"all busy, batches of four",
         {Pos(0, 0, 0, 0), Pos(16, 0, 0, 0), Pos(32, 0, 0, 0), Pos(0, 16, 0, 0), Pos(16, 16, 0, 0),
          Pos(32, 16, 0, 0), Pos(0, 32, 0, 0), Pos(16, 32, 0, 0), Pos(32, 32, 0, 0)},
         4},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        LockImage image(48, 48, 1, 16, 16, 1, 0);
        image.busy.insert(k.busy.begin(), k.busy.end());
        std::vector<Pos> order;
        {
            ilPageWalker walker(&image, ilTile(5, 5, 40, 40), nullptr, ilLockRead);
            walker.batchSize = k.batchSize;
            while (walker.nextPage()) {
                order.emplace_back(walker.x, walker.y, walker.z, walker.c);
                EXPECT_EQ(walker.pageData, &image.payload);
                EXPECT_EQ(image.held.count(order.back()), 1u) << "a handed-out page is locked";
            }
            EXPECT_EQ(walker.status, ilOK);
        }
        EXPECT_TRUE(image.held.empty()) << "every lock released";

        std::vector<Pos> expected = gridPagesUnder(ilTile(5, 5, 40, 40), 48, 48, 16, 16, 0);
        ASSERT_EQ(order.size(), expected.size());
        std::multiset<Pos> seen(order.begin(), order.end());
        EXPECT_EQ(seen, std::multiset<Pos>(expected.begin(), expected.end()))
            << "every page exactly once";
        // The pages that could be had at once come first, in walk order; the busy ones after.
        size_t ready = expected.size() - k.busy.size();
        for (size_t i = 0; i < order.size(); ++i)
            EXPECT_EQ(image.busy.count(order[i]), i < ready ? 0u : 1u) << "page " << i;
        for (const auto& [pos, n] : image.lockCount)
            EXPECT_EQ(n, 1) << "each page locked once";

        ASSERT_FALSE(image.calls.empty());
        EXPECT_EQ(image.calls[0].mode, ilLockRead | ilLockNoWait) << "the first pass only tries";
        EXPECT_EQ(image.calls[0].count, static_cast<int>(expected.size()));
        for (size_t i = 1; i < image.calls.size(); ++i) {
            EXPECT_EQ(image.calls[i].mode, ilLockRead) << "retries wait";
            EXPECT_LE(image.calls[i].count, k.batchSize);
            EXPECT_EQ(image.calls[i].heldBefore, 0) << "the previous group was released first";
        }
        int retried = 0;
        for (size_t i = 1; i < image.calls.size(); ++i)
            retried += image.calls[i].count;
        EXPECT_EQ(retried, static_cast<int>(k.busy.size()));
    }
}

TEST(PageWalker, DestroyedMidWalkReleasesWhatItHolds) {
    for (int stopAfter : {1, 3, 8, 9}) {
        SCOPED_TRACE(stopAfter);
        LockImage image(48, 48, 1, 16, 16, 1, 0);
        image.busy = {Pos(0, 0, 0, 0), Pos(32, 32, 0, 0)};
        {
            ilPageWalker walker(&image, ilTile(0, 0, 48, 48));
            walker.batchSize = 2;
            for (int i = 0; i < stopAfter; ++i)
                ASSERT_TRUE(walker.nextPage());
            EXPECT_FALSE(image.held.empty());
        }
        EXPECT_TRUE(image.held.empty());
    }
}

TEST(PageWalker, GroupFormStopsAtAFailedLock) {
    LockImage image(48, 16, 1, 16, 16, 1, 0);
    image.busy = {Pos(16, 0, 0, 0), Pos(32, 0, 0, 0)};
    image.broken = {Pos(32, 0, 0, 0)};  // fails once it is retried for real
    ilPageWalker walker(&image, ilTile(0, 0, 48, 16));
    ilLockRequest* group = nullptr;
    ASSERT_EQ(walker.nextGroup(group), 1);
    EXPECT_EQ(group[0].x, 0);
    ASSERT_EQ(walker.nextGroup(group), 1);
    EXPECT_EQ(group[0].x, 16);
    EXPECT_EQ(walker.nextGroup(group), 0);
    EXPECT_EQ(group, nullptr);
    EXPECT_EQ(walker.status, ilOutOfMemory);
}

TEST(PageWalker, ImageInErrorGivesNoPages) {
    class Broken : public LockImage {
      public:
        Broken() : LockImage(16, 16, 1, 16, 16, 1, 0) {}
        void reset() override {
            LockImage::reset();
            status = ilBadInput;
        }
    } image;
    ilPageWalker walker(&image, ilTile(0, 0, 16, 16));
    EXPECT_FALSE(walker.nextPage());
    EXPECT_EQ(walker.status, ilBadInput);
    EXPECT_TRUE(image.calls.empty());
}

// ---- lockTile3D ----

TEST(LockTile, LocksExactlyThePagesUnderTheTile) {
    std::mt19937 rng(77);
    auto uni = [&rng](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    for (int trial = 0; trial < 300; ++trial) {
        int sx = uni(1, 90), sy = uni(1, 90), px = uni(4, 24), py = uni(4, 24);
        int border = uni(0, std::min(px, py) / 2 - 1);
        ilTile tile(uni(-30, 100), uni(-30, 100), uni(0, 70), uni(0, 70));
        SCOPED_TRACE(::testing::Message() << "trial " << trial);
        LockImage image(sx, sy, 1, px, py, 1, border);
        ilLockedTile* lt = image.lockTile(tile.x, tile.y, tile.nx, tile.ny, nullptr, ilLockRead);
        ASSERT_NE(lt, nullptr);
        EXPECT_EQ(lt->status, ilOK);
        std::set<Pos> locked;
        for (const auto& kv : image.held)
            locked.insert(kv.first);
        std::vector<Pos> expected = gridPagesUnder(tile, sx, sy, px, py, border);
        EXPECT_EQ(locked, std::set<Pos>(expected.begin(), expected.end()));
        EXPECT_EQ(lt->count, static_cast<int>(expected.size()));
        ASSERT_EQ(image.calls.size(), 1u);
        EXPECT_EQ(image.calls[0].mode, ilLockRead);
        delete lt;
        EXPECT_TRUE(image.held.empty());
    }
}

TEST(LockTile, ChannelPagesFollowTheConfig) {
    LockImage image(16, 16, 8, 16, 16, 2, 0);
    int list[] = {5, 0};
    ilConfig cfg(ilUChar, ilInterleaved, 2, list);
    ilLockedTile* lt = image.lockTile(0, 0, 16, 16, &cfg, ilLockWrite | ilLockNoWait);
    ASSERT_NE(lt, nullptr);
    ASSERT_EQ(lt->count, 2);
    EXPECT_EQ(lt->requests[0].c, 0);
    EXPECT_EQ(lt->requests[1].c, 4);
    EXPECT_EQ(image.calls[0].mode, ilLockWrite) << "a locked tile never passes the no-wait bit";
    delete lt;
}

TEST(LockTile, FailedLockIsNotUnlocked) {
    LockImage image(32, 16, 1, 16, 16, 1, 0);
    image.broken = {Pos(16, 0, 0, 0)};
    ilLockedTile* lt = image.lockTile(0, 0, 32, 16);
    ASSERT_NE(lt, nullptr);
    EXPECT_EQ(lt->status, ilOutOfMemory);
    delete lt;
    // A failed batch is not unlocked: the page that was had stays with the image.
    EXPECT_EQ(image.held.size(), 1u);
}

// ---- A out of B ----

std::vector<ilTile> slabs(const ilTile& a, const ilTile& b) {
    std::vector<ilTile> out;
    ilTileComposeIter it(a, b, ilAOutB);
    while (it.more() && out.size() < 10)
        out.push_back(static_cast<const ilTile&>(it));
    return out;
}

TEST(TileComposeIter, AOutOfB) {
    struct Case {
        const char* what;
        ilTile a, b;
        std::vector<ilTile> expected;
    };
    const Case cases[] = {
        {"disjoint in x: A whole from the low-X state",
         ilTile(0, 0, 0, 4, 4, 1),
         ilTile(10, 0, 0, 4, 4, 1),
         {ilTile(0, 0, 0, 4, 4, 1)}},
        {"disjoint in z: the low-Z slab is all of A",
         ilTile(0, 0, 0, 4, 4, 2),
         ilTile(0, 0, 5, 4, 4, 1),
         {ilTile(0, 0, 0, 4, 4, 2)}},
        {"disjoint above in y after a z cut",
         ilTile(0, 0, 0, 4, 4, 3),
         ilTile(0, 10, 1, 4, 4, 1),
         {ilTile(0, 0, 0, 4, 4, 1), ilTile(0, 0, 2, 4, 4, 1), ilTile(0, 0, 1, 4, 4, 1)}},
        {"B contains A", ilTile(2, 2, 0, 3, 3, 1), ilTile(0, 0, 0, 10, 10, 1), {}},
        {"B equals A", ilTile(2, 2, 0, 3, 3, 1), ilTile(2, 2, 0, 3, 3, 1), {}},
        {"empty B gives A once",
         ilTile(1, 2, 0, 3, 4, 1),
         ilTile(0, 0, 0, 0, 5, 1),
         {ilTile(1, 2, 0, 3, 4, 1)}},
        {"empty A gives nothing", ilTile(1, 2, 0, 0, 4, 1), ilTile(0, 0, 0, 1, 1, 1), {}},
        {"hole in the middle: four slabs around it",
         ilTile(0, 0, 0, 10, 10, 1),
         ilTile(3, 4, 0, 2, 2, 1),
         {ilTile(0, 0, 0, 10, 4, 1), ilTile(0, 6, 0, 10, 4, 1), ilTile(0, 4, 0, 3, 2, 1),
          ilTile(5, 4, 0, 5, 2, 1)}},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        EXPECT_EQ(slabs(k.a, k.b), k.expected);
    }
    ilTileComposeIter other(ilTile(0, 0, 4, 4), ilTile(8, 8, 4, 4), static_cast<ilCompose>(3));
    EXPECT_FALSE(other.more()) << "combinations other than A out of B yield nothing";
}

TEST(TileComposeIter, SlabsCoverAOutsideBExactly) {
    std::mt19937 rng(4242);
    auto uni = [&rng](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    for (int trial = 0; trial < 2000; ++trial) {
        ilTile a(uni(-4, 4), uni(-4, 4), uni(-3, 3), uni(0, 7), uni(0, 7), uni(0, 4));
        ilTile b(uni(-6, 6), uni(-6, 6), uni(-4, 4), uni(0, 9), uni(0, 9), uni(0, 5));
        SCOPED_TRACE(::testing::Message() << "trial " << trial);
        std::vector<ilTile> got = slabs(a, b);
        ASSERT_LE(got.size(), 6u);
        std::map<std::tuple<int, int, int>, int> cover;
        for (const ilTile& s : got) {
            ASSERT_FALSE(s.empty()) << "no empty slabs";
            for (int z = s.z; z < s.z + s.nz; ++z)
                for (int y = s.y; y < s.y + s.ny; ++y)
                    for (int x = s.x; x < s.x + s.nx; ++x)
                        ++cover[{x, y, z}];
        }
        auto in = [](const ilTile& t, int x, int y, int z) {
            return !t.empty() && x >= t.x && x < t.x + t.nx && y >= t.y && y < t.y + t.ny &&
                   z >= t.z && z < t.z + t.nz;
        };
        long inA = 0, inAoutB = 0;
        for (int z = -10; z < 10; ++z)
            for (int y = -10; y < 16; ++y)
                for (int x = -10; x < 16; ++x) {
                    auto found = cover.find({x, y, z});
                    int n = found == cover.end() ? 0 : found->second;
                    bool wanted = in(a, x, y, z) && !in(b, x, y, z);
                    ASSERT_EQ(n, wanted ? 1 : 0) << "pixel " << x << "," << y << "," << z;
                    inA += in(a, x, y, z);
                    inAoutB += wanted;
                }
        // Slabs plus A within B account for A exactly.
        long inAandB = inA - inAoutB;
        ilTile both(a, b);
        long expectedBoth =
            a.empty() || b.empty() ? 0 : static_cast<long>(both.nx) * both.ny * both.nz;
        EXPECT_EQ(inAandB, expectedBoth);
    }
}

// ---- Free functions ----

TEST(TileFunctions, HalfScaleUnionResetExpandIntersected) {
    struct Half {
        ilTile in, out;
    };
    const Half halves[] = {
        {ilTile(3, 0, 3, 2), ilTile(1, 0, 2, 1)},     {ilTile(-1, 0, 1, 2), ilTile(-1, 0, 1, 1)},
        {ilTile(4, 6, 4, 6), ilTile(2, 3, 2, 3)},     {ilTile(0, 0, 0, 0), ilTile(0, 0, 1, 1)},
        {ilTile(5, -3, 1, 1), ilTile(2, -2, 1, 1)},   {ilTile(2, 2, 5, 7), ilTile(1, 1, 3, 4)},
        {ilTile(-4, -5, 3, 2), ilTile(-2, -3, 2, 2)},
    };
    for (const Half& h : halves) {
        ilTile t = h.in;
        t.z = 7, t.nz = 3;
        ilTileHalfScale(t);
        EXPECT_EQ(t.x, h.out.x) << h.in.x << "," << h.in.nx;
        EXPECT_EQ(t.nx, h.out.nx) << h.in.x << "," << h.in.nx;
        EXPECT_EQ(t.y, h.out.y) << h.in.y << "," << h.in.ny;
        EXPECT_EQ(t.ny, h.out.ny) << h.in.y << "," << h.in.ny;
        EXPECT_EQ(t.z, 7);
        EXPECT_EQ(t.nz, 3);
    }

    struct Touch {
        ilTile a, b;
        bool expected;
    };
    const Touch touches[] = {
        {ilTile(0, 0, 10, 10), ilTile(5, 5, 10, 10), true},
        {ilTile(0, 0, 10, 10), ilTile(10, 0, 5, 5), true},   // touching on x
        {ilTile(0, 0, 10, 10), ilTile(0, 10, 5, 5), true},   // touching on y
        {ilTile(0, 0, 10, 10), ilTile(11, 0, 5, 5), false},  // one pixel apart
        {ilTile(0, 0, 10, 10), ilTile(3, -6, 2, 5), false},
        {ilTile(0, 0, 10, 10), ilTile(2, 2, 0, 0), true},  // an empty tile inside still touches
        {ilTile(0, 0, 0, 10, 10, 1), ilTile(0, 0, 50, 10, 10, 1), true},  // z is not looked at
    };
    for (const Touch& t : touches) {
        EXPECT_EQ(ilTile_intersected(t.a, t.b), t.expected);
        EXPECT_EQ(ilTile_intersected(t.b, t.a), t.expected);
    }

    ilTile u;
    ilTile_union(u, ilTile(0, 0, 0, 4, 4, 1), ilTile(10, -2, 0, 2, 3, 1));
    EXPECT_EQ(u, ilTile(0, -2, 0, 12, 6, 1));
    ilTile_union(&u, &u, &u);
    EXPECT_EQ(u, ilTile(0, -2, 0, 12, 6, 1));

    ilTile r(5, 6, 7, 8, 9, 10);
    ilTile_reset(r);
    EXPECT_EQ(r, ilTile(0, 0, 0, 0, 0, 1));

    ilTile e(5, 6, 7, 8, 9, 10);
    ilTile_expand(e, 2);
    EXPECT_EQ(e, ilTile(3, 4, 7, 12, 13, 10));
    ilTile_expand(&e, -2);
    EXPECT_EQ(e, ilTile(5, 6, 7, 8, 9, 10));
}

TEST(TileFunctions, BoundsOfTwoImages) {
    ilMemoryImg a(ilSize(10, 20, 1, 1), ilUChar, ilInterleaved);
    ilMemoryImg b(ilSize(30, 5, 2, 1), ilUChar, ilInterleaved);
    EXPECT_EQ(ilBoundaryUnion(&a, &b), ilTile(0, 0, 0, 30, 20, 2));
    EXPECT_EQ(ilBoundaryIntersection(&a, &b), ilTile(0, 0, 0, 10, 5, 1));
    EXPECT_EQ(ilBoundaryUnion(&a, nullptr), ilTile(0, 0, 0, 10, 20, 1));
    EXPECT_EQ(ilBoundaryIntersection(nullptr, &b), ilTile(0, 0, 0, 0, 0, 0));
}

}  // namespace
