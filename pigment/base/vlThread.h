// vlThread::Thread: a plain joinable thread running one function on one argument.
// Created idle; start runs it, wait joins it. The destructor joins a thread still running.
#pragma once

#include <thread>

#include "pigment/base/vlError.h"

namespace vlThread {

class Thread {
  public:
    using Function = void (*)(void* argument);

    Thread(Function function, void* argument);
    virtual ~Thread();

    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    // Starts the thread. Fails (code 1) when there is no function or it was already started,
    // and (code 2) when the system cannot make a thread.
    vlUtil::Error start();
    // Waits for the function to return. Fails (code 1) when the thread is not running.
    vlUtil::Error wait();
    bool isRunning() const { return worker.joinable(); }

  private:
    Function function;
    void* argument;
    std::thread worker;
    bool started;
};

}  // namespace vlThread
