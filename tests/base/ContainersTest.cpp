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

// The list, map and hash table wrap the standard containers: what they add is tested here.
TEST(Containers, ListMapAndHashTableAnswers) {
    vl::list<int> l;
    l.append(2);
    l.prepend(1);
    l.eraseBack();
    l.eraseFront();
    l.eraseFront();  // harmless on an empty list
    EXPECT_TRUE(l.empty());

    vl::map<int, std::string> m;
    EXPECT_TRUE(m.insertUnique(9, "90").second);
    EXPECT_EQ(m.insertUnique(9, "other").first->second, "90") << "the existing element answers";
    EXPECT_EQ(m.findValuePtr(4), nullptr);
    EXPECT_EQ(*m.getValuePtr(4), "") << "inserted as default";
    EXPECT_EQ(m.lowerBound(5)->first, 9);
    EXPECT_TRUE(m.eraseKey(4));
    EXPECT_FALSE(m.eraseKey(4));

    struct Hash {
        std::uint64_t operator()(int key) const { return std::uint64_t(key) % 7; }
    };
    vl::HashTableImpl<int, int, Hash> table, copy;
    EXPECT_EQ(table.findNode(128), nullptr);
    table.get(128) = 3;
    table.get(135) = 4;  // the same hash
    EXPECT_EQ(table.get(128), 3);
    ASSERT_NE(table.findNode(135), nullptr);
    EXPECT_EQ(*table.findNode(135), 4);
    copy.copy(table);
    EXPECT_TRUE(table.eraseKey(128));
    EXPECT_FALSE(table.eraseKey(128));
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
