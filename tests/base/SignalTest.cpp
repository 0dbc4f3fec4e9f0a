// Signals: callbacks are called, and connections can end from either side, even mid-call.
#include <gtest/gtest.h>

#include <string>

#include "pigment/base/vlSignal.h"

namespace {

std::string calls;  // "name:value " for each call

struct Receiver : vlRTB::SignalClient {
    std::string name;
    vlRTB::Signal<int>* signal = nullptr;
    Receiver* victim = nullptr;  // disconnected by this receiver when it is called
    bool leaveOnCall = false;    // disconnects itself when called
    explicit Receiver(std::string n) : name(std::move(n)) {}
    void onValue(int v) {
        calls += name + ":" + std::to_string(v) + " ";
        if (victim) signal->disconnectInstance(victim);
        if (leaveOnCall) signal->disconnectInstance(this);
    }
};

void globalCallback(int v) {
    calls += "global:" + std::to_string(v) + " ";
}

std::string emitted(vlRTB::Signal<int>& s, int v) {
    calls.clear();
    s.emit(v);
    return calls;
}

TEST(Signal, CallsInOrderAndFindsByTarget) {
    vlRTB::Signal<int> s;
    Receiver a("a"), b("b");
    vlRTB::Connection ca = s.connect(&a, &Receiver::onValue);
    s.connect(&globalCallback);
    s.connect(&b, &Receiver::onValue);
    EXPECT_EQ(emitted(s, 1), "a:1 global:1 b:1 ");
    EXPECT_EQ(s.findInstance(&a), ca);

    EXPECT_TRUE(s.disconnect(ca));
    EXPECT_FALSE(s.disconnect(ca));  // a stale handle does nothing
    EXPECT_EQ(s.disconnectGlobalFunction(reinterpret_cast<vlRTB::GlobalFunction>(&globalCallback)),
              1);
    EXPECT_EQ(emitted(s, 2), "b:2 ");
    EXPECT_EQ(a.numClientConnections(), 0);
    EXPECT_FALSE(s.addCallback(nullptr, nullptr).isValid());
}

TEST(Signal, DisconnectingDuringACall) {
    const struct {
        int leaver, killer;  // the index that disconnects itself, or the next one; -1 none
        const char *first, *second;
    } rows[] = {
        {-1, -1, "r0:1 r1:1 r2:1 ", "r0:2 r1:2 r2:2 "},
        {1, -1, "r0:1 r1:1 r2:1 ", "r0:2 r2:2 "},
        {-1, 0, "r0:1 r2:1 ", "r0:2 r2:2 "},
        {2, -1, "r0:1 r1:1 r2:1 ", "r0:2 r1:2 "},
    };
    for (const auto& r : rows) {
        vlRTB::Signal<int> s;
        Receiver rs[3] = {Receiver("r0"), Receiver("r1"), Receiver("r2")};
        for (auto& x : rs) {
            x.signal = &s;
            s.connect(&x, &Receiver::onValue);
        }
        if (r.leaver >= 0) rs[r.leaver].leaveOnCall = true;
        if (r.killer >= 0) rs[r.killer].victim = &rs[r.killer + 1];
        EXPECT_EQ(emitted(s, 1), r.first) << r.leaver << r.killer;
        for (auto& x : rs)
            x.leaveOnCall = false, x.victim = nullptr;
        EXPECT_EQ(emitted(s, 2), r.second) << r.leaver << r.killer;
    }
}

TEST(Signal, EitherSideMayDieFirst) {
    vlRTB::Signal<int> s;
    {
        Receiver gone("gone");
        s.connect(&gone, &Receiver::onValue);
    }
    EXPECT_EQ(s.numConnections(), 0);

    Receiver survivor("survivor");
    {
        vlRTB::Signal<int> shortLived;
        shortLived.connect(&survivor, &Receiver::onValue);
        s.connect(&survivor, &Receiver::onValue);
        EXPECT_EQ(survivor.numClientConnections(), 2);
    }
    EXPECT_EQ(survivor.numClientConnections(), 1);
    EXPECT_EQ(emitted(s, 3), "survivor:3 ");

    // A receiver destroyed by another callback during the call is skipped, not called.
    struct Destroyer : vlRTB::SignalClient {
        Receiver** target;
        void onValue(int) {
            delete *target;
            *target = nullptr;
        }
    };
    vlRTB::Signal<int> t;
    Destroyer d;
    Receiver* doomed = new Receiver("doomed");
    d.target = &doomed;
    t.connect(&d, &Destroyer::onValue);
    t.connect(doomed, &Receiver::onValue);
    EXPECT_EQ(emitted(t, 4), "");
    EXPECT_EQ(doomed, nullptr);
    EXPECT_EQ(t.numConnections(), 1);
}

}  // namespace
