#include "worker.h"

#include "handler_thread.h"
#include "log.h"
#include "mac/mac-service.h"
#include "str_table.h"
#include "upgrade_lock.h"

namespace {
const char* const kComponent = "launcher_debug";
}

Worker::Worker() : QObject(nullptr), m_thread(nullptr), m_service(nullptr) {
    m_service = new MacService;
    m_thread = new HandlerThread;
    moveToThread(m_thread);
}

Worker::~Worker() {
    // The event loop can end before the run has (the user closed the dialog, and with it the
    // last window). Stopping the thread mid-upgrade could leave the per-user copy half
    // unpacked, so the run is let finish: the quit takes effect once the slot returns. A run
    // that has not begun yet never will.
    if (m_thread && m_thread->isRunning()) {
        QuitThread();
        JoinThread();
    }
    delete m_thread;
    delete m_service;
}

void Worker::StartThread() {
    m_thread->start(QThread::InheritPriority);
}

void Worker::QuitThread() {
    m_thread->quit();
}

void Worker::JoinThread() {
    m_thread->WaitUntilFinished();
}

void Worker::HandleServicce() {
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] launcher(%d): running\n", __LINE__);
    {
        // Another launcher may be upgrading the same copy; once it is done, the decision is made
        // afresh on what it left.
        const UpgradeLock lock(Service::GetUserVelmoraInstallPath());
        m_service->PreUpgrade();
        const bool need = m_service->IsNeedUpgrade();
        if (!need) {
            Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] launcher(%d): no need to upgrade\n", __LINE__);
        } else {
            emit sigShowMsg();
            if (m_service->HandlePackageUpgrade() == 0) {
                emit sigUpdateProgress(100, 100);
                emit sigSetLabelText(StrTable::LoadStr(390));
            } else {
                // The rollback has put the old copy back; the user still gets a working client.
                Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] launcher(%d): Failed to upgrade package\n",
                               __LINE__);
            }
        }
    }
    m_service->RemoveAgedFolders();
    m_service->PostUpgrade();
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] launcher(%d): done\n", __LINE__);
    emit sigServiceDone();
}
