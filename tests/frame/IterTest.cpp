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
    while (it.more() && out.size() < 100000)  // a runaway walk fails instead of hanging
        out.emplace_back(it.x, it.y, it.z, it.c);
    return out;
}

int uniform(std::mt19937& rng, int lo, int hi) {
    return std::uniform_int_distribution<int>(lo, hi)(rng);
}

TEST(TileIter, NamedCases) {
    int list05[] = {0, 5};
    ilConfig cfg05(ilUChar, ilInterleaved, 2, list05);
    const struct {
        const char* what;
        int x, nx, page, pageC, border, clipEnds, anchored, nChans;  // a tile of one row
        const ilConfig* cfg;
        std::vector<int> xs, cs;  // x and c of each page visited, in order
    } rows[] = {
        // clang-format off
        {"unanchored: the page below x 130", 130, 10, 128, 1, 0, 1, 0, 1, nullptr, {128}, {0}},
        {"border 2: delta 124, origin -2", 0, 200, 128, 1, 2, 1, 0, 1, nullptr, {-2, 122}, {0, 0}},
        {"clipEnds: the border meets it", 0, 124, 128, 1, 2, 1, 0, 1, nullptr, {-2, 122}, {0, 0}},
        {"empty tile", 5, 0, 16, 1, 0, 1, 0, 1, nullptr, {}, {}},
        {"list 0, 5 with pageC 4", 0, 8, 16, 4, 0, 1, 0, 8, &cfg05, {0, 0}, {0, 4}},
        {"channel pages slowest", 10, 20, 16, 1, 0, 1, 0, 2, nullptr, {0, 16, 0, 16}, {0, 0, 1, 1}},
        // clang-format on
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        ilTileIter it(ilTile(r.x, 0, r.nx, 1), r.page, r.page, r.page, r.pageC, r.nChans, r.cfg,
                      r.anchored);
        it.setPageBorder(r.border, r.border, r.border, r.clipEnds);
        const int count = it.getCount();
        std::vector<int> xs, cs;
        for (const Pos& p : walk(it))
            xs.push_back(std::get<0>(p)), cs.push_back(std::get<3>(p));
        EXPECT_EQ(xs, r.xs);
        EXPECT_EQ(cs, r.cs);
        EXPECT_FALSE(it.more()) << "a finished walk stays finished";
        if (r.xs.empty()) {
            EXPECT_EQ(count, 0);
        }
    }
    // A new tile restarts the walk.
    ilTileIter it(ilTile(0, 0, 40, 1), 16, 16, 1, 1, 1, nullptr, 0);
    walk(it);
    it.setTile(ilTile(100, 0, 1, 1), 1, nullptr, 0);
    EXPECT_EQ(walk(it), std::vector<Pos>({Pos(96, 0, 0, 0)}));
}

// Every page origin on one axis whose page the walk must visit, by the definition: the grid runs
// through the image origin (or the tile's when anchored) offset by the border, the page's inner
// cell must reach past the tile's start, and the page (or its inner part without clipEnds) must
// begin before the tile's end.
std::vector<int> axisPages(int start, int extent, int page, int border, int clipEnds,
                           int anchored) {
    const int delta = page - 2 * border;
    std::vector<int> out;
    for (int p = start - 4 * page - border; p < start + extent + 4 * page; ++p) {
        const int cell = p + border;
        const bool onGrid = anchored ? (cell - start) % delta == 0 && cell >= start
                                     : ((cell % delta) + delta) % delta == 0;
        if (onGrid && cell + delta > start && (clipEnds ? p : cell) < start + extent)
            out.push_back(p);
    }
    return out;
}

