// Without a per-user runtime folder, the lock must not live where another local user can take
// its name first: the shared temporary folder.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QLockFile>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

#include "qtsingleapplication.h"
#include "temp_dir.h"

namespace {

TEST(SingleApp, LockPlantedInTheTemporaryFolderByAnotherUserDoesNotKeepTheLauncherFromRunning) {
    testsupport::ScratchHome home;
    testsupport::TempDir shared_tmp;
    unsetenv("XDG_RUNTIME_DIR");
    setenv("TMPDIR", shared_tmp.path().c_str(), 1);

    // The name the temporary folder would hold for this executable and user, taken first by
    // another process that stays alive, as another user's would.
    char exe[PATH_MAX] = {};
    ASSERT_GT(readlink("/proc/self/exe", exe, sizeof(exe) - 1), 0);
    const QString id = QString::fromLatin1(QCryptographicHash::hash(exe, QCryptographicHash::Sha1).toHex().left(16));
    const QString planted =
        QString::fromStdString(shared_tmp.path()) + QStringLiteral("/qtsingleapp-%1-%2.lock").arg(id).arg(getuid());
    int ready[2];
    ASSERT_EQ(0, pipe(ready));
    const pid_t other = fork();
    if (other == 0) {
        int argc = 1;
        char* argv[] = {exe, nullptr};
        QCoreApplication core(argc, argv);
        QLockFile lock(planted);
        const char ok = lock.tryLock(0) ? 'y' : 'n';
        if (write(ready[1], &ok, 1) != 1)
            _exit(1);
        pause();
        _exit(0);
    }
    struct Reap {
        pid_t pid;
        ~Reap() {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
    } reap{other};
    char ok = 0;
    ASSERT_EQ(1, read(ready[0], &ok, 1));
    ASSERT_EQ('y', ok) << "the other process could not take the lock";

    int argc = 1;
    char* argv[] = {exe, nullptr};
    {
        QtSingleApplication app(argc, argv, true);
        EXPECT_FALSE(app.isRunning());
        // Still one instance: the lock is held, in a folder of the user's own.
        QDir velmora(QString::fromStdString(home.path() + "/.Velmora"));
        const QStringList locks = velmora.entryList({QStringLiteral("*.lock")}, QDir::Files);
        ASSERT_EQ(1, locks.size());
        QLockFile probe(velmora.filePath(locks.first()));
        EXPECT_FALSE(probe.tryLock(0));
        EXPECT_EQ(QLockFile::LockFailedError, probe.error());
    }
}

} // namespace
