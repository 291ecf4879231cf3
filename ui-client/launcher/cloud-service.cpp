#include "cloud-service.h"

#include <QCoreApplication>
#include <QDir>
#include <QString>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <new>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "durability.h"
#include "extractor.h"
#include "file-op.h"
#include "log.h"
#include "qt_text.h"
#include "version_file.h"
#include "volume_space.h"

namespace {

const char* const kComponent = "service_debug";

// Backup names run from _tmp to _tmp9; a leftover of a killed run may hold any of them.
const int kBackupAttempts = 10;

// Fills the fields from the file's "Version" section; false, with why set, when it is damaged.
// An absent key keeps what its field held, so a half-written INFO file never blanks a value that
// an earlier read found.
bool ReadVersionSection(const std::string& path, ustring& major, ustring& minor, ustring& build, ustring& overlay,
                        std::string& why) {
    std::map<std::string, std::string> values;
    if (!versionfile::ReadSection(
            path, "Version", {"major_version", "minor_version", "build_version", "icon_overlay_version"}, values, why))
        return false;
    const std::pair<const char*, ustring*> fields[] = {{"major_version", &major},
                                                       {"minor_version", &minor},
                                                       {"build_version", &build},
                                                       {"icon_overlay_version", &overlay}};
    for (const auto& field : fields)
        if (values.count(field.first))
            *field.second = values[field.first].c_str();
    return true;
}

// A damaged INFO reads like a file without keys: it must never end the launcher before it has
// opened the client.
void ReadVersionFile(const ustring& path, ustring& major, ustring& minor, ustring& build, ustring& overlay) {
    std::string why;
    if (!ReadVersionSection(path.c_str(), major, minor, build, overlay, why))
        Logger::LogMsg(Logger::LEVEL_WARNING, kComponent, "[WARNING] cloud-service(%d): unreadable version file '%s'\n",
                       __LINE__, path.c_str());
}

// A copy the launcher can stand on: the client executable is a regular file it may run, and INFO
// reads, the way the upgrade decision reads it, with a build number. Only then may the backup
// go; otherwise why says what is wrong.
bool CheckUsableCopy(const ustring& app_path, std::string& why) {
    const std::string exe = std::string(app_path.c_str()) + "/Contents/MacOS/cloud-ui";
    struct stat st;
    if (stat(exe.c_str(), &st) != 0 || !S_ISREG(st.st_mode) || access(exe.c_str(), X_OK) != 0) {
        why = "'" + exe + "' is not an executable file";
        return false;
    }
    ustring major, minor, build, overlay;
    const std::string info = std::string(app_path.c_str()) + "/Contents/Resources/INFO";
    if (!ReadVersionSection(info, major, minor, build, overlay, why)) {
        why = "'" + info + "' is damaged: " + why;
        return false;
    }
    if (build.empty() || build[0] < '0' || build[0] > '9') {
        why = "'" + info + "' holds no build number";
        return false;
    }
    return true;
}

// The same, logging what is wrong.
bool IsUsableCopy(const ustring& app_path) {
    std::string why;
    if (CheckUsableCopy(app_path, why))
        return true;
    Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] cloud-service(%d): the new copy is not usable: %s\n",
                   __LINE__, why.c_str());
    return false;
}

} // namespace

// The package the bundle ships, which the space check measures and the unpack reads.
static ustring PackagePath() {
    return Service::GetRootVelmoraResourceInstallPath() + "/package/velmora.hpk";
}

static ustring GetAppBackupDir(const ustring& app_path, int index) {
    ustring name = app_path + "_tmp";
    if (index == 0)
        return name;
    char postfix[8];
    if (snprintf(postfix, sizeof(postfix), "%d", index) < 0) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] cloud-service(%d): snprintf failed (continuing without postfix)\n", __LINE__);
        postfix[0] = '\0';
    }
    return name + postfix;
}

// The base leaves the unit of the timeout to the platform; zero keeps it defined until one is set.
Service::Service() : timeout(0) {}

Service::~Service() = default;

void Service::SetTimeout(int value) {
    timeout = value;
}

ustring Service::GetUserInstallPath() {
    return ToUtf8(QDir::homePath());
}

