#include "file-op.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <ftw.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include "log.h"
#include "platform/fs_platform.h"
#include "tmp_name_gen.h"

namespace {

const char kComponent[] = "file_op_debug";
const size_t kCopyBufferSize = 32 * 1024 * 1024;
const unsigned short kModeKeepUmask = 0xFFFF;

// The owner given to new folders and by FSChown; all ones leaves the owner unchanged.
unsigned int uid = static_cast<unsigned int>(-1);
unsigned int gid = static_cast<unsigned int>(-1);

// Handing a new folder to the configured owner is a courtesy: the folder is usable by this
// process either way, so a refusal does not fail the operation.
void ChownIgnoringFailure(const char* path, uid_t user, gid_t group) {
    int ignored = chown(path, user, group);
    static_cast<void>(ignored);
}

int TypeFromMode(mode_t mode) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return FS_TYPE_FILE;
    case S_IFDIR:
        return FS_TYPE_DIR;
    case S_IFLNK:
        return FS_TYPE_LINK;
    case S_IFCHR:
    case S_IFBLK:
        return FS_TYPE_DEVICE;
    case S_IFIFO:
        return FS_TYPE_FIFO;
    case S_IFSOCK:
        return FS_TYPE_SOCKET;
    default:
        return -1;
    }
}

int TypeFromDirent(unsigned char d_type) {
    switch (d_type) {
    case DT_REG:
        return FS_TYPE_FILE;
    case DT_DIR:
        return FS_TYPE_DIR;
    case DT_LNK:
        return FS_TYPE_LINK;
    case DT_CHR:
    case DT_BLK:
        return FS_TYPE_DEVICE;
    case DT_FIFO:
        return FS_TYPE_FIFO;
    case DT_SOCK:
        return FS_TYPE_SOCKET;
    default:
        return FS_TYPE_UNKNOWN;
    }
}

bool IsDotOrDotDot(const char* name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

// A full volume or an exhausted quota is told apart from other failures: the caller may free
// space and try again, which does not help for other errors.
int WriteFailureCode(int e) {
    return (e == ENOSPC || e == EDQUOT) ? -2 : -1;
}

// Moves the bytes from in to out through buf; 0, -1 or -2 as FSCopy reports them.
int CopyData(int in, int out, char* buf) {
    for (;;) {
        ssize_t got = read(in, buf, kCopyBufferSize);
        if (got < 0) {
            int e = errno;
            Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): CopyFile: read: %s (%d)\n", __LINE__,
                           strerror(e), e);
            return -1;
        }
        if (got == 0)
            return 0;
        const char* p = buf;
        while (got > 0) {
            errno = 0;
            ssize_t put = write(out, p, static_cast<size_t>(got));
            if (put <= 0) {
                int e = errno;
                Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): CopyFile: write: %s (%d)\n",
                               __LINE__, strerror(e), e);
                return WriteFailureCode(e);
            }
            p += put;
            got -= put;
        }
    }
}

// Walks a folder's entries other than "." and ".."; stops at the first non-zero result of
// visit. A read error ends the walk like the end of the listing. Returns whether a visit
// failed, or -1 when the folder cannot be opened.
template <typename Visit> int ForEachEntry(const ustring& dir, Visit visit) {
    DIR* d = opendir(dir.c_str());
    if (!d)
        return -1;
    int failed = 0;
    for (;;) {
        struct dirent storage;
        struct dirent* e = nullptr;
        if (fsplatform::ReadDirEntry(d, &storage, &e) != 0 || !e)
            break;
        if (IsDotOrDotDot(e->d_name))
            continue;
        if (visit(ustring(e->d_name)) != 0) {
            failed = 1;
            break;
        }
    }
    closedir(d);
    return failed;
}

// Resolves path to the absolute spelling that the file system stores; 0 or the status of the
// failing platform call.
// The messages name the CoreServices calls that the platform layer stands for.
int StoredPath(const ustring& path, char (&buf)[4096], bool log_failures) {
    fsplatform::StoredPathRef ref;
    int status = fsplatform::MakeStoredPathRef(reinterpret_cast<const unsigned char*>(path.c_str()), &ref, nullptr);
    if (status != 0) {
        if (log_failures)
            Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): FSPathMakeRef: %d\n", __LINE__,
                           status);
        return status;
    }
    memset(buf, 0, sizeof(buf));
    status = fsplatform::StoredPathText(&ref, reinterpret_cast<unsigned char*>(buf), sizeof(buf));
    if (status != 0 && log_failures)
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): FSRefMakePath: %d\n", __LINE__, status);
    return status;
}

} // namespace

