// vlUtil::ThreadPool: the process-wide pool of worker threads that runs ThreadedAlg and
// ThreadedTask work; run returns only when every worker has finished.
#pragma once

#include <memory>

#include "pigment/base/vlThreadedAlg.h"

namespace vlUtil {

class ThreadPool {
  public:
    // The process-wide pool, one worker per processor, made on first use and kept until exit.
    static ThreadPool* get();

    // A private pool of numThreads workers (at least 1); the destructor stops and joins them.
    explicit ThreadPool(int numThreads);
    virtual ~ThreadPool();

    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    virtual int numThreads() const;
    // Runs alg as ThreadedAlg describes, with n = numThreads(), worker i taking index i.
    virtual void run(ThreadedAlg* alg);
    // Runs the task graph from root as ThreadedTask describes, on every worker.
    virtual void run(ThreadedTask* root);

    // Runs made from inside a pool worker are carried out inline on that thread, indices in
    // order, so nested parallel work can never wait on itself.
    static bool isWorkerThread();

    class Job;

  private:
    void runJob(Job& job);

    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace vlUtil