ustring Service::GetRootVelmoraInstallPath() {
    QString path = QCoreApplication::applicationDirPath();
    path += QStringLiteral("/");
    path += QStringLiteral("../..");
    // Lexical only: the bundle root is where the executable was started from, even through a link.
    return ToUtf8(QDir::cleanPath(path));
}

ustring Service::GetRootVelmoraResourceInstallPath() {
    return GetRootVelmoraInstallPath() + "/Contents/Resources";
}

ustring Service::GetUserVelmoraInstallPath() {
    return GetUserInstallPath() + "/" + ".Velmora";
}

ustring Service::GetUserVelmoraAppInstallPath() {
    return GetUserVelmoraInstallPath() + "/" + "Velmora.app";
}

ustring Service::GetUserVelmoraDataInstallPath() {
    return GetUserVelmoraInstallPath() + "/" + "data";
}

void Service::LoadSourceVersion() {
    const ustring path = GetUserVelmoraAppInstallPath() + "/Contents/Resources" + "/" + "INFO";
    if (!IsFileExist(path, false)) {
        Logger::LogMsg(Logger::LEVEL_INFO, kComponent, "[INFO] cloud-service(%d): source does not exist\n", __LINE__);
        return;
    }
    ReadVersionFile(path, source_major_version, source_minor_version, source_build_version,
                    source_icon_overlay_version);
    Logger::LogMsg(Logger::LEVEL_INFO, kComponent, "[INFO] cloud-service(%d): source_version = (%s, %s, %s, %s)\n",
                   __LINE__, source_major_version.c_str(), source_minor_version.c_str(), source_build_version.c_str(),
                   source_icon_overlay_version.c_str());
}

void Service::LoadTargetVersion() {
    // A missing bundle INFO reads as a file without keys: the decision then rests on the
    // per-user executable alone.
    const ustring path = GetRootVelmoraResourceInstallPath() + "/" + "INFO";
    ReadVersionFile(path, target_major_version, target_minor_version, target_build_version,
                    target_icon_overlay_version);
    Logger::LogMsg(Logger::LEVEL_INFO, kComponent, "[INFO] cloud-service(%d): target_version = (%s, %s, %s, %s)\n",
                   __LINE__, target_major_version.c_str(), target_minor_version.c_str(), target_build_version.c_str(),
                   target_icon_overlay_version.c_str());
}

int Service::PrepareUserEnv() {
    const ustring app_path = user_app_path;
    ustring backup_path;
    int attempt = 0;

    // The old installation is moved aside, never deleted, until the new one is complete.
    if (IsFileExist(app_path, false)) {
        for (attempt = 0;; ++attempt) {
            backup_path = GetAppBackupDir(app_path, attempt);
            if (FSRename(app_path, backup_path, false) == 0) {
                // The move aside is durable before anything is unpacked under the old name. A
                // failure here is caught by the unpack's own barriers, which sync this folder too.
                FSSync(GetUserVelmoraInstallPath());
                break;
            }
            Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                           "[ERROR] cloud-service(%d): failed to backup app from '%s' -> '%s'\n", __LINE__,
                           app_path.c_str(), backup_path.c_str());
            if (attempt == kBackupAttempts - 1) {
                Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                               "[ERROR] cloud-service(%d): failed to backup app from '%s' -> '%s' at max retries, "
                               "exiting\n",
                               __LINE__, app_path.c_str(), backup_path.c_str());
                return -1;
            }
        }
    }

    // A package that unpacks cleanly but lacks the client or its version must not cost the user
    // the copy that works: it is rolled back like a failed unpack.
    if (ExtractPackage() == 0 && IsUsableCopy(app_path)) {
        Logger::LogMsg(Logger::LEVEL_INFO, kComponent,
                       "[INFO] cloud-service(%d): user installation is ready, removing backup app\n", __LINE__);
        // Lower numbers are leftovers of killed runs that blocked the earlier attempts; number 0
        // may be one even when there was nothing to back up this time. A backup that stays
        // piles up with the next ones until no name is left, so a failure is logged.
        for (int n = 0; n <= attempt; ++n) {
            const ustring backup = GetAppBackupDir(app_path, n);
            if (FSRemove(backup, false) != 0)
                Logger::LogMsg(Logger::LEVEL_WARNING, kComponent,
                               "[WARNING] cloud-service(%d): failed to remove backup '%s'\n", __LINE__, backup.c_str());
        }
        return 0;
    }

    if (backup_path.empty()) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] cloud-service(%d): Failed to extract package, and no old installation to rollback\n",
                       __LINE__);
        return -1;
    }
    Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                   "[ERROR] cloud-service(%d): Failed to extract package, rollback to old installation\n", __LINE__);
    // The partial folder must go first: a move onto a non-empty folder fails, and then the old
    // installation simply stays under its backup name.
    if (FSRemove(app_path, false) != 0)
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] cloud-service(%d): failed to remove failed copy '%s'\n", __LINE__, app_path.c_str());
    if (FSRename(backup_path, app_path, false) != 0)
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] cloud-service(%d): failed to restore backup '%s' -> '%s'\n", __LINE__,
                       backup_path.c_str(), app_path.c_str());
    // Otherwise a power cut could bring the partial copy back beside the backup.
    FSSync(GetUserVelmoraInstallPath());
    return -1;
}

