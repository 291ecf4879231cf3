#pragma once

#include <QThread>
#include <atomic>

// The worker thread: nothing but an event loop, so that the queued calls to the Worker living
// on it run here, one after the other. Owned by the Worker.
class HandlerThread : public QThread {
    Q_OBJECT
public:
    // QThread::wait(), plus a release/acquire pair of our own at the end of run(): Qt's own
    // synchronisation is invisible to ThreadSanitizer, and with this pair what the worker did
    // is visibly ordered before what the caller deletes afterwards.
    bool WaitUntilFinished();

protected:
    void run() override;

private:
    std::atomic<bool> finished_{false};
};
