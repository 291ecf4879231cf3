#include "handler_thread.h"

void HandlerThread::run() {
    exec();
    finished_.store(true, std::memory_order_release);
}

bool HandlerThread::WaitUntilFinished() {
    const bool done = wait();
    return finished_.load(std::memory_order_acquire) && done;
}