bool operator==(const FILE_INFO& a, const FILE_INFO& b) {
    return a.exists == b.exists && a.size == b.size && a.mtime == b.mtime && a.type == b.type && a.path == b.path &&
           a.alt_path == b.alt_path;
}

bool operator!=(const FILE_INFO& a, const FILE_INFO& b) {
    return !(a == b);
}

void FSInitialize(unsigned int user, unsigned int group) {
    uid = user;
    gid = group;
}

int FSInit(const ustring& /*path*/) {
    return 0;
}

int FSChown(const ustring& path) {
    return chown(path.c_str(), uid, gid);
}

bool IsFileExist(const ustring& path, bool exact) {
    ustring n = path.normalize(ustring::NFC);
    if (n.empty())
        return false;
    if (access(n.c_str(), F_OK) != 0)
        return false;
    if (!exact)
        return true;

    // A volume that ignores letter case or normalisation finds the object under many
    // spellings; only the one it stores counts, so that callers never act on a path that
    // names the object differently from what the user sees.
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] file-op(%d): Input file path = [%s].\n", __LINE__,
                   n.c_str());
    char buf[4096];
    if (StoredPath(n, buf, true) != 0)
        return false;
    ustring r = ustring(buf).normalize(ustring::NFC);
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] file-op(%d): FSRefMakePath outTargetPath path = [%s].\n",
                   __LINE__, r.c_str());
    if (n != r)
        return false;
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] file-op(%d): File exist.\n", __LINE__);
    return true;
}

int GetFileInfo(const ustring& path, FILE_INFO& info) {
    struct stat st;
    if (lstat(path.c_str(), &st) != 0) {
        if (errno != ENOENT)
            return -1;
        info.exists = false;
        info.mtime = time(nullptr);
        info.path = path;
        info.size = 0;
        info.type = FS_TYPE_FILE;
        info.uid = 0;
        info.gid = 0;
        info.mode = 0;
        return 0;
    }
    info.exists = true;
    info.mtime = st.st_mtime;
    info.path = path;
    info.size = st.st_size;
    info.uid = st.st_uid;
    info.gid = st.st_gid;
    info.mode = st.st_mode;
    info.type = TypeFromMode(st.st_mode);
    if (info.type < 0)
        return -1;
    FSGetRealPath(info.path);
    return 0;
}

int FSGetRealPath(ustring& path) {
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] file-op(%d):  org path [%s]\n", __LINE__, path.c_str());
    char buf[4096];
    if (StoredPath(path, buf, false) != 0)
        return -1;
    path = buf;
    Logger::LogMsg(Logger::LEVEL_DEBUG, kComponent, "[DEBUG] file-op(%d):  get full path [%s]\n", __LINE__,
                   path.c_str());
    return 0;
}

int FSStat(const ustring& path, FILE_INFO& info, bool exact) {
    if (path.empty())
        return -1;
    if (!IsFileExist(path, exact)) {
        info.exists = false;
        return 0;
    }
    return GetFileInfo(path, info) < 0 ? -2 : 0;
}

int FSCopy(const ustring& src, const ustring& dst, bool remove_src) {
    int in = open(src.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) {
        int e = errno;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): CopyFile: open(%s): %s (%d)\n", __LINE__,
                       src.c_str(), strerror(e), e);
        return -1;
    }
    int out = open(dst.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (out < 0) {
        int e = errno;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): CopyFile: open(%s): %s (%d)\n", __LINE__,
                       dst.c_str(), strerror(e), e);
        close(in);
        return -1;
    }
    // One large block keeps the number of system calls low for the package-sized files that
    // the upgrade moves between volumes.
    char* buf = static_cast<char*>(malloc(kCopyBufferSize));
    if (!buf) {
        int e = errno;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): FSCopy: malloc(%d): %s (%d)\n", __LINE__,
                       static_cast<int>(kCopyBufferSize), strerror(e), e);
    }
    int ret = buf ? CopyData(in, out, buf) : -1;
    free(buf);
    close(in);

    // The copy must be durable before the source goes away, or a crash in between loses the
    // only complete copy. Some devices cannot be synchronised at all; that is no failure.
    if (fsync(out) != 0 && ret == 0 && errno != EINVAL && errno != EROFS) {
        int e = errno;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): CopyFile: write: %s (%d)\n", __LINE__,
                       strerror(e), e);
        ret = WriteFailureCode(e);
    }
    close(out);
    if (ret == 0 && remove_src && remove(src.c_str()) != 0)
        ret = -1;
    return ret;
}

