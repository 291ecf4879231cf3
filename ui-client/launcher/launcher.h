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
    Launcher();
    ~Launcher() override;

    void Run();
    void Start();

signals:
    void sigStart();

private slots:
    void LaunchDone();
    void UpdateProgress(int total, int steps);
    void SetLabelText(const QString& text);
    void ShowMsgBox();

private:
    Worker* m_worker;
    ProcessingProgressDialog* m_dialog;
};
