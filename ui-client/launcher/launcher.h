#pragma once

#include <QObject>
#include <QString>

class ProcessingProgressDialog;
class Worker;

// The controller of one launcher run, on the interface thread: it starts the upgrade service
// on the Worker's thread and lets the worker's and the Notify_Adapter's signals drive the
// progress dialog. Owned by main; it owns the Worker and the dialog.
class Launcher : public QObject {
    Q_OBJECT
public:
    // Builds the worker and the hidden dialog (no cancel button, no automatic reset) and connects
    // them; its first use of Notify_Adapter makes this thread the adapter's owner.
    Launcher();
    // Deletes the worker first, which lets a run still in progress (the event loop ended without
    // LaunchDone) finish and joins its thread, then the dialog.
    ~Launcher() override;

    // Starts the worker's thread; nothing runs on it until Start.
    void Run();
    // Queues the one service run on the worker thread; it begins once that thread's loop picks
    // it up, and ends with LaunchDone quitting the application's event loop.
    void Start();

signals:
    void sigStart();

private slots:
    // Sets 100, hides the dialog, joins the worker thread and quits the event loop: also after a
    // failed upgrade, which the user is not told about.
    void LaunchDone();
    // steps * 100 / total, truncated; a total below 1 is ignored.
    void UpdateProgress(int total, int steps);
    void SetLabelText(const QString& text);
    void ShowMsgBox();

private:
    Worker* m_worker;
    ProcessingProgressDialog* m_dialog;
};