int FSRename(const ustring& src, const ustring& dst, bool exact) {
    if (src.empty() || dst.empty())
        return -1;
    FILE_INFO info;
    if (FSStat(src, info, exact) < 0 || !info.exists)
        return -2;
    if (rename(src.c_str(), dst.c_str()) == 0)
        return 0;
    if (errno == ENAMETOOLONG)
        return -100;
    if (errno != EXDEV)
        return -3;

    // Between volumes the object is recreated at the destination; the source goes only after
    // everything below it has arrived, so a failure part-way never loses data.
    switch (info.type) {
    case FS_TYPE_FILE:
        return FSCopy(src, dst, true) < 0 ? -3 : 0;
    case FS_TYPE_DIR: {
        if (FSMKDir(dst, true) != 0)
            return -3;
        int failed =
            ForEachEntry(src, [&](const ustring& name) { return FSRename(src + "/" + name, dst + "/" + name, exact); });
        if (failed != 0)
            return -3;
        return remove(src.c_str()) == 0 ? 0 : -3;
    }
    default:
        return 0;
    }
}

int FSMKDir(const ustring& path, bool with_parents) {
    if (path.empty())
        return -1;
    FILE_INFO info;
    if (GetFileInfo(path, info) != 0) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): FSMKDir: Failed to to file info '%s'\n",
                       __LINE__, path.c_str());
        return -1;
    }
    if (info.exists) {
        if (info.type == FS_TYPE_DIR)
            return 0;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] file-op(%d): FSMKDir: Create a folder but local file system is not directory '%s' "
                       "(%d)\n",
                       __LINE__, path.c_str(), info.type);
        return -1;
    }
    int r = with_parents ? FSMKDirP(path, nullptr, false, kModeKeepUmask) : mkdir(path.c_str(), 0777);
    if (r != 0)
        return -2;
    ChownIgnoringFailure(path.c_str(), uid, gid);
    return 0;
}

namespace {

// Who gets the folders that FSMKDirP creates, fixed once per call.
struct NewFolderOwner {
    bool change = false;
    uid_t user = 0;
    gid_t group = 0;
};

NewFolderOwner OwnerForNewFolders() {
    const unsigned int none = static_cast<unsigned int>(-1);
    NewFolderOwner owner;
    owner.change = !(uid == none && gid == none);
    owner.user = uid == none ? geteuid() : uid;
    owner.group = gid == none ? getegid() : gid;
    return owner;
}

// Makes sure the prefix up to the current cut is a folder: an existing one is kept, a
// non-folder is replaced only with force. 0, or -1 with errno set (EEXIST for the last
// component, ENOTDIR for one above it, or mkdir's own).
int EnsureFolder(const char* prefix, bool last, bool force, mode_t dir_mode, const NewFolderOwner& owner) {
    struct stat st;
    if (stat(prefix, &st) == 0) {
        if (S_ISDIR(st.st_mode))
            return 0;
        if (!force) {
            errno = last ? EEXIST : ENOTDIR;
            return -1;
        }
        remove(prefix);
    }
    if (mkdir(prefix, dir_mode) != 0)
        return -1;
    if (owner.change)
        ChownIgnoringFailure(prefix, owner.user, owner.group);
    return 0;
}

// Walks buf component by component, cutting it in place at each "/" and putting the "/" back
// after the component exists. Returns the result and, in cut, where the walk stopped.
int CreateEachComponent(char* buf, bool force, mode_t dir_mode, size_t& cut) {
    const NewFolderOwner owner = OwnerForNewFolders();
    const size_t len = strlen(buf);
    size_t pos = buf[0] == '/' ? 1 : 0;
    for (;;) {
        const char* slash = strchr(buf + pos, '/');
        cut = slash ? static_cast<size_t>(slash - buf) : len;
        const bool last = !slash || cut == len - 1;
        buf[cut] = '\0';
        if (EnsureFolder(buf, last, force, dir_mode, owner) != 0)
            return -1;
        if (last)
            return 0;
        buf[cut] = '/';
        pos = cut + 1;
    }
}

} // namespace

