#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <cstdlib>
#include <unistd.h>

#include "qtsingleapplication.h"
#include "temp_dir.h"

namespace {

// Without a per-user runtime folder, the lock must not live where another local user can take its
// name first: the shared temporary folder. A lock held there by a live process, under the name this
// executable and user would use, must not count as another instance.
TEST(SingleApp, LockPlantedInTheTemporaryFolderDoesNotKeepTheLauncherFromRunning) {
    testsupport::ScratchHome home;
    testsupport::TempDir shared_tmp;
    unsetenv("XDG_RUNTIME_DIR");
    setenv("TMPDIR", shared_tmp.path().c_str(), 1);
    int argc = 1;
    char exe[] = "libsingleapp_test";
    char* argv[] = {exe, nullptr};
    // The holder's name and pid are what Qt checks for staleness: ours, alive.
    QCoreApplication::setApplicationName(QString::fromLatin1(exe));
    const QByteArray path = QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget().toUtf8();
    const QString id = QString::fromLatin1(QCryptographicHash::hash(path, QCryptographicHash::Sha1).toHex().left(16));
    QLockFile planted(QDir::tempPath() + QStringLiteral("/qtsingleapp-%1-%2.lock").arg(id).arg(getuid()));
    ASSERT_TRUE(planted.tryLock(0));

    QtSingleApplication app(argc, argv, true);
    EXPECT_FALSE(app.isRunning());
    // Still one instance: the lock is held, in a folder of the user's own.
    const QDir velmora(QString::fromStdString(home.path() + "/.Velmora"));
    const QStringList locks = velmora.entryList({QStringLiteral("*.lock")}, QDir::Files);
    ASSERT_EQ(1, locks.size());
    QLockFile probe(velmora.filePath(locks.first()));
    EXPECT_FALSE(probe.tryLock(0));
    EXPECT_EQ(QLockFile::LockFailedError, probe.error());
}

} // namespace
