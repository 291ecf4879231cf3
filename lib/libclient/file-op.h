#pragma once

#include <ctime>
#include <dirent.h>
#include <stdint.h>

#include "ustring.h"

// Flat file operations used by the upgrade service. Paths are UTF-8 ustrings handed to the
// system unchanged (IsFileExist alone works on the NFC form). Results: 0 success, negative
// failure codes (-1, -2, -3, -100); FSReadDir gives 1 for an entry, 0 at the end, -1 on error.
// Failures are logged under "file_op_debug". No locks: callable from any thread.

enum {
    FS_TYPE_UNKNOWN = 0,
    FS_TYPE_FILE = 1,
    FS_TYPE_DIR = 2,
    FS_TYPE_LINK = 3,
    FS_TYPE_DEVICE = 5,
    FS_TYPE_FIFO = 6,
    FS_TYPE_SOCKET = 7,
};

enum { FS_DIR_WITH_DETAILS = 1 };

typedef struct _FILE_INFO_tag {
    ustring path;
    ustring alt_path;
    int type = FS_TYPE_UNKNOWN;
    time_t mtime = 0;
    int64_t size = 0;
    bool exists = false;
    unsigned int uid = 0;
    unsigned int gid = 0;
    unsigned int mode = 0;
} FILE_INFO;

struct DIR_HANDLE {
    ustring path;
    int flags = 0;
    DIR* dir = nullptr;
};

struct DIR_ENTRY {
    ustring name;
    int type = FS_TYPE_UNKNOWN;
    time_t mtime = 0;
    int64_t size = 0;
};

bool operator==(const FILE_INFO& a, const FILE_INFO& b);
bool operator!=(const FILE_INFO& a, const FILE_INFO& b);

void FSInitialize(unsigned int uid, unsigned int gid);
int FSInit(const ustring& path);
int FSChown(const ustring& path);
bool IsFileExist(const ustring& path, bool exact);
int GetFileInfo(const ustring& path, FILE_INFO& info);
int FSGetRealPath(ustring& path);
int FSStat(const ustring& path, FILE_INFO& info, bool exact);
int FSCopy(const ustring& src, const ustring& dst, bool remove_src);
int FSRename(const ustring& src, const ustring& dst, bool exact);
int FSMKDir(const ustring& path, bool with_parents);
// Creates path and every missing parent: 0, or -1 with errno set (EEXIST when path itself is a
// non-folder, ENOTDIR when a parent is). stop, when not null, receives a pointer into
// path.c_str() at the "/" or NUL that ends the component where the walk stopped; it is valid
// while path is unchanged. force replaces a non-folder in the way by a folder (the file is
// lost). mode 0xFFFF creates with 0777 under the process umask; any other mode is applied
// exactly by setting the process-wide umask to 0 for the call, which other threads then share.
int FSMKDirP(const ustring& path, char** stop, bool force, unsigned short mode);
int FSRemove(const ustring& path, bool option);
int FSMktemp(const ustring& dir, ustring& out);
int FSCreateTempPath(const ustring& dir, ustring& out);
int FSUTime(const ustring& path, long atime, long mtime);
int FSOpenDir(const ustring& path, int flags, DIR_HANDLE& h);
int FSReadDir(DIR_HANDLE& h, DIR_ENTRY& e);
void FSCloseDir(DIR_HANDLE& h);
bool FSTimeEqual(long a, long b);
bool isFileLocked(const ustring& path, int amode);
bool isMountPoint(const ustring& path);
bool IsMSDOS(const ustring& path);

// Durability. fsync of a file makes its data durable; fsync of a folder makes its entries (the
// names created, renamed or removed in it) durable; neither makes a file's own name durable,
// which is its folder's. 0 on success (also where the file system cannot synchronise), -1 on
// failure, logged.
int FSSync(const ustring& path);
// Whether one syncfs of the volume that holds path makes everything on it durable. Not on a
// FUSE volume: the kernel forwards no syncfs to an ordinary FUSE server, only fsync.
bool FSSyncfsReachesStorage(const ustring& path);
// Makes everything in the tree at path durable, and its name in its folder: one syncfs where
// that reaches the storage, else an fsync of every file and folder in it and of its folder.
int FSSyncTree(const ustring& path);
