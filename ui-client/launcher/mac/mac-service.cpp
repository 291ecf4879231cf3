#include "mac/mac-service.h"

#include <QDesktopServices>
#include <QDir>
#include <QString>
#include <QUrl>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <sys/types.h>
#include <unistd.h>

#include "config.h"
#include "file-op.h"
#include "log.h"

namespace {

const char* const kComponent = "service_debug";

// After SIGTERM the client gets five one-second chances to save its state before SIGKILL.
const int kStopProbes = 5;

// Reads a build number the way atoi does, but clamps values beyond int instead of overflowing:
// a huge bundle build still upgrades, a huge per-user build still never downgrades.
int BuildNumber(const ustring& text) {
    if (text.empty())
        return 0;
    const long value = strtol(text.c_str(), nullptr, 10);
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return static_cast<int>(value);
}

// 0 when the text holds no pid that names a single process. kill() reads 0 as the launcher's
// own process group and negative values as other groups (-1 as every process the user owns),
// and a value beyond pid_t could wrap into one of those.
pid_t UsablePid(const ustring& text) {
    const long value = strtol(text.c_str(), nullptr, 10);
    if (value <= 0 || value > static_cast<long>(std::numeric_limits<pid_t>::max()))
        return 0;
    return static_cast<pid_t>(value);
}

} // namespace

MacService::MacService() {
    timeout = 10000;
    user_app_path = GetUserVelmoraAppInstallPath();
}

MacService::~MacService() = default;

MacService* MacService::GetInstace() {
    static MacService instance;
    return &instance;
}

void MacService::LoadSourceVerInfo() {
    LoadSourceVersion();
}

void MacService::LoadTargetVerInfo() {
    LoadTargetVersion();
}

void MacService::PreUpgrade() {
    LoadTargetVersion();
    LoadSourceVersion();
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] mac/mac-service(%d): Source version: ('%s', '%s')\n",
                   __LINE__, source_build_version.c_str(), source_icon_overlay_version.c_str());
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] mac/mac-service(%d): Target version: ('%s', '%s')\n",
                   __LINE__, target_build_version.c_str(), target_icon_overlay_version.c_str());
}

bool MacService::IsNeedUpgrade() {
    const int source = BuildNumber(source_build_version);
    const int target = BuildNumber(target_build_version);
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent,
                   "[DEBUG] mac/mac-service(%d): source version = %d, target version = %d\n", __LINE__, source, target);
    // A missing executable means a broken or absent copy, whatever its INFO says; otherwise only
    // a newer bundle replaces the user's copy, never an older one.
    const bool need = !PerUserBinPathExist() || target > source;
    // Backups go only when no upgrade is pending: until then one may be the user's only full copy.
    if (!need)
        RemoveLeftoverBackups();
    return need;
}

int MacService::HandlePackageUpgrade() {
    // Before anything is stopped: a copy that cannot fit would interrupt the client for nothing.
    if (!NewCopyFits())
        return -1;
    // The running client must let go of its folder before the folder is moved aside.
    if (PerUserBinPathExist()) {
        Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] mac/mac-service(%d): local appdata exist\n", __LINE__);
        StopService();
    }
    return PrepareUserEnv();
}

void MacService::StopService() {
    const ustring pid_file = GetUserVelmoraInstallPath() + "/ui.pid";
    if (!IsFileExist(pid_file, false)) {
        Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent,
                       "[DEBUG] mac/mac-service(%d): pid file '%s' does not exist, no need to terminate\n", __LINE__,
                       pid_file.c_str());
        return;
    }
    Config config;
    if (config.read(pid_file) < 0) {
        Logger::LogMsg(Logger::LEVEL_NOTE, kComponent,
                       "[NOTE] mac/mac-service(%d): Failed to read pid file '%s', not exist ?\n", __LINE__,
                       pid_file.c_str());
        return;
    }
    const ustring value = config["pid"];
    if (value.empty())
        return;
    const pid_t pid = UsablePid(value);
    if (pid == 0) {
        Logger::LogMsg(Logger::LEVEL_NOTE, kComponent,
                       "[NOTE] mac/mac-service(%d): pid file '%s' holds no usable pid '%s', not signalled\n", __LINE__,
                       pid_file.c_str(), value.c_str());
        return;
    }

    if (kill(pid, SIGTERM) != 0) {
        const int err = errno;
        if (err == ESRCH)
            return;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] mac/mac-service(%d): kill: %s (%d)\n", __LINE__,
                       strerror(err), err);
    }
    for (int probe = 0; probe < kStopProbes; ++probe) {
        if (kill(pid, 0) != 0 && errno == ESRCH)
            return;
        sleep(1);
    }
    kill(pid, SIGKILL);
}

void MacService::PostUpgrade() {
    if (LaunchPerUserBin() < 0)
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] mac/mac-service(%d): Failed to launch Velmora UI\n",
                       __LINE__);
}

bool MacService::PerUserBinPathExist() {
    const ustring path = user_app_path + "/" + "Contents/MacOS" + "/" + "cloud-ui";
    return access(path.c_str(), F_OK) == 0;
}

int MacService::LaunchPerUserBin() {
    // Opening the bundle lets the system start the client as a process of its own, so it
    // outlives the launcher.
    const QUrl url = QUrl::fromLocalFile(QDir::homePath() + QStringLiteral("/.Velmora/Velmora.app"));
    return QDesktopServices::openUrl(url) ? 0 : -1;
}
