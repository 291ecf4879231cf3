#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "qtsingleapplication.h"
#include "temp_dir.h"

namespace {

// A second start of this very executable: with VELMORA_SINGLEAPP_PROBE set, the process builds
// its application object before the tests run and exits with what isRunning() answered (10 for
// true, 11 for false), as the launcher's main would decide.
[[maybe_unused]] const int kProbeExit = [] {
    if (!getenv("VELMORA_SINGLEAPP_PROBE"))
        return 0;
    static int argc = 1;
    static char* argv[] = {program_invocation_name, nullptr};
    const bool running = QtSingleApplication(argc, argv, true).isRunning();
    _exit(running ? 10 : 11);
}();

// Runs that second start and returns its exit code (-1 when it did not exit normally).
int SecondStartExit() {
    const pid_t pid = fork();
    if (pid == 0) {
        setenv("VELMORA_SINGLEAPP_PROBE", "1", 1);
        execl("/proc/self/exe", program_invocation_name, static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

// Only one launcher per user: while one holds the instance a second start is told so, and once
// it is gone (its lock released) the next start runs.
TEST(SingleApp, ASecondStartOfTheSameExecutableSeesTheFirstUntilItEnds) {
    testsupport::ScratchHome home;
    testsupport::TempDir runtime;
    setenv("XDG_RUNTIME_DIR", runtime.path().c_str(), 1);
    ASSERT_EQ(0, chmod(runtime.path().c_str(), 0700)); // Qt refuses a runtime folder others can enter
    int argc = 1;
    char* argv[] = {program_invocation_name, nullptr};
    {
        QtSingleApplication first(argc, argv, true);
        ASSERT_FALSE(first.isRunning());
        EXPECT_EQ(10, SecondStartExit()) << "the second start must see the first";
    }
    EXPECT_EQ(11, SecondStartExit()) << "the lock must go with the first";
    unsetenv("XDG_RUNTIME_DIR");
}

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
