#include "launcher.h"

#include <QCoreApplication>

#include "handler_thread.h"
#include "notify_adapter.h"
#include "processing_progress_dialog.h"
#include "worker.h"

Launcher::Launcher() : QObject(nullptr), m_worker(nullptr), m_dialog(nullptr) {
    m_worker = new Worker;
    m_dialog = new ProcessingProgressDialog;
    // The dialog reports, it does not control: there is nothing to cancel, and reaching the
    // maximum must neither reset nor hide it before LaunchDone does.
    m_dialog->setCancelButton(nullptr);
    m_dialog->setAutoReset(false);

    // The worker lives on its own thread, so each of these is a queued call that keeps the
    // order of emission: the last label and value of a run arrive before LaunchDone.
    connect(this, &Launcher::sigStart, m_worker, &Worker::HandleServicce, Qt::AutoConnection);
    connect(m_worker, &Worker::sigShowMsg, this, &Launcher::ShowMsgBox, Qt::AutoConnection);
    connect(m_worker, &Worker::sigServiceDone, this, &Launcher::LaunchDone, Qt::AutoConnection);
    connect(m_worker, &Worker::sigUpdateProgress, this, &Launcher::UpdateProgress, Qt::AutoConnection);
    connect(m_worker, &Worker::sigSetLabelText, this, &Launcher::SetLabelText, Qt::AutoConnection);
    // The first use of the adapter creates it here, which makes the interface thread its owner.
    connect(Notify_Adapter::GetInstance(), &Notify_Adapter::sigUpdateProgress, this, &Launcher::UpdateProgress,
            Qt::AutoConnection);
    connect(Notify_Adapter::GetInstance(), &Notify_Adapter::sigUpdateDialogText, this, &Launcher::SetLabelText,
            Qt::AutoConnection);
}

Launcher::~Launcher() {
    // The worker goes first: its destructor joins the worker thread, which may still be in the
    // middle of a run when the event loop ended without LaunchDone, and nothing may be
    // deleted while that run can still use it.
    delete m_worker;
    delete m_dialog;
}

void Launcher::Run() {
    m_worker->m_thread->start(QThread::InheritPriority);
}

void Launcher::Start() {
    emit sigStart();
}

void Launcher::ShowMsgBox() {
    m_dialog->show();
}

void Launcher::UpdateProgress(int total, int steps) {
    // No sender reports an empty total today; dividing by it would still end the process.
    if (total <= 0)
        return;
    // Widened so that a huge entry count cannot overflow; the result is the same truncated
    // percentage wherever 32 bits would have sufficed.
    m_dialog->setValue(static_cast<int>(static_cast<qint64>(steps) * 100 / total));
}

void Launcher::SetLabelText(const QString& text) {
    m_dialog->setLabelText(text);
}

void Launcher::LaunchDone() {
    m_dialog->setValue(100);
    m_dialog->hide();
    m_worker->m_thread->quit();
    m_worker->m_thread->WaitUntilFinished();
    QCoreApplication::quit();
}
