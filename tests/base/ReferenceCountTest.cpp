// Reference counting rules: who owns an object and when it is deleted.
#include <gtest/gtest.h>

#include "pigment/base/vlReferenceCount.h"

namespace {

// Counts live instances so a test can see exactly when deletion happens.
struct Tracked : vl::TempReferenceCount {
    static int alive;
    int value = 0;
    Tracked() { ++alive; }
    Tracked(const Tracked& o) : vl::TempReferenceCount(o), value(o.value) { ++alive; }
    Tracked& operator=(const Tracked&) = default;
    ~Tracked() override { --alive; }
};
int Tracked::alive = 0;

struct Shared : vl::ReferenceCount {
    static int alive;
    Shared() { ++alive; }
    ~Shared() override { --alive; }
};
int Shared::alive = 0;

struct Derived : Tracked {};

// Null references copy and die quietly; the last of several references deletes, for both kinds.
TEST(ReferenceCount, LastReferenceDeletes) {
    vl::TempReference<Tracked> a, b(a), c;
    c = b;
    c = static_cast<Tracked*>(nullptr);
    EXPECT_EQ(c.release(), nullptr);
    vl::Reference<Shared> s, t(s);
    EXPECT_TRUE(t.isNull());

    auto* raw = new Tracked;
    {
        vl::TempReference<Tracked> first(raw);
        {
            vl::TempReference<Tracked> second = first;
            EXPECT_EQ(raw->refs(), 2);
        }
        EXPECT_EQ(raw->refs(), 1);
        EXPECT_EQ(Tracked::alive, 1);
    }
    EXPECT_EQ(Tracked::alive, 0);
    {
        vl::Reference<Shared> x(new Shared), y;
        y = x;
        x.reset();
        EXPECT_EQ(Shared::alive, 1);
        EXPECT_EQ(y->refs(), 1);
    }
    EXPECT_EQ(Shared::alive, 0);
}

TEST(ReferenceCount, CopiesStartWithoutReferencesAndAssignmentKeepsCount) {
    vl::TempReference<Tracked> a(new Tracked), b(new Tracked), b2 = b;
    a->value = 7;
    Tracked copy(*a);  // a stack object: nobody may take a reference to it
    EXPECT_EQ(copy.refs(), 0);
    EXPECT_EQ(copy.value, 7);
    *a = *b;  // contents move, references do not
    EXPECT_EQ(a->refs(), 1);
    EXPECT_EQ(b->refs(), 2);
    a.reset();
    b.reset();
    b2.reset();
    EXPECT_EQ(Tracked::alive, 1) << "only the stack copy";
}

TEST(ReferenceCount, SelfAssignmentReassignmentConversionAndRelease) {
    vl::TempReference<Tracked> a(new Tracked);
    Tracked* raw = a.get();
    a = a;    // same holder
    a = raw;  // same object through a raw pointer: new first, then old
    EXPECT_EQ(raw->refs(), 1);
    a = new Tracked;  // old object dropped after the new one is taken
    EXPECT_EQ(Tracked::alive, 1);

    // Converting between related pointer types shares the one count.
    vl::TempReference<Derived> d(new Derived);
    vl::TempReference<Tracked> base = d;
    EXPECT_EQ(d->refs(), 2);
    d.reset();
    // release hands the reference over; the caller drops it.
    Tracked* owned = base.release();
    EXPECT_EQ(owned->refs(), 1);
    owned->unref();
    a.reset();
    EXPECT_EQ(Tracked::alive, 0);
}

}  // namespace
