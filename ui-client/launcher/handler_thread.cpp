#include "handler_thread.h"

void HandlerThread::run() {
    exec();
}
