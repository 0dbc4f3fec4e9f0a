// Mutexes, threads and the pool: real concurrency, the algorithm and task protocols, nesting.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "pigment/base/vlMutex.h"
#include "pigment/base/vlThread.h"
#include "pigment/base/vlThreadPool.h"

namespace {

// Every worker records its index, then waits until all have arrived: this only finishes in time
// if the workers really run at the same time.
struct RendezvousAlg : vlUtil::ThreadedAlg {
    std::mutex guard;
    std::multiset<int> indices;
    std::atomic<int> arrived{0};
    int workers = 0;
    bool allMet = true, rightThreads = true;
    const std::thread::id caller = std::this_thread::get_id();

    void initialize(int n) override {
        workers = n;
        rightThreads = rightThreads && std::this_thread::get_id() == caller;
    }
    void execute(int index) override {
        {
            std::lock_guard<std::mutex> lock(guard);
            indices.insert(index);
            rightThreads = rightThreads && std::this_thread::get_id() != caller;
        }
        ++arrived;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (arrived.load() < workers) {
            if (std::chrono::steady_clock::now() > deadline) {
                std::lock_guard<std::mutex> lock(guard);
                allMet = false;
                return;
            }
            std::this_thread::yield();
        }
    }
    void finalize() override {
        rightThreads = rightThreads && std::this_thread::get_id() == caller;
    }
};

TEST(ThreadPool, AlgorithmOnTheStackRunsEveryIndexConcurrently) {
    for (int n : {1, 3, 4, 0}) {  // 0: the process-wide pool
        vlUtil::ThreadPool own(n ? n : 1);
        vlUtil::ThreadPool* pool = n ? &own : vlUtil::ThreadPool::get();
        RendezvousAlg alg;  // destroyed right after run returns
        pool->run(&alg);
        const int workers = pool->numThreads();
        std::multiset<int> want;
        for (int i = 0; i < workers; ++i)
            want.insert(i);
        EXPECT_EQ(alg.workers, workers);
        EXPECT_EQ(alg.indices, want);
        EXPECT_TRUE(alg.allMet) << workers << " workers did not meet";
        EXPECT_TRUE(alg.rightThreads)
            << "initialize and finalize on the caller, the work on workers";
    }
    EXPECT_EQ(vlUtil::ThreadPool::get(), vlUtil::ThreadPool::get());
}

// A dispenser hands out `count` leaves from preExecute; each leaf's postExecute answers a
// follow-up. The pool promises one pre or postExecute at a time: overlaps are counted.
struct Dispenser : vlUtil::ThreadedTask {
    struct Leaf : vlUtil::ThreadedTask {
        Dispenser* owner;
        int id;
        Leaf(Dispenser* o, int i) : owner(o), id(i) {}
        ~Leaf() override { ++owner->deleted; }
        void execute(int) override {
            std::lock_guard<std::mutex> lock(owner->guard);
            owner->executed.insert(id);
        }
        ThreadedTask* postExecute(int) override {
            return owner->serial([&] { return id < 1000 ? new Leaf(owner, 1000 + id) : nullptr; });
        }
    };
    int next = 0, count, postCalls = 0;
    std::atomic<int> inSerial{0}, maxInSerial{0}, deleted{0}, rootExecuted{0};
    std::mutex guard;
    std::multiset<int> executed;
    explicit Dispenser(int n) : count(n) { setNoExecute(); }
    template <typename F>
    ThreadedTask* serial(F f) {
        const int now = ++inSerial;
        if (now > maxInSerial) maxInSerial = now;
        ThreadedTask* t = f();
        --inSerial;
        return t;
    }
    ThreadedTask* preExecute(int) override {
        return serial([&] { return next < count ? new Leaf(this, next++) : nullptr; });
    }
    ThreadedTask* postExecute(int) override {
        return serial([&]() -> ThreadedTask* { return ++postCalls, nullptr; });
    }
    void execute(int) override { ++rootExecuted; }
};

TEST(ThreadPool, TaskGraphRunsEveryHandedOutTaskOnceAndDeletesIt) {
    vlUtil::ThreadPool pool(3);
    for (int count : {0, 1, 50}) {
        Dispenser root(count);
        pool.run(&root);
        EXPECT_EQ(root.executed.size(), size_t(2 * count));  // each leaf and its follow-up
        EXPECT_EQ(std::set<int>(root.executed.begin(), root.executed.end()).size(),
                  size_t(2 * count));
        EXPECT_EQ(root.deleted.load(), 2 * count);
        EXPECT_EQ(root.maxInSerial.load(), 1);
        EXPECT_EQ(root.postCalls, 3);  // once per worker, after the dispenser ran dry
        EXPECT_EQ(root.rootExecuted.load(), 0) << "a task without execute is not executed";
    }
}

// Running the pool from inside one of its own workers must not wait on itself.
TEST(ThreadPool, NestedRunFromAWorkerRunsInline) {
    struct Each : vlUtil::ThreadedAlg {
        std::function<void()> work;
        void execute(int) override { work(); }
    };
    vlUtil::ThreadPool pool(2);
    std::atomic<int> inner{0};
    Each outer;
    outer.work = [&] {
        Each nested;
        nested.work = [&] { ++inner; };
        pool.run(&nested);
    };
    pool.run(&outer);
    EXPECT_EQ(inner.load(), 4);
    EXPECT_FALSE(vlUtil::ThreadPool::isWorkerThread());
}

bool tryFromAnotherThread(vlThread::Mutex& m) {
    bool got = false;
    std::thread([&] {
        if ((got = m.tryLock())) m.unlock();
    }).join();
    return got;
}

void addOne(void* arg) {
    ++*static_cast<std::atomic<int>*>(arg);
}

// A recursive mutex takes its owner again and is free only after the holder's destructor; four
// threads counting through one holder lose no increment; a thread starts once and is joined.
TEST(Threads, MutexesExcludeAndThreadsJoin) {
    vlThread::Mutex recursive(true);
    {
        vlThread::MutexOp op(recursive, true);
        EXPECT_TRUE(op.lock() && op.lock());
        op.unlock();
        EXPECT_FALSE(tryFromAnotherThread(recursive)) << "still held once";
    }
    EXPECT_TRUE(tryFromAnotherThread(recursive)) << "the destructor releases the rest";

    vlThread::MutexOp shared;  // owns a recursive mutex
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                shared.lock();
                ++counter;
                shared.unlock();
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(counter, 80000);

    std::atomic<int> started{0};
    vlThread::Thread t(addOne, &started);
    EXPECT_FALSE(t.wait().isOk()) << "not started";
    EXPECT_TRUE(t.start().isOk());
    EXPECT_EQ(t.start().code(), 1) << "only once";
    EXPECT_EQ(vlThread::Thread(nullptr, nullptr).start().code(), 1);
    {
        vlThread::Thread unwaited(addOne, &started);
        ASSERT_TRUE(unwaited.start().isOk());
    }  // the destructor joins
    EXPECT_TRUE(t.wait().isOk());
    EXPECT_EQ(started.load(), 2);
}

}  // namespace
