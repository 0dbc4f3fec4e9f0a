// The link graph: lazy evaluation, alteration marks, disabling, related children, class identity
// and the indexable list under it.
#include <gtest/gtest.h>

#include <list>
#include <random>

#include "pigment/frame/ilLink.h"
#include "pigment/frame/ilList.h"
#include "support/TestImage.h"

namespace {

struct Chain {
    std::vector<std::string> log;
    TestImage p{4, 4, 1, ilFloat, &log, "P"};
    TestImage q{4, 4, 1, ilFloat, &log, "Q"};
    TestImage r{4, 4, 1, ilFloat, &log, "R"};
    Chain() {
        q.setInput(&p, 0);
        r.setInput(&q, 0);
        r.getXsize();  // settle the first resets
        log.clear();
    }
};

}  // namespace

TEST(LinkGraph, SettersMarkAndReadersResetAncestorsFirstEachOnce) {
    Chain g;
    EXPECT_EQ(g.p.setXsize(8), ilOK);
    EXPECT_TRUE(g.log.empty()) << "a setter must not evaluate anything";
    EXPECT_EQ(g.q.alteredMask() & 0x3fffffffu, 1u);
    EXPECT_EQ(g.r.alteredMask() & 0x3fffffffu, 1u);
    int qActions = g.q.alterActions;
    EXPECT_EQ(g.p.setXsize(9), ilOK);
    EXPECT_EQ(g.q.alterActions, qActions) << "children already told are not walked again";

    EXPECT_EQ(g.r.getXsize(), 4);
    EXPECT_EQ(g.log, (std::vector<std::string>{"P", "Q", "R"}));
    EXPECT_EQ(g.p.getXsize(), 9);
    g.r.getXsize();
    EXPECT_EQ(g.log.size(), 3u) << "a clean chain resets nothing";
    EXPECT_EQ(g.r.getDepth(), 2);
}

TEST(LinkGraph, PixelsOnlyChangeLeavesNodeCleanButMarksChildren) {
    Chain g;
    EXPECT_EQ(g.p.setAltered(ilAlterPixelsOnly), ilOK);
    EXPECT_EQ(g.p.alteredMask(), 0u);
    EXPECT_NE(g.q.alteredMask() & 1u, 0u);
    EXPECT_EQ(g.p.setAltered(ilAlterNoPropagate | ilAttrXsize), ilOK);
    g.r.getXsize();
    g.log.clear();
    g.p.setAltered(ilAlterNoPropagate | ilAttrXsize);
    EXPECT_EQ(g.q.alteredMask(), 0u) << "bit 29 keeps the change from the children";
}

TEST(LinkGraph, FailureInResetStaysUntilCleared) {
    TestImage a(2, 2, 1);
    a.failReset = true;
    float buf[4];
    EXPECT_EQ(a.getTile(0, 0, 2, 2, buf), ilBadInput);
    a.failReset = false;
    EXPECT_EQ(a.getTile(0, 0, 2, 2, buf), ilBadInput) << "the status sticks without a new reset";
    EXPECT_EQ(a.getStatus(), ilBadInput);
    a.clearStatus();
    EXPECT_EQ(a.getTile(0, 0, 2, 2, buf), ilOK);
}

TEST(LinkGraph, ResetCheckReenteredFromResetReturnsAtOnce) {
    TestImage a(2, 2, 1);
    a.reenter = true;
    a.setXsize(3);
    EXPECT_EQ(a.getXsize(), 3);
    EXPECT_EQ(a.resetCheckDuringReset, ilOK);
    EXPECT_EQ(a.resets, 1);
}

TEST(LinkGraph, DisabledNodeActsAsWireFromItsChosenInput) {
    Chain g;
    TestImage watcher(4, 4, 1);
    watcher.setInput(&g.q, 0);
    watcher.setRelatedType(-1, 1);  // sees disabled nodes
    EXPECT_EQ(g.q.setDisabledIndex(0), ilOK);
    EXPECT_EQ(g.q.setEnabled(0), ilOK);
    EXPECT_EQ(g.r.getParent(0), &g.p);
    EXPECT_EQ(g.r.getDirectParent(0), &g.q);
    EXPECT_EQ(watcher.getParent(0), &g.q);
    g.q.setEnabled(1);
    EXPECT_EQ(g.r.getParent(0), &g.q);
}

TEST(LinkGraph, InputsEdgesAndDestruction) {
    TestImage child(2, 2, 1);
    auto* parent = new TestImage(2, 2, 1);
    EXPECT_EQ(child.setInput(parent, 2), ilOK);
    EXPECT_EQ(child.getNumInputs(), 3);
    EXPECT_EQ(child.getNumParents(), 1);
    EXPECT_EQ(parent->getNumChildren(), 1);
    EXPECT_EQ(child.setInput(parent, 4), ilBadInputIndex);
    EXPECT_EQ(child.setInput(parent, -1), ilBadInputIndex);
    EXPECT_EQ(child.removeParent(7), ilBadInputIndex);
    child.getXsize();
    delete parent;
    EXPECT_EQ(child.getNumParents(), 0);
    EXPECT_EQ(child.getInput(2), nullptr);
    EXPECT_NE(child.alteredMask() & 1u, 0u) << "losing an input marks the child";
}

