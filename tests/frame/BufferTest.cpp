// ilBuffer: element addresses, and when a resize keeps its block, gives room back or replaces a
// wrapped block.
#include <gtest/gtest.h>
#include <malloc.h>

#include "pigment/frame/ilBuffer.h"

TEST(Buffer, AddressesFollowTheStrides) {
    ilBuffer dflt;
    EXPECT_EQ(dflt.getDimension(0), 16384);
    EXPECT_EQ(dflt.getDimension(3), 1);
    EXPECT_EQ(dflt.getDataType(), ilUChar);
    ASSERT_NE(dflt.getData(), nullptr);

    ilBuffer f(ilFloat, 5, 4, 3, 2);
    auto* base = static_cast<char*>(f.getData());
    EXPECT_EQ(static_cast<char*>(f(1)), base + 4);
    EXPECT_EQ(static_cast<char*>(f(1, 2)), base + 4 + 2 * 20);
    EXPECT_EQ(static_cast<char*>(f(1, 2, 2)), base + 4 + 40 + 2 * 80);
    EXPECT_EQ(static_cast<char*>(f(4, 3, 2, 1)), base + 16 + 60 + 160 + 240);
    EXPECT_EQ(f.getDimension(4), 0);

    ilBuffer negative(ilUChar, -5, 2, 1, 1);
    EXPECT_EQ(negative.getDimension(0), 0);
}

TEST(Buffer, ResizeKeepsTheBlockWithinSlackAndGivesRoomBackBeyondIt) {
    const struct {
        int x, slack, to;
        bool keeps;
    } cases[] = {
        {10000, 4096, 8000, true},  {10000, 4096, 5905, true}, {10000, 4096, 5904, false},
        {10000, 4096, 10000, true}, {1000, 100, 950, true},    {1000, 100, 899, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.x << " to " << c.to << " with slack " << c.slack);
        ilBuffer b(c.x, c.slack);
        void* before = b.getData();
        void* after = b.resize(c.to);
        EXPECT_EQ(after, b.getData());
        if (c.keeps)
            EXPECT_EQ(after, before);
        else
            EXPECT_LT(malloc_usable_size(after), size_t(c.x)) << "the room is given back";
        EXPECT_GE(malloc_usable_size(after), size_t(c.to));
    }
    ilBuffer grow(100, 4096);
    EXPECT_GE(malloc_usable_size(grow.resize(5000, 2, 1, 1)), 10000u);
}

TEST(Buffer, WrappedBlockIsKeptUntilItIsTooSmall) {
    unsigned char mine[64] = {};
    ilBuffer w(mine, ilUShort, 8, 4, 1, 1);
    EXPECT_EQ(w.getData(), mine);
    EXPECT_EQ(w.resize(2), mine) << "shrinking a block it does not own keeps it";
    void* owned = w.resize(8, 8, 1, 1);
    EXPECT_NE(owned, mine);
    EXPECT_GE(malloc_usable_size(owned), 128u);
}
