#include "qtsingleapplication.h"

#include <QCryptographicHash>
#include <QDir>
#include <QLockFile>
#include <QStandardPaths>

#include <unistd.h>

namespace {

// Two copies of the bundle in different folders are different programs and may run side by
// side; the same executable started twice by one user may not.
QString lockFilePath() {
    const QByteArray exe = QCoreApplication::applicationFilePath().toUtf8();
    const QString id = QString::fromLatin1(QCryptographicHash::hash(exe, QCryptographicHash::Sha1).toHex().left(16));

    // The runtime folder is per user and cleared at logout; without XDG_RUNTIME_DIR Qt would
    // invent one and complain on standard error. The shared temporary folder is no substitute:
    // another local user could create the lock file first and keep the launcher from ever
    // running. The per-user install folder is the user's own, and start-up creates it anyway.
    QString dir;
    if (qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        dir = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (dir.isEmpty()) {
        dir = QDir::homePath() + QStringLiteral("/.Velmora");
        QDir().mkpath(dir);
    }
    return dir + QStringLiteral("/qtsingleapp-%1-%2.lock").arg(id).arg(getuid());
}

} // namespace

QtSingleApplication::QtSingleApplication(int& argc, char** argv, bool GUIenabled)
    : QApplication(argc, argv), m_lock(new QLockFile(lockFilePath())), m_running(false) {
    Q_UNUSED(GUIenabled);
    // Only a dead holder makes a lock stale; an upgrade may well take longer than Qt's default
    // age limit of 30 seconds, and a second launcher must not start beside it.
    m_lock->setStaleLockTime(0);
    if (!m_lock->tryLock(0))
        // A folder we cannot write is no reason to keep the user from the client: only a lock
        // held by a live process counts as another instance.
        m_running = m_lock->error() == QLockFile::LockFailedError;
}

QtSingleApplication::~QtSingleApplication() = default;

bool QtSingleApplication::isRunning() const {
    return m_running;
}