int FSMKDirP(const ustring& path, char** stop, bool force, unsigned short mode) {
    if (path.empty())
        return -1;
    // The walk cuts the text in place, and path must stay untouched for the stop pointer.
    char* buf = strdup(path.c_str());
    if (!buf)
        return -1;

    // The umask is process-wide: with an explicit mode other threads' new files are created
    // without it until the call ends.
    const bool explicit_mode = mode != kModeKeepUmask;
    const mode_t old_umask = explicit_mode ? umask(0) : 0;
    size_t cut = 0;
    const int ret = CreateEachComponent(buf, force, explicit_mode ? mode : 0777, cut);

    if (stop)
        *stop = const_cast<char*>(path.c_str()) + cut;
    const int saved_errno = errno;
    if (explicit_mode)
        umask(old_umask);
    free(buf);
    errno = saved_errno;
    return ret;
}

namespace {

// A folder without owner write or search permission (a package may ship one 0555) cannot be
// emptied as it is, and a copy that cannot be removed stays behind as a backup on every later
// upgrade. The owner may always give itself access back. The change is made to the folder
// itself, never through a symbolic link swapped in after the lstat: what a link points at
// keeps its mode. Where that is refused (not ours), the removal fails as it would have.
void GrantOwnerAccess(const ustring& path, const struct stat& st) {
    if ((st.st_mode & S_IRWXU) == S_IRWXU)
        return;
    fchmodat(AT_FDCWD, path.c_str(), (st.st_mode & 07777) | S_IRWXU, AT_SYMLINK_NOFOLLOW);
}

} // namespace

int FSRemove(const ustring& path, bool /*option*/) {
    if (path.empty())
        return -1;
    // Only the kind of object matters here. The full file information would also look up the
    // stored spelling of every entry, which in a large tree costs more than the removal itself.
    struct stat st;
    if (lstat(path.c_str(), &st) != 0)
        return errno == ENOENT ? 0 : -1;
    const int type = TypeFromMode(st.st_mode);
    if (type < 0)
        return -1;
    // A link to a folder is removed itself; its target is never emptied.
    if (type != FS_TYPE_DIR)
        return remove(path.c_str()) == 0 ? 0 : -3;

    GrantOwnerAccess(path, st);
    int failed = ForEachEntry(path, [&](const ustring& name) { return FSRemove(path + "/" + name, false); });
    if (failed < 0)
        return 0;
    if (failed > 0)
        return -3;
    return remove(path.c_str()) == 0 ? 0 : -3;
}

int FSMktemp(const ustring& dir, ustring& out) {
    char tmpl[4096];
    snprintf(tmpl, sizeof(tmpl), "%s/XXXXXX", dir.c_str());
    // mkstemp overwrites the X's even when it fails; the message names what was asked for.
    const std::string asked = tmpl;
    int fd = mkstemp(tmpl);
    if (fd < 0) {
        int e = errno;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): mkstemp(%s): %s\n", __LINE__,
                       asked.c_str(), strerror(e));
        return -1;
    }
    fsync(fd);
    close(fd);
    out = tmpl;
    // mkstemp makes the file private (0600); a failure here leaves a file that still works.
    chmod(tmpl, 0644);
    return 0;
}

int FSCreateTempPath(const ustring& dir, ustring& out) {
    out = TmpNameGen::getInstance()->getTmpPath(dir);
    return out.empty() ? -1 : 0;
}

int FSUTime(const ustring& path, long atime, long mtime) {
    struct utimbuf times;
    times.actime = atime;
    times.modtime = mtime;
    return utime(path.c_str(), &times) == 0 ? 0 : -1;
}

int FSOpenDir(const ustring& path, int flags, DIR_HANDLE& h) {
    DIR* d = opendir(path.c_str());
    if (!d) {
        int e = errno;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] file-op(%d): FSOpenDir: Failed to open directory '%s'. %s\n", __LINE__, path.c_str(),
                       strerror(e));
        return -1;
    }
    h.dir = d;
    h.path = path;
    h.flags = flags;
    return 0;
}

