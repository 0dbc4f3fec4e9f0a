// The work units the thread pool runs: vlUtil::ThreadedAlg, one job per worker index, and
// vlUtil::ThreadedTask, a node of a task graph handed out in serial phases and executed in
// parallel.
#pragma once

namespace vlUtil {

// Common base of the pool's work units.
class ThreadedAlgBase {
  public:
    ThreadedAlgBase() {}
    virtual ~ThreadedAlgBase() {}
};

// An algorithm split by worker index. The pool calls initialize(n) on the calling thread, then
// execute(i) once for each index i from 0 to n-1, concurrently on the pool's workers, then
// finalize() on the calling thread. The algorithm chooses how to cut its work and returns at
// once from execute for an index past the number of parts it wants. It may live on the caller's
// stack: the pool keeps no pointer to it once run returns.
class ThreadedAlg : public ThreadedAlgBase {
  public:
    ThreadedAlg() {}
    ~ThreadedAlg() override {}
    virtual void initialize(int numThreads) { (void)numThreads; }
    virtual void execute(int threadIndex) = 0;
    virtual void finalize() {}
};

// A node of a task graph. Each of the pool's workers, with its index w, processes the root task
// it is given like this:
//
//   1. next = preExecute(w)             serial: one pre/postExecute at a time in the whole run
//   2. if next is not null, process next by these same steps, then delete it
//   3. if setNoExecute was called: while step 1 answered a task, go back to step 1
//      otherwise:                  execute(w), in parallel with the other workers
//   4. after = postExecute(w)           serial
//   5. if after is not null, process it by these same steps, then delete it
//
// So a plain root is preExecuted, executed and postExecuted once by every worker, and a root
// marked no-execute acts as a dispenser: idle workers keep asking its preExecute for tasks until
// it answers null. Tasks answered by preExecute or postExecute belong to the pool, which deletes
// each once it and everything it answered have been processed; the root belongs to the caller.
// All shared state (iterators, reference counts, copy on write) belongs in the serial phases.
class ThreadedTask : public ThreadedAlgBase {
  public:
    ThreadedTask() : noExecute(false) {}
    ~ThreadedTask() override {}
    virtual ThreadedTask* preExecute(int threadIndex) {
        (void)threadIndex;
        return nullptr;
    }
    virtual void execute(int threadIndex) { (void)threadIndex; }
    virtual ThreadedTask* postExecute(int threadIndex) {
        (void)threadIndex;
        return nullptr;
    }

    // Marks a task that only hands out further tasks and has no execute of its own.
    void setNoExecute() { noExecute = true; }
    bool isNoExecute() const { return noExecute; }

  private:
    bool noExecute;
};

}  // namespace vlUtil
