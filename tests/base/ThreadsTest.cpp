// Mutexes, threads and the pool: real concurrency, the algorithm and task protocols, nesting.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "pigment/base/vlMutex.h"
#include "pigment/base/vlThread.h"
#include "pigment/base/vlThreadPool.h"

namespace {

using Clock = std::chrono::steady_clock;

// Every worker records its index and thread, then waits until all have arrived: this only
// finishes in time if the workers really run at the same time.
struct RendezvousAlg : vlUtil::ThreadedAlg {
    std::mutex guard;
    std::vector<int> indices;
    std::set<std::thread::id> threads;
    std::atomic<int> arrived{0};
    int workers = 0;
    bool initializedOnCaller = false, finalizedOnCaller = false, allMet = true;
    std::thread::id caller = std::this_thread::get_id();

    void initialize(int n) override {
        workers = n;
        initializedOnCaller = std::this_thread::get_id() == caller;
    }
    void execute(int index) override {
        {
            std::lock_guard<std::mutex> lock(guard);
            indices.push_back(index);
            threads.insert(std::this_thread::get_id());
        }
        ++arrived;
        const auto deadline = Clock::now() + std::chrono::seconds(20);
        while (arrived.load() < workers) {
            if (Clock::now() > deadline) {
                allMet = false;
                return;
            }
            std::this_thread::yield();
        }
    }
    void finalize() override { finalizedOnCaller = std::this_thread::get_id() == caller; }
};

TEST(ThreadPool, AlgorithmOnTheStackRunsEveryIndexConcurrently) {
    for (int n : {1, 3, 4}) {
        vlUtil::ThreadPool pool(n);
        RendezvousAlg alg;  // destroyed right after run returns
        pool.run(&alg);
        EXPECT_EQ(alg.workers, n);
        EXPECT_TRUE(alg.initializedOnCaller);
        EXPECT_TRUE(alg.finalizedOnCaller);
        EXPECT_TRUE(alg.allMet) << n << " workers did not meet";
        std::multiset<int> got(alg.indices.begin(), alg.indices.end());
        std::multiset<int> want;
        for (int i = 0; i < n; ++i)
            want.insert(i);
        EXPECT_EQ(got, want);
        EXPECT_EQ(alg.threads.size(), static_cast<std::size_t>(n));
        EXPECT_EQ(alg.threads.count(alg.caller), 0u);
    }
    vlUtil::ThreadPool* global = vlUtil::ThreadPool::get();
    ASSERT_EQ(global, vlUtil::ThreadPool::get());
    RendezvousAlg alg;
    global->run(&alg);
    EXPECT_EQ(alg.indices.size(), static_cast<std::size_t>(global->numThreads()));
    EXPECT_TRUE(alg.allMet);
}

// A dispenser hands out `count` leaves; each leaf's postExecute answers a follow-up task.
struct Leaf : vlUtil::ThreadedTask {
    struct Dispenser* owner;
    int id;
    bool followUp;
    Leaf(Dispenser* o, int i, bool f) : owner(o), id(i), followUp(f) {}
    ~Leaf() override;
    void execute(int) override;
    vlUtil::ThreadedTask* postExecute(int) override;
};

struct Dispenser : vlUtil::ThreadedTask {
    int next = 0, count;
    std::atomic<int> inSerial{0}, maxInSerial{0};
    std::atomic<int> executed{0}, deleted{0};
    std::mutex guard;
    std::set<int> executedIds;
    int postCalls = 0;
    explicit Dispenser(int n) : count(n) { setNoExecute(); }
    vlUtil::ThreadedTask* preExecute(int) override {
        enterSerial();
        vlUtil::ThreadedTask* t = next < count ? new Leaf(this, next++, true) : nullptr;
        --inSerial;
        return t;
    }
    vlUtil::ThreadedTask* postExecute(int) override {
        enterSerial();
        ++postCalls;
        --inSerial;
        return nullptr;
    }
    // The pool promises one pre/postExecute at a time; count overlaps to prove it.
    void enterSerial() {
        const int now = ++inSerial;
        if (now > maxInSerial) maxInSerial = now;
    }
};

Leaf::~Leaf() {
    ++owner->deleted;
}
void Leaf::execute(int) {
    ++owner->executed;
    std::lock_guard<std::mutex> lock(owner->guard);
    owner->executedIds.insert(id);
}
vlUtil::ThreadedTask* Leaf::postExecute(int) {
    owner->enterSerial();
    vlUtil::ThreadedTask* t = followUp ? new Leaf(owner, 1000 + id, false) : nullptr;
    --owner->inSerial;
    return t;
}

TEST(ThreadPool, TaskGraphRunsEveryHandedOutTaskOnceAndDeletesIt) {
    vlUtil::ThreadPool pool(3);
    for (int count : {0, 1, 50}) {
        Dispenser root(count);
        pool.run(&root);
        EXPECT_EQ(root.executed.load(), 2 * count);  // each leaf and its follow-up
        EXPECT_EQ(root.deleted.load(), 2 * count);
        EXPECT_EQ(root.executedIds.size(), static_cast<std::size_t>(2 * count));
        EXPECT_EQ(root.maxInSerial.load(), 1);
        EXPECT_EQ(root.postCalls, 3);  // once per worker, after the dispenser ran dry
    }
}

// A plain root: every worker runs pre, execute and post on it with its own index.
struct PlainRoot : vlUtil::ThreadedTask {
    std::mutex guard;
    std::vector<int> pre, exec, post;
    vlUtil::ThreadedTask* preExecute(int i) override {
        pre.push_back(i);
        return nullptr;
    }
    void execute(int i) override {
        std::lock_guard<std::mutex> lock(guard);
        exec.push_back(i);
    }
    vlUtil::ThreadedTask* postExecute(int i) override {
        post.push_back(i);
        return nullptr;
    }
};

TEST(ThreadPool, PlainRootIsProcessedByEveryWorker) {
    vlUtil::ThreadPool pool(2);
    PlainRoot root;
    pool.run(&root);
    for (auto* list : {&root.pre, &root.exec, &root.post}) {
        std::multiset<int> got(list->begin(), list->end());
        EXPECT_EQ(got, (std::multiset<int>{0, 1}));
    }
}

// Running the pool from inside one of its own workers must not wait on itself.
struct Nested : vlUtil::ThreadedAlg {
    vlUtil::ThreadPool* pool;
    std::atomic<int> inner{0};
    explicit Nested(vlUtil::ThreadPool* p) : pool(p) {}
    struct Inner : vlUtil::ThreadedAlg {
        std::atomic<int>* counter;
        void execute(int) override { ++*counter; }
    };
    void execute(int) override {
        EXPECT_TRUE(vlUtil::ThreadPool::isWorkerThread());
        Inner alg;
        alg.counter = &inner;
        pool->run(&alg);
    }
};

TEST(ThreadPool, NestedRunFromAWorkerRunsInline) {
    vlUtil::ThreadPool pool(2);
    Nested alg(&pool);
    pool.run(&alg);
    EXPECT_EQ(alg.inner.load(), 4);
    EXPECT_FALSE(vlUtil::ThreadPool::isWorkerThread());
}

TEST(Mutex, RecursionAndHolderRelease) {
    vlThread::Mutex recursive(true);
    {
        vlThread::MutexOp op(recursive, true);
        EXPECT_EQ(op.held(), 0);  // constructing does not lock
        EXPECT_TRUE(op.lock());
        EXPECT_TRUE(op.lock());
        EXPECT_EQ(op.held(), 2);
        op.unlock();
        // Still held once: another thread cannot take it.
        bool other = true;
        std::thread([&] { other = recursive.tryLock(); }).join();
        EXPECT_FALSE(other);
    }  // the destructor releases the remaining hold
    bool free = false;
    std::thread([&] {
        free = recursive.tryLock();
        if (free) recursive.unlock();
    }).join();
    EXPECT_TRUE(free);

    vlThread::Mutex plain(false);
    vlThread::MutexOp holder(plain, true);
    holder.lock();
    bool tried = true;
    std::thread([&] {
        vlThread::MutexOp tryOnly(plain, false);
        tried = tryOnly.lock();
    }).join();
    EXPECT_FALSE(tried);
    holder.unlock();
    holder.unlock();  // nothing held: ignored
    EXPECT_EQ(holder.held(), 0);
}

TEST(Mutex, GuardsACounterAcrossThreads) {
    vlThread::MutexOp shared;  // owns a recursive mutex
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                shared.lock();
                ++counter;
                shared.unlock();
            }
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(counter, 80000);
}

void addOne(void* arg) {
    ++*static_cast<std::atomic<int>*>(arg);
}

TEST(Thread, StartWaitAndMisuse) {
    std::atomic<int> hits{0};
    vlThread::Thread t(addOne, &hits);
    EXPECT_FALSE(t.wait().isOk());  // not started
    EXPECT_TRUE(t.start().isOk());
    EXPECT_EQ(t.start().code(), 1);  // only once
    EXPECT_TRUE(t.wait().isOk());
    EXPECT_EQ(hits.load(), 1);
    EXPECT_FALSE(t.wait().isOk());

    vlThread::Thread none(nullptr, nullptr);
    EXPECT_EQ(none.start().code(), 1);
    {
        vlThread::Thread unwaited(addOne, &hits);
        ASSERT_TRUE(unwaited.start().isOk());
    }  // the destructor joins
    EXPECT_EQ(hits.load(), 2);
}

}  // namespace
