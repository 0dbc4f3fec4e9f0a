// POSIX mutexes behind vlThread::Mutex, and the holder's bookkeeping.
// The hold count is changed only while the mutex is held, so it needs no lock of its own.
#include "pigment/base/vlMutex.h"

namespace vlThread {

Mutex::Mutex(bool isRecursive) : recursive(isRecursive) {
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_NORMAL);
    pthread_mutex_init(&handle, &attr);
    pthread_mutexattr_destroy(&attr);
}

Mutex::~Mutex() {
    pthread_mutex_destroy(&handle);
}

void Mutex::lock() {
    pthread_mutex_lock(&handle);
}

void Mutex::unlock() {
    pthread_mutex_unlock(&handle);
}

bool Mutex::tryLock() {
    return pthread_mutex_trylock(&handle) == 0;
}

MutexOp::MutexOp() : own(new Mutex(true)), target(own), wait(true), holds(0) {}

MutexOp::MutexOp(Mutex& mutex, bool waitForLock)
    : own(nullptr), target(&mutex), wait(waitForLock), holds(0) {}

MutexOp::~MutexOp() {
    while (holds > 0)
        unlock();
    delete own;
}

bool MutexOp::lock() {
    if (wait) {
        target->lock();
    } else if (!target->tryLock()) {
        return false;
    }
    ++holds;
    return true;
}

void MutexOp::unlock() {
    if (holds <= 0) return;
    --holds;
    target->unlock();
}

}  // namespace vlThread