TEST(TileIter, PageOrderMatchesBruteForce) {
    std::mt19937 rng(20240611);
    auto uni = [&rng](int lo, int hi) { return uniform(rng, lo, hi); };
    int withPages = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        const ilTile tile(uni(-70, 70), uni(-70, 70), uni(-20, 20), uni(0, 60), uni(0, 60),
                          uni(0, 12));
        int page[3], border[3];
        for (int a = 0; a < 3; ++a)
            page[a] = uni(2, 24), border[a] = uni(0, (page[a] - 1) / 2);
        const int pageC = uni(1, 4), clipEnds = uni(0, 1), anchored = uni(0, 1);
        const int nChans = uni(1, 9), channelMode = uni(0, 2);
        ilConfig cfg;
        std::vector<int> list;
        if (channelMode == 1) cfg = ilConfig(ilUChar, ilInterleaved, uni(0, 4), nullptr, uni(0, 6));
        if (channelMode == 2) {
            for (int i = uni(1, 4); i > 0; --i)
                list.push_back(uni(-1, nChans - 1));
            cfg = ilConfig(ilUChar, ilInterleaved, int(list.size()), list.data());
        }
        SCOPED_TRACE(testing::Message()
                     << "trial " << trial << " tile " << testing::PrintToString(tile) << " page "
                     << page[0] << "," << page[1] << "," << page[2] << " border " << border[0]
                     << "," << border[1] << "," << border[2] << " pageC " << pageC << " clipEnds "
                     << clipEnds << " anchored " << anchored << " channels " << channelMode);
        ilTileIter it(tile, nChans, channelMode ? &cfg : nullptr, anchored);
        it.setPageSize(page[0], page[1], page[2], pageC);
        it.setPageBorder(border[0], border[1], border[2], clipEnds);

        // Channel pages: those holding a listed channel, else the run of channels from the offset.
        std::vector<int> cPages;
        if (!list.empty()) {
            for (int q = 0; q < 64; q += pageC)
                if (std::any_of(list.begin(), list.end(),
                                [&](int e) { return e >= q && e < q + pageC; }))
                    cPages.push_back(q);
        } else {
            const int first = channelMode ? cfg.chanOffset : 0;
            const int end = first + (channelMode && cfg.nChans ? cfg.nChans : nChans);
            for (int q = anchored ? first : first - first % pageC; q < end; q += pageC)
                cPages.push_back(q);
        }
        std::vector<Pos> expected;
        if (!tile.empty())
            for (int c : cPages)
                for (int z : axisPages(tile.z, tile.nz, page[2], border[2], clipEnds, anchored))
                    for (int y : axisPages(tile.y, tile.ny, page[1], border[1], clipEnds, anchored))
                        for (int x :
                             axisPages(tile.x, tile.nx, page[0], border[0], clipEnds, anchored))
                            expected.emplace_back(x, y, z, c);
        const int count = it.getCount();
        const std::vector<Pos> got = walk(it);
        ASSERT_EQ(got, expected);
        if (list.empty())
            EXPECT_EQ(count, int(got.size()));
        else
            EXPECT_GE(count, int(got.size()));
        withPages += !got.empty();
    }
    EXPECT_GT(withPages, 1500) << "the random cases must mostly produce pages";
}

// An image whose page locks are recorded: pages in busy answer ilPageNotReady to a try-only lock,
// pages in broken fail outright.
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
    ilStatus lockPageSet(ilLockRequest* requests, int mode, int count) override {
        calls.push_back({mode, count, int(held.size())});
        ilStatus result = ilOK;
        for (ilLockRequest* r = requests; r < requests + count; ++r) {
            const Pos p(r->x, r->y, r->z, r->c);
            r->page = nullptr;
            r->status = (mode & ilLockNoWait) && busy.count(p) ? ilPageNotReady
                        : broken.count(p)                      ? ilOutOfMemory
                                                               : ilOK;
            if (r->status != ilOK)
                result = r->status;
            else if (held.count(p))
                ADD_FAILURE() << "page locked twice";
            else
                r->page = held[p] = new ilPage(r->x, r->y, r->z, r->c, &payload);
        }
        return result;
    }
    ilStatus unlockPageSet(ilLockRequest* requests, int count) override {
        for (ilLockRequest* r = requests; r < requests + count; ++r) {
            if (!r->page) continue;
            const auto found = held.find(Pos(r->x, r->y, r->z, r->c));
            EXPECT_TRUE(found != held.end() && found->second == r->page) << "unlock of no lock";
            if (found != held.end()) {
                delete found->second;
                held.erase(found);
            }
            r->page = nullptr;
        }
        return ilOK;
    }

    struct Call {
        int mode, count, heldBefore;
    };
    std::vector<Call> calls;
    std::set<Pos> busy, broken;
    std::map<Pos, ilPage*> held;
    int payload = 0;
};

// Clip to the image, then every page whose inner cell meets the clipped tile.
std::vector<Pos> gridPagesUnder(const ilTile& t, int sx, int sy, int px, int py, int border) {
    const int x0 = std::max(t.x, 0), y0 = std::max(t.y, 0);
    const int x1 = std::min(t.x + t.nx, sx), y1 = std::min(t.y + t.ny, sy);
    const int dx = px - 2 * border, dy = py - 2 * border;
    std::vector<Pos> out;
    for (int cy = -dy; cy < sy + dy && x0 < x1 && y0 < y1; cy += dy)
        for (int cx = -dx; cx < sx + dx; cx += dx)
            if (cx < x1 && cx + dx > x0 && cy < y1 && cy + dy > y0)
                out.emplace_back(cx - border, cy - border, 0, 0);
    return out;
}