int Service::ExtractPackage() {
    const ustring package = PackagePath();
    const ustring dest = GetUserVelmoraAppInstallPath();
    if (FSMKDir(dest, true) < 0) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] cloud-service(%d): failed to create folder: '%s'\n",
                       __LINE__, dest.c_str());
        return -1;
    }
    Logger::LogMsg(Logger::LEVEL_INFO, kComponent, "[INFO] cloud-service(%d): extract package: '%s' -> '%s'\n",
                   __LINE__, package.c_str(), dest.c_str());
    Extractor extractor;
    extractor.src = package;
    extractor.dest = dest;
    extractor.counted = package_entries;
    UnpackDurability durability(dest);
    extractor.before_entry = [&durability](const char* path) { return durability.BeforeEntry(path); };
    const int result = extractor.Extract();
    // The caller removes the backup on success: not before the new copy is durable.
    if (result == 0 && durability.Finish() != 0)
        return -1;
    return result;
}

ustring Service::AppFolderName(int index) const {
    if (index == 0)
        return user_app_path;
    return index <= kBackupAttempts ? GetAppBackupDir(user_app_path, index - 1) : ustring();
}

void Service::RemoveLeftoverBackups() {
    bool durable = false;
    for (int n = 0; n < kBackupAttempts; ++n) {
        const ustring backup = GetAppBackupDir(user_app_path, n);
        if (!IsFileExist(backup, false))
            continue;
        // A killed run may have written the copy that now reads as current without making it
        // durable: a power cut could still empty its files, and the backup would then be the
        // user's only client. Made durable once, before the first backup goes.
        if (!durable && FSSyncTree(user_app_path) != 0) {
            Logger::LogMsg(Logger::LEVEL_WARNING, kComponent,
                           "[WARNING] cloud-service(%d): keeping leftover backups: '%s' is not durable\n", __LINE__,
                           user_app_path.c_str());
            return;
        }
        durable = true;
        Logger::LogMsg(Logger::LEVEL_INFO, kComponent, "[INFO] cloud-service(%d): removing leftover backup '%s'\n",
                       __LINE__, backup.c_str());
        if (FSRemove(backup, false) != 0)
            Logger::LogMsg(Logger::LEVEL_WARNING, kComponent,
                           "[WARNING] cloud-service(%d): failed to remove leftover backup '%s'\n", __LINE__,
                           backup.c_str());
    }
}

void Service::FreeBackupNames() {
    for (int n = 0; n < kBackupAttempts; ++n)
        if (!IsFileExist(GetAppBackupDir(user_app_path, n), false))
            return;
    std::string why;
    if (!CheckUsableCopy(user_app_path, why)) {
        Logger::LogMsg(Logger::LEVEL_WARNING, kComponent,
                       "[WARNING] cloud-service(%d): every backup name is taken, and the copy in place cannot run "
                       "(%s): keeping the backups\n",
                       __LINE__, why.c_str());
        return;
    }
    Logger::LogMsg(Logger::LEVEL_WARNING, kComponent,
                   "[WARNING] cloud-service(%d): every backup name is taken, and the copy in place can run: removing "
                   "the leftover backups\n",
                   __LINE__);
    RemoveLeftoverBackups();
}

