// vlThread::Mutex and vlThread::MutexOp: a real mutex, plain or recursive, and a scoped holder.
// The holder never locks on construction; callers lock and unlock it explicitly.
#pragma once

#include <pthread.h>

namespace vlThread {

class Mutex {
  public:
    // recursive true lets the owning thread lock again; each lock needs its unlock.
    explicit Mutex(bool recursive = false);
    virtual ~Mutex();

    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock();
    void unlock();
    bool tryLock();
    bool isRecursive() const { return recursive; }

  private:
    pthread_mutex_t handle;
    bool recursive;
};

// Holds a mutex for one user. The flag chooses how lock behaves: true waits for the mutex,
// false only tries and answers false when another thread holds it. The destructor releases
// every lock this holder still has, so it must run on the thread that holds them.
// MutexOp() holds a recursive mutex of its own, for objects that guard themselves.
class MutexOp {
  public:
    MutexOp();
    MutexOp(Mutex& mutex, bool wait);
    virtual ~MutexOp();

    MutexOp(const MutexOp&) = delete;
    MutexOp& operator=(const MutexOp&) = delete;

    // Answers whether the mutex is now held (always true when waiting).
    bool lock();
    // Releases one lock taken through this holder; does nothing when none is held.
    void unlock();
    // Locks taken through this holder and not yet released.
    int held() const { return holds; }
    Mutex& mutex() { return *target; }

  private:
    Mutex* own;
    Mutex* target;
    bool wait;
    int holds;
};

}  // namespace vlThread