TEST(PageWalker, DeferredPagesComeLastAndEveryLockIsReleased) {
    const Pos all[] = {Pos(0, 0, 0, 0),  Pos(16, 0, 0, 0),  Pos(32, 0, 0, 0),
                       Pos(0, 16, 0, 0), Pos(16, 16, 0, 0), Pos(32, 16, 0, 0),
                       Pos(0, 32, 0, 0), Pos(16, 32, 0, 0), Pos(32, 32, 0, 0)};
    const struct {
        std::set<Pos> busy;
        int batchSize;
    } rows[] = {{{}, 1},
                {{all[1], all[3]}, 1},
                {{all[0], all[5], all[7]}, 2},
                {std::set<Pos>(all, all + 9), 4}};
    const std::vector<Pos> expected = gridPagesUnder(ilTile(5, 5, 40, 40), 48, 48, 16, 16, 0);
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << r.busy.size() << " busy, batches of " << r.batchSize);
        LockImage image(48, 48, 1, 16, 16, 1, 0);
        image.busy = r.busy;
        std::vector<Pos> order;
        {
            ilPageWalker walker(&image, ilTile(5, 5, 40, 40), nullptr, ilLockRead);
            walker.batchSize = r.batchSize;
            while (walker.nextPage()) {
                order.emplace_back(walker.x, walker.y, walker.z, walker.c);
                EXPECT_EQ(walker.pageData, &image.payload);
                EXPECT_EQ(image.held.count(order.back()), 1u) << "a handed-out page is locked";
            }
            EXPECT_EQ(walker.status, ilOK);
        }
        EXPECT_TRUE(image.held.empty()) << "every lock released";
        // Every page once: the pages that could be had at once first, the busy ones after.
        ASSERT_EQ(std::multiset<Pos>(order.begin(), order.end()),
                  std::multiset<Pos>(expected.begin(), expected.end()));
        for (size_t i = 0; i < order.size(); ++i)
            EXPECT_EQ(image.busy.count(order[i]), i < expected.size() - r.busy.size() ? 0u : 1u);
        // The first pass only tries; retries wait, in batches, each after the last was released.
        ASSERT_FALSE(image.calls.empty());
        EXPECT_EQ(image.calls[0].mode, ilLockRead | ilLockNoWait);
        EXPECT_EQ(image.calls[0].count, int(expected.size()));
        int retried = 0;
        for (size_t i = 1; i < image.calls.size(); ++i) {
            EXPECT_EQ(image.calls[i].mode, ilLockRead);
            EXPECT_LE(image.calls[i].count, r.batchSize);
            EXPECT_EQ(image.calls[i].heldBefore, 0);
            retried += image.calls[i].count;
        }
        EXPECT_EQ(retried, int(r.busy.size()));
    }
}

TEST(PageWalker, StopsAtFailuresAndReleasesWhatItHolds) {
    for (int stopAfter : {1, 3, 8, 9}) {
        LockImage image(48, 48, 1, 16, 16, 1, 0);
        image.busy = {Pos(0, 0, 0, 0), Pos(32, 32, 0, 0)};
        {
            ilPageWalker walker(&image, ilTile(0, 0, 48, 48));
            walker.batchSize = 2;
            for (int i = 0; i < stopAfter; ++i)
                ASSERT_TRUE(walker.nextPage());
            EXPECT_FALSE(image.held.empty());
        }
        EXPECT_TRUE(image.held.empty()) << "destroyed after " << stopAfter << " pages";
    }
    // The group form stops at a lock that fails once it is retried for real.
    LockImage image(48, 16, 1, 16, 16, 1, 0);
    image.busy = {Pos(16, 0, 0, 0), Pos(32, 0, 0, 0)};
    image.broken = {Pos(32, 0, 0, 0)};
    ilPageWalker walker(&image, ilTile(0, 0, 48, 16));
    ilLockRequest* group = nullptr;
    ASSERT_EQ(walker.nextGroup(group), 1);
    EXPECT_EQ(group[0].x, 0);
    ASSERT_EQ(walker.nextGroup(group), 1);
    EXPECT_EQ(group[0].x, 16);
    EXPECT_EQ(walker.nextGroup(group), 0);
    EXPECT_EQ(group, nullptr);
    EXPECT_EQ(walker.status, ilOutOfMemory);

    // An image in error gives no pages and takes no locks.
    struct Broken : LockImage {
        Broken() : LockImage(16, 16, 1, 16, 16, 1, 0) {}
        void reset() override {
            LockImage::reset();
            status = ilBadInput;
        }
    } bad;
    ilPageWalker none(&bad, ilTile(0, 0, 16, 16));
    EXPECT_FALSE(none.nextPage());
    EXPECT_EQ(none.status, ilBadInput);
    EXPECT_TRUE(bad.calls.empty());
}

