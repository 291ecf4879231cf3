#include "bundle_opener.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QObject>
#include <QString>
#include <QUrl>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

#include "log.h"

extern char** environ;

namespace bundleopener {
namespace {

const char* const kComponent = "service_debug";

// Qt 5 calls the handler directly on the thread that called openUrl (the worker thread), with
// its handler registry locked, and reports success whatever the handler did: a failure can only
// be logged here. Calling openUrl from in here would not reach the handler again but Qt's own
// desktop call, so the desktop is asked directly below.
class Handler : public QObject {
    Q_OBJECT
public slots:
    void open(const QUrl& url) { OpenUrl(url); }
};

// Starts a program the way a desktop starts an application: in a session of its own, so that it
// survives the launcher and its terminal; standard streams on /dev/null; in "/", so that it
// holds no folder of the caller's busy; signals at their defaults, none blocked; and no
// descriptor of the launcher's beyond the standard three (an inherited lock or log would outlive
// the launcher). posix_spawn, not fork, so that the Qt process is never copied; it reports a
// refused exec as its result. The child is not waited for: the launcher ends right after, and
// the client is then reaped by whoever adopts it. 0 or an errno value.
int Spawn(const char* file, char* const argv[], bool search, pid_t* pid) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attr;
    if (posix_spawn_file_actions_init(&actions) != 0)
        return ENOMEM;
    if (posix_spawnattr_init(&attr) != 0) {
        posix_spawn_file_actions_destroy(&actions);
        return ENOMEM;
    }
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    int rc = posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    if (rc == 0)
        rc = posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    if (rc == 0)
        rc = posix_spawn_file_actions_adddup2(&actions, 1, 2);
    if (rc == 0)
        rc = posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    if (rc == 0)
        rc = posix_spawn_file_actions_addchdir_np(&actions, "/");
    if (rc == 0)
        rc = posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    if (rc == 0)
        rc = posix_spawnattr_setsigmask(&attr, &none);
    if (rc == 0)
        rc = posix_spawnattr_setsigdefault(&attr, &all);
    if (rc == 0)
        rc = search ? posix_spawnp(pid, file, &actions, &attr, argv, environ)
                    : posix_spawn(pid, file, &actions, &attr, argv, environ);
    posix_spawnattr_destroy(&attr);
    posix_spawn_file_actions_destroy(&actions);
    return rc;
}

bool StartBundle(const QByteArray& bundle) {
    const QByteArray exe = bundle + "/Contents/MacOS/cloud-ui";
    struct stat st;
    if (stat(exe.constData(), &st) != 0) {
        const int err = errno;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] platform/bundle_opener_linux(%d): Cannot start the application '%s': '%s': %s (%d)\n",
                       __LINE__, bundle.constData(), exe.constData(), strerror(err), err);
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        Logger::LogMsg(
            Logger::LEVEL_ERROR, kComponent,
            "[ERROR] platform/bundle_opener_linux(%d): Cannot start the application '%s': '%s' is not a file\n",
            __LINE__, bundle.constData(), exe.constData());
        return false;
    }
    char* const argv[] = {const_cast<char*>(exe.constData()), nullptr};
    pid_t pid = 0;
    if (const int rc = Spawn(exe.constData(), argv, false, &pid)) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] platform/bundle_opener_linux(%d): Cannot start the application '%s': %s (%d)\n",
                       __LINE__, exe.constData(), strerror(rc), rc);
        return false;
    }
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] platform/bundle_opener_linux(%d): started '%s' (pid %d)\n",
                   __LINE__, exe.constData(), static_cast<int>(pid));
    return true;
}

// What Qt's own desktop call does on a desktop it does not know: xdg-open, from the desktop's
// xdg-utils, opens the URL with the user's preferred program and returns.
bool HandToDesktop(const QUrl& url) {
    const QByteArray encoded = url.toEncoded();
    Logger::LogMsg(Logger::LEVEL_WARNING, kComponent,
                   "[WARNING] platform/bundle_opener_linux(%d): '%s' is not an application bundle, handing it to "
                   "xdg-open\n",
                   __LINE__, encoded.constData());
    char* const argv[] = {const_cast<char*>("xdg-open"), const_cast<char*>(encoded.constData()), nullptr};
    pid_t pid = 0;
    if (const int rc = Spawn("xdg-open", argv, true, &pid)) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] platform/bundle_opener_linux(%d): Cannot start xdg-open for '%s': %s (%d)\n", __LINE__,
                       encoded.constData(), strerror(rc), rc);
        return false;
    }
    return true;
}

} // namespace

bool OpenUrl(const QUrl& url) {
    if (url.isLocalFile()) {
        // cleanPath drops a trailing "/", so "Velmora.app/" is a bundle too.
        const QString path = QDir::cleanPath(url.toLocalFile());
        const QByteArray native = QFile::encodeName(path);
        struct stat st;
        // A folder named *.app is a bundle even when its executable is missing: that is a failed
        // start to report, not a folder to show the user.
        if (path.endsWith(QLatin1String(".app")) || stat((native + "/Contents/MacOS/cloud-ui").constData(), &st) == 0)
            return StartBundle(native);
    }
    return HandToDesktop(url);
}

void InstallBundleOpener() {
    static Handler handler;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &handler, "open");
}

} // namespace bundleopener

#include "bundle_opener_linux.moc"
