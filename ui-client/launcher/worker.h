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
    // Creates the service and the (not yet started) thread, and moves itself onto that thread.
    Worker();
    // Lets a run still in progress finish and joins the thread before deleting it and the
    // service: stopping mid-upgrade could leave the per-user copy half unpacked.
    ~Worker() override;

    void StartThread();
    // Takes effect once the slot running on the thread has returned.
    void QuitThread();
    // Waits without a time limit.
    void JoinThread();

signals:
    void sigServiceDone();
    void sigShowMsg();
    void sigUpdateProgress(int total, int current);
    void sigSetLabelText(const QString& text);

private slots:
    // The one service run: shows the dialog only when an upgrade is needed, and opens the client
    // and emits sigServiceDone (its last step) in every case, also after a failed upgrade.
    void HandleServicce();

private:
    // The Launcher is this class's one owner and part of the same design: its Run and LaunchDone
    // act on m_thread directly (they do what StartThread, QuitThread and JoinThread do), and it
    // connects its start signal to the private slot, which nobody else may call.
    friend class Launcher;

    HandlerThread* m_thread;
    Service* m_service;
};
