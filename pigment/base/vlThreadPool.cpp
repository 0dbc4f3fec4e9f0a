// The pool: long-lived workers that wait for a job, each running the job under its own index.
// One run at a time per pool; workers that start a run themselves carry it out inline.
#include "pigment/base/vlThreadPool.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "pigment/base/vlSysInfo.h"

namespace vlUtil {

namespace {
// Set on every pool worker thread for its whole life.
thread_local bool tlsInPoolWorker = false;
}  // namespace

// One unit handed to every worker: work(i) runs on worker i.
class ThreadPool::Job {
  public:
    virtual ~Job() {}
    virtual void work(int index) = 0;
};

struct ThreadPool::Impl {
    int count = 1;
    std::vector<std::thread> workers;

    std::mutex runMutex;  // serialises runs coming from different outside threads
    std::mutex mutex;     // guards the fields below
    std::condition_variable wake;
    std::condition_variable done;
    Job* job = nullptr;
    std::uint64_t generation = 0;
    int pending = 0;
    bool stopping = false;

    void workerLoop(int index) {
        tlsInPoolWorker = true;
        std::uint64_t seen = 0;
        for (;;) {
            Job* current;
            {
                std::unique_lock<std::mutex> lock(mutex);
                wake.wait(lock, [&] { return stopping || generation != seen; });
                if (stopping) return;
                seen = generation;
                current = job;
            }
            current->work(index);
            std::lock_guard<std::mutex> lock(mutex);
            if (--pending == 0) done.notify_all();
        }
    }
};

ThreadPool::ThreadPool(int numThreads) : impl(new Impl) {
    impl->count = numThreads < 1 ? 1 : numThreads;
    impl->workers.reserve(static_cast<std::size_t>(impl->count));
    for (int i = 0; i < impl->count; ++i) {
        impl->workers.emplace_back([this, i] { impl->workerLoop(i); });
    }
}

ThreadPool::~ThreadPool() {
    {
        std::lock_guard<std::mutex> lock(impl->mutex);
        impl->stopping = true;
    }
    impl->wake.notify_all();
    for (auto& worker : impl->workers)
        worker.join();
}

ThreadPool* ThreadPool::get() {
    // Never destroyed: work started by other static destructors at exit still finds the pool.
    static ThreadPool* pool = new ThreadPool(vlOS::sysInfo().numCPUs());
    return pool;
}

bool ThreadPool::isWorkerThread() {
    return tlsInPoolWorker;
}

int ThreadPool::numThreads() const {
    return impl->count;
}

void ThreadPool::runJob(Job& job) {
    if (tlsInPoolWorker) {
        for (int i = 0; i < impl->count; ++i)
            job.work(i);
        return;
    }
    std::lock_guard<std::mutex> runLock(impl->runMutex);
    {
        std::lock_guard<std::mutex> lock(impl->mutex);
        impl->job = &job;
        impl->pending = impl->count;
        ++impl->generation;
    }
    impl->wake.notify_all();
    std::unique_lock<std::mutex> lock(impl->mutex);
    impl->done.wait(lock, [&] { return impl->pending == 0; });
    impl->job = nullptr;
}

namespace {

class AlgJob : public ThreadPool::Job {
  public:
    explicit AlgJob(ThreadedAlg* a) : alg(a) {}
    void work(int index) override { alg->execute(index); }

  private:
    ThreadedAlg* alg;
};

class TaskJob : public ThreadPool::Job {
  public:
    explicit TaskJob(ThreadedTask* r) : root(r) {}
    void work(int index) override { process(root, index, false); }

  private:
    ThreadedTask* pre(ThreadedTask* task, int index) {
        std::lock_guard<std::mutex> lock(serial);
        return task->preExecute(index);
    }
    ThreadedTask* post(ThreadedTask* task, int index) {
        std::lock_guard<std::mutex> lock(serial);
        return task->postExecute(index);
    }

    void process(ThreadedTask* task, int index, bool owned) {
        for (;;) {
            ThreadedTask* next = pre(task, index);
            if (next) process(next, index, true);
            if (!task->isNoExecute()) {
                task->execute(index);
                break;
            }
            if (!next) break;
        }
        if (ThreadedTask* after = post(task, index)) process(after, index, true);
        if (owned) delete task;
    }

    ThreadedTask* root;
    std::mutex serial;
};

}  // namespace

void ThreadPool::run(ThreadedAlg* alg) {
    if (!alg) return;
    alg->initialize(impl->count);
    AlgJob job(alg);
    runJob(job);
    alg->finalize();
}

void ThreadPool::run(ThreadedTask* root) {
    if (!root) return;
    TaskJob job(root);
    runJob(job);
}

}  // namespace vlUtil
