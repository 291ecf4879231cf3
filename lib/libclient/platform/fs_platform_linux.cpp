#include "fs_platform.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/statfs.h>

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
// of folder apart: a case-insensitive one finds the same object under the swapped name.
bool LookupIsByteExact(const std::string& dir, const std::string& name, const struct stat& object) {
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
    if (lstat(Join(dir, swapped).c_str(), &st) != 0)
        return errno == ENOENT;
    return !SameObject(st, object);
}

// The name under which the folder's listing holds the object that name found. Hard links in
// the same folder share the object, so a name that differs from the caller's only in letter
// case wins over any other.
std::string StoredSpelling(const std::string& dir, const std::string& name) {
    struct stat object;
    if (lstat(Join(dir, name).c_str(), &object) != 0)
        return name;
    if (LookupIsByteExact(dir, name, object))
        return name;
    DIR* d = opendir(dir.c_str());
    if (!d)
        return name;
    std::string found;
    bool found_case_variant = false;
    for (struct dirent* e = readdir(d); e; e = readdir(d)) {
        if (strcmp(e->d_name, name.c_str()) == 0) {
            found = name;
            break;
        }
        struct stat st;
        if (found_case_variant || fstatat(dirfd(d), e->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0 ||
            !SameObject(st, object))
            continue;
        if (strcasecmp(e->d_name, name.c_str()) == 0) {
            found = e->d_name;
            found_case_variant = true;
        } else if (found.empty()) {
            found = e->d_name;
        }
    }
    closedir(d);
    return found.empty() ? name : found;
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
    case FUSE_SUPER_MAGIC:
        return "fuse";
    default:
        snprintf(fallback, size, "linux-0x%lx", static_cast<unsigned long>(magic));
        return fallback;
    }
}

} // namespace

int FSPathMakeRef(const unsigned char* path, FSRef* ref, bool* is_directory) {
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

int FSRefMakePath(const FSRef* ref, unsigned char* buf, unsigned long size) {
    if (!ref || !buf)
        return EINVAL;
    const char* path = reinterpret_cast<const char*>(ref->opaque);
    size_t len = strnlen(path, sizeof(ref->opaque));
    if (len >= size)
        return ENAMETOOLONG;
    memcpy(buf, path, len + 1);
    return 0;
}

int FSTypeName(const char* path, std::string& name) {
    struct statfs sfs;
    if (statfs(path, &sfs) != 0)
        return -1;
    char fallback[32];
    // f_type is a signed word of the architecture's width; the magic numbers are 32 bits wide
    // and would not match after sign extension on 32-bit systems.
    name = TypeNameForMagic(static_cast<uint32_t>(sfs.f_type), fallback, sizeof(fallback));
    return 0;
}

// glibc's readdir is re-entrant for distinct streams and readdir_r is deprecated there.
int ReadDirEntry(DIR* dir, struct dirent* /*entry*/, struct dirent** result) {
    errno = 0;
    *result = readdir(dir);
    if (!*result && errno != 0)
        return errno;
    return 0;
}

} // namespace fsplatform
