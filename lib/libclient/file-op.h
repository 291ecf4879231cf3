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

// Owner given to the folders FSMKDir and FSMKDirP create and to FSChown's path; (unsigned)-1 for
// both keeps the process's own. Process-wide, not locked: set it before other threads run.
void FSInitialize(unsigned int uid, unsigned int gid);
// Does nothing and returns 0: nothing needs preparing on these platforms.
int FSInit(const ustring& path);
// chown to FSInitialize's owner: 0, or -1 with errno set. Follows a symbolic link.
int FSChown(const ustring& path);
// Whether path names an object, links not followed for the last element. exact also requires
// the spelling the volume stores (letter case, normalisation) to be the one given.
bool IsFileExist(const ustring& path, bool exact);
// lstat into info, info.path made the stored spelling. A missing path is no failure: 0 with
// exists false (type reads FS_TYPE_FILE and mtime the current time). -1 on other failures.
int GetFileInfo(const ustring& path, FILE_INFO& info);
// Replaces path with its absolute stored spelling, links resolved: 0, or -1 leaving it as it was.
int FSGetRealPath(ustring& path);
// IsFileExist(path, exact), then GetFileInfo: 0 (exists false when the test failed), -1 for an
// empty path, -2 when the object vanished or could not be read in between.
int FSStat(const ustring& path, FILE_INFO& info, bool exact);
// Copies a regular file's data, made durable, over dst (mode 0666 less the umask for a new
// one); remove_src then removes the source. 0; -2 when the volume or the quota is full; -1 on any
// other failure. Modes, owners and times are not copied.
int FSCopy(const ustring& src, const ustring& dst, bool remove_src);
// rename(2), or between volumes a copy followed by the source's removal (a file or a folder
// tree; other objects are left in place and still give 0). exact applies to the existence test
// of src. 0; -1 for an empty path; -2 when src does not exist; -3 when the move failed (also when
// dst is a non-empty folder); -100 for ENAMETOOLONG.
int FSRename(const ustring& src, const ustring& dst, bool exact);
// Creates a folder (with its parents when asked): 0, also when a folder is there already; -1 when
// path is empty, cannot be examined, or names a non-folder; -2 when mkdir failed.
int FSMKDir(const ustring& path, bool with_parents);
// Creates path and every missing parent: 0, or -1 with errno set (EEXIST when path itself is a
// non-folder, ENOTDIR when a parent is). stop, when not null, receives a pointer into
// path.c_str() at the "/" or NUL that ends the component where the walk stopped; it is valid
// while path is unchanged. force replaces a non-folder in the way by a folder (the file is
// lost). mode 0xFFFF creates with 0777 under the process umask; any other mode is applied
// exactly by setting the process-wide umask to 0 for the call, which other threads then share.
int FSMKDirP(const ustring& path, char** stop, bool force, unsigned short mode);
// Removes a file, a link (never what it points to) or a whole folder tree. option is unused. 0,
// also when path does not exist; -1 for an empty path or a failed lstat; -3 when something could
// not be removed (what could be stays removed).
int FSRemove(const ustring& path, bool option);
// Creates a new empty file with a unique name in dir (mode 0644): 0 with its path in out, or -1.
int FSMktemp(const ustring& dir, ustring& out);
// A path in dir with a fresh eight-character name from TmpNameGen; nothing is created. 0, or -1.
int FSCreateTempPath(const ustring& dir, ustring& out);
// Sets the access and modification times in seconds: 0, or -1.
int FSUTime(const ustring& path, long atime, long mtime);
// Opens a folder listing into h: 0, or -1 (logged). FS_DIR_WITH_DETAILS in flags makes
// FSReadDir fill in each entry's time and size.
int FSOpenDir(const ustring& path, int flags, DIR_HANDLE& h);
// The next entry, "." and ".." included, in the order the system gives: 1, 0 at the end, -1 on
// a read error (logged).
int FSReadDir(DIR_HANDLE& h, DIR_ENTRY& e);
// Closes the listing; safe to call twice.
void FSCloseDir(DIR_HANDLE& h);
// Whether two times in seconds are the same; a volume with coarser times would compare here.
bool FSTimeEqual(long a, long b);
// Whether access(path, amode) is refused for want of permission (EACCES or EPERM); any other
// failure, a missing path included, counts as not locked.
bool isFileLocked(const ustring& path, int amode);
// Despite its name: whether path lies on a network volume (NFS, SMB, AFP), not whether it is a
// mount point. false when the volume cannot be examined (logged).
bool isMountPoint(const ustring& path);
// Whether path lies on a FAT volume, logged as a warning when it does; false when the volume
// cannot be examined (that line keeps its historical label, IsSupportLargeFile).
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
