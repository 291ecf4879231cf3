#pragma once

#include <QThread>

// The worker thread: nothing but an event loop, so that the queued calls to the Worker living
// on it run here, one after the other. Owned by the Worker.
class HandlerThread : public QThread {
    Q_OBJECT
protected:
    void run() override;
};
