#include "fs_platform.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <linux/magic.h>
#include <sstream>
#include <strings.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace fsplatform {
namespace {

bool SameObject(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

std::string Join(const std::string& dir, const std::string& name) {
    return dir == "/" ? dir + name : dir + "/" + name;
}

// On a folder that tells letter case apart, the lookup that just found a pure ASCII name can
// only have matched those very bytes, and reading the whole listing for every component would
// make removing a large tree quadratic. Swapping the case of every letter tells the two kinds
// of folder apart: a case-insensitive one finds something under the swapped name. Whether that
// is the same object is not asked: a FUSE file system that numbers its nodes by path (fusefat)
// gives every spelling an inode of its own, so only the listing can tell.
bool LookupIsByteExact(const std::string& dir, const std::string& name) {
    std::string swapped = name;
    bool has_letter = false;
    for (char& c : swapped) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return false; // the volume may also fold Unicode normalisation forms
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
            has_letter = true;
        } else if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
            has_letter = true;
        }
    }
    if (!has_letter)
        return false;
    struct stat st;
    return lstat(Join(dir, swapped).c_str(), &st) != 0 && errno == ENOENT;
}

// The name under which the folder's listing holds the object that name found. Hard links in
// the same folder share the object, so a name that differs from the caller's only in letter
// case wins over any other. Where no entry is the same object by inode (nodes numbered by
// path), the one entry that differs only in letter case is the stored spelling.
std::string StoredSpelling(const std::string& dir, const std::string& name) {
    struct stat object;
    if (lstat(Join(dir, name).c_str(), &object) != 0)
        return name;
    if (LookupIsByteExact(dir, name))
        return name;
    DIR* d = opendir(dir.c_str());
    if (!d)
        return name;
    std::string same_object, case_variant, other_case_match;
    for (struct dirent* e = readdir(d); e; e = readdir(d)) {
        if (strcmp(e->d_name, name.c_str()) == 0) {
            closedir(d);
            return name;
        }
        const bool differs_in_case_only = strcasecmp(e->d_name, name.c_str()) == 0;
        struct stat st;
        if (fstatat(dirfd(d), e->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0 || !SameObject(st, object)) {
            if (differs_in_case_only && other_case_match.empty())
                other_case_match = e->d_name;
        } else if (differs_in_case_only && case_variant.empty()) {
            case_variant = e->d_name;
        } else if (same_object.empty()) {
            same_object = e->d_name;
        }
    }
    closedir(d);
    for (const std::string* found : {&case_variant, &same_object, &other_case_match})
        if (!found->empty())
            return *found;
    return name;
}

// The subtype of the FUSE file system mounted as device dev ("fusefat" for "fuse.fusefat"), from
// this process's mount table; empty when it cannot be told.
std::string FuseSubtype(dev_t dev) {
    std::ifstream table("/proc/self/mountinfo");
    const std::string wanted = std::to_string(major(dev)) + ":" + std::to_string(minor(dev));
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string id, parent, device, word;
        fields >> id >> parent >> device;
        if (device != wanted)
            continue;
        while (fields >> word && word != "-") {
        }
        std::string type;
        fields >> type;
        return type.compare(0, 5, "fuse.") == 0 ? type.substr(5) : std::string();
    }
    return std::string();
}

const char* TypeNameForMagic(uint32_t magic, char* fallback, size_t size) {
    switch (magic) {
    case NFS_SUPER_MAGIC:
        return "nfs";
    case SMB_SUPER_MAGIC:
    case CIFS_SUPER_MAGIC:
    case SMB2_SUPER_MAGIC:
        return "smbfs";
    case MSDOS_SUPER_MAGIC:
        return "msdos";
    default:
        snprintf(fallback, size, "linux-0x%lx", static_cast<unsigned long>(magic));
        return fallback;
    }
}

} // namespace

int MakeStoredPathRef(const unsigned char* path, StoredPathRef* ref, bool* is_directory) {
    if (!path || !ref)
        return EINVAL;
    char* resolved = realpath(reinterpret_cast<const char*>(path), nullptr);
    if (!resolved)
        return errno;

    std::string stored = "/";
    for (const char* p = resolved + 1; *p;) {
        const char* end = strchr(p, '/');
        size_t len = end ? static_cast<size_t>(end - p) : strlen(p);
        stored = Join(stored, StoredSpelling(stored, std::string(p, len)));
        p += len;
        if (*p == '/')
            ++p;
    }
    free(resolved);

    if (stored.size() >= sizeof(ref->opaque))
        return ENAMETOOLONG;
    memcpy(ref->opaque, stored.c_str(), stored.size() + 1);
    if (is_directory) {
        struct stat st;
        if (stat(stored.c_str(), &st) != 0)
            return errno;
        *is_directory = S_ISDIR(st.st_mode);
    }
    return 0;
}

