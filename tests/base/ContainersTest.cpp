// Containers keep order and answer the positions callers rely on; the block allocator reuses
// records.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>

#include "pigment/base/vlContainers.h"

namespace {

template <class C>
std::string joined(const C& c) {
    std::string s;
    for (const auto& v : c)
        s += std::to_string(v) + ",";
    return s;
}

TEST(Containers, VectorEditsKeepOrderAndPositions) {
    vl::vector<int> v{1, 2, 3};
    const struct {
        bool insert;
        size_t pos, expectPos;
        const char* expect;
    } steps[] = {
        {true, 0, 0, "9,1,2,3,"},    {true, 2, 2, "9,1,9,2,3,"}, {true, 99, 5, "9,1,9,2,3,9,"},
        {false, 1, 1, "9,9,2,3,9,"}, {false, 4, 4, "9,9,2,3,"},  {false, 10, 4, "9,9,2,3,"},
    };
    for (const auto& s : steps) {
        EXPECT_EQ(s.insert ? v.insert(s.pos, 9) : v.erase(s.pos), s.expectPos) << s.pos;
        EXPECT_EQ(joined(v), s.expect) << (s.insert ? "insert " : "erase ") << s.pos;
    }
    *v.appendAndReturnPtr() = 5;
    *v.insertAndAssignPtr(1, 4) += 1;
    v.eraseBack();
    EXPECT_EQ(joined(v), "9,5,9,2,3,");
    EXPECT_EQ(v.erase(1, 10), 1u);
    v.setSize(3);  // new elements are value-initialised
    EXPECT_EQ(joined(v), "9,0,0,");
}

TEST(Containers, ListEndsAndStableAddresses) {
    vl::list<int> l;
    l.append(2);
    int* two = &l.back();
    l.prepend(1);
    l.append(3);
    l.prepend(0);
    EXPECT_EQ(joined(l), "0,1,2,3,");
    l.eraseFront();
    l.eraseBack();
    EXPECT_EQ(two, &l.back());
    EXPECT_EQ(joined(l), "1,2,");
    l.clear();
    l.eraseFront();  // harmless on an empty list
    l.eraseBack();
    EXPECT_TRUE(l.empty());
}

TEST(Containers, MapOrderLookupAndUniqueInsert) {
    vl::map<int, std::string> m;
    for (int k : {5, 1, 9, 3})
        m.insertUnique(k, std::to_string(k * 10));
    auto again = m.insertUnique(9, "other");
    EXPECT_FALSE(again.second);
    EXPECT_EQ(again.first->second, "90") << "the existing element answers";
    std::string keys;
    for (const auto& kv : m)
        keys += std::to_string(kv.first) + ",";
    EXPECT_EQ(keys, "1,3,5,9,");
    const int bounds[][2] = {{0, 1}, {1, 1}, {2, 3}, {6, 9}, {10, -1}};  // key, lower bound
    for (const auto& b : bounds) {
        auto it = m.lowerBound(b[0]);
        EXPECT_EQ(it == m.end() ? -1 : it->first, b[1]) << b[0];
    }
    auto it = m.find(5);
    ASSERT_NE(it, m.end());
    EXPECT_EQ((--it)->first, 3);
    EXPECT_EQ(m.findValuePtr(4), nullptr);
    EXPECT_EQ(*m.getValuePtr(4), "") << "inserted as default";
    EXPECT_EQ(m.size(), 5u);
    EXPECT_TRUE(m.eraseKey(4));
    EXPECT_FALSE(m.eraseKey(4));
}

struct Origin {
    int x, y;
    bool operator==(const Origin& o) const { return x == o.x && y == o.y; }
};
struct OriginHash {
    std::uint64_t operator()(const Origin& o) const {
        return (std::uint64_t(std::uint32_t(o.x)) << 32) ^ std::uint32_t(o.y);
    }
};

TEST(Containers, HashTableGetInsertsFindDoesNot) {
    vl::HashTableImpl<Origin, int, OriginHash> table, copy;
    EXPECT_EQ(table.findNode({0, 128}), nullptr);
    table.get({0, 128}) = 3;
    table.get({128, 0}) = 4;
    EXPECT_EQ(table.get({0, 128}), 3);
    ASSERT_NE(table.findNode({128, 0}), nullptr);
    EXPECT_EQ(*table.findNode({128, 0}), 4);
    copy.copy(table);
    EXPECT_TRUE(table.eraseKey({0, 128}));
    EXPECT_FALSE(table.eraseKey({0, 128}));
    EXPECT_EQ(table.size(), 1u);
    EXPECT_EQ(copy.size(), 2u);
}

TEST(Containers, BlockAllocatorRecordsAreDistinctAlignedAndReused) {
    vl::BlockAllocator pool(24, 10);
    std::set<void*> seen;
    void* records[25];
    for (auto& r : records) {
        r = pool.alloc();
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(r) % alignof(std::max_align_t), 0u);
        EXPECT_TRUE(seen.insert(r).second);
        std::memset(r, 0xAB, 24);  // the whole record is usable
    }
    EXPECT_EQ(pool.numBlocks(), 3u);
    pool.free(records[7]);
    pool.free(nullptr);
    EXPECT_EQ(pool.alloc(), records[7]);
    for (auto& r : records)
        pool.free(r);
    EXPECT_EQ(pool.numInUse(), 0u);

    vl::BlockAllocator lazy(8, 100);
    lazy.setLazy(true);
    EXPECT_EQ(lazy.numBlocks(), 0u);
    lazy.free(lazy.alloc());
    EXPECT_EQ(lazy.numBlocks(), 1u);
}

}  // namespace