TEST(LinkGraph, RelatedChildrenAreDeletedWithTheirParent) {
    auto* parent = new TestImage(2, 2, 1);
    auto* aux = new TestImage(2, 2, 1);
    aux->setInput(parent, 0);
    aux->setRelatedType(5);
    EXPECT_EQ(parent->getRelatedChild(5), aux);
    auto* replacement = new TestImage(2, 2, 1);
    replacement->setInput(parent, 0);
    replacement->setRelatedType(5);  // one related child of a type per parent: aux goes
    EXPECT_EQ(parent->getNumChildren(), 1);
    EXPECT_EQ(parent->getRelatedChild(5), replacement);
    delete parent;  // takes the related child along; the sanitizer run sees any leak
}

TEST(LinkGraph, ClassIdentityThroughTheChain) {
    TestImage a(1, 1, 1);
    EXPECT_EQ(a.derivesFrom(&TestImage::classList), 1);
    EXPECT_EQ(a.derivesFrom(&ilImage::classList), 2);
    EXPECT_EQ(a.derivesFrom(&ilLink::classList), 3);
    EXPECT_EQ(ilLink::classList.find(&ilImage::classList), 0);
    EXPECT_EQ(TestImage::classList.find(1), nullptr);
    EXPECT_STREQ(ilLink::classList.find(0), "ilLink");
    EXPECT_EQ(a.getClassId(), &TestImage::classList);
}

namespace {
struct Event {
    ilLink* link;
    int event;
};
std::vector<Event> events;
void record(ilLink* link, int event, void*) {
    events.push_back({link, event});
}
}  // namespace

TEST(LinkGraph, ResetCallbackEvents) {
    events.clear();
    ilLink::setResetCallback(record, nullptr);
    ilLink::setResetCallbackDefaultEnabled(3, 0);
    auto* a = new TestImage(2, 2, 1);
    EXPECT_TRUE(events.empty()) << "construction sends no event";
    a->getXsize();
    a->setXsize(5);
    a->getXsize();
    a->setAltered(ilAlterPixelsOnly);
    delete a;
    ilLink::setResetCallback(nullptr, nullptr);
    ilLink::setResetCallbackDefaultEnabled(0, 0);
    std::vector<int> seen;
    for (const Event& e : events)
        seen.push_back(e.event);
    EXPECT_EQ(seen, (std::vector<int>{105, 97, 97, 100}));
}

TEST(IndexableList, FindLinkAgreesWithAModelUnderRandomEdits) {
    struct Item : ilLinkItem {
        int value;
    };
    std::mt19937 rng(7);
    std::vector<Item> pool(64);
    for (int i = 0; i < 64; ++i)
        pool[i].value = i;
    ilIndexableList list;
    std::list<int> model;
    std::vector<bool> linked(64, false);
    for (int step = 0; step < 4000; ++step) {
        int op = rng() % 5;
        int v = rng() % 64;
        if (op <= 2 && !linked[v]) {
            int at = model.empty() ? 0 : static_cast<int>(rng() % (model.size() + 1));
            if (op == 0) {
                list.append(&pool[v]);
                model.push_back(v);
            } else if (op == 1) {
                list.insert(&pool[v]);
                model.push_front(v);
            } else {
                list.insertAt(at, &pool[v]);
                model.insert(std::next(model.begin(), std::min<size_t>(at, model.size())), v);
            }
            linked[v] = true;
        } else if (op == 3 && linked[v]) {
            list.unlink(&pool[v]);
            model.remove(v);
            linked[v] = false;
        } else if (!model.empty()) {
            int i = static_cast<int>(rng() % model.size());
            auto* item = static_cast<Item*>(list.findLink(i));
            ASSERT_NE(item, nullptr);
            ASSERT_EQ(item->value, *std::next(model.begin(), i)) << "step " << step;
        }
        ASSERT_EQ(list.getLength(), static_cast<int>(model.size()));
    }
    EXPECT_TRUE(list.isValid());
    EXPECT_EQ(list.findLink(-1), nullptr);
    EXPECT_EQ(list.findLink(list.getLength()), nullptr);
}

TEST(List, SpliceAndSentinel) {
    ilLinkItem a, b, c;
    ilList one, two;
    EXPECT_EQ(one.head(), nullptr);
    one.append(&a);
    two.append(&b);
    two.append(&c);
    one.appendList(two);
    EXPECT_TRUE(two.isEmpty());
    EXPECT_EQ(one.head(), &a);
    EXPECT_EQ(one.tail(), &c);
    EXPECT_EQ(one.getNext(&c), nullptr);
    one.unlink(&b);
    EXPECT_FALSE(b.isLinked());
    EXPECT_EQ(one.getNext(&a), &c);
    two.insertList(one);
    EXPECT_EQ(two.head(), &a);
    one.appendList(two);  // moving back and forth keeps all items
    EXPECT_EQ(one.getPrev(&c), &a);
}
