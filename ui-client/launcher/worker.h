#pragma once

#include <QObject>
#include <QString>

class HandlerThread;
class Service;

// Runs the one upgrade-service run of a launcher start on a thread of its own, so the dialog
// stays live while the client is stopped and the package unpacked. Owned by the Launcher, it
// owns its HandlerThread and the service. Built on the interface thread, then moved to its
// thread: its slot and everything the service does run there, and its signals reach the
// Launcher as queued calls.
class Worker : public QObject {
    Q_OBJECT
public:
    Worker();
    ~Worker() override;

    void StartThread();
    void QuitThread();
    void JoinThread();

signals:
    void sigServiceDone();
    void sigShowMsg();
    void sigUpdateProgress(int total, int current);
    void sigSetLabelText(const QString& text);

private slots:
    void HandleServicce();

private:
    // The Launcher starts and joins the thread itself and connects its start signal to the
    // private slot.
    friend class Launcher;

    HandlerThread* m_thread;
    Service* m_service;
};
