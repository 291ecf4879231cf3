#include "mac/mac-service.h"

#include <QDesktopServices>
#include <QDir>
#include <QString>
#include <QUrl>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

#include "config.h"
#include "file-op.h"
#include "log.h"
#include "platform/fs_platform.h"

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

std::string RealPath(const std::string& path) {
    char buf[PATH_MAX];
    return realpath(path.c_str(), buf) ? std::string(buf) : path;
}

// For log lines: bytes outside printable ASCII become \xNN, so a crafted program name cannot
// forge or break a line.
std::string Escaped(const std::string& text) {
    std::string out;
    for (const unsigned char c : text) {
        char hex[5];
        snprintf(hex, sizeof(hex), "\\x%02x", c);
        out += c >= 0x20 && c < 0x7f && c != '\\' ? std::string(1, static_cast<char>(c)) : std::string(hex);
    }
    return out;
}

// The start of a file's first line; empty for anything but a regular file, which is never
// waited on (an argument may name a FIFO).
std::string FirstLine(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    struct stat st;
    char buf[256];
    ssize_t n = -1;
    if (fd >= 0 && fstat(fd, &st) == 0 && S_ISREG(st.st_mode))
        n = read(fd, buf, sizeof(buf));
    if (fd >= 0)
        close(fd);
    const std::string text = n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
    return text.substr(0, text.find('\n'));
}

// The client among the process's first two arguments after the interpreter's name ("#!/bin/sh
// -e" adds one) when it is a script whose "#!" line starts that very program: an editor that
// merely has the client's file open does not run it. Empty when there is none.
std::string ScriptOf(const fsplatform::ProcessRecord& record, const std::vector<std::string>& clients) {
    for (size_t i = 1; i < record.arguments.size() && i <= 2; ++i) {
        const std::string& arg = record.arguments[i];
        if (arg.empty() || (arg[0] != '/' && record.working_folder.empty()))
            continue;
        const std::string path = RealPath(arg[0] == '/' ? arg : record.working_folder + "/" + arg);
        if (std::find(clients.begin(), clients.end(), path) == clients.end())
            continue;
        const std::string line = FirstLine(path);
        const size_t start = line.compare(0, 2, "#!") == 0 ? line.find_first_not_of(" \t", 2) : std::string::npos;
        const size_t end = start == std::string::npos ? start : line.find_first_of(" \t\r", start);
        if (start != std::string::npos && RealPath(line.substr(start, end - start)) == record.program)
            return path;
    }
    return std::string();
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
    // Leftovers that hold every backup name would make the refresh fail at every start; and
    // they take room the new copy may need.
    FreeBackupNames();
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
    // Held before the process is looked at: if it still lives after the look, what was read was
    // its own, and every signal below reaches it alone, even should it end and its number be
    // reused meanwhile.
    fsplatform::ProcessHold process;
    if (process.Open(pid) == ESRCH || !IsOwnClient(pid, pid_file) || process.Signal(0) == ESRCH)
        return;

    if (const int err = process.Signal(SIGTERM)) {
        if (err == ESRCH)
            return;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] mac/mac-service(%d): kill: %s (%d)\n", __LINE__,
                       strerror(err), err);
    }
    for (int probe = 0; probe < kStopProbes; ++probe) {
        if (process.Signal(0) == ESRCH)
            return;
        sleep(1);
    }
    process.Signal(SIGKILL);
}

bool MacService::IsOwnClient(pid_t pid, const ustring& pid_file) {
    fsplatform::ProcessRecord record;
    const int err = fsplatform::ReadProcessRecord(pid, &record);
    if (err == ESRCH)
        return false; // already gone: nothing to stop, and nothing worth a line
    if (err != 0) {
        Logger::LogMsg(Logger::LEVEL_NOTE, kComponent,
                       "[NOTE] mac/mac-service(%d): pid %d named in '%s' left alone: cannot tell what it runs (%s)\n",
                       __LINE__, static_cast<int>(pid), pid_file.c_str(), strerror(err));
        return false;
    }
    // The copy is moved aside while its client may still run, so a backup name counts too; a
    // program file that is gone can only be compared by the path it had.
    const std::string install = RealPath(GetUserVelmoraInstallPath().c_str());
    std::vector<std::string> clients;
    for (int i = 0;; ++i) {
        const std::string folder = AppFolderName(i).c_str();
        if (folder.empty())
            break;
        clients.push_back(RealPath(install + folder.substr(folder.rfind('/')) + "/Contents/MacOS/cloud-ui"));
    }
    const std::string program = record.program_deleted ? record.program : RealPath(record.program);
    const std::string script = ScriptOf(record, clients);
    const bool client = !script.empty() || std::find(clients.begin(), clients.end(), program) != clients.end();
    if (client && record.real_uid == geteuid())
        return true;
    const std::string runs = Escaped(script.empty() ? record.program : record.program + " " + script);
    Logger::LogMsg(Logger::LEVEL_NOTE, kComponent,
                   "[NOTE] mac/mac-service(%d): pid %d named in '%s' runs '%s'%s as uid %u, not this user's "
                   "client: left alone\n",
                   __LINE__, static_cast<int>(pid), pid_file.c_str(), runs.c_str(),
                   record.program_deleted ? " (deleted)" : "", static_cast<unsigned>(record.real_uid));
    return false;
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