TEST(LockTile, LocksExactlyThePagesUnderTheTile) {
    std::mt19937 rng(77);
    auto uni = [&rng](int lo, int hi) { return uniform(rng, lo, hi); };
    for (int trial = 0; trial < 300; ++trial) {
        const int sx = uni(1, 90), sy = uni(1, 90), px = uni(4, 24), py = uni(4, 24);
        const int border = uni(0, std::min(px, py) / 2 - 1);
        const ilTile tile(uni(-30, 100), uni(-30, 100), uni(0, 70), uni(0, 70));
        SCOPED_TRACE(testing::Message() << "trial " << trial);
        LockImage image(sx, sy, 1, px, py, 1, border);
        ilLockedTile* lt = image.lockTile(tile.x, tile.y, tile.nx, tile.ny, nullptr, ilLockRead);
        ASSERT_NE(lt, nullptr);
        EXPECT_EQ(lt->status, ilOK);
        std::set<Pos> locked;
        for (const auto& kv : image.held)
            locked.insert(kv.first);
        const std::vector<Pos> expected = gridPagesUnder(tile, sx, sy, px, py, border);
        EXPECT_EQ(locked, std::set<Pos>(expected.begin(), expected.end()));
        EXPECT_EQ(lt->count, int(expected.size()));
        ASSERT_EQ(image.calls.size(), 1u);
        EXPECT_EQ(image.calls[0].mode, ilLockRead);
        delete lt;
        EXPECT_TRUE(image.held.empty());
    }
}

TEST(LockTile, ChannelPagesFollowTheConfigAndAFailedLockIsNotUnlocked) {
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

    LockImage failing(32, 16, 1, 16, 16, 1, 0);
    failing.broken = {Pos(16, 0, 0, 0)};
    lt = failing.lockTile(0, 0, 32, 16);
    ASSERT_NE(lt, nullptr);
    EXPECT_EQ(lt->status, ilOutOfMemory);
    delete lt;
    EXPECT_EQ(failing.held.size(), 1u) << "the page that was had stays with the image";
}

std::vector<ilTile> slabs(const ilTile& a, const ilTile& b) {
    std::vector<ilTile> out;
    ilTileComposeIter it(a, b, ilAOutB);
    while (it.more() && out.size() < 10)
        out.push_back(static_cast<const ilTile&>(it));
    return out;
}

TEST(TileComposeIter, AOutOfBNamedCases) {
    const struct {
        const char* what;
        ilTile a, b;
        std::vector<ilTile> expected;
    } rows[] = {
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
        {"empty B gives A once",
         ilTile(1, 2, 0, 3, 4, 1),
         ilTile(0, 0, 0, 0, 5, 1),
         {ilTile(1, 2, 0, 3, 4, 1)}},
        {"hole in the middle: four slabs around it",
         ilTile(0, 0, 0, 10, 10, 1),
         ilTile(3, 4, 0, 2, 2, 1),
         {ilTile(0, 0, 0, 10, 4, 1), ilTile(0, 6, 0, 10, 4, 1), ilTile(0, 4, 0, 3, 2, 1),
          ilTile(5, 4, 0, 5, 2, 1)}},
    };
    for (const auto& r : rows)
        EXPECT_EQ(slabs(r.a, r.b), r.expected) << r.what;
    ilTileComposeIter other(ilTile(0, 0, 4, 4), ilTile(8, 8, 4, 4), static_cast<ilCompose>(3));
    EXPECT_FALSE(other.more()) << "combinations other than A out of B yield nothing";
}