bool Service::NewCopyFits() {
    const ustring folder = GetUserVelmoraInstallPath();
    VolumeSpace space;
    if (const int err = VolumeSpace::Read(folder, space)) {
        Logger::LogMsg(Logger::LEVEL_WARNING, kComponent,
                       "[WARNING] cloud-service(%d): cannot read the free space of '%s': %s\n", __LINE__,
                       folder.c_str(), strerror(err));
        return true;
    }
    Extractor extractor;
    extractor.src = PackagePath();
    extractor.dest = GetUserVelmoraAppInstallPath();
    PackageFootprint footprint;
    package_entries = std::max(0, extractor.Measure(space.block_size, footprint));
    if (package_entries == 0)
        return true;
    const unsigned long long bytes = VolumeSpace::BytesNeeded(footprint);
    const unsigned long long inodes = VolumeSpace::InodesNeeded(footprint);
    const unsigned long long bytes_free = space.bytes_free;
    const unsigned long long inodes_free = space.inodes_free;
    const char* inode_note = space.counts_inodes ? "" : " (it keeps no inode count)";
    if (!space.Fits(footprint)) {
        Logger::LogMsg(Logger::LEVEL_WARNING, kComponent,
                       "[WARNING] cloud-service(%d): no room for the new copy, keeping the old one: it needs %llu "
                       "bytes and %llu inodes, the volume of '%s' offers %llu bytes and %llu inodes%s\n",
                       __LINE__, bytes, inodes, folder.c_str(), bytes_free, inodes_free, inode_note);
        return false;
    }
    Logger::LogMsg(Logger::LEVEL_INFO, kComponent,
                   "[INFO] cloud-service(%d): the new copy needs %llu bytes and %llu inodes, the volume of '%s' "
                   "offers %llu bytes and %llu inodes%s\n",
                   __LINE__, bytes, inodes, folder.c_str(), bytes_free, inodes_free, inode_note);
    return true;
}

void Service::RemoveAgedFolders() {
    const ustring path = GetUserVelmoraInstallPath() + "/app";
    Logger::LogMsg(Logger::LEVEL_INFO, kComponent, "[INFO] cloud-service(%d): removing aged app folder %s\n", __LINE__,
                   path.c_str());
    FSRemove(path, false);
}

int Service::FSCopyPath(const ustring& src, const ustring& dst) {
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] cloud-service(%d): copy from '%s' to '%s'\n", __LINE__,
                   src.c_str(), dst.c_str());
    FILE_INFO info;
    if (FSStat(src, info, false) < 0) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] cloud-service(%d): FSCopyPath: failed to stat source '%s'\n", __LINE__, src.c_str());
        return -1;
    }
    if (!info.exists) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] cloud-service(%d): FSCopyPath: source path '%s' does not exist\n", __LINE__,
                       src.c_str());
        return -1;
    }
    if (info.type != FS_TYPE_DIR)
        return FSCopy(src, dst, false) < 0 ? -1 : 0;

    if (FSMKDir(dst, true) < 0) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] cloud-service(%d): FSCopyPath: failed to create dest folder '%s'\n", __LINE__,
                       dst.c_str());
        return -1;
    }
    DIR_HANDLE handle;
    if (FSOpenDir(src, 0, handle) < 0) {
        Logger::LogMsg(Logger::LEVEL_WARNING, kComponent,
                       "[WARNING] cloud-service(%d): FSCopyPath: failed to create handle  for src '%s' failed\n",
                       __LINE__, src.c_str());
        return 0;
    }
    DIR_ENTRY entry;
    while (FSReadDir(handle, entry) > 0) {
        if (entry.name == ustring(".") || entry.name == ustring(".."))
            continue;
        const ustring child_src = src + "/" + entry.name;
        const ustring child_dst = dst + "/" + entry.name;
        const int ret =
            entry.type == FS_TYPE_DIR ? FSCopyPath(child_src, child_dst) : FSCopy(child_src, child_dst, false);
        if (ret < 0) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                           "[ERROR] cloud-service(%d): FSCopyPath: failed to copy from '%s' to '%s'\n", __LINE__,
                           child_src.c_str(), child_dst.c_str());
            FSCloseDir(handle);
            return -1;
        }
    }
    FSCloseDir(handle);
    return 0;
}
