// vlThread::Thread over std::thread; the system's refusal to make a thread becomes an Error.
// A thread is started once: a second start is refused even after wait.
#include "pigment/base/vlThread.h"

#include <system_error>

namespace vlThread {

Thread::Thread(Function fn, void* arg) : function(fn), argument(arg), started(false) {}

Thread::~Thread() {
    if (worker.joinable()) worker.join();
}

vlUtil::Error Thread::start() {
    if (!function) return vlUtil::Error(1, "thread has no function");
    if (started) return vlUtil::Error(1, "thread already started");
    try {
        worker = std::thread(function, argument);
    } catch (const std::system_error& e) {
        return vlUtil::Error(2, e.what());
    }
    started = true;
    return vlUtil::Error();
}

vlUtil::Error Thread::wait() {
    if (!worker.joinable()) return vlUtil::Error(1, "thread is not running");
    worker.join();
    return vlUtil::Error();
}

}  // namespace vlThread