TEST(TileComposeIter, SlabsCoverAOutsideBExactly) {
    std::mt19937 rng(4242);
    auto uni = [&rng](int lo, int hi) { return uniform(rng, lo, hi); };
    auto in = [](const ilTile& t, int x, int y, int z) {
        return !t.empty() && x >= t.x && x < t.x + t.nx && y >= t.y && y < t.y + t.ny && z >= t.z &&
               z < t.z + t.nz;
    };
    for (int trial = 0; trial < 2000; ++trial) {
        const ilTile a(uni(-4, 4), uni(-4, 4), uni(-3, 3), uni(0, 7), uni(0, 7), uni(0, 4));
        const ilTile b(uni(-6, 6), uni(-6, 6), uni(-4, 4), uni(0, 9), uni(0, 9), uni(0, 5));
        SCOPED_TRACE(testing::PrintToString(a) + " out of " + testing::PrintToString(b));
        const std::vector<ilTile> got = slabs(a, b);
        ASSERT_LE(got.size(), 6u);
        std::map<std::tuple<int, int, int>, int> cover;
        for (const ilTile& s : got) {
            ASSERT_FALSE(s.empty()) << "no empty slabs";
            for (int z = s.z; z < s.z + s.nz; ++z)
                for (int y = s.y; y < s.y + s.ny; ++y)
                    for (int x = s.x; x < s.x + s.nx; ++x)
                        ++cover[{x, y, z}];
        }
        for (int z = -10; z < 10; ++z)
            for (int y = -10; y < 16; ++y)
                for (int x = -10; x < 16; ++x) {
                    const auto found = cover.find({x, y, z});
                    ASSERT_EQ(found == cover.end() ? 0 : found->second,
                              in(a, x, y, z) && !in(b, x, y, z) ? 1 : 0)
                        << "pixel " << x << "," << y << "," << z;
                }
    }
}

TEST(TileFunctions, HalfScaleTouchUnionExpandAndBounds) {
    const ilTile halves[][2] = {
        {ilTile(3, 0, 3, 2), ilTile(1, 0, 2, 1)},     {ilTile(-1, 0, 1, 2), ilTile(-1, 0, 1, 1)},
        {ilTile(4, 6, 4, 6), ilTile(2, 3, 2, 3)},     {ilTile(0, 0, 0, 0), ilTile(0, 0, 1, 1)},
        {ilTile(5, -3, 1, 1), ilTile(2, -2, 1, 1)},   {ilTile(2, 2, 5, 7), ilTile(1, 1, 3, 4)},
        {ilTile(-4, -5, 3, 2), ilTile(-2, -3, 2, 2)},
    };
    for (const auto& h : halves) {
        ilTile t(h[0].x, h[0].y, 7, h[0].nx, h[0].ny, 3);
        ilTileHalfScale(t);
        EXPECT_EQ(t, ilTile(h[1].x, h[1].y, 7, h[1].nx, h[1].ny, 3))
            << testing::PrintToString(h[0]);
    }
    const struct {
        ilTile a, b;
        bool touch;
    } touches[] = {
        {ilTile(0, 0, 10, 10), ilTile(5, 5, 10, 10), true},
        {ilTile(0, 0, 10, 10), ilTile(10, 0, 5, 5), true},   // touching on x
        {ilTile(0, 0, 10, 10), ilTile(0, 10, 5, 5), true},   // touching on y
        {ilTile(0, 0, 10, 10), ilTile(11, 0, 5, 5), false},  // one pixel apart
        {ilTile(0, 0, 10, 10), ilTile(3, -6, 2, 5), false},
        {ilTile(0, 0, 10, 10), ilTile(2, 2, 0, 0), true},  // an empty tile inside still touches
        {ilTile(0, 0, 0, 10, 10, 1), ilTile(0, 0, 50, 10, 10, 1), true},  // z is not looked at
    };
    for (const auto& t : touches)
        EXPECT_TRUE(ilTile_intersected(t.a, t.b) == t.touch &&
                    ilTile_intersected(t.b, t.a) == t.touch)
            << testing::PrintToString(t.b);

    ilTile u;
    ilTile_union(u, ilTile(0, 0, 0, 4, 4, 1), ilTile(10, -2, 0, 2, 3, 1));
    ilTile_union(&u, &u, &u);
    EXPECT_EQ(u, ilTile(0, -2, 0, 12, 6, 1));
    ilTile e(5, 6, 7, 8, 9, 10);
    ilTile_expand(e, 2);
    EXPECT_EQ(e, ilTile(3, 4, 7, 12, 13, 10)) << "x and y only";

    ilMemoryImg a(ilSize(10, 20, 1, 1), ilUChar, ilInterleaved);
    ilMemoryImg b(ilSize(30, 5, 2, 1), ilUChar, ilInterleaved);
    EXPECT_EQ(ilBoundaryUnion(&a, &b), ilTile(0, 0, 0, 30, 20, 2));
    EXPECT_EQ(ilBoundaryIntersection(&a, &b), ilTile(0, 0, 0, 10, 5, 1));
    EXPECT_EQ(ilBoundaryUnion(&a, nullptr), ilTile(0, 0, 0, 10, 20, 1));
    EXPECT_EQ(ilBoundaryIntersection(nullptr, &b), ilTile(0, 0, 0, 0, 0, 0));
}

}  // namespace