int FSReadDir(DIR_HANDLE& h, DIR_ENTRY& e) {
    struct dirent storage;
    struct dirent* ent = nullptr;
    int err = fsplatform::ReadDirEntry(h.dir, &storage, &ent);
    if (err != 0) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] file-op(%d): FSOpenDir: Failed to read directory '%s'. %s\n", __LINE__, h.path.c_str(),
                       strerror(err));
        return -1;
    }
    if (!ent)
        return 0;
    const ustring name(ent->d_name);
    const int type = TypeFromDirent(ent->d_type);

    if (h.flags & FS_DIR_WITH_DETAILS) {
        // An entry that the exact test does not find (a folder opened under another spelling,
        // an entry removed meanwhile) keeps the zero time and size of a plain listing.
        FILE_INFO info;
        const ustring entry_path = h.path + "/" + name;
        if (FSStat(entry_path, info, true) < 0) {
            Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                           "[ERROR] file-op(%d): FSOpenDir: Failed to get info for '%s'\n", __LINE__,
                           entry_path.c_str());
            return -1;
        }
        e.mtime = info.mtime;
        e.size = info.size;
    } else {
        e.mtime = 0;
        e.size = 0;
    }
    e.name = name;
    e.type = type;
    return 1;
}

void FSCloseDir(DIR_HANDLE& h) {
    if (h.dir)
        closedir(h.dir);
    h.dir = nullptr;
    h.path.clear();
}

bool FSTimeEqual(long a, long b) {
    return a == b;
}

bool isFileLocked(const ustring& path, int amode) {
    if (access(path.c_str(), amode) == 0)
        return false;
    return errno == EACCES || errno == EPERM;
}

bool isMountPoint(const ustring& path) {
    std::string type;
    if (int e = fsplatform::FileSystemTypeName(path.c_str(), type)) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] file-op(%d): isMountPoint: Failed to get file system info '%s'. %s\n", __LINE__,
                       path.c_str(), strerror(e));
        return false;
    }
    return type == "nfs" || type == "smbfs" || type == "afpfs";
}

bool IsMSDOS(const ustring& path) {
    std::string type;
    if (int e = fsplatform::FileSystemTypeName(path.c_str(), type)) {
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent,
                       "[ERROR] file-op(%d): IsSupportLargeFile: Failed to get file system info '%s'. %s\n", __LINE__,
                       path.c_str(), strerror(e));
        return false;
    }
    if (type != "msdos")
        return false;
    Logger::LogMsg(Logger::LEVEL_WARNING, kComponent, "[WARNING] file-op(%d): Detect a MSDOS platform for path '%s'.\n",
                   __LINE__, path.c_str());
    return true;
}

namespace {

// Some file systems cannot synchronise at all (EINVAL, EROFS); for them there is nothing more
// to make durable, which is no failure.
int SyncDescriptor(int fd, const char* what, const char* path) {
    if (fsync(fd) == 0 || errno == EINVAL || errno == EROFS)
        return 0;
    int e = errno;
    Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): %s(%s): %s (%d)\n", __LINE__, what, path,
                   strerror(e), e);
    return -1;
}

int SyncPath(const char* path) {
    // A symbolic link has no data of its own to sync: its target is written with its name.
    int fd = open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0 && errno == ELOOP)
        return 0;
    if (fd < 0) {
        int e = errno;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): FSSync: open(%s): %s (%d)\n", __LINE__,
                       path, strerror(e), e);
        return -1;
    }
    int ret = SyncDescriptor(fd, "fsync", path);
    close(fd);
    return ret;
}

int SyncEntry(const char* path, const struct stat*, int flag, struct FTW*) {
    // Files, and folders once their entries are done; links and the unreadable are skipped.
    if (flag == FTW_F || flag == FTW_DP)
        return SyncPath(path) == 0 ? 0 : 1;
    return 0;
}

ustring Parent(const ustring& path) {
    const size_t slash = path.rfind("/");
    if (slash == ustring::npos)
        return ustring(".");
    return slash == 0 ? ustring("/") : path.substr(0, slash);
}

} // namespace

int FSSync(const ustring& path) {
    return path.empty() ? -1 : SyncPath(path.c_str());
}

bool FSSyncfsReachesStorage(const ustring& path) {
    return fsplatform::VolumeSyncReachesStorage(path.c_str());
}

int FSSyncTree(const ustring& path) {
    if (path.empty())
        return -1;
    const ustring parent = Parent(path);
    if (FSSyncfsReachesStorage(parent)) {
        const int err = fsplatform::SyncVolume(parent.c_str());
        if (err == 0)
            return 0;
        Logger::LogMsg(Logger::LEVEL_ERROR, kComponent, "[ERROR] file-op(%d): syncfs(%s): %s (%d)\n", __LINE__,
                       parent.c_str(), strerror(err), err);
        return -1;
    }
    // Depth first, so that a folder is synced after the entries made in it.
    if (nftw(path.c_str(), SyncEntry, 16, FTW_PHYS | FTW_DEPTH) != 0)
        return -1;
    return SyncPath(parent.c_str());
}