int StoredPathText(const StoredPathRef* ref, unsigned char* buf, unsigned long size) {
    if (!ref || !buf)
        return EINVAL;
    const char* path = reinterpret_cast<const char*>(ref->opaque);
    size_t len = strnlen(path, sizeof(ref->opaque));
    if (len >= size)
        return ENAMETOOLONG;
    memcpy(buf, path, len + 1);
    return 0;
}

int FileSystemTypeName(const char* path, std::string& name) {
    struct statfs sfs;
    if (statfs(path, &sfs) != 0)
        return errno;
    char fallback[32];
    // f_type is a signed word of the architecture's width; the magic numbers are 32 bits wide
    // and would not match after sign extension on 32-bit systems.
    const uint32_t magic = static_cast<uint32_t>(sfs.f_type);
    name = TypeNameForMagic(magic, fallback, sizeof(fallback));
    if (magic != FUSE_SUPER_MAGIC)
        return 0;
    // A FAT volume served through FUSE is as much "msdos" as one the kernel mounts: the same
    // letter-case folding and the same 4 GiB file limit that the callers care about.
    struct stat st;
    if (stat(path, &st) != 0)
        return errno;
    const std::string subtype = FuseSubtype(st.st_dev);
    if (subtype == "fusefat")
        name = "msdos";
    else if (!subtype.empty())
        name = "fuse." + subtype;
    return 0;
}

bool VolumeSyncReachesStorage(const char* path) {
    struct statfs sfs;
    return statfs(path, &sfs) == 0 && static_cast<uint32_t>(sfs.f_type) != FUSE_SUPER_MAGIC;
}

int SyncVolume(const char* path) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return errno;
    const int err = syncfs(fd) == 0 ? 0 : errno;
    close(fd);
    return err;
}

// glibc's readdir is re-entrant for distinct streams and readdir_r is deprecated there.
int ReadDirEntry(DIR* dir, struct dirent* /*entry*/, struct dirent** result) {
    errno = 0;
    *result = readdir(dir);
    if (!*result && errno != 0)
        return errno;
    return 0;
}

namespace {

int ReadWhole(const std::string& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return errno ? errno : EACCES;
    std::ostringstream out;
    out << in.rdbuf();
    text = out.str();
    return 0;
}

int ReadLink(const std::string& path, std::string& target) {
    char buf[PATH_MAX];
    const ssize_t n = readlink(path.c_str(), buf, sizeof(buf));
    if (n < 0)
        return errno;
    if (static_cast<size_t>(n) >= sizeof(buf))
        return ENAMETOOLONG;
    target.assign(buf, static_cast<size_t>(n));
    return 0;
}

} // namespace

int ReadProcessRecord(pid_t pid, ProcessRecord* record) {
    const std::string dir = "/proc/" + std::to_string(pid);
    std::string status, cmdline;
    if (int err = ReadWhole(dir + "/status", status))
        return err == ENOENT ? ESRCH : err;
    const size_t uid_at = status.find("\nUid:");
    if (uid_at == std::string::npos)
        return EIO;
    record->real_uid = static_cast<uid_t>(strtoul(status.c_str() + uid_at + 5, nullptr, 10));
    if (int err = ReadLink(dir + "/exe", record->program))
        return err == ENOENT ? ESRCH : err;
    // The kernel marks a program file that is gone with this suffix on the path it had.
    const std::string deleted = " (deleted)";
    record->program_deleted =
        record->program.size() > deleted.size() &&
        record->program.compare(record->program.size() - deleted.size(), deleted.size(), deleted) == 0 &&
        access(record->program.c_str(), F_OK) != 0;
    if (record->program_deleted)
        record->program.resize(record->program.size() - deleted.size());
    if (ReadLink(dir + "/cwd", record->working_folder) != 0)
        record->working_folder.clear();
    record->arguments.clear();
    if (ReadWhole(dir + "/cmdline", cmdline) == 0)
        for (size_t at = 0; at < cmdline.size(); at = cmdline.find('\0', at) + 1) {
            record->arguments.emplace_back(cmdline.c_str() + at);
            if (cmdline.find('\0', at) == std::string::npos)
                break;
        }
    return 0;
}

ProcessHold::~ProcessHold() {
    if (fd_ >= 0)
        close(fd_);
}

int ProcessHold::Open(pid_t pid) {
    pid_ = pid;
    // Through syscall(2): this C library's <sys/pidfd.h> declares its wrappers without C linkage.
    fd_ = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    if (fd_ >= 0)
        return 0;
    const int err = errno;
    if (err == ESRCH)
        return ESRCH;
    // A kernel before 5.3, or a sandbox that forbids the call: the bare pid still works, as
    // kill(2) always did. Whether the process exists is then the first signal's to tell.
    return 0;
}

int ProcessHold::Signal(int sig) const {
    const long r = fd_ >= 0 ? syscall(SYS_pidfd_send_signal, fd_, sig, nullptr, 0) : kill(pid_, sig);
    return r == 0 ? 0 : errno;
}

} // namespace fsplatform
